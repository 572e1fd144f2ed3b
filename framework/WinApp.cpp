#include "framework/WinApp.h"

#include <ole2.h>

#include <array>
#include <cstdlib>
#include <exception>
#include <span>
#include <utility>

#include "framework/PendingMessages.h"
#include "framework/Wnd.h"

namespace {

CWinApp* g_app = nullptr;

void Dispatch(MSG& message)
{
    if (!CWnd::WalkPreTranslateTree(message)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

// Posts a WM_QUIT again, for the outer message loops.
void DispatchUnlessQuit(MSG& message)
{
    if (message.message == WM_QUIT) {
        PostQuitMessage(static_cast<int>(message.wParam));
    } else {
        Dispatch(message);
    }
}

constexpr MessageRange kKeys{WM_KEYDOWN, WM_KEYDOWN};

constexpr MessageRange kButtons{WM_LBUTTONDOWN, WM_XBUTTONDBLCLK};
constexpr MessageRange kFrameButtons{WM_NCLBUTTONDOWN, WM_NCXBUTTONDBLCLK};
constexpr MessageRange kFrameCommands{WM_SYSCOMMAND, WM_SYSCOMMAND};
constexpr MessageRange kAllKeys{WM_KEYFIRST, WM_KEYLAST};
constexpr MessageRange kAnything{0, 0};

bool IsEscapeNextKey()
{
    MSG message{};
    return PeekMessageW(&message, nullptr, kKeys.first, kKeys.last, PM_NOREMOVE) != FALSE &&
           message.wParam == VK_ESCAPE;
}

// The order in which PumpPendingMessage looks for messages. Presses and clicks come before other key
// messages. Otherwise the release of the key that started the long operation would use up the first call.
// Unless Escape is the next key, buttons come before keys: otherwise a click would wait for all presses of a
// repeating key.
std::span<const MessageRange> PumpOrder()
{
    static constexpr std::array kKeysFirst{kKeys,          kButtons, kFrameButtons,
                                           kFrameCommands, kAllKeys, kAnything};
    static constexpr std::array kButtonsFirst{kButtons, kFrameButtons, kFrameCommands,
                                              kKeys,    kAllKeys,      kAnything};
    static constexpr std::array kNoInput{kAnything};
    if (!MayHavePendingInput()) {
        return kNoInput;
    }
    return IsEscapeNextKey() ? std::span<const MessageRange>(kKeysFirst) : kButtonsFirst;
}

// Ends the process by an exception that no handler can catch ("RaiseFailFastException function"). The stack
// is usually still the stack of the throw, so a crash dump shows where the exception was thrown.
[[noreturn]] void FailFast()
{
    RaiseFailFastException(nullptr, nullptr, 0);
    std::abort();
}

}  // namespace

CWinApp::CWinApp(std::wstring name) : m_name(std::move(name))
{
    std::set_terminate(&FailFast);
    g_app = this;
}

CWinApp::~CWinApp()
{
    g_app = nullptr;
}

CWinApp* CWinApp::Get()
{
    return g_app;
}

int CWinApp::Run()
{
    InitInstance();
    if (m_oleInitialized) {
        m_messageFilter.Revoke();
        OleUninitialize();
    }
    return 0;
}

bool CWinApp::PumpMessage()
{
    MSG message{};
    if (GetMessageW(&message, nullptr, 0, 0) <= 0) {
        PostQuitMessage(static_cast<int>(message.wParam));
        return false;
    }
    Dispatch(message);
    return true;
}

void CWinApp::PumpPendingMessage()
{
    if (g_app != nullptr) {
        g_app->GetMessageFilter().ReturnHeldInput();
    }
    MSG message{};
    for (const MessageRange& range : PumpOrder()) {
        if (PeekMessageW(&message, nullptr, range.first, range.last, PM_REMOVE) != FALSE) {
            DispatchUnlessQuit(message);
            return;
        }
    }
}

void CWinApp::DropPendingInput()
{
    if (g_app != nullptr) {
        g_app->GetMessageFilter().DropHeldInput();
    }
    DropPendingMessages(kAllInput);
}

bool CWinApp::IsSessionEnding()
{
    return g_app != nullptr && g_app->m_sessionEnding;
}

bool CWinApp::InitializeOle()
{
    m_oleInitialized = SUCCEEDED(OleInitialize(nullptr));
    return m_oleInitialized && m_messageFilter.Register();
}
