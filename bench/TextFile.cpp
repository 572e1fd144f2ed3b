#include "bench/TextFile.h"

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

std::wstring FromUtf8(const std::string& bytes)
{
    const int length = static_cast<int>(bytes.size());
    std::wstring text(bytes.size(), L'\0');
    text.resize(static_cast<std::size_t>(
        MultiByteToWideChar(CP_UTF8, 0, bytes.data(), length, text.data(), static_cast<int>(text.size()))));
    return text;
}

std::vector<std::wstring> Split(const std::wstring& text, wchar_t separator)
{
    std::vector<std::wstring> pieces;
    std::size_t from = 0;
    for (std::size_t at = text.find(separator); at != std::wstring::npos; at = text.find(separator, from)) {
        pieces.push_back(text.substr(from, at - from));
        from = at + 1;
    }
    pieces.push_back(text.substr(from));
    return pieces;
}

}  // namespace

std::vector<std::vector<std::wstring>> ReadFields(const std::wstring& path)
{
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    std::wstring text = FromUtf8(bytes);
    std::erase(text, L'\r');
    std::vector<std::vector<std::wstring>> lines;
    for (const std::wstring& line : Split(text, L'\n')) {
        if (!line.empty() && line.front() != L'#') {
            lines.push_back(Split(line, L'\t'));
        }
    }
    return lines;
}
