// The context menus of the list's generated columns.
#include "tests/acceptance/ListTest.h"

namespace {

using Item = CMenuOnScreen::Item;

class ListMenuTest : public ListTest
{
protected:
    ListMenuTest()
    {
        m_library.WriteMapFile(
            "N_ISO_4017_M4.sldprt ; A.sldprt ; 1\n"
            "N_ISO_4017_M6.sldprt ; B.sldprt ; 2\n"
            "N_ISO_4017_M8.sldprt ; C.sldprt ; 3\n");
        m_registry.SetTemplate(1, L"%4");
        m_registry.SetTemplate(2, L"%3-%4");
    }

    static Rows Converted()
    {
        return {{L"N_ISO_4017_M4.sldprt", L"A.sldprt", L"1", Mark::converted},
                {L"N_ISO_4017_M6.sldprt", L"B.sldprt", L"2", Mark::converted},
                {L"N_ISO_4017_M8.sldprt", L"C.sldprt", L"3", Mark::converted}};
    }
    static Rows WithNewName(Rows rows, std::size_t row)
    {
        const wchar_t* names[] = {L"M4.sldprt", L"M6.sldprt", L"M8.sldprt"};
        return Edited(std::move(rows), row, &RowOnScreen::renamed, names[row]);
    }
    static Rows WithBomName(Rows rows, std::size_t row)
    {
        const wchar_t* names[] = {L"4017-M4", L"4017-M6", L"4017-M8"};
        return Edited(std::move(rows), row, &RowOnScreen::bomName, names[row]);
    }

    // Opens the menu below the rows of a column.
    static CMenuOnScreen OpenMenuBelow(const CProgramUnderTest& program, int column)
    {
        RightClickAt(program.List().PositionBelowRows(column));
        return CMenuOnScreen::WaitForOne(program.ProcessId());
    }

    // No menu has come of what was done before.
    static void ExpectNoMenu(const CProgramUnderTest& program)
    {
        // The program deals with a click on the button behind it; a menu would take this click to itself.
        program.Click(IDC_SELECT_NONE);
        program.WaitForFocus(IDC_LIST);
        WaitForSelection(program, {});
        EXPECT_FALSE(CMenuOnScreen::IsOpen(program.ProcessId()));
        EXPECT_EQ(Converted(), program.List().Rows());
    }
};

TEST_F(ListMenuTest, DeletesTheRow)
{
    const CProgramUnderTest program;
    OpenMenu(program, 1, 1).Choose(Item::deleteRows);
    WaitForRows(program, {Converted()[0], Converted()[2]});
    WaitForCaption(program, ChangedMapView());
    OpenMenu(program, 0, 2).ChooseByKey(expected::kDeleteRows.Current());
    WaitForRows(program, {Converted()[2]});
}

TEST_F(ListMenuTest, DeletesAllSelectedRows)
{
    const CProgramUnderTest program;
    ClickAt(program.List().CellPosition(2, 0));
    WaitForSelection(program, {2});
    const CMenuOnScreen menu = OpenMenu(program, 0, 2);
    EXPECT_EQ((Selection{0, 2}), program.List().Selection()) << "the row is added to the selection";
    EXPECT_EQ(0, program.List().FocusedRow());
    menu.Choose(Item::deleteRows);
    WaitForRows(program, {Converted()[1]});
    EXPECT_EQ(Selection{}, program.List().Selection());
}

TEST_F(ListMenuTest, AppliesTheTemplateOfItsColumn)
{
    const CProgramUnderTest program;
    OpenMenu(program, 1, 1).Choose(Item::applyTemplate);
    Rows rows = WithNewName(Converted(), 1);
    WaitForRows(program, rows);
    WaitForCaption(program, ChangedMapView());
    OpenMenu(program, 2, 2).ChooseByKey(expected::kUseTemplate.Current());
    // The row of the first menu is selected still.
    rows = WithBomName(WithBomName(rows, 1), 2);
    WaitForRows(program, rows);
}

TEST_F(ListMenuTest, AppliesTheTemplateToAllSelectedRows)
{
    const CProgramUnderTest program;
    program.Click(IDC_SELECT_ALL);
    WaitForSelection(program, {0, 1, 2});
    OpenMenu(program, 0, 1).Choose(Item::applyTemplate);
    WaitForRows(program, WithNewName(WithNewName(WithNewName(Converted(), 0), 1), 2));
    WaitForSelection(program, {0, 1, 2});
}

TEST_F(ListMenuTest, TellsOnceThatGeneratedNamesCollide)
{
    m_registry.SetTemplate(1, L"%3");  // the same for all
    const CProgramUnderTest program;
    program.Click(IDC_SELECT_ALL);
    WaitForSelection(program, {0, 1, 2});
    OpenMenu(program, 0, 1).Choose(Item::applyTemplate);
    ExpectMessage(program, expected::kGeneratedNameTaken.Current());
    WaitForRows(program, Edited(Converted(), 0, &RowOnScreen::renamed, L"4017.sldprt"));
    program.WaitForRest();
}

TEST_F(ListMenuTest, OpensTheTemplateOfItsColumn)
{
    const CProgramUnderTest program;
    const auto expectDialog = [&](const std::wstring& caption, const std::wstring& text) {
        const HWND dialog = WaitFor([&] { return program.DialogWith(IDC_TEMPLATE_TEXT); });
        ASSERT_NE(nullptr, dialog);
        EXPECT_EQ(caption, TextOf(dialog));
        EXPECT_EQ(text, TextOf(GetDlgItem(dialog, IDC_TEMPLATE_TEXT)));
        ClickOn(GetDlgItem(dialog, IDCANCEL));
        program.WaitForRest();
    };
    OpenMenu(program, 1, 1).Choose(Item::editTemplate);
    expectDialog(expected::kFileTemplate.Current(), L"%4");
    OpenMenu(program, 1, 2).ChooseByKey(expected::kEditTemplate.Current());
    expectDialog(expected::kBomTemplate.Current(), L"%3-%4");
    // Where no template is stored, the cell stands in.
    RegDeleteTreeW(HKEY_CURRENT_USER, L"SOFTWARE\\Zelmar");
    OpenMenu(program, 2, 1).Choose(Item::editTemplate);
    expectDialog(expected::kFileTemplate.Current(), L"C.sldprt");
}

TEST_F(ListMenuTest, ComesNotInTheColumnOfTheOriginalNames)
{
    const CProgramUnderTest program;
    RightClickAt(program.List().CellPosition(1, 0));
    WaitForSelection(program, {1});
    EXPECT_EQ(1, program.List().FocusedRow());
    ExpectNoMenu(program);
    RightClickAt(program.List().PositionBelowRows(0));
    ExpectNoMenu(program);
}

TEST_F(ListMenuTest, ComesNotRightOfTheColumns)
{
    const CProgramUnderTest program;
    const CListOnScreen list = program.List();
    const POINT behind{(list.CellRect(0, 2).right + list.ClientRect().right) / 2, list.CellPosition(0, 2).y};
    ASSERT_GT(behind.x, list.CellRect(0, 2).right);
    RightClickAt(behind);
    ExpectNoMenu(program);
}

TEST_F(ListMenuTest, BelowTheRowsTakesTheColumnsNumberForTheRows)
{
    const CProgramUnderTest program;
    ClickAt(program.List().CellPosition(0, 0));
    WaitForSelection(program, {0});
    CMenuOnScreen menu = OpenMenuBelow(program, 1);
    EXPECT_EQ((Selection{0, 1}), program.List().Selection());
    EXPECT_EQ(1, program.List().FocusedRow());
    menu.Choose(Item::deleteRows);
    WaitForRows(program, {Converted()[2]});
    // There is no row at index 1 or 2 now: nothing gets selected, and nothing is deleted.
    menu = OpenMenuBelow(program, 1);
    EXPECT_EQ(Selection{}, program.List().Selection());
    menu.Choose(Item::deleteRows);
    WaitForSelection(program, {});
    program.Click(IDC_SELECT_ALL);  // behind the menu's command
    WaitForSelection(program, {0});
    EXPECT_EQ(Rows{Converted()[2]}, program.List().Rows());
}

TEST_F(ListMenuTest, BelowTheRowsOfTheSecondColumnTakesTheThirdRow)
{
    const CProgramUnderTest program;
    const CMenuOnScreen menu = OpenMenuBelow(program, 2);
    EXPECT_EQ(Selection{2}, program.List().Selection());
    menu.Choose(Item::applyTemplate);
    WaitForRows(program, WithBomName(Converted(), 2));
    WaitForSelection(program, {2});
}

TEST_F(ListMenuTest, DoesNothingWhenItIsLeft)
{
    const CProgramUnderTest program;
    const CMenuOnScreen menu = OpenMenu(program, 1, 1);
    menu.ClickOn(Item::title);
    menu.Dismiss();
    WaitForSelection(program, {1});
    // A click elsewhere leaves it too.
    OpenMenu(program, 1, 2);
    ClickAt(program.List().PositionBelowRows(0));
    EXPECT_TRUE(WaitFor([&] { return !CMenuOnScreen::IsOpen(program.ProcessId()); }));
    ExpectNoMenu(program);
    EXPECT_EQ(expected::kMapView.Current(), program.ControlText(IDC_STATUS_FRAME));
}

TEST_F(ListMenuTest, ComesAfterTheTextOfAnOpenEditorWasTaken)
{
    const CProgramUnderTest program;
    OpenEditor(program, 1, 1);
    TypeOver(program, L"new");
    const CMenuOnScreen menu = OpenMenu(program, 2, 2);
    EXPECT_EQ(nullptr, program.List().Editor());
    const Rows rows = Edited(Converted(), 1, &RowOnScreen::renamed, L"new.sldprt");
    EXPECT_EQ(rows, program.List().Rows());
    menu.Dismiss();
    WaitForCaption(program, ChangedMapView());
}

TEST_F(ListMenuTest, OpensByKeyForTheFocusedRow)
{
    const CProgramUnderTest program;
    FocusFirstRow(program);
    PressKeys({VK_DOWN});
    WaitForSelection(program, {1});
    const auto applyTemplate = [&] {
        CMenuOnScreen::WaitForOne(program.ProcessId()).ChooseByKey(expected::kUseTemplate.Current());
    };
    PressKeys({VK_SHIFT, VK_F10});
    applyTemplate();
    Rows rows = WithNewName(Converted(), 1);
    WaitForRows(program, rows);
    PressKeys({VK_CONTROL, VK_SHIFT, VK_F10});
    applyTemplate();
    rows = WithBomName(rows, 1);
    WaitForRows(program, rows);
    PressKeys({VK_DOWN});
    WaitForSelection(program, {2});
    PressKeys({VK_APPS});
    applyTemplate();
    rows = WithNewName(rows, 2);
    WaitForRows(program, rows);
    PressKeys({VK_CONTROL, VK_APPS});
    applyTemplate();
    WaitForRows(program, WithBomName(rows, 2));
}

}  // namespace
