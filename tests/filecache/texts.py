#!/usr/bin/env python3
"""Holds the translations of the example host against its sources: each has
every text and no other, with the same places and the same option names.

Usage: texts.py SOURCE_FOLDER TRANSLATION..."""
import pathlib
import re
import sys

# A literal, and the ones behind it that the compiler joins to it.
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
    for path in sorted(folder.glob("*.cpp")):
        source = path.read_text(encoding="utf-8")
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
    """What a translation has to keep: places, written ^1 or ^^1, and options."""
    return sorted(set(re.findall(r"\^[1-9]|--[a-z]+", text)))


folder, *translations = map(pathlib.Path, sys.argv[1:])
english = source_texts(folder)
if not english or not translations:
    fail("nothing to compare")
for key, text in english.items():
    if not text:
        fail(f"{key} has no English text")
for path in translations:
    translated = translated_texts(path)
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
