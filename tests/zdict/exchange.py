"""Test cases of exchange files, with texts of their own."""

from program import Case

FORMATS = "po", "xliff1", "xliff2"

ENGLISH = r"""
"$$$/App/Title=Hello, ^^1{{*COMMENT*}}#: src/a.cpp:12 src/b.cpp\n#. Title of\n#. the window"
"$$$/App/Format=%d of %s\n"
"$$$/App/Changed=new text"
"$$$/App/Control=a#{8}#{7F}b#{1}#{FFFF}#{0}"
"$$$/App/Half=a#{D83D}b #{23}{0} #{23}{23}{D83D} #{23}{41}"
"$$$/App/Empty="
"$$$/App/Platform=one{{*MSWindows*}}two"
"$$$/App/Missing=not translated"
"$$$/App/Percent=100% of %d"
"""

GERMAN = r"""
"$$$/App/Title=Hallo, ^^1{{*COMMENT*}}wie man grüßt\n\n# #: x"
"$$$/App/Format=%d von %s\n"
"$$$/App/Changed=neuer Text{{*COMMENT*}}#, fuzzy\n#| old\r\n#| text"
"$$$/App/Control= ä#{8}#{7F}b#{1}#{FFFF}#{0} <&>\"'\r\n\t\\ "
"$$$/App/Half=ä#{D83D}b #{23}{0} #{23}{23}{D83D} #{23}{41}]]>"
"$$$/App/Empty="
"$$$/App/Platform=eins{{*MSWindows*}}zwei"
"$$$/App/Percent=100 % von %d"
"$$$/App/Obsolete=alt{{*COMMENT*}}#| old"
"""


class Exchange(Case):
    def setUp(self):
        super().setUp()
        self.english = self.file("en.txt", ENGLISH.lstrip())
        self.german = self.file("de.txt", GERMAN.lstrip())

    def exported(self, form, english, *translation, whole=False, **more):
        result = self.run_tool("export", "--format", form, "--locale=de_DE", "--english", english,
                               *translation, **more)
        return result if whole else result.out

    def imported(self, content, *options, **more):
        return self.run_tool("import", *options, "-", stdin=content, **more)

    def need_po(self):
        done = self.run_tool("export", "--format=po", "--english", self.english, status=None)
        if "was built without PO" in done.err:
            self.skipTest("this zdict was built without PO")

    def formats(self):
        done = self.run_tool("export", "--format=po", "--english", self.english, status=None)
        return FORMATS[1:] if "was built without PO" in done.err else FORMATS
