#pragma once

#include <string>
#include <vector>

// The lines of a UTF-8 file, each split at its tabs; an empty list when it cannot be read. A line that begins
// with "#" is left out.
std::vector<std::vector<std::wstring>> ReadFields(const std::wstring& path);
