"""Writes the programs of documents as a project for CMake with an installed U.

    document_programs.py FOLDER DOCUMENT...
"""

import os
import pathlib
import sys

sys.path.append(os.path.join(os.path.dirname(os.path.abspath(__file__)), "../docs"))
from check import programs

PROJECT = """cmake_minimum_required(VERSION 3.25)
project(Documents LANGUAGES CXX)
find_package(U 1.0 REQUIRED)
file(GLOB sources *.cpp)
foreach(source ${sources})
  cmake_path(GET source STEM name)
  add_executable(${name} ${source})
  target_link_libraries(${name} PRIVATE U::cpp)
endforeach()
"""


def main(folder, *documents):
    folder = pathlib.Path(folder)
    folder.mkdir()
    (folder / "CMakeLists.txt").write_text(PROJECT, encoding="utf-8")
    for document in map(pathlib.Path, documents):
        for line, code in programs(document):
            name = f"{document.stem}_{line}"
            (folder / f"{name}.cpp").write_text(f'#line {line} "{document}"\n{code}',
                                                encoding="utf-8")
    print(len(list(folder.glob("*.cpp"))), "programs")


if __name__ == "__main__":
    main(*sys.argv[1:])
