#pragma once

#include <map>
#include <string>
#include <vector>

// What the BOM of one configuration of a part shows.
struct BomEntry
{
    std::wstring configuration;
    bool useAlternative = false;
    std::wstring alternative;

    bool operator==(const BomEntry&) const = default;
};

// A part file taken apart, without any code of the program that wrote it.
struct PartContents
{
    std::vector<BomEntry> bomEntries;                  // in the order of the configurations
    std::map<std::wstring, std::string> otherStreams;  // everything else in the file, by name
};

// Reads a part file. Throws std::runtime_error when it cannot be read or does not hold together.
PartContents ReadPart(const std::wstring& path);
