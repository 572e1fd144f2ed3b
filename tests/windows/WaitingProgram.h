#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>

#include "framework/Handles.h"
#include "tests/support/TestScopes.h"

// A copy of waitingprogram.exe: an image of a test's own, of which no other process is.
inline std::wstring CopyWaitingProgram(const CTempFolder& folder, const std::wstring& name = L"server.exe")
{
    std::wstring path(MAX_PATH, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), MAX_PATH));
    const std::wstring copy = folder / name;
    std::filesystem::copy_file(std::filesystem::path(path).replace_filename(L"waitingprogram.exe"), copy);
    return copy;
}

// Asks again and again, for at most ten seconds.
template <class Condition>
bool ComesTrue(Condition condition)
{
    const ULONGLONG end = GetTickCount64() + 10'000;
    while (!condition()) {
        if (GetTickCount64() >= end) {
            return false;
        }
        Sleep(20);
    }
    return true;
}

// A process of waitingprogram.exe, started as COM starts a server. It ends with the object.
class CWaitingProcess
{
public:
    explicit CWaitingProcess(const std::wstring& image)
    {
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process{};
        std::wstring commandLine = L"\"" + image + L"\"";
        EXPECT_TRUE(CreateProcessW(image.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                                   nullptr, &startup, &process));
        CloseHandle(process.hThread);
        m_process.reset(process.hProcess);
        m_id = process.dwProcessId;
        m_threadId = process.dwThreadId;
        // Messages can be posted from then on.
        WaitForInputIdle(m_process.get(), 10'000);
    }
    CWaitingProcess(CWaitingProcess&&) = default;
    CWaitingProcess& operator=(CWaitingProcess&&) = delete;
    ~CWaitingProcess()
    {
        if (m_process != nullptr) {
            TerminateProcess(m_process.get(), 1);
            WaitForSingleObject(m_process.get(), 10'000);
        }
    }

    // Return when the window is on the screen.
    void ShowMainWindow() const
    {
        Post(WM_APP);
        EXPECT_TRUE(ComesTrue([] { return IsWindowVisible(FindMainWindow()) != FALSE; }));
    }
    void ShowPrompt() const
    {
        Post(WM_APP + 1);
        EXPECT_TRUE(ComesTrue([] { return IsWindowVisible(FindWindowW(L"#32770", kTitle)) != FALSE; }));
    }
    // Returns when the window is gone.
    void CloseMainWindow() const
    {
        PostMessageW(FindMainWindow(), WM_CLOSE, 0, 0);
        EXPECT_TRUE(ComesTrue([] { return FindMainWindow() == nullptr; }));
    }
    void StartAnother() const { Post(WM_APP + 2); }
    void EndLater(DWORD milliseconds) const { Post(WM_APP + 3, milliseconds); }

    [[nodiscard]] DWORD Id() const { return m_id; }
    // Whether the process ends within a time in milliseconds.
    [[nodiscard]] bool Ends(DWORD milliseconds = 5'000) const
    {
        return WaitForSingleObject(m_process.get(), milliseconds) == WAIT_OBJECT_0;
    }

private:
    static constexpr const wchar_t* kTitle = L"window of waitingprogram";

    static HWND FindMainWindow() { return FindWindowW(L"Static", kTitle); }

    void Post(UINT message, WPARAM parameter = 0) const
    {
        EXPECT_TRUE(PostThreadMessageW(m_threadId, message, parameter, 0));
    }

    UniqueHandle m_process;
    DWORD m_id = 0;
    DWORD m_threadId = 0;
};
