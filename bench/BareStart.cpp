// The baseline for the program's start, memory and file size: a bare dialog with the same controls and texts.
//
//   barestart COUNT ROWS.tsv
//
// ROWS.tsv (UTF-8) has COUNT lines, each with the three texts of a row. Each line goes into the list as soon
// as it is read, so the list is the only copy of the texts in memory. Runs until the bench ends the process
// or the window gets SC_CLOSE.
#include <windows.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/BareDialog.h"
#include "framework/Handles.h"
#include "tests/support/TextFile.h"

namespace {

void FillFromFile(HWND list, std::size_t count, const std::wstring& path)
{
    const CBareRedrawPause pause(list);
    AnnounceBareRows(list, count);
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    int row = 0;
    for (std::string line; std::getline(file, line);) {
        const std::vector<std::wstring> texts = Split(FromUtf8(line), L'\t');
        AppendBareRow(list, row++, {texts.at(0), texts.at(1), texts.at(2)}, true);
    }
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int)
{
    if (__argc != 3) {
        return 2;
    }
    const UniqueModule resources = LoadBareResources();
    const CBareDialog dialog;
    SetWindowTextW(dialog.Window(), L"barestart");
    FillFromFile(dialog.List(), std::stoul(__wargv[1]), __wargv[2]);
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
