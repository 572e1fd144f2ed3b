#include "tests/support/TextFile.h"

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

std::string ToUtf8(std::wstring_view text)
{
    if (text.empty()) {
        return {};
    }
    const int length = static_cast<int>(text.size());
    const int needed = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<size_t>(needed), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(), needed, nullptr, nullptr);
    return bytes;
}

std::wstring FromUtf8(std::string_view bytes)
{
    if (bytes.empty()) {
        return {};
    }
    const int length = static_cast<int>(bytes.size());
    const int needed = MultiByteToWideChar(CP_UTF8, 0, bytes.data(), length, nullptr, 0);
    std::wstring text(static_cast<size_t>(needed), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, bytes.data(), length, text.data(), needed);
    return text;
}

std::string ByCode(std::wstring_view text)
{
    std::string bytes;
    for (const wchar_t character : text) {
        bytes += static_cast<char>(static_cast<unsigned char>(character));
    }
    return bytes;
}

std::wstring LowerCase(std::wstring_view text)
{
    std::wstring lower(text);
    CharLowerBuffW(lower.data(), static_cast<DWORD>(lower.size()));
    return lower;
}

std::wstring FileNameOf(std::wstring_view path)
{
    const size_t separator = path.find_last_of(L"\\/");
    return std::wstring(separator == std::wstring_view::npos ? path : path.substr(separator + 1));
}

std::wstring FullPath(const std::wstring& path)
{
    const DWORD needed = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    std::wstring full(needed, L'\0');
    full.resize(GetFullPathNameW(path.c_str(), needed, full.data(), nullptr));
    return full;
}

std::vector<std::wstring> Split(const std::wstring& text, wchar_t separator)
{
    std::vector<std::wstring> pieces(1);
    for (const wchar_t character : text) {
        if (character == separator) {
            pieces.emplace_back();
        } else {
            pieces.back() += character;
        }
    }
    return pieces;
}

std::string BytesOf(const std::wstring& path)
{
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::wstring> ReadLines(const std::wstring& path)
{
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot read " + ToUtf8(path));
    }
    std::vector<std::wstring> lines;
    for (std::string line; std::getline(file, line);) {
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        lines.push_back(FromUtf8(line));
    }
    return lines;
}

std::vector<std::vector<std::wstring>> ReadTable(const std::wstring& path)
{
    std::vector<std::vector<std::wstring>> rows;
    for (const std::wstring& line : ReadLines(path)) {
        if (!line.empty() && !line.starts_with(L'#')) {
            rows.push_back(Split(line, L'\t'));
        }
    }
    return rows;
}
