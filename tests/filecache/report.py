#!/usr/bin/env python3
"""Reads the reports of the example host with Python's own readers, and compares
them with what the host shows and with the files that are there.

Usage: report.py BINARY
"""

import json
import os
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree

# File names, and their forms in JSON and in XML.
NAMES = [
    (b"plain", "plain", "plain"),
    (b"\"quotes' & <marks> ]]> &amp;\\", "\"quotes' & <marks> ]]> &amp;\\", None),
    ("Ünï 日本 \U0001f600".encode(), "Ünï 日本 \U0001f600", None),
    (b"not UTF-8 \xff, cut \xe3\x81", "not UTF-8 \ufffd, cut \ufffd", None),
    (b"tab\tline\nreturn\r", "tab\tline\nreturn\r", None),
    (b"bell\x07\xef\xbf\xbf\x7f", "bell\x07\uffff\x7f", "bell\ufffd\ufffd\x7f"),
]
IN_JSON = [in_json for _, in_json, _ in NAMES]
IN_XML = [in_xml or in_json for _, in_json, in_xml in NAMES]
FOLDER = "the \"files\" & 'more' <ü>"
SIZE = 3000000  # beyond the budget
FULL_DEVICE = "/dev/full"


def run(binary, *arguments):
    # Root drops the right to read every file.
    through = ["setpriv", "--bounding-set=-dac_override,-dac_read_search"] if os.geteuid() == 0 else []
    return subprocess.run(
        [*through, binary, "--threads", "2", "--budget", "2M", *arguments],
        capture_output=True,
        check=False,
        env={"LC_ALL": "C"},
        timeout=120,
    )


def shown(result):
    """The first word of each figure that is shown, by label."""
    rows = re.findall(r"^(\S+(?: \S+)*)  +(\S+)", result.stdout.decode(), re.M)
    return dict(rows)


def as_shown(name, value):
    decimals = {"time": 3, "speed": 1}.get(name)
    return str(value) if decimals is None else f"{float(value):.{decimals}f}"


def from_json(path):
    with open(path, encoding="utf-8") as file:
        report = json.load(file)
    assert all(isinstance(entry["bytes"], int) for entry in report["refused"]), report
    return {
        "folder": report["folder"],
        "figures": report["figures"],
        "unreadable": [(entry["path"], entry["reason"]) for entry in report["unreadable"]],
        "refused": [(entry["path"], entry["bytes"]) for entry in report["refused"]],
    }


def from_xml(path):
    report = ElementTree.parse(path).getroot()
    assert report.tag == "filecache", report.tag
    return {
        "folder": report.get("folder"),
        "figures": {entry.get("name"): entry.text for entry in report.iter("figure")},
        "unreadable": [(entry.text, entry.get("reason")) for entry in report.iter("unreadable")],
        "refused": [(entry.text, int(entry.get("bytes"))) for entry in report.iter("refused")],
    }


def check_equal(what, found, expected):
    if found != expected:
        sys.exit(f"FAILED: {what}: {found!r}, not {expected!r}")


def make_files(folder):
    os.makedirs(os.path.join(folder, "locked"))
    os.makedirs(os.path.join(folder, "large"))
    for name, _, _ in NAMES:
        locked = os.path.join(os.fsencode(folder), b"locked", name)
        with open(locked, "wb") as file:
            file.write(b"secret")
        os.chmod(locked, 0)
        with open(os.path.join(os.fsencode(folder), b"large", name), "wb") as file:
            file.truncate(SIZE)
    with open(os.path.join(folder, "small"), "wb") as file:
        file.write(b"small")


def check_report(binary, path, read, names):
    result = run(binary, "--report", path, FOLDER)
    check_equal("status", result.returncode, 1)  # for what was unreadable
    report = read(path)
    check_equal("folder", report["folder"], FOLDER)
    unreadable = sorted((f"{FOLDER}/locked/{name}", "Permission denied") for name in names)
    refused = sorted((f"{FOLDER}/large/{name}", SIZE) for name in names)
    check_equal("unreadable", sorted(report["unreadable"]), unreadable)
    check_equal("refused", sorted(report["refused"]), refused)

    figures = {
        name.replace("_", " "): as_shown(name, value) for name, value in report["figures"].items()
    }
    summary = shown(result)
    summary.pop("log lines")
    check_equal("figures", figures, summary)
    check_equal("files read", figures["files read"], str(len(names) + 1))
    check_equal("unreadable", figures["unreadable"], str(len(names)))


def check_unwritable(binary, path, message):
    result = run(binary, "--report", path, "nothing")
    check_equal(f"status for {path}", result.returncode, 1)
    told = result.stderr.decode()
    check_equal(f"told of {path}", told, f"filecache: can't write {path}: {message}\n")
    check_equal(f"summary beside {path}", shown(result)["files read"], "0")


def check_wrong(binary, message, *arguments):
    result = run(binary, *arguments, "nothing")
    check_equal(f"status for {arguments}", result.returncode, 2)
    check_equal(f"told of {arguments}", result.stderr.decode(), f"filecache: {message} (see --help)\n")
    check_equal(f"summary in spite of {arguments}", result.stdout, b"")


def main():
    binary = os.path.abspath(sys.argv[1])
    with tempfile.TemporaryDirectory() as work:
        os.chdir(work)
        make_files(FOLDER)
        check_report(binary, "report.json", from_json, IN_JSON)
        check_report(binary, "report.xml", from_xml, IN_XML)

        os.mkdir("nothing")
        run(binary, "--report", "empty.json", "nothing")
        with open("empty.json", encoding="utf-8") as file:
            check_equal("lists of no losses", sorted(json.load(file)), ["figures", "folder"])
        check_unwritable(binary, "missing/report.json", "No such file or directory")
        if os.path.exists(FULL_DEVICE):
            for path in ("full.json", "full.xml"):
                os.symlink(FULL_DEVICE, path)
                check_unwritable(binary, path, "No space left on device")
        for path in ("report", "report.txt", "json", "report.xml.gz"):
            check_wrong(
                binary, f"the report '{path}' ends neither in .json nor in .xml", "--report", path
            )
            check_equal(f"{path} is there", os.path.exists(path), False)
        check_wrong(binary, "--report needs a file name", "--report", "")
    print(f"all fine: {len(NAMES)} names in both forms")


if __name__ == "__main__":
    main()
