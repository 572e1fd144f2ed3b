#include "files/Paths.h"

#include <optional>

#include "core/NameRules.h"
#include "core/NameTemplate.h"
#include "core/TextTools.h"
#include "files/PickedFiles.h"
#include "tests/fuzz/FuzzInput.h"

namespace {

std::wstring PlainNormalize(const std::wstring& path)
{
    std::wstring normalized;
    for (std::size_t at = 0; at < path.size(); ++at) {
        normalized += path[at];
        if (path[at] == L'\\' && at + 1 < path.size() && path[at + 1] == L'\\') {
            ++at;
        }
    }
    return normalized.empty() || normalized[0] != L'\\' ? normalized : L"\\" + normalized;
}

std::wstring PlainBelow(const std::wstring& folder, const std::wstring& tail)
{
    return PlainNormalize(folder + tail);
}

std::wstring PlainStripFolder(std::wstring folder)
{
    while (!folder.empty() && folder.back() == L'.') {
        folder.pop_back();
    }
    while (!folder.empty() && folder.back() == L'\\') {
        folder.pop_back();
    }
    return folder;
}

void CheckPaths(const std::wstring& folder)
{
    const std::wstring normalized = NormalizePath(folder);
    Require(normalized == PlainNormalize(folder), "a path is normalised as by the plain implementation");
    Require(!normalized.starts_with(L'\\') || normalized.starts_with(L"\\\\"),
            "a normalised path begins with two backslashes or none");
    Require(MappedFolder(folder) == PlainBelow(folder, L"\\Mapped"),
            "the folder of the copies is in the standard-parts folder");
    Require(MapFilePath(folder) == PlainBelow(folder, L"\\Mapped\\PartsMap.txt"),
            "the map file is in the folder of the copies");
    Require(StripFolderInput(folder) == PlainStripFolder(folder),
            "trailing dots and then trailing backslashes of a typed folder are removed");
}

bool PlainIsBareFileName(const std::wstring& name)
{
    for (const wchar_t character : name) {
        if (std::wstring(L"|/\\*:\"?<>").find(character) != std::wstring::npos) {
            return false;
        }
    }
    return !name.empty() && !name.ends_with(L'.') && !name.ends_with(L' ');
}

void CheckName(const std::wstring& name)
{
    const bool bare = IsBareFileName(name);
    Require(bare == PlainIsBareFileName(name), "the plain implementation accepts the same bare file names");
    std::wstring sanitized = name;
    Require(
        !bare || name.find_first_of(L";=") != std::wstring::npos || SanitizeFileName(sanitized) == 0,
        "except for semicolon and equals sign, a bare file name has only characters allowed in new names");
    if (const std::optional<std::wstring> made = NewFileName(name, L"Part.sldprt", EqualIgnoringCase)) {
        Require(IsBareFileName(*made), "a generated name is a bare file name");
    }
}

// Builds a buffer like the file dialog does: NUL-terminated fields, and one more NUL after the last field.
void CheckPickedFiles(const std::wstring& folder, CFuzzInput& input)
{
    std::wstring buffer = folder.substr(0, folder.find(L'\0'));
    PickedFiles expected{buffer, {}};
    while (expected.folder.ends_with(L'\\')) {
        expected.folder.pop_back();
    }
    buffer += L'\0';
    for (std::wstring name = input.Field(); !name.empty(); name = input.Field()) {
        name = name.substr(0, name.find(L'\0'));
        if (name.empty()) {
            break;
        }
        buffer += name + L'\0';
        expected.names.push_back(name);
    }
    buffer += L'\0';
    const PickedFiles picked = SplitPickedFiles(buffer.c_str());
    if (buffer.front() == L'\0') {
        Require(picked.names.empty() && picked.folder.empty(), "an empty buffer contains no files");
    } else if (expected.names.empty()) {
        const std::wstring path = buffer.substr(0, buffer.find(L'\0'));
        Require(
            picked.names.size() == 1 && path.ends_with(picked.names[0]) &&
                picked.names[0].find(L'\\') == std::wstring::npos && path.starts_with(picked.folder) &&
                path.find_first_not_of(L'\\', picked.folder.size()) >= path.size() - picked.names[0].size(),
            "a single path is split into folder and name");
    } else {
        Require(picked.folder == expected.folder && picked.names == expected.names,
                "several files are returned as they were put in");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    CFuzzInput input(data, size);
    const std::wstring folder = input.Field();
    CheckPaths(folder);
    CheckName(folder);
    CheckPickedFiles(folder, input);
    return 0;
}
