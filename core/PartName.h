#pragma once

#include <string>
#include <string_view>

// The values of the templates' fill-ins, cut out of a standard-part file name. A missing piece is empty.
struct PartNameValues
{
    std::wstring strNumDigits;  // %1: leading digits of the standard number
    std::wstring strNumber;     // %3: standard number
    std::wstring strSize;       // %4: size or variant
    std::wstring strPrefix;     // %5: standard prefix, always in upper case
    std::wstring strExt;        // %6: extension without the dot
    std::wstring strExtra1;     // %7: first field of the block between double underscores
    std::wstring strExtra2;     // %8: second field of that block

    bool operator==(const PartNameValues&) const = default;
};

// Takes names of standard-part files apart: bare file names with extension, such as
// "N_ISO_4017_M10x50.sldprt".
class Diverses
{
public:
    // Never fails: a name outside the convention gives empty values.
    [[nodiscard]] static PartNameValues SplitPartName(std::wstring_view fileName);

    // The same, into values that are reused to save allocations.
    static void SplitPartName(std::wstring_view fileName, PartNameValues& values);

    // The decimal digits at the start of the name's core, which is the text after the first prefix.size()
    // characters, whatever they are, up to the last dot. Empty without a dot.
    [[nodiscard]] static std::wstring LeadingDigits(std::wstring_view fileName, std::wstring_view prefix);
};
