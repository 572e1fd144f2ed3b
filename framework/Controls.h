#pragma once

#include <windows.h>

#include <commctrl.h>

#include <string>
#include <vector>

#include "framework/Handles.h"
#include "framework/Wnd.h"

// Thin wrappers around the common controls. Most members send the message, or call the macro, of the same
// name.

class CStatic : public CWnd
{
};

class CButton : public CWnd
{
public:
    [[nodiscard]] bool IsChecked() const { return SendMessage(BM_GETCHECK) == BST_CHECKED; }
};

class CEdit : public CWnd
{
public:
    void SetSel(int start, int end) const
    {
        SendMessage(EM_SETSEL, static_cast<WPARAM>(start), static_cast<LPARAM>(end));
    }
    void ScrollCaret() const { SendMessage(EM_SCROLLCARET); }
    struct Selection
    {
        DWORD start;
        DWORD end;
    };
    [[nodiscard]] Selection GetSel() const;

    // Takes the focus, selects the whole text and scrolls the caret into view.
    void FocusAndSelectAll() const;

protected:
    [[nodiscard]] const MessageMap* GetMessageMap() const override;
    // Ctrl+Backspace deletes the selection or, without one, the word before the caret.
    LRESULT OnChar(WPARAM wParam, LPARAM lParam);
    // Returns the text to insert for the clipboard's text: the first line, with each control character
    // replaced with a blank.
    [[nodiscard]] virtual std::wstring TextToPaste(std::wstring text) const;

private:
    void OnPaste();
    [[nodiscard]] std::wstring CutToLimit(std::wstring inserted) const;
    void DeleteWordBeforeCaret() const;
};

class CComboBox : public CWnd
{
public:
    void ResetContent() const { SendMessage(CB_RESETCONTENT); }
    int AddString(const std::wstring& text) const
    {
        return static_cast<int>(SendMessage(CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text.c_str())));
    }
    void SetCurSel(int index) const { SendMessage(CB_SETCURSEL, static_cast<WPARAM>(index)); }
    [[nodiscard]] int GetCurSel() const { return static_cast<int>(SendMessage(CB_GETCURSEL)); }
    [[nodiscard]] std::wstring GetLBText(int index) const;  // empty when there is no such entry

protected:
    [[nodiscard]] const MessageMap* GetMessageMap() const override;

private:
    LRESULT OnMouseWheel(WPARAM wParam, LPARAM lParam);
};

class CProgressCtrl : public CWnd
{
public:
    void SetRange(int lower, int upper) const { SendMessage(PBM_SETRANGE, 0, MAKELPARAM(lower, upper)); }
    // Sets the position and shows it without the gradual movement of a themed bar.
    void SetPos(int position);
    [[nodiscard]] int GetPos() const { return static_cast<int>(SendMessage(PBM_GETPOS)); }

protected:
    [[nodiscard]] const MessageMap* GetMessageMap() const override;

private:
    void OnPaint();

    bool m_onTheWay = false;  // SetPos is at an intermediate position, which must not be painted
};

// A list of images of one size.
class CImageList
{
public:
    // Loads a bitmap resource with the images side by side, each `width` pixels wide; pixels of the mask
    // colour are transparent. Returns false when the bitmap is missing.
    bool Create(UINT bitmapId, int width, int growBy, COLORREF mask);
    [[nodiscard]] HIMAGELIST GetHandle() const { return m_imageList.get(); }

private:
    UniqueImageList m_imageList;
};

// A list view in report view. Rows and columns are numbered from 0; -1 is none.
class CListCtrl : public CWnd
{
public:
    void SetExtendedStyle(DWORD mask, DWORD styles) const
    {
        ListView_SetExtendedListViewStyleEx(m_hWnd, mask, styles);
    }
    void SetImageList(const CImageList& images, int kind) const
    {
        ListView_SetImageList(m_hWnd, images.GetHandle(), kind);
    }
    int InsertColumn(int column, const std::wstring& text, int width, int format = LVCFMT_LEFT) const;

    [[nodiscard]] int GetItemCount() const { return static_cast<int>(SendDirect(LVM_GETITEMCOUNT)); }
    // Reserves memory for the rows ("LVM_SETITEMCOUNT message").
    void SetItemCount(int count) const { ListView_SetItemCount(m_hWnd, count); }
    int InsertItem(const LVITEMW& item) const
    {
        return static_cast<int>(SendDirect(LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item)));
    }
    void GetItem(LVITEMW& item) const { SendDirect(LVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&item)); }
    void SetItem(const LVITEMW& item) const { SendDirect(LVM_SETITEMW, 0, reinterpret_cast<LPARAM>(&item)); }
    [[nodiscard]] int GetColumnCount() const;
    [[nodiscard]] int GetColumnWidth(int column) const { return ListView_GetColumnWidth(m_hWnd, column); }
    void SetColumnWidth(int column, int width) const { ListView_SetColumnWidth(m_hWnd, column, width); }
    [[nodiscard]] std::wstring GetColumnText(int column) const;  // truncated to 255 characters
    // An LVCFMT_* alignment.
    [[nodiscard]] int GetColumnFormat(int column) const;
    // The columns from left to right.
    [[nodiscard]] std::vector<int> GetColumnOrder() const;
    void SetColumnOrder(std::vector<int> order) const;
    bool DeleteItem(int row) const { return SendDirect(LVM_DELETEITEM, static_cast<WPARAM>(row)) != FALSE; }
    bool DeleteAllItems() const { return ListView_DeleteAllItems(m_hWnd) != FALSE; }

    [[nodiscard]] std::wstring GetItemText(int row, int column) const;  // of any length
    void SetItemText(int row, int column, const wchar_t* text) const;
    void SetItemText(int row, int column, const std::wstring& text) const
    {
        SetItemText(row, column, text.c_str());
    }
    [[nodiscard]] LPARAM GetItemData(int row) const;
    [[nodiscard]] UINT GetItemState(int row, UINT mask) const
    {
        return static_cast<UINT>(SendDirect(LVM_GETITEMSTATE, static_cast<WPARAM>(row), mask));
    }
    void SetItemState(int row, UINT state, UINT mask) const;

    [[nodiscard]] int GetSelectedCount() const { return static_cast<int>(SendDirect(LVM_GETSELECTEDCOUNT)); }
    // The first row after `row` (-1: from the start) with the LVNI_* property, or -1.
    [[nodiscard]] int GetNextItem(int row, UINT flags) const
    {
        return static_cast<int>(SendDirect(LVM_GETNEXTITEM, static_cast<WPARAM>(row), MAKELPARAM(flags, 0)));
    }
    [[nodiscard]] int GetTopIndex() const { return ListView_GetTopIndex(m_hWnd); }
    [[nodiscard]] int GetCountPerPage() const { return ListView_GetCountPerPage(m_hWnd); }
    void EnsureVisible(int row, bool partially = false) const
    {
        ListView_EnsureVisible(m_hWnd, row, partially ? TRUE : FALSE);
    }
    // Moves the visible part to the right by a number of pixels; to the left if the number is negative.
    void ScrollHorizontally(int pixels) const { ListView_Scroll(m_hWnd, pixels, 0); }
    // The rectangle of a row across all columns, in client coordinates; empty when there is no such row.
    [[nodiscard]] RECT GetRowRect(int row) const;
    [[nodiscard]] HWND GetHeader() const { return ListView_GetHeader(m_hWnd); }

private:
    // Calls the control's own procedure directly. For messages sent row by row, dispatching costs more than
    // handling them.
    LRESULT SendDirect(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const
    {
        return DefaultWindowProc(message, wParam, lParam);
    }
    std::size_t ReadItemText(int row, int column, wchar_t* buffer, std::size_t size) const;

    friend class CRedrawPause;
    mutable int m_redrawPauses = 0;
};

// Suspends the redrawing of a list view (WM_SETREDRAW). The destructor redraws the list view. The destructor
// redraws the header only if the header has moved or already needed redrawing when the pause began. A pause
// inside another pause does nothing.
class CRedrawPause
{
public:
    explicit CRedrawPause(const CListCtrl& list);
    CRedrawPause(const CRedrawPause&) = delete;
    CRedrawPause& operator=(const CRedrawPause&) = delete;
    ~CRedrawPause();

private:
    const CListCtrl& m_list;
    bool m_outermost;
    HWND m_header;  // null in a list view without a header
    bool m_headerNeededRedraw;
    RECT m_headerPlace;
};
