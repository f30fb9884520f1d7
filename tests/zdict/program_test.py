"""Files, streams, the command line and the manual page."""

import functools
import os
import pty
import re
import resource
import shutil
import signal
import subprocess
import unittest

from images import flat
from program import IMAGE, TEXT, WINDOWS, Case

HERE = os.path.dirname(os.path.abspath(__file__))


class Files(Case):
    def test_an_output_file_keeps_its_bits_and_its_old_content_on_failure(self):
        self.file("out", "before")
        text = self.file("text", TEXT)

        def small_files():
            if WINDOWS:
                signal.signal(signal.SIGXFSZ, signal.SIG_IGN)  # for the emulator
            resource.setrlimit(resource.RLIMIT_FSIZE, (50, 50))

        result = self.run_tool("compile", "-o", self.path("out"), text, status=2,
                               preexec_fn=small_files)
        what = "Invalid argument" if WINDOWS else "File too large"
        self.assertIn("out: can't be written: " + what, result.err)
        self.assertEqual(self.content("out"), b"before")
        self.assertEqual(sorted(os.listdir(self.folder)), ["out", "text"])
        if WINDOWS:
            return
        os.chmod(self.path("out"), 0o640)
        os.symlink("out", self.path("link"))
        self.run_tool("compile", "-o", self.path("link"), text)
        self.assertEqual(self.content("out"), IMAGE[False])
        self.assertTrue(os.path.islink(self.path("link")))
        self.assertEqual(os.stat(self.path("out")).st_mode & 0o777, 0o640)
        self.run_tool("compile", "-o", self.path("new"), text, umask=0o027)
        self.assertEqual(os.stat(self.path("new")).st_mode & 0o777, 0o640)
        self.assertEqual(sorted(os.listdir(self.folder)), ["link", "new", "out", "text"])

    def test_an_output_file_is_replaced_beside_any_other_file(self):
        text = self.file("text", TEXT)
        self.run_tool("compile", "-o", self.path("new"), text)
        long = self.path("n" * 248)  # names have at most 255 bytes
        self.run_tool("compile", "-o", long, text)
        os.unlink(long)

        def taken_name():
            self.file(f"new.{os.getpid():06x}", "taken")

        self.run_tool("compile", "-o", self.path("new"), text, preexec_fn=taken_name)
        names = [name for name in os.listdir(self.folder) if name.startswith("new.")]
        self.assertEqual([self.content(name) for name in names], [b"taken"])
        self.run_tool("merge", "-o", self.path("new"), self.path("new"), text)  # onto itself
        self.assertEqual(self.content("new"), IMAGE[False])

    def test_names_are_long_and_of_any_script(self):
        folder = os.path.join(self.folder, *4 * ["größe 日本 \U0001f3ac" + 100 * "x"])
        os.makedirs(folder)
        text, image, absent = (os.path.join(folder, name) for name in ("ä", "ö", "ü"))
        with open(text, "w", encoding="utf-8", newline="") as file:
            file.write('"$$$/a=#{1A}"\r\n')  # the character ends a text file of some systems
        self.run_tool("compile", "-o", image, text)
        with open(image, "rb") as file:
            self.assertEqual(self.dumped(file.read()), self.run_tool("dump", text).out)
        self.run_tool("merge", "-o", image, image, text)  # over the old file
        self.assertEqual(sorted(os.listdir(folder)), ["ä", "ö"])
        result = self.run_tool("check", absent, status=2)
        self.assertIn(f"zdict: {absent}: can't be read: No such file", result.err)

    def test_write_failures_are_reported(self):
        targets = [self.folder, self.path("none/out")]
        if not WINDOWS:
            os.symlink("nowhere", self.path("dangling"))
            targets += [self.path("dangling"), "/dev/full"]
        for target in targets:
            result = self.run_tool("compile", "-o", target, "-", stdin=TEXT.encode(), status=2)
            self.assertIn(f"zdict: {target}: can't be written: ", result.err)
        image = self.file("image", IMAGE[False])
        with open("/dev/full", "wb") as full:
            for arguments in (["compile", self.file("t", TEXT)], ["dump", image], ["stats", image],
                              ["get", image, "/a"], ["check", image], ["--help"]):
                result = self.run_tool(*arguments, status=2, stdout=full)
                self.assertIn("standard output: can't be written: No space", result.err)
        self.run_tool("compile", "-o", "/dev/null", "-", stdin=TEXT.encode())

    def test_open_files_without_a_path_are_written(self):
        for target in "/dev/stdout", "/dev/fd/1", "/proc/self/fd/1":
            self.assertEqual(self.run_tool("compile", "-o", target, "-", stdin=TEXT.encode()).out,
                             IMAGE[False], target)
        done = subprocess.run(["bash", "-c", '"$0" compile -o >(cat > "$1"; echo) - | cat', os.environ[
            "ZDICT"], self.path("out")], input=TEXT.encode(), stdout=subprocess.PIPE, timeout=60)
        self.assertEqual((done.stdout, self.content("out")), (b"\n", IMAGE[False]))
        os.symlink("nowhere", self.path("dangling"))
        result = self.run_tool("compile", "-o", self.path("dangling"), "-", stdin=TEXT.encode(),
                               status=2)
        self.assertIn("dangling: can't be written: it is a link to ", result.err)
        with open(self.path("file"), "wb") as file:
            self.run_tool("compile", "-o", "/dev/stdout", "-", stdin=TEXT.encode(), stdout=file)
        self.assertEqual(self.content("file"), IMAGE[False])

    @unittest.skipIf(os.geteuid(), "links of another user take root")
    def test_a_link_of_another_user_in_a_shared_folder_is_refused(self):
        other, stranger = 1, 2
        folder, target = self.path("open"), self.file("target", "before")
        os.mkdir(folder)
        os.mkdir(self.path("folder"))
        link = os.path.join(folder, "link")
        self.file("folder/out", "")
        os.symlink("open/link", self.path("first"))  # root's, outside
        for mode, owner, link_owner, text, name, follows in [
                (0o1777, 0, other, target, link, False),
                (0o1777, stranger, other, "../target", link, False),
                (0o1777, 0, other, target, self.path("first"), False),
                (0o1777, 0, other, self.path("folder"), link + "/out", False),
                (0o1777, other, other, target, link, True),
                (0o1777, other, 0, target, link, True),
                (0o777, 0, other, target, link, True),
                (0o1775, 0, other, target, link, True)]:
            os.chmod(folder, mode)
            os.chown(folder, owner, -1)
            os.symlink(text, link)
            os.lchown(link, link_owner, -1)
            result = self.run_tool("compile", "-o", name, "-", stdin=TEXT.encode(),
                                   status=0 if follows else 2)
            if not follows:
                self.assertIn(f"zdict: {name}: can't be written: the link {link} belongs to "
                              "another user", result.err)
            self.assertEqual(self.content("target") != b"before", follows)
            self.assertEqual(self.content("folder/out"), b"")
            self.assertEqual(os.listdir(folder), ["link"])
            self.file("target", "before")
            os.unlink(link)

    def test_an_image_is_not_written_to_a_terminal(self):
        leader, follower = pty.openpty()
        for target in ["-"] if WINDOWS else ["-", "/dev/stdout", os.ttyname(follower)]:
            result = self.run_tool("compile", "-o", target, "-", stdin=TEXT.encode(),
                                   stdout=follower, status=2)
            self.assertIn("it is a terminal (name a file with -o)\n", result.err)
        os.close(leader)
        os.close(follower)

    def test_read_failures_are_reported(self):
        large = self.file("large", "")
        os.truncate(large, 1 << 31)
        for name, what in [(self.path("missing"), "No such file or directory"),
                           (self.folder, "Is a directory"), (large, "it is 2 GiB or larger"), ("",
                           "No such file or directory")]:
            for command in "check", "dump", "stats", "merge", "compile":
                result = self.run_tool(command, name, status=2)
                shown = "''" if name == "" else name
                self.assertIn(f"zdict: {shown}: ", result.err)
                self.assertIn(f"{what}\n", result.err)
                self.assertEqual(result.out, b"")
        result = self.run_tool("merge", "-", "-", stdin=IMAGE[False], status=2)
        self.assertIn("standard input: can't be read twice", result.err)

    def test_no_name_or_text_steers_the_terminal(self):
        image = self.file("image", self.compiled('"$$$/\x1b[2J=\t#{1B}[31m#{9B}2J\\nc"\n'))
        for arguments, raw, shown in [
                (["get", image, "/\x1b[2J"], "\t\x1b[31m\x9b2J\nc\n",
                 8 * " " + "\\x1B[31m\\xC2\\x9B2J\r\nc\r\n"),
                (["dump", image], '"$$$/\x1b[2J=\\t#{1B}[31m#{9B}2J\\nc"\n',
                 '"$$$/\\x1B[2J=\\t#{1B}[31m#{9B}2J\\nc"\r\n')]:
            self.assertEqual(self.run_tool(*arguments).out.decode(), raw)
            self.assertEqual(self.shown(*arguments), shown)
        result = self.run_tool("check", "\x1b[31m", status=2)
        what = "Invalid argument" if WINDOWS else "No such file or directory"
        self.assertEqual(result.err, f"zdict: \\x1B[31m: can't be read: {what}\n")


class Usage(Case):
    def test_wrong_usage(self):
        for arguments, what in [
                ([], "A command is required (see zdict --help)"),
                (["compil", "a"], "there is no command 'compil' (see zdict --help)"),
                (["compil", "--help"], "there is no command 'compil'"),
                (["check", "a", "--bogus", "--help"], "not expected: --bogus (see zdict check --help)"),
                (["--bogus", "--help"], "not expected: --bogus (see zdict --help)"),
                (["compile", "--locale=", "a"], "--locale needs a value"),
                (["compile"], "TEXT is required (see zdict compile --help)"),
                (["get", "a"], "KEY is required"),
                (["dump", "a", "b"], "not expected: b (see zdict dump --help)"),
                (["dump", "--base", "1", "a"], "--base"),
                (["check", "-v", "a"], "-v"), (["remove", "a"], "KEY is required"),
                (["--version", "a"], "not expected: a (see zdict --help)"),
                (["completion", "fish"], "no completion for the shell 'fish'"),
                (["compile", "a", "-o", ""], "zdict: -o needs a file name (see zdict compile --help)"),
                (["compile", "a", "-o"], "zdict: -o needs a value (see zdict compile --help)"),
                (["compile", "a", "--base"], "zdict: --base needs a value (see"),
                (["compile", "--big-endian=yes", "a"],
                 "--big-endian takes no value (see zdict compile --help)"),
                (["check", "a", "-o"], "not expected: -o"), (["lint", "--strict="], "--strict takes no"),
                (["compile", "--locale", "de DE", "a"], "the locale 'de DE' isn't a name"),
                *((["compile", "--base", base, "a"], f"the base '{base}' isn't a number from 0 to")
                  for base in ("-1", "4294967296", "1x", "0x1", "")),
                *((["check", "--code-page", page, "a"], f"the code page '{page}' isn't 932, ")
                  for page in ("0", "65001x", "")),
                *((["lint", "--target-code-page", page, "a"], f"the code page '{page}' isn't 932, ")
                  for page in ("0", "99999"))]:
            result = self.run_tool(*arguments, status=2)
            self.assertIn(what, result.err)
            self.assertEqual(result.out, b"")

    def test_operands_are_taken_as_they_are(self):
        image = flat([("010", "1"), ("[x,y]", "2"), ("-o", "3"), ("get", "4"), ("{}", "5")])
        in_folder = functools.partial(self.run_tool, cwd=self.folder)
        for name in "[x,y]", "[x]", "{}", "get", "merge", "-x":
            self.file(name, image)
            in_folder("check", "--", name)
            in_folder("check", "./" + name, "--", name)
            self.assertEqual(in_folder("get", "--", name, "-o").out, b"3\n")
            self.assertEqual(in_folder("merge", "--", name, name).out, image)
        for key, text in ("010", b"1"), ("[x,y]", b"2"), ("get", b"4"), ("{}", b"5"):
            self.assertEqual(in_folder("get", "[x]", key).out, text + b"\n")
        in_folder("compile", "-o", "first", "--base", "7", "-o", "[x]", "--base=010",
                  self.file("text", TEXT))
        self.assertEqual(self.content("[x]"), flat([("/a", "b")], base=10))

    def test_help_and_manual_name_everything(self):
        help_text = self.run_tool("--help").out.decode()
        commands = re.findall(r"^  ([a-z]+) ", help_text, re.M)
        self.assertIn("zdict 1.", self.run_tool("--version").out.decode())
        page = os.path.join(HERE, "../../tools/zdict/zdict.1")
        with open(page, encoding="utf-8") as file:
            manual = file.read().replace("\\-", "-")
        for command in commands:
            own = self.run_tool(command, "--help").out.decode()
            self.assertEqual(self.run_tool(command, "-h").out.decode(), own)
            self.assertIn(f"Usage: zdict {command} ", own)
            self.assertLessEqual(max(map(len, (help_text + own).splitlines())), 80)
            for option in re.findall(r"(?:^  |,)(-+[a-z0-9-]+)", own, re.M) + [command]:
                self.assertIn(option, manual)
        if shutil.which("man"):
            done = subprocess.run(["man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", page],
                                  capture_output=True, timeout=60, check=True,
                                  env={**os.environ, "MANWIDTH": "80", "LC_ALL": "C.UTF-8"})
            self.assertEqual(done.stderr.decode(), "")

    @unittest.skipUnless(shutil.which("bash"), "bash")
    def test_bash_completes_commands_options_and_values(self):
        script = self.file("script", self.run_tool("completion", "bash").out)
        commands = re.findall(r"^  ([a-z]+) ", self.run_tool("--help").out.decode(), re.M)
        for words, expected in [
                (["c"], [name for name in commands if name.startswith("c")]),
                (["--v"], ["--version"]), (["compile", "--b"], ["--base", "--big-endian"]),
                (["compile", "--base", ""], []), (["get", "file", "--app"], ["--apply-markers"]),
                (["dump", "fi"], []), (["check", "--code-page", "=", "1"], []),
                (["completion", "b"], ["bash"]), (["completion", "--he"], ["--help"]),
                (["lint", "--only", "key-b"], ["key-blank"]),
                (["lint", "--no-check", "marker-"], ["marker-order", "marker-lost"]),
                (["lint", "--format", "j"], ["json"])]:
            program = (f'source {script}; COMP_WORDS=(zdict "$@"); COMP_CWORD=$#; compopt() {{ :; }}; '
                       'set -u; _zdict; printf "%s\\n" ${COMPREPLY[@]+"${COMPREPLY[@]}"}')
            done = subprocess.run(["bash", "-c", program, "bash", *words], capture_output=True,
                                  timeout=60, check=True)
            self.assertEqual((done.stdout.decode().split(), done.stderr), (expected, b""), words)


if __name__ == "__main__":
    unittest.main()
