"""From source code to English texts."""

import os
import re
import unittest

from program import WINDOWS, Case
from sources import compiled, expand, random_source, texts_in, texts_of

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
LIBRARY = ["--table", "ROW=$$$/QX/UOverride/LStr/%1=%3", "text", "indep"]


class Extract(Case):
    def extracted(self, source, *options, status=0, name="a.cpp"):
        """Returns the lines of the English texts, and the messages."""
        self.file(name, source)
        result = self.run_tool("extract", *options, name, status=status, cwd=self.folder)
        return result.out.decode().splitlines(), result.err.splitlines()

    def test_texts_are_those_of_the_compiler(self):
        for seed in range(3):
            source = random_source(seed, 300)
            path, literals = compiled(source, self.folder)
            expected = {}
            for literal in literals:
                key, _, text = literal.decode()[3:].partition("=")
                expected[key] = expand(text)
            result = self.run_tool("extract", "--no-notes", path)
            expected = {key: text for key, text in expected.items() if text}
            self.assertEqual(texts_of(result.out), expected, seed)
            self.assertEqual(result.err, "")
            # The readers of the text form find the same texts.
            english = self.file("en.txt", result.out)
            images = self.run_tool("compile", english).out
            keys = sorted(expected)
            for key in keys[:20]:
                found = self.run_tool("get", "-", key, stdin=images).out.decode()
                self.assertEqual(found, expected[key] + "\n", key)

    def test_texts_of_the_library_and_the_example_host(self):
        for arguments, binary, folder in [(LIBRARY, "U_LIBRARY", ROOT),
                                          (["."], "FILECACHE_FILE",
                                           os.path.join(ROOT, "examples/filecache"))]:
            with open(os.environ[binary], "rb") as file:
                compiler = texts_in(file.read())
            self.assertGreater(len(compiler), 50)
            english = texts_of(self.run_tool("extract", "--no-notes", *arguments, cwd=folder).out)
            missing = {key: text for key, text in compiler.items() if english.get(key) != text}
            self.assertEqual(missing, {})
            # Of several systems, one has been built.
            self.assertEqual([key for key in english.keys() - compiler.keys()
                              if not key.startswith("/QX/U/ARCH/")], [])

    def test_forms_of_literals(self):
        for source, expected in [
                ('f("$$$/a=b" "c")', ["a=bc"]),
                ('"$$" "$/a" "=b"', ["a=b"]),
                ('"x" "$$$/a=b"', []),
                ('"x$$$/a=b"', []),
                ('R"$$$/a=b"', ["a=b"]),  # the delimiter is malformed
                ('@"$$$/a=" @"b"', ["a=b"]),
                ('[x put:@"$$$/a=b" for:@"$$$/c=d"];', ["a=b", "c=d"]),
                ('c ? "$$$/a=b" : "$$$/c=d"', ["a=b", "c=d"]),
                ('"$$$/a=b"_zs "$$$/a=b"s', ["a=b$$$/a=b"]),
                ('g("$$$/a=b" and x)', ["a=b"]),
                ('#if 0\n"$$$/a=b"\n#else\n"$$$/c=d"\n#endif', ["a=b", "c=d"]),
                ('#include "$$$/a=b"\n#error "$$$/a=b\n#pragma x("$$$/a=b")', []),
                ('#define A "$$$/a=b"\n#define B A\nf(A); f(B);', ["a=b"]),
                ('#define P "$$$/a/"\n#define Q P "b="\nf(P "x=1"); f(Q "2");', ["a/b=2", "a/x=1"]),
                ('#define H "h"\n#undef /**/ H\n#define H "k"\n"$$$/a=" H', ["a=k"]),
                ('#if X\n#define H "h"\n#else\n#define H "h"\n#endif\n"$$$/a=" H', ["a=h"]),
                ('#define F(x) f("$$$/a=b", x)\nF("$$$/c=d")', ["a=b", "c=d"]),
                ('"$$$/a="', []),  # nothing to translate
                ('f("$$=x", "$$", "$$$", "$$a=b", "", "$/a=b")', []),
                ('x = 1; // \r"$$$/a=b"\r#define P "$$$/"\rf(P "c=d")', ["a=b", "c=d"]),
                *((f'"$$$/a={"x" * count}"', [f"a={'x' * count}"]) for count in (32764, 32767)),
                (f'"$$$/a={"x" * 32760}^C^C^C^C"', [f"a={'x' * 32760}^C^C^C^C"]),
                ('"$$$/a=b^"', ["a=b^^"]), ('"$$$/a=b\\\\"', ["a=b#{5C}"]),
                ('"$$$/a=^\\""', ['a=^^\\"']), ('"$$$/a=^\\\\"', ["a=^^#{5C}"]),
                ('"$$$/a=\\x01\\xE2\\x80\\xA8"', ["a=#{1}#{2028}"]),
                ('\ufeff"$$$/a=b"', ["a=b"])]:
            lines, messages = self.extracted(source, "--no-notes")
            self.assertEqual(lines, [f'"$$$/{line}"' for line in expected], source)
            self.assertEqual(messages, [], source)

    def test_faults_have_places(self):
        long = '"$$$/a=' + "x" * 70000 + '"'
        for source, status, message in [
                ('f("$$$/a=b");\n  g("$$$/a=c");', 1,
                 '2:5: error: the text of "/a" is "c", but "b" at a.cpp:1:3'),
                (long, 1, "1:1: error: the text is longer than 32767 characters"),
                (long[:-3] + '^C^C"', 1, "1:1: error: the text is longer"),
                ('f(\n "$$$/a=b\\0c")', 0, "2:2: warning: the literal holds a NUL"),
                ('"$$$/a=\\xE9"', 0, "1:1: warning: the literal isn't UTF-8"),
                ('"$$$/é=b"', 1, '1:1: error: the key "/é" isn\'t ASCII'),
                ('"$$$/a=\\q"', 0, "1:1: warning: an escape is unknown"),
                ('"$$$/a=\\xFFF"', 0, "1:1: warning: the number of an escape is above a byte"),
                ('"$$$/a=\\u12"', 0, "1:1: warning: an escape is not a character's number"),
                ('#if X\n#define S ","\n#else\n#define S ";"\n#endif\n"$$$/a=b" S', 1,
                 "6:1: error: S in the literal has several values (see --define)"),
                ('f("$$A/x=y")', 0, '1:3: warning: the literal "$$A/x=y" doesn\'t begin with $$$/'),
                ('"$$" "$A=y"', 0, '1:1: warning: the literal "$$$A=y" doesn\'t begin with $$$/'),
                ('"$$$/a=b" UNKNOWN', 1, "1:1: error: the value of UNKNOWN in the literal isn't"),
                ('#define A A "x"\n"$$$/a=" A', 1, "2:1: error: the value of A in the literal"),
                ('"$$$/a=b"\n#if X\n"c"\n#endif', 1, "1:1: error: a preprocessor directive divides"),
                ('"$$$/a"', 0, '1:1: warning: the literal "$$$/a" has no "=" and no text'),
                ('"$$$/a b=c"', 0, '1:1: warning: the key "/a b" has a blank'),
                ('x = "$$$/a=b\n;', 0, "1:5: warning: the literal isn't closed"),
                ('R"($$$/a=b', 0, "1:1: warning: the literal isn't closed"),
                ('f(L"$$$/a=b" u"$$$/c=d")', 0, "1:3: warning: the literal is wide, and no text"),
                ('#define M(x) "$$$/a/" #x "=b"', 0, "1:14: warning: the literal has parameters")]:
            self.file("out", "before")
            lines, messages = self.extracted(source, "-o", "out", status=status)
            self.assertTrue(messages[0].startswith("a.cpp:" + message), messages[0][:200])
            self.assertEqual(messages[1:], ["zdict: nothing is written"] if status else [])
            self.assertEqual(self.content("out") == b"before", status == 1)
            self.assertEqual(lines, [])

    def test_macros_of_other_files(self):
        self.file("b.h", '#define PAGE "https://b" SLASH\n#define TWO "1"\n')
        self.file("c.h", '#define SLASH "/"\n#define TWO "2"\n')
        self.file("a.cpp", 'f("$$$/a=see " PAGE ".", "" UNKNOWN "x");\n')
        line = '"$$$/a=see https://b/."\n'
        self.assertEqual(self.run_tool("extract", "--no-notes", self.folder).out, line.encode())
        self.assertEqual(self.extracted('"$$$/a=see " PAGE "."', "--no-notes", "--define",
                                        "PAGE=https://b/")[0], [line[:-1]])
        self.file("a.cpp", 'f(PAGE "x", UNKNOWN "/d=e"); return "x"; extern "C" g(NONE "$$$/b=c");\n'
                           '#define FULL ROOT "e="\nh(ROOT /* */ "d=e", ROOT WORD "f"); x = FULL "g";')
        self.file("d.h", '#define ROOT "$$$/r/"\n#define WORD "w="\n#define WORDS WORD\n')
        expected = ['"$$$/b=c"', '"$$$/r/d=e"', '"$$$/r/e=g"', '"$$$/r/w=f"']
        found = self.run_tool("extract", "--no-notes", self.folder)
        self.assertEqual((found.out.decode().splitlines(), found.err), (expected, ""))
        os.remove(self.path("d.h"))
        defines = ["--define", "ROOT=$$$/r/", "--define", "WORD=w="]
        found = self.run_tool("extract", "--no-notes", *defines, self.folder)
        self.assertEqual((found.out.decode().splitlines(), found.err), (expected, ""))
        self.file("a.cpp", '"$$$/a=" TWO')
        result = self.run_tool("extract", self.folder, status=1)
        self.assertIn("1:1: error: TWO in the literal has several values", result.err)
        self.run_tool("extract", "--define", "TWO=2", self.folder)
        self.file("a.cpp", 'f(TWO "/a=b")')
        self.file("c.h", '#define TWO "$$$"\n')
        self.file("b.h", '#define TWO "$$$/x"\n')
        result = self.run_tool("extract", self.folder, status=1)
        self.assertIn("1:3: error: TWO in the literal has several values", result.err)

    def test_tables(self):
        table = "ROW=$$$/t/%1=%3%%"
        source = ('#define ROW(number, name, text) {"$$$/t/" #number "=" text},\n'
                  '#define TAIL "t"\n'
                  'ROW(0001, One, "first " /* , */ TAIL) ROW ( 2 , f(x, {1, 2}), "$$$/x=y")\n'
                  '#define TWICE(n) ROW(n, n, "no")\n ROW( a   b, c, R"(raw,)")\n ROW;')
        self.assertEqual(self.extracted(source, "--table", table, "--no-notes"),
                         (['"$$$/t/0001=first t%"', '"$$$/t/2=$$$/x=y%"', '"$$$/t/a b=raw,%"',
                           '"$$$/x=y"'],
                          ['a.cpp:5:2: warning: the key "/t/a b" has a blank']))
        self.assertIn("a.cpp:1:1: error: the row has no argument 3",
                      self.extracted("ROW(1, 2)", "--table", table, status=1)[1])
        os.remove(self.path("a.cpp"))
        self.file("v.h", '#define VALUE "v" /* */ "w"\n')
        self.file("r.cpp", 'ROW(1, x, VALUE) ROW(2, x, "a" VALUE) ROW(3, x, OTHER) ROW(VALUE, x, true)')
        found = self.run_tool("extract", "--no-notes", "--table", table, self.folder)
        self.assertEqual(found.out.decode().splitlines(), [
            '"$$$/t/1=vw%"', '"$$$/t/2=avw%"', '"$$$/t/3=OTHER%"', '"$$$/t/vw=true%"'])
        for row, what in [('ROW(1, x, OTHER "x")', "1:1: error: the value of OTHER in the literal"),
                          ('ROW(1, x, "\\q")', "1:1: warning: an escape is unknown")]:
            lines, messages = self.extracted(row, "--table", table, status=int("error" in what))
            self.assertIn(what, messages[0])
            self.assertEqual(lines, [])
        for option in "--table", "--define":
            self.assertIn(option + " has two values for X", self.extracted(
                "", option, "X=$$$/a", option, "X=$$$/b", status=2)[1][0])
            self.extracted("", option, "X=$$$/a", option, "X=$$$/a")
        self.extracted('ROW("$$$/a", "b") ROW2("/c=d")', "--table", "ROW=%1=%2", "--table", "ROW2=$$$%1")
        for wrong in ["ROW", "=x", "ROW=foo%1", "ROW="]:
            self.assertIn("--table", self.extracted("ROW(1)", "--table", wrong, status=2)[1][0])

    def test_notes(self):
        source = """// TRANSLATORS: of the
// first one
const char a[] =
    "$$$/a=a" ;
"$$$/b=b", /* TRANSLATORS: behind */ f;
/* TRANSLATORS: before
 * it */ "$$$/c=c", "$$$/d=d",
"$$$/e=e",
// TRANSLATORS: too far

"$$$/f=f" // TRANSLATORS: inside
 " g"; // TRANSLATORS: and behind
       // goes on
"$$$/g=g"; // a remark
{1, "$$$/h=h"}, // TRANSLATORS: h
// not of h
{2, "$$$/a=a"}, // TRANSLATORS: again
// TRANSLATORS: a block
{3,
 "$$$/i=i"}, {4, "$$$/j=j"}"""
        note = "{{*COMMENT*}}#: a.cpp:"
        expected = ["a=a" + note + "4 a.cpp:18\\n#. of the\\n#. first one\\n#. again",
                    "b=b" + note + "5\\n#. behind",
                    "c=c" + note + "7\\n#. before\\n#. it", "d=d" + note + "7\\n#. before\\n#. it",
                    "e=e" + note + "8",
                    "f=f g" + note + "11\\n#. inside\\n#. and behind\\n#. goes on",
                    "g=g" + note + "14", "h=h" + note + "15\\n#. h",
                    "i=i" + note + "21\\n#. a block", "j=j" + note + "21"]
        source = source.replace("{2,", "\n{2,", 1)
        self.assertEqual(self.extracted(source)[0], [f'"$$$/{line}"' for line in expected])
        self.assertEqual(self.extracted('"$$$/a=b"; // L10N it', "--comment-tag", "L10N")[0],
                         ['"$$$/a=b{{*COMMENT*}}#: a.cpp:1\\n#. it"'])
        self.assertEqual(self.extracted('"$$$/a=b^"; // TRANSLATORS: it', "--no-references")[0],
                         ['"$$$/a=b^^{{*COMMENT*}}#. it"'])
        self.assertEqual(self.extracted('"$$$/a=b{{*COMMENT*}}own"')[0],
                         ['"$$$/a=b{{*COMMENT*}}#: a.cpp:1\\nown"'])
        many = "\n" * 9 + '"$$$/a=b";\n' * 20000
        self.run_tool("compile", self.file("en.txt", self.extracted(many)[0][0]))

    def test_folders(self):
        for name in ["b/x.cc", "b/x.txt", "b/.h/x.cpp", "b/.x.cpp", "b/gen/y.c", "a.mm", "z.INC",
                     "z.inc", "b/old_x.hpp"]:
            os.makedirs(os.path.dirname(self.path(name)), exist_ok=True)
            self.file(name, f'"$$$/{name.replace("/", "_")}={name}"')
        if not WINDOWS:  # Wine does not show links of Linux as links
            os.symlink(self.folder, self.path("loop"))

        def names(*arguments):
            lines = self.run_tool("extract", "--no-notes", *arguments, cwd=self.folder).out.decode()
            return [line.split("=")[1][:-1] for line in lines.splitlines()]
        every = ["a.mm", "b/gen/y.c", "b/old_x.hpp", "b/x.cc", "z.inc"]
        self.assertEqual(names("."), every)
        self.assertEqual(names("--exclude", "gen", "--exclude=old_?.hpp", "."),
                         ["a.mm", "b/x.cc", "z.inc"])
        self.assertEqual(names("--exclude", "b/*", "."), ["a.mm", "z.inc"])
        self.assertEqual(names("--exclude-key", "/b_*", ".", "b/x.txt"), ["a.mm", "z.inc"])
        self.assertEqual(names("b/x.txt", "b", "b/x.cc"), every[1:4] + ["b/x.txt"])
        for folder in ["./b"] + WINDOWS * [".\\b"]:
            out = self.run_tool("extract", folder, cwd=self.folder).out.decode()
            self.assertIn("#: b/x.cc:1", out)
        self.assertEqual(self.run_tool("extract", "-", stdin=b'"$$$/a=b"').out,
                         b'"$$$/a=b{{*COMMENT*}}#: standard input:1"\n'.replace(
                             b"standard input:1", "\u2068standard input\u2069:1".encode()))
        self.assertIn("No such file", self.run_tool("extract", self.path("no"), status=2).err)
        self.file("wide.c", '"$$$/a=b"'.encode("utf-16"))
        self.assertIn("UTF-16", self.run_tool("extract", self.path("wide.c"), status=1).err)

    def test_a_large_tree_takes_seconds_and_shows_progress(self):
        source = random_source(7, 200).encode()
        source += b"void f(int first, const char* second) { g(first + 1, second); } // call\n" * 12000
        for number in range(40):
            self.file(f"{number}.cpp", source)
        shown = self.shown("extract", "-o", self.path("out"), self.folder, stream="stderr")
        if shown:
            # Wine moves over blanks that are there already.
            self.assertRegex(re.sub("[ \r]", "", shown), r"^zdict:\d+of40files")
            self.assertTrue(WINDOWS or shown.endswith(" \r"))
