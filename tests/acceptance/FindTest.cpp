// Finding rows: by keyboard, by the menu of further commands, and by the status line.
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

TEST_F(FindTest, TheStatusLineLeadsToNamesToCheck)
{
    m_library.WriteMapFile(
        "N_1.sldprt ; a.sldprt ; 1\n"
        "N_2.sldprt ; b.sldprt ; 2\n"
        "N_3.sldprt ; A.sldprt ; 3\n");
    const CProgramUnderTest program;
    program.WaitForText(IDC_STATUS_TEXT, L"Zeilen: 3   Vorgemerkt: 0   Ausgewählt: 0");
    program.WaitForText(IDC_CHECK_NAMES, L"Namen &prüfen: 2");
    program.Click(IDC_CHECK_NAMES);
    WaitForSelection(program, {0});
    program.WaitForText(IDC_STATUS_TEXT, L"Name doppelt (Groß/klein): 'N_3.sldprt'");
    program.Click(IDC_CHECK_NAMES);
    WaitForSelection(program, {2});
    FocusFirstRow(program);
    PressKeys({VK_CONTROL, 'A'});
    program.WaitForText(IDC_STATUS_TEXT, L"Zeilen: 3   Vorgemerkt: 0   Ausgewählt: 3");
}

}  // namespace
