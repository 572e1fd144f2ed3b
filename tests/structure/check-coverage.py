#!/usr/bin/env python3
"""Tests tools/lib/count-lines with a made-up gcov: the figures, and that lines that are not executed need a reason."""
import json
import os
import shutil
import subprocess
import sys
import tempfile

TOOLS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../tools/lib")
# Prints the reports, which in this test are the notes and the counts themselves. Fails for a damaged file.
GCOV = "#!/bin/sh\nshift 2\ngrep -q damaged \"$@\" && exit 1\ncat \"$@\"\n"
SOURCE = "int F()\n{\n    if (g) {\n        G();\n    }\n}  // end\n"


def report(folder, **counts):
    """gcov's report on lines: {file: {line: count}}."""
    files = [{"file": f"{path.replace('_', '/')}.cpp", "lines": [{"line_number": n, "count": c} for n, c in lines.items()]}
             for path, lines in counts.items()]
    return json.dumps({"current_working_directory": folder, "files": files}) + "\n"


class Project:
    def __init__(self, folder):
        self.folder = folder
        os.makedirs(f"{folder}/tools/lib")
        shutil.copy(f"{TOOLS}/count-lines", f"{folder}/tools/lib")
        self.write("path/x86_64-w64-mingw32-gcov-posix", GCOV)
        os.chmod(f"{folder}/path/x86_64-w64-mingw32-gcov-posix", 0o755)
        for path in ("core/A.cpp", "ui/B.cpp"):
            self.write(path, SOURCE)

    def write(self, path, text):
        path = f"{self.folder}/{path}"
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)

    def count(self, case):
        """The exit status and the lines of the table, for the counts of two objects and the reasons."""
        self.write("build/a.gcno", report(self.folder, core_A={1: 0, 3: 0, 4: 0, 5: 0, 6: 0}))
        self.write("build/b.gcno", report(self.folder, ui_B={1: 0, 3: 0, 4: 0}))
        for number, lines in enumerate(case["a"]):
            text = report(self.folder, core_A=lines) if lines else "damaged"
            self.write(f"counts/{number}{self.folder}/build/a.gcda", text)
        self.write(f"counts/0{self.folder}/build/b.gcda", report(self.folder, ui_B=case["b"]))
        self.write("tests/coverage/reasons.tsv", "# file, reason\n" + case["reasons"])
        run = subprocess.run(["tools/lib/count-lines", "build", "counts", "0123456789ab"], cwd=self.folder, check=False,
                             env={**os.environ, "PATH": f"{self.folder}/path:{os.environ['PATH']}"},
                             capture_output=True, encoding="utf-8")
        return run.returncode, (run.stdout + run.stderr).splitlines()


ALL_A = {1: 2, 3: 2, 4: 1, 5: 1, 6: 2}
ALL_B = {1: 1, 3: 1, 4: 1}
MADE = "Made by `tools/coverage` at commit 0123456789ab, "
# Title, counts of core/A.cpp in each program, counts of ui/B.cpp, reasons, exit status, lines of the table, and texts that
# must not be in it
CASES = [
    ("everything is executed", [ALL_A], ALL_B, "", 0,
     ["Executed: 8 of 8 lines (100.0 %).", "| core | 5 | 5 | 100.0 % |", "| core/A.cpp | 5 | 5 | 100.0 % |  |  |"],
     ["**", "no longer", "Damaged"]),
    ("each line in one of two programs", [{1: 1, 3: 1, 4: 0, 5: 0, 6: 1}, {1: 0, 3: 0, 4: 1, 5: 1, 6: 0}], ALL_B, "", 0,
     ["Executed: 8 of 8 lines (100.0 %)."], ["**"]),
    ("lines without a reason", [{1: 1, 3: 1, 4: 0, 5: 0, 6: 1}], ALL_B, "", 1,
     ["Executed: 6 of 8 lines (75.0 %).", "| core | 3 | 5 | 60.0 % |", "| core/A.cpp | 3 | 5 | 60.0 % | 4-5 |  |",
      "**core/A.cpp has lines that are not executed, and no reason.**"], ["no longer"]),
    ("lines with a reason", [{1: 1, 3: 1, 4: 0, 5: 1, 6: 0}], ALL_B, "core/A.cpp\tg is false\n", 0,
     ["| core/A.cpp | 3 | 5 | 60.0 % | 4, 6 | g is false |"], ["**", "no longer"]),
    ("a reason for another file", [ALL_A], {1: 1, 3: 0, 4: 1}, "core/A.cpp\tg is false\n", 1,
     ["| ui/B.cpp | 2 | 3 | 66.7 % | 3 |  |", "**ui/B.cpp has lines that are not executed, and no reason.**",
      "A reason that is no longer needed: core/A.cpp"], []),
    ("closing braces", [{1: 1, 3: 1, 4: 1, 5: 0, 6: 0}], ALL_B, "", 0,
     ["| core/A.cpp | 3 | 5 | 60.0 % | 5-6 | closing braces |"], ["**"]),
    ("a source in no program", [], ALL_B, "core/A.cpp\tno program has it\n", 0,
     ["| core/A.cpp | 0 | 5 | 0.0 % | 1, 3-6 | no program has it |"], ["**"]),
    ("a damaged file of counts", [ALL_A, None], ALL_B, "", 0,
     ["Damaged files of counts, left by processes that were killed while writing: 1. They are not in the figures."], ["**"]),
]


def findings(case, status, expected, unexpected):
    with tempfile.TemporaryDirectory() as folder:
        found, lines = Project(os.path.realpath(folder)).count(case)
    if found != status:
        yield f"status {found}"
    if not any(line.startswith(MADE) for line in lines):
        yield "the commit is missing"
    yield from (f"missing: {line}" for line in expected if line not in lines)
    yield from (f"unexpected: {text}" for text in unexpected if any(text in line for line in lines))


def main():
    failed = 0
    for title, a, b, reasons, *rest in CASES:
        found = list(findings({"a": a, "b": b, "reasons": reasons}, *rest))
        failed += bool(found)
        for finding in found:
            print(f"   {title}: {finding}")
    print(f"{len(CASES)} cases, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
