// The template dialog, from the list's menus to the names that a new template generates.
#include "tests/acceptance/ListTest.h"

namespace {

class TemplateDialogTest : public ListTest
{
protected:
    TemplateDialogTest()
    {
        m_registry.SetTemplate(1, L"%3");
        m_library.WriteMapFile(
            "N_ISO_4017_M4.sldprt ; 4.sldprt ; vier\nN_ISO_4017_M6.sldprt ; 6.sldprt ; sechs\n"
            "N_ISO_4032_M8.sldprt ; 8.sldprt ; acht\n");
    }
    // The rows of the map file that each test begins with.
    static Rows RecordedRows()
    {
        return {{L"N_ISO_4017_M4.sldprt", L"4.sldprt", L"vier", Mark::converted},
                {L"N_ISO_4017_M6.sldprt", L"6.sldprt", L"sechs", Mark::converted},
                {L"N_ISO_4032_M8.sldprt", L"8.sldprt", L"acht", Mark::converted}};
    }

    // Waits until the edit of the template dialog has the focus, and returns it.
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
        ExpectSelectedText(edit, TextOf(edit));
        TypeText(text);
        WaitForTextOf(edit, text);
    }

    static void ExpectPreview(HWND edit, const std::wstring& text)
    {
        WaitForTextOf(GetDlgItem(GetParent(edit), IDC_TEMPLATE_PREVIEW), text);
    }
};
using TemplateDialogInBothLanguages = TemplateDialogTest;

TEST_F(TemplateDialogTest, StoresATemplateForTheSelectedRows)
{
    const CProgramUnderTest program;
    OpenMenu(program, 2, 1).Choose(CMenuOnScreen::Item::editTemplate);
    const HWND edit = WaitForTemplate(program);
    TypeTemplate(edit, L"%3-%4");
    ExpectPreview(edit, L"4032-M8.sldprt");
    ClickOn(GetDlgItem(GetParent(edit), IDOK));
    program.WaitForRest();
    EXPECT_EQ(L"%3-%4", m_registry.Template(1));
    EXPECT_EQ(L"Norm %1 - %2", m_registry.Template(2)) << "stored at the start, as it was missing";
    EXPECT_EQ(RecordedRows(), program.List().Rows()) << "the dialog generates no names";
    EXPECT_EQ(expected::kMapView.Current(), program.ControlText(IDC_STATUS_FRAME));

    // The row of the first menu is still selected; this menu adds its own row.
    OpenMenu(program, 0, 1).ChooseByKey(expected::kUseTemplate.Current());
    const Rows rows = Edited(RecordedRows(), 0, &RowOnScreen::renamed, L"4017-M4.sldprt");
    WaitForRows(program, Edited(rows, 2, &RowOnScreen::renamed, L"4032-M8.sldprt"));
    WaitForCaption(program, ChangedMapView());
}

TEST_F(TemplateDialogInBothLanguages, RefusesAConfigurationNameInFileNames)
{
    const CProgramUnderTest program;
    FocusFirstRow(program);
    PressKeys({VK_APPS});
    CMenuOnScreen::WaitForOne(program.ProcessId()).ChooseByKey(expected::kEditTemplate.Current());
    const HWND edit = WaitForTemplate(program);
    EXPECT_EQ(expected::kFileTemplate.Current(), TextOf(GetParent(edit)));
    TypeTemplate(edit, L"%4%2");
    ExpectPreview(edit, expected::kPreviewRefused.Current());
    PressKeys({VK_RETURN});
    ExpectMessage(program, expected::kFillInRefused.Current());
    EXPECT_EQ(edit, WaitForTemplate(program)) << "the dialog stays open";
    TypeTemplate(edit, L"%4 x");
    const HWND ok = GetDlgItem(GetParent(edit), IDOK);
    PressKeys({VK_TAB});  // to the preview
    PressKeys({VK_TAB});
    WaitFor([&] { return FocusOf(ok) == ok; });
    PressKeys({VK_SPACE});
    program.WaitForRest();
    EXPECT_EQ(L"%4 x", m_registry.Template(1));
    program.WaitForFocus(IDC_LIST);
    PressKeys({VK_APPS});
    CMenuOnScreen::WaitForOne(program.ProcessId()).ChooseByKey(expected::kUseTemplate.Current());
    WaitForRows(program, Edited(RecordedRows(), 0, &RowOnScreen::renamed, L"M4 x.sldprt"));
}

}  // namespace
