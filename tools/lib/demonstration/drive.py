"""Operates the real program like a user and prints the results. Called by tools/demo, which sets everything up.

  drive.py automatic|interactive LIBRARY TABLE SERVER_LOG WINDOW_LOG BARE_COMMAND...

BARE_COMMAND makes the same copies and automation calls without a window, and prints how long that took.
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
from sources import IDS

PICTURES = "build/demo"


def finished_box(screen):
    box = screen.message_box()
    return box if box and box.text() == check.FINISHED else None


def run_conversion(screen, library, copy_only, pictures, start=Program):
    """Starts the program by calling start(screen), runs the conversion and closes the program. Returns the seconds from the
    click on the start button to the last message box, minus the time that other message boxes were open."""
    shutil.rmtree(os.path.join(library, "Mapped"), ignore_errors=True)
    rows = len(check.expected_rows(library)[0])
    program = start(screen)
    try:
        main = program.wait_dismissing_boxes("the main window", 120, lambda: screen.window_with_control(IDS.IDC_START))
        time.sleep(1)  # until the window manager has placed the window
        screen.update()
        main = screen.window_with_control(IDS.IDC_START)
        if pictures:
            windows.Picture(f"{PICTURES}/1-before.png").wait()
        if copy_only:
            windows.click(main, IDS.IDC_COPY_ONLY)
        in_boxes_before = program.seconds_in_boxes
        begin = windows.click(main, IDS.IDC_START)
        program.wait_dismissing_boxes("the progress dialog", 30,
                                      lambda: screen.window_with_control(IDS.IDC_PROGRESS_OVERALL) or finished_box(screen))
        if pictures:
            program.wait_dismissing_boxes("half of the copies", 60 + rows,
                                          lambda: len(check.mapped_names(library)) > rows // 2 or finished_box(screen))
            during = windows.Picture(f"{PICTURES}/2-during.png")  # in the background, to avoid delaying the run
        box = program.wait_dismissing_boxes("the end of the run", 60 + rows, lambda: finished_box(screen))
        seconds = box.appeared - begin - (program.seconds_in_boxes - in_boxes_before)
        time.sleep(0.5)
        if pictures:
            during.wait()
            windows.Picture(f"{PICTURES}/3-after.png").wait()
        program.dismiss(box)
        time.sleep(0.5)
        screen.update()
        windows.click(screen.window_with_control(IDS.IDC_START), IDS.IDCANCEL)
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
    limit = 600  # seconds; the whole library takes about 20
    try:
        return subprocess.run(command, capture_output=True, encoding="utf-8", timeout=limit)
    except subprocess.TimeoutExpired:
        raise Stuck(f"the program without windows did not end within {limit} s") from None


def automatic(screen, library, table, server_log, bare_command):
    failures = 0
    for title, copy_only, verify in (("Copies only", True, check.check_copies),
                                     ("A full run: copies, map file and BOM names", False, check.check_full)):
        print(f"\n== {title}", flush=True)
        calls, boxes = server_calls(server_log), len(screen.box_texts)
        seconds = run_conversion(screen, library, copy_only, pictures=not copy_only)
        print(f"   {seconds:.1f} s from the click on the start button to the final message box, "
              f"{server_calls(server_log) - calls} automation calls")
        report = verify(library, table)
        report_boxes(report, screen.box_texts[boxes:], check.expected_boxes(library))
        failures += report.failures
    bare = run_bare(bare_command)  # compared with the last run, the full one
    print("\n== The same copies and automation calls by a program without windows, for comparison")
    print("   " + (bare.stdout.strip() if bare.returncode == 0 else "FAILED: " + bare.stderr.strip()))
    if bare.returncode == 0:
        bare_seconds = float(bare.stdout.split()[-2])
        print(f"   the program took {seconds:.1f} s, {seconds / bare_seconds:.2f} times as long")
    print(f"\nScreenshots: {PICTURES}/1-before.png, 2-during.png, 3-after.png")
    return failures + (bare.returncode != 0)


def interactive(screen, library, table):
    print("\nOperate the program yourself. The results appear here when you close its window.", flush=True)
    program = Program(screen)
    program.wait_for_end(None)
    print("\n== Results")
    screen.update()
    for text in screen.box_texts:
        print("   message box: " + text.replace("\n", "\n                "))
    return check.check_map_file(library, table).failures


def main():
    mode, library, table_path, server_log, window_log, *bare_command = sys.argv[1:]
    table, screen = check.read_table(table_path), windows.Screen(window_log)
    try:
        failures = (interactive(screen, library, table) if mode == "interactive"
                    else automatic(screen, library, table, server_log, bare_command))
    except Stuck as stuck:
        print(f"\nStuck: {stuck}.\nScreenshot: {PICTURES}/stuck.png; log of the windows: {window_log}")
        return 1
    print("\nEverything is as expected." if failures == 0 else f"\n{failures} checks FAILED.")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.stdout.reconfigure(encoding="utf-8")
    sys.exit(main())
