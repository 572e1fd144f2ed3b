#pragma once

#include <string>
#include <string_view>

// The values of the templates' fill-ins, taken from a standard-part file name. %2, the configuration name, is
// not in the file name. Without a known prefix %1, %3 and %5 are empty; without a dot %1, %3, %4 and %6.
struct PartNameValues
{
    std::wstring strNumDigits;  // %1: the digits at the start of strNumber
    std::wstring strNumber;     // %3: from the prefix to the next underscore or the last dot
    std::wstring strSize;       // %4: size or variant
    std::wstring strPrefix;     // %5: the prefix in upper case: N_ISO_, N_ENISO_, N_EN_, N_ or N
    std::wstring strExt;        // %6: extension without the dot
    std::wstring strExtra1;     // %7: X in the block __X__Y__
    std::wstring strExtra2;     // %8: Y in the same block

    bool operator==(const PartNameValues&) const = default;
};

// Splits the bare file names of standard parts, such as "N_ISO_4017_M10x50.sldprt".
class Diverses
{
public:
    // Never fails: a piece that the name lacks is empty.
    [[nodiscard]] static PartNameValues SplitPartName(std::wstring_view fileName);

    // The same, into `values`, whose strings keep their memory.
    static void SplitPartName(std::wstring_view fileName, PartNameValues& values);

    // Skips prefix.size() characters, whatever they are, and returns the ASCII digits that follow, up to the
    // last dot. Empty without a dot.
    [[nodiscard]] static std::wstring LeadingDigits(std::wstring_view fileName, std::wstring_view prefix);
};

// Whether the name, or the path, ends in .sldprt, .prt or .sldasm, in any letter case.
[[nodiscard]] bool HasPartExtension(std::wstring_view fileName);
