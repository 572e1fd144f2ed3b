#!/usr/bin/env python3
"""Checks that includes never go up a layer: tests/structure/check-layers.py [FOLDER].

A file includes only files of its own module (folder) or of a lower layer. Within layer 1, platform may include
framework, but not the other way round. Within layer 3, files and cad may not include each other. Includes form no
cycle. The exit status is 1 if anything is found; each finding is one line.
"""
import os
import re
import sys

LAYER = {"framework": 1, "platform": 1, "core": 2, "files": 3, "cad": 3, "run": 4, "ui": 5}
SIDEWAYS = {("platform", "framework")}
SHARED = "resources/"  # defines numbers only, so every layer may use it
# The text rules include no Windows header, so they can be built for the build machine.
PORTABLE = ["core/PartName", "core/NameRules", "core/NameTemplate", "core/TextTools", "core/ColumnHeaders",
            "core/TableHistory", "core/TableImport", "core/TableText", "files/MapLine",
            "files/NamesToCheck", "files/Paths", "files/PickedFiles", "cad/CadVersion", "run/RunRecord", "run/RunRecorder",
            "run/RunRows", "run/RunFindings", "run/RunReport",
            "framework/List", "framework/MessageText", "framework/ScopeExit"]
WINDOWS_HEADER = re.compile(r"^(windows|windowsx|commctrl|commdlg|shlobj|shellapi|ole\w*|com\w+|objbase|wtypes|tchar)\.h$",
                            re.IGNORECASE)
INCLUDE = re.compile(r'^\s*#\s*include\s*(["<])([^">]+)[">]')


def includes_of(top):
    """The includes of every file of the program: {"core/A.h": [(line, quote, name), ...]}."""
    found = {}
    for module in LAYER:
        for folder, _, names in os.walk(os.path.join(top, module)):
            for name in names:
                if name.endswith((".h", ".cpp")):
                    path = os.path.join(folder, name)
                    with open(path, encoding="utf-8") as text:
                        matches = [(number, INCLUDE.match(line)) for number, line in enumerate(text, 1)]
                    key = os.path.relpath(path, top).replace(os.sep, "/")
                    found[key] = [(number, m.group(1), m.group(2)) for number, m in matches if m]
    return found


def violation(source, target):
    """Why source must not include target, or None."""
    here, there = source.split("/")[0], target.split("/")[0]
    if there not in LAYER:
        return None if target.startswith(SHARED) else f"{target} is in no module of the program"
    if here == there or (here, there) in SIDEWAYS or LAYER[there] < LAYER[here]:
        return None
    place = "above" if LAYER[there] > LAYER[here] else "beside"
    return f"{here} (layer {LAYER[here]}) must not include {there} (layer {LAYER[there]}), which is {place} it"


def layer_findings(files):
    for source, includes in sorted(files.items()):
        for line, quote, target in includes:
            own = quote == '"'
            if own and "/" not in target:
                yield f"{source}:{line}: write the module in front of {target}"
            elif own and violation(source, target):
                yield f"{source}:{line}: {violation(source, target)}"
            elif not own and WINDOWS_HEADER.match(target) and os.path.splitext(source)[0] in PORTABLE:
                yield f"{source}:{line}: a text rule must not include {target}"


def cycles(files):
    """Include cycles, found by a depth-first walk."""
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
    findings = list(layer_findings(files)) + [f"cycle: {cycle}" for cycle in cycles(files)]
    for finding in findings:
        print(finding)
    print(f"{len(files)} files, {sum(len(i) for i in files.values())} includes, {len(findings)} findings")
    if not files:
        print("no file found, nothing was checked")
    return 1 if findings or not files else 0


if __name__ == "__main__":
    sys.exit(main())
