#include "framework/WinApp.h"

#include <ole2.h>

#include <array>
#include <utility>

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

}  // namespace

CWinApp::CWinApp(std::wstring name) : m_name(std::move(name))
{
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
    MSG message{};
    if (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) == FALSE) {
        return;
    }
    if (message.message == WM_QUIT) {
        PostQuitMessage(static_cast<int>(message.wParam));
        return;
    }
    Dispatch(message);
}

void CWinApp::DropPendingInput()
{
    struct Range
    {
        UINT first;
        UINT last;
    };
    constexpr std::array kInput{Range{WM_KEYFIRST, WM_KEYLAST}, Range{WM_MOUSEFIRST, WM_MOUSELAST},
                                Range{WM_NCMOUSEMOVE, WM_NCXBUTTONDBLCLK},
                                Range{WM_NCPOINTERUPDATE, WM_POINTERROUTEDRELEASED}};
    for (const Range& range : kInput) {
        MSG message{};
        while (PeekMessageW(&message, nullptr, range.first, range.last, PM_REMOVE) != FALSE) {
            if (message.message == WM_QUIT) {  // passes every filter ("PeekMessageW function")
                PostQuitMessage(static_cast<int>(message.wParam));
                return;
            }
        }
    }
}

bool CWinApp::InitializeOle()
{
    m_oleInitialized = SUCCEEDED(OleInitialize(nullptr));
    return m_oleInitialized && m_messageFilter.Register();
}
