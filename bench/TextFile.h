#pragma once

#include <string>
#include <vector>

// The lines of a UTF-8 file, each split at its tabs; empty if the file cannot be read. Skips lines that begin
// with "#".
std::vector<std::vector<std::wstring>> ReadFields(const std::wstring& path);
