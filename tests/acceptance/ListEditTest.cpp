// Editing the cells of the list in place.
#include "tests/acceptance/ListTest.h"

namespace {

constexpr auto kRenamed = &RowOnScreen::renamed;
constexpr auto kBomName = &RowOnScreen::bomName;

class ListEditTest : public ListTest
{
protected:
    ListEditTest() { WriteThreeRecords(); }

    // Waits until the list holds the rows and its frame shows that the list was changed.
    static void ExpectChanged(const CProgramUnderTest& program, const Rows& rows)
    {
        WaitForRows(program, rows);
        WaitForCaption(program, ChangedMapView());
        EXPECT_EQ(nullptr, program.List().Editor());
    }

    // Waits until the editor has closed, and expects that the list still matches the map file.
    static void ExpectUnchanged(const CProgramUnderTest& program)
    {
        WaitForNoEditor(program);
        // Keys are handled in order: once Ctrl+A has been handled, the edit has ended.
        program.WaitForFocus(IDC_LIST);
        PressKeys({VK_CONTROL, 'A'});
        WaitForSelection(program, {0, 1, 2});
        EXPECT_EQ(RowsOfThreeRecords(), program.List().Rows());
        EXPECT_EQ(expected::kMapView.Current(), program.ControlText(IDC_STATUS_FRAME));
        EXPECT_TRUE(program.IsAtRest());
    }
};

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
    // Under Wine, but not on Windows, the button captures the mouse after the message. The first click
    // releases the mouse.
    ClickAt(program.List().PositionBelowRows(0));
    ClickAt(program.List().CellPosition(2, 0));
    WaitForSelection(program, {2});
    program.Click(IDC_SELECT_ALL);
    WaitForSelection(program, {0, 1, 2});
}

TEST_F(ListEditTest, TakesTheTextBeforeAButtonPressedByItsLetter)
{
    const CProgramUnderTest program;
    OpenEditor(program, 1, 1);
    TypeOver(program, L"M8");
    program.PressByKey(IDC_SELECT_ALL);
    ExpectChanged(program, Edited(RowsOfThreeRecords(), 1, kRenamed, L"M8.sldprt"));
    WaitForSelection(program, {0, 1, 2});
    // The row whose editor is open is deleted.
    OpenEditor(program, 1, 2);
    TypeOver(program, L"Mutter");
    program.PressByKey(IDC_DELETE);
    WaitForRows(program, {RowsOfThreeRecords()[0], RowsOfThreeRecords()[2]});
    EXPECT_EQ(nullptr, program.List().Editor());
    EXPECT_TRUE(program.IsAtRest());
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

}  // namespace
