"""Holds the includes of the tree to its layers: each leads to a lower layer.

    check.py [ROOT]

A file belongs to the longest folder below that begins its path. Folders of one row do not
include each other, apart from the group MUTUAL.
"""

import pathlib
import re
import subprocess
import sys

# From the lowest row to the highest.
ROWS = [
    ["platform/win32/native/windows_api.h"],
    ["platform/base"],
    ["platform/wril"],
    ["platform/win32"],
    ["platform/krobase", "platform/zelboxmp"],
    ["platform/kroview", "platform/tolv"],
    ["platform/control.h"],
    ["platform/alert"],
    ["platform/alert/sdl", "platform/control.cpp"],
    ["dictionary"],
    ["include"],
    ["indep/frame"],
    ["indep/errors", "text", "indep/U_Memory"],
    ["indep/machine", "indep/contexts", "indep/data", "indep/instrumentation"],
    ["indep/crash"],
    ["indep"],
    ["adapters"],
    ["tools/program"],
    ["adapters"],
    ["tools", "examples", "bench"],
    ["fuzz"],
    ["tests"],
]

# A report needs a text and memory, and both report.
MUTUAL = {"indep/errors", "text", "indep/U_Memory"}

# Folders that stand alone, with all that they may include besides themselves. The
# dictionary reaches the platform through its conversion hooks. The adapters include what is
# installed.
ONLY = {
    "dictionary": {"dictionary", "platform/win32", "platform/base"},
    "adapters": {"include", "platform"},
    "tools": {"dictionary", "platform"},
}

SEARCHED = ["", "include", "platform", "dictionary", "tools", "adapters/cpp"]
INCLUDE = re.compile(r'^\s*#\s*include\s+[<"]([^>"]+)[>"]', re.MULTILINE)
RANK = {folder: rank for rank, row in enumerate(ROWS) for folder in row}


def folder_of(path):
    parts = path.split("/")
    for length in range(len(parts), 0, -1):
        folder = "/".join(parts[:length])
        if folder in RANK:
            return folder
    return None


def target_of(path, name, paths):
    """The file of the tree that the include names; None for any other."""
    beside = pathlib.PurePosixPath(path).parent
    for folder in [beside, *SEARCHED]:
        parts = []
        for part in (pathlib.PurePosixPath(folder) / name).parts:
            if part == "..":
                if not parts:
                    break
                parts.pop()
            else:
                parts.append(part)
        target = "/".join(parts)
        if target in paths:
            return target
    return None


def below(path, folder):
    return path == folder or path.startswith(folder + "/")


def is_allowed(source, target):
    for alone, others in ONLY.items():
        if below(source, alone) and not below(target, alone):
            return any(below(target, other) for other in others)
    user, used = folder_of(source), folder_of(target)
    return user == used or RANK[user] > RANK[used] or {user, used} <= MUTUAL


def main(root):
    listed = subprocess.run(["git", "-C", root, "ls-files", "-co", "--exclude-standard", "*.h",
                             "*.cpp", "*.inc"], stdout=subprocess.PIPE, text=True, check=True)
    paths = {path for path in listed.stdout.split() if pathlib.Path(root, path).exists()}
    faults = [f"{path}: in no layer" for path in sorted(paths) if not folder_of(path)]
    count = 0
    for path in sorted(paths) if not faults else []:
        text = pathlib.Path(root, path).read_text(encoding="utf-8", errors="replace")
        for name in INCLUDE.findall(text):
            target = target_of(path, name, paths)
            if target:
                count += 1
                if not is_allowed(path, target):
                    faults.append(f"{path} includes {target}")
    print(*faults, f"{count} includes in {len(paths)} files", sep="\n")
    return 1 if faults or not count else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parents[2]))
