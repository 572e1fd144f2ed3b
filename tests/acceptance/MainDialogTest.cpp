// The commands of the main dialog, except the conversion run.
#include <filesystem>

#include "tests/acceptance/AcceptanceTest.h"
#include "tests/acceptance/OwnFolder.h"

namespace {

using Rows = std::vector<RowOnScreen>;
using Selection = std::vector<int>;

class MainDialogTest : public AcceptanceTest
{
protected:
    // Three parts in the folder, one row each.
    void AddThreeParts() const
    {
        for (const wchar_t* size : {L"M4", L"M6", L"M8"}) {
            m_library.AddPart(L"N_ISO_4017_" + std::wstring(size) + L".sldprt", {L"x"});
        }
    }
    static Rows ThreeRows()
    {
        return {IsoRow(L"4017", L"M4", Mark::pending), IsoRow(L"4017", L"M6", Mark::pending),
                IsoRow(L"4017", L"M8", Mark::pending)};
    }

    // A map file with three records, and its rows.
    void WriteThreeRecords() const { m_library.WriteMapFile("a ; A ; 1\nb ; B ; 2\nc ; C ; 3\n"); }
    static Rows ThreeRecords(Mark second)
    {
        return {{L"a", L"A", L"1", Mark::converted},
                {L"b", L"B", L"2", second},
                {L"c", L"C", L"3", Mark::converted}};
    }

    static void WaitForRows(const CProgramUnderTest& program, const Rows& rows)
    {
        WaitFor([&] { return program.List().Rows() == rows; }, kReactionTime);
        EXPECT_EQ(rows, program.List().Rows());
    }
    static void WaitForSelection(const CProgramUnderTest& program, const Selection& rows)
    {
        WaitFor([&] { return program.List().Selection() == rows; }, kReactionTime);
        EXPECT_EQ(rows, program.List().Selection());
    }
    static void WaitForCaption(const CProgramUnderTest& program, const std::wstring& caption)
    {
        program.WaitForText(IDC_STATUS_FRAME, caption);
    }

    // Everything that was done before has been dealt with once the program tells that there is no map file.
    void ExpectMapFileMissing(const CProgramUnderTest& program) const
    {
        program.Click(IDC_SHOW_MAP);
        ExpectMessage(program, expected::kMapMissingLead.Current() + m_library.MapPath() +
                                   expected::kMapMissingEnd.Current());
        program.WaitForRest();
    }

    // Opens the file dialog and chooses a file by typing its path.
    static void AddByPath(const CProgramUnderTest& program, const std::wstring& path)
    {
        program.Click(IDC_ADD);
        const HWND picker = WaitForPicker(program);
        const HWND name = WaitFor([&] { return NameEditOf(picker); });
        if (name == nullptr) {
            throw CNotOnScreen(L"the file name in the file dialog", program.ProcessId());
        }
        TypeText(path);  // over the file name, which is selected
        WaitFor([&] { return TextOf(name) == path; });
        EXPECT_EQ(path, TextOf(name));
        PressKeys({VK_RETURN});
    }

    // The text of the folder edit with its selection, as a person sees it.
    static void ExpectFolderSelected(const CProgramUnderTest& program, const std::wstring& text)
    {
        program.WaitForFocus(IDC_SOURCE_DIR);
        EXPECT_EQ(text, program.ControlText(IDC_SOURCE_DIR));
        const auto range = Ask(program.Control(IDC_SOURCE_DIR), EM_GETSEL);
        EXPECT_EQ(0, LOWORD(range));
        EXPECT_EQ(text.size(), HIWORD(range));
    }

    // The edit of a file dialog, once it has the focus.
    static HWND NameEditOf(HWND picker)
    {
        const HWND focus = FocusOf(picker);
        return IsChild(picker, focus) != FALSE && ClassOf(focus).ends_with(L"Edit") ? focus : nullptr;
    }

    static constexpr DWORD kReactionTime = 5'000;  // milliseconds
};

TEST_F(MainDialogTest, ChangesToATypedFolderWhenTheAnswerIsYes)
{
    AddThreeParts();
    const CTestLibrary other;
    other.AddPart(L"N_ISO_4032_M8.sldprt", {L"x"});
    const CProgramUnderTest program;
    program.TypeInto(IDC_SOURCE_DIR, other.Path());
    PressKeys({VK_TAB});
    ExpectQuestion(program, expected::kChangeFolder.Current(), IDNO);
    program.WaitForText(IDC_SOURCE_DIR, m_library.Path());
    EXPECT_EQ(ThreeRows(), program.List().Rows());
    EXPECT_EQ(m_library.MappedPath(), program.ControlText(IDC_MAPPED_DIR));

    program.TypeInto(IDC_SOURCE_DIR, other.Path() + L"\\..");  // what stands behind the name is cut off
    PressKeys({VK_TAB});
    ExpectQuestion(program, expected::kChangeFolder.Current(), IDYES);
    program.WaitForText(IDC_MAPPED_DIR, other.MappedPath());
    EXPECT_EQ(other.Path(), program.ControlText(IDC_SOURCE_DIR));
    EXPECT_EQ((Rows{IsoRow(L"4032", L"M8", Mark::pending)}), program.List().Rows());
    EXPECT_FALSE(PathExists(other.MappedPath()));
}

TEST_F(MainDialogTest, ShowsTheMapFileOfATypedFolder)
{
    AddThreeParts();
    const CTestLibrary other;
    other.WriteMapFile("a ; A ; 1\n");
    const CProgramUnderTest program;
    program.TypeInto(IDC_SOURCE_DIR, other.Path());
    PressKeys({VK_TAB});
    ExpectQuestion(program, expected::kChangeFolder.Current(), IDYES);
    WaitForCaption(program, expected::kMapView.Current());
    EXPECT_EQ((Rows{{L"a", L"A", L"1", Mark::converted}}), program.List().Rows());
}

TEST_F(MainDialogTest, TellsThatATypedFolderDoesNotExist)
{
    AddThreeParts();
    const CProgramUnderTest program;
    const std::wstring missing = m_library.Path() + L"\\keiner";
    program.TypeInto(IDC_SOURCE_DIR, missing + L"\\..");
    PressKeys({VK_TAB});
    ExpectMessage(program, expected::kNoSuchFolder.Current());
    ExpectFolderSelected(program, missing);
    PressKeys({VK_SHIFT, VK_TAB});
    ExpectMessage(program, expected::kNoSuchFolder.Current());
    ExpectFolderSelected(program, missing);
    EXPECT_EQ(ThreeRows(), program.List().Rows());
    // The folder goes back to what it was by typing, without a question.
    TypeText(m_library.Path());
    program.WaitForText(IDC_SOURCE_DIR, m_library.Path());
    ExpectMapFileMissing(program);
}

TEST_F(MainDialogTest, ClosesWithoutAWordAboutAMissingFolder)
{
    const CProgramUnderTest program;
    program.TypeInto(IDC_SOURCE_DIR, m_library.Path() + L"\\keiner");
    program.Click(IDCANCEL);
    EXPECT_EQ(0U, program.WaitForEnd());
}

TEST_F(MainDialogTest, CutsDotsAndBackslashesOffATypedFolder)
{
    AddThreeParts();
    const CProgramUnderTest program;
    program.TypeInto(IDC_SOURCE_DIR, m_library.Path() + L"\\\\...");
    PressKeys({VK_TAB});
    program.WaitForText(IDC_SOURCE_DIR, m_library.Path());
    // It is the folder that is shown: no question. The case of letters does not count either.
    std::wstring upper = m_library.Path();
    CharUpperW(upper.data());
    program.TypeInto(IDC_SOURCE_DIR, upper);
    PressKeys({VK_TAB});
    ExpectMapFileMissing(program);
    EXPECT_EQ(ThreeRows(), program.List().Rows());
}

TEST_F(MainDialogTest, KeepsEnterAndEscapeInTheFolderEdit)
{
    AddThreeParts();
    const CProgramUnderTest program;
    program.Focus(IDC_SOURCE_DIR);
    PressKeys({VK_END});
    PressKeys({VK_RETURN});
    PressKeys({VK_ESCAPE});
    TypeText(L"x");
    program.WaitForText(IDC_SOURCE_DIR, m_library.Path() + L"x");
    EXPECT_TRUE(program.IsAtRest());
    EXPECT_FALSE(PathExists(m_library.MappedPath()));
}

TEST_F(MainDialogTest, DeletesSelectedRowsWithTheDeleteKey)
{
    AddThreeParts();
    const CProgramUnderTest program;
    const std::wstring changed = expected::kFolderView.Current() + expected::kListChanged.Current();
    ClickAt(program.List().CellPosition(1, 0));
    WaitForSelection(program, {1});
    PressKeys({VK_DELETE});
    WaitForRows(program, {ThreeRows()[0], ThreeRows()[2]});
    EXPECT_EQ(changed, program.ControlText(IDC_STATUS_FRAME));
    program.Click(IDC_SELECT_ALL);
    WaitForSelection(program, {0, 1});
    PressKeys({VK_DELETE});
    WaitForRows(program, {});
    EXPECT_EQ(changed, program.ControlText(IDC_STATUS_FRAME)) << "the mark is set only once";
    for (const wchar_t* size : {L"M4", L"M6", L"M8"}) {
        EXPECT_TRUE(PathExists(m_library.Part(L"N_ISO_4017_" + std::wstring(size) + L".sldprt")));
    }
}

TEST_F(MainDialogTest, DeletesSelectedRowsWithTheButton)
{
    WriteThreeRecords();
    const CProgramUnderTest program;
    program.Click(IDC_DELETE);  // with nothing selected
    program.WaitForFocus(IDC_LIST);
    EXPECT_EQ(expected::kMapView.Current(), program.ControlText(IDC_STATUS_FRAME));
    program.Click(IDC_SELECT_ALL);
    WaitForSelection(program, {0, 1, 2});
    program.Click(IDC_DELETE);
    WaitForRows(program, {});
    // An emptied list belongs to no map file.
    WaitForCaption(program, expected::kFolderView.Current() + expected::kListChanged.Current());
}

TEST_F(MainDialogTest, RemovesAllRowsWhenTheAnswerIsYes)
{
    WriteThreeRecords();
    const CProgramUnderTest program;
    program.Click(IDC_REMOVE_ALL);
    ExpectQuestion(program, expected::kRemoveAll.Current(), IDNO);
    program.WaitForRest();
    EXPECT_EQ(ThreeRecords(Mark::converted), program.List().Rows());
    EXPECT_EQ(expected::kMapView.Current(), program.ControlText(IDC_STATUS_FRAME));
    program.Click(IDC_REMOVE_ALL);
    ExpectQuestion(program, expected::kRemoveAll.Current(), IDYES);
    WaitForRows(program, {});
    WaitForCaption(program, expected::kFolderView.Current() + expected::kListChanged.Current());
    // With no rows left there is nothing to ask, and nothing to convert.
    std::filesystem::remove_all(m_library.MappedPath());
    program.Click(IDC_REMOVE_ALL);
    program.Click(IDC_START);
    ExpectMapFileMissing(program);
    EXPECT_FALSE(PathExists(m_library.MappedPath()));
}

TEST_F(MainDialogTest, SelectsAllRowsAndNone)
{
    AddThreeParts();
    const CProgramUnderTest program;
    program.Click(IDC_SELECT_ALL);
    WaitForSelection(program, {0, 1, 2});
    program.WaitForFocus(IDC_LIST);
    program.Click(IDC_SELECT_NONE);
    WaitForSelection(program, {});
    program.WaitForFocus(IDC_LIST);
    EXPECT_EQ(expected::kFolderView.Current(), program.ControlText(IDC_STATUS_FRAME));
}

TEST_F(MainDialogTest, MarksSelectedRowsForConversion)
{
    WriteThreeRecords();
    const CProgramUnderTest program;
    program.Click(IDC_MARK);  // with nothing selected
    program.WaitForFocus(IDC_LIST);
    EXPECT_EQ(ThreeRecords(Mark::converted), program.List().Rows());
    EXPECT_EQ(expected::kMapView.Current(), program.ControlText(IDC_STATUS_FRAME));
    ClickAt(program.List().CellPosition(1, 1));
    WaitForSelection(program, {1});
    program.Click(IDC_MARK);
    WaitForRows(program, ThreeRecords(Mark::pending));
    EXPECT_EQ(expected::kMapView.Current() + expected::kListChanged.Current(),
              program.ControlText(IDC_STATUS_FRAME));
}

TEST_F(MainDialogTest, ShowsTheMapFileOnDemand)
{
    AddThreeParts();
    const CProgramUnderTest program;
    ExpectMapFileMissing(program);
    EXPECT_EQ(ThreeRows(), program.List().Rows());
    EXPECT_EQ(expected::kFolderView.Current(), program.ControlText(IDC_STATUS_FRAME));
    WriteThreeRecords();
    program.Click(IDC_SHOW_MAP);
    WaitForRows(program, ThreeRecords(Mark::converted));
    EXPECT_EQ(expected::kMapView.Current(), program.ControlText(IDC_STATUS_FRAME));
}

TEST_F(MainDialogTest, AddsChosenFilesOfTheFolder)
{
    AddThreeParts();
    WriteThreeRecords();
    const CProgramUnderTest program;
    AddByPath(program, m_library.Part(L"N_ISO_4017_M6.sldprt"));
    Rows rows = ThreeRecords(Mark::converted);
    rows.insert(rows.begin(), ThreeRows()[1]);
    WaitForRows(program, rows);
    WaitForCaption(program, expected::kMapView.Current() + expected::kListChanged.Current());
    // A file that is there already is not added again.
    AddByPath(program, m_library.Part(L"N_ISO_4017_M6.sldprt"));
    program.WaitForRest();
    EXPECT_EQ(rows, program.List().Rows());
}

TEST_F(MainDialogTest, ChangesToTheFolderOfChosenFilesWhenTheAnswerIsYes)
{
    AddThreeParts();
    const CTestLibrary other;
    other.AddPart(L"N_ISO_4032_M8.sldprt", {L"x"});
    const CProgramUnderTest program;
    AddByPath(program, other.Part(L"N_ISO_4032_M8.sldprt"));
    ExpectQuestion(program, expected::kAddFromOtherFolder.Current(), IDNO);
    program.WaitForRest();
    EXPECT_EQ(ThreeRows(), program.List().Rows());
    EXPECT_EQ(m_library.Path(), program.ControlText(IDC_SOURCE_DIR));
    EXPECT_FALSE(PathExists(other.MappedPath()));
    AddByPath(program, other.Part(L"N_ISO_4032_M8.sldprt"));
    ExpectQuestion(program, expected::kAddFromOtherFolder.Current(), IDYES);
    program.WaitForText(IDC_MAPPED_DIR, other.MappedPath());
    EXPECT_EQ(other.Path(), program.ControlText(IDC_SOURCE_DIR));
    EXPECT_EQ((Rows{IsoRow(L"4032", L"M8", Mark::pending)}), program.List().Rows());
    EXPECT_TRUE(std::filesystem::is_directory(other.MappedPath()));
    EXPECT_EQ(expected::kFolderView.Current(), program.ControlText(IDC_STATUS_FRAME));
}

TEST_F(MainDialogTest, OffersTheInstalledVersions)
{
    const CProgramUnderTest program;
    const HWND versions = program.Control(IDC_VERSION);
    EXPECT_EQ(2, Ask(versions, CB_GETCOUNT));
    EXPECT_EQ(1, Ask(versions, CB_GETCURSEL)) << "the current version, 30";
    EXPECT_EQ(L"2022", TextOf(versions));
    program.FocusByKey(IDC_VERSION_LABEL, IDC_VERSION);
    PressKeys({VK_UP});
    program.WaitForText(IDC_VERSION, L"2017");
}

// Makes documents with the extension "pdf" open with the tests' own program, which notes their paths in a
// file.
class CDocumentViewer
{
public:
    explicit CDocumentViewer(std::wstring noteFile) : m_noteFile(std::move(noteFile)), m_before(Read())
    {
        Write(kExtension, kClass);
        Write(
            std::wstring(kClass) + L"\\shell\\open\\command",
            L"\"" + OwnFolder() + L"\\acceptance_tests.exe\" --note-document \"" + m_noteFile + L"\" \"%1\"");
    }
    ~CDocumentViewer()
    {
        Write(kExtension, m_before);
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, (std::wstring(kClasses) + kClass).c_str());
    }
    CDocumentViewer(const CDocumentViewer&) = delete;
    CDocumentViewer& operator=(const CDocumentViewer&) = delete;

    // On Windows a user's own choice of program comes before everything that is registered.
    static bool IsOverruled()
    {
        return RegGetValueW(
                   HKEY_CURRENT_USER,
                   L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\FileExts\\.pdf\\UserChoice",
                   L"ProgId", RRF_RT_REG_SZ, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
    }

    // The documents opened so far.
    [[nodiscard]] std::vector<std::wstring> Opened() const
    {
        return PathExists(m_noteFile) ? ReadLines(m_noteFile) : std::vector<std::wstring>();
    }

private:
    static constexpr const wchar_t* kClasses = L"SOFTWARE\\Classes\\";
    static constexpr const wchar_t* kExtension = L".pdf";
    static constexpr const wchar_t* kClass = L"TalvenorTestDocument";

    static std::wstring Read()
    {
        wchar_t text[256] = L"";
        DWORD bytes = sizeof text;
        RegGetValueW(HKEY_LOCAL_MACHINE, (std::wstring(kClasses) + kExtension).c_str(), nullptr,
                     RRF_RT_REG_SZ, nullptr, text, &bytes);
        return text;
    }
    static void Write(const std::wstring& key, const std::wstring& text)
    {
        RegSetKeyValueW(HKEY_LOCAL_MACHINE, (kClasses + key).c_str(), nullptr, REG_SZ, text.c_str(),
                        static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    }

    std::wstring m_noteFile;
    std::wstring m_before;
};

TEST_F(MainDialogTest, OpensTheHelpDocumentWithItsProgram)
{
    if (CDocumentViewer::IsOverruled()) {
        GTEST_SKIP() << "the user has chosen a program for documents of this kind";
    }
    const std::wstring document =
        m_temp /
        Text{L"Manuals\\ger\\Zelmar_Talvenor_Hilfe.pdf", L"Manuals\\us\\Zelmar_Talvenor_Hilfe.pdf"}.Current();
    std::filesystem::create_directories(std::filesystem::path(document).parent_path());
    WriteBytes(document, "help");
    m_registry.SetProgramFolder(m_temp.Path());
    const CDocumentViewer viewer(m_temp / L"opened.txt");
    const CProgramUnderTest program;
    program.Click(IDC_HELP_BUTTON);
    WaitFor([&] { return viewer.Opened().size() == 1; });
    EXPECT_EQ((std::vector{document}), viewer.Opened());
    PressKeys({VK_F1});
    WaitFor([&] { return viewer.Opened().size() == 2; });
    EXPECT_EQ((std::vector{document, document}), viewer.Opened());
}

TEST_F(MainDialogTest, ShowsItsAboutBox)
{
    const CProgramUnderTest program;
    // The system menu cannot be read or clicked on from another process.
    PostMessageW(program.MainWindow(), WM_SYSCOMMAND, IDM_ABOUT, 0);
    const HWND about = WaitFor([&] {
        const std::vector<HWND> windows = TopWindowsOf(program.ProcessId());
        return windows.size() == 2 && GetDlgItem(windows[0], IDOK) != nullptr ? windows[0] : nullptr;
    });
    ASSERT_NE(nullptr, about) << ToUtf8(DescribeScreen(program.ProcessId()));
    EXPECT_NE(std::wstring::npos, TextOf(about).find(L"Talvenor"));
    EXPECT_EQ(FALSE, IsWindowEnabled(program.MainWindow()));
    ClickOn(GetDlgItem(about, IDOK));
    program.WaitForRest();
}

}  // namespace
