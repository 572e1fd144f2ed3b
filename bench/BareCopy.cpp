#include "bench/BareCopy.h"

#include <windows.h>

#include <stdexcept>

#include "framework/Handles.h"

namespace {

constexpr DWORD kBlockSize = 4096;

UniqueHandle OpenFile(const std::wstring& path, DWORD access, DWORD share, DWORD disposition)
{
    const HANDLE handle =
        CreateFileW(path.c_str(), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        throw std::runtime_error("cannot open a file to copy");
    }
    return UniqueHandle(handle);
}

}  // namespace

void CopyInBlocks(const std::wstring& source, const std::wstring& target)
{
    const UniqueHandle from =
        OpenFile(source, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING);
    const UniqueHandle to = OpenFile(target, GENERIC_WRITE, 0, CREATE_ALWAYS);
    char block[kBlockSize];
    DWORD read = 0;
    do {
        DWORD written = 0;
        if (!ReadFile(from.get(), block, kBlockSize, &read, nullptr) ||
            (read != 0 && !WriteFile(to.get(), block, read, &written, nullptr))) {
            throw std::runtime_error("cannot copy a file");
        }
    } while (read != 0);
}

void SetReadOnly(const std::wstring& path, bool readOnly)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || ((attributes & FILE_ATTRIBUTE_READONLY) != 0) == readOnly) {
        return;
    }
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    const DWORD writable =
        (attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY)) | FILE_ATTRIBUTE_ARCHIVE;
    SetFileAttributesW(path.c_str(), writable);
    SetFileTime(
        OpenFile(path, FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING).get(),
        nullptr, nullptr, &now);
    if (readOnly) {
        SetFileAttributesW(path.c_str(), writable | FILE_ATTRIBUTE_READONLY);
    }
}
