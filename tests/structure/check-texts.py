#!/usr/bin/env python3
"""Checks every text file of the project: tests/structure/check-texts.py [FOLDER].

Files are UTF-8 without a byte-order mark, lines end in a bare line feed and carry no trailing blanks or tabs for
indentation in C++, and nothing unfinished or switched off is left behind. Exit status 1 on a finding.
"""
import os
import re
import subprocess
import sys

MARKERS = re.compile(r"\b(TO" r"DO|FIX" r"ME|X" r"XX|HA" r"CK)\b|\bDISABLED" r"_\w|GTEST_SKIP\(\)\s*;")
BARE_BOX = re.compile(r"\b(MessageBox(Ex)?[AW]?|MessageBoxIndirect[AW]?)\s*\(")
ROOMS = ("framework/", "platform/", "core/", "files/", "cad/", "run/", "ui/")
THE_DOOR = "framework/MessageBox.cpp"
SEEDS = "tests/fuzz/seeds/"  # inputs of the fuzz targets: odd line ends and blanks are their point


def tracked(top):
    listed = subprocess.run(["git", "-C", top, "-c", "safe.directory=*", "ls-files", "-z"],
                            check=True, capture_output=True)
    return [name for name in listed.stdout.decode("utf-8").split("\0") if os.path.isfile(os.path.join(top, name))]


def findings_of(name, data):
    try:
        text = data.decode("utf-8")
    except UnicodeDecodeError as error:
        yield f"{name}: not UTF-8 (byte {error.start})"
        return
    if text.startswith("\ufeff"):
        yield f"{name}:1: byte-order mark"
    is_code = name.endswith((".cpp", ".h", ".rc"))
    for number, line in enumerate(text.split("\n"), 1):
        if line.endswith("\r") and not name.startswith(SEEDS):
            yield f"{name}:{number}: line ends in CR LF"
        if is_code and line.rstrip("\r") != line.rstrip():
            yield f"{name}:{number}: trailing blanks"
        if is_code and line.startswith("\t"):
            yield f"{name}:{number}: tab as indentation"
        if MARKERS.search(line):
            yield f"{name}:{number}: unfinished or switched off: {line.strip()}"
        if name.startswith(ROOMS) and name != THE_DOOR and BARE_BOX.search(line.split("//")[0]):
            yield f"{name}:{number}: message boxes go through ShowMessage: {line.strip()}"


def main():
    top = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
    count, findings = 0, []
    for name in tracked(top):
        with open(os.path.join(top, name), "rb") as file:
            data = file.read()
        if b"\0" in data:
            continue  # a picture or the like
        count += 1
        findings += findings_of(name, data)
    for finding in findings:
        print(finding)
    print(f"{count} text files, {len(findings)} findings")
    return 1 if findings or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
