// Editing the cells of the list in place.
#include "tests/acceptance/ListTest.h"

namespace {

constexpr auto kRenamed = &RowOnScreen::renamed;
constexpr auto kBomName = &RowOnScreen::bomName;

class ListEditTest : public ListTest
{
protected:
    ListEditTest() { WriteThreeRecords(); }

    // Waits until the list holds the rows and the frame shows that it was changed.
    static void ExpectChanged(const CProgramUnderTest& program, const Rows& rows)
    {
        WaitForRows(program, rows);
        WaitForCaption(program, ChangedMapView());
        EXPECT_EQ(nullptr, program.List().Editor());
    }

    // Waits until the editor has closed; the list must match the map file then.
    static void ExpectUnchanged(const CProgramUnderTest& program)
    {
        WaitForNoEditor(program);
        // Keys are handled in order: once this one is, so is the end of the edit.
        program.WaitForFocus(IDC_LIST);
        PressKeys({VK_CONTROL, 'A'});
        WaitForSelection(program, {0, 1, 2});
        EXPECT_EQ(RowsOfThreeRecords(), program.List().Rows());
        EXPECT_EQ(expected::kMapView.Current(), program.ControlText(IDC_STATUS_FRAME));
        EXPECT_TRUE(program.IsAtRest());
    }
};
using ListEditInBothLanguages = ListEditTest;

TEST_F(ListEditTest, TakesTheTextOnEnterAndOnAClickElsewhereButNotOnEscape)
{
    const CProgramUnderTest program;
    OpenEditor(program, 0, 2);
    TypeOver(program, L"x/y");
    PressKeys({VK_ESCAPE});
    ExpectUnchanged(program);
    EditCell(program, 1, 1, L"M8x20");
    Rows rows = Edited(RowsOfThreeRecords(), 1, kRenamed, L"M8x20.sldprt");
    ExpectChanged(program, rows);
    program.WaitForFocus(IDC_LIST);
    OpenEditor(program, 2, 2);
    TypeOver(program, L"Mutter: M8");
    ClickAt(program.List().PositionBelowRows(0));
    ExpectChanged(program, Edited(rows, 2, kBomName, L"Mutter: M8"));
    EXPECT_TRUE(program.IsAtRest()) << "Enter does not press the default button";
}

TEST_F(ListEditTest, KeepsKeysForItself)
{
    const CProgramUnderTest program;
    const HWND editor = OpenEditor(program, 1, 1);
    TypeOver(program, L"XM8");
    PressKeys({VK_HOME});
    PressKeys({VK_DELETE});  // would delete the row
    WaitForTextOf(editor, L"M8");
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
    ExpectChanged(program, Edited(RowsOfThreeRecords(), 1, kRenamed, L"M8M8.sldprt"));
}

TEST_F(ListEditTest, AcceptsInputAfterAMessageThatAButtonBroughtUp)
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
    // Only Wine's buttons capture the mouse after the message: there the first click releases it.
    ClickAt(program.List().PositionBelowRows(0));
    ClickAt(program.List().CellPosition(2, 0));
    WaitForSelection(program, {2});
    program.Click(IDC_SELECT_ALL);
    WaitForSelection(program, {0, 1, 2});
}

TEST_F(ListEditInBothLanguages, ReportsForbiddenCharactersAndANameThatIsTaken)
{
    m_library.WriteMapFile("a ; A ; 1\nb ; x_y.sldprt ; 2\n");
    const CProgramUnderTest program;
    const Rows rows = program.List().Rows();
    EditCell(program, 0, 1, L"x*y");
    ExpectMessage(program, expected::kForbiddenInFileName.Current());
    ExpectMessage(program, expected::kNameTaken.Current());
    program.WaitForRest();
    EXPECT_EQ(rows, program.List().Rows());
    EditCell(program, 1, 2, L"x/y@z;1=2|3");
    ExpectMessage(program, expected::kForbiddenInBomName.Current());
    ExpectChanged(program, Edited(rows, 1, kBomName, L"x_y_z_1_2|3"));
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
    // The arrow at the lower end of the scroll bar, which is to the right of the client area.
    const int half = GetSystemMetrics(SM_CXVSCROLL) / 2;
    ClickAt({client.right + half, client.bottom - half});
    WaitForNoEditor(program);
    EXPECT_TRUE(WaitFor([&] { return list.CellRect(0, 0).top < top; }));
    EXPECT_EQ(L"by the bar", list.Rows()[3].bomName);
    WaitForCaption(program, ChangedMapView());
}

TEST_F(ListEditTest, TakesTheTextBeforeAButtonPressedByItsLetter)
{
    const CProgramUnderTest program;
    OpenEditor(program, 1, 1);
    TypeOver(program, L"M8");
    program.PressByKey(IDC_SELECT_ALL);
    ExpectChanged(program, Edited(RowsOfThreeRecords(), 1, kRenamed, L"M8.sldprt"));
    WaitForSelection(program, {0, 1, 2});
    // The row with the new name is deleted.
    OpenEditor(program, 1, 2);
    TypeOver(program, L"Mutter");
    program.PressByKey(IDC_DELETE);
    WaitForRows(program, {RowsOfThreeRecords()[0], RowsOfThreeRecords()[2]});
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

TEST_F(ListEditTest, ClosesWithoutAMessageDuringAnEdit)
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

// The first click moves the focus to the row, so the double-click finds it there.
TEST_F(ListEditTest, OpensOnADoubleClickWhateverRowHadTheFocus)
{
    const CProgramUnderTest program;
    ClickAt(program.List().CellPosition(0, 1));
    WaitForSelection(program, {0});
    DoubleClickAt(program.List().CellPosition(2, 2));
    WaitForEditor(program);
    EXPECT_EQ(2, program.List().FocusedRow());
    WaitForSelection(program, {2});
}

}  // namespace
