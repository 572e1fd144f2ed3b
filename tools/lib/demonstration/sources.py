"""Reads the numbers of the controls and the texts of the program from the project's sources."""
import ast
import os
import re
import types

TOP = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "..")


def read(name):
    with open(os.path.join(TOP, name), encoding="utf-8") as file:
        return file.read()


# The ids by their names in resources/resource.h, and the ids that Windows defines for two buttons.
IDS = types.SimpleNamespace(
    IDCANCEL=2, IDNO=7,
    **{name: int(number) for name, number in re.findall(r"^#define (ID\w+) (\d+)$", read("resources/resource.h"), re.M)})


def texts(name):
    """The text with this name in tests/support/ExpectedTexts.h, by language."""
    text = r'((?:\s*L"(?:[^"\\]|\\.)*")+)'
    pair = re.search(rf"\b{name}{{{text},{text}}}", read("tests/support/ExpectedTexts.h")).groups()
    return {language: "".join(ast.literal_eval(each[1:]) for each in re.findall(r'L"(?:[^"\\]|\\.)*"', literals))
            for language, literals in zip(("german", "english"), pair)}


def german(name):
    return texts(name)["german"]
