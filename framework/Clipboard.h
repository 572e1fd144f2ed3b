#pragma once

#include <windows.h>

#include <optional>
#include <string>

// The text on the clipboard ("Clipboard" in the documentation). While another program has it open, the
// functions try again for a short while, as some programs look at every change.

// Whether the clipboard holds text.
[[nodiscard]] bool ClipboardHasText();

// Returns the text; none when there is none or the clipboard stays open elsewhere. `owner` is a window of the
// program.
[[nodiscard]] std::optional<std::wstring> ReadClipboard(HWND owner);

// Puts the text on the clipboard; it ends at the first NUL for other programs. Returns false, with the old
// contents kept or lost, when the clipboard stays open elsewhere or there is no memory.
[[nodiscard]] bool WriteClipboard(HWND owner, const std::wstring& text);
