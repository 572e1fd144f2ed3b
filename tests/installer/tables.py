"""Checks the tables of the installer package, and that errors in them would be found."""
import os
import shutil
import subprocess
import tempfile

PROPERTIES = {"ALLUSERS": "1", "ARPPRODUCTICON": "talvenor.ico", "ProductName": "Talvenor", "Manufacturer": "Talvenor",
              "UpgradeCode": "{D68003F5-A04E-4B17-9156-DE64D5E4DF2A}"}
# Windows Installer passes only these to its elevated side (documentation: "SecureCustomProperties property").
SECURE = {"INSTALLDIR", "LIBRARYFOLDER", "OWNMANUALS", "WINDOWSMAJOR", "WIX_DOWNGRADE_DETECTED", "WIX_UPGRADE_DETECTED"}
# Table: columns, and the expected rows of these columns
ROWS = {
    "AppSearch": (("Property", "Signature_"), {
        ("INSTALLDIR", "OwnFolder"), ("OWNMANUALS", "OwnManuals"), ("LIBRARYFOLDER", "LibraryFolder"),
        ("WINDOWSMAJOR", "WindowsMajor")}),
    # Root 2: HKEY_LOCAL_MACHINE. Type 0: the value names a folder; 2: raw value; plus 16: 64-bit registry.
    "RegLocator": (("Signature_", "Root", "Key", "Name", "Type"), {
        ("OwnFolder", "2", "SOFTWARE\\Talvenor\\Setup", "Program", "16"),
        ("OwnManuals", "2", "SOFTWARE\\Talvenor\\Setup", "Manuals", "16"),
        ("LibraryFolder", "2", "SOFTWARE\\Zelmar\\input", "prg", "16"),
        ("WindowsMajor", "2", "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", "CurrentMajorVersionNumber", "18")}),
    "LaunchCondition": (("Condition",), {("NOT WIX_DOWNGRADE_DETECTED",), ("VersionNT64 AND WINDOWSMAJOR",)}),
    "Shortcut": (("Directory_", "Target", "Icon_", "WkDir"), {
        ("ProgramMenuFolder", "[#talvenor.exe]", "talvenor.ico", "INSTALLDIR")}),
    "Icon": (("Name",), {("talvenor.ico",)}),
    # 7: platform and language; 15 (word count) 2: compressed files with long names
    "_SummaryInformation": (("PropertyId", "Value"), {("7", "x64;1031"), ("15", "2")}),
}
OPEN_TABLES = {"_SummaryInformation"}  # may hold other rows as well
# The older version is removed before anything of the newer one is installed, the folder of the manuals is set before it is
# used, and the UI sequence runs the execute sequence.
ORDERS = {"InstallExecuteSequence": [("InstallValidate", "RemoveExistingProducts", "InstallInitialize"),
                                     ("FindRelatedProducts", "LaunchConditions"), ("AppSearch", "LaunchConditions"),
                                     ("AppSearch", "ManualsOfLibrary", "ManualsAsInstalled", "CostInitialize")],
          "InstallUISequence": [("FindRelatedProducts", "LaunchConditions"), ("AppSearch", "LaunchConditions"),
                                ("AppSearch", "ManualsOfLibrary", "ManualsAsInstalled", "CostInitialize",
                                 "CostFinalize", "ExecuteAction")]}


def export(package, name):
    with tempfile.TemporaryDirectory() as folder:  # msiinfo leaves the streams of a table in the working folder
        return subprocess.run(["msiinfo", "export", os.path.abspath(package), name], cwd=folder, check=True,
                              capture_output=True, encoding="cp1252").stdout


def table(package, name):
    """The rows, each as {column: value}."""
    columns, _, _, *rows = [line.split("\t") for line in export(package, name).splitlines()]
    return [dict(zip(columns, row)) for row in rows]


def property_findings(package, version):
    found = {row["Property"]: row["Value"] for row in table(package, "Property")}
    for name, expected in {**PROPERTIES, "ProductVersion": version}.items():
        if found.get(name) != expected:
            yield f"property {name} is {found.get(name)!r}, not {expected!r}"
    for name in sorted(SECURE - set(found.get("SecureCustomProperties", "").split(";"))):
        yield f"SecureCustomProperties lacks {name}"


def file_findings(package, version):
    for row in table(package, "File"):
        expected = f"{version}.0" if row["FileName"].endswith((".exe", ".dll")) else ""
        if row["Version"] != expected:
            yield f"{row['FileName']} has the version {row['Version']!r}, not {expected!r}"


def row_findings(package):
    for name, (columns, expected) in ROWS.items():
        found = {tuple(row[column] for column in columns) for row in table(package, name)}
        for row in sorted(expected - found):
            yield f"{name} lacks {', '.join(row)}"
        for row in sorted(found - expected if name not in OPEN_TABLES else ()):
            yield f"{name} should not hold {', '.join(row)}"


def order_findings(package):
    for sequence, orders in ORDERS.items():
        numbers = {row["Action"]: int(row["Sequence"]) for row in table(package, sequence)}
        for name in sorted({action for actions in orders for action in actions} - numbers.keys()):
            yield f"{sequence} lacks {name}"
        for actions in orders:
            known = [action for action in actions if action in numbers]
            if sorted(known, key=numbers.get) != known:
                yield f"the order in {sequence} is not {', '.join(actions)}"


def icon_findings(package, icon):
    stream = subprocess.run(["msiinfo", "extract", package, "Icon.talvenor.ico"], capture_output=True).stdout
    with open(icon, "rb") as file:
        if stream != file.read():
            yield "the icon differs from the program's"


def findings(package, version, icon):
    yield from property_findings(package, version)
    yield from file_findings(package, version)
    yield from row_findings(package)
    yield from order_findings(package)
    yield from icon_findings(package, icon)


def set_property(name, text):
    return f"UPDATE `Property` SET `Value`='{text}' WHERE `Property`='{name}'"


# A change to a copy of the package, and the beginning of the finding that it must cause
MUTATIONS = [
    (set_property("ALLUSERS", "2"), "property ALLUSERS is '2'"),
    ("DELETE FROM `Property` WHERE `Property`='ARPPRODUCTICON'", "property ARPPRODUCTICON is None"),
    *[(set_property("SecureCustomProperties", ";".join(sorted(SECURE - {name}))), f"SecureCustomProperties lacks {name}")
      for name in sorted(SECURE)],
    ("UPDATE `File` SET `Version`='' WHERE `File`='talvenor.exe'", "talvenor.exe has the version ''"),
    ("DELETE FROM `AppSearch` WHERE `Property`='LIBRARYFOLDER'", "AppSearch lacks LIBRARYFOLDER"),
    ("UPDATE `RegLocator` SET `Type`=2 WHERE `Signature_`='WindowsMajor'", "RegLocator lacks WindowsMajor"),
    ("DELETE FROM `LaunchCondition` WHERE `Condition`='VersionNT64 AND WINDOWSMAJOR'", "LaunchCondition lacks VersionNT64"),
    ("UPDATE `Shortcut` SET `Icon_`='' WHERE `Shortcut`='StartMenu'", "Shortcut lacks ProgramMenuFolder"),
    ("UPDATE `Shortcut` SET `WkDir`='' WHERE `Shortcut`='StartMenu'", "Shortcut lacks ProgramMenuFolder"),
    ("DELETE FROM `Icon` WHERE `Name`='talvenor.ico'", "Icon lacks talvenor.ico"),
    ("DELETE FROM `InstallUISequence` WHERE `Action`='ExecuteAction'", "InstallUISequence lacks ExecuteAction"),
    ("DELETE FROM `InstallUISequence` WHERE `Action`='LaunchConditions'", "InstallUISequence lacks LaunchConditions"),
    ("DELETE FROM `InstallExecuteSequence` WHERE `Action`='AppSearch'", "InstallExecuteSequence lacks AppSearch"),
    ("UPDATE `InstallExecuteSequence` SET `Sequence`=49 WHERE `Action`='LaunchConditions'",
     "the order in InstallExecuteSequence is not AppSearch, LaunchConditions"),
    ("UPDATE `InstallExecuteSequence` SET `Sequence`=6700 WHERE `Action`='RemoveExistingProducts'",
     "the order in InstallExecuteSequence is not InstallValidate"),
]


def changed(package, folder, *change):
    """A copy of the package, changed by msibuild with these arguments."""
    copy = os.path.join(folder, "mutated.msi")
    shutil.copyfile(package, copy)
    subprocess.run(["msibuild", copy, *change], cwd=folder, check=True, capture_output=True)
    return copy


def with_word_count(package, folder, count):
    with open(os.path.join(folder, "_SummaryInformation.idt"), "w", encoding="cp1252", newline="") as file:
        for line in export(package, "_SummaryInformation").splitlines():
            file.write((f"15\t{count}" if line.startswith("15\t") else line) + "\r\n")
    return changed(package, folder, "-i", "_SummaryInformation.idt")


def with_icon(package, folder, content):
    with open(os.path.join(folder, "other.ico"), "wb") as file:
        file.write(content)
    return changed(package, folder, "-a", "Icon.talvenor.ico", "other.ico")


def mutation_findings(package, version, icon):
    """Errors that would not be found."""
    with tempfile.TemporaryDirectory() as folder:
        before = set(findings(package, version, icon))
        mutations = [(lambda query=query: changed(package, folder, "-q", query), expected) for query, expected in MUTATIONS]
        mutations += [(lambda: with_word_count(package, folder, 0), "_SummaryInformation lacks 15, 2"),
                  (lambda: with_icon(package, folder, b"other"), "the icon differs")]
        for change, expected in mutations:
            found = set(findings(change(), version, icon)) - before
            if not any(finding.startswith(expected) for finding in found):
                yield f"would not be found: {expected}; found {sorted(found)}"
    print(f"   {len(mutations)} errors injected into the tables of the package")
