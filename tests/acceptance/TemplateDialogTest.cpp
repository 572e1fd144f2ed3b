// The template dialog, opened from the list's menus, and the names that a new template generates.
#include "tests/acceptance/ListTest.h"

namespace {

class TemplateDialogTest : public ListTest
{
protected:
    TemplateDialogTest()
    {
        m_registry.SetTemplate(1, L"%3");
        m_library.WriteMapFile("N_ISO_4017_M4.sldprt ; 4.sldprt ; vier\n");
    }

    // Opens the template dialog for file names from the menu of the focused row.
    static HWND OpenTemplate(const CProgramUnderTest& program)
    {
        program.WaitForFocus(IDC_LIST);
        PressKeys({VK_APPS});
        CMenuOnScreen::WaitForOne(program.ProcessId()).ChooseByKey(expected::kEditTemplate.Current());
        return WaitForTemplate(program);
    }

    // Waits until the edit of the template dialog has the focus. Returns the edit.
    static HWND WaitForTemplate(const CProgramUnderTest& program)
    {
        const HWND dialog = WaitFor([&] { return program.DialogWith(IDC_TEMPLATE_TEXT); });
        const HWND edit = GetDlgItem(dialog, IDC_TEMPLATE_TEXT);
        if (dialog == nullptr || !WaitFor([&] { return FocusOf(edit) == edit; })) {
            throw CNotOnScreen(L"the template dialog", program.ProcessId());
        }
        return edit;
    }

    // Types a template over the previous one, which must be selected.
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

TEST_F(TemplateDialogInBothLanguages, RefusesAConfigurationNameInFileNames)
{
    const CProgramUnderTest program;
    FocusFirstRow(program);
    const HWND edit = OpenTemplate(program);
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
    WaitForRows(program, {{L"N_ISO_4017_M4.sldprt", L"M4 x.sldprt", L"vier", Mark::pending}});
}

TEST_F(TemplateDialogTest, OffersTheTemplatesUsedBefore)
{
    const CProgramUnderTest program;
    FocusFirstRow(program);
    for (const wchar_t* const text : {L"%4 first", L"%4 second"}) {
        TypeTemplate(OpenTemplate(program), text);
        PressKeys({VK_RETURN});
        program.WaitForRest();
    }
    const HWND edit = OpenTemplate(program);
    const HWND history = GetDlgItem(GetParent(edit), IDC_TEMPLATE_HISTORY);
    PressKeys({VK_MENU, 'F'});
    WaitFor([&] { return FocusOf(history) == history; });
    PressKeys({VK_F4});
    WaitFor([&] { return SendMessageW(history, CB_GETDROPPEDSTATE, 0, 0) != FALSE; });
    PressKeys({VK_DOWN});  // to the newest template
    PressKeys({VK_DOWN});
    PressKeys({VK_RETURN});
    WaitForTextOf(edit, L"%4 first");
    EXPECT_EQ(L"%4 second", m_registry.Template(1)) << "choosing a template only fills the field";
}

}  // namespace
