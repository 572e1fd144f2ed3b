#pragma once

#include <windows.h>

#include <string>
#include <vector>

// A part file is an OLE compound file. Its streams:
//   "Body"                    filler that does not compress; its length and bytes follow from the file's name
//   "Configuration0000", ...  one for each configuration, numbered without a gap:
//       4 bytes  1 when the alternative BOM name is in use, else 0
//       4 bytes  length of the configuration's name in UTF-16 units, then the name
//       4 bytes  length of the alternative BOM name in UTF-16 units, then that name
// Numbers are little-endian, texts UTF-16 little-endian without a terminator.
struct PartConfiguration
{
    std::wstring name;
    bool useAlternative = false;
    std::wstring alternative;

    bool operator==(const PartConfiguration&) const = default;
};

// Reads the configurations of a part file. Fails with what the storage functions report, or
// STG_E_DOCFILECORRUPT for a configuration stream that does not hold together.
HRESULT ReadConfigurations(const std::wstring& path, std::vector<PartConfiguration>& configurations);

// Writes the configurations back into an existing part file that has as many; everything else in the file
// stays as it is.
HRESULT SaveConfigurations(const std::wstring& path, const std::vector<PartConfiguration>& configurations);

// Makes a part file (or replaces one) with the given configurations, no alternative BOM name in use.
HRESULT CreatePartFile(const std::wstring& path, const std::vector<std::wstring>& configurationNames);
