#include "framework/TaskbarProgress.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "framework/MessageBox.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"

// The calls on the shell's taskbar. Wine has no taskbar, so nobody has seen the button itself yet.

namespace {

using Calls = std::vector<std::string>;

// Notes the calls about progress. Deletes itself with its last reference.
class CFakeTaskbar final : public ITaskbarList3
{
public:
    explicit CFakeTaskbar(Calls& calls) : m_calls(calls) {}

    STDMETHODIMP QueryInterface(REFIID, void** object) override
    {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG left = --m_references;
        if (left == 0) {
            delete this;
        }
        return left;
    }
    STDMETHODIMP HrInit() override { return S_OK; }
    STDMETHODIMP AddTab(HWND) override { return E_NOTIMPL; }
    STDMETHODIMP DeleteTab(HWND) override { return E_NOTIMPL; }
    STDMETHODIMP ActivateTab(HWND) override { return E_NOTIMPL; }
    STDMETHODIMP SetActiveAlt(HWND) override { return E_NOTIMPL; }
    STDMETHODIMP MarkFullscreenWindow(HWND, BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP SetProgressValue(HWND, ULONGLONG done, ULONGLONG total) override
    {
        m_calls.push_back(std::to_string(done) + "/" + std::to_string(total));
        return S_OK;
    }
    STDMETHODIMP SetProgressState(HWND, TBPFLAG state) override
    {
        m_calls.push_back(NameOf(state));
        return S_OK;
    }
    STDMETHODIMP RegisterTab(HWND, HWND) override { return E_NOTIMPL; }
    STDMETHODIMP UnregisterTab(HWND) override { return E_NOTIMPL; }
    STDMETHODIMP SetTabOrder(HWND, HWND) override { return E_NOTIMPL; }
    STDMETHODIMP SetTabActive(HWND, HWND, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP ThumbBarAddButtons(HWND, UINT, LPTHUMBBUTTON) override { return E_NOTIMPL; }
    STDMETHODIMP ThumbBarUpdateButtons(HWND, UINT, LPTHUMBBUTTON) override { return E_NOTIMPL; }
    STDMETHODIMP ThumbBarSetImageList(HWND, HIMAGELIST) override { return E_NOTIMPL; }
    STDMETHODIMP SetOverlayIcon(HWND, HICON, LPCWSTR) override { return E_NOTIMPL; }
    STDMETHODIMP SetThumbnailTooltip(HWND, LPCWSTR) override { return E_NOTIMPL; }
    STDMETHODIMP SetThumbnailClip(HWND, RECT*) override { return E_NOTIMPL; }

private:
    ~CFakeTaskbar() = default;

    static std::string NameOf(TBPFLAG state)
    {
        switch (state) {
            case TBPF_NOPROGRESS:
                return "none";
            case TBPF_NORMAL:
                return "normal";
            case TBPF_PAUSED:
                return "paused";
            case TBPF_ERROR:
                return "error";
            default:
                return "?";
        }
    }

    ULONG m_references = 1;
    Calls& m_calls;
};

class TaskbarProgressTest : public testing::Test
{
protected:
    TaskbarProgressTest() { m_taskbar.Attach(m_window.m_hWnd); }

    void CreateButton() { m_taskbar.NoteMessage(RegisterWindowMessageW(L"TaskbarButtonCreated")); }
    [[nodiscard]] Calls Take() { return std::exchange(m_calls, {}); }

    CPlainWindow m_window;
    Calls m_calls;
    CTaskbarProgress m_taskbar{[this] { return ITaskbarList3Ptr(new CFakeTaskbar(m_calls), false); }};
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

// A copy-only run counts rows that are not pending, too.
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
