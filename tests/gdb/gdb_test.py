"""Runs gdb in batch on the program of the environment's SUBJECT, alive and as a core file, and
compares what the printers and the commands of tools/gdb print.
"""

import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
SCRIPT = ROOT / "tools/gdb/libU-gdb.py"
WRECK = "A" * 8  # the bytes of the subject's damaged objects
WRECK_NUMBER = int.from_bytes(WRECK.encode(), "little")

TREE = ('kType_Null 0 = {u"files" = kType_Int 12, u"on" = kType_Bool true, u"list" = kType_Tree = '
        '{[0] = kType_Int 1, [1] = kType_String u"two"}, u"z.y" = kType_Double 0.5}')


def wreck(kind, name):
    return f"print *({kind} *) &{name}"


def value(text):
    """A pattern of the line that gdb prints for a value."""
    return r"\$\d+ = " + re.escape(text)


# Commands of gdb, each with a pattern of its whole output.
TEXTS = [
    ("print ascii", value('u"plain"')),
    ("print half", value('u"\\ud83d"')),
    ("print empty", value('u""')),
    ("print endless", value('u"' + 200 * "e" + '"...')),
    ("print ztext", value('u"Page ^1 of ^2"')),
    ("print zempty", value('u""')),
    ("print key", value('"selection"')),
    ("print wide", value('u"Größe \U0001F600 \\"x\\"\\n"')),
    ("print utf8", value('u8"Größe \\xff"')),
]
# In a terminal that shows ASCII alone.
ASCII_TEXTS = TEXTS[:-2] + [
    ("print wide", value('u"Gr\\u00f6\\u00dfe \\U0001f600 \\"x\\"\\n"')),
    ("print utf8", value('u8"Gr\\u00f6\\u00dfe \\xff"')),
]
VALUES = [
    ("print anys", value(
        '{kType_Null 0, kType_Bool true, kType_Int -12, kType_Int 1099511627776, '
        'kType_Double 2.5, kType_MBString "narrow", kType_String u"plain", kType_None, no value, '
        "kType_None 99 'c'}")),
    ("print tree", value(TREE)),
    ("print wrapper", value(TREE)),
    ("print leaf", value("kType_Null 0")),
    ("print thumbnail", r"\$\d+ = \(handle\) 0x\w+, 120 bytes, heap \d+, .*"),
    ("print *tile", r"\$\d+ = \(handle\) 0x\w+, 1000 bytes, heap \d+, Tile"),
    ("print stale", r"\$\d+ = \(handle\) 0x\w+, free"),
    ("print notHandle", r"\$\d+ = \(void \*\*\) 0x\w+"),
    ("print *task.px", r"\$\d+ = context 2, active 2, thread \d+ = "
                       r'\{"selection" = \(\(anonymous namespace\)::SelectionState \*\) 0x\w+\}'),
    ("print *idle.px", r"\$\d+ = context 1, active 0, no thread = \{\"selection\" = .*\}"),
]
LISTS = [
    ("u live-blocks", r" +blocks +bytes  name\n(?:.*\n)* +2 +1024  Tile\n(?:.*\n)*"
                      r" +\d+ +\d+  in all"),
    ("u live-blocks Tile", r" +address +bytes  heap  handle\n"
                           r"(?: +0x\w+ +(?:1000|24) +\d+  0x\w+\n?){2}"),
    ("u live-blocks nothing", "u live-blocks: no live block has the name nothing"),
    ("u hogs", r" +handles +bytes  name\n +1 +500  Images\n +0 +0  Sounds"),
    ("u threads", r" +id  gdb  name +roles\n +\d+ +1  .* main, render, UI"),
    ("u posted", r'U_Sev_WARNING at 66 :: 1: u"Subject warning: The disk is full"\n'
                 r'U_Sev_PROBLEM at 66 :: 1: u"Subject error: Gr.*e"'),
    ("u no_such_place", 'Function "no_such_place" not defined.|The program is not being run.'),
]
CHECKED = [
    ("print thumbnail", r"\$\d+ = \(handle\) 0x\w+, 120 bytes, heap \d+, Thumbnail"),
    ("print stale", r"\$\d+ = \(handle\) 0x\w+, free"),
    LISTS[0],
    ("u live-blocks Image", r" +address +bytes  heap  handle\n +0x\w+ +516 +\d+  0x\w+"),
]
UNREADABLE = r"<damaged: (?:Cannot access memory at address|cannot read \d+ bytes at) 0x4141\w+>"
DAMAGED = [
    (wreck("U_UTF16String", "badUTF16"), value(f"<damaged: a text of {WRECK_NUMBER} code units>")),
    (wreck("U_UTF8String", "badUTF8"), value(f"<damaged: a text of {WRECK_NUMBER} code units>")),
    (wreck("hollin::ZString", "badZText"), r"\$\d+ = " + UNREADABLE),
    (wreck("U_Any", "badAny"), value("<damaged: the kind 1094795585>")),
    (wreck("U_AnyTree", "badTree"), r"\$\d+ = " + UNREADABLE),
    (wreck("U_AnyTreeWrapper", "badWrapper"), r"\$\d+ = " + UNREADABLE),
    (wreck("krobase::utility::ImmutableString", "badKey"), r"\$\d+ = " + UNREADABLE),
    (wreck("U_Context", "badContext"), r"\$\d+ = context .* = \{states = " + UNREADABLE + r"\}"),
]
NO_SYMBOLS = ("there is no debug information of the library: build it with -g, or install "
              "libu1-dbgsym and libuplatform1-dbgsym")
NO_LIBRARY = ("gdb finds no libU in the process: the core file is cut, or the process has not "
              "loaded the library")
COMMANDS = ["u live-blocks", "u hogs", "u threads", "u posted"]
# Damage that gdb itself does to the live process. Each row relies on those before.
SPOILED = [
    ("set var ascii._M_string_length = 8", ""),
    ("print ascii", value("<damaged: a string of 8 code units in room for 7>")),
    ("python task = gdb.parse_and_eval('*task.px')['mStates']['_M_t']['_M_impl']"
     "['_M_node_count']; gdb.execute(f'set var *(long *) {int(task.address)} = 0')", ""),
    ("print *task.px", r".* = \{states = <damaged: a map has more nodes than it counts>\}"),
    ("set var *(int *) ((char *) pointers[1] - 16) = 0", ""),
    ("u live-blocks (damaged header)",
     r" +address +bytes  heap  handle\n +0x\w+ +24 +\d+  0x\w+"),
    ("set var (*(int **) &'(anonymous namespace)::sHogTable')[0] = 0", ""),
    ("u hogs", "u hogs: the table of hogs is damaged"),
    ("python slabs = gdb.lookup_static_symbol('tolv::(anonymous namespace)::sFirstSlab').value();"
     "gdb.execute(f'set var *(long *) {int(slabs.address)} = 24')", ""),
    ("u live-blocks", "u live-blocks: the list of slabs is damaged: it leads to 0x18"),
    ("print thumbnail", r"\$\d+ = \(void \*\*\) 0x\w+"),
    ("kill", r"(?:.*\n)*.*killed\]"),
    ("u threads", "u threads: there is no process and no core file"),
]


def run_gdb(arguments, commands, encoding="C.UTF-8"):
    """Runs gdb, and returns the output of each command."""
    line = ["gdb", "-nx", "-batch", "-iex", "set auto-load safe-path /", *arguments]
    for number, command in enumerate(commands):
        line += ["-ex", f"echo @@{number}\\n", "-ex", command]
    done = subprocess.run([*line, "-ex", "echo @@end\\n"], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, timeout=120, check=False,
                          env={**os.environ, "LC_ALL": encoding})
    output = done.stdout.decode("utf-8", "replace")
    if "ptrace: Operation not permitted" in output:
        raise unittest.SkipTest("gdb may not watch a process")
    return output, [part.strip("\n")
                    for part in re.split(r"@@\w+\n", output)[1:-1]]


@unittest.skipUnless(shutil.which("gdb"), "gdb is not installed")
class Gdb(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.core = cls.folder.name + "/core"

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def check(self, arguments, setup, rows, encoding="C.UTF-8"):
        output, parts = run_gdb(arguments, setup + [command for command, _ in rows], encoding)
        self.assertEqual(len(parts), len(setup) + len(rows), output)
        self.assertNotIn("Traceback", output)
        self.assertNotIn("Python Exception", output)
        for (command, pattern), printed in zip(rows, parts[len(setup):]):
            with self.subTest(command):
                self.assertRegex(printed, re.compile(rf"\A(?:{pattern})\Z"))

    def test_process_and_core(self):
        setup = ["break Ready", "run", "up", f"source {SCRIPT}", f"generate-core-file {self.core}"]
        self.check([os.environ["SUBJECT"]], setup,
                   TEXTS + VALUES + LISTS + DAMAGED + SPOILED)
        self.check([os.environ["SUBJECT"], self.core], ["up", f"source {SCRIPT}"],
                   ASCII_TEXTS + VALUES + LISTS + DAMAGED, "C")

    def test_names_of_all_kinds_in_a_checked_heap(self):
        setup = ["set environment U_HEAP_CHECKS 1", "break Ready", "run", "up", f"source {SCRIPT}"]
        self.check([os.environ["SUBJECT"]], setup, CHECKED)

    def test_without_debug_information(self):
        library = pathlib.Path(os.environ["LIBRARY"])
        folder = pathlib.Path(self.folder.name, "stripped")
        folder.mkdir()
        for path in library.parent.glob("libU*.so.*"):
            subprocess.run(["strip", "--strip-debug", "-o", folder / path.name, path], check=True)
        setup = [f"set environment LD_LIBRARY_PATH {folder}", "break Ready", "run", "up",
                 f"source {SCRIPT}"]
        rows = [(command, re.escape(f"{command}: {NO_SYMBOLS}")) for command in COMMANDS]
        context = re.escape(f"<unreadable: {NO_SYMBOLS}>")
        self.check([os.environ["SUBJECT"]], setup,
                   rows + [("print *task.px", rf"\$\d+ = {context}.*")])

    def test_process_without_the_library(self):
        self.check([os.environ["SUBJECT"]], ["starti", f"source {SCRIPT}"],
                   [(command, re.escape(f"{command}: {NO_LIBRARY}")) for command in COMMANDS])

    def test_installed_script_is_found(self):
        prefix = pathlib.Path(self.folder.name, "usr")
        subprocess.run([os.environ["CMAKE"], "--install", os.environ["BUILD"], "--prefix", prefix,
                        "--component", "gdb"], stdout=subprocess.DEVNULL, check=True)
        scripts = prefix / "share/gdb/auto-load"
        script, = scripts.rglob("libU.so.*-gdb.py")
        library = pathlib.Path("/", script.relative_to(scripts)).with_name(
            script.name.removesuffix("-gdb.py"))
        library.parent.mkdir(parents=True)
        shutil.copy(os.environ["LIBRARY"], library)
        self.check(["-iex", f"add-auto-load-scripts-directory {scripts}", library], [],
                   [("u hogs", "u hogs: there is no process and no core file")])
        self.assertEqual(list(scripts.rglob("__pycache__")), [])


if __name__ == "__main__":
    unittest.main()
