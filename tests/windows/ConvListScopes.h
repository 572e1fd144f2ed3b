#pragma once

#include <windows.h>

#include <commctrl.h>
#include <gtest/gtest.h>

#include <array>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "core/UTtabEntry.h"
#include "framework/List.h"
#include "resources/resource.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"
#include "ui/ConvList.h"

// For tests of the conversion list: the list in a window, the user's input, and a record of the messages.

using Texts = std::vector<std::wstring>;

struct ColumnSpec
{
    int width = 175;
    int format = LVCFMT_LEFT;
};

// Types into the window that has the focus, over its selection.
inline void Type(const std::wstring& text)
{
    for (const wchar_t character : text) {
        ::PostMessageW(::GetFocus(), WM_CHAR, character, 1);
        DrainMessages();
    }
}

// Presses a key in the window that has the focus.
inline void PressKey(WPARAM key)
{
    const bool alt = ::GetKeyState(VK_MENU) < 0;
    const bool altGr = alt && ::GetKeyState(VK_CONTROL) < 0;  // makes no system key ("WM_KEYDOWN message")
    const LPARAM context = alt ? 0x20000000 : 0;
    ::PostMessageW(::GetFocus(), alt && !altGr ? WM_SYSKEYDOWN : WM_KEYDOWN, key, context | 1);
    DrainMessages();
}

// The list's parent. Records the keys that are offered to the parent before dispatch. Counts how often a key
// asks for the system menu, but does not open it.
class CListParent : public CPlainWindow
{
public:
    std::vector<WPARAM> m_offeredKeys;
    int m_keyMenus = 0;

    bool PreTranslateMessage(MSG& message) override
    {
        if (message.message == WM_KEYDOWN) {
            m_offeredKeys.push_back(message.wParam);
        }
        return CPlainWindow::PreTranslateMessage(message);
    }

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        if (message == WM_SYSCOMMAND && (wParam & 0xFFF0) == SC_KEYMENU) {
            ++m_keyMenus;
            return 0;
        }
        return CPlainWindow::WindowProc(message, wParam, lParam);
    }
};

// The list at the top left of a window, without the control's grid lines. Row i holds "N_i.sldprt",
// "Mi.sldprt" and "Norm i" and is marked converted; no row is selected or focused.
class CListWindow
{
public:
    explicit CListWindow(SIZE size = {600, 300}, const std::vector<ColumnSpec>& columns = {{}, {}, {}},
                         int rows = 5)
    {
        const INITCOMMONCONTROLSEX controls{sizeof controls, ICC_WIN95_CLASSES};
        ::InitCommonControlsEx(&controls);
        EXPECT_TRUE(m_list.SubclassWindow(m_parent.AddControl(
            WC_LISTVIEWW, IDC_LIST, LVS_REPORT | LVS_SHOWSELALWAYS, {0, 0, size.cx, size.cy})));
        m_list.SetExtendedStyle(LVS_EX_FULLROWSELECT | LVS_EX_HEADERDRAGDROP,
                                LVS_EX_FULLROWSELECT | LVS_EX_HEADERDRAGDROP);
        for (const ColumnSpec& column : columns) {
            m_list.InsertColumn(m_list.GetColumnCount(), L"", column.width, column.format);
        }
        CList<UTtab_entry, UTtab_entry&> entries;
        for (int i = 0; i < rows; ++i) {
            const std::wstring number = std::to_wstring(i);
            UTtab_entry entry{L"N_" + number + L".sldprt", L"M" + number + L".sldprt", L"Norm " + number};
            entries.AddTail(entry);
        }
        m_list.FillConverted(entries);
        m_list.SetFocus();
        m_list.SetItemState(-1, 0, LVIS_SELECTED | LVIS_FOCUSED);
    }

    // The editor that is open in the list; null if there is none.
    [[nodiscard]] HWND Editor() const { return m_list.GetDlgItem(IDC_IN_PLACE_EDIT); }
    [[nodiscard]] HWND ListEditor() const { return m_list.GetDlgItem(IDC_IN_PLACE_LIST); }

    // The editor in the list's client coordinates.
    [[nodiscard]] Edges EditorEdges() const { return EdgesOf(RectIn(m_list.m_hWnd, Editor())); }

    // A point at the middle of a row's height.
    [[nodiscard]] POINT At(int x, int row) const { return {x, MiddleOf(m_list.GetRowRect(row)).y}; }
    // A point of the list below the last row.
    [[nodiscard]] POINT BelowRows(int x) const { return {x, m_list.GetClientRect().bottom - 5}; }

    void Focus(int row) const
    {
        m_list.SetItemState(row, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
    }
    [[nodiscard]] int FocusedRow() const { return m_list.GetNextItem(-1, LVNI_FOCUSED); }
    [[nodiscard]] std::vector<int> SelectedRows() const
    {
        std::vector<int> rows;
        for (int row = m_list.GetNextItem(-1, LVNI_SELECTED); row != -1;
             row = m_list.GetNextItem(row, LVNI_SELECTED)) {
            rows.push_back(row);
        }
        return rows;
    }

    // The posted release ends the control's loop that waits for the button.
    void Click(POINT point) const
    {
        m_list.PostMessage(WM_LBUTTONUP, 0, MAKELPARAM(point.x, point.y));
        m_list.SendMessage(WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(point.x, point.y));
        DrainMessages();
    }
    void DoubleClick(POINT point) const
    {
        m_list.PostMessage(WM_LBUTTONUP, 0, MAKELPARAM(point.x, point.y));
        m_list.SendMessage(WM_LBUTTONDBLCLK, MK_LBUTTON, MAKELPARAM(point.x, point.y));
        DrainMessages();
    }

    // Types over the whole text of the open editor.
    void Retype(const std::wstring& text) const
    {
        ::SendMessageW(Editor(), EM_SETSEL, 0, -1);
        if (text.empty()) {
            Type(L"\b");
        }
        Type(text);
    }
    CListParent m_parent;
    CConvList m_list;
};

// Keys that are held down until the end of the scope.
class CHeldKeys
{
public:
    CHeldKeys(std::initializer_list<int> keys) : CHeldKeys(std::vector<int>(keys)) {}
    explicit CHeldKeys(const std::vector<int>& keys)
    {
        ::GetKeyboardState(m_before.data());
        std::array<BYTE, 256> state = m_before;
        for (const int key : keys) {
            state[static_cast<std::size_t>(key)] = 0x80;
        }
        ::SetKeyboardState(state.data());
    }
    ~CHeldKeys() { ::SetKeyboardState(m_before.data()); }
    CHeldKeys(const CHeldKeys&) = delete;
    CHeldKeys& operator=(const CHeldKeys&) = delete;

private:
    std::array<BYTE, 256> m_before{};
};

// Until the end of the scope, records the relevant messages to the list, its parent and its editor, in their
// order. A posted message is recorded when it leaves the queue. Only one trace may exist at a time.
class CMessageTrace
{
public:
    explicit CMessageTrace(const CListWindow& host) : m_host(host)
    {
        s_current = this;
        m_posted = ::SetWindowsHookExW(WH_GETMESSAGE, &OnPosted, nullptr, ::GetCurrentThreadId());
    }
    ~CMessageTrace()
    {
        ::UnhookWindowsHookEx(m_posted);
        s_current = nullptr;
    }
    CMessageTrace(const CMessageTrace&) = delete;
    CMessageTrace& operator=(const CMessageTrace&) = delete;

    // The messages since the last call.
    [[nodiscard]] Texts Take()
    {
        DrainMessages();
        return std::exchange(m_lines, {});
    }

private:
    struct Name
    {
        UINT message;
        const wchar_t* name;
    };

    static LRESULT CALLBACK OnPosted(int code, WPARAM wParam, LPARAM lParam)
    {
        if (code == HC_ACTION && wParam == PM_REMOVE && s_current != nullptr) {
            const auto& taken = *reinterpret_cast<const MSG*>(lParam);
            s_current->Note(taken.hwnd, taken.message, taken.wParam, taken.lParam);
        }
        return ::CallNextHookEx(nullptr, code, wParam, lParam);
    }

    void Note(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
    {
        const int id = ::GetDlgCtrlID(window);
        if (window == m_host.m_parent.m_hWnd) {
            NoteParentMessage(message, wParam, lParam);
        } else if (window == m_host.m_list.m_hWnd) {
            NoteByName(L"list ",
                       {{WM_LBUTTONDOWN, L"WM_LBUTTONDOWN"},
                        {WM_LBUTTONDBLCLK, L"WM_LBUTTONDBLCLK"},
                        {WM_RBUTTONDOWN, L"WM_RBUTTONDOWN"},
                        {WM_HSCROLL, L"WM_HSCROLL"},
                        {WM_VSCROLL, L"WM_VSCROLL"},
                        {WM_MOUSEWHEEL, L"WM_MOUSEWHEEL"},
                        {WM_SETFOCUS, L"WM_SETFOCUS"},
                        {WM_COMMAND, L"WM_COMMAND"},
                        {WM_INITMENUPOPUP, L"WM_INITMENUPOPUP"}},
                       message, IsNotEditorNotification(message, lParam));
        } else if (::GetParent(window) == m_host.m_list.m_hWnd &&
                   (id == IDC_IN_PLACE_EDIT || id == IDC_IN_PLACE_LIST)) {
            NoteByName(L"editor ",
                       {{WM_SETFONT, L"WM_SETFONT"},
                        {WM_SETTEXT, L"WM_SETTEXT"},
                        {WM_SETFOCUS, L"WM_SETFOCUS"},
                        {WM_KILLFOCUS, L"WM_KILLFOCUS"},
                        {EM_SETSEL, L"EM_SETSEL"},
                        {EM_SCROLLCARET, L"EM_SCROLLCARET"},
                        {WM_KEYDOWN, L"WM_KEYDOWN"},
                        {WM_CHAR, L"WM_CHAR"},
                        {WM_NCDESTROY, L"WM_NCDESTROY"}},
                       message, true);
        }
    }

    // WM_COMMAND from a menu has the lParam 0.
    static bool IsNotEditorNotification(UINT message, LPARAM lParam)
    {
        return message != WM_COMMAND || lParam == 0;
    }

    void NoteByName(const std::wstring& window, std::initializer_list<Name> names, UINT message, bool wanted)
    {
        for (const Name& name : names) {
            if (name.message == message && wanted) {
                m_lines.push_back(window + name.name);
            }
        }
    }

    void NoteParentMessage(UINT message, WPARAM wParam, LPARAM lParam)
    {
        const std::wstring parameters = L" " + std::to_wstring(wParam) + L" " + std::to_wstring(lParam);
        if (message == WM_USER + 5) {
            m_lines.push_back(L"parent WM_LISTCHANGED" + parameters);
        } else if (message == WM_USER + 6) {
            m_lines.push_back(L"parent WM_DELETESELECTED" + parameters);
        } else if (message == WM_USER + 7) {
            m_lines.push_back(L"parent WM_APPLYTEMPLATE" + parameters);
        } else if (message == WM_NOTIFY) {
            NoteEndOfEdit(wParam, reinterpret_cast<const NMHDR&>(*reinterpret_cast<const BYTE*>(lParam)));
        }
    }

    void NoteEndOfEdit(WPARAM wParam, const NMHDR& header)
    {
        if (header.code != static_cast<UINT>(LVN_ENDLABELEDITW)) {
            return;
        }
        EXPECT_EQ(header.hwndFrom, m_host.m_list.m_hWnd);
        EXPECT_EQ(header.idFrom, static_cast<UINT_PTR>(IDC_LIST));
        EXPECT_EQ(wParam, static_cast<WPARAM>(IDC_LIST));
        const LVITEMW& item = reinterpret_cast<const NMLVDISPINFOW&>(header).item;
        EXPECT_EQ(item.mask, static_cast<UINT>(LVIF_TEXT));
        std::wstring line = L"parent LVN_ENDLABELEDIT row " + std::to_wstring(item.iItem) + L" column " +
                            std::to_wstring(item.iSubItem);
        if (item.pszText == nullptr) {
            line += L" no text";
        } else {
            line += L" \"" + std::wstring(item.pszText) + L"\" length " + std::to_wstring(item.cchTextMax);
        }
        m_lines.push_back(line);
    }

    inline static CMessageTrace* s_current = nullptr;

    const CListWindow& m_host;
    CSentMessageHook m_sent{
        [this](const CWPSTRUCT& sent) { Note(sent.hwnd, sent.message, sent.wParam, sent.lParam); }};
    HHOOK m_posted = nullptr;
    Texts m_lines;
};
