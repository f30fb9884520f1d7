#!/usr/bin/env python3
"""Checks that a source fails to compile where it says so, and only there.

Usage: check.py SOURCE COMPILER [ARGUMENT...]

A line that ends in "// error: WORD" must bring an error with the word in it.
"""

import os
import re
import subprocess
import sys


def main():
    source, *command = sys.argv[1:]
    with open(source, encoding="utf-8") as file:
        marks = [re.search(r"// error: (.*)$", line) for line in file]
    expected = {number: mark.group(1) for number, mark in enumerate(marks, 1) if mark}
    # Clang stops after 20 errors.
    every_error = ["-ferror-limit=0"] if "clang" in os.path.basename(command[0]) else []
    result = subprocess.run(
        [*command, *every_error, "-fsyntax-only", source], stderr=subprocess.PIPE, text=True, check=False
    )
    found = {}
    for line, text in re.findall(rf"^{re.escape(source)}:(\d+):\d+: error: (.*)$", result.stderr, re.M):
        found.setdefault(int(line), []).append(text)
    faults = [f"{source}:{line}: unexpected: {found[line]}" for line in found.keys() - expected]
    faults += [
        f"{source}:{line}: no error with '{word}': {found.get(line, 'it compiles')}"
        for line, word in expected.items()
        if not any(word in text for text in found.get(line, []))
    ]
    print("\n".join(sorted(faults)))
    return 1 if faults or not expected else 0


if __name__ == "__main__":
    sys.exit(main())
