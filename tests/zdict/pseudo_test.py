"""Texts of the pseudo-locale."""

import re
import unittest

from program import Case

# English texts, and what must be in their pseudo-texts.
TEXTS = [
    ("Open file", ["[Öþéñ ƒîļé öñ]"]),
    ("a", ["[à~]"]),
    ("^^1 of ^^2, ^^L3, ^^F4@2.1zs@ s", ["[^^1 ", " ^^2,", " ^^L3,", " ^^F4@2.1zs@ "]),
    ("@0 and @1", ["[@0 ", " @1 "]),
    ("%d bytes for %-5.2s %% s", ["[%d ", " %-5.2s ", " %% š "]),
    ("#{copy} {{*CopyYear*}} #{rsquo}s ^C \\\"x\\\"", ["[#{copy} {{*CopyYear*}} #{rsquo}š ^C \\\"ẋ"]),
    ("Mac{{*MSWindows*}}Windows{{*COMMENT*}}#. A note: ^1",
     ["=[Ṁàç~]{{*MSWindows*}}[Ŵîñđöŵš öñ]{{*COMMENT*}}#. A note: ^1\""]),
    ("  --budget SIZE  see https://u.example/help?a=1\\n\\n",
     ["=  [--budget ŠÎŽÉ ", " https://u.example/help?a=1 ", "]\\n\\n\""]),
    ("Save \\bCtrl+S", ["=[Šàṽé ö] \\bCtrl+S\""]),
    ("Write to info@2host.example now", [" info@2host.example ñöŵ "]),
    ("Send @0 to x@1", ["[Šéñđ @0 ţö ẋ@1 "]),
    ("&File && R&D", ["[&Ƒîļé && Ŕ&Đ"]),
    (": ^^1 @0", ["=: ^^1 @0\""]),
    ("%d%%", ["=%d%%\""]),
    ("", ["=\""]),
    ("https://u.example/", ["=[https://u.example/"]),
    ("Ask <me1@host.example>, or www.host.example.", ["<me1@host.example>,", " www.host.example."]),
    ("-v, [-q|--quiet] or --size=SIZE - a-b", ["[-v, [-q|--quiet] öŕ --size=ŠÎŽÉ - à-ƀ"]),
    ("<b class=\\\"x\\\">Text</b>&amp;&#169; 1 < two", ["<b class=\\\"x\\\">Ţéẋţ</b>&amp;&#169; 1 < ţŵö"]),
    ("<br/>", ["=[<br/>"]),
    ("R&D, &File && E&xit", ["[Ŕ&Đ, &Ƒîļé && É&ẋîţ"]),
    ("#{copy} {{*CopyYear*}} 3 ^^1", ["=#{copy} {{*CopyYear*}} 3 ^^1"]),
    ("Ärger #{hellip} ^x", ["[Äŕĝéŕ #{"]),
    ("Open{{*COMMENT*}}max-length: 7", ["=[Öþéñ]{{"]),
    ("Shut{{*COMMENT*}}max-length: 5", ["=Šĥûţ{{"]),
]


class Pseudo(Case):
    def pseudo(self, text, *options):
        return self.run_tool("pseudo", *options, "-", stdin=text.encode()).out.decode()

    def test_a_text_keeps_what_programs_need(self):
        for english, parts in TEXTS:
            with self.subTest(english):
                result = self.pseudo(f'"$$$/a={english}"\n')
                for part in parts:
                    self.assertIn(part, result)

    def test_the_result_passes_lint_against_english(self):
        text = "".join(f'"$$$/k{number}={english}"\n' for number, (english, _) in enumerate(TEXTS))
        english = self.file("en.txt", text)
        known = ["--no-check", "unknown-notation", "--no-check", "unknown-character"]
        for options in [], ["--rtl"], ["--locale", "qps-ploc"]:
            pseudo = self.path("pseudo.txt")
            self.run_tool("pseudo", *options, "-o", pseudo, english)
            self.run_tool("lint", "--strict", *known, "--english", english, pseudo)

    def test_a_text_is_a_third_longer(self):
        for length in 1, 2, 3, 10, 60, 1000:
            result = self.pseudo(f'"$$$/a={"x" * length}"\n').rstrip("\n")[len('"$$$/a=['):-2]
            self.assertEqual(len(result), length + (length + 2) // 3)

    def test_words_from_right_to_left(self):
        result = self.pseudo('"$$$/a=Open ^^1, two\\nlines 5"\n', "--rtl")
        self.assertEqual(result, self.pseudo('"$$$/a=Open ^^1, two\\nlines 5"\n', "--locale",
                                             "qps-plocm"))
        marked = re.findall("\u200f\u202e([^\u200f\u202e\u202c]*)\u202c\u200f", result)
        self.assertEqual(marked, ["Öþéñ", "ţŵö", "ļîñéš"])
        result = self.pseudo('"$$$/a=&File && S&ave"\n', "--rtl")
        self.assertEqual(re.findall("\u202e([^\u202c]*)\u202c", result), ["&Ƒîļé", "Š&àṽé"])
        self.run_tool("pseudo", "--locale", "de", "-", status=2)

    def test_ends_that_would_be_a_notation_are_written_as_one(self):
        # Without a closing quote, a caret or a backslash may be the last character.
        for line, expected in [("$$$/a=x^", "[ẋ^^~]"), ("$$$/a=x\\", "[ẋ#{5C}~]"),
                               ("$$$/a=: ^", ": ^^"), ("$$$/a=: \\\\", ": #{5C}")]:
            self.assertEqual(self.pseudo(line), f'"$$$/a={expected}"\n')
            self.assertEqual(self.run_tool("get", self.file("x", self.pseudo(line)), "/a").out[-2:],
                             {"]": b"]\n"}.get(expected[-1], line[-1].encode() + b"\n"))

    def test_bad_english_is_refused(self):
        for text in "$/a=b", '{"a":\n"b"}':
            self.file("out", "before")
            self.run_tool("pseudo", "-o", self.path("out"), self.file("en", text), status=1)
            self.assertEqual(self.content("out"), b"before")


if __name__ == "__main__":
    unittest.main()
