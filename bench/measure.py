"""Measures, prints the table, writes bench/RESULTS.md and bench/growth.svg; called by tools/bench, which has prepared all.

Every ratio is that of a run of the program and one of a baseline in the same round, the program's first; the table shows the
median of the rounds and, in brackets, the smallest and the largest. What is short is warmed up by rounds that do not count.
A baseline that has a rule's cost in it is beside the aim, which is that of the bare one: its ratio is stated only.
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
PAIRS = 5
SHORT_PAIRS = 15  # of what takes a fraction of a second
GROWTH = [1000, 10000, 20000, 100000]
Line = collections.namedtuple("Line", "work baseline seconds ratio aim verdict")


def windows_path(path):
    return "Z:" + os.path.abspath(path).replace("/", "\\")


def run(*command):
    """What a Windows program prints: a list of lines, each a list of numbers."""
    done = subprocess.run([os.path.abspath("tools/run-windows"), *command], cwd=BIN, capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit(f"{' '.join(command)}: status {done.returncode}\n{done.stderr[-2000:]}")
    return [[float(field) for field in line.split("\t")] for line in done.stdout.splitlines() if line.strip()]


def progress(words):
    print(f"   {datetime.datetime.now():%H:%M:%S} {words}", file=sys.stderr, flush=True)


def line(work, baseline, pairs, aim=None):
    """A row of the table from pairs of seconds."""
    ratios = [program / bare for program, bare in pairs]
    middle = statistics.median(ratios)
    seconds = f"{statistics.median(p for p, _ in pairs):.3f} / {statistics.median(b for _, b in pairs):.3f}"
    return Line(work, baseline, seconds, f"{middle:.2f} ({min(ratios):.2f} to {max(ratios):.2f})",
                f"at most {aim}" if aim else "stated", "" if not aim else "met" if middle <= aim else "missed")


def table_work(work, rows, pairs):
    progress(f"{work}, {rows} rows")
    return run("./tablebench.exe", work, str(rows), str(pairs), windows_path(TABLE))


def growth_line(words, times, more_times):
    """How many times as long as 20,000 rows 100,000 take: five times where nothing grows faster than the rows."""
    grown = statistics.median(t[0] for t in more_times) / statistics.median(t[0] for t in times)
    bare = statistics.median(t[1] for t in more_times) / statistics.median(t[1] for t in times)
    return Line(f"{words}: 100,000 against 20,000", f"the baseline's: {bare:.2f}", "", f"{grown:.2f}", "at most 6",
                "met" if grown <= 6 else "missed")


def table_lines(times):
    lines = []
    for work, words, aim in (("fill", "fill the table with {} new names", 1.5), ("show", "show a map file of {} records", 1.2)):
        for rows in GROWTH:
            times[work, rows] = table_work(work, rows, SHORT_PAIRS if rows <= 20000 else PAIRS)
            if rows in (20000, 100000):
                lines.append(line(words.format(f"{rows:,}"), "inserting the same texts", times[work, rows], aim))
    return lines + [growth_line("fill the table", times["fill", 20000], times["fill", 100000])]


def command_lines():
    lines = []
    for work, words in (("select", "select all rows"), ("mark", "mark selected rows"), ("delete", "delete all rows, selected"),
                        ("thin", "delete every second row, selected"),
                        ("apply1", "apply the file-name template"), ("apply2", "apply the BOM-name template")):
        times = {rows: table_work(work, rows, 1 if work.startswith("apply") and rows == 100000 else PAIRS) for rows in (20000, 100000)}
        for rows in times:
            lines.append(line(f"{words}, {rows:,}", "the messages that it needs", [t[:2] for t in times[rows]], 1.5))
            if work.startswith("apply"):
                lines.append(line(f"{words}, {rows:,}", "the same and reading the setting for each row", [(t[0], t[2]) for t in times[rows]]))
        lines.append(growth_line(words, times[20000], times[100000]))
    return lines


def copy_lines():
    progress("runs that only copy")
    times = run("./runbench.exe", "copies", LIBRARY, str(PAIRS))
    return [line("copy-only run over the demo library", words, [(t[0], t[at]) for t in times], aim)
            for at, words, aim in ((1, "the system's copy call", 1.5), (2, "copies in blocks of 4096 bytes, read-only attribute", None),
                                   (3, "the same, and showing what has to be shown", None))]


def bare_run(*options):
    subprocess.run(["rm", "-rf", f"{BENCH}/prefix/drive_c/Zelmar/Bare/Mapped"], check=True)
    command = [os.path.abspath("tools/run-windows"), "./bareclient.exe", BARE_LIBRARY, windows_path(f"{BENCH}/rows.tsv"), *options]
    return float(subprocess.run(command, cwd=BIN, capture_output=True, text=True, check=True).stdout.split()[-2])


def read_once(*folders):
    """What was read lately is in memory, for the program's library as for the baseline's."""
    for folder in folders:
        subprocess.run(f"cat {BENCH}/prefix/drive_c/Zelmar/{folder}/*.* >/dev/null", shell=True, check=True)


def full_run_lines(count):
    read_once("Normteile", "Bare")
    times = []
    for number in range(count):
        progress(f"full run {number + 1}")
        program = run("./runbench.exe", "full", LIBRARY)[0][0]
        if number % 2 == 0:
            times.append((program, bare_run(), bare_run("shown")))
        else:
            shown = bare_run("shown")
            times.append((program, bare_run(), shown))
    return [line("full run over the demo library", words, [(t[0], t[at]) for t in times], aim)
            for at, words, aim in ((1, "its copies and automation calls without a window", 1.1),
                                   (2, "the same, and showing what has to be shown", None))]


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
    bare = ("barestart.exe", windows_path(f"{BENCH}/rows.tsv"))
    pairs = []
    for pair in range(SHORT_PAIRS + 1):
        progress(f"start {pair}")
        pairs.append((start(rows, "talvenor.exe")[0], start(rows, *bare)[0]))
    return [line(f"start with {rows:,} rows, up to the finished paint", "a bare dialog with the same texts", pairs[1:], 1.3)]


def memory_lines():
    """With a map file of 100,000 records at the start."""
    progress("memory with 100,000 rows")
    folder = f"{BENCH}/prefix/drive_c/Zelmar/Many"
    os.makedirs(f"{folder}/Mapped", exist_ok=True)
    rows = [(f"N_{n}_M8x40.sldprt", f"N_{n}_M8x40.changed.sldprt", f"Norm {n} - M8x40") for n in range(100000)]
    with open(f"{folder}/Mapped/PartsMap.txt", "w", encoding="latin-1", newline="\r\n") as file:
        file.writelines(" ; ".join(row) + "\n" for row in rows)
    with open(f"{BENCH}/many.tsv", "w", encoding="utf-8") as file:
        file.writelines("\t".join(row) + "\n" for row in rows)
    set_parts_folder("C:\\Zelmar\\Many")
    bare = ("barestart.exe", windows_path(f"{BENCH}/many.tsv"))
    pairs = [tuple(start(100000, *command)[1] / 1024 for command in (("talvenor.exe",), bare)) for _ in range(PAIRS)]
    words = "a bare dialog that has read the same texts from a file"
    return [line("peak memory with 100,000 rows from a map file, MB", words, pairs)]


def stripped_size(name):
    subprocess.run(["x86_64-w64-mingw32-strip", "-o", f"{BENCH}/{name}", f"{BIN}/{name}"], check=True)
    return os.path.getsize(f"{BENCH}/{name}") / 1e6


def size_lines():
    sizes = [stripped_size(name) for name in ("talvenor.exe", "talvresgerx64.dll", "talvresusx64.dll")]
    return [Line("executable and two libraries, stripped, MB", "a bare dialog, without the libraries",
                 f"{' + '.join(f'{size:.3f}' for size in sizes)} / {stripped_size('barestart.exe'):.3f}", f"{sum(sizes):.3f} MB",
                 "under 1.5", "met" if sum(sizes) < 1.5 else "missed")]


def instructions(rule, passes):
    done = subprocess.run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={BENCH}/callgrind.out", f"{BENCH}/text/bin/textbench",
                           f"--names={TABLE}", f"--passes={rule},{passes}"], capture_output=True, text=True, check=True)
    return int(re.search(r"Collected : (\d+)", done.stderr).group(1))


def text_rows():
    """Name, nanoseconds, instructions and allocations a name."""
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
    command = ["tools/commit-name", "bench/RESULTS.md", "bench/growth.svg"]
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout.strip()


def machine():
    release = platform.freedesktop_os_release()
    wine = subprocess.run(["wine", "--version"], capture_output=True, text=True).stdout.split()[0]
    load = os.getloadavg()[0]
    return f"{os.cpu_count()} cores, {release['PRETTY_NAME']}, {wine}; load before measuring {load:.1f}"


def report(head, lines, texts):
    """The results so far."""
    out = ["# What the program costs", "", *head, "",
           "| work | baseline in the same run | program / baseline, seconds (median) | ratio: median (spread) | aim | |", "|---|---|---|---|---|---|"]
    out += ["| " + " | ".join(row) + " |" for row in lines]
    out += ["", "The rules for names on the build machine, for one name. Copying its characters is the baseline; instructions are",
            "callgrind's and the stable figure; allocations are those of this machine's library.", "",
            "| rule | nanoseconds | instructions | against copying | allocations |", "|---|---|---|---|---|"]
    copied = texts[0][2]
    out += [f"| {rule} | {ns:.1f} | {count:.0f} | {count / copied:.1f} | {allocations:.2f} |" for rule, ns, count, allocations in texts]
    out += ["", "![How the times grow with the rows](growth.svg)", ""]
    return "\n".join(out)


def wait_for_quiet():
    """What has built the programs counts for a while in the load; waits three minutes at most."""
    for _ in range(36):
        if os.getloadavg()[0] < 0.5:
            return
        time.sleep(5)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--rows-of-a-run", type=int, default=100000)
    parser.add_argument("--full-runs", type=int, default=PAIRS)
    arguments = parser.parse_args()
    longest = arguments.rows_of_a_run
    wait_for_quiet()
    head = [f"Made by `tools/bench` at commit {commit()}, {datetime.date.today()}.", f"Machine: {machine()}.",
            f"Ratios are of {PAIRS} rounds ({SHORT_PAIRS} of starting, and of filling and reading up to 20,000 rows,",
            f"{arguments.full_runs} of the full run, 1 of applying a template to 100,000 rows; the growth of runs is of one each).",
            "What is timed stands at the top of each bench's source; where the time goes, and what the rules cost,",
            "in [README.md](README.md)."]
    lines, times, texts = [], {}, text_rows()
    stages = (lambda: table_lines(times), copy_lines, start_lines, memory_lines, size_lines,
              lambda: full_run_lines(arguments.full_runs), lambda: run_growth(longest, times), command_lines)
    for number, stage in enumerate(stages, 1):
        lines += stage()
        unfinished = [] if number == len(stages) else ["", "**Not all is measured yet.**"]
        text = report(head + unfinished, lines, texts)
        with open("bench/RESULTS.md", "w", encoding="utf-8") as file:
            file.write(text)
        with open("bench/growth.svg", "w", encoding="utf-8") as file:
            file.write(growth.plot({key: statistics.median(p for p, _ in pairs) for key, pairs in times.items()}))
    print(text)


if __name__ == "__main__":
    main()
