// The widths and the order of the list's columns.
#include "tests/acceptance/ListTest.h"

namespace {

using Order = std::vector<int>;

class ListColumnsTest : public ListTest
{
protected:
    ListColumnsTest() { WriteThreeRecords(); }

    // Drags the right edge of a column until the column has this width.
    static void DragToWidth(const CProgramUnderTest& program, int column, int width)
    {
        const CListOnScreen list = program.List();
        const POINT from = list.DividerPosition(column);
        Drag(from, {from.x + width - list.ColumnWidth(column), from.y});
        // The header captures the mouse during the drag.
        WaitForReleasedMouse(program);
    }

    // Drags the header of a column to the position of another column.
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

private:
    static void WaitForReleasedMouse(const CProgramUnderTest& program)
    {
        // Input is handled in order: once this click has selected the rows, the drag is over.
        program.Click(IDC_SELECT_ALL);
        WaitForSelection(program, {0, 1, 2});
        program.Click(IDC_SELECT_NONE);
        WaitForSelection(program, {});
    }
};

TEST_F(ListColumnsTest, ChangeWidthAndOrderByKey)
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
    PressKeys({VK_MENU, '1'});
    WaitForOrder(program, {1, 0, 2});
    PressKeys({VK_MENU, '3'});
    WaitForOrder(program, {2, 1, 0});
    EXPECT_EQ(RowsOfThreeRecords(), program.List().Rows());
}

TEST_F(ListColumnsTest, EndAnOpenEditWhenTheyAreDragged)
{
    const CProgramUnderTest program;
    OpenEditor(program, 1, 1);
    TypeOver(program, L"M8");
    DragToWidth(program, 0, 200);
    EXPECT_EQ(200, program.List().ColumnWidth(0));
    Rows rows = Edited(RowsOfThreeRecords(), 1, &RowOnScreen::renamed, L"M8.sldprt");
    EXPECT_EQ(rows, program.List().Rows());
    OpenEditor(program, 1, 2);
    TypeOver(program, L"Mutter");
    DragToColumn(program, 2, 1);
    EXPECT_EQ((Order{0, 2, 1}), program.List().ColumnOrder());
    rows = Edited(rows, 1, &RowOnScreen::bomName, L"Mutter");
    EXPECT_EQ(rows, program.List().Rows());
    EXPECT_EQ(nullptr, program.List().Editor());
}

TEST_F(ListColumnsTest, DoNotFollowTheMouseAfterAMessageAboutTheOpenEdit)
{
    m_library.WriteMapFile("a ; A.sldprt ; 1\nb ; B.sldprt ; 2\nc ; C.sldprt ; 3\n");
    const CProgramUnderTest program;
    OpenEditor(program, 1, 1);
    TypeOver(program, L"A");
    const POINT divider = program.List().DividerPosition(0);
    Drag(divider, {divider.x + 40, divider.y});
    ExpectMessage(program, expected::kNameTaken.Current());
    WaitForNoEditor(program);
    program.Click(IDC_SELECT_ALL);  // moves the mouse far away
    WaitForSelection(program, {0, 1, 2});
    EXPECT_EQ(175, program.List().ColumnWidth(0));
}

}  // namespace
