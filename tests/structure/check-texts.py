#!/usr/bin/env python3
"""Checks every text file of the project except the seeds of the fuzz tests: tests/structure/check-texts.py [FOLDER].

Files are UTF-8 without a byte-order mark, and lines end in LF. C++ and resource files have no trailing blanks and no tabs
as indentation. No file has a marker of unfinished work. No test is disabled, and no test is skipped without a reason.
The program shows message boxes through ShowMessage only. The exit status is 1 if anything is found.
"""
import os
import re
import subprocess
import sys

MARKERS = re.compile(r"\b(TO" r"DO|FIX" r"ME|X" r"XX|HA" r"CK)\b|\bDISABLED" r"_\w|GTEST_SKIP\(\)\s*;")
DIRECT_CALL = re.compile(r"\b(MessageBox(Ex)?[AW]?|MessageBoxIndirect[AW]?)\s*\(")
MODULES = ("framework/", "platform/", "core/", "files/", "cad/", "run/", "ui/")
SHOW_MESSAGE = "framework/MessageBox.cpp"
SEEDS = "tests/fuzz/seeds/"  # inputs of the fuzz targets: bytes, not texts


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
        if line.endswith("\r"):
            yield f"{name}:{number}: line ends in CR LF"
        if is_code and line.rstrip("\r") != line.rstrip():
            yield f"{name}:{number}: trailing blanks"
        if is_code and line.startswith("\t"):
            yield f"{name}:{number}: tab as indentation"
        if MARKERS.search(line):
            yield f"{name}:{number}: unfinished or disabled: {line.strip()}"
        if name.startswith(MODULES) and name != SHOW_MESSAGE and DIRECT_CALL.search(line.split("//")[0]):
            yield f"{name}:{number}: message boxes go through ShowMessage: {line.strip()}"


def main():
    top = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
    count, findings = 0, []
    for name in tracked(top):
        with open(os.path.join(top, name), "rb") as file:
            data = file.read()
        if b"\0" in data:
            continue  # binary
        count += 1
        if not name.startswith(SEEDS):
            findings += findings_of(name, data)
    for finding in findings:
        print(finding)
    print(f"{count} text files, {len(findings)} findings")
    return 1 if findings or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
