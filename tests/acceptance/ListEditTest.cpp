// Editing the cells of the list in place.
#include "tests/acceptance/ListTest.h"

namespace {

constexpr auto kRenamed = &RowOnScreen::renamed;
constexpr auto kBomName = &RowOnScreen::bomName;

RECT PlaceOf(HWND window)
{
    RECT place{};
    GetWindowRect(window, &place);
    return place;
}

class ListEditTest : public ListTest
{
protected:
    ListEditTest() { WriteThreeRecords(); }

    // Waits until the list holds the rows and the frame tells of a change.
    static void ExpectChanged(const CProgramUnderTest& program, const Rows& rows)
    {
        WaitForRows(program, rows);
        WaitForCaption(program, ChangedMapView());
        EXPECT_EQ(nullptr, program.List().Editor());
    }

    // Waits until the editor has gone; the list is then as the map file has it.
    static void ExpectUnchanged(const CProgramUnderTest& program)
    {
        WaitForNoEditor(program);
        // The answer of the program to a key that comes behind: by then it has dealt with the edit's end.
        program.WaitForFocus(IDC_LIST);
        PressKeys({VK_CONTROL, 'A'});
        WaitForSelection(program, {0, 1, 2});
        EXPECT_EQ(ThreeRecords(), program.List().Rows());
        EXPECT_EQ(expected::kMapView.Current(), program.ControlText(IDC_STATUS_FRAME));
        EXPECT_TRUE(program.IsAtRest());
    }
};

TEST_F(ListEditTest, OpensOnADoubleClickInTheGeneratedColumns)
{
    const CProgramUnderTest program;
    HWND editor = OpenEditor(program, 1, 1);
    ExpectSelectedText(editor, L"B");
    RECT cell = program.List().CellRect(1, 1);
    // It begins 4 pixels into the cell and ends 1 pixel behind it, as 4 less 3 is 1.
    EXPECT_EQ((RECT{cell.left + 4, cell.top, cell.right + 1, cell.bottom}), PlaceOf(editor));
    PressKeys({VK_ESCAPE});
    WaitForNoEditor(program);
    editor = OpenEditor(program, 2, 2);
    ExpectSelectedText(editor, L"3");
    cell = program.List().CellRect(2, 2);
    EXPECT_EQ((RECT{cell.left + 4, cell.top, cell.right + 1, cell.bottom}), PlaceOf(editor));
    EXPECT_EQ(Selection{2}, program.List().Selection());
    PressKeys({VK_ESCAPE});
    ExpectUnchanged(program);
}

TEST_F(ListEditTest, OpensNotInTheColumnOfTheOriginalNames)
{
    const CProgramUnderTest program;
    DoubleClickAt(program.List().CellPosition(1, 0));
    WaitForSelection(program, {1});
    PressKeys({VK_CONTROL, 'A'});
    WaitForSelection(program, {0, 1, 2});
    EXPECT_EQ(nullptr, program.List().Editor());
    EXPECT_EQ(1, program.List().FocusedRow());
    DoubleClickAt(program.List().PositionBelowRows(1));
    WaitForSelection(program, {});
    EXPECT_EQ(nullptr, program.List().Editor());
}

TEST_F(ListEditTest, TakesTheTextOnEnter)
{
    const CProgramUnderTest program;
    Rename(program, 1, 1, L"M8x20");
    const Rows once = Edited(ThreeRecords(), 1, kRenamed, L"M8x20.sldprt");
    ExpectChanged(program, once);
    program.WaitForFocus(IDC_LIST);
    Rename(program, 2, 2, L"Mutter: M8");  // a colon is allowed here
    ExpectChanged(program, Edited(once, 2, kBomName, L"Mutter: M8"));
    EXPECT_TRUE(program.IsAtRest()) << "Enter is not for the default button";
}

TEST_F(ListEditTest, LeavesTheCellOnEscape)
{
    const CProgramUnderTest program;
    OpenEditor(program, 1, 1);
    TypeOver(program, L"M8x20");
    PressKeys({VK_ESCAPE});
    ExpectUnchanged(program);
    OpenEditor(program, 0, 2);
    TypeOver(program, L"x/y");
    PressKeys({VK_ESCAPE});
    ExpectUnchanged(program);
}

TEST_F(ListEditTest, TakesTheTextOnAClickElsewhere)
{
    const CProgramUnderTest program;
    OpenEditor(program, 0, 1);
    TypeOver(program, L"another row.SLDPRT");
    ClickAt(program.List().CellPosition(2, 0));
    Rows rows = Edited(ThreeRecords(), 0, kRenamed, L"another row.SLDPRT");
    ExpectChanged(program, rows);
    WaitForSelection(program, {2});

    OpenEditor(program, 1, 1);
    TypeOver(program, L"below the rows");
    ClickAt(program.List().PositionBelowRows(0));
    rows = Edited(rows, 1, kRenamed, L"below the rows.sldprt");
    ExpectChanged(program, rows);

    OpenEditor(program, 2, 2);
    TypeOver(program, L"a button");
    program.Click(IDC_SELECT_ALL);
    rows = Edited(rows, 2, kBomName, L"a button");
    ExpectChanged(program, rows);
    WaitForSelection(program, {0, 1, 2});

    OpenEditor(program, 0, 2);
    TypeOver(program, L"the folder");
    program.Focus(IDC_SOURCE_DIR);
    rows = Edited(rows, 0, kBomName, L"the folder");
    ExpectChanged(program, rows);
}

TEST_F(ListEditTest, ChangesNothingForBlanksOrTheSameText)
{
    const CProgramUnderTest program;
    OpenEditor(program, 1, 1);
    TypeOver(program, L"   ");
    PressKeys({VK_RETURN});
    ExpectUnchanged(program);
    const HWND editor = OpenEditor(program, 1, 1);
    PressKeys({VK_DELETE});  // the text goes, not the row
    WaitForTextOf(editor, L"");
    PressKeys({VK_RETURN});
    ExpectUnchanged(program);
    OpenEditor(program, 1, 2);
    PressKeys({VK_RETURN});
    ExpectUnchanged(program);
}

TEST_F(ListEditTest, KeepsTheDeleteKeyForItsText)
{
    const CProgramUnderTest program;
    const HWND editor = OpenEditor(program, 1, 1);
    TypeOver(program, L"XM8");
    PressKeys({VK_HOME});
    PressKeys({VK_DELETE});
    WaitForTextOf(editor, L"M8");
    PressKeys({VK_RETURN});
    ExpectChanged(program, Edited(ThreeRecords(), 1, kRenamed, L"M8.sldprt"));
}

TEST_F(ListEditTest, KeepsKeysWithCtrlForItself)
{
    const CProgramUnderTest program;
    const HWND editor = OpenEditor(program, 1, 1);
    TypeOver(program, L"M8");
    PressKeys({VK_CONTROL, '2'});     // would widen the column
    PressKeys({VK_CONTROL, 'A'});     // would select all rows
    PressKeys({VK_CONTROL, VK_TAB});  // would go on in the other column
    PressKeys({VK_HOME});
    PressKeys({VK_SHIFT, VK_END});
    PressKeys({VK_CONTROL, 'C'});
    PressKeys({VK_END});
    PressKeys({VK_CONTROL, 'V'});
    WaitForTextOf(editor, L"M8M8");
    EXPECT_EQ(175, program.List().ColumnWidth(1));
    EXPECT_EQ(Selection{1}, program.List().Selection());
    PressKeys({VK_RETURN});
    ExpectChanged(program, Edited(ThreeRecords(), 1, kRenamed, L"M8M8.sldprt"));
}

TEST_F(ListEditTest, GivesAssembliesTheExtensionOfParts)
{
    m_library.WriteMapFile("Frame.sldasm ; Rahmen.sldasm ; Rahmen\n");
    const CProgramUnderTest program;
    Rename(program, 0, 1, L"  Frame  ");
    ExpectChanged(program, {{L"Frame.sldasm", L"Frame.sldprt", L"Rahmen", Mark::pending}});
}

TEST_F(ListEditTest, KeepsTheOldNameWhenTheNewOneIsTaken)
{
    m_library.WriteMapFile("a ; A ; 1\nb ; B ; 2\nc ; C.sldprt ; 3\n");
    const CProgramUnderTest program;
    const Rows rows = program.List().Rows();
    Rename(program, 1, 1, L"C");
    ExpectMessage(program, expected::kNameTaken.Current());
    program.WaitForRest();
    WaitForNoEditor(program);
    EXPECT_EQ(rows, program.List().Rows());
    // The click that ends the edit brings the message up too.
    OpenEditor(program, 1, 1);
    TypeOver(program, L"C.sldprt");
    ClickAt(program.List().CellPosition(0, 0));
    ExpectMessage(program, expected::kNameTaken.Current());
    program.WaitForRest();
    WaitForNoEditor(program);
    EXPECT_EQ(rows, program.List().Rows());
    EXPECT_EQ(expected::kMapView.Current(), program.ControlText(IDC_STATUS_FRAME));
    // Names that differ in case only are two names.
    Rename(program, 1, 1, L"c");
    ExpectChanged(program, Edited(rows, 1, kRenamed, L"c.sldprt"));
}

TEST_F(ListEditTest, TakesInputAgainAfterAMessageThatAButtonBroughtUp)
{
    m_library.WriteMapFile("a ; A ; 1\nb ; B ; 2\nc ; C.sldprt ; 3\n");
    const CProgramUnderTest program;
    const Rows rows = program.List().Rows();
    OpenEditor(program, 1, 1);
    TypeOver(program, L"C");
    program.Click(IDC_SHOW_MAP);
    ExpectMessage(program, expected::kNameTaken.Current());
    program.WaitForRest();
    EXPECT_EQ(rows, program.List().Rows());
    // Wine's buttons, not those of Windows, take hold of the mouse behind the message only: there the first
    // click lets it go.
    ClickAt(program.List().PositionBelowRows(0));
    ClickAt(program.List().CellPosition(2, 0));
    WaitForSelection(program, {2});
    program.Click(IDC_SELECT_ALL);
    WaitForSelection(program, {0, 1, 2});
}

TEST_F(ListEditTest, PutsUnderscoresForForbiddenCharactersOfFileNames)
{
    const CProgramUnderTest program;
    Rename(program, 1, 1, L"a|b<c>.sldprt");
    ExpectMessage(program, expected::kForbiddenInFileName.Current());
    Rows rows = Edited(ThreeRecords(), 1, kRenamed, L"a_b_c_.sldprt");
    ExpectChanged(program, rows);
    // A run of dots becomes one without a word.
    Rename(program, 2, 1, L"part...sldprt");
    rows = Edited(rows, 2, kRenamed, L"part.sldprt");
    ExpectChanged(program, rows);
    // The message comes every time, and on a click elsewhere too.
    OpenEditor(program, 0, 1);
    TypeOver(program, L"x:y");
    program.Click(IDC_SELECT_ALL);
    ExpectMessage(program, expected::kForbiddenInFileName.Current());
    ExpectChanged(program, Edited(rows, 0, kRenamed, L"x_y.sldprt"));
}

TEST_F(ListEditTest, PutsUnderscoresForForbiddenCharactersOfBomNames)
{
    const CProgramUnderTest program;
    Rename(program, 1, 2, L"x/y@z;1=2|3");
    ExpectMessage(program, expected::kForbiddenInBomName.Current());
    ExpectChanged(program, Edited(ThreeRecords(), 1, kBomName, L"x_y_z_1_2|3"));
}

TEST_F(ListEditTest, AsksForBothMessagesOfOneName)
{
    m_library.WriteMapFile("a ; A ; 1\nb ; x_y.sldprt ; 2\n");
    const CProgramUnderTest program;
    const Rows rows = program.List().Rows();
    Rename(program, 0, 1, L"x*y");
    ExpectMessage(program, expected::kForbiddenInFileName.Current());
    ExpectMessage(program, expected::kNameTaken.Current());
    program.WaitForRest();
    EXPECT_EQ(rows, program.List().Rows());
}

TEST_F(ListEditTest, GrowsWithTheTypingToTheEndOfTheList)
{
    const CProgramUnderTest program;
    const HWND editor = OpenEditor(program, 1, 1);
    const RECT begin = PlaceOf(editor);
    const LONG end = program.List().ClientRect().right;
    ASSERT_LT(begin.right, end);
    TypeOver(program, L"M8");
    EXPECT_EQ(begin, PlaceOf(editor)) << "there is room enough";
    std::wstring text = L"M8";
    RECT place = begin;
    while (place.right == begin.right && text.size() < 100) {
        TypeText(L"M");
        text += L'M';
        WaitForTextOf(editor, text);
        place = PlaceOf(editor);
    }
    EXPECT_LT(text.size(), 100U) << "the editor does not grow";
    // Not before the text fills the editor: no letter of the font is 40 pixels wide.
    EXPECT_GT(place.right, begin.right);
    EXPECT_LT(place.right, begin.right + 40);
    EXPECT_EQ((RECT{begin.left, begin.top, place.right, begin.bottom}), place);
    TypeText(std::wstring(100, L'W'));
    text += std::wstring(100, L'W');
    WaitForTextOf(editor, text);
    EXPECT_EQ((RECT{begin.left, begin.top, end, begin.bottom}), PlaceOf(editor));
    PressKeys({VK_RETURN});
    ExpectChanged(program, Edited(ThreeRecords(), 1, kRenamed, text + L".sldprt"));
}

TEST_F(ListEditTest, EndsWhenTheListScrolls)
{
    WriteManyRecords();
    const CProgramUnderTest program;
    const CListOnScreen list = program.List();
    const LONG top = list.CellRect(0, 0).top;
    OpenEditor(program, 2, 1);
    TypeOver(program, L"by the wheel");
    TurnWheelAt(list.CellPosition(5, 0), -1);
    WaitForNoEditor(program);
    EXPECT_TRUE(WaitFor([&] { return list.CellRect(0, 0).top < top; }));
    EXPECT_EQ(L"by the wheel.sldprt", list.Rows()[2].renamed);

    PressKeys({VK_HOME});
    EXPECT_TRUE(WaitFor([&] { return list.CellRect(0, 0).top == top; }));
    OpenEditor(program, 3, 2);
    TypeOver(program, L"by the bar");
    const RECT client = list.ClientRect();
    // Right of the client area lies the scroll bar, at its lower end the arrow.
    const int half = GetSystemMetrics(SM_CXVSCROLL) / 2;
    ClickAt({client.right + half, client.bottom - half});
    WaitForNoEditor(program);
    EXPECT_TRUE(WaitFor([&] { return list.CellRect(0, 0).top < top; }));
    EXPECT_EQ(L"by the bar", list.Rows()[3].bomName);
    WaitForCaption(program, ChangedMapView());
}

TEST_F(ListEditTest, EndsWhenTheWheelTurnsOverIt)
{
    WriteManyRecords();
    const CProgramUnderTest program;
    const HWND editor = OpenEditor(program, 2, 1);
    TypeOver(program, L"M8");
    const RECT place = PlaceOf(editor);
    TurnWheelAt({place.left + 5, place.top + 5}, -1);
    WaitForNoEditor(program);
    EXPECT_EQ(L"M8.sldprt", program.List().Rows()[2].renamed);
}

TEST_F(ListEditTest, GoesOnInTheOtherColumnOnTab)
{
    const CProgramUnderTest program;
    const HWND first = OpenEditor(program, 1, 1);
    TypeOver(program, L"M8");
    PressKeys({VK_TAB});
    WaitFor([&] { return program.List().Editor() != first; });
    ExpectSelectedText(WaitForEditor(program), L"2");
    Rows rows = Edited(ThreeRecords(), 1, kRenamed, L"M8.sldprt");
    WaitForRows(program, rows);
    TypeOver(program, L"Mutter");
    const HWND second = program.List().Editor();
    PressKeys({VK_TAB});
    WaitFor([&] { return program.List().Editor() != second; });
    ExpectSelectedText(WaitForEditor(program), L"M8.sldprt");
    rows = Edited(rows, 1, kBomName, L"Mutter");
    WaitForRows(program, rows);
    PressKeys({VK_ESCAPE});
    ExpectChanged(program, rows);
}

TEST_F(ListEditTest, TakesTheTextBeforeAButtonPressedByItsKey)
{
    const CProgramUnderTest program;
    OpenEditor(program, 1, 1);
    TypeOver(program, L"M8");
    program.PressByKey(IDC_SELECT_ALL);
    ExpectChanged(program, Edited(ThreeRecords(), 1, kRenamed, L"M8.sldprt"));
    WaitForSelection(program, {0, 1, 2});
    // The new name is in the rows that go.
    OpenEditor(program, 1, 2);
    TypeOver(program, L"Mutter");
    program.PressByKey(IDC_DELETE);
    WaitForRows(program, {ThreeRecords()[0], ThreeRecords()[2]});
    EXPECT_EQ(nullptr, program.List().Editor());
    EXPECT_TRUE(program.IsAtRest());
}

TEST_F(ListEditTest, TakesTheTextBeforeTheRunThatAClickStarts)
{
    m_library.AddPart(L"N_ISO_4017_M4.sldprt", {L"x"});
    m_library.WriteMapFile("N_ISO_4017_M4.sldprt ; A.sldprt ; 1\n");
    const CProgramUnderTest program;
    program.Click(IDC_COPY_ONLY);
    OpenEditor(program, 0, 1);
    TypeOver(program, L"Schraube M4");
    program.Click(IDC_START);
    ExpectQuestion(program, OverwriteQuestion(), IDYES);
    ExpectMessage(program, expected::kFinished.Current());
    WaitForEndOfRun(program);
    EXPECT_EQ(ReadBytes(m_library.Part(L"N_ISO_4017_M4.sldprt")),
              ReadBytes(m_library.Copy(L"Schraube M4.sldprt")));
    EXPECT_FALSE(PathExists(m_library.Copy(L"A.sldprt")));
    WaitForRows(program, {{L"N_ISO_4017_M4.sldprt", L"Schraube M4.sldprt", L"1", Mark::converted}});
}

TEST_F(ListEditTest, ClosesWithoutAWordDuringAnEdit)
{
    for (const std::wstring& text : {std::wstring(L"C"), std::wstring(L"x*y")}) {
        m_library.WriteMapFile("a ; A ; 1\nb ; B ; 2\nc ; C.sldprt ; 3\n");
        const CProgramUnderTest program;
        OpenEditor(program, 1, 1);
        TypeOver(program, text);
        PressKeys({VK_MENU, VK_F4});
        EXPECT_EQ(0U, program.WaitForEnd());
    }
}

// The first of the two clicks gives the row the focus, so that the second one finds it there. A row without
// the focus meets a double-click on its own only when a program sends one.
TEST_F(ListEditTest, OpensAtARealDoubleClickWhateverRowHadTheFocus)
{
    const CProgramUnderTest program;
    ClickAt(program.List().CellPosition(0, 1));
    WaitForSelection(program, {0});
    DoubleClickAt(program.List().CellPosition(2, 2));
    WaitForEditor(program);
    EXPECT_EQ(2, program.List().FocusedRow());
    WaitForSelection(program, {2});
}

TEST_F(ListEditTest, EndsWhenTheWindowIsResized)
{
    const CProgramUnderTest program;
    OpenEditor(program, 0, 1);
    TypeOver(program, L"x");
    SetWindowPos(program.MainWindow(), nullptr, 0, 0, 1000, 700, SWP_NOMOVE | SWP_NOZORDER);
    WaitForNoEditor(program);
    WaitForRows(program, Edited(ThreeRecords(), 0, kRenamed, L"x.sldprt"));
}

TEST_F(ListEditTest, SetsTheMarkOfAChangedListOnce)
{
    const CProgramUnderTest program;
    Rename(program, 0, 1, L"x");
    WaitForCaption(program, ChangedMapView());
    Rename(program, 1, 1, L"y");
    WaitForRows(program, Edited(Edited(ThreeRecords(), 0, kRenamed, L"x.sldprt"), 1, kRenamed, L"y.sldprt"));
    program.Click(IDC_SELECT_NONE);  // behind the news of the edit
    WaitForSelection(program, {});
    EXPECT_EQ(ChangedMapView(), program.ControlText(IDC_STATUS_FRAME));
}

}  // namespace
