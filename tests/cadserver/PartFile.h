#pragma once

#include <windows.h>

#include <string>
#include <vector>

// A part file is an OLE compound file. Its streams:
//   "Body"                    incompressible filler; size and contents are derived from the file name
//   "Configuration0000", ...  one per configuration, numbered consecutively:
//       4 bytes  1 if the alternative BOM name is used, otherwise 0
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

// Reads the configurations of a part file. Fails with the errors of the storage functions, or with
// STG_E_DOCFILECORRUPT for a damaged configuration stream.
HRESULT ReadConfigurations(const std::wstring& path, std::vector<PartConfiguration>& configurations);

// Writes the configurations to an existing part file, which must have the same number of configurations.
// Leaves the rest of the file unchanged.
HRESULT SaveConfigurations(const std::wstring& path, const std::vector<PartConfiguration>& configurations);

// Creates or overwrites a part file with these configurations, which use no alternative BOM name.
HRESULT CreatePartFile(const std::wstring& path, const std::vector<std::wstring>& configurationNames);
