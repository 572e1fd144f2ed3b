// Makes a library of part files from a table:
//   makelibrary TABLE.tsv FOLDER [--names FILE | --first N | --match TEXT]
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/cadserver/PartFile.h"
#include "tests/support/TextFile.h"

namespace {

struct Part
{
    std::wstring file;
    std::vector<std::wstring> configurations;
};

std::vector<Part> ReadParts(const std::wstring& path)
{
    std::vector<Part> parts;
    for (const std::vector<std::wstring>& fields : ReadTable(path)) {
        if (fields.size() != 2) {
            throw std::runtime_error("not a file name, a tab and configurations: " + ToUtf8(fields[0]));
        }
        parts.push_back({fields[0], Split(fields[1], L'|')});
    }
    return parts;
}

void KeepNamed(std::vector<Part>& parts, const std::wstring& listPath)
{
    std::set<std::wstring> listed;
    for (const std::vector<std::wstring>& fields : ReadTable(listPath)) {
        listed.insert(LowerCase(fields[0]));
    }
    std::erase_if(parts, [&](const Part& part) { return !listed.contains(LowerCase(part.file)); });
    if (parts.size() != listed.size()) {
        throw std::runtime_error("the list names parts that are not in the table");
    }
}

void Select(std::vector<Part>& parts, const std::wstring& option, const std::wstring& value)
{
    if (option == L"--names") {
        KeepNamed(parts, value);
    } else if (option == L"--first") {
        parts.resize(std::min(parts.size(), static_cast<size_t>(std::stoul(value))));
    } else if (option == L"--match") {
        std::erase_if(parts, [&](const Part& part) {
            return LowerCase(part.file).find(LowerCase(value)) == std::wstring::npos;
        });
    } else {
        throw std::runtime_error("unknown option " + ToUtf8(option));
    }
}

void MakeParts(const std::vector<Part>& parts, const std::wstring& folder)
{
    std::filesystem::create_directories(folder);
    size_t configurations = 0;
    for (const Part& part : parts) {
        if (FAILED(CreatePartFile(folder + L"\\" + part.file, part.configurations))) {
            throw std::runtime_error("cannot write " + ToUtf8(part.file));
        }
        configurations += part.configurations.size();
    }
    std::printf("%zu parts with %zu configurations\n", parts.size(), configurations);
}

}  // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count != 3 && count != 5) {
        std::fprintf(stderr,
                     "usage: makelibrary TABLE.tsv FOLDER [--names FILE | --first N | --match TEXT]\n");
        return 2;
    }
    try {
        std::vector<Part> parts = ReadParts(arguments[1]);
        if (count == 5) {
            Select(parts, arguments[3], arguments[4]);
        }
        MakeParts(parts, arguments[2]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "makelibrary: %s\n", error.what());
        return 1;
    }
    return 0;
}
