#!/usr/bin/env python3
"""Tests .ci/run with made-up steps: it says if it took longer than 30 minutes, fails with each step, and ends with the totals."""
import os
import shutil
import subprocess
import sys
import tempfile

RUN = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../.ci/run")
TOTALS = "7 passed, 0 failed, 0 skipped"
TEST = f"mkdir -p build/results; printf 'The steps\\nRepeated\\n{TOTALS}\\n' >build/results/summary.txt\n"
OLD = "9 passed, 0 failed, 0 skipped"

# Title, exit statuses of tools/test, tools/demo and tools/release, seconds that have passed, exit status, a line of the
# output, and the last line (None: no totals)
CASES = [
    ("a quick run", (0, 0, 0), 90, 0, "The whole run took 2 of at most 30 minutes.", TOTALS),
    ("just in time", (0, 0, 0), 1770, 0, "The whole run took 30 of at most 30 minutes.", TOTALS),
    ("too slow", (0, 0, 0), 1801, 0, "The run took too long.", TOTALS),
    ("a failed test", (1, 0, 0), 60, 1, "A step of the run failed (status 1).", TOTALS),
    ("a failed demonstration", (0, 3, 0), 60, 3, "A step of the run failed (status 3).", TOTALS),
    ("a failed package", (0, 0, 1), 60, 1, "A step of the run failed (status 1).", TOTALS),
    ("tests without totals", (2, 0, 0), 60, 1, "A step of the run failed (status 2).", None),
]


def write_script(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as file:
        file.write(f"#!/bin/bash\n{text}")
    os.chmod(path, 0o755)


def run(statuses, seconds):
    """The exit status, and the lines of the output."""
    with tempfile.TemporaryDirectory() as folder:
        os.makedirs(f"{folder}/.ci")
        shutil.copy(RUN, f"{folder}/.ci/run")
        write_script(f"{folder}/build/results/summary.txt", f"{OLD}\n")
        for name, status in zip(("test", "demo", "release"), statuses):
            totals = TEST if name == "test" and status < 2 else ""
            write_script(f"{folder}/tools/{name}", f"{totals}exit {status}\n")
        # bash goes on counting from SECONDS
        done = subprocess.run([f"{folder}/.ci/run"], env={**os.environ, "SECONDS": str(seconds)}, check=False,
                              capture_output=True, encoding="utf-8")
    return done.returncode, done.stdout.splitlines()


def main():
    failed = 0
    for title, statuses, seconds, expected, line, last in CASES:
        status, lines = run(statuses, seconds)
        right = lines[-1:] == [last] if last else OLD not in lines
        if status != expected or line not in lines or not right:
            failed += 1
            print(f"   {title}: status {status} and {lines}")
    print(f"{len(CASES)} cases, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
