#!/usr/bin/env python3
"""Writes one catalogue of translated texts in four forms.

Usage: make_catalogue.py FOLDER COUNT [regular]

texts.txt is for zdict, catalogue.po for msgfmt, root.txt for genrb and catalogue.ts for lrelease.
A fixed seed selects COUNT keys, and German texts of two to nine words. Keys are paths of ordinary
names, as programs have them. Regular keys differ in a module and a number alone.
"""

import pathlib
import random
import sys

WORDS = """die Datei konnte nicht geöffnet werden bitte prüfen Sie Größe Höhe und
Länge des Fensters Übergang Bild Ton Spur löschen ändern für alle Ebenen""".split()


NAMES = """Effects Blur Radius Label Sequence Track Audio Gain Export Preset Codec
Bitrate Timeline Marker Color Curve Import Folder Project Panel Window Menu
Workspace Title Caption Proxy Render Queue Transition Opacity Mask Feather Key
Frame Rate Field Order Channel Mixer Meter Warning Error Retry Cancel Rename""".split()


def main():
    folder = pathlib.Path(sys.argv[1])
    draw = random.Random(1)
    keys = set()
    while len(keys) < int(sys.argv[2]):
        if "regular" in sys.argv[3:]:
            keys.add(f"/QX/Module{draw.randrange(97)}/Item{len(keys)}")
        else:
            keys.add("/QX/" + "/".join(draw.choices(NAMES, k=draw.randint(2, 5))))
    entries = [
        (key, " ".join(draw.choices(WORDS, k=draw.randint(2, 9)))) for key in sorted(keys)
    ]
    (folder / "texts.txt").write_text(
        "".join(f'"$$${key}={text}"\n' for key, text in entries),
        encoding="utf-8",
    )
    (folder / "catalogue.po").write_text(
        'msgid ""\nmsgstr "Content-Type: text/plain; charset=UTF-8\\n"\n\n'
        + "".join(f'msgid "{key}"\nmsgstr "{text}"\n\n' for key, text in entries),
        encoding="utf-8",
    )
    (folder / "root.txt").write_text(
        "root:table(nofallback) {\n"
        + "".join(f'"{key}" {{ "{text}" }}\n' for key, text in entries)
        + "}\n",
        encoding="utf-8",
    )
    (folder / "catalogue.ts").write_text(
        '<?xml version="1.0"?><!DOCTYPE TS><TS version="2.1"><context><name></name>\n'
        + "".join(f'<message id="{key}"><source></source><translation>{text}</translation>'
                  "</message>\n" for key, text in entries)
        + "</context></TS>\n",
        encoding="utf-8",
    )


if __name__ == "__main__":
    main()
