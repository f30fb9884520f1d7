"""Dictionary images, built by the builder of the C++ tests, which is independent of the
library's own writer."""

import os
import struct
import subprocess


def units(text):
    return [unit for unit, in struct.iter_unpack("=H", text.encode("utf-16", "surrogatepass")[2:])]


def built(entries, *arguments):
    """An entry is a key, a text and, if it has one, a comment."""
    numbers = [len(entries)]
    for key, *texts in entries:
        text, comment = (*texts, "")[:2]
        for part in key.encode(), units(text), units(comment):
            numbers += [len(part), *part]
    return subprocess.run([os.environ["MAKE_IMAGE"], *map(str, arguments)],
                          input=" ".join(map(str, numbers)).encode(), stdout=subprocess.PIPE,
                          timeout=60, check=True).stdout


def flat(entries, big=False, keyed=True, locale="en_US", base=0):
    """Version 2.7."""
    return built(entries, 2, int(big), "Y" if keyed else "N", base, locale)


def legacy(entries, minor, flag=0, coding=None):
    """Version 1.0 or 1.5. With a coding, the texts are stored as its bytes."""
    if coding:
        entries = [(key, text.encode(coding).decode("latin-1")) for key, text in entries]
    return built(entries, minor, flag)
