#pragma once

#include <windows.h>

#include <string>
#include <utility>

#include "framework/MessageMap.h"

class CDataExchange;

// A window. An object is bound to a window by subclassing. WindowProc then gets all messages of the window
// except WM_NCDESTROY. It calls the handler in the message map or, if there is none, the previous procedure.
// Members that wrap a function or message of the system have its name. All bound windows must be on one
// thread.
class CWnd
{
public:
    CWnd() = default;
    CWnd(const CWnd&) = delete;
    CWnd& operator=(const CWnd&) = delete;

    // Unbinds the window without destroying it.
    virtual ~CWnd();

    HWND m_hWnd = nullptr;

    // A window's text, of any length.
    [[nodiscard]] static std::wstring TextOf(HWND window);

    // The object bound to the window, or null.
    [[nodiscard]] static CWnd* FromHandle(HWND window);

    // Binds this object to an existing window. Returns false when the object is bound already, or the window
    // does not exist or is bound to another object.
    bool SubclassWindow(HWND window);

    // Unbinds and returns the window; null when none was bound.
    HWND UnsubclassWindow();

    // Creates a child window without a text (CreateWindowExW), at `place` in the parent's client coordinates,
    // and binds this object, which must be unbound, to it. Returns false on failure.
    bool CreateChild(const wchar_t* windowClass, DWORD style, const RECT& place, const CWnd& parent, int id);

    // Destroys the window, which unbinds the object. On failure returns false and changes nothing.
    virtual bool DestroyWindow();

    // Called before a queued message is dispatched: for the message's window and then for each parent up to
    // the top-level window, until a call returns true. Returns whether the object has handled the message.
    virtual bool PreTranslateMessage(MSG& message);
    // Calls PreTranslateMessage in that order. Returns whether the message was handled.
    static bool WalkPreTranslateTree(MSG& message);

    // Copies the controls into the members (`save`) or the members into the controls, by DoDataExchange.
    // Returns false when a control is missing.
    bool UpdateData(bool save);

    [[nodiscard]] HWND GetDlgItem(int id) const { return ::GetDlgItem(m_hWnd, id); }
    [[nodiscard]] std::wstring GetDlgItemText(int id) const { return TextOf(GetDlgItem(id)); }
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
    // Converts a length from 96 DPI to the window's DPI.
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
    // The class's message map, chained to that of its base class.
    [[nodiscard]] virtual const MessageMap* GetMessageMap() const;

    // Calls the handler in the message map, or else Default.
    virtual LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam);

    // WM_COMMAND. Returns true when it was handled.
    virtual bool OnCommand(WPARAM wParam, LPARAM lParam);

    // WM_NOTIFY: calls the sender's handler of its own notification, or else this window's handler, or else
    // Default.
    virtual LRESULT OnNotify(WPARAM wParam, LPARAM lParam);

    virtual void DoDataExchange(CDataExchange& exchange);

    // Called after WM_NCDESTROY, with the object unbound; an object that owns itself deletes itself here.
    virtual void PostNcDestroy() {}

    // Runs an action and shows its exceptions to the user; an exception of an unknown type ends the program.
    // No exception may propagate through the system's stack frames, so window and dialog procedures run their
    // handlers in Guard.
    template <class Action>
    static void Guard(Action&& action)
    {
        try {
            std::forward<Action>(action)();
        } catch (...) {
            ReportException();
        }
    }

    // Default handling of the current message, by the procedure that was subclassed.
    LRESULT Default();

    // The same for any message.
    LRESULT DefaultWindowProc(UINT message, WPARAM wParam, LPARAM lParam) const;

private:
    static void ReportException() noexcept;
    static LRESULT CALLBACK SubclassProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT Dispatch(UINT message, WPARAM wParam, LPARAM lParam);

    struct CurrentMessage
    {
        UINT message;
        WPARAM wParam;
        LPARAM lParam;
    };
    CurrentMessage m_current{};
    WNDPROC m_previousProcedure = nullptr;
};
