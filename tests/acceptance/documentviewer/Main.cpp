#include <windows.h>

#include <shellapi.h>

#include <filesystem>
#include <fstream>
#include <memory>

#include "tests/support/TextFile.h"

// documentviewer FILE DOCUMENT appends the path of the document to the file. Tests register documentviewer as
// the program that opens documents. A window or a console could take the foreground from the tested program,
// so documentviewer has neither.
int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int)
{
    int count = 0;
    const std::unique_ptr<LPWSTR, decltype(&LocalFree)> words(CommandLineToArgvW(GetCommandLineW(), &count),
                                                              &LocalFree);
    if (count != 3) {
        return 1;
    }
    std::ofstream(std::filesystem::path(words.get()[1]), std::ios::binary | std::ios::app)
        << ToUtf8(words.get()[2]) << '\n';
    return 0;
}
