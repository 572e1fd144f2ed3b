// Times conversion runs of the real dialog, from the command of the start button until the command returns.
// Message boxes are answered without being shown. FOLDER is the standard-parts folder. Its folders "Mapped"
// and "Bare" are deleted or overwritten.
//
//   runbench copies FOLDER ROUNDS
//     Runs that only copy. Prints for each round the seconds of the run and of three loops over the same
//     files: the system's copy call; a copy in blocks of the run's size, between clearing and setting the
//     read-only attribute; the same while bare windows display what a run displays (BareRunWindows.h). The
//     order within rounds alternates (Rounds.h). A round that is not printed comes first, to warm up.
//   runbench records FOLDER ROWS
//     A run with ROWS rows that are converted already: each is shown and recorded, but nothing is copied.
//     Prints the seconds.
//   runbench full FOLDER
//     One full run with the CAD system. Prints the seconds.
#include <windows.h>

#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/BareCopy.h"
#include "bench/BareRunWindows.h"
#include "bench/MeasuredDialog.h"
#include "bench/Rounds.h"
#include "bench/Stopwatch.h"
#include "files/FileMisc.h"
#include "files/MapCodePage.h"
#include "files/MapLine.h"
#include "resources/resource.h"
#include "tests/support/ExpectedTexts.h"

namespace {

void RemoveFolder(const std::wstring& folder)
{
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(folder, ignored)) {
        SetFileAttributesW(entry.path().c_str(), FILE_ATTRIBUTE_NORMAL);
    }
    std::filesystem::remove_all(folder, ignored);
}

double TimeRun(CMeasuredDialog& dialog, bool copyOnly)
{
    CheckDlgButton(dialog.Window(), IDC_COPY_ONLY, copyOnly ? BST_CHECKED : BST_UNCHECKED);
    static_cast<void>(dialog.m_messages.TakeTexts());
    const CStopwatch watch;
    dialog.Press(IDC_START);
    const double seconds = watch.Seconds();
    if (dialog.Table().GetItemCount() == 0 || dialog.Table().CountPendingRows() != 0 ||
        dialog.m_messages.TakeTexts().back() != L"(not plain) " + expected::kFinished.Current()) {
        throw std::runtime_error("the run did not convert all rows");
    }
    return seconds;
}

using CopyRow = std::function<void(const std::wstring& source, const std::wstring& target)>;

void CopyBySystem(const std::wstring& source, const std::wstring& target)
{
    if (CopyFileW(source.c_str(), target.c_str(), TRUE) == FALSE) {
        throw std::runtime_error("the system cannot copy a file");
    }
}

void CopyLikeRun(const std::wstring& source, const std::wstring& target)
{
    SetReadOnly(target, false);
    CopyInBlocks(source, target);
    SetReadOnly(target, true);
}

void CopyAndShow(CBareRunWindows& windows, const std::wstring& source, const std::wstring& target)
{
    windows.ShowCopy(source, target);
    SetReadOnly(target, false);
    CopyInBlocks(source, target);
    windows.ShowCurrentFile(target);
    windows.FinishRow();
    SetReadOnly(target, true);
}

double TimeCopies(const std::wstring& folder, const std::vector<UTtab_entry>& rows, const CopyRow& copy)
{
    const std::wstring target = folder + L"\\Bare";
    RemoveFolder(target);
    CreateDirectoryW(target.c_str(), nullptr);
    const CStopwatch watch;
    for (const UTtab_entry& row : rows) {
        copy(folder + L"\\" + row.strOriginal, target + L"\\" + row.strRenamed);
    }
    const double seconds = watch.Seconds();
    RemoveFolder(target);
    return seconds;
}

double TimeShownCopies(const std::wstring& folder, const std::vector<UTtab_entry>& rows)
{
    constexpr ULONGLONG kScrollInterval = 100;  // milliseconds, as the program in runs that only copy
    CBareRunWindows windows(rows, kScrollInterval);
    const auto copy = [&windows](const std::wstring& source, const std::wstring& target) {
        CopyAndShow(windows, source, target);
    };
    const double seconds = TimeCopies(folder, rows, copy);
    windows.CheckAllShown();
    return seconds;
}

// A run with every row pending.
double TimeWholeRun(const std::wstring& folder, bool copyOnly)
{
    RemoveFolder(folder + L"\\Mapped");
    CMeasuredDialog dialog(folder);
    return TimeRun(dialog, copyOnly);
}

void MeasureCopies(const std::wstring& folder, int rounds)
{
    RemoveFolder(folder + L"\\Mapped");
    const std::vector<UTtab_entry> rows = CMeasuredDialog(folder).Rows();
    const std::vector<Step> steps{
        [&] { return TimeWholeRun(folder, true); },
        [&] { return TimeCopies(folder, rows, &CopyBySystem); },
        [&] { return TimeCopies(folder, rows, &CopyLikeRun); },
        [&] { return TimeShownCopies(folder, rows); },
    };
    static_cast<void>(RunRound(0, steps));
    for (int round = 0; round < rounds; ++round) {
        PrintRound(RunRound(round, steps));
    }
}

void MeasureRecords(const std::wstring& folder, int rowCount)
{
    std::string map = FormatMapHeader(CFileMisc::PathToBytes(folder, MapCodePage()).bytes);
    for (int i = 0; i < rowCount; ++i) {
        const std::wstring number = std::to_wstring(i);
        map += FormatMapRecord({L"N_" + number + L"_M8x40.sldprt", L"N_" + number + L"_M8x40.changed.sldprt",
                                L"Norm " + number + L" - M8x40"},
                               MapEncoderOf(MapCodePage())) +
               "\r\n";
    }
    std::filesystem::create_directories(folder + L"\\Mapped");
    WriteBytes(folder + L"\\Mapped\\PartsMap.txt", map);
    CMeasuredDialog dialog(folder);
    if (dialog.Table().GetItemCount() != rowCount) {
        throw std::runtime_error("not all records were shown");
    }
    PrintRound({TimeRun(dialog, true)});
}

void Measure(int count, wchar_t** arguments)
{
    const std::wstring kind = arguments[1];
    if (kind == L"copies" && count == 4) {
        MeasureCopies(arguments[2], std::stoi(arguments[3]));
    } else if (kind == L"records" && count == 4) {
        MeasureRecords(arguments[2], std::stoi(arguments[3]));
    } else if (kind == L"full" && count == 3) {
        PrintRound({TimeWholeRun(arguments[2], false)});
    } else {
        throw std::runtime_error("usage: runbench copies FOLDER ROUNDS | records FOLDER ROWS | full FOLDER");
    }
}

}  // namespace

int wmain(int count, wchar_t** arguments)
{
    return count < 3 ? 2 : RunInApplication([count, arguments] { Measure(count, arguments); });
}
