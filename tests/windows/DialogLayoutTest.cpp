#include "framework/DialogLayout.h"

#include <commctrl.h>
#include <gtest/gtest.h>

#include <array>
#include <ostream>

#include "tests/support/ImportTable.h"
#include "tests/support/RefusedCalls.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"
#include "tests/support/WorkAreaScope.h"

namespace {

constexpr RECT kRect{100, 50, 300, 150};

// The client size of a CPlainWindow without a frame. This window is no dialog, so MapDialogRect changes
// nothing: a dialog unit is one pixel.
constexpr SIZE kNatural{640, 480};

constexpr RECT kLargeWorkArea{0, 0, 4000, 3000};

struct Anchoring
{
    unsigned edges;
    RECT larger;   // the control when the client area is 60 pixels wider and 40 taller
    RECT smaller;  // the control when the client area is 10 pixels narrower and 20 shorter
};

void PrintTo(const Anchoring& anchoring, std::ostream* stream)
{
    *stream << "edges " << anchoring.edges;
}

void ResizeBy(const CWnd& window, int wider, int higher)
{
    const RECT rect = RectOf(window.m_hWnd);
    ::SetWindowPos(window.m_hWnd, nullptr, 0, 0, rect.right - rect.left + wider,
                   rect.bottom - rect.top + higher, SWP_NOMOVE | SWP_NOZORDER);
}

void ExpectRect(const CWnd& window, int id, const RECT& expected)
{
    EXPECT_EQ(EdgesOf(RectIn(window.m_hWnd, window.GetDlgItem(id))), EdgesOf(expected));
}

using L = CDialogLayout;

class DialogLayout : public testing::TestWithParam<Anchoring>
{
protected:
    CPlainWindow m_window{nullptr, WS_POPUP | WS_VISIBLE};
    CDialogLayout m_layout;
};

TEST_P(DialogLayout, EdgesKeepTheirDistance)
{
    m_window.AddControl(L"BUTTON", 1, 0, kRect);
    m_window.AddControl(L"BUTTON", 2, 0, {5, 5, 20, 20});
    m_layout.Begin(m_window.m_hWnd, kNatural);
    m_layout.Anchor(1, GetParam().edges);
    m_layout.Anchor(77, L::right);  // no such control
    ResizeBy(m_window, 60, 40);
    m_layout.Arrange();
    ExpectRect(m_window, 1, GetParam().larger);
    ResizeBy(m_window, -70, -60);
    m_layout.Arrange();
    ExpectRect(m_window, 1, GetParam().smaller);
    ResizeBy(m_window, 10, 20);
    m_layout.Arrange();
    ExpectRect(m_window, 1, kRect);
    ExpectRect(m_window, 2, {5, 5, 20, 20});
}

INSTANTIATE_TEST_SUITE_P(
    Edges, DialogLayout,
    testing::Values(Anchoring{L::left | L::top, kRect, kRect},
                    Anchoring{L::left | L::top | L::right, {100, 50, 360, 150}, {100, 50, 290, 150}},
                    Anchoring{L::top | L::right, {160, 50, 360, 150}, {90, 50, 290, 150}},
                    Anchoring{L::left | L::bottom, {100, 90, 300, 190}, {100, 30, 300, 130}},
                    Anchoring{L::left | L::top | L::bottom, {100, 50, 300, 190}, {100, 50, 300, 130}},
                    Anchoring{L::right | L::bottom, {160, 90, 360, 190}, {90, 30, 290, 130}},
                    Anchoring{
                        L::left | L::top | L::right | L::bottom, {100, 50, 360, 190}, {100, 50, 290, 130}}));

POINT SmallestSize(const CDialogLayout& layout)
{
    MINMAXINFO limits{};
    layout.LimitSize(limits);
    return limits.ptMinTrackSize;
}

TEST(DialogLayoutSize, TheTemplatesSizeWithTheFrameIsTheSmallest)
{
    const CPlainWindow window;
    const RECT client = window.GetClientRect();
    CDialogLayout layout;
    layout.Begin(window.m_hWnd, {client.right, client.bottom});
    ResizeBy(window, 100, 100);
    MINMAXINFO limits{};
    limits.ptMaxTrackSize = {3000, 2000};
    layout.LimitSize(limits);
    EXPECT_EQ(limits.ptMinTrackSize.x, 640);
    EXPECT_EQ(limits.ptMinTrackSize.y, 480);
    EXPECT_EQ(limits.ptMaxTrackSize.x, 3000);
    EXPECT_EQ(limits.ptMaxTrackSize.y, 2000);
}

TEST(DialogLayoutSize, AWindowCreatedSmallerThanItsTemplateGrowsToIt)
{
    const CPlainWindow window(nullptr, WS_POPUP);
    window.AddControl(L"BUTTON", 1, 0, {500, 400, 600, 470});
    ResizeBy(window, -200, -100);
    CDialogLayout layout;
    layout.Begin(window.m_hWnd, kNatural);
    layout.Anchor(1, L::right | L::bottom);
    EXPECT_EQ(SmallestSize(layout).x, 640);
    EXPECT_EQ(SmallestSize(layout).y, 480);
    layout.Arrange();
    ExpectRect(window, 1, {300, 300, 400, 370});
    ResizeBy(window, 200, 100);
    layout.Arrange();
    ExpectRect(window, 1, {500, 400, 600, 470});
}

class DialogLayoutWorkArea : public testing::Test
{
protected:
    explicit DialogLayoutWorkArea(const RECT& workArea = kWorkArea) : m_workArea(workArea)
    {
        m_layout.Begin(m_window.m_hWnd, kNatural);
    }

    static constexpr RECT kWorkArea{20, 30, 620, 430};

    void PlaceAt(const RECT& place) const
    {
        SetWindowPos(m_window.m_hWnd, nullptr, place.left, place.top, place.right - place.left,
                     place.bottom - place.top, SWP_NOZORDER);
    }
    void ExpectPlace(const RECT& place) const { EXPECT_EQ(EdgesOf(RectOf(m_window.m_hWnd)), EdgesOf(place)); }

    CWorkAreaScope m_workArea;
    CPlainWindow m_window{nullptr, WS_POPUP};
    CDialogLayout m_layout;
};

TEST_F(DialogLayoutWorkArea, TheSmallestSizeFitsIntoIt)
{
    EXPECT_EQ(SmallestSize(m_layout).x, 600);
    EXPECT_EQ(SmallestSize(m_layout).y, 400);
    m_workArea.Set({0, 0, 600, 1000});
    EXPECT_EQ(SmallestSize(m_layout).x, 600);
    EXPECT_EQ(SmallestSize(m_layout).y, 480);
}

TEST_F(DialogLayoutWorkArea, TheWindowIsMadeToFit)
{
    m_layout.FitIntoWorkArea();
    ExpectPlace(kWorkArea);
    PlaceAt({100, 200, 500, 700});
    m_layout.FitIntoWorkArea();
    ExpectPlace({100, 30, 500, 430});
    PlaceAt({500, 0, 700, 300});
    m_layout.FitIntoWorkArea();
    ExpectPlace({420, 30, 620, 330});
    PlaceAt({100, 100, 300, 300});
    m_layout.FitIntoWorkArea();
    ExpectPlace({100, 100, 300, 300});
}

TEST(DialogLayoutSize, BeginningAnewForgetsTheControls)
{
    const CPlainWindow window(nullptr, WS_POPUP);
    window.AddControl(L"BUTTON", 1, 0, kRect);
    CDialogLayout layout;
    layout.Begin(window.m_hWnd, kNatural);
    layout.Anchor(1, L::right);
    layout.Begin(window.m_hWnd, kNatural);
    ResizeBy(window, 60, 40);
    layout.Arrange();
    ExpectRect(window, 1, kRect);
}

TEST(DialogLayoutPaint, EverythingIsPaintedAnew)
{
    const CPlainWindow window(nullptr, WS_POPUP | WS_VISIBLE);
    const HWND moved = window.AddControl(L"BUTTON", 1, 0, kRect);
    const HWND resting = window.AddControl(L"BUTTON", 2, 0, {5, 5, 20, 20});
    CDialogLayout layout;
    layout.Begin(window.m_hWnd, kNatural);
    layout.Anchor(1, L::right);
    ResizeBy(window, 60, 40);
    RedrawWindow(window.m_hWnd, nullptr, nullptr, RDW_VALIDATE | RDW_ALLCHILDREN);
    layout.Arrange();
    EXPECT_TRUE(GetUpdateRect(moved, nullptr, FALSE));
    EXPECT_TRUE(GetUpdateRect(resting, nullptr, FALSE));
}

// Wine does not change the scaling. In these tests, the results of MapDialogRect are scaled instead.

int g_percent = 100;
decltype(&::MapDialogRect) g_mapDialogRect = nullptr;

BOOL WINAPI MapDialogRectScaled(HWND dialog, RECT* rect)
{
    const BOOL result = g_mapDialogRect(dialog, rect);
    rect->left = MulDiv(rect->left, g_percent, 100);
    rect->top = MulDiv(rect->top, g_percent, 100);
    rect->right = MulDiv(rect->right, g_percent, 100);
    rect->bottom = MulDiv(rect->bottom, g_percent, 100);
    return result;
}

class DialogLayoutScaling : public DialogLayoutWorkArea
{
protected:
    DialogLayoutScaling() : DialogLayoutWorkArea(kLargeWorkArea)
    {
        RedirectImport("MapDialogRect", &MapDialogRectScaled, &g_mapDialogRect);
    }
    ~DialogLayoutScaling() override { g_percent = 100; }
};

TEST_F(DialogLayoutScaling, EachControlFollowsTheDialogUnits)
{
    m_window.AddControl(L"BUTTON", 1, 0, kRect);
    m_window.AddControl(L"BUTTON", 2, 0, {4, 8, 20, 24});
    m_layout.Begin(m_window.m_hWnd, kNatural);
    m_layout.Anchor(1, L::right | L::bottom);
    g_percent = 150;
    ResizeBy(m_window, 320 + 60, 240 + 40);
    m_layout.Arrange();
    ExpectRect(m_window, 1, {150 + 60, 75 + 40, 450 + 60, 225 + 40});
    ExpectRect(m_window, 2, {6, 12, 30, 36});
    EXPECT_EQ(m_layout.ExtraWidth(), 60);
    g_percent = 100;
    ResizeBy(m_window, -320, -240);
    m_layout.Arrange();
    ExpectRect(m_window, 1, {100 + 60, 50 + 40, 300 + 60, 150 + 40});
    ExpectRect(m_window, 2, {4, 8, 20, 24});
}

TEST_F(DialogLayoutScaling, TheSmallestSizeFollowsTheDialogUnits)
{
    g_percent = 150;
    EXPECT_EQ(SmallestSize(m_layout).x, 960);
    EXPECT_EQ(SmallestSize(m_layout).y, 720);
}

TEST_F(DialogLayoutScaling, ASmallerWindowHasNoExtraWidth)
{
    ResizeBy(m_window, -50, 0);
    EXPECT_EQ(m_layout.ExtraWidth(), 0);
}

TEST_F(DialogLayoutScaling, AComboBoxIsOnlyMoved)
{
    const HWND combo =
        m_window.AddControl(WC_COMBOBOXW, 1, CBS_DROPDOWNLIST | WS_VSCROLL, {100, 80, 200, 280});
    const RECT before = RectIn(m_window.m_hWnd, m_window.GetDlgItem(1));
    const auto listHeight = [combo] {
        RECT place{};
        SendMessageW(combo, CB_GETDROPPEDCONTROLRECT, 0, reinterpret_cast<LPARAM>(&place));
        return place.bottom - place.top;
    };
    const LONG listBefore = listHeight();
    m_layout.Begin(m_window.m_hWnd, kNatural);
    g_percent = 150;
    m_layout.Arrange();
    ExpectRect(m_window, 1, {150, 120, 250, 120 + before.bottom - before.top});
    EXPECT_EQ(listHeight(), listBefore);
}

// A change of the scaling that MapDialogRect does not follow.

UINT g_dpi = 0;  // 0: the window's own DPI
decltype(&::GetDpiForWindow) g_getDpiForWindow = nullptr;

UINT WINAPI GetDpiChanged(HWND window)
{
    return g_dpi != 0 ? g_dpi : g_getDpiForWindow(window);
}

// A dialog, and a second dialog that was created with a font of twice the size.
class DialogLayoutStaleUnits : public testing::Test
{
protected:
    DialogLayoutStaleUnits()
    {
        RedirectImport("GetDpiForWindow", &GetDpiChanged, &g_getDpiForWindow);
        m_layout.Begin(m_dialog.m_hWnd, kUnits);
        m_first = GetDpiForWindow(m_dialog.m_hWnd);
    }
    ~DialogLayoutStaleUnits() override { g_dpi = 0; }

    static constexpr SIZE kUnits{200, 100};

    struct alignas(DWORD) Template  // must start at a DWORD ("CreateDialogIndirectParamW function")
    {
        explicit Template(WORD points) : m_points(points) {}

        DLGTEMPLATE m_start{WS_POPUP | DS_SETFONT, 0, 0, 0, 0, kUnits.cx, kUnits.cy};
        WORD m_menu = 0;
        WORD m_class = 0;
        WORD m_title = 0;
        WORD m_points;
        std::array<wchar_t, 6> m_font{L"Arial"};
    };

    // A dialog without controls. Wine's dialogs accept no new font, so m_newFont stands in for the font that
    // Windows sets when the scaling changes.
    class CFontDialog : public CWnd
    {
    public:
        explicit CFontDialog(WORD points)
        {
            const Template dialog(points);
            SubclassWindow(
                CreateDialogIndirectParamW(GetModuleHandleW(nullptr), &dialog.m_start, nullptr, nullptr, 0));
        }
        ~CFontDialog() override { DestroyWindow(); }

        // The size of the template's client area in pixels, as the system maps it.
        [[nodiscard]] SIZE Mapped() const
        {
            RECT rect{0, 0, kUnits.cx, kUnits.cy};
            EXPECT_TRUE(MapDialogRect(m_hWnd, &rect));
            return {rect.right, rect.bottom};
        }

        LRESULT m_newFont = 0;

    protected:
        LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
        {
            return message == WM_GETFONT && m_newFont != 0 ? m_newFont
                                                           : CWnd::WindowProc(message, wParam, lParam);
        }
    };

    void ExpectSmallest(SIZE expected) const
    {
        EXPECT_EQ(SmallestSize(m_layout).x, expected.cx);
        EXPECT_EQ(SmallestSize(m_layout).y, expected.cy);
    }

    const CWorkAreaScope m_workArea{kLargeWorkArea};
    CFontDialog m_dialog{8};
    CFontDialog m_larger{16};
    CDialogLayout m_layout;
    UINT m_first = 0;  // the DPI at the start
};

TEST_F(DialogLayoutStaleUnits, TheDialogsNewFontDecides)
{
    g_dpi = 2 * m_first;
    m_dialog.m_newFont = m_larger.SendMessage(WM_GETFONT);
    ExpectSmallest(m_larger.Mapped());
}

TEST_F(DialogLayoutStaleUnits, WithoutANewFontTheRatioOfTheScalingsDecides)
{
    const SIZE first = m_dialog.Mapped();
    ExpectSmallest(first);
    g_dpi = 2 * m_first;
    ExpectSmallest({2 * first.cx, 2 * first.cy});
    g_dpi = m_first;
    ExpectSmallest(first);
}

TEST_F(DialogLayoutStaleUnits, WithoutADeviceContextTheRatioOfTheScalingsDecidesToo)
{
    const SIZE first = m_dialog.Mapped();
    g_dpi = 2 * m_first;
    const CRefusedCall noContext(CallKind::handles, 1);
    const POINT smallest = SmallestSize(m_layout);
    EXPECT_EQ(CRefusedCall::Count(), 1);
    EXPECT_EQ(smallest.x, 2 * first.cx);
    EXPECT_EQ(smallest.y, 2 * first.cy);
}

TEST(DialogLayoutSize, LimitsNothingBeforeItHasBegun)
{
    const CDialogLayout layout;
    MINMAXINFO limits{};
    limits.ptMinTrackSize = {7, 8};
    layout.LimitSize(limits);
    EXPECT_EQ(limits.ptMinTrackSize.x, 7);
    EXPECT_EQ(limits.ptMinTrackSize.y, 8);
}

}  // namespace
