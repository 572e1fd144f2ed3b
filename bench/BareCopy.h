#pragma once

#include <string>

// What a run does with a part's file, by the system's calls alone. A failure ends in std::runtime_error.

// Copies the file in the blocks that a run copies in.
void CopyInBlocks(const std::wstring& source, const std::wstring& target);

// Gives the file the read-only attribute or takes it; the file counts as changed now and is to be archived.
void SetReadOnly(const std::wstring& path, bool readOnly);
