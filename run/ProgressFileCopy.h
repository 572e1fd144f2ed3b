#pragma once

#include <string>

#include "cad/ProgressView.h"
#include "framework/Controls.h"
#include "framework/Dialog.h"

// The modeless progress dialog of a conversion run: three text lines, a bar for the current part, a bar for
// all parts, and a cancel button that only sets a flag. The run sets texts and bars, polls the flag and
// destroys the window.
class CProgressFileCopy : public CDialog, public CProgressView
{
public:
    // Creates and shows the dialog, with both bars from `lower` to `upper` and at `start`.
    CProgressFileCopy(CWnd* owner, int lower, int upper, int start);

    void SetFirstText(const std::wstring& text) override { m_strFirst = text; }
    void SetSecondText(const std::wstring& text) override { m_strSecond = text; }
    void SetThirdText(const std::wstring& text) override { m_strThird = text; }

    // Sets the texts of the controls, and repaints the dialog and its owner unless that was done a moment
    // ago.
    void Refresh() override;

    // The same, always with a repaint: for texts that show while the program waits.
    void RefreshAtOnce();

    void SetFilePosition(int position) override { m_wndFileBar.SetPos(position); }
    void SetOverallPosition(int position) override { m_wndOverallBar.SetPos(position); }
    [[nodiscard]] int GetOverallPosition() const override { return m_wndOverallBar.GetPos(); }
    [[nodiscard]] bool IsCancelled() const override { return m_nCancelled != 0; }
    void ClearCancelled() override { m_nCancelled = 0; }

    // When it enables the button, it also gives it the focus if the dialog is active: a disabled button loses
    // the focus, and Escape would no longer reach the dialog.
    void EnableCancel(bool enable) override;

    [[nodiscard]] bool IsSessionEnding() const override;

    void PumpOneMessage() override;

    // Return prefix and path, with the path shortened so that both fit the first or the second line.
    [[nodiscard]] std::wstring FitToFirstLine(const std::wstring& prefix, const std::wstring& path) const;
    [[nodiscard]] std::wstring FitToSecondLine(const std::wstring& prefix, const std::wstring& path) const;

protected:
    void DoDataExchange(CDataExchange& exchange) override;

    void OnCancel() override;

private:
    [[nodiscard]] static std::wstring FitToLine(const CStatic& line, const std::wstring& prefix,
                                                const std::wstring& path);

    int m_nCancelled = 0;
    CProgressCtrl m_wndFileBar;
    CButton m_wndCancel;
    CProgressCtrl m_wndOverallBar;
    std::wstring m_strSecond;
    std::wstring m_strThird;
    std::wstring m_strFirst;
    int m_nLower;
    int m_nUpper;
    int m_nStart;
    CStatic m_wndSecond;
    CStatic m_wndThird;
    CStatic m_wndFirst;
    ULONGLONG m_nPaintedAt = 0;
};
