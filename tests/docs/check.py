"""Compiles and runs the programs in the documents, and looks for what their links name.

    check.py BUILD_FOLDER CXX_COMPILER

A program is a block of C++ with a main; it compiles without a warning against the
build's libraries, runs, and ends with the status 0.
"""

import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
BLOCK = re.compile(r"^```cpp\n(.*?)^```$", re.MULTILINE | re.DOTALL)
CODE = re.compile(r"^```.*?^```$|`[^`\n]*`", re.MULTILINE | re.DOTALL)
LINK = re.compile(r"\]\(([^)#:]+)(?:#[^)]*)?\)|src=\"([^\":]+)\"")
FLAGS = ["-std=c++17", "-Wall", "-Wextra", "-Werror", f"-I{ROOT}/include"]


def programs(document):
    """Each with the number of its first line."""
    text = document.read_text(encoding="utf-8")
    for block in BLOCK.finditer(text):
        if re.search(r"\bint main\(", block[1]):
            yield text.count("\n", 0, block.start(1)) + 1, block[1]


def fails(command, **options):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          timeout=60, check=False, **options)
    if done.returncode:
        print(done.stdout, end="")
    return done.returncode


def check_program(place, code, build, compiler, folder):
    path, line = place
    source = pathlib.Path(folder, "program.cpp")
    program = pathlib.Path(folder, "program")
    source.write_text(f'#line {line} "{path}"\n{code}', encoding="utf-8")
    libraries = build / "lib"
    if fails([compiler, *FLAGS, f"-I{build}/include", source, "-o", program, f"-L{libraries}",
              f"-Wl,-rpath,{libraries}", "-lU", "-lUplatform", "-lboost_thread", "-pthread"]):
        return f"{path}:{line}: doesn't compile"
    status = fails([program], cwd=folder)
    return f"{path}:{line}: ended with the status {status}" if status else None


def dead_links(document):
    text = CODE.sub("", document.read_text(encoding="utf-8"))
    for link in LINK.finditer(text):
        target = link[1] or link[2]
        if not (document.parent / target).exists():
            yield f"{document.relative_to(ROOT)}: there is no {target}"


def main(build, compiler):
    documents = [*ROOT.glob("*.md"), *sorted(ROOT.glob("docs/**/*.md"))]
    faults = [fault for document in documents for fault in dead_links(document)]
    count = 0
    with tempfile.TemporaryDirectory() as folder:
        for document in documents:
            for line, code in programs(document):
                count += 1
                place = document.relative_to(ROOT), line
                faults.append(check_program(place, code, pathlib.Path(build), compiler, folder))
    faults = list(filter(None, faults))
    print(*faults, f"{count} programs in {len(documents)} documents", sep="\n")
    return 1 if faults or not count else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
