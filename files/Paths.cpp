#include "files/Paths.h"

#include "core/TextTools.h"

namespace {

constexpr wchar_t kBackslash = L'\\';

std::wstring_view WithoutTrailing(std::wstring_view text, wchar_t character)
{
    // npos + 1 is 0: a text of only that character becomes empty.
    return text.substr(0, text.find_last_not_of(character) + 1);
}

std::wstring Joined(std::wstring_view folder, std::wstring_view name)
{
    std::wstring path(folder);
    path += kBackslash;
    path += name;
    return path;
}

// The number of names in a network path; 0 for any other path.
int CountNetworkNames(std::wstring_view path)
{
    if (!path.starts_with(L"\\\\")) {
        return 0;
    }
    int names = 0;
    for (std::size_t at = 1; at < path.size(); ++at) {
        names += path[at - 1] == kBackslash && path[at] != kBackslash ? 1 : 0;
    }
    return names;
}

}  // namespace

std::wstring NormalizePath(std::wstring_view path)
{
    std::wstring normalized(path);
    ReplaceAll(normalized, L"\\\\", L"\\");
    if (normalized.starts_with(kBackslash)) {
        normalized.insert(normalized.begin(), kBackslash);
    }
    return normalized;
}

std::wstring JoinPath(std::wstring_view folder, std::wstring_view name)
{
    return NormalizePath(Joined(folder, name));
}

std::wstring MappedFolder(std::wstring_view standardPartsFolder)
{
    return JoinPath(standardPartsFolder, kMappedFolderName);
}

std::wstring MapFilePath(std::wstring_view standardPartsFolder)
{
    return CopyPath(standardPartsFolder, kMapFileName);
}

std::wstring CopyPath(std::wstring_view standardPartsFolder, std::wstring_view name)
{
    return JoinPath(standardPartsFolder, Joined(kMappedFolderName, name));
}

bool IsComputer(std::wstring_view path)
{
    return CountNetworkNames(path) == 1;
}

bool IsShare(std::wstring_view path)
{
    return CountNetworkNames(path) == 2;
}

bool IsBareFileName(std::wstring_view name)
{
    return name.find_first_of(L"|/\\*:\"?<>") == std::wstring_view::npos && !name.empty() &&
           name.back() != L'.' && name.back() != L' ';
}

std::wstring StripBackslashes(std::wstring_view path)
{
    return std::wstring(WithoutTrailing(path, kBackslash));
}

std::wstring StripFolderInput(std::wstring_view folder)
{
    return StripBackslashes(WithoutTrailing(folder, L'.'));
}
