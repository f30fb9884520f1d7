#!/usr/bin/env python3
"""Measures zdict beside gettext's tools on the same data.

Usage: bench_zdict.py ZDICT FOLDER

FOLDER holds the catalogue that make_catalogue.py wrote. The figures are printed
as a benchmark program prints them: the real time in ms, and the counters cpu
(ms of user and system time) and resident (MB).
"""

import itertools
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time

# Of scripts/bench: options that concern programs of many short operations start so.
IGNORED = "--benchmark_"

LITERALS = 100000
LITERALS_A_FILE = 500


def write_sources(folder, entries):
    """Sources in which each entry is a literal of either tool, with code and comments around."""
    folder.mkdir()
    for first in range(0, LITERALS, LITERALS_A_FILE):
        lines = ['#include "host.h"', "", "// Shows the state of a panel.", "void Show()", "{"]
        for number, (key, text) in enumerate(itertools.islice(entries, LITERALS_A_FILE), first):
            english = f"{text} {number}"
            lines += [f"    if (IsWanted({number}) && panel[{number}] != 'x') // row {number}",
                      f'        Add(Resolve("$$${key}={english}"), _("{english}"));']
        lines.append("}")
        (folder / f"panel{first}.cpp").write_text("\n".join(lines) + "\n", encoding="utf-8")


def entries_of(texts):
    with open(texts, encoding="utf-8") as file:
        for line in file:
            yield line[4:-2].split("=", 1)  # within "$$$ and "


def measure(command, environment):
    """One run of a program: real time and CPU in ms, and its largest resident size in MB, which
    is at least that of this script."""
    start = time.perf_counter()
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, env={**os.environ, **environment})
    _, status, usage = os.wait4(process.pid, 0)
    real = time.perf_counter() - start
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode:
        sys.exit(f"{command}: status {process.returncode}")
    return {"real_time": real * 1000, "cpu": (usage.ru_utime + usage.ru_stime) * 1000,
            "resident": usage.ru_maxrss / 1000}


def main():
    zdict, catalogue = sys.argv[1], pathlib.Path(sys.argv[2])
    if not all(option.startswith(IGNORED) for option in sys.argv[3:]):
        sys.exit(__doc__)
    texts, po = str(catalogue / "texts.txt"), str(catalogue / "catalogue.po")
    entries = entries_of(texts)
    key = next(entries)[0]

    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        image, messages = str(folder / "image"), folder / "de/LC_MESSAGES/catalogue.mo"
        messages.parent.mkdir(parents=True)
        subprocess.run([zdict, "compile", "-o", image, texts], check=True)
        subprocess.run(["msgfmt", "-o", messages, po], check=True)
        write_sources(folder / "sources", entries)
        sources = sorted(map(str, (folder / "sources").iterdir()))
        out = str(folder / "out")
        domain = {"TEXTDOMAINDIR": str(folder), "LANGUAGE": "de", "LC_ALL": "C.UTF-8"}
        commands = {
            "Compile": [zdict, "compile", "-o", out, texts],
            "Msgfmt": ["msgfmt", "-o", out, po],
            "Dump": [zdict, "dump", "-o", out, image],
            "Msgunfmt": ["msgunfmt", "-o", out, str(messages)],
            "Merge": [zdict, "merge", "-o", out, image, image],
            "Msgcat": ["msgcat", "-o", out, po],
            "Get": [zdict, "get", image, key],
            "Gettext": ["gettext", "-d", "catalogue", key],
            "Extract": [zdict, "extract", "-o", out, str(folder / "sources")],
            "Xgettext": ["xgettext", "--from-code=UTF-8", "-k_", "-o", out, *sources],
        }
        runs = [{"run_name": "Limit", "real_time": 10, "cpu": 1000, "resident": 250}]
        runs += [{"run_name": run, **measure(command, domain)} for run, command in commands.items()]
    print(json.dumps({"benchmarks": [{"run_type": "iteration", "name": run["run_name"],
                                      "time_unit": "ms", **run} for run in runs]}))


if __name__ == "__main__":
    main()
