#include "framework/DialogLayout.h"

#include <commctrl.h>
#include <gtest/gtest.h>

#include <ostream>

#include "tests/support/ImportTable.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"

namespace {

constexpr RECT kRect{100, 50, 300, 150};

struct Anchoring
{
    unsigned edges;
    RECT larger;   // the control when the client area is 60 wider and 40 higher
    RECT smaller;  // and when it is 10 narrower and 20 lower
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
    m_layout.Begin(m_window.m_hWnd);
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

TEST(DialogLayoutSize, TheFirstSizeIsTheSmallest)
{
    const CPlainWindow window;
    CDialogLayout layout;
    layout.Begin(window.m_hWnd);
    ResizeBy(window, 100, 100);
    MINMAXINFO limits{};
    limits.ptMaxTrackSize = {3000, 2000};
    layout.LimitSize(limits);
    EXPECT_EQ(limits.ptMinTrackSize.x, 640);
    EXPECT_EQ(limits.ptMinTrackSize.y, 480);
    EXPECT_EQ(limits.ptMaxTrackSize.x, 3000);
    EXPECT_EQ(limits.ptMaxTrackSize.y, 2000);
}

TEST(DialogLayoutSize, BeginningAnewForgetsTheControls)
{
    const CPlainWindow window(nullptr, WS_POPUP);
    window.AddControl(L"BUTTON", 1, 0, kRect);
    CDialogLayout layout;
    layout.Begin(window.m_hWnd);
    layout.Anchor(1, L::right);
    layout.Begin(window.m_hWnd);
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
    layout.Begin(window.m_hWnd);
    layout.Anchor(1, L::right);
    ResizeBy(window, 60, 40);
    RedrawWindow(window.m_hWnd, nullptr, nullptr, RDW_VALIDATE | RDW_ALLCHILDREN);
    layout.Arrange();
    EXPECT_TRUE(GetUpdateRect(moved, nullptr, FALSE));
    EXPECT_TRUE(GetUpdateRect(resting, nullptr, FALSE));
}

// The system's part in a change of the scaling, which Wine does not play: dialog units become more pixels.

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

class DialogLayoutScaling : public testing::Test
{
protected:
    DialogLayoutScaling() { RedirectImport("MapDialogRect", &MapDialogRectScaled, &g_mapDialogRect); }
    ~DialogLayoutScaling() override { g_percent = 100; }

    CPlainWindow m_window{nullptr, WS_POPUP | WS_VISIBLE};  // 640 x 480
    CDialogLayout m_layout;
};

TEST_F(DialogLayoutScaling, EachControlFollowsTheDialogUnits)
{
    m_window.AddControl(L"BUTTON", 1, 0, kRect);
    m_window.AddControl(L"BUTTON", 2, 0, {4, 8, 20, 24});
    m_layout.Begin(m_window.m_hWnd);
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
    m_layout.Begin(m_window.m_hWnd);
    g_percent = 150;
    MINMAXINFO limits{};
    m_layout.LimitSize(limits);
    EXPECT_EQ(limits.ptMinTrackSize.x, 960);
    EXPECT_EQ(limits.ptMinTrackSize.y, 720);
}

TEST_F(DialogLayoutScaling, ASmallerWindowHasNoExtraWidth)
{
    m_layout.Begin(m_window.m_hWnd);
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
    m_layout.Begin(m_window.m_hWnd);
    g_percent = 150;
    m_layout.Arrange();
    ExpectRect(m_window, 1, {150, 120, 250, 120 + before.bottom - before.top});
    EXPECT_EQ(listHeight(), listBefore);
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
