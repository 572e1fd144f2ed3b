#!/usr/bin/env python3
"""Tests tools/lib/check-tables in made-up projects: a table, or the picture of the README, that does not hold is refused."""
import concurrent.futures
import os
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
TOOLS = os.path.join(HERE, "../../tools/lib")
FAULTS, RESULTS, COVERAGE, WINDOW = "tests/FAULTS.md", "bench/RESULTS.md", "tests/COVERAGE.md", "docs/window.png"
MAKERS = {FAULTS: "tools/faults", RESULTS: "tools/bench", COVERAGE: "tools/coverage", WINDOW: "tools/screenshots"}
ROW = "| file is gone | 1,200 | 1,200 |\n"
PROJECT = {
    "core/Names.cpp": "int x;  // counts\n",
    "core/README.md": "a text\n",
    "tests/cadserver/Server.cpp": "int y;\n",
    "tests/windows/RefusedCallsTest.cpp": "int z;\n",
    "tests/windows/OtherTest.cpp": "int z;\n",
    "tests/coverage/reasons.tsv": "core/Names.cpp\tnever\n",
    "bench/measure.py": '"""Measures."""\nROUNDS = 6  # even\n',
    "tools/faults": "#!/usr/bin/env bash\n# Runs them.\nrun\n",
    "tools/bench": "#!/usr/bin/env bash\nrun\n",
    "data/standard-parts.tsv": "part\n",
    "cmake/Flags.cmake": "# small\nset(FLAGS -O2)\n",
    "CMakeLists.txt": "project(Talvenor VERSION 1.0.0 LANGUAGES CXX)\nadd_compile_options(-Os)\n",
    "CMakePresets.json": "{}\n",
    ".gitignore": "/build/\n",
}


class Project:
    """A repository of two commits: the sources, and what was made from them."""

    def __init__(self, folder):
        self.folder = folder
        self.path = os.environ["PATH"]
        os.makedirs(f"{folder}/tools/lib")
        for tool in ("check-tables", "common.sh", "seal"):
            shutil.copy(f"{TOOLS}/{tool}", f"{folder}/tools/lib")
        for path, text in PROJECT.items():
            self.write(path, text)
        self.run("git", "init", "--quiet")
        self.commit()
        self.sources = self.run("git", "rev-parse", "--short=12", "HEAD").stdout.strip()
        for table in MAKERS:
            self.make(table)
        self.commit()

    def run(self, *command, check=True):
        author = {f"GIT_{role}_{what}": "a@b" for role in ("AUTHOR", "COMMITTER") for what in ("NAME", "EMAIL")}
        return subprocess.run(command, cwd=self.folder, env={**os.environ, **author, "PATH": self.path}, check=check,
                              capture_output=True, encoding="utf-8")

    def write(self, path, text):
        os.makedirs(os.path.dirname(f"{self.folder}/{path}"), exist_ok=True)
        with open(f"{self.folder}/{path}", "w", encoding="utf-8") as file:
            file.write(text)

    def commit(self):
        self.run("git", "add", "--all")
        self.run("git", "commit", "--quiet", "--allow-empty", "--message", "a change")

    def make(self, table, more=ROW, sources=None):
        """Writes the table as its maker does, or the picture with its comment."""
        commit = sources or self.sources
        if table == WINDOW:
            self.write(table, f"\x89PNG\n comment Made by {MAKERS[table]} at commit {commit}, 2026-01-02 \n IEND\n")
            return
        self.write(table, f"# Table\n\nMade by `{MAKERS[table]}` at commit {commit}, 2026-01-02.\n\n{more}")
        self.run("tools/lib/seal", table)

    def refused(self):
        """The refused files, and the whole output."""
        run = self.run("tools/lib/check-tables", check=False)
        refused = {line.split()[0] for line in run.stdout.splitlines()}
        if (run.returncode == 0) != (not refused):
            raise AssertionError(f"status {run.returncode} and {run.stdout}{run.stderr}")
        return refused, run.stdout + run.stderr


def write(path, text):
    return lambda project: project.write(path, text)


def make(table, more, **options):
    return lambda project: project.make(table, more, **options)


def edit(path, old, new):
    def change(project):
        with open(f"{project.folder}/{path}", encoding="utf-8") as file:
            text = file.read()
        assert old in text
        project.write(path, text.replace(old, new))
    return change


def delete(path):
    return lambda project: os.remove(f"{project.folder}/{path}")


def comment_without_compiler(project):
    """Changes a comment, and offers a PATH with everything but g++."""
    project.write("core/Names.cpp", "int x;  // counts names\n")
    os.makedirs(f"{project.folder}/build/path")
    for folder in reversed(project.path.split(":")):
        for name in os.listdir(folder) if os.path.isdir(folder) else ():
            link = f"{project.folder}/build/path/{name}"
            if os.path.lexists(link):
                os.remove(link)
            os.symlink(f"{folder}/{name}", link)
    os.remove(f"{project.folder}/build/path/g++")
    project.path = f"{project.folder}/build/path"


ALL = set(MAKERS)
# Title, what happens after everything was made, and what is refused then
CASES = [
    ("nothing", lambda project: None, set()),
    ("code of the program", write("core/Names.cpp", "long x;  // counts\n"), ALL),
    ("a comment of the program", write("core/Names.cpp", "int x;  // counts names\n"), set()),
    ("a comment of the program, without g++", comment_without_compiler, ALL),
    ("a text beside the program", write("core/README.md", "another text\n"), set()),
    ("a new source", write("core/New.cpp", "int n;\n"), ALL),
    ("a source is gone", delete("core/Names.cpp"), ALL),
    ("the stand-in server", write("tests/cadserver/Server.cpp", "int y = 1;\n"), ALL),
    ("the parts of the library", write("data/standard-parts.tsv", "other part\n"), {RESULTS, WINDOW}),
    ("a flag of the build", edit("CMakeLists.txt", "-Os", "-O2"), ALL),
    ("a flag of the build in a module", edit("cmake/Flags.cmake", "-O2", "-O0"), ALL),
    ("a comment of a module of the build", edit("cmake/Flags.cmake", "small", "fast"), set()),
    ("a preset", write("CMakePresets.json", "{ }\n"), ALL),
    ("the number of the version", edit("CMakeLists.txt", "1.0.0", "1.1.0"), set()),
    ("what starts the fault tests", edit("tools/faults", "run\n", "run more\n"), {FAULTS}),
    ("a comment of what starts the fault tests", edit("tools/faults", "them", "all"), set()),
    ("tests of refused calls", write("tests/windows/RefusedCallsTest.cpp", "int a;\n"), {FAULTS, COVERAGE}),
    ("other tests in process", write("tests/windows/OtherTest.cpp", "int a;\n"), {COVERAGE}),
    ("a reason for lines that are not executed", write("tests/coverage/reasons.tsv", ""), set()),
    ("lines without a reason", make(COVERAGE, ROW + "\n**core/A.cpp has lines that are not executed, and no reason.**\n"),
     {COVERAGE}),
    ("what measures", edit("bench/measure.py", "6", "8"), {RESULTS}),
    ("a comment of what measures", edit("bench/measure.py", "even", "an even number"), set()),
    ("a figure is edited", edit(FAULTS, "1,200 | 1,200", "1,300 | 1,300"), {FAULTS}),
    ("a line is added", edit(RESULTS, ROW, ROW + ROW), {RESULTS}),
    ("the last line is gone", edit(RESULTS, "<!--", "<!-- a"), {RESULTS}),
    ("the commit is edited", make(FAULTS, ROW, sources="0123456789ab"), {FAULTS}),
    ("made from files that are not committed", make(RESULTS, ROW, sources=" with uncommitted changes"), {RESULTS}),
    ("measuring has not ended", make(RESULTS, ROW + "\n**Incomplete: measuring is still going on.**\n"), {RESULTS}),
    ("a group has no report", make(FAULTS, ROW + "\n**The group calls has no report: its faults are missing.**\n"), {FAULTS}),
    ("a test failed", make(FAULTS, ROW + "\n**CallTest.Fails failed.**\n"), {FAULTS}),
    ("a fault has not passed", make(FAULTS, "| file is gone | 1,200 | 1,199 |\n| **all** | **1,200** | **1,199** |\n"), {FAULTS}),
    ("the total is too low", make(FAULTS, ROW + "| **all** | **1,200** | **1,199** |\n"), {FAULTS}),
    ("no fault was injected", make(FAULTS, ROW + "| disk is full | 0 | 0 |\n"), {FAULTS}),
    ("a table is gone", delete(FAULTS), {FAULTS}),
    ("the picture names no commit", write(WINDOW, "\x89PNG\n IEND\n"), {WINDOW}),
]


def outcome(number):
    """What is refused in a project for the case of that number, and the output."""
    _, change, _ = CASES[number]
    with tempfile.TemporaryDirectory() as folder:
        project = Project(folder)
        change(project)
        project.commit()
        return project.refused()


def main():
    failed = 0
    with concurrent.futures.ProcessPoolExecutor(os.cpu_count()) as pool:
        outcomes = list(pool.map(outcome, range(len(CASES))))
    for (title, _, expected), (refused, output) in zip(CASES, outcomes):
        if refused != expected:
            failed += 1
            print(f"   {title}: refused {sorted(refused)}, not {sorted(expected)}\n{output}")
    print(f"{len(CASES)} cases, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
