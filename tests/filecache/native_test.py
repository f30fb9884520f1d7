"""Runs filecache.exe on real files. The environment's FILECACHE names the program,
DICTIONARIES the folder of the dictionaries."""

import json
import os
import re
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

FILECACHE = os.environ["FILECACHE"]
DICTIONARIES = os.environ["DICTIONARIES"]
STOP = os.path.join(os.path.dirname(os.path.abspath(__file__)), "stop.py")
# Wine calls no filter after a stack overflow.
CRASHES = ("null", "illegal", "division", "exception", "terminate", "pure", "parameter", "memory")
# Beyond the 260 characters of a path, with characters of several scripts, and one of two units.
LONG = "/".join(["Ünï 日本 \U0001f600" + "x" * 90] * 5)


class FileCache(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.work = folder.name
        self.files = os.path.join(self.work, "files")
        os.makedirs(os.path.join(self.files, LONG))
        for number in range(40):
            place = self.files if number % 2 else os.path.join(self.files, LONG)
            with open(os.path.join(place, f"Datei {number}"), "w", encoding="ascii") as file:
                file.write("line\n" * number)

    def run_host(self, *arguments, status=0):
        done = subprocess.run([FILECACHE, *arguments], capture_output=True, timeout=120, check=False)
        out = done.stdout.decode().replace("\r\n", "\n")
        if status is not None:
            self.assertEqual(done.returncode, status, done.stderr)
        return done.returncode, out, done.stderr.decode()

    def assert_figure(self, out, label, figure):
        self.assertRegex(out, f"(?m)^{re.escape(label)} +{figure}$")

    def test_files_with_long_names_of_any_script_are_read(self):
        _, out, _ = self.run_host("--threads", "2", self.files)
        self.assert_figure(out, "files read", 40)
        self.assert_figure(out, "lines read", 40 * 39 // 2)
        self.assert_figure(out, "unreadable", 0)

    def test_texts_are_those_of_the_language(self):
        for language, label in (("de", "gelesene Dateien"), ("ja", "読み込みファイル数")):
            with self.subTest(language):
                dictionary = os.path.join(DICTIONARIES, f"filecache_{language}.zdict")
                for option in (("--language", language), ("--dictionary", dictionary)):
                    self.assert_figure(self.run_host(*option, self.files)[1], label, 40)

    def large_files(self):
        """Makes two files that the smallest budget cannot hold. Returns their sizes by path."""
        sizes = {}
        for number, name in enumerate(["groß & 'weit' 日本", LONG + "/large"]):
            path = os.path.join(self.files, name)
            with open(path, "wb") as file:
                file.truncate(3000000 + number)
            sizes[path] = 3000000 + number
        return sizes

    def test_files_beyond_the_budget_are_refused_and_reported(self):
        large = self.large_files()
        telemetry = os.path.join(self.work, "telemetry")
        for form in "json", "xml":
            report = os.path.join(self.work, "Bericht 日本." + form)
            _, out, err = self.run_host("--threads", "1", "--budget", "2M", "--report", report,
                                        "--telemetry", telemetry, self.files)
            self.assertEqual(err.count("Unable to allocate"), 1, err)
            self.assert_figure(out, "files read", 42)
            self.assert_figure(out, "refusals", 2)
            if form == "json":
                with open(report, encoding="utf-8") as file:
                    refused = [(entry["path"], entry["bytes"]) for entry in json.load(file)["refused"]]
            else:
                refused = [(entry.text, int(entry.get("bytes")))
                           for entry in ElementTree.parse(report).getroot().iter("refused")]
            self.assertEqual(dict(refused), large, form)
            with open(telemetry, encoding="utf-8") as lines:
                event, count, group = map(json.loads, lines)
            self.assertEqual(event["text"], "threads 1, budget 2097152")
            self.assertEqual((count["part"], count["count"]), ("refused", 2))
            self.assertEqual(group["data"]["files"], "42")

    def test_the_log_has_the_lines_that_are_counted(self):
        self.large_files()
        log = os.path.join(self.work, "log")
        _, out, err = self.run_host("--threads", "2", "--budget", "2M", "--log", log, "--verbose",
                                    self.files)
        self.assertEqual(len(re.findall("refused: .*, 300000[01] bytes", err)), 2, err)
        with open(log, "rb") as file:
            content = file.read()
        self.assert_figure(out, "log lines", content.count(b"\n"))
        self.assertNotIn(b"MEM_DumpLeaks", content)

    def test_wrong_usage_is_refused(self):
        missing = os.path.join(self.work, "missing")
        for message, *arguments in [
                ("there is no folder", missing),
                ("isn't a folder", os.path.join(self.files, "Datei 1")),
                ("can't write", "--log", missing + "/log", self.files),
                ("ends neither in .json nor in .xml", "--report", "report.txt", self.files)]:
            with self.subTest(message):
                _, out, err = self.run_host(*arguments, status=2)
                self.assertIn(message, err)
                self.assertEqual(out, "")

    def test_a_folder_that_is_not_there_is_an_error(self):
        for name in ("missing", LONG + "/missing"):
            with self.subTest(name):
                _, out, err = self.run_host(os.path.join(self.files, name), status=2)
                self.assertEqual(out, "")
                self.assertIn("missing", err)

    def test_an_empty_drive_has_no_files(self):
        empty = os.path.join(self.work, "empty")
        os.mkdir(empty)
        drive = os.path.join(os.environ["WINEPREFIX"], "dosdevices", "q:")
        os.symlink(empty, drive)
        self.addCleanup(os.remove, drive)
        self.assert_figure(self.run_host("Q:\\")[1], "files read", 0)

    def test_a_crash_makes_the_last_call_and_ends_the_process(self):
        for kind in CRASHES:
            with self.subTest(kind):
                log = os.path.join(self.work, kind)
                status, _, err = self.run_host("--crash", kind, "--log", log, self.work, status=None)
                self.assertNotEqual(status, 0)
                self.assertEqual(err.count("has failed and ends"), 1, err)
                with open(log, encoding="utf-8") as lines:
                    self.assertIn("Returned from app registered handler", lines.read())

    def test_an_interrupt_ends_the_reading_with_its_figures(self):
        done = subprocess.run([STOP, FILECACHE], capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)


if __name__ == "__main__":
    unittest.main()
