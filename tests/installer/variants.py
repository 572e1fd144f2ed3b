#!/usr/bin/env python3
"""Makes packages that differ from the released packages: tests/installer/variants.py STAGE VERSION FOLDER

STAGE holds the staged files of the German edition. Writes to FOLDER, for the self-check: older.msi (an older version),
rebuilt.msi (the same version with other contents) and failing.msi (a newer version whose installation fails at its end).
"""
import os
import shutil
import struct
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
PACKAGE = os.path.join(HERE, "../../installer/package.py")

OLDER = "0.9.0"
FIXED_INFO = struct.pack("<II", 0xFEEF04BD, 0x00010000)  # signature and structure version of VS_FIXEDFILEINFO
WHEN = "1600000000"  # SOURCE_DATE_EPOCH

# A program in a directory (34), run by the installer's script (1024) as the system (2048), after the files are copied.
FAILING_ACTION = ("INSERT INTO `CustomAction` (`Action`, `Type`, `Source`, `Target`) "
                  "VALUES ('Fail', 3106, 'TARGETDIR', '[System64Folder]cmd.exe /c exit 1')",
                  "INSERT INTO `InstallExecuteSequence` (`Action`, `Condition`, `Sequence`) "
                  "VALUES ('Fail', 'NOT REMOVE', 6500)")


def older_bytes(data, version):
    """The bytes of a file of the older version. A program file gets the older number in its version resource, a manual gets
    other contents, and any other file stays unchanged."""
    def numbers(text):
        major, minor, patch = map(int, text.split("."))
        return FIXED_INFO + struct.pack("<4H", minor, major, 0, patch) * 2  # file version, product version
    if data.startswith(b"%PDF"):
        return b"an older manual"
    if not data.startswith(b"MZ"):
        return data
    if data.count(numbers(version)) != 1:
        raise ValueError(f"no version resource with version {version}")
    return data.replace(numbers(version), numbers(OLDER))


def rebuilt_bytes(data):
    return data + b"\n"


def make_package(german, stage, version, change):
    """Makes a German package of the version, with `change` applied to the bytes of every file. Returns
    the package's path, which is `stage` with .msi appended. The folder `stage` holds the changed files."""
    shutil.copytree(german, stage)
    for place, _, names in os.walk(stage):
        for name in names:
            with open(os.path.join(place, name), "rb") as file:
                data = file.read()
            with open(os.path.join(place, name), "wb") as file:
                file.write(change(data))
    package = f"{stage}.msi"
    subprocess.run([PACKAGE, stage, version, "german", package], check=True,
                   env={**os.environ, "SOURCE_DATE_EPOCH": WHEN})
    return package


def make_failing(german, stage, version):
    major, minor, patch = version.split(".")
    package = make_package(german, stage, f"{major}.{minor}.{int(patch) + 1}", rebuilt_bytes)
    subprocess.run(["msibuild", package, "-q", *FAILING_ACTION], check=True)


def main():
    german, version, folder = sys.argv[1:]
    work = os.path.join(folder, "work")
    make_package(german, os.path.join(work, "older"), OLDER, lambda data: older_bytes(data, version))
    make_package(german, os.path.join(work, "rebuilt"), version, rebuilt_bytes)
    make_failing(german, os.path.join(work, "failing"), version)
    for name in ("older", "rebuilt", "failing"):
        shutil.move(os.path.join(work, f"{name}.msi"), folder)
    shutil.rmtree(work)


if __name__ == "__main__":
    main()
