#!/usr/bin/env python3
"""Writes the terms of what the compiler puts into the program: installer/licences.py TALVENOR.MAP Licences.txt"""
import collections
import sys

import runtime

HEAD = """\
talvenor.exe enthält Teile dieser freien Programmbibliotheken; es folgen deren Bedingungen.
talvenor.exe contains parts of these free program libraries; their terms follow.

"""


def chapter(title, text):
    rule = "=" * 100
    return f"\n\n{rule}\n{title}\n{rule}\n\n{text}"


def main():
    parts = runtime.parts_in(sys.argv[1])
    text = HEAD + "".join(f"  {part.name} (Debian: {part.package} {part.version})\n" for part in parts)
    packages_of = collections.defaultdict(list)  # some packages share one text
    for package in sorted({part.package for part in parts}):
        packages_of[runtime.copyright_of(package)].append(package)
    for terms, packages in packages_of.items():
        text += chapter(", ".join(packages), terms)
    with open("/usr/share/common-licenses/GPL-3", encoding="utf-8") as file:
        text += chapter("GPL-3", file.read())
    with open(sys.argv[2], "w", encoding="utf-8-sig", newline="\r\n") as file:
        file.write(text)


if __name__ == "__main__":
    main()
