#pragma once

#include <string>
#include <vector>

// The result of the system's file-open dialog.
struct PickedFiles
{
    std::wstring folder;              // without a backslash at its end
    std::vector<std::wstring> names;  // without folder; empty when nothing was picked
};

// Splits the dialog's result buffer ("OPENFILENAMEW structure"): one full path or, for several files, the
// NUL-terminated folder and names, with one more NUL at the end.
[[nodiscard]] PickedFiles SplitPickedFiles(const wchar_t* buffer);
