"""Kills the self-check in the middle of stage 2: --restore must leave the registry as it was before."""
import re
import subprocess
import time

import machine

LIBRARY = "HKLM\\SOFTWARE\\Zelmar\\input"
PATIENCE = 120  # seconds
PROGRAMS = ("selfcheck", "acceptance_tests", "talvenor_german", "cadserver")
TEMPORARY = re.compile(r"C:\\users\\.*\\Temp\\talvenor-.*")


def wait_for_library(process):
    """Waits until a test has registered its library."""
    end = time.monotonic() + PATIENCE
    while machine.run_windows("reg", "query", LIBRARY, "/v", "parts"):
        if time.monotonic() > end or process.poll() is not None:
            raise machine.Stuck("stage 2 has registered no library")
        time.sleep(0.2)


def kill_in_stage_2(selfcheck):
    process = subprocess.Popen(["tools/run-windows", selfcheck, "--yes", "--quick", "--only", "2"],
                               stdout=subprocess.DEVNULL)
    wait_for_library(process)
    for name in PROGRAMS:
        machine.run_windows("taskkill", "/f", "/im", f"{name}.exe")
    process.wait()


def check(prefix, selfcheck, may_change):
    wine = machine.Machine(prefix)
    before = wine.state()
    kill_in_stage_2(selfcheck)
    killed = [name for _, name in machine.differences(before, wine.state()) if not may_change.fullmatch(name)]
    if not any("Zelmar" in name for name in killed):
        yield "the killed stage has left nothing, so nothing was restored"
    if machine.run_windows(selfcheck, "--restore"):
        yield "--restore has failed"
    for change, name in machine.differences(before, wine.state()):
        if not may_change.fullmatch(name) and not TEMPORARY.fullmatch(name):
            yield f"{change} after --restore: {name}"
