#include "framework/MessageBox.h"

#include <shellapi.h>

#include <array>
#include <utility>

#include "framework/WinApp.h"
#include "framework/Wnd.h"

namespace {

MessageListener g_listener;

// The request whose box is open; the system's help callback gets no pointer of ours.
const MessageRequest* g_shown = nullptr;

HWND FindOwner()
{
    const CWinApp* app = CWinApp::Get();
    if (app == nullptr || app->m_pMainWnd == nullptr || app->m_pMainWnd->m_hWnd == nullptr) {
        return nullptr;
    }
    return GetLastActivePopup(app->m_pMainWnd->m_hWnd);
}

// The viewer of compiled help, by its whole path: a name alone would be looked for in the working folder,
// too.
std::wstring HelpViewer()
{
    std::array<wchar_t, MAX_PATH> folder{};
    GetSystemWindowsDirectoryW(folder.data(), MAX_PATH);
    return std::wstring(folder.data()) + L"\\hh.exe";
}

// The help button: the viewer of compiled help opens the topic.
void CALLBACK ShowHelpTopic(HELPINFO* info)
{
    if (g_shown == nullptr) {
        return;
    }
    const std::wstring parameters =
        L"-mapid " + std::to_wstring(info->dwContextId) + L" \"" + g_shown->helpFile + L"\"";
    ShellExecuteW(nullptr, L"open", HelpViewer().c_str(), parameters.c_str(), nullptr, SW_SHOWNORMAL);
}

int ShowBox(const MessageRequest& request)
{
    const CWinApp* app = CWinApp::Get();
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
    const MessageRequest* outer = std::exchange(g_shown, &request);
    const int answer = MessageBoxIndirectW(&parameters);
    g_shown = outer;
    return answer;
}

}  // namespace

int ShowMessage(const std::wstring& text, UINT type)
{
    return ShowMessage(MessageRequest{text, type, {}, 0});
}

int ShowMessage(const MessageRequest& request)
{
    if (g_listener) {
        if (const std::optional<int> answer = g_listener(request)) {
            return *answer;
        }
    }
    return ShowBox(request);
}

MessageListener SetMessageListener(MessageListener listener)
{
    return std::exchange(g_listener, std::move(listener));
}
