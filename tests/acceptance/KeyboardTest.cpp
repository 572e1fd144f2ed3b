// The whole program with the mouse unplugged.
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

    static void DeleteAllRows(const CProgramUnderTest& program)
    {
        FocusFirstRow(program);
        PressKeys({VK_CONTROL, 'A'});
        WaitForSelection(program, {0, 1, 2});
        PressKeys({VK_DELETE});
        WaitForRows(program, {});
    }

    // Waits for a message box, compares its text and chooses its first button, which is the default, or the
    // one right of it.
    static void AnswerByKey(const CProgramUnderTest& program, const std::wstring& text, bool first = true)
    {
        const CMessageBoxOnScreen box = CMessageBoxOnScreen::WaitForOne(program.ProcessId());
        EXPECT_EQ(text, box.Text());
        if (!first) {
            PressKeys({VK_RIGHT});
        }
        PressKeys({VK_RETURN});
        box.WaitForEnd();
    }
};

TEST_F(KeyboardTest, ConvertsFromTheStartToTheEnd)
{
    const CProgramUnderTest program;
    FocusFirstRow(program);
    PressKeys({VK_F2});
    TypeOver(program, L"Schraube M4");
    const HWND editor = program.List().Editor();
    PressKeys({VK_TAB});
    WaitFor([&] { return program.List().Editor() != editor; });
    ExpectSelectedText(WaitForEditor(program), L"Norm 4017 - %2");
    TypeOver(program, L"Schraube %4 - %2");
    PressKeys({VK_RETURN});
    Rows rows = ThreeRows();
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
    AnswerByKey(program, expected::kFinished.Current());
    WaitForEndOfRun(program);
    EXPECT_EQ(ReadBytes(m_library.Part(L"N_ISO_4017_M4.sldprt")),
              ReadBytes(m_library.Copy(L"Schraube M4.sldprt")));
    EXPECT_EQ(ReadBytes(m_library.Part(L"N_ISO_4017_M8.sldprt")),
              ReadBytes(m_library.Copy(L"N_ISO_4017_M8.changed.sldprt")));
    EXPECT_FALSE(PathExists(m_library.Copy(L"N_ISO_4017_M6.changed.sldprt")));
    EXPECT_EQ(m_library.MapHeader() +
                  "N_ISO_4017_M4.sldprt ; Schraube M4.sldprt ; \r\n"
                  "N_ISO_4017_M8.sldprt ; N_ISO_4017_M8.changed.sldprt ; \r\n",
              m_library.MapFileBytes());
    WaitForCaption(program, expected::kMapView.Current());
    // Enter starts the next run, which asks first.
    program.WaitForFocus(IDC_LIST);
    PressKeys({VK_RETURN});
    AnswerByKey(program, OverwriteQuestion(), false);
    program.WaitForRest();
    PressKeys({VK_ESCAPE});
    EXPECT_EQ(0U, program.WaitForEnd());
}

TEST_F(KeyboardTest, WritesBomNamesOfNamesEditedByHand)
{
    const CProgramUnderTest program;
    FocusFirstRow(program);
    PressKeys({VK_SHIFT, VK_F2});
    TypeOver(program, L"Schraube %4 (%2)");
    PressKeys({VK_RETURN});
    PressKeys({VK_SHIFT, VK_END});
    WaitForSelection(program, {0, 1, 2});
    PressKeys({VK_HOME});
    WaitForSelection(program, {0});
    program.PressByKey(IDC_START);
    AnswerByKey(program, expected::kFinished.Current());
    WaitForEndOfRun(program);
    EXPECT_EQ((std::vector<BomEntry>{{L"x", true, L"Schraube M4 (x)"}}),
              ReadPart(m_library.Copy(L"N_ISO_4017_M4.changed.sldprt")).bomEntries);
}

TEST_F(KeyboardTest, ReachesEveryControlWithTheTabKey)
{
    const CProgramUnderTest program;
    program.WaitForKeyboard();
    program.FocusByKey(IDC_SOURCE_DIR);
    for (const int id : {IDC_BROWSE, IDC_MAPPED_DIR, IDC_LIST, IDC_ADD, IDC_DELETE, IDC_REMOVE_ALL,
                         IDC_SHOW_MAP, IDC_SELECT_ALL, IDC_SELECT_NONE, IDC_MARK, IDC_VERSION, IDC_COPY_ONLY,
                         IDC_START, IDCANCEL, IDC_HELP_BUTTON, IDC_SOURCE_DIR}) {
        PressKeys({VK_TAB});
        program.WaitForFocus(id);
    }
    PressKeys({VK_SHIFT, VK_TAB});
    program.WaitForFocus(IDC_HELP_BUTTON);
}

TEST_F(KeyboardTest, SelectsAndDeletesRows)
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
    WaitForRows(program, {ThreeRows()[2]});
    program.PressByKey(IDC_REMOVE_ALL);
    AnswerByKey(program, expected::kRemoveAll.Current());
    WaitForRows(program, {});
}

TEST_F(KeyboardTest, HasNothingToDoInAnEmptyList)
{
    const CProgramUnderTest program;
    DeleteAllRows(program);
    PressKeys({VK_F2});
    PressKeys({VK_SHIFT, VK_F2});
    PressKeys({VK_DELETE});
    PressKeys({VK_RETURN});  // the start button's, which has nothing to start
    // The program deals with this key behind the others; a menu or an editor would take it to itself.
    PressKeys({VK_MENU, '1'});
    EXPECT_TRUE(WaitFor([&] { return program.List().ColumnOrder() == std::vector<int>{1, 0, 2}; }));
    EXPECT_EQ(nullptr, program.List().Editor());
    EXPECT_TRUE(program.IsAtRest());
    EXPECT_EQ(expected::kFolderView.Current() + expected::kListChanged.Current(),
              program.ControlText(IDC_STATUS_FRAME));
    EXPECT_FALSE(PathExists(m_library.MappedPath()));
}

TEST_F(KeyboardTest, OpensTheMenusOfAnEmptyList)
{
    const CProgramUnderTest program;
    DeleteAllRows(program);
    PressKeys({VK_APPS});
    CMenuOnScreen::WaitForOne(program.ProcessId()).Dismiss();
    PressKeys({VK_CONTROL, VK_SHIFT, VK_F10});
    CMenuOnScreen::WaitForOne(program.ProcessId()).ChooseByKey(expected::kEditTemplate.Current());
    const HWND dialog = WaitFor([&] { return program.DialogWith(IDC_TEMPLATE_TEXT); });
    ASSERT_NE(nullptr, dialog);
    EXPECT_EQ(expected::kBomTemplate.Current(), TextOf(dialog));
    PressKeys({VK_ESCAPE});
    program.WaitForRest();
}

TEST_F(KeyboardTest, ComesBackToTheListAfterAnotherWindowTookTheFocusFromAnEditor)
{
    const CProgramUnderTest program;
    FocusFirstRow(program);
    PressKeys({VK_F2});
    TypeOver(program, L"x");
    const HWND other = CreateWindowExW(0, WC_STATICW, L"", WS_POPUP | WS_VISIBLE, 0, 0, 50, 50, nullptr,
                                       nullptr, nullptr, nullptr);
    SetForegroundWindow(other);
    EXPECT_TRUE(WaitFor([&] { return program.List().Editor() == nullptr; }));
    WaitForRows(program, Edited(ThreeRows(), 0, &RowOnScreen::renamed, L"x.sldprt"));
    SetForegroundWindow(program.MainWindow());
    DestroyWindow(other);
    program.WaitForKeyboard();
    program.WaitForFocus(IDC_LIST);
}

TEST_F(KeyboardTest, MarksRowsAndShowsTheMapFile)
{
    WriteThreeRecords();
    const CProgramUnderTest program;
    FocusFirstRow(program);
    program.PressByKey(IDC_MARK);
    WaitForRows(program, Edited(ThreeRecords(), 0, &RowOnScreen::renamed, L"A"));
    program.PressByKey(IDC_SHOW_MAP);
    WaitForRows(program, ThreeRecords());
}

TEST_F(KeyboardTest, ChangesTheFolder)
{
    const CTestLibrary other;
    other.AddPart(L"N_ISO_4032_M8.sldprt", {L"x"});
    const CProgramUnderTest program;
    program.WaitForKeyboard();
    const auto typeFolder = [&] {
        program.FocusByKey(IDC_SOURCE_DIR);
        TypeText(other.Path());  // over the folder, which is selected
        program.WaitForText(IDC_SOURCE_DIR, other.Path());
        PressKeys({VK_TAB});
    };
    typeFolder();
    AnswerByKey(program, expected::kChangeFolder.Current(), false);
    program.WaitForText(IDC_SOURCE_DIR, m_library.Path());
    typeFolder();
    AnswerByKey(program, expected::kChangeFolder.Current());
    WaitForRows(program, {IsoRow(L"4032", L"M8", Mark::pending)});
    EXPECT_EQ(other.MappedPath(), program.ControlText(IDC_MAPPED_DIR));
}

TEST_F(KeyboardTest, AddsFiles)
{
    WriteThreeRecords();
    const CProgramUnderTest program;
    program.WaitForKeyboard();
    program.PressByKey(IDC_ADD);
    ChooseInPicker(program, m_library.Part(L"N_ISO_4017_M6.sldprt"));
    Rows rows = ThreeRecords();
    rows.insert(rows.begin(), ThreeRows()[1]);
    WaitForRows(program, rows);
}

TEST_F(KeyboardTest, ChangesATemplateAndUsesIt)
{
    const CProgramUnderTest program;
    FocusFirstRow(program);
    PressKeys({VK_SHIFT, VK_F10});
    CMenuOnScreen::WaitForOne(program.ProcessId()).ChooseByKey(expected::kEditTemplate.Current());
    const HWND dialog = WaitFor([&] { return program.DialogWith(IDC_TEMPLATE_TEXT); });
    ASSERT_NE(nullptr, dialog);
    const HWND text = GetDlgItem(dialog, IDC_TEMPLATE_TEXT);
    ASSERT_TRUE(WaitFor([&] { return FocusOf(text) == text; }));
    PressKeys({VK_HOME});
    PressKeys({VK_SHIFT, VK_END});
    TypeText(L"%3-%4");
    WaitForTextOf(text, L"%3-%4");
    PressKeys({VK_RETURN});
    program.WaitForRest();
    EXPECT_EQ(L"%3-%4", m_registry.Template(1));
    program.WaitForFocus(IDC_LIST);
    PressKeys({VK_APPS});
    CMenuOnScreen::WaitForOne(program.ProcessId()).ChooseByKey(expected::kUseTemplate.Current());
    WaitForRows(program, Edited(ThreeRows(), 0, &RowOnScreen::renamed, L"4017-M4.sldprt"));
}

TEST_F(KeyboardTest, ShowsItsAboutBoxByTheSystemMenu)
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

TEST_F(KeyboardTest, Closes)
{
    const CProgramUnderTest program;
    program.WaitForKeyboard();
    PressKeys({VK_MENU, VK_F4});
    EXPECT_EQ(0U, program.WaitForEnd());
}

}  // namespace
