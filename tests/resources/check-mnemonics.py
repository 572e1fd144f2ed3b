#!/usr/bin/env python3
"""Checks the dialog templates: no two controls of a dialog share a mnemonic, both languages have the same controls in
the same order, and every control that needs a caption has one."""
import pathlib
import re
import sys

RESOURCES = pathlib.Path(__file__).resolve().parents[2] / "resources"
DIALOG = re.compile(r"^(\w+) DIALOGEX")
CONTROL = re.compile(r'^\s+([A-Z]+) ("(?:[^"]|"")*"|\w+), (\w+)(.*)$')
CAPTIONED = {"LTEXT", "PUSHBUTTON", "DEFPUSHBUTTON", "AUTOCHECKBOX", "GROUPBOX"}
FILLED_BY_CODE = {"IDC_STATUS_TEXT", "IDC_PROGRESS_FIRST", "IDC_PROGRESS_SECOND", "IDC_PROGRESS_THIRD"}


def dialogs(path):
    """{dialog: [(kind, control, caption), ...]}"""
    found, current = {}, None
    for line in path.read_text(encoding="utf-8").splitlines():
        start = DIALOG.match(line)
        if start:
            current = found.setdefault(start.group(1), [])
        control = CONTROL.match(line)
        if control and current is not None:
            kind, text, number, rest = control.groups()
            if kind in {"EDITTEXT", "COMBOBOX"}:
                current.append((kind, text, None))
            else:
                current.append((kind, number, text.strip('"')))
        if line == "END":
            current = None
    return found


def mnemonic_of(caption):
    letter = re.search(r"&([^&])", (caption or "").replace("&&", ""))
    return letter.group(1).lower() if letter else None


def findings():
    languages = {name: dialogs(RESOURCES / f"{name}.rc") for name in ("german", "english")}
    for language, templates in languages.items():
        if not templates:
            yield f"{language}.rc: no dialog found"
        for dialog, controls in templates.items():
            owners = {}
            for kind, number, caption in controls:
                letter = mnemonic_of(caption)
                if letter:
                    owners.setdefault(letter, []).append(caption)
                if kind in CAPTIONED and not caption and number not in FILLED_BY_CODE:
                    yield f"{language}.rc: {dialog}: {number} has no caption"
            for letter, captions in owners.items():
                if len(captions) > 1:
                    yield f"{language}.rc: {dialog}: \"{letter}\" is the mnemonic of {' and '.join(captions)}"
    german, english = ({dialog: [(kind, number) for kind, number, _ in controls]
                        for dialog, controls in templates.items()} for templates in languages.values())
    for dialog in sorted(german.keys() | english.keys()):
        if german.get(dialog) != english.get(dialog):
            yield f"{dialog}: the languages differ in their controls or their order"


def main():
    found = list(findings())
    for finding in found:
        print(finding)
    print(f"{len(found)} findings")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
