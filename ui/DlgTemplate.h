#pragma once

#include <string>

#include "framework/Controls.h"
#include "framework/Dialog.h"
#include "framework/Language.h"

// The dialog in which the user views and changes the name template of a generated column, with a legend of
// the fill-ins and a preview. OK stores the template; existing names do not change.
class CDlgTemplate : public CDialog
{
public:
    // `language`: the language of the texts that the code sets; non-zero is German. `column`: kColumnRenamed,
    // kColumnBomName, or any other number for a template that OK does not store. `text`: the initial
    // template.
    CDlgTemplate(int language, int column, std::wstring text, CWnd* parent);

    // Sets the original file name of the part to preview; call it before DoModal. No preview when empty.
    void SetSample(const std::wstring& fileName) { m_strSample = fileName; }

    // The initial template or, after OK, the user's template.
    [[nodiscard]] const std::wstring& Text() const { return m_strText; }

protected:
    [[nodiscard]] const MessageMap* GetMessageMap() const override;
    void DoDataExchange(CDataExchange& exchange) override;
    bool OnInitDialog() override;

    // Stores the template and ends the dialog, unless the template is refused. Cancels a dialog that could
    // not be set up: its text is not the user's.
    void OnOK() override;

private:
    void FillHistory() const;
    void OnHistoryChosen();
    void ShowSampleName() const;
    void RemoveFromLegend(int fillIn) const;
    void ShowPreview();
    [[nodiscard]] std::wstring Preview(const std::wstring& templateText) const;
    [[nodiscard]] bool IsRefused(const std::wstring& templateText) const;

    CEdit m_wndText;
    CComboBox m_wndHistory;
    Language m_language;
    std::wstring m_strText;
    int m_nColumn;
    std::wstring m_strSample;
    bool m_isSetUp = false;
};
