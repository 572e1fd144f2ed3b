#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "files/PickedFiles.h"

// Lets the user choose the standard-parts folder. Returns it without dots and backslashes at its end; empty
// when the user cancelled or chose something outside the file system.
[[nodiscard]] std::wstring PickFolder(HWND owner);

// Lets the user choose standard-part files, starting in `folder`. None when the user cancelled.
[[nodiscard]] std::optional<PickedFiles> PickFiles(HWND owner, const std::wstring& folder);

// Let the user choose a table file to read or to write, starting in the user's Documents folder. If the file
// to write exists, the dialog asks before it returns. None when the user cancelled.
[[nodiscard]] std::optional<std::wstring> PickTableToImport(HWND owner);
[[nodiscard]] std::optional<std::wstring> PickTableToExport(HWND owner);
