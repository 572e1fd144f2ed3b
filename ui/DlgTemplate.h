#pragma once

#include <string>

#include "framework/Controls.h"
#include "framework/Dialog.h"
#include "framework/Language.h"

// The dialog in which the user sees and changes the name template of a generated column, with a legend of the
// fill-ins and a preview. OK stores the template in the settings; no name is generated anew.
class CDlgTemplate : public CDialog
{
public:
    // `language`: of the texts that the code shows, non-zero for German. `column`: kColumnRenamed,
    // kColumnBomName, or anything else for a template that is not stored. `text`: the template to begin with.
    CDlgTemplate(int language, int column, std::wstring text, CWnd* parent);

    // The original file name of the part that the preview is for, to be set before DoModal; when it is empty,
    // there is no preview.
    void SetSample(const std::wstring& fileName) { m_strSample = fileName; }

    // The template, after OK as the user left it.
    [[nodiscard]] const std::wstring& Text() const { return m_strText; }

protected:
    [[nodiscard]] const MessageMap* GetMessageMap() const override;
    void DoDataExchange(CDataExchange& exchange) override;
    bool OnInitDialog() override;

    // Stores the template and ends the dialog, unless the template may not be used.
    void OnOK() override;

private:
    void ShowSampleName() const;
    void RemoveFromLegend(int fillIn) const;
    void ShowPreview();
    [[nodiscard]] std::wstring Preview(const std::wstring& templateText) const;
    [[nodiscard]] bool IsRefused(const std::wstring& templateText) const;

    CEdit m_wndText;
    Language m_language;
    std::wstring m_strText;
    int m_nColumn;
    std::wstring m_strSample;
};
