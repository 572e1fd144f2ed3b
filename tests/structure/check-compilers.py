#!/usr/bin/env python3
"""Checks that code for only one compiler is in the places for it: tests/structure/check-compilers.py [FOLDER].

These places are cmake/ and the headers in ALLOWED. All other code must be standard C++, and CMake commands without
compiler options. The exit status is 1 if anything is found; each finding is one line.
"""
import os
import re
import subprocess
import sys

ALLOWED = {"framework/FirstObject.h", "framework/ComPointers.h"}
SOURCE = re.compile(r"""
    __attribute__ | __builtin_ | __extension__ | __typeof__ | __restrict | __PRETTY_FUNCTION__ | \b(__)?asm(__)?\s*\( |
    \[\[\s*gnu:: | __gnu | __GNUC__ | __GLIBC | _GLIBCXX | __clang | __MINGW | __cxxabi | USE___UUIDOF |
    _COM_SMARTPTR_TYPEDEF |
    \#\s*include\s*<(bits/|ext/|sys/|cxxabi\.h|unistd\.h|dirent\.h|strings\.h) |
    _MSC_ | __pragma | __declspec | __forceinline | __try\b | __uuidof | \#\s*pragma\s+(?!once\b)""", re.VERBOSE)
# A compiler option such as -Wall, /W4 or -municode. Options of a test program, which follow COMMAND, do not match.
OPTION = re.compile(r"""target_(?:compile|link)_options\([^)]*?[\s"](-\w|/\w)""")


def files_of(top):
    listed = subprocess.run(["git", "-C", top, "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                            check=True, capture_output=True, text=True).stdout
    return [name for name in listed.split("\0") if name and not name.startswith("cmake/") and name not in ALLOWED]


def line_of(text, at):
    return text.count("\n", 0, at) + 1


def findings_in(name, text):
    if name.endswith((".h", ".cpp")):
        for match in SOURCE.finditer(text):
            yield f"{name}:{line_of(text, match.start())}: {match.group().strip()} is not known to every compiler"
    else:
        for match in OPTION.finditer(text):
            yield f"{name}:{line_of(text, match.start(1))}: an option of one compiler belongs to cmake/"


def main():
    top = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
    names = [name for name in files_of(top) if name.endswith((".h", ".cpp", "CMakeLists.txt"))]
    findings = []
    for name in names:
        with open(os.path.join(top, name), encoding="utf-8") as file:
            findings += findings_in(name, file.read())
    for finding in findings:
        print(finding)
    print(f"{len(names)} files, {len(findings)} findings")
    if not names:
        print("no file found, nothing was checked")
    return 1 if findings or not names else 0


if __name__ == "__main__":
    sys.exit(main())
