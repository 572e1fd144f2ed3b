#include "run/ProgressFileCopy.h"

#include "files/FileMisc.h"
#include "framework/DialogData.h"
#include "framework/WinApp.h"
#include "framework/WindowFontDC.h"
#include "resources/resource.h"

namespace {

// Refresh repaints at most once in this many milliseconds: faster changes cannot be read.
constexpr ULONGLONG kPaintInterval = 40;

}  // namespace

CProgressFileCopy::CProgressFileCopy(CWnd* owner, int lower, int upper, int start)
    : CDialog(IDD_PROGRESS, owner), m_nLower(lower), m_nUpper(upper), m_nStart(start)
{
    Create();
    for (CProgressCtrl* bar : {&m_wndFileBar, &m_wndOverallBar}) {
        bar->SetRange(m_nLower, m_nUpper);
        bar->SetPos(m_nStart);
        bar->ShowWindow(SW_SHOW);
    }
    ShowWindow(SW_SHOW);
}

void CProgressFileCopy::Refresh()
{
    if (GetTickCount64() - m_nPaintedAt >= kPaintInterval) {
        RefreshAtOnce();
    } else {
        UpdateData(false);
    }
}

void CProgressFileCopy::RefreshAtOnce()
{
    UpdateData(false);
    for (const HWND window : {m_hWnd, GetWindow(m_hWnd, GW_OWNER)}) {
        if (window != nullptr) {  // RedrawWindow(nullptr) would repaint the desktop
            RedrawWindow(window, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
        }
    }
    m_nPaintedAt = GetTickCount64();
}

void CProgressFileCopy::EnableCancel(bool enable)
{
    m_wndCancel.EnableWindow(enable);
    if (enable && GetActiveWindow() == m_hWnd && ::GetFocus() != m_wndCancel.m_hWnd) {
        m_wndCancel.SetFocus();  // not FocusControl: no other button could have the default style
    }
}

bool CProgressFileCopy::IsSessionEnding() const
{
    return CWinApp::IsSessionEnding();
}

void CProgressFileCopy::PumpOneMessage()
{
    CWinApp::PumpPendingMessage();
}

void CProgressFileCopy::NoteStep(CadStep step)
{
    if (m_recorder != nullptr) {
        m_recorder->NoteStep(step);
    }
}

void CProgressFileCopy::NoteOpened(bool opened, long code)
{
    if (m_recorder != nullptr) {
        m_recorder->NoteOpened(opened, code);
    }
}

void CProgressFileCopy::NoteConfigurations(long count, const std::vector<std::wstring>& names)
{
    if (m_recorder != nullptr) {
        m_recorder->NoteConfigurations(count, names);
    }
}

void CProgressFileCopy::NoteConfigurationWritten()
{
    if (m_recorder != nullptr) {
        m_recorder->NoteConfigurationWritten();
    }
}

void CProgressFileCopy::NoteSaved(std::optional<long> result)
{
    if (m_recorder != nullptr) {
        m_recorder->NoteSaved(result);
    }
}

std::wstring CProgressFileCopy::FitToFirstLine(const std::wstring& prefix, const std::wstring& path) const
{
    return FitToLine(m_wndFirst, prefix, path);
}

std::wstring CProgressFileCopy::FitToSecondLine(const std::wstring& prefix, const std::wstring& path) const
{
    return FitToLine(m_wndSecond, prefix, path);
}

void CProgressFileCopy::DoDataExchange(CDataExchange& exchange)
{
    DDX_Control(exchange, IDC_PROGRESS_FILE, m_wndFileBar);
    DDX_Control(exchange, IDCANCEL, m_wndCancel);
    DDX_Control(exchange, IDC_PROGRESS_OVERALL, m_wndOverallBar);
    DDX_Control(exchange, IDC_PROGRESS_SECOND, m_wndSecond);
    DDX_Control(exchange, IDC_PROGRESS_THIRD, m_wndThird);
    DDX_Control(exchange, IDC_PROGRESS_FIRST, m_wndFirst);
    DDX_Text(exchange, m_wndSecond, m_strSecond);
    DDX_Text(exchange, m_wndThird, m_strThird);
    DDX_Text(exchange, m_wndFirst, m_strFirst);
}

void CProgressFileCopy::OnCancel()
{
    m_nCancelled = 1;
}

std::wstring CProgressFileCopy::FitToLine(const CStatic& line, const std::wstring& prefix,
                                          const std::wstring& path)
{
    const CWindowFontDC dc(line.m_hWnd);
    return CFileMisc::FitPathToWidth(dc.Get(), prefix, path, line.GetClientRect().right);
}
