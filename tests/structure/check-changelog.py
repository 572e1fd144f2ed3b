#!/usr/bin/env python3
"""Checks that CHANGELOG.md has the current version: tests/structure/check-changelog.py [FOLDER].

The version in CMakeLists.txt must have a section with a date. Only the section "Unreleased" may precede that section.
The exit status is 1 if anything is found; each finding is one line.
"""
import os
import re
import sys

VERSION = re.compile(r"^project\(Talvenor VERSION ([0-9.]+) ", re.MULTILINE)
SECTION = re.compile(r"^## \[([^\]]+)\](.*)$", re.MULTILINE)
DATE = re.compile(r" - \d{4}-\d\d-\d\d")


def read(top, name):
    with open(os.path.join(top, name), encoding="utf-8") as file:
        return file.read()


def findings(version, sections):
    versions = [name for name, _ in sections if name != "Unreleased"]
    if version not in versions:
        yield f"CHANGELOG.md: no section for version {version}"
    elif versions[0] != version:
        yield f"CHANGELOG.md: the newest version is {versions[0]}, not {version}"
    for name, rest in sections:
        if name != "Unreleased" and not DATE.fullmatch(rest):
            yield f"CHANGELOG.md: version {name} has no date"


def main():
    top = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
    match = VERSION.search(read(top, "CMakeLists.txt"))
    version = match.group(1) if match else "unknown"
    sections = SECTION.findall(read(top, "CHANGELOG.md"))
    wrong = list(findings(version, sections))
    for finding in wrong:
        print(finding)
    print(f"version {version}, {len(sections)} sections, {len(wrong)} findings")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
