#include <windows.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "framework/Handles.h"
#include "tests/selfcheck/Looks.h"
#include "tests/selfcheck/Machine.h"
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

Finding LookAtOldWindows()
{
    constexpr DWORD kOldest = 15063;
    const DWORD build = WindowsBuild();
    if (build != kOldest) {
        return NotTried("this is build " + std::to_string(build) + ", not 15063");
    }
    return LookAtStart();
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
    // This program's own file by another case.
    const std::wstring upper = LowerCase(OwnProgram());
    if (upper == OwnProgram()) {
        return NotTried("the path of this program has no capital letter");
    }
    const bool found = GetFileAttributesW(upper.c_str()) != INVALID_FILE_ATTRIBUTES;
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
