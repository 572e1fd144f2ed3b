#pragma once

#include <string>
#include <string_view>

// Whether two names are the same but for letter case; which letters belong together is the file system's
// affair.
using NameComparison = bool (*)(std::wstring_view left, std::wstring_view right);

// Trims the name and makes it end in the extension (given without its dot): "." and the extension are
// appended unless the name's last six characters equal the extension by `equal` (not null). Returns false
// when the trimmed name or the extension is empty; the name is then only trimmed.
bool EnsureExtension(std::wstring& name, std::wstring_view extension, NameComparison equal);

// Replaces each character that a file name may not hold (| / \ * : " ? < > ; =) by "_" and each run of dots
// by a single dot. Returns the number of characters replaced by "_"; dots are not counted.
int SanitizeFileName(std::wstring& name);

// Replaces each character that a feature name may not hold (/ @ ; =) by "_". Returns the number of
// replacements.
int SanitizeFeatureName(std::wstring& name);
