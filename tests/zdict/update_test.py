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
                (f'"$$$/a=D{note}#| File\\nmine"', None, "Files", f'"$$$/a=D{fuzzy}File\\nmine"'),
                (f'"$$$/a=D{note}#| File"', "Files", "File", None),
                # Only a translator removes the mark, not English that is the old one again.
                (f'"$$$/a=D{fuzzy}File"', "Files", "File", None),
                (f'"$$$/a=D{fuzzy}File"', None, "File", None),
                (f'"$$$/a=D{note}#, fuzzy"', "File", "File", None),
                # References are brought up to date where there are some.
                (f'"$$$/a=D{note}#: a.c:1\\n#. x\\nmine"', "F", f"F{note}#: b.c:2",
                 f'"$$$/a=D{note}#: b.c:2\\nmine"'),
                (f'"$$$/a=D{note}#: a.c:1"', "F", "F", f'"$$$/a=D{note}#: a.c:1"'),
                (f'"$$$/a=D{note}#: a.c:1\\n#. x"', "F", f"F{note}#. y",
                 f'"$$$/a=D{note}#: a.c:1\\n#. y"'),
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
                  "de.txt:4:1: obsolete: $$$/gone", "de.txt:5:1: replaced by line 6: $$$/twice",
                  "de.txt: new: $$$/new=New ^1",
                  "zdict: de.txt: 2 texts kept, 1 changed, 1 new, 1 obsolete"]
        changed = '"$$$/changed=C{{*COMMENT*}}#, fuzzy\\n#| Was"'
        for options, expected in [
                ((), ["/kept=K", "", changed, "/twice=2"]),
                (("--keep-obsolete", "--add-new"),
                 ["/kept=K", "", changed, "/gone=G", "/twice=2", english_new])]:
            lines, messages = self.updated(translation, english, *options, old=old)
            self.assertEqual((lines, messages[-5:]), (expected, report))
        self.assertEqual(self.updated(translation, english, "--quiet", old=old)[1],
                         ['de.txt:6:1: warning: it replaces the text of "/twice" in line 5'
                          ' [duplicate-key]'])

    def test_a_note_has_room(self):
        for length, kept in (20000, False), (32700, False), (32767, None), (10000, True):
            text, old = "x" * length, "o" * 20000
            status = 1 if kept is None else 0
            self.file("en.txt", '"$$$/a=new{{*COMMENT*}}#: a.c:1"')
            self.file("old.txt", f'"$$$/a={old}"')
            self.file("de.txt", f'"$$$/a={text}"\n')
            result = self.run_tool("update", "--english", "en.txt", "--old-english", "old.txt",
                                   "de.txt", cwd=self.folder, status=status)
            self.assertEqual("#, fuzzy" in result.out.decode(), not status)
            self.assertEqual(old in result.out.decode(), bool(kept))
            self.run_tool("compile", "-", stdin=result.out)
            if status:
                self.assertIn('the text of "/a" can\'t be marked as fuzzy', result.err)

    def test_a_change_is_found_after_a_round_trip_and_any_count_of_updates(self):
        english = [self.file(f"{name}.txt", f'"$$$/a={name}"\n') for name in ("One", "Two")]
        for flags, fuzzy, options in [("", False, ()), ("#, fuzzy\n", True, ("--fuzzy",))]:
            po = f'{flags}msgctxt "/a"\nmsgid "One"\nmsgstr "Eins"\n'
            text = self.path("de.txt")
            self.run_tool("import", *options, "-o", text, self.file("de.po", po))
            for now, is_outdated in [(0, fuzzy), (0, fuzzy), (1, True), (1, True), (0, True)]:
                self.run_tool("update", "--english", english[now], "-o", text, text)
                result = self.run_tool("lint", "--english", english[now], text)
                self.assertEqual("[outdated]" in result.out.decode(), is_outdated, (flags, now))

    def test_an_unknown_old_english_text_is_reported(self):
        for translation, old, is_reported in [
                ("/a=D\n", None, True), ("/a=D\n", "/b=E\n", True), ("/a=D\n", "/a=E\n", False),
                ("/a=D{{*COMMENT*}}#| E\n", None, False), ("/x=D\n", None, False)]:
            messages = self.updated(translation, "/a=E\n", old=old)[1]
            self.assertEqual(any("the old English text of 1 text isn't known" in message
                                 for message in messages), is_reported, messages)

    def test_input_forms(self):
        expected = ['"$$$/a=ä{{*COMMENT*}}#, fuzzy\\n#| b"']
        image = self.compiled("/a=b\n")
        for coding, mark, options in [("utf-8", b"\xEF\xBB\xBF", ()), ("utf-16-le", b"\xFF\xFE", ()),
                                      ("utf-16-be", b"\xFE\xFF", ()),
                                      ("cp1252", b"", ("--code-page", "1252"))]:
            lines, _ = self.updated(mark + '"$$$/a=ä"\n'.encode(coding), "/a=c\n", *options, old=image)
            lead = "\ufeff" if coding == "utf-8" else ""  # UTF-16 becomes UTF-8
            self.assertEqual(lines, [lead + line for line in expected], coding)
        for coding in "utf-16-le", "utf-16-be":  # where more characters end a line
            lines, messages = self.updated("\ufeff/a=1\u2028/b=2\u2029/c=3".encode(coding),
                                           "/a=1\n/b=2\n/c=3")
            self.assertEqual(lines, ["/a=1", "/b=2", "/c=3"])
            self.assertIn("3 texts kept, 0 changed, 0 new", messages[-1])
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


PROJECT = """cmake_minimum_required(VERSION 3.25)
project(Host LANGUAGES NONE)
add_executable(U::zdict IMPORTED GLOBAL)
set_target_properties(U::zdict PROPERTIES IMPORTED_LOCATION "@ZDICT@")
include("@ROOT@/cmake/u_add_dictionary.cmake")
include("@ROOT@/cmake/u_add_texts.cmake")
add_custom_target(host)
u_add_texts(host @STRICT@ OUTPUT dictionaries ENGLISH texts/en.txt LANGUAGES de @LOCALES@ SOURCES src
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

    def configure(self, strict, locales="", fails=False):
        project = PROJECT
        for name, value in [("ZDICT", ZDICT), ("ROOT", ROOT), ("STRICT", strict), ("LOCALES", locales)]:
            project = project.replace(f"@{name}@", value)
        self.file("CMakeLists.txt", project)
        done = subprocess.run(["cmake", "-G", "Ninja", "-S", self.folder, "-B", self.path("build")],
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=60)
        self.assertEqual(done.returncode != 0, fails, done.stdout.decode())
        return done.stdout.decode()

    def update(self):
        subprocess.run(["cmake", "--build", self.path("build"), "--target", "host_texts_update"],
                       stdout=subprocess.PIPE, check=True, timeout=60)

    def shown(self, key):
        image = self.path("build/dictionaries/host_de.zdict")
        return self.run_tool("get", image, key).out.decode().rstrip("\n")

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
        self.update()
        self.assertEqual(self.content("texts/en.txt"), b'"$$$/a=Files"\n"$$$/t/2=two"\n')
        self.assertEqual(self.content("texts/de.txt").decode().splitlines(),
                         ['"$$$/a=Datei{{*COMMENT*}}#, fuzzy\\n#| File"',
                          '"$$$/t/2=two{{*COMMENT*}}#: src/a.cpp:1\\n#, fuzzy"'])
        self.assertIn("[outdated]", self.build(fails=True))
        self.file("texts/de.txt", '"$$$/a=Dateien"\n"$$$/t/2=zwei"\n')
        self.build()
        self.assertEqual(self.shown("/a"), "Dateien")
        self.assertNotIn("dictionaries", os.listdir(self.folder))

        # A source that is removed, and one with an old date.
        self.file("src/b.cpp", 'f("$$$/b=Beta")')
        self.file("texts/de.txt", '"$$$/a=Dateien"\n"$$$/t/2=zwei"\n"$$$/b=Beta{{*COMMENT*}}'
                  '#: b.cpp:1\\n#, no-untranslated"\n')
        os.utime(self.path("src/b.cpp"), (1577836800, 1577836800))
        self.assertIn("target host_texts_update", self.build(fails=True))
        self.update()
        self.build()
        self.assertEqual(self.shown("/b"), "Beta")  # the note isn't a part of the text
        os.remove(self.path("src/b.cpp"))
        self.assertIn("[obsolete-key]", self.build(fails=True))
        self.update()
        self.build()
        self.assertNotIn("Extracting", self.build())
        subprocess.run(["cmake", "--install", self.path("build"), "--prefix", self.path("at")],
                       check=True, stdout=subprocess.PIPE, timeout=60)
        self.assertEqual(sorted(os.listdir(self.path("at/share"))), ["host_de.zdict", "host_en.txt"])

    def test_the_first_update_may_make_the_english_texts(self):
        for folder in "src", "texts":
            os.mkdir(self.path(folder))
        self.file("src/a.cpp", 'f("$$$/a=Hello")')
        self.file("texts/de.txt", "")
        message = self.configure("STRICT", "LOCALES de_DE de_AT", fails=True)
        self.assertRegex(" ".join(message.split()), "1 LANGUAGES and 2 LOCALES")
        self.configure("STRICT")
        self.file("texts/de.txt", '"$$$/a=Hallo"\n')
        message = " ".join(self.build(fails=True).split())
        self.assertRegex(message, "there is no .*en.txt; build the target host_texts_update")
        self.update()
        self.build()
        self.assertEqual(self.shown("/a"), "Hallo")
        self.file("src/a.cpp", 'f("$$$/a=Good bye")')
        self.update()
        self.assertIn("[outdated]", self.build(fails=True))
        self.file("texts/de.txt", '"$$$/a=Ade"\n')
        self.build()
        self.file("texts/en.txt", "")  # as an older version
        self.assertIn("target host_texts_update", self.build(fails=True))
