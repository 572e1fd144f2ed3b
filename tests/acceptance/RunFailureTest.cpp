// Conversion runs that the CAD system disturbs or the user cancels.
#include <algorithm>

#include "tests/acceptance/RunFailureTest.h"
#include "tests/support/UnderWine.h"

namespace {

using RunFailureInBothLanguages = RunFailureTest;

TEST_F(RunFailureInBothLanguages, ReportsThatNoServerIsInstalled)
{
    const CNoCadServer noServer;
    AddParts(1);
    const CProgramUnderTest program;
    EXPECT_EQ(0, Ask(program.Control(IDC_VERSION), CB_GETCOUNT));
    program.Click(IDC_START);
    ExpectMessage(program, expected::kCadNotLoaded.Current());
    ExpectNothingDone(program);
}

TEST_F(RunFailureTest, GoesOnWithANewServerWhenOneDies)
{
    AddParts(3);
    m_server.SetScript("fault file=2.sldprt call=GetConfiguration end-before\n");
    const CProgramUnderTest program;
    // A lost connection is not reported, unlike an exception of the server.
    ConvertToTheEnd(program);
    EXPECT_EQ(MapUpTo(3), m_library.MapFileBytes());
    EXPECT_EQ((Rows{RowOf(1, Mark::converted), RowOf(2, Mark::converted), RowOf(3, Mark::converted)}),
              program.List().Rows());
    EXPECT_EQ(L"Norm 1", BomNameOf(1));
    EXPECT_EQ(L"", BomNameOf(2)) << "the part is copied but not updated";
    EXPECT_EQ(L"Norm 3", BomNameOf(3));
    EXPECT_TRUE(IsReadOnly(m_library.Copy(L"2.sldprt")));
    EXPECT_EQ((Lines{"- start version=30", "- start version=30", "- end reason=fault open=2.sldprt",
                     "- end reason=asked open="}),
              m_server.Life());
    const Lines calls = m_server.Log();
    const auto secondStart = std::ranges::find(calls.rbegin(), calls.rend(), "- start version=30").base();
    ASSERT_NE(calls.end(), secondStart);
    EXPECT_EQ("1 application GetDateCode method I4=2019250", *secondStart)
        << "the run asks the new server for its version, too";
}

TEST_F(RunFailureTest, ShowsWhatTheServerReports)
{
    AddParts(2);
    m_server.SetScript(
        "fault file=1.sldprt exception source=\"CAD system\" description=\"Größe fehlt.\"\n"
        "fault file=2.sldprt call=Save exception source=Nur help=c:\\cad.chm context=7\n");
    const CProgramUnderTest program;
    program.Click(IDC_START);
    ExpectMessage(program, L"CAD system - Größe fehlt.");
    // The help file in the exception adds a help button to the message.
    ExpectBox(program, std::wstring(L"Nur - ") + expected::kUnknownError, {IDOK, IDHELP}, IDOK);
    CMessageBoxOnScreen::WaitForOne(program.ProcessId());
    EXPECT_EQ(FALSE, IsWindowEnabled(GetDlgItem(program.ProgressDialog(), IDCANCEL)))
        << "after a reconnection, a run cannot be cancelled before the next part";
    ExpectMessage(program, expected::kFinished.Current());
    WaitForEndOfRun(program);
    EXPECT_EQ(MapUpTo(2), m_library.MapFileBytes());
    EXPECT_EQ((Rows{RowOf(1, Mark::converted), RowOf(2, Mark::converted)}), program.List().Rows());
    // After each exception the program ends the server and starts a new server.
    const std::string start = "- start version=30";
    const std::string end = "- end reason=asked open=";
    EXPECT_EQ((Lines{start, start, start, end, end + "2.sldprt", end}), m_server.Life());
}

class BusyServerTest : public RunFailureTest
{
protected:
    // Converts a part while the server rejects the fifth call for a second. `action` is the name of the
    // rejection in the script, `word` its name in the log.
    void ExpectConvertedDespite(const std::string& action, const std::string& word)
    {
        if (UnderWine()) {
            GTEST_SKIP() << "skipped: Wine does not ask a client's message filter about a rejected call";
        }
        AddParts(1);
        m_server.SetScript("fault nth=5 " + action + " 1000\n");
        const CProgramUnderTest program;
        ConvertToTheEnd(program);
        EXPECT_EQ(L"Norm 1", BomNameOf(1));
        const Lines log = m_server.Log();
        EXPECT_NE(log.end(), std::ranges::find(log, "- " + word)) << "the server has rejected no call";
    }
};

TEST_F(BusyServerTest, IsAskedAgainWhenItRejectsACall)
{
    ExpectConvertedDespite("reject", "rejected");
}

TEST_F(BusyServerTest, IsAskedAgainWhenItSaysRetryLater)
{
    ExpectConvertedDespite("busy", "busy");
}

// Three parts. The server takes 4 seconds for the second configuration of the second part, which leaves time
// to cancel.
class CancelInBothLanguages : public RunFailureTest
{
protected:
    CancelInBothLanguages()
    {
        AddParts(3);
        std::vector<std::wstring> names;
        for (int number = 1; number <= kConfigurations; ++number) {
            names.push_back(L"x" + std::to_wstring(number));
        }
        m_library.AddPart(L"N_ISO_2_M8.sldprt", names);
        m_server.SetScript("fault file=2.sldprt call=GetConfiguration nth=2 slow 4000\n");
    }

    // Clicks on Cancel once the run shows a configuration of the second part.
    void CancelInTheSecondPart(const CProgramUnderTest& program) const
    {
        ASSERT_TRUE(
            WaitFor([&] { return m_server.WasAsked("configuration 2.sldprt/x1 AlternativeBomName put"); }));
        const HWND progress = program.ProgressDialog();
        EXPECT_TRUE(TextOf(GetDlgItem(progress, IDC_PROGRESS_SECOND))
                        .starts_with(expected::kCurrentConfiguration.Current() + L"x"));
        ClickOn(GetDlgItem(progress, IDCANCEL));
    }

    void ExpectSecondPartWhole() const
    {
        const PartContents copy = ReadPart(m_library.Copy(L"2.sldprt"));
        ASSERT_EQ(static_cast<std::size_t>(kConfigurations), copy.bomEntries.size());
        for (const BomEntry& entry : copy.bomEntries) {
            EXPECT_EQ(L"Norm 2", entry.alternative);
        }
    }

    static constexpr int kConfigurations = 10;
};

TEST_F(CancelInBothLanguages, EndsAfterTheCurrentPart)
{
    const CProgramUnderTest program;
    program.Click(IDC_START);
    CancelInTheSecondPart(program);
    ExpectQuestion(program, expected::kReallyCancel.Current(), IDYES);
    ExpectMessage(program, expected::kCancelled.Current());
    WaitForEndOfRun(program);
    EXPECT_EQ(MapUpTo(2), m_library.MapFileBytes());
    ExpectSecondPartWhole();
    EXPECT_FALSE(FileExists(m_library.Copy(L"3.sldprt")));
    EXPECT_EQ((Rows{RowOf(1, Mark::converted), RowOf(2, Mark::converted)}), program.List().Rows());
    EXPECT_EQ(expected::kMapView.Current(), program.ControlText(IDC_STATUS_FRAME));
    EXPECT_EQ((Lines{"- start version=30", "- end reason=asked open="}), m_server.Life());
}

}  // namespace
