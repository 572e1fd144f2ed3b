#!/usr/bin/env python3
"""Checks that the project's includes run down the house: tests/structure/check-floors.py [FOLDER].

An include goes to a lower floor or stays in its own room. Of the two rooms of the first floor, platform may use
framework, not the other way; of the two of the third, neither uses the other. No chain of includes comes back to
where it began. Exit status 1 when one does; each finding is one plain line.
"""
import os
import re
import sys

FLOOR = {"framework": 1, "platform": 1, "core": 2, "files": 3, "cad": 3, "run": 4, "ui": 5}
SIDEWAYS = {("platform", "framework")}
EVERYBODYS = "resources/"  # numbers only
# The portable text rules include nothing of Windows, so that they can be built for the build machine.
PORTABLE = ["core/PartName", "core/NameRules", "core/NameTemplate", "core/TextTools", "files/MapLine", "files/Paths",
            "framework/List", "files/PickedFiles"]
WINDOWS_HEADER = re.compile(r"^(windows|windowsx|commctrl|commdlg|shlobj|shellapi|ole\w*|com\w+|objbase|wtypes|tchar)\.h$",
                            re.IGNORECASE)
INCLUDE = re.compile(r'^\s*#\s*include\s*(["<])([^">]+)[">]')


def includes_of(top):
    """Every own file of the rooms with its includes: {"core/A.h": [(line, quote, name), ...]}."""
    found = {}
    for room in FLOOR:
        for folder, _, names in os.walk(os.path.join(top, room)):
            for name in names:
                if name.endswith((".h", ".cpp")):
                    path = os.path.join(folder, name)
                    with open(path, encoding="utf-8") as text:
                        matches = [(number, INCLUDE.match(line)) for number, line in enumerate(text, 1)]
                    key = os.path.relpath(path, top).replace(os.sep, "/")
                    found[key] = [(number, m.group(1), m.group(2)) for number, m in matches if m]
    return found


def wrong_way(source, target):
    """Why source must not include target, or None."""
    here, there = source.split("/")[0], target.split("/")[0]
    if there not in FLOOR:
        return None if target.startswith(EVERYBODYS) else f"{target} lies in no room of the program"
    if here == there or (here, there) in SIDEWAYS or FLOOR[there] < FLOOR[here]:
        return None
    direction = "up to" if FLOOR[there] > FLOOR[here] else "across to"
    return f"{here} (floor {FLOOR[here]}) must not reach {direction} {there} (floor {FLOOR[there]})"


def floor_findings(files):
    for source, includes in sorted(files.items()):
        for line, quote, target in includes:
            own = quote == '"'
            if own and "/" not in target:
                yield f"{source}:{line}: write the room in front of {target}"
            elif own and wrong_way(source, target):
                yield f"{source}:{line}: {wrong_way(source, target)}"
            elif not own and WINDOWS_HEADER.match(target) and os.path.splitext(source)[0] in PORTABLE:
                yield f"{source}:{line}: a portable text file must not include {target}"


def circles(files):
    """Every chain of own files that comes back to its beginning, found by walking each file's includes."""
    state, chain = {}, []

    def walk(name):
        state[name] = "open"
        chain.append(name)
        for _, _, target in files[name]:
            if state.get(target) == "open":
                yield " -> ".join(chain[chain.index(target):] + [target])
            elif target in files and target not in state:
                yield from walk(target)
        chain.pop()
        state[name] = "done"

    for name in sorted(files):
        if name not in state:
            yield from walk(name)


def main():
    top = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
    files = includes_of(top)
    findings = list(floor_findings(files)) + [f"circle: {circle}" for circle in circles(files)]
    for finding in findings:
        print(finding)
    print(f"{len(files)} files, {sum(len(i) for i in files.values())} includes, {len(findings)} findings")
    if not files:
        print("no file found: nothing was checked")
    return 1 if findings or not files else 0


if __name__ == "__main__":
    sys.exit(main())
