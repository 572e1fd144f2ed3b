#pragma once

#include <windows.h>

#include <commctrl.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>

#include "framework/Handles.h"
#include "framework/ResourceHandle.h"
#include "framework/ScopeExit.h"
#include "framework/WinApp.h"
#include "framework/Wnd.h"
#include "tests/support/Rects.h"
#include "tests/support/ZelmarRegistry.h"

// Windows, resources and settings that a test has until the end of a scope.

inline constexpr wchar_t kGermanLibrary[] = L"talvresgerx64.dll";
inline constexpr wchar_t kEnglishLibrary[] = L"talvresusx64.dll";

// A font, bitmap or region.
template <class GdiHandle>
using UniqueGdiObject = UniqueOwner<GdiHandle, ::DeleteObject>;

// Loads a file of the working folder as data; no code in it runs.
inline UniqueModule LoadAsData(const std::wstring& name)
{
    std::wstring path(MAX_PATH, L'\0');
    path.resize(::GetFullPathNameW(name.c_str(), MAX_PATH, path.data(), nullptr));
    return UniqueModule(
        ::LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE));
}

// Until the end of the scope, the program takes its resources from a library in the working folder.
class CResourceScope
{
public:
    explicit CResourceScope(const std::wstring& library = kGermanLibrary)
        : m_before(GetResourceHandle()), m_module(LoadAsData(library))
    {
        EXPECT_NE(m_module, nullptr);
        const INITCOMMONCONTROLSEX controls{sizeof controls, ICC_WIN95_CLASSES};
        EXPECT_TRUE(::InitCommonControlsEx(&controls));
        SetResourceHandle(m_module.get());
    }
    ~CResourceScope() { SetResourceHandle(m_before); }
    CResourceScope(const CResourceScope&) = delete;
    CResourceScope& operator=(const CResourceScope&) = delete;

private:
    HINSTANCE m_before;
    UniqueModule m_module;
};

// Until the end of the scope, the program's settings are the test's own: none at first, and never the user's.
class CUserSettingsScope : public CZelmarRegistry
{
public:
    // The stored template; "(none)" if there is none of type REG_SZ.
    [[nodiscard]] std::wstring Template(int column) const
    {
        return CZelmarRegistry::Template(column).value_or(L"(none)");
    }
};

// A window with default handling only, destroyed with the object.
class CPlainWindow : public CWnd
{
public:
    explicit CPlainWindow(HWND parent = nullptr, DWORD style = WS_OVERLAPPEDWINDOW | WS_VISIBLE,
                          const wchar_t* windowClass = L"Talvenor.Test.Window")
    {
        Register(windowClass);
        SubclassWindow(::CreateWindowExW(0, windowClass, L"window of a test", style, 40, 40, 640, 480, parent,
                                         nullptr, ::GetModuleHandleW(nullptr), nullptr));
        if (m_hWnd == nullptr) {
            throw std::runtime_error("a test's window cannot be created");
        }
    }
    ~CPlainWindow() override { CWnd::DestroyWindow(); }

    // Adds a child control of a standard class, which is destroyed with the window.
    HWND AddControl(const wchar_t* controlClass, int id, DWORD style = 0, RECT rect = {0, 0, 200, 100}) const
    {
        return ::CreateWindowExW(0, controlClass, L"", WS_CHILD | WS_VISIBLE | style, rect.left, rect.top,
                                 rect.right - rect.left, rect.bottom - rect.top, m_hWnd,
                                 reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                                 ::GetModuleHandleW(nullptr), nullptr);
    }

private:
    // Fails harmlessly if the class is registered already.
    static void Register(const wchar_t* name)
    {
        WNDCLASSW windowClass{};
        windowClass.lpfnWndProc = &::DefWindowProcW;
        windowClass.hInstance = ::GetModuleHandleW(nullptr);
        windowClass.lpszClassName = name;
        ::RegisterClassW(&windowClass);
    }
};

// Counts the WM_APP messages that it gets.
class CCountingWindow : public CPlainWindow
{
public:
    int m_count = 0;

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        m_count += message == WM_APP ? 1 : 0;
        return CPlainWindow::WindowProc(message, wParam, lParam);
    }
};

// A dialog of the program that calls m_work from its message loop once it is initialised.
template <class Dialog>
class CWorked : public Dialog
{
public:
    using Dialog::CallIdle;
    using Dialog::Dialog;
    using Dialog::EndDialog;
    using Dialog::IsEnding;

    std::function<void()> m_work;

protected:
    bool OnInitDialog() override
    {
        const CScopeExit post([this] { this->PostMessage(kWork); });  // even after an exception
        return Dialog::OnInitDialog();
    }
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        if (message != kWork) {
            return Dialog::WindowProc(message, wParam, lParam);
        }
        m_work();
        return 0;
    }

private:
    static constexpr UINT kWork = WM_APP + 1;
};

// The procedure of a dialog that is only looked at.
inline INT_PTR CALLBACK IgnoreMessage(HWND, UINT, WPARAM, LPARAM)
{
    return FALSE;
}

// Makes a window the application's main window until the end of the scope.
class CMainWindowScope
{
public:
    explicit CMainWindowScope(CWnd* window) : m_before(std::exchange(CWinApp::Get()->m_mainWindow, window)) {}
    ~CMainWindowScope() { CWinApp::Get()->m_mainWindow = m_before; }
    CMainWindowScope(const CMainWindowScope&) = delete;
    CMainWindowScope& operator=(const CMainWindowScope&) = delete;

private:
    CWnd* m_before;
};

// Calls a function repeatedly from the current message loop until the end of the scope. Tests use it to end
// loops that wait for a user, such as the loop of a message box.
class CTimerScope
{
public:
    CTimerScope(UINT milliseconds, std::function<void()> function)
        : m_id(::SetTimer(nullptr, 0, milliseconds, &OnTimer))
    {
        Functions()[m_id] = std::move(function);
    }
    ~CTimerScope()
    {
        ::KillTimer(nullptr, m_id);
        Functions().erase(m_id);
    }
    CTimerScope(const CTimerScope&) = delete;
    CTimerScope& operator=(const CTimerScope&) = delete;

private:
    static std::map<UINT_PTR, std::function<void()>>& Functions()
    {
        static std::map<UINT_PTR, std::function<void()>> functions;
        return functions;
    }
    static void CALLBACK OnTimer(HWND, UINT, UINT_PTR id, DWORD)
    {
        if (const auto function = Functions().find(id); function != Functions().end()) {
            function->second();
        }
    }

    UINT_PTR m_id;
};

// Dispatches all messages in the thread's queue, but leaves a WM_QUIT there.
inline void DrainMessages()
{
    MSG message{};
    while (::PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE) != FALSE && message.message != WM_QUIT) {
        CWinApp::PumpPendingMessage();
    }
}

// The selection of an edit: start and end.
inline std::array<DWORD, 2> SelectionOf(HWND edit)
{
    std::array<DWORD, 2> selection{};
    ::SendMessageW(edit, EM_GETSEL, reinterpret_cast<WPARAM>(&selection[0]),
                   reinterpret_cast<LPARAM>(&selection[1]));
    return selection;
}

inline std::wstring ClassNameOf(HWND window)
{
    std::array<wchar_t, 64> name{};
    ::GetClassNameW(window, name.data(), static_cast<int>(name.size()));
    return name.data();
}

inline bool IsOfClass(HWND window, const wchar_t* windowClass)
{
    return ::lstrcmpiW(ClassNameOf(window).c_str(), windowClass) == 0;
}

// The topmost window of this thread that meets a condition; null if none does.
inline HWND FindWindowOfThread(const std::function<bool(HWND)>& condition)
{
    std::pair search{condition, HWND{}};
    ::EnumThreadWindows(
        ::GetCurrentThreadId(),
        [](HWND window, LPARAM data) -> BOOL {
            auto& [meets, found] = *reinterpret_cast<decltype(search)*>(data);
            found = meets(window) ? window : nullptr;
            return found == nullptr ? TRUE : FALSE;
        },
        reinterpret_cast<LPARAM>(&search));
    return search.second;
}

// Calls a function with each message that is sent to a window of this thread, before the window gets it,
// until the end of the scope. Only one object may exist at a time.
class CSentMessageHook
{
public:
    explicit CSentMessageHook(std::function<void(const CWPSTRUCT&)> onMessage)
        : m_onMessage(std::move(onMessage))
        , m_hook(::SetWindowsHookExW(WH_CALLWNDPROC, &OnSent, nullptr, ::GetCurrentThreadId()))
    {
        s_current = this;
        EXPECT_NE(m_hook, nullptr);
    }
    ~CSentMessageHook()
    {
        ::UnhookWindowsHookEx(m_hook);
        s_current = nullptr;
    }
    CSentMessageHook(const CSentMessageHook&) = delete;
    CSentMessageHook& operator=(const CSentMessageHook&) = delete;

private:
    static LRESULT CALLBACK OnSent(int code, WPARAM wParam, LPARAM lParam)
    {
        if (code == HC_ACTION && s_current != nullptr) {
            s_current->m_onMessage(*reinterpret_cast<const CWPSTRUCT*>(lParam));
        }
        return ::CallNextHookEx(nullptr, code, wParam, lParam);
    }

    inline static CSentMessageHook* s_current = nullptr;

    const std::function<void(const CWPSTRUCT&)> m_onMessage;
    const HHOOK m_hook;
};
