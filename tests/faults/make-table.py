#!/usr/bin/env python3
"""Makes the table of faults from reports of fault_tests: make-table.py REPORT.xml ... >FAULTS.md

A test in a later report counts in the place of the same test in an earlier one. A test that injects faults says of what kind they were, how many it injected and how many of them left everything
true; tests of one kind stand in one line. Exit status 1, and no table, when the report holds a test that failed
without a fault to show for it.
"""
import sys
import xml.etree.ElementTree as ElementTree

INTRODUCTION = """# Faults

Made by `tools/faults`; not to be edited. Each fault hits one conversion run over real files, with the list control and
the progress dialog, against the stand-in CAD server in its own process. "Left everything true" means: the run came
back; the main window is enabled and the progress dialog gone; the messages are exactly those specified, in order; the
map file holds exactly the records of the rows handled, the copies exactly the configurations and BOM names written so
far, and the rows the marks that belong to that; the server got exactly the calls expected; no server process is left
over and no document open; the next run completes what was left undone, and a run of all rows leaves everything right.
What has to be is worked out by a plain model of the run that shares no code with the program.

A run makes 44 automation calls, counted by hand and from the server's log; each kind of fault hits every one of them in
turn. Where a server is to end or is said to have a process for each connection, its processes really end and start; in
the other kinds one process stays on from session to session (`stay` in tests/cadserver/README.md), which is the same
to the program: every call on an object of an ended session fails, and the log shows that there is none. Of the files,
three are copied in each run; names, paths and disks have runs that only copy.

| kind of fault | injected | left everything true |
|---|---:|---:|
"""


def properties_of(case):
    found = {p.get("name"): p.get("value") for p in case.iter("property")}
    return {**case.attrib, **found}  # older versions of the framework write attributes


def main():
    kinds, skipped = {}, []
    cases = {}
    for report in sys.argv[1:]:
        for case in ElementTree.parse(report).iter("testcase"):
            cases[case.get("classname"), case.get("name")] = case
    for case in cases.values():
        properties = properties_of(case)
        kind, skip = properties.get("kind"), case.find("skipped")
        if skip is not None:
            lines = [line.strip() for line in (skip.get("message") or "").splitlines() if line.strip()]
            skipped.append(f"- {kind or properties['name']}: {lines[-1] if lines else 'skipped'}")
        elif kind:
            counts = kinds.setdefault(kind, [0, 0])
            counts[0] += int(properties["injected"])
            counts[1] += int(properties["true"])
        elif case.find("failure") is not None:
            sys.exit(f"{properties['classname']}.{properties['name']} failed; no table")
    total = [sum(counts[i] for counts in kinds.values()) for i in (0, 1)]
    print(INTRODUCTION, end="")
    for kind, (injected, true) in kinds.items():
        print(f"| {kind} | {injected:,} | {true:,} |")
    print(f"| **all** | **{total[0]:,}** | **{total[1]:,}** |")
    if skipped:
        print("\nNot injected on the machine that made this table:\n")
        print("\n".join(skipped))


if __name__ == "__main__":
    main()
