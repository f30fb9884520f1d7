"""XLIFF 2.0, and faults of XLIFF."""

import os
import unittest
import xml.etree.ElementTree

from exchange import ENGLISH, Exchange


class XLIFF20(Exchange):
    """The rules of XLIFF 2.0 for the elements that zdict writes, checked by another XML reader."""

    CORE = "{urn:oasis:names:tc:xliff:document:2.0}"
    SPACE = "{http://www.w3.org/XML/1998/namespace}space"
    TOKEN = r"[\w:][\w:.-]*\Z"  # NMTOKEN, of which ASCII is used
    # Of each element: the required and the allowed attributes, and its children in order.
    RULES = {
        "xliff": ({"version", "srcLang"}, {"trgLang", SPACE}, r"(file )+"),
        "file": ({"id"}, {"original", "canResegment", "translate", SPACE},
                 r"(skeleton )?(notes )?(unit |group )+"),
        "unit": ({"id"}, {"name", "translate", "type", SPACE},
                 r"(notes )?(originalData )?(segment |ignorable )*segment (segment |ignorable )*"),
        "notes": (set(), set(), r"(note )+"),
        "note": (set(), {"id", "appliesTo", "category", "priority"}, r""),
        "segment": (set(), {"id", "canResegment", "state", "subState"}, r"source (target )?"),
        "source": (set(), {SPACE, "{http://www.w3.org/XML/1998/namespace}lang"}, r"(cp )*"),
        "target": (set(), {SPACE, "order"}, r"(cp )*"),
        "cp": ({"hex"}, set(), r""),
    }
    STATES = {"initial", "translated", "reviewed", "final"}

    def check(self, element):
        name = element.tag.replace(self.CORE, "")
        required, allowed, children = self.RULES[name]
        self.assertLessEqual(required, set(element.keys()), name)
        self.assertLessEqual(set(element.keys()), required | allowed, name)
        names = "".join(child.tag.replace(self.CORE, "") + " " for child in element)
        self.assertRegex(names, children + r"\Z", name)
        if name not in ("note", "source", "target"):
            texts = [element.text or ""] + [child.tail or "" for child in element]
            self.assertEqual("".join(texts).strip(), "", name)
        if "id" in element.keys():
            self.assertRegex(element.get("id"), self.TOKEN)
        for child in element:
            self.check(child)

    def test_the_export_keeps_the_rules_of_the_format(self):
        english = self.file("e", ENGLISH.lstrip() + '"$$$/App/a b_c=x"\n"$$$/App/a/b.c=x"\n'
                            '"$$$a=x"\n"$$$/App/Many={{*COMMENT*}}#: a b:1\\nlines"\n')
        root = xml.etree.ElementTree.fromstring(self.exported("xliff2", english, self.german))
        self.check(root)
        self.assertEqual((root.get("version"), root.get("srcLang"), root.get("trgLang")),
                         ("2.0", "en", "de-DE"))
        units = list(root.iter(self.CORE + "unit"))
        self.assertEqual(len(units), 14)
        self.assertEqual(len({unit.get("id") for unit in units}), len(units))
        for segment in root.iter(self.CORE + "segment"):
            # The state of a segment without a translation is "initial".
            self.assertIn(segment.get("state"), self.STATES)
            if segment.find(self.CORE + "target") is None:
                self.assertEqual(segment.get("state"), "initial")
        for character in root.iter(self.CORE + "cp"):
            self.assertRegex(character.get("hex"), r"[0-9A-F]{4}\Z")
            point = int(character.get("hex"), 16)
            self.assertTrue(point < 32 and point not in (9, 10, 13) or point in (0xFFFE, 0xFFFF))


class BadXLIFF(Exchange):
    UNIT = '<trans-unit resname="/a"><source>a</source><target>%s</target></trans-unit>'
    UNIT2 = '<unit id="a" name="/a">%s</unit>'

    @staticmethod
    def xliff(body, version="1.2", start=""):
        inner = f"<file>{body}</file>" if version[0] == "2" else f"<file><body>{body}</body></file>"
        return f'{start}<xliff version="{version}">{inner}</xliff>'

    def test_texts_of_other_programs(self):
        segment = "<segment><source>%s</source><target>%s</target></segment>"
        rows = [
            (self.xliff(self.UNIT % '<mrk mtype="seg">a<ph id="1">%s</ph></mrk> <bpt id="2">&lt;b>'
                        '</bpt>'), "a%s <b>"),
            (self.xliff(self.UNIT % " <!-- note --> x<![CDATA[<&]]>&#x41;&quot; "), '  x<&A\\" '),
            (self.xliff(self.UNIT2 % ((segment % ("a", "b")) + "<ignorable><source> </source>"
                        "</ignorable>" + segment % ("c", '<mrk id="m">d</mrk><cp hex="0007"/>')),
                        "2.0"), "b d#{7}"),
            (self.xliff(self.UNIT % "ä", start='<?xml version="1.0" encoding="iso-8859-1"?>')
             .encode("latin-1"), "ä"),
            (self.xliff(self.UNIT % "日").encode("utf-16"), "日"),
            (self.xliff(self.UNIT % "x").replace("<", "<x:").replace("<x:/", "</x:"), "x"),
            (self.xliff('<y:trans-unit xmlns:y="z"/>' + self.UNIT % "x"), "x"),
        ]
        for content, text in rows:
            content = content if isinstance(content, bytes) else content.encode()
            self.assertEqual(self.imported(content, "--no-notes").out.decode(),
                             f'"$$$/a={text}"\n', content)

    def test_states(self):
        unit = '<trans-unit resname="/a" %s><source>a</source><target %s>b</target></trans-unit>'
        segment = '<segment %s><source>a</source>%s</segment>'
        rows = [(unit % ("", ""), "b"), (unit % ('approved="yes"', ""), "b"), (unit % ('approved="no"', ""), "fuzzy"),
                (unit % ('approved="no"', 'state="translated"'), "b"),
                (unit % ("", 'state="needs-review-translation"'), "fuzzy"),
                (unit % ("", 'state="new"'), "fuzzy"), (self.UNIT % "", ""),
                (self.UNIT2 % segment % ("", "<target>b</target>"), "b"),
                (self.UNIT2 % segment % ('state="initial"', "<target>b</target>"), "fuzzy"),
                (self.UNIT2 % segment % ("", ""), ""),
                (self.UNIT2 % (segment % ("", "<target>b</target>") + segment % ("", "")), "left")]
        for unit, expected in rows:
            content = self.xliff(unit, "2.0" if unit.startswith("<unit") else "1.2").encode()
            done = self.imported(content, "--no-notes")
            text = '"$$$/a=b"\n' if expected == "b" else ""
            self.assertEqual(done.out.decode(), text, unit)
            self.assertIn(expected if expected in ("fuzzy", "left") else "", done.err)

    def test_faults_are_refused_with_their_place(self):
        secret = self.file("secret", "secret")
        doctype = f'<!DOCTYPE x [<!ENTITY e SYSTEM "file://{secret}">]>'
        rows = [
            (self.xliff(self.UNIT % "&e;", start="\n" + doctype), ":2:1: a document type"),
            (self.xliff(self.UNIT % "&nbsp;"), ':1:85: the entity "&nbsp;" isn\'t'),
            (self.xliff(self.UNIT % "&#0;"), 'the entity "&#0;'),
            (self.xliff(self.UNIT % "&#xD800;"), 'the entity "&#xD800;'),
            (self.xliff(self.UNIT % "& b"), 'the entity "& b'),
            (self.xliff(self.UNIT % "\b"), ":1:85: it holds a control character"),
            (self.xliff(self.UNIT % "b")[:-8], ':1:122: the document ends in the element "xliff"'),
            (self.xliff(self.UNIT % "b")[:60], ":1:"),
            (self.xliff(self.UNIT % "b").replace("</body>", "</bdy>"), 'the end tag "bdy" belongs'),
            (self.xliff(self.UNIT % "b").replace("</trans", "</x><trans"), "Start-end tags mismatch"),
            (self.xliff("<!-- "), ":1:34: the comment has no end"),
            (self.xliff(self.UNIT % "b") + "\n<x/>", ":2:1: the document has a second root"),
            (self.xliff('<group a="'), ":1:34: the tag has no end"),
            ("<!-- -->", "it has no elements"),
            (self.xliff("", "3.0"), ':1:1: its version "3.0" of XLIFF'),
            ("<html/>", ':1:1: it isn\'t XLIFF, but has the root "html"'),
            (self.xliff('\n <trans-unit resname="/a"><target>b</target></trans-unit>'),
             ":2:2: it has no source"),
            (self.xliff(self.UNIT2 % "<segment><target>b</target></segment>", "2.0"),
             "it has no source"),
            (self.xliff(self.UNIT.replace("</trans", "<target>c</target></trans") % "b"),
             '1:95: it is a second target of "trans-unit"'),
            (self.xliff(self.UNIT.replace("<target", "<source/><target") % "b"),
             'it is a second source of "trans-unit"'),
            (self.xliff(self.UNIT.replace("<target", " \n x <target") % "b"),
             ":1:34: it holds a text outside of its elements: "),
            *((self.xliff(self.UNIT2 % f"{before}<segment><source>a</source>{inside}</segment>", "2.0"),
               what) for before, inside, what in [
                   ("", "<target>b</target><target>c</target>", 'second target of "segment"'),
                   ("", "<source>b</source><target>c</target>", 'second source of "segment"'),
                   ("", "<![CDATA[x]]><target>b</target>", 'outside of its elements: "x"'),
                   ("x", "<target>b</target>", 'outside of its elements: "x"')]),
            (self.xliff(self.UNIT % '<g id="1">b</g>'), ':1:85: the inline element "g" is not'),
            (self.xliff(self.UNIT % 'a<x id="1"/>'), 'the inline element "x" is not carried'),
            (self.xliff(self.UNIT % '<x id="1" ctype="x-char" equiv-text="#{110000}"/>'),
             '"#{110000}" is no character'),
            (self.xliff(self.UNIT2 % '<segment><source>a</source><target><cp hex=""/></target>'
                        "</segment>", "2.0"), '"" is no character'),
            (self.xliff(self.UNIT2 % '<segment><source>a</source><target order="2">b</target>'
                        "</segment>", "2.0"), "segments in another order"),
            (self.xliff(self.UNIT % "b" + self.UNIT % "c"), 'the key "/a" has a translation'),
            (self.xliff(self.UNIT % ("<mrk>" * 2000 + "</mrk>" * 2000)), "nested too deeply"),
            (self.xliff("<group>" * 2000 + "</group>" * 2000), "nested too deeply"),
            *((self.xliff("", start=f'<?xml version="1.0" encoding="{name}"?>'),
               f':1:1: its encoding "{name.upper()}" isn\'t known')
              for name in ("mac", "windows-1252", "KOI8-R")),
            (self.xliff("", start='<?xml version="1.0" encoding="UTF-16"?>'), ":1:1: it isn't UTF-16"),
            (self.xliff("\n\n" + self.UNIT % "ä").encode("latin-1"), ":3:52: it isn't UTF-8"),
            (self.xliff("\xe4").encode("latin-1") + b"<x/>", ":1:34: it isn't UTF-8"),
            (self.xliff(self.UNIT % "b") + "\n<x/>", ":2:1: the document has a second root"),
            (self.xliff("\n" + self.UNIT.replace("<target", '<target a="" a=""') % "b"),
             'the attribute "a" is there twice'),
        ]
        for content, what in rows:
            content = content if isinstance(content, bytes) else content.encode()
            done = self.run_tool("import", "-o", self.path("out"), "-", stdin=content, status=1)
            self.assertIn(what, done.err)
            self.assertNotIn("secret", done.err.replace(secret, ""))
            self.assertFalse(os.path.exists(self.path("out")), what)

    def test_plural_groups_and_binary_data_are_reported(self):
        plural = '<group restype="x-gettext-plurals">' + self.UNIT % "b" + "</group><bin-unit/>"
        done = self.imported(self.xliff(plural + self.UNIT % "c").encode(), "--no-notes")
        self.assertEqual(done.out, b'"$$$/a=c"\n')
        self.assertIn("plural forms are not carried", done.err)
        self.assertIn("binary data is not carried", done.err)

    def test_a_reference_is_kept_in_one_line(self):
        unit = self.UNIT2 % ('<notes><note category="location">a\nb:3</note></notes>'
                             "<segment><source>a</source><target>b</target></segment>")
        self.assertEqual(self.imported(self.xliff(unit, "2.0").encode()).out.decode(),
                         '"$$$/a=b{{*COMMENT*}}#: \u2068a b\u2069:3\\n#| a"\n')

    def test_a_translation_that_a_tool_adds_is_done(self):
        english = self.file("e", '"$$$/a=One"\n')
        for form in "xliff1", "xliff2":
            text = self.exported(form, english).replace(
                b"One</source>", b"One</source>\n<target>Eins</target>").replace(
                    b' state="initial"', b"")
            done = self.imported(text, "--no-notes")
            self.assertEqual((done.out, done.err), (b'"$$$/a=Eins"\n', ""), form)

    def test_a_key_that_xml_cannot_hold_is_refused(self):
        english = self.file("e", b'"$$$/a\x01b=c"\n')
        for form in "xliff1", "xliff2":
            self.assertIn("XML can't hold the key",
                          self.exported(form, english, status=1, whole=True).err)


if __name__ == "__main__":
    unittest.main()
