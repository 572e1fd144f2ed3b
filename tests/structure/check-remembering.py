#!/usr/bin/env python3
"""Tests tools/lib/remember in made-up projects: a test is recalled only if it passed within a day and nothing has changed
since."""
import concurrent.futures
import json
import os
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
REMEMBER = os.path.join(HERE, "../../tools/lib/remember")
PROJECT = {
    "tests/expected-results.txt": "win/unit 2\nwin/other\nnative/text\nwindows/kills 1\n",
    "core/Names.cpp": "int x;",
    "README.md": "a text",
    ".gitignore": "/build/\n",
    "build/win/bin/unit.exe": "code",
    "build/win/tests/CTestTestfile.cmake": "add_test(unit)",
    "build/win/reports/unit.xml": "<testsuites/>",
    "build/results/passed.txt": "win/unit\nwin/other\nwindows/kills\n",
}
WINE = "#!/bin/sh\necho wine-%s\n"


class Project:
    def __init__(self, folder):
        self.folder = folder
        # Without the seed of the run that this check belongs to
        self.environment = {name: value for name, value in os.environ.items() if name != "TALVENOR_SEED"}
        for path, text in PROJECT.items():
            self.write(path, text)
        os.makedirs(f"{folder}/tools/lib")
        shutil.copy(REMEMBER, f"{folder}/tools/lib/remember")
        subprocess.run(["git", "init", "--quiet"], cwd=folder, check=True)

    def write(self, path, text):
        os.makedirs(os.path.dirname(f"{self.folder}/{path}") or self.folder, exist_ok=True)
        with open(f"{self.folder}/{path}", "w", encoding="utf-8") as file:
            file.write(text)

    def remember(self, *arguments):
        run = subprocess.run([sys.executable, "tools/lib/remember", *arguments], cwd=self.folder, env=self.environment,
                             check=True, capture_output=True, encoding="utf-8")
        return [line.split("\t")[0] for line in run.stdout.splitlines()]

    def recall(self, *arguments, build="win"):
        return self.remember("recall", build, "^(.*)$", *arguments)

    def put_wine(self, version):
        """Puts a wine first into PATH, in a folder that belongs neither to the project nor to a package."""
        self.write(".git/path/wine", WINE % version)
        os.chmod(f"{self.folder}/.git/path/wine", 0o755)
        self.environment["PATH"] = f"{self.folder}/.git/path:{os.environ['PATH']}"

    def set_age(self, hours):
        path = f"{self.folder}/build/remembered/win-unit.json"
        with open(path, encoding="utf-8") as file:
            memory = json.load(file)
        memory["at"] -= hours * 60 * 60
        with open(path, "w", encoding="utf-8") as file:
            json.dump(memory, file)

    def passes(self, **options):
        self.recall(**options)
        self.remember("store")


def write(path, text="changed"):
    return lambda project: project.write(path, text)


def delete(path):
    return lambda project: os.remove(f"{project.folder}/{path}")


def set_variable(name, value="changed"):
    return lambda project: project.environment.update({name: value})


def set_mode(path, mode):
    return lambda project: os.chmod(f"{project.folder}/{path}", mode)


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
    ("a variable of the environment", set_variable("WINEDEBUG"), []),
    ("a variable of the sanitizers", set_variable("ASAN_OPTIONS", "exitcode=0"), []),
    ("another seed", set_variable("TALVENOR_SEED", "7"), []),
    ("a wider terminal", set_variable("COLUMNS", "7"), BOTH),
    ("logged in from elsewhere", set_variable("SSH_CLIENT"), BOTH),
    ("another folder in PATH", lambda project: project.put_wine(8), []),
    ("the permissions of a source", set_mode("core/Names.cpp", 0o755), []),
    ("the permissions of a built program", set_mode("build/win/bin/unit.exe", 0o400), []),
    ("23 hours later", lambda project: project.set_age(23), BOTH),
    ("25 hours later", lambda project: project.set_age(25), ["win/other"]),
    ("the clock was set back", lambda project: project.set_age(-2), ["win/other"]),
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


def another_wine(project):
    project.put_wine(8)
    project.passes()
    same = project.recall()
    project.put_wine(10)
    return same + project.recall()


def at_random(project):
    project.passes(build="windows")
    return project.recall(build="windows")


def at_random_with_seed(project):
    project.environment["TALVENOR_SEED"] = "7"
    return at_random(project)


SEQUENCES = [
    ("a test is repeated and fails", repeated_and_failed, ["win/other"]),
    ("a source changes while the tests run, and back later", changed_while_testing, []),
    ("another version of a tool that is in no package", another_wine, BOTH),
    ("a test that acts at random moments", at_random, []),
    ("a test that acts at random moments, with a seed", at_random_with_seed, ["windows/kills"]),
    ("the first run", lambda project: project.recall(), []),
]


def after(change):
    def sequence(project):
        project.passes()
        change(project)
        return project.recall()
    return sequence


ALL = [(title, after(change), expected) for title, change, expected in CASES] + SEQUENCES


def outcome(number):
    """What is recalled in a project for the case of that number."""
    _, sequence, _ = ALL[number]
    with tempfile.TemporaryDirectory() as folder:
        return sequence(Project(folder))


def main():
    failed = 0
    with concurrent.futures.ProcessPoolExecutor(os.cpu_count()) as pool:
        outcomes = list(pool.map(outcome, range(len(ALL))))
    for (title, _, expected), recalled in zip(ALL, outcomes):
        if recalled != expected:
            failed += 1
            print(f"   {title}: recalled {recalled}, not {expected}")
    print(f"{len(ALL)} cases, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
