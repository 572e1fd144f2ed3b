#!/usr/bin/env python3
"""Tests the memory of tools/lint in made-up projects, with the real clang-tidy: a source is checked again if anything that
clang-tidy read has changed."""
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile

TOP = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../..")
PROJECT = {
    ".clang-tidy": "Checks: '-*,misc-unused-using-decls'\nWarningsAsErrors: '*'\n",
    "core/A.cpp": '#include "core/A.h"\nint a = A();\n',
    "core/A.h": '#pragma once\n#include "core/Deep.h"\ninline int A() { return Deep(); }\n',
    "core/Deep.h": "#pragma once\ninline int Deep() { return 1; }\n",
    "core/B.cpp": '#include "core/B.h"\nint b = kB;\n',
    "core/B.h": "#pragma once\nconstexpr int kB = 1;\n",
}
FINDING = '#include "core/B.h"\nnamespace n { struct S; }\nusing n::S;\nint b = kB;\n'
# A clang-tidy that does not name the files that it reads
SILENT = "#!/bin/sh\n%s \"$@\" >\"$0.out\" 2>&1; status=$?; grep -vE '^\\.+ ' \"$0.out\"; exit $status\n"


class Project:
    def __init__(self, folder):
        self.folder, self.path = folder, os.environ["PATH"]
        os.makedirs(f"{folder}/tools/lib")
        for tool in ("tools/lint", "tools/lib/own-sources"):
            shutil.copy(f"{TOP}/{tool}", f"{folder}/{tool}")
        for path, text in PROJECT.items():
            self.write(path, text)
        for build in ("fuzz", "windows", "windowwatch"):
            self.write(f"build/{build}/compile_commands.json", "[]")
        self.set_options("")

    def write(self, path, text):
        os.makedirs(os.path.dirname(f"{self.folder}/{path}"), exist_ok=True)
        with open(f"{self.folder}/{path}", "w", encoding="utf-8") as file:
            file.write(text)

    def set_options(self, options):
        commands = [{"directory": self.folder, "file": source, "command": f"c++ -I. {options} -c {source}"}
                    for source in PROJECT if source.endswith(".cpp")]
        self.write("build/text/compile_commands.json", json.dumps(commands))

    def put_first(self, tool, script):
        """Puts the script first into PATH, under the name of the tool."""
        self.write(f"build/path/{tool}", script)
        os.chmod(f"{self.folder}/build/path/{tool}", 0o755)
        self.path = f"{self.folder}/build/path:{os.environ['PATH']}"

    def silence(self):
        self.put_first("clang-tidy", SILENT % shutil.which("clang-tidy"))

    def lint(self, *arguments):
        """The exit status, and the number of sources that were checked."""
        run = subprocess.run(["tools/lint", *arguments], cwd=self.folder, env={**os.environ, "PATH": self.path}, check=False,
                             capture_output=True, encoding="utf-8")
        checked = re.search(r"(\d+) of them checked", run.stdout)
        return run.returncode, int(checked[1]) if checked else run.stdout + run.stderr


def write(path, text=None):
    return lambda project: project.write(path, PROJECT[path] + "// changed\n" if text is None else text)


def append_to_lint(project):
    with open(f"{project.folder}/tools/lint", "a", encoding="utf-8") as file:
        file.write("# changed\n")


def found_before(project):
    project.write("core/B.cpp", FINDING)
    project.lint()


# Title, what happens after all sources were checked, arguments, and the expected exit status and number of sources
CASES = [
    ("nothing", lambda project: None, [], (0, 0)),
    ("a source", write("core/A.cpp"), [], (0, 1)),
    ("a header", write("core/A.h"), [], (0, 1)),
    ("a header that a header includes", write("core/Deep.h"), [], (0, 1)),
    ("a finding", write("core/B.cpp", FINDING), [], (1, 1)),
    ("a finding of the run before", found_before, [], (1, 1)),
    ("the configuration", write(".clang-tidy", PROJECT[".clang-tidy"] + "# changed\n"), [], (0, 2)),
    ("the configuration of a folder", write("core/.clang-tidy", PROJECT[".clang-tidy"]), [], (0, 2)),
    ("the compile command", lambda project: project.set_options("-DX"), [], (0, 2)),
    ("tools/lint", append_to_lint, [], (0, 2)),
    ("another revision of the package",
     lambda project: project.put_first("dpkg-query", "#!/bin/sh\necho clang-tidy 1:14.0-99\n"), [], (0, 2)),
    ("all are wanted", lambda project: None, ["--all"], (0, 2)),
    ("all of one file are wanted", lambda project: None, ["--all", "core/A.cpp"], (0, 1)),
    ("a source that includes nothing", write("core/B.cpp", "int b;\n"), [], (0, 1)),
    ("a clang-tidy that names no files", Project.silence, [], (1, 2)),
]


def never_remembers_without_files(project):
    project.silence()
    project.lint()
    return project.lint()


def never_remembers_a_source_without_files(project):
    project.write("core/B.cpp", "int b;\n")
    project.lint()
    project.write("core/A.cpp", PROJECT["core/A.cpp"] + "// changed\n")
    return project.lint()


SEQUENCES = [
    ("the second run of a clang-tidy that names no files", never_remembers_without_files, (1, 2)),
    ("a source that includes nothing, beside another one", never_remembers_a_source_without_files, (0, 2)),
]


def after(change, arguments):
    def sequence(project):
        first = project.lint()
        change(project)
        return project.lint(*arguments) if first == (0, 2) else f"{first} at first"
    return sequence


def main():
    failed = 0
    cases = [(title, after(change, arguments), expected) for title, change, arguments, expected in CASES] + SEQUENCES
    for title, sequence, expected in cases:
        with tempfile.TemporaryDirectory() as folder:
            found = sequence(Project(os.path.realpath(folder)))
        if found != expected:
            failed += 1
            print(f"   {title}: status and sources are {found}, not {expected}")
    print(f"{len(cases)} cases, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
