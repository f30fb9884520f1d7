#!/usr/bin/env python3
"""Holds the translations of the example host against its sources: each has
every text, with the same places, addresses and option names. Beyond these they
have texts of the library, all of them the same ones.

Usage: texts.py SOURCE_FOLDER ROOT_FOLDER TRANSLATION..."""
import pathlib
import re
import sys

DEFINE = re.compile(r'#define (\w+) ("[^"]*")\n')
ROW = re.compile(r'ROW\((\d+), \w+, "(.*)"\)')  # of the library's table of texts
# A literal and the literals after it, which the compiler joins.
LITERALS = re.compile(r'"\$\$\$(?:[^"\\]|\\.)*"(?:\s*"(?:[^"\\]|\\.)*")*')
LINE = re.compile(r'"\$\$\$([^=]+)=((?:[^"\\]|\\.)*)"')
failures = 0


def fail(message):
    global failures
    failures += 1
    print("FAILED:", message)


def add(texts, where, key, text):
    if texts.setdefault(key, text) != text:
        fail(f"{where}: {key} has two texts")


def source_texts(folder):
    texts = {}
    for path in sorted([*folder.rglob("*.cpp"), *folder.rglob("*.inc")]):
        source = path.read_text(encoding="utf-8")
        for name, literal in DEFINE.findall(source):
            source = source.replace(f" {name} ", f" {literal} ")
        for number, text in ROW.findall(source):
            add(texts, path.name, f"/QX/UOverride/LStr/{number}", text)
        for literals in LITERALS.findall(source):
            key, _, text = re.sub(r'"\s*"', "", literals)[4:-1].partition("=")
            add(texts, path.name, key, text)
    return texts


def translated_texts(path):
    texts = {}
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        entry = LINE.fullmatch(line)
        if entry:
            if entry[1] in texts:
                fail(f"{path.name}:{number}: {entry[1]} is there twice")
            add(texts, path.name, *entry.groups())
        elif line:
            fail(f"{path.name}:{number}: no entry: {line}")
    return texts


def marks(text):
    """Returns the placeholders (^1 or ^^1), options and addresses that a translation must
    keep."""
    return sorted(set(re.findall(r"\^[1-9]|@[0-9]|%[a-z]|--[a-z]+|https:\S*\w", text)))


folder, root, *translations = map(pathlib.Path, sys.argv[1:])
english = source_texts(folder)
library_texts = source_texts(root / "indep") | source_texts(root / "text")
if not english or not translations:
    fail("nothing to compare")
for key, text in english.items():
    if not text:
        fail(f"{key} has no English text")
translated_by_path = {path: translated_texts(path) for path in translations}
for translated in translated_by_path.values():
    english |= {key: library_texts[key] for key in library_texts.keys() & translated.keys()}
for path, translated in translated_by_path.items():
    for key in sorted(english.keys() - translated.keys()):
        fail(f"{path.name}: {key} is missing")
    for key in sorted(translated.keys() - english.keys()):
        fail(f"{path.name}: {key} is in no source")
    for key in sorted(english.keys() & translated.keys()):
        if not translated[key]:
            fail(f"{path.name}: {key} is empty")
        if marks(translated[key]) != marks(english[key]):
            fail(f"{path.name}: {key} has {marks(translated[key])}, not {marks(english[key])}")

print(f"{len(english)} texts, {len(translations)} translations, {failures} failures")
sys.exit(failures != 0)
