#include "bench/BareDialog.h"

#include <commctrl.h>

#include "framework/ResourceHandle.h"
#include "resources/resource.h"

namespace {

constexpr int kColumns = 3;
constexpr int kColumnWidth = 175;
constexpr int kStateImageWidth = 12;
constexpr COLORREF kStateImageMask = RGB(255, 0, 0);

INT_PTR CALLBACK BareDialogProc(HWND, UINT message, WPARAM, LPARAM)
{
    return message == WM_INITDIALOG ? TRUE : FALSE;
}

void SetMarkFields(LVITEMW& item, bool pending)
{
    item.mask |= LVIF_PARAM | LVIF_STATE;
    item.lParam = pending ? 1 : 0;
    item.state = INDEXTOSTATEIMAGEMASK(pending ? 1U : 2U);
    item.stateMask = LVIS_STATEIMAGEMASK;
}

}  // namespace

UniqueModule LoadBareResources()
{
    const INITCOMMONCONTROLSEX controls{sizeof controls, ICC_WIN95_CLASSES};
    InitCommonControlsEx(&controls);
    UniqueModule resources(LoadLibraryExW(L"talvresgerx64.dll", nullptr,
                                          LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE));
    SetResourceHandle(resources.get());
    return resources;
}

HWND MakeBareDialog(UINT id, HWND owner)
{
    return CreateDialogParamW(GetResourceHandle(), MAKEINTRESOURCEW(id), owner, &BareDialogProc, 0);
}

CBareDialog::CBareDialog()
    : m_window(MakeBareDialog(IDD_TALVENOR, nullptr)), m_list(GetDlgItem(m_window, IDC_LIST))
{
    constexpr DWORD kStyles = LVS_EX_GRIDLINES | LVS_EX_FULLROWSELECT | LVS_EX_HEADERDRAGDROP;
    ListView_SetExtendedListViewStyleEx(m_list, kStyles, kStyles);
    m_stateImages.Create(IDB_STATES, kStateImageWidth, 1, kStateImageMask);
    ListView_SetImageList(m_list, m_stateImages.GetHandle(), LVSIL_STATE);
    for (int column = 0; column < kColumns; ++column) {
        LVCOLUMNW description{};
        description.mask = LVCF_WIDTH | LVCF_SUBITEM;
        description.cx = kColumnWidth;
        description.iSubItem = column;
        SendMessageW(m_list, LVM_INSERTCOLUMNW, static_cast<WPARAM>(column),
                     reinterpret_cast<LPARAM>(&description));
    }
    ShowWindow(m_list, SW_SHOW);
}

CBareDialog::~CBareDialog()
{
    DestroyWindow(m_window);
}

void AnnounceBareRows(HWND list, std::size_t count)
{
    SendMessageW(list, LVM_SETITEMCOUNT, count, 0);
}

void AppendBareRow(HWND list, int row, const UTtab_entry& entry, bool pending)
{
    LVITEMW item{};
    item.mask = LVIF_TEXT;
    item.iItem = row;
    item.pszText = const_cast<wchar_t*>(entry.strOriginal.c_str());
    SetMarkFields(item, pending);
    SendMessageW(list, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
    SetBareText(list, row, 1, entry.strRenamed);
    SetBareText(list, row, 2, entry.strBomName);
}

void FillBare(HWND list, const std::vector<UTtab_entry>& rows, bool pending)
{
    const CBareRedrawPause pause(list);
    AnnounceBareRows(list, rows.size());
    int row = 0;
    for (const UTtab_entry& entry : rows) {
        AppendBareRow(list, row++, entry, pending);
    }
}

CBareRedrawPause::CBareRedrawPause(HWND window) : m_window(window)
{
    SendMessageW(m_window, WM_SETREDRAW, FALSE, 0);
}

CBareRedrawPause::~CBareRedrawPause()
{
    SendMessageW(m_window, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(m_window, nullptr, TRUE);
}

void SetBareMark(HWND list, int row, bool pending)
{
    LVITEMW item{};
    item.iItem = row;
    SetMarkFields(item, pending);
    SendMessageW(list, LVM_SETITEMW, 0, reinterpret_cast<LPARAM>(&item));
}

void SetBareText(HWND list, int row, int column, const std::wstring& text)
{
    LVITEMW item{};
    item.iSubItem = column;
    item.pszText = const_cast<wchar_t*>(text.c_str());
    SendMessageW(list, LVM_SETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
}
