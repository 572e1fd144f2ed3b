#pragma once

#include <string>
#include <string_view>

// Builds and tests paths as texts, without querying the file system.

// The sub-folder of the standard-parts folder for the copies and the parts map file.
inline constexpr std::wstring_view kMappedFolderName = L"Mapped";
inline constexpr std::wstring_view kMapFileName = L"PartsMap.txt";

// Replaces each pair of backslashes with one, in one pass from left to right (three become two, and so do
// four). A result that begins with a backslash gets another one, so that a network path keeps its two.
[[nodiscard]] std::wstring NormalizePath(std::wstring_view path);

// Returns the path of `name` below `folder`. `name` may be several names joined by backslashes, and `folder`
// may end in a backslash. If `folder` is empty, the result is \\NAME, which names a computer: see IsComputer.
[[nodiscard]] std::wstring JoinPath(std::wstring_view folder, std::wstring_view name);

// Returns the "Mapped" folder of a standard-parts folder, without a backslash at its end.
[[nodiscard]] std::wstring MappedFolder(std::wstring_view standardPartsFolder);

// Return the path of the parts map file and the path of a copy, both in the "Mapped" folder.
[[nodiscard]] std::wstring MapFilePath(std::wstring_view standardPartsFolder);
[[nodiscard]] std::wstring CopyPath(std::wstring_view standardPartsFolder, std::wstring_view name);

// Whether the path is just \\COMPUTER, which is never a folder, or just \\COMPUTER\SHARE, which is never a
// file. Without a standard-parts folder, the "Mapped" folder and the map file have such paths. Do not open,
// create or query them then: Windows would search the network.
[[nodiscard]] bool IsComputer(std::wstring_view path);
[[nodiscard]] bool IsShare(std::wstring_view path);

// Whether the text is a file name that stays in the folder it is appended to: not empty and without
// separators and wildcards. A dot or blank at the end is refused, too: the system would drop it ("Naming
// Files, Paths, and Namespaces"). ";" and "=" are allowed, as names of existing files may contain them.
// Device names are not checked: opening them fails.
[[nodiscard]] bool IsBareFileName(std::wstring_view name);

// Strips all backslashes from the end of a path: "D:\" becomes "D:".
[[nodiscard]] std::wstring StripBackslashes(std::wstring_view path);

// Strips the dots and then the backslashes from the end of a folder that the user typed or picked, once each:
// "D:\Parts.\" becomes "D:\Parts.", and "D:\" becomes "D:".
[[nodiscard]] std::wstring StripFolderInput(std::wstring_view folder);
