"""From texts to images."""

import re
import unittest

from images import flat
from program import IMAGE, TEXT, Case


class Compile(Case):
    def test_bytes_are_those_of_the_format(self):
        self.assertEqual(self.compiled(TEXT), IMAGE[False])
        self.assertEqual(self.compiled(TEXT, "--big-endian"), IMAGE[True])
        self.assertEqual(flat([("/a", "b")]), IMAGE[False])  # the builder of the other tests

    def test_options_reach_the_image(self):
        text = "/a=b\n/c=d ^C\n"
        entries = [("/a", "b"), ("/c", "d ©")]
        for option, expected in [
                ((), {}), (("--locale", "ja_JP"), {"locale": "ja_JP"}),
                (("--locale=de_DE@x",), {"locale": "de_DE@x"}), (("--no-keys",), {"keyed": False}),
                (("--base", "4294967293"), {"base": 4294967293}),
                (("--big-endian", "--no-keys", "--base=7"), {"big": True, "keyed": False, "base": 7})]:
            self.assertEqual(self.compiled(text, *option), flat(entries, **expected), option)

    def test_encodings(self):
        line = '"$$$/a=日本語 é"\n"$$$/b=^1"\n'
        expected = flat([("/a", "日本語 é"), ("/b", "^1")])
        for coding, mark in [("utf-8", b""), ("utf-8", b"\xEF\xBB\xBF"), ("utf-16-le", b"\xFF\xFE"),
                             ("utf-16-be", b"\xFE\xFF")]:
            text = mark + line.replace("\n", "\r\n").encode(coding)
            self.assertEqual(self.compiled(text), expected)
            self.assertEqual(self.compiled(text, "--code-page", "65001"), expected)
        self.assertEqual(self.compiled(text, "--code-page", "932"), expected)
        self.assertEqual(self.compiled("/a=日本".encode("cp932"), "--code-page=932"),
                         flat([("/a", "日本")]))

    def test_later_texts_win(self):
        first = self.file("first.txt", "/a=1\n/b=2\n/c=3\n")
        second = self.file("second.txt", "/d=4\n/b=zwei\n/a=1\n")
        result = self.run_tool("compile", "--verbose", "-o", self.path("out"), first, second)
        self.assertEqual(self.content("out"),
                         flat([("/a", "1"), ("/b", "zwei"), ("/c", "3"), ("/d", "4")]))
        self.assertEqual(result.err.splitlines(),
                         [f"zdict: {first}: 3 texts, 0 in place of earlier ones",
                          f"zdict: {second}: 3 texts, 2 in place of earlier ones",
                          "zdict: 4 texts in the image"])

    def test_comments_are_split_where_a_look_up_cuts(self):
        text = ("/a=1{{*COMMENT*}}#: a.c:1\\n#. é\n/b=2\n/c=3{{*COMMENT*}}\n/d={{*COMMENT*}}x\n"
                "/e=old{{*COMMENT*}}no{{*MSWindows*}}new{{*COMMENT*}}note\n"
                "/f=old{{*COMMENT*}}no{{*MSWindows*}}new\n/g=5{{*COMMENT*}}a\n/g=6\n"
                "/h={{*comment*}}{{*COMMENT*} }\n")
        entries = [("/a", "1", "#: a.c:1\n#. é"), ("/b", "2"), ("/c", "3"), ("/d", "", "x"),
                   ("/e", "old{{*COMMENT*}}no{{*MSWindows*}}new", "note"),
                   ("/f", "old{{*COMMENT*}}no{{*MSWindows*}}new"), ("/g", "6"),
                   ("/h", "{{*comment*}}{{*COMMENT*} }")]
        image = self.compiled(text, "--comments")
        self.assertEqual(image, flat(entries))
        self.assertEqual(self.compiled(self.dumped(image, "--comments"), "--comments"), image)
        self.assertIn(b"#: a.c:1", self.compiled(text).replace(b"\0", b""))
        kept = self.texts(self.compiled(text))
        self.assertEqual((kept["/a"], kept["/c"]), ("1{{*COMMENT*}}#: a.c:1\\n#. é",
                                                    "3{{*COMMENT*}}"))

    def test_doubtful_lines_are_reported(self):
        result = self.run_tool("compile", "-", stdin=b'/a=1\n/b=2\n\n"$$$/a=3"\n/a=4\n# remark')
        self.assertEqual(result.out, flat([("/a", "4"), ("/b", "2"), ("# remark", "")]))
        self.assertEqual(result.err.splitlines(),
                         ['standard input:6:2: warning: the key "# remark" has a blank [key-blank]',
                          'standard input:4:5: warning: it replaces the text of "/a" in line 1 '
                          '[duplicate-key]',
                          'standard input:5:1: warning: it replaces the text of "/a" in line 4 '
                          '[duplicate-key]',
                          'standard input:6:1: warning: without a =, all of it is a key [no-equals]'])
        text = self.file("text", "/a=1\n/a=3\n# remark")
        for command in "compile", "merge":
            off = [f"--no-check={name}" for name in ("duplicate-key", "no-equals", "key-blank")]
            self.assertEqual(self.run_tool(command, *off, text).err, "")
            for checks, place, name in [(off[:1], ":3:1", "no-equals"),
                                        (off[1:], ":2:1", "duplicate-key")]:
                messages = self.run_tool(command, *checks, "--no-check=key-blank", text).err
                self.assertRegex(messages, rf"^{re.escape(text)}{place}: .* \[{name}\]\n$")
            self.run_tool(command, "--no-check=none", text, status=2)
        note = self.file("note", "/a=1{{*COMMENT*}}x")
        self.assertEqual(self.run_tool("merge", "--comments", note).out, flat([("/a", "1", "x")]))

    def test_bad_lines_are_named_and_nothing_is_written(self):
        long = "x" * 32768
        bad = {"$a=b": 'prefix: it isn\'t "$$$"', '"$$b=c"': 'prefix: it isn\'t "$$$"',
               "=b": "the key is empty", '"$$$"': "the key is empty", "Ťa=b": "the key isn't ASCII",
               "über=b": "the key isn't ASCII", "/a=" + long: "the text is longer than 32767 char",
               long + long + "=": "the key is longer than 65535 bytes"}
        fine = self.file("fine.txt", TEXT)
        text = self.file("bad.txt", "\n".join(f"/{n}=x\n{line}" for n, line in enumerate(bad)))
        self.file("out", "before")
        result = self.run_tool("compile", "-o", self.path("out"), text, fine, text, status=1)
        reported = [f"{text}:{2 * n + 2}: {what}" for n, what in enumerate(bad.values())]
        lines = result.err.splitlines()
        self.assertEqual(len(lines), 2 * len(reported) + 1)
        for line, start in zip(lines, reported + reported):
            self.assertTrue(line.startswith(start), line)
        self.assertEqual(lines[-1], "zdict: nothing is written")
        self.assertEqual(self.content("out"), b"before")
        self.assertEqual(self.compiled("$a=b", status=1), b"")

    def test_texts_that_lose_characters_are_refused(self):
        for text, what in [
                (b"/a=1\n/b=\xE9\n", "2: it isn't UTF-8 (see --code-page)"),
                (b"\xEF\xBB\xBF/a=1\r\n\r\n/b=\xC3", "3: it isn't UTF-8 (see --code-page)"),
                (b"/a=\xED\xA0\x80", "1: it isn't UTF-8 (see --code-page)"),
                ("/a=1\n".encode("utf-16-le"),
                 "1: it holds a NUL (UTF-16 without a byte-order mark?)"),
                (b"/a=1\r/b=2\0\n/c=3", "2: it holds a NUL (UTF-16 without a byte-order mark?)"),
                ("\ufeff/a=1\u2028\0/b=2".encode("utf-16-be"), "2: it holds a NUL"),
                ("\ufeff/a=1\r\n/b=2".encode("utf-16-le")[:-1],
                 "2: the text ends inside a character")]:
            result = self.run_tool("compile", "-", stdin=text, status=1)
            self.assertIn(f"standard input:{what}\n", result.err)
            self.assertEqual(result.out, b"")
            checked = self.run_tool("check", "-", stdin=text, status=1)
            line = re.match("[0-9]+", what)[0]
            self.assertRegex(checked.out.decode(),
                             rf"(?m)^standard input:{line}:[0-9]+: error: .* \[encoding\]$")

    def test_failed_compilations_are_reported(self):
        for text, option, what in [
                (IMAGE[False], "--base=0", "it is an image, not a text (see merge)"),
                (b"a=1", "--base=4294967295", "no identifiers for 1 text")]:
            result = self.run_tool("compile", option, "-", stdin=text, status=2)
            self.assertIn(what, result.err)
        self.run_tool("compile", "-", stdin=b"\xEF\xBB\xBF" + IMAGE[False], status=1)

    def test_empty_texts_and_images(self):
        empty = flat([], keyed=False)
        self.assertEqual(self.compiled("\n"), empty)
        self.assertEqual(self.dumped(empty), b"")
        self.assertEqual(self.compiled(""), empty)
        self.assertEqual(self.run_tool("merge", self.file("a", flat([("/a", "b")])),
                                       self.file("none", "")).out, flat([("/a", "b")]))
        for command in "dump", "stats", "check", "keys", "lint", "pseudo":
            self.run_tool(command, "-")
        for command in "get", "remove":
            self.assertIn('it has no key "/a"', self.run_tool(command, "-", "/a", status=1).err)


if __name__ == "__main__":
    unittest.main()
