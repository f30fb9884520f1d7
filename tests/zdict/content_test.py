"""From images to texts, single entries and other images."""

import datetime
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
             '"$$$/path=C:#{5C}neu^^^1 #{23}{41}"', '"$$$/plain=^2: #3 {4} (5 % @0) é"',
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
                         ['zdict: standard input: "/c" has a comment (see --comments, --no-comments)',
                          'zdict: standard input: "/d" has a comment (see --comments, --no-comments)',
                          'zdict: standard input: the key "a\\nb" holds a line end or a NUL',
                          'zdict: standard input: the key "a"b" holds a double quote',
                          'zdict: standard input: the key "é" isn\'t ASCII',
                          "zdict: standard input: the text form can't carry 5 of its 6 texts"])
        self.assertFalse(os.path.exists(self.path("out")))
        self.assertEqual(self.dumped(flat([("/c", "5", "note")]), "--no-comments"), b'"$$$/c=5"\n')
        for image, what in [(flat([("a=b", "1")]), 'the key "a=b" can\'t be looked up'),
                            (flat([("/a", "1")], keyed=False), "it has no keys")]:
            self.assertIn(what, self.run_tool("dump", "-", stdin=image, status=1).err)

    def test_comments_that_compile_would_not_split_are_refused(self):
        marked = "2{{*COMMENT*}}3"
        image = flat([("/a", "1", "x"), ("/b", marked), ("/c", marked, "x"),
                      ("/d", "4", "{{*MSWindows*}}"), ("/e", "{{*COMMENT", "*}}")])
        result = self.run_tool("dump", "--comments", "-", stdin=image, status=1)
        self.assertEqual(re.findall(r'"(/.)" has a marker that hides its comment', result.err),
                         ["/b", "/c", "/d"])
        self.run_tool("dump", "--comments", "--no-comments", "-", stdin=image, status=2)
        self.assertEqual(self.dumped(flat([("/b", "1", "x\ny")]), "--comments"),
                         b'"$$$/b=1{{*COMMENT*}}x\\ny"\n')

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
            self.assertEqual(self.run_tool("merge", "-", stdin=bytes(image)).out, image)

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
        several = self.run_tool("get", lone, "/b", "/c", "$$$/a=x", "/d", status=1)
        self.assertEqual(several.out, b"zwei\n^1\n1\n")
        self.assertEqual(several.err, "".join(f'zdict: {lone}: it has no key "{key}"\n'
                                              for key in ("/c", "/d")))
        text = self.file("text", '"$$$/a=x#{mdash}"')
        self.assertEqual(self.run_tool("get", text, "/a").out.decode(), "x\u2014\n")
        self.assertEqual(self.run_tool("get", "-", "/a", stdin=IMAGE[True]).out, b"b\n")
        cut = self.file("cut", IMAGE[True][:80])
        self.assertEqual(self.run_tool("get", cut, "/a", status=1).out, b"")
        noted = '"$$$/a=x{{*COMMENT*}}#: a.c:1\\nmine"'
        for content in noted, self.compiled(noted), self.compiled(noted, "--comments"):
            self.assertEqual(self.run_tool("get", "--comment", self.file("noted", content), "/a").out,
                             b"#: a.c:1\nmine\n")


    def test_markers_are_applied_as_in_a_look_up(self):
        year = datetime.date.today().year
        entries = {"/a": ("x", "x"), "/b": ("A{{*MSWindows*}}B{{*COMMENT*}}C", "B"),
                   "/c": ("A{{*COMMENT*}}B{{*MSWindows*}}C", "C"), "/d": ("{{*COMMENT*}}C", ""),
                   "/e": ("© {{*CopyYear*}}{{*CopyYear*}}!{{*Other*}}", f"© {year}{year}!{{{{*Other*}}}}"),
                   "/f": ("A{{*MSWindows*}}B{{*MSWindows*}}C", "B{{*MSWindows*}}C")}
        image = flat([(key, text) for key, (text, _) in entries.items()])
        for content in image, self.dumped(image), legacy([(k, t) for k, (t, _) in entries.items()], 0):
            out = self.run_tool("get", "--apply-markers", self.file("image", content), *entries).out
            self.assertEqual(out.decode().splitlines(), [shown for _, shown in entries.values()])


class Keys(Case):
    def test_the_keys_of_all_files_are_listed_once(self):
        image = self.file("image", flat([("/b", "1"), ("/a", "2"), ("/b", "3")]))
        text = self.file("text", "/c=1\n/a=2\n")
        old = self.file("old", legacy([("/B", "x")], 0))
        self.assertEqual(self.run_tool("keys", image, text, old).out, b"/B\n/a\n/b\n/c\n")
        removed = self.run_tool("remove", image, "/b").out
        self.assertEqual(self.run_tool("keys", "-", stdin=removed).out, b"/a\n")
        result = self.run_tool("keys", "-", stdin=flat([("a\nb", "1")]), status=1)
        self.assertIn('the key "a\\nb" holds a line end', result.err)


class Remove(Case):
    def test_other_entries_keep_their_identifiers(self):
        entries = [("/a", "1"), ("/b", "2", "note"), ("/c", "3", "note"), ("/b", "4")]
        form = {"big": True, "locale": "de_DE", "base": 7}
        image = self.file("image", flat(entries, **form))
        self.run_tool("remove", "-o", self.path("out"), image, "/b")
        left = self.content("out")
        self.assertEqual(self.run_tool("merge", "--big-endian", self.path("out")).out, left)
        self.assertEqual(self.run_tool("get", self.path("out"), "/a", "/c").out, b"1\n3\n")
        self.assertEqual(self.run_tool("get", "--comment", self.path("out"), "/c").out, b"note\n")
        stats = re.sub(" +", " ", self.run_tool("stats", self.path("out")).out.decode())
        for row in ("slots 4", "live 2", "comments 1", "base 7", "locale de_DE",
                    "byte order big-endian", "value bytes 4"):
            self.assertIn(row + "\n", stats)
        self.file("next", "/d=5\n")
        self.run_tool("merge", "-o", self.path("all"), self.path("out"), self.path("next"))
        stats = re.sub(" +", " ", self.run_tool("stats", self.path("all")).out.decode())
        self.assertIn("slots 5\nlive 3\n", stats)

    def test_other_lines_of_a_text_are_kept(self):
        lines = ['  "$$$/a=1" left\r\n', "\r", "/b=2\n", "\n", "/a=3\r", "/c=4"]
        kept = "".join(line for line in lines if "/a" not in line)
        for coding, mark in ("utf-8", b""), ("utf-8", b"\xEF\xBB\xBF"), ("utf-16-le", b"\xFF\xFE"), (
                "utf-16-be", b"\xFE\xFF"):
            text = mark + "".join(lines).encode(coding)
            self.run_tool("remove", "-o", self.path("out"), self.file("text", text),
                          "$$$/a=1")
            self.assertEqual(self.content("out"), mark + kept.encode(coding))

    def test_an_absent_key_stops_the_removal(self):
        for content in flat([("/a", "1")]), "/a=1\n":
            name = self.file("file", content)
            result = self.run_tool("remove", "-o", self.path("out"), name, "/a", "/b", "", status=1)
            self.assertEqual(result.err.splitlines(),
                             [f'zdict: {name}: it has no key "/b"',
                              f'zdict: {name}: it has no key ""', "zdict: nothing is written"])
            self.assertFalse(os.path.exists(self.path("out")))


class Merge(Case):
    def merged(self, *contents, status=0):
        names = [self.file(str(n), content) for n, content in enumerate(contents)]
        return self.run_tool("merge", *names, status=status)

    def test_identifiers_are_those_of_loads_in_this_order(self):
        removed = self.run_tool("remove", self.file("x", flat([("/r", "0"), ("/a", "1")])), "/r").out
        self.assertEqual(self.merged(removed).out, removed)
        # A known key of the second image leaves a removed slot, an image of known keys none.
        result = self.merged(removed, flat([("/a", "2"), ("/b", "3")]), flat([("/b", "4")]), "/c=5\n")
        self.file("out", result.out)
        stats = re.sub(" +", " ", self.run_tool("stats", self.path("out")).out.decode())
        self.assertIn("slots 5\nlive 3\n", stats)
        # The slots /r and the second /a are removed.
        self.assertEqual(self.run_tool("merge", "--no-keys", self.path("out")).out,
                         self.without_keys(["", "2", "", "4", "5"], ["/r", "/a", "/a", "/b", "/c"]))
        self.assertEqual(self.texts(result.out), {"/a": "2", "/b": "4", "/c": "5"})

    def without_keys(self, texts, keys):
        image = bytearray(flat(list(zip(keys, texts)), keyed=False))
        at = image.index(b"N") + 5  # the count of live slots
        image[at:at + 4] = sum(map(bool, texts)).to_bytes(4, "little")
        return bytes(image)

    def test_a_continuation_must_fit(self):
        first, second = flat([("/a", "1"), ("/b", "2")]), [("/c", "3"), ("/a", "4")]
        self.assertEqual(self.merged(first, flat(second, base=2)).out,
                         flat([("/a", "1"), ("/b", "2"), *second]))
        # A look-up finds the first entry of the key.
        self.assertEqual(self.texts(self.merged(first, flat(second, base=2)).out)["/a"], "1")
        self.assertEqual(self.merged(flat(second, base=2), flat([("/x", "5")], base=4)).out,
                         flat([*second, ("/x", "5")], base=2))
        self.assertEqual(self.merged("/a=1\n", flat([("/c", "3")], base=1)).out,
                         flat([("/a", "1"), ("/c", "3")]))
        for base in 1, 3:
            result = self.merged(first, flat(second, base=base), status=1)
            self.assertIn(f"its identifiers begin at {base}, not at 2\nzdict: nothing", result.err)
            self.assertEqual(result.out, b"")

    def test_later_files_win(self):
        first = self.file("1", legacy([("/a", "1"), ("/b", "2")], 0))
        second = self.file("2", flat([("/b", "zwei", "two"), ("/c", "3", "three")], locale="de_DE"))
        third = self.file("3", "/c=drei\n/d=4\n")
        fourth = self.file("4", flat([("/d", "vier"), ("/a", "eins", "one")], big=True,
                                     locale="de_AT"))
        self.run_tool("merge", "-o", self.path("out"), first, second, third, fourth)
        expected = [("/a", "eins", "one"), ("/b", "zwei", "two"), ("/c", "drei", "three"),
                    ("/d", "vier")]
        out = self.path("out")
        self.assertEqual(self.texts(self.content("out")), {key: text for key, text, *_ in expected})
        for key, _, *comment in expected:
            if comment:
                self.assertEqual(self.run_tool("get", "--comment", out, key).out.decode(),
                                 comment[0] + "\n")
        self.assertIn("de_AT", self.run_tool("stats", out).out.decode())
        flat_out = self.compiled(self.dumped(self.content("out"), "--comments"), "--comments",
                                 "--big-endian", "--locale", "fr_FR")
        self.assertEqual(flat_out, flat(expected, big=True, locale="fr_FR"))

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
