// The whole program without the mouse.
#include "tests/acceptance/ListTest.h"

namespace {

class KeyboardTest : public ListTest
{
protected:
    KeyboardTest()
    {
        AddThreeParts();
        SetCursorPos(0, 0);
    }

    // Waits for a message box, compares its text and presses its default button.
    static void PressDefaultButton(const CProgramUnderTest& program, const std::wstring& text)
    {
        AnswerByKeys(program, text, {{VK_RETURN}});
    }
    // Presses the button to the right of the default button instead.
    static void PressSecondButton(const CProgramUnderTest& program, const std::wstring& text)
    {
        AnswerByKeys(program, text, {{VK_RIGHT}, {VK_RETURN}});
    }

    // Opens the editor of the first row with F2, and edits both names.
    static void EditFirstRow(const CProgramUnderTest& program)
    {
        PressKeys({VK_F2});
        TypeOver(program, L"Schraube M4");
        const HWND editor = program.List().Editor();
        PressKeys({VK_TAB});
        WaitFor([&] { return program.List().Editor() != editor; });
        ExpectSelectedText(WaitForEditor(program), L"Norm 4017 - %2");
        TypeOver(program, L"Schraube %4 - %2");
        PressKeys({VK_RETURN});
    }

    // Expects the copies and the map file of a copy-only run in which the first row was edited and the second
    // was removed.
    void ExpectCopies() const
    {
        EXPECT_EQ(ReadBytes(m_library.Part(L"N_ISO_4017_M4.sldprt")),
                  ReadBytes(m_library.Copy(L"Schraube M4.sldprt")));
        EXPECT_EQ(ReadBytes(m_library.Part(L"N_ISO_4017_M8.sldprt")),
                  ReadBytes(m_library.Copy(L"N_ISO_4017_M8.changed.sldprt")));
        EXPECT_FALSE(FileExists(m_library.Copy(L"N_ISO_4017_M6.changed.sldprt")));
        EXPECT_EQ(m_library.MapHeader() +
                      "N_ISO_4017_M4.sldprt ; Schraube M4.sldprt ; \r\n"
                      "N_ISO_4017_M8.sldprt ; N_ISO_4017_M8.changed.sldprt ; \r\n",
                  m_library.MapFileBytes());
        EXPECT_EQ(std::vector<std::string>{}, m_server.Log());
    }

private:
    static void AnswerByKeys(const CProgramUnderTest& program, const std::wstring& text,
                             std::initializer_list<std::initializer_list<int>> presses)
    {
        const CMessageBoxOnScreen box = CMessageBoxOnScreen::WaitForOne(program.ProcessId());
        EXPECT_EQ(text, box.Text());
        for (const std::initializer_list<int>& keys : presses) {
            PressKeys(keys);
        }
        box.WaitForEnd();
    }
};
using KeyboardInBothLanguages = KeyboardTest;

TEST_F(KeyboardInBothLanguages, ConvertsFromTheStartToTheEnd)
{
    const CProgramUnderTest program;
    FocusFirstRow(program);
    EditFirstRow(program);
    Rows rows = RowsOfThreeParts();
    rows[0].renamed = L"Schraube M4.sldprt";
    rows[0].bomName = L"Schraube %4 - %2";
    WaitForRows(program, rows);
    WaitForCaption(program, expected::kFolderView.Current() + expected::kListChanged.Current());
    PressKeys({VK_DOWN});
    WaitForSelection(program, {1});
    PressKeys({VK_DELETE});
    rows.erase(rows.begin() + 1);
    WaitForRows(program, rows);
    program.PressByKey(IDC_COPY_ONLY);
    program.PressByKey(IDC_START);
    PressDefaultButton(program, expected::kFinished.Current());
    WaitForEndOfRun(program);
    ExpectCopies();
    WaitForCaption(program, expected::kMapView.Current());
    // Enter starts the next run, which first asks whether to overwrite the map file.
    program.WaitForFocus(IDC_LIST);
    PressKeys({VK_RETURN});
    PressSecondButton(program, OverwriteQuestion());
    program.WaitForRest();
    PressKeys({VK_ESCAPE});
    EXPECT_EQ(0U, program.WaitForEnd());
}

TEST_F(KeyboardInBothLanguages, ReachesEveryControlWithTheTabKey)
{
    const CProgramUnderTest program;
    program.WaitForKeyboard();
    program.FocusByKey(IDC_SOURCE_DIR);
    for (const int id : {IDC_BROWSE, IDC_MAPPED_DIR, IDC_LIST, IDC_ADD, IDC_DELETE, IDC_REMOVE_ALL,
                         IDC_SHOW_MAP, IDC_SELECT_ALL, IDC_SELECT_NONE, IDC_MARK, IDC_MORE, IDC_VERSION,
                         IDC_COPY_ONLY, IDC_START, IDCANCEL, IDC_HELP_BUTTON, IDC_SOURCE_DIR}) {
        PressKeys({VK_TAB});
        program.WaitForFocus(id);
    }
    PressKeys({VK_SHIFT, VK_TAB});
    program.WaitForFocus(IDC_HELP_BUTTON);
}

TEST_F(KeyboardInBothLanguages, SelectsAndRemovesRows)
{
    const CProgramUnderTest program;
    FocusFirstRow(program);
    PressKeys({VK_CONTROL, 'A'});
    WaitForSelection(program, {0, 1, 2});
    program.PressByKey(IDC_SELECT_NONE);
    WaitForSelection(program, {});
    program.PressByKey(IDC_SELECT_ALL);
    WaitForSelection(program, {0, 1, 2});
    PressKeys({VK_END});
    WaitForSelection(program, {2});
    PressKeys({VK_HOME});
    WaitForSelection(program, {0});
    PressKeys({VK_SHIFT, VK_DOWN});
    WaitForSelection(program, {0, 1});
    program.PressByKey(IDC_DELETE);
    WaitForRows(program, {RowsOfThreeParts()[2]});
    program.PressByKey(IDC_REMOVE_ALL);
    PressSecondButton(program, expected::kRemoveAll.Current());
    program.WaitForRest();
    program.WaitForKeyboard();
    EXPECT_EQ(Rows{RowsOfThreeParts()[2]}, program.List().Rows());
    program.PressByKey(IDC_REMOVE_ALL);
    PressDefaultButton(program, expected::kRemoveAll.Current());
    WaitForRows(program, {});
    for (const RowOnScreen& row : RowsOfThreeParts()) {
        EXPECT_TRUE(FileExists(m_library.Part(row.original))) << "only rows are removed, no files";
    }
}

TEST_F(KeyboardInBothLanguages, MarksRowsAddsFilesAndShowsTheMapFile)
{
    WriteThreeRecords();
    const CProgramUnderTest program;
    FocusFirstRow(program);
    program.PressByKey(IDC_MARK);
    Rows rows = Edited(RowsOfThreeRecords(), 0, &RowOnScreen::renamed, L"A");
    WaitForRows(program, rows);
    program.PressByKey(IDC_ADD);
    ChooseInPicker(program, m_library.Part(L"N_ISO_4017_M6.sldprt"));
    rows.insert(rows.begin(), RowsOfThreeParts()[1]);
    WaitForRows(program, rows);
    program.WaitForKeyboard();
    program.PressByKey(IDC_SHOW_MAP);
    WaitForRows(program, RowsOfThreeRecords());
}

TEST_F(KeyboardInBothLanguages, ShowsTheAboutBoxByTheSystemMenu)
{
    const CProgramUnderTest program;
    program.WaitForKeyboard();
    PressKeys({VK_MENU, VK_SPACE});
    CMenuOnScreen::WaitForOne(program.ProcessId());
    PressKeys({VK_UP});  // to the last entry
    PressKeys({VK_RETURN});
    const HWND about = WaitFor([&] {
        const std::vector<HWND> windows = TopWindowsOf(program.ProcessId());
        return windows.size() == 2 && TextOf(windows[0]) == expected::kAbout.Current() ? windows[0] : nullptr;
    });
    ASSERT_NE(nullptr, about) << ToUtf8(DescribeScreen(program.ProcessId()));
    PressKeys({VK_RETURN});
    program.WaitForRest();
}

TEST_F(KeyboardTest, ReturnsToTheListAfterAnotherWindowEndedAnEdit)
{
    const CProgramUnderTest program;
    FocusFirstRow(program);
    PressKeys({VK_F2});
    TypeOver(program, L"x");
    const HWND other = CreateWindowExW(0, WC_STATICW, L"", WS_POPUP | WS_VISIBLE, 0, 0, 50, 50, nullptr,
                                       nullptr, nullptr, nullptr);
    SetForegroundWindow(other);
    EXPECT_TRUE(WaitFor([&] { return program.List().Editor() == nullptr; }));
    WaitForRows(program, Edited(RowsOfThreeParts(), 0, &RowOnScreen::renamed, L"x.sldprt"));
    SetForegroundWindow(program.MainWindow());
    DestroyWindow(other);
    program.WaitForKeyboard();
    program.WaitForFocus(IDC_LIST);
}

}  // namespace
