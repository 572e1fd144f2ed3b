#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/OwnFolder.h"
#include "tests/support/StartProgram.h"
#include "tests/support/TestScopes.h"

// Copies waitingprogram.exe into a folder of the test. Returns the path of the copy. No process of another
// test runs from that path.
inline std::wstring CopyWaitingProgram(const CTempFolder& folder, const std::wstring& name = L"server.exe")
{
    const std::wstring copy = folder / name;
    std::filesystem::copy_file(OwnFolder() + L"\\waitingprogram.exe", copy);
    return copy;
}

// Runs waitingprogram.exe or another program; the destructor terminates it. The program is a child of the
// test's process, so CServerProcess takes it for a server that COM has started.
class CWaitingProcess
{
public:
    explicit CWaitingProcess(const std::wstring& image) : m_program(StartProgram(L"\"" + image + L"\""))
    {
        // Waits until the process has a message queue to post to, at most 10 seconds.
        WaitForInputIdle(m_program.process.get(), 10'000);
    }
    CWaitingProcess(CWaitingProcess&&) = default;
    CWaitingProcess& operator=(CWaitingProcess&&) = delete;
    ~CWaitingProcess()
    {
        if (m_program.process != nullptr) {
            TerminateProcess(m_program.process.get(), 1);
            WaitForSingleObject(m_program.process.get(), 10'000);
        }
    }

    // These functions return when the window is visible.
    void ShowMainWindow() const
    {
        Post(WM_APP);
        EXPECT_TRUE(WaitFor([] { return IsWindowVisible(FindOwnWindow()) != FALSE; }));
    }
    void ShowPrompt() const
    {
        Post(WM_APP + 1);
        EXPECT_TRUE(WaitFor([] { return IsWindowVisible(FindWindowW(L"#32770", kTitle)) != FALSE; }));
    }
    void ShowSplashScreen() const
    {
        Post(WM_APP + 4);
        EXPECT_TRUE(WaitFor([] { return IsWindowVisible(FindOwnWindow()) != FALSE; }));
    }
    void ShowToolWindow() const
    {
        Post(WM_APP + 5);
        EXPECT_TRUE(WaitFor([] { return IsWindowVisible(FindOwnWindow()) != FALSE; }));
    }
    // Returns when the window is gone.
    void CloseMainWindow() const
    {
        PostMessageW(FindOwnWindow(), WM_CLOSE, 0, 0);
        EXPECT_TRUE(WaitFor([] { return FindOwnWindow() == nullptr; }));
    }
    void StartAnother() const { Post(WM_APP + 2); }
    void EndLater(DWORD milliseconds) const { Post(WM_APP + 3, milliseconds); }

    [[nodiscard]] DWORD Id() const { return m_program.id; }
    [[nodiscard]] DWORD ExitCode() const
    {
        DWORD code = 0;
        EXPECT_TRUE(GetExitCodeProcess(m_program.process.get(), &code));
        return code;
    }
    // Whether the process ends within a time in milliseconds.
    [[nodiscard]] bool Ends(DWORD milliseconds = 5'000) const
    {
        return WaitForSingleObject(m_program.process.get(), milliseconds) == WAIT_OBJECT_0;
    }

private:
    static constexpr const wchar_t* kTitle = L"window of waitingprogram";

    static HWND FindOwnWindow() { return FindWindowW(L"Static", kTitle); }

    void Post(UINT message, WPARAM parameter = 0) const
    {
        EXPECT_TRUE(PostThreadMessageW(m_program.threadId, message, parameter, 0));
    }

    StartedProgram m_program;
};
