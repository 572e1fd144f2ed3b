// The columns of the list: their widths, their order, and how far they reach beyond the list.
#include "tests/acceptance/ListTest.h"

namespace {

using Order = std::vector<int>;

class ListColumnsTest : public ListTest
{
protected:
    ListColumnsTest() { WriteThreeRecords(); }

    // Drags the divider behind a column to where the column has this width.
    static void DragToWidth(const CProgramUnderTest& program, int column, int width)
    {
        const CListOnScreen list = program.List();
        const POINT from = list.DividerPosition(column);
        Drag(from, {from.x + width - list.ColumnWidth(column), from.y});
        // The header keeps the mouse as long as it is dragged.
        WaitForReleasedMouse(program);
    }

    // Drags a column by its header to the place of another.
    static void DragToColumn(const CProgramUnderTest& program, int column, int place)
    {
        const CListOnScreen list = program.List();
        const RECT target = list.CellRect(0, place);
        const POINT from = list.HeaderPosition(column);
        list.MakeHeaderDraggable();
        Drag(from, {target.left + 5, from.y});
        WaitForReleasedMouse(program);
    }

    static void WaitForWidth(const CProgramUnderTest& program, int column, int width)
    {
        WaitFor([&] { return program.List().ColumnWidth(column) == width; }, 5'000);
        EXPECT_EQ(width, program.List().ColumnWidth(column));
    }
    static void WaitForOrder(const CProgramUnderTest& program, const Order& order)
    {
        WaitFor([&] { return program.List().ColumnOrder() == order; }, 5'000);
        EXPECT_EQ(order, program.List().ColumnOrder());
    }

    // Makes all columns as wide as they get, by the keyboard: together wider than the list.
    static void WidenAll(const CProgramUnderTest& program)
    {
        FocusFirstRow(program);
        for (int column = 0; column < 3; ++column) {
            for (int press = 0; press < 23; ++press) {
                PressKeys({VK_CONTROL, '1' + column});
            }
        }
        WaitForWidth(program, 2, 400);
        EXPECT_EQ(400, program.List().ColumnWidth(0));
        EXPECT_EQ(400, program.List().ColumnWidth(1));
    }

private:
    static void WaitForReleasedMouse(const CProgramUnderTest& program)
    {
        // A click behind the drag: the program has dealt with both when the rows are selected.
        program.Click(IDC_SELECT_ALL);
        WaitForSelection(program, {0, 1, 2});
        program.Click(IDC_SELECT_NONE);
        WaitForSelection(program, {});
    }
};

TEST_F(ListColumnsTest, RefuseWidthsOutsideTheLimits)
{
    const CProgramUnderTest program;
    DragToWidth(program, 0, 79);
    EXPECT_EQ(175, program.List().ColumnWidth(0));
    DragToWidth(program, 0, 80);
    EXPECT_EQ(80, program.List().ColumnWidth(0));
    DragToWidth(program, 0, 401);
    EXPECT_EQ(80, program.List().ColumnWidth(0));
    DragToWidth(program, 0, 400);
    EXPECT_EQ(400, program.List().ColumnWidth(0));
    EXPECT_EQ(175, program.List().ColumnWidth(1));
}

TEST_F(ListColumnsTest, GetWiderAndNarrowerByKey)
{
    const CProgramUnderTest program;
    FocusFirstRow(program);
    for (int column = 0; column < 3; ++column) {
        PressKeys({VK_CONTROL, '1' + column});
        WaitForWidth(program, column, 185);
        PressKeys({VK_CONTROL, VK_SHIFT, '1' + column});
        PressKeys({VK_CONTROL, VK_SHIFT, '1' + column});
        WaitForWidth(program, column, 165);
    }
    for (int press = 0; press < 9; ++press) {  // 75 would be too narrow
        PressKeys({VK_CONTROL, VK_SHIFT, '3'});
    }
    WaitForWidth(program, 2, 80);
    for (int press = 0; press < 33; ++press) {  // 410 would be too wide
        PressKeys({VK_CONTROL, '3'});
    }
    WaitForWidth(program, 2, 400);
    EXPECT_EQ(ThreeRecords(), program.List().Rows());
}

TEST_F(ListColumnsTest, MoveToTheRightByKey)
{
    const CProgramUnderTest program;
    FocusFirstRow(program);
    PressKeys({VK_MENU, '1'});
    WaitForOrder(program, {1, 0, 2});
    PressKeys({VK_MENU, '1'});
    WaitForOrder(program, {1, 2, 0});
    PressKeys({VK_MENU, '1'});
    WaitForOrder(program, {0, 1, 2});
    PressKeys({VK_MENU, '2'});
    WaitForOrder(program, {0, 2, 1});
    PressKeys({VK_MENU, '3'});
    WaitForOrder(program, {0, 1, 2});
    PressKeys({VK_MENU, '3'});
    WaitForOrder(program, {2, 0, 1});
    // The keys mean the columns, wherever they stand.
    PressKeys({VK_CONTROL, '3'});
    WaitForWidth(program, 2, 185);
}

TEST_F(ListColumnsTest, KeepTheirEditorsAndMenusWhenTheyAreMoved)
{
    const CProgramUnderTest program;
    DragToColumn(program, 2, 0);
    EXPECT_EQ((Order{2, 0, 1}), program.List().ColumnOrder());
    EXPECT_EQ(program.List().ClientRect().left, program.List().CellRect(0, 2).left);
    HWND editor = OpenEditor(program, 1, 2);
    ExpectSelectedText(editor, L"2");
    RECT place{};
    GetWindowRect(editor, &place);
    const RECT cell = program.List().CellRect(1, 2);
    EXPECT_EQ((RECT{cell.left + 4, cell.top, cell.right + 1, cell.bottom}), place);
    TypeOver(program, L"x/y");  // allowed in no BOM name
    PressKeys({VK_RETURN});
    ExpectMessage(program, expected::kForbiddenInBomName.Current());
    Rows rows = Edited(ThreeRecords(), 1, &RowOnScreen::bomName, L"x_y");
    WaitForRows(program, rows);
    editor = OpenEditor(program, 2, 1);
    ExpectSelectedText(editor, L"C");
    PressKeys({VK_ESCAPE});
    WaitForNoEditor(program);
    DoubleClickAt(program.List().CellPosition(0, 0));
    WaitForSelection(program, {0});

    m_registry.SetTemplate(2, L"%6");
    OpenMenu(program, 0, 2).ChooseByKey(expected::kUseTemplate.Current());
    EXPECT_EQ(nullptr, program.List().Editor());
    rows = Edited(rows, 0, &RowOnScreen::bomName, L"");
    WaitForRows(program, rows);
    // Below the rows it is the column's number that counts, not its place.
    program.Click(IDC_SELECT_NONE);
    WaitForSelection(program, {});
    RightClickAt(program.List().PositionBelowRows(1));
    CMenuOnScreen::WaitForOne(program.ProcessId()).Dismiss();
    WaitForSelection(program, {1});
}

TEST_F(ListColumnsTest, AreScrolledToTheCellThatIsEdited)
{
    const CProgramUnderTest program;
    WidenAll(program);
    const CListOnScreen list = program.List();
    const RECT client = list.ClientRect();
    ASSERT_GT(list.CellRect(0, 2).left, client.right) << "the column is not hidden";
    PressKeys({VK_SHIFT, VK_F2});
    HWND editor = WaitForEditor(program);
    ExpectSelectedText(editor, L"1");
    RECT place{};
    GetWindowRect(editor, &place);
    RECT cell = list.CellRect(0, 2);
    EXPECT_EQ(client.right, cell.right);
    EXPECT_EQ((RECT{cell.left + 4, cell.top, client.right, cell.bottom}), place);
    TypeOver(program, L"Mutter");
    PressKeys({VK_RETURN});
    WaitForRows(program, Edited(ThreeRecords(), 0, &RowOnScreen::bomName, L"Mutter"));

    ASSERT_LT(list.CellRect(0, 1).left, client.left) << "the column's beginning is not hidden";
    PressKeys({VK_F2});
    editor = WaitForEditor(program);
    ExpectSelectedText(editor, L"A");
    GetWindowRect(editor, &place);
    cell = list.CellRect(0, 1);
    EXPECT_EQ(client.left, cell.left);
    EXPECT_EQ((RECT{cell.left + 4, cell.top, cell.right + 1, cell.bottom}), place);
    PressKeys({VK_ESCAPE});
    WaitForNoEditor(program);
}

TEST_F(ListColumnsTest, AreScrolledToAPartlyHiddenCellThatIsDoubleClicked)
{
    const CProgramUnderTest program;
    WidenAll(program);
    const CListOnScreen list = program.List();
    const RECT client = list.ClientRect();
    const RECT hidden = list.CellRect(1, 1);
    ASSERT_GT(hidden.right, client.right);
    const HWND editor = OpenEditorAt(program, {hidden.left + 20, (hidden.top + hidden.bottom) / 2});
    ExpectSelectedText(editor, L"B");
    EXPECT_EQ(client.right, list.CellRect(1, 1).right);
    TypeOver(program, L"M8");
    // The menu finds its column in a scrolled list, too.
    m_registry.SetTemplate(1, L"x%6");
    const RECT cell = list.CellRect(2, 1);
    RightClickAt({client.right - 20, (cell.top + cell.bottom) / 2});
    CMenuOnScreen::WaitForOne(program.ProcessId()).Dismiss();
    WaitForRows(program, Edited(ThreeRecords(), 1, &RowOnScreen::renamed, L"M8.sldprt"));
    WaitForSelection(program, {1, 2});
}

TEST_F(ListColumnsTest, EndAnOpenEditWhenTheyAreDragged)
{
    const CProgramUnderTest program;
    OpenEditor(program, 1, 1);
    TypeOver(program, L"M8");
    DragToWidth(program, 0, 200);
    EXPECT_EQ(200, program.List().ColumnWidth(0));
    Rows rows = Edited(ThreeRecords(), 1, &RowOnScreen::renamed, L"M8.sldprt");
    EXPECT_EQ(rows, program.List().Rows());
    OpenEditor(program, 1, 2);
    TypeOver(program, L"Mutter");
    DragToColumn(program, 2, 1);
    EXPECT_EQ((Order{0, 2, 1}), program.List().ColumnOrder());
    rows = Edited(rows, 1, &RowOnScreen::bomName, L"Mutter");
    EXPECT_EQ(rows, program.List().Rows());
    EXPECT_EQ(nullptr, program.List().Editor());
}

TEST_F(ListColumnsTest, DoNotFollowTheMouseBehindAMessageAboutTheOpenEdit)
{
    m_library.WriteMapFile("a ; A.sldprt ; 1\nb ; B.sldprt ; 2\nc ; C.sldprt ; 3\n");
    const CProgramUnderTest program;
    OpenEditor(program, 1, 1);
    TypeOver(program, L"A");
    const POINT divider = program.List().DividerPosition(0);
    Drag(divider, {divider.x + 40, divider.y});
    ExpectMessage(program, expected::kNameTaken.Current());
    WaitForNoEditor(program);
    program.Click(IDC_SELECT_ALL);  // the mouse has moved a long way when the rows are selected
    WaitForSelection(program, {0, 1, 2});
    EXPECT_EQ(175, program.List().ColumnWidth(0));
}

}  // namespace
