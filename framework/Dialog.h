#pragma once

#include "framework/Wnd.h"

// A dialog made from a template of the resource module, modal or modeless.
class CDialog : public CWnd
{
public:
    // `owner`: the window that the dialog belongs to; null takes the application's main window when there is
    // one.
    explicit CDialog(UINT templateId, CWnd* owner = nullptr);
    ~CDialog() override;

    // Runs the dialog in a message loop of its own until EndDialog, with its owner disabled. Returns
    // EndDialog's value, or -1 when the dialog could not be made.
    INT_PTR DoModal();

    // Makes the dialog modeless and shows it as its template says. False on failure.
    bool Create();

    // Leaves the dialog's messages to the dialog manager (IsDialogMessage). Enter presses the push button
    // that has the focus, however the focus came there, and the default button when it is elsewhere.
    bool PreTranslateMessage(MSG& message) override;

protected:
    // Gives the focus to a control of the dialog, and the default button's frame to where it then belongs
    // (WM_NEXTDLGCTL).
    void FocusControl(const CWnd& control) const;

    [[nodiscard]] const MessageMap* GetMessageMap() const override;
    bool OnCommand(WPARAM wParam, LPARAM lParam) override;

    // Called when the window and its controls exist. The base moves the members' data into the controls.
    // True: the system gives the focus to the first control.
    virtual bool OnInitDialog();

    // The commands of IDOK and IDCANCEL (Enter and Escape, the close box): both end a modal dialog.
    virtual void OnOK() { EndDialog(IDOK); }
    virtual void OnCancel() { EndDialog(IDCANCEL); }

    // Ends the modal loop once the handler in hand returns.
    void EndDialog(INT_PTR result);

    // EndDialog was called, so that the window is about to go.
    [[nodiscard]] bool IsEnding() const { return m_ending; }

private:
    void OnSysColorChange();
    static INT_PTR CALLBACK DialogProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    bool CreateFromTemplate(HWND owner);
    void MoveDefaultButton() const;
    [[nodiscard]] HWND FindOwner() const;
    void RunModalLoop();

    UINT m_templateId;
    CWnd* m_owner;
    bool m_ending = false;
    INT_PTR m_result = -1;
};
