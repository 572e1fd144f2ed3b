#include "tests/support/ProgramUnderTest.h"

#include <filesystem>
#include <utility>

#include "framework/Language.h"
#include "resources/resource.h"
#include "tests/support/Input.h"
#include "tests/support/OtherWindows.h"
#include "tests/support/OwnFolder.h"
#include "tests/support/StartProgram.h"
#include "tests/support/TextFile.h"
#include "tests/support/WaitFor.h"

CProgramUnderTest::CProgramUnderTest(const std::wstring& workingFolder, const std::wstring& program)
{
    const std::wstring folder = OwnFolder();
    const Text inLanguage{L"talvenor_german.exe", L"talvenor_english.exe"};
    const std::filesystem::path file =
        std::filesystem::path(folder) / (program.empty() ? inLanguage.Current() : program);
    StartedProgram started =
        StartProgram(L"\"" + file.wstring() + L"\"", workingFolder.empty() ? folder : workingFolder);
    m_process = std::move(started.process);
    m_processId = started.id;
}

CProgramUnderTest::~CProgramUnderTest()
{
    TerminateProcess(m_process.get(), 1);
    WaitForSingleObject(m_process.get(), kPatience);
}

HWND CProgramUnderTest::MainWindow() const
{
    const HWND window = WaitFor([&] { return DialogWith(IDC_LIST); });
    if (window == nullptr) {
        throw CNotOnScreen(L"the main dialog", m_processId);
    }
    return window;
}

HWND CProgramUnderTest::Control(int id) const
{
    const HWND control = GetDlgItem(MainWindow(), id);
    if (control == nullptr) {
        throw CNotOnScreen(L"control " + std::to_wstring(id), m_processId);
    }
    return control;
}

std::wstring CProgramUnderTest::ControlText(int id) const
{
    return TextOf(Control(id));
}

CListOnScreen CProgramUnderTest::List() const
{
    return {Control(IDC_LIST), m_process.get()};
}

HWND CProgramUnderTest::ProgressDialog() const
{
    return DialogWith(IDC_PROGRESS_OVERALL);
}

bool CProgramUnderTest::IsAtRest() const
{
    const auto looksSo = [this] {
        const std::vector<HWND> windows = TopWindowsOf(m_processId);
        return windows.size() == 1 && IsWindowEnabled(windows[0]) != FALSE &&
               GetDlgItem(windows[0], IDC_LIST) != nullptr;
    };
    if (!looksSo()) {
        return false;
    }
    // The window is enabled briefly while a progress dialog closes, but the program does not respond then.
    Ask(MainWindow(), WM_NULL);
    return looksSo();
}

void CProgramUnderTest::Click(int id) const
{
    ClickOn(Control(id));
}

void CProgramUnderTest::Press(int id) const
{
    PostMessageW(MainWindow(), WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(Control(id)));
}

void CProgramUnderTest::Focus(int id) const
{
    Click(id);
    WaitForFocus(id);
}

void CProgramUnderTest::FocusByKey(int id) const
{
    PressKeys({VK_MENU, MnemonicOf(GetWindow(Control(id), GW_HWNDPREV))});
    WaitForFocus(id);
}

void CProgramUnderTest::PressByKey(int id) const
{
    PressKeys({VK_MENU, MnemonicOf(Control(id))});
}

void CProgramUnderTest::TypeInto(int id, const std::wstring& text) const
{
    Focus(id);
    PressKeys({VK_HOME});
    PressKeys({VK_SHIFT, VK_END});
    TypeText(text);
    WaitForText(id, text);
}

void CProgramUnderTest::WaitForText(int id, const std::wstring& text) const
{
    const HWND control = Control(id);
    if (!WaitFor([&] { return TextOf(control) == text; })) {
        throw CNotOnScreen(L"\"" + text + L"\" in control " + std::to_wstring(id), m_processId);
    }
}

void CProgramUnderTest::WaitForFocus(int id) const
{
    const HWND control = Control(id);
    const HWND window = GetAncestor(control, GA_ROOT);
    // The control may have its dialog's focus long before the dialog gets keyboard input.
    if (!WaitFor([&] { return GetForegroundWindow() == window && FocusOf(control) == control; })) {
        throw CNotOnScreen(L"the focus in control " + std::to_wstring(id), m_processId);
    }
}

void CProgramUnderTest::WaitForKeyboard() const
{
    const HWND window = MainWindow();
    if (!WaitFor([&] { return GetForegroundWindow() == window && FocusOf(window) != nullptr; })) {
        throw CNotOnScreen(L"the focus in the main dialog", m_processId);
    }
}

void CProgramUnderTest::WaitForRest() const
{
    if (!WaitFor([&] { return IsAtRest(); })) {
        throw CNotOnScreen(L"the main dialog alone", m_processId);
    }
}

DWORD CProgramUnderTest::WaitForEnd() const
{
    DWORD status = 0;
    if (WaitForSingleObject(m_process.get(), kPatience) != WAIT_OBJECT_0 ||
        GetExitCodeProcess(m_process.get(), &status) == FALSE) {
        throw CNotOnScreen(L"the end of the program", m_processId);
    }
    return status;
}

HWND CProgramUnderTest::DialogWith(int controlId) const
{
    for (const HWND window : TopWindowsOf(m_processId)) {
        if (ClassOf(window) == L"#32770" && GetDlgItem(window, controlId) != nullptr) {
            return window;
        }
    }
    return nullptr;
}
