#pragma once

#include <windows.h>

#include <shellapi.h>

#include <optional>

#include "files/PickedFiles.h"

// Lets a window accept files that are dropped onto it (WM_DROPFILES), also from programs with fewer rights.
void AcceptDroppedFiles(HWND window);

// Reads and frees what was dropped. Returns the part files of one folder, or one folder with no names;
// nullopt for anything else.
[[nodiscard]] std::optional<PickedFiles> TakeDroppedFiles(HDROP drop);
