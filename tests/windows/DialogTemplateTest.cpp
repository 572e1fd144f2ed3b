#include <gtest/gtest.h>
#include <windows.h>

#include <commctrl.h>

#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "framework/Handles.h"
#include "resources/resource.h"
#include "tests/support/WindowScopes.h"

// The layout of the dialogs in both languages: nothing is truncated, nothing overlaps, every field has a
// name. Texts are measured in the dialog's actual font, which is wider under Wine than on Windows.

namespace {

using UniqueWindow = UniqueOwner<HWND, ::DestroyWindow>;

std::wstring CaptionOf(HWND control)
{
    wchar_t text[512] = {};
    GetWindowTextW(control, text, 512);
    return text;
}

// The width in pixels that the control needs in addition to its caption.
int WidthBesideCaption(HWND control)
{
    if (ClassNameOf(control) != L"Button") {
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

bool IsGroupBox(HWND control)
{
    return ClassNameOf(control) == L"Button" &&
           (GetWindowLongW(control, GWL_STYLE) & BS_TYPEMASK) == BS_GROUPBOX;
}

// A dialog of a resource library.
class DialogTemplate : public testing::TestWithParam<std::tuple<const wchar_t*, int>>
{
protected:
    DialogTemplate()
    {
        m_dialog.reset(CreateDialogParamW(GetResourceHandle(), MAKEINTRESOURCEW(std::get<int>(GetParam())),
                                          nullptr, &IgnoreMessage, 0));
        EXPECT_NE(m_dialog, nullptr);
        for (HWND control = GetWindow(m_dialog.get(), GW_CHILD); control != nullptr;
             control = GetWindow(control, GW_HWNDNEXT)) {
            m_controls.push_back(control);
        }
        EXPECT_FALSE(m_controls.empty());
    }

    // The control's name in failure messages.
    static std::string NameOf(HWND control)
    {
        const std::wstring text = ClassNameOf(control) + L" " + std::to_wstring(GetDlgCtrlID(control)) +
                                  L" '" + CaptionOf(control) + L"'";
        return {text.begin(), text.end()};
    }

    const CResourceScope m_resources{std::get<const wchar_t*>(GetParam())};
    UniqueWindow m_dialog;
    std::vector<HWND> m_controls;  // in tab order
};

TEST_P(DialogTemplate, EveryCaptionIsSeenWhole)
{
    int measured = 0;
    for (const HWND control : m_controls) {
        const std::wstring kind = ClassNameOf(control);
        if ((kind != L"Button" && kind != L"Static") || CaptionOf(control).empty()) {
            continue;
        }
        const RECT client = ClientRectOf(control);
        const SIZE caption = CaptionSize(control);
        EXPECT_LE(caption.cx + WidthBesideCaption(control), client.right) << NameOf(control);
        EXPECT_LE(caption.cy, client.bottom) << NameOf(control);
        ++measured;
    }
    EXPECT_GT(measured, 0);
}

// A group box may contain a whole control, but not a part of a control.
TEST_P(DialogTemplate, NoTwoControlsOverlap)
{
    for (std::size_t i = 0; i < m_controls.size(); ++i) {
        for (std::size_t j = i + 1; j < m_controls.size(); ++j) {
            const RECT first = RectOf(m_controls[i]);
            const RECT second = RectOf(m_controls[j]);
            RECT common{};
            const bool inside = IsGroupBox(m_controls[i]) && UnionRect(&common, &first, &second) != FALSE &&
                                EqualRect(&common, &first) != FALSE;
            EXPECT_TRUE(inside || IntersectRect(&common, &first, &second) == FALSE)
                << NameOf(m_controls[i]) << " and " << NameOf(m_controls[j]);
        }
    }
}

TEST_P(DialogTemplate, EveryControlLiesInsideTheDialog)
{
    const RECT client = ClientRectOf(m_dialog.get());
    for (const HWND control : m_controls) {
        const RECT rect = RectIn(m_dialog.get(), control);
        EXPECT_TRUE(rect.left >= 0 && rect.top >= 0 && rect.right <= client.right &&
                    rect.bottom <= client.bottom)
            << NameOf(control);
    }
}

// Screen readers name a field after the label before it.
TEST_P(DialogTemplate, EveryFieldFollowsItsLabel)
{
    const std::set<std::wstring> fields{L"Edit", L"ComboBox", WC_LISTVIEWW, PROGRESS_CLASSW};
    for (const HWND control : m_controls) {
        if (fields.contains(ClassNameOf(control))) {
            const HWND label = GetWindow(control, GW_HWNDPREV);
            EXPECT_EQ(ClassNameOf(label), L"Static") << NameOf(control);
            EXPECT_NE(CaptionOf(label), L"") << NameOf(control);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Languages, DialogTemplate,
                         testing::Combine(testing::Values(kGermanLibrary, kEnglishLibrary),
                                          testing::Values(IDD_TALVENOR, IDD_PROGRESS, IDD_TEMPLATE,
                                                          IDD_ABOUT)));

}  // namespace
