#!/usr/bin/env python3
"""Writes an edition's SBOM, SPDX 2.3 as JSON: installer/sbom.py FOLDER VERSION german|english TALVENOR.MAP SBOM.spdx.json

Lists the files of the staged folder with their checksums, and the libraries that are linked into the program.
The environment variable SOURCE_DATE_EPOCH sets the creation time.
"""
import hashlib
import json
import os
import re
import sys
import time
import uuid
from urllib.parse import quote

import package as installer
import runtime

LICENCES = "Licences.txt"


def spdx_id(kind, name):
    return f"SPDXRef-{kind}-" + re.sub(r"[^A-Za-z0-9.]+", "-", name.replace("++", "pp"))


def file_entry(folder, name):
    with open(os.path.join(folder, name), "rb") as file:
        data = file.read()
    return {"SPDXID": spdx_id("File", name), "fileName": "./" + name,
            "checksums": [{"algorithm": "SHA1", "checksumValue": hashlib.sha1(data).hexdigest()},
                          {"algorithm": "SHA256", "checksumValue": hashlib.sha256(data).hexdigest()}],
            "licenseConcluded": "NOASSERTION", "copyrightText": "NOASSERTION"}


def own_package(version, files):
    sums = "".join(sorted(entry["checksums"][0]["checksumValue"] for entry in files))
    return {"SPDXID": "SPDXRef-Talvenor", "name": "Talvenor", "versionInfo": version, "supplier": "Organization: Talvenor",
            "downloadLocation": "NOASSERTION", "filesAnalyzed": True,
            "packageVerificationCode": {"packageVerificationCodeValue": hashlib.sha1(sums.encode()).hexdigest()},
            "licenseConcluded": "NOASSERTION", "licenseDeclared": "NOASSERTION",
            "copyrightText": "© 2026 Talvenor", "primaryPackagePurpose": "APPLICATION"}


def library_package(library):
    purl = f"pkg:deb/debian/{quote(library.package)}@{quote(library.version, safe='')}"
    return {"SPDXID": spdx_id("Library", library.name), "name": library.name, "versionInfo": library.version,
            "supplier": "Organization: Debian", "downloadLocation": "NOASSERTION", "filesAnalyzed": False,
            "licenseConcluded": "NOASSERTION", "licenseDeclared": " AND ".join(library.licences),
            "licenseComments": f"As the copyright file of the Debian package {library.package} says; see {LICENCES}.",
            "comment": "Linked statically into talvenor.exe, from " + ", ".join(library.files),
            "copyrightText": "NOASSERTION", "primaryPackagePurpose": "LIBRARY",
            "externalRefs": [{"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl",
                              "referenceLocator": purl}]}


def relationship(source, kind, target):
    return {"spdxElementId": source, "relationshipType": kind, "relatedSpdxElement": target}


def document(folder, version, edition, map_path):
    when = int(os.environ["SOURCE_DATE_EPOCH"])
    files = [file_entry(folder, name) for name in installer.files_below(folder)]
    libraries = runtime.linked_libraries(map_path)
    texts = {name: text for library in libraries for name, text in library.texts.items()}
    program = spdx_id("File", "talvenor.exe")
    identity = uuid.uuid5(installer.NAMESPACE, f"sbom {edition} {version} {when} {installer.digest_of(folder)}")
    return {"spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
            "name": f"Talvenor-{version}-{edition}", "documentNamespace": f"urn:uuid:{identity}",
            "creationInfo": {"created": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(when)),
                             "creators": ["Organization: Talvenor", "Tool: tools-release"]},
            "packages": [own_package(version, files)] + [library_package(library) for library in libraries],
            "files": files,
            "hasExtractedLicensingInfos": [{"licenseId": "LicenseRef-" + name, "name": name, "extractedText": text}
                                           for name, text in sorted(texts.items())],
            "relationships": [relationship("SPDXRef-DOCUMENT", "DESCRIBES", "SPDXRef-Talvenor")]
            + [relationship("SPDXRef-Talvenor", "CONTAINS", entry["SPDXID"]) for entry in files]
            + [relationship(program, "STATIC_LINK", spdx_id("Library", library.name)) for library in libraries]}


def main():
    folder, version, edition, map_path, path = sys.argv[1:]
    with open(path, "w", encoding="utf-8") as file:
        json.dump(document(folder, version, edition, map_path), file, ensure_ascii=False, indent=2)
        file.write("\n")


if __name__ == "__main__":
    main()
