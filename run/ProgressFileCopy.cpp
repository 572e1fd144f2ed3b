#include "run/ProgressFileCopy.h"

#include "files/FileMisc.h"
#include "framework/DialogData.h"
#include "framework/WinApp.h"
#include "framework/WindowFontDC.h"
#include "resources/resource.h"

namespace {

// Texts that change faster than the eye reads are not painted one by one, in milliseconds.
constexpr ULONGLONG kPaintInterval = 40;

}  // namespace

CProgressFileCopy::CProgressFileCopy(CWnd* owner, int lower, int upper, int start)
    : CDialog(IDD_PROGRESS, owner), m_nLower(lower), m_nUpper(upper), m_nStart(start)
{
    Create();
    for (const CProgressCtrl* bar : {&m_wndFileBar, &m_wndOverallBar}) {
        bar->SetRange(m_nLower, m_nUpper);
        bar->SetPos(m_nStart);
        bar->ShowWindow(SW_SHOW);
    }
    ShowWindow(SW_SHOW);
}

void CProgressFileCopy::Refresh()
{
    UpdateData(false);
    const ULONGLONG now = GetTickCount64();
    if (now - m_nPaintedAt < kPaintInterval) {
        return;
    }
    m_nPaintedAt = now;
    RedrawWindow(m_hWnd, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
}

void CProgressFileCopy::EnableCancel(bool enable)
{
    m_wndCancel.EnableWindow(enable);
    if (enable && GetActiveWindow() == m_hWnd) {
        m_wndCancel.SetFocus();
    }
}

void CProgressFileCopy::PumpOneMessage()
{
    CWinApp::PumpPendingMessage();
}

std::wstring CProgressFileCopy::FitToFirstLine(const std::wstring& prefix, const std::wstring& path) const
{
    return FitToLine(IDC_PROGRESS_FIRST, prefix, path);
}

std::wstring CProgressFileCopy::FitToSecondLine(const std::wstring& prefix, const std::wstring& path) const
{
    return FitToLine(IDC_PROGRESS_SECOND, prefix, path);
}

const MessageMap* CProgressFileCopy::GetMessageMap() const
{
    return CDialog::GetMessageMap();
}

void CProgressFileCopy::DoDataExchange(CDataExchange& exchange)
{
    DDX_Control(exchange, IDC_PROGRESS_FILE, m_wndFileBar);
    DDX_Control(exchange, IDCANCEL, m_wndCancel);
    DDX_Control(exchange, IDC_PROGRESS_OVERALL, m_wndOverallBar);
    DDX_Text(exchange, IDC_PROGRESS_SECOND, m_strSecond);
    DDX_Text(exchange, IDC_PROGRESS_THIRD, m_strThird);
    DDX_Text(exchange, IDC_PROGRESS_FIRST, m_strFirst);
}

void CProgressFileCopy::OnCancel()
{
    m_nCancelled = 1;
}

std::wstring CProgressFileCopy::FitToLine(int id, const std::wstring& prefix, const std::wstring& path) const
{
    const HWND line = GetDlgItem(id);
    RECT client{};
    ::GetClientRect(line, &client);
    const CWindowFontDC dc(line);
    return CFileMisc::FitPathToWidth(dc.Get(), prefix, path, client.right);
}
