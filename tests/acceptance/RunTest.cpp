// Whole conversion runs that go well: files, map file, calls to the CAD system, marks and messages.
#include <filesystem>

#include "tests/acceptance/AcceptanceTest.h"

namespace {

using Lines = std::vector<std::string>;

class RunTest : public AcceptanceTest
{
protected:
    // The path of a copy as the log shows it.
    [[nodiscard]] std::string LoggedCopy(const std::wstring& name) const
    {
        return ToUtf8(m_library.Copy(name));
    }

    // A copy is read-only and differs from its source only in the BOM entries.
    void ExpectCopy(const std::wstring& original, const std::wstring& renamed,
                    const std::vector<BomEntry>& entries) const
    {
        const PartContents source = ReadPart(m_library.Part(original));
        const PartContents copy = ReadPart(m_library.Copy(renamed));
        EXPECT_FALSE(source.otherStreams.empty());
        EXPECT_EQ(source.otherStreams, copy.otherStreams);
        EXPECT_EQ(entries, copy.bomEntries);
        EXPECT_TRUE(IsReadOnly(m_library.Copy(renamed)));
        EXPECT_FALSE(IsReadOnly(m_library.Part(original)));
    }
};
using RunInBothLanguages = RunTest;

std::vector<std::wstring> ManyConfigurations()
{
    std::vector<std::wstring> names;
    for (int number = 1; number <= 40; ++number) {
        names.push_back(L"M10x" + std::to_wstring(number));
    }
    return names;
}

// The lines of the log for one part whose BOM names were all written; `call` is the number of its first call.
Lines LinesForPart(int call, const std::string& path, const std::string& file,
                   const std::vector<std::pair<std::string, std::string>>& configurations)
{
    Lines lines;
    const auto add = [&](const std::string& text) {
        lines.push_back(std::to_string(call + static_cast<int>(lines.size())) + " " + text);
    };
    const std::string count = std::to_string(configurations.size());
    std::string names;
    for (const auto& [name, bomName] : configurations) {
        names += (names.empty() ? "" : "|") + name;
    }
    add("application 24 method BOOL=0 I4=1 ok");
    add("application 99 method BSTR=" + path + " I4=1 BOOL=0 BOOL=0 BOOL=-1 I4&=0 document " + file);
    add("document " + file + " 65971 method I4=" + count);
    add("document " + file + " 65972 method BSTR[" + count + "]=" + names);
    for (const auto& [name, bomName] : configurations) {
        const std::string configuration = "configuration " + file + "/" + name;
        add("document " + file + " 66048 method BSTR=" + name + " " + configuration);
        add(configuration + " 6 put BOOL=-1 ok");
        add(configuration + " 5 put BSTR=" + bomName + " ok");
    }
    add("document " + file + " 66019 method BOOL=-1 I4=0");
    add("application 7 method BSTR=" + path + " ok");
    add("application 24 method BOOL=-1 I4=1 ok");
    return lines;
}

void Append(Lines& lines, const Lines& more)
{
    lines.insert(lines.end(), more.begin(), more.end());
}

using Configurations = std::vector<std::pair<std::string, std::string>>;

// The configurations of one part with the BOM names that the default template gives.
Configurations WithBomNames(const std::string& number, const std::vector<std::wstring>& names)
{
    Configurations configurations;
    for (const std::wstring& name : names) {
        configurations.emplace_back(ToUtf8(name), "Norm " + number + " - " + ToUtf8(name));
    }
    return configurations;
}

std::vector<BomEntry> EntriesOf(const std::wstring& number, const std::vector<std::wstring>& names)
{
    std::vector<BomEntry> entries;
    for (const std::wstring& name : names) {
        entries.push_back({name, true, L"Norm " + number + L" - " + name});
    }
    return entries;
}

TEST_F(RunInBothLanguages, CopiesRecordsAndWritesBomNames)
{
    const std::vector<std::wstring> three = {L"A2", L"A4", L"Größe 8.8"};
    m_library.AddPart(L"N_ISO_4017_M10x50.sldprt", {L"Standard"});
    m_library.AddPart(L"N_ISO_4032_M8.sldprt", three);
    m_library.AddPart(L"N_ISO_7089_10.sldprt", ManyConfigurations());
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

    ExpectCopy(L"N_ISO_4017_M10x50.sldprt", L"N_ISO_4017_M10x50.changed.sldprt",
               {{L"Standard", true, L"Norm 4017 - Standard"}});
    ExpectCopy(L"N_ISO_4032_M8.sldprt", L"N_ISO_4032_M8.changed.sldprt", EntriesOf(L"4032", three));
    ExpectCopy(L"N_ISO_7089_10.sldprt", L"N_ISO_7089_10.changed.sldprt",
               EntriesOf(L"7089", ManyConfigurations()));
    EXPECT_EQ(m_library.MapHeader() +
                  "N_ISO_4017_M10x50.sldprt ; N_ISO_4017_M10x50.changed.sldprt ; Norm 4017 - %2\r\n"
                  "N_ISO_4032_M8.sldprt ; N_ISO_4032_M8.changed.sldprt ; Norm 4032 - %2\r\n"
                  "N_ISO_7089_10.sldprt ; N_ISO_7089_10.changed.sldprt ; Norm 7089 - %2\r\n",
              m_library.MapFileBytes());
    EXPECT_EQ((Rows{IsoRow(L"4017", L"M10x50", Mark::converted), IsoRow(L"4032", L"M8", Mark::converted),
                    IsoRow(L"7089", L"10", Mark::converted)}),
              program.List().Rows());

    Lines calls = {"- start version=30", "1 application 11 method I4=1999250"};
    Append(calls, LinesForPart(2, LoggedCopy(L"N_ISO_4017_M10x50.changed.sldprt"),
                               "N_ISO_4017_M10x50.changed.sldprt", WithBomNames("4017", {L"Standard"})));
    Append(calls, LinesForPart(12, LoggedCopy(L"N_ISO_4032_M8.changed.sldprt"),
                               "N_ISO_4032_M8.changed.sldprt", WithBomNames("4032", three)));
    Append(calls, LinesForPart(28, LoggedCopy(L"N_ISO_7089_10.changed.sldprt"),
                               "N_ISO_7089_10.changed.sldprt", WithBomNames("7089", ManyConfigurations())));
    Append(calls, {"155 application 6 method ok", "- end reason=asked open="});
    EXPECT_EQ(calls, m_server.Log());
}

TEST_F(RunTest, ConvertsAFolderWithADashInItsName)
{
    if (GetACP() != 1252) {
        GTEST_SKIP() << "the system's ANSI code page is not 1252";
    }
    const CTestLibrary library(L"Normteile – 2024");
    library.AddPart(L"N_ISO_4017_M8.sldprt", {L"a"});
    m_registry.SetPartsFolder(library.Path());
    {
        const CProgramUnderTest program;
        ConvertToTheEnd(program);
    }
    const std::string map = library.MapFileBytes();
    EXPECT_NE(std::string::npos, map.find("\\Normteile \x96 2024\\Mapped\\PartsMap.txt\r\n")) << map;
    EXPECT_TRUE(
        map.ends_with("\r\n\r\nN_ISO_4017_M8.sldprt ; N_ISO_4017_M8.changed.sldprt ; Norm 4017 - %2\r\n"))
        << map;
    EXPECT_EQ((std::vector<BomEntry>{{L"a", true, L"Norm 4017 - a"}}),
              ReadPart(library.Copy(L"N_ISO_4017_M8.changed.sldprt")).bomEntries);

    const CProgramUnderTest next;
    EXPECT_EQ(expected::kMapView.Current(), next.ControlText(IDC_STATUS_FRAME));
    EXPECT_EQ((Rows{IsoRow(L"4017", L"M8", Mark::converted)}), next.List().Rows());
}

TEST_F(RunTest, DropsInputUntilTheCadSystemHasEnded)
{
    m_library.AddPart(L"N_ISO_4017_M8.sldprt", {L"a"});
    // The first call of this number sets the one configuration, the second ends the server.
    m_server.SetScript("fault dispid=6 nth=2 slow 3000\n");
    const CProgramUnderTest program;
    const HWND window = program.MainWindow();
    RECT removeAll{};
    GetWindowRect(program.Control(IDC_REMOVE_ALL), &removeAll);
    program.Click(IDC_START);
    ExpectMessage(program, expected::kFinished.Current());
    ASSERT_TRUE(WaitFor([&] { return program.ProgressDialog() == nullptr; }));
    Ask(window, WM_NULL);  // answered from within the call
    EXPECT_EQ(FALSE, IsWindowEnabled(window));
    EXPECT_EQ(window, GetForegroundWindow());
    PressKeys({VK_RETURN});
    ClickAt({(removeAll.left + removeAll.right) / 2, (removeAll.top + removeAll.bottom) / 2});
    EXPECT_FALSE(m_server.WasAsked("application 6 method")) << "the call is under way";
    ASSERT_TRUE(WaitFor([&] { return IsWindowEnabled(window) != FALSE; }, kPatience, 1));
    EXPECT_TRUE(m_server.WasAsked("application 6 method ok"));
    WaitForEndOfRun(program);
    // Neither the key nor the click had an effect: a question would take the input below.
    program.WaitForFocus(IDC_LIST);
    program.Click(IDC_SELECT_ALL);
    WaitForSelection(program, {0});
    program.WaitForFocus(IDC_LIST);
    PressKeys({VK_RETURN});
    ExpectQuestion(program, OverwriteQuestion(), IDNO);
    WaitForEndOfRun(program);
}

TEST_F(RunTest, MakesTheMappedFolderEvenWhenTheAnswerIsNo)
{
    // Without the folder there is no map file to ask about, so it is removed while the question is open.
    m_library.AddPart(L"N_ISO_4017_M8.sldprt", {L"a"});
    m_library.WriteMapFile("N_ISO_4017_M8.sldprt ; b.sldprt ; c\n");
    const CProgramUnderTest program;
    program.Click(IDC_START);
    CMessageBoxOnScreen::WaitForOne(program.ProcessId());
    std::filesystem::remove_all(m_library.MappedPath());
    ExpectQuestion(program, OverwriteQuestion(), IDNO);
    WaitForEndOfRun(program);
    EXPECT_TRUE(std::filesystem::is_directory(m_library.MappedPath()));
    EXPECT_TRUE(std::filesystem::is_empty(m_library.MappedPath()));
    EXPECT_EQ(Lines{}, m_server.Log());
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
