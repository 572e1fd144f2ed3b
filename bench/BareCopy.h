#pragma once

#include <string>

// The file operations that a run performs on one part, by direct system calls.

// Copies the file in blocks of the size that a run uses. Throws std::runtime_error on failure.
void CopyInBlocks(const std::wstring& source, const std::wstring& target);

// Sets or clears the read-only attribute, if needed. Also sets the archive attribute and the time of the last
// write. Does nothing for a file that does not exist.
void SetReadOnly(const std::wstring& path, bool readOnly);
