"""Checks and figures of undamaged and damaged files."""

import unittest

from images import flat, legacy
from program import ENTRIES, TEXT, Case


class Damage(Case):
    def test_check_names_the_damage_of_each_file(self):
        sound, empty = self.file("sound", flat(ENTRIES)), self.file("empty", "")
        offset = bytearray(flat([("/a", "b")]))
        offset[65] = 1
        text = self.file("text", "a=1\n$b=2\n=3\na=2\n")
        astray = bytearray(flat([("/a", "b"), ("/b", "c")]))
        astray[-4 - 8 - 8 - 2] ^= 3
        result = self.run_tool("check", sound, self.file("offset", offset), text, empty,
                               self.file("astray", astray), self.file("good", TEXT),
                               self.file("longer", flat(ENTRIES) + b"twelve bytes"), status=1)
        self.assertEqual(result.out.decode().replace(self.folder + "/", "").splitlines(), [
            "sound: fine, version 2.7, 11 texts",
            "offset: damaged at byte 65 in value offsets: one splits a unit",
            "text:2:1: error: the key begins with $, but not with $$$ [bad-prefix]",
            "text:3:1: error: the key is empty [key-empty]",
            'text:4:1: warning: it replaces the text of "a" in line 1 [duplicate-key]',
            "empty: fine, text, 0 texts",
            "astray: no look-up finds 1 of its 2 texts: keys in the wrong bucket",
            "good: fine, text, 1 text",
            "longer: fine, version 2.7, 11 texts, 12 bytes behind its end"])
        self.run_tool("check", sound, status=0)
        doubtful = self.file("doubtful", '"$$$/a=^x" tail\n"$$$/b=^1 ^1"\n')
        for options in [], ["--no-check", "text-behind-quote"]:
            result = self.run_tool("check", *options, doubtful)
            self.assertEqual("doubtful:1:12: warning: the text behind" in result.out.decode(),
                             not options)
            self.assertIn("^1 is there twice", result.out.decode())
            self.assertIn("doubtful: fine, text, 2 texts\n", result.out.decode())
        self.run_tool("check", "--no-check", "none", sound, status=2)
        self.run_tool("check", sound, self.path("missing"), empty, status=2)


class Stats(Case):
    def table(self, content, *options):
        out = self.run_tool("stats", *options, "-", stdin=content).out.decode()
        return {row[:16].strip(): row[16:].strip() for row in out.splitlines()}

    def test_figures(self):
        entries = [("a.b.c.d.e.", "1234", "note"), ("a-b-c-d-e-", "5"), ("/a", "")]
        expected = {"form": "image", "version": "2.7", "byte order": "big-endian",
                    "locale": "ja_JP", "keyed": "yes", "base": "9", "slots": "3", "live": "3",
                    "buckets used": "2 of 1021", "longest bucket": "2", "comments": "1",
                    "key bytes": "22", "value bytes": "10", "comment bytes": "8",
                    "bytes a text": "3.3"}
        table = self.table(flat(entries, big=True, locale="ja_JP", base=9))
        self.assertLessEqual(expected.items(), table.items())
        table = self.table(legacy([("/a", "bcd")], 5))
        self.assertLessEqual({"version": "1.5", "live": "1", "key bytes": "2", "value bytes": "6",
                              "buckets used": "1 of 1021"}.items(), table.items())
        self.assertLessEqual({"form": "text", "texts": "0"}.items(), self.table(b"").items())
        table = self.table("a=1\na=23\n/b=é".encode("utf-8"))
        self.assertLessEqual({"form": "text", "encoding": "code page 65001", "lines": "3",
                              "texts": "2", "value bytes": "6", "bytes a text": "3.0"}.items(),
                             table.items())


if __name__ == "__main__":
    unittest.main()
