"""Runs the self-check under Wine, and compares its findings with the expected ones and the machine with its
earlier state. Called by tests/selfcheck/run.

  under_wine.py PREFIX FOLDER [--quick | --break | --kill]
"""
import os
import re
import subprocess
import sys

import machine

HERE = os.path.dirname(os.path.abspath(__file__))
FINDING = re.compile(r"^  (yes|NO|not tried) +([\w-]+): ", re.MULTILINE)
VERDICT = re.compile(r"^VERDICT: .+\.\r?$", re.MULTILINE)
TIMEOUT = 3600  # seconds
SLOW = {"call-cancelled", "call-server-killed", "filter-woken"}  # that --quick leaves out

# What Wine itself changes while programs run.
MAY_CHANGE = re.compile(r"HKEY_USERS\\[^\\]+\\(Software\\Wine\\Temporary System Parameters|Volatile Environment|"
                        r"Control Panel\\Desktop\\WindowMetrics|"
                        r"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Advanced)(\\.*)?|C:\\windows\\temp(\\.*)?"
                        r"|HKEY_USERS\\[^\\]+\\Software\\Classes"  # this key alone: Windows makes it for each user
                        r"|HKEY_LOCAL_MACHINE\\(Hardware|System\\(CurrentControlSet|ControlSet001))(\\.*)?")


def expected_findings():
    """{id: finding}: "yes" for the stages 0 to 2, otherwise "not tried"; wine.txt lists the exceptions."""
    with open(os.path.join(HERE, "../../docs/windows.md"), encoding="utf-8") as file:
        rows = re.findall(r"^\| `([\w-]+)` .* ([0-4–]) \|$", file.read(), re.MULTILINE)
    with open(os.path.join(HERE, "wine.txt"), encoding="utf-8") as file:
        lines = [line.split("#")[0].split() for line in file]
    expected = {name: "yes" if stage in "012" else "not tried" for name, stage in rows}
    return expected | {words[0]: " ".join(words[1:]) for words in lines if words}


def run(folder, *options):
    command = ["tools/run-windows", machine.windows_path(os.path.join(folder, "selfcheck.exe")), "--yes", *options]
    status = subprocess.run(command, timeout=TIMEOUT).returncode
    with open(os.path.join(folder, "report/report.txt"), encoding="utf-8") as file:
        return status, file.read()


def finding_problems(report, quick):
    found = {name: finding for finding, name in FINDING.findall(report)}
    for name, expected in expected_findings().items():
        expected = "not tried" if quick and name in SLOW else expected
        if found.get(name) != expected:
            yield f"{name}: {found.get(name)}, expected {expected}"


def problems(report, status, before, after):
    if len(VERDICT.findall(report)) != 1:
        yield "not exactly one verdict"
    if status != (1 if "NO" in expected_findings().values() else 3):
        yield f"status {status}"
    for line in re.findall(r"^ +(?:failed: .*|stage \d has (?:left|removed) .*)$", report, re.MULTILINE):
        yield line.strip()
    for change, name in machine.differences(before, after):
        if not MAY_CHANGE.fullmatch(name):
            yield f"{change}: {name}"


def files_of(folder):
    """The files of the self-check's folder, without its report."""
    return {os.path.join(place, name): machine.digest(os.path.join(place, name))
            for place, _, names in os.walk(folder) if not place.startswith(os.path.join(folder, "report"))
            for name in names}


def check(prefix, folder, options):
    wine = machine.Machine(prefix)
    before = {**wine.state(), **files_of(folder)}
    status, report = run(folder, "--leave-out", "3", "--leave-out", "4", *options)
    after = {**wine.state(), **files_of(folder)}
    return [*problems(report, status, before, after), *finding_problems(report, "--quick" in options)]


def main():
    prefix, folder, *options = sys.argv[1:]
    if options == ["--break"]:
        import breaking
        found = breaking.check(folder, run, FINDING)
    elif options == ["--kill"]:
        import killing
        found = list(killing.check(prefix, machine.windows_path(os.path.join(folder, "selfcheck.exe")), MAY_CHANGE))
    else:
        found = check(prefix, folder, options)
    for problem in found:
        print("   " + problem)
    print(f"{len(found)} problems")
    return 1 if found else 0


if __name__ == "__main__":
    sys.stdout.reconfigure(encoding="utf-8")
    sys.exit(main())
