// Finding rows by keyboard, and the menu of further commands.
#include "tests/acceptance/ListTest.h"

namespace {

class FindTest : public ListTest
{
protected:
    FindTest()
    {
        AddThreeParts();
        SetCursorPos(0, 0);
    }

    static void WaitForFocus(const CProgramUnderTest& program, int id)
    {
        const HWND control = GetDlgItem(program.MainWindow(), id);
        EXPECT_TRUE(WaitFor([&] { return FocusOf(control) == control; })) << id;
    }
};

TEST_F(FindTest, GoesFromRowToRowByKeyboard)
{
    const CProgramUnderTest program;
    FocusFirstRow(program);
    PressKeys({VK_CONTROL, 'F'});
    WaitForFocus(program, IDC_FIND);
    TypeText(L"m8");
    WaitForSelection(program, {2});
    PressKeys({VK_CONTROL, 'F'});  // selects the text
    TypeText(L"4017_m");
    WaitForSelection(program, {2});
    PressKeys({VK_RETURN});
    WaitForSelection(program, {0});
    PressKeys({VK_F3});
    WaitForSelection(program, {1});
    PressKeys({VK_SHIFT, VK_F3});
    WaitForSelection(program, {0});
    PressKeys({VK_ESCAPE});
    WaitForFocus(program, IDC_LIST);
    EXPECT_EQ(nullptr, program.ProgressDialog()) << "Enter has not started a conversion";
    EXPECT_TRUE(IsWindow(program.MainWindow())) << "Escape has not closed the program";
}

TEST_F(FindTest, IsInTheMenuOfFurtherCommands)
{
    const CProgramUnderTest program;
    FocusFirstRow(program);
    PressKeys({VK_MENU, 'W'});
    CMenuOnScreen::WaitForOne(program.ProcessId()).ChooseByKey(L"&Suchen...");
    WaitForFocus(program, IDC_FIND);
    TypeText(L"m6");
    WaitForSelection(program, {1});
}

}  // namespace
