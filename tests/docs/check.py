"""Compiles and runs the programs in the documents, compiles the examples of the public
headers, runs the commands in the documents, and checks that the targets of links and the named
source files exist.

    check.py BUILD_FOLDER CXX_COMPILER

A program is a block of C++ with a main; it compiles without a warning against the
build's libraries, runs, and ends with the status 0.

A console block has commands behind "$ ", each with its output. `cat` of a file that is not there
makes the file. All blocks of a document run in one folder.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
BLOCK = re.compile(r"^```cpp\n(.*?)^```$", re.MULTILINE | re.DOTALL)
CONSOLE = re.compile(r"^```console\n(.*?)^```$", re.MULTILINE | re.DOTALL)
CODE = re.compile(r"^```.*?^```$|`[^`\n]*`", re.MULTILINE | re.DOTALL)
SOURCE = re.compile(r"`([\w/]+\.(?:cpp|h|inc|py))`")
SOURCES = ["include", "indep", "text", "dictionary", "platform", "tools", "adapters", "examples",
           "tests", "bench", "fuzz"]
EXAMPLE = re.compile(r"^//     .*\n(?:(?://\n)*//     .*\n)*", re.MULTILINE)
INCLUDE = re.compile(r"^ *#include .*\n", re.MULTILINE)
LINK = re.compile(r"\]\(([^)#:]+)(?:#[^)]*)?\)|src=\"([^\":]+)\"")
FLAGS = ["-std=c++17", "-Wall", "-Wextra", "-Werror", f"-I{ROOT}/include",
         f"-I{ROOT}/adapters/cpp"]
HEADERS = ["include", "adapters/cpp"]  # the folders on a host's include path


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


def check_commands(document, build):
    """Runs the commands of a document's console blocks. Returns the faults."""
    text = document.read_text(encoding="utf-8")
    environment = {**os.environ, "PATH": f"{build}/bin:{os.environ['PATH']}", "LC_ALL": "C.UTF-8"}
    faults = []
    with tempfile.TemporaryDirectory() as folder:
        for block in CONSOLE.finditer(text):
            for step in re.split(r"^\$ ", block[1], flags=re.MULTILINE)[1:]:
                command, _, expected = step.partition("\n")
                made = pathlib.Path(folder, command[4:]) if command.startswith("cat ") else None
                if made and not made.exists():
                    made.parent.mkdir(parents=True, exist_ok=True)
                    made.write_text(expected, encoding="utf-8")
                    continue
                done = subprocess.run(command, shell=True, cwd=folder, env=environment, timeout=60,
                                      stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
                if done.stdout.decode() != expected:
                    faults.append(f"{document.relative_to(ROOT)}: {command}: printed\n"
                                  f"{done.stdout.decode()}")
    return faults


def dead_links(document):
    text = CODE.sub("", document.read_text(encoding="utf-8"))
    for link in LINK.finditer(text):
        target = link[1] or link[2]
        if not (document.parent / target).exists():
            yield f"{document.relative_to(ROOT)}: there is no {target}"


def dead_sources(document, sources):
    """Source files that the document names and the tree lacks."""
    for name in sorted(set(SOURCE.findall(document.read_text(encoding="utf-8")))):
        if not any(path.endswith("/" + name) for path in sources):
            yield f"{document.relative_to(ROOT)}: there is no source {name}"


def example(header):
    """The example in the comment above the include guard: the first run of indented lines."""
    head = header.read_text(encoding="utf-8").partition("\n#ifndef ")[0]
    run = EXAMPLE.search(head)
    return re.sub(r"^//(?:     )?", "", run[0], flags=re.MULTILINE) if run else ""


def check_examples(build, compiler, folder):
    """All examples in one source, each in a function of its own."""
    includes = functions = ""
    for path in HEADERS:
        for header in sorted((ROOT / path).glob("**/*.h")):
            name = header.relative_to(ROOT / path)
            code = example(header)
            if not code:
                yield f"{path}/{name}: there is no example"
            includes += f"#include <{name}>\n" + "".join(INCLUDE.findall(code))
            functions += (f"void ExampleOf_{header.stem}()\n{{\n"
                          f"#line 1 \"{name}, the example\"\n{INCLUDE.sub('', code)}}}\n")
    source = pathlib.Path(folder, "examples.cpp")
    source.write_text(f"{includes}namespace examples\n{{\n{functions}}}\n", encoding="utf-8")
    if fails([compiler, *FLAGS, "-Wno-unused", f"-I{build}/include", "-fsyntax-only", source]):
        yield "an example of a header does not compile"


def main(build, compiler):
    documents = [*ROOT.glob("*.md"), *sorted(ROOT.glob("docs/**/*.md"))]
    faults = [fault for document in documents for fault in dead_links(document)]
    sources = [str(path) for folder in SOURCES for path in ROOT.glob(folder + "/**/*.*")]
    for document in documents:
        faults += check_commands(document, build)
    for document in [*documents, ROOT / "tests/COVERAGE.md"]:
        faults += dead_sources(document, sources)
    count = 0
    with tempfile.TemporaryDirectory() as folder:
        faults += check_examples(build, compiler, folder)
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
