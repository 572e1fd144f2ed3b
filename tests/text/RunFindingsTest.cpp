#include "run/RunFindings.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "framework/Language.h"
#include "tests/text/SmallLetters.h"

namespace {

using Texts = std::vector<std::wstring>;

// The code page is Latin-1. All other characters become "?".
const FindingRules kRules{[](wchar_t) { return '?'; },
                          [](std::string_view bytes, std::wstring& text) {
                              text.clear();
                              for (const char byte : bytes) {
                                  text += static_cast<wchar_t>(static_cast<unsigned char>(byte));
                              }
                          },
                          &SmallLetters};

RunRow RowOf(const UTtab_entry& entry, RowOutcome outcome = RowOutcome::copied)
{
    RunRow row;
    row.entry = entry;
    row.outcome = outcome;
    return row;
}

// A row without findings: one configuration, written and saved.
RunRow GoodRow(const UTtab_entry& entry = {L"a.sldprt", L"b.sldprt", L"Norm %2"})
{
    RunRow row = RowOf(entry);
    row.cad = {.step = CadStep::closing,
               .opened = true,
               .openCode = 0,
               .configurations = 1,
               .written = 1,
               .saveResult = 0,
               .failed = false};
    return row;
}

RunFindings Of(const std::vector<RunRow>& rows, bool copyOnly = false)
{
    RunRecord run;
    run.copyOnly = copyOnly;
    for (const RunRow& row : rows) {
        run.rows.push_back(row);
    }
    return FindingsOf(run, kRules);
}

// The errors of a row. The row must have no warnings.
Texts ErrorsOf(const RunRow& row)
{
    const RowFindings found = Of({row}).at(0);
    EXPECT_EQ(found.warnings, Texts{});
    return found.errors;
}

// The warnings of a row. The row must have no errors.
Texts WarningsOf(const RunRow& row)
{
    const RowFindings found = Of({row}).at(0);
    EXPECT_EQ(found.errors, Texts{});
    return found.warnings;
}

class RunFindingsTest : public testing::Test
{
protected:
    RunFindingsTest() { g_nLanguage = 0; }
    ~RunFindingsTest() override { g_nLanguage = m_before; }

private:
    int m_before = g_nLanguage;
};

TEST_F(RunFindingsTest, ThereIsNothingToSayAboutARowThatTurnedOutWell)
{
    EXPECT_EQ(ErrorsOf(GoodRow()), Texts{});
    EXPECT_EQ(ErrorsOf(RowOf({L"a.sldprt", L"b.sldprt", L"Norm"}, RowOutcome::recordedOnly)), Texts{});
    EXPECT_TRUE(Of({}).empty());
}

TEST_F(RunFindingsTest, ARowThatWasNotCopiedSaysWhyOnOneLine)
{
    RunRow row = RowOf({L"a", L"b", L"c"}, RowOutcome::notCopied);
    row.reason = L"Filecopy failed!\n\nThe file\r\nis missing.\n";
    EXPECT_EQ(ErrorsOf(row), Texts{L"Filecopy failed! The file is missing. "});
    row.outcome = RowOutcome::notRecorded;
    EXPECT_EQ(ErrorsOf(row), Texts{L"Filecopy failed! The file is missing. "});
}

TEST_F(RunFindingsTest, SaysThatARowWasNotReached)
{
    EXPECT_EQ(ErrorsOf(RowOf({L"a", L"b", L"c"}, RowOutcome::notReached)),
              Texts{L"The conversion ended before this row."});
    g_nLanguage = 1;
    EXPECT_EQ(ErrorsOf(RowOf({L"a", L"b", L"c"}, RowOutcome::notReached)),
              Texts{L"Die Umsetzung endete vor dieser Zeile."});
}

TEST_F(RunFindingsTest, AnUnreachedRowThatIsNotPendingIsNoError)
{
    RunRow row = RowOf({L"a", L"b", L"c"}, RowOutcome::notReached);
    row.pending = false;
    EXPECT_FALSE(Of({row}).at(0).NeedsAttention()) << "the map file of an earlier run holds the row";
    RunRecord run;
    run.mapFileReplaced = true;
    run.rows.push_back(row);
    run.rows.push_back(RowOf({L"d", L"e", L"f"}, RowOutcome::notReached));
    const Texts missing{L"The row is missing from the map file. Converting again records it."};
    const Texts notReached{L"The conversion ended before this row."};
    const RunFindings findings = FindingsOf(run, kRules);
    EXPECT_EQ(findings.at(0).errors, Texts{});
    EXPECT_EQ(findings.at(0).warnings, missing);
    EXPECT_EQ(findings.at(1).errors, notReached);
    EXPECT_EQ(findings.at(1).warnings, Texts{});
    g_nLanguage = 1;
    EXPECT_EQ(FindingsOf(run, kRules).at(0).warnings,
              Texts{L"Die Zeile fehlt in der Map-Datei. Erneutes Umsetzen nimmt sie wieder auf."});
}

TEST_F(RunFindingsTest, TheCodeOfACopyThatDidNotOpenIsPutIntoWords)
{
    const std::vector<std::pair<long, std::wstring>> expected{
        {0, L"SOLIDWORKS did not open the copy and gave no reason (code 0)."},
        {1, L"SOLIDWORKS did not open the copy: general error (code 1)."},
        {2, L"SOLIDWORKS did not open the copy: file not found (code 2)."},
        {8, L"SOLIDWORKS did not open the copy: read-only (code 8)."},
        {16, L"SOLIDWORKS did not open the copy: opened by another program (code 16)."},
        {512, L"SOLIDWORKS did not open the copy: the file is open already (code 512)."},
        {1024, L"SOLIDWORKS did not open the copy: wrong file type (code 1024)."},
        {8192, L"SOLIDWORKS did not open the copy: saved by a newer version (code 8192)."},
        {65536,
         L"SOLIDWORKS did not open the copy: a file with the same title is open already (code 65536)."},
        {262144, L"SOLIDWORKS did not open the copy: not enough resources (code 262144)."},
        {2097152, L"SOLIDWORKS did not open the copy: the file needs repair (code 2097152)."},
        {4194304, L"SOLIDWORKS did not open the copy: critical data need repair (code 4194304)."},
        {8388608, L"SOLIDWORKS did not open the copy: SOLIDWORKS is busy (code 8388608)."},
        {1 + 128 + 8192,
         L"SOLIDWORKS did not open the copy: general error, saved by a newer version (code 8321)."},
        {128, L"SOLIDWORKS did not open the copy (code 128)."},
        {-2147467259, L"SOLIDWORKS did not open the copy (code -2147467259)."}};
    for (const auto& [code, text] : expected) {
        RunRow row = GoodRow();
        row.cad = {.step = CadStep::opening, .opened = false, .openCode = code};
        EXPECT_EQ(ErrorsOf(row), Texts{text});
    }
}

TEST_F(RunFindingsTest, CodesOfACopyThatOpenedAreNothingToAttendTo)
{
    RunRow row = GoodRow();
    for (const long code : {128L, -1L}) {
        row.cad->openCode = code;
        EXPECT_EQ(ErrorsOf(row), Texts{});
    }
}

TEST_F(RunFindingsTest, NamesTheConfigurationsThatAreMissing)
{
    RunRow row = GoodRow();
    row.cad = {.step = CadStep::writing, .opened = true, .openCode = 0, .configurations = 4, .written = 1};
    row.unwritten = {L"M8", L"M10", L"<M12>"};
    EXPECT_EQ(ErrorsOf(row),
              Texts{L"1 of 4 configurations written. The copy was not saved. Missing: M8, M10, <M12>"});
}

TEST_F(RunFindingsTest, SaysThatThereWereFewerNamesThanConfigurations)
{
    RunRow row = GoodRow();
    row.cad->configurations = 3;
    EXPECT_EQ(ErrorsOf(row), Texts{L"1 of 3 configurations written. SOLIDWORKS does not name the others."});
}

TEST_F(RunFindingsTest, SaysThatThereIsNoConfiguration)
{
    RunRow row = GoodRow();
    for (const long count : {0L, -3L}) {
        row.cad = {.step = CadStep::closing, .opened = true, .openCode = 0, .configurations = count};
        EXPECT_EQ(ErrorsOf(row), Texts{L"SOLIDWORKS names no configuration. The copy was not saved."});
    }
}

TEST_F(RunFindingsTest, TheValueOfASaveIsANumberWithoutAVerdict)
{
    RunRow row = GoodRow();
    row.cad->saveResult = 1;
    EXPECT_EQ(ErrorsOf(row), Texts{L"Saving returned the value 1."});
    row.cad->saveResult = -2;
    EXPECT_EQ(ErrorsOf(row), Texts{L"Saving returned the value -2."});
    row.cad->saveResult.reset();
    EXPECT_EQ(ErrorsOf(row), Texts{});
}

TEST_F(RunFindingsTest, AFailedCallHasItsStepAndItsError)
{
    const std::vector<std::pair<CadStep, std::wstring>> expected{
        {CadStep::opening, L"Opening failed: Disk - full (0x80004005)"},
        {CadStep::reading, L"Reading the configurations failed: Disk - full (0x80004005)"},
        {CadStep::writing, L"Writing a configuration failed: Disk - full (0x80004005)"},
        {CadStep::saving, L"Saving failed: Disk - full (0x80004005)"},
        {CadStep::closing, L"Closing failed: Disk - full (0x80004005)"}};
    for (const auto& [step, text] : expected) {
        RunRow row = GoodRow();
        row.reason = L"Disk - full (0x80004005)";
        row.cadReloaded = true;
        row.cad->step = step;
        row.cad->failed = true;
        row.cad->opened = step > CadStep::opening;
        row.cad->configurations = step > CadStep::reading ? 1 : 0;
        row.cad->written = step > CadStep::reading ? 1 : 0;
        EXPECT_EQ(ErrorsOf(row), (Texts{text, L"Afterwards SOLIDWORKS was loaded again."}));
    }
}

TEST_F(RunFindingsTest, SaysThatSolidworksWasLostOrGivenUp)
{
    RunRow row = GoodRow();
    row.givenUp = true;
    row.cadLost = true;
    EXPECT_EQ(ErrorsOf(row), (Texts{L"SOLIDWORKS was no longer waited for.",
                                    L"Afterwards SOLIDWORKS could not be loaded again."}));
}

TEST_F(RunFindingsTest, WarnsOfNamesThatDifferOnlyInCase)
{
    const auto findings =
        Of({GoodRow({L"1.sldprt", L"Über.sldprt", L"N"}), GoodRow({L"2.sldprt", L"other.sldprt", L"N"}),
            GoodRow({L"3.sldprt", L"über.SLDPRT", L"N"})});
    EXPECT_EQ(findings.at(0).warnings,
              Texts{L"Row '3.sldprt' has the same new name; letter case does not count. There is only one "
                    L"copy: the one written last."});
    EXPECT_EQ(findings.at(1).warnings, Texts{});
    EXPECT_EQ(findings.at(2).warnings,
              Texts{L"Row '1.sldprt' has the same new name; letter case does not count. There is only one "
                    L"copy: the one written last."});
}

TEST_F(RunFindingsTest, ARowThatWasNotCopiedReplacesNoCopy)
{
    auto findings = Of({GoodRow({L"1.sldprt", L"b.sldprt", L"N"}),
                        RowOf({L"2.sldprt", L"B.sldprt", L"N"}, RowOutcome::notReached)});
    EXPECT_EQ(findings.at(0).warnings, Texts{});
    findings = Of({GoodRow({L"1.sldprt", L"b.sldprt", L"N"}),
                   RowOf({L"2.sldprt", L"B.sldprt", L"N"}, RowOutcome::recordedOnly)});
    EXPECT_EQ(findings.at(0).warnings.size(), 1U);
    EXPECT_EQ(findings.at(1).warnings.size(), 1U);
}

TEST_F(RunFindingsTest, ARowThatWasCopiedButNotRecordedHasReplacedACopy)
{
    const auto findings = Of({GoodRow({L"1.sldprt", L"b.sldprt", L"N"}),
                              RowOf({L"2.sldprt", L"B.sldprt", L"N"}, RowOutcome::notRecorded)});
    EXPECT_EQ(findings.at(0).warnings.size(), 1U);
    EXPECT_EQ(findings.at(1).warnings.size(), 1U);
}

TEST_F(RunFindingsTest, WarnsOfNamesThatTheMapFileChanges)
{
    EXPECT_EQ(WarningsOf(GoodRow({L"a.sldprt", L"Ω.sldprt", L"Größe %2"})),
              Texts{L"The map file holds this row changed: a.sldprt ; ?.sldprt ; Größe %2"});
    // Only the first two semicolons separate fields.
    EXPECT_EQ(WarningsOf(GoodRow({L"a;b.sldprt", L"c.sldprt", L"N %2"})),
              Texts{L"The map file holds this row changed: a ; b.sldprt ; c.sldprt ; N %2"});
    EXPECT_EQ(WarningsOf(GoodRow({L";b.sldprt", L"c.sldprt", L"N %2"})),
              Texts{L"The map file cannot reproduce this row."});
    // A leading blank belongs to a file name. A BOM name is trimmed anyway before SOLIDWORKS gets the name.
    EXPECT_EQ(WarningsOf(GoodRow({L" b.sldprt", L"c.sldprt", L"N %2"})).size(), 1U);
    EXPECT_EQ(WarningsOf(GoodRow({L"b.sldprt", L"c.sldprt", L" N; %2 "})), Texts{});
}

TEST_F(RunFindingsTest, WarnsOfALineThatIsTooLongForTheReader)
{
    // Two names and two separators: 9 + 3 + 9 + 3 bytes; 231 more make 255.
    const UTtab_entry longest{L"aa.sldprt", L"bb.sldprt", std::wstring(231, L'n')};
    EXPECT_EQ(WarningsOf(GoodRow(longest)), Texts{});
    UTtab_entry tooLong = longest;
    tooLong.strBomName += L'n';
    EXPECT_EQ(WarningsOf(GoodRow(tooLong)),
              Texts{L"In the map file this row has 256 bytes, more than 255. On "
                    L"reading, it and all that follow are lost."});
    // A run that only copies records no BOM name. A row that was not recorded has no line in the map file.
    EXPECT_EQ(Of({RowOf(tooLong)}, true).at(0).warnings, Texts{});
    RunRow notRecorded = RowOf(tooLong, RowOutcome::notRecorded);
    notRecorded.reason = L"why";
    EXPECT_EQ(ErrorsOf(notRecorded), Texts{L"why"});
}

TEST_F(RunFindingsTest, WarnsThatSeveralConfigurationsHaveOneName)
{
    RunRow row = GoodRow({L"a.sldprt", L"b.sldprt", L"Norm %1"});
    EXPECT_EQ(WarningsOf(row), Texts{}) << "one configuration";
    row.cad->configurations = 3;
    row.cad->written = 3;
    EXPECT_EQ(WarningsOf(row),
              Texts{L"The BOM name does not contain %2: all 3 configurations have the same."});
    row.entry.strBomName = L" ";
    EXPECT_EQ(WarningsOf(row), Texts{}) << "SOLIDWORKS shows its own names";
    row.entry.strBomName = L"Norm %2";
    EXPECT_EQ(WarningsOf(row), Texts{});
}

TEST_F(RunFindingsTest, ErrorsAndWarningsOfARowStayApart)
{
    RunRow failed = GoodRow({L"1.sldprt", L"b.sldprt", L"Norm %1"});
    failed.cad->configurations = 2;
    failed.cad->written = 2;
    failed.cad->saveResult = 7;
    const RunFindings findings = Of(
        {failed, GoodRow({L"2.sldprt", L"B.sldprt", L"N %2"}), GoodRow({L"3.sldprt", L"c.sldprt", L"N %2"})});
    EXPECT_EQ(findings.at(0).errors, Texts{L"Saving returned the value 7."});
    EXPECT_EQ(findings.at(0).warnings,
              (Texts{L"Row '2.sldprt' has the same new name; letter case does not count. There is only one "
                     L"copy: the one written last.",
                     L"The BOM name does not contain %2: all 2 configurations have the same."}));
    EXPECT_TRUE(findings.at(0).HasFailed());
    EXPECT_TRUE(findings.at(0).NeedsAttention());
    EXPECT_FALSE(findings.at(0).IsOnlyWarnedAbout());
    EXPECT_FALSE(findings.at(1).HasFailed());
    EXPECT_TRUE(findings.at(1).NeedsAttention());
    EXPECT_TRUE(findings.at(1).IsOnlyWarnedAbout());
    EXPECT_FALSE(findings.at(2).HasFailed());
    EXPECT_FALSE(findings.at(2).NeedsAttention());
    EXPECT_FALSE(findings.at(2).IsOnlyWarnedAbout());
}

}  // namespace
