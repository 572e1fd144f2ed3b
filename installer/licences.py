#!/usr/bin/env python3
"""Writes the licence texts of the libraries linked into the program: installer/licences.py TALVENOR.MAP Licences.txt"""
import collections
import sys

import runtime

INTRODUCTION = """\
talvenor.exe enthält Teile dieser freien Programmbibliotheken; es folgen deren Bedingungen.
talvenor.exe contains parts of these free software libraries; their terms follow.

"""


def chapter(title, text):
    rule = "=" * 100
    return f"\n\n{rule}\n{title}\n{rule}\n\n{text}"


def main():
    libraries = runtime.linked_libraries(sys.argv[1])
    text = INTRODUCTION
    for library in libraries:
        text += f"  {library.name} (Debian: {library.package} {library.version})\n"
    packages_of = collections.defaultdict(list)  # several packages may have the same text
    for package in sorted({library.package for library in libraries}):
        packages_of[runtime.copyright_of(package)].append(package)
    for terms, packages in packages_of.items():
        text += chapter(", ".join(packages), terms)
    with open("/usr/share/common-licenses/GPL-3", encoding="utf-8") as file:
        text += chapter("GPL-3", file.read())
    with open(sys.argv[2], "w", encoding="utf-8-sig", newline="\r\n") as file:
        file.write(text)


if __name__ == "__main__":
    main()
