#pragma once

#include <string>
#include <string_view>

// The sub-folder of the standard-parts folder that takes the copies and the parts map file.
inline constexpr std::wstring_view kMappedFolderName = L"Mapped";
inline constexpr std::wstring_view kMapFileName = L"PartsMap.txt";

// Replaces each two backslashes by one, in one pass from left to right (three become two, and so do four),
// and puts one more in front of a result that begins with a backslash, so that a network path keeps its two.
[[nodiscard]] std::wstring NormalizePath(std::wstring_view path);

// The "Mapped" folder of a standard-parts folder, without a backslash at its end. The folder may end in one.
[[nodiscard]] std::wstring MappedFolder(std::wstring_view standardPartsFolder);

// The path of the parts map file of a standard-parts folder. The folder may end in a backslash.
[[nodiscard]] std::wstring MapFilePath(std::wstring_view standardPartsFolder);

// The path of a document (with a backslash at its beginning) below the library's program folder. Empty when
// that folder is not known: what is left would be taken for a computer in the network.
[[nodiscard]] std::wstring DocumentPath(std::wstring_view programFolder, std::wstring_view document);

// Whether the text, put behind a folder, is the path of something in that folder itself: not empty, no more
// than dots and blanks, and without the characters that lead to another folder, another drive or a stream of
// a file.
[[nodiscard]] bool IsBareFileName(std::wstring_view name);

// A folder as typed or picked by the user without the dots at its end and then without the backslashes at its
// end. Dots that come to stand at the end only by that are meant to stay.
[[nodiscard]] std::wstring StripFolderInput(std::wstring_view folder);
