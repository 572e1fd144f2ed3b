// The template dialog, from the list's menus to the names that a new template generates.
#include "tests/acceptance/ListTest.h"

namespace {

class TemplateDialogInBothLanguages : public ListTest
{
protected:
    TemplateDialogInBothLanguages()
    {
        m_registry.SetTemplate(1, L"%3");
        m_library.WriteMapFile("N_ISO_4017_M4.sldprt ; 4.sldprt ; vier\n");
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
    WaitForRows(program, {{L"N_ISO_4017_M4.sldprt", L"M4 x.sldprt", L"vier", Mark::pending}});
}

}  // namespace
