// Whole conversion runs that go well: files, map file, calls to the CAD system, marks and messages.
#include <filesystem>

#include "tests/acceptance/AcceptanceTest.h"

namespace {

using Lines = std::vector<std::string>;

class RunTest : public AcceptanceTest
{
protected:
    // The path of a copy as it stands in the log.
    [[nodiscard]] std::string LoggedCopy(const std::wstring& name) const
    {
        return ToUtf8(m_library.Copy(name));
    }

    // A copy holds what its source holds, but for the BOM entries, and is read-only.
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

TEST_F(RunTest, CopiesRecordsAndWritesBomNames)
{
    const std::vector<std::wstring> three = {L"A2", L"A4", L"Größe 8.8"};
    m_library.AddPart(L"N_ISO_4017_M10x50.sldprt", {L"Standard"});
    m_library.AddPart(L"N_ISO_4032_M8.sldprt", three);
    m_library.AddPart(L"N_ISO_7089_10.sldprt", ManyConfigurations());
    m_server.SetScript("datecode 1999250\n");  // the oldest release that will do
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

TEST_F(RunTest, FillsThePlaceholdersThatAMapFileHolds)
{
    // The standard number for the BOM is cut out behind two characters, whatever the prefix: only the first
    // of the two names has one.
    m_library.AddPart(L"N_912_M8__A2__70__.sldprt", {L"kurz"});
    m_library.AddPart(L"N_ISO_4017_M8.sldprt", {L"lang"});
    m_library.AddPart(L"Washer.sldprt", {L"leer"});
    m_library.WriteMapFile(
        "N_912_M8__A2__70__.sldprt ; a.sldprt ; %1|%2|%3|%4|%5|%6|%7|%8\n"
        "N_ISO_4017_M8.sldprt ; b.sldprt ; %1|%2|%3|%4|%7|%8\n"
        "Washer.sldprt ; c.sldprt ; %1 %3\n");
    const CProgramUnderTest program;
    program.Click(IDC_SELECT_ALL);
    program.Click(IDC_MARK);
    program.Click(IDC_START);
    ExpectQuestion(program, OverwriteQuestion(), IDYES);
    ExpectMessage(program, expected::kFinished.Current());
    WaitForEndOfRun(program);
    ExpectCopy(L"N_912_M8__A2__70__.sldprt", L"a.sldprt", {{L"kurz", true, L"912|kurz|912|M8|%5|%6|A2|70"}});
    ExpectCopy(L"N_ISO_4017_M8.sldprt", L"b.sldprt", {{L"lang", true, L"|lang|4017|M8||"}});
    // Nothing is left of the third: its part keeps its own BOM entry.
    ExpectCopy(L"Washer.sldprt", L"c.sldprt", {{L"leer", false, L""}});
    EXPECT_TRUE(m_server.WasAsked("configuration c.sldprt/leer 6 put BOOL=0 ok"));
    EXPECT_FALSE(m_server.WasAsked("configuration c.sldprt/leer 5 put"));
}

TEST_F(RunTest, CopiesOnlyWithoutTheCadSystem)
{
    m_library.AddPart(L"N_ISO_4017_M8.sldprt", {L"a", L"b"});
    m_library.AddPart(L"N_ISO_4032_M8.sldprt", {L"c"});
    const CProgramUnderTest program;
    program.Click(IDC_COPY_ONLY);
    program.Click(IDC_START);
    CMessageBoxOnScreen::WaitForOne(program.ProcessId());
    EXPECT_EQ(FALSE, IsWindowEnabled(GetDlgItem(program.ProgressDialog(), IDCANCEL)));
    ExpectMessage(program, expected::kFinished.Current());
    WaitForEndOfRun(program);
    for (const std::wstring name : {L"N_ISO_4017_M8", L"N_ISO_4032_M8"}) {
        EXPECT_EQ(ReadBytes(m_library.Part(name + L".sldprt")),
                  ReadBytes(m_library.Copy(name + L".changed.sldprt")));
        EXPECT_TRUE(IsReadOnly(m_library.Copy(name + L".changed.sldprt")));
    }
    EXPECT_EQ(m_library.MapHeader() +
                  "N_ISO_4017_M8.sldprt ; N_ISO_4017_M8.changed.sldprt ; \r\n"
                  "N_ISO_4032_M8.sldprt ; N_ISO_4032_M8.changed.sldprt ; \r\n",
              m_library.MapFileBytes());
    EXPECT_EQ((Rows{IsoRow(L"4017", L"M8", Mark::converted), IsoRow(L"4032", L"M8", Mark::converted)}),
              program.List().Rows());
    EXPECT_EQ(Lines{}, m_server.Log());
}

TEST_F(RunTest, TakesAFolderWhoseNameTheCodePageHasInBytes)
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

TEST_F(RunTest, TakesNoInputUntilTheCadSystemHasEnded)
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
    // Neither the key nor the click has come through: a question would take these to itself.
    program.WaitForFocus(IDC_LIST);
    program.Click(IDC_SELECT_ALL);
    WaitForSelection(program, {0});
    program.WaitForFocus(IDC_LIST);
    PressKeys({VK_RETURN});
    ExpectQuestion(program, OverwriteQuestion(), IDNO);
    WaitForEndOfRun(program);
}

TEST_F(RunTest, StartsWithTheKeyboard)
{
    m_library.AddPart(L"N_ISO_4017_M8.sldprt", {L"a"});
    const CProgramUnderTest program;
    program.Click(IDC_COPY_ONLY);
    PressKeys({VK_MENU, MnemonicOf(program.Control(IDC_START))});
    ExpectMessage(program, expected::kFinished.Current());
    WaitForEndOfRun(program);
    EXPECT_TRUE(PathExists(m_library.Copy(L"N_ISO_4017_M8.changed.sldprt")));
    program.WaitForFocus(IDC_LIST);
    PressKeys({VK_RETURN});  // start is the default button
    ExpectQuestion(program, OverwriteQuestion(), IDNO);
    WaitForEndOfRun(program);
}

TEST_F(RunTest, RecordsConvertedRowsAgainWithoutCopyingThem)
{
    m_library.AddPart(L"N_ISO_4017_M8.sldprt", {L"a"});
    const CProgramUnderTest program;
    program.Click(IDC_COPY_ONLY);
    ConvertToTheEnd(program);
    const std::filesystem::path copy = m_library.Copy(L"N_ISO_4017_M8.changed.sldprt");
    const std::string map = m_library.MapFileBytes();
    WriteBytes(m_library.MapPath(), "old");
    // The old copy is told from a new one by its time and by bytes that no source holds.
    SetFileAttributesW(copy.c_str(), FILE_ATTRIBUTE_NORMAL);
    WriteBytes(copy.wstring(), "changed by hand");

    program.Click(IDC_START);
    ExpectQuestion(program, OverwriteQuestion(), IDNO);
    WaitForEndOfRun(program);
    EXPECT_EQ("old", m_library.MapFileBytes());

    program.Click(IDC_START);
    ExpectQuestion(program, OverwriteQuestion(), IDYES);
    ExpectMessage(program, expected::kFinished.Current());
    WaitForEndOfRun(program);
    EXPECT_EQ(map, m_library.MapFileBytes());
    EXPECT_EQ("changed by hand", ReadBytes(copy.wstring()));
    EXPECT_TRUE(IsReadOnly(copy.wstring()));
    EXPECT_EQ((Rows{IsoRow(L"4017", L"M8", Mark::converted)}), program.List().Rows());
}

TEST_F(RunTest, MakesTheMappedFolderEvenWhenTheAnswerIsNo)
{
    // The folder cannot be missing while the map file is there, so the file goes between the question and its
    // answer.
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
    EXPECT_EQ(1, Ask(versions, CB_GETCURSEL)) << "the current version is chosen at first";
    EXPECT_EQ(L"2022", TextOf(versions));
    program.FocusByKey(IDC_VERSION);
    PressKeys({VK_UP});
    program.WaitForText(IDC_VERSION, L"2017");
    ConvertToTheEnd(program);
    EXPECT_EQ((Lines{"- start version=25", "- end reason=asked open="}), m_server.Life());
}

TEST_F(RunTest, WorksOnWithOddDocuments)
{
    for (const wchar_t* name :
         {L"N_1_a.sldprt", L"N_2_b.sldprt", L"N_3_c.sldprt", L"N_4_d.sldprt", L"N_5_e.sldprt"}) {
        m_library.AddPart(name, {L"x", L"y"});
    }
    m_registry.SetTemplate(1, L"%4");
    m_registry.SetTemplate(2, L"%2!");
    m_server.SetScript(
        "open a.sldprt code=128\n"
        "open b.sldprt code=2\n"
        "names c.sldprt variants\n"
        "missing d.sldprt y\n"
        "count e.sldprt 0\n");
    const CProgramUnderTest program;
    ConvertToTheEnd(program);

    ExpectCopy(L"N_1_a.sldprt", L"a.sldprt", {{L"x", true, L"x!"}, {L"y", true, L"y!"}});
    for (const std::wstring name : {L"N_2_b", L"N_3_c", L"N_4_d", L"N_5_e"}) {
        ExpectCopy(name + L".sldprt", name.substr(4) + L".sldprt", {{L"x", false, L""}, {L"y", false, L""}});
    }
    EXPECT_EQ(m_library.MapHeader() +
                  "N_1_a.sldprt ; a.sldprt ; %2!\r\nN_2_b.sldprt ; b.sldprt ; %2!\r\n"
                  "N_3_c.sldprt ; c.sldprt ; %2!\r\nN_4_d.sldprt ; d.sldprt ; %2!\r\n"
                  "N_5_e.sldprt ; e.sldprt ; %2!\r\n",
              m_library.MapFileBytes());
    for (const RowOnScreen& row : program.List().Rows()) {
        EXPECT_EQ(Mark::converted, row.mark) << row;
    }
    const auto open = [&](const std::string& name, int code, const std::string& outcome) {
        return "application 99 method BSTR=" + LoggedCopy(L"") + name +
               " I4=1 BOOL=0 BOOL=0 BOOL=-1 I4&=" + std::to_string(code) + " " + outcome;
    };
    const auto close = [&](const std::string& name) {
        return "application 7 method BSTR=" + LoggedCopy(L"") + name + " ok";
    };
    const std::string hide = "application 24 method BOOL=0 I4=1 ok";
    const std::string show = "application 24 method BOOL=-1 I4=1 ok";
    EXPECT_EQ(
        (Lines{"- start version=30", "1 application 11 method I4=2019250",
               // a: opened with reservation
               "2 " + hide, "3 " + open("a.sldprt", 128, "document a.sldprt"),
               "4 document a.sldprt 17 method ok", "5 document a.sldprt 65971 method I4=2",
               "6 document a.sldprt 65972 method BSTR[2]=x|y",
               "7 document a.sldprt 66048 method BSTR=x configuration a.sldprt/x",
               "8 configuration a.sldprt/x 6 put BOOL=-1 ok", "9 configuration a.sldprt/x 5 put BSTR=x! ok",
               "10 document a.sldprt 66048 method BSTR=y configuration a.sldprt/y",
               "11 configuration a.sldprt/y 6 put BOOL=-1 ok", "12 configuration a.sldprt/y 5 put BSTR=y! ok",
               "13 document a.sldprt 66019 method BOOL=-1 I4=0", "14 " + close("a.sldprt"), "15 " + show,
               // b: opened with an error, left open
               "16 " + hide, "17 " + open("b.sldprt", 2, "document b.sldprt"),
               // c: names that are no texts, saved all the same
               "18 " + hide, "19 " + open("c.sldprt", 0, "document c.sldprt"),
               "20 document c.sldprt 65971 method I4=2", "21 document c.sldprt 65972 method VARIANT[2]=x|y",
               "22 document c.sldprt 66019 method BOOL=-1 I4=0", "23 " + close("c.sldprt"), "24 " + show,
               // d: a configuration that is not there, neither saved nor closed
               "25 " + hide, "26 " + open("d.sldprt", 0, "document d.sldprt"),
               "27 document d.sldprt 65971 method I4=2", "28 document d.sldprt 65972 method BSTR[2]=x|y",
               "29 document d.sldprt 66048 method BSTR=x configuration d.sldprt/x",
               "30 configuration d.sldprt/x 6 put BOOL=-1 ok", "31 configuration d.sldprt/x 5 put BSTR=x! ok",
               "32 document d.sldprt 66048 method BSTR=y null",
               // e: no configurations, not saved
               "33 " + hide, "34 " + open("e.sldprt", 0, "document e.sldprt"),
               "35 document e.sldprt 65971 method I4=0", "36 document e.sldprt 65972 method BSTR[2]=x|y",
               "37 " + close("e.sldprt"), "38 " + show, "39 application 6 method ok",
               "- end reason=asked open=b.sldprt|d.sldprt"}),
        m_server.Log());
}

TEST_F(RunTest, ReplacesReadOnlyCopies)
{
    // Wine leaves the attribute to the file permissions of its host, which do not bind root: there only the
    // new bytes and the attribute tell.
    m_library.AddPart(L"N_ISO_4017_M8.sldprt", {L"a"});
    std::filesystem::create_directory(m_library.MappedPath());
    const std::wstring copy = m_library.Copy(L"N_ISO_4017_M8.changed.sldprt");
    WriteBytes(copy, "an old copy");
    SetFileAttributesW(copy.c_str(), FILE_ATTRIBUTE_READONLY);
    const CProgramUnderTest program;
    ConvertToTheEnd(program);
    ExpectCopy(L"N_ISO_4017_M8.sldprt", L"N_ISO_4017_M8.changed.sldprt", {{L"a", true, L"Norm 4017 - a"}});
}

}  // namespace
