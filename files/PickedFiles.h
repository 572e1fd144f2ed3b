#pragma once

#include <string>
#include <vector>

// What the system's file-open dialog gives back, taken apart.
struct PickedFiles
{
    std::wstring folder;              // without a backslash at its end
    std::vector<std::wstring> names;  // without folder; empty when nothing was picked
};

// Takes the dialog's result buffer apart: one full path, or, for several files, the folder and the names,
// each ended by a zero character, with one more zero at the end.
[[nodiscard]] PickedFiles SplitPickedFiles(const wchar_t* buffer);
