#include "framework/Dialog.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "framework/Controls.h"
#include "framework/DialogData.h"
#include "resources/resource.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"

namespace {

constexpr UINT kNextStep = WM_APP + 1;
constexpr INT_PTR kStepsOver = -2;
constexpr INT_PTR kTooLong = -3;
constexpr UINT kPatience = 10000;  // milliseconds
constexpr UINT kNoTemplate = 9999;

class CNotingEdit : public CEdit
{
public:
    int m_colourChanges = 0;

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        m_colourChanges += message == WM_SYSCOLORCHANGE ? 1 : 0;
        return CEdit::WindowProc(message, wParam, lParam);
    }
};

// The template dialog, which performs a test step by step. Each step is a message in the queue, so messages
// that a step posts are handled before the next step. Closes after the last step.
class CSteppingDialog : public CDialog
{
public:
    explicit CSteppingDialog(CWnd* owner = nullptr) : CDialog(IDD_TEMPLATE, owner) {}

    std::vector<std::function<void()>> m_steps;
    std::vector<std::string> m_log;
    CNotingEdit m_edit;
    std::wstring m_text = L"from the member";
    bool m_endAtStart = false;
    bool m_halted = false;  // posts no further step
    std::function<void()> m_onInit;
    std::function<void()> m_onDestroy;
    std::function<void()> m_onIdle;
    int m_missingControl = 0;

    using CDialog::EndDialog;
    using CDialog::IsEnding;
    using CDialog::RequestIdle;
    using CDialog::TemplateSize;

    void DropSteps() { m_step = m_steps.size(); }

protected:
    [[nodiscard]] const MessageMap* GetMessageMap() const override
    {
        static constexpr std::array kEntries{
            OnMessage<&CSteppingDialog::OnNextStep>(kNextStep),
            OnMessage<&CSteppingDialog::OnTimer>(WM_TIMER),
            OnMessage<&CSteppingDialog::OnDestroy>(WM_DESTROY),
        };
        static const MessageMap kMap{CDialog::GetMessageMap(), kEntries};
        return &kMap;
    }
    bool OnInitDialog() override
    {
        const bool focus = CDialog::OnInitDialog();
        m_log.emplace_back(IsWindowVisible(m_hWnd) != FALSE ? "init while visible" : "init");
        if (m_endAtStart) {
            EndDialog(77);
        }
        SetTimer(m_hWnd, 1, kPatience, nullptr);
        PostMessage(kNextStep);
        if (m_onInit) {
            m_onInit();
        }
        return focus;
    }
    void DoDataExchange(CDataExchange& exchange) override
    {
        DDX_Control(exchange, IDC_TEMPLATE_TEXT, m_edit);
        DDX_Text(exchange, IDC_TEMPLATE_TEXT, m_text);
        if (m_missingControl != 0) {
            std::wstring unused = L"unchanged";
            DDX_Text(exchange, m_missingControl, unused);
            EXPECT_EQ(unused, L"unchanged");
        }
    }
    void OnOK() override
    {
        m_log.emplace_back("ok");
        CDialog::OnOK();
    }
    void OnCancel() override
    {
        m_log.emplace_back("cancel");
        CDialog::OnCancel();
    }
    void OnIdle() override
    {
        m_log.emplace_back("idle");
        if (m_onIdle) {
            m_onIdle();
        }
    }

private:
    void OnNextStep()
    {
        if (m_step == m_steps.size()) {
            EndDialog(kStepsOver);
            return;
        }
        m_steps[m_step++]();
        if (!m_halted) {
            PostMessage(kNextStep);
        }
    }
    void OnTimer() { EndDialog(kTooLong); }
    void OnDestroy()
    {
        if (m_onDestroy) {
            m_onDestroy();
        }
        Default();
    }

    std::size_t m_step = 0;
};

class DialogTest : public testing::Test
{
protected:
    void PressKey(const CWnd& window, WPARAM key) const
    {
        window.PostMessage(WM_KEYDOWN, key, 1);
        window.PostMessage(WM_KEYUP, key, 0xC0000001);
    }

    CResourceScope m_resources;
    CPlainWindow m_owner;
    CSteppingDialog m_dialog{&m_owner};
};

TEST_F(DialogTest, TheTemplatesSizeIsThatOfTheClientArea)
{
    m_dialog.m_steps = {[&] {
        const SIZE size = m_dialog.TemplateSize();
        RECT mapped{0, 0, size.cx, size.cy};
        EXPECT_TRUE(MapDialogRect(m_dialog.m_hWnd, &mapped));
        const RECT client = m_dialog.GetClientRect();
        EXPECT_TRUE(EqualRect(&mapped, &client));
    }};
    EXPECT_EQ(m_dialog.DoModal(), kStepsOver);
}

TEST_F(DialogTest, RunsModallyWithItsOwnerDisabled)
{
    HWND window = nullptr;
    m_dialog.m_steps = {[&] {
        window = m_dialog.m_hWnd;
        EXPECT_FALSE(m_owner.IsWindowEnabled());
        EXPECT_TRUE(IsWindowVisible(window));
        EXPECT_EQ(GetWindow(window, GW_OWNER), m_owner.m_hWnd);
        EXPECT_EQ(CWnd::FromHandle(window), &m_dialog);
        EXPECT_FALSE(m_dialog.IsEnding());
        m_dialog.EndDialog(42);
        EXPECT_TRUE(m_dialog.IsEnding());
    }};
    EXPECT_EQ(m_dialog.DoModal(), 42);
    EXPECT_TRUE(m_owner.IsWindowEnabled());
    EXPECT_EQ(m_dialog.m_hWnd, nullptr);
    EXPECT_FALSE(IsWindow(window));
    EXPECT_EQ(m_dialog.m_log, std::vector<std::string>{"init"});
}

TEST_F(DialogTest, EnablesItsOwnerBeforeItIsDestroyed)
{
    bool ownerWasEnabled = false;
    m_dialog.m_onDestroy = [&] { ownerWasEnabled = m_owner.IsWindowEnabled(); };
    EXPECT_EQ(m_dialog.DoModal(), kStepsOver);
    EXPECT_TRUE(ownerWasEnabled);
}

TEST_F(DialogTest, PassesNewSystemColoursToItsControls)
{
    m_dialog.m_steps = {[&] {
        m_dialog.SendMessage(WM_SYSCOLORCHANGE);
        EXPECT_EQ(m_dialog.m_edit.m_colourChanges, 1);
    }};
    EXPECT_EQ(m_dialog.DoModal(), kStepsOver);
}

TEST_F(DialogTest, CanBeRunAgain)
{
    m_dialog.m_steps = {[&] { m_dialog.EndDialog(1); }, [&] { m_dialog.EndDialog(2); }};
    EXPECT_EQ(m_dialog.DoModal(), 1);
    EXPECT_EQ(m_dialog.DoModal(), 2);
}

TEST_F(DialogTest, LeavesADisabledOwnerDisabled)
{
    m_owner.EnableWindow(false);
    EXPECT_EQ(m_dialog.DoModal(), kStepsOver);
    EXPECT_FALSE(m_owner.IsWindowEnabled());
}

// The first step posts the second step, so the queue is empty only after the second step. Then idle work
// posts the third step.
TEST_F(DialogTest, IdleWorkIsDoneOnceAndAfterAllMessages)
{
    m_dialog.m_halted = true;  // the functions below post the next step
    m_dialog.m_onIdle = [&] {
        m_dialog.m_halted = false;
        m_dialog.PostMessage(kNextStep);
    };
    m_dialog.m_steps = {[&] {
                            m_dialog.RequestIdle();
                            m_dialog.RequestIdle();
                            m_dialog.PostMessage(kNextStep);
                        },
                        [&] { m_dialog.m_log.emplace_back("second message"); }, [] {}};
    EXPECT_EQ(m_dialog.DoModal(), kStepsOver);
    EXPECT_EQ(m_dialog.m_log, (std::vector<std::string>{"init", "second message", "idle"}));
}

TEST_F(DialogTest, ADialogEndedAtItsStartIsNeverShown)
{
    m_dialog.m_endAtStart = true;
    m_dialog.m_steps = {[] { FAIL() << "the dialog went on"; }};
    EXPECT_EQ(m_dialog.DoModal(), 77);
    EXPECT_TRUE(m_owner.IsWindowEnabled());
    EXPECT_EQ(m_dialog.m_log, std::vector<std::string>{"init"});
}

TEST_F(DialogTest, ADialogThatCannotBeCreatedLeavesTheOwnerEnabled)
{
    CDialog dialog(kNoTemplate, &m_owner);
    EXPECT_EQ(dialog.DoModal(), -1);
    EXPECT_TRUE(m_owner.IsWindowEnabled());
    EXPECT_EQ(dialog.m_hWnd, nullptr);
    EXPECT_FALSE(dialog.Create());
}

TEST_F(DialogTest, ItsOwnerIsTheMainWindowUnlessAnotherIsNamed)
{
    const CMainWindowScope mainWindow(&m_owner);
    CSteppingDialog dialog;
    dialog.m_steps = {[&] {
        EXPECT_EQ(GetWindow(dialog.m_hWnd, GW_OWNER), m_owner.m_hWnd);
        EXPECT_FALSE(m_owner.IsWindowEnabled());
    }};
    EXPECT_EQ(dialog.DoModal(), kStepsOver);
    EXPECT_TRUE(m_owner.IsWindowEnabled());
}

TEST_F(DialogTest, TheMainWindowItselfHasNoOwner)
{
    CSteppingDialog dialog;
    const CMainWindowScope mainWindow(&dialog);
    dialog.m_steps = {[&] { EXPECT_EQ(GetWindow(dialog.m_hWnd, GW_OWNER), nullptr); }};
    EXPECT_EQ(dialog.DoModal(), kStepsOver);
}

TEST_F(DialogTest, OneDialogRunsOnTopOfAnother)
{
    CSteppingDialog inner(&m_dialog);
    m_dialog.m_steps = {[&] {
        inner.m_steps = {[&] {
            EXPECT_FALSE(m_dialog.IsWindowEnabled());
            EXPECT_FALSE(m_owner.IsWindowEnabled());
            inner.EndDialog(5);
        }};
        EXPECT_EQ(inner.DoModal(), 5);
        EXPECT_TRUE(m_dialog.IsWindowEnabled());
        EXPECT_FALSE(m_owner.IsWindowEnabled());
        EXPECT_TRUE(IsWindow(m_dialog.m_hWnd));
        m_dialog.EndDialog(6);
    }};
    EXPECT_EQ(m_dialog.DoModal(), 6);
}

TEST_F(DialogTest, TheEndOfTheProgramEndsTheDialog)
{
    m_dialog.m_steps = {[&] {
        PostQuitMessage(3);
        m_dialog.m_halted = true;  // WM_QUIT arrives when the queue is empty
    }};
    EXPECT_EQ(m_dialog.DoModal(), -1);
    EXPECT_TRUE(m_owner.IsWindowEnabled());
    // Outer message loops must get WM_QUIT, too.
    MSG message{};
    ASSERT_TRUE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
    EXPECT_EQ(message.wParam, 3U);
}

TEST_F(DialogTest, KeysAndButtonsCloseIt)
{
    struct Way
    {
        const char* what;
        std::function<void()> act;
        INT_PTR result;
    };
    const Way ways[] = {
        {"Enter", [this] { PressKey(m_dialog.m_edit, VK_RETURN); }, IDOK},
        {"Enter on a push button",
         [this] {
             ::SetFocus(m_dialog.GetDlgItem(IDCANCEL));
             ::PostMessageW(m_dialog.GetDlgItem(IDCANCEL), WM_KEYDOWN, VK_RETURN, 1);
         },
         IDCANCEL},
        {"Escape", [this] { PressKey(m_dialog.m_edit, VK_ESCAPE); }, IDCANCEL},
        {"the close box", [this] { m_dialog.PostMessage(WM_CLOSE); }, IDCANCEL},
        {"a click", [this] { ::PostMessageW(m_dialog.GetDlgItem(IDOK), BM_CLICK, 0, 0); }, IDOK},
    };
    for (const Way& way : ways) {
        SCOPED_TRACE(way.what);
        m_dialog.m_log.clear();
        m_dialog.m_steps.insert(m_dialog.m_steps.end(), {way.act, [] {}, [] {}});
        EXPECT_EQ(m_dialog.DoModal(), way.result);
        EXPECT_EQ(m_dialog.m_log, (std::vector<std::string>{"init", way.result == IDOK ? "ok" : "cancel"}));
        m_dialog.DropSteps();
    }
}

// Whether a button is drawn as the default button.
bool IsDefault(HWND button)
{
    return (SendMessageW(button, WM_GETDLGCODE, 0, 0) & DLGC_DEFPUSHBUTTON) != 0;
}

TEST_F(DialogTest, TheDefaultButtonFollowsTheMouse)
{
    const auto expectDefault = [this](int wanted) {
        for (const int id : {IDOK, IDCANCEL}) {
            EXPECT_EQ(IsDefault(m_dialog.GetDlgItem(id)), id == wanted) << id;
        }
    };
    // A release outside the control presses nothing.
    const auto press = [](HWND control) {
        ::PostMessageW(control, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(3, 3));
        ::PostMessageW(control, WM_LBUTTONUP, 0, MAKELPARAM(-9, -9));
    };
    m_dialog.m_steps = {[&] { press(m_dialog.GetDlgItem(IDCANCEL)); },
                        [&] {
                            EXPECT_EQ(GetFocus(), m_dialog.GetDlgItem(IDCANCEL));
                            expectDefault(IDCANCEL);
                            press(m_dialog.m_edit.m_hWnd);
                        },
                        [&] {
                            EXPECT_EQ(GetFocus(), m_dialog.m_edit.m_hWnd);
                            expectDefault(IDOK);
                            PressKey(m_dialog.m_edit, VK_RETURN);
                        },
                        [] {}, [] {}};
    EXPECT_EQ(m_dialog.DoModal(), IDOK);
}

TEST_F(DialogTest, NothingCancelsWhileTheCancelButtonIsDisabled)
{
    m_dialog.m_steps = {
        [&] { ::EnableWindow(m_dialog.GetDlgItem(IDCANCEL), FALSE); },
        [&] { PressKey(m_dialog.m_edit, VK_ESCAPE); },
        [&] { m_dialog.PostMessage(WM_CLOSE); },
        [&] { m_dialog.PostMessage(WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED)); },
        [] {},
        [] {},
        [&] { ::EnableWindow(m_dialog.GetDlgItem(IDOK), FALSE); },
        [&] { PressKey(m_dialog.m_edit, VK_RETURN); },
        [] {},
    };
    EXPECT_EQ(m_dialog.DoModal(), kStepsOver);
    EXPECT_EQ(m_dialog.m_log, std::vector<std::string>{"init"});
}

TEST_F(DialogTest, TabMovesFromControlToControl)
{
    std::vector<int> focused;
    const auto note = [&] { focused.push_back(GetDlgCtrlID(GetFocus())); };
    const auto tab = [&] {
        note();
        ::PostMessageW(GetFocus(), WM_KEYDOWN, VK_TAB, 1);
    };
    m_dialog.m_steps = {tab, tab, tab, tab, note};
    EXPECT_EQ(m_dialog.DoModal(), kStepsOver);
    EXPECT_EQ(focused,
              (std::vector<int>{IDC_TEMPLATE_TEXT, IDC_TEMPLATE_PREVIEW, IDOK, IDCANCEL, IDC_TEMPLATE_TEXT}));
}

TEST_F(DialogTest, CharactersReachTheControl)
{
    m_dialog.m_text.clear();
    m_dialog.m_steps = {[&] {
                            m_dialog.m_edit.PostMessage(WM_CHAR, L'M', 1);
                            m_dialog.m_edit.PostMessage(WM_CHAR, L'ß', 1);
                        },
                        [&] { EXPECT_EQ(m_dialog.m_edit.GetWindowText(), L"Mß"); }};
    EXPECT_EQ(m_dialog.DoModal(), kStepsOver);
}

// Handles Enter before the dialog does.
class CEnterKeeper : public CWnd
{
public:
    int m_kept = 0;

    bool PreTranslateMessage(MSG& message) override
    {
        if (message.message != WM_KEYDOWN || message.wParam != VK_RETURN) {
            return CWnd::PreTranslateMessage(message);
        }
        ++m_kept;
        return true;
    }
};

TEST_F(DialogTest, AControlMayKeepAKeyFromTheDialog)
{
    CEnterKeeper keeper;
    m_dialog.m_steps = {[&] {
                            m_dialog.m_edit.UnsubclassWindow();
                            ASSERT_TRUE(keeper.SubclassWindow(m_dialog.GetDlgItem(IDC_TEMPLATE_TEXT)));
                            PressKey(keeper, VK_RETURN);
                        },
                        [] {}, [&] { PressKey(keeper, VK_ESCAPE); }, [] {}, [] {}};
    EXPECT_EQ(m_dialog.DoModal(), IDCANCEL);
    EXPECT_EQ(keeper.m_kept, 1);
    EXPECT_EQ(m_dialog.m_log, (std::vector<std::string>{"init", "cancel"}));
}

TEST_F(DialogTest, AnExceptionAtTheStartIsShownAndTheDialogContinues)
{
    CMessageRecorder messages;
    const std::vector<std::function<void()>> failures{[] { throw CTestException(); },
                                                      [] { throw std::runtime_error("no such thing"); }};
    for (const auto& failure : failures) {
        m_dialog.m_onInit = failure;
        EXPECT_EQ(m_dialog.DoModal(), kStepsOver);
        EXPECT_TRUE(m_owner.IsWindowEnabled());
        EXPECT_EQ(m_dialog.m_hWnd, nullptr);
    }
    EXPECT_EQ(messages.TakeTexts(), (std::vector<std::wstring>{
                                        L"(not plain) " + CTestException().GetErrorMessage(),
                                        L"(not plain) " + expected::UnexpectedError(L"no such thing"),
                                    }));
}

class CKeyFailer : public CWnd
{
public:
    bool PreTranslateMessage(MSG& message) override
    {
        if (message.message == WM_KEYDOWN) {
            throw CTestException();
        }
        return CWnd::PreTranslateMessage(message);
    }
};

TEST_F(DialogTest, AnExceptionAtAKeyIsShownAndTheKeyIsHandled)
{
    CMessageRecorder messages;
    CKeyFailer failer;
    m_dialog.m_steps = {[&] {
                            m_dialog.m_edit.UnsubclassWindow();
                            ASSERT_TRUE(failer.SubclassWindow(m_dialog.GetDlgItem(IDC_TEMPLATE_TEXT)));
                            PressKey(failer, VK_ESCAPE);
                        },
                        [] {}, [] {}};
    EXPECT_EQ(m_dialog.DoModal(), IDCANCEL);
    EXPECT_TRUE(m_owner.IsWindowEnabled());
    EXPECT_EQ(messages.TakeTexts(),
              std::vector<std::wstring>{L"(not plain) " + CTestException().GetErrorMessage()});
}

TEST_F(DialogTest, AModelessDialogLeavesItsOwnerEnabled)
{
    HWND window = nullptr;
    {
        CSteppingDialog dialog(&m_owner);
        ASSERT_TRUE(dialog.Create());
        window = dialog.m_hWnd;
        EXPECT_TRUE(m_owner.IsWindowEnabled());
        EXPECT_EQ(GetWindow(window, GW_OWNER), m_owner.m_hWnd);
        EXPECT_EQ(dialog.m_edit.GetWindowText(), L"from the member");
        EXPECT_FALSE(IsWindowVisible(window)) << "the template has no WS_VISIBLE";
    }
    EXPECT_FALSE(IsWindow(window));
}

TEST_F(DialogTest, DataIsExchangedInBothDirections)
{
    ASSERT_TRUE(m_dialog.Create());
    EXPECT_EQ(m_dialog.GetDlgItemText(IDC_TEMPLATE_TEXT), L"from the member");
    EXPECT_EQ(m_dialog.m_edit.m_hWnd, m_dialog.GetDlgItem(IDC_TEMPLATE_TEXT));
    m_dialog.SetDlgItemText(IDC_TEMPLATE_TEXT, L"from the control");
    EXPECT_TRUE(m_dialog.UpdateData(true));
    EXPECT_EQ(m_dialog.m_text, L"from the control");
    m_dialog.m_text = L"and back";
    EXPECT_TRUE(m_dialog.UpdateData(false));
    EXPECT_EQ(m_dialog.GetDlgItemText(IDC_TEMPLATE_TEXT), L"and back");
    EXPECT_EQ(m_dialog.m_edit.m_hWnd, m_dialog.GetDlgItem(IDC_TEMPLATE_TEXT));
}

TEST_F(DialogTest, AMissingControlFailsTheExchange)
{
    ASSERT_TRUE(m_dialog.Create());
    m_dialog.m_missingControl = 4711;
    m_dialog.m_text = L"the others are exchanged all the same";
    EXPECT_FALSE(m_dialog.UpdateData(false));
    EXPECT_EQ(m_dialog.GetDlgItemText(IDC_TEMPLATE_TEXT), L"the others are exchanged all the same");
    EXPECT_FALSE(m_dialog.UpdateData(true));
    m_dialog.m_missingControl = 0;
    EXPECT_TRUE(m_dialog.UpdateData(true));
}

LRESULT CALLBACK CountTexts(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR,
                            DWORD_PTR count)
{
    if (message == WM_SETTEXT) {
        ++*reinterpret_cast<int*>(count);
    }
    return DefSubclassProc(window, message, wParam, lParam);
}

TEST_F(DialogTest, AnUnchangedTextIsNotSetAgain)
{
    ASSERT_TRUE(m_dialog.Create());
    int count = 0;
    ASSERT_TRUE(SetWindowSubclass(m_dialog.GetDlgItem(IDC_TEMPLATE_TEXT), &CountTexts, 2,
                                  reinterpret_cast<DWORD_PTR>(&count)));
    m_dialog.UpdateData(false);
    EXPECT_EQ(count, 0);
    m_dialog.m_text = L"From the member";
    m_dialog.UpdateData(false);
    EXPECT_EQ(count, 1);
}

}  // namespace
