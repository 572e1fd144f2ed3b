#pragma once

#include <optional>
#include <string>
#include <string_view>

// The rules for file names and feature names: extension and forbidden characters.

// Compares names case-insensitively. The caller supplies the comparison, because it depends on the file
// system, which the text rules do not know.
using NameComparison = bool (*)(std::wstring_view left, std::wstring_view right);

// Returns a form of a name that is the same for names that differ in case only. Supplied by the caller, too.
using NameFolding = std::wstring (*)(std::wstring_view name);

// Trims the name and appends "." and the extension (given without dot), unless the last six characters of the
// name equal the extension; `equal` (not null) compares them. Returns false, and only trims, when the trimmed
// name or the extension is empty.
bool EnsureExtension(std::wstring& name, std::wstring_view extension, NameComparison equal);

// Replaces the characters | / \ * : " ? < > ; = with "_" and each run of dots with one dot. Returns the
// number of characters replaced with "_".
int SanitizeFileName(std::wstring& name);

// Replaces the characters / @ ; = with "_" and returns their number.
int SanitizeFeatureName(std::wstring& name);

// A name to which the rules for edited names have been applied.
struct EditedName
{
    std::wstring text;
    bool cleaned = false;  // characters were replaced with "_"
};

// Applies the rules for edited file names: extension, then forbidden characters. The extension is "sldprt",
// even for an assembly. Returns nullopt when the trimmed text is empty. `equal`: as for EnsureExtension.
[[nodiscard]] std::optional<EditedName> EditedFileName(std::wstring text, NameComparison equal);
