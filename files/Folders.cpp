#include "files/Folders.h"

#include <windows.h>

#include "framework/FileNames.h"

namespace {

// Whether the path is the root of a volume. GetFileAttributesW fails for the roots of some shares.
bool IsVolume(std::wstring path)
{
    if (path.starts_with(L"\\\\") && !path.ends_with(L"\\")) {
        path += L'\\';
    }
    return GetVolumeInformationW(path.c_str(), nullptr, 0, nullptr, nullptr, nullptr, nullptr, 0) != FALSE;
}

}  // namespace

bool PathExists(const std::wstring& path)
{
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool IsFolder(const std::wstring& path)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool PathOrVolumeExists(const std::wstring& path)
{
    return PathExists(path) || IsVolume(path);
}

bool SameFolder(const std::wstring& left, const std::wstring& right)
{
    return EqualFileNames(left, right);
}
