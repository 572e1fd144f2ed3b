#include "tests/selfcheck/GuidedCad.h"

#include <windows.h>

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

void TakeLine(const std::vector<std::wstring>& fields, CReport& report)
{
    if (fields.size() == 4 && fields[0] == L"finding") {
        report.AddFinding(ToUtf8(fields[1]), FindingOf(fields[2], fields[3]));
    } else if (fields.size() == 2 && fields[0] == L"failure") {
        report.AddFailure("cadprobe: " + ToUtf8(fields[1]));
    } else if (fields.size() > 1) {
        report.AddFact("cadprobe", ToUtf8(fields[1] + L" " + fields.back()));
    }
}

void Probe(const std::wstring& part, CReport& report)
{
    const std::wstring output = OwnFolder() + L"\\report\\cadprobe.txt";
    const std::optional<DWORD> status = RunProgram(
        L"\"" + OwnFolder() + L"\\cadprobe.exe\" SldWorks.Application \"" + part + L"\"", output, kMinutes);
    for (const std::wstring& line : ReadLines(output)) {
        TakeLine(Split(line, L'\t'), report);
    }
    if (status != 0) {
        report.AddFailure("cadprobe " +
                          (status ? "ended with status " + std::to_string(*status)
                                  : "did not end within " + std::to_string(kMinutes) + " minutes"));
    }
}

// "Copy as path" in the Explorer puts the path in quotes.
std::wstring WithoutQuotes(std::wstring path)
{
    std::erase(path, L'"');
    return path;
}

// A copy of a file in the report's folder, deleted with the object.
class CPartCopy
{
public:
    explicit CPartCopy(const std::wstring& part) : m_path(OwnFolder() + L"\\report\\" + FileNameOf(part))
    {
        m_made = CopyFileW(part.c_str(), m_path.c_str(), TRUE) != FALSE;
    }
    ~CPartCopy()
    {
        if (m_made) {
            SetFileAttributesW(m_path.c_str(), FILE_ATTRIBUTE_NORMAL);
            DeleteFileW(m_path.c_str());
        }
    }
    CPartCopy(const CPartCopy&) = delete;
    CPartCopy& operator=(const CPartCopy&) = delete;

    [[nodiscard]] bool IsMade() const { return m_made; }
    [[nodiscard]] const std::wstring& Path() const { return m_path; }

private:
    std::wstring m_path;
    bool m_made = false;
};

}  // namespace

void CheckCadSystem(CReport& report)
{
    const std::wstring part = WithoutQuotes(AskForText(
        R"(Save your work and close SOLIDWORKS; while it runs, the probe refuses to start. The
probe starts it three times, opens a copy of one part, clicks a window of its own,
and ends it. Leave the mouse alone.
The full path of a part file, or Enter to leave it out)"));
    if (part.empty()) {
        return;
    }
    const CPartCopy copy(part);
    if (copy.IsMade()) {
        Probe(copy.Path(), report);
    } else {
        report.AddFailure("cadprobe: the part could not be copied: " + ToUtf8(part));
    }
}
