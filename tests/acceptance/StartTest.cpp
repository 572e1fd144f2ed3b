// What the program shows when it starts.
#include "tests/acceptance/AcceptanceTest.h"

namespace {

class StartTest : public AcceptanceTest
{
};
using StartInBothLanguages = StartTest;

TEST_F(StartInBothLanguages, ShowsTheFolderWithGeneratedNames)
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
    // The program appends the extension unless the last six characters of the name equal it. "prt" has only
    // three, so ".prt" is appended a second time.
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

TEST_F(StartInBothLanguages, AsksForFilesAndShowsTheirFolderWhenTheRegistryHasNoFolder)
{
    m_library.AddPart(L"N_ISO_4017_M4.sldprt", {L"Standard"});
    m_library.AddPart(L"N_ISO_4017_M8.sldprt", {L"Standard"});
    const CSharedZelmarRegistry empty;
    const CProgramUnderTest program;
    ExpectMessage(program, expected::kNoPartsFolder.Current());
    ChooseInPicker(program, m_library.Part(L"N_ISO_4017_M8.sldprt"));
    ExpectQuestion(program, expected::kAddFromOtherFolder.Current(), IDYES);
    // The whole folder is loaded, not only the chosen file.
    WaitForRows(program, {IsoRow(L"4017", L"M4", Mark::pending), IsoRow(L"4017", L"M8", Mark::pending)});
    EXPECT_EQ(m_library.Path(), program.ControlText(IDC_SOURCE_DIR));
    EXPECT_EQ(m_library.MappedPath(), program.ControlText(IDC_MAPPED_DIR));
    EXPECT_EQ(expected::kFolderView.Current(), program.ControlText(IDC_STATUS_FRAME));
    EXPECT_TRUE(FileExists(m_library.MappedPath()));
}

TEST_F(StartInBothLanguages, NeedsItsResourceLibraryInTheWorkingFolder)
{
    const CProgramUnderTest program(m_temp.Path());
    ExpectMessage(program, expected::kNoResources.Current());
    EXPECT_EQ(0U, program.WaitForEnd());
}

}  // namespace
