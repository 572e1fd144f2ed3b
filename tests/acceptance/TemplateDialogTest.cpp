// The template dialog, from the list's menus to the names that a new template generates.
#include "tests/acceptance/AcceptanceTest.h"
#include "tests/acceptance/MenuOnScreen.h"

namespace {

class TemplateDialogTest : public AcceptanceTest
{
protected:
    // A map file with three parts, all of them converted, and its rows.
    void WriteThreeRecords() const
    {
        m_library.WriteMapFile(
            "N_ISO_4017_M4.sldprt ; 4.sldprt ; vier\nN_ISO_4017_M6.sldprt ; 6.sldprt ; sechs\n"
            "N_ISO_4032_M8.sldprt ; 8.sldprt ; acht\n");
    }
    static Rows ThreeRows()
    {
        return {{L"N_ISO_4017_M4.sldprt", L"4.sldprt", L"vier", Mark::converted},
                {L"N_ISO_4017_M6.sldprt", L"6.sldprt", L"sechs", Mark::converted},
                {L"N_ISO_4032_M8.sldprt", L"8.sldprt", L"acht", Mark::converted}};
    }

    // Right-clicks on a cell and waits for the menu.
    static CMenuOnScreen OpenMenu(const CProgramUnderTest& program, int row, int column)
    {
        RightClickAt(program.List().CellPosition(row, column));
        return CMenuOnScreen::WaitForOne(program.ProcessId());
    }

    // Opens the template dialog from a cell's menu; returns the edit of the template.
    static HWND OpenTemplate(const CProgramUnderTest& program, int row, int column)
    {
        OpenMenu(program, row, column).ChooseByKey(expected::kEditTemplate.Current());
        return WaitForTemplate(program);
    }

    // Waits for the template dialog and for the focus in its edit, which is returned.
    static HWND WaitForTemplate(const CProgramUnderTest& program)
    {
        const HWND dialog = WaitFor([&] { return program.DialogWith(IDC_TEMPLATE_TEXT); });
        const HWND edit = GetDlgItem(dialog, IDC_TEMPLATE_TEXT);
        if (dialog == nullptr || !WaitFor([&] { return FocusOf(edit) == edit; })) {
            throw CNotOnScreen(L"the template dialog", program.ProcessId());
        }
        return edit;
    }

    // Types a template over the one that is selected.
    static void TypeTemplate(HWND edit, const std::wstring& text)
    {
        ExpectAllSelected(edit);
        TypeText(text);
        WaitFor([&] { return TextOf(edit) == text; }, kReactionTime);
        EXPECT_EQ(text, TextOf(edit));
    }

    static void ExpectAllSelected(HWND edit)
    {
        const auto range = Ask(edit, EM_GETSEL);
        EXPECT_EQ(0, LOWORD(range));
        EXPECT_EQ(TextOf(edit).size(), HIWORD(range));
    }
    static void ExpectPreview(HWND edit, const std::wstring& text)
    {
        const HWND preview = GetDlgItem(GetParent(edit), IDC_TEMPLATE_PREVIEW);
        WaitFor([&] { return TextOf(preview) == text; }, kReactionTime);
        EXPECT_EQ(text, TextOf(preview));
    }
    static void ClickButton(HWND edit, int button) { ClickOn(GetDlgItem(GetParent(edit), button)); }

    static constexpr DWORD kReactionTime = 5'000;  // milliseconds
};

TEST_F(TemplateDialogTest, RefusesAConfigurationNameInFileNames)
{
    m_registry.SetTemplate(1, L"%3.%6");
    WriteThreeRecords();
    const CProgramUnderTest program;
    OpenMenu(program, 1, 1).Choose(CMenuOnScreen::Item::editTemplate);
    const HWND edit = WaitForTemplate(program);
    EXPECT_EQ(expected::kFileTemplate.Current(), TextOf(GetParent(edit)));
    EXPECT_EQ(L"%3.%6", TextOf(edit));
    ExpectPreview(edit, L"4017.sldprt");
    TypeTemplate(edit, L"%5%3_%2");
    ExpectPreview(edit, expected::kPreviewRefused.Current());
    ClickButton(edit, IDOK);
    ExpectMessage(program, expected::kFillInRefused.Current());
    EXPECT_EQ(edit, WaitForTemplate(program)) << "the dialog stays open";
    EXPECT_EQ(L"%5%3_%2", TextOf(edit));
    ExpectAllSelected(edit);
    EXPECT_EQ(L"%3.%6", m_registry.Template(1));
    ClickButton(edit, IDCANCEL);
    program.WaitForRest();
    EXPECT_EQ(L"%3.%6", m_registry.Template(1));
    EXPECT_EQ(ThreeRows(), program.List().Rows());
}

TEST_F(TemplateDialogTest, StoresAFileNameTemplateForTheSelectedRowsToUse)
{
    m_registry.SetTemplate(1, L"%3");
    WriteThreeRecords();
    const CProgramUnderTest program;
    const HWND edit = OpenTemplate(program, 2, 1);
    TypeTemplate(edit, L"%3-%4");
    ExpectPreview(edit, L"4032-M8.sldprt");
    ClickButton(edit, IDOK);
    program.WaitForRest();
    EXPECT_EQ(L"%3-%4", m_registry.Template(1));
    EXPECT_EQ(L"Norm %1 - %2", m_registry.Template(2)) << "stored at the start, as it was missing";
    EXPECT_EQ(ThreeRows(), program.List().Rows()) << "the dialog generates no names";
    EXPECT_EQ(expected::kMapView.Current(), program.ControlText(IDC_STATUS_FRAME));

    // The row of the first menu is still selected; the one of this menu is added.
    OpenMenu(program, 0, 1).ChooseByKey(expected::kUseTemplate.Current());
    Rows rows = ThreeRows();
    rows[0].renamed = L"4017-M4.sldprt";
    rows[0].mark = Mark::pending;
    rows[2].renamed = L"4032-M8.sldprt";
    rows[2].mark = Mark::pending;
    WaitForRows(program, rows);
    program.WaitForText(IDC_STATUS_FRAME, expected::kMapView.Current() + expected::kListChanged.Current());
}

TEST_F(TemplateDialogTest, StoresABomTemplateAsItStands)
{
    m_registry.SetTemplate(2, L"Norm %1");
    WriteThreeRecords();
    const CProgramUnderTest program;
    const HWND edit = OpenTemplate(program, 0, 2);
    EXPECT_EQ(expected::kBomTemplate.Current(), TextOf(GetParent(edit)));
    EXPECT_EQ(L"Norm %1", TextOf(edit));
    TypeTemplate(edit, L"%5%3_%2");
    ExpectPreview(edit, L"N_ISO_4017_" + expected::kSampleConfiguration.Current());
    PressKeys({VK_RETURN});
    program.WaitForRest();
    EXPECT_EQ(L"%5%3_%2", m_registry.Template(2));
    EXPECT_EQ(L"%5%3_%4.changed.%6", m_registry.Template(1)) << "stored at the start, as it was missing";
    OpenMenu(program, 0, 2).ChooseByKey(expected::kUseTemplate.Current());
    Rows rows = ThreeRows();
    rows[0].bomName = L"N_ISO_4017_%2";
    rows[0].mark = Mark::pending;
    WaitForRows(program, rows);
}

TEST_F(TemplateDialogTest, StoresNothingWhenItIsCancelled)
{
    m_registry.SetTemplate(1, L"%3");
    m_registry.SetTemplate(2, L"Norm %1");
    WriteThreeRecords();
    const CProgramUnderTest program;
    for (const int column : {1, 2}) {
        TypeTemplate(OpenTemplate(program, 0, column), L"%4");
        PressKeys({VK_ESCAPE});
        program.WaitForRest();
        const HWND edit = OpenTemplate(program, 0, column);
        TypeTemplate(edit, L"%4");
        ClickButton(edit, IDCANCEL);
        program.WaitForRest();
    }
    EXPECT_EQ(L"%3", m_registry.Template(1));
    EXPECT_EQ(L"Norm %1", m_registry.Template(2));
    EXPECT_EQ(ThreeRows(), program.List().Rows());
}

TEST_F(TemplateDialogTest, BeginsWithTheTextOfTheCellWhenNoTemplateIsStored)
{
    WriteThreeRecords();
    const CProgramUnderTest program;
    program.WaitForRest();
    m_registry.RemoveTemplate(1);  // the start has stored both
    m_registry.RemoveTemplate(2);
    const HWND fileEdit = OpenTemplate(program, 1, 1);
    EXPECT_EQ(L"6.sldprt", TextOf(fileEdit));
    ExpectPreview(fileEdit, L"6.sldprt");
    PressKeys({VK_ESCAPE});
    program.WaitForRest();
    EXPECT_EQ(std::nullopt, m_registry.Template(1));
    const HWND bomEdit = OpenTemplate(program, 2, 2);
    EXPECT_EQ(L"acht", TextOf(bomEdit));
    PressKeys({VK_RETURN});
    program.WaitForRest();
    EXPECT_EQ(L"acht", m_registry.Template(2));
}

TEST_F(TemplateDialogTest, IsWorkedByKeyboardAlone)
{
    m_registry.SetTemplate(1, L"%3");
    WriteThreeRecords();
    const CProgramUnderTest program;
    PressKeys({VK_MENU, MnemonicOf(program.Control(IDC_SELECT_ALL))});
    program.WaitForFocus(IDC_LIST);
    PressKeys({VK_HOME});
    PressKeys({VK_APPS});
    CMenuOnScreen::WaitForOne(program.ProcessId()).ChooseByKey(expected::kEditTemplate.Current());
    const HWND edit = WaitForTemplate(program);
    TypeTemplate(edit, L"%4%2");
    PressKeys({VK_RETURN});
    EXPECT_EQ(expected::kFillInRefused.Current(),
              CMessageBoxOnScreen::WaitForOne(program.ProcessId()).Text());
    PressKeys({VK_RETURN});
    WaitFor([&] { return !CMessageBoxOnScreen::Find(program.ProcessId()); });
    EXPECT_EQ(edit, WaitForTemplate(program));
    TypeTemplate(edit, L"%4 x");
    const HWND ok = GetDlgItem(GetParent(edit), IDOK);
    PressKeys({VK_TAB});
    PressKeys({VK_TAB});
    WaitFor([&] { return FocusOf(ok) == ok; });
    PressKeys({VK_SPACE});
    program.WaitForRest();
    EXPECT_EQ(L"%4 x", m_registry.Template(1));

    program.WaitForFocus(IDC_LIST);
    PressKeys({VK_APPS});
    CMenuOnScreen::WaitForOne(program.ProcessId()).ChooseByKey(expected::kUseTemplate.Current());
    Rows rows = ThreeRows();
    rows[0].renamed = L"M4 x.sldprt";
    rows[0].mark = Mark::pending;
    WaitForRows(program, rows);
}

}  // namespace
