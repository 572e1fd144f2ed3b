#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cad/ProgressView.h"
#include "framework/Controls.h"
#include "framework/Dialog.h"
#include "run/RunRecorder.h"

// The modeless progress dialog of a conversion run: three text lines, a bar for the current part, a bar for
// all parts, and a cancel button. The button only sets a flag. The run sets texts and bars, polls the flag
// and destroys the window.
class CProgressFileCopy : public CDialog, public CProgressView
{
public:
    // Creates and shows the dialog. Both bars range from `lower` to `upper` and begin at `start`.
    CProgressFileCopy(CWnd* owner, int lower, int upper, int start);

    void SetFirstText(const std::wstring& text) override { m_strFirst = text; }
    void SetSecondText(const std::wstring& text) override { m_strSecond = text; }
    void SetThirdText(const std::wstring& text) override { m_strThird = text; }

    // From this call on, passes notes about parts to the recorder, which must outlive the dialog. Earlier
    // notes are dropped.
    void RecordTo(CRunRecorder& recorder) { m_recorder = &recorder; }

    // Sets the texts of the controls, and repaints the dialog and its owner unless they were repainted in the
    // last 40 ms.
    void Refresh() override;

    // Like Refresh, but always repaints: for a text that must be visible before the program waits.
    void RefreshAtOnce();

    void SetFilePosition(int position) override { m_wndFileBar.SetPos(position); }
    void SetOverallPosition(int position) override { m_wndOverallBar.SetPos(position); }
    [[nodiscard]] int GetOverallPosition() const override { return m_wndOverallBar.GetPos(); }
    [[nodiscard]] bool IsCancelled() const override { return m_nCancelled != 0; }
    void ClearCancelled() override { m_nCancelled = 0; }

    // In the active dialog, enabling the button also sets the focus to it. Otherwise keys would go nowhere
    // after the focused button was disabled, and Escape would have no effect.
    void EnableCancel(bool enable) override;

    [[nodiscard]] bool IsSessionEnding() const override;

    void PumpOneMessage() override;

    void NoteStep(CadStep step) override;
    void NoteOpened(bool opened, long code) override;
    void NoteConfigurations(long count, const std::vector<std::wstring>& names) override;
    void NoteConfigurationWritten() override;
    void NoteSaved(std::optional<long> result) override;

    // Return prefix + path for the first or second line, with the path shortened until the whole fits.
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
    CRunRecorder* m_recorder = nullptr;
};
