// What the program shows when it starts, and how it ends.
#include "tests/acceptance/AcceptanceTest.h"

namespace {

class StartTest : public AcceptanceTest
{
};

TEST_F(StartTest, ShowsTheFolderWithGeneratedNames)
{
    for (const wchar_t* name : {L"n_eniso_4762_m8x20.SLDPRT", L"N912_M8.sldprt", L"N_ISO_4017_M10x50.sldprt",
                                L"N_ISO_7089_8.prt", L"Washer.sldasm", L"N_ISO_4017_M8__A2__70__.sldprt"}) {
        m_library.AddPart(name, {L"Standard"});
    }
    const CProgramUnderTest program;
    EXPECT_EQ(m_library.Path(), program.ControlText(IDC_SOURCE_DIR));
    EXPECT_EQ(m_library.MappedPath(), program.ControlText(IDC_MAPPED_DIR));
    EXPECT_EQ(expected::kFolderView.Current(), program.ControlText(IDC_STATUS_FRAME));
    std::vector<std::wstring> headers;
    for (const Text& header : expected::kHeaders) {
        headers.push_back(header.Current());
    }
    EXPECT_EQ(headers, program.List().Headers());
    EXPECT_EQ(175, program.List().ColumnWidth(0));
    // The last six characters of the third name's new name are not its extension, so it gets one more.
    EXPECT_EQ((Rows{{L"N912_M8.sldprt", L"N912_M8.changed.sldprt", L"Norm 912 - %2", Mark::pending},
                    IsoRow(L"4017", L"M10x50", Mark::pending),
                    {L"N_ISO_4017_M8__A2__70__.sldprt", L"N_ISO_4017_M8.changed.sldprt", L"Norm 4017 - %2",
                     Mark::pending},
                    {L"N_ISO_7089_8.prt", L"N_ISO_7089_8.changed.prt.prt", L"Norm 7089 - %2", Mark::pending},
                    {L"n_eniso_4762_m8x20.SLDPRT", L"N_ENISO_4762_m8x20.changed.SLDPRT", L"Norm 4762 - %2",
                     Mark::pending}}),
              program.List().Rows());
    EXPECT_EQ(L"%5%3_%4.changed.%6", m_registry.Template(1));
    EXPECT_EQ(L"Norm %1 - %2", m_registry.Template(2));
}

TEST_F(StartTest, UsesTheStoredTemplates)
{
    m_library.AddPart(L"N_ISO_4017_M8__A2__70__.sldprt", {L"Standard"});
    m_registry.SetTemplate(1, L"%7 %8 %3-%4");
    m_registry.SetTemplate(2, L"%5|%6|%9");
    const CProgramUnderTest program;
    EXPECT_EQ((Rows{{L"N_ISO_4017_M8__A2__70__.sldprt", L"A2 70 4017-M8.sldprt", L"N_ISO_|sldprt|%9",
                     Mark::pending}}),
              program.List().Rows());
}

TEST_F(StartTest, ShowsTheMapFileWhenThereIsOne)
{
    m_library.AddPart(L"N_ISO_4017_M8.sldprt", {L"Standard"});
    m_library.WriteMapFile(m_library.MapHeader() +
                           "b.sldprt ; B neu.sldprt ; Mutter ; lang\r\na.sldprt;A.sldprt;\r\n");
    const CProgramUnderTest program;
    EXPECT_EQ(expected::kMapView.Current(), program.ControlText(IDC_STATUS_FRAME));
    EXPECT_EQ((Rows{{L"b.sldprt", L"B neu.sldprt", L"Mutter ; lang", Mark::converted},
                    {L"a.sldprt", L"A.sldprt", L"", Mark::converted}}),
              program.List().Rows());
    EXPECT_EQ(L"%5%3_%4.changed.%6", m_registry.Template(1)) << "missing, so stored at the start";
    EXPECT_EQ(L"Norm %1 - %2", m_registry.Template(2));
}

TEST_F(StartTest, TellsTheLineOfAMalformedMapFile)
{
    m_library.WriteMapFile(m_library.MapHeader() + "a.sldprt ; b.sldprt ; Mutter\r\na;b\r\nc ; d ; e\r\n");
    const CProgramUnderTest program;
    ExpectMessage(program, expected::kSyntaxErrorLead + std::wstring(L"6") + expected::kSyntaxErrorMiddle +
                               m_library.MapPath() + expected::kSyntaxErrorEnd);
    EXPECT_EQ((Rows{{L"a.sldprt", L"b.sldprt", L"Mutter", Mark::converted}}), program.List().Rows());
    EXPECT_EQ(expected::kMapView.Current(), program.ControlText(IDC_STATUS_FRAME));
}

TEST_F(StartTest, ShowsTheFolderWhenTheMapFileIsLocked)
{
    m_library.AddPart(L"N_ISO_4017_M8.sldprt", {L"Standard"});
    m_library.WriteMapFile(m_library.MapHeader() + "a ; b ; c\r\n");
    const UniqueHandle lock = LockFile(m_library.MapPath());
    const CProgramUnderTest program;
    ExpectMessage(program, expected::kNotReadLead + m_library.MapPath() + expected::kNotReadEnd);
    EXPECT_EQ((Rows{IsoRow(L"4017", L"M8", Mark::pending)}), program.List().Rows());
    EXPECT_EQ(expected::kFolderView.Current(), program.ControlText(IDC_STATUS_FRAME));
}

TEST_F(StartTest, AsksForFilesWhenTheRegistryNamesNoFolder)
{
    const CZelmarRegistry empty;
    const CProgramUnderTest program;
    ExpectMessage(program, expected::kNoPartsFolder.Current());
    const HWND picker = WaitForPicker(program);
    EXPECT_EQ(L"c:\\", program.ControlText(IDC_SOURCE_DIR));
    EXPECT_EQ(L"c:\\Mapped", program.ControlText(IDC_MAPPED_DIR));
    ClickOn(GetDlgItem(picker, IDCANCEL));
    program.WaitForRest();
    program.WaitForText(IDC_STATUS_FRAME, expected::kFolderView.Current());
    EXPECT_EQ(L"c:\\", program.ControlText(IDC_SOURCE_DIR));
    EXPECT_EQ(Rows{}, program.List().Rows());
}

TEST_F(StartTest, ShowsTheFolderOfTheFilesChosenWhenTheRegistryNamesNone)
{
    m_library.AddPart(L"N_ISO_4017_M4.sldprt", {L"Standard"});
    m_library.AddPart(L"N_ISO_4017_M8.sldprt", {L"Standard"});
    const CZelmarRegistry empty;
    const CProgramUnderTest program;
    ExpectMessage(program, expected::kNoPartsFolder.Current());
    ChooseInPicker(program, m_library.Part(L"N_ISO_4017_M8.sldprt"));
    ExpectQuestion(program, expected::kAddFromOtherFolder.Current(), IDYES);
    // The chosen file is joined by what else is in its folder.
    WaitForRows(program, {IsoRow(L"4017", L"M4", Mark::pending), IsoRow(L"4017", L"M8", Mark::pending)});
    EXPECT_EQ(m_library.Path(), program.ControlText(IDC_SOURCE_DIR));
    EXPECT_EQ(m_library.MappedPath(), program.ControlText(IDC_MAPPED_DIR));
    EXPECT_EQ(expected::kFolderView.Current(), program.ControlText(IDC_STATUS_FRAME));
    EXPECT_TRUE(PathExists(m_library.MappedPath()));
}

TEST_F(StartTest, NeedsItsResourceLibraryInTheWorkingFolder)
{
    const CProgramUnderTest program(m_temp.Path());
    ExpectMessage(program, expected::kNoResources.Current());
    EXPECT_EQ(0U, program.WaitForEnd());
}

TEST_F(StartTest, EndsWithItsCloseButton)
{
    const CProgramUnderTest program;
    program.Click(IDCANCEL);
    EXPECT_EQ(0U, program.WaitForEnd());
}

TEST_F(StartTest, EndsWithTheEscapeKey)
{
    const CProgramUnderTest program;
    program.Click(IDC_SELECT_ALL);  // hands the focus on to the list
    program.WaitForFocus(IDC_LIST);
    PressKeys({VK_ESCAPE});
    EXPECT_EQ(0U, program.WaitForEnd());
}

}  // namespace
