#!/usr/bin/env python3
"""Checks the contents of a release: tests/installer/contents.py DIST VERSION STAGE

STAGE holds the staged folders: german, english and symbols. The script checks:

- In both editions, the installer package and the portable archive hold exactly the files in FILES, identical to the
  staged files. The tables of the package and the SBOM are correct.
- The symbols belong to the delivered programs.
- The self-check holds the delivered programs, selfcheck.exe, check.cmd and its packages. Its own checksums
  match its files.
- The checksums cover all files and are correct.

The exit status is 1 if anything is found.
"""
import hashlib
import json
import os
import re
import subprocess
import sys
import tempfile
import zipfile

import tables

EDITIONS = {"german": "de", "english": "en"}
STRIP, ADDRESS_TO_LINE = "x86_64-w64-mingw32-strip", "x86_64-w64-mingw32-addr2line"
ICON = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../resources/talvenor.ico")
FILES = {"Licences.txt", "Manuals/ger/Zelmar_Talvenor_Hilfe.pdf", "Manuals/us/Zelmar_Talvenor_Hilfe.pdf", "talvenor.exe",
         "talvresgerx64.dll", "talvresusx64.dll"}
CHECK_PACKAGES = ("older", "current", "rebuilt", "failing")
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


def check_findings(found, delivered):
    """found: the files of the self-check; delivered: the programs that users get, by edition."""
    for edition, program in delivered.items():
        if found.get(f"talvenor_{edition}.exe") != program:
            yield f"self-check: talvenor_{edition}.exe is not the delivered program"
    sums = dict(reversed(line.split(maxsplit=1)) for line in found.get("SHA256SUMS", b"").decode().splitlines())
    if sums != {name: hashlib.sha256(data).hexdigest() for name, data in found.items() if name != "SHA256SUMS"}:
        yield "self-check: SHA256SUMS does not match the files of the self-check"
    for name in ("selfcheck.exe", "check.cmd", *(f"packages/{kind}.msi" for kind in CHECK_PACKAGES)):
        if name not in found:
            yield f"self-check: {name} is missing"


def stripped(program):
    """The bytes of the program without its symbols."""
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "talvenor.exe")
        with open(path, "wb") as file:
            file.write(program)
        # Without SOURCE_DATE_EPOCH, strip writes the time into the header.
        subprocess.run([STRIP, path], check=True, env={**os.environ, "SOURCE_DATE_EPOCH": "0"})
        return read(path)


def place_of(program, linker_map, function):
    """Looks up a function's address in the linker map, and returns the source line that the symbols have for it."""
    address = re.search(rf"^ +0x([0-9a-f]+) +{re.escape(function)}$", linker_map.decode(), re.MULTILINE)
    if not address:
        return "no address"
    with tempfile.NamedTemporaryFile(suffix=".exe") as file:
        file.write(program)
        file.flush()
        return subprocess.run([ADDRESS_TO_LINE, "-e", file.name, address.group(1)], check=True, capture_output=True,
                              encoding="utf-8").stdout


def symbol_findings(archived, delivered):
    """archived: the files in the archive of symbols; delivered: the programs that users get, by edition."""
    expected = {f"{code}/{name}" for code in EDITIONS.values() for name in ("talvenor.exe", "talvenor.map")}
    for name in sorted(archived.keys() ^ expected):
        yield f"symbols: {name} is {'unexpected' if name in archived else 'missing'}"
    for code in sorted({name.split("/")[0] for name in archived.keys() & expected}):
        program, linker_map = (archived.get(f"{code}/{name}", b"") for name in ("talvenor.exe", "talvenor.map"))
        if stripped(program) != delivered[code]:
            yield f"symbols: {code}/talvenor.exe is not the delivered program"
        if "framework/WinApp.cpp" not in (place := place_of(program, linker_map, "CWinApp::Get()")):
            yield f"symbols: {code}/talvenor.map and talvenor.exe do not lead to a source line: {place}"


def edition_findings(dist, version, edition, staged):
    root = f"Talvenor-{version}-{EDITIONS[edition]}"
    package = os.path.join(dist, f"{root}-x64.msi")
    yield from content_findings("installer package", in_package(package), staged)
    yield from content_findings("portable archive", in_archive(os.path.join(dist, f"{root}-x64-portable.zip"), root), staged)
    for finding in [*tables.findings(package, version, edition, ICON),
                    *tables.mutation_findings(package, version, edition, ICON)]:
        yield f"installer package: {finding}"
    yield from sbom_findings(json.loads(read(os.path.join(dist, f"{root}.spdx.json"))), staged)


def code_findings(codes):
    """Checks that the product codes differ. Editions with the same product code could not replace each other."""
    if len(set(codes)) != len(EDITIONS):
        yield f"the product codes are {codes}"


def findings(dist, version, stage):
    staged = {edition: in_folder(os.path.join(stage, edition)) for edition in EDITIONS}
    for edition, code in EDITIONS.items():
        for finding in edition_findings(dist, version, edition, staged[edition]):
            yield f"{code}: {finding}"
    yield from code_findings([tables.product_code(os.path.join(dist, f"Talvenor-{version}-{code}-x64.msi"))
                              for code in EDITIONS.values()])
    yield from check_findings(in_archive(os.path.join(dist, f"Talvenor-{version}-windows-check.zip"),
                                         f"Talvenor-{version}-windows-check"),
                              {edition: files["talvenor.exe"] for edition, files in staged.items()})
    symbols = in_archive(os.path.join(dist, f"Talvenor-{version}-symbols.zip"), f"Talvenor-{version}-symbols")
    yield from symbol_findings(symbols, {EDITIONS[edition]: files["talvenor.exe"] for edition, files in staged.items()})
    yield from sum_findings(dist)


def undetected(staged, symbols):
    """Injects errors, and yields the errors that the checks would not find."""
    mutated = {**staged, "cadserver.exe": b"", "talvenor.exe": b"other"}
    del mutated["Licences.txt"]
    if len(list(content_findings("test", mutated, staged))) != 3:
        yield "wrong contents would not be found"
    delivered = {code: stripped(symbols[f"{code}/talvenor.exe"]) for code in EDITIONS.values()}
    exchanged = {**symbols, "de/talvenor.exe": symbols["en/talvenor.exe"]}
    if not list(symbol_findings(exchanged, delivered)):
        yield "symbols of the other edition would not be found"
    without_lines = {**symbols, "de/talvenor.exe": delivered["de"]}
    if not any("source line" in finding for finding in symbol_findings(without_lines, delivered)):
        yield "missing symbols would not be found"
    if not list(symbol_findings({"de/talvenor.exe": symbols["de/talvenor.exe"]}, delivered)):
        yield "a missing linker map would not be found"
    if not list(code_findings(["{1}", "{1}"])):
        yield "equal product codes would not be found"


def main():
    dist, version, stage = sys.argv[1:]
    found = list(findings(dist, version, stage))
    found += undetected(in_folder(os.path.join(stage, "german")), in_folder(os.path.join(stage, "symbols")))
    for finding in found:
        print("   " + finding)
    print(f"   {len(FILES)} files in each package, {len(found)} findings")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
