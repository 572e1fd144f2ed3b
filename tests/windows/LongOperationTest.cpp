#include "framework/LongOperation.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/ImportTable.h"
#include "tests/support/WindowScopes.h"

// The tests record the calls to the system and pass them on. Wine does not show their effect: it neither puts
// the computer to sleep nor displays the reason that blocks the end of the session.

namespace {

std::vector<std::wstring>* g_calls = nullptr;
HWND g_window = nullptr;

decltype(&SetThreadExecutionState) g_setState = nullptr;
EXECUTION_STATE WINAPI NoteState(EXECUTION_STATE state)
{
    if (g_calls != nullptr) {
        g_calls->push_back(L"state " + std::to_wstring(state));
    }
    return g_setState(state);
}

decltype(&ShutdownBlockReasonCreate) g_create = nullptr;
BOOL WINAPI NoteReason(HWND window, const wchar_t* reason)
{
    if (g_calls != nullptr) {
        EXPECT_EQ(window, g_window);
        g_calls->push_back(std::wstring(L"reason ") + reason);
    }
    return g_create(window, reason);
}

decltype(&ShutdownBlockReasonDestroy) g_destroy = nullptr;
BOOL WINAPI NoteNoReason(HWND window)
{
    if (g_calls != nullptr) {
        EXPECT_EQ(window, g_window);
        g_calls->emplace_back(L"no reason");
    }
    return g_destroy(window);
}

class LongOperationTest : public testing::Test
{
protected:
    LongOperationTest()
    {
        RedirectImport("SetThreadExecutionState", &NoteState, &g_setState);
        RedirectImport("ShutdownBlockReasonCreate", &NoteReason, &g_create);
        RedirectImport("ShutdownBlockReasonDestroy", &NoteNoReason, &g_destroy);
        g_calls = &m_calls;
        g_window = m_window.m_hWnd;
    }
    ~LongOperationTest() override { g_calls = nullptr; }

    std::vector<std::wstring> m_calls;
    CPlainWindow m_window;
};

TEST_F(LongOperationTest, KeepsTheComputerAwakeAndTheSessionOpenWhileItLives)
{
    {
        const CLongOperation operation(m_window.m_hWnd, L"Normteile umsetzen");
        // ES_CONTINUOUS and ES_SYSTEM_REQUIRED
        EXPECT_EQ(m_calls, (std::vector<std::wstring>{L"state 2147483649", L"reason Normteile umsetzen"}));
        m_calls.clear();
    }
    EXPECT_EQ(m_calls, (std::vector<std::wstring>{L"no reason", L"state 2147483648"}));
}

// Windows ends a program that agrees to the end of the session, even if another program refuses later.
TEST_F(LongOperationTest, IsAskedAboutTheEndOfTheSessionBeforeOtherPrograms)
{
    const auto level = [] {
        DWORD value = 0;
        DWORD flags = 0;
        EXPECT_TRUE(GetProcessShutdownParameters(&value, &flags));
        return value;
    };
    constexpr DWORD kOfEveryProcess = 0x280;
    {
        const CLongOperation operation(m_window.m_hWnd, L"x");
        EXPECT_GT(level(), kOfEveryProcess);
    }
    EXPECT_EQ(level(), kOfEveryProcess);
}

TEST_F(LongOperationTest, CutsAReasonThatIsTooLongForTheSystem)
{
    const CLongOperation operation(m_window.m_hWnd, std::wstring(300, L'x'));
    ASSERT_EQ(m_calls.size(), 2U);
    EXPECT_EQ(m_calls[1], L"reason " + std::wstring(255, L'x'));
}

}  // namespace
