#include "tests/selfcheck/Guide.h"

#include <windows.h>

#include <array>
#include <cstdio>

#include "tests/selfcheck/ProcessRunner.h"
#include "tests/support/TextFile.h"

namespace {

// A console returns UTF-16, whatever its code page. Anything else, such as a pipe, is read as UTF-8.
std::wstring ReadLine()
{
    std::array<wchar_t, 1024> text{};
    DWORD length = 0;
    if (ReadConsoleW(GetStdHandle(STD_INPUT_HANDLE), text.data(), static_cast<DWORD>(text.size()), &length,
                     nullptr) != FALSE) {
        StopIfEnding();  // Ctrl+C, too, makes ReadConsoleW return
        return {text.data(), length};
    }
    std::array<char, 1024> bytes{};
    return std::fgets(bytes.data(), static_cast<int>(bytes.size()), stdin) == nullptr
               ? std::wstring()
               : FromUtf8(bytes.data());
}

}  // namespace

std::wstring AskForText(const std::string& doThis)
{
    std::printf("\n%s > ", doThis.c_str());
    const std::wstring line = ReadLine();
    return line.substr(0, line.find_first_of(L"\r\n"));
}

Answer Ask(const std::string& doThis, const std::string& question)
{
    while (true) {
        const std::wstring answer =
            LowerCase(AskForText(doThis + "\n" + question + " y, n, or Enter to leave it out"));
        if (answer.empty()) {
            return Answer::leaveOut;
        }
        if (answer == L"y" || answer == L"n") {
            return answer == L"y" ? Answer::yes : Answer::no;
        }
    }
}
