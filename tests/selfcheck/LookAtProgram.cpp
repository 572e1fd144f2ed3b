#include <windows.h>

#include <psapi.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "framework/Handles.h"
#include "resources/resource.h"
#include "tests/selfcheck/Looks.h"
#include "tests/selfcheck/Machine.h"
#include "tests/selfcheck/Picture.h"
#include "tests/selfcheck/TemplatesAsBefore.h"
#include "tests/selfcheck/Windows10.h"
#include "tests/support/Files.h"
#include "tests/support/MessageBoxOnScreen.h"
#include "tests/support/OtherWindows.h"
#include "tests/support/OwnFolder.h"
#include "tests/support/ProgramUnderTest.h"
#include "tests/support/Rects.h"
#include "tests/support/TextFile.h"
#include "tests/support/WaitFor.h"

namespace {

constexpr wchar_t kProgram[] = L"talvenor_english.exe";

// What the program showed while it ran.
struct Seen
{
    std::string error;  // why there is no window
    bool isAware = false;
    RECT window{};
    RECT client{};
    RECT byMetrics{};  // the window that the metrics give for the client area
    RECT workArea{};
    std::optional<COLORREF> ground;
    COLORREF systemGround = 0;
    std::vector<std::wstring> libraries;  // their paths in lower case
};

bool IsPerMonitorAware(HWND window)
{
    const auto contextOf =
        UserFunction<decltype(&GetWindowDpiAwarenessContext)>("GetWindowDpiAwarenessContext");
    const auto areEqual =
        UserFunction<decltype(&AreDpiAwarenessContextsEqual)>("AreDpiAwarenessContextsEqual");
    return contextOf != nullptr && areEqual != nullptr &&
           areEqual(contextOf(window), DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2) != FALSE;
}

RECT WindowByMetrics(HWND window, RECT client)
{
    const auto adjust = UserFunction<decltype(&AdjustWindowRectExForDpi)>("AdjustWindowRectExForDpi");
    if (const UINT dpi = DpiOf(window); adjust != nullptr && dpi != 0) {
        adjust(&client, static_cast<DWORD>(GetWindowLongW(window, GWL_STYLE)), FALSE,
               static_cast<DWORD>(GetWindowLongW(window, GWL_EXSTYLE)), dpi);
    }
    return client;
}

RECT WorkAreaOf(HWND window)
{
    MONITORINFO info{};
    info.cbSize = sizeof info;
    GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &info);
    return info.rcWork;
}

std::vector<std::wstring> LibrariesOf(HANDLE process)
{
    std::array<HMODULE, 512> modules{};
    DWORD bytes = 0;
    EnumProcessModulesEx(process, modules.data(), sizeof modules, &bytes, LIST_MODULES_64BIT);
    std::vector<std::wstring> libraries;
    for (std::size_t at = 0; at < bytes / sizeof(HMODULE) && at < modules.size(); ++at) {
        std::wstring path(32'768, L'\0');
        path.resize(
            GetModuleFileNameExW(process, modules.at(at), path.data(), static_cast<DWORD>(path.size())));
        libraries.push_back(LowerCase(path));
    }
    return libraries;
}

// The background colour in the upper left corner of the client area; none if there is no picture.
std::optional<COLORREF> GroundIn(const CPicture& picture, HWND window)
{
    POINT corner{1, 1};
    ClientToScreen(window, &corner);
    const RECT rect = RectOf(window);
    if (picture.IsBlank()) {
        return std::nullopt;
    }
    return picture.At(corner.x - rect.left, corner.y - rect.top);
}

// Starts the program in a working folder (empty: its own). The destructor ends the program by force.
struct StartedForLook
{
    CTemplatesAsBefore templates;
    CProgramUnderTest program;

    explicit StartedForLook(const std::wstring& folder = {}) : program(folder, kProgram) {}
    // Without its resource library the program shows a message and waits.
    [[nodiscard]] bool ShowsMessage() const
    {
        return WaitFor([&] { return CMessageBoxOnScreen::Find(program.ProcessId()).has_value(); });
    }
};

Seen LookAt(const CProgramUnderTest& program)
{
    Seen seen;
    const HWND window = program.MainWindow();
    WaitFor([&] { return IsWindowVisible(window) != FALSE; });
    seen.isAware = IsPerMonitorAware(window);
    GetWindowRect(window, &seen.window);
    GetClientRect(window, &seen.client);
    seen.byMetrics = WindowByMetrics(window, seen.client);
    seen.workArea = WorkAreaOf(window);
    seen.libraries = LibrariesOf(program.Process());
    const CPicture picture(window);
    picture.Write(OwnFolder() + L"\\report\\window.bmp");
    seen.ground = GroundIn(picture, window);
    seen.systemGround = GetSysColor(COLOR_3DFACE);
    return seen;
}

// Libraries that the system loads into a running program, and would take from the program's folder if the
// program did not prevent it.
constexpr std::array<std::wstring_view, 5> kPlantable{L"uxtheme.dll", L"dwmapi.dll", L"propsys.dll",
                                                      L"textshaping.dll", L"windows.storage.dll"};

bool IsPlantable(const std::wstring& name)
{
    return std::ranges::find(kPlantable, name) != kPlantable.end();
}

// Copies the program, and a library of the tests under the names above.
void PlantLibraries(const CTempFolder& folder)
{
    for (const wchar_t* const name : {kProgram, L"talvresusx64.dll"}) {
        std::filesystem::copy_file(OwnFolder() + L"\\" + name, folder / name);
    }
    for (const std::wstring_view name : kPlantable) {
        std::filesystem::copy_file(OwnFolder() + L"\\planted.dll", folder / std::wstring(name));
    }
}

// Once for all looks. The program is ended by force, so that it stores nothing.
const Seen& Program()
{
    static const Seen seen = [] {
        try {
            return LookAt(StartedForLook().program);
        } catch (const std::runtime_error& error) {
            Seen none;
            none.error = error.what();
            return none;
        }
    }();
    return seen;
}

// Returns the function's finding, or "not tried" if the program has shown no window.
template <class Function>
Finding OfWindow(const Function& look)
{
    return Program().error.empty() ? look(Program()) : NotTried("the program has shown no window");
}

std::string TextOf(const RECT& rect)
{
    return std::to_string(rect.right - rect.left) + "x" + std::to_string(rect.bottom - rect.top);
}

}  // namespace

Finding LookAtStart()
{
    return YesIf(Program().error.empty(),
                 Program().error.empty() ? "window " + TextOf(Program().window) : Program().error);
}

Finding LookAtResourceFolder()
{
    std::wstring windows(MAX_PATH, L'\0');
    windows.resize(GetWindowsDirectoryW(windows.data(), MAX_PATH));
    if (!Program().error.empty()) {
        return No("no window in its own folder");
    }
    const StartedForLook elsewhere(windows);
    const bool says = elsewhere.ShowsMessage();
    const bool starts = elsewhere.program.DialogWith(IDC_LIST) != nullptr;
    return YesIf(says && !starts, says ? "found in its folder; a message elsewhere" : "no message elsewhere");
}

Finding LookAtDpiAwareness()
{
    return OfWindow([](const Seen& seen) {
        return YesIf(seen.isAware, seen.isAware ? "per monitor, version 2" : "another kind of awareness");
    });
}

Finding LookAtFrame()
{
    return OfWindow([](const Seen& seen) {
        return YesIf(TextOf(seen.window) == TextOf(seen.byMetrics),
                     TextOf(seen.window) + ", by the metrics " + TextOf(seen.byMetrics));
    });
}

Finding LookAtWorkArea()
{
    return OfWindow([](const Seen& seen) {
        RECT both{};
        UnionRect(&both, &seen.window, &seen.workArea);
        return YesIf(EqualRect(&both, &seen.workArea) != FALSE,
                     "window " + TextOf(seen.window) + ", work area " + TextOf(seen.workArea));
    });
}

Finding LookAtGround()
{
    return OfWindow([](const Seen& seen) {
        if (!IsDarkTheme()) {
            return NotTried("the theme is light");
        }
        if (!seen.ground) {
            return NotTried("the system gives no picture of the window");
        }
        return YesIf(*seen.ground == seen.systemGround, "colour " + std::to_string(*seen.ground) +
                                                            ", of the system " +
                                                            std::to_string(seen.systemGround));
    });
}

Finding LookAtCommonControls()
{
    return OfWindow([](const Seen& seen) {
        for (const std::wstring& library : seen.libraries) {
            if (FileNameOf(library) == L"comctl32.dll") {
                return YesIf(library.find(L"common-controls_6595b64144ccf1df_6.") != std::wstring::npos,
                             ToUtf8(library));
            }
        }
        return No("comctl32.dll is not loaded");
    });
}

Finding LookAtLibraries()
{
    if (!Program().error.empty()) {
        return NotTried("the program has shown no window");
    }
    const CTempFolder folder;
    PlantLibraries(folder);
    const CTemplatesAsBefore templates;
    const CProgramUnderTest program(folder.Path(), folder / kProgram);
    if (!WaitFor([&] { return program.DialogWith(IDC_LIST) != nullptr; })) {
        return No("beside planted libraries the program shows no window");
    }
    const std::wstring planted = LowerCase(folder.Path()) + L"\\";
    std::string loaded;
    for (const std::wstring& library : LibrariesOf(program.Process())) {
        if (!IsPlantable(FileNameOf(library))) {
            continue;
        }
        if (library.starts_with(planted)) {
            return No(ToUtf8(library));
        }
        loaded += " " + ToUtf8(FileNameOf(library));
    }
    return loaded.empty() ? NotTried("it loads none of the libraries that were planted")
                          : Yes("not the planted ones:" + loaded);
}

Finding LookAtWorkingFolder()
{
    // Asks for the right to rename the folder, and renames nothing.
    const auto isFree = [](const CTempFolder& folder) {
        return UniqueHandle(ValidHandle(CreateFileW(folder.Path().c_str(), DELETE, FILE_SHARE_READ, nullptr,
                                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr))) !=
               nullptr;
    };
    const CTempFolder folder;
    const bool before = isFree(folder);
    const StartedForLook started(folder.Path());
    if (!before || !started.ShowsMessage()) {
        return NotTried("the program has shown no message about its resource library");
    }
    const bool during = isFree(folder);
    return YesIf(!during, during ? "it could be renamed" : "it is in use");
}
