"""Mistakes in translators' texts, and where they are."""

import json
import random
import re
import subprocess
import unittest

from program import IMAGE, WINDOWS, ZDICT, Case

FINDING = re.compile(r"(.*?):(\d+):(\d+): (error|warning): (.*) \[([a-z-]+)\]")


class LintCase(Case):
    def lint(self, text, *options, english=None, status=None, name="de.txt"):
        """Returns the findings in a text as tuples of line, column and check. The status is
        checked if it is given."""
        arguments = [ZDICT, "lint", *options, self.file(name, text)]
        if english is not None:
            arguments += ["--english", self.file("en.txt", english)]
        done = subprocess.run(arguments, capture_output=True, timeout=60)
        self.assertIn(done.returncode, (0, 1) if status is None else (status,), done.stderr)
        *lines, self.summary = done.stdout.decode().splitlines()
        self.rows = [FINDING.fullmatch(line).groups() for line in lines]
        return [(int(row[1]), int(row[2]), row[5]) for row in self.rows]


# A line, and the findings in it as columns and checks.
LINES = [
    ('"$$$/a=Text"', []),
    ("$$$/a=Text", []),
    ("/a=Text", []),
    ('  "$$$/a=Text"  ', []),
    ('"$$$/a=sagt \\"ja\\""', []),
    ('"$$$/a=Text" // Bemerkung', [(14, "text-behind-quote")]),
    ('"$$$/a=sagt "ja" dazu"', [(14, "text-behind-quote")]),
    ('Menü: "$$$/a=Text"', [(1, "text-before-quote")]),
    ('/a="Text"', [(1, "text-before-quote"), (5, "no-equals")]),
    ('"$$$/a=Text', [(1, "unclosed-entry")]),
    ('"$$$/a=Text\\"', [(1, "unclosed-entry")]),
    ('"', [(1, "unclosed-entry"), (2, "key-empty")]),
    ('"$$/a=Text"', [(2, "bad-prefix")]),
    ('"$$$=Text"', [(5, "key-empty")]),
    ('"$$$/Größe=Text"', [(8, "key-not-ascii")]),
    ('"$$$/a =Text"', [(7, "key-blank")]),
    ('"$$$/a b=Text"', [(7, "key-blank")]),
    ("'$$$/a=Text'", [(1, "key-quote")]),
    ('"$$$/a"', [(2, "no-equals")]),
    ('"$$$/' + "k" * 65536 + '=Text"', [(5, "key-length")]),
    ('"$$$/a=' + "x" * 32767 + '"', []),
    ('"$$$/a=' + "x" * 32768 + '"', [(8, "too-long")]),
    # Notations
    ('"$$$/a=^C ^Q ^^ ^n \\n \\t \\\\ #{mdash} #{u2014} #{U+2014} #{2014}"', []),
    ('"$$$/a=ä ^x"', [(10, "unknown-notation")]),
    ('"$$$/a=\U0001F600 \\d"', [(10, "unknown-notation")]),  # a character of two units
    ('"$$$/a=10 ^"', [(11, "unknown-notation")]),
    ('"$$$/a=^0"', [(8, "unknown-notation")]),
    ('"$$$/a=#{hellip} #{AUML} #{12345}"',
     [(8, "unknown-character"), (18, "unknown-character"), (26, "unknown-character")]),
    ('"$$$/a=#{mdash"', [(8, "unknown-character")]),
    ('"$$$/a=#1 {x} #"', []),
    # Markers
    ('"$$$/a=A{{*MSWindows*}}B {{*CopyYear*}}{{*COMMENT*}}{{*free*}} ^x C:\\d"', []),
    ('"$$$/a=A{{*COMENT*}}B"', [(9, "unknown-marker")]),
    ('"$$$/a=A{{*Comment*}}B"', [(9, "unknown-marker")]),
    ('"$$$/a=A{{COMMENT}}B"', [(9, "unknown-marker")]),
    ('"$$$/a=A{*COMMENT*}B"', [(9, "unknown-marker")]),
    ('"$$$/a=A{ {*COMMENT*}}B"', [(9, "unknown-marker")]),
    ('"$$$/a=A{{* CopyYear *}}B"', [(9, "unknown-marker")]),
    ('"$$$/a={{x}} {comment} {}"', []),
    ('"$$$/a=A{{*COMMENT*}}see {{*MSWindows*}}"', [(26, "marker-order")]),
    ('"$$$/a=A{{*MSWindows*}}B{{*MSWindows*}}C"', [(25, "marker-order")]),
    # Places
    ('"$$$/a=^^2 ^1 ^^L3 ^F4@2.1zs@"', []),
    ('"$$$/a=^1 ^3"', [(11, "place-gap")]),
    ('"$$$/a=^2"', [(8, "place-gap")]),
    ('"$$$/a=^1 ^^1"', [(11, "place-repeated")]),
    ('"$$$/a=^1 ^L1"', [(11, "place-repeated")]),
    ('"$$$/a=^F1 and ^1"', [(8, "place-repeated")]),
    ('"$$$/a=^^B1 ^F1 ^^F1"', [(8, "place-repeated"), (17, "place-repeated")]),
    ('"$$$/a=@0 @2 @0"', []),
    ('"$$$/a=^F1@2.1"', [(8, "number-format")]),
    ('"$$$/a=^F1@2.1q@"', [(8, "number-format")]),
    ('"$$$/a=^F1@.3@"', [(8, "number-format")]),
    ('"$$$/a=^F1@ z@"', []),
]

# An English text, its translation, and the findings.
PAIRS = [
    ("Open", "Öffnen", []),
    ("Open", "", [(8, "empty-translation")]),
    ("", "", []),
    ("Open file", "Open file", [(8, "untranslated")]),
    ("Open file", "Open file{{*COMMENT*}}#, no-untranslated", []),
    *((text, text, [(8, "untranslated")]) for text in (
        "Yes", "Are you on?", "Set up a new box", "Cut", "ABORT RETRY IGNORE", "All: ^^1",
        "up and on")),
    *((text, text, []) for text in (
        "^^1 min", "kB", "Hz", "MiB/s", "OK", "^^1 of", "X, Y", "XML, SPARC", "Win32", "x86 or Arm64")),
    ("MiB", "MiB", []),
    ("SPARC ^1", "SPARC ^1", []),
    (": --", ": --", []),
    ("#{copy} {{*CopyYear*}} 3 AG", "#{copy} {{*CopyYear*}} 3 AG", []),
    ("{{*CopyYear*}} Example", "{{*CopyYear*}} Example", [(8, "untranslated")]),
    # Places that the library fills by digit
    ("^^1 of ^^2", "^2 von ^^1", []),
    ("^^1 of ^^2", "^1", [(8, "place-lost")]),
    ("^^1 of ^^2", "^2", [(8, "place-lost"), (8, "place-gap")]),
    ("^^1", "^1 ^^2", [(11, "place-added")]),
    ("^^L1", "^1", [(8, "place-changed")]),
    ("^^B1", "^^B1", []),
    ("^^B1", "^B1", [(8, "place-lost")]),  # the two are a bullet
    ("^^F1@2.0@ s", "^F1@2.0@ Sek.", []),
    ("^^F1@2.0@ s", "^F1@1.0@ Sek.", [(8, "number-format")]),
    ("^^F1 s", "^F1@2.0@ Sek.", [(8, "number-format")]),
    ("^^F1@2.0@ s", "^F1@2.0q@ Sek.", [(8, "number-format")]),
    ("@0 (@1)", "@1: @0, @0", []),
    ("@0 (@1)", "@0", [(8, "place-lost")]),
    ("@0", "@0 @1", [(11, "place-added")]),
    ("Ask us", "Fragen an u@1host.example", []),
    ("^^1{{*MSWindows*}}^^2 ^^1", "^2 ^1", []),
    ("Note", "Notiz{{*COMMENT*}}^9 @5 %s", []),
    # Fields, which are filled in order
    ("%d bytes for %s.", "%d Byte für %s.", []),
    ("%d bytes for %s.", "%s: %d Byte", [(8, "place-order")]),
    ("%d bytes for %s.", "%2$s: %1$d Byte", [(8, "place-changed")]),
    ("%d bytes for %s.", "%d Byte", [(8, "place-lost")]),
    ("%d bytes", "%s Byte", [(8, "place-changed")]),
    ("%d bytes", "%ld Byte", [(8, "place-changed")]),
    ("%d bytes", "%d Byte, 5 % %s", [(19, "place-added")]),
    ("%d%% done", "%d%% fertig", []),
    ("%d done", "zu %d % fertig", [(14, "place-added")]),
    ("half done", "zu 50% fertig, zu 50 %ig", []),
    ("half done", "zu %s fertig", [(11, "place-added")]),
    ("50% off", "50% weniger", []),
    ("Windows 10 %s", "Windows 10", [(8, "place-lost")]),
    ("100%s", "100", [(8, "place-lost")]),
    ("MP3%s, ^^1%d", "MP3, ^1", [(8, "place-lost")]),
    ("Top 10 %s", "Die zehn besten %s", []),
    ("% d items", "%d Dinge", [(8, "place-changed")]),
    ("% d items", "% d Dinge", []),
    ("half % done", "halb fertig", []),
    ("5 % done", "5 % der Dinge, 5 % a", []),
    # Markers, mnemonics, blanks and line ends
    ("© {{*CopyYear*}}", "© 2020", [(8, "marker-lost")]),
    ("&File", "&Datei", []),
    ("&File", "Datei", [(8, "mnemonics")]),
    ("E&xit", "Be&e&nden", [(12, "mnemonics")]),
    ("Exit", "B&eenden", [(9, "mnemonics")]),
    ("Save & exit", "Sichern & beenden", []),
    ("Save && exit", "Sichern && beenden", []),
    ("Save \\bCtrl+S", "Sichern \\bStrg+S", []),
    ("Save \\bCtrl+S", "Sichern", [(8, "mnemonics")]),
    ("R&D at A&B", "F&E", []),
    (" error", " Fehler", []),
    (" error", "Fehler", [(8, "blanks")]),
    ("Error: ", "Fehler:", [(15, "blanks")]),
    ("Error", "Fehler#{nbsp}", [(14, "blanks")]),
    ("Error\\n", "Fehler\\n\\n", [(14, "blanks")]),
    ("a line\\nand one", "eine Zeile\\nund eine\\nmehr", []),
    ("a line\\nand one", "eine Zeile#{endl}und eine", [(18, "line-ends")]),
    ("a line#{endl}", "eine Zeile\\r\\n", []),
    ("a line#{endl}", "eine Zeile\\n", [(18, "line-ends")]),
    ("one line", "zwei\\nZeilen", [(12, "line-ends")]),
    ("Two\\n\\nlines", "Zwei Zeilen", [(8, "line-ends")]),
    ("A line\\n", "Zeile", [(13, "blanks")]),
    # Age and length
    ("Open", "Öffnen{{*COMMENT*}}#, fuzzy", [(8, "outdated")]),
    ("Open", "Öffnen{{*COMMENT*}}#| Close", [(8, "outdated")]),
    ("Open", "Öffnen{{*COMMENT*}}#| Open", []),
    ("Open", "Öffnen{{*COMMENT*}}max-length: 5", [(8, "too-long")]),
    ("Open{{*COMMENT*}}#. max-length: 5", "Öffnen", [(8, "too-long")]),
    ("Open{{*COMMENT*}}#. max-length: 5", "Auf\U0001F600\U0001F600", []),
]


class Lines(LintCase):
    def test_a_finding_has_its_place(self):
        for line, expected in LINES:
            with self.subTest(line[:60]):
                # The second line shows that a BOM, a blank line and the line end count right.
                for head, end, coding in (("", "\n", "utf-8"), ("\ufeff\r\n", "\r\n", "utf-8"),
                                          ("\ufeff\r\r", "\u2028", "utf-16-le"),
                                          ("\ufeff\n", "\n", "utf-16-be")):
                    number = 1 + head.count("\n") + 2 * head.count("\r\r")
                    found = self.lint((head + line + end).encode(coding), "--no-check",
                                      "not-a-text-form", name="text")
                    self.assertEqual(sorted(found),
                                     sorted((number, column, check) for column, check in expected))

    def test_messages_quote_what_is_wrong(self):
        for line, message in [
                ('"', "the closing quote is missing"),
                ('"$$$/a=b\\"', "the closing quote is missing: a backslash is before the last one"),
                ('"$$$/a=A{*COMMENT*} B"', '"{*COMMENT*}" is no marker and stays in the text'),
                ('"$$$/a=A{{*COMENT*}} B"', '"{{*COMENT*}}" is no marker and stays in the text'),
                ('"$$$/a=^\U0001F600 x"', '"^\U0001F600" is no notation and stays in the text'),
                ('"$$$/a=^1 ^1"', "^1 is there twice: only the first is filled"),
                ('"$$$/a=^F1 and ^1"', "^F1 isn't filled, since ^1 is")]:
            self.lint(line + "\n", "--no-check", "not-a-text-form")
            self.assertEqual(self.rows[0][4], message, line)

    def test_duplicate_keys_are_found_in_one_file(self):
        text = '"$$$/a=1"\n"$$$/b=2"\n$$$/a=3\n'
        self.assertEqual(self.lint(text), [(3, 4, "duplicate-key")])
        self.assertIn("line 1", self.rows[0][4])

    def test_damaged_encodings(self):
        for text, expected in [
                (b"$$$/a=\xC3\xA4\xE4", [(1, 8, "encoding")]),
                (b"$$$/a=1\n\0$$$/b=2", [(2, 1, "encoding")]),
                (b"$$$/a=1\n$$$\0/b=2", [(2, 4, "encoding")]),
                (b"\xFF\xFE/\0a\0=\0b", [(1, 1, "encoding")])]:
            self.assertEqual([row for row in self.lint(text) if row[2] == "encoding"], expected)
        for text, code_page, expected in [
                (b"$$$/a=\xE4", "1252", []), (b"$$$/a=?\x81\x45\x87\x90x", "932", []),
                (b"$$$/a=\x81\x40\x81\x01x", "932", [(1, 8, "encoding")]),
                (b"$$$/a=\x81", "949", [(1, 7, "encoding")]),
                ("\ufeff$$$/a=\U0001F600\ud83d!".encode("utf-16-le", "surrogatepass"), "65001",
                 [(1, 8, "encoding")]),
                ("\ufeff$$$/a=x\ude00\ud83d".encode("utf-16-be", "surrogatepass"), "65001",
                 [(1, 8, "encoding")])]:
            self.assertEqual(self.lint(text, "--code-page", code_page, name="a"), expected, text)
        # A NUL inside a line ends no line of an editor.
        self.assertEqual(self.lint(b"$$$/a=1\0$$$/a =2\n$$$/c =3\n"),
                         [(1, 8, "encoding"), (1, 14, "key-blank"), (2, 6, "key-blank")])
        self.assertIn("a NUL ends the line", self.rows[0][4])

    def test_other_forms_are_refused(self):
        po = 'msgid ""\nmsgstr ""\n"Content-Type: text/plain; charset=UTF-8\\n"\n\n' \
             'msgctxt "/a"\nmsgid "Open"\nmsgstr "Öffnen"\n'
        for text, name in [
                (po, "PO"), ('{"/a": "b=c", "/b": "d"}', "JSON"), ('[\n"/a",\n"/b"\n]\n', "JSON"),
                ('<?xml version="1.0"?>\n<xliff version="1.2">\n</xliff>\n', "XML"),
                ("Dear all,\n\nplease find the texts\nin the next mail.\n", "3 lines"),
                ("Dear all,\nthe texts follow\n", "2 of its 2 lines aren't key=text"),
                ("/a;File;Datei\n", "its 1 line isn't key=text"),
                ("int Main()\n{\n    int x = 3;\n    return x = 3;\n}\n", "5 lines"),
                ("[general]\nname=x\nsize=3\n", "INI"), ('/* a */\n"/a" = "x";\n', "2 lines")]:
            self.assertEqual(self.lint(text, status=1), [(1, 1, "not-a-text-form")])
            self.assertIn(name, self.rows[0][4])
            source = self.file("x", text)
            result = self.run_tool("compile", "-o", self.path("out"), source, status=1)
            self.assertIn("it isn't lines of key=text", result.err)
            self.assertIn("[not-a-text-form]", self.run_tool("check", source, status=1).out.decode())
        for text in ("", "\n", "/a=1\n", "$$$/a", "/a\n/b\n", "/a b=1\n", "# a remark\n/a=1\n/b=2\n",
                     '"$$$/a b=1"\n[x]\n'):
            self.assertNotIn("not-a-text-form", [row[2] for row in self.lint(text)])

    def test_fast_lines_lose_no_finding(self):
        # A check for duplicates takes each line apart; without it most lines are skipped.
        generator = random.Random(18)
        pieces = ["Text", " ", "^1", "^^1", "^^2", "^^L1", "^x", "\\n", '\\"', '"', "\\d", "\\", "#",
                  "#{mdash}", "#{x", "{{*", "{{*COMMENT*}}", "ä", "=", "@0", "'", "\r", "\t", "$$$"]
        text = ""
        for number in range(3000):
            parts = generator.choices(pieces, k=generator.randint(0, 6))
            text += '"$$$/k%d=%s"\n' % (number, "".join(parts))
        slow = [row for row in self.lint(text) if row[2] != "duplicate-key"]
        self.assertEqual(self.lint(text, "--no-check", "duplicate-key"), slow)
        self.assertGreater(len(slow), 1000)


class Translations(LintCase):
    def test_a_translation_is_compared_with_english(self):
        for english, translation, expected in PAIRS:
            with self.subTest(english=english, translation=translation):
                found = self.lint(f'"$$$/a={translation}"\n', "--no-check", "unencodable",
                                  english=f'"$$$/a={english}"\n')
                self.assertEqual(sorted(found),
                                 sorted((1, column, check) for column, check in expected))

    def test_blanks_are_named_apart(self):
        self.lint('"$$$/a=Fehler:#{nbsp}\\n"\n', english='"$$$/a=Error: \\t"\n')
        self.assertIn('at the end are "#{A0}\\n", in English " \\t"', self.rows[0][4])

    def test_english_may_be_an_image(self):
        text = '"$$$/a=One ^^2 \u2028{{*COMMENT*}}max-length: 3"\n"$$$/b=Two"\n'
        findings = self.lint('"$$$/a=Eins"\n', english=text)
        for options in [], ["--comments"]:
            self.assertEqual(self.lint('"$$$/a=Eins"\n', english=self.compiled(text, *options)),
                             findings)
        self.assertEqual(len(findings), 5)

    def test_keys_are_compared(self):
        english = '"$$$/a=One"\n"$$$/b=Two"\n"$$$/c=Three"\n"$$$/empty="\n"$$$/d=Four"\n'
        text = '"$$$/b=Zwei"\n\n"$$$/c=Drei"\n"$$$/x=Alt"\n'
        self.assertEqual(self.lint(text, english=english, status=0),
                         [(1, 1, "missing-key"), (3, 1, "missing-key"), (4, 5, "obsolete-key")])
        self.assertIn('"/a", in English "One"', self.rows[0][4])
        self.lint(text, "--strict", english=english, status=1)
        self.assertEqual(self.lint(english, "--only", "missing-key", english=english, status=0), [])

    def test_two_translations_of_one_text(self):
        english = '"$$$/a=Open"\n"$$$/b=Open"\n"$$$/c=Open"\n'
        text = '"$$$/a=Öffnen"\n"$$$/b=Offen"\n"$$$/c=Öffnen"\n'
        self.assertEqual(self.lint(text, english=english), [(2, 8, "inconsistent")])
        self.assertIn('"Öffnen"', self.rows[0][4])

    def test_the_code_page_of_the_language(self):
        text = '"$$$/a=Ö\u2192日\u2206"\n'
        for name, options, expected in [
                ("de.txt", [], "\u2192"), ("app_de_DE.txt", [], "\u2192"), ("ja.txt", [], "Ö"),
                ("zh_TW.txt", [], "Ö"), ("app.txt", [], None), ("pseudo.txt", [], None),
                ("app.txt", ["--locale", "de"], "\u2192"), ("sr.txt", [], "Ö"),
                ("app_sr_Latn_RS.txt", [], "\u2192"), ("sr@latin.txt", [], "\u2192"),
                ("a.txt", ["--locale", "sr_RS@latin"], "\u2192"), ("uz_Cyrl.txt", [], "Ö"),
                ("de.txt", ["--target-code-page", "65001"], None),
                ("de.txt", ["--target-code-page", "1251"], "Ö")]:
            found = self.lint(text, *options, name=name)
            self.assertEqual([row[2] for row in found], ["unencodable"] if expected else [], name)
            if expected:
                self.assertIn(f'lacks "{expected}"', self.rows[0][4])


class Options(LintCase):
    TEXT = '"$$$/a=^x ^1 ^1"\n"$$$/b b=#{x}"\n'

    def test_checks_are_chosen(self):
        everything = ["unknown-notation", "place-repeated", "key-blank", "unknown-character"]
        for options, expected in [
                ([], everything), (["--only", "key-blank"], ["key-blank"]),
                (["--only", "key-blank", "--only", "place-repeated"],
                 ["place-repeated", "key-blank"]),
                (["--no-check", "key-blank", "--no-check", "place-repeated"],
                 ["unknown-notation", "unknown-character"])]:
            self.assertEqual([row[2] for row in self.lint(self.TEXT, *options)], expected)
        for option in "--only", "--no-check":
            result = self.run_tool("lint", option, "key-blnk", "-", status=2)
            self.assertIn("there is no check 'key-blnk'", result.err)
        note = "{{*COMMENT*}}#, no-place-repeated, no-unknown-notation"
        self.assertEqual(self.lint(f'"$$$/a=^x ^1 ^1{note}"\n'), [])

    def test_the_list_names_each_check_that_the_tables_name(self):
        listed = self.run_tool("lint", "--list-checks").out.decode().splitlines()
        names = {line.split()[0] for line in listed}
        tested = {row[-1] for rows in LINES + PAIRS for row in rows[-1]}
        self.assertLessEqual(tested, names)
        self.assertEqual(names - tested, {"not-a-text-form", "encoding", "duplicate-key",
                                          "unencodable", "missing-key", "obsolete-key",
                                          "inconsistent"})
        self.assertLessEqual(max(map(len, listed)), 100)

    def test_the_status_tells_the_severity(self):
        for text, options, status in [
                ('"$$$/a=Text"', [], 0), ('"$$$/a=^x"', [], 0), ('"$$$/a=^x"', ["--strict"], 1),
                ('"$$$/a=Text"', ["--strict"], 0), ('"$$$/a=^1 ^1"', [], 1),
                ('"$$$/a=12345"', ["--max-length", "4"], 1),
                ('"$$$/a=12345{{*COMMENT*}}max-length: 5"', ["--max-length", "4"], 0)]:
            self.lint(text, *options, status=status)
        self.run_tool("lint", status=2)
        result = self.run_tool("lint", self.file("image", IMAGE[False]), status=2)
        self.assertIn("image: it is an image, not a text", result.err)
        result = self.run_tool("lint", self.path("none"), self.file("bad", '"$$$/a=^1 ^1"'), status=2)
        self.assertIn(b"1 error, 0 warnings in 1 file\n", result.out)

    def test_json_has_the_findings_and_a_summary(self):
        file, shown = ("ä.txt", "ä.txt") if WINDOWS else ('a"\x1b.txt', 'a"\\x1B.txt')
        name = self.file(file, '"$$$/a=\\"ä\x02 ^1 ^1"\n"$$$/b=^x"\n')
        document = json.loads(self.run_tool("lint", "--format", "json", name, status=1).out)
        self.assertEqual(document["summary"], {"files": 1, "errors": 1, "warnings": 1})
        self.assertEqual(document["findings"][0], {
            "file": self.path(shown), "line": 1, "column": 16, "severity": "error",
            "check": "place-repeated", "key": "/a",
            "message": "^1 is there twice: only the first is filled"})
        self.assertEqual(json.loads(self.run_tool("lint", "--format", "json", "-").out)["findings"],
                         [])



if __name__ == "__main__":
    unittest.main()
