#include "framework/TaskbarProgress.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "framework/MessageBox.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"
#include "tests/windows/FakeTaskbar.h"

namespace {

using Calls = std::vector<std::string>;

class TaskbarProgressTest : public testing::Test
{
protected:
    TaskbarProgressTest() { m_taskbar.Attach(m_window.m_hWnd); }

    void CreateButton() { m_taskbar.NoteMessage(RegisterWindowMessageW(L"TaskbarButtonCreated")); }
    [[nodiscard]] Calls Take() { return std::exchange(m_calls, {}); }

    CPlainWindow m_window;
    Calls m_calls;
    CTaskbarProgress m_taskbar{[this] {
        auto* const made = new CFakeTaskbar(m_calls);
        made->m_window = m_window.m_hWnd;
        return ITaskbarList3Ptr(made, false);
    }};
};

TEST_F(TaskbarProgressTest, SaysNothingBeforeTheButtonExists)
{
    m_taskbar.NoteMessage(WM_PAINT);
    m_taskbar.ShowProgress(30);
    EXPECT_EQ(Take(), Calls{});
    CreateButton();
    EXPECT_EQ(Take(), (Calls{"30/100", "normal"}));
}

TEST_F(TaskbarProgressTest, ShowsProgressAndClearsIt)
{
    CreateButton();
    EXPECT_EQ(Take(), Calls{"none"});
    m_taskbar.ShowProgress(0);
    m_taskbar.ShowProgress(50);
    m_taskbar.ShowProgress(50);
    EXPECT_EQ(Take(), (Calls{"0/100", "normal", "50/100", "normal"})) << "unchanged progress is not repeated";
    m_taskbar.Clear();
    EXPECT_EQ(Take(), Calls{"none"});
}

// A copy-only run also counts finished rows that are not pending, but its total is the number of pending
// rows.
TEST_F(TaskbarProgressTest, IsNeverMoreThanTheWhole)
{
    CreateButton();
    static_cast<void>(Take());
    m_taskbar.ShowProgress(150);
    EXPECT_EQ(Take(), (Calls{"100/100", "normal"}));
}

TEST_F(TaskbarProgressTest, IsPausedBetweenQuestionAndAnswer)
{
    CreateButton();
    m_taskbar.ShowProgress(40);
    static_cast<void>(Take());
    m_taskbar.ShowPaused(true);
    EXPECT_EQ(Take(), (Calls{"40/100", "paused"}));
    m_taskbar.ShowPaused(false);
    EXPECT_EQ(Take(), (Calls{"40/100", "normal"}));
}

TEST_F(TaskbarProgressTest, AnErrorFillsTheBarAndIsNoPause)
{
    CreateButton();
    m_taskbar.ShowProgress(40);
    static_cast<void>(Take());
    m_taskbar.ShowError();
    EXPECT_EQ(Take(), (Calls{"100/100", "error"}));
    m_taskbar.ShowPaused(false);
    EXPECT_EQ(Take(), Calls{});
}

TEST_F(TaskbarProgressTest, ANewButtonShowsTheStateAgain)
{
    CreateButton();
    m_taskbar.ShowProgress(70);
    static_cast<void>(Take());
    CreateButton();
    EXPECT_EQ(Take(), (Calls{"70/100", "normal"}));
}

TEST(TaskbarProgress, DoesNothingWithoutATaskbar)
{
    const CPlainWindow window;
    CTaskbarProgress taskbar{[] { return ITaskbarList3Ptr(); }};
    taskbar.Attach(window.m_hWnd);
    taskbar.NoteMessage(RegisterWindowMessageW(L"TaskbarButtonCreated"));
    taskbar.ShowProgress(10);
    taskbar.ShowError();
    taskbar.Clear();
}

TEST(FlashInBackground, FlashesFiveTimesWhenAnotherProgramIsInFront)
{
    const CPlainWindow window;
    std::vector<FLASHWINFO> flashes;
    CFlashWatch watch([&](const FLASHWINFO& flash) { flashes.push_back(flash); });
    FlashInBackground(window.m_hWnd);
    ASSERT_EQ(flashes.size(), 1U);
    EXPECT_EQ(flashes[0].hwnd, window.m_hWnd);
    EXPECT_EQ(flashes[0].dwFlags, DWORD{FLASHW_ALL});
    EXPECT_EQ(flashes[0].uCount, 5U);
    EXPECT_EQ(flashes[0].dwTimeout, 0U) << "0 stands for the blink rate of the cursor";
    const CPlainWindow box;
    watch.m_inFront = box.m_hWnd;
    FlashInBackground(window.m_hWnd);
    EXPECT_EQ(flashes.size(), 1U) << "another window of this program is in front";
}

TEST(MessageObserver, IsToldOfEachMessageAndItsAnswer)
{
    std::string told;
    CMessageRecorder answers([&told] {
        told += "?";
        return IDYES;
    });
    SetMessageObserver([&told](bool open) { told += open ? "<" : ">"; });
    ShowMessage(L"a message");
    EXPECT_EQ(told, "<?>");
    ShowMessage(L"a question", MB_YESNO | MB_ICONQUESTION);
    EXPECT_EQ(told, "<?><?>");
    EXPECT_TRUE(SetMessageObserver({}));
    ShowMessage(L"a question", MB_YESNO | MB_ICONQUESTION);
    EXPECT_EQ(told, "<?><?>?");
}

}  // namespace
