#!/usr/bin/env python3
"""Checks headers, manifest and symbols of the built files: tests/hardening/built_files.py BUILD_FOLDER

Parses the headers of talvenor.exe and the two resource libraries in BUILD_FOLDER/bin, compares the program with the
unstripped program, and searches the object files of the program's modules. Then tests itself: breaks most of
these properties in copies of the files in memory, and reports a finding if the check misses the break. The
exit status is 1 if anything is found.
"""
import glob
import os
import struct
import sys

MODULES = ["cad", "core", "files", "framework", "platform", "run", "text", "ui"]
RESOURCE_LIBRARIES = ["talvresgerx64.dll", "talvresusx64.dll"]

RELOCATIONS_STRIPPED = 0x0001  # IMAGE_FILE_HEADER.Characteristics
FLAGS = {0x0020: "high-entropy addresses", 0x0040: "a relocatable base", 0x0100: "data execution prevention"}
IMPORTS, RELOCATIONS, TLS, DELAYED_IMPORTS = 1, 5, 9, 13
EXECUTE, WRITE = 0x20000000, 0x80000000

# Libraries that Windows always loads from its system folder (documentation: "Dynamic-link library search order", known
# DLLs). The common controls are not among these libraries, but the manifest binds them to the side-by-side store.
KNOWN_LIBRARIES = {"advapi32.dll", "comdlg32.dll", "gdi32.dll", "kernel32.dll", "msvcrt.dll", "ole32.dll",
                   "oleaut32.dll", "shell32.dll", "user32.dll"}
VERSION_OF_WINDOWS = (10, 0)  # Windows 10 and 11 share this number

COMMON_CONTROLS = "comctl32.dll"
COMMON_CONTROLS_MANIFEST = b"Microsoft.Windows.Common-Controls"

# Windows uses the first value of this list that it knows.
SCALING_MANIFEST = b"WindowsSettings\">PerMonitorV2, system</dpiAwareness>"

# The program must call this function. The effect of the call shows on Windows only, so the check looks for the import:
# the name occurs nowhere else in the program.
NO_GHOST_WINDOWS = b"\0DisableProcessWindowsGhosting\0"

SYMBOLS_LACK = ["has no symbols in the unstripped program", "has no linker map"]

STACK_CHECK = b"__stack_chk_fail"
STACK_CHECK_MESSAGE = b"*** stack smashing detected ***"


class Image:
    """The headers of a 64-bit PE file. Keeps the offsets of fields, for the mutations."""

    def __init__(self, data):
        self.data = bytearray(data)
        pe = self.number("<I", 0x3C)
        if self.data[pe:pe + 4] != b"PE\0\0" or self.number("<H", pe + 24) != 0x20B:
            raise ValueError("not a 64-bit PE file")
        self.time_at = pe + 8
        self.symbol_count_at = pe + 16
        self.file_flags_at = pe + 22
        self.entry_at = pe + 24 + 16
        self.system_version_at = pe + 24 + 40
        self.subsystem_version_at = pe + 24 + 48
        self.flags_at = pe + 24 + 70
        self.directories_at = pe + 24 + 112
        sections_at = pe + 24 + self.number("<H", pe + 20)
        self.section_headers = [sections_at + 40 * i for i in range(self.number("<H", pe + 6))]

    def number(self, form, at):
        return struct.unpack_from(form, self.data, at)[0]

    def directory(self, index):
        """Address and size of a data directory."""
        return struct.unpack_from("<II", self.data, self.directories_at + 8 * index)

    def offset(self, address):
        for header in self.section_headers:
            start, size, raw = (self.number("<I", header + at) for at in (12, 16, 20))
            if start <= address < start + size:
                return address - start + raw
        raise ValueError(f"no section holds the address {address:#x}")

    def code(self):
        """Address and bytes of each executable section."""
        return [(address, bytes(self.data[raw:raw + min(size, raw_size)]))
                for size, address, raw_size, raw in (struct.unpack_from("<4I", self.data, header + 8)
                                                     for header in self.section_headers
                                                     if self.number("<I", header + 36) & EXECUTE)]

    def import_names(self):
        """The imported libraries: (name, file offset of the name)."""
        address, _ = self.directory(IMPORTS)
        names = []
        at = self.offset(address) if address else None
        while at is not None and (name_at := self.number("<I", at + 12)):
            name_offset = self.offset(name_at)
            end = self.data.index(0, name_offset)
            names.append((self.data[name_offset:end].decode("ascii").lower(), name_offset))
            at += 20
        return names


def common_findings(image):
    flags = image.number("<H", image.flags_at)
    for flag, name in FLAGS.items():
        if not flags & flag:
            yield f"lacks {name}"
    if image.number("<H", image.file_flags_at) & RELOCATIONS_STRIPPED:
        yield "has its relocations stripped"
    for at, name in ((image.system_version_at, "system"), (image.subsystem_version_at, "subsystem")):
        if struct.unpack_from("<HH", image.data, at) != VERSION_OF_WINDOWS:
            yield f"is for another {name} version than Windows 10"
    if image.number("<I", image.time_at) != 0:
        yield "holds the time of its build"
    for header in image.section_headers:
        if image.number("<I", header + 36) & EXECUTE and image.number("<I", header + 36) & WRITE:
            yield "has a writable and executable section"


def program_findings(image):
    yield from common_findings(image)
    if image.directory(RELOCATIONS)[1] == 0:
        yield "has no relocations"
    if image.directory(DELAYED_IMPORTS)[0] != 0:
        yield "delay-loads a library"
    for name, _ in image.import_names():
        if name == COMMON_CONTROLS:
            if COMMON_CONTROLS_MANIFEST not in image.data:
                yield f"imports {name} without a manifest that binds it"
        elif name not in KNOWN_LIBRARIES:
            yield f"imports {name}"
    if not image.import_names():
        yield "has no imports: misread"
    if SCALING_MANIFEST not in image.data:
        yield "lacks the manifest's words on scaling"
    if NO_GHOST_WINDOWS not in image.data:
        yield "leaves ghost windows on"
    if STACK_CHECK_MESSAGE not in image.data:
        yield "has no stack check"


def resource_findings(image):
    yield from common_findings(image)
    if image.number("<I", image.entry_at) != 0:
        yield "has an entry point"
    if image.directory(TLS)[0] != 0:
        yield "has start-up code"
    if image.import_names():
        yield "imports a library"


def symbol_findings_of(unstripped, linker_map):
    """Returns a check of the stripped program: whether the unstripped program and its linker map can name its functions."""
    def findings(program):
        if program.number("<I", program.symbol_count_at) != 0:
            yield "is not stripped"
        if unstripped.number("<I", unstripped.symbol_count_at) == 0:
            yield SYMBOLS_LACK[0]
        if b"wWinMain" not in linker_map:
            yield SYMBOLS_LACK[1]
        if program.code() != unstripped.code():
            yield "has other code than the unstripped program"
    return findings


def object_findings(build):
    """Modules without an object file that calls the stack check."""
    for module in MODULES:
        objects = glob.glob(f"{build}/CMakeFiles/talvenor_{module}.dir/**/*.obj", recursive=True)
        if not any(STACK_CHECK in read(path) for path in objects):
            yield f"module {module}: none of {len(objects)} object files has stack checks"


def read(path):
    with open(path, "rb") as file:
        return file.read()


def without_flag(flag):
    return lambda image: struct.pack_into("<H", image.data, image.flags_at,
                                          image.number("<H", image.flags_at) & ~flag)


def with_directory(index, address, size):
    return lambda image: struct.pack_into("<II", image.data, image.directories_at + 8 * index, address, size)


def strip_relocations(image):
    struct.pack_into("<H", image.data, image.file_flags_at,
                     image.number("<H", image.file_flags_at) | RELOCATIONS_STRIPPED)


def with_old_version(at_name):
    return lambda image: struct.pack_into("<HH", image.data, getattr(image, at_name), 5, 2)


def set_time(image):
    struct.pack_into("<I", image.data, image.time_at, 0x40000000)


def make_section_writable(image):
    struct.pack_into("<I", image.data, image.section_headers[0] + 36, EXECUTE | WRITE)


def rename_import(image):
    name_offset = next(offset for name, offset in image.import_names() if name == "gdi32.dll")
    image.data[name_offset:name_offset + 3] = b"xyz"


def overwrite(old):
    def mutation(image):
        image.data[:] = image.data.replace(old, old[::-1])
    return mutation


def count_a_symbol(image):
    struct.pack_into("<I", image.data, image.symbol_count_at, 1)


def change_code(image):
    image.data[image.offset(image.code()[0][0])] ^= 0xFF


def set_entry_point(image):
    struct.pack_into("<I", image.data, image.entry_at, 0x1000)


COMMON_MUTATIONS = {**{f"lacks {name}": without_flag(flag) for flag, name in FLAGS.items()},
                    "has its relocations stripped": strip_relocations,
                    "is for another system version than Windows 10": with_old_version("system_version_at"),
                    "is for another subsystem version than Windows 10": with_old_version("subsystem_version_at"),
                    "holds the time of its build": set_time,
                    "has a writable and executable section": make_section_writable}
PROGRAM_MUTATIONS = {**COMMON_MUTATIONS,
                     "has no relocations": with_directory(RELOCATIONS, 0, 0),
                     "delay-loads a library": with_directory(DELAYED_IMPORTS, 0x1000, 0x20),
                     "imports xyz32.dll": rename_import,
                     "imports comctl32.dll without a manifest that binds it": overwrite(COMMON_CONTROLS_MANIFEST),
                     "has no imports: misread": with_directory(IMPORTS, 0, 0),
                     "lacks the manifest's words on scaling": overwrite(SCALING_MANIFEST),
                     "leaves ghost windows on": overwrite(NO_GHOST_WINDOWS),
                     "has no stack check": overwrite(STACK_CHECK_MESSAGE)}
RESOURCE_MUTATIONS = {**COMMON_MUTATIONS, "has an entry point": set_entry_point,
                      "has start-up code": with_directory(TLS, 0x1000, 0x28)}
SYMBOL_MUTATIONS = {"is not stripped": count_a_symbol, "has other code than the unstripped program": change_code}


def check_file(path, findings_of, mutations):
    """The findings about a file, and a finding for each mutation that the check does not notice."""
    data = read(path)
    name = os.path.basename(path)
    for finding in findings_of(Image(data)):
        yield f"{name} {finding}"
    for expected, mutate in mutations.items():
        image = Image(data)
        mutate(image)
        if expected not in findings_of(image):
            yield f"{name}: the check would not find that it {expected}"


def check_symbols(program, symbols):
    unstripped, linker_map = Image(read(f"{symbols}.exe")), read(f"{symbols}.map")
    yield from check_file(program, symbol_findings_of(unstripped, linker_map), SYMBOL_MUTATIONS)
    stripped = Image(read(program))
    for expected in set(SYMBOLS_LACK) - set(symbol_findings_of(stripped, b"")(stripped)):
        yield f"{os.path.basename(program)}: the check would not find that it {expected}"


def main():
    build = sys.argv[1]
    findings = list(check_file(f"{build}/bin/talvenor.exe", program_findings, PROGRAM_MUTATIONS))
    for library in RESOURCE_LIBRARIES:
        findings += check_file(f"{build}/bin/{library}", resource_findings, RESOURCE_MUTATIONS)
    findings += check_symbols(f"{build}/bin/talvenor.exe", f"{build}/symbols/talvenor/talvenor")
    findings += object_findings(build)
    for finding in findings:
        print(finding)
    print(f"{1 + len(RESOURCE_LIBRARIES)} files and {len(MODULES)} modules checked, {len(findings)} findings")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
