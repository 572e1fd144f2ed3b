#include <gtest/gtest.h>
#include <windows.h>

#include <commctrl.h>

#include <string>
#include <vector>

#include "framework/Handles.h"
#include "resources/resource.h"

// Every caption of every dialog must be seen whole, in both languages. Measured with the font that the dialog
// really has here; under Wine that is a wider one than Windows would take.

namespace {

INT_PTR CALLBACK IgnoreMessage(HWND, UINT, WPARAM, LPARAM)
{
    return FALSE;
}

using UniqueWindow = UniqueOwner<HWND, ::DestroyWindow>;

std::wstring ClassOf(HWND control)
{
    wchar_t name[64] = {};
    GetClassNameW(control, name, 64);
    return name;
}

std::wstring CaptionOf(HWND control)
{
    wchar_t text[512] = {};
    GetWindowTextW(control, text, 512);
    return text;
}

// Pixels that the control draws beside its caption.
int WidthBesideCaption(HWND control)
{
    if (ClassOf(control) != L"Button") {
        return 0;
    }
    const auto type = GetWindowLongW(control, GWL_STYLE) & BS_TYPEMASK;
    const bool check = type == BS_AUTOCHECKBOX || type == BS_CHECKBOX;
    const bool push = type == BS_PUSHBUTTON || type == BS_DEFPUSHBUTTON;
    const int edges = 2 * GetSystemMetrics(SM_CXEDGE);
    return check ? GetSystemMetrics(SM_CXMENUCHECK) + edges : push ? 2 * edges : edges;
}

SIZE CaptionSize(HWND control)
{
    const HDC dc = GetDC(control);
    const HGDIOBJ oldFont =
        SelectObject(dc, reinterpret_cast<HFONT>(SendMessageW(control, WM_GETFONT, 0, 0)));
    const std::wstring caption = CaptionOf(control);
    RECT rect{};
    DrawTextW(dc, caption.c_str(), -1, &rect, DT_CALCRECT | DT_SINGLELINE);
    SelectObject(dc, oldFont);
    ReleaseDC(control, dc);
    return {rect.right, rect.bottom};
}

BOOL CALLBACK CollectControl(HWND control, LPARAM list)
{
    reinterpret_cast<std::vector<HWND>*>(list)->push_back(control);
    return TRUE;
}

class CaptionFit : public testing::TestWithParam<std::pair<const wchar_t*, int>>
{
};

TEST_P(CaptionFit, EveryCaptionIsSeenWhole)
{
    const auto [library, dialogId] = GetParam();
    const INITCOMMONCONTROLSEX classes{sizeof classes, ICC_WIN95_CLASSES};
    InitCommonControlsEx(&classes);
    const UniqueModule module(
        LoadLibraryExW(library, nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE));
    ASSERT_NE(module, nullptr);
    const UniqueWindow dialog(
        CreateDialogParamW(module.get(), MAKEINTRESOURCEW(dialogId), nullptr, &IgnoreMessage, 0));
    ASSERT_NE(dialog, nullptr);

    std::vector<HWND> controls;
    EnumChildWindows(dialog.get(), &CollectControl, reinterpret_cast<LPARAM>(&controls));
    int measured = 0;
    for (const HWND control : controls) {
        const std::wstring kind = ClassOf(control);
        if ((kind != L"Button" && kind != L"Static") || CaptionOf(control).empty()) {
            continue;
        }
        RECT client{};
        GetClientRect(control, &client);
        const SIZE caption = CaptionSize(control);
        const std::wstring text = CaptionOf(control);
        EXPECT_LE(caption.cx + WidthBesideCaption(control), client.right)
            << std::string(text.begin(), text.end());
        EXPECT_LE(caption.cy, client.bottom) << std::string(text.begin(), text.end());
        ++measured;
    }
    EXPECT_GT(measured, 0);
}

INSTANTIATE_TEST_SUITE_P(German, CaptionFit,
                         testing::Values(std::pair{L"talvresgerx64.dll", IDD_TALVENOR},
                                         std::pair{L"talvresgerx64.dll", IDD_PROGRESS},
                                         std::pair{L"talvresgerx64.dll", IDD_TEMPLATE},
                                         std::pair{L"talvresgerx64.dll", IDD_ABOUT}));
INSTANTIATE_TEST_SUITE_P(English, CaptionFit,
                         testing::Values(std::pair{L"talvresusx64.dll", IDD_TALVENOR},
                                         std::pair{L"talvresusx64.dll", IDD_PROGRESS},
                                         std::pair{L"talvresusx64.dll", IDD_TEMPLATE},
                                         std::pair{L"talvresusx64.dll", IDD_ABOUT}));

}  // namespace
