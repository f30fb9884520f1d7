#!/usr/bin/env python3
"""Stops the example host while it reads a file that would take it minutes, and
expects its figures of what it has read until then. Usage: stop.py BINARY"""
import ctypes
import json
import os
import pty
import re
import select
import signal
import subprocess
import sys
import tempfile

binary = os.path.abspath(sys.argv[1])
GENEROUS = 100  # seconds
SMALL_FILES = 200
ENDLESS = 1 << 40  # bytes, none of them on the disk
IN_OPEN = 0x20
failures = 0


def fail(message):
    global failures
    failures += 1
    print("FAILED:", message)


def make_files(folder):
    os.makedirs(f"{folder}/a")
    for number in range(SMALL_FILES):
        with open(f"{folder}/a/{number}", "w", encoding="ascii") as file:
            file.write("line\n" * number)
    with open(f"{folder}/z", "wb") as file:
        file.truncate(ENDLESS)


def watch(path):
    """Returns a descriptor that becomes readable when a process opens the file."""
    libc = ctypes.CDLL(None, use_errno=True)
    descriptor = libc.inotify_init1(os.O_CLOEXEC)
    if libc.inotify_add_watch(descriptor, os.fsencode(path), IN_OPEN) < 0:
        raise OSError(ctypes.get_errno(), f"{path} can't be watched")
    return descriptor


def run(name, files, work, stop, stdin=subprocess.DEVNULL, **start):
    log = f"{work}/log"
    report = f"{work}/report.json"
    command = [binary, "--threads", "1", "--log", log, "--report", report, files]
    opened = watch(f"{files}/z")
    with subprocess.Popen(command, stdin=stdin, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          text=True, **start) as process:
        try:
            # The output is readable at its end, too, if the process ends early.
            if opened not in select.select([opened, process.stdout], [], [], GENEROUS)[0]:
                raise RuntimeError("the big file isn't read")
            stop(process)
            out, err = process.communicate(timeout=GENEROUS)
        except (RuntimeError, subprocess.TimeoutExpired) as error:
            process.kill()
            fail(f"{name}: {error}, {process.communicate()}")
            return
        finally:
            os.close(opened)
    figures = dict(re.findall(r"^(\w[\w ]*?)  +(\w+)", out, re.MULTILINE))
    # One thread reads the files in order, and the last one not to its end.
    expected = {"files read": SMALL_FILES, "files held": SMALL_FILES,
                "lines read": SMALL_FILES * (SMALL_FILES - 1) // 2, "unreadable": 0}
    for label, figure in expected.items():
        if figures.get(label) != str(figure):
            fail(f"{name}: '{label}' is {figures.get(label)}, not {figure}, in {out}")
    with open(report, encoding="utf-8") as file:
        if json.load(file)["figures"]["files_read"] != SMALL_FILES:
            fail(f"{name}: the report has other figures")
    if process.returncode != 3:
        fail(f"{name}: status {process.returncode}, not 3")
    if "filecache: stopped" not in err:
        fail(f"{name}: told {err}")
    with open(log, encoding="utf-8", errors="replace") as lines:
        if "MEM_DumpLeaks" in lines.read():
            fail(f"{name}: blocks were leaked")


def run_on_terminal(name, files, work, keys):
    keyboard, terminal = pty.openpty()

    def take_terminal():
        os.setsid()
        os.close(os.open(os.ttyname(0), os.O_RDWR))  # the first one opened controls

    try:
        run(name, files, work, lambda process: os.write(keyboard, keys), terminal,
            preexec_fn=take_terminal)
    finally:
        os.close(keyboard)
        os.close(terminal)


with tempfile.TemporaryDirectory() as work_folder:
    files_folder = os.path.realpath(work_folder) + "/files"
    make_files(files_folder)
    run("SIGINT", files_folder, work_folder, lambda process: process.send_signal(signal.SIGINT))
    if os.environ.get("TESTED_SYSTEM") != "Windows":  # its terminals are not files
        run_on_terminal("Ctrl-C", files_folder, work_folder, b"\x03")
        run_on_terminal("Escape", files_folder, work_folder, b"\x1b")

print(f"{failures} failures")
sys.exit(failures != 0)
