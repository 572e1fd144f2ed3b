"""What of the compiler's own libraries is in the program, and on what terms, from the linker's map and Debian's files."""
import collections
import os
import re
import subprocess

Part = collections.namedtuple("Part", "name files package version licences texts")

# The libraries by the names of their files; whatever else comes from mingw-w64 is its runtime.
LIBRARIES = {"libgcc.a": "libgcc", "libgcc_eh.a": "libgcc", "crtbegin.o": "libgcc", "crtend.o": "libgcc",
             "libstdc++.a": "libstdc++", "libssp.a": "libssp", "libssp_nonshared.a": "libssp",
             "libpthread.a": "winpthreads", "libwinpthread.a": "winpthreads"}
MINGW, RUNTIME = "mingw-w64", "mingw-w64 runtime"
SOURCES = {"winpthreads": ("mingw-w64-libraries/winpthreads/",), RUNTIME: ("*", "mingw-w64-crt/")}
NEVER_LINKED = ("mingw-w64-libraries/winpthreads/tests",)
GCC_TERMS = ("The following runtime libraries are licensed under the terms of the GNU General Public License (v3 or later) "
             "with version 3.1 of the GCC Runtime Library Exception")
GCC_NAMES = {"libgcc": "libgcc", "libstdc++": "libstdc++-v3", "libssp": "libssp"}
GCC_LICENCE = "GPL-3.0-or-later WITH GCC-exception-3.1"
# Debian's short names of licences that have another in SPDX; a name found in neither list is kept with its text.
SPDX_NAMES = {"expat": "MIT", "BSD-3-clause": "BSD-3-Clause", "ISC": "ISC", "ZPL-2.1": "ZPL-2.1",
              "LGPL-2.1+": "LGPL-2.1-or-later", "LGPL-2+": "LGPL-2.0-or-later", "GPL-2+": "GPL-2.0-or-later"}


def linked_files(map_path):
    """Archives of the system that gave the program a member, and object files of the system."""
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


def mingw_licences(part, text):
    """Licences of all sources of the part, and the texts of those that SPDX has no name for."""
    names, texts = set(), {}
    for fields in paragraphs(text):
        title, _, body = fields.get("License", "").partition("\n")
        if body:
            texts[title.strip()] = body
        for pattern in fields.get("Files", "").split():
            if any(pattern == start or start != "*" and pattern.startswith(start) for start in SOURCES[part]) \
                    and not pattern.startswith(NEVER_LINKED):
                names.update(name.strip() for name in title.split(" and "))
    if not names:
        raise SystemExit(f"Debian's copyright file says nothing about {part}")
    own = {name: texts[name] for name in names if name not in SPDX_NAMES and name in texts}
    own.update({name: "As Debian's copyright file says: " + name for name in names - SPDX_NAMES.keys() - own.keys()})
    return sorted(SPDX_NAMES.get(name, "LicenseRef-" + name) for name in names), own


def licences_of(part, package):
    text = copyright_of(package)
    if part in SOURCES:
        return mingw_licences(part, text)
    flat = " ".join(text.split())
    listed = flat.partition(GCC_TERMS)[2]
    if f" - {GCC_NAMES[part]} " not in listed:
        raise SystemExit(f"Debian's copyright file of {package} does not give the expected terms of {part}")
    return [GCC_LICENCE], {}


def parts_in(map_path):
    """The parts of the program that are not its own, sorted by name."""
    files = collections.defaultdict(set)
    for path in linked_files(map_path):
        package = package_of(path)
        name = LIBRARIES.get(os.path.basename(path), RUNTIME if package.startswith(MINGW) else None)
        if name is None:
            raise SystemExit(f"{path} of {package} is in the program; its terms are not known")
        files[name, package].add(os.path.basename(path))
    if not files:
        raise SystemExit(f"{map_path}: nothing found")
    return [Part(name, sorted(found), package, output_of("dpkg-query", "--show", "--showformat=${Version}", package),
                 *licences_of(name, package)) for (name, package), found in sorted(files.items())]
