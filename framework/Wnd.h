#pragma once

#include <windows.h>

#include <string>
#include <utility>

#include "framework/MessageMap.h"

class CDataExchange;

// A window of the program. The object is bound to a window by subclassing it: from then on the window's
// messages go through WindowProc, which looks the message table up and leaves everything else to the window's
// own class. Members that only stand for one call of the system name it. All members belong to the thread
// that made the window.
class CWnd
{
public:
    CWnd() = default;
    CWnd(const CWnd&) = delete;
    CWnd& operator=(const CWnd&) = delete;

    // Lets go of the window without destroying it.
    virtual ~CWnd();

    HWND m_hWnd = nullptr;

    // A window's text, of any length.
    [[nodiscard]] static std::wstring TextOf(HWND window);

    // The object bound to the window, or null.
    [[nodiscard]] static CWnd* FromHandle(HWND window);

    // Binds this object, which must not be bound yet, to an existing window. False when the window does not
    // exist or belongs to another object.
    bool SubclassWindow(HWND window);
    HWND UnsubclassWindow();

    // CreateWindowExW: makes a child window of a standard class, without a text, at a place in the parent's
    // client area, and binds this object to it. False when the system refuses.
    bool CreateChild(const wchar_t* windowClass, DWORD style, const RECT& place, const CWnd& parent, int id);

    // DestroyWindow. The object is unbound when the call returns.
    virtual bool DestroyWindow();

    // Called for each queued message before it is dispatched, from the window it is for up to its
    // top-level window; the first that answers true has dealt with it.
    virtual bool PreTranslateMessage(MSG& message);
    static bool WalkPreTranslateTree(MSG& message);

    // Moves data between members and controls through DoDataExchange: towards the members when `save` is
    // true. False when a control is missing.
    bool UpdateData(bool save);

    [[nodiscard]] HWND GetDlgItem(int id) const { return ::GetDlgItem(m_hWnd, id); }
    [[nodiscard]] std::wstring GetDlgItemText(int id) const { return TextOf(GetDlgItem(id)); }  // WM_GETTEXT
    void SetDlgItemText(int id, const std::wstring& text) const
    {
        ::SetDlgItemTextW(m_hWnd, id, text.c_str());
    }
    [[nodiscard]] std::wstring GetWindowText() const { return TextOf(m_hWnd); }
    void SetWindowText(const std::wstring& text) const { ::SetWindowTextW(m_hWnd, text.c_str()); }
    [[nodiscard]] bool IsWindowEnabled() const { return ::IsWindowEnabled(m_hWnd) != FALSE; }
    void EnableWindow(bool enable) const { ::EnableWindow(m_hWnd, enable ? TRUE : FALSE); }
    void ShowWindow(int command) const { ::ShowWindow(m_hWnd, command); }
    void SetFocus() const { ::SetFocus(m_hWnd); }
    void BringWindowToTop() const { ::BringWindowToTop(m_hWnd); }
    [[nodiscard]] RECT GetClientRect() const;
    // A length at 100 % scaling in pixels of the window's scaling.
    [[nodiscard]] int Scaled(int length) const;
    LRESULT SendMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const
    {
        return ::SendMessageW(m_hWnd, message, wParam, lParam);
    }
    bool PostMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const
    {
        return ::PostMessageW(m_hWnd, message, wParam, lParam) != FALSE;
    }

protected:
    // The class's message table. A class with rows of its own returns a table whose base is its base class's.
    [[nodiscard]] virtual const MessageMap* GetMessageMap() const;

    // What the window does on a message: the table's handler, or Default.
    virtual LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam);

    // WM_COMMAND; true when a handler was found.
    virtual bool OnCommand(WPARAM wParam, LPARAM lParam);

    // WM_NOTIFY: a handler of the control that sent it, else one of this window, else Default.
    virtual LRESULT OnNotify(WPARAM wParam, LPARAM lParam);

    virtual void DoDataExchange(CDataExchange& exchange);

    // Called when the window is gone and the object unbound; an object that owns itself deletes itself here.
    virtual void PostNcDestroy() {}

    // Runs an action; an exception of it is shown to the user and goes no further. No exception may pass the
    // system's frames between two windows: whatever the system calls runs in here.
    template <class Action>
    static void Guard(Action&& action)
    {
        try {
            std::forward<Action>(action)();
        } catch (...) {
            ReportException();
        }
    }

    // Does with the message in hand what the window's own class does with it.
    LRESULT Default();

    // The same for a message of the caller's choice.
    LRESULT DefaultWindowProc(UINT message, WPARAM wParam, LPARAM lParam) const;

private:
    static void ReportException();
    static LRESULT CALLBACK SubclassProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT Dispatch(UINT message, WPARAM wParam, LPARAM lParam);

    struct CurrentMessage
    {
        UINT message;
        WPARAM wParam;
        LPARAM lParam;
    };
    CurrentMessage m_current{};
    WNDPROC m_previousProcedure = nullptr;  // that of the window's own class, mostly
};
