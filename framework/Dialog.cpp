#include "framework/Dialog.h"

#include <array>
#include <utility>

#include "framework/ResourceHandle.h"
#include "framework/WinApp.h"

namespace {

// The start of an extended dialog template ("DLGTEMPLATEEX structure"), which no system header declares. It
// can be read in place, because resources are aligned.
struct DialogTemplateStart
{
    WORD version;
    WORD signature;
    DWORD helpId;
    DWORD exStyle;
    DWORD style;
    WORD itemCount;
    short x;
    short y;
    short width;
    short height;
};

// The WM_GETDLGCODE bits that only push buttons have.
LRESULT PushButtonCode(HWND control)
{
    return ::SendMessageW(control, WM_GETDLGCODE, 0, 0) & (DLGC_DEFPUSHBUTTON | DLGC_UNDEFPUSHBUTTON);
}

}  // namespace

CDialog::CDialog(UINT templateId, CWnd* owner) : m_templateId(templateId), m_owner(owner) {}

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
    m_ending = false;
    m_result = -1;
    const bool created = CreateFromTemplate(owner);
    if (created) {
        RunModalLoop();
    }
    // The owner is enabled first: with a disabled owner, destroying the dialog would activate another
    // program's window ("EnableWindow function").
    if (ownerWasEnabled) {
        ::EnableWindow(owner, TRUE);
    }
    if (created) {
        if (owner != nullptr && ::GetActiveWindow() == m_hWnd) {
            ::SetActiveWindow(owner);
        }
        DestroyWindow();
    }
    return m_result;
}

bool CDialog::Create()
{
    return CreateFromTemplate(FindOwner());
}

// The dialog manager moves the default button with the focus only when it moves the focus itself
// ("IsDialogMessageW function"). After SetFocus, and on some systems after a click, MoveDefaultButton moves
// the default button.
bool CDialog::PreTranslateMessage(MSG& message)
{
    if (message.message == WM_KEYDOWN && message.wParam == VK_RETURN) {
        MoveDefaultButton();
    }
    const HWND focus = ::GetFocus();
    const bool handled = IsDialogMessageW(m_hWnd, &message) != FALSE;
    if (::GetFocus() != focus) {
        MoveDefaultButton();
    }
    return handled;
}

void CDialog::FocusControl(const CWnd& control) const
{
    SendMessage(WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(control.m_hWnd), TRUE);
}

// Gives the default style to the push button with the focus or, while no push button has the focus, to the
// dialog's own default button (DM_GETDEFID). Enter presses the button with the default style, and only that
// button has the frame of the default button.
void CDialog::MoveDefaultButton() const
{
    HWND wanted = ::GetFocus();
    if (::GetParent(wanted) != m_hWnd || PushButtonCode(wanted) == 0) {
        wanted = GetDlgItem(LOWORD(SendMessage(DM_GETDEFID)));
    }
    for (HWND control = ::GetWindow(m_hWnd, GW_CHILD); control != nullptr;
         control = ::GetWindow(control, GW_HWNDNEXT)) {
        const LRESULT other = control == wanted ? DLGC_UNDEFPUSHBUTTON : DLGC_DEFPUSHBUTTON;
        if (PushButtonCode(control) == other) {
            const WPARAM style = control == wanted ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON;
            ::SendMessageW(control, BM_SETSTYLE, style, TRUE);
        }
    }
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

// Drops commands of disabled buttons: Escape and the close box send the cancel command even while the Cancel
// button is disabled.
bool CDialog::OnCommand(WPARAM wParam, LPARAM lParam)
{
    const HWND control = GetDlgItem(LOWORD(wParam));
    if (HIWORD(wParam) == BN_CLICKED && control != nullptr && ::IsWindowEnabled(control) == FALSE) {
        return true;
    }
    return CWnd::OnCommand(wParam, lParam);
}

// Passes the message on to the controls: the system sends it to top-level windows only, but common controls
// need it, too ("WM_SYSCOLORCHANGE message").
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

SIZE CDialog::TemplateSize() const
{
    const HINSTANCE module = GetResourceHandle();
    const HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(m_templateId), RT_DIALOG);
    const auto* start = static_cast<const DialogTemplateStart*>(LockResource(LoadResource(module, found)));
    return {start->width, start->height};
}

void CDialog::EndDialog(INT_PTR result)
{
    m_result = result;
    m_ending = true;
    PostMessage(WM_NULL);  // wakes the loop
}

INT_PTR CALLBACK CDialog::DialogProc(HWND window, UINT message, WPARAM, LPARAM lParam)
{
    if (message != WM_INITDIALOG) {
        return FALSE;
    }
    auto* self = reinterpret_cast<CDialog*>(lParam);
    bool defaultFocus = true;
    Guard([&] {
        self->SubclassWindow(window);
        defaultFocus = self->OnInitDialog();
    });
    return defaultFocus ? TRUE : FALSE;
}

// Destroys a window that SubclassWindow could not bind for lack of memory: its messages would reach no
// handler, so nothing would ever end the modal loop.
bool CDialog::CreateFromTemplate(HWND owner)
{
    const HWND window = CreateDialogParamW(GetResourceHandle(), MAKEINTRESOURCEW(m_templateId), owner,
                                           &DialogProc, reinterpret_cast<LPARAM>(this));
    if (window != nullptr && m_hWnd == nullptr) {
        ::DestroyWindow(window);
    }
    return m_hWnd != nullptr;
}

HWND CDialog::FindOwner() const
{
    const CWnd* owner = m_owner;
    if (owner == nullptr && CWinApp::Get() != nullptr && CWinApp::Get()->m_mainWindow != this) {
        owner = CWinApp::Get()->m_mainWindow;
    }
    return owner != nullptr ? owner->m_hWnd : nullptr;
}

void CDialog::RunModalLoop()
{
    if (!m_ending) {
        ShowWindow(SW_SHOWNORMAL);
    }
    while (!m_ending && CWinApp::PumpMessage()) {
        CallIdle();
    }
}

// The posted WM_NULL wakes the modal loop: if a sent message's handler makes the request, GetMessage goes on
// waiting after the handler returns ("GetMessage function"). Under Wine something else ends the wait soon
// after, so no test can show the need for WM_NULL.
void CDialog::RequestIdle()
{
    if (!std::exchange(m_idleRequested, true)) {
        PostMessage(WM_NULL);
    }
}

void CDialog::CallIdle()
{
    MSG next{};
    const bool isIdle =
        m_idleRequested && !m_ending && PeekMessageW(&next, nullptr, 0, 0, PM_NOREMOVE) == FALSE;
    if (isIdle) {
        m_idleRequested = false;
        Guard([this] { OnIdle(); });
    }
}
