"""Translations after changes of the English texts, and builds that keep them complete."""

import os
import shutil
import subprocess
import unittest

from program import ZDICT, Case

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


class Update(Case):
    def updated(self, translation, english, *options, old=None):
        """Returns the lines of the translation, and the messages."""
        self.file("en.txt", english)
        if old is not None:
            self.file("old.txt", old)
            options += ("--old-english", "old.txt")
        self.file("de.txt", translation)
        result = self.run_tool("update", "--english", "en.txt", *options, "de.txt", cwd=self.folder)
        return result.out.decode().splitlines(), result.err.splitlines()

    def test_lines_and_notes(self):
        note = "{{*COMMENT*}}"
        fuzzy = note + "#, fuzzy\\n#| "
        for line, old, new, expected in [
                ("/a=Datei", "File", "File", "/a=Datei"),
                ("  '\"$$$/a=D#{61}tei\" x'", "File", "File", None),
                ('"$$$/a=Datei"', "File", "Files", f'"$$$/a=Datei{fuzzy}File"'),
                ('"$$$/a=Datei"', None, "Files", '"$$$/a=Datei"'),
                ('"$$$/a=D^Q"', 'a\\nb"', "c", f'"$$$/a=D\\"{fuzzy}a\\n#| b\\""'),
                ('"$$$/a=#{mdash}"', "#{mdash}", "—", '"$$$/a=#{mdash}"'),
                ('"$$$/a=^^1"', "^1" + note + "#: a.c:1", "^^1", '"$$$/a=^^1"'),
                # The note has the English text of the translation.
                (f'"$$$/a=D{fuzzy}File"', "Files", "All", f'"$$$/a=D{fuzzy}File"'),
                (f'"$$$/a=D{fuzzy}File"', "Files", "File", '"$$$/a=D"'),
                (f'"$$$/a=D{note}#| File\\nmine"', None, "Files", f'"$$$/a=D{fuzzy}File\\nmine"'),
                (f'"$$$/a=D{note}#, fuzzy"', "File", "File", f'"$$$/a=D{note}#, fuzzy"'),
                # References are brought up to date where there are some.
                (f'"$$$/a=D{note}#: a.c:1\\n#. x\\nmine"', "F", f"F{note}#: b.c:2",
                 f'"$$$/a=D{note}#: b.c:2\\nmine"'),
                (f'"$$$/a=D{note}#: a.c:1"', "F", "F", f'"$$$/a=D{note}#: a.c:1"'),
                (f'"$$$/a=D{note}mine"', "F", f"F{note}#: b.c:2", f'"$$$/a=D{note}mine"')]:
            lines = self.updated(line, f'"$$$/a={new}"\n' if '"' not in new else f"/a={new}\n",
                                 old=None if old is None else "/a=" + old.replace('"', '\\"'))[0]
            self.assertEqual(lines, [expected or line], (line, old, new))

    def test_report_and_layout(self):
        english = "/new=New ^1\n/kept=Kept\n/changed=Is\n/twice=T\n"
        old = "/gone=Gone\n/kept=Kept\n/changed=Was\n/twice=T\n"
        translation = ('/kept=K\r\n\r\n"$$$/changed=C"\r\n/gone=G\r\n/twice=1\r\n/twice=2')
        english_new = '"$$$/new=New ^1{{*COMMENT*}}#, fuzzy"'
        report = ["de.txt:3:1: changed: $$$/changed was \"Was\", is \"Is\"",
                  "de.txt:4:1: obsolete: $$$/gone", "de.txt:5:1: replaced by line: $$$6",
                  "de.txt: new: $$$/new=New ^1",
                  "zdict: de.txt: 2 texts kept, 1 changed, 1 new, 1 obsolete"]
        changed = '"$$$/changed=C{{*COMMENT*}}#, fuzzy\\n#| Was"'
        for options, expected in [
                ((), ["/kept=K", "", changed, "/twice=2"]),
                (("--keep-obsolete", "--add-new"),
                 ["/kept=K", "", changed, "/gone=G", "/twice=2", english_new])]:
            lines, messages = self.updated(translation, english, *options, old=old)
            self.assertEqual((lines, messages[-5:]), (expected, report))
        self.assertEqual(self.updated(translation, english, "--quiet", old=old)[1][-1][:12],
                         "zdict: de.tx")

    def test_input_forms(self):
        expected = ['"$$$/a=ä{{*COMMENT*}}#, fuzzy\\n#| b"']
        image = self.compiled("/a=b\n")
        for coding, mark, options in [("utf-8", b"\xEF\xBB\xBF", ()), ("utf-16-le", b"\xFF\xFE", ()),
                                      ("utf-16-be", b"\xFE\xFF", ()),
                                      ("cp1252", b"", ("--code-page", "1252"))]:
            lines, _ = self.updated(mark + '"$$$/a=ä"\n'.encode(coding), "/a=c\n", *options, old=image)
            self.assertEqual(lines, expected, coding)
        self.assertEqual(self.updated("", "/a=c\n", "--add-new")[0],
                         ['"$$$/a=c{{*COMMENT*}}#, fuzzy"'])
        self.assertEqual(self.updated("/a=b\n", "")[0], [])

    def test_bad_input_changes_nothing(self):
        english = self.file("en.txt", "/a=b\n")
        for content, status in [("/a=1\n$b=2\n", 1), (b"/a=\xE9\n", 1), (self.compiled("/a=b"), 2)]:
            file = self.file("de.txt", content)
            before = self.content("de.txt")
            self.run_tool("update", "--english", english, "-o", file, file, status=status)
            self.assertEqual(self.content("de.txt"), before)
        self.run_tool("update", english, status=2)

    def test_in_place(self):
        self.file("en.txt", "/a=c\n")
        file = self.file("de.txt", "/a=d\n/b=e\n")
        self.run_tool("update", "--english", self.path("en.txt"), "-o", file, file)
        self.assertEqual(self.content("de.txt"), b"/a=d\n")


PROJECT = """cmake_minimum_required(VERSION 3.25)
project(Host LANGUAGES NONE)
add_executable(U::zdict IMPORTED GLOBAL)
set_target_properties(U::zdict PROPERTIES IMPORTED_LOCATION "@ZDICT@")
include("@ROOT@/cmake/u_add_dictionary.cmake")
include("@ROOT@/cmake/u_add_texts.cmake")
add_custom_target(host)
u_add_texts(host @STRICT@ ENGLISH texts/en.txt LANGUAGES de SOURCES src
  TABLES "ROW=$$$/t/%1=%2" EXCLUDE_KEYS "/private/*" DESTINATION share)
"""


@unittest.skipUnless(shutil.which("cmake") and shutil.which("ninja"), "needs CMake and Ninja")
class Build(Case):
    def build(self, *targets, fails=False):
        done = subprocess.run(["cmake", "--build", self.path("build"), "--target", "all", *targets],
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=60)
        output = done.stdout.decode()
        self.assertEqual(done.returncode != 0, fails, output)
        return output

    def configure(self, strict):
        project = PROJECT.replace("@ZDICT@", ZDICT).replace("@ROOT@", ROOT).replace("@STRICT@", strict)
        self.file("CMakeLists.txt", project)
        subprocess.run(["cmake", "-G", "Ninja", "-S", self.folder, "-B", self.path("build")],
                       stdout=subprocess.PIPE, check=True, timeout=60)

    def shown(self, key):
        return self.run_tool("get", self.path("build/host_de.zdict"), key).out.decode().rstrip("\n")

    def test_changes_of_sources_reach_the_dictionary(self):
        for folder in "src", "texts":
            os.mkdir(self.path(folder))
        self.file("src/a.cpp", 'f("$$$/a=File"); ROW(1, "one") g("$$$/private/x=y");')
        self.file("texts/en.txt", "/a=File\n/t/1=one\n".replace("/", '"$$$/', 1))
        self.file("texts/de.txt", "")
        self.configure("")
        self.assertIn("missing-key", self.build())
        self.build("host_texts_update")
        self.file("texts/de.txt", '"$$$/a=Datei"\n"$$$/t/1=eins"\n')
        self.assertEqual(self.content("texts/en.txt"), b'"$$$/a=File"\n"$$$/t/1=one"\n')
        self.configure("STRICT")
        self.build()
        self.assertEqual(self.shown("/a"), "Datei")
        self.assertNotIn("Extracting", self.build())

        # A new text, a changed one, and a text that is gone.
        self.file("src/a.cpp", 'f("$$$/a=Files"); ROW(2, "two")')
        self.assertIn("[missing-key]", self.build(fails=True))
        self.file("texts/de.txt", '"$$$/a=Datei"\n"$$$/t/2=zwei"\n')
        self.assertIn("target host_texts_update", self.build(fails=True))
        self.file("texts/de.txt", '"$$$/a=Datei"\n')
        build = subprocess.run(["cmake", "--build", self.path("build"), "--target",
                                "host_texts_update"], timeout=60, stdout=subprocess.PIPE)
        self.assertEqual(build.returncode, 0)
        self.assertEqual(self.content("texts/en.txt"), b'"$$$/a=Files"\n"$$$/t/2=two"\n')
        self.assertEqual(self.content("texts/de.txt").decode().splitlines(),
                         ['"$$$/a=Datei{{*COMMENT*}}#, fuzzy\\n#| File"',
                          '"$$$/t/2=two{{*COMMENT*}}#: src/a.cpp:1\\n#, fuzzy"'])
        self.assertIn("[outdated]", self.build(fails=True))
        self.file("texts/de.txt", '"$$$/a=Dateien"\n"$$$/t/2=zwei"\n')
        self.build()
        self.assertEqual(self.shown("/a"), "Dateien")
        subprocess.run(["cmake", "--install", self.path("build"), "--prefix", self.path("at")],
                       check=True, stdout=subprocess.PIPE, timeout=60)
        self.assertEqual(sorted(os.listdir(self.path("at/share"))), ["host_de.zdict", "host_en.txt"])
