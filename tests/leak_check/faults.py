"""Commits faults in blocks of the library in a host that a checker of memory watches, and reads
the checker's report: the fault, and the owners of the block. All of that a second time with the
checked heap of the library, which finds faults besides.

    faults.py asan|valgrind HOST

Ends with 77 if there is no valgrind.
"""

import itertools
import os
import re
import shutil
import subprocess
import sys

VALGRIND = ["valgrind", "--error-exitcode=9", "--undef-value-errors=no", "--num-callers=40", "-q"]

# The sanitizer's fast unwinder stops in code without frame pointers, such as the library's.
ENVIRONMENT = {**os.environ, "ASAN_OPTIONS": "fast_unwind_on_malloc=0"}
SECOND_FREE = "HEAP_CHECK: a freed (block|handle) was used, or freed a second time"

# In the order of kBlockKinds.
KINDS = ["pointer", "handle", "resized", "hog", "recycled"]

# Per fault the text of each checker, and the functions in its stacks.
FAULTS = {
    "none": (None, None, []),
    "overrun": ("heap-buffer-overflow|use-after-poison", "Invalid write of size 1",
                ["Culprit", "SecondOwner"]),
    "underrun": ("use-after-poison", "Invalid write of size 1", ["Culprit", "SecondOwner"]),
    "use_after_free": ("heap-use-after-free", "Invalid write of size 1",
                       ["Culprit", "SecondOwner", "Liberator"]),
    "second_free": ("heap-use-after-free", "Invalid read of size",
                    ["SecondOwner", "Liberator"]),
}


def faults_of(command, kind, fault, text, functions, checks):
    done = subprocess.run([*command, str(KINDS.index(kind)), fault],
                          env={**ENVIRONMENT, "U_HEAP_CHECKS": checks}, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, timeout=120, check=False)
    wrong = []
    if (done.returncode != 0) != (bool(text) and text != SECOND_FREE):
        wrong.append(f"ended with {done.returncode}")
    if text and not re.search(text, done.stdout):
        wrong.append(f"does not report {text}")
    wrong += [f"does not name {name}" for name in functions if name not in done.stdout]
    if "FirstOwner" in done.stdout:
        wrong.append("names the owner of an earlier block")
    if wrong:
        print(f"{kind}, {fault}, checks {checks}: {', '.join(wrong)}", done.stdout, sep="\n")
    return len(wrong)


def main(checker, host):
    if checker == "valgrind" and not shutil.which("valgrind"):
        return 77
    command = [*VALGRIND, host] if checker == "valgrind" else [host]
    wrong = 0
    for kind, (fault, texts), checks in itertools.product(KINDS, FAULTS.items(), ("0", "stacks=1")):
        asan, valgrind, functions = texts
        text = valgrind if checker == "valgrind" else asan
        # The header of a hog handle belongs to the block, so a checker sees no underrun.
        if (kind, fault) == ("hog", "underrun"):
            continue
        if fault == "second_free" and checks != "0":
            text = SECOND_FREE
        elif fault == "second_free" and kind not in ("pointer", "recycled"):
            continue  # no checker knows a handle
        wrong += faults_of(command, kind, fault, text, functions, checks)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
