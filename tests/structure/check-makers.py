#!/usr/bin/env python3
"""Tests what makes the tables of faults and of speed, with made-up reports: what went wrong must show in the exit status
and, as a line in bold, in the table, because tools/lib/check-tables refuses such a table. Tests the name of the commit, too.
"""
import contextlib
import io
import os
import shutil
import subprocess
import sys
import tempfile

TOP = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../..")
sys.path.insert(0, f"{TOP}/bench")
import measure  # noqa: E402, found by the line before

ALLOWED = "# program | case | reason\nwindows/faults | DiskTest.* | skipped: no disk\n"
FAILURE = '<failure message="x"/>'


def case(name, body="", **properties):
    classname, _, name = name.partition(".")
    listed = "".join(f'<property name="{key}" value="{value}"/>' for key, value in properties.items())
    return f'<testcase classname="{classname}" name="{name}"><properties>{listed}</properties>{body}</testcase>'


def report(*cases):
    return f"<testsuites><testsuite>{''.join(cases)}</testsuite></testsuites>"


def skip(reason):
    return f'<skipped message="a.cpp:1&#10;{reason}"/>'


GONE = case("FileTest.IsGone", kind="file is gone", injected=1200, passed=1200)
LONG = {"long_rows": 10000, "long_configurations": 20000, "long_1": "windows | 1 | 1 | 1 | 1 | 1 | 0"}
# Title, the reports of two groups (None: missing), exit status, and lines of the table
CASES = [
    ("everything passed", [report(GONE), report(case("LongRunTest.Runs", **LONG))], 0,
     ["| file is gone | 1,200 | 1,200 |", "| **all** | **1,200** | **1,200** |", "| windows | 1 | 1 | 1 | 1 | 1 | 0 |"]),
    ("two tests of one kind",
     [report(GONE), report(case("FileTest.IsGoneLater", kind="file is gone", injected=3, passed=3))], 0,
     ["| file is gone | 1,203 | 1,203 |"]),
    ("a fault has not passed",
     [report(GONE), report(case("FileTest.IsFull", FAILURE, kind="disk is full", injected=3, passed=2))], 1,
     ["| disk is full | 3 | 2 |", "| **all** | **1,203** | **1,202** |"]),
    ("no fault was injected", [report(GONE), report(case("FileTest.IsFull", kind="disk is full", injected=0, passed=0))], 1,
     ["| disk is full | 0 | 0 |"]),
    ("a test failed beside its faults",
     [report(GONE), report(case("FileTest.IsFull", FAILURE, kind="disk is full", injected=3, passed=3))], 1,
     ["**FileTest.IsFull failed.**"]),
    ("a test without faults failed", [report(GONE), report(case("FileTest.Opens", FAILURE))], 1,
     ["**FileTest.Opens failed.**"]),
    ("the long run failed", [report(GONE), report(case("LongRunTest.Runs", FAILURE, **LONG))], 1,
     ["**The test of long runs failed: a figure exceeds its limit.**"]),
    ("a missing report", [report(GONE), None], 1, ["**The group 1 has no report: its faults are missing.**"]),
    ("a truncated report", [report(GONE), report(GONE)[:90]], 1, ["**The group 1 has no report: its faults are missing.**"]),
    ("a report without tests", [report(GONE), report()], 1, ["**The group 1 has no report: its faults are missing.**"]),
    ("an allowed skip", [report(GONE), report(case("DiskTest.IsFull", skip("skipped: no disk")))], 0,
     ["- IsFull: skipped: no disk"]),
    ("a skip for another reason", [report(GONE), report(case("DiskTest.IsFull", skip("skipped: no time")))], 1,
     ["- IsFull: skipped: no time", "**DiskTest.IsFull may not be skipped.**"]),
    ("a skip of another test", [report(GONE), report(case("FileTest.IsFull", skip("skipped: no disk"), kind="disk"))], 1,
     ["- disk: skipped: no disk", "**FileTest.IsFull may not be skipped.**"]),
]


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


def findings_of_faults(reports, status, expected):
    with tempfile.TemporaryDirectory() as folder:
        for tool in ("tests/faults/make-table.py", "tools/lib/allowed_skips.py"):
            os.makedirs(os.path.dirname(f"{folder}/{tool}"))
            shutil.copy(f"{TOP}/{tool}", f"{folder}/{tool}")
        write(f"{folder}/tests/allowed-skips.txt", ALLOWED)
        paths = [f"{folder}/{number}.xml" for number in range(len(reports))]
        for path, text in zip(paths, reports):
            if text is not None:
                write(path, text)
        run = subprocess.run([sys.executable, f"{folder}/tests/faults/make-table.py", "0123456789ab", *paths], check=False,
                             capture_output=True, encoding="utf-8")
    lines = run.stdout.splitlines()
    if run.returncode != status:
        yield f"status {run.returncode} {run.stderr}"
    yield from (f"missing: {line}" for line in expected if line not in lines)
    warnings = [line for line in expected if line.startswith("**")]
    yield from (f"unexpected: {line}" for line in lines if line.startswith("**") and line not in warnings)


def accepts(text):
    with contextlib.redirect_stderr(io.StringIO()):
        try:
            return measure.read_arguments(["--full-runs", text]).full_runs == int(text)
        except SystemExit:
            return False


def heading(load):
    """The line about the machine under the load, without waiting."""
    measure.os.getloadavg, measure.time.sleep = lambda: (load, load, load), lambda seconds: None
    return measure.machine(measure.wait_for_quiet())


def findings_of_speed():
    yield from (f"--full-runs {text}" for text, right in (("6", True), ("2", True), ("5", False), ("1", False), ("0", False))
                if accepts(text) != right)
    yield from (f"a load of {load}" for load, busy in ((0.4, False), (0.6, True))
                if ("never got quiet" in heading(load)) != busy)


# Title, a file that is written after the commit, and whether it counts as a difference
DIFFERENCES = [("nothing", None, False), ("a source", "core/A.cpp", True),
               ("a source that Git does not know", "core/B.cpp", True), ("a built file", "build/a", False), ("the table itself", "tests/FAULTS.md", False)]


def findings_of_commit():
    """Findings in tools/lib/commit-name, which names what is measured."""
    author = {f"GIT_{role}_{what}": "a@b" for role in ("AUTHOR", "COMMITTER") for what in ("NAME", "EMAIL")}
    for title, path, differs in DIFFERENCES:
        with tempfile.TemporaryDirectory() as folder:
            def run(*command):
                return subprocess.run(command, cwd=folder, env={**os.environ, **author}, check=True, capture_output=True,
                                      encoding="utf-8").stdout
            os.makedirs(f"{folder}/tools/lib")
            shutil.copy(f"{TOP}/tools/lib/commit-name", f"{folder}/tools/lib")
            for name, text in ((".gitignore", "/build/"), ("core/A.cpp", "int a;"), ("tests/FAULTS.md", "a")):
                write(f"{folder}/{name}", text)
            run("git", "init", "--quiet")
            run("git", "add", "--all")
            run("git", "commit", "--quiet", "--message", "a")
            if path:
                write(f"{folder}/{path}", "changed")
            name = run("tools/lib/commit-name", "tests/FAULTS.md").strip()
            expected = run("git", "rev-parse", "--short=12", "HEAD").strip() + differs * " with uncommitted changes"
        if name != expected:
            yield f"{title}: {name}"


def main():
    found = [f"{title}: {finding}" for title, *rest in CASES for finding in findings_of_faults(*rest)]
    found += [*findings_of_speed(), *findings_of_commit()]
    for finding in found:
        print(f"   {finding}")
    print(f"{len(CASES) + 7 + len(DIFFERENCES)} cases, {len(found)} findings")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
