"""From images to texts, single entries and other images."""

import itertools
import os
import re
import unittest

from images import flat, legacy
from program import ENTRIES, IMAGE, Case


class Dump(Case):
    def test_dumped_texts_compile_to_the_same_image(self):
        entries = sorted(ENTRIES)
        for image in flat(ENTRIES), flat(ENTRIES, big=True):
            for options in (), ("--utf16",):
                text = self.dumped(image, *options)
                self.assertEqual(self.compiled(text), flat(entries))
                self.assertEqual(self.dumped(text, *options), text)
        self.assertEqual(self.compiled(self.dumped(flat(entries)), "--big-endian", "--locale=x"),
                         flat(entries, big=True, locale="x"))

    def test_every_text_compiles_to_itself(self):
        def texts(length):
            return map("".join, itertools.product('\\"^#{}41nC\n\ud83d\ude00', repeat=length))

        units = "".join(map(chr, range(0x10000))) + "x".join(texts(4))
        pieces = [*texts(1), *texts(2), *(units[at:at + 30000] for at in range(0, len(units), 30000))]
        image = flat(sorted((str(number), text) for number, text in enumerate(pieces)))
        self.assertTrue(self.compiled(self.dumped(image)) == image)

    def test_every_key_compiles_to_itself_or_is_refused(self):
        keys = sorted("".join(key) for length in range(1, 4)
                      for key in itertools.product('a"\\\n\r$ #{^é', repeat=length))
        unfit = [key for key in keys if re.search(r'[\n\ré]|(?<!\\)"', key)]
        kept = flat([(key, "text") for key in keys if key not in unfit])
        self.assertTrue(self.compiled(self.dumped(kept)) == kept)
        refused = self.run_tool("dump", "-", stdin=flat([(key, "") for key in unfit]), status=1)
        self.assertEqual(len(refused.err.splitlines()), len(unfit) + 1)

    def test_lines_are_sorted_and_readable(self):
        self.assertEqual(
            self.dumped(flat(ENTRIES)).decode().splitlines(),
            ['"$$$$dollar=x"', '"$$$/control=#{0}#{1}#{7F}#{85}#{FEFF}#{FFFF}"', '"$$$/empty="',
             '"$$$/half=#{D83D}"', '"$$$/menu/edit=Bearbeiten ^1"', '"$$$/menu/file=Datei"',
             '"$$$/mixed=Zeile 1\\r\\n\\t\\"Zeile\\" \U0001F600#{2028}"',
             '"$$$/path=C:#{5C}neu#{5E}^1 #{23}{41}"', '"$$$/plain=^2: #3 {4} (5 % @0) é"',
             '"$$$plain key=日本語"', '"$$$q\\"=y"'])
        self.assertEqual(self.dumped(flat([("/a", "é")]), "--utf16"),
                         '\ufeff"$$$/a=é"\n'.encode("utf-16-le"))

    def test_old_versions(self):
        entries = [("/a", "eins"), ("a.b.c.d.e.", "zwei"), ("a-b-c-d-e-", "drei"), ("/e", "")]
        for minor in 0, 5:
            self.assertEqual(self.texts(legacy(entries, minor)), dict(entries))
            coded = legacy([("/a", "Größe")], minor, flag=1, coding="utf-8")
            self.assertEqual(self.texts(coded), {"/a": "Größe"})
            paged = legacy([("/a", "Größe")], minor, flag=2, coding="cp1252")
            result = self.run_tool("dump", "-", stdin=paged, status=2)
            self.assertIn("which code page its texts are in (see --code-page)", result.err)
            self.assertEqual(self.dumped(paged, "--code-page", "1252").decode(), '"$$$/a=Größe"\n')

    def test_entries_that_no_line_holds_are_refused_by_name(self):
        image = flat([("fine", "1"), ('a"b', "2"), ("a\nb", "3"), ("é", "4"), ("/c", "5", "note"),
                      ("/d", "6", "other")])
        result = self.run_tool("dump", "-o", self.path("out"), "-", stdin=image, status=1)
        self.assertEqual(result.err.splitlines(),
                         ['zdict: standard input: the key "a"b" holds a double quote',
                          'zdict: standard input: the key "a\\nb" holds a line end or a NUL',
                          'zdict: standard input: the key "é" isn\'t ASCII',
                          'zdict: standard input: "/c" has a comment (see --no-comments)',
                          'zdict: standard input: "/d" has a comment (see --no-comments)',
                          "zdict: standard input: the text form can't carry 5 of its 6 texts"])
        self.assertFalse(os.path.exists(self.path("out")))
        self.assertEqual(self.dumped(flat([("/c", "5", "note")]), "--no-comments"), b'"$$$/c=5"\n')
        for image, what in [(flat([("a=b", "1")]), 'the key "a=b" can\'t be looked up'),
                            (flat([("/a", "1")], keyed=False), "it has no keys")]:
            self.assertIn(what, self.run_tool("dump", "-", stdin=image, status=1).err)

    def test_of_two_equal_keys_the_one_looked_up_counts(self):
        for image in (flat([("/a", "1"), ("/a", "2")]), legacy([("/a", "1"), ("/a", "2")], 0),
                      legacy([("/a", "1"), ("/a", "2")], 5)):
            result = self.run_tool("dump", "-", stdin=image)
            self.assertEqual(result.out, b'"$$$/a=1"\n')
            self.assertIn('the key "/a" is in it twice; what a look-up finds counts', result.err)
        # In another order than that of the identifiers, and with a lone comment.
        for comments in ("note", ""), ("", "note"), ("one", "two"):
            entries = [("/a", str(n), note) if note else ("/a", str(n))
                       for n, note in enumerate(comments)]
            image = bytearray(flat(entries))
            ids = image.index(bytes([0x44, 2, 2, 0, 0, 0])) + 6
            image[ids:ids + 8] = bytes([1, 0, 0, 0, 0, 0, 0, 0])
            self.assertEqual(self.run_tool("get", "-", "/a", stdin=bytes(image)).out, b"1\n")
            merged = self.run_tool("merge", "-", stdin=bytes(image)).out
            self.assertEqual(merged, flat(entries[1:]))

    def test_texts_that_no_look_up_finds_are_shown(self):
        image = bytearray(legacy([("/a", "1")], 0))
        image[26:28] = bytes([3, 0])  # another bucket than the key's
        self.assertEqual(self.dumped(bytes(image)), b'"$$$/a=1"\n')
        checked = self.run_tool("check", "-", stdin=bytes(image), status=1)
        self.assertIn(b"no look-up finds 1 of its 1 text", checked.out)


class Get(Case):
    def test_texts_and_comments(self):
        lone = self.file("lone", flat([("/a", "1"), ("/b", "zwei\n^1", "Notiz é")]))
        self.assertEqual(self.run_tool("get", lone, "/b").out, b"zwei\n^1\n")
        for key in "/a", "$$$/a", "$$$/a=default=text", "/a=":
            self.assertEqual(self.run_tool("get", lone, key).out, b"1\n")
        self.assertEqual(self.run_tool("get", "--comment", lone, "/b").out.decode(), "Notiz é\n")
        self.assertIn('"/a" has no comment',
                      self.run_tool("get", lone, "/a", "--comment", status=1).err)
        for key in "/c", "", "$$$", "$/a", "/A":
            result = self.run_tool("get", lone, key, status=1)
            self.assertEqual((result.out, "it has no key" in result.err), (b"", True))
        text = self.file("text", '"$$$/a=x#{mdash}"')
        self.assertEqual(self.run_tool("get", text, "/a").out.decode(), "x\u2014\n")
        self.assertEqual(self.run_tool("get", "-", "/a", stdin=IMAGE[True]).out, b"b\n")


class Merge(Case):
    def test_later_files_win(self):
        first = self.file("1", legacy([("/a", "1"), ("/b", "2")], 0))
        second = self.file("2", flat([("/b", "zwei", "two"), ("/c", "3", "three")], locale="de_DE"))
        third = self.file("3", "/c=drei\n/d=4\n")
        fourth = self.file("4", flat([("/d", "vier"), ("/a", "eins", "one")], big=True,
                                     locale="de_AT"))
        self.run_tool("merge", "-o", self.path("out"), first, second, third, fourth)
        expected = [("/a", "eins", "one"), ("/b", "zwei", "two"), ("/c", "drei", "three"),
                    ("/d", "vier")]
        self.assertEqual(self.content("out"), flat(expected, locale="de_AT"))
        self.run_tool("merge", "-o", self.path("big"), "--big-endian", "--locale", "fr_FR",
                      self.path("out"))
        self.assertEqual(self.content("big"), flat(expected, big=True, locale="fr_FR"))

    def test_a_lone_comment_stays_with_its_entry(self):
        entries = [("/a", "1"), ("/b", "2"), ("/c", "3", "note")]
        self.assertEqual(self.run_tool("merge", "-", stdin=flat(entries)).out, flat(entries))

    def test_a_failed_file_stops_the_merge(self):
        good, bad = self.file("good", IMAGE[False]), self.file("bad", IMAGE[False][:80])
        missing = self.path("missing")
        result = self.run_tool("merge", "-o", self.path("out"), bad, missing, good, status=2)
        self.assertEqual(len(result.err.splitlines()), 3)
        self.assertIn(f"zdict: {bad}: damaged at byte 77 in bucket sizes: ", result.err)
        self.assertFalse(os.path.exists(self.path("out")))
        for entries, what in [([("", "1")], "an empty key"),
                              ([("/a", "x" * 32768)], 'no image can hold "/a": it or its text is above')]:
            old = self.file("old", legacy(entries, 5))
            self.assertIn(what, self.run_tool("merge", good, old, status=1).err)


if __name__ == "__main__":
    unittest.main()
