#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/NameRules.h"
#include "core/PartName.h"

// Generates file names and BOM names from templates with the fill-ins %1 to %8.

// The columns of the conversion table.
inline constexpr int kColumnOriginal = 0;  // file name of the standard part
inline constexpr int kColumnRenamed = 1;   // file name of its copy
inline constexpr int kColumnBomName = 2;   // name in the bill of materials

// The template of the column (kColumnRenamed or kColumnBomName) until the user sets another one.
[[nodiscard]] const wchar_t* DefaultTemplate(int column);

// Fills %1 and %3 to %8 of a template with the pieces of a part's file name. The fill-ins are replaced one
// after the other, each in the whole text. If an inserted value contains a fill-in with a higher number, that
// fill-in is replaced, too. The fill-in %2 (the configuration name) and a % before any other character are
// left as they are.
[[nodiscard]] std::wstring ExpandTemplate(std::wstring_view templateText, const PartNameValues& values);

// The same, into a text that is reused to save allocations.
void ExpandTemplate(std::wstring& expanded, std::wstring_view templateText, const PartNameValues& values);

// Fills %1, %2 (the configuration name), %3, %4, %7 and %8 of a BOM name in the same way. %5 and %6 are left
// as they are.
[[nodiscard]] std::wstring ExpandConfigurationName(std::wstring_view text, const PartNameValues& values,
                                                   std::wstring_view configurationName);

// The file name that a template generates for a part: expanded, with the part's extension, and sanitised.
// Returns nullopt when the trimmed name or the part's extension is empty. `equal`: as for EnsureExtension.
[[nodiscard]] std::optional<std::wstring> NewFileName(std::wstring_view templateText,
                                                      std::wstring_view fileName, NameComparison equal);

// The BOM name that a template generates for one configuration of a part.
[[nodiscard]] std::wstring ConfigurationBomName(std::wstring_view templateText, std::wstring_view fileName,
                                                std::wstring_view configurationName);
