#include "framework/FileNames.h"

#include <windows.h>

#include <array>
#include <cwchar>

#include "framework/Handles.h"

namespace {

// Opens a file or folder only to ask about it; null if that fails.
UniqueHandle OpenToAsk(const std::wstring& path)
{
    return UniqueHandle(
        ValidHandle(CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr)));
}

}  // namespace

bool EqualFileNames(std::wstring_view left, std::wstring_view right)
{
    return CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

// Passes neither NORM_* nor LCMAP_LINGUISTIC_CASING, so that LCMapStringEx follows the file system's rules
// ("LCMapStringEx function").
std::wstring FoldFileName(std::wstring_view name)
{
    std::wstring folded(name);
    if (!folded.empty()) {
        const int length = static_cast<int>(name.size());
        LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, name.data(), length, folded.data(), length,
                      nullptr, nullptr, 0);
    }
    return folded;
}

std::wstring FinalPath(const std::wstring& path)
{
    constexpr std::wstring_view kPrefix = L"\\\\?\\";
    constexpr std::wstring_view kNetworkPrefix = L"\\\\?\\UNC";
    const UniqueHandle handle = OpenToAsk(path);
    if (handle == nullptr) {
        return path;
    }
    std::wstring text(32'768, L'\0');
    text.resize(GetFinalPathNameByHandleW(handle.get(), text.data(), static_cast<DWORD>(text.size()),
                                          FILE_NAME_NORMALIZED));
    if (text.starts_with(kNetworkPrefix)) {
        return L"\\" + text.substr(kNetworkPrefix.size());
    }
    return text.empty() ? path : text.substr(text.starts_with(kPrefix) ? kPrefix.size() : 0);
}

std::wstring FileNumber(const std::wstring& path)
{
    const UniqueHandle handle = OpenToAsk(path);
    BY_HANDLE_FILE_INFORMATION file{};
    if (handle == nullptr || GetFileInformationByHandle(handle.get(), &file) == FALSE ||
        (file.nFileIndexHigh == 0 && file.nFileIndexLow == 0)) {
        return {};
    }
    std::array<wchar_t, 30> number{};
    std::swprintf(number.data(), number.size(), L"%08lx-%08lx%08lx", file.dwVolumeSerialNumber,
                  file.nFileIndexHigh, file.nFileIndexLow);
    return number.data();
}
