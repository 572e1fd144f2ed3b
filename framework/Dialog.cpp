#include "framework/Dialog.h"

#include <array>

#include "framework/ResourceHandle.h"
#include "framework/WinApp.h"

namespace {

bool IsKeyMessage(const MSG& message)
{
    return message.message >= WM_KEYFIRST && message.message <= WM_KEYLAST;
}

}  // namespace

CDialog::CDialog(UINT templateId, CWnd* owner) : m_nTemplateId(templateId), m_pOwner(owner) {}

CDialog::~CDialog()
{
    CDialog::DestroyWindow();
}

INT_PTR CDialog::DoModal()
{
    const HWND owner = FindOwner();
    const bool ownerWasEnabled = owner != nullptr && ::IsWindowEnabled(owner) != FALSE;
    if (ownerWasEnabled) {
        ::EnableWindow(owner, FALSE);
    }
    m_bEnding = false;
    m_nResult = -1;
    const bool created = CreateFromTemplate(owner);
    if (created) {
        RunModalLoop();
    }
    // The owner is enabled before the dialog goes: otherwise the system would activate another program's
    // window.
    if (ownerWasEnabled) {
        ::EnableWindow(owner, TRUE);
    }
    if (created) {
        if (owner != nullptr && ::GetActiveWindow() == m_hWnd) {
            ::SetActiveWindow(owner);
        }
        DestroyWindow();
    }
    return m_nResult;
}

bool CDialog::Create()
{
    return CreateFromTemplate(FindOwner());
}

// Keys are offered to the dialog manager: Tab, arrows, Enter, Escape and mnemonics.
bool CDialog::PreTranslateMessage(MSG& message)
{
    return IsKeyMessage(message) && IsDialogMessageW(m_hWnd, &message) != FALSE;
}

const MessageMap* CDialog::GetMessageMap() const
{
    static constexpr std::array kEntries{
        OnMessage<&CDialog::OnSysColorChange>(WM_SYSCOLORCHANGE),
        ::OnCommand<&CDialog::OnOK>(IDOK),
        ::OnCommand<&CDialog::OnCancel>(IDCANCEL),
    };
    static const MessageMap kMap{CWnd::GetMessageMap(), kEntries};
    return &kMap;
}

// A command that comes from a disabled button is dropped: Escape and the close box reach the cancel command
// without asking whether its button may be pressed.
bool CDialog::OnCommand(WPARAM wParam, LPARAM lParam)
{
    const HWND control = GetDlgItem(LOWORD(wParam));
    if (HIWORD(wParam) == BN_CLICKED && control != nullptr && ::IsWindowEnabled(control) == FALSE) {
        return true;
    }
    return CWnd::OnCommand(wParam, lParam);
}

// The system tells top-level windows only that its colours have changed, for instance to high contrast.
void CDialog::OnSysColorChange()
{
    Default();
    EnumChildWindows(
        m_hWnd,
        [](HWND child, LPARAM) -> BOOL {
            ::SendMessageW(child, WM_SYSCOLORCHANGE, 0, 0);
            return TRUE;
        },
        0);
}

bool CDialog::OnInitDialog()
{
    UpdateData(false);
    return true;
}

void CDialog::EndDialog(INT_PTR result)
{
    m_nResult = result;
    m_bEnding = true;
    PostMessage(WM_NULL);  // wakes the loop
}

INT_PTR CALLBACK CDialog::DialogProc(HWND window, UINT message, WPARAM, LPARAM lParam)
{
    if (message != WM_INITDIALOG) {
        return FALSE;
    }
    auto* self = reinterpret_cast<CDialog*>(lParam);
    self->SubclassWindow(window);
    bool defaultFocus = true;
    Guard([&] { defaultFocus = self->OnInitDialog(); });
    return defaultFocus ? TRUE : FALSE;
}

bool CDialog::CreateFromTemplate(HWND owner)
{
    return CreateDialogParamW(GetResourceHandle(), MAKEINTRESOURCEW(m_nTemplateId), owner, &DialogProc,
                              reinterpret_cast<LPARAM>(this)) != nullptr;
}

HWND CDialog::FindOwner() const
{
    const CWnd* owner = m_pOwner;
    if (owner == nullptr && CWinApp::Get() != nullptr && CWinApp::Get()->m_pMainWnd != this) {
        owner = CWinApp::Get()->m_pMainWnd;
    }
    return owner != nullptr ? owner->m_hWnd : nullptr;
}

void CDialog::RunModalLoop()
{
    if (!m_bEnding) {
        ShowWindow(SW_SHOWNORMAL);
    }
    while (!m_bEnding && CWinApp::PumpMessage()) {
    }
}
