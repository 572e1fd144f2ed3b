// Conversion runs without failures: files, map file, calls, marks and messages.
#include <string>
#include <vector>

#include "tests/acceptance/AcceptanceTest.h"

namespace {

using Lines = std::vector<std::string>;

// A part 'N_ISO_<number>_<size>.sldprt'.
struct StandardPart
{
    std::wstring number;
    std::wstring size;
    std::vector<std::wstring> configurations;

    [[nodiscard]] std::wstring Name() const { return L"N_ISO_" + number + L"_" + size; }
    // The BOM name that the default template gives.
    [[nodiscard]] std::wstring BomName(const std::wstring& configuration) const
    {
        return L"Norm " + number + L" - " + configuration;
    }
};

class RunTest : public AcceptanceTest
{
protected:
    // Expects that the copy of a part is read-only and differs from the part only in the BOM entries.
    void ExpectCopy(const StandardPart& part) const
    {
        const PartContents source = ReadPart(m_library.Part(part.Name() + L".sldprt"));
        const std::wstring copy = m_library.Copy(part.Name() + L".changed.sldprt");
        EXPECT_FALSE(source.otherStreams.empty());
        EXPECT_EQ(source.otherStreams, ReadPart(copy).otherStreams);
        std::vector<BomEntry> entries;
        for (const std::wstring& configuration : part.configurations) {
            entries.push_back({configuration, true, part.BomName(configuration)});
        }
        EXPECT_EQ(entries, ReadPart(copy).bomEntries);
        EXPECT_TRUE(IsReadOnly(copy));
        EXPECT_FALSE(IsReadOnly(m_library.Part(part.Name() + L".sldprt")));
    }

    // Appends the calls for one part to the expected log. The log's first line is not a call, so the number
    // of the next call is the number of lines so far.
    void AppendCalls(const StandardPart& part, Lines& log) const
    {
        const auto add = [&log](const std::string& call) {
            log.push_back(std::to_string(log.size()) + " " + call);
        };
        const std::string file = ToUtf8(part.Name() + L".changed.sldprt");
        const std::string path = ToUtf8(m_library.MappedPath()) + "\\" + file;
        const std::string count = std::to_string(part.configurations.size());
        std::string names;
        for (const std::wstring& name : part.configurations) {
            names += (names.empty() ? "" : "|") + ToUtf8(name);
        }
        add("application SetDocumentVisibility method BOOL=0 I4=1 ok");
        add("application OpenDocument method BSTR=" + path + " I4=1 BOOL=0 BOOL=0 BOOL=-1 I4&=0 document " +
            file);
        add("document " + file + " GetConfigurationCount method I4=" + count);
        add("document " + file + " GetConfigurationNames method BSTR[" + count + "]=" + names);
        for (const std::wstring& name : part.configurations) {
            const std::string configuration = "configuration " + file + "/" + ToUtf8(name);
            add("document " + file + " GetConfiguration method BSTR=" + ToUtf8(name) + " " + configuration);
            add(configuration + " UseAlternativeBomName put BOOL=-1 ok");
            add(configuration + " AlternativeBomName put BSTR=" + ToUtf8(part.BomName(name)) + " ok");
        }
        add("document " + file + " Save method BOOL=-1 I4=0");
        add("application CloseDocument method BSTR=" + path + " ok");
        add("application SetDocumentVisibility method BOOL=-1 I4=1 ok");
    }
};
using RunInBothLanguages = RunTest;

// Parts with one, three and 40 configurations.
std::vector<StandardPart> ThreeParts()
{
    std::vector<std::wstring> many;
    for (int number = 1; number <= 40; ++number) {
        many.push_back(L"M10x" + std::to_wstring(number));
    }
    return {{L"4017", L"M10x50", {L"Standard"}},
            {L"4032", L"M8", {L"A2", L"A4", L"Größe 8.8"}},
            {L"7089", L"10", many}};
}

TEST_F(RunInBothLanguages, CopiesRecordsAndWritesBomNames)
{
    const std::vector<StandardPart> parts = ThreeParts();
    for (const StandardPart& part : parts) {
        m_library.AddPart(part.Name() + L".sldprt", part.configurations);
    }
    m_server.SetScript("datecode 1999250\n");  // the oldest supported release
    const CProgramUnderTest program;
    program.Click(IDC_START);
    CMessageBoxOnScreen::WaitForOne(program.ProcessId());
    EXPECT_EQ(expected::kMapView.Current(), program.ControlText(IDC_STATUS_FRAME));
    EXPECT_EQ(FALSE, IsWindowEnabled(program.MainWindow()));
    EXPECT_NE(nullptr, program.ProgressDialog());
    ExpectMessage(program, expected::kFinished.Current());
    WaitForEndOfRun(program);
    EXPECT_EQ(expected::kMapView.Current(), program.ControlText(IDC_STATUS_FRAME));
    Rows rows;
    Lines log = {"- start version=30", "1 application GetDateCode method I4=1999250"};
    for (const StandardPart& part : parts) {
        ExpectCopy(part);
        rows.push_back(IsoRow(part.number, part.size, Mark::converted));
        AppendCalls(part, log);
    }
    EXPECT_EQ(rows, program.List().Rows());
    EXPECT_EQ(m_library.MapHeader() +
                  "N_ISO_4017_M10x50.sldprt ; N_ISO_4017_M10x50.changed.sldprt ; Norm 4017 - %2\r\n"
                  "N_ISO_4032_M8.sldprt ; N_ISO_4032_M8.changed.sldprt ; Norm 4032 - %2\r\n"
                  "N_ISO_7089_10.sldprt ; N_ISO_7089_10.changed.sldprt ; Norm 7089 - %2\r\n",
              m_library.MapFileBytes());
    log.insert(log.end(), {"155 application Exit method ok", "- end reason=asked open="});
    EXPECT_EQ(log, m_server.Log());
}

TEST_F(RunTest, DropsInputUntilTheCadSystemHasEnded)
{
    m_library.AddPart(L"N_ISO_4017_M8.sldprt", {L"a"});
    m_server.SetScript("fault call=Exit slow 3000\n");
    const CProgramUnderTest program;
    const HWND window = program.MainWindow();
    const POINT removeAll = MiddleOf(program.Control(IDC_REMOVE_ALL));
    program.Click(IDC_START);
    ExpectMessage(program, expected::kFinished.Current());
    ASSERT_TRUE(WaitFor([&] { return program.ProgressDialog() == nullptr; }));
    Ask(window, WM_NULL);  // the program handles the message while it waits in the call
    EXPECT_EQ(FALSE, IsWindowEnabled(window));
    EXPECT_EQ(window, GetForegroundWindow());
    PressKeys({VK_RETURN});
    ClickAt(removeAll);
    EXPECT_FALSE(m_server.WasAsked("application Exit method")) << "the call has not returned";
    ASSERT_TRUE(WaitFor([&] { return IsWindowEnabled(window) != FALSE; }, kPatience, 1));
    EXPECT_TRUE(m_server.WasAsked("application Exit method ok"));
    WaitForEndOfRun(program);
    // Neither the key nor the click had an effect. Otherwise a question would now be open and take the input
    // below.
    program.WaitForFocus(IDC_LIST);
    program.Click(IDC_SELECT_ALL);
    WaitForSelection(program, {0});
    program.WaitForFocus(IDC_LIST);
    PressKeys({VK_RETURN});
    ExpectQuestion(program, OverwriteQuestion(), IDNO);
    WaitForEndOfRun(program);
}

TEST_F(RunTest, StartsTheChosenVersion)
{
    m_library.AddPart(L"N_ISO_4017_M8.sldprt", {L"a"});
    const CProgramUnderTest program;
    const HWND versions = program.Control(IDC_VERSION);
    ASSERT_EQ(2, Ask(versions, CB_GETCOUNT));
    EXPECT_EQ(1, Ask(versions, CB_GETCURSEL)) << "the current version";
    EXPECT_EQ(L"2022", TextOf(versions));
    program.FocusByKey(IDC_VERSION);
    PressKeys({VK_UP});
    program.WaitForText(IDC_VERSION, L"2017");
    ConvertToTheEnd(program);
    EXPECT_EQ((Lines{"- start version=25", "- end reason=asked open="}), m_server.Life());
}

}  // namespace
