"""Installs, uses, upgrades and removes the program, and compares the machine with before; called by tests/installer/run.

  lifetime.py PACKAGE.msi STAGE PREFIX WINDOW_LOG
"""
import functools
import os
import re
import shutil
import struct
import subprocess
import sys

import check
import drive
import machine
import package as installer
import shell_link
import windows
from program import Program, Stuck

OLDER = "0.9.0"
VERSION_NUMBERS = struct.pack("<II", 0xFEEF04BD, 0x00010000)  # what begins the numbers of a version resource
INSTALLED = "HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall"
WINDOWS_KEY, WINDOWS_MAJOR = "HKLM\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", "CurrentMajorVersionNumber"
LIBRARY_KEY = "HKLM\\SOFTWARE\\Zelmar\\input"
PROGRAM_FOLDER, OTHER_FOLDER = "C:\\Program Files\\Talvenor\\", "C:\\Another folder\\"
LIBRARY_FOLDER, PARTS = "C:\\Zelmar\\", "C:\\Zelmar\\Normteile"
NO_RESOURCES = "Ressource DLL kann nicht geladen werden!\nDatei: .\\talvresgerx64.dll"

# What may differ from before after the removal, and why.
WINE = r"HKEY_LOCAL_MACHINE\\Software\\(Classes|Microsoft\\Windows\\CurrentVersion)\\Installer"
LEFT = {
    r"C:\\Zelmar\\Normteile\\Mapped(\\.*)?": "made by the conversion run",
    r"HKEY_USERS\\[^\\]+\\Software\\Zelmar\\Tools\\Talvenor\\Template Text Column [12]": "the user's templates",
    r"HKEY_USERS\\[^\\]+\\Software\\TalvenorCadServer(\\Starts)?": "counted by the stand-in server",
    r"HKEY_USERS\\[^\\]+\\Software\\Wine\\Temporary System Parameters(\\.*)?": "Wine's own notes",
    r"C:\\windows\\Installer": "empty folder of Wine's own installer service",
    WINE + r"(\\(Features|Products|UpgradeCodes|UserData|UserData\\S-1-5-18(\\(Components|Products))?))?":
        "empty registry keys of Wine's own installer service",
}


class Trial:
    def __init__(self, package, stage, prefix, window_log):
        self.package, self.stage, self.prefix = package, stage, prefix
        self.machine = machine.Machine(prefix)
        self.screen = windows.Screen(window_log)
        self.report = check.Report()
        self.version = re.search(r"Talvenor-([0-9.]+)-x64\.msi$", package).group(1)

    def expect(self, words, found, expected):
        right = found == expected
        self.report.compare(words, int(right), 1, [] if right else [f"expected {expected!r}", f"found {found!r}"])

    def installer(self, switch, package):
        return machine.run_windows("msiexec", switch, machine.windows_path(package), "/qn")

    def install_into(self, folder, package):
        """Typed as users type it: a list of arguments would put the quotation marks around the setting's name, too. By a
        copy under a plain name, as a batch file reads letters and percent signs in its own way."""
        batch, copy = self.machine.path("C:\\install.bat"), self.machine.path("C:\\package.msi")
        shutil.copyfile(package, copy)
        with open(batch, "w", encoding="ascii", newline="\r\n") as file:
            file.write('@msiexec /i "C:\\package.msi" /qn INSTALLDIR="{}"\n'.format(folder.rstrip("\\")))
        status = machine.run_windows("cmd", "/c", "C:\\install.bat")
        os.remove(batch)
        os.remove(copy)
        return status

    def double_click(self, package):
        """Starts the package as a double-click does: the sequence for windows comes first, of which it has none."""
        return machine.run_windows("msiexec", "/i", machine.windows_path(package))

    def entries(self, state):
        """Name, version and publisher of every entry of ours under the installed programs."""
        keys = {key for key, _ in filter(lambda item: isinstance(item, tuple), state)
                if key.lower().startswith(INSTALLED.lower() + "\\")}
        rows = [[machine.value(state, key, name) for name in ("DisplayName", "DisplayVersion", "Publisher")]
                for key in keys]
        return sorted(row for row in rows if row[0] == "Talvenor")

    def installed_files(self, stage, program, manuals):
        """The staged files under the paths that they should be installed at."""
        names = installer.files_below(stage)
        places = {name: (manuals if name.startswith("Manuals/") else program) + name.replace("/", "\\")
                  for name in names}
        return {places[name]: machine.digest(os.path.join(stage, name)) for name in names}

    def expect_installed(self, before, version, stage, program, manuals):
        state = self.machine.state()
        self.expect(f"entry of version {version} under the installed programs", self.entries(state),
                    [["Talvenor", version, "Talvenor"]])
        new = {name for word, name in machine.differences(before, state) if word == "new" and name in state}
        files = {name: state[name] for name in new if state[name] != "folder" and "\\windows\\Installer\\" not in name
                 and not name.endswith(".lnk") and not name.startswith(PARTS + "\\")}
        self.expect("installed files, their places and bytes", files, self.installed_files(stage, program, manuals))
        return state

    def expect_icon(self, state):
        icons = [data for (key, name), data in ((i, d) for i, d in state.items() if isinstance(i, tuple))
                 if name == "ProductIcon" and "talvenor.ico" in data]
        self.expect("icon of the entry", len(icons), 1)

    def shortcut(self, state):
        found = [name for name in state if isinstance(name, str) and name.endswith("\\Start Menu\\Programs\\Talvenor.lnk")]
        self.expect("shortcuts in the start menu", len(found), 1)
        target, folder = shell_link.read(self.machine.path(found[0]))
        self.expect("target of the shortcut", target, PROGRAM_FOLDER + "talvenor.exe")
        self.expect('"start in" folder of the shortcut', folder.rstrip("\\") + "\\", PROGRAM_FOLDER)
        return target, self.machine.path(folder)

    def conversion(self, target, folder):
        library = self.machine.path(PARTS)
        table = check.read_table("data/standard-parts.tsv")
        boxes = len(self.screen.boxes)
        drive.one_run(self.screen, library, False, False, lambda screen: Program(screen, target, folder))
        self.report.wrong += check.check_full(library, table).wrong
        drive.report_boxes(self.report, self.screen.boxes[boxes:], check.expected_boxes(library))

    def refusal(self, target):
        """Started in another folder the program says that its resource library is missing, and ends."""
        program = Program(self.screen, target, self.machine.path("C:\\windows"))
        box = program.wait_for("the message", 30, self.screen.box)
        self.expect("message when it is started in another folder", box.text(), NO_RESOURCES)
        windows.press("Return")
        program.wait_for_end(20)

    def expect_as_before(self, before):
        left = {}
        for word, name in machine.differences(before, self.machine.state()):
            reason = next((why for pattern, why in LEFT.items() if re.fullmatch(pattern, name)), None)
            left.setdefault(reason, []).append(f"{word}: {name}")
        unexplained = left.pop(None, [])
        self.report.compare("machine as before, but for what is named below", int(not unexplained), 1, unexplained)
        for reason, names in left.items():
            print(f"   left, {reason}: {len(names)}")

    @functools.cached_property
    def older(self):
        """A package of an older version, and the folder of what is in it: the program's files say so themselves, the
        manuals have another content."""
        stage = os.path.join(self.prefix, "..", "older")
        shutil.copytree(self.stage, stage)
        for name in installer.files_below(stage):
            path = os.path.join(stage, name)
            with open(path, "rb") as file:
                data = file.read()
            with open(path, "wb") as file:
                file.write(b"an older manual" if name.endswith(".pdf") else older_bytes(data, self.version))
        package = os.path.realpath(os.path.join(self.prefix, "..", f"Talvenor-{OLDER}-x64.msi"))
        subprocess.run(["installer/package.py", stage, OLDER, package], check=True,
                       env={**os.environ, "SOURCE_DATE_EPOCH": "1600000000"})
        return package, stage


def older_bytes(data, version):
    """The file with the older number in its version resource; a text has none."""
    def numbers(text):
        major, minor, patch = map(int, text.split("."))
        return VERSION_NUMBERS + struct.pack("<4H", minor, major, 0, patch) * 2  # of the file and of the product
    if not data.startswith(b"MZ"):
        return data
    if data.count(numbers(version)) != 1:
        raise ValueError(f"version {version} is not where it should be")
    return data.replace(numbers(version), numbers(OLDER))


def no_lifetime(trial):
    print("\n== Refused where the registry lacks what it has since Windows 10", flush=True)
    # Wine has the number itself when it is set to Windows 10, as tools/run-windows does.
    machine.run_windows("reg", "delete", WINDOWS_KEY, "/v", WINDOWS_MAJOR, "/f")
    before = trial.machine.state()
    trial.expect("an installation fails", trial.installer("/i", trial.package) != 0, True)
    trial.expect_as_before(before)
    machine.run_windows("reg", "add", WINDOWS_KEY, "/v", WINDOWS_MAJOR, "/t", "REG_DWORD", "/d", "10", "/f")


def first_lifetime(trial):
    print("\n== Installed where the library is registered; used; removed", flush=True)
    before = trial.machine.state()
    trial.expect("status of the installation", trial.installer("/i", trial.package), 0)
    state = trial.expect_installed(before, trial.version, trial.stage, PROGRAM_FOLDER, LIBRARY_FOLDER)
    trial.expect_icon(state)
    target, folder = trial.shortcut(state)
    trial.conversion(target, folder)
    trial.refusal(target)
    trial.expect("status of the removal", trial.installer("/x", trial.package), 0)
    trial.expect_as_before(before)


def second_lifetime(trial):
    print(f"\n== Upgraded from version {OLDER}, both by double-click; not downgraded; removed", flush=True)
    package, stage = trial.older
    before = trial.machine.state()
    trial.expect(f"status of the installation of {OLDER}", trial.double_click(package), 0)
    trial.expect_installed(before, OLDER, stage, PROGRAM_FOLDER, LIBRARY_FOLDER)
    trial.expect("status of the upgrade", trial.double_click(trial.package), 0)
    trial.expect_installed(before, trial.version, trial.stage, PROGRAM_FOLDER, LIBRARY_FOLDER)
    trial.expect("an installation of the older version fails", trial.installer("/i", package) != 0, True)
    trial.expect_installed(before, trial.version, trial.stage, PROGRAM_FOLDER, LIBRARY_FOLDER)
    trial.expect("status of the removal", trial.installer("/x", trial.package), 0)
    trial.expect_as_before(before)


def third_lifetime(trial):
    print(f"\n== Version {OLDER} installed into another folder where no library is registered; upgraded; the library comes; "
          "removed", flush=True)
    machine.run_windows("reg", "delete", LIBRARY_KEY, "/v", "prg", "/f")
    package, stage = trial.older
    without = trial.machine.state()
    trial.expect(f"status of the installation of {OLDER}", trial.install_into(OTHER_FOLDER, package), 0)
    trial.expect_installed(without, OLDER, stage, OTHER_FOLDER, OTHER_FOLDER)
    # An upgrade stays where the older version is, whatever it is told.
    trial.expect("status of the upgrade", trial.install_into(PROGRAM_FOLDER, trial.package), 0)
    trial.expect_installed(without, trial.version, trial.stage, OTHER_FOLDER, OTHER_FOLDER)
    machine.run_windows("reg", "add", LIBRARY_KEY, "/v", "prg", "/d", LIBRARY_FOLDER.rstrip("\\"), "/f")
    trial.expect("status of the removal", trial.installer("/x", trial.package), 0)
    machine.run_windows("reg", "delete", LIBRARY_KEY, "/v", "prg", "/f")
    trial.expect_as_before(without)


def main():
    trial = Trial(*sys.argv[1:])
    try:
        for lifetime in (no_lifetime, first_lifetime, second_lifetime, third_lifetime):
            lifetime(trial)
    except Stuck as stuck:
        print(f"\nStuck: {stuck}.")
        return 1
    wrong = trial.report.wrong
    print("\nEverything is as it should be." if wrong == 0 else f"\n{wrong} things are NOT as they should be.")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.stdout.reconfigure(encoding="utf-8")
    sys.exit(main())
