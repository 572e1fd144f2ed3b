// The report of the last run, and the commands for the rows that the report names.
#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "tests/acceptance/RunFailureTest.h"
#include "tests/support/DocumentViewer.h"
#include "tests/support/TestScopes.h"

namespace {

// All part numbers have three digits, so the list shows the parts in the order of their numbers.
constexpr int kFirst = 101;
constexpr int kLast = 300;
const std::vector<int> kNotSaved{102, 150, 151, 299, 300};
const Selection kTheirRows{1, 49, 50, 198, 199};

// Two hundred parts. Five are not saved: for three of them the save call fails, for two it returns a value
// other than 0. Another part has two configurations that get the same BOM name.
class ReportTest : public RunFailureTest
{
protected:
    void SetUp() override
    {
        if (CDocumentViewer::IsOverruled(L".html")) {
            GTEST_SKIP() << "skipped: the user has chosen a program for documents of this kind";
        }
        m_viewer.emplace(L".html", m_temp / L"opened.txt");
        AddParts(kFirst, kLast);
        m_library.AddPart(L"N_ISO_101_M8.sldprt", {L"x", L"y"});
        m_server.SetScript(
            "fault file=102.sldprt call=Save fail 0x80004005\n"
            "save 150.sldprt value=17\n"
            "fault file=151.sldprt call=Save fail 0x80004005\n"
            "fault file=299.sldprt call=Save fail 0x80004005\n"
            "save 300.sldprt value=1\n");
    }

    // The rows of the parts with BOM names that begin with `word`.
    static Rows RowsWith(const std::wstring& word)
    {
        Rows rows;
        for (int number = kFirst; number <= kLast; ++number) {
            rows.push_back(RowOf(number, Mark::pending));
            rows.back().bomName = word + L" " + std::to_wstring(number);
        }
        return rows;
    }

    void ConvertAgain(const CProgramUnderTest& program) const
    {
        program.Click(IDC_START);
        ExpectQuestion(program, OverwriteQuestion(), IDYES);
        ExpectMessage(program, expected::kFinished.Current());
        WaitForEndOfRun(program);
    }

    // Presses the report button and returns the contents of the page that opens.
    std::string ReadReport(const CProgramUnderTest& program) const
    {
        const std::size_t before = m_viewer->Opened().size();
        program.WaitForKeyboard();
        program.PressByKey(IDC_REPORT);
        WaitFor([&] { return m_viewer->Opened().size() > before; });
        const std::vector<std::wstring> opened = m_viewer->Opened();
        EXPECT_EQ(before + 1, opened.size());
        return opened.empty() ? std::string() : ReadBytes(opened.back());
    }

    void ExpectBomNames(const std::wstring& word, const std::vector<int>& missing) const
    {
        for (int number = kFirst; number <= kLast; ++number) {
            const bool isMissing = std::ranges::find(missing, number) != missing.end();
            EXPECT_EQ(isMissing ? L"" : word + L" " + std::to_wstring(number), BomNameOf(number));
        }
    }

    const CTemporaryFolderScope m_temporaryFolder{m_temp.Path()};
    std::optional<CDocumentViewer> m_viewer;
};

// The numbers of the rows with errors or warnings, in the order of the page.
std::vector<int> RowNumbers(const std::string& page)
{
    const std::string begin = "<tr id=\"row";
    std::vector<int> numbers;
    for (std::size_t at = page.find(begin); at != std::string::npos; at = page.find(begin, at + 1)) {
        numbers.push_back(std::stoi(page.substr(at + begin.size())));
    }
    return numbers;
}

// Changes 200 BOM names in a spreadsheet, runs into five errors, finds the five parts in the report, and
// converts them in a second run.
TEST_F(ReportTest, LeadsToThePartsThatWereNotSaved)
{
    const CProgramUnderTest program;
    EXPECT_EQ(FALSE, IsWindowEnabled(program.Control(IDC_REPORT)));
    ReplaceInSpreadsheet(program, m_temp / L"names.csv", "Norm ", "Mutter ", kLast - kFirst + 1);
    ChooseFurther(program, expected::kUndo);
    WaitForRows(program, RowsWith(L"Norm"));
    ChooseFurther(program, expected::kRedo);
    WaitForRows(program, RowsWith(L"Mutter"));
    ConvertToTheEnd(program);
    ExpectBomNames(L"Mutter", kNotSaved);

    const std::string page = ReadReport(program);
    EXPECT_EQ((std::vector<int>{2, 50, 51, 199, 200, 1}), RowNumbers(page))
        << "the five parts that were not saved come first";
    EXPECT_NE(std::string::npos, page.find("<li>Das Speichern schlug fehl: "));
    EXPECT_NE(std::string::npos, page.find("0x80004005"));
    EXPECT_NE(std::string::npos, page.find("<li>Das Speichern lieferte den Wert 17.</ul>"));
    EXPECT_NE(std::string::npos, page.find("<li>Das Speichern lieferte den Wert 1.</ul>"));
    EXPECT_NE(std::string::npos, page.find("<bdi>2022</bdi>")) << "version 30 is SOLIDWORKS 2022";

    ChooseFurther(program, expected::kSelectAttention);
    WaitForSelection(program, kTheirRows);
    program.Click(IDC_MARK);
    m_server.SetScript("");
    ConvertAgain(program);
    ExpectBomNames(L"Mutter", {});
    EXPECT_NE(std::string::npos, ReadReport(program).find("Keine Zeile braucht Aufmerksamkeit."));
}

}  // namespace
