#!/usr/bin/env python3
"""Compares the manuals with the program's sources: tests/structure/check-manuals.py [FOLDER].

- Each manual holds every text that the program and the installer package show in its language, dialog captions included.
- Messages that the program shows in German in both editions are in German in the English manual, too.
- A block marked as a message holds only text that the program can show, with ‹brackets› around the variable parts.
- The table of fill-ins has the wording of the legend in the template dialog.
- Both manuals have the same chapters, pictures and number of messages, and no dead links.

The exit status is 1 if anything is found; each finding is one line.
"""
import os
import re
import sys

MODULES = ("framework", "platform", "core", "files", "cad", "run", "ui")
LANGUAGES = ("german", "english")
# The title of the template dialog for a column without a template. The program never opens that dialog.
NEVER_SHOWN = {"Schablone bearbeiten", "View/Modify template"}
# Messages of the map file reader, which are German in both editions.
ALWAYS_GERMAN = {"FEHLER: Datei '%1' kann nicht zum Lesen geöffnet werden!", "Syntax-Fehler in Zeile %d in\n",
                 "\n\nDie Datei konnte nicht vollständig ausgewertet werden."}

LITERAL = r'L"(?:[^"\\]|\\.)*"'
LITERALS = rf"(?:{LITERAL}\s*)+"
PAIR = re.compile(rf"{{\s*({LITERALS}),\s*({LITERALS})}}")
ESCAPES = {"n": "\n", "t": "    ", '"': '"', "\\": "\\"}
VARIABLES = re.compile(r"(%[sd1-9])")  # a format specifier, a placeholder or a fill-in
FILL_IN = re.compile(r"%[1-9]")
BRACKETS = re.compile(r"‹[^›]+›")
FILE_NAME = re.compile(r"[.\\\w]+\.(?:dll|txt)")  # names of the program's own files
PACKAGE_TEXTS = re.compile(r"<\?if[^?]*german \?>(.*?)<\?else\?>(.*?)<\?endif\?>", re.DOTALL)  # German, English
PACKAGE_MESSAGE = re.compile(r'<\?define \w+Message = "([^"]+)" \?>')
MESSAGE = re.compile(r"^```message\n(.*?)\n```$", re.MULTILINE | re.DOTALL)
HEADING = re.compile(r"^(#+) .*\{#([\w-]+)\}$", re.MULTILINE)


def text_of(literals):
    """The text of adjacent string literals, without the ampersands of mnemonics. A tab becomes four blanks, as in the
    manuals."""
    joined = "".join(each[2:-1] for each in re.findall(LITERAL, literals))
    return re.sub(r"\\(.)", lambda match: ESCAPES.get(match.group(1), match.group(0)), joined).replace("&", "")


def sources(top):
    for module in MODULES:
        for folder, _, names in os.walk(os.path.join(top, module)):
            for name in sorted(names):
                if name.endswith((".cpp", ".h")):
                    with open(os.path.join(folder, name), encoding="utf-8") as file:
                        yield file.read()


def program_texts(top):
    """The texts of each language, and the string literals that belong to neither."""
    texts, common = {language: [] for language in LANGUAGES}, []
    for source in sources(top):
        for pair in PAIR.finditer(source):
            for language, literals in zip(LANGUAGES, pair.groups()):
                texts[language].append(text_of(literals))
        common += [text_of(literals) for literals in re.findall(LITERALS, PAIR.sub("", source))]
    for pair in PACKAGE_TEXTS.findall(read(top, "installer/talvenor.wxs")):
        for language, definitions in zip(LANGUAGES, pair):
            texts[language] += PACKAGE_MESSAGE.findall(definitions)
    return texts, common


def dialog_lines(resource):
    """The lines of the dialogs and of the string table."""
    inside = False
    for line in resource.splitlines():
        inside = (inside or "DIALOGEX" in line or line == "STRINGTABLE") and line != "END"
        if inside:
            yield line


def captions(resource):
    for line in dialog_lines(resource):
        caption = re.match(r'\s*(?:CAPTION|IDS_\w+,|[LCR]TEXT|(?:DEF)?PUSHBUTTON|AUTO\w+|GROUPBOX) "([^"]*)"', line)
        if caption:
            yield caption.group(1).replace("&", "")


def legend(resource):
    """The rows of the template dialog's legend: (fill-in, meaning, example)."""
    cells = re.findall(r'LTEXT "([^"]*)", IDC_TEMPLATE_LEGEND', resource)
    return list(zip(cells[0::3], cells[1::3], cells[2::3]))


def holds(manual, text, names=()):
    """Whether the manual holds the text, with brackets or one of the names in the place of each variable. A fill-in of
    the name templates may appear unchanged. The manual may wrap a text of one line; a text of several lines keeps its
    own line breaks."""
    pattern = ""
    for part in VARIABLES.split(text.strip(" ")):
        if FILL_IN.fullmatch(part):
            pattern += f"(?:{'|'.join([BRACKETS.pattern, part, *map(re.escape, names)])})"
        elif VARIABLES.fullmatch(part):
            pattern += BRACKETS.pattern
        else:
            pattern += re.escape(part) if "\n" in text else re.escape(part).replace("\\ ", r"\s+")
    return re.search(pattern, manual) is not None


def is_made_of(fragment, pieces):
    """Whether the fragment is a sequence of pieces."""
    reached = {0}
    for start in range(len(fragment)):
        if start in reached:
            reached |= {start + len(piece) for piece in pieces if piece and fragment.startswith(piece, start)}
    return len(fragment) in reached


def text_findings(language, manual, texts, common, resource):
    names = sorted(filter(FILE_NAME.fullmatch, {*texts, *common}))
    for text in sorted({*texts, *captions(resource)} - NEVER_SHOWN):
        if text.strip() and not holds(manual, text, names):
            yield f"manual/{language}.md: text of the program is missing: {text!r}"


def german_findings(manual, german_texts):
    for text in sorted(ALWAYS_GERMAN.intersection(german_texts)):
        if not holds(manual, text):
            yield f"manual/english.md: text that is German in both editions is missing: {text!r}"


def message_findings(language, manual, texts):
    pieces = {piece for text in texts for piece in VARIABLES.split(text) if piece not in ("%s", "%d")}
    for block in MESSAGE.findall(manual):
        for fragment in BRACKETS.split(block):
            if not is_made_of(fragment, pieces):
                yield f"manual/{language}.md: the program has no such message: {fragment!r}"


def fill_in_findings(language, manual, resource):
    for fill_in, meaning, example in legend(resource):
        row = rf"^\| `{fill_in}` \| {re.escape(meaning)}[^|]* \| `{re.escape(example)}` \|$"
        if not re.search(row, manual, re.MULTILINE):
            yield f"manual/{language}.md: the row of {fill_in} differs from the template dialog's legend"


def link_findings(language, manual):
    places = {place for _, place in HEADING.findall(manual)}
    for link in re.findall(r"\]\(#([\w-]+)\)", manual):
        if link not in places:
            yield f"manual/{language}.md: no heading for the link #{link}"


def shape(manual):
    """Headings, messages, pictures and tables in their order; the same in both manuals."""
    return re.findall(r"^#+ .*(\{#[\w-]+\})$|^(```message)$|!\[[^]]*\](\([\w.-]+\)(?:\{[^}]*\})?)|^(\|--)", manual,
                      re.MULTILINE)


def shape_findings(manuals):
    german, english = (shape(manuals[language]) for language in LANGUAGES)
    for number, (left, right) in enumerate(zip(german + [("the end",)], english + [("the end",)])):
        if left != right:
            yield (f"manual/: the languages differ at element {number}: {''.join(left)} in German, "
                   f"{''.join(right)} in English")
            return


def read(top, name):
    path = os.path.join(top, name)
    if not os.path.exists(path):
        return ""
    with open(path, encoding="utf-8") as file:
        return file.read()


def findings_of(texts, common, manuals, resources):
    if not texts["german"] or not all(manuals.values()):
        yield "a manual or the program is missing, nothing was checked"
        return
    yield from shape_findings(manuals)
    yield from german_findings(manuals["english"], texts["german"])
    for language, manual in manuals.items():
        yield from text_findings(language, manual, texts[language], common, resources[language])
        yield from message_findings(language, manual, texts[language] + common)
        yield from fill_in_findings(language, manual, resources[language])
        yield from link_findings(language, manual)


def main():
    top = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
    texts, common = program_texts(top)
    manuals = {language: read(top, f"manual/{language}.md").replace("\\_", "_") for language in LANGUAGES}
    resources = {language: read(top, f"resources/{language}.rc") for language in LANGUAGES}
    findings = list(findings_of(texts, common, manuals, resources))
    for finding in findings:
        print(finding)
    print(f"{sum(map(len, texts.values()))} texts, {sum(len(MESSAGE.findall(manual)) for manual in manuals.values())} "
          f"messages, {len(findings)} findings")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
