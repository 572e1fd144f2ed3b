#!/usr/bin/env python3
"""Packs a staged folder as portable program: installer/archive.py FOLDER NAME ARCHIVE.zip

Everything lies below a folder NAME, sorted, with the time SOURCE_DATE_EPOCH.
"""
import os
import sys
import time
import zipfile

import package as installer


def main():
    folder, title, archive = sys.argv[1:]
    when = time.gmtime(int(os.environ["SOURCE_DATE_EPOCH"]))[:6]
    with zipfile.ZipFile(archive, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as packed:
        for name in installer.files_below(folder):
            entry = zipfile.ZipInfo(f"{title}/{name}", when)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.create_system = 0  # Windows
            with open(os.path.join(folder, name), "rb") as file:
                packed.writestr(entry, file.read())


if __name__ == "__main__":
    main()
