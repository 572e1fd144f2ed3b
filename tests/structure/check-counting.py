#!/usr/bin/env python3
"""Tests tools/lib/count-results: the results of made-up test runs. An incomplete test run must never count as a success."""
import os
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
COUNT = os.path.join(HERE, "../../tools/lib/count-results")

PASSED = '<testcase classname="A" name="a" status="run"/><testcase classname="A" name="b" status="run"/>'
SKIPPED = ('<testcase classname="A" name="a" status="run"/>'
           '<testcase classname="A" name="b" status="run"><skipped message="a.cpp:1&#10;no such device"/></testcase>')
SKIPPED_WITH_OTHER_REASON = SKIPPED.replace("no such device", "no time")
FAILED = PASSED + '<testcase classname="A" name="c" status="run"><failure message="x"/></testcase>'
DISABLED = PASSED.replace('name="b" status="run"', 'name="b" status="notrun"')
RETRIED = ('<testcase classname="A" name="a" status="run"><properties><property name="retry1" value="a&#10;press"/>'
           '</properties></testcase><testcase classname="A" name="b" status="run"/>')
NOT_STARTED = PASSED.replace('status="run"', 'status="run" timestamp="1970-01-01T00:00:00.000"')
CTEST_PASSED = '<testcase name="unit" status="run"/><testcase name="other" status="run"/>'
CTEST_FAILED = '<testcase name="unit" status="fail"/><testcase name="other" status="run"/>'
# The beginning of a title in CASES, and how the count reports the repeated attempt of that case
RETRIES = {"a repeated attempt in": "1; win/unit A.a: a press", "a repeated attempt outside": "1; win/unit: a start"}


def report(cases):
    return f'<testsuites><testsuite name="A">{cases}</testsuite></testsuites>'


COMPLETE_RUN = {
    "tests/expected-results.txt": "checks/format\nwin/unit 2\nwin/other\n",
    "tests/allowed-skips.txt": "# program | case | reason\nwin/unit | A.b | no such device\n",
    "build/results/steps.tsv": "checks/format\tpassed\n",
    "build/results/ctest.tsv": "win\t0\n",
    "build/results/win.xml": f"<testsuite>{CTEST_PASSED}</testsuite>",
    "build/win/reports/unit.xml": report(PASSED),
}
GREEN = "4 passed, 0 failed, 0 skipped"

# What differs when the program win/unit is not repeated: CTest does not know it, and its report is a stored one.
REMEMBERED_UNIT = "win/unit\tMonday\tbuild/remembered/win-unit.xml\n"
REMEMBERED = {
    "build/results/remembered.tsv": REMEMBERED_UNIT,
    "build/results/win.xml": '<testsuite><testcase name="other" status="run"/></testsuite>',
    "build/remembered/win-unit.xml": report(PASSED),
    "build/win/reports/unit.xml": None,
}

# Title, files that differ from a complete run (None: missing), the expected last line
CASES = [
    ("a complete run", {}, GREEN),
    ("an allowed skip", {"build/win/reports/unit.xml": report(SKIPPED)}, "3 passed, 0 failed, 1 skipped"),
    ("a skip for another reason", {"build/win/reports/unit.xml": report(SKIPPED_WITH_OTHER_REASON)},
     "3 passed, 1 failed, 0 skipped"),
    ("a disabled case", {"build/win/reports/unit.xml": report(DISABLED)}, "3 passed, 1 failed, 0 skipped"),
    ("a failed case", {"build/win/reports/unit.xml": report(FAILED),
                       "build/results/win.xml": f"<testsuite>{CTEST_FAILED}</testsuite>",
                       "build/results/ctest.tsv": "win\t8\n"}, "4 passed, 1 failed, 0 skipped"),
    ("a failed program without failed cases", {"build/results/win.xml": f"<testsuite>{CTEST_FAILED}</testsuite>"},
     "4 passed, 1 failed, 0 skipped"),
    ("a missing report", {"build/win/reports/unit.xml": None}, "2 passed, 1 failed, 0 skipped"),
    ("an empty report", {"build/win/reports/unit.xml": ""}, "2 passed, 1 failed, 0 skipped"),
    ("a truncated report", {"build/win/reports/unit.xml": report(PASSED)[:90]}, "2 passed, 1 failed, 0 skipped"),
    ("fewer cases than expected", {"tests/expected-results.txt": "checks/format\nwin/unit 3\nwin/other\n"},
     "4 passed, 1 failed, 0 skipped"),
    ("a failed build", {"build/results/win.xml": None, "build/results/ctest.tsv": None},
     "1 passed, 2 failed, 0 skipped"),
    ("a program unknown to CTest", {"build/results/win.xml": '<testsuite><testcase name="unit" status="run"/>'
                                                             "</testsuite>"}, "3 passed, 1 failed, 0 skipped"),
    ("an unexpected program", {"tests/expected-results.txt": "checks/format\nwin/unit 2\n"},
     "3 passed, 1 failed, 0 skipped"),
    ("a missing check", {"build/results/steps.tsv": None}, "3 passed, 1 failed, 0 skipped"),
    ("a failed check", {"build/results/steps.tsv": "checks/format\tfailed\n"}, "3 passed, 1 failed, 0 skipped"),
    ("an unexpected check", {"build/results/steps.tsv": "checks/format\tpassed\nchecks/new\tpassed\n"},
     "4 passed, 1 failed, 0 skipped"),
    ("a failure of CTest itself", {"build/results/ctest.tsv": "win\t1\n"}, "4 passed, 1 failed, 0 skipped"),
    ("a truncated report of CTest", {"build/results/win.xml": f"<testsuite>{CTEST_PASSED}"},
     "1 passed, 2 failed, 0 skipped"),
    ("cases kept from running by a skip outside any case", {"build/win/reports/unit.xml": report(NOT_STARTED)},
     "2 passed, 2 failed, 0 skipped"),
    ("a repeated attempt inside a case", {"build/win/reports/unit.xml": report(RETRIED)}, GREEN),
    ("a repeated attempt outside the cases",
     {"build/win/reports/unit.xml": report(PASSED).replace("<testsuites", '<testsuites retry1="a start"')}, GREEN),
    ("a remembered program", {**REMEMBERED}, f"{GREEN}; 2 of these are remembered from earlier runs"),
    ("a remembered program with a skip", {**REMEMBERED, "build/remembered/win-unit.xml": report(SKIPPED)},
     "3 passed, 0 failed, 1 skipped; 2 of these are remembered from earlier runs"),
    ("a repeated attempt in the report of a remembered program", {**REMEMBERED, "build/remembered/win-unit.xml": report(RETRIED)},
     f"{GREEN}; 2 of these are remembered from earlier runs"),
    ("a remembered program whose skip is no longer allowed",
     {**REMEMBERED, "build/remembered/win-unit.xml": report(SKIPPED_WITH_OTHER_REASON)}, "3 passed, 1 failed, 0 skipped"),
    ("a remembered program with a failure", {**REMEMBERED, "build/remembered/win-unit.xml": report(FAILED)},
     "4 passed, 1 failed, 0 skipped"),
    ("a remembered program without its report", {**REMEMBERED, "build/remembered/win-unit.xml": None},
     "2 passed, 1 failed, 0 skipped"),
    ("a remembered program with too few cases", {**REMEMBERED, "tests/expected-results.txt": "checks/format\nwin/unit 3\nwin/other\n"},
     "4 passed, 1 failed, 0 skipped"),
    ("everything remembered", {**REMEMBERED, "build/results/remembered.tsv": f"{REMEMBERED_UNIT}win/other\tMonday\t\n",
                               "build/results/win.xml": None, "build/results/ctest.tsv": None},
     f"{GREEN}; 3 of these are remembered from earlier runs"),
    ("a failure beside a remembered program", {**REMEMBERED, "build/results/ctest.tsv": "win\t8\n",
                                               "build/results/win.xml": '<testsuite><testcase name="other" status="fail"/></testsuite>'},
     "3 passed, 1 failed, 0 skipped; 2 of these are remembered from earlier runs"),
]


def run_count(folder, differences, old_report, parts):
    """Returns the exit status and output of the count for a run of the parts. `differences` holds the files that differ from
    those of a complete run."""
    os.makedirs(f"{folder}/build/results")
    with open(f"{folder}/build/results/begin", "w", encoding="utf-8"):
        pass
    for path, text in {**COMPLETE_RUN, **differences}.items():
        if text is not None:
            os.makedirs(os.path.dirname(f"{folder}/{path}"), exist_ok=True)
            with open(f"{folder}/{path}", "w", encoding="utf-8") as file:
                file.write(text)
    if old_report:
        os.utime(f"{folder}/build/win/reports/unit.xml", (1, 1))
    run = subprocess.run([sys.executable, COUNT, "build/results", *parts], cwd=folder, capture_output=True, encoding="utf-8")
    return run.returncode, run.stdout + run.stderr


def findings(name, differences, last, old_report=False, parts=()):
    with tempfile.TemporaryDirectory() as folder:
        status, output = run_count(folder, differences, old_report, parts)
    lines = output.rstrip("\n").split("\n")
    if lines[-1] != last:
        yield f"{name}: the last line is {lines[-1]!r}, not {last!r}"
    if (status == 0) != (" 0 failed" in last):
        yield f"{name}: status {status}"
    retries = next((text for start, text in RETRIES.items() if name.startswith(start)), "0")
    if lines[-2] != f"Repeated attempts: {retries}":
        yield f"{name}: the last line but one is {lines[-2]!r}"


def main():
    found = [finding for case in CASES for finding in findings(*case)]
    found += findings("a report from an earlier run", {}, "2 passed, 1 failed, 0 skipped", old_report=True)
    found += findings("one part", {"build/results/steps.tsv": None}, "3 passed, 0 failed, 0 skipped", parts=["win"])
    found += findings("one program", {}, "2 passed, 0 failed, 0 skipped", parts=["win/unit"])
    found += findings("an unknown part", {}, "2 passed, 1 failed, 0 skipped", parts=["win/unit", "win/uni"])
    for finding in found:
        print(f"   {finding}")
    print(f"   {len(CASES) + 4} runs counted, {len(found)} findings")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
