#!/usr/bin/env python3
"""Checks that the built files have the project's version number: built_version.py BUILD_FOLDER VERSION

Reads the version resource (numbers and texts) of talvenor.exe and both resource libraries, and the version line of the
about box in the libraries. The exit status is 1 if anything is found.
"""
import os
import struct
import sys

LIBRARIES = ["talvresgerx64.dll", "talvresusx64.dll"]
FIXED_INFO = struct.pack("<I", 0xFEEF04BD)  # VS_FIXEDFILEINFO.dwSignature


def numbers_of(data):
    """The file version and the product version, four numbers each; None unless there is exactly one version resource."""
    at = data.find(FIXED_INFO)
    if at < 0 or data.find(FIXED_INFO, at + 1) >= 0:
        return None
    high, low, product_high, product_low = struct.unpack_from("<4I", data, at + 8)
    return [(each >> 16, each & 0xFFFF, other >> 16, other & 0xFFFF)
            for each, other in ((high, low), (product_high, product_low))]


def text_after(data, name):
    """The text that the version resource holds under this name, or None."""
    at = data.find((name + "\0").encode("utf-16-le"))
    if at < 0:
        return None
    text = data[at:at + 200].decode("utf-16-le", errors="replace")[len(name):].lstrip("\0")
    return text.split("\0")[0]


def findings_in(name, data, version):
    expected = (*map(int, version.split(".")), 0)
    if numbers_of(data) != [expected, expected]:
        yield f"{name}: the version numbers are {numbers_of(data)}, not {expected}"
    for text in ("FileVersion", "ProductVersion"):
        if text_after(data, text) != version:
            yield f"{name}: {text} is {text_after(data, text)!r}, not {version!r}"
    if name in LIBRARIES and f"Version {version}\0".encode("utf-16-le") not in data:
        yield f"{name}: the about box does not show version {version}"


def main():
    folder, version = sys.argv[1:]
    findings = []
    for name in ["talvenor.exe"] + LIBRARIES:
        with open(os.path.join(folder, "bin", name), "rb") as file:
            data = file.read()
        findings += findings_in(name, data, version)
        if not list(findings_in(name, data, "1" + version)):
            findings.append(f"{name}: a wrong version would not be found")
    for finding in findings:
        print(finding)
    print(f"version {version}, {len(findings)} findings")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
