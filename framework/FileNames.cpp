#include "framework/FileNames.h"

#include <windows.h>

int CompareFileNames(std::wstring_view left, std::wstring_view right)
{
    return CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                static_cast<int>(right.size()), TRUE) -
           CSTR_EQUAL;
}

bool EqualFileNames(std::wstring_view left, std::wstring_view right)
{
    return CompareFileNames(left, right) == 0;
}

// Without the flags NORM_* and LCMAP_LINGUISTIC_CASING, the function follows the file system's rules
// ("LCMapStringEx function").
std::wstring FoldFileName(std::wstring_view name)
{
    std::wstring folded(name);
    if (!folded.empty()) {
        const int length = static_cast<int>(name.size());
        LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, name.data(), length, folded.data(), length,
                      nullptr, nullptr, 0);
    }
    return folded;
}
