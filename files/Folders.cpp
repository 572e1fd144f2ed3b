#include "files/Folders.h"

#include <windows.h>

#include "framework/FileNames.h"

namespace {

// The root of a drive or share has volume information even where it has no attributes of its own.
bool IsVolume(std::wstring path)
{
    if (path.starts_with(L"\\\\") && !path.ends_with(L"\\")) {
        path += L'\\';
    }
    return GetVolumeInformationW(path.c_str(), nullptr, 0, nullptr, nullptr, nullptr, nullptr, 0) != FALSE;
}

}  // namespace

bool Exists(const std::wstring& path)
{
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool IsFolder(const std::wstring& path)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool FolderExists(const std::wstring& path)
{
    return Exists(path) || IsVolume(path);
}

bool SameFolder(const std::wstring& left, const std::wstring& right)
{
    return EqualFileNames(left, right);
}
