// The widths and the order of the list's columns.
#include "tests/acceptance/ListTest.h"

namespace {

using Order = std::vector<int>;

class ListColumnsTest : public ListTest
{
protected:
    ListColumnsTest() { WriteThreeRecords(); }

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

// On Windows, if Alt is released before the digit, the default handling would open the window's menu, and the
// menu would take the next key. Wine opens no menu here; ConvListHeaderTest tests that the list
// handles the release.
TEST_F(ListColumnsTest, ChangeTheirOrderWhicheverKeyIsReleasedFirst)
{
    const CProgramUnderTest program;
    FocusFirstRow(program);
    PressKeys({VK_MENU, '1'});
    WaitForOrder(program, {1, 0, 2});
    PressKeys({VK_DOWN});
    WaitForSelection(program, {1});
    PressKeysReleasingFirstFirst({VK_MENU, '1'});
    WaitForOrder(program, {1, 2, 0});
    PressKeys({VK_DOWN});
    WaitForSelection(program, {2});
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
