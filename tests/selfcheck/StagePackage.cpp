// Stage 3: the package, installed and removed as an administrator does it, without questions.
#include <windows.h>

#include <shlobj.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "framework/Handles.h"
#include "resources/resource.h"
#include "tests/selfcheck/Machine.h"
#include "tests/selfcheck/ProcessRunner.h"
#include "tests/selfcheck/Stages.h"
#include "tests/selfcheck/TemplatesAsBefore.h"
#include "tests/support/CreateProgram.h"
#include "tests/support/OtherWindows.h"
#include "tests/support/OwnFolder.h"
#include "tests/support/TextFile.h"
#include "tests/support/UnderWine.h"
#include "tests/support/WaitFor.h"

namespace {

constexpr wchar_t kSetupKey[] = L"SOFTWARE\\Talvenor\\Setup";
constexpr wchar_t kUninstallKey[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall";
constexpr DWORD kMinutes = 10;

std::wstring TextValue(const std::wstring& key, const wchar_t* name)
{
    wchar_t text[MAX_PATH] = L"";
    DWORD bytes = sizeof text;
    RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, RRF_RT_REG_SZ | RRF_SUBKEY_WOW6464KEY, nullptr, text,
                 &bytes);
    return text;
}

// Without a backslash at its end; empty if the program is not installed.
std::wstring InstalledFolder()
{
    std::wstring folder = TextValue(kSetupKey, L"Program");
    while (folder.ends_with(L'\\')) {
        folder.pop_back();
    }
    return folder;
}

// How many installed programs are named Talvenor.
int CountEntries()
{
    HKEY opened = nullptr;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, kUninstallKey, 0, KEY_READ | KEY_WOW64_64KEY, &opened);
    const UniqueKey key(opened);
    wchar_t name[256] = L"";
    int count = 0;
    for (DWORD at = 0; RegEnumKeyW(opened, at, name, 256) == ERROR_SUCCESS; ++at) {
        count +=
            TextValue(kUninstallKey + (L"\\" + std::wstring(name)), L"DisplayName") == L"Talvenor" ? 1 : 0;
    }
    return count;
}

// Where this stage installs the program.
std::wstring FolderOfCheck()
{
    return TextValue(L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion", L"ProgramFilesDir") +
           L"\\Talvenor self-check";
}

// Returns the exit status of msiexec, whose log is in the report's folder.
DWORD Installer(const wchar_t* verb, const std::wstring& package, const std::wstring& more = {})
{
    static int calls = 0;
    const std::wstring log = OwnFolder() + L"\\report\\msi-" + std::to_wstring(++calls) + L".log";
    const std::wstring command = L"msiexec.exe " + std::wstring(verb) + L" \"" + OwnFolder() +
                                 L"\\packages\\" + package + L".msi\" /qn /norestart /l*v \"" + log + L"\"" +
                                 more;
    return RunProgram(command, OwnFolder() + L"\\report\\msiexec.txt", kMinutes).value_or(ERROR_TIMEOUT);
}

bool HasShortcut()
{
    wchar_t* path = nullptr;
    const bool known = SUCCEEDED(SHGetKnownFolderPath(FOLDERID_CommonPrograms, 0, nullptr, &path));
    const std::wstring shortcut = std::wstring(known ? path : L"") + L"\\Talvenor.lnk";
    CoTaskMemFree(path);
    return GetFileAttributesW(shortcut.c_str()) != INVALID_FILE_ATTRIBUTES;
}

void RemoveInstalled()
{
    for (const wchar_t* const package : {L"rebuilt", L"current", L"failing", L"older"}) {
        if (!InstalledFolder().empty()) {
            Installer(L"/x", package);
        }
    }
}

// The steps, each by a call of msiexec. Nothing is installed before them.
class CPackageSteps
{
public:
    explicit CPackageSteps(CReport& report) : m_report(report) {}
    ~CPackageSteps() { RemoveInstalled(); }  // whatever happened in between
    CPackageSteps(const CPackageSteps&) = delete;
    CPackageSteps& operator=(const CPackageSteps&) = delete;

    void Run()
    {
        InstallOlder();
        if (InstalledFolder().empty()) {
            return;
        }
        FailToUpgrade();
        if (InstalledFolder().empty()) {
            Installer(L"/i", L"older");  // it was not rolled back
        }
        UpgradeWhileItRuns();
        RefuseOlder();
        ReplaceByRebuilt();
        Remove();
    }

private:
    void Step(const char* id, bool asExpected, DWORD status, const std::string& detail)
    {
        m_report.AddFinding(id, YesIf(asExpected, "status " + std::to_string(status) + ", " + detail));
    }
    [[nodiscard]] static std::string Program() { return BytesOf(InstalledFolder() + L"\\talvenor.exe"); }
    [[nodiscard]] static std::string Current() { return BytesOf(OwnFolder() + L"\\talvenor_german.exe"); }

    // Starts the installed program.
    static StartedProgram Start()
    {
        StartedProgram program;
        const std::wstring folder = InstalledFolder();
        static_cast<void>(CreateProgram(L"\"" + folder + L"\\talvenor.exe\"", program, folder));
        return program;
    }
    // Waits for the list of the main window, because a message is a window, too.
    static bool ShowsMainWindow(const StartedProgram& program)
    {
        return WaitFor([&] {
            return std::ranges::any_of(TopWindowsOf(program.id),
                                       [](HWND window) { return GetDlgItem(window, IDC_LIST) != nullptr; });
        });
    }

    void InstallOlder()
    {
        const std::wstring folder = FolderOfCheck();
        const DWORD status = Installer(L"/i", L"older", L" INSTALLDIR=\"" + folder + L"\"");
        const StartedProgram program = InstalledFolder().empty() ? StartedProgram{} : Start();
        Step("install", status == ERROR_SUCCESS && program.process != nullptr && ShowsMainWindow(program),
             status, "folder " + ToUtf8(InstalledFolder()));
        TerminateProcess(program.process.get(), 1);
        Step("install-folder", LowerCase(InstalledFolder()) == LowerCase(folder), status,
             "asked for " + ToUtf8(folder));
    }
    void FailToUpgrade()
    {
        const std::string before = Program();
        const DWORD status = Installer(L"/i", L"failing");
        Step("rollback",
             status == ERROR_INSTALL_FAILURE && !before.empty() && Program() == before && CountEntries() == 1,
             status, std::to_string(CountEntries()) + " entries");
    }
    void UpgradeWhileItRuns()
    {
        const StartedProgram program = Start();
        const bool started = ShowsMainWindow(program);
        const DWORD status = Installer(L"/i", L"current");
        const bool closed = WaitForSingleObject(program.process.get(), 0) == WAIT_OBJECT_0;
        TerminateProcess(program.process.get(), 1);
        Step("update-closes", started && closed && status == ERROR_SUCCESS, status,
             closed ? "the program had ended" : "the program was still running");
        Step("upgrade", Program() == Current() && CountEntries() == 1, status,
             std::to_string(CountEntries()) + " entries");
    }
    void RefuseOlder()
    {
        const DWORD status = Installer(L"/i", L"older");
        Step("downgrade", status == ERROR_INSTALL_FAILURE && Program() == Current(), status,
             "the newer one is there");
    }
    void ReplaceByRebuilt()
    {
        const DWORD status = Installer(L"/i", L"rebuilt");
        Step("upgrade-files", status == ERROR_SUCCESS && Program() == Current() + "\n", status,
             std::to_string(Program().size()) + " bytes");
    }
    void Remove()
    {
        const std::wstring folder = InstalledFolder();
        const DWORD status = Installer(L"/x", L"rebuilt");
        std::error_code ignored;
        const bool gone = !std::filesystem::exists(std::filesystem::path(folder), ignored);
        Step("remove", status == ERROR_SUCCESS && gone && CountEntries() == 0 && InstalledFolder().empty(),
             status, gone ? "the folder is gone" : "the folder is still there");
    }

    CReport& m_report;
};

}  // namespace

bool HasInstallationOfCheck()
{
    const std::wstring installed = InstalledFolder();
    return !installed.empty() && LowerCase(installed) == LowerCase(FolderOfCheck());
}

void RemoveInstallationOfCheck()
{
    if (HasInstallationOfCheck()) {
        RemoveInstalled();
    }
}

std::string RunStagePackage(CReport& report)
{
    if (UnderWine()) {
        return "skipped: Wine's installer does not roll back";
    }
    if (!MayChangeMachine()) {
        return "skipped: this needs an administrator";
    }
    std::error_code ignored;
    if (!std::filesystem::exists(std::filesystem::path(OwnFolder() + L"\\packages"), ignored)) {
        return "skipped: there are no packages here";
    }
    RemoveInstallationOfCheck();  // a killed self-check may have left it
    if (HasShortcut()) {
        return "refused: the Start menu of all users has a Talvenor, which a removal would take away";
    }
    if (!InstalledFolder().empty() || CountEntries() != 0) {
        return "refused: Talvenor is installed on this machine";
    }
    const CTemplatesAsBefore templates;
    CPackageSteps(report).Run();
    return kDone;
}
