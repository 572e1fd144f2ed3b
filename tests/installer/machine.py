"""Snapshots of the files and the registry of a Wine prefix, and the differences between two snapshots."""
import hashlib
import os
import re
import subprocess

from program import Stuck

TIMEOUT = 300  # seconds, for one Windows program; a longer wait means that a message box waits for input
ROOTS = ("HKEY_LOCAL_MACHINE", "HKEY_USERS")


def run_windows(*command):
    """Runs a Windows program and waits for its end; returns its exit status."""
    try:
        return subprocess.run(["tools/run-windows", *command], stdout=subprocess.DEVNULL, timeout=TIMEOUT).returncode
    except subprocess.TimeoutExpired:
        raise Stuck(f"{' '.join(command)} did not end within {TIMEOUT} s") from None


def windows_path(path):
    """An absolute path of this machine as Windows programs under Wine see it."""
    return "Z:" + path.replace("/", "\\")


class Machine:
    def __init__(self, prefix):
        self.drive = os.path.join(prefix, "drive_c")

    def path(self, windows_path):
        return os.path.join(self.drive, *windows_path[3:].strip("\\").split("\\"))

    def files(self):
        """{Windows path: digest of the content, or "folder"}. Skips symbolic links, which lead out of the prefix."""
        found = {}
        for place, folders, names in os.walk(self.drive):
            for name in folders + names:
                path = os.path.join(place, name)
                title = "C:\\" + os.path.relpath(path, self.drive).replace("/", "\\")
                if os.path.islink(path):
                    continue
                found[title] = "folder" if os.path.isdir(path) else digest(path)
        return found

    def registry(self):
        """{(key, value name): data} in the notation of regedit. A key itself has the value name None."""
        found = {}
        for root in ROOTS:
            export = os.path.join(self.drive, "export.reg")
            if run_windows("regedit", "/E", "C:\\export.reg", root):
                raise Stuck(f"{root} could not be exported")
            with open(export, encoding="utf-16") as file:
                found.update(entries_of(file.read()))
            os.remove(export)
        return found

    def state(self):
        return {**self.files(), **self.registry()}


def digest(path):
    with open(path, "rb") as file:
        return hashlib.sha256(file.read()).hexdigest()


def entries_of(text):
    key = None
    for line in re.sub(r"\\\n\s*", "", text).split("\n"):
        if line.startswith("["):
            key = line[1:-1]
            yield (key, None), ""
        elif key and (match := re.match(r'(@|"(?:[^"\\]|\\.)*")=(.*)', line)):
            yield (key, match.group(1).strip('"')), match.group(2)


def value(state, key, name):
    """A string value of the registry, or None."""
    data = state.get((key, name))
    return data and re.sub(r"\\(.)", r"\1", data[1:-1])


def differences(before, after):
    """Yields ("new", "gone" or "changed", path of a file, registry key or value) for every difference, sorted."""
    for item in sorted(before.keys() | after.keys(), key=str):
        if before.get(item) != after.get(item):
            change = "new" if item not in before else "gone" if item not in after else "changed"
            yield change, item if isinstance(item, str) else "\\".join(filter(None, item))
