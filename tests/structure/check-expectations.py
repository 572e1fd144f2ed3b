#!/usr/bin/env python3
"""Compares docs/windows.md with the self-check: tests/structure/check-expectations.py [FOLDER].

- Each row that names a stage has code of that stage that checks the assumption (tests/selfcheck). No other row has code.
- Each id is in one row only, and every row has evidence.
- Each pattern of test cases matches at least one case in tests/.

The exit status is 1 if anything is found; each finding is one line.
"""
import fnmatch
import glob
import os
import re
import sys

ROW = re.compile(r"^\| `([\w-]+)` \|(.*)\|$", re.MULTILINE)
STAGES = {"0", "1", "2", "3", "4"}
NONE = "–"  # no stage looks
PROOF = re.compile(r'\{"([\w-]+)",\s*(kInProcess|kWhole),\s*"([^"]+)"\}')
LOOK = re.compile(r'\{"([\w-]+)",\s*&Look')
QUESTION = re.compile(r'\{"([\w-]+)",\s*"')
STEP = re.compile(r'(?:AddFinding|LogFinding|Step)\(\s*"([\w-]+)"')
PROGRAM_STAGE = {"kInProcess": "1", "kWhole": "2"}
TEST = re.compile(r"^TEST(_F|_P)?\((\w+),\s*(\w+)\)", re.MULTILINE)


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def rows_of(document):
    """(id, evidence, proof) of every row."""
    for row, rest in ROW.findall(document):
        cells = [cell.strip() for cell in rest.split("|")]
        yield row, cells[1], cells[-1]


def sources(top, name):
    return "".join(read(path) for path in sorted(glob.glob(os.path.join(top, "tests", name))))


def looks_of(top):
    """{id: the stage that looks}"""
    table = sources(top, "selfcheck/Expectations.cpp")
    looks = {look: "0" for look in LOOK.findall(table)}
    looks |= {look: PROGRAM_STAGE[program] for look, program, _ in PROOF.findall(table)}
    looks |= {look: "4" for look in QUESTION.findall(PROOF.sub("", table))}
    for name, stage in (("selfcheck/StagePackage.cpp", "3"), ("selfcheck/Guided*.cpp", "4"), ("cadprobe/*.cpp", "4")):
        looks |= {look: stage for look in STEP.findall(sources(top, name))}
    return looks


def cases_of(top):
    """The names of all test cases, as GoogleTest prints them. Each parametrised one gets the prefix
    "Languages/" and the parameter "German"."""
    for path in glob.glob(os.path.join(top, "tests/**/*Test.cpp"), recursive=True):
        for kind, suite, case in TEST.findall(read(path)):
            yield f"Languages/{suite}.{case}/German" if kind == "_P" else f"{suite}.{case}"


def row_findings(rows, looks):
    proofs = {}
    for row, evidence, proof in rows:
        if row in proofs:
            yield f"docs/windows.md: {row} is listed twice"
        if not evidence:
            yield f"docs/windows.md: {row} has no evidence"
        if proof not in STAGES | {NONE}:
            yield f"docs/windows.md: {row} names no stage"
        proofs[row] = proof
        if proof != looks.get(row, NONE):
            yield f"docs/windows.md: {row} names stage {proof}, and the code looks in stage {looks.get(row, NONE)}"
    for look in sorted(looks.keys() - proofs.keys()):
        yield f"tests/selfcheck: {look} is not in docs/windows.md"


def case_findings(top):
    cases = list(cases_of(top))
    for look, _, pattern in PROOF.findall(sources(top, "selfcheck/Expectations.cpp")):
        if not fnmatch.filter(cases, pattern):
            yield f"tests/selfcheck: no test case matches {pattern} of {look}"


def main():
    top = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
    rows = list(rows_of(read(os.path.join(top, "docs/windows.md"))))
    looks = looks_of(top)
    findings = [*row_findings(rows, looks), *case_findings(top)]
    if not rows or not looks:
        findings = ["a table is empty, nothing was checked"]
    for finding in findings:
        print(finding)
    print(f"{len(rows)} assumptions, {len(looks)} looks, {len(findings)} findings")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
