#pragma once

#include <string>
#include <string_view>

// The pieces of a standard-part file name that fill the templates. A piece that the name lacks is empty.
struct PartNameValues
{
    std::wstring strNumDigits;  // %1: leading digits of the standard number
    std::wstring strNumber;     // %3: standard number
    std::wstring strSize;       // %4: size or variant
    std::wstring strPrefix;     // %5: standard prefix, in upper case whatever the name's spelling
    std::wstring strExt;        // %6: extension without the dot
    std::wstring strExtra1;     // %7: first field of the block between double underscores
    std::wstring strExtra2;     // %8: second field of that block

    bool operator==(const PartNameValues&) const = default;
};

// Text functions on the names of standard-part files. All names are bare file names with their extension,
// such as "N_ISO_4017_M10x50.sldprt".
class Diverses
{
public:
    // Takes a name apart. A name outside the convention gives empty values; nothing fails.
    [[nodiscard]] static PartNameValues SplitPartName(std::wstring_view fileName);

    // The same into values that are used again, all of which are set: their texts keep their room.
    static void SplitPartName(std::wstring_view fileName, PartNameValues& values);

    // The decimal digits at the start of the name's core: the text behind as many characters as the prefix
    // has (whether or not the name starts with the prefix), up to the last dot. Empty without a dot.
    [[nodiscard]] static std::wstring LeadingDigits(std::wstring_view fileName, std::wstring_view prefix);
};
