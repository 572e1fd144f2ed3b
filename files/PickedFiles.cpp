#include "files/PickedFiles.h"

#include "files/Paths.h"

PickedFiles SplitPickedFiles(const wchar_t* buffer)
{
    std::wstring first = buffer;
    PickedFiles picked;
    for (const wchar_t* next = buffer + first.size() + 1; !first.empty() && *next != L'\0';) {
        picked.names.emplace_back(next);
        next += picked.names.back().size() + 1;
    }
    if (picked.names.empty() && !first.empty()) {
        const std::size_t slash = first.find_last_of(L'\\');
        const std::size_t name = slash == std::wstring::npos ? 0 : slash + 1;
        picked.names.push_back(first.substr(name));
        first.resize(name);
    }
    picked.folder = StripBackslashes(first);
    return picked;
}
