#include "tests/selfcheck/Machine.h"

#include <shlobj.h>

#include <array>
#include <filesystem>
#include <mutex>
#include <vector>

#include "framework/Handles.h"
#include "tests/cadserver/ClassFamily.h"
#include "tests/support/CreateProgram.h"
#include "tests/support/KeysAside.h"
#include "tests/support/Leftovers.h"
#include "tests/support/OwnFolder.h"
#include "tests/support/TextFile.h"
#include "tests/support/UnderWine.h"

namespace {

constexpr DWORD kUnregisterTime = 60'000;  // milliseconds
constexpr wchar_t kVersionKey[] = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";

std::wstring TextValue(HKEY hive, const wchar_t* key, const wchar_t* name)
{
    wchar_t text[256] = L"";
    DWORD bytes = sizeof text;
    RegGetValueW(hive, key, name, RRF_RT_REG_SZ, nullptr, text, &bytes);
    return text;
}

DWORD NumberValue(HKEY hive, const wchar_t* key, const wchar_t* name, DWORD missing)
{
    DWORD number = missing;
    DWORD bytes = sizeof number;
    RegGetValueW(hive, key, name, RRF_RT_REG_DWORD, nullptr, &number, &bytes);
    return number;
}

std::string LocaleName(LANGID language)
{
    wchar_t name[LOCALE_NAME_MAX_LENGTH] = L"";
    LCIDToLocaleName(MAKELCID(language, SORT_DEFAULT), name, LOCALE_NAME_MAX_LENGTH, 0);
    return ToUtf8(name);
}

// shcore.dll is not there on Windows before 8.1.
UINT DpiOf(HMONITOR monitor)
{
    using GetDpi = HRESULT(WINAPI*)(HMONITOR, int, UINT*, UINT*);
    static const HMODULE library = LoadLibraryExW(L"shcore.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    const auto getDpi =
        reinterpret_cast<GetDpi>(reinterpret_cast<void*>(GetProcAddress(library, "GetDpiForMonitor")));
    UINT x = 0;
    UINT y = 0;
    return getDpi != nullptr && SUCCEEDED(getDpi(monitor, 0, &x, &y)) ? x : 0;
}

BOOL CALLBACK DescribeMonitor(HMONITOR monitor, HDC /*device*/, RECT* rect, LPARAM report)
{
    reinterpret_cast<CReport*>(report)->AddFact(
        "monitor", std::to_string(rect->right - rect->left) + "x" + std::to_string(rect->bottom - rect->top) +
                       " at " + std::to_string(rect->left) + "," + std::to_string(rect->top) + ", scaling " +
                       std::to_string(DpiOf(monitor) * 100 / USER_DEFAULT_SCREEN_DPI) + " %");
    return TRUE;
}

std::string Theme()
{
    HIGHCONTRASTW contrast{};
    contrast.cbSize = sizeof contrast;
    SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof contrast, &contrast, 0);
    return std::string(IsDarkTheme() ? "dark" : "light") +
           ((contrast.dwFlags & HCF_HIGHCONTRASTON) != 0 ? ", contrast theme" : "");
}

bool HasShortNames()
{
    std::wstring path(32'768, L'\0');
    path.resize(GetShortPathNameW(OwnFolder().c_str(), path.data(), static_cast<DWORD>(path.size())));
    return path.find(L'~') != std::wstring::npos;
}

std::wstring TextOf(const CLSID& classId)
{
    std::array<wchar_t, 40> text{};
    StringFromGUID2(classId, text.data(), static_cast<int>(text.size()));
    return text.data();
}

std::string YesOrNo(bool condition)
{
    return condition ? "yes" : "no";
}

// Adds the values of an open key. `title`: the name of the key in the state.
void TakeValues(HKEY key, const std::wstring& title, MachineState& state)
{
    DWORD longestName = 0;
    DWORD largest = 0;  // value, in bytes
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &longestName,
                     &largest, nullptr, nullptr);
    std::wstring name(longestName + 1, L'\0');
    std::vector<BYTE> data(largest);
    for (DWORD at = 0;; ++at) {
        auto length = static_cast<DWORD>(name.size());
        auto size = static_cast<DWORD>(data.size());
        DWORD type = 0;
        if (RegEnumValueW(key, at, name.data(), &length, nullptr, &type, data.data(), &size) !=
            ERROR_SUCCESS) {
            return;
        }
        state[title + L"\\\\" + name.substr(0, length)] =
            std::to_wstring(type) + L":" + std::wstring(data.begin(), data.begin() + size);
    }
}

UniqueKey Open(HKEY hive, const std::wstring& path, REGSAM view)
{
    HKEY key = nullptr;
    const LSTATUS status = RegOpenKeyExW(hive, path.c_str(), 0, KEY_READ | view, &key);
    return UniqueKey(status == ERROR_SUCCESS ? key : nullptr);
}

// The names of the sub-keys; none without a key.
std::vector<std::wstring> SubKeysOf(const UniqueKey& key)
{
    std::vector<std::wstring> names;
    std::array<wchar_t, 512> name{};
    for (DWORD at = 0;
         RegEnumKeyW(key.get(), at, name.data(), static_cast<DWORD>(name.size())) == ERROR_SUCCESS; ++at) {
        names.emplace_back(name.data());
    }
    return names;
}

// The name of a key in the state.
std::wstring TitleOf(HKEY hive, const std::wstring& path, REGSAM view)
{
    return (hive == HKEY_LOCAL_MACHINE ? L"HKLM\\" : L"HKCU\\") + path +
           (view == KEY_WOW64_32KEY ? L" (32)" : L"");
}

// Adds the values of a key and of all keys below it.
void TakeKeys(HKEY hive, const std::wstring& path, REGSAM view, MachineState& state)
{
    const UniqueKey key = Open(hive, path, view);
    if (!key) {
        return;
    }
    const std::wstring title = TitleOf(hive, path, view);
    state[title] = L"key";
    TakeValues(key.get(), title, state);
    for (const std::wstring& name : SubKeysOf(key)) {
        TakeKeys(hive, path + L"\\" + name, view, state);
    }
}

// Adds the names of the sub-keys.
void TakeNames(HKEY hive, const std::wstring& path, MachineState& state)
{
    for (const std::wstring& name : SubKeysOf(Open(hive, path, KEY_WOW64_64KEY))) {
        state[TitleOf(hive, path, KEY_WOW64_64KEY) + L"\\" + name] = L"key";
    }
}

// Adds the sub-keys whose names begin with one of the texts.
void TakeKeysNamed(HKEY hive, const std::wstring& parent, const std::vector<std::wstring>& leads, REGSAM view,
                   MachineState& state)
{
    for (const std::wstring& name : SubKeysOf(Open(hive, parent, view))) {
        for (const std::wstring& lead : leads) {
            if (LowerCase(name).starts_with(LowerCase(lead))) {
                TakeKeys(hive, parent + L"\\" + name, view, state);
            }
        }
    }
}

std::wstring StateOf(const std::filesystem::directory_entry& entry)
{
    std::error_code ignored;
    return entry.is_directory(ignored)
               ? L"folder"
               : std::to_wstring(entry.file_size(ignored)) + L" bytes, " +
                     std::to_wstring(entry.last_write_time(ignored).time_since_epoch().count());
}

// Adds the files and subfolders of a folder whose names begin with the text, and all that is in these
// subfolders. Leaves out the folder "report", into which the self-check itself writes.
void TakeFiles(const std::filesystem::path& folder, const std::wstring& lead, MachineState& state)
{
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(folder, ignored)) {
        const std::wstring name = entry.path().filename().wstring();
        if (name.starts_with(lead) && name != L"report") {
            state[entry.path().wstring()] = StateOf(entry);
            TakeFiles(entry.path(), L"", state);
        }
    }
}

// Adds the program's installed files and shortcuts, and the names of the keys of all installed programs.
void TakePrograms(MachineState& state)
{
    for (const KNOWNFOLDERID& id : {FOLDERID_ProgramFiles, FOLDERID_CommonPrograms, FOLDERID_Programs}) {
        wchar_t* path = nullptr;
        if (SUCCEEDED(SHGetKnownFolderPath(id, 0, nullptr, &path))) {
            TakeFiles(path, L"Talvenor", state);
        }
        CoTaskMemFree(path);
    }
    TakeNames(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall", state);
}

}  // namespace

DWORD WindowsBuild()
{
    return wcstoul(TextValue(HKEY_LOCAL_MACHINE, kVersionKey, L"CurrentBuildNumber").c_str(), nullptr, 10);
}

bool LongPathsEnabled()
{
    return NumberValue(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Control\\FileSystem",
                       L"LongPathsEnabled", 0) != 0;
}

bool MayChangeMachine()
{
    if (UnderWine()) {
        return true;
    }
    HANDLE opened = nullptr;
    OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened);
    const UniqueHandle token(opened);
    TOKEN_ELEVATION elevation{};
    DWORD size = 0;
    return GetTokenInformation(opened, TokenElevation, &elevation, sizeof elevation, &size) != FALSE &&
           elevation.TokenIsElevated != 0;
}

bool IsDarkTheme()
{
    return NumberValue(HKEY_CURRENT_USER,
                       L"Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize",
                       L"AppsUseLightTheme", 1) == 0;
}

void DescribeMachine(CReport& report)
{
    report.AddFact("Windows", ToUtf8(TextValue(HKEY_LOCAL_MACHINE, kVersionKey, L"ProductName")) + " " +
                                  ToUtf8(TextValue(HKEY_LOCAL_MACHINE, kVersionKey, L"DisplayVersion")) +
                                  ", build " + std::to_string(WindowsBuild()) + "." +
                                  std::to_string(NumberValue(HKEY_LOCAL_MACHINE, kVersionKey, L"UBR", 0)) +
                                  (UnderWine() ? " (Wine)" : ""));
    report.AddFact("administrator", YesOrNo(MayChangeMachine()));
    report.AddFact("code pages",
                   std::to_string(GetACP()) + " (ANSI), " + std::to_string(GetOEMCP()) + " (OEM)");
    report.AddFact("languages", LocaleName(GetUserDefaultUILanguage()) + " (texts), " +
                                    LocaleName(GetUserDefaultLangID()) + " (formats), " +
                                    LocaleName(GetSystemDefaultUILanguage()) + " (system)");
    EnumDisplayMonitors(nullptr, nullptr, &DescribeMonitor, reinterpret_cast<LPARAM>(&report));
    report.AddFact("theme", Theme());
    report.AddFact("remote session", YesOrNo(GetSystemMetrics(SM_REMOTESESSION) != 0));
    report.AddFact("long paths", YesOrNo(LongPathsEnabled()));
    report.AddFact("short names", YesOrNo(HasShortNames()));
    report.AddFact("folder", ToUtf8(OwnFolder()));
}

MachineState TakeMachineState()
{
    MachineState state;
    const std::vector<std::wstring> ours{L"Zelmar", L"Talvenor"};
    for (const REGSAM view : {REGSAM{KEY_WOW64_64KEY}, REGSAM{KEY_WOW64_32KEY}}) {
        TakeKeysNamed(HKEY_LOCAL_MACHINE, L"SOFTWARE", ours, view, state);
    }
    TakeKeysNamed(HKEY_CURRENT_USER, L"SOFTWARE", ours, 0, state);
    TakeKeys(HKEY_CURRENT_USER, kFileDialogsKey, 0, state);
    for (const HKEY hive : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
        TakeKeysNamed(hive, L"SOFTWARE\\Classes", {L"SldWorks.Application", L"Talvenor", L".pdf", L".html"},
                      0, state);
        TakeNames(hive, L"SOFTWARE\\Classes\\CLSID", state);
    }
    TakePrograms(state);
    TakeFiles(OwnFolder(), L"", state);
    TakeFiles(std::filesystem::temp_directory_path(), L"talvenor-", state);
    state[L"drives"] = std::to_wstring(GetLogicalDrives());
    return state;
}

std::vector<std::string> UndoTests()
{
    static std::mutex only;  // also called when the console closes, on another thread
    const std::scoped_lock lock(only);
    // Removes the stand-in server's own classes only.
    StartedProgram unregister;
    if (CreateProgram(L"\"" + OwnFolder() + L"\\cadserver.exe\" --unregister", unregister) == ERROR_SUCCESS) {
        WaitForSingleObject(unregister.process.get(), kUnregisterTime);
    }
    std::vector<std::string> problems = RestoreLeftovers();
    if (CLSID classId{}; SUCCEEDED(CLSIDFromProgID(kCommonProgId, &classId)) && IsOurClass(TextOf(classId))) {
        problems.emplace_back(
            "the stand-in for the CAD system is still registered (run this as administrator)");
    }
    return problems;
}

void RestoreMachine(CReport& report)
{
    for (const std::string& problem : UndoTests()) {
        report.AddFailure("left by tests: " + problem);
    }
}

std::vector<std::string> ChangesSince(const MachineState& before)
{
    std::vector<std::string> changes;
    const MachineState after = TakeMachineState();
    for (const auto& [name, value] : after) {
        const auto found = before.find(name);
        if (found == before.end() || found->second != value) {
            changes.push_back((found == before.end() ? "left " : "changed ") + ToUtf8(name));
        }
    }
    for (const auto& [name, value] : before) {
        if (!after.contains(name)) {
            changes.push_back("removed " + ToUtf8(name));
        }
    }
    return changes;
}
