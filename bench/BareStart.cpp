// The baseline for the program's start, memory and file size: a bare dialog with the same controls and texts.
//
//   barestart ROWS.tsv
//
// ROWS.tsv holds the three texts of one row per line; other lines are skipped. Runs until the bench ends the
// process or the window gets SC_CLOSE.
#include <windows.h>

#include <string>
#include <vector>

#include "bench/BareDialog.h"
#include "framework/Handles.h"
#include "tests/support/TextFile.h"

namespace {

std::vector<UTtab_entry> ReadRows(const std::wstring& path)
{
    std::vector<UTtab_entry> rows;
    for (const std::vector<std::wstring>& fields : ReadTable(path)) {
        if (fields.size() == 3) {
            rows.push_back({fields[0], fields[1], fields[2]});
        }
    }
    return rows;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int)
{
    if (__argc != 2) {
        return 2;
    }
    const UniqueModule resources = LoadBareResources();
    const CBareDialog dialog;
    SetWindowTextW(dialog.Window(), L"barestart");
    dialog.Fill(ReadRows(__wargv[1]), true);
    ShowWindow(dialog.Window(), SW_SHOW);
    MSG message{};
    while (IsWindow(dialog.Window()) != FALSE && GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (message.message == WM_SYSCOMMAND && (message.wParam & 0xFFF0) == SC_CLOSE) {
            break;
        }
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return 0;
}
