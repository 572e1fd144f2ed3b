#include "ui/RunReportCommands.h"

#include <shellapi.h>

#include <algorithm>
#include <array>
#include <cwchar>
#include <unordered_set>
#include <utility>

#include "core/NameTemplate.h"
#include "files/Folders.h"
#include "files/MapCodePage.h"
#include "files/Paths.h"
#include "framework/File.h"
#include "framework/FileNames.h"
#include "framework/Language.h"
#include "framework/MessageBox.h"
#include "framework/MessageText.h"
#include "resources/version.h"
#include "run/RunReport.h"

namespace {

constexpr Text kFileName{L"Talvenor-Bericht-", L"Talvenor-Report-"};
constexpr Text kNotWritten{L"Der Bericht kann nicht geschrieben werden.\n%1.",
                           L"The report cannot be written.\n%1."};
constexpr Text kNotOpened{L"Der Bericht '%1' kann nicht angezeigt werden.",
                          L"The report '%1' cannot be shown."};
constexpr Text kNotInList{L"Zu markierende Zeilen, die nicht in der Liste sind: %1 von %2",
                          L"Rows to select that are not in the list: %1 of %2"};

constexpr int kMostReports = 1000;           // on runs that began in the same minute
constexpr INT_PTR kShellExecuteFailed = 32;  // or less ("ShellExecuteW function")

// The folder's path with a backslash at its end; empty when the system returns none.
std::wstring TemporaryFolder()
{
    std::array<wchar_t, MAX_PATH + 1> path{};
    return {path.data(), std::min<std::size_t>(GetTempPathW(MAX_PATH + 1, path.data()), MAX_PATH + 1)};
}

// Named after the minute in which the run began, so that reports sort by that minute. Further reports of the
// same minute get a number.
std::wstring ReportPath(const LocalTime& start, int number)
{
    std::array<wchar_t, 80> time{};
    std::swprintf(time.data(), time.size(), L"%04d-%02d-%02d-%02d%02d", start.year, start.month, start.day,
                  start.hour, start.minute);
    const std::wstring suffix = number == 1 ? std::wstring() : L"-" + std::to_wstring(number);
    return TemporaryFolder() + kFileName.Current() + time.data() + suffix + L".html";
}

// Creates a file that does not exist yet and returns its path. Throws CFileException.
std::wstring CreateReport(CFile& file, const LocalTime& start)
{
    CFileException error;
    for (int number = 1; number <= kMostReports; ++number) {
        std::wstring path = ReportPath(start, number);
        if (file.Open(path, CFile::modeCreateNew | CFile::modeWrite | CFile::shareExclusive, &error)) {
            return path;
        }
        if (error.m_osError != ERROR_FILE_EXISTS) {
            break;
        }
    }
    throw error;
}

void WriteAndClose(CFile& file, const std::string& page, const std::wstring& path)
{
    try {
        file.Write(page.data(), static_cast<UINT>(page.size()));
        file.Close();
    } catch (const CFileException&) {
        file = CFile();
        DeleteFileW(path.c_str());
        throw;
    }
}

// Selects the rows with these original file names and no others, and focuses the first of them. Returns how
// many of the names are not in the table.
std::size_t SelectRows(const CConversionTable& table, const std::unordered_set<std::wstring>& names)
{
    const CRedrawPause pause(table);
    std::unordered_set<std::wstring> missing = names;
    table.SetItemState(-1, 0, LVIS_SELECTED | LVIS_FOCUSED);  // -1: every row
    UINT state = LVIS_SELECTED | LVIS_FOCUSED;
    for (int row = 0; row < table.GetItemCount(); ++row) {
        const std::wstring name = table.GetItemText(row, kColumnOriginal);
        if (names.contains(name)) {
            table.SetItemState(row, state, state);
            state = LVIS_SELECTED;
            missing.erase(name);
        }
    }
    return missing.size();
}

}  // namespace

void CRunReportCommands::Take(RunRecord run)
{
    m_run = std::move(run);
    m_findings.reset();
    m_hasRun = true;
}

void CRunReportCommands::ShowReport(HWND owner) const
{
    try {
        const std::wstring path = WriteReport();
        // The browser starts in the temporary folder: otherwise it would keep the program's working folder in
        // use.
        const std::wstring folder = TemporaryFolder();
        const auto result = reinterpret_cast<INT_PTR>(
            ShellExecuteW(owner, L"open", path.c_str(), nullptr, folder.c_str(), SW_SHOWNORMAL));
        if (result <= kShellExecuteFailed) {
            ShowMessage(FillPlaceholders(kNotOpened.Current(), {path}));
        }
    } catch (const CFileException& error) {
        ShowMessage(FillPlaceholders(kNotWritten.Current(), {error.GetErrorMessage()}));
    }
}

std::wstring CRunReportCommands::WriteReport() const
{
    const std::string page = RunReportPage(m_run, Findings(), L"" TALVENOR_VERSION_TEXT);
    CFile file;
    std::wstring path = CreateReport(file, m_run.start);
    WriteAndClose(file, page, path);
    return path;
}

bool CRunReportCommands::CanSelectAttention(const std::wstring& standardPartsFolder) const
{
    // Backslashes at the end do not count: the main dialog may have removed them since the run.
    return SameFolder(StripBackslashes(standardPartsFolder), StripBackslashes(m_run.folder)) &&
           std::ranges::any_of(Findings(), &RowFindings::NeedsAttention);
}

const RunFindings& CRunReportCommands::Findings() const
{
    if (!m_findings) {
        const UINT codePage = MapCodePage();
        m_findings = FindingsOf(m_run, {MapEncoderOf(codePage), MapDecoderOf(codePage), &FoldFileName});
    }
    return *m_findings;
}

void CRunReportCommands::SelectAttention(const CConversionTable& table) const
{
    const RunFindings& findings = Findings();
    const bool hasFailures = std::ranges::any_of(findings, &RowFindings::HasFailed);
    std::unordered_set<std::wstring> names;
    for (std::size_t row = 0; row < findings.size(); ++row) {
        if (hasFailures ? findings[row].HasFailed() : findings[row].NeedsAttention()) {
            names.insert(m_run.rows.at(row).entry.strOriginal);
        }
    }
    const std::size_t missing = SelectRows(table, names);
    if (const int first = table.GetNextItem(-1, LVNI_SELECTED); first != -1) {
        table.EnsureVisible(first);
    }
    if (missing != 0) {
        ShowMessage(FillPlaceholders(kNotInList.Current(),
                                     {std::to_wstring(missing), std::to_wstring(names.size())}));
    }
}
