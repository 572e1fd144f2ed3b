#pragma once

#include <string>
#include <string_view>

// Trims the name and makes it end in the extension (given without its dot): "." and the extension are
// appended unless the name's last six characters equal the extension, ignoring case. Returns false when the
// trimmed name or the extension is empty; the name is then only trimmed.
bool EnsureExtension(std::wstring& name, std::wstring_view extension);

// Replaces each character that a file name may not hold (| / \ * : " ? < > ; =) by "_" and each run of dots
// by a single dot. Returns the number of characters replaced by "_"; dots are not counted.
int SanitizeFileName(std::wstring& name);

// Replaces each character that a feature name may not hold (/ @ ; =) by "_". Returns the number of
// replacements.
int SanitizeFeatureName(std::wstring& name);
