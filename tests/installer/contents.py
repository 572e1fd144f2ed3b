#!/usr/bin/env python3
"""Checks the contents of a release: tests/installer/contents.py DIST VERSION STAGE

The installer package and the portable archive hold exactly the files in FILES, identical to those of the staged folder. The
tables of the package, the checksums and the SBOM are correct. The exit status is 1 if anything is found.
"""
import hashlib
import json
import os
import subprocess
import sys
import tempfile
import zipfile

import tables

ICON = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../resources/talvenor.ico")
FILES = {"Licences.txt", "Manuals/ger/Zelmar_Talvenor_Hilfe.pdf", "Manuals/us/Zelmar_Talvenor_Hilfe.pdf", "talvenor.exe",
         "talvresgerx64.dll", "talvresusx64.dll"}
RUNTIME = {"libgcc", "libssp", "libstdc++", "mingw-w64 runtime", "winpthreads"}


def read(path):
    with open(path, "rb") as file:
        return file.read()


def in_folder(folder):
    return {os.path.relpath(os.path.join(place, name), folder): read(os.path.join(place, name))
            for place, _, names in os.walk(folder) for name in names}


def in_package(package):
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["msiextract", "--directory", folder, package], check=True, capture_output=True)
        return in_folder(os.path.join(folder, "Talvenor"))


def in_archive(archive, root):
    with zipfile.ZipFile(archive) as packed:
        return {name.removeprefix(root + "/"): packed.read(name) for name in packed.namelist()}


def content_findings(where, found, staged):
    for name in sorted(found.keys() ^ FILES):
        yield f"{where}: {name} is {'unexpected' if name in found else 'missing'}"
    for name in sorted(found.keys() & staged.keys()):
        if found[name] != staged[name]:
            yield f"{where}: {name} differs from the staged file"


def sum_findings(dist):
    lines = [line.split(maxsplit=1) for line in read(os.path.join(dist, "SHA256SUMS")).decode().splitlines()]
    sums = {name: digest for digest, name in lines}
    for name in sorted(sums.keys() ^ (set(os.listdir(dist)) - {"SHA256SUMS"})):
        yield f"SHA256SUMS and the folder differ in {name}"
    for name, digest in sums.items():
        if hashlib.sha256(read(os.path.join(dist, name))).hexdigest() != digest:
            yield f"SHA256SUMS: wrong for {name}"


def sbom_findings(sbom, staged):
    found = {entry["fileName"].removeprefix("./"): entry["checksums"][1]["checksumValue"] for entry in sbom["files"]}
    if found != {name: hashlib.sha256(data).hexdigest() for name, data in staged.items()}:
        yield "SBOM: files or checksums differ from the staged folder"
    names = {package["name"] for package in sbom["packages"]}
    if names != RUNTIME | {"Talvenor"}:
        yield f"SBOM: the packages are {sorted(names)}"
    known = {entry["SPDXID"] for key in ("files", "packages") for entry in sbom[key]} | {"SPDXRef-DOCUMENT"}
    for relationship in sbom["relationships"]:
        if {relationship["spdxElementId"], relationship["relatedSpdxElement"]} - known:
            yield f"SBOM: an unknown element in {relationship}"


def findings(dist, version, stage):
    root, staged = f"Talvenor-{version}", in_folder(stage)
    package = os.path.join(dist, f"{root}-x64.msi")
    yield from content_findings("installer package", in_package(package), staged)
    yield from content_findings("portable archive", in_archive(os.path.join(dist, f"{root}-x64-portable.zip"), root), staged)
    for finding in [*tables.findings(package, version, ICON), *tables.mutation_findings(package, version, ICON)]:
        yield f"installer package: {finding}"
    yield from sum_findings(dist)
    yield from sbom_findings(json.loads(read(os.path.join(dist, f"{root}.spdx.json"))), staged)


def main():
    found = list(findings(*sys.argv[1:]))
    # Tests this check: it must find an extra file, a missing one and a changed one.
    staged = in_folder(sys.argv[3])
    mutated = {**staged, "cadserver.exe": b"", "talvenor.exe": b"other"}
    del mutated["Licences.txt"]
    if len(list(content_findings("test", mutated, staged))) != 3:
        found.append("wrong contents would not be found")
    for finding in found:
        print("   " + finding)
    print(f"   {len(FILES)} files in each package, {len(found)} findings")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
