// Conversion runs in which something goes wrong: the CAD system, the map file, the copies.
#include <algorithm>
#include <filesystem>

#include "tests/acceptance/AcceptanceTest.h"

namespace {

using Lines = std::vector<std::string>;

class RunFailureTest : public AcceptanceTest
{
protected:
    // Parts 'N_ISO_1_M8' to 'N_ISO_<count>_M8', copied to '1.sldprt' and so on, with one configuration 'x'.
    void AddParts(int count)
    {
        for (int number = 1; number <= count; ++number) {
            m_library.AddPart(L"N_ISO_" + std::to_wstring(number) + L"_M8.sldprt", {L"x"});
        }
        m_registry.SetTemplate(1, L"%3");
        m_registry.SetTemplate(2, L"Norm %3");
    }

    static RowOnScreen RowOf(int number, Mark mark)
    {
        const std::wstring text = std::to_wstring(number);
        return {L"N_ISO_" + text + L"_M8.sldprt", text + L".sldprt", L"Norm " + text, mark};
    }

    // The map file with records for parts 1 to `last`.
    [[nodiscard]] std::string MapUpTo(int last) const
    {
        std::string map = m_library.MapHeader();
        for (int number = 1; number <= last; ++number) {
            map += RecordOf(number);
        }
        return map;
    }

    static std::string RecordOf(int number)
    {
        const std::string text = std::to_string(number);
        return "N_ISO_" + text + "_M8.sldprt ; " + text + ".sldprt ; Norm " + text + "\r\n";
    }

    // The BOM name in the copy of a part; empty when none was written.
    [[nodiscard]] std::wstring BomNameOf(int number) const
    {
        const PartContents copy = ReadPart(m_library.Copy(std::to_wstring(number) + L".sldprt"));
        return copy.bomEntries.at(0).useAlternative ? copy.bomEntries.at(0).alternative : L"";
    }

    // The run has ended before it wrote anything.
    void ExpectNothingDone(const CProgramUnderTest& program) const
    {
        WaitForEndOfRun(program);
        EXPECT_TRUE(std::filesystem::is_directory(m_library.MappedPath()));
        EXPECT_TRUE(std::filesystem::is_empty(m_library.MappedPath()));
        EXPECT_EQ((Rows{RowOf(1, Mark::pending)}), program.List().Rows());
        EXPECT_EQ(expected::kFolderView.Current(), program.ControlText(IDC_STATUS_FRAME));
    }
};

TEST_F(RunFailureTest, TellsThatNoServerIsInstalled)
{
    const CNoCadServer noServer;
    AddParts(1);
    const CProgramUnderTest program;
    EXPECT_EQ(0, Ask(program.Control(IDC_VERSION), CB_GETCOUNT));
    program.Click(IDC_START);
    ExpectMessage(program, expected::kCadNotLoaded.Current());
    ExpectNothingDone(program);
}

TEST_F(RunFailureTest, TellsThatTheServerDoesNotStart)
{
    AddParts(1);
    m_server.SetScript("start-refuse\n");
    const CProgramUnderTest program;
    program.Click(IDC_START);
    const HWND progress = WaitFor([&] { return program.ProgressDialog(); });
    EXPECT_TRUE(WaitFor(
        [&] { return TextOf(GetDlgItem(progress, IDC_PROGRESS_FIRST)) == expected::kLoadingCad.Current(); }));
    EXPECT_EQ(FALSE, IsWindowEnabled(GetDlgItem(progress, IDCANCEL)));
    ExpectMessage(program, expected::kCadNotLoaded.Current());
    ExpectNothingDone(program);
}

TEST_F(RunFailureTest, TellsThatTheServerIsTooOld)
{
    AddParts(1);
    m_server.SetScript("datecode 1999249\n");
    const CProgramUnderTest program;
    program.Click(IDC_START);
    ExpectMessage(program, expected::kCadTooOld.Current());
    ExpectNothingDone(program);
    EXPECT_EQ((Lines{"- start version=30", "1 application 11 method I4=1999249", "2 application 6 method ok",
                     "- end reason=asked open="}),
              m_server.Log());
}

TEST_F(RunFailureTest, GoesOnWithANewServerWhenOneDies)
{
    AddParts(3);
    m_server.SetScript("fault file=2.sldprt dispid=66048 end-before\n");
    const CProgramUnderTest program;
    // The lost connection is no exception of the server: no message until the end.
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
    EXPECT_EQ("1 application 11 method I4=2019250", *secondStart) << "the new server's release counts too";
}

TEST_F(RunFailureTest, TellsWhatTheServerReports)
{
    AddParts(4);
    m_server.SetScript(
        "fault file=1.sldprt exception source=\"CAD system\" description=\"Größe fehlt.\"\n"
        "fault file=2.sldprt exception description=\"Nur ein Text\"\n"
        "fault file=3.sldprt exception\n"
        "fault file=4.sldprt dispid=66019 exception source=Nur help=c:\\cad.chm context=7\n");
    const CProgramUnderTest program;
    program.Click(IDC_START);
    ExpectMessage(program, L"CAD system - Größe fehlt.");
    ExpectMessage(program, L"Nur ein Text");
    ExpectMessage(program, expected::kUnknownError);
    // A help file brings a help button.
    ExpectBox(program, std::wstring(L"Nur - ") + expected::kUnknownError, {IDOK, IDHELP}, IDOK);
    CMessageBoxOnScreen::WaitForOne(program.ProcessId());
    EXPECT_EQ(FALSE, IsWindowEnabled(GetDlgItem(program.ProgressDialog(), IDCANCEL)))
        << "behind a reconnection the run cannot be cancelled";
    ExpectMessage(program, expected::kFinished.Current());
    WaitForEndOfRun(program);
    EXPECT_EQ(MapUpTo(4), m_library.MapFileBytes());
    EXPECT_EQ((Rows{RowOf(1, Mark::converted), RowOf(2, Mark::converted), RowOf(3, Mark::converted),
                    RowOf(4, Mark::converted)}),
              program.List().Rows());
    // Every time the server is ended and a new one started.
    const std::string start = "- start version=30";
    const std::string end = "- end reason=asked open=";
    EXPECT_EQ((Lines{start, start, start, start, start, end, end, end, end + "4.sldprt", end}),
              m_server.Life());
}

TEST_F(RunFailureTest, EndsWhenTheServerDoesNotComeBack)
{
    AddParts(3);
    m_server.SetScript("start-refuse from=2\nfault file=2.sldprt exception description=Schluss\n");
    const CProgramUnderTest program;
    program.Click(IDC_START);
    ExpectMessage(program, L"Schluss");
    ExpectMessage(program, expected::kCadNotLoaded.Current());
    WaitForEndOfRun(program);
    EXPECT_EQ(MapUpTo(2), m_library.MapFileBytes());
    EXPECT_EQ((Rows{RowOf(1, Mark::converted), RowOf(2, Mark::pending), RowOf(3, Mark::pending)}),
              program.List().Rows());
    EXPECT_EQ(expected::kFolderView.Current(), program.ControlText(IDC_STATUS_FRAME));
    EXPECT_FALSE(PathExists(m_library.Copy(L"3.sldprt")));
}

TEST_F(RunFailureTest, EndsWhenTheNewServerIsTooOld)
{
    AddParts(2);
    m_server.SetScript("fault file=1.sldprt exception description=Schluss\n");
    const CProgramUnderTest program;
    program.Click(IDC_START);
    CMessageBoxOnScreen::WaitForOne(program.ProcessId());
    m_server.SetScript("datecode 1999249\n");  // read by the next server that starts
    ExpectMessage(program, L"Schluss");
    ExpectMessage(program, expected::kCadTooOld.Current());
    WaitForEndOfRun(program);
    EXPECT_EQ(MapUpTo(1), m_library.MapFileBytes());
    EXPECT_EQ((Rows{RowOf(1, Mark::pending), RowOf(2, Mark::pending)}), program.List().Rows());
    EXPECT_EQ((Lines{"- start version=30", "- start version=30",
                     "- end reason=asked open=", "- end reason=asked open="}),
              m_server.Life());
}

TEST_F(RunFailureTest, TellsThatTheMapFileCannotBeWritten)
{
    AddParts(1);
    const CProgramUnderTest program;
    program.WaitForRest();
    m_library.WriteMapFile("old");
    const UniqueHandle lock = LockFile(m_library.MapPath());
    program.Click(IDC_START);
    ExpectQuestion(program, OverwriteQuestion(), IDYES);
    ExpectMessage(program, expected::kMapNotWrittenLead.Current() + m_library.MapPath() +
                               expected::kMapNotWrittenEnd.Current());
    WaitForEndOfRun(program);
    EXPECT_EQ((Rows{RowOf(1, Mark::pending)}), program.List().Rows());
    EXPECT_FALSE(PathExists(m_library.Copy(L"1.sldprt")));
    EXPECT_EQ((Lines{"- start version=30", "1 application 11 method I4=2019250", "2 application 6 method ok",
                     "- end reason=asked open="}),
              m_server.Log());
}

// The reason inside the message of a failed copy is the system's; everything around it is compared.
void ExpectCopyFailure(const CProgramUnderTest& program, const Text& lead, const std::wstring& path)
{
    const CMessageBoxOnScreen box = CMessageBoxOnScreen::WaitForOne(program.ProcessId());
    const std::wstring start = lead.Current() + path + expected::kNotOpenedMiddle.Current();
    const std::wstring end = expected::kNotOpenedEnd.Current();
    const std::wstring text = box.Text();
    EXPECT_TRUE(text.starts_with(start)) << ToUtf8(text);
    EXPECT_TRUE(text.ends_with(end)) << ToUtf8(text);
    EXPECT_GT(text.size(), start.size() + end.size()) << "a reason is given: " << ToUtf8(text);
    box.Answer(IDOK);
}

TEST_F(RunFailureTest, SkipsPartsThatCannotBeCopied)
{
    AddParts(4);
    const CProgramUnderTest program;
    program.WaitForRest();
    std::filesystem::remove(m_library.Part(L"N_ISO_1_M8.sldprt"));
    std::filesystem::create_directory(m_library.MappedPath());
    const UniqueHandle lock = LockFile(m_library.Copy(L"3.sldprt"));
    program.Click(IDC_START);
    ExpectCopyFailure(program, expected::kSourceNotOpenedLead, m_library.Part(L"N_ISO_1_M8.sldprt"));
    // The German message names the target, the English one the source.
    const std::wstring source = m_library.Part(L"N_ISO_3_M8.sldprt");
    const std::wstring target = m_library.Copy(L"3.sldprt");
    ExpectCopyFailure(program, expected::kTargetNotOpenedLead,
                      Text{target.c_str(), source.c_str()}.Current());
    ExpectMessage(program, expected::kFinished.Current());
    WaitForEndOfRun(program);
    EXPECT_EQ(m_library.MapHeader() + RecordOf(2) + RecordOf(4), m_library.MapFileBytes());
    EXPECT_EQ((Rows{RowOf(1, Mark::pending), RowOf(2, Mark::converted), RowOf(3, Mark::pending),
                    RowOf(4, Mark::converted)}),
              program.List().Rows());
    EXPECT_FALSE(PathExists(m_library.Copy(L"1.sldprt")));
    EXPECT_EQ(L"Norm 2", BomNameOf(2));
    EXPECT_EQ(L"Norm 4", BomNameOf(4));
    EXPECT_FALSE(m_server.WasAsked("3.sldprt"));
}

// The first record leads to a file beside the library's parts, the second to a stream of a copy.
TEST_F(RunFailureTest, TouchesNothingElsewhereThatAMapFileNames)
{
    AddParts(3);
    const std::wstring other = m_library.Part(L"other.sldprt");
    WriteBytes(other, "other");
    const std::string records =
        "N_ISO_1_M8.sldprt ; ..\\other.sldprt ; x\r\n"
        "N_ISO_2_M8.sldprt ; 3.sldprt:stream ; x\r\n"
        "..\\other.sldprt ; 2.sldprt ; x\r\n";
    m_library.WriteMapFile(m_library.MapHeader() + records + RecordOf(3));
    const CProgramUnderTest program;
    program.Click(IDC_START);
    ExpectQuestion(program, OverwriteQuestion(), IDYES);
    ExpectMessage(program, expected::kFinished.Current());
    WaitForEndOfRun(program);
    EXPECT_FALSE(IsReadOnly(other)) << "rows that are recorded only";
    EXPECT_EQ(m_library.MapHeader() + records + RecordOf(3), m_library.MapFileBytes());

    program.Click(IDC_SELECT_ALL);
    program.Click(IDC_MARK);
    program.Click(IDC_START);
    ExpectQuestion(program, OverwriteQuestion(), IDYES);
    ExpectMessage(program, expected::kNoFileNameLead.Current() + std::wstring(L"..\\other.sldprt") +
                               expected::kNoFileNameEnd.Current());
    ExpectMessage(program, expected::kFinished.Current());
    WaitForEndOfRun(program);
    EXPECT_EQ("other", ReadBytes(other));
    EXPECT_FALSE(IsReadOnly(other));
    EXPECT_FALSE(PathExists(m_library.Copy(L"2.sldprt")));
    EXPECT_EQ(L"Norm 3", BomNameOf(3));
    EXPECT_EQ(m_library.MapHeader() + RecordOf(3), m_library.MapFileBytes());
    const Rows rows = program.List().Rows();
    ASSERT_EQ(rows.size(), 4U);
    for (const std::size_t skipped : {0U, 1U, 2U}) {
        EXPECT_EQ(rows[skipped].mark, Mark::pending);
    }
    EXPECT_EQ(rows[3], RowOf(3, Mark::converted));
}

TEST_F(RunFailureTest, DoesNotStartWhenMappedIsAFile)
{
    AddParts(1);
    WriteBytes(m_library.MappedPath(), "no folder");
    const CProgramUnderTest program;
    program.Click(IDC_START);
    ExpectMessage(program, expected::kNoFolderLead.Current() + m_library.MappedPath() +
                               expected::kNoFolderFileThere.Current());
    WaitForEndOfRun(program);
    EXPECT_EQ("no folder", ReadBytes(m_library.MappedPath()));
    EXPECT_EQ((Rows{RowOf(1, Mark::pending)}), program.List().Rows());
    EXPECT_EQ(Lines{}, m_server.Log());
}

// Waits until the run shows a configuration of its second part, and clicks on cancel.
void CancelInTheSecondPart(const CProgramUnderTest& program, const CCadServer& server)
{
    ASSERT_TRUE(WaitFor([&] { return server.WasAsked("configuration 2.sldprt/x1 5 put"); }));
    const HWND progress = program.ProgressDialog();
    EXPECT_TRUE(TextOf(GetDlgItem(progress, IDC_PROGRESS_SECOND))
                    .starts_with(expected::kCurrentConfiguration.Current() + L"x"));
    ClickOn(GetDlgItem(progress, IDCANCEL));
}

class CancelTest : public RunFailureTest
{
protected:
    // Three parts; the second has so many configurations, and the server takes so long for each of them, that
    // a person can press a button meanwhile.
    void AddSlowParts()
    {
        AddParts(3);
        std::vector<std::wstring> names;
        for (int number = 1; number <= kConfigurations; ++number) {
            names.push_back(L"x" + std::to_wstring(number));
        }
        m_library.AddPart(L"N_ISO_2_M8.sldprt", names);
        m_server.SetScript("fault file=2.sldprt dispid=66048 lasting slow 20\n");
    }

    // All configurations of the second part were written, whatever the answer.
    void ExpectSecondPartWhole() const
    {
        const PartContents copy = ReadPart(m_library.Copy(L"2.sldprt"));
        ASSERT_EQ(static_cast<std::size_t>(kConfigurations), copy.bomEntries.size());
        for (const BomEntry& entry : copy.bomEntries) {
            EXPECT_EQ(L"Norm 2", entry.alternative);
        }
    }

    static constexpr int kConfigurations = 60;
};

TEST_F(CancelTest, EndsBehindTheCurrentPartWhenTheAnswerIsYes)
{
    AddSlowParts();
    const CProgramUnderTest program;
    program.Click(IDC_START);
    CancelInTheSecondPart(program, m_server);
    ExpectQuestion(program, expected::kReallyCancel.Current(), IDYES);
    ExpectMessage(program, expected::kCancelled.Current());
    WaitForEndOfRun(program);
    EXPECT_EQ(MapUpTo(2), m_library.MapFileBytes());
    ExpectSecondPartWhole();
    EXPECT_FALSE(PathExists(m_library.Copy(L"3.sldprt")));
    // The list shows the map file now.
    EXPECT_EQ((Rows{RowOf(1, Mark::converted), RowOf(2, Mark::converted)}), program.List().Rows());
    EXPECT_EQ(expected::kMapView.Current(), program.ControlText(IDC_STATUS_FRAME));
    EXPECT_EQ((Lines{"- start version=30", "- end reason=asked open="}), m_server.Life());
}

TEST_F(CancelTest, GoesOnWhenTheAnswerIsNo)
{
    AddSlowParts();
    const CProgramUnderTest program;
    program.Click(IDC_START);
    CancelInTheSecondPart(program, m_server);
    ExpectQuestion(program, expected::kReallyCancel.Current(), IDNO);
    ExpectMessage(program, expected::kFinished.Current());
    WaitForEndOfRun(program);
    EXPECT_EQ(MapUpTo(3), m_library.MapFileBytes());
    ExpectSecondPartWhole();
    EXPECT_EQ((Rows{RowOf(1, Mark::converted), RowOf(2, Mark::converted), RowOf(3, Mark::converted)}),
              program.List().Rows());
}

}  // namespace
