"""Installs, uses, upgrades and removes both editions under Wine. Afterwards the machine must be as before, except for
MAY_REMAIN. Called by tests/installer/run.

  lifetime.py DIST VERSION STAGE PREFIX WINDOW_LOG

Not tested: that a failed upgrade keeps the old version. Wine's installer does not restore what RemoveExistingProducts has
removed. tables.py checks that the removal is part of the transaction.
"""
import functools
import os
import re
import shutil
import sys

import check
import contents
import drive
import machine
import package as installer
import shell_link
import sources
import variants
import windows
from program import Program, Stuck

UNINSTALL_KEY = "HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall"
WINDOWS_KEY, WINDOWS_BUILD = "HKLM\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", "CurrentBuildNumber"
OLDEST_BUILD = "15063"  # the oldest build of Windows that the package accepts
TOO_OLD_BUILDS = (None, "9600", "15062")  # as a text, "9600" is greater than "15063"; None: no such value
PROGRAM_FOLDER, OTHER_FOLDER = "C:\\Program Files\\Talvenor\\", "C:\\Another folder\\"
PARTS = "C:\\Zelmar\\Normteile"
NO_RESOURCES = sources.texts("kNoResources")

# What a removal may leave behind, and why.
WINE_INSTALLER_KEY = r"HKEY_LOCAL_MACHINE\\Software\\(Classes|Microsoft\\Windows\\CurrentVersion)\\Installer"
MAY_REMAIN = {
    r"C:\\Zelmar\\Normteile\\Mapped(\\.*)?": "created by the conversion run",
    r"HKEY_USERS\\[^\\]+\\Software\\Zelmar\\Tools\\Talvenor\\Template Text Column [12]": "the user's templates",
    r"HKEY_USERS\\[^\\]+\\Software\\TalvenorCadServer(\\Starts)?": "counter of the stand-in server",
    r"HKEY_USERS\\[^\\]+\\Software\\Wine\\Temporary System Parameters(\\.*)?": "created by Wine",
    r"C:\\windows\\Installer": "empty folder of Wine's installer service",
    WINE_INSTALLER_KEY + r"(\\(Features|Products|UpgradeCodes|UserData|UserData\\S-1-5-18(\\(Components|Products))?))?":
        "empty registry keys of Wine's installer service",
}


class LifetimeTest:
    def __init__(self, dist, version, stage, prefix, window_log):
        self.version, self.prefix = version, prefix
        self.packages = {edition: os.path.realpath(os.path.join(dist, f"Talvenor-{version}-{code}-x64.msi"))
                         for edition, code in contents.EDITIONS.items()}
        self.stages = {edition: os.path.join(stage, edition) for edition in contents.EDITIONS}
        self.machine = machine.Machine(prefix)
        self.screen = windows.Screen(window_log)
        self.report = check.Report()

    def expect(self, title, found, expected):
        correct = found == expected
        self.report.compare(title, int(correct), 1, [] if correct else [f"expected {expected!r}", f"found {found!r}"])

    def msiexec(self, switch, package):
        return machine.run_windows("msiexec", switch, machine.windows_path(package), "/qn")

    def install_into(self, folder, package):
        """Installs into a folder. A batch file holds the command line as a user types it; a direct call would put quotes
        around the whole of INSTALLDIR=... The package is copied, because a batch file would misread non-ASCII letters and
        percent signs in the package's path."""
        batch, copy = self.machine.path("C:\\install.bat"), self.machine.path("C:\\package.msi")
        shutil.copyfile(package, copy)
        with open(batch, "w", encoding="ascii", newline="\r\n") as file:
            file.write('@msiexec /i "C:\\package.msi" /qn INSTALLDIR="{}"\n'.format(folder.rstrip("\\")))
        status = machine.run_windows("cmd", "/c", "C:\\install.bat")
        os.remove(batch)
        os.remove(copy)
        return status

    def double_click(self, package):
        """Opens the package as a double-click does: the UI sequence runs first. The package shows no windows."""
        return machine.run_windows("msiexec", "/i", machine.windows_path(package))

    def entries(self, state):
        """Name, version, publisher and folder of every entry of Talvenor among the installed programs."""
        keys = {key for key, _ in filter(lambda item: isinstance(item, tuple), state)
                if key.lower().startswith(UNINSTALL_KEY.lower() + "\\")}
        names = ("DisplayName", "DisplayVersion", "Publisher", "InstallLocation")
        rows = [[machine.value(state, key, name) for name in names] for key in keys]
        return sorted(row for row in rows if row[0] == "Talvenor")

    def installed_files(self, stage, program):
        """{path after the installation: digest} of the staged files."""
        return {program + name.replace("/", "\\"): machine.digest(os.path.join(stage, name))
                for name in installer.files_below(stage)}

    def expect_installed(self, before, version, stage, program):
        state = self.machine.state()
        self.expect(f"the entry of version {version} among the installed programs", self.entries(state),
                    [["Talvenor", version, "Talvenor", program]])
        new = {name for change, name in machine.differences(before, state) if change == "new" and name in state}
        files = {name: state[name] for name in new if state[name] != "folder" and "\\windows\\Installer\\" not in name
                 and not name.endswith(".lnk") and not name.startswith(PARTS + "\\")}
        self.expect("paths and contents of the installed files", files, self.installed_files(stage, program))
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

    def convert(self, target, folder):
        library = self.machine.path(PARTS)
        table = check.read_table("data/standard-parts.tsv")
        boxes = len(self.screen.box_texts)
        drive.run_conversion(self.screen, library, False, False, lambda screen: Program(screen, target, folder))
        self.report.failures += check.check_full(library, table).failures
        drive.report_boxes(self.report, self.screen.box_texts[boxes:], check.expected_boxes(library))

    def start_in_other_folder(self, target, edition):
        """Starts the program in another working folder. The program must report that the resource library of its language is
        missing, and end."""
        program = Program(self.screen, target, self.machine.path("C:\\windows"))
        box = program.wait_for("the message", 30, self.screen.message_box)
        self.expect("message of a start in another folder", box.text(), NO_RESOURCES[edition])
        windows.press("Return")
        program.wait_for_end(20)

    def expect_as_before(self, before):
        remaining = {}
        for change, name in machine.differences(before, self.machine.state()):
            reason = next((why for pattern, why in MAY_REMAIN.items() if re.fullmatch(pattern, name)), None)
            remaining.setdefault(reason, []).append(f"{change}: {name}")
        unexplained = remaining.pop(None, [])
        self.report.compare("machine as before, except as listed below", int(not unexplained), 1, unexplained)
        for reason, names in remaining.items():
            print(f"   remaining, {reason}: {len(names)}")

    def make_package(self, name, version, change):
        """Makes a German package of this version, with `change` applied to the bytes of every file. Returns the package, and
        the folder of the changed files."""
        stage = os.path.realpath(os.path.join(self.prefix, "..", name))
        return variants.make_package(self.stages["german"], stage, version, change), stage

    @functools.cached_property
    def older(self):
        """A package of an older version. The program's files have the older number in their version resource. The manuals
        have other contents."""
        return self.make_package("older", variants.OLDER, lambda data: variants.older_bytes(data, self.version))

    @functools.cached_property
    def rebuilt(self):
        """A package of the same version with other contents. The program's files have the same version resource."""
        return self.make_package("rebuilt", self.version, variants.rebuilt_bytes)


def set_windows_build(build):
    if build is None:
        machine.run_windows("reg", "delete", WINDOWS_KEY, "/v", WINDOWS_BUILD, "/f")
    else:
        machine.run_windows("reg", "add", WINDOWS_KEY, "/v", WINDOWS_BUILD, "/d", build, "/f")


def refused_on_older_windows(test):
    print("\n== Refused on Windows before 10 version 1703", flush=True)
    for build in TOO_OLD_BUILDS:
        set_windows_build(build)
        before = test.machine.state()
        test.expect(f"an installation fails (build {build})", test.msiexec("/i", test.packages["german"]) != 0, True)
        test.expect_as_before(before)
    set_windows_build(OLDEST_BUILD)  # the next tests need this build, too


def install_and_remove(test):
    print("\n== German edition installed, used, removed", flush=True)
    package, stage = test.packages["german"], test.stages["german"]
    before = test.machine.state()
    test.expect("status of the installation", test.msiexec("/i", package), 0)
    state = test.expect_installed(before, test.version, stage, PROGRAM_FOLDER)
    test.expect_icon(state)
    target, folder = test.shortcut(state)
    test.convert(target, folder)
    test.start_in_other_folder(target, "german")
    test.expect("status of the removal", test.msiexec("/x", package), 0)
    test.expect_as_before(before)


def editions_replace_each_other(test):
    print("\n== German edition installed; replaced by the English one, and that by the German one; removed", flush=True)
    before = test.machine.state()
    for edition in ("german", "english", "german"):
        test.expect(f"status of the installation in {edition.title()}", test.msiexec("/i", test.packages[edition]), 0)
        test.expect_installed(before, test.version, test.stages[edition], PROGRAM_FOLDER)
        test.start_in_other_folder(PROGRAM_FOLDER + "talvenor.exe", edition)
    test.expect("status of the removal", test.msiexec("/x", test.packages["german"]), 0)
    test.expect_as_before(before)


def replaced_by_rebuilt_package(test):
    print(f"\n== Version {test.version} installed; replaced by another build of the same version; removed", flush=True)
    package, stage = test.rebuilt
    before = test.machine.state()
    test.expect("status of the installation", test.msiexec("/i", test.packages["german"]), 0)
    test.expect("status of the upgrade", test.msiexec("/i", package), 0)
    test.expect_installed(before, test.version, stage, PROGRAM_FOLDER)
    test.expect("status of the removal", test.msiexec("/x", package), 0)
    test.expect_as_before(before)


def upgrade_by_double_click(test):
    print(f"\n== Version {variants.OLDER} installed by double-click; upgrade refused on an older Windows; "
          "upgraded by double-click; not downgraded; removed", flush=True)
    package, stage = test.older
    before = test.machine.state()
    test.expect(f"status of the installation of {variants.OLDER}", test.double_click(package), 0)
    set_windows_build("15062")
    test.expect("an upgrade that the package refuses fails", test.msiexec("/i", test.packages["german"]) != 0, True)
    set_windows_build(OLDEST_BUILD)
    test.expect_installed(before, variants.OLDER, stage, PROGRAM_FOLDER)
    test.expect("status of the upgrade", test.double_click(test.packages["german"]), 0)
    test.expect_installed(before, test.version, test.stages["german"], PROGRAM_FOLDER)
    test.expect("a downgrade fails", test.msiexec("/i", package) != 0, True)
    test.expect_installed(before, test.version, test.stages["german"], PROGRAM_FOLDER)
    test.expect("status of the removal", test.msiexec("/x", test.packages["german"]), 0)
    test.expect_as_before(before)


def upgrade_in_other_folder(test):
    print(f"\n== Version {variants.OLDER} installed into another folder; upgraded to the English edition; removed", flush=True)
    package, stage = test.older
    before = test.machine.state()
    test.expect(f"status of the installation of {variants.OLDER}", test.install_into(OTHER_FOLDER, package), 0)
    test.expect_installed(before, variants.OLDER, stage, OTHER_FOLDER)
    # An upgrade stays in the folder of the older version, even if INSTALLDIR says otherwise.
    test.expect("status of the upgrade", test.install_into(PROGRAM_FOLDER, test.packages["english"]), 0)
    test.expect_installed(before, test.version, test.stages["english"], OTHER_FOLDER)
    test.expect("status of the removal", test.msiexec("/x", test.packages["english"]), 0)
    test.expect_as_before(before)


def main():
    test = LifetimeTest(*sys.argv[1:])
    try:
        for lifetime in (refused_on_older_windows, install_and_remove, editions_replace_each_other,
                         replaced_by_rebuilt_package, upgrade_by_double_click, upgrade_in_other_folder):
            lifetime(test)
    except Stuck as stuck:
        print(f"\nStuck: {stuck}.")
        return 1
    failures = test.report.failures
    print("\nEverything is as expected." if failures == 0 else f"\n{failures} checks FAILED.")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.stdout.reconfigure(encoding="utf-8")
    sys.exit(main())
