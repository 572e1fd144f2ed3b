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
};
using ListMenuInBothLanguages = ListMenuTest;

TEST_F(ListMenuInBothLanguages, AppliesTheTemplateOfItsColumnAndDeletesRows)
{
    const CProgramUnderTest program;
    OpenMenu(program, 1, 1).Choose(Item::applyTemplate);
    Rows rows = WithNewName(Converted(), 1);
    WaitForRows(program, rows);
    WaitForCaption(program, ChangedMapView());
    // The row of the first menu is still selected.
    OpenMenu(program, 2, 2).ChooseByKey(expected::kUseTemplate.Current());
    rows = WithBomName(WithBomName(rows, 1), 2);
    WaitForRows(program, rows);
    OpenMenu(program, 1, 2).ChooseByKey(expected::kDeleteRows.Current());
    WaitForRows(program, {rows[0]});
    OpenMenu(program, 0, 1).Choose(Item::deleteRows);
    WaitForRows(program, {});
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
