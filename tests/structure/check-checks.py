#!/usr/bin/env python3
"""Tests the structure checks: each check must report the mistake that it looks for, and nothing else."""
import os
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))

# A program with one text, one dialog and a legend of one row; below, its manuals
PROGRAM = {"ui/A.cpp": 'Text kA{L"Datei \'%s\'\\n"\n L"fehlt", L"File \'%s\'\\nis missing"};\n',
           "resources/german.rc": 'X DIALOGEX 0\nLTEXT "&Zahl", 1\nLTEXT "%1", IDC_TEMPLATE_LEGEND, 1\n'
                                  'LTEXT "Ziffern", IDC_TEMPLATE_LEGEND + 1\nLTEXT "12", IDC_TEMPLATE_LEGEND + 2\nEND\n',
           "resources/english.rc": 'X DIALOGEX 0\nLTEXT "&Number", 1\nEND\n'}
GERMAN = ("# Eins {#one}\n\nZahl %1 Ziffern 12, siehe [eins](#one)\n\n| `%1` | Ziffern | `12` |\n\n"
          "```message\nDatei '‹Pfad›'\nfehlt\n```\n")
ENGLISH = "# One {#one}\n\nNumber\n\n```message\nFile '‹path›'\nis missing\n```\n"
PACKAGE = ('<?if $(var.Edition) = german ?>\n<?define OldMessage = "Zu alt." ?>\n<?else?>\n'
           '<?define OldMessage = "Too old." ?>\n<?endif?>\n')


def manuals(german=GERMAN, english=ENGLISH):
    return {**PROGRAM, "manual/german.md": german, "manual/english.md": english}


def changelog(text, version="1.2.0"):
    return {"CMakeLists.txt": f"project(Talvenor VERSION {version} LANGUAGES CXX)\n", "CHANGELOG.md": text}


# Two assumptions, one that a look finds and one that a test proves
ROWS = "| `a` | text | page | – | – | 0 |\n| `b` | text | knowledge | – | – | 1 |\n"


def expectations(rows=ROWS, test="TEST(Suite, Case)\n", more=""):
    return {"docs/windows.md": rows, "tests/windows/ATest.cpp": test, "tests/selfcheck/StagePackage.cpp": more,
            "tests/selfcheck/Expectations.cpp": '{"a", &LookAtA},\n{"b", kInProcess, "Suite.Case"},\n'}


# Title, check, files of a small made-up project, part of the only finding (None: no finding)
CASES = [
    ("include from a lower layer", "layers", {"ui/A.cpp": '#include "core/B.h"\n', "core/B.h": ""}, None),
    ("include within a module", "layers", {"run/A.h": '#include "run/B.h"\n', "run/B.h": ""}, None),
    ("include of the resource numbers", "layers", {"ui/A.cpp": '#include "resources/resource.h"\n'}, None),
    ("platform includes framework", "layers", {"platform/A.h": '#include "framework/B.h"\n', "framework/B.h": ""}, None),
    ("framework includes platform", "layers", {"framework/A.h": '#include "platform/B.h"\n', "platform/B.h": ""},
     "platform (layer 1), which is beside it"),
    ("include from a higher layer", "layers", {"core/A.h": '#include "ui/B.h"\n', "ui/B.h": ""},
     "ui (layer 5), which is above it"),
    ("files includes cad", "layers", {"files/A.h": '#include "cad/B.h"\n', "cad/B.h": ""},
     "cad (layer 3), which is beside it"),
    ("cad includes files", "layers", {"cad/A.h": '#include "files/B.h"\n', "files/B.h": ""},
     "files (layer 3), which is beside it"),
    ("include from outside the program", "layers", {"core/A.h": '#include "tests/B.h"\n'}, "is in no module"),
    ("include without its module", "layers", {"core/A.h": '#include "B.h"\n', "core/B.h": ""}, "write the module"),
    ("two files that include each other", "layers", {"ui/A.h": '#include "ui/B.h"\n', "ui/B.h": '#include "ui/A.h"\n'},
     "cycle: ui/A.h -> ui/B.h -> ui/A.h"),
    ("longer cycle", "layers", {"run/A.h": '#include "run/B.h"\n', "run/B.h": '#include "run/C.h"\n',
                                "run/C.h": '#include "run/A.h"\n'}, "cycle: run/A.h -> run/B.h -> run/C.h -> run/A.h"),
    ("file that includes itself", "layers", {"run/A.h": '#include "run/A.h"\n'}, "cycle: run/A.h -> run/A.h"),
    ("Windows header in a text rule", "layers", {"core/PartName.cpp": "#include <windows.h>\n"},
     "a text rule must not include windows.h"),
    ("standard code", "compilers", {"ui/A.cpp": '#pragma once\n[[nodiscard]] int f();\n',
                                    "CMakeLists.txt": "target_link_options(a PRIVATE ${WIDE})\n"
                                                      "add_test(NAME a COMMAND a -seed=1)\n"}, None),
    ("attribute of GCC", "compilers", {"ui/A.h": "\n__attribute__((used)) int a;\n"},
     "ui/A.h:2: __attribute__ is not known to every compiler"),
    ("pragma of Microsoft's compiler", "compilers", {"tests/A.cpp": "#pragma warning(disable : 1)\n"},
     "tests/A.cpp:1: #pragma is not"),
    ("header of GCC's library", "compilers", {"ui/A.cpp": "#include <bits/stdc++.h>\n"}, "#include <bits/ is not"),
    ("both compilers in their places", "compilers",
     {"framework/FirstObject.h": "#ifdef _MSC_VER\n", "cmake/A.cmake": "target_link_options(a PRIVATE -s)\n", "ui/A.h": ""}, None),
    ("option of GCC", "compilers", {"ui/CMakeLists.txt": "f()\ntarget_link_options(a PRIVATE\n  -s)\n"},
     "ui/CMakeLists.txt:3: an option of one compiler"),
    ("option of Microsoft's compiler", "compilers", {"ui/CMakeLists.txt": 'target_compile_options(a PUBLIC ${B} "/W4")\n'},
     "ui/CMakeLists.txt:1: an option of one compiler"),
    ("no source to check", "compilers", {"a.txt": ""}, "nothing was checked"),
    ("no file to check", "layers", {"other.txt": ""}, "nothing was checked"),
    ("correct text file", "texts", {"ui/A.cpp": "// Stückliste\n", "a.png": b"\0\xff"}, None),
    ("text that is not UTF-8", "texts", {"a.txt": b"St\xfcck\n"}, "not UTF-8 (byte 2)"),
    ("byte-order mark", "texts", {"a.txt": b"\xef\xbb\xbfa\n"}, "byte-order mark"),
    ("CR LF", "texts", {"a.txt": b"a\r\n"}, "CR LF"),
    ("CR LF in a fuzz seed", "texts", {"tests/fuzz/seeds/a/b": b"a\r\n"}, None),
    ("CR LF beside the fuzz seeds", "texts", {"tests/fuzz/a.txt": b"a\r\n"}, "CR LF"),
    ("trailing blank", "texts", {"core/A.h": "int a; \n"}, "trailing blanks"),
    ("tab", "texts", {"core/A.h": "\tint a;\n"}, "tab"),
    ("unfinished code", "texts", {"core/A.h": "// TO" "DO: later\n"}, "unfinished"),
    ("disabled test", "texts", {"tests/A.cpp": "TEST(A, DISABLED" "_b)\n"}, "unfinished or disabled"),
    ("skip without a reason", "texts", {"tests/A.cpp": "GTEST_" "SKIP();\n"}, "unfinished or disabled"),
    ("direct call of MessageBox", "texts", {"ui/A.cpp": "::MessageBoxW(0, 0, 0, 0);\n"}, "ShowMessage"),
    ("correct manuals", "manuals", manuals(), None),
    ("message with a different wording", "manuals", manuals(english=ENGLISH + "\n```message\nFile lost\n```\n",
                                                   german=GERMAN + GERMAN[GERMAN.index("```"):]),
     "english.md: the program has no such message: 'File lost'"),
    ("message with numbered places", "manuals",
     {**manuals(german=GERMAN + "\n```message\n‹A› in ‹B› fehlt; %2 bleibt\n```\n",
                english=ENGLISH + "\n```message\n‹B› lacks ‹A›; %2 stays\n```\n"),
      "ui/B.cpp": 'Text kB{L"%1 in %2 fehlt; ", L"%2 lacks %1; "};\nText kC{L"%2 bleibt", L"%2 stays"};\n'}, None),
    ("numbered place with a file of the program", "manuals",
     {**manuals(german=GERMAN + "a.txt fehlt", english=ENGLISH + "a.txt is missing"),
      "ui/B.cpp": 'Text kB{L"%1 fehlt", L"%1 is missing"};\nconstexpr wchar_t kName[] = L"a.txt";\n'}, None),
    ("numbered place without brackets", "manuals",
     {**manuals(german=GERMAN + "‹A› fehlt", english=ENGLISH + "A is missing"),
      "ui/B.cpp": 'Text kB{L"%1 fehlt", L"%1 is missing"};\n'},
     "english.md: text of the program is missing: '%1 is missing'"),
    ("missing text", "manuals", manuals(english=ENGLISH.replace("Number", "")),
     "english.md: text of the program is missing: 'Number'"),
    ("missing text that is German in both editions", "manuals",
     {**manuals(german=GERMAN + "Syntax-Fehler in Zeile ‹1› in\n", english=ENGLISH + "Syntax-Error in line ‹1› in\n"),
      "ui/B.cpp": 'Text kB{L"Syntax-Fehler in Zeile %d in\\n", L"Syntax-Error in line %d in\\n"};\n'},
     "english.md: text that is German in both editions is missing: 'Syntax-Fehler"),
    ("messages of the installer package", "manuals",
     {**manuals(german=GERMAN + "\nZu alt.\n", english=ENGLISH + "\nToo old.\n"), "installer/talvenor.wxs": PACKAGE}, None),
    ("missing message of the installer package", "manuals",
     {**manuals(german=GERMAN + "\nZu alt.\n"), "installer/talvenor.wxs": PACKAGE},
     "english.md: text of the program is missing: 'Too old.'"),
    ("table of fill-ins with a different wording", "manuals", manuals(german=GERMAN.replace("| Ziffern", "| Zahlen")),
     "the row of %1 differs"),
    ("dead link", "manuals", manuals(german=GERMAN.replace("(#one)", "(#two)")), "german.md: no heading for the link #two"),
    ("chapter in one language only", "manuals", manuals(english=ENGLISH + "# Two {#two}\n"), "the languages differ"),
    ("correct changelog", "changelog", changelog("## [Unreleased]\n\n## [1.2.0] - 2026-01-02\n\n## [1.1.0] - 2025-01-02\n"),
     None),
    ("version missing in the changelog", "changelog", changelog("## [Unreleased]\n\n## [1.1.0] - 2025-01-02\n"),
     "no section for version 1.2.0"),
    ("changelog with a newer version", "changelog", changelog("## [1.3.0] - 2026-01-02\n## [1.2.0] - 2025-01-02\n"),
     "the newest version is 1.3.0, not 1.2.0"),
    ("version without a date", "changelog", changelog("## [1.2.0]\n"), "version 1.2.0 has no date"),
    ("version missing in CMakeLists.txt", "changelog", {"CMakeLists.txt": "", "CHANGELOG.md": ""},
     "no section for version unknown"),
    ("expectations that are looked at", "expectations", expectations(), None),
    ("assumption that nothing looks at", "expectations", expectations(rows=ROWS + "| `c` | text | page | – | – | 3 |\n"),
     "c names stage 3, and the code looks in stage –"),
    ("assumption that is looked at in another stage", "expectations", expectations(rows=ROWS.replace("| 0 |", "| 4 |")),
     "a names stage 4, and the code looks in stage 0"),
    ("look without an assumption", "expectations", expectations(more='report.AddFinding("c", Yes(""));'),
     "c is not in docs/windows.md"),
    ("assumption without evidence", "expectations", expectations(rows=ROWS.replace("page", "")), "a has no evidence"),
    ("assumption that is listed twice", "expectations", expectations(rows=ROWS + ROWS.splitlines(True)[0]),
     "a is listed twice"),
    ("proof by a test that is not there", "expectations", expectations(test="TEST(Other, Case)\n"),
     "no test case matches Suite.Case of b"),
    ("missing manual", "manuals", {**PROGRAM, "manual/german.md": GERMAN}, "nothing was checked"),
]


def make(folder, files):
    for name, content in files.items():
        path = os.path.join(folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(content if isinstance(content, bytes) else content.encode("utf-8"))
    subprocess.run(["git", "init", "-q", folder], check=True, capture_output=True)
    subprocess.run(["git", "-C", folder, "add", "-A"], check=True, capture_output=True)


def outcome(check, files):
    with tempfile.TemporaryDirectory() as folder:
        make(folder, files)
        return subprocess.run([sys.executable, os.path.join(HERE, f"check-{check}.py"), folder],
                              capture_output=True, text=True)


def main():
    failed = 0
    for title, check, files, expected in CASES:
        run = outcome(check, files)
        lines = run.stdout.split("\n")[:-1]
        findings = [line for line in lines if expected and expected in line]
        if expected is None:
            right = run.returncode == 0 and len(lines) == 1
        else:
            right = run.returncode == 1 and len(findings) == 1 and len(lines) == 2
        if not right:
            failed += 1
            print(f"{title}: expected {expected or 'no finding'}, got status {run.returncode} and\n{run.stdout}{run.stderr}")
    print(f"{len(CASES)} cases, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
