#pragma once

#include <optional>
#include <string>
#include <string_view>

// Compares names case-insensitively. The caller passes it in: case is a matter of the file system, which the
// text rules do not know.
using NameComparison = bool (*)(std::wstring_view left, std::wstring_view right);

// Trims the name and appends "." and the extension (given without dot), unless the last six characters of the
// name equal the extension by `equal` (not null). Returns false when the trimmed name or the extension is
// empty; then nothing is appended.
bool EnsureExtension(std::wstring& name, std::wstring_view extension, NameComparison equal);

// Replaces the characters | / \ * : " ? < > ; = by "_" and each run of dots by one dot. Returns the number of
// characters replaced by "_".
int SanitizeFileName(std::wstring& name);

// Replaces the characters / @ ; = by "_" and returns their number.
int SanitizeFeatureName(std::wstring& name);

// A name to which the rules for edited names have been applied.
struct EditedName
{
    std::wstring text;
    bool cleaned = false;  // characters were replaced by "_"
};

// Applies the rules of an edited file name: extension, then forbidden characters. The extension is "sldprt",
// even for an assembly. None when the trimmed text is empty. `equal`: as for EnsureExtension.
[[nodiscard]] std::optional<EditedName> EditedFileName(std::wstring text, NameComparison equal);
