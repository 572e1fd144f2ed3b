#pragma once

#include <map>
#include <string>
#include <vector>

// How the BOM names one configuration of a part.
struct BomEntry
{
    std::wstring configuration;
    bool useAlternative = false;
    std::wstring alternative;

    bool operator==(const BomEntry&) const = default;
};

// The contents of a part file, read without any of the code that wrote it.
struct PartContents
{
    std::vector<BomEntry> bomEntries;                  // in the order of the configurations
    std::map<std::wstring, std::string> otherStreams;  // everything else in the file, by name
};

// Reads a part file. Throws std::runtime_error if it cannot be read or is inconsistent.
PartContents ReadPart(const std::wstring& path);
