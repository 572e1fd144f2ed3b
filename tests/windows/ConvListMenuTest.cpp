#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/ExpectedTexts.h"
#include "tests/support/Languages.h"
#include "tests/windows/ConvListScopes.h"

// The menus of the two generated columns: their items, what opens them, and what their commands do.

namespace {

constexpr WPARAM kDismiss = 0;  // instead of a mnemonic: closes the menu

bool IsMenu(HWND window)
{
    return IsWindowVisible(window) != FALSE && IsOfClass(window, L"#32768");
}

bool IsTemplateDialog(HWND window)
{
    return IsWindowVisible(window) != FALSE && GetDlgItem(window, IDC_TEMPLATE_TEXT) != nullptr;
}

// A menu's items from top to bottom: the text, the command number and special states, or "-" for a separator.
Texts ItemsOf(HMENU menu)
{
    Texts items;
    for (int i = 0; i < GetMenuItemCount(menu); ++i) {
        std::array<wchar_t, 100> text{};
        MENUITEMINFOW item{};
        item.cbSize = sizeof item;
        item.fMask = MIIM_FTYPE | MIIM_STATE | MIIM_ID | MIIM_STRING;
        item.dwTypeData = text.data();
        item.cch = static_cast<UINT>(text.size());
        EXPECT_TRUE(GetMenuItemInfoW(menu, static_cast<UINT>(i), TRUE, &item));
        if ((item.fType & MFT_SEPARATOR) != 0) {
            items.push_back(L"-");
            continue;
        }
        items.push_back(std::wstring(text.data()) + L" [" + std::to_wstring(item.wID) + L"]" +
                        ((item.fState & (MF_DISABLED | MF_GRAYED)) != 0 ? L" disabled" : L"") +
                        ((item.fState & MFS_DEFAULT) != 0 ? L" default" : L""));
    }
    return items;
}

// Plays the user. Records each menu that opens over the list, and presses the mnemonic of a command. Records
// each template dialog, and cancels the dialog. While neither is open, releases the mouse button: the list
// view's handling of a right-click waits for the release.
class CMenuUser
{
public:
    CMenuUser(const CListWindow& window, WPARAM mnemonic) : m_window(window), m_mnemonic(mnemonic) {}
    CMenuUser(const CMenuUser&) = delete;
    CMenuUser& operator=(const CMenuUser&) = delete;

    std::vector<Texts> m_menus;  // the items of each menu that opened
    POINT m_corner{};            // the top left corner of the last menu, in the list's client coordinates
    Texts m_dialogs;             // "CAPTION: TEMPLATE" of each template dialog that opened
    std::function<void()> m_onMenu = [] {};

private:
    static constexpr UINT kInterval = 20;  // milliseconds
    static constexpr int kPatience = 100;  // looks at a menu before it counts as stuck

    void Look()
    {
        const HWND menu = FindWindowOfThread(&IsMenu);
        if (menu != nullptr) {
            LookAtMenu(menu);
            return;
        }
        m_looks = 0;
        const HWND dialog = FindWindowOfThread(&IsTemplateDialog);
        if (dialog != std::exchange(m_dialog, dialog) && dialog != nullptr) {
            m_dialogs.push_back(CWnd::TextOf(dialog) + L": " +
                                CWnd::TextOf(GetDlgItem(dialog, IDC_TEMPLATE_TEXT)));
            EXPECT_EQ(GetWindow(dialog, GW_OWNER), m_window.m_parent.m_hWnd);
            PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
        } else if (dialog == nullptr) {
            m_window.m_list.PostMessage(WM_RBUTTONUP, 0, MAKELPARAM(0, 0));
        }
    }

    void LookAtMenu(HWND menu)
    {
        if (m_looks++ == 0) {
            constexpr UINT kGetMenu = 0x01E1;  // MN_GETHMENU
            m_menus.push_back(ItemsOf(reinterpret_cast<HMENU>(SendMessageW(menu, kGetMenu, 0, 0))));
            const RECT rect = RectIn(m_window.m_list.m_hWnd, menu);
            m_corner = {rect.left, rect.top};
            m_onMenu();
            if (m_mnemonic == kDismiss) {
                m_window.m_list.PostMessage(WM_KEYDOWN, VK_ESCAPE, 1);
            } else {
                m_window.m_list.PostMessage(WM_CHAR, m_mnemonic, 1);
            }
        }
        if (m_looks == kPatience) {
            ADD_FAILURE() << "a menu stays open";
            EndMenu();
        }
    }

    const CListWindow& m_window;
    WPARAM m_mnemonic;
    int m_looks = 0;
    HWND m_dialog = nullptr;
    CTimerScope m_timer{kInterval, [this] { Look(); }};
};

void RightClick(const CListWindow& window, POINT point)
{
    window.m_list.SendMessage(WM_RBUTTONDOWN, MK_RBUTTON, MAKELPARAM(point.x, point.y));
}

Texts MenuOf(int column, Language language)
{
    const Text lead{L"Spalte: ", L"Column: "};
    std::wstring header = expected::kHeaders[column].In(language);
    header += header.ends_with(L"...") ? L"" : L"...";
    return {lead.In(language) + header + L" [0] disabled default",
            L"-",
            expected::kDeleteRows.In(language) + L" [1]",
            L"-",
            expected::kUseTemplate.In(language) + L" [2]",
            expected::kEditTemplate.In(language) + L" [3]"};
}

class ConvListMenu : public LanguageTest
{
protected:
    // The mnemonic in the test's language.
    static WPARAM Mnemonic(wchar_t german, wchar_t english) { return GetParam() != 0 ? german : english; }
    static WPARAM Delete() { return Mnemonic(L'l', L'd'); }
    static WPARAM Apply() { return Mnemonic(L'a', L'u'); }
    static WPARAM Edit() { return Mnemonic(L'b', L'm'); }

    const CListWindow m_window;
};

INSTANTIATE_TEST_SUITE_P(Languages, ConvListMenu, testing::Values(1, 0),
                         [](const auto& flag) { return flag.param != 0 ? "German" : "English"; });

TEST_P(ConvListMenu, HoldsItsColumnsCommands)
{
    for (const int column : {1, 2}) {
        const CMenuUser user(m_window, kDismiss);
        RightClick(m_window, m_window.At(column * 175 + 20, 1));
        EXPECT_EQ(user.m_menus, std::vector<Texts>{MenuOf(column, LanguageOf(GetParam()))});
    }
}

TEST_P(ConvListMenu, KeepsTheLanguageItWasMadeIn)
{
    const CLanguageScope theOther{GetParam() != 0 ? 0 : 1};
    const CMenuUser user(m_window, kDismiss);
    RightClick(m_window, m_window.At(200, 1));
    EXPECT_EQ(user.m_menus, std::vector<Texts>{MenuOf(1, LanguageOf(GetParam()))});
}

TEST_P(ConvListMenu, OpensAtThePoint)
{
    const CMenuUser user(m_window, kDismiss);
    const POINT point = m_window.At(200, 1);
    RightClick(m_window, point);
    EXPECT_EQ(user.m_corner.x, point.x);
    EXPECT_EQ(user.m_corner.y, point.y);
}

TEST_P(ConvListMenu, PostsItsCommandsToTheParent)
{
    for (const int column : {1, 2}) {
        const POINT point = m_window.At(column * 175 + 20, 1);
        const std::vector<std::pair<WPARAM, Texts>> commands{
            {Delete(), {L"list WM_RBUTTONDOWN", L"parent WM_DELETESELECTED 0 0"}},
            {Apply(),
             {L"list WM_RBUTTONDOWN", L"parent WM_APPLYTEMPLATE " + std::to_wstring(column) + L" 0"}},
            {kDismiss, {L"list WM_RBUTTONDOWN"}},
        };
        for (const auto& [mnemonic, messages] : commands) {
            CMessageTrace trace(m_window);
            const CMenuUser user(m_window, mnemonic);
            RightClick(m_window, point);
            EXPECT_EQ(user.m_menus.size(), 1U);
            EXPECT_EQ(trace.Take(), messages) << column << " " << mnemonic;
            EXPECT_EQ(user.m_dialogs, Texts{});
        }
    }
    EXPECT_EQ(m_window.m_list.GetItemCount(), 5) << "the parent deletes, not the list";
    EXPECT_EQ(m_window.m_list.CountPendingRows(), 0) << "the parent applies the template, not the list";
}

TEST_P(ConvListMenu, TheTitleIsNoCommand)
{
    CMessageTrace trace(m_window);
    CMenuUser user(m_window, kDismiss);
    user.m_onMenu = [this] {
        m_window.m_list.PostMessage(WM_KEYDOWN, VK_DOWN, 1);  // to the title, although it is disabled
        m_window.m_list.PostMessage(WM_KEYDOWN, VK_RETURN, 1);
    };
    RightClick(m_window, m_window.At(200, 1));
    EXPECT_EQ(trace.Take(), Texts{L"list WM_RBUTTONDOWN"});
    EXPECT_EQ(user.m_dialogs, Texts{});
}

TEST_P(ConvListMenu, AddsTheRowToTheSelection)
{
    const CMenuUser user(m_window, kDismiss);
    m_window.Focus(0);
    m_window.m_list.SetItemState(4, LVIS_SELECTED, LVIS_SELECTED);
    RightClick(m_window, m_window.At(200, 2));
    EXPECT_EQ(m_window.SelectedRows(), (std::vector<int>{0, 2, 4}));
    EXPECT_EQ(m_window.FocusedRow(), 2);
}

TEST_P(ConvListMenu, TheRowIsSelectedBeforeTheMenuOpens)
{
    CMenuUser user(m_window, kDismiss);
    std::vector<int> selected;
    user.m_onMenu = [&] { selected = m_window.SelectedRows(); };
    RightClick(m_window, m_window.At(400, 3));
    EXPECT_EQ(selected, std::vector<int>{3});
}

TEST_P(ConvListMenu, TheFirstColumnHasNoMenu)
{
    const CMenuUser user(m_window, kDismiss);
    RightClick(m_window, m_window.At(20, 2));
    EXPECT_TRUE(user.m_menus.empty());
    EXPECT_EQ(m_window.SelectedRows(), std::vector<int>{2});
    EXPECT_EQ(m_window.FocusedRow(), 2);
}

TEST_P(ConvListMenu, AClickBelowTheRowsActsOnTheRowWithTheColumnsNumber)
{
    for (const int column : {0, 1, 2}) {
        const CListWindow window;
        window.Focus(0);
        window.m_list.SetItemState(4, LVIS_SELECTED, LVIS_SELECTED);
        const CMenuUser user(window, kDismiss);
        RightClick(window, window.BelowRows(column * 175 + 20));
        EXPECT_EQ(user.m_menus.size(), column == 0 ? 0U : 1U);
        if (column != 0) {
            EXPECT_EQ(user.m_menus[0], MenuOf(column, LanguageOf(GetParam())));
        }
        std::vector<int> selected{0, 4};
        if (column != 0) {
            selected.insert(selected.begin() + 1, column);
        }
        EXPECT_EQ(window.SelectedRows(), selected) << column;
        EXPECT_EQ(window.FocusedRow(), column);
    }
}

TEST_P(ConvListMenu, BelowTooFewRowsTheMenuOpensAndNoRowIsAdded)
{
    const CListWindow window({600, 300}, {{}, {}, {}}, 2);
    window.Focus(0);
    CMessageTrace trace(window);
    const CMenuUser user(window, Delete());
    RightClick(window, window.BelowRows(400));
    EXPECT_EQ(user.m_menus, std::vector<Texts>{MenuOf(2, LanguageOf(GetParam()))});
    EXPECT_EQ(window.SelectedRows(), std::vector<int>{0});
    EXPECT_EQ(window.FocusedRow(), 0);
    EXPECT_EQ(trace.Take(), (Texts{L"list WM_RBUTTONDOWN", L"parent WM_DELETESELECTED 0 0"}));
}

TEST_P(ConvListMenu, AnEmptyListHasItsMenus)
{
    const CListWindow window({600, 300}, {{}, {}, {}}, 0);
    const CMenuUser user(window, kDismiss);
    RightClick(window, window.BelowRows(200));
    EXPECT_EQ(user.m_menus, std::vector<Texts>{MenuOf(1, LanguageOf(GetParam()))});
}

TEST_P(ConvListMenu, NoMenuRightOfTheLastColumn)
{
    for (const POINT point : {m_window.At(525, 2), m_window.BelowRows(525)}) {
        const CMenuUser user(m_window, kDismiss);
        RightClick(m_window, point);
        EXPECT_TRUE(user.m_menus.empty());
        EXPECT_NE(m_window.FocusedRow(), 1);
    }
}

TEST_P(ConvListMenu, TheColumnIsTheOneAtThePoint)
{
    CListWindow window({400, 300}, {{100}, {150}, {200}});
    window.m_list.SetColumnOrder({2, 0, 1});
    window.m_list.ScrollHorizontally(50);
    ASSERT_EQ(GetScrollPos(window.m_list.m_hWnd, SB_HORZ), 50);
    const std::vector<std::pair<int, int>> columnsAt{{0, 2}, {149, 2}, {150, 0}, {249, 0}, {250, 1}};
    for (const auto& [x, column] : columnsAt) {
        for (const POINT point : {window.At(x, 1), window.BelowRows(x)}) {
            const CMenuUser user(window, kDismiss);
            RightClick(window, point);
            EXPECT_EQ(user.m_menus, column == 0 ? std::vector<Texts>{}
                                                : std::vector<Texts>{MenuOf(column, LanguageOf(GetParam()))})
                << x;
        }
    }
}

LRESULT CALLBACK CountRightClicks(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR,
                                  DWORD_PTR count)
{
    *reinterpret_cast<int*>(count) += message == WM_RBUTTONDOWN ? 1 : 0;
    return DefSubclassProc(window, message, wParam, lParam);
}

TEST_P(ConvListMenu, TheControlAlwaysHandlesTheClick)
{
    CListWindow window;
    int count = 0;
    // Counts what reaches the control's own procedure.
    const HWND list = window.m_list.UnsubclassWindow();
    SetWindowSubclass(list, &CountRightClicks, 98, reinterpret_cast<DWORD_PTR>(&count));
    ASSERT_TRUE(window.m_list.SubclassWindow(list));
    int clicks = 0;
    std::size_t menus = 0;
    for (const POINT point : {window.At(20, 1), window.At(200, 1), window.At(400, 1), window.At(550, 1),
                              window.BelowRows(20), window.BelowRows(200), window.BelowRows(550)}) {
        const CMenuUser user(window, kDismiss);
        RightClick(window, point);
        EXPECT_EQ(count, ++clicks) << point.x << " " << point.y;
        menus += user.m_menus.size();
    }
    EXPECT_EQ(menus, 3U);
}

TEST_P(ConvListMenu, AnOpenEditEndsBeforeTheMenuOpens)
{
    CListWindow window;
    window.m_list.EditCell(1, 1);
    window.Retype(L"Frame");
    CMenuUser user(window, kDismiss);
    std::wstring text;
    user.m_onMenu = [&] { text = window.m_list.GetItemText(1, 1); };
    RightClick(window, window.At(200, 1));
    EXPECT_EQ(text, L"Frame.sldprt");
    EXPECT_EQ(window.Editor(), nullptr);
}

TEST_P(ConvListMenu, TheMessageAfterAClickOpensNoOtherMenu)
{
    const CMenuUser user(m_window, kDismiss);
    m_window.Focus(1);
    POINT point = m_window.At(200, 1);
    ClientToScreen(m_window.m_list.m_hWnd, &point);
    m_window.m_list.SendMessage(WM_CONTEXTMENU, reinterpret_cast<WPARAM>(m_window.m_list.m_hWnd),
                                MAKELPARAM(point.x, point.y));
    EXPECT_TRUE(user.m_menus.empty());
}

// Opened by the keyboard

class ConvListMenuByKey : public ConvListMenu
{
protected:
    void AskByKey() const
    {
        m_window.m_list.SendMessage(WM_CONTEXTMENU, reinterpret_cast<WPARAM>(m_window.m_list.m_hWnd), -1);
    }
};

INSTANTIATE_TEST_SUITE_P(Languages, ConvListMenuByKey, testing::Values(1, 0),
                         [](const auto& flag) { return flag.param != 0 ? "German" : "English"; });

TEST_P(ConvListMenuByKey, OpensBelowTheFocusedRowsNewName)
{
    const CMenuUser user(m_window, kDismiss);
    m_window.Focus(1);
    AskByKey();
    EXPECT_EQ(user.m_menus, std::vector<Texts>{MenuOf(1, LanguageOf(GetParam()))});
    EXPECT_EQ(user.m_corner.x, 179);
    EXPECT_EQ(user.m_corner.y, m_window.m_list.GetRowRect(1).bottom);
}

TEST_P(ConvListMenuByKey, WithCtrlItIsTheBomNameMenu)
{
    CMessageTrace trace(m_window);
    const CMenuUser user(m_window, Apply());
    m_window.Focus(1);
    {
        const CHeldKeys control{VK_CONTROL};
        AskByKey();
    }
    EXPECT_EQ(user.m_menus, std::vector<Texts>{MenuOf(2, LanguageOf(GetParam()))});
    EXPECT_EQ(user.m_corner.x, 354);
    EXPECT_EQ(trace.Take(), Texts{L"parent WM_APPLYTEMPLATE 2 0"});
}

TEST_P(ConvListMenuByKey, EachKeyAsksForItsColumn)
{
    const HWND list = m_window.m_list.m_hWnd;
    struct Key
    {
        const char* what;
        int column;
        std::vector<int> held;
        std::function<void()> press;
    };
    const Key keys[] = {
        {"Shift+F10", 1, {VK_SHIFT}, [list] { PostMessageW(list, WM_SYSKEYDOWN, VK_F10, 1); }},
        {"Ctrl+Shift+F10", 2, {VK_SHIFT, VK_CONTROL}, [list] { PostMessageW(list, WM_KEYDOWN, VK_F10, 1); }},
        // Some programs send the position as two 16-bit halves: 0xFFFFFFFF instead of -1.
        {"a position in two halves",
         1,
         {},
         [this, list] {
             m_window.m_list.SendMessage(WM_CONTEXTMENU, reinterpret_cast<WPARAM>(list), MAKELPARAM(-1, -1));
         }},
    };
    for (const Key& key : keys) {
        SCOPED_TRACE(key.what);
        const CMenuUser user(m_window, kDismiss);
        m_window.Focus(1);
        const CHeldKeys held(key.held);
        key.press();
        DrainMessages();
        EXPECT_EQ(user.m_menus, std::vector<Texts>{MenuOf(key.column, LanguageOf(GetParam()))});
    }
}

TEST_P(ConvListMenuByKey, CtrlMayBeReleasedBeforeTheMenuKey)
{
    const CMenuUser user(m_window, kDismiss);
    m_window.Focus(1);
    {
        const CHeldKeys control{VK_CONTROL};
        PostMessageW(m_window.m_list.m_hWnd, WM_KEYDOWN, VK_APPS, 1);
        DrainMessages();
    }
    AskByKey();
    EXPECT_EQ(user.m_menus, std::vector<Texts>{MenuOf(2, LanguageOf(GetParam()))});
}

TEST_P(ConvListMenuByKey, TheFocusedRowIsSelectedToo)
{
    const CMenuUser user(m_window, kDismiss);
    m_window.Focus(3);
    m_window.m_list.SetItemState(-1, 0, LVIS_SELECTED);
    m_window.m_list.SetItemState(1, LVIS_SELECTED, LVIS_SELECTED);
    AskByKey();
    EXPECT_EQ(m_window.SelectedRows(), (std::vector<int>{1, 3}));
}

TEST_P(ConvListMenuByKey, WithoutAFocusedRowItOpensBelowTheHeader)
{
    const CListWindow window({600, 300}, {{}, {}, {}}, 0);
    const CMenuUser user(window, kDismiss);
    window.m_list.SendMessage(WM_CONTEXTMENU, reinterpret_cast<WPARAM>(window.m_list.m_hWnd), -1);
    EXPECT_EQ(user.m_menus, std::vector<Texts>{MenuOf(1, LanguageOf(GetParam()))});
    const RECT header = RectOf(window.m_list.GetHeader());
    EXPECT_EQ(user.m_corner.x, 175);
    EXPECT_EQ(user.m_corner.y, header.bottom - header.top);
}

TEST_P(ConvListMenuByKey, WithoutAFocusedRowTheSelectionStays)
{
    const CMenuUser user(m_window, kDismiss);
    m_window.m_list.SetItemState(3, LVIS_SELECTED, LVIS_SELECTED);
    AskByKey();
    EXPECT_EQ(user.m_menus, std::vector<Texts>{MenuOf(1, LanguageOf(GetParam()))});
    EXPECT_EQ(m_window.SelectedRows(), std::vector<int>{3});
}

// The template

class ConvListTemplate : public ConvListMenu
{
protected:
    static std::wstring Caption(int column)
    {
        return (column == 1 ? expected::kFileTemplate : expected::kBomTemplate).Current();
    }

    // Right-clicks at the point and chooses the command that edits the template. Returns the dialogs that
    // opened.
    Texts Dialogs(POINT point)
    {
        const CMenuUser user(m_window, Edit());
        RightClick(m_window, point);
        return user.m_dialogs;
    }

    CUserSettingsScope m_settings;
};

INSTANTIATE_TEST_SUITE_P(Languages, ConvListTemplate, testing::Values(1, 0),
                         [](const auto& flag) { return flag.param != 0 ? "German" : "English"; });

TEST_P(ConvListTemplate, TheStoredTemplateIsShown)
{
    m_settings.SetTemplate(1, L"%3_%4");
    m_settings.SetTemplate(2, L"");
    EXPECT_EQ(Dialogs(m_window.At(200, 1)), Texts{Caption(1) + L": %3_%4"});
    EXPECT_EQ(Dialogs(m_window.At(400, 1)), Texts{Caption(2) + L": "});
    EXPECT_EQ(m_settings.Template(1), L"%3_%4");
    EXPECT_EQ(m_window.m_list.CountPendingRows(), 0);
}

TEST_P(ConvListTemplate, WithoutAStoredTemplateTheCellsTextIsShown)
{
    EXPECT_EQ(Dialogs(m_window.At(200, 3)), Texts{Caption(1) + L": M3.sldprt"});
    EXPECT_EQ(Dialogs(m_window.At(400, 2)), Texts{Caption(2) + L": Norm 2"});
    EXPECT_EQ(Dialogs(m_window.BelowRows(400)), Texts{Caption(2) + L": Norm 2"});
    EXPECT_EQ(m_settings.Template(1), L"(none)") << "opening the dialog stores nothing";
    EXPECT_EQ(m_settings.Template(2), L"(none)");
}

TEST_P(ConvListTemplate, ATemplateThatIsNoTextCountsAsNotStored)
{
    m_settings.SetTemplateNumber(2, 7);
    EXPECT_EQ(Dialogs(m_window.At(400, 4)), Texts{Caption(2) + L": Norm 4"});
}

}  // namespace
