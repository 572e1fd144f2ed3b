#include "framework/FileNames.h"

#include <windows.h>

#include "framework/Handles.h"

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
    const UniqueHandle handle(
        ValidHandle(CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr)));
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
