#!/usr/bin/env python3
"""Makes the Windows Installer package of an edition: installer/package.py FOLDER VERSION german|english PACKAGE.msi

FOLDER holds the files to install, as staged by tools/release. All times in the package are SOURCE_DATE_EPOCH. The same
files, version, edition and time give the same bytes, because product code and package code are derived from them. The
version alone is not enough for the product code: Windows Installer refuses a package that has the product code of the
installed package but another package code (error 1638). Needs Debian's wixl and msitools.
"""
import hashlib
import os
import shutil
import subprocess
import sys
import tempfile
import time
import uuid

HERE = os.path.dirname(os.path.abspath(__file__))
NAMESPACE = uuid.UUID("71d910c2-d687-4556-9b68-e17fb9ea052b")
UPGRADE_CODE = "D68003F5-A04E-4B17-9156-DE64D5E4DF2A"  # of all versions and editions
LANGUAGE_IDS = {"german": 1031, "english": 1033}  # of the editions
VERSIONED = ["talvenor.exe", "talvresgerx64.dll", "talvresusx64.dll"]
# Windows Installer passes only these properties to its elevated side (documentation: "SecureCustomProperties property").
SECURE = "REPLACED;NEWERFOUND;INSTALLDIR;WINDOWSBUILD"


def files_below(folder):
    return sorted(os.path.relpath(os.path.join(place, name), folder)
                  for place, _, names in os.walk(folder) for name in names)


def digest_of(folder):
    digest = hashlib.sha256()
    for name in files_below(folder):
        with open(os.path.join(folder, name), "rb") as file:
            digest.update(f"{name}\0{hashlib.sha256(file.read()).hexdigest()}\n".encode("utf-8"))
    return digest.hexdigest()


def copy_inputs(folder, source, when):
    """Copies the folder and the other inputs of the package. Sets the times of the copies, which the cabinet keeps."""
    shutil.copytree(folder, source)
    for other in ("installer/talvenor.wxs", "resources/talvenor.ico"):
        shutil.copy(os.path.join(HERE, "..", other), source)
    for name in files_below(source):
        os.utime(os.path.join(source, name), (when, when))


def run(*command, cwd):
    """Runs a tool and treats any output as an error. Ignores wixl's "unimplemented" lines, which concern nothing used
    here."""
    done = subprocess.run(command, cwd=cwd, capture_output=True, encoding="utf-8", env={**os.environ, "TZ": "UTC"})
    errors = [line for line in (done.stdout + done.stderr).splitlines()
                  if line.strip() and not line.endswith(": unimplemented")]
    if done.returncode or errors:
        sys.exit(f"{command[0]} failed (status {done.returncode}):\n" + "\n".join(errors))


def queries(version):
    """The SQL statements that set what wixl leaves out. Without file versions in the package, Windows Installer would keep
    installed files: it treats a file without a version as older than any file with a version. The package replaces all
    versions up to its own, in both editions, and earlier builds of its own version. 0x100 and 0x200 include both limits
    (documentation: "Upgrade table")."""
    for name in VERSIONED:
        yield f"UPDATE `File` SET `Version`='{version}.0' WHERE `File`='{name}'"
        yield f"DELETE FROM `MsiFileHash` WHERE `File_`='{name}'"
    yield ("INSERT INTO `Upgrade` (`UpgradeCode`, `VersionMin`, `VersionMax`, `Attributes`, `ActionProperty`) "
           f"VALUES ('{{{UPGRADE_CODE}}}', '0.0.0', '{version}', {0x100 | 0x200}, 'REPLACED')")
    yield f"UPDATE `Property` SET `Value`='{SECURE}' WHERE `Property`='SecureCustomProperties'"


def summary(package, code, language, when, cwd):
    """The summary information that wixl wrote, but with our package code, platform, language and times."""
    text = subprocess.run(["msiinfo", "export", package, "_SummaryInformation"], cwd=cwd, check=True,
                          capture_output=True, encoding="cp1252").stdout
    stamp = time.strftime("%Y/%m/%d %H:%M:%S", time.gmtime(when))
    ours = {"7": f"x64;{language}", "9": "{%s}" % str(code).upper(), "12": stamp, "13": stamp}
    rows = [line.split("\t", 1) for line in text.splitlines()]
    return "".join(f"{key}\t{ours.get(key, rest)}\r\n" for key, rest in rows)


def main():
    folder, version, edition, package = sys.argv[1:]
    when, language = int(os.environ["SOURCE_DATE_EPOCH"]), LANGUAGE_IDS[edition]
    with tempfile.TemporaryDirectory() as work:
        source = os.path.join(work, "source")
        copy_inputs(folder, source, when)
        build = f"{edition} {version} {when} {digest_of(source)}"
        product, code = (uuid.uuid5(NAMESPACE, f"{kind} {build}") for kind in ("product", "package"))
        made = os.path.join(work, "made.msi")
        defines = {"Edition": edition, "LanguageId": language, "Version": version, "ProductCode": str(product).upper(),
                   "UpgradeCode": UPGRADE_CODE}
        run("wixl", "--arch", "x64", *(part for name, value in defines.items() for part in ("-D", f"{name}={value}")),
            "--output", made, "talvenor.wxs", cwd=source)
        run("msibuild", made, "-q", *queries(version), cwd=work)
        with open(os.path.join(work, "_SummaryInformation.idt"), "w", encoding="cp1252", newline="") as table:
            table.write(summary(made, code, language, when, work))
        run("msibuild", made, "-i", "_SummaryInformation.idt", cwd=work)
        shutil.copyfile(made, package)


if __name__ == "__main__":
    main()
