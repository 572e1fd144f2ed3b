#include "framework/LocalServer.h"

#include <windows.h>

#include <objbase.h>

#include <array>

#include "framework/FileNames.h"

namespace {

// A value of a class's LocalServer32 key, with environment variables expanded; empty when it is missing.
std::wstring ReadServerValue(const CLSID& classId, const wchar_t* name)
{
    std::array<wchar_t, 40> classText{};
    StringFromGUID2(classId, classText.data(), static_cast<int>(classText.size()));
    const std::wstring key = std::wstring(L"CLSID\\") + classText.data() + L"\\LocalServer32";
    // The size that RegGetValueW reports may be too small for the expanded text, so the buffer has the length
    // of the longest path.
    std::wstring text(32'768, L'\0');
    auto size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    if (RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), name, RRF_RT_REG_SZ, nullptr, text.data(), &size) !=
        ERROR_SUCCESS) {
        return {};
    }
    return text.c_str();
}

// The final path of a program's file, with ".exe" appended to a name without extension; empty when no file
// is found.
std::wstring FindProgram(const std::wstring& name)
{
    std::wstring path(32'768, L'\0');
    path.resize(
        SearchPathW(nullptr, name.c_str(), L".exe", static_cast<DWORD>(path.size()), path.data(), nullptr));
    const DWORD attributes = path.empty() ? INVALID_FILE_ATTRIBUTES : GetFileAttributesW(path.c_str());
    const bool isFile = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
    return isFile ? FinalPath(path) : std::wstring();
}

}  // namespace

std::wstring LocalServerImage(const std::wstring& progId)
{
    CLSID classId{};
    if (FAILED(CLSIDFromProgID(progId.c_str(), &classId))) {
        return {};
    }
    // If the key has a ServerExecutable, COM starts that file whatever the command line says
    // ("LocalServer32").
    if (const std::wstring program = ReadServerValue(classId, L"ServerExecutable"); !program.empty()) {
        return FindProgram(program);
    }
    return ImageOfCommandLine(ReadServerValue(classId, nullptr));
}

std::wstring ImageOfCommandLine(const std::wstring& commandLine)
{
    if (commandLine.starts_with(L'"')) {
        return FindProgram(commandLine.substr(1, commandLine.find(L'"', 1) - 1));
    }
    for (std::size_t blank = 0; blank != std::wstring::npos;) {
        blank = commandLine.find(L' ', blank + 1);
        if (const std::wstring program = FindProgram(commandLine.substr(0, blank)); !program.empty()) {
            return program;
        }
    }
    return {};
}
