"""PO for translators' tools, and the roads out and back."""

import gettext
import os
import re
import shutil
import subprocess
import unittest

from exchange import ENGLISH, GERMAN, Exchange

HEADER = 'msgid ""\nmsgstr "Content-Type: text/plain; charset=%s\\n"\n'
ENTRY = '\nmsgctxt "/a"\nmsgid "a"\nmsgstr "%s"\n'


class RoundTrip(Exchange):
    def test_each_text_comes_back(self):
        expected = self.texts(self.compiled(re.sub(r"\{\{\*COMMENT.*", '"', GERMAN).lstrip()))
        for form in self.formats():
            first = self.exported(form, self.english, self.german)
            text = self.imported(first, "--fuzzy", "--obsolete", "--no-notes").out
            self.assertEqual(self.texts(self.compiled(text)), expected, form)
            # With notes, the second export is that of the first one, byte for byte.
            noted = self.imported(first, "--fuzzy", "--obsolete").out
            again = self.exported(form, self.english, self.file("noted", noted))
            self.assertEqual(again.decode(), first.decode(), form)
            self.assertEqual(self.imported(again, "--fuzzy", "--obsolete").out, noted, form)

    def test_notes_and_states_are_carried(self):
        for form in self.formats():
            content = self.exported(form, self.english, self.german)
            done = self.imported(content)
            notes = dict(re.findall(r'"\$\$\$/App/(\w+)=.*?\{\{\*COMMENT\*\}\}(.*)"',
                                    done.out.decode()))
            self.assertEqual(notes["Title"], r"#: src/a.cpp:12 src/b.cpp\n#. Title of\n"
                             r"#. the window\n#| Hello, ^1\nwie man grüßt\n\n# #: x")
            self.assertNotIn("Changed", notes)
            self.assertEqual(done.err.splitlines(), [
                "zdict: standard input: 1 fuzzy translation left out (see --fuzzy)",
                "zdict: standard input: 1 obsolete translation left out (see --obsolete)"])
            taken = self.imported(content, "--fuzzy").out.decode()
            self.assertIn(r"neuer Text{{*COMMENT*}}#, fuzzy\n#| old\r\n#| text", taken)

    def test_a_translation_of_an_older_english_text_is_fuzzy(self):
        old = self.file("old", '"$$$/App/Changed=neu{{*COMMENT*}}#| old text"')
        for form in self.formats():
            content = self.exported(form, self.english, old)
            self.assertIn("1 fuzzy translation", self.imported(content).err)
            self.assertIn(b"old text", content)

    def test_keys_of_lost_contexts_are_found_by_the_english_text(self):
        xliff = self.exported("xliff1", self.english, self.german)
        lost = re.sub(rb' resname="[^"]*"', b"", xliff)
        done = self.imported(lost, status=1)
        self.assertIn(":5:4: the key is missing (see --english)", done.err)
        found = self.imported(lost, "--english", self.english).out
        self.assertEqual(found, self.imported(xliff).out)

    def test_entries_of_one_english_text_are_in_the_order_of_its_keys(self):
        english = self.file("e", "/a=One\n/b=One\n/c=One\n/d=Two\n")
        other = ('<trans-unit resname="/d"><source>Two</source><target>obsolete</target>'
                 '<note from="flags">obsolete</note></trans-unit>'
                 '<trans-unit><source>Two</source><target>Zwei</target></trans-unit>')
        for entries, expected in [
                (["Eins", "Ein", "Eine"], "Eins Ein Eine"), (["Eins", "", "Eine"], "Eins  Eine"),
                (["Eins"], "Eins Eins Eins"), (["Eins", "Eins"], "Eins Eins Eins"),
                (["Eins", ""], "Eins Eins Eins"), (["Eins", "Ein"], None),
                (["Eins"] * 4, "Eins Eins Eins")]:
            units = "".join(f"<trans-unit><source>One</source><target>{text}</target></trans-unit>"
                            for text in entries)
            xliff = f'<xliff version="1.2"><file><body>{other}{units}</body></file></xliff>'.encode()
            done = self.imported(xliff, "--english", english, "--no-notes", "--obsolete",
                                 status=0 if expected else 1)
            texts = dict(re.findall('"\\$\\$\\$(/.)=(.*)"', done.out.decode()))
            if expected:
                self.assertEqual(" ".join(texts.get(key, "") for key in ("/a", "/b", "/c")), expected)
                self.assertEqual(texts["/d"], "Zwei")
            else:
                self.assertIn('the keys of "One" have another translation already', done.err)


class Tools(Exchange):
    """The programs of gettext and of the translate toolkit."""

    def setUp(self):
        super().setUp()
        self.need_po()

    def run_program(self, *arguments, status=0):
        done = subprocess.run(arguments, cwd=self.folder, capture_output=True, timeout=60)
        output = (done.stdout + done.stderr).decode()
        self.assertEqual(done.returncode, status, f"{arguments}: {output}")
        return output

    def export(self, form, name, *translation):
        self.run_tool("export", "--format", form, "--locale=de_DE", "-o", self.path(name),
                      "--english", self.english, *translation)
        return self.path(name)

    def test_msgfmt_accepts_the_export(self):
        self.export("po", "de.po", self.german)
        self.export("pot", "en.pot")
        self.assertEqual(self.run_program("msgfmt", "-c", "-v", "-o", "de.mo", "de.po"),
                         "7 translated messages, 1 fuzzy translation, 1 untranslated message.\n")
        self.run_program("msgfmt", "-c", "-o", "en.mo", "en.pot")
        text = self.content("de.po").decode()
        self.assertIn('#, c-format\nmsgctxt "/App/Format"', text)
        self.assertNotIn('c-format\nmsgctxt "/App/Percent"', text)
        with open(self.path("de.mo"), "rb") as file:
            texts = gettext.GNUTranslations(file)
        self.assertEqual(texts.pgettext("/App/Title", "Hello, ^1"), "Hallo, ^1")

    def test_flags_that_gettext_drops_are_kept(self):
        note = "{{*COMMENT*}}"
        self.english = self.file("en.txt", f'"$$$/a=One{note}#, no-blanks"\n"$$$/b=Two %s"\n'
                                 f'"$$$/c=3{note}#, range: 0..2"')
        flags = {"/a": "no-blanks, no-untranslated", "/b": "c-format, no-place-lost, no-wrap",
                 "/c": "range: 0..2, own"}
        german = self.file("de.txt", f'"$$$/a=Eins{note}#, no-untranslated\\nmine\\n\\n"\n'
                           f'"$$$/b=Zwei %s{note}#, no-place-lost, no-wrap"\n'
                           f'"$$$/c=3{note}#, own\\nx"\n')
        self.export("po", "de.po", german)
        self.export("pot", "en.pot")
        self.assertIn(b"# zdict-flags: no-blanks\n", self.content("en.pot"))
        self.run_program("msgfmt", "-c", "-o", "x.mo", "de.po")
        self.run_program("msgmerge", "-q", "-o", "merged.po", "de.po", "en.pot")
        for name in "de.po", "merged.po":
            lines = self.imported(self.content(name)).out.decode().splitlines()
            found = {key: set(listed.split(", ")) for key, listed in
                     (re.search(r'\$\$\$(.*?)=.*?#, (.*?)(?:\\n|")', line).groups() for line in lines)}
            self.assertEqual(found, {key: set(listed.split(", ")) for key, listed in flags.items()})
            self.assertTrue(lines[0].endswith('#| One\\nmine\\n\\n"'), lines[0])
            self.assertNotIn("zdict-flags", "".join(lines))

    def test_line_feeds_that_msgfmt_refuses_make_a_fuzzy_entry(self):
        english = self.file("e", r'"$$$/a=x\n"' + "\n" + '"$$$/b=%s %d"')
        german = self.file("g", r'"$$$/a=y"' + "\n" + '"$$$/b=%d"')
        done = self.run_tool("export", "--format=po", "--english", english, "--locale=de",
                             "-o", self.path("x.po"), german)
        self.assertIn(f'{german}: the translation of "/a" is marked as fuzzy', done.err)
        self.run_program("msgfmt", "-c", "-o", "x.mo", "x.po")

    def test_msgmerge_keeps_translations_and_notes(self):
        self.export("po", "de.po", self.german)
        before = self.content("de.po")
        self.export("pot", "en.pot")
        self.run_program("msgmerge", "-q", "--previous", "-o", "merged.po", "de.po", "en.pot")
        options = "--fuzzy", "--obsolete"
        self.assertEqual(self.imported(self.content("merged.po"), *options).out,
                         self.imported(before, *options).out)

    def test_the_translate_toolkit_reads_and_writes_the_files(self):
        # The toolkit refuses control characters in PO, and drops contexts and the obsolete.
        def sound(text):
            return "".join(line + "\n" for line in text.split("\n")
                           if line and "/Control" not in line and "/Obsolete" not in line)

        self.english = self.file("en.txt", sound(ENGLISH))
        self.export("po", "de.po", self.file("de.txt", sound(GERMAN)))
        self.export("xliff1", "de.xlf", self.german)
        for line in ("po2xliff de.po po.xlf", "xliff2po de.xlf xlf.po",
                     "pofilter -t printf de.po out.po", "pofilter -t printf de.xlf out.xlf"):
            self.assertNotIn("WARNING", self.run_program(*line.split()), line)

        def texts(name):
            return sorted(self.imported(self.content(name), "--english", self.english, "--fuzzy",
                                        "--no-notes").out.decode().splitlines())

        self.assertEqual(len(texts("de.po")), 7)
        for name in "po.xlf", "xlf.po":
            self.assertEqual(texts(name), texts("de.po"))


class BadPO(Exchange):
    def setUp(self):
        super().setUp()
        self.need_po()

    def test_charsets(self):
        rows = [("ISO-8859-1", "ä".encode("latin-1"), "ä"), ("Shift_JIS", b"\x83\x5c\x5c\x83\x80",
                                                            None),
                ("Shift_JIS", b"\x83\x5c\x5c01", "ソ#{1}"), ("SHIFT_JIS", b"\x83\x5c0", "ソ0"),
                ("EUC-JP", "日本".encode("euc-jp"), "日本"), ("KOI8-R", "я".encode("koi8-r"), "я"),
                ("UTF-8", "ä".encode(), "ä"), ("UTF-8", b"\xe4", None), ("KOI9-Q", b"a", None),
                ("ASCII", b"\xe4", None)]
        for charset, coded, text in rows:
            content = HEADER.encode() % charset.encode() + ENTRY.encode() % coded
            done = self.imported(content, "--no-notes", status=0 if text else 1)
            self.assertEqual(done.out.decode(), f'"$$$/a={text}"\n' if text else "", charset)
            if not text:
                self.assertIn("zdict: standard input", done.err)
        self.assertEqual(self.imported(b"\xef\xbb\xbf" + ENTRY.encode() % b"x", "--no-notes").out,
                         b'"$$$/a=x"\n')

    def test_faults_are_refused_with_their_place(self):
        header = HEADER % "UTF-8"
        rows = [
            (header + ENTRY % "b" + ENTRY % "c", ':9: duplicate message definition of "/a"'),
            (header + ENTRY % "b" + ENTRY.replace('id "a', 'id "b') % "c",
             ':9:1: the key "/a" has a translation already, at standard input:5:1'),
            (header + 'msgid "a"\nmsgstr "b"\n', ":3:1: the key is missing (see --english)"),
            (header + ENTRY % "b" + 'domain "x"\n', ":7:1: domains are not carried"),
            (HEADER % "ASCII" + "\n#, ä" + ENTRY % "b", "text of the entry is not in ASCII"),
            (header + '\nmsgctxt "/ä"\nmsgid "a"\nmsgstr "b"\n', ':5:1: the key "/ä" isn\'t ASCII'),
            (header + '\nmsgctxt "a=b"\nmsgid "a"\nmsgstr "b"\n', 'the key "a=b" holds a "="'),
            (header + ENTRY % "x{{*COMMENT*}}y", ":5:1: the translation holds {{*COMMENT*}}"),
            (header + ENTRY % "#{D83D}#{DE00}", ":5:1: two halves of a surrogate pair"),
            (header + ENTRY % ("x" * 32768), ":5:1: the translation is longer than 32767 characters\n"),
            (header + ENTRY % ("x" * 32760), ":5:1: the translation and its note are longer"),
            (header + '\nmsgctxt "/a"\nmsgid "a"\nmsgstr "b', ":6: end-of-file within string"),
            (header + '\nmsgctxt "/a"\nmsgid "a"\n', ": missing 'msgstr' section"),
            (header + ENTRY % r"\q", ": invalid control sequence"),
            *((header + ENTRY % ("ä" + nul), ":6:11: a text holds a NUL")
              for nul in (r"\0e", r"\000", r"\400", r"\x0", r"\x100")),
            (header + ENTRY.replace('"/a"', r'"/a\\0\0b"') % "c", ":4:15: a text holds a NUL"),
            *((HEADER % name + '#~ msgctxt "/a"\n#~ msgid "a"\n#~ msgstr "\\0"\n',
               ":5:12: a text holds a NUL") for name in ("UTF-8", "Shift_JIS")),
            ('{"a": "b"}', ":1:2: syntax error"), ("", ": it has no entries"),
            ("a\nb\0", ":2: it holds a NUL"),
            ("?" * 100 + "\n", " it is no sound PO file"),
        ]
        for content, what in rows:
            done = self.run_tool("import", "-o", self.path("out"), "-", stdin=content.encode(),
                                 status=1)
            self.assertIn(what, done.err)
            # Editors find a place at the begin of a line.
            self.assertRegex(done.err, r"(?m)^standard input:\d+" if re.match(r":\d", what)
                             else "^zdict: |^standard input:")
            self.assertFalse(os.path.exists(self.path("out")), what)

    def test_parts_of_a_large_file_read_as_one(self):
        # Above a megabyte, a file is read in parts.
        entry = ('\n# %s\n#, fuzzy-not\nmsgctxt "/%d"\n\nmsgid ""\n"a%d"\nmsgstr "%s"\n"\\n"\n'
                 '\n"second"\n')
        content = HEADER % "UTF-8" + "".join(entry % ("x" * 40, i, i, "ä" * 40)
                                             for i in range(20000))
        self.assertGreater(len(content.encode()), 3 << 20)
        text = self.imported(content.encode()).out.decode().splitlines()
        self.assertEqual(len(text), 20000)
        for i in 0, 9999, 19999:
            self.assertEqual(text[i], f'"$$$/{i}={"ä" * 40}\\nsecond{{{{*COMMENT*}}}}#, fuzzy-not'
                                      f'\\n#| a{i}\\n{"x" * 40}"')
        line = content.count("\n") + 1
        rows = [('msgctxt "/a"\nmsgid "a"\nmsgstr "b', f":{line + 2}: end-of-file within string"),
                ('msgctxt "/5"\nmsgid "a"\nmsgstr "b"\n', f':{line + 1}:1: the key "/5" has a'),
                ('msgctxt "/a"\nmsgid "a"\nmsgstr "\\344"\n', f":{line + 1}:1: a text of the entry"),
                ('domain "x"\n', f":{line}:1: domains are not carried"),
                ("?\n", f":{line}:2: syntax error")]
        for end, what in rows:
            done = self.run_tool("import", "-o", self.path("out"), "-",
                                 stdin=(content + end).encode(), status=1)
            self.assertIn(what, done.err)
            self.assertFalse(os.path.exists(self.path("out")), what)
        late = (ENTRY.lstrip() % "b" + "\n" + HEADER % "UTF-8").encode()
        self.assertIn(":5:1: the header is not the first", self.imported(late, status=1).err)

    def test_plural_forms_are_reported(self):
        plural = '\nmsgctxt "/b"\nmsgid "a"\nmsgid_plural "b"\nmsgstr[0] "c"\nmsgstr[1] "d"\n'
        done = self.imported((HEADER % "UTF-8" + plural + ENTRY % "b").encode(), "--no-notes")
        self.assertEqual(done.out, b'"$$$/a=b"\n')
        self.assertIn(":5:1: plural forms are not carried, the entry is left out", done.err)

    def test_flags_and_references_of_other_programs_are_kept(self):
        entry = ('# mine\n#. theirs\n#: \u2068my file.c\u2069:3 b.c\n#, no-c-format, range: 1..2\n'
                 '#| msgctxt "/a"\n#| msgid "x"\n') + ENTRY.lstrip() % "b"
        text = self.imported(entry.encode()).out.decode()
        self.assertEqual(text, '"$$$/a=b{{*COMMENT*}}#: \u2068my file.c\u2069:3 b.c\\n#. theirs'
                               '\\n#, no-c-format, range: 1..2\\n#| a\\nmine"\n')
        back = self.exported("po", self.file("e", '"$$$/a=a"'), self.file("t", text)).decode()
        self.assertIn("#: \u2068my file.c\u2069:3 b.c\n#, no-c-format, range: 1..2\n", back)

    def test_a_backslash_at_the_end_of_a_note_continues_no_line(self):
        for note in ["C:\\", "C:\\ ", "a\\\\\nb\\", "#. x\\", "#: src\\", "#: a\\ b c\\"]:
            written = note.replace("\\", "#{5C}").replace("\n", "\\n")
            text = f'"$$$/a=Eins{{{{*COMMENT*}}}}#, fuzzy\\n{written}"\n'
            english = self.file("e", '"$$$/a=One{{*COMMENT*}}#. y#{5C}"\n' if "#. " not in note
                                else '"$$$/a=One"')
            po = self.exported("po", english, self.file("t", text))
            first = self.imported(po, "--fuzzy").out
            self.assertIn(note.split("\n")[-1].lstrip("#.: ").encode().replace(b"\\", b"#{5C}"), first)
            self.assertIn(b"#, fuzzy", first)
            self.assertEqual(self.exported("po", english, self.file("again", first)), po, note)
            if shutil.which("msgfmt"):
                counts = subprocess.run(["msgfmt", "--statistics", "-o", "/dev/null", "-"], input=po,
                                        capture_output=True, timeout=60).stderr
                self.assertEqual(counts, b"0 translated messages, 1 fuzzy translation.\n", note)


if __name__ == "__main__":
    unittest.main()
