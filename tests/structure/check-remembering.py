#!/usr/bin/env python3
"""Tests tools/lib/remember in made-up projects: a test is recalled only if it passed and nothing has changed since."""
import os
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
REMEMBER = os.path.join(HERE, "../../tools/lib/remember")
PROJECT = {
    "tests/expected-results.txt": "win/unit 2\nwin/other\nnative/text\n",
    "core/Names.cpp": "int x;",
    "README.md": "a text",
    ".gitignore": "/build/\n",
    "build/win/bin/unit.exe": "code",
    "build/win/tests/CTestTestfile.cmake": "add_test(unit)",
    "build/win/reports/unit.xml": "<testsuites/>",
    "build/results/passed.txt": "win/unit\nwin/other\n",
}


class Project:
    def __init__(self, folder):
        self.folder = folder
        for path, text in PROJECT.items():
            self.write(path, text)
        os.makedirs(f"{folder}/tools/lib")
        shutil.copy(REMEMBER, f"{folder}/tools/lib/remember")
        subprocess.run(["git", "init", "--quiet"], cwd=folder, check=True)

    def write(self, path, text):
        os.makedirs(os.path.dirname(f"{self.folder}/{path}") or self.folder, exist_ok=True)
        with open(f"{self.folder}/{path}", "w", encoding="utf-8") as file:
            file.write(text)

    def remember(self, *arguments, seed=None):
        environment = {**os.environ, **({"TALVENOR_SEED": seed} if seed else {})}
        run = subprocess.run([sys.executable, "tools/lib/remember", *arguments], cwd=self.folder, env=environment, check=True,
                             capture_output=True, encoding="utf-8")
        return [line.split("\t")[0] for line in run.stdout.splitlines()]

    def recall(self, *arguments, **options):
        return self.remember("recall", "win", "^(.*)$", *arguments, **options)

    def passes(self):
        self.recall()
        self.remember("store")


def write(path, text="changed"):
    return lambda project: project.write(path, text)


def delete(path):
    return lambda project: os.remove(f"{project.folder}/{path}")


BOTH = ["win/unit", "win/other"]
# Title, what happens after both tests have passed, and what is recalled then
CASES = [
    ("nothing", lambda project: None, BOTH),
    ("a source has changed", write("core/Names.cpp"), []),
    ("a new file that Git does not know", write("core/New.h"), []),
    ("a file of the project is gone", delete("core/Names.cpp"), []),
    ("a built program has changed", write("build/win/bin/unit.exe"), []),
    ("the command of a test has changed", write("build/win/tests/CTestTestfile.cmake"), []),
    ("a text for readers has changed", write("README.md"), BOTH),
    ("a program of another build has changed", write("build/native/bin/text"), BOTH),
    ("a report of the last run has changed", write("build/win/reports/unit.xml"), BOTH),
    ("one test is repeated and does not end", lambda project: project.remember("recall", "win", "^(unit)$", "--all"),
     ["win/other"]),
    ("all tests are repeated and do not end", lambda project: project.recall("--all"), []),
    ("one memory is damaged", write("build/remembered/win-unit.json", "{"), ["win/other"]),
]


def repeated_and_failed(project):
    project.passes()
    project.recall("--all")
    project.write("build/results/passed.txt", "win/other\n")
    project.remember("store")
    return project.recall()


def changed_while_testing(project):
    project.recall()
    project.write("core/Names.cpp", "changed")
    project.remember("store")
    project.write("core/Names.cpp", PROJECT["core/Names.cpp"])
    return project.recall()


def another_seed(project):
    project.passes()
    return project.recall(seed="7")


SEQUENCES = [
    ("a test is repeated and fails", repeated_and_failed, ["win/other"]),
    ("a source changes while the tests run, and back later", changed_while_testing, []),
    ("another seed", another_seed, []),
    ("the first run", lambda project: project.recall(), []),
]


def after(change):
    def sequence(project):
        project.passes()
        change(project)
        return project.recall()
    return sequence


def main():
    failed = 0
    cases = [(title, after(change), expected) for title, change, expected in CASES] + SEQUENCES
    for title, sequence, expected in cases:
        with tempfile.TemporaryDirectory() as folder:
            recalled = sequence(Project(folder))
        if recalled != expected:
            failed += 1
            print(f"   {title}: recalled {recalled}, not {expected}")
    print(f"{len(cases)} cases, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
