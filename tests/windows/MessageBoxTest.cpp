#include "framework/MessageBox.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "framework/ScopeExit.h"
#include "framework/WinApp.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"

namespace {

constexpr int kTextControl = 0xFFFF;  // the text in the system's message boxes
constexpr UINT kLook = 50;            // milliseconds

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
        for (const int id : {IDOK, IDCANCEL, IDYES, IDNO, IDHELP}) {
            if (GetDlgItem(box, id) != nullptr) {
                m_seen.buttons.push_back(id);
            }
        }
        PostMessageW(box, WM_COMMAND, MAKEWPARAM(button, BN_CLICKED),
                     reinterpret_cast<LPARAM>(GetDlgItem(box, button)));
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

// The taskbar shows no button for it otherwise.
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
