#!/usr/bin/env python3
"""Packs a staged folder as a portable archive: installer/archive.py FOLDER NAME ARCHIVE.zip

The archive holds the files, sorted, in a folder NAME. All files have the time in the environment variable
SOURCE_DATE_EPOCH.
"""
import os
import sys
import time
import zipfile

import package as installer


def main():
    folder, root, archive = sys.argv[1:]
    when = time.gmtime(int(os.environ["SOURCE_DATE_EPOCH"]))[:6]
    with zipfile.ZipFile(archive, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as packed:
        for name in installer.files_below(folder):
            entry = zipfile.ZipInfo(f"{root}/{name}", when)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.create_system = 0  # Windows
            with open(os.path.join(folder, name), "rb") as file:
                packed.writestr(entry, file.read())


if __name__ == "__main__":
    main()
