"""Makes expectations wrong on purpose. The self-check must say NO to each, or it could not be trusted."""
import os
import re
import shutil
import struct
import subprocess

import machine

STAND_IN = "SldWorks.Application"


def change(path, old, new):
    with open(path, "rb") as file:
        data = file.read()
    if old not in data:
        raise ValueError(f"{path} does not hold {old!r}")
    with open(path, "wb") as file:
        file.write(data.replace(old, new))


def clear_header_flags(path):
    with open(path, "rb+") as file:
        data = file.read()
        flags_at = struct.unpack_from("<I", data, 0x3C)[0] + 24 + 70
        file.seek(flags_at)
        file.write(b"\0\0")


def windows_folder(prefix):
    return os.path.join(prefix, "drive_c/windows")


def registry(*words):
    if machine.run_windows("reg", *words):
        raise ValueError(f"reg {' '.join(words)} failed")


def break_machine(folder, prefix):
    """A library in two places, a CAD system without versions, and the program's library in the Windows folder."""
    key = "HKLM\\SOFTWARE\\Zelmar\\input"
    registry("add", key, "/v", "parts", "/d", "C:\\one", "/f", "/reg:64")
    registry("add", key, "/v", "parts", "/d", "C:\\other", "/f", "/reg:32")
    registry("add", f"HKLM\\SOFTWARE\\Classes\\{STAND_IN}\\CLSID", "/ve", "/d",
             "{00000000-1111-2222-3333-444444444444}", "/f")
    shutil.copy(os.path.join(folder, "talvresusx64.dll"), windows_folder(prefix))


def mend_machine(prefix):
    registry("delete", "HKLM\\SOFTWARE\\Zelmar", "/f", "/reg:64")
    registry("delete", "HKLM\\SOFTWARE\\Zelmar", "/f", "/reg:32")
    registry("delete", f"HKLM\\SOFTWARE\\Classes\\{STAND_IN}", "/f")
    os.remove(os.path.join(windows_folder(prefix), "talvresusx64.dll"))


def break_files(folder):
    """No common controls of version 6, and no mitigations."""
    change(os.path.join(folder, "talvenor_english.exe"), b"Microsoft.Windows.Common-Controls",
           b"slortnoC-nommoC.swodniW.tfosorciM")
    clear_header_flags(os.path.join(folder, "talvenor_german.exe"))


def break_system():
    """A Greek keyboard, and a setting that forbids the long paths which Wine allows."""
    registry("add", "HKLM\\System\\CurrentControlSet\\Control\\FileSystem", "/v", "LongPathsEnabled", "/t", "REG_DWORD",
             "/d", "0", "/f")
    subprocess.run(["wineserver", "-k"], env=os.environ | {"WINEPREFIX": os.environ["TALVENOR_PREFIX"]}, check=False)
    subprocess.run(["setxkbmap", "gr"], check=True)


def break_start(folder):
    """The oldest supported Windows, where the program does not start."""
    registry("add", "HKLM\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", "/v", "CurrentBuildNumber", "/d", "15063",
             "/f")
    os.remove(os.path.join(folder, "talvresusx64.dll"))


def said_no(report, finding):
    return {name for found, name in finding.findall(report) if found == "NO"}


def problems(title, expected, report, finding):
    missing = sorted(expected - said_no(report, finding))
    print(f"   {title}: {len(expected)} expectations broken, {len(expected) - len(missing)} found")
    for name in missing:
        line = re.search(rf"{name}: .*\n.*", report)
        yield f"{title}: not noticed: {line.group(0) if line else name}"


def check(folder, run, finding):
    prefix = os.environ["TALVENOR_PREFIX"]
    break_machine(folder, prefix)
    break_files(folder)
    report = run(folder, "--only", "0", "--only", "2")[1]
    found = list(problems("machine and files", {"checksums", "mitigations", "common-controls", "resource-folder",
                                                "library-view", "cad-registered", "cad-current"}, report, finding))
    if "2: refused: a CAD system is registered" not in report:
        found.append("stage 2 has not refused a machine with a CAD system")
    mend_machine(prefix)
    break_system()
    report = run(folder, "--quick", "--only", "0", "--only", "1")[1]
    found += problems("system", {"key-layout", "long-path"}, report, finding)
    break_start(folder)
    report = run(folder, "--only", "0")[1]
    return found + list(problems("start", {"starts", "old-windows"}, report, finding))
