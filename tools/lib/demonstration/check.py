"""Works out what a run of the program must produce, and compares this with what the run has produced.

Implements the name rules a second time, independently of the program, so that a mistake of the program is not repeated here.
The parameter library is the path of the standard-parts folder on this machine; the parameter table holds the
configurations of each part.
"""
import collections
import filecmp
import itertools
import os
import stat
import subprocess

import sources

# tools/demo stores this file-name template. The two extra fields (%7, %8) keep the new names unique; where they are
# empty, the name rules reduce ".." to one dot. The BOM-name template is the program's default.
FILE_TEMPLATE, BOM_TEMPLATE = "%5%3_%4.%7%8.changed.%6", "Norm %1 - %2"
FINISHED = sources.german("kFinished")
WINDOWS_FOLDER = "C:\\Zelmar\\Normteile"  # where tools/demo puts the library
Row = collections.namedtuple("Row", "original renamed bom_name")


def leading_digits(text):
    end = 0
    while end < len(text) and text[end] in "0123456789":
        end += 1
    return text[:end]


def core_of(name, prefix_length):
    return name[prefix_length:name.rindex(".")] if "." in name else ""


def split_name(name):
    """The values of the fill-ins %1 and %3 to %8 for a standard-part file name."""
    known = ["N_ISO_", "N_ENISO_", "N_EN_", "N_", "N"]
    prefix = next((p for p in known if name.upper().startswith(p)), "")
    parts = dict.fromkeys("1345678", "")
    parts["5"] = prefix
    if "." in name:
        parts["6"] = name[name.rindex(".") + 1:]
    if prefix:
        core = core_of(name, len(prefix))
        parts["1"] = leading_digits(core)
        parts["3"] = core.split("_")[0]
    plain = name
    if name.count("__") == 3:
        first, last = name.index("__"), name.rindex("__")
        plain = name[:first] + name[last + 2:]
        between = name[first + 2:last]
        if "__" in between:
            parts["7"], parts["8"] = between.split("__", 1)
    rest = plain[len(prefix):]
    if "_" in rest:
        size = rest.split("_", 1)[1]
        parts["4"] = size[:size.rindex(".")] if "." in size else ""
    return parts


def fill(text, parts, order):
    for number in order:
        text = text.replace("%" + number, parts[number])
    return text


def usable_file_name(name, extension):
    name = name.strip()
    if not name or not extension:
        return ""
    if name[-6:].lower() != extension.lower():
        name += "." + extension
    for character in '|/\\*:"?<>;=':
        name = name.replace(character, "_")
    while ".." in name:
        name = name.replace("..", ".")
    return name


def expected_rows(library):
    """The rows of the table after a scan of the library, sorted; and the files left out because their new name is taken."""
    listed = sorted((n for n in os.listdir(library) if n.lower().endswith(".sldprt")), key=str.upper)
    rows, taken, left_out = [], set(), []
    for name in listed:
        parts = split_name(name)
        renamed = usable_file_name(fill(FILE_TEMPLATE, parts, "1345678"), parts["6"])
        if not renamed:
            continue
        if renamed in taken:
            left_out.append(name)
            continue
        taken.add(renamed)
        rows.append(Row(name, renamed, fill(BOM_TEMPLATE, parts, "1345678")))
    return sorted(rows), left_out


def written_bom_name(row, configuration):
    """The BOM name that a run writes into a configuration: the row's BOM name, expanded a second time."""
    parts = split_name(row.original)
    core = core_of(row.original, len("N_"))
    values = dict(parts, **{"1": leading_digits(core), "2": configuration})
    return fill(row.bom_name, values, "123478").strip()


def read_table(path):
    with open(path, encoding="utf-8") as table:
        lines = [line.rstrip("\n").split("\t") for line in table if not line.startswith("#") and line.strip()]
    return {name: names.split("|") for name, names in lines}


def expected_boxes(library):
    """The texts of the message boxes of one run, in order."""
    return [FINISHED] if expected_rows(library)[0] else []


class Report:
    def __init__(self):
        self.failures = 0

    def compare(self, title, correct, total, details=()):
        print(f"   {title}: {correct} of {total}" + ("" if correct == total else "   <-- FAILED"))
        for detail in list(details)[:10]:
            print(f"      {detail}")
        self.failures += correct != total


def mapped_names(library):
    folder = os.path.join(library, "Mapped")
    return set(os.listdir(folder)) if os.path.isdir(folder) else set()


def map_lines(library):
    if "PartsMap.txt" not in mapped_names(library):
        return []
    with open(os.path.join(library, "Mapped", "PartsMap.txt"), "rb") as file:
        return file.read().decode("latin-1").split("\n")


def records(lines):
    return [line for line in lines if line.strip() and not line.startswith(";")]


def compare_map(report, library, rows):
    """Compares every line of the map file. In the third line, any name may follow "(c)"."""
    found = map_lines(library)
    header = ["; Datei: " + WINDOWS_FOLDER + "\\Mapped\\PartsMap.txt",
              "; Automatisch generierte Datei, manuelle Änderungen können verloren gehen.", "; (c) ", ""]
    expected = [line + "\r" for line in header + [" ; ".join(row) for row in rows]] + [""]
    if len(found) > 2 and found[2].startswith("; (c) ") and found[2].endswith("\r"):
        expected[2] = found[2]
    wrong = [f"line {n}: expected {e!r}, found {f!r}"
             for n, (f, e) in enumerate(itertools.zip_longest(found, expected), 1) if f != e]
    lines = max(len(found), len(expected)) - 1  # the empty text after the last line end is no line
    report.compare("lines of the map file: 4 header lines and one record per part", lines - len(wrong), lines, wrong)
    print(f"   records in the map file: {len(records(found))}")


def compare_mapped_names(report, library, rows):
    found = mapped_names(library) - {"PartsMap.txt"}
    expected = {row.renamed for row in rows}
    report.compare("files in the folder Mapped", len(found & expected), len(found | expected),
                   sorted(found ^ expected))


def compare_read_only(report, library, rows):
    paths = [os.path.join(library, "Mapped", row.renamed) for row in rows]
    read_only = [path for path in paths if os.path.exists(path) and not os.stat(path).st_mode & stat.S_IWUSR]
    report.compare("read-only copies", len(read_only), len(rows))


def compare_bom_names(report, library, table, rows):
    """Checks that every configuration of every copy has the expected BOM name, and uses it unless it is empty."""
    expected = {(row.renamed, configuration): ("1" if written_bom_name(row, configuration) else "0",
                                               written_bom_name(row, configuration))
                for row in rows for configuration in table.get(row.original, [])}
    found = {(file, configuration): (use, name)
             for file, configuration, use, name in read_parts(os.path.join(library, "Mapped"))}
    keys = expected.keys() | found.keys()
    wrong = [f"{' '.join(key)}: expected {expected.get(key)}, found {found.get(key)}"
             for key in sorted(keys) if expected.get(key) != found.get(key)]
    report.compare("BOM names of configurations, read back by tools/read-parts", len(keys) - len(wrong), len(keys), wrong)


def compare_originals(report, library, table):
    """Checks that no configuration of the originals has or uses a BOM name."""
    lines = read_parts(library)
    touched = [" ".join(line) for line in lines if line[2] != "0" or line[3]]
    known = sum(len(table.get(name, [])) for name in os.listdir(library))
    report.compare("unchanged configurations of the originals", len(lines) - len(touched), known, touched)


def read_parts(folder):
    run = subprocess.run(["tools/read-parts", folder], capture_output=True, encoding="utf-8")
    print(run.stderr, end="")  # the files that could not be read; their configurations are missing
    return [line.split("\t") for line in run.stdout.split("\n") if line]


def check_copies(library, table):
    report, (rows, left_out) = Report(), expected_rows(library)
    rows = [row._replace(bom_name="") for row in rows]
    compare_mapped_names(report, library, rows)
    pairs = [(os.path.join(library, row.original), os.path.join(library, "Mapped", row.renamed)) for row in rows]
    equal = [pair for pair in pairs if os.path.exists(pair[1]) and filecmp.cmp(*pair, shallow=False)]
    report.compare("copies identical to their originals", len(equal), len(pairs))
    compare_read_only(report, library, rows)
    compare_map(report, library, rows)
    report.compare("parts with a unique new name", len(rows), len(rows) + len(left_out), left_out)
    return report


def check_full(library, table):
    report, (rows, _) = Report(), expected_rows(library)
    compare_mapped_names(report, library, rows)
    compare_read_only(report, library, rows)
    compare_map(report, library, rows)
    compare_bom_names(report, library, table, rows)
    compare_originals(report, library, table)
    return report


def check_map_file(library, table):
    report = Report()
    lines = [line.strip() for line in map_lines(library)]
    if not lines:
        print("   There is no map file: the program has converted nothing.")
        return report
    rows = [Row(*(field.strip() for field in line.split(";", 2))) for line in lines if line and line[0] != ";"]
    names = mapped_names(library)
    present = [row for row in rows if row.renamed in names]
    report.compare("copies that the map file lists and that exist", len(present), len(rows))
    if any(row.bom_name for row in rows):
        compare_bom_names(report, library, table, rows)
    else:
        print("   The run only copied files: the map file holds no BOM names.")
    return report

