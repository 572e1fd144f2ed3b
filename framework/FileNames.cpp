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
