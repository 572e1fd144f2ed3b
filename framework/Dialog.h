#pragma once

#include "framework/Wnd.h"

// A dialog made from a template of the resource module, modal or modeless.
class CDialog : public CWnd
{
public:
    // `owner`: the owner window; null for the application's main window, if it has one.
    explicit CDialog(UINT templateId, CWnd* owner = nullptr);
    ~CDialog() override;

    // Runs the dialog until EndDialog, with its owner disabled. Returns EndDialog's value, or -1 when the
    // dialog could not be created.
    INT_PTR DoModal();

    // Creates the dialog as a modeless dialog. Returns false on failure.
    bool Create();

    // Passes messages to the dialog manager (IsDialogMessage). Enter presses the push button with the focus,
    // however it got the focus, or else the default button.
    bool PreTranslateMessage(MSG& message) override;

protected:
    // Sets the focus and moves the default button with it (WM_NEXTDLGCTL).
    void FocusControl(const CWnd& control) const;

    [[nodiscard]] const MessageMap* GetMessageMap() const override;
    bool OnCommand(WPARAM wParam, LPARAM lParam) override;

    // WM_INITDIALOG. The base copies the members into the controls. Return true to let the system set the
    // focus to the first control.
    virtual bool OnInitDialog();

    // Handle IDOK, and IDCANCEL (also Escape and the close box). Both functions end a modal dialog.
    virtual void OnOK() { EndDialog(IDOK); }
    virtual void OnCancel() { EndDialog(IDCANCEL); }

    // The size of the client area in the dialog template, in dialog units.
    [[nodiscard]] SIZE TemplateSize() const;

    // Makes the modal loop call OnIdle once, as soon as no message is left in the queue.
    void RequestIdle();
    virtual void OnIdle() {}
    // Calls OnIdle if it was requested and no message is left in the queue.
    void CallIdle();

    // Ends the modal loop when the current handler returns.
    void EndDialog(INT_PTR result);

    // Whether EndDialog was called: the window is about to be destroyed.
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
    bool m_idleRequested = false;
    INT_PTR m_result = -1;
};
