// The commands of the main dialog, except the conversion run.
#include <windows.h>

#include <commctrl.h>

#include <filesystem>
#include <map>
#include <set>

#include "tests/acceptance/AcceptanceTest.h"
#include "tests/acceptance/OwnFolder.h"

namespace {

class MainDialogTest : public AcceptanceTest
{
protected:
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
        ChooseInPicker(program, path);
    }

    // Opens the folder picker and chooses in it what the keys lead to; with no keys the picker is cancelled.
    static void Browse(const CProgramUnderTest& program, const std::vector<int>& keys)
    {
        program.Click(IDC_BROWSE);
        const HWND picker = WaitFor([&] { return WindowShowing(program, expected::kPickFolder.Current()); });
        if (picker == nullptr) {
            throw CNotOnScreen(L"the folder picker", program.ProcessId());
        }
        const HWND tree = WaitFor([&] { return TreeOf(picker); });
        ASSERT_TRUE(WaitFor([&] { return Ask(tree, TVM_GETCOUNT) > 0; }));
        if (!keys.empty()) {
            ClickOn(tree);
            ASSERT_TRUE(WaitFor([&] { return FocusOf(tree) == tree; }));
        }
        for (const int key : keys) {
            PressKeys({key});
        }
        const int button = keys.empty() ? IDCANCEL : IDOK;
        ASSERT_TRUE(WaitFor([&] { return IsWindowEnabled(GetDlgItem(picker, button)) != FALSE; }));
        ClickOn(GetDlgItem(picker, button));
        WaitFor([&] { return IsWindow(picker) == FALSE; });
    }
    // The window of the program in which a text stands.
    static HWND WindowShowing(const CProgramUnderTest& program, const std::wstring& text)
    {
        for (const HWND window : TopWindowsOf(program.ProcessId())) {
            for (const HWND control : ControlsOf(window)) {
                if (TextOf(control) == text) {
                    return window;
                }
            }
        }
        return nullptr;
    }
    static HWND TreeOf(HWND picker)
    {
        for (const HWND control : ControlsOf(picker)) {
            if (ClassOf(control) == WC_TREEVIEWW) {
                return control;
            }
        }
        return nullptr;
    }

    // Answers the message about a folder that does not exist, and expects the folder selected in its field.
    static void ExpectFolderRefused(const CProgramUnderTest& program, const std::wstring& text)
    {
        ExpectMessage(program, expected::kNoSuchFolder.Current());
        const HWND field = program.Control(IDC_SOURCE_DIR);
        EXPECT_TRUE(WaitFor([&] { return FocusOf(field) == field; }));
        EXPECT_EQ(text, program.ControlText(IDC_SOURCE_DIR));
        const auto range = Ask(program.Control(IDC_SOURCE_DIR), EM_GETSEL);
        EXPECT_EQ(0, LOWORD(range));
        EXPECT_EQ(text.size(), HIWORD(range));
    }
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
    ExpectFolderRefused(program, missing);
    PressKeys({VK_SHIFT, VK_TAB});
    ExpectFolderRefused(program, missing);
    EXPECT_EQ(ThreeRows(), program.List().Rows());
    // The folder goes back to what it was by typing, without a question.
    TypeText(m_library.Path());
    program.WaitForText(IDC_SOURCE_DIR, m_library.Path());
    ExpectMapFileMissing(program);
}

TEST_F(MainDialogTest, StartsNothingWhileTheFieldShowsAMissingFolder)
{
    AddThreeParts();
    const CProgramUnderTest program;
    const std::wstring missing = m_library.Path() + L"\\keiner";
    program.Click(IDC_COPY_ONLY);
    program.TypeInto(IDC_SOURCE_DIR, missing);
    program.PressByKey(IDC_START);
    ExpectFolderRefused(program, missing);
    TypeText(m_library.Path());
    program.WaitForText(IDC_SOURCE_DIR, m_library.Path());
    ExpectMapFileMissing(program);
    EXPECT_FALSE(PathExists(m_library.MappedPath()));
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

TEST_F(MainDialogTest, CutsDotsBeforeBackslashesOffATypedFolder)
{
    AddThreeParts();
    const CProgramUnderTest program;
    program.TypeInto(IDC_SOURCE_DIR, m_library.Path() + L".\\");
    PressKeys({VK_TAB});
    // The dot stays, and with it the text is another one than before.
    const CMessageBoxOnScreen box = CMessageBoxOnScreen::WaitForOne(program.ProcessId());
    EXPECT_EQ(expected::kChangeFolder.Current(), box.Text());
    EXPECT_EQ(m_library.Path() + L".", program.ControlText(IDC_SOURCE_DIR));
    box.Answer(IDYES);
    program.WaitForText(IDC_MAPPED_DIR, m_library.Path() + L".\\Mapped");
    EXPECT_EQ(m_library.Path() + L".", program.ControlText(IDC_SOURCE_DIR));
    EXPECT_EQ(ThreeRows(), program.List().Rows());
}

TEST_F(MainDialogTest, TakesATypedDrive)
{
    AddThreeParts();
    const CProgramUnderTest program;
    program.TypeInto(IDC_SOURCE_DIR, L"c:\\");
    PressKeys({VK_TAB});
    ExpectQuestion(program, expected::kChangeFolder.Current(), IDYES);
    program.WaitForText(IDC_MAPPED_DIR, L"c:\\Mapped");
    EXPECT_EQ(L"c:", program.ControlText(IDC_SOURCE_DIR));
    WaitForRows(program, {});
}

TEST_F(MainDialogTest, TakesATypedRootThatOnlyTheVolumeQueryKnows)
{
    // A stand-in for the root of a share: without a backslash at its end this is a device, not a folder.
    const std::wstring root = L"\\\\?\\C:";
    if (PathExists(root) || GetVolumeInformationW((root + L"\\").c_str(), nullptr, 0, nullptr, nullptr,
                                                  nullptr, nullptr, 0) == FALSE) {
        GTEST_SKIP() << "skipped: this machine has no root that only the volume query knows";
    }
    AddThreeParts();
    const CProgramUnderTest program;
    program.TypeInto(IDC_SOURCE_DIR, root + L"\\");
    PressKeys({VK_TAB});
    ExpectQuestion(program, expected::kChangeFolder.Current(), IDYES);
    program.WaitForText(IDC_SOURCE_DIR, root);
    // What does not exist as a folder is not loaded.
    WaitForRows(program, {});
    EXPECT_EQ(expected::kFolderView.Current(), program.ControlText(IDC_STATUS_FRAME));
}

TEST_F(MainDialogTest, TellsThatAShareDoesNotExist)
{
    AddThreeParts();
    const CProgramUnderTest program;
    program.TypeInto(IDC_SOURCE_DIR, L"\\\\127.0.0.1\\no such share\\");
    PressKeys({VK_TAB});
    ExpectFolderRefused(program, L"\\\\127.0.0.1\\no such share");
    EXPECT_EQ(ThreeRows(), program.List().Rows());
}

TEST_F(MainDialogTest, LoadsNothingForAFileTypedAsTheFolder)
{
    AddThreeParts();
    const CProgramUnderTest program;
    const std::wstring file = m_library.Part(L"N_ISO_4017_M6.sldprt");
    program.TypeInto(IDC_SOURCE_DIR, file);
    PressKeys({VK_TAB});
    ExpectQuestion(program, expected::kChangeFolder.Current(), IDYES);
    program.WaitForText(IDC_MAPPED_DIR, file + L"\\Mapped");
    WaitForRows(program, {});
}

TEST_F(MainDialogTest, ReloadsTheFolderWhenAPickedOneIsRefused)
{
    AddThreeParts();
    const CProgramUnderTest program;
    program.Click(IDC_SELECT_ALL);
    program.Click(IDC_DELETE);
    WaitForCaption(program, expected::kFolderView.Current() + expected::kListChanged.Current());
    Browse(program, {});
    program.WaitForRest();
    EXPECT_EQ(Rows{}, program.List().Rows()) << "a cancel changes nothing";
    Browse(program, {VK_HOME});
    ExpectQuestion(program, expected::kChangeFolder.Current(), IDNO);
    WaitForRows(program, ThreeRows());
    WaitForCaption(program, expected::kFolderView.Current());
    EXPECT_EQ(m_library.Path(), program.ControlText(IDC_SOURCE_DIR));
    EXPECT_EQ(m_library.MappedPath(), program.ControlText(IDC_MAPPED_DIR));
}

TEST_F(MainDialogTest, ChangesToAPickedFolderWhenTheAnswerIsYes)
{
    AddThreeParts();
    const CProgramUnderTest program;
    Browse(program, {VK_HOME});
    ExpectQuestion(program, expected::kChangeFolder.Current(), IDYES);
    WaitFor([&] { return program.ControlText(IDC_SOURCE_DIR) != m_library.Path(); });
    const std::wstring folder = program.ControlText(IDC_SOURCE_DIR);
    EXPECT_TRUE(std::filesystem::is_directory(folder));
    EXPECT_EQ(folder + L"\\Mapped", program.ControlText(IDC_MAPPED_DIR));
    EXPECT_EQ(Rows{}, program.List().Rows());
    EXPECT_EQ(expected::kFolderView.Current(), program.ControlText(IDC_STATUS_FRAME));
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

TEST_F(MainDialogTest, PressesTheClickedButtonAgainWithEnter)
{
    AddThreeParts();
    const CProgramUnderTest program;
    const auto cancelPicker = [&] {
        const HWND picker = WaitFor([&] { return WindowShowing(program, expected::kPickFolder.Current()); });
        ASSERT_NE(nullptr, picker) << ToUtf8(DescribeScreen(program.ProcessId()));
        ASSERT_TRUE(WaitFor([&] { return FocusOf(picker) != nullptr; }));
        PressKeys({VK_ESCAPE});
        program.WaitForRest();
        program.WaitForFocus(IDC_BROWSE);
    };
    program.Click(IDC_BROWSE);
    cancelPicker();
    PressKeys({VK_RETURN});
    cancelPicker();
    EXPECT_FALSE(PathExists(m_library.MappedPath())) << "no run has started";
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
    EXPECT_EQ(ThreeRecords(), program.List().Rows());
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
    EXPECT_EQ(ThreeRecords(), program.List().Rows());
    EXPECT_EQ(expected::kMapView.Current(), program.ControlText(IDC_STATUS_FRAME));
    ClickAt(program.List().CellPosition(1, 1));
    WaitForSelection(program, {1});
    program.Click(IDC_MARK);
    WaitForRows(program, Edited(ThreeRecords(), 1, &RowOnScreen::renamed, L"B"));
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
    WaitForRows(program, ThreeRecords());
    EXPECT_EQ(expected::kMapView.Current(), program.ControlText(IDC_STATUS_FRAME));
}

TEST_F(MainDialogTest, TellsThatTheMapFileIsLocked)
{
    AddThreeParts();
    const CProgramUnderTest program;
    program.Click(IDC_SELECT_ALL);
    WaitForSelection(program, {0, 1, 2});
    WriteThreeRecords();
    {
        const UniqueHandle lock = LockFile(m_library.MapPath());
        program.Click(IDC_SHOW_MAP);
        ExpectMessage(program, expected::kNotReadLead + m_library.MapPath() + expected::kNotReadEnd);
        ExpectMessage(program, expected::kMapMissingLead.Current() + m_library.MapPath() +
                                   expected::kMapMissingEnd.Current());
        program.WaitForRest();
        EXPECT_EQ(ThreeRows(), program.List().Rows());
        EXPECT_EQ((Selection{0, 1, 2}), program.List().Selection());
        EXPECT_EQ(expected::kFolderView.Current(), program.ControlText(IDC_STATUS_FRAME));
    }
    program.Click(IDC_SHOW_MAP);
    WaitForRows(program, ThreeRecords());
}

TEST_F(MainDialogTest, ShowsTheMapFileWithoutAQuestionAboutChanges)
{
    WriteThreeRecords();
    const CProgramUnderTest program;
    program.Click(IDC_SELECT_ALL);
    program.Click(IDC_MARK);
    WaitForCaption(program, expected::kMapView.Current() + expected::kListChanged.Current());
    program.Click(IDC_MARK);  // the mark of the change is not set twice
    program.Click(IDC_SELECT_NONE);
    WaitForSelection(program, {});
    EXPECT_EQ(expected::kMapView.Current() + expected::kListChanged.Current(),
              program.ControlText(IDC_STATUS_FRAME));
    program.Click(IDC_SHOW_MAP);
    WaitForRows(program, ThreeRecords());
    WaitForCaption(program, expected::kMapView.Current());
}

TEST_F(MainDialogTest, AddsSeveralFilesAtOnce)
{
    AddThreeParts();
    WriteThreeRecords();
    const CProgramUnderTest program;
    AddByPath(program, L"\"N_ISO_4017_M8.sldprt\" \"N_ISO_4017_M4.sldprt\"");
    Rows rows = ThreeRecords();
    rows.insert(rows.begin(), {ThreeRows()[0], ThreeRows()[2]});
    WaitForRows(program, rows);
    WaitForCaption(program, expected::kMapView.Current() + expected::kListChanged.Current());
}

TEST_F(MainDialogTest, KeepsItsFolderWhenTheOtherOneTakesNoCopies)
{
    AddThreeParts();
    const CTestLibrary other;
    other.AddPart(L"N_ISO_4032_M8.sldprt", {L"x"});
    WriteBytes(other.MappedPath(), "a file");
    const CProgramUnderTest program;
    AddByPath(program, other.Part(L"N_ISO_4032_M8.sldprt"));
    ExpectQuestion(program, expected::kAddFromOtherFolder.Current(), IDYES);
    ExpectMessage(program, expected::kNoFolderLead.Current() + other.MappedPath() +
                               expected::kNoFolderFileThere.Current());
    program.WaitForRest();
    EXPECT_EQ(ThreeRows(), program.List().Rows());
    EXPECT_EQ(m_library.Path(), program.ControlText(IDC_SOURCE_DIR));
    EXPECT_EQ(m_library.MappedPath(), program.ControlText(IDC_MAPPED_DIR));
}

TEST_F(MainDialogTest, AddsChosenFilesOfTheFolder)
{
    AddThreeParts();
    WriteThreeRecords();
    const CProgramUnderTest program;
    AddByPath(program, m_library.Part(L"N_ISO_4017_M6.sldprt"));
    Rows rows = ThreeRecords();
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
    program.FocusByKey(IDC_VERSION);
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

// ---- Size

RECT PlaceOf(HWND window)
{
    RECT place{};
    GetWindowRect(window, &place);
    return place;
}

// How far a control's edges lie from where they were, as seen from the window's top left corner.
RECT Moved(const RECT& before, const RECT& after)
{
    return {after.left - before.left, after.top - before.top, after.right - before.right,
            after.bottom - before.bottom};
}

// How many different colours there are on the screen along the middle of a place.
std::size_t ColoursOn(const RECT& place)
{
    const HDC screen = GetDC(nullptr);
    std::set<COLORREF> colours;
    for (LONG x = place.left; x < place.right; ++x) {
        colours.insert(GetPixel(screen, x, (place.top + place.bottom) / 2));
    }
    ReleaseDC(nullptr, screen);
    return colours.size();
}

class WindowSizeTest : public AcceptanceTest
{
protected:
    // The controls' places in the main dialog.
    static std::map<int, RECT> Places(const CProgramUnderTest& program)
    {
        std::map<int, RECT> places;
        for (const int id :
             {IDC_SOURCE_DIR, IDC_BROWSE, IDC_LIST, IDC_ADD, IDC_MARK, IDC_VERSION, IDC_START}) {
            places[id] = PlaceOf(program.Control(id));
            MapWindowPoints(nullptr, program.MainWindow(), reinterpret_cast<POINT*>(&places[id]), 2);
        }
        return places;
    }
    static void Resize(const CProgramUnderTest& program, LONG width, LONG height)
    {
        SetWindowPos(program.MainWindow(), nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER);
    }
    // Waits until the start button has moved to the right by so many pixels from where it was.
    static void WaitForStartAt(const CProgramUnderTest& program, const std::map<int, RECT>& before,
                               LONG right)
    {
        WaitFor([&] { return Places(program).at(IDC_START).left == before.at(IDC_START).left + right; },
                5000);
    }
};

TEST_F(WindowSizeTest, GivesTheListTheRoomOfALargerWindow)
{
    const CProgramUnderTest program;
    program.WaitForKeyboard();
    const RECT window = PlaceOf(program.MainWindow());
    const std::map<int, RECT> before = Places(program);
    Resize(program, window.right - window.left + 200, window.bottom - window.top + 100);
    const std::map<int, RECT> expected{{IDC_SOURCE_DIR, {0, 0, 200, 0}}, {IDC_BROWSE, {200, 0, 200, 0}},
                                       {IDC_LIST, {0, 0, 200, 100}},     {IDC_ADD, {0, 100, 0, 100}},
                                       {IDC_MARK, {0, 100, 0, 100}},     {IDC_VERSION, {0, 100, 0, 100}},
                                       {IDC_START, {200, 100, 200, 100}}};
    WaitForStartAt(program, before, 200);
    for (const auto& [id, place] : Places(program)) {
        const RECT moved = Moved(before.at(id), place);
        EXPECT_TRUE(EqualRect(&moved, &expected.at(id))) << id;
    }
}

TEST_F(WindowSizeTest, IsNeverSmallerThanItsControlsNeed)
{
    const CProgramUnderTest program;
    program.WaitForKeyboard();
    const RECT window = PlaceOf(program.MainWindow());
    const std::map<int, RECT> before = Places(program);
    Resize(program, window.right - window.left + 50, window.bottom - window.top + 50);
    WaitForStartAt(program, before, 50);
    Resize(program, 200, 100);
    WaitForStartAt(program, before, 0);
    const RECT smallest = PlaceOf(program.MainWindow());
    EXPECT_EQ(window.right - window.left, smallest.right - smallest.left);
    EXPECT_EQ(window.bottom - window.top, smallest.bottom - smallest.top);
}

TEST_F(WindowSizeTest, ShowsItsButtonsWhenItIsMaximised)
{
    const CProgramUnderTest program;
    program.WaitForKeyboard();
    const RECT before = PlaceOf(program.Control(IDC_START));
    ShowWindow(program.MainWindow(), SW_MAXIMIZE);
    ASSERT_TRUE(WaitFor([&] { return PlaceOf(program.Control(IDC_START)).left > before.left; }));
    for (const int id : {IDC_BROWSE, IDC_ADD, IDC_DELETE, IDC_MARK, IDC_COPY_ONLY, IDC_START, IDCANCEL}) {
        const HWND control = program.Control(id);
        EXPECT_TRUE(WaitFor([&] { return ColoursOn(PlaceOf(control)) > 2; }, 5000)) << id;
    }
}

}  // namespace
