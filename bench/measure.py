"""Measures the speed, prints the table, and writes bench/RESULTS.md and bench/growth.svg. Called by tools/bench, which
sets everything up.

Every ratio compares a run of the program with a run of a baseline in the same round. The program runs first in one round and
last in the next. The table shows the median of the rounds and, in brackets, the smallest and the largest ratio. Rounds that
warm up short measurements do not count. Comparisons with a bare baseline, except that of memory, have a
target. Baselines that include more of the program's work have no target.
"""
import argparse
import collections
import datetime
import os
import platform
import re
import statistics
import subprocess
import sys
import time

import growth

BENCH, BIN, TABLE = "build/bench", "build/windows/bin", "data/standard-parts.tsv"
LIBRARY, BARE_LIBRARY = "C:\\Zelmar\\Normteile", "C:\\Zelmar\\Bare"
ROUNDS = 6  # this number and the next two are even, so each order occurs equally often
SHORT_ROUNDS = 16  # for measurements of a fraction of a second
LONG_ROUNDS = 2  # for measurements of nearly a minute
GROWTH = [1000, 10000, 20000, 100000]
QUIET = 0.5  # load average
OWN_TIME = "the control's own time"
Line = collections.namedtuple("Line", "work program bare baseline ratio target verdict")


def windows_path(path):
    return "Z:" + os.path.abspath(path).replace("/", "\\")


def run(*command):
    """Runs a Windows program; returns the lines of its output, each as a list of numbers."""
    done = subprocess.run([os.path.abspath("tools/run-windows"), *command], cwd=BIN, capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit(f"{' '.join(command)}: status {done.returncode}\n{done.stderr[-2000:]}")
    return [[float(field) for field in line.split("\t")] for line in done.stdout.splitlines() if line.strip()]


def progress(message):
    print(f"   {datetime.datetime.now():%H:%M:%S} {message}", file=sys.stderr, flush=True)


def in_turn(number, *measurements):
    """Calls the functions in the given order if the number of the round is even, else in reverse order. Returns their results
    in the given order."""
    order = range(len(measurements))
    results = {index: measurements[index]() for index in (order if number % 2 == 0 else reversed(order))}
    return [results[index] for index in order]


def verdict(lowest, highest, target):
    """Met or missed only if the whole range is on one side of the target."""
    return "met" if highest <= target else "missed" if lowest > target else "open"


def median_of(values, unit="s"):
    return f"{statistics.median(values):.3f} {unit}"


def line(work, baseline, pairs, target=None, unit="s"):
    """A line of the table, from pairs of the program's and the baseline's amounts."""
    program, bare = zip(*pairs)
    ratios = [p / b for p, b in pairs]
    lowest, highest = min(ratios), max(ratios)
    return Line(work, median_of(program, unit), median_of(bare, unit), baseline,
                f"{statistics.median(ratios):.2f} ({lowest:.2f} to {highest:.2f})",
                f"at most {target}" if target else "none", verdict(lowest, highest, target) if target else "")


def table_times(command, rows, rounds):
    progress(f"{command}, {rows} rows")
    return run("./tablebench.exe", command, str(rows), str(rounds), windows_path(TABLE))


def growth_line(title, times, more_times):
    """How much longer 100,000 rows take than 20,000. If time is proportional to the number of rows, the
    factor is 5. The range begins at the shortest time for 100,000 rows divided by the longest for 20,000, and
    ends at the longest for 100,000 divided by the shortest for 20,000."""
    (program, bare), (more_program, more_bare) = (list(zip(*rounds))[:2] for rounds in (times, more_times))
    grown, bare_grown = (statistics.median(more) / statistics.median(few)
                         for more, few in ((more_program, program), (more_bare, bare)))
    lowest, highest = min(more_program) / max(program), max(more_program) / min(program)
    return Line(f"{title}: 100,000 compared with 20,000", f"{median_of(more_program)} / {median_of(program)}",
                f"{median_of(more_bare)} / {median_of(bare)}", f"it grows by {bare_grown:.2f}",
                f"{grown:.2f} ({lowest:.2f} to {highest:.2f})", "at most 6", verdict(lowest, highest, 6))


def table_lines(times):
    lines = []
    for work, title, target in (("fill", "fill the table with {} new names", 1.5), ("show", "show a map file of {} records", 1.2)):
        for rows in GROWTH:
            times[work, rows] = table_times(work, rows, SHORT_ROUNDS if rows <= 20000 else ROUNDS)
            if rows in (20000, 100000):
                lines.append(line(title.format(f"{rows:,}"), "inserting the same texts", times[work, rows], target))
    return lines + [growth_line("fill the table", times["fill", 20000], times["fill", 100000])]


def command_lines():
    lines = []
    messages = "the necessary messages"
    for command, title, baseline in (("select", "select all rows", OWN_TIME), ("mark", "mark selected rows", OWN_TIME),
                                     ("delete", "delete all rows, selected", OWN_TIME),
                                     ("delete-half", "delete every second row, selected", f"{OWN_TIME}, from the last row"),
                                     ("apply1", "apply the file-name template", messages),
                                     ("apply2", "apply the BOM-name template", messages)):
        applies = command.startswith("apply")
        times = {rows: table_times(command, rows, LONG_ROUNDS if applies and rows == 100000 else ROUNDS)
                 for rows in (20000, 100000)}
        for rows in times:
            target = None if baseline.startswith(OWN_TIME) else 1.5  # the same messages on both sides prove nothing
            lines.append(line(f"{title}, {rows:,}", baseline, [t[:2] for t in times[rows]], target))
            if applies:
                lines.append(line(f"{title}, {rows:,}", "the same, and reading the template for each row",
                                  [(t[0], t[2]) for t in times[rows]]))
        lines.append(growth_line(title, times[20000], times[100000]))
    return lines


def import_lines():
    """The table as text, and the line below the list. The target limits the program's time minus the
    baseline's time."""
    lines = []
    texts = "setting these texts and marks"
    for command, title, baseline in (("import", "import 20,000 changed BOM names", texts),
                                     ("paste", "paste 20,000 changed BOM names", texts),
                                     ("undo", "undo this", texts), ("redo", "redo this", texts),
                                     ("status", "update the line below 20,000 rows", "reading their texts")):
        times = table_times(command, 20000, SHORT_ROUNDS)
        program, bare = zip(*times)
        beyond = [p - b for p, b in times]
        lines.append(Line(title, median_of(program), median_of(bare), baseline,
                          f"{median_of(beyond)} beyond the baseline ({min(beyond):.3f} to {max(beyond):.3f})",
                          "at most 0.5 s", verdict(min(beyond), max(beyond), 0.5)))
    return lines


def copy_lines():
    progress("runs that only copy")
    times = run("./runbench.exe", "copies", LIBRARY, str(ROUNDS))
    return [line("copy-only run over the demo library", baseline, [(t[0], t[column]) for t in times], target)
            for column, baseline, target in ((1, "the system's copy call", 3.5),
                                             (2, "copies in blocks of 4096 bytes, read-only attribute", None),
                                             (3, "the same, and displaying what a run displays", None))]


def bare_run(*options):
    subprocess.run(["rm", "-rf", f"{BENCH}/prefix/drive_c/Zelmar/Bare/Mapped"], check=True)
    command = [os.path.abspath("tools/run-windows"), "./bareclient.exe", BARE_LIBRARY, windows_path(f"{BENCH}/rows.tsv"), *options]
    return float(subprocess.run(command, cwd=BIN, capture_output=True, text=True, check=True).stdout.split()[-2])


def warm_disk_cache(*folders):
    """Reads all files of the folders into the disk cache."""
    for folder in folders:
        subprocess.run(f"cat {BENCH}/prefix/drive_c/Zelmar/{folder}/*.* >/dev/null", shell=True, check=True)


def full_run_lines(count):
    warm_disk_cache("Normteile", "Bare")
    times = []
    for number in range(count):
        progress(f"full run {number + 1}")
        times.append(in_turn(number, lambda: run("./runbench.exe", "full", LIBRARY)[0][0], bare_run, lambda: bare_run("shown")))
    return [line("full run over the demo library", baseline, [(t[0], t[column]) for t in times], target)
            for column, baseline, target in ((1, "its copies and automation calls without a window", 1.25),
                                             (2, "the same, and displaying what a run displays", None))]


def set_parts_folder(folder):
    subprocess.run(["tools/run-windows", "reg", "add", "HKLM\\SOFTWARE\\Zelmar\\input", "/v", "parts", "/d", folder, "/f"],
                   check=True, capture_output=True)
    subprocess.run(["tools/run-windows", "reg", "add", "HKCU\\SOFTWARE\\Zelmar\\Tools\\Talvenor", "/v", "Template Text Column 1",
                    "/d", "%5%3_%4.%7%8.changed.%6", "/f"], check=True, capture_output=True)


def start(rows, *command):
    return run("./startbench.exe", str(rows), *command)[0]


def start_lines():
    set_parts_folder(LIBRARY)
    subprocess.run(["rm", "-rf", f"{BENCH}/prefix/drive_c/Zelmar/Normteile/Mapped"], check=True)
    rows = sum(1 for _ in open(f"{BENCH}/rows.tsv", encoding="utf-8"))
    bare = ("barestart.exe", str(rows), windows_path(f"{BENCH}/rows.tsv"))
    pairs = []
    for number in range(SHORT_ROUNDS + 1):
        progress(f"start {number}")
        pairs.append(in_turn(number, lambda: start(rows, "talvenor.exe")[0], lambda: start(rows, *bare)[0]))
    return [line(f"start with {rows:,} rows, until everything is painted", "a bare dialog with the same texts", pairs[1:], 1.3)]


def memory_lines():
    """Measures a start with a map file of 100,000 records."""
    progress("memory with 100,000 rows")
    folder = f"{BENCH}/prefix/drive_c/Zelmar/Many"
    os.makedirs(f"{folder}/Mapped", exist_ok=True)
    rows = [(f"N_{n}_M8x40.sldprt", f"N_{n}_M8x40.changed.sldprt", f"Norm {n} - M8x40") for n in range(100000)]
    with open(f"{folder}/Mapped/PartsMap.txt", "w", encoding="latin-1", newline="\r\n") as file:
        file.writelines(" ; ".join(row) + "\n" for row in rows)
    with open(f"{BENCH}/many.tsv", "w", encoding="utf-8") as file:
        file.writelines("\t".join(row) + "\n" for row in rows)
    set_parts_folder("C:\\Zelmar\\Many")
    bare = ("barestart.exe", "100000", windows_path(f"{BENCH}/many.tsv"))
    pairs = [in_turn(number, lambda: start(100000, "talvenor.exe")[1] / 1024, lambda: start(100000, *bare)[1] / 1024)
             for number in range(ROUNDS)]
    baseline = "a bare dialog that reads the same texts line by line into its list"
    return [line("peak memory with 100,000 rows from a map file", baseline, pairs, unit="MB")]


def stripped_size(name):
    subprocess.run(["x86_64-w64-mingw32-strip", "-o", f"{BENCH}/{name}", f"{BIN}/{name}"], check=True)
    return os.path.getsize(f"{BENCH}/{name}") / 1e6


def size_lines():
    sizes = [stripped_size(name) for name in ("talvenor.exe", "talvresgerx64.dll", "talvresusx64.dll")]
    return [Line("executable and two libraries, stripped", f"{' + '.join(f'{size:.3f}' for size in sizes)} MB",
                 f"{stripped_size('barestart.exe'):.3f} MB", "a bare dialog, without libraries", f"{sum(sizes):.3f} MB",
                 "under 1.5 MB", "met" if sum(sizes) < 1.5 else "missed")]


def instructions(rule, passes):
    done = subprocess.run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={BENCH}/callgrind.out",
                           f"{BENCH}/text/bin/textbench", f"--names={TABLE}", f"--passes={rule},{passes}"],
                          capture_output=True, text=True, check=True)
    return int(re.search(r"Collected : (\d+)", done.stderr).group(1))


def text_rows():
    """Rows of (rule, nanoseconds, instructions, allocations), all per name."""
    progress("text rules")
    names = sum(1 for text in open(TABLE, encoding="utf-8") if not text.startswith("#"))
    out = subprocess.run([f"{BENCH}/text/bin/textbench", f"--names={TABLE}", "--benchmark_repetitions=5", "--benchmark_format=csv"],
                         capture_output=True, text=True, check=True).stdout
    fields = [text.split(",") for text in out.splitlines()]
    head = next(row for row in fields if row[0] == "name")
    found = {row[0].strip('"'): dict(zip(head, row)) for row in fields if row[0].strip('"').endswith("_median")}
    rows = []
    for rule in ("copy", "split", "expand", "sanitise"):
        values = found[f"{rule}_median"]
        count = (instructions(rule, 3) - instructions(rule, 1)) / 2 / names
        rows.append((rule, float(values['"time"']) * 1e9, count, float(values['"allocations"'])))
    return rows


def run_growth(longest, times):
    for rows in (rows for rows in GROWTH if rows <= longest):
        progress(f"a run that records {rows} rows")
        times["run", rows] = [(run("./runbench.exe", "records", "C:\\Zelmar\\Records", str(rows))[0][0], None)]
    return []


def commit():
    command = ["tools/lib/commit-name", "bench/RESULTS.md", "bench/growth.svg"]
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout.strip()


def machine(quiet):
    release = platform.freedesktop_os_release()
    wine = subprocess.run(["wine", "--version"], capture_output=True, text=True).stdout.split()[0]
    busy = "" if quiet else f" (the machine never got quiet: not below {QUIET} within three minutes)"
    return f"{os.cpu_count()} cores, {release['PRETTY_NAME']}, {wine}; load before measuring {os.getloadavg()[0]:.1f}{busy}"


def report(introduction, lines, texts):
    """The text of RESULTS.md with the results so far."""
    out = ["# What the program costs", "", *introduction, "",
           "| what is measured | program | baseline | what the baseline is | ratio: median (range), or as named | target | |",
           "|---|---|---|---|---|---|---|"]
    out += ["| " + " | ".join(row) + " |" for row in lines]
    out += ["", "The name rules on the build machine, per name. The baseline copies the characters of the name. Instructions are",
            "counted by callgrind and do not vary; allocations are those of this machine's library.", "",
            "| rule | nanoseconds | instructions | compared with copying | allocations |", "|---|---|---|---|---|"]
    copied = texts[0][2]
    out += [f"| {rule} | {ns:.1f} | {count:.0f} | {count / copied:.1f} | {allocations:.2f} |"
            for rule, ns, count, allocations in texts]
    out += ["", "![Times against the number of rows](growth.svg)", ""]
    return "\n".join(out)


def wait_for_quiet():
    """Waits until the load average no longer shows the build, at most three minutes. Returns whether that happened."""
    for _ in range(36):
        if os.getloadavg()[0] < QUIET:
            return True
        time.sleep(5)
    return False


def introduction(full_rounds, quiet):
    return [f"Made by `tools/bench` at commit {commit()}, {datetime.date.today()}.", f"Machine: {machine(quiet)}.",
            f"There are {ROUNDS} rounds ({SHORT_ROUNDS} of starting, of filling and showing a map file of up to 20,000 rows,",
            f"and of the table as text; {full_rounds} of the full run; {LONG_ROUNDS} of applying a template to 100,000 rows;",
            "1 of runs in the plot). The program runs first in one round, the baseline in the next.", "",
            "The columns \"program\" and \"baseline\" hold medians. The seconds of the program are what a user waits for.",
            "The range of a ratio is from its smallest to its largest round. A target is \"met\" only if the whole range is at or",
            "below it, and \"missed\" only if the whole range is above it. Otherwise it is \"open\".", "",
            "The comment at the top of each source says what it times. [README.md](README.md) says where the time goes."]


def write_results(text, times):
    with open("bench/RESULTS.md", "w", encoding="utf-8") as file:
        file.write(text)
    subprocess.run(["tools/lib/seal", "bench/RESULTS.md"], check=True)
    with open("bench/growth.svg", "w", encoding="utf-8") as file:
        file.write(growth.plot({key: statistics.median(t[0] for t in rounds) for key, rounds in times.items()}))


def even_number(text):
    """An argument that lets the program be first as often as its baseline."""
    if int(text) <= 0 or int(text) % 2 != 0:
        raise argparse.ArgumentTypeError(f"{text} is not an even number of rounds")
    return int(text)


def read_arguments(arguments):
    parser = argparse.ArgumentParser()
    parser.add_argument("--rows-of-a-run", type=int, default=100000)
    parser.add_argument("--full-runs", type=even_number, default=ROUNDS)
    return parser.parse_args(arguments)


def main():
    arguments = read_arguments(sys.argv[1:])
    opening = introduction(arguments.full_runs, wait_for_quiet())
    lines, times, texts = [], {}, text_rows()
    stages = (lambda: table_lines(times), copy_lines, start_lines, memory_lines, size_lines,
              lambda: full_run_lines(arguments.full_runs), lambda: run_growth(arguments.rows_of_a_run, times), command_lines,
              import_lines)
    for number, stage in enumerate(stages, 1):
        lines += stage()
        unfinished = [] if number == len(stages) else ["", "**Incomplete: measuring is still going on.**"]
        text = report(opening + unfinished, lines, texts)
        write_results(text, times)
    print(text)


if __name__ == "__main__":
    main()
