#pragma once

#include <string>
#include <string_view>

// The sub-folder of the standard-parts folder that takes the copies and the parts map file.
inline constexpr std::wstring_view kMappedFolderName = L"Mapped";
inline constexpr std::wstring_view kMapFileName = L"PartsMap.txt";

// Replaces each two backslashes by one, in one pass from left to right (three become two, and so do four),
// and puts one more in front of a result that begins with a backslash, so that a network path keeps its two.
[[nodiscard]] std::wstring NormalizePath(std::wstring_view path);

// The path of a name, or of several joined by backslashes, below a folder, which may end in a backslash.
// Below an empty folder it is \\NAME: a computer of the network, see IsComputer.
[[nodiscard]] std::wstring PathBelow(std::wstring_view folder, std::wstring_view name);

// The "Mapped" folder of a standard-parts folder, without a backslash at its end, and the paths of the parts
// map file and of a copy in it.
[[nodiscard]] std::wstring MappedFolder(std::wstring_view standardPartsFolder);
[[nodiscard]] std::wstring MapFilePath(std::wstring_view standardPartsFolder);
[[nodiscard]] std::wstring CopyPath(std::wstring_view standardPartsFolder, std::wstring_view name);

// Whether the path names no more than a computer of the network, \\COMPUTER, or one of its shares,
// \\COMPUTER\SHARE. The former is never a folder, the latter never a file: such a path is shown, but asking
// the system for it would only search the network. The "Mapped" folder and the map file of an empty
// standard-parts folder have such paths.
[[nodiscard]] bool IsComputer(std::wstring_view path);
[[nodiscard]] bool IsShare(std::wstring_view path);

// Whether the text, put behind a folder, is the path of something in that folder itself and of no other name:
// not empty, without the characters that lead elsewhere or stand for several names, and without a dot or a
// blank at its end, which the system would drop. Of the characters that a new name may not have, ";" and "="
// are allowed: they are parts of file names as any other.
[[nodiscard]] bool IsBareFileName(std::wstring_view name);

// A folder as typed or picked by the user without the dots at its end and then without the backslashes at its
// end. Dots that come to stand at the end only by that are meant to stay.
[[nodiscard]] std::wstring StripFolderInput(std::wstring_view folder);
