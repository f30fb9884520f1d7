"""Runs the program named by the environment's MEMLOG on logs of a temporary folder."""

import contextlib
import fcntl
import html.parser
import importlib.machinery
import os
import pty
import re
import resource
import select
import signal
import struct
import subprocess
import sys
import termios
import time
import types
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.append(os.path.join(HERE, "../support"))
from folder_case import FolderCase

MEMLOG = os.environ["MEMLOG"]
MIB = 1 << 20
COLUMNS = ("virtual delta_virtual calc_mem diff_mem calc_u diff_u slop deltaslop calc diff_calc"
           " resident diff_res pageins faults diff_faults limit_prepurge limit_max glob_free"
           " glob_active glob_inactive glob_wired glob_faults glob_pageins glob_pageouts").split()

WITH_PURGES = [*COLUMNS, "purges"]


def stamp(second, process=77, day=26):
    return f"[{process}:1f] 11/{day:02}/2026 12:{second // 60:02}:{second % 60:02}.250 "


def head(process=77, columns=COLUMNS):
    return (stamp(0, process) + " * log start\n" + stamp(0, process) +
            "".join("\t" + name for name in columns) + "\n")


def row(second, process=77, **figures):
    all_figures = {"calc_mem": 20 * MIB, "calc_u": 24 * MIB, "resident": 30 * MIB,
                   "limit_prepurge": 40 * MIB, "limit_max": 48 * MIB, **figures}
    columns = [name for name in WITH_PURGES if name in COLUMNS or name in figures]
    return stamp(second, process) + "".join(
        f"\t{all_figures.get(name, 0)}" for name in columns) + "\n"


def rows(count, **figures):
    return "".join(row(second, **figures) for second in range(count))


class Page(html.parser.HTMLParser):
    """Collects the text of a page, and what it refers to."""

    def __init__(self, text):
        super().__init__()
        self.text, self.tags, self.references = "", set(), []
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        self.tags.add(tag)
        self.references += [value for name, value in attrs if name in ("src", "href", "xlink:href")]

    def handle_data(self, data):
        self.text += data


class Case(FolderCase):
    def log(self, content, name="log"):
        return self.file(name, content)

    def run_tool(self, *arguments, status=0, stdin=None, **more):
        done = subprocess.run([MEMLOG, *arguments], input=stdin, capture_output=True, timeout=60,
                              check=False, **more)
        self.assertEqual(done.returncode, status, f"{arguments}: {done.stderr.decode()}")
        self.assertNotIn("Traceback", done.stderr.decode())
        done.out, done.err = done.stdout.decode(errors="replace"), done.stderr.decode()
        return done


class Logs(Case):
    def test_a_file_that_is_no_log_is_refused(self):
        for content, message in [
                ("", "the log is empty"),
                ("a\nb\n", "line 1: there is no start line: the file is no memory log"),
                (" * log start\n", "line 1: there is no start line"),
                (bytes(1 << 20), "line 1: there is no start line"),
                (b"\x89PNG\r\n\x1a\n\xff", "line 1: there is no start line"),
                (stamp(0) + " * log sta", "line 1: there is no start line"),
                (row(1), "line 1: there is no start line"),
                (head().replace("resident", "rss"), "line 2: the columns are not those of"),
                (head(), "there are no rows yet"),
                (head() + row(1)[:-1], "there are no rows yet")]:
            name = self.log(content)
            result = self.run_tool("-o", self.path("plot.svg"), name, status=1)
            self.assertIn(f"memlog: {name}: {message}", result.err)
            self.assertEqual(os.listdir(self.folder), ["log"])
        for name, message in [(self.path("none"), "No such file"), (self.folder, "Is a directory")]:
            self.assertIn(f"{name}: {message}", self.run_tool(name, status=1).err)

    def test_wrong_lines_are_named_and_left_out(self):
        good = row(5)
        for wrong, message in [
                (row(2)[:-1], "the line is incomplete"),  # only at the end
                (row(2)[:60] + "\n", "the row has 7 of 24 figures"),
                (row(2)[:-1] + "\t1\n", "the row has 25 of 24 figures"),
                (row(2)[:9] + "\n", "there is no process and time"),
                ("\n", "there is no process and time"),
                (stamp(2) + "x" * 5000 + "\n", "there are more than 4096 bytes"),
                (stamp(2) + "\n", "the row has 0 of 24 figures"),
                (row(2, calc_mem=2**64), f"the figure '{2**64}' of calc_mem is no number of 64 bits"),
                (row(2, calc_mem="9" * 500), "the figure '9999999999999999999999999999999999999999' of"),
                (row(2, slop=2**63), f"the figure '{2**63}' of slop"),
                (row(2, diff_res=-2**63 - 1), f"the figure '{-2**63 - 1}' of diff_res"),
                (row(2, resident=-1), "the figure '-1' of resident"),
                *((row(2, faults=text), f"the figure '{shown}' of faults")
                  for text, shown in [("", ""), ("1_0", "1_0"), ("+1", "+1"), ("1 ", "1 "),
                                      ("0x1", "0x1"), ("\x1b[2J", "\\x1B[2J")]),
                (row(2).replace("11/26", "02/30"), "there is no such time"),
                (row(2).replace("11/26", "13/01"), "there is no such time"),
                (row(2).replace(" 12:", " 24:"), "there is no such time")]:
            for end in ["", good] if wrong.endswith("\n") else [""]:
                name = self.log(head() + rows(2) + wrong + end)
                result = self.run_tool(name)
                self.assertEqual(result.err.count("\n"), 1, wrong)
                self.assertIn(f"memlog: {name}: line 5: {message}", result.err)
                self.assertIn("left out", result.err)
                self.assertRegex(result.out, f"77 2026-11-26 12:00:00 +{2 + bool(end)} ")

    def test_the_column_of_purges_is_in_all_rows_or_in_none(self):
        for columns, wrong, message in [
                (WITH_PURGES, row(2), "the row has 24 of 25 figures"),
                (WITH_PURGES, row(2, purges=-1), "the figure '-1' of purges"),
                (WITH_PURGES, row(2, purges=2**64), f"the figure '{2**64}' of purges"),
                (COLUMNS, row(2, purges=1), "the row has 25 of 24 figures")]:
            good = row(3, **({"purges": 7} if columns is WITH_PURGES else {}))
            name = self.log(head(columns=columns) + good + wrong)
            result = self.run_tool(name)
            self.assertIn(f"memlog: {name}: line 4: {message}", result.err)
            self.assertRegex(result.out, r"77 2026-11-26 12:00:03 +1 ")
        name = self.log(head() + row(1, 78, purges=1) + row(2, 78, purges=1) + row(3, 78))
        self.assertRegex(self.run_tool(name).err, "line 3: process 78 has no start line .*\n"
                         ".* line 5: the row has 24 of 25 figures")
        for columns in [*COLUMNS, "other"], [*WITH_PURGES, "other"]:
            self.log(head(columns=columns))
            self.assertIn("line 2: the columns are not those of", self.run_tool(name, status=1).err)

    def test_extreme_figures_and_line_ends_are_read(self):
        text = head() + row(0, calc_mem=2**64 - 1, diff_mem=-2**63, slop=2**63 - 1) + row(1)
        for content in text, text.replace("\n", "\r\n"):
            result = self.run_tool("-o", self.path("plot.svg"), self.log(content))
            self.assertEqual(result.err, "")
            self.assertIn(b"<svg", self.content("plot.svg"))
        self.assertIn("17,592,186,044,416.0 MiB", self.run_tool("-", stdin=text.encode()).out)

    def test_many_wrong_lines_are_counted(self):
        result = self.run_tool(self.log(head() + "x\n" * 15 + row(1)))
        self.assertEqual(result.err.count("\n"), 11)
        self.assertIn("line 12: ", result.err)
        self.assertIn("log: 5 more lines of that kind\n", result.err)

    def test_rows_are_kept_apart_by_process_and_by_time(self):
        mixed = (head() + rows(3) + head(78) + row(1, 78, calc_mem=33 * MIB) + row(4) +
                 row(2) + row(3) + row(5, 79) + head(80))
        result = self.run_tool(self.log(mixed))
        self.assertEqual(
            [line.split()[:5] for line in result.out.splitlines()[1:]],
            [["1", "77", "2026-11-26", "12:00:00", "4"], ["2", "78", "2026-11-26", "12:00:01", "1"],
             ["3", "77", "2026-11-26", "12:00:02", "2"], ["4", "79", "2026-11-26", "12:00:05", "1"],
             ["5", "80", "no", "rows"]])
        self.assertIn("log: line 10: the time is earlier than in the row before", result.err)
        self.assertIn("log: line 12: process 79 has no start line before", result.err)
        for options, process in [([], 79), (["--run", "1"], 77), (["--run=2"], 78)]:
            self.run_tool("-o", self.path("plot.html"), *options, self.path("log"))
            self.assertIn(f"Memory of process {process}", Page(self.content("plot.html").decode()).text)
        for number, message in [("5", "run 5 has no rows"), ("6", "there is no run 6; the log has 5")]:
            result = self.run_tool("-o", self.path("p.svg"), "--run", number, self.path("log"), status=1)
            self.assertIn(message, result.err)


class Pictures(Case):
    def test_each_form_is_made_also_of_one_row(self):
        for count in 1, 2, 3000:
            name = self.log(head() + rows(count))
            for ending in "png", "svg", "html":
                self.run_tool("-o", self.path("plot." + ending), name)
            self.assertEqual(self.content("plot.png")[:24], b"\x89PNG\r\n\x1a\n" + bytes(3) + b"\rIHDR" +
                             struct.pack(">II", 1000, 600))
            svg = self.content("plot.svg").decode()
            for title in "tracked use", "resident", "prepurge limit", "maximum limit", "recycled pool":
                self.assertIn(title, svg)
            self.assertGreater(len(re.findall("#9ecae1|158,202,225|158, 202, 225", svg, re.I)), 0)

    def test_a_page_stands_alone_and_shows_the_figures(self):
        name = self.log(head() + rows(9) + row(9, calc_mem=41 * MIB) + "x\n", "<b>&log")
        self.run_tool("-o", self.path("plot.html"), name)
        page = Page(self.content("plot.html").decode())
        self.assertEqual([what for what in page.references if not what.startswith("#")], [])
        self.assertIn("svg", page.tags)
        self.assertTrue(page.tags.isdisjoint({"b", "script", "link", "img", "image", "iframe"}))
        for text in (name, "41.0 MiB", "30.0 MiB", "rows above the prepurge limit1", "line 13: ",
                     "The log has no count of purges"):
            self.assertIn(text, page.text)

    def test_purges_are_drawn_as_marks_on_the_axis_of_time(self):
        def marks():
            paths = re.findall(r"<path stroke='(?:rgb\(140, *81, *10\)|#8c510a)' +d='([^']*)'",
                               self.content("plot.svg").decode())
            return sum(path.count("L") for path in paths)

        lines = head(columns=WITH_PURGES)
        for second in range(40):
            lines += row(second, purges=5 * (second in (10, 20, 30)))
        self.run_tool("-o", self.path("plot.svg"), self.log(lines))
        self.assertIn("calls of the purge callback", self.content("plot.svg").decode())
        counted = marks()
        self.log(lines.replace("\t5\n", "\t0\n"))
        self.run_tool("-o", self.path("plot.svg"), self.path("log"))
        self.assertEqual(counted - marks(), 3)
        self.run_tool("-o", self.path("plot.html"), self.log(lines))
        page = Page(self.content("plot.html").decode())
        self.assertIn("calls of the purge callback15", page.text)
        self.assertNotIn("no count of purges", page.text)
        self.run_tool("-o", self.path("plot.svg"), self.log(head() + rows(40)))
        self.assertNotIn("purge callback", self.content("plot.svg").decode())

    def test_limits_far_above_are_written_and_not_drawn(self):
        self.run_tool("-o", self.path("plot.svg"), self.log(head() + rows(3, limit_max=4096 * MIB)))
        svg = self.content("plot.svg").decode()
        self.assertIn("maximum limit, above: 4,096.0 MiB", svg)
        self.assertNotIn("prepurge limit, above", svg)

    def test_thinned_curves_keep_their_peaks(self):
        module = types.ModuleType("memlog")
        importlib.machinery.SourceFileLoader("memlog", MEMLOG).exec_module(module)
        for count in 1, 999, 1000, 1001, 5003, 100000:
            points = [(x, 5) for x in range(count)]
            high, low = count // 2, count // 3
            points[low], points[high] = (low, 1), (high, 9)
            thin = module.thinned(points)
            self.assertLessEqual(len(thin), 1002)
            self.assertIn((high, 9), thin)
            self.assertTrue(count < 3 or (low, 1) in thin)
            self.assertEqual(thin, sorted(thin))

    def test_an_output_file_keeps_its_old_content_on_failure(self):
        name, plot = self.log(head() + rows(3)), self.log("before", "plot.svg")
        os.mkdir(self.path("bin"))
        for script, message in [
                (None, "gnuplot can't be started: No such file or directory (install gnuplot-nox)"),
                ("echo half; echo 'no\x1bfont' >&2; exit 3", "gnuplot failed: no\\x1Bfont"),
                ("cat >/dev/null", "gnuplot failed: ")]:
            if script:
                with open(self.path("bin/gnuplot"), "w", encoding="utf-8") as file:
                    file.write(f"#!/bin/sh\n{script}\n")
                os.chmod(self.path("bin/gnuplot"), 0o755)
            result = self.run_tool("-o", plot, name, status=1,
                                   env={"PATH": self.path("bin") + (":/bin" if script else "")})
            self.assertIn(message, result.err)

        def small_files():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (50, 50))

        result = self.run_tool("-o", plot, name, status=1, preexec_fn=small_files)
        self.assertIn(f"memlog: {name}: {plot} can't be written: File too large", result.err)
        result = self.run_tool("-o", self.path("none/plot.svg"), name, status=1)
        self.assertIn("none/plot.svg can't be written: No such file", result.err)
        self.assertEqual(self.content("plot.svg"), b"before")
        os.symlink("plot.svg", self.path("link.svg"))
        self.run_tool("-o", self.path("link.svg"), name, umask=0o027)
        self.assertTrue(os.path.islink(self.path("link.svg")))
        self.assertIn(b"<svg", self.content("plot.svg"))
        self.assertEqual(os.stat(plot).st_mode & 0o777, 0o640)
        self.assertEqual(sorted(os.listdir(self.folder)), ["bin", "link.svg", "log", "plot.svg"])


class Usage(Case):
    def test_wrong_usage(self):
        for arguments, message in [
                ([], "give LOG or --process"), (["a", "-p", "1"], "give LOG or --process"),
                (["a", "b"], "unrecognized arguments: b"), (["--bogus", "a"], "--bogus"),
                (["-o", "a.pdf", "a"], "the output 'a.pdf' ends in none of .png, .svg, .html"),
                (["-o", "\x1b", "a"], "the output '\\x1B' ends"),
                *((["--run", number, "a"], f"'{number}' isn't a number from 1 to 999999999")
                  for number in ("0", "x", "1x", "", "1000000000")),
                (["-p", "x"], "'x' isn't a number"),
                (["--follow", "a"], "--follow needs a terminal"),
                (["--follow", "-o", "a.svg", "a"], "--follow can't be given with -o")]:
            result = self.run_tool(*arguments, status=2)
            self.assertRegex(result.err, r"^memlog: .* \(see memlog --help\)\n$")
            self.assertIn(message, result.err)
            self.assertEqual(result.out, "")

    def test_help_and_manual_name_every_option(self):
        self.assertRegex(self.run_tool("--version").out, r"^memlog [0-9]+\.[0-9]+\.[0-9]+\n$")
        help_text = self.run_tool("--help").out
        self.assertEqual(self.run_tool("-h").out, help_text)
        with open(HERE + "/../../tools/memlog/memlog.1", encoding="utf-8") as file:
            manual = file.read().replace("\\-", "-")
        for option in set(re.findall(r"--?[a-z]+\b", help_text)):
            self.assertIn(option, manual)

    def test_the_log_of_a_running_process_is_found(self):
        name = self.path(f"bc_memory.{os.getpid()}.log")
        with open(name, "w", encoding="utf-8") as file:
            file.write(head(os.getpid()) + row(1, os.getpid()))
            file.flush()
            self.assertIn(f" {os.getpid()} ", self.run_tool("-p", str(os.getpid())).out)
        result = self.run_tool("--process=999999999", status=1)
        self.assertIn("/bc_memory.999999999.log: No such file", result.err)


class Follow(Case):
    def setUp(self):
        super().setUp()
        self.host = subprocess.Popen(["cat"], stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)
        self.addCleanup(self.end_host)
        self.name = self.log(head(self.host.pid))
        self.leader, follower = pty.openpty()
        self.addCleanup(os.close, self.leader)
        fcntl.ioctl(follower, termios.TIOCSWINSZ, struct.pack("HHHH", 24, 100, 0, 0))
        environment = {name: value for name, value in os.environ.items()
                       if name not in ("LINES", "COLUMNS")}
        self.tool = subprocess.Popen([MEMLOG, "--follow", "--minutes", "1", self.name],
                                     stdout=follower, stderr=follower, env=environment)
        self.addCleanup(self.end_tool)
        os.close(follower)
        self.shown = ""

    def end_host(self):
        self.host.stdin.close()
        self.host.wait()

    def end_tool(self):
        self.tool.kill()
        self.tool.wait()

    def append(self, text):
        with open(self.name, "a", encoding="utf-8") as file:
            file.write(text)

    def wait_for(self, text):
        """Waits until the terminal has shown a text, and returns all that came before."""
        end = time.monotonic() + 30  # the tool draws each second
        while text not in self.shown:
            self.assertTrue(select.select([self.leader], [], [], 30)[0], self.shown)
            self.assertLess(time.monotonic(), end, self.shown)
            self.shown += os.read(self.leader, 65536).decode()
        before, _, self.shown = self.shown.partition(text)
        return re.sub("\x1b\\[[0-9;]*[A-Za-z]", "", before)

    def test_rows_are_shown_as_they_are_written_until_the_process_ends(self):
        pid = self.host.pid
        self.wait_for("no row yet")
        self.append(row(1, pid))
        self.wait_for("2026-11-26 12:00:01  use 20.0 MiB  pool 4.0 MiB  resident 30.0 MiB  "
                      f"process {pid}")
        self.wait_for("maximum limit")
        half, rest = row(90, pid, calc_mem=31 * MIB)[:70], row(90, pid, calc_mem=31 * MIB)[70:]
        self.append(half)
        self.wait_for("12:00:01  use 20.0 MiB")
        self.append(rest)
        self.wait_for("12:01:30  use 31.0 MiB")
        self.wait_for(f"process {pid}")
        axis = self.wait_for("process ")
        self.assertIn("12:01:30", axis)
        self.assertNotIn("12:00:01", axis)  # more than a minute ago
        self.assertLessEqual(max(map(len, axis.replace("\r", "").split("\n"))), 100)
        self.host.stdin.close()  # the process ends, and nobody waits for it
        self.wait_for(f"process {pid} has ended")
        self.assertEqual(self.tool.wait(timeout=30), 0)

    def test_it_ends_with_an_interrupt_and_with_a_log_that_shrinks(self):
        self.wait_for("no row yet")
        self.tool.send_signal(signal.SIGINT)
        self.assertEqual(self.tool.wait(timeout=30), 0)

    def test_a_log_that_becomes_shorter_ends_it(self):
        self.wait_for("no row yet")
        os.truncate(self.name, 0)
        self.wait_for("the log has become shorter")
        self.assertEqual(self.tool.wait(timeout=30), 1)


class Host(Case):
    """The example host on the files of this folder."""

    def run_host(self, *arguments, **more):
        return subprocess.run([os.environ["FILECACHE"], *arguments, HERE], capture_output=True,
                              text=True, timeout=60, check=False, **more)

    def test_the_example_host_draws_its_use_and_removes_the_log(self):
        os.mkdir(self.path("tmp"))
        environment = {**os.environ, "TMPDIR": self.path("tmp")}
        done = self.run_host("--memory-log", "1", "--memory-plot", self.path("plot.html"),
                             env=environment)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertIn("calls of the purge callback", Page(self.content("plot.html").decode()).text)
        done = self.run_host("--memory-plot", self.path("none/plot.png"), "--memory-log", "1",
                             env=environment)
        self.assertEqual(done.returncode, 1)
        self.assertIn("none/plot.png can't be written", done.stderr)
        self.assertIn(f"can't draw the memory log to {self.path('none/plot.png')}\n", done.stderr)
        self.assertEqual(os.listdir(self.path("tmp")), [])
        done = self.run_host("--memory-plot", "plot.pdf")
        self.assertEqual(done.returncode, 2)
        self.assertIn("the plot 'plot.pdf' ends in none of .png, .svg and .html", done.stderr)

    def test_an_ordinary_user_is_told_which_log_cannot_be_written(self):
        more = {} if os.geteuid() else {"user": 65534, "group": 65534, "extra_groups": []}
        with contextlib.suppress(PermissionError):
            done = self.run_host("--memory-log", "10", **more)
            self.assertEqual(done.returncode, 1)
            self.assertRegex(done.stderr, r"can't write /bc_memory\.[0-9]+\.log: Permission denied")
            return
        self.skipTest("the user nobody may not run the host")


if __name__ == "__main__":
    unittest.main()
