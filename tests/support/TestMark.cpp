#include "tests/support/TestMark.h"

#include <array>
#include <utility>
#include <vector>

#include "framework/Handles.h"
#include "tests/support/TextFile.h"

namespace {

constexpr DWORD kLongestKey = 256;  // characters, with the NUL

std::wstring ValueLine(const std::wstring& path, const std::wstring& name, DWORD type, const void* data,
                       DWORD size)
{
    std::wstring line = KeyLine(path) + LowerCase(name) + L"=" + std::to_wstring(type) + L":";
    for (const auto* byte = static_cast<const BYTE*>(data); size != 0; --size, ++byte) {
        line += L"0123456789abcdef"[*byte >> 4];
        line += L"0123456789abcdef"[*byte & 15];
    }
    return line;
}

bool AddValues(HKEY key, const std::wstring& path, KeyContents& contents)
{
    DWORD count = 0;
    DWORD longestName = 0;
    DWORD largest = 0;
    if (RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &count, &longestName,
                         &largest, nullptr, nullptr) != ERROR_SUCCESS) {
        return false;
    }
    std::vector<wchar_t> name(longestName + 1);
    std::vector<BYTE> data(largest + 1);
    for (DWORD at = 0; at < count; ++at) {
        auto length = static_cast<DWORD>(name.size());
        auto size = static_cast<DWORD>(data.size());
        DWORD type = 0;
        if (RegEnumValueW(key, at, name.data(), &length, nullptr, &type, data.data(), &size) !=
            ERROR_SUCCESS) {
            return false;
        }
        if (!path.empty() || name.data() != std::wstring(kTestMark)) {
            contents.insert(ValueLine(path, name.data(), type, data.data(), size));
        }
    }
    return true;
}

bool AddContents(HKEY key, const std::wstring& path, KeyContents& contents)
{
    std::array<wchar_t, kLongestKey> name{};
    LSTATUS status = ERROR_SUCCESS;
    for (DWORD at = 0; (status = RegEnumKeyW(key, at, name.data(), kLongestKey)) == ERROR_SUCCESS; ++at) {
        const std::wstring below = path.empty() ? name.data() : path + L"\\" + name.data();
        HKEY opened = nullptr;
        const bool isOpen = RegOpenKeyExW(key, name.data(), 0, KEY_READ, &opened) == ERROR_SUCCESS;
        const UniqueKey owner(opened);
        contents.insert(KeyLine(below));
        if (!isOpen || !AddContents(opened, below, contents)) {
            return false;
        }
    }
    return status == ERROR_NO_MORE_ITEMS && AddValues(key, path, contents);
}

// The list in the key's mark; empty if the key has no mark.
KeyContents NotesOf(HKEY key)
{
    DWORD bytes = 0;
    RegQueryValueExW(key, kTestMark, nullptr, nullptr, nullptr, &bytes);
    std::wstring list(bytes / sizeof(wchar_t), L'\0');
    bytes = static_cast<DWORD>(list.size() * sizeof(wchar_t));
    RegQueryValueExW(key, kTestMark, nullptr, nullptr, reinterpret_cast<BYTE*>(list.data()), &bytes);
    KeyContents notes;
    for (std::wstring& line : Split(list, L'\0')) {
        if (!line.empty()) {
            notes.insert(std::move(line));
        }
    }
    return notes;
}

bool WriteNotes(HKEY key, const KeyContents& notes)
{
    std::wstring list;
    for (const std::wstring& line : notes) {
        list += line + L'\0';
    }
    list += L'\0';
    return RegSetValueExW(key, kTestMark, 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(list.data()),
                          static_cast<DWORD>(list.size() * sizeof(wchar_t))) == ERROR_SUCCESS;
}

}  // namespace

std::wstring KeyLine(const std::wstring& path)
{
    return L"[" + LowerCase(path) + L"]";
}

std::optional<KeyContents> ContentsOf(HKEY key)
{
    KeyContents contents;
    return key != nullptr && AddContents(key, L"", contents) ? std::optional(contents) : std::nullopt;
}

bool MarkKey(HKEY key)
{
    return WriteNotes(key, NotesOf(key));
}

bool IsMarked(HKEY key)
{
    return key != nullptr &&
           RegQueryValueExW(key, kTestMark, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
}

bool NoteTestValue(HKEY key, const std::wstring& path, const std::wstring& name, DWORD type, const void* data,
                   DWORD size)
{
    if (!IsMarked(key)) {
        return true;
    }
    KeyContents notes = NotesOf(key);
    notes.insert(ValueLine(path, name, type, data, size));
    for (std::size_t end = path.find(L'\\');; end = path.find(L'\\', end + 1)) {
        notes.insert(KeyLine(path.substr(0, end)));
        if (end == std::wstring::npos) {
            return WriteNotes(key, notes);
        }
    }
}

std::optional<KeyContents> ForeignContents(HKEY key, const KeyContents& known)
{
    std::optional<KeyContents> contents = ContentsOf(key);
    if (contents && IsMarked(key)) {
        const KeyContents notes = NotesOf(key);
        std::erase_if(*contents,
                      [&](const std::wstring& line) { return notes.contains(line) || known.contains(line); });
    }
    return contents;
}

bool DeleteKey(HKEY hive, const std::wstring& path, REGSAM view)
{
    HKEY opened = nullptr;
    const LSTATUS status = RegOpenKeyExW(hive, path.c_str(), 0, KEY_ALL_ACCESS | view, &opened);
    const UniqueKey key(opened);
    return status == ERROR_FILE_NOT_FOUND ||
           (status == ERROR_SUCCESS && RegDeleteTreeW(opened, nullptr) == ERROR_SUCCESS &&
            RegDeleteKeyExW(hive, path.c_str(), view, 0) == ERROR_SUCCESS);
}
