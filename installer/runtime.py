"""The compiler's libraries that are linked into the program, and their licences.

The linker map names the libraries; the copyright files of the Debian packages name the licences.
"""
import collections
import os
import re
import subprocess

Library = collections.namedtuple("Library", "name files package version licences texts")

# The library that each file belongs to. Any other file of mingw-w64 belongs to the mingw-w64 runtime.
LIBRARY_OF_FILE = {"libgcc.a": "libgcc", "libgcc_eh.a": "libgcc", "crtbegin.o": "libgcc", "crtend.o": "libgcc",
                   "libstdc++.a": "libstdc++", "libssp.a": "libssp", "libssp_nonshared.a": "libssp",
                   "libpthread.a": "winpthreads", "libwinpthread.a": "winpthreads"}
MINGW, RUNTIME = "mingw-w64", "mingw-w64 runtime"
SOURCES = {"winpthreads": ("mingw-w64-libraries/winpthreads/",), RUNTIME: ("*", "mingw-w64-crt/")}
NEVER_LINKED = ("mingw-w64-libraries/winpthreads/tests",)
GCC_TERMS = ("The following runtime libraries are licensed under the terms of the GNU General Public License (v3 or later) "
             "with version 3.1 of the GCC Runtime Library Exception")
GCC_NAMES = {"libgcc": "libgcc", "libstdc++": "libstdc++-v3", "libssp": "libssp"}
GCC_LICENCE = "GPL-3.0-or-later WITH GCC-exception-3.1"
# Debian's short licence names and their SPDX identifiers. The SBOM includes the text of any other licence.
SPDX_NAMES = {"expat": "MIT", "BSD-3-clause": "BSD-3-Clause", "ISC": "ISC", "ZPL-2.1": "ZPL-2.1",
              "LGPL-2.1+": "LGPL-2.1-or-later", "LGPL-2+": "LGPL-2.0-or-later", "GPL-2+": "GPL-2.0-or-later"}


def linked_files(map_path):
    """The static libraries and object files outside of the project that the linker used."""
    with open(map_path, encoding="utf-8") as file:
        text = file.read()
    members = text.split("Memory Configuration")[0]
    found = set(re.findall(r"^(/[^(\n]*\.a)\(", members, re.MULTILINE))
    found |= set(re.findall(r"^LOAD (/usr/\S*\.o)$", text, re.MULTILINE))
    return sorted({os.path.realpath(path) for path in found})


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, encoding="utf-8").stdout


def package_of(path):
    return output_of("dpkg", "--search", path).split(":")[0]


def copyright_of(package):
    with open(f"/usr/share/doc/{package}/copyright", encoding="utf-8") as file:
        return file.read()


def paragraphs(text):
    """The paragraphs of a machine-readable copyright file as dictionaries."""
    for block in re.split(r"\n\s*\n", text):
        fields = {}
        for name, value in re.findall(r"^([A-Z][A-Za-z-]*):((?:.*)(?:\n[ \t].*)*)", block, re.MULTILINE):
            fields[name] = value.strip()
        yield fields


def mingw_licences(library, text):
    """The licences of all sources of the library, and the texts of those without an SPDX identifier."""
    names, texts = set(), {}
    for fields in paragraphs(text):
        title, _, body = fields.get("License", "").partition("\n")
        if body:
            texts[title.strip()] = body
        for pattern in fields.get("Files", "").split():
            if any(pattern == start or start != "*" and pattern.startswith(start) for start in SOURCES[library]) \
                    and not pattern.startswith(NEVER_LINKED):
                names.update(name.strip() for name in title.split(" and "))
    if not names:
        raise SystemExit(f"Debian's copyright file says nothing about {library}")
    own = {name: texts[name] for name in names if name not in SPDX_NAMES and name in texts}
    own.update({name: "As Debian's copyright file says: " + name for name in names - SPDX_NAMES.keys() - own.keys()})
    return sorted(SPDX_NAMES.get(name, "LicenseRef-" + name) for name in names), own


def licences_of(library, package):
    text = copyright_of(package)
    if library in SOURCES:
        return mingw_licences(library, text)
    flat = " ".join(text.split())
    listed = flat.partition(GCC_TERMS)[2]
    if f" - {GCC_NAMES[library]} " not in listed:
        raise SystemExit(f"Debian's copyright file of {package} does not state the expected terms of {library}")
    return [GCC_LICENCE], {}


def linked_libraries(map_path):
    """Every Library that is linked into the program, sorted by name."""
    files = collections.defaultdict(set)
    for path in linked_files(map_path):
        package = package_of(path)
        name = LIBRARY_OF_FILE.get(os.path.basename(path), RUNTIME if package.startswith(MINGW) else None)
        if name is None:
            raise SystemExit(f"{path} of {package} is linked into the program, but its licence is unknown")
        files[name, package].add(os.path.basename(path))
    if not files:
        raise SystemExit(f"{map_path}: no libraries found")
    return [Library(name, sorted(found), package, output_of("dpkg-query", "--show", "--showformat=${Version}", package),
                    *licences_of(name, package)) for (name, package), found in sorted(files.items())]
