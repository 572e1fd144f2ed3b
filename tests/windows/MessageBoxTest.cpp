#include "framework/MessageBox.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "framework/ScopeExit.h"
#include "framework/WinApp.h"
#include "tests/support/MessageBoxOnScreen.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"

namespace {

constexpr int kTextControl = 0xFFFF;  // id of the text in the system's message boxes
constexpr UINT kLook = 50;            // milliseconds between two searches for the box

// The contents of a message box.
struct Seen
{
    std::wstring title;
    std::wstring text;
    HWND owner = nullptr;
    bool ownerEnabled = true;
    std::vector<int> buttons;
};

bool IsBox(HWND window)
{
    return IsOfClass(window, L"#32770") && IsWindowVisible(window) != FALSE &&
           GetDlgItem(window, kTextControl) != nullptr;
}

std::wstring TextOf(HWND window)
{
    std::array<wchar_t, 512> text{};
    GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
    return text.data();
}

// Waits for the message box of this thread, records it and presses the button.
class CPresser
{
public:
    explicit CPresser(int button) : m_timer(kLook, [this, button] { Look(button); }) {}

    Seen m_seen;

private:
    void Look(int button)
    {
        const HWND box = FindWindowOfThread(&IsBox);
        if (box == nullptr) {
            return;
        }
        m_seen = {TextOf(box), TextOf(GetDlgItem(box, kTextControl)), GetWindow(box, GW_OWNER), true, {}};
        m_seen.ownerEnabled = m_seen.owner != nullptr && IsWindowEnabled(m_seen.owner) != FALSE;
        if (const auto onScreen = CMessageBoxOnScreen::Find(GetCurrentProcessId())) {
            m_seen.buttons = onScreen->Buttons();
            onScreen->PostPress(button);
        }
    }

    CTimerScope m_timer;
};

TEST(MessageBox, TheListenersAnswerIsTheResult)
{
    std::vector<MessageRequest> requests;
    const CListenerScope listener([&requests](const MessageRequest& request) {
        requests.push_back(request);
        return IDNO;
    });
    EXPECT_EQ(ShowMessage(L"Wirklich?", MB_YESNO | MB_ICONQUESTION), IDNO);
    EXPECT_EQ(ShowMessage(L"Nur so"), IDNO);
    EXPECT_EQ(ShowMessage(MessageRequest{L"Mit Hilfe", MB_OK, L"C:\\help.chm", 12}), IDNO);
    ASSERT_EQ(requests.size(), 3U);
    EXPECT_EQ(requests[0].text, L"Wirklich?");
    EXPECT_EQ(requests[0].type, static_cast<UINT>(MB_YESNO | MB_ICONQUESTION));
    EXPECT_EQ(requests[0].helpFile, L"");
    EXPECT_EQ(requests[1].text, L"Nur so");
    EXPECT_EQ(requests[1].type, static_cast<UINT>(MB_OK));
    EXPECT_EQ(requests[2].helpFile, L"C:\\help.chm");
    EXPECT_EQ(requests[2].helpContext, 12U);
}

TEST(MessageBox, SettingAListenerReturnsThePreviousOne)
{
    const CListenerScope outer([](const MessageRequest&) { return 11; });
    {
        const CListenerScope inner([](const MessageRequest&) { return 12; });
        EXPECT_EQ(ShowMessage(L"inner"), 12);
    }
    EXPECT_EQ(ShowMessage(L"outer"), 11);
    const MessageListener before = SetMessageListener({});
    ASSERT_TRUE(before);
    EXPECT_EQ(before(MessageRequest{}), 11);
}

TEST(MessageBox, ABoxIsShownUnderTheApplicationsTitleAndOwnedByTheMainWindow)
{
    CPlainWindow window;
    const CMainWindowScope mainWindow(&window);
    const CPresser presser(IDOK);
    EXPECT_EQ(ShowMessage(L"Das Verzeichnis wurde nicht gefunden."), IDOK);
    EXPECT_EQ(presser.m_seen.title, L"Talvenor");
    EXPECT_EQ(presser.m_seen.text, L"Das Verzeichnis wurde nicht gefunden.");
    EXPECT_EQ(presser.m_seen.owner, window.m_hWnd);
    EXPECT_FALSE(presser.m_seen.ownerEnabled);
    EXPECT_EQ(presser.m_seen.buttons, std::vector<int>{IDOK});
    EXPECT_TRUE(window.IsWindowEnabled());
}

TEST(MessageBox, WithoutAnAnswerOfTheListenerTheBoxAppears)
{
    int asked = 0;
    const CListenerScope listener([&asked](const MessageRequest&) -> std::optional<int> {
        ++asked;
        return std::nullopt;
    });
    CPlainWindow window;
    const CMainWindowScope mainWindow(&window);
    const CPresser presser(IDNO);
    EXPECT_EQ(ShowMessage(L"Ja oder nein?", MB_YESNO | MB_ICONQUESTION), IDNO);
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(presser.m_seen.text, L"Ja oder nein?");
    EXPECT_EQ(presser.m_seen.buttons, (std::vector<int>{IDYES, IDNO}));
}

TEST(MessageBox, WhileTheSessionEndsNothingIsAskedAndTheAnswerIsNo)
{
    int asked = 0;
    const CListenerScope listener([&asked](const MessageRequest&) {
        ++asked;
        return IDYES;
    });
    CWinApp::Get()->SetSessionEnding(true);
    const CScopeExit sessionStays([] { CWinApp::Get()->SetSessionEnding(false); });
    EXPECT_EQ(ShowMessage(L"Ja oder nein?", MB_YESNO | MB_ICONQUESTION), IDNO);
    EXPECT_EQ(ShowMessage(L"Das Verzeichnis wurde nicht gefunden."), IDOK);
    EXPECT_EQ(asked, 0);
}

TEST(MessageBox, YesIsAnswered)
{
    CPlainWindow window;
    const CMainWindowScope mainWindow(&window);
    const CPresser presser(IDYES);
    EXPECT_EQ(ShowMessage(L"Ja oder nein?", MB_YESNO | MB_ICONQUESTION), IDYES);
}

TEST(MessageBox, TheOwnerIsTheWindowTheUserWorksIn)
{
    CPlainWindow window;
    const CMainWindowScope mainWindow(&window);
    const CPlainWindow popup(window.m_hWnd, WS_POPUP | WS_CAPTION | WS_VISIBLE);
    SetActiveWindow(popup.m_hWnd);
    ASSERT_EQ(GetLastActivePopup(window.m_hWnd), popup.m_hWnd);
    const CPresser presser(IDOK);
    EXPECT_EQ(ShowMessage(L"Über dem Fortschritt"), IDOK);
    EXPECT_EQ(presser.m_seen.owner, popup.m_hWnd);
    EXPECT_TRUE(popup.IsWindowEnabled());
}

// A message box with an invisible owner gets no button on the taskbar.
TEST(MessageBox, BeforeTheMainWindowIsShownItHasNoOwner)
{
    CPlainWindow window(nullptr, WS_OVERLAPPEDWINDOW);
    const CMainWindowScope mainWindow(&window);
    const CPresser presser(IDOK);
    EXPECT_EQ(ShowMessage(L"text"), IDOK);
    EXPECT_EQ(presser.m_seen.text, L"text");
    EXPECT_EQ(presser.m_seen.owner, nullptr);
}

TEST(MessageBox, WithoutAMainWindowItHasNoOwner)
{
    const CMainWindowScope mainWindow(nullptr);
    const CPresser presser(IDOK);
    EXPECT_EQ(ShowMessage(L"Beim Start"), IDOK);
    EXPECT_EQ(presser.m_seen.text, L"Beim Start");
    EXPECT_EQ(presser.m_seen.owner, nullptr);
}

// A window with the class and the controls of a system message box. The buttons have the given ids.
class CBoxOfWindows
{
public:
    explicit CBoxOfWindows(const std::vector<int>& buttons)
        : m_window(CreateWindowW(L"#32770", L"Talvenor", WS_POPUP | WS_VISIBLE, 0, 0, 300, 100, nullptr,
                                 nullptr, nullptr, nullptr))
    {
        Add(L"Static", kTextControl, 0);
        int left = 10;
        for (const int button : buttons) {
            Add(L"Button", button, left += 60);
        }
    }

    HWND Add(const wchar_t* windowClass, int id, int left) const
    {
        return CreateWindowW(windowClass, L"OK", WS_CHILD | WS_VISIBLE, left, 0, 50, 20, m_window.get(),
                             reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
    }

    const UniqueOwner<HWND, ::DestroyWindow> m_window;
};

TEST(MessageBoxOnScreen, OKAloneIsRecognisedWhateverItsNumber)
{
    struct Case
    {
        std::vector<int> numbers;
        std::vector<int> answers;
    };
    const std::vector<Case> cases{{{IDCANCEL}, {IDOK}},
                                  {{IDOK}, {IDOK}},
                                  {{IDCANCEL, IDHELP}, {IDOK, IDHELP}},
                                  {{IDOK, IDCANCEL}, {IDOK, IDCANCEL}},
                                  {{IDYES, IDNO}, {IDYES, IDNO}}};
    for (const Case& each : cases) {
        const CBoxOfWindows box(each.numbers);
        const auto found = CMessageBoxOnScreen::Find(GetCurrentProcessId());
        ASSERT_TRUE(found);
        EXPECT_EQ(found->Buttons(), each.answers);
        found->PostPress(each.answers.front());
        MSG message{};
        ASSERT_TRUE(PeekMessageW(&message, box.m_window.get(), WM_COMMAND, WM_COMMAND, PM_REMOVE));
        EXPECT_EQ(LOWORD(message.wParam), each.numbers.front());
    }
}

TEST(MessageBox, AHelpButtonIsThereOnlyWithAHelpFile)
{
    CPlainWindow window;
    const CMainWindowScope mainWindow(&window);
    const CPresser presser(IDOK);
    EXPECT_EQ(ShowMessage(MessageRequest{L"Fehler", MB_OK, L"C:\\cad.chm", 7}), IDOK);
    EXPECT_EQ(presser.m_seen.buttons, (std::vector<int>{IDOK, IDHELP}));
    EXPECT_EQ(ShowMessage(MessageRequest{L"Fehler", MB_OK, L"", 7}), IDOK);
    EXPECT_EQ(presser.m_seen.buttons, std::vector<int>{IDOK});
}

}  // namespace
