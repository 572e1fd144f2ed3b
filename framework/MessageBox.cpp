#include "framework/MessageBox.h"

#include <shellapi.h>

#include <array>
#include <utility>

#include "framework/ScopeExit.h"
#include "framework/WinApp.h"
#include "framework/Wnd.h"

namespace {

MessageListener g_listener;
MessageObserver g_observer;

// The request of the open box, for the help callback, which has no user data ("MSGBOXPARAMSW structure").
const MessageRequest* g_shown = nullptr;

// Returns the owner of a message box; null while the main window is not visible. With an invisible owner the
// box would have no button on the taskbar ("Taskbar Extensions"), and a covered box could not be found.
HWND FindOwner()
{
    const CWinApp* app = CWinApp::Get();
    if (app == nullptr || app->m_mainWindow == nullptr ||
        IsWindowVisible(app->m_mainWindow->m_hWnd) == FALSE) {
        return nullptr;
    }
    return GetLastActivePopup(app->m_mainWindow->m_hWnd);
}

// The full path of the HTML Help viewer. The system would search for a bare name in the working folder, too.
std::wstring HelpViewer()
{
    std::array<wchar_t, MAX_PATH> folder{};
    GetSystemWindowsDirectoryW(folder.data(), MAX_PATH);
    return std::wstring(folder.data()) + L"\\hh.exe";
}

void CALLBACK ShowHelpTopic(HELPINFO* info)
{
    if (g_shown == nullptr) {
        return;
    }
    const std::wstring parameters =
        L"-mapid " + std::to_wstring(info->dwContextId) + L" \"" + g_shown->helpFile + L"\"";
    ShellExecuteW(nullptr, L"open", HelpViewer().c_str(), parameters.c_str(), nullptr, SW_SHOWNORMAL);
}

bool IsQuestion(const MessageRequest& request)
{
    return (request.type & MB_TYPEMASK) == MB_YESNO;
}

void TellObserver(bool open)
{
    if (g_observer) {
        g_observer(open);
    }
}

int ShowBox(const MessageRequest& request)
{
    CWinApp* app = CWinApp::Get();
    if (app != nullptr) {
        app->GetMessageFilter().HoldInput();  // so that earlier input does not answer the box
    }
    const std::wstring title = app != nullptr ? app->GetName() : std::wstring();
    MSGBOXPARAMSW parameters{};
    parameters.cbSize = sizeof parameters;
    parameters.hwndOwner = FindOwner();
    parameters.lpszText = request.text.c_str();
    parameters.lpszCaption = title.c_str();
    parameters.dwStyle = request.type;
    if (parameters.hwndOwner == nullptr) {
        parameters.dwStyle |= MB_TASKMODAL;
    }
    if (!request.helpFile.empty()) {
        parameters.dwStyle |= MB_HELP;
        parameters.dwContextHelpId = request.helpContext;
        parameters.lpfnMsgBoxCallback = &ShowHelpTopic;
    }
    const CScopeExit restore([outer = std::exchange(g_shown, &request)] { g_shown = outer; });
    return MessageBoxIndirectW(&parameters);
}

}  // namespace

int ShowMessage(const std::wstring& text, UINT type)
{
    return ShowMessage(MessageRequest{text, type, {}, 0});
}

int ShowMessage(const MessageRequest& request)
{
    if (CWinApp::IsSessionEnding()) {
        return IsQuestion(request) ? IDNO : IDOK;
    }
    TellObserver(true);
    const CScopeExit answered([] { TellObserver(false); });
    if (g_listener) {
        if (const std::optional<int> button = g_listener(request)) {
            return *button;
        }
    }
    return ShowBox(request);
}

MessageListener SetMessageListener(MessageListener listener)
{
    return std::exchange(g_listener, std::move(listener));
}

MessageObserver SetMessageObserver(MessageObserver observer)
{
    return std::exchange(g_observer, std::move(observer));
}
