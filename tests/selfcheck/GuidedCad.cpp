#include "tests/selfcheck/GuidedCad.h"

#include <windows.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tests/selfcheck/Guide.h"
#include "tests/selfcheck/ProcessRunner.h"
#include "tests/support/OwnFolder.h"
#include "tests/support/TextFile.h"

namespace {

constexpr DWORD kMinutes = 10;

Finding FindingOf(const std::wstring& word, const std::wstring& detail)
{
    const Found found = word == L"yes" ? Found::yes : word == L"no" ? Found::no : Found::notTried;
    return {found, ToUtf8(detail)};
}

void TakeFindings(const std::wstring& output, CReport& report)
{
    for (const std::wstring& line : ReadLines(output)) {
        const std::vector<std::wstring> fields = Split(line, L'\t');
        if (fields.size() == 4 && fields[0] == L"finding") {
            report.AddFinding(ToUtf8(fields[1]), FindingOf(fields[2], fields[3]));
        } else {
            report.AddFact("cadprobe", ToUtf8(line));
        }
    }
}

// The self-check's folder and its report's folder are the only ones that it writes to.
std::optional<std::wstring> CopyOf(const std::wstring& part)
{
    const std::wstring copy = OwnFolder() + L"\\report\\" + FileNameOf(part);
    std::error_code error;
    std::filesystem::copy_file(part, copy, std::filesystem::copy_options::overwrite_existing, error);
    return error ? std::nullopt : std::optional(copy);
}

}  // namespace

void CheckCadSystem(CReport& report)
{
    const std::string part = AskForText(
        "Save your work and close SOLIDWORKS. The probe starts it, opens a copy of one part, clicks a window "
        "of "
        "its own, and ends it. Leave the mouse alone. The full path of a part file, or Enter to leave it "
        "out");
    if (part.empty()) {
        return;
    }
    // What a console takes is in its own code page.
    const std::optional<std::wstring> copy = CopyOf(std::filesystem::path(part).wstring());
    if (!copy) {
        report.AddFailure("cadprobe: the part could not be copied: " + part);
        return;
    }
    const std::wstring output = OwnFolder() + L"\\report\\cadprobe.txt";
    const std::wstring command =
        L"\"" + OwnFolder() + L"\\cadprobe.exe\" SldWorks.Application \"" + *copy + L"\"";
    if (!RunProgram(command, output, kMinutes)) {
        report.AddFailure("cadprobe did not end");
    }
    TakeFindings(output, report);
}
