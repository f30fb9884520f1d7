"""The tools while one of their calls to the system fails, is interrupted, or does half its work.

A run either does all its work or says why it does not, and an output file has its old content or
the whole new one. The environment names the programs: FAIL_CALLS, ZDICT and MEMLOG."""

import os
import subprocess
import sys
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
for folder in ("zdict", "memlog", "support"):
    sys.path.append(os.path.join(HERE, "..", folder))
from exchange import ENGLISH, GERMAN
from folder_case import FolderCase
from memlog_test import head, rows

FAIL_CALLS, ZDICT, MEMLOG = (os.environ[name] for name in ("FAIL_CALLS", "ZDICT", "MEMLOG"))
STATUSES = (1, 2, 120)  # 120: Python can't write its streams at its end
NOT_ALLOWED = 121  # the status of FAIL_CALLS where the system does not allow it to intercept calls
OLD = b"the old content"
SOURCE = 'const char* text = "$$$/App/Title=Hello";\n' * 3
# An interruption that never ends would be tried again for ever.
FAILURES = (("error", "once"), ("error", "for-good"), ("interrupted", "once"),
            ("short", "for-good"))
# For zdict alone: a pipe that memlog leaves open keeps gnuplot waiting.
CLOSES = (("close", "once"), ("close", "for-good"))

# The arguments of the runs. Each reads files in its folder; "-o" is the file "out".
ZDICT_RUNS = (
    "compile en.txt", "compile -o out en.txt", "merge --comments -o out en.zdict de.txt",
    "dump -o out en.zdict", "remove -o out en.zdict /App/Title", "check en.txt en.zdict",
    "get en.zdict /App/Title", "keys en.txt en.zdict", "stats en.zdict",
    "lint --english en.txt de.txt", "status --english en.txt de.txt",
    "extract -o out sources", "update -o out --english en.txt de.txt",
    "export --format xliff2 --english en.txt -o out de.txt",
    "export --format po --english en.txt -o out de.txt", "import -o out de.xlf",
    "export --format xliff1 --english en.txt -o out de.txt", "import -o out de.po",
    "pseudo -o out en.txt", "completion -o out bash", "compile -o /dev/stdout en.txt")
# With the start of the name of the first file, and the step.
MEMLOG_RUNS = (("memory.log", "memory.log", 1), ("-o out.html memory.log", "memory.log", 7),
               ("-o out.html memory.log", ".memlog.", 1))


class Tools(FolderCase):
    failed = set()  # the numbers of all calls that have failed

    @classmethod
    def tearDownClass(cls):
        """Each call of the tools must have failed once, in the runs of all tests."""
        never = subprocess.run([FAIL_CALLS, "never", *cls.failed], stdout=subprocess.PIPE).stdout
        if never and cls.failed and len(sys.argv) == 1:
            raise AssertionError(f"calls that never failed: {never.decode().split()}")
    def setUp(self):
        super().setUp()
        self.file("en.txt", ENGLISH.lstrip())
        self.file("de.txt", GERMAN.lstrip())
        os.mkdir(self.path("sources"))
        self.file("sources/a.cpp", SOURCE)
        self.file("memory.log", head() + rows(3))
        for arguments in ("compile -o en.zdict en.txt",
                          "export --format xliff1 --english en.txt -o de.xlf de.txt",
                          "export --format po --english en.txt -o de.po de.txt"):
            subprocess.run([ZDICT, *arguments.split()], cwd=self.folder, stderr=subprocess.PIPE)
        os.mkdir(self.path("scratch"))
        self.inputs = set(os.listdir(self.folder))
        # Without buffers, Python itself loses the rest of a short write.
        self.environment = {name: value for name, value in os.environ.items()
                            if name != "PYTHONUNBUFFERED"}
        self.environment["TMPDIR"] = self.path("scratch")  # where failures leave folders

    def run_once(self, command):
        """Returns the status, standard output, messages, and the content of the output file."""
        output = next((self.path(word) for word in command if word.startswith("out")), None)
        if output:
            with open(output, "wb") as file:
                file.write(OLD)
        done = subprocess.run(command, cwd=self.folder, stdin=subprocess.DEVNULL, timeout=60,
                              env=self.environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        content = None
        if output:
            with open(output, "rb") as file:
                content = file.read()
            os.unlink(output)
        left = set(os.listdir(self.folder)) - self.inputs
        for name in left:
            os.unlink(self.path(name))
        return done.returncode, done.stdout, done.stderr.decode(), content, left

    def check(self, program, run, first, failures, step=1):
        """Fails every `step`th call from the first opening of a file on whose name starts with
        `first`. Returns the count of calls that failed."""
        command = [program, *run.split()]
        status, out, messages, content, _ = self.run_once(command)
        points = 0
        for failure, times in failures:
            point = 1 - step
            numbers = True
            while numbers:
                point += step
                result, printed, said, stored, left = self.run_once(
                    [FAIL_CALLS, failure, str(point), times, first, *command])
                if result == NOT_ALLOWED:
                    text = "the system does not allow to intercept calls"
                    print(text, flush=True)
                    self.skipTest(text)
                said, _, numbers = said.rpartition("failed:")
                self.failed.update(numbers.split())
                numbers = numbers.strip()
                points += bool(numbers)
                with self.subTest(f"{run}: {failure} {point} {times}"):
                    if "-o" in command and (failure, times, point) == ("close", "for-good", 1):
                        self.assertRegex(said, "can't be written|error while writing")
                        self.assertNotEqual(result, 0)
                        self.assertEqual(stored, content and OLD)
                    if (result, printed, said, stored) == (status, out, messages, content):
                        self.assertFalse(left)
                        continue
                    self.assertNotEqual(failure, "short", said)
                    self.assertIn(result, STATUSES, said)
                    if times == "once":
                        self.assertIn(": ", said)
                        self.assertFalse(left)
                    self.assertNotIn("Traceback", said)
                    self.assertIn(stored, (OLD, content) if content else (None,))
                    if run.startswith("compile"):  # others go on with their other files
                        self.assertTrue(out.startswith(printed))
        return points

    def test_zdict(self):
        for run in ZDICT_RUNS:
            first = next((os.path.basename(word) for word in run.split()
                          if os.path.exists(self.path(word))), ".")
            self.assertGreater(self.check(ZDICT, run, first, FAILURES + CLOSES), 5)

    def test_memlog(self):
        for run, first, step in MEMLOG_RUNS:
            self.assertGreater(self.check(MEMLOG, run, first, FAILURES, step), 10)


if __name__ == "__main__":
    unittest.main()
