#include "ui/DlgTemplate.h"

#include <array>
#include <optional>
#include <utility>

#include "core/NameTemplate.h"
#include "framework/DialogData.h"
#include "framework/FileNames.h"
#include "framework/MessageBox.h"
#include "platform/TemplateHistory.h"
#include "platform/TemplateStore.h"
#include "resources/resource.h"

namespace {

constexpr Text kFileCaption{L"Schablone Zieldatei bearbeiten", L"View/Modify file template"};
constexpr Text kBomCaption{L"Schablone Stücklisteneintrag bearbeiten", L"View/Modify BOM template"};
constexpr Text kOtherCaption{L"Schablone bearbeiten", L"View/Modify template"};

constexpr Text kRefused{L"Platzhalter %2 für Konfigurationsnamen ist nicht erlaubt.",
                        L"You cannot use the fill-in %2 for configuration names."};

constexpr Text kPreviewRefused{L"(%2 ist in Dateinamen nicht erlaubt)", L"(%2 is not allowed in file names)"};
constexpr Text kPreviewNoName{L"(ergibt keinen Dateinamen)", L"(gives no file name)"};
constexpr Text kPreviewEmpty{L"(leer)", L"(empty)"};

constexpr const wchar_t* kConfigurationFillIn = L"%2";
constexpr int kConfiguration = 2;  // the row of %2 in the legend

// The legend has a row for each fill-in, each with three controls.
constexpr int kLegendRows = 8;
constexpr int kLegendColumns = 3;
constexpr int kLegendExample = 2;

// The control in a row (a fill-in's number) and column (from 0) of the legend.
constexpr int LegendControl(int row, int column)
{
    return IDC_TEMPLATE_LEGEND + (row - 1) * kLegendColumns + column;
}

const Text& CaptionOf(int column)
{
    return column == kColumnRenamed ? kFileCaption : column == kColumnBomName ? kBomCaption : kOtherCaption;
}

}  // namespace

CDlgTemplate::CDlgTemplate(int language, int column, std::wstring text, CWnd* parent)
    : CDialog(IDD_TEMPLATE, parent)
    , m_language(LanguageOf(language))
    , m_strText(std::move(text))
    , m_nColumn(column)
{
}

const MessageMap* CDlgTemplate::GetMessageMap() const
{
    static constexpr std::array kEntries{
        ::OnCommand<&CDlgTemplate::ShowPreview>(IDC_TEMPLATE_TEXT, EN_CHANGE),
        ::OnCommand<&CDlgTemplate::OnHistoryChosen>(IDC_TEMPLATE_HISTORY, CBN_SELCHANGE),
        ::OnCommand<&CDlgTemplate::OnHistoryChosen>(IDC_TEMPLATE_HISTORY, CBN_SELENDOK),
    };
    static const MessageMap kMap{CDialog::GetMessageMap(), kEntries};
    return &kMap;
}

void CDlgTemplate::DoDataExchange(CDataExchange& exchange)
{
    DDX_Control(exchange, IDC_TEMPLATE_TEXT, m_wndText);
    DDX_Control(exchange, IDC_TEMPLATE_HISTORY, m_wndHistory);
}

bool CDlgTemplate::OnInitDialog()
{
    CDialog::OnInitDialog();
    SetWindowText(CaptionOf(m_nColumn).In(m_language));
    ShowSampleName();
    if (m_nColumn == kColumnRenamed) {
        RemoveFromLegend(kConfiguration);
    }
    FillHistory();
    m_wndText.SetWindowText(m_strText);
    ShowPreview();
    m_isSetUp = true;
    return true;
}

void CDlgTemplate::OnOK()
{
    if (!m_isSetUp) {
        OnCancel();
        return;
    }
    m_strText = m_wndText.GetWindowText();
    if (IsRefused(m_strText)) {
        ShowMessage(kRefused.In(m_language), MB_OK | MB_ICONINFORMATION);
        m_wndText.FocusAndSelectAll();
        return;
    }
    if (m_nColumn == kColumnRenamed || m_nColumn == kColumnBomName) {
        const std::optional<std::wstring> before = ReadTemplate(m_nColumn);
        if (WriteTemplate(m_nColumn, m_strText)) {  // a failure is not reported
            AddToTemplateHistory(m_nColumn, before.value_or(m_strText));
            AddToTemplateHistory(m_nColumn, m_strText);
        }
    }
    CDialog::OnOK();
}

void CDlgTemplate::FillHistory() const
{
    for (const std::wstring& text : ReadTemplateHistory(m_nColumn)) {
        m_wndHistory.AddString(text);
        m_wndHistory.EnableWindow(true);
    }
}

// Handles CBN_SELENDOK, too, which also comes when the user chooses the entry that is already selected: if
// the text has been edited since, the entry must replace it. The wheel and the arrow keys
// also choose entries in passing, so EM_REPLACESEL is used: the field's own undo can then restore the text.
void CDlgTemplate::OnHistoryChosen()
{
    const int chosen = m_wndHistory.GetCurSel();
    if (chosen == CB_ERR) {
        return;
    }
    const std::wstring text = m_wndHistory.GetLBText(chosen);
    if (text != m_wndText.GetWindowText()) {
        m_wndText.SetSel(0, -1);
        m_wndText.SendMessage(EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(text.c_str()));
    }
}

void CDlgTemplate::ShowSampleName() const
{
    if (m_strSample.empty()) {
        ::ShowWindow(GetDlgItem(IDC_TEMPLATE_PREVIEW_LABEL), SW_HIDE);
        ::ShowWindow(GetDlgItem(IDC_TEMPLATE_PREVIEW), SW_HIDE);
        return;
    }
    SetDlgItemText(IDC_TEMPLATE_PREVIEW_LABEL,
                   GetDlgItemText(IDC_TEMPLATE_PREVIEW_LABEL) + L" " + m_strSample + L":");
    // Aligned with the legend's static texts, which have no margins.
    ::SendMessageW(GetDlgItem(IDC_TEMPLATE_PREVIEW), EM_SETMARGINS, EC_LEFTMARGIN | EC_RIGHTMARGIN, 0);
}

// Moves the texts below the fill-in's row up by one row and hides the last row. The controls are not moved:
// the dialog manager would move them back when the DPI changes ("DIALOG_DPI_CHANGE_BEHAVIORS enumeration").
void CDlgTemplate::RemoveFromLegend(int fillIn) const
{
    for (int column = 0; column < kLegendColumns; ++column) {
        for (int row = fillIn; row < kLegendRows; ++row) {
            SetDlgItemText(LegendControl(row, column), GetDlgItemText(LegendControl(row + 1, column)));
        }
        ::ShowWindow(GetDlgItem(LegendControl(kLegendRows, column)), SW_HIDE);
    }
}

void CDlgTemplate::ShowPreview()
{
    if (!m_strSample.empty()) {
        SetDlgItemText(IDC_TEMPLATE_PREVIEW, Preview(m_wndText.GetWindowText()));
    }
}

std::wstring CDlgTemplate::Preview(const std::wstring& templateText) const
{
    if (IsRefused(templateText)) {
        return kPreviewRefused.In(m_language);
    }
    if (m_nColumn == kColumnRenamed) {
        return NewFileName(templateText, m_strSample, EqualFileNames).value_or(kPreviewNoName.In(m_language));
    }
    const std::wstring name = ConfigurationBomName(
        templateText, m_strSample, GetDlgItemText(LegendControl(kConfiguration, kLegendExample)));
    return name.empty() ? kPreviewEmpty.In(m_language) : name;
}

// A file holds all its configurations, so its name cannot depend on one.
bool CDlgTemplate::IsRefused(const std::wstring& templateText) const
{
    return m_nColumn == kColumnRenamed && templateText.find(kConfigurationFillIn) != std::wstring::npos;
}
