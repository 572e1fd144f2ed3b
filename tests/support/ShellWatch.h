#pragma once

#include <windows.h>

#include <gtest/gtest.h>
#include <shellapi.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/ImportTable.h"

// While it exists, documents that the program opens through the shell (ShellExecuteW) are only recorded, not
// opened. Only one object may exist at a time.
class CShellWatch
{
public:
    CShellWatch()
    {
        static const bool redirected = RedirectImport("ShellExecuteW", &CShellWatch::Execute, &s_original);
        EXPECT_TRUE(redirected);
        s_watch = this;
    }
    ~CShellWatch() { s_watch = nullptr; }
    CShellWatch(const CShellWatch&) = delete;
    CShellWatch& operator=(const CShellWatch&) = delete;

    // The documents since the last call.
    [[nodiscard]] std::vector<std::wstring> Take() { return std::exchange(m_opened, {}); }

    INT_PTR m_result = 42;  // above 32 is success
    std::wstring m_folder;  // the working folder of the last viewer; empty if it is the program's

private:
    static HINSTANCE WINAPI Execute(HWND owner, const wchar_t* verb, const wchar_t* file,
                                    const wchar_t* parameters, const wchar_t* folder, INT show)
    {
        if (s_watch == nullptr) {
            return s_original(owner, verb, file, parameters, folder, show);
        }
        EXPECT_STREQ(verb, L"open");
        s_watch->m_opened.emplace_back(file);
        s_watch->m_folder = folder != nullptr ? folder : L"";
        return reinterpret_cast<HINSTANCE>(s_watch->m_result);
    }

    static inline decltype(&::ShellExecuteW) s_original = nullptr;
    static inline CShellWatch* s_watch = nullptr;

    std::vector<std::wstring> m_opened;
};
