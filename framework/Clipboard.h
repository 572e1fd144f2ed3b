#pragma once

#include <windows.h>

#include <optional>
#include <string>

// The text on the clipboard ("Clipboard" in the documentation). While another program has the clipboard open,
// as some programs do after every change, reading and writing are retried for about 0.2 seconds.

// Whether the clipboard holds text.
[[nodiscard]] bool ClipboardHasText();

// Returns the text; nullopt when the clipboard holds none or another program keeps it open. `owner` is a
// window of this program.
[[nodiscard]] std::optional<std::wstring> ReadClipboard(HWND owner);

// Puts the text on the clipboard. Other programs read it up to its first NUL. Returns false when another
// program keeps the clipboard open or there is no memory; the old contents may then be lost.
[[nodiscard]] bool WriteClipboard(HWND owner, const std::wstring& text);
