#!/usr/bin/env python3
"""Makes the table of faults from reports of fault_tests: make-table.py COMMIT REPORT.xml ... >FAULTS.md

A test in a later report counts in the place of the same test in an earlier one. A test that injects faults says of
what kind they were, how many it injected and how many of them left everything true; tests of one kind stand in one
line. The test of long runs says what it measured, and the table says when that was too much. Exit status 1, and no
table, when the report holds a test that failed without a fault to show for it.
"""
import datetime
import sys
import xml.etree.ElementTree as ElementTree

INTRODUCTION = """# Faults

Made by `tools/faults` at commit {commit}, {date}; not to be edited.

Each fault hits one conversion run over real files, with the list control and the progress dialog, against the stand-in
CAD server in its own process. "Left everything true" means: the run came back; the main window is enabled and the
progress dialog gone; the messages are exactly those due, in order; the map file holds exactly the records of the
rows handled, the copies exactly the configurations and BOM names written so far, and the rows the marks that belong to
that; the server got exactly the calls expected; no server process is left over, no document open, and no part, copy or
map file held; the next run completes what was left undone, and a run of all rows leaves everything right. What has to
be is worked out by a plain model of the run that shares no code with the program.

A run makes 44 automation calls, counted by hand and from the server's log; each kind of fault hits every one of them in
turn. Where a server is to end or is said to have a process for each connection, its processes really end and start; in
the other kinds one process stays on from session to session (`stay` in tests/cadserver/README.md), which is the same to
the program: every call on an object of an ended session fails, and the log shows that there is none. Of the files,
three are copied in each run; names, paths and disks have runs that only copy. A read or write error, and attributes
that cannot be changed, are had from functions that stand between the program's code and the system's in the table of
the functions that it imports, and refuse that for one file. The same functions refuse each file operation of a run in
turn: every opening, read, write and closing of a part, a copy and the map file, its bringing to the disk, and every
reading and change of attributes, fails once, in runs that only copy and in runs with the server, with earlier copies
and without; and so does each step of making "Mapped". What closes a file fails when that is done. When a line of the
map file is refused, each step of taking back what there may be of it is refused as well. Left out are the questions for
a place in the map file or for its kind, and what the program asks before and behind a run (whether there is a map file,
which files a folder holds, reading the map file). Nothing is said of attributes, which is meant, unless an earlier copy
cannot be overwritten for that. A half record that cannot be taken back is in a map file that somebody has mapped into
memory.

Wine does not ask a client's message filter about a call that the server rejects: under it such a call fails at once,
for a while as for good, and the run loads the server anew. That the program waits for a busy server and then asks its
user is tested with the filter alone (tests/windows/OleMessageFilterTest.cpp).

"""

KINDS = """| kind of fault | injected | left everything true |
|---|---:|---:|
"""

KILLS = """
A program ended by force is the program itself, in its window, on a library of four parts with six configurations; its
runs begin with nothing in "Mapped" and, in turn, over the copies and records of an earlier run. During a call: the
server holds the call before it acts, or before it answers, and goes on when the program is gone. In front of a file
operation: the program counts its own calls of the system (opening, writing each block of a copy and each record,
attributes, the folder) and ends its own process instead of making one; an added part in its import table does that,
its own code is the same. "Left everything true" means here: no original is touched and nothing lies beside the copies;
the map file ends with a whole line and has the rows in order up to the one before that in hand or up to that itself;
the copies of all rows before are finished, those of rows behind untouched; the program started anew shows exactly
these records, or the folder when there is no map file; and the next run, with the other parts added and the last
recorded row marked again, as its user would, records each row once, leaves each copy with every BOM name and
read-only, and ends the server with no document open.
"""

LONG = """
## Long runs

The program in its window, with {rows} rows and {configurations} configurations, in one process: a run of ten rows that
loads what a run takes, then five times the table filled from the folder and a run. Counted from outside. What is counted
may never lie above the first run by more than the system's caches keep. Memory may grow from run to run by 64 KB: the
median of the slopes between any two runs, in the same state, as behind a run the map file is shown, whose entries take
more than the folder's view. The window is asked every 50 ms whether it answers, from when the server is connected. It
answers during an automation call, however long that takes. The handles,
where GetProcessHandleCount does not answer, are those of the system's table of handles; the GDI objects, where
GetGuiResources does not answer, those of the process's own table; the windows are counted one by one, shown or not. The
server ends with each run: with one that stays, Wine on a machine under load opens further connections to it and keeps
them, and handles grew from 39 to 229.

| measured | run 1 | run 2 | run 3 | run 4 | run 5 | growth |
|---|---:|---:|---:|---:|---:|---:|
"""


def properties_of(case):
    found = {p.get("name"): p.get("value") for p in case.iter("property")}
    return {**case.attrib, **found}  # older versions of the framework write attributes


def long_runs(properties):
    lines = sorted((int(key[5:]), value) for key, value in properties.items()
                   if key.startswith("long_") and key[5:].isdigit())
    return (LONG.format(rows=f"{int(properties['long_rows']):,}",
                        configurations=f"{int(properties['long_configurations']):,}")
            + "".join(f"| {line} |\n" for _, line in lines))


def main():
    kinds, skipped, long = {}, [], ""
    cases = {}
    commit, *reports = sys.argv[1:]
    for report in reports:
        for case in ElementTree.parse(report).iter("testcase"):
            cases[case.get("classname"), case.get("name")] = case
    for case in cases.values():
        properties = properties_of(case)
        kind, skip = properties.get("kind"), case.find("skipped")
        if skip is not None:
            lines = [line.strip() for line in (skip.get("message") or "").splitlines() if line.strip()]
            skipped.append(f"- {kind or properties['name']}: {lines[-1] if lines else 'skipped'}")
        elif kind:
            if case.find("failure") is not None and properties.get("injected") == properties.get("true"):
                sys.exit(f"{properties['classname']}.{properties['name']} failed beside what it counts; no table")
            counts = kinds.setdefault(kind, [0, 0])
            counts[0] += int(properties["injected"])
            counts[1] += int(properties["true"])
        elif "long_rows" in properties:
            long = long_runs(properties)
            if case.find("failure") is not None:
                long += "\n**The test of long runs failed: a figure lies above its limit.**\n"
        elif case.find("failure") is not None:
            sys.exit(f"{properties['classname']}.{properties['name']} failed; no table")
    total = [sum(counts[i] for counts in kinds.values()) for i in (0, 1)]
    introduction = INTRODUCTION.format(commit=commit, date=datetime.date.today())
    print(introduction.rstrip("\n") + "\n" + KILLS + "\n" + KINDS, end="")
    for kind, (injected, true) in kinds.items():
        print(f"| {kind} | {injected:,} | {true:,} |")
    print(f"| **all** | **{total[0]:,}** | **{total[1]:,}** |")
    if skipped:
        print("\nNot injected on the machine that made this table:\n")
        print("\n".join(skipped))
    print(long, end="")


if __name__ == "__main__":
    main()
