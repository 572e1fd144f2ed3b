#include <windows.h>

#include <powrprof.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "framework/Handles.h"
#include "tests/selfcheck/Looks.h"
#include "tests/selfcheck/Machine.h"
#include "tests/support/CreateProgram.h"
#include "tests/support/OwnFolder.h"
#include "tests/support/TextFile.h"

namespace {

int CALLBACK NoteFont(const LOGFONTW* font, const TEXTMETRICW* /*metric*/, DWORD /*type*/, LPARAM name)
{
    *reinterpret_cast<std::wstring*>(name) = font->lfFaceName;
    return 0;
}

// The font that the system has for a name; empty if it has none of that name.
std::wstring FontFor(const std::wstring& name)
{
    LOGFONTW wanted{};
    wanted.lfCharSet = DEFAULT_CHARSET;
    name.copy(wanted.lfFaceName, LF_FACESIZE - 1);
    std::wstring found;
    HDC const screen = GetDC(nullptr);
    EnumFontFamiliesExW(screen, &wanted, &NoteFont, reinterpret_cast<LPARAM>(&found), 0);
    ReleaseDC(nullptr, screen);
    return found;
}

bool IsKey(wchar_t character)
{
    constexpr int kNoKey = 0xFF;
    return (VkKeyScanW(character) & 0xFF) != kNoKey;
}

bool IsGerman()
{
    return PRIMARYLANGID(GetUserDefaultUILanguage()) == LANG_GERMAN;
}

}  // namespace

// Windows starts no program that imports a function which it lacks.
Finding LookAtOldWindows()
{
    constexpr DWORD kOldest = 15063;
    const DWORD build = WindowsBuild();
    if (build != kOldest) {
        return NotTried("this is build " + std::to_string(build) + ", not 15063");
    }
    return LookAtStart();
}

Finding LookAtKeepAwake()
{
    const auto isRequired = []() -> std::optional<bool> {
        ULONG state = 0;
        if (CallNtPowerInformation(SystemExecutionState, nullptr, 0, &state, sizeof state) != 0) {
            return std::nullopt;
        }
        return (state & ES_SYSTEM_REQUIRED) != 0;
    };
    const std::optional<bool> before = isRequired();
    SetThreadExecutionState(ES_CONTINUOUS | ES_SYSTEM_REQUIRED);
    const std::optional<bool> during = isRequired();
    SetThreadExecutionState(ES_CONTINUOUS);
    if (!before || !during || *before) {
        return NotTried(before ? "another program keeps the computer awake"
                               : "the system does not tell its execution state");
    }
    return YesIf(*during, *during ? "the system is required" : "the system is not required");
}

// Puts a process into two jobs, as the program does with a CAD system that is in one already.
Finding LookAtNestedJobs()
{
    const std::wstring program = L"\"" + OwnFolder() + L"\\waitingprogram.exe\"";
    StartedProgram started;
    if (CreateProgram(program, started, OwnFolder()) != ERROR_SUCCESS) {
        return NotTried("waitingprogram.exe does not start");
    }
    const UniqueHandle outer(CreateJobObjectW(nullptr, nullptr));
    const UniqueHandle inner(CreateJobObjectW(nullptr, nullptr));
    const bool first = AssignProcessToJobObject(outer.get(), started.process.get()) != FALSE;
    const bool second = AssignProcessToJobObject(inner.get(), started.process.get()) != FALSE;
    const std::string detail = second ? "a second job took it" : "error " + std::to_string(GetLastError());
    TerminateProcess(started.process.get(), 1);
    return first ? YesIf(second, detail) : NotTried("the first job did not take it");
}

Finding LookAtDialogFont()
{
    const std::wstring font = FontFor(L"Segoe UI");
    return YesIf(!font.empty(), font.empty() ? "no such font" : ToUtf8(font));
}

Finding LookAtKeyLayout()
{
    const std::wstring letters =
        IsGerman() ? L"abcdefghijklmnopqrstuvwxyz\u00E4\u00F6\u00FC" : L"abcdefghijklmnopqrstuvwxyz";
    std::wstring missing;
    for (const wchar_t letter : letters) {
        missing += IsKey(letter) ? L"" : std::wstring(1, letter);
    }
    return YesIf(missing.empty(), missing.empty() ? "all letters" : "no key for: " + ToUtf8(missing));
}

Finding LookAtFileCase()
{
    // Looks for this program's own file by its path in lower case.
    const std::wstring lower = LowerCase(OwnProgram());
    if (lower == OwnProgram()) {
        return NotTried("the path of this program has no capital letter");
    }
    const bool found = GetFileAttributesW(lower.c_str()) != INVALID_FILE_ATTRIBUTES;
    const bool turkish = CompareStringOrdinal(L"i", 1, L"I", 1, TRUE) == CSTR_EQUAL &&
                         CompareStringOrdinal(L"\u0131", 1, L"I", 1, TRUE) != CSTR_EQUAL;
    return YesIf(found && turkish, found ? "this program is found by a path in lower case" : "not found");
}

Finding LookAtCodePage()
{
    CPINFO info{};
    GetCPInfo(GetACP(), &info);
    return YesIf(info.MaxCharSize == 1, "code page " + std::to_string(GetACP()) + ", at most " +
                                            std::to_string(info.MaxCharSize) + " bytes for a character");
}
