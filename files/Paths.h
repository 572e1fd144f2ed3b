#pragma once

#include <string>
#include <string_view>

// The sub-folder of the standard-parts folder for the copies and the parts map file.
inline constexpr std::wstring_view kMappedFolderName = L"Mapped";
inline constexpr std::wstring_view kMapFileName = L"PartsMap.txt";

// Replaces each pair of backslashes by one, in one pass from left to right (three become two, and so do
// four). A result that begins with a backslash gets another one, so that a network path keeps its two.
[[nodiscard]] std::wstring NormalizePath(std::wstring_view path);

// Returns the path of a name, or of several joined by backslashes, below a folder, which may end in a
// backslash. Below an empty folder that is \\NAME: a computer on the network, see IsComputer.
[[nodiscard]] std::wstring PathBelow(std::wstring_view folder, std::wstring_view name);

// Return the "Mapped" folder of a standard-parts folder, without a backslash at its end, and the paths of the
// parts map file and of a copy in it.
[[nodiscard]] std::wstring MappedFolder(std::wstring_view standardPartsFolder);
[[nodiscard]] std::wstring MapFilePath(std::wstring_view standardPartsFolder);
[[nodiscard]] std::wstring CopyPath(std::wstring_view standardPartsFolder, std::wstring_view name);

// Whether the path is no more than a computer on the network, \\COMPUTER, or one of its shares,
// \\COMPUTER\SHARE. The former is never a folder, the latter never a file, and querying them would only
// search the network. The "Mapped" folder and the map file of an empty standard-parts folder have such paths.
[[nodiscard]] bool IsComputer(std::wstring_view path);
[[nodiscard]] bool IsShare(std::wstring_view path);

// Whether the text is a file name that stays in the folder it is appended to: not empty, without separators
// and wildcards, and without a dot or blank at its end, which the system would drop ("Naming Files, Paths,
// and Namespaces"). ";" and "=", which new names must not contain, are allowed: existing files may have them.
[[nodiscard]] bool IsBareFileName(std::wstring_view name);

// Returns a folder as typed or picked by the user, first without the dots and then without the backslashes at
// its end. One pass: dots that this uncovers are kept.
[[nodiscard]] std::wstring StripFolderInput(std::wstring_view folder);
