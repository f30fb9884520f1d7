"""How much of the texts is translated: the table and the page."""

import html.parser
import re
import unittest

from program import WINDOWS, Case

ENGLISH = "".join(f'"$$$/k{number}=Text number {number}"\n' for number in range(10)) + '"$$$/e="\n'


def translation(**texts):
    return "".join(f'"$$$/{key}={text}"\n' for key, text in texts.items())


# Counts of translated, outdated, untranslated, missing and obsolete texts, and the share.
LANGUAGES = [
    ("de.txt", translation(k0="Eins"), "de", [1, 0, 0, 9, 0, "10%"]),
    ("app_pt_BR.txt", translation(**{f"k{n}": f"Texto {n}" for n in range(10)}), "pt_BR",
     [10, 0, 0, 0, 0, "100%"]),
    ("ja.txt", translation(k0="一{{*COMMENT*}}#, fuzzy", k1="二{{*COMMENT*}}#| Old text",
                           k2="三{{*COMMENT*}}#| Text number 2", x="捨", e=""), "ja",
     [1, 2, 0, 7, 1, "10%"]),
    ("fr.txt", translation(k0="Text number 0", k1="", k2="{{*COMMENT*}}vide",
                           k3="Text number 3{{*COMMENT*}}#, no-untranslated"), "fr",
     [1, 0, 3, 6, 0, "10%"]),
    ("other.txt", "", "other.txt", [0, 0, 0, 10, 0, "0%"]),
]


class Page(html.parser.HTMLParser):
    """Collects the texts of cells, and fails on what needs another file."""

    def __init__(self):
        super().__init__()
        self.open, self.cells, self.bars = [], [], []

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        for name in ("src", "srcset", "data"):
            assert name not in values, (tag, name)
        assert tag not in ("link", "script", "img", "iframe"), tag
        assert not (tag == "a" and not values["href"].startswith("#")), values
        if tag != "meta":
            self.open.append(tag)
        if tag in ("td", "th"):
            self.cells.append("")
        if values.get("class") == "bar":
            self.bars.append(values["title"])

    def handle_endtag(self, tag):
        assert self.open.pop() == tag, tag

    def handle_data(self, data):
        if "td" in self.open or "th" in self.open:
            self.cells[-1] += data


class Status(Case):
    def arguments(self, *options, languages=LANGUAGES):
        names = [self.file(name, text) for name, text, *_ in languages]
        return ["status", "--english", self.file("en.txt", ENGLISH), *options, *names]

    def status(self, *options, **more):
        return self.run_tool(*self.arguments(*options, **more))

    def test_each_text_counts_once(self):
        head, *rows = self.status().out.decode().splitlines()
        self.assertEqual(head.split(), ["language", "translated", "outdated", "untranslated",
                                        "missing", "obsolete", "done"])
        self.assertEqual(len(rows), len(LANGUAGES))
        for row, (file, _, name, figures) in zip(rows, LANGUAGES):
            expected = [self.path(name) if name == file else name] + list(map(str, figures))
            self.assertEqual(row.split(), expected)
        self.assertEqual(len(set(map(len, [head, *rows]))), 1)

    def test_files_may_be_images(self):
        names = [self.file(name, self.compiled(text, "--comments")) for name, text, *_ in LANGUAGES]
        english = self.file("en", self.compiled(ENGLISH))
        images = self.run_tool("status", "--english", english, *names).out
        self.assertEqual(images, self.status().out)

    def test_a_terminal_has_bars(self):
        rows = self.shown(*self.arguments()).splitlines()
        self.assertEqual([row.split()[-1] for row in rows[1:]],
                         ["█" * 2 + "░" * 18, "█" * 20, "█" * 2 + "▒" * 4 + "░" * 14,
                          "█" * 2 + "░" * 18, "░" * 20])

    def test_the_page_needs_no_other_file_and_escapes_texts(self):
        evil = '<script>&amp;"\x01'
        marks = "&'x'.txt" if WINDOWS else "<i>&.txt"
        languages = [("ja.txt", translation(k0=evil.replace('"', '\\"') + "{{*COMMENT*}}#| <b>"),
                      "ja", []), LANGUAGES[1], (marks, "", "", [])]
        self.status("--html", self.path("page.html"), languages=languages)
        page = Page()
        page.feed(self.content("page.html").decode())
        self.assertEqual(page.open, [])
        self.assertIn('<script>&amp;"\\x01', page.cells)
        self.assertIn("<b>", page.cells)
        self.assertIn("Text number 9", page.cells)
        self.assertIn(self.path(marks), page.cells)
        self.assertEqual(page.bars[:2], ["0% translated", "100% translated"])

    def test_the_page_may_be_the_output(self):
        out = self.status("--html", "-").out
        self.assertTrue(out.startswith(b"<!DOCTYPE html>"))
        self.assertTrue(out.endswith(b"</html>\n"))

    def test_a_text_that_loads_would_not_read_is_refused(self):
        good = self.file("en.txt", ENGLISH)
        for text in "$/a=b", '{"a":\n"b"}', "Größe=x":
            bad = self.file("bad.txt", text)
            for arguments in (["--english", good, bad], ["--english", bad, good]):
                result = self.run_tool("status", *arguments, status=1)
                self.assertRegex(result.err, rf"(?m)^{re.escape(bad)}:1:\d+: error: ")
                self.assertEqual(result.out, b"")
        result = self.run_tool("status", good, status=2)
        self.assertIn("--english is required", result.err)


if __name__ == "__main__":
    unittest.main()
