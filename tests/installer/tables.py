"""Checks the tables of the installer package. Then checks itself: errors injected into the tables must be found."""
import os
import shutil
import subprocess
import tempfile

UPGRADE_CODE = "{D68003F5-A04E-4B17-9156-DE64D5E4DF2A}"  # of all versions and editions
PROPERTIES = {"ALLUSERS": "1", "ARPPRODUCTICON": "talvenor.ico", "ProductName": "Talvenor", "Manufacturer": "Talvenor",
              "REINSTALLMODE": "amus", "UpgradeCode": UPGRADE_CODE}
# Of the package's own properties, Windows Installer passes only these to its elevated part (documentation:
# "SecureCustomProperties property").
SECURE = {"INSTALLDIR", "NEWERFOUND", "REPLACED", "WINDOWSBUILD"}
WINDOWS_CONDITION = "Installed OR (VersionNT64 AND WINDOWSBUILD >= 15063)"
LANGUAGE_IDS = {"german": "1031", "english": "1033"}
MESSAGES = {
    "german": ("Eine neuere Version von Talvenor ist schon installiert.",
               "Talvenor braucht Windows 10 Version 1703 oder neuer (64 Bit)."),
    "english": ("A newer version of Talvenor is already installed.",
                "Talvenor needs Windows 10 version 1703 or later (64-bit)."),
}
SHORTCUTS = {"german": "Normteile umsetzen", "english": "Convert standard parts"}
FOLDERS = {("TARGETDIR", "", "SourceDir"), ("ProgramFiles64Folder", "TARGETDIR", "."), ("ProgramMenuFolder", "TARGETDIR", "."),
           ("INSTALLDIR", "ProgramFiles64Folder", "Talvenor"), ("ManualsFolder", "INSTALLDIR", "Manuals"),
           ("GermanManualFolder", "ManualsFolder", "ger"), ("EnglishManualFolder", "ManualsFolder", "us")}


def expected_rows(version, edition):
    """{table: columns, and the expected rows of these columns}"""
    newer, windows = MESSAGES[edition]
    return {
        "AppSearch": (("Property", "Signature_"), {("INSTALLDIR", "OwnFolder"), ("WINDOWSBUILD", "WindowsBuild")}),
        # Root 2: HKEY_LOCAL_MACHINE. Type 0: the value names a folder; 2: raw value; plus 16: 64-bit registry.
        "RegLocator": (("Signature_", "Root", "Key", "Name", "Type"), {
            ("OwnFolder", "2", "SOFTWARE\\Talvenor\\Setup", "Program", "16"),
            ("WindowsBuild", "2", "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", "CurrentBuildNumber", "18")}),
        "LaunchCondition": (("Condition", "Description"), {("NOT NEWERFOUND", newer), (WINDOWS_CONDITION, windows)}),
        # No language: any language. Attributes 2: only detected; 256 and 512: VersionMin and VersionMax are included.
        "Upgrade": (("UpgradeCode", "VersionMin", "VersionMax", "Language", "Attributes", "ActionProperty"), {
            (UPGRADE_CODE, "0.0.0", version, "", "768", "REPLACED"),
            (UPGRADE_CODE, version, "", "", "2", "NEWERFOUND")}),
        # Type 51: sets the property Source to Target
        "CustomAction": (("Action", "Type", "Source", "Target"), {
            ("InstallLocation", "51", "ARPINSTALLLOCATION", "[INSTALLDIR]")}),
        "Directory": (("Directory", "Directory_Parent", "DefaultDir"), FOLDERS),
        "Shortcut": (("Directory_", "Target", "Icon_", "WkDir", "Description"), {
            ("ProgramMenuFolder", "[#talvenor.exe]", "", "INSTALLDIR", SHORTCUTS[edition])}),
        "Icon": (("Name",), {("talvenor.ico",)}),
        # Property 7: platform and language. Property 15, the word count: 2 means compressed files with long names.
        "_SummaryInformation": (("PropertyId", "Value"), {("7", f"x64;{LANGUAGE_IDS[edition]}"), ("15", "2")}),
    }


OPEN_TABLES = {"_SummaryInformation"}  # may hold other rows as well
# The old version is removed after InstallInitialize, which begins the transaction, and before any part of the new version
# is installed. The installation folder is known before InstallLocation stores the folder.
ORDERS = {"InstallExecuteSequence": [("FindRelatedProducts", "LaunchConditions"), ("AppSearch", "LaunchConditions"),
                                     ("AppSearch", "CostInitialize", "CostFinalize", "InstallLocation", "InstallValidate"),
                                     ("InstallInitialize", "RemoveExistingProducts", "ProcessComponents", "InstallFiles",
                                      "RegisterProduct", "InstallFinalize")],
          "InstallUISequence": [("FindRelatedProducts", "LaunchConditions"), ("AppSearch", "LaunchConditions"),
                                ("AppSearch", "CostInitialize", "CostFinalize", "ExecuteAction")]}


def export(package, name):
    with tempfile.TemporaryDirectory() as folder:  # msiinfo leaves the streams of a table in the working folder
        return subprocess.run(["msiinfo", "export", os.path.abspath(package), name], cwd=folder, check=True,
                              capture_output=True, encoding="cp1252").stdout


def table(package, name):
    """The rows, each as {column: value}."""
    columns, _, _, *rows = [line.split("\t") for line in export(package, name).splitlines()]
    return [dict(zip(columns, row)) for row in rows]


def product_code(package):
    return next(row["Value"] for row in table(package, "Property") if row["Property"] == "ProductCode")


def property_findings(package, version, edition):
    found = {row["Property"]: row["Value"] for row in table(package, "Property")}
    for name, expected in {**PROPERTIES, "ProductVersion": version, "ProductLanguage": LANGUAGE_IDS[edition]}.items():
        if found.get(name) != expected:
            yield f"property {name} is {found.get(name)!r}, not {expected!r}"
    for name in sorted(SECURE - set(found.get("SecureCustomProperties", "").split(";"))):
        yield f"SecureCustomProperties lacks {name}"


def file_findings(package, version):
    for row in table(package, "File"):
        expected = f"{version}.0" if row["FileName"].endswith((".exe", ".dll")) else ""
        if row["Version"] != expected:
            yield f"{row['FileName']} has the version {row['Version']!r}, not {expected!r}"


def row_findings(package, version, edition):
    for name, (columns, expected) in expected_rows(version, edition).items():
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


def removal_findings(package):
    """The removal must follow InstallInitialize directly: no action in between may write to the installation script."""
    rows = sorted(table(package, "InstallExecuteSequence"), key=lambda row: int(row["Sequence"]))
    actions = [row["Action"] for row in rows]
    if "RemoveExistingProducts" in actions:
        before = actions[actions.index("RemoveExistingProducts") - 1]
        if before != "InstallInitialize":
            yield f"RemoveExistingProducts follows {before}, not InstallInitialize"


def icon_findings(package, icon):
    stream = subprocess.run(["msiinfo", "extract", package, "Icon.talvenor.ico"], capture_output=True).stdout
    with open(icon, "rb") as file:
        if stream != file.read():
            yield "the icon differs from the program's"


def findings(package, version, edition, icon):
    yield from property_findings(package, version, edition)
    yield from file_findings(package, version)
    yield from row_findings(package, version, edition)
    yield from order_findings(package)
    yield from removal_findings(package)
    yield from icon_findings(package, icon)


def set_property(name, text):
    return f"UPDATE `Property` SET `Value`='{text}' WHERE `Property`='{name}'"


def upgrade_row(columns, values):
    return (f"INSERT INTO `Upgrade` (`UpgradeCode`, `VersionMin`, {columns}, `ActionProperty`) "
            f"VALUES ('{UPGRADE_CODE}', '0.0.0', {values}, 'REPLACED')")


# A change to a copy of the package, and the beginning of the finding that it must cause
MUTATIONS = [
    (set_property("ALLUSERS", "2"), "property ALLUSERS is '2'"),
    ("DELETE FROM `Property` WHERE `Property`='ARPPRODUCTICON'", "property ARPPRODUCTICON is None"),
    *[(set_property("SecureCustomProperties", ";".join(sorted(SECURE - {name}))), f"SecureCustomProperties lacks {name}")
      for name in sorted(SECURE)],
    ("UPDATE `File` SET `Version`='' WHERE `File`='talvenor.exe'", "talvenor.exe has the version ''"),
    ("DELETE FROM `AppSearch` WHERE `Property`='WINDOWSBUILD'", "AppSearch lacks WINDOWSBUILD"),
    ("UPDATE `RegLocator` SET `Type`=2 WHERE `Signature_`='WindowsBuild'", "RegLocator lacks WindowsBuild"),
    (f"UPDATE `LaunchCondition` SET `Description`='Nein.' WHERE `Condition`='{WINDOWS_CONDITION}'",
     "LaunchCondition lacks Installed OR"),
    (f"DELETE FROM `LaunchCondition` WHERE `Condition`='{WINDOWS_CONDITION}'", "LaunchCondition lacks Installed OR"),
    (set_property("ProductLanguage", "0"), "property ProductLanguage is '0'"),
    (set_property("REINSTALLMODE", "omus"), "property REINSTALLMODE is 'omus'"),
    (upgrade_row("`Attributes`", "256"), "Upgrade should not hold {D68003F5"),
    (upgrade_row("`Attributes`, `Language`", "768, '1031'"), "Upgrade should not hold {D68003F5"),
    ("DELETE FROM `Upgrade` WHERE `ActionProperty`='REPLACED'", "Upgrade lacks {D68003F5"),
    ("UPDATE `Directory` SET `Directory_Parent`='TARGETDIR' WHERE `Directory`='ManualsFolder'",
     "Directory lacks ManualsFolder"),
    ("UPDATE `CustomAction` SET `Source`='INSTALLLOCATION' WHERE `Action`='InstallLocation'",
     "CustomAction lacks InstallLocation"),
    ("DELETE FROM `InstallExecuteSequence` WHERE `Action`='InstallLocation'",
     "InstallExecuteSequence lacks InstallLocation"),
    ("UPDATE `InstallExecuteSequence` SET `Sequence`=801 WHERE `Action`='InstallLocation'",
     "the order in InstallExecuteSequence is not AppSearch, CostInitialize"),
    ("UPDATE `Shortcut` SET `Description`='' WHERE `Shortcut`='StartMenu'", "Shortcut lacks ProgramMenuFolder"),
    ("UPDATE `Shortcut` SET `Icon_`='talvenor.ico' WHERE `Shortcut`='StartMenu'", "Shortcut lacks ProgramMenuFolder"),
    ("UPDATE `Shortcut` SET `WkDir`='' WHERE `Shortcut`='StartMenu'", "Shortcut lacks ProgramMenuFolder"),
    ("DELETE FROM `Icon` WHERE `Name`='talvenor.ico'", "Icon lacks talvenor.ico"),
    ("DELETE FROM `InstallUISequence` WHERE `Action`='ExecuteAction'", "InstallUISequence lacks ExecuteAction"),
    ("DELETE FROM `InstallUISequence` WHERE `Action`='LaunchConditions'", "InstallUISequence lacks LaunchConditions"),
    ("DELETE FROM `InstallExecuteSequence` WHERE `Action`='AppSearch'", "InstallExecuteSequence lacks AppSearch"),
    ("UPDATE `InstallExecuteSequence` SET `Sequence`=49 WHERE `Action`='LaunchConditions'",
     "the order in InstallExecuteSequence is not AppSearch, LaunchConditions"),
    ("UPDATE `InstallExecuteSequence` SET `Sequence`=1401 WHERE `Action`='RemoveExistingProducts'",
     "the order in InstallExecuteSequence is not InstallInitialize, RemoveExistingProducts"),
    ("UPDATE `InstallExecuteSequence` SET `Sequence`=6700 WHERE `Action`='RemoveExistingProducts'",
     "the order in InstallExecuteSequence is not InstallInitialize, RemoveExistingProducts"),
    ("UPDATE `InstallExecuteSequence` SET `Sequence`=1601 WHERE `Action`='RemoveExistingProducts'",
     "RemoveExistingProducts follows ProcessComponents"),
    ("DELETE FROM `InstallExecuteSequence` WHERE `Action`='RemoveExistingProducts'",
     "InstallExecuteSequence lacks RemoveExistingProducts"),
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


def mutation_findings(package, version, edition, icon):
    """Injects errors into copies of the package, and yields the errors that the checks would not find."""
    with tempfile.TemporaryDirectory() as folder:
        before = set(findings(package, version, edition, icon))
        mutations = [(lambda query=query: changed(package, folder, "-q", query), expected) for query, expected in MUTATIONS]
        mutations += [(lambda: with_word_count(package, folder, 0), "_SummaryInformation lacks 15, 2"),
                  (lambda: with_icon(package, folder, b"other"), "the icon differs")]
        for change, expected in mutations:
            found = set(findings(change(), version, edition, icon)) - before
            if not any(finding.startswith(expected) for finding in found):
                yield f"would not be found: {expected}; found {sorted(found)}"
    print(f"   {len(mutations)} errors injected into the tables of the package")
