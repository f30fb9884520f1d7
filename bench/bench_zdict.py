#!/usr/bin/env python3
"""Measures zdict beside gettext's tools on the same data.

Usage: bench_zdict.py ZDICT FOLDER

FOLDER holds the catalogue that make_catalogue.py wrote. The figures are printed
as a benchmark program prints them: the real time in ms, and the counters cpu
(ms of user and system time) and resident (MB). A command that fails, or whose
output is another one than its data have, is printed as an error.
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


def measure(command, environment, out, check):
    """One run of a program, which writes or prints the file OUT: real time and CPU in ms, and its
    largest resident size in MB, which is at least that of this script. So the shell checks OUT."""
    with open(out, "wb") as printed:
        start = time.perf_counter()
        process = subprocess.Popen(command, stdout=printed, env={**os.environ, **environment})
        _, status, usage = os.wait4(process.pid, 0)
        real = time.perf_counter() - start
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode:
        return {"error_occurred": True, "error_message": f"status {process.returncode}"}
    if subprocess.run(["sh", "-c", check], cwd=os.path.dirname(out), stdout=sys.stderr,
                      check=False).returncode:
        return {"error_occurred": True, "error_message": f"another output: {check}"}
    return {"real_time": real * 1000, "cpu": (usage.ru_utime + usage.ru_stime) * 1000,
            "resident": usage.ru_maxrss / 1000}


def main():
    zdict, catalogue = sys.argv[1], pathlib.Path(sys.argv[2]).resolve()
    if not all(option.startswith(IGNORED) for option in sys.argv[3:]):
        sys.exit(__doc__)
    texts, po = str(catalogue / "texts.txt"), str(catalogue / "catalogue.po")
    entries = entries_of(texts)
    key, text = next(entries)

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
        count = sum(1 for _ in entries_of(texts))
        (folder / "text").write_text(text, encoding="utf-8")
        is_image, is_text = "cmp out image", "tr -d '\\n' <out | cmp - text"
        is_catalogue = f"test $(grep -c '^msgid ' out) = {count + 1}"  # with the header's
        commands = {
            "Compile": ([zdict, "compile", "-o", out, texts], is_image),
            "Msgfmt": (["msgfmt", "-o", out, po], f"cmp out {messages}"),
            "Dump": ([zdict, "dump", "-o", out, image], f"cmp out {texts}"),
            "Msgunfmt": (["msgunfmt", "-o", out, str(messages)], is_catalogue),
            "Merge": ([zdict, "merge", "-o", out, image, image], is_image),
            "Msgcat": (["msgcat", "-o", out, po], is_catalogue),
            "Get": ([zdict, "get", image, key], is_text),
            "Gettext": (["gettext", "-d", "catalogue", key], is_text),
            "Extract": ([zdict, "extract", "-o", out, str(folder / "sources")],
                        f"test $(grep -c '^\"[$][$][$]' out) = {LITERALS}"),
            "Xgettext": (["xgettext", "--from-code=UTF-8", "-k_", "-o", out, *sources],
                         f"test $(grep -c '^msgid ' out) = {LITERALS + 1}"),
        }
        runs = [{"run_name": "Limit", "real_time": 10, "cpu": 1000, "resident": 250}]
        runs += [{"run_name": run, **measure(command, domain, out, check)}
                 for run, (command, check) in commands.items()]
    print(json.dumps({"benchmarks": [{"run_type": "iteration", "name": run["run_name"],
                                      "time_unit": "ms", **run} for run in runs]}))


if __name__ == "__main__":
    main()
