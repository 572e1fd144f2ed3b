#!/usr/bin/env python3
"""Makes FAULTS.md from reports of fault_tests: make-table.py COMMIT REPORT.xml ... >FAULTS.md

If several reports contain the same test, the last one counts. A test that injects faults records their kind, how many it
has injected, and how many of them have passed; the table has one line per kind. The test of long runs records its figures
and their limits. Missing or empty reports, tests that failed although all their faults passed, and skips that
tests/allowed-skips.txt does not allow are named below the table. The exit status is 0 only if nothing is missing and
everything passed.
"""
import datetime
import os
import pathlib
import sys
import xml.etree.ElementTree as ElementTree

TOP = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../..")
sys.path.insert(0, f"{TOP}/tools/lib")
from allowed_skips import AllowedSkips, last_line  # noqa: E402, found by the line before

PROGRAMS = ("windows/faults", "windows/windows")  # whose tests tools/faults runs

INTRODUCTION = """# Faults

Made by `tools/faults` at commit {commit}, {date}; do not edit.

Each fault, except refused memory and handles, is injected into a conversion run with real files, the list control, the
progress dialog, and the stand-in CAD server in a process of its own. It has passed if all of this is true after the run:

- The run has returned, and the progress dialog is closed. The main window is enabled, except after a run that reached its
  end or was cancelled: the caller of such a run enables the window.
- The messages are exactly the expected ones, in order.
- The report tells how the run ended and what became of each row.
- The map file has exactly the records of the rows that were handled, and these rows have the corresponding marks. The
  copies have exactly the configurations and BOM names written so far.
- The server got exactly the expected calls. No server process is left, no document is open, and no part, copy or map
  file is open in any process.
- The next run completes the work, and a run of all rows succeeds.

The expected results come from a simple model of the run, which shares no code with the program.

A run makes 44 automation calls, counted by hand and in the server's log; each kind of fault hits every one of them in
turn. Server processes really end and start if the fault is the end of a server, if a server lingers, hangs or starts
slowly, or if there is one process per connection. With the other kinds, one process stays for all sessions (`stay` in
tests/cadserver/README.md). The program cannot tell the difference: calls on objects of an ended session fail, as they do
after the end of a process. The log shows that the program makes no such calls.

A lingering server can still be reached after it was asked to end, but refuses every call. A run that started this server
must not connect to it again. When a server hangs, the test plays a user who presses a key: the program asks after 0.1 s
instead of a minute, and the answer is Yes, end the server. Meanwhile the test posts messages to the program that do
nothing: Wine loses the message by which the program makes COM call the message filter again. Only servers that the run
started hang, because Wine goes on waiting for a call that its client cancels.

Each run copies three files; faults of names, paths and disks use runs that only copy. For read and write errors, and
attributes that cannot be changed, the test redirects functions that the program imports, and makes them fail for one
file.

In the same way, every file operation fails in turn: every opening, reading, writing and closing of a part, a copy and the
map file, every flush of the map file, every reading and changing of attributes, and each step of creating "Mapped". This
is done in runs that only copy and in runs with the server, with earlier copies and without. When an operation that closes
a file fails, the file is closed all the same. When a line of the map file cannot be written, each step of removing the
partial line fails in turn as well. Not included are queries of the position in the map file and of its type, and what the
program does before and after a run (looking for a map file, scanning a folder, reading the map file). A failure to change
attributes is not reported, unless an earlier copy cannot be overwritten because of it. To keep a partial record from
being removed, the test maps the map file into memory.

Faults may also last: from each file operation of the program on, all later ones fail, or, if the disk is full, all that
write. The CAD server, a process of its own, still reaches its files. A write may also write only a part of its bytes, and
then fail or report success. After such a success, the runtime library writes the rest of a line of the map file; the
program reports a copy as failed.

For a loss of power, the map file of a run is cut after each of its bytes, or zeros replace the bytes from there on. The
reader must find every whole record. In the line that is cut, the BOM name may be cut as well, but a record with a cut
file name must not be read. During the run the file may only grow, and it must be flushed before it is closed. That is
checked before each operation on the map file, also if the run writes over a longer file of an earlier run: once the file
has been opened, nothing of the earlier one is left.

The user who cancels presses Escape while the server holds a call. Escape has no effect if the program takes it while the
cancel button is disabled: after a failed call, until the next part has been closed. A cancel counts only if the call was
held and the progress dialog got the key; the dialog is closed when the last call of a run ends the server.

Faults in runs that are cancelled are of five kinds: a failure code, an exception, an exception after which no new server
starts, and a server that ends before or after it serves the call. If the call fails during which the user cancels, each
call has each of these kinds; a pair of different calls has one of them, and three of four cancels are confirmed. A fault
shortens the run; pairs with calls that the run then no longer makes are not counted. Servers that hang or reject calls
are not combined with cancels.

Memory and handles are refused in the process of the tests, with the main dialog and an automation object of the test
instead of the server. The test counts the calls that the program's own code makes during an action and repeats the
action once for each of them, with this call failing; calls within system libraries do not fail. Functions for memory
are malloc, GlobalAlloc, HeapAlloc and those for automation strings; functions for handles create or open windows,
menus, images, cursors, drawing contexts, files, searches for files, registry keys, mutexes, heaps, processes,
snapshots of them, and jobs. One test asserts that each function is called by some action. After each refused call,
what the map file, the copies and the window say must be true, and nothing may be left open; the checks listed above
are not made.

Wine does not call a client's message filter when the server rejects a call. So with a server that is busy for some time
or forever, the call fails at once under Wine, and the run loads the server again. That the program waits for a busy
server and then asks the user is tested with the message filter alone (tests/windows/OleMessageFilterTest.cpp).

"""

KINDS = """| kind of fault | injected | passed |
|---|---:|---:|
"""

KILLS = """
For kills, the real program runs in its window on a library of four parts with six configurations in all. Runs
begin without a "Mapped" folder or over the copies and records of an earlier run. The program is killed

- during an automation call: the server holds the call before or after it serves the call, and completes the call when the
  program is gone; or the server, which the program started, hangs in the call;
- before a file operation: an addition to the program redirects its imported functions and counts the operations (opening
  a file, writing each block of a copy and each record, changing attributes, creating the folder). Instead of making one
  of them, it terminates the process;
- at a random moment.

A kill has passed if all of this is true:

- The originals are unchanged, and there are no unexpected files.
- A server that hangs ends with the program, within 5 s.
- The map file ends with a complete line and has the rows in order, up to the interrupted row or the one before it.
- The copies of all rows before the interrupted one are finished, those of rows after it unchanged.
- The program, started again, shows exactly these records, or the folder if there is no map file.
- The test, like a user, adds the other parts, marks the last recorded row again and starts a run. This run records each
  row once, leaves each copy read-only with all BOM names, and ends the server with no open documents.
"""

LONG = """
## Long runs

The program runs in its window, in one process. A first run of ten rows loads everything that a run needs.
Then, five times, the table is filled from a folder with {rows} parts and {configurations} configurations, and
a run is made. All figures are measured from outside. A count may exceed the one before the first of the five
runs only by as much as the system's caches vary. From run to run, memory may grow by 64 KB, and counts not at
all. The growth is the second smallest of the four steps between the
figures after the runs. It is not limited for the figures before a run, with the table filled, as the system's caches vary
then. The states before and after a run are compared separately: the view of the folder needs less memory than the view of
the map file after a run. From the moment the server is connected, the test sends the window a message every 50 ms. The
window must respond during automation calls, too, however long they take.

If GetProcessHandleCount is not available, handles are counted in the system's handle table; if GetGuiResources is not
available, GDI objects are counted in the table of the process. Windows, visible or not, are counted by enumerating them.
The server ends with each run. With a server that stayed, the number of handles grew from 39 to 229: on a busy machine, Wine
opens further connections to such a server and keeps them.

| measured | run 1 | run 2 | run 3 | run 4 | run 5 | growth |
|---|---:|---:|---:|---:|---:|---:|
"""


def properties_of(case):
    found = {p.get("name"): p.get("value") for p in case.iter("property")}
    return {**case.attrib, **found}  # older versions of GoogleTest write them as attributes


def long_runs(properties):
    lines = sorted((int(key[5:]), value) for key, value in properties.items()
                   if key.startswith("long_") and key[5:].isdigit())
    return (LONG.format(rows=f"{int(properties['long_rows']):,}",
                        configurations=f"{int(properties['long_configurations']):,}")
            + "".join(f"| {line} |\n" for _, line in lines))


def read_reports(reports):
    """Returns the test cases, and the names of reports that are missing, empty or cut off, as when a group was ended by
    force."""
    cases, missing = {}, []
    for report in reports:
        try:
            found = list(ElementTree.parse(report).iter("testcase"))
        except (FileNotFoundError, ElementTree.ParseError):
            found = []
        if not found:
            missing.append(pathlib.Path(report).stem)
        for case in found:
            cases[case.get("classname"), case.get("name")] = case
    return cases.values(), missing


class Table:
    def __init__(self):
        self.kinds, self.skipped, self.warnings, self.long = {}, [], [], ""
        self._allowed = AllowedSkips(f"{TOP}/tests/allowed-skips.txt")

    def add(self, case):
        properties = properties_of(case)
        name = f"{properties['classname']}.{properties['name']}"
        failed = case.find("failure") is not None
        if case.find("skipped") is not None:
            self._add_skip(name, properties, last_line(case.find("skipped").get("message")))
        elif "kind" in properties:
            self._add_faults(name, properties, failed)
        elif "long_rows" in properties:
            self.long = long_runs(properties)
            if failed:
                self.warnings.append("The test of long runs failed: a figure exceeds its limit.")
        elif failed:
            self.warnings.append(f"{name} failed.")

    def _add_skip(self, name, properties, reason):
        self.skipped.append(f"- {properties.get('kind') or properties['name']}: {reason or 'skipped'}")
        if not any(self._allowed.allows(program, name, reason) for program in PROGRAMS):
            self.warnings.append(f"{name} may not be skipped.")

    def _add_faults(self, name, properties, failed):
        injected, passed = (int(properties.get(count, 0)) for count in ("injected", "passed"))
        if failed and injected == passed:
            self.warnings.append(f"{name} failed.")
        counts = self.kinds.setdefault(properties["kind"], [0, 0])
        counts[0] += injected
        counts[1] += passed

    def rows(self):
        total = [sum(counts[i] for counts in self.kinds.values()) for i in (0, 1)]
        return [f"| {kind} | {injected:,} | {passed:,} |" for kind, (injected, passed) in self.kinds.items()] + [
            f"| **all** | **{total[0]:,}** | **{total[1]:,}** |"]

    def is_good(self):
        return not self.warnings and all(0 < injected == passed for injected, passed in self.kinds.values())


def main():
    commit, *reports = sys.argv[1:]
    cases, missing = read_reports(reports)
    table = Table()
    table.warnings += [f"The group {name} has no report: its faults are missing." for name in missing]
    for case in cases:
        table.add(case)
    introduction = INTRODUCTION.format(commit=commit, date=datetime.date.today())
    print(introduction.rstrip("\n") + "\n" + KILLS + "\n" + KINDS, end="")
    print("\n".join(table.rows()))
    for warning in table.warnings:
        print(f"\n**{warning}**")
    if table.skipped:
        print("\nNot tested, as the machine lacks what is needed:\n")
        print("\n".join(table.skipped))
    print(table.long, end="")
    return 0 if table.is_good() else 1


if __name__ == "__main__":
    sys.exit(main())
