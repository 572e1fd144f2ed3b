"""Operates the real program as a person would and tells what came of it; called by tools/demo, which has prepared it.

  drive.py automatic|interactive LIBRARY TABLE SERVER_LOG WINDOW_LOG BARE_COMMAND...

BARE_COMMAND makes the same copies and automation calls without a window, and says how long it took.
"""
import contextlib
import os
import shutil
import subprocess
import sys
import time

import check
import windows
from program import Program, Stuck

IDC_LIST, IDC_PROGRESS_OVERALL, IDC_START, IDC_COPY_ONLY, IDCANCEL = 1002, 1015, 1016, 1024, 2
PICTURES = "build/demo"
FINISHED = "Umsetzungen erfolgreich beendet."


def finished_box(screen):
    box = screen.box()
    return box if box and box.text() == FINISHED else None


def one_run(screen, library, copy_only, pictures, start=Program):
    """Starts the program by start(screen), runs the conversion, closes the program. Returns the seconds of the run, from
    the click to the last message box, without those that a box in between waited for its answer."""
    shutil.rmtree(os.path.join(library, "Mapped"), ignore_errors=True)
    rows = len(check.expected_rows(library)[0])
    program = start(screen)
    try:
        main = program.wait_answering("the main window", 120, lambda: screen.with_control(IDC_START))
        time.sleep(1)  # for the window manager to place it
        screen.look()
        main = screen.with_control(IDC_START)
        if pictures:
            windows.Picture(f"{PICTURES}/1-before.png").wait()
        if copy_only:
            windows.click(main, IDC_COPY_ONLY)
        answering = program.answering
        begin = windows.click(main, IDC_START)
        program.wait_answering("the progress dialog", 30,
                               lambda: screen.with_control(IDC_PROGRESS_OVERALL) or finished_box(screen))
        if pictures:
            program.wait_answering("half of the copies", 60 + rows,
                                   lambda: len(check.mapped_names(library)) > rows // 2 or finished_box(screen))
            during = windows.Picture(f"{PICTURES}/2-during.png")  # beside the run, not to hold it up
        box = program.wait_answering("the end of the run", 60 + rows, lambda: finished_box(screen))
        seconds = box.seconds - begin - (program.answering - answering)
        time.sleep(0.5)
        if pictures:
            during.wait()
            windows.Picture(f"{PICTURES}/3-after.png").wait()
        program.answer(box)
        time.sleep(0.5)
        screen.look()
        windows.click(screen.with_control(IDC_START), IDCANCEL)
        program.wait_for_end(20)
        return seconds
    except Stuck:
        with contextlib.suppress(Stuck):
            windows.Picture(f"{PICTURES}/stuck.png").wait()
        raise
    finally:
        program.stop()


def server_calls(server_log):
    if not os.path.exists(server_log):
        return 0
    with open(server_log, encoding="utf-8") as log:
        return sum(line.split("\t")[1].startswith(("application", "document", "configuration")) for line in log
                   if line.count("\t") > 1)


def report_boxes(report, found, expected):
    for text in found:
        print("   message box: " + text.replace("\n", "\n                "))
    report.compare("message boxes as expected", sum(a == b for a, b in zip(found, expected)),
                   max(len(found), len(expected)))


def run_bare(command):
    longest = 600  # seconds; the whole library takes some 20
    try:
        return subprocess.run(command, capture_output=True, encoding="utf-8", timeout=longest)
    except subprocess.TimeoutExpired:
        raise Stuck(f"waited {longest} s in vain for the program without windows") from None


def automatic(screen, library, table, server_log, bare_command):
    wrong = 0
    for title, copy_only, verify in (("Copies only", True, check.check_copies),
                                     ("The whole run: copies, map file and BOM names", False, check.check_full)):
        print(f"\n== {title}", flush=True)
        calls, boxes = server_calls(server_log), len(screen.boxes)
        seconds = one_run(screen, library, copy_only, pictures=not copy_only)
        print(f"   {seconds:.1f} s from the click on the start button to the final message box, "
              f"{server_calls(server_log) - calls} automation calls")
        report = verify(library, table)
        report_boxes(report, screen.boxes[boxes:], check.expected_boxes(library))
        wrong += report.wrong  # the seconds kept are those of the last run, the whole one
    bare = run_bare(bare_command)
    print("\n== The same copies and automation calls by a program without windows, for comparison")
    print("   " + (bare.stdout.strip() if bare.returncode == 0 else "FAILED: " + bare.stderr.strip()))
    if bare.returncode == 0:
        bare_seconds = float(bare.stdout.split()[-2])
        print(f"   the program took {seconds:.1f} s, {seconds / bare_seconds:.2f} times as long")
    print(f"\nPictures of the screen: {PICTURES}/1-before.png, 2-during.png, 3-after.png")
    return wrong + (bare.returncode != 0)


def interactive(screen, library, table):
    print("\nThe program is yours. When you close its window, what is found then is summed up here.", flush=True)
    program = Program(screen)
    program.wait_for_end(None)
    print("\n== What is there now")
    screen.look()
    for text in screen.boxes:
        print("   message box: " + text.replace("\n", "\n                "))
    return check.check_found(library, table).wrong


def main():
    mode, library, table_path, server_log, window_log, *bare_command = sys.argv[1:]
    table, screen = check.read_table(table_path), windows.Screen(window_log)
    try:
        wrong = (interactive(screen, library, table) if mode == "interactive"
                 else automatic(screen, library, table, server_log, bare_command))
    except Stuck as stuck:
        print(f"\nStuck: {stuck}.\nThe screen as it was: {PICTURES}/stuck.png; windows: {window_log}")
        return 1
    print("\nEverything is as it should be." if wrong == 0 else f"\n{wrong} things are NOT as they should be.")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.stdout.reconfigure(encoding="utf-8")
    sys.exit(main())
