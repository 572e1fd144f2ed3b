#include "ui/DlgTemplate.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <string>
#include <vector>

#include "resources/resource.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/Languages.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"

// Tests of the template dialog. It runs modally in this process, in both languages, and gets the input that a
// user would give.

namespace {

using Texts = std::vector<std::wstring>;

constexpr INT_PTR kStillOpen = -2;
constexpr wchar_t kNone[] = L"(none)";
constexpr wchar_t kBolt[] = L"N_ISO_4017_M10x50.sldprt";

class DlgTemplateTest : public LanguageTest
{
protected:
    // Runs the dialog for a template and calls `work` in the dialog. Returns the result of DoModal. Closes
    // the dialog if `work` leaves it open.
    INT_PTR Run(int column, const std::wstring& text, const std::function<void()>& work)
    {
        CWorked<CDlgTemplate> dialog(GetParam(), column, text, &m_owner);
        dialog.SetSample(m_sample);
        dialog.m_work = [&] {
            m_dialog = &dialog;
            DrainMessages();
            work();
            if (!dialog.IsEnding()) {
                dialog.EndDialog(kStillOpen);
            }
        };
        const INT_PTR result = dialog.DoModal();
        m_dialog = nullptr;
        m_readBack = dialog.Text();
        return result;
    }

    [[nodiscard]] HWND Item(int id) const { return m_dialog->GetDlgItem(id); }
    [[nodiscard]] std::wstring TextOf(int id) const { return m_dialog->GetDlgItemText(id); }
    void Press(int button) const { SendMessageW(Item(button), BM_CLICK, 0, 0); }
    void PressKey(WPARAM key) const
    {
        PostMessageW(GetFocus(), WM_KEYDOWN, key, 1);
        PostMessageW(GetFocus(), WM_KEYUP, key, 0xC0000001);
        DrainMessages();
    }
    [[nodiscard]] Texts HistoryEntries() const
    {
        Texts entries;
        const auto count = SendMessageW(Item(IDC_TEMPLATE_HISTORY), CB_GETCOUNT, 0, 0);
        for (WPARAM index = 0; index < static_cast<WPARAM>(count); ++index) {
            std::array<wchar_t, 100> text{};
            SendMessageW(Item(IDC_TEMPLATE_HISTORY), CB_GETLBTEXT, index,
                         reinterpret_cast<LPARAM>(text.data()));
            entries.emplace_back(text.data());
        }
        return entries;
    }
    // Types over the template.
    void Type(const std::wstring& text) const
    {
        SetFocus(Item(IDC_TEMPLATE_TEXT));
        SendMessageW(Item(IDC_TEMPLATE_TEXT), EM_SETSEL, 0, -1);
        SendMessageW(Item(IDC_TEMPLATE_TEXT), WM_CHAR, VK_BACK, 1);
        for (const wchar_t character : text) {
            PostMessageW(Item(IDC_TEMPLATE_TEXT), WM_CHAR, character, 1);
        }
        DrainMessages();
    }
    // Runs the dialog, types over the template and presses OK. OK must close the dialog.
    void TypeAndPressOk(int column, const std::wstring& before, const std::wstring& text)
    {
        EXPECT_EQ(Run(column, before,
                      [&] {
                          Type(text);
                          Press(IDOK);
                      }),
                  IDOK);
    }
    [[nodiscard]] std::wstring PreviewOf(const std::wstring& templateText) const
    {
        Type(templateText);
        return TextOf(IDC_TEMPLATE_PREVIEW);
    }

    // The visible rows of the legend, "FILL-IN | MEANING | EXAMPLE".
    [[nodiscard]] Texts Legend() const
    {
        Texts rows;
        for (int id = IDC_TEMPLATE_LEGEND; id < IDC_TEMPLATE_LEGEND + 24; id += 3) {
            const bool visible = IsWindowVisible(Item(id)) != FALSE;
            EXPECT_EQ(IsWindowVisible(Item(id + 1)) != FALSE, visible) << id;
            EXPECT_EQ(IsWindowVisible(Item(id + 2)) != FALSE, visible) << id;
            if (visible) {
                rows.push_back(TextOf(id) + L" | " + TextOf(id + 1) + L" | " + TextOf(id + 2));
            }
        }
        return rows;
    }

    // The edit has the focus and all of its text is selected, with the caret in view.
    void ExpectAllSelected() const
    {
        const HWND edit = Item(IDC_TEMPLATE_TEXT);
        EXPECT_EQ(GetFocus(), edit);
        const std::size_t length = TextOf(IDC_TEMPLATE_TEXT).size();
        ASSERT_GT(length, 0U);
        EXPECT_EQ(SelectionOf(edit), (std::array<DWORD, 2>{0, static_cast<DWORD>(length)}));
        const RECT client = ClientRectOf(edit);
        const LRESULT last = SendMessageW(edit, EM_POSFROMCHAR, length - 1, 0);
        const int x = static_cast<short>(LOWORD(last));
        EXPECT_GE(x, 0);
        EXPECT_LT(x, client.right);
    }

    // The message boxes since the last call, as "TYPE: TEXT".
    [[nodiscard]] Texts TakeBoxes()
    {
        Texts boxes;
        for (const MessageRequest& box : std::exchange(m_user.m_boxes, {})) {
            boxes.push_back(std::to_wstring(box.type) + L": " + box.text);
        }
        return boxes;
    }
    [[nodiscard]] static std::wstring Refusal()
    {
        return std::to_wstring(MB_OK | MB_ICONINFORMATION) + L": " +
               expected::kFillInRefused.In(LanguageOf(GetParam()));
    }

    CUserSettingsScope m_settings;
    CMessageRecorder m_user;
    CPlainWindow m_owner;
    std::wstring m_sample = kBolt;
    std::wstring m_readBack;
    CWorked<CDlgTemplate>* m_dialog = nullptr;
};

IN_BOTH_LANGUAGES(DlgTemplateTest);

// Start

TEST_P(DlgTemplateTest, TheCaptionNamesTheTemplate)
{
    const std::wstring other = In(L"Schablone bearbeiten", L"View/Modify template");
    const std::vector<std::pair<int, std::wstring>> captions{
        {1, expected::kFileTemplate.In(LanguageOf(GetParam()))},
        {2, expected::kBomTemplate.In(LanguageOf(GetParam()))},
        {0, other},
        {3, other},
        {-1, other},
    };
    for (const auto& caption : captions) {
        Run(caption.first, L"%3", [&] { EXPECT_EQ(m_dialog->GetWindowText(), caption.second); });
    }
}

TEST_P(DlgTemplateTest, TheLanguageIsTheDialogsOwn)
{
    const CLanguageScope theOther{GetParam() != 0 ? 0 : 1};
    Run(1, L"%2", [&] {
        EXPECT_EQ(m_dialog->GetWindowText(), expected::kFileTemplate.In(LanguageOf(GetParam())));
        EXPECT_EQ(TextOf(IDC_TEMPLATE_PREVIEW), expected::kPreviewRefused.In(LanguageOf(GetParam())));
        Press(IDOK);
    });
    EXPECT_EQ(TakeBoxes(), Texts{Refusal()});
}

TEST_P(DlgTemplateTest, BeginsWithTheTemplateSelected)
{
    Run(1, L"%5%3_%4.%6", [&] {
        EXPECT_EQ(TextOf(IDC_TEMPLATE_TEXT), L"%5%3_%4.%6");
        ExpectAllSelected();
    });
    EXPECT_EQ(m_readBack, L"%5%3_%4.%6");
}

TEST_P(DlgTemplateTest, BelongsToItsParent)
{
    Run(1, L"%3", [&] {
        EXPECT_EQ(GetWindow(m_dialog->m_hWnd, GW_OWNER), m_owner.m_hWnd);
        EXPECT_FALSE(m_owner.IsWindowEnabled());
    });
    EXPECT_TRUE(m_owner.IsWindowEnabled());
}

// OK

TEST_P(DlgTemplateTest, OkStoresTheFileNameTemplate)
{
    const INT_PTR result = Run(1, L"%3", [&] {
        Type(L"%4-%3 ä.%6");
        EXPECT_EQ(m_settings.Template(1), kNone) << "nothing is stored while typing";
        Press(IDOK);
    });
    EXPECT_EQ(result, IDOK);
    EXPECT_EQ(m_readBack, L"%4-%3 ä.%6");
    EXPECT_EQ(m_settings.Template(1), L"%4-%3 ä.%6");
    EXPECT_EQ(m_settings.Template(2), kNone);
    EXPECT_EQ(TakeBoxes(), Texts{});
}

TEST_P(DlgTemplateTest, OkStoresTheBomTemplateUnchanged)
{
    m_settings.SetTemplate(1, L"the other column's");
    for (const wchar_t* const text : {L"%5%3_%2", L" a/b|c*..\\@;= "}) {
        TypeAndPressOk(2, L"before", text);
        EXPECT_EQ(m_readBack, text);
        EXPECT_EQ(m_settings.Template(2), text);
    }
    EXPECT_EQ(m_settings.Template(1), L"the other column's");
    EXPECT_EQ(TakeBoxes(), Texts{});
}

TEST_P(DlgTemplateTest, OkStoresAnUnchangedTemplateToo)
{
    EXPECT_EQ(Run(1, L"%3", [&] { Press(IDOK); }), IDOK);
    EXPECT_EQ(m_settings.Template(1), L"%3");
}

TEST_P(DlgTemplateTest, OkStoresAnEmptyTemplate)
{
    for (const int column : {1, 2}) {
        m_settings.SetTemplate(column, L"%3");
        TypeAndPressOk(column, L"%3", L"");
        EXPECT_EQ(m_readBack, L"");
        EXPECT_EQ(m_settings.Template(column), L"");
    }
}

TEST_P(DlgTemplateTest, OkStoresNothingForAnyOtherColumn)
{
    for (const int column : {0, 3, -1}) {
        TypeAndPressOk(column, L"before", L"%3_%2");
        EXPECT_EQ(m_readBack, L"%3_%2");
        EXPECT_EQ(m_settings.Template(1), kNone);
        EXPECT_EQ(m_settings.Template(2), kNone);
    }
    EXPECT_EQ(TakeBoxes(), Texts{});
}

TEST_P(DlgTemplateTest, EnterIsOk)
{
    EXPECT_EQ(Run(1, L"%3", [&] { PressKey(VK_RETURN); }), IDOK);
    EXPECT_EQ(m_settings.Template(1), L"%3");
}

TEST_P(DlgTemplateTest, ALongTemplateIsKeptWhole)
{
    const std::wstring text(1000, L'x');
    EXPECT_EQ(Run(2, text,
                  [&] {
                      SendMessageW(Item(IDC_TEMPLATE_TEXT), EM_SETSEL, 1000, 1000);
                      SendMessageW(Item(IDC_TEMPLATE_TEXT), WM_CHAR, L'y', 1);
                      Press(IDOK);
                  }),
              IDOK);
    EXPECT_EQ(m_readBack, text + L"y");
}

TEST_P(DlgTemplateTest, AFailedWriteIsNotReported)
{
    const INT_PTR result = Run(1, L"%3", [&] {
        Type(L"%4");
        m_settings.RefuseWriting();
        Press(IDOK);
    });
    EXPECT_EQ(m_settings.Template(1), kNone);
    EXPECT_EQ(result, IDOK);
    EXPECT_EQ(m_readBack, L"%4");
    EXPECT_EQ(TakeBoxes(), Texts{});
}

// Refusal

TEST_P(DlgTemplateTest, AFileNameTemplateWithAConfigurationNameIsRefused)
{
    m_settings.SetTemplate(1, L"the stored one");
    const INT_PTR result = Run(1, L"%3", [&] {
        Type(L"%5%3_%2");
        SetFocus(Item(IDOK));
        Press(IDOK);
        EXPECT_EQ(TakeBoxes(), Texts{Refusal()});
        EXPECT_FALSE(m_dialog->IsEnding());
        EXPECT_TRUE(IsWindowVisible(m_dialog->m_hWnd));
        EXPECT_EQ(TextOf(IDC_TEMPLATE_TEXT), L"%5%3_%2");
        ExpectAllSelected();
        EXPECT_EQ(m_settings.Template(1), L"the stored one");
        EXPECT_EQ(m_dialog->Text(), L"%5%3_%2");
    });
    EXPECT_EQ(result, kStillOpen);
}

TEST_P(DlgTemplateTest, ARefusedTemplateCanBeCorrected)
{
    const INT_PTR result = Run(1, L"%3_%2", [&] {
        PressKey(VK_RETURN);
        PressKey(VK_RETURN);
        EXPECT_EQ(TakeBoxes(), (Texts{Refusal(), Refusal()}));
        ExpectAllSelected();
        for (const wchar_t character : {L'%', L'4'}) {  // typed over the selection
            PostMessageW(GetFocus(), WM_CHAR, static_cast<WPARAM>(character), 1);
        }
        DrainMessages();
        PressKey(VK_RETURN);
    });
    EXPECT_EQ(result, IDOK);
    EXPECT_EQ(m_settings.Template(1), L"%4");
    EXPECT_EQ(TakeBoxes(), Texts{});
}

TEST_P(DlgTemplateTest, TheCaretOfALongRefusedTemplateIsScrolledIntoView)
{
    Run(1, std::wstring(300, L'W') + L"%2", [&] {
        SendMessageW(Item(IDC_TEMPLATE_TEXT), EM_SETSEL, 0, 0);
        SendMessageW(Item(IDC_TEMPLATE_TEXT), EM_SCROLLCARET, 0, 0);
        Press(IDOK);
        ExpectAllSelected();
    });
}

TEST_P(DlgTemplateTest, TheConfigurationNameIsRefusedAnywhere)
{
    for (const wchar_t* const text : {L"%2", L"%2_%3", L"a%2b", L"%%2", L"%25"}) {
        EXPECT_EQ(Run(1, text, [&] { Press(IDOK); }), kStillOpen);
        EXPECT_EQ(TakeBoxes(), Texts{Refusal()});
    }
    EXPECT_EQ(m_settings.Template(1), kNone);
    for (const wchar_t* const text : {L"% 2", L"2%", L"%12", L"%9"}) {
        EXPECT_EQ(Run(1, text, [&] { Press(IDOK); }), IDOK);
        EXPECT_EQ(m_settings.Template(1), text);
    }
}

TEST_P(DlgTemplateTest, ARefusalIsABoxAboveTheDialog)
{
    const CMainWindowScope mainWindow(&m_owner);
    const CListenerScope shown({});
    HWND above = nullptr;
    const CTimerScope closer(30, [&] {
        const HWND top = m_dialog != nullptr ? GetLastActivePopup(m_dialog->m_hWnd) : nullptr;
        if (top != nullptr && top != m_dialog->m_hWnd) {
            above = GetWindow(top, GW_OWNER);
            PostMessageW(top, WM_COMMAND, IDOK, 0);
        }
    });
    Run(1, L"%2", [&] {
        Press(IDOK);
        EXPECT_EQ(above, m_dialog->m_hWnd);
        EXPECT_TRUE(m_dialog->IsWindowEnabled());
        ExpectAllSelected();
    });
}

// Cancel

TEST_P(DlgTemplateTest, CancelStoresNothing)
{
    const std::vector<std::function<void()>> ways{
        [&] { Press(IDCANCEL); },
        [&] { PressKey(VK_ESCAPE); },
        [&] {
            m_dialog->SendMessage(WM_CLOSE);
            DrainMessages();
        },
    };
    for (const auto& cancel : ways) {
        for (const int column : {1, 2}) {
            EXPECT_EQ(Run(column, L"%3",
                          [&] {
                              Type(L"%4");
                              cancel();
                          }),
                      IDCANCEL);
            EXPECT_EQ(m_settings.Template(column), kNone);
            EXPECT_EQ(m_readBack, L"%3");
        }
    }
}

TEST_P(DlgTemplateTest, ARefusedTemplateCanBeCancelled)
{
    EXPECT_EQ(Run(1, L"%2",
                  [&] {
                      Press(IDOK);
                      Press(IDCANCEL);
                  }),
              IDCANCEL);
    EXPECT_EQ(TakeBoxes(), Texts{Refusal()});
    EXPECT_EQ(m_settings.Template(1), kNone);
}

// Preview

TEST_P(DlgTemplateTest, ThePreviewNamesTheSampleAndFollowsTheTyping)
{
    Run(1, L"%5%3_%4.changed.%6", [&] {
        EXPECT_EQ(TextOf(IDC_TEMPLATE_PREVIEW_LABEL),
                  In(L"Vorschau für N_ISO_4017_M10x50.sldprt:", L"Preview for N_ISO_4017_M10x50.sldprt:"));
        EXPECT_TRUE(IsWindowVisible(Item(IDC_TEMPLATE_PREVIEW_LABEL)));
        EXPECT_TRUE(IsWindowVisible(Item(IDC_TEMPLATE_PREVIEW)));
        EXPECT_EQ(TextOf(IDC_TEMPLATE_PREVIEW), L"N_ISO_4017_M10x50.changed.sldprt");
        Type(L"%");
        EXPECT_EQ(TextOf(IDC_TEMPLATE_PREVIEW), L"%.sldprt");
        PostMessageW(Item(IDC_TEMPLATE_TEXT), WM_CHAR, L'4', 1);
        DrainMessages();
        EXPECT_EQ(TextOf(IDC_TEMPLATE_PREVIEW), L"M10x50.sldprt");
    });
}

TEST_P(DlgTemplateTest, TheFileNamePreviewFollowsTheNameRules)
{
    Run(1, L"%3", [&] {
        EXPECT_EQ(PreviewOf(L" %3|%4?<%1> "), L"4017_M10x50__4017_.sldprt");
        EXPECT_EQ(PreviewOf(L"%3...%4"), L"4017.M10x50.sldprt");
        EXPECT_EQ(PreviewOf(L"%4sldprt"), L"M10x50sldprt");
        EXPECT_EQ(PreviewOf(L"%0%9"), L"%0%9.sldprt");
    });
    EXPECT_EQ(TakeBoxes(), Texts{}) << "a preview shows no message";
    EXPECT_EQ(m_settings.Template(1), kNone);
}

TEST_P(DlgTemplateTest, ThePreviewNamesAProblemWithAFileNameTemplate)
{
    const std::wstring noName = In(L"(ergibt keinen Dateinamen)", L"(gives no file name)");
    Run(1, L"%3", [&] {
        EXPECT_EQ(PreviewOf(L""), noName);
        EXPECT_EQ(PreviewOf(L"  "), noName);
        EXPECT_EQ(PreviewOf(L"%7%8"), noName);
        EXPECT_EQ(PreviewOf(L"%3%2"), expected::kPreviewRefused.In(LanguageOf(GetParam())));
        EXPECT_EQ(PreviewOf(L"%3"), L"4017.sldprt");
    });
    EXPECT_EQ(TakeBoxes(), Texts{});
}

TEST_P(DlgTemplateTest, TheBomPreviewShowsASampleConfiguration)
{
    Run(2, L"Norm %1 - %2", [&] {
        EXPECT_EQ(TextOf(IDC_TEMPLATE_PREVIEW), In(L"Norm 4017 - Standard", L"Norm 4017 - Default"));
        EXPECT_EQ(PreviewOf(L"%2/%5|%6"), In(L"Standard/N_ISO_|sldprt", L"Default/N_ISO_|sldprt"));
        EXPECT_EQ(PreviewOf(L"%7"), In(L"(leer)", L"(empty)"));
        EXPECT_EQ(PreviewOf(L""), In(L"(leer)", L"(empty)"));
    });
    EXPECT_EQ(TakeBoxes(), Texts{});
}

TEST_P(DlgTemplateTest, ThePreviewFillsTheFieldsBetweenDoubleUnderscores)
{
    m_sample = L"n_en_14399-4_M20x80__HV__tZn__.SLDPRT";
    Run(1, L"%1 %3 %4 %5 %7 %8",
        [&] { EXPECT_EQ(TextOf(IDC_TEMPLATE_PREVIEW), L"14399 14399-4 M20x80 N_EN_ HV tZn.SLDPRT"); });
}

TEST_P(DlgTemplateTest, AnAmpersandInASampleIsShown)
{
    m_sample = L"N_1_a&b.sldprt";
    Run(2, L"%4", [&] {
        EXPECT_EQ(TextOf(IDC_TEMPLATE_PREVIEW), L"a&b");
        EXPECT_EQ(TextOf(IDC_TEMPLATE_PREVIEW_LABEL),
                  In(L"Vorschau für N_1_a&b.sldprt:", L"Preview for N_1_a&b.sldprt:"));
        EXPECT_NE(GetWindowLongW(Item(IDC_TEMPLATE_PREVIEW_LABEL), GWL_STYLE) & SS_NOPREFIX, 0);
    });
}

TEST_P(DlgTemplateTest, WithoutASampleThereIsNoPreview)
{
    m_sample.clear();
    for (const int column : {1, 2}) {
        Run(column, L"%3", [&] {
            Type(L"%4");
            EXPECT_FALSE(IsWindowVisible(Item(IDC_TEMPLATE_PREVIEW_LABEL)));
            EXPECT_FALSE(IsWindowVisible(Item(IDC_TEMPLATE_PREVIEW)));
            PressKey(VK_TAB);
            EXPECT_EQ(GetFocus(), Item(IDOK));
        });
    }
}

TEST_P(DlgTemplateTest, ThePreviewIsReadOnly)
{
    Run(1, L"%3", [&] {
        const LONG style = GetWindowLongW(Item(IDC_TEMPLATE_PREVIEW), GWL_STYLE);
        EXPECT_NE(style & ES_READONLY, 0);
        EXPECT_EQ(style & WS_BORDER, 0);
        SendMessageW(Item(IDC_TEMPLATE_PREVIEW), WM_CHAR, L'x', 1);
        EXPECT_EQ(TextOf(IDC_TEMPLATE_PREVIEW), L"4017.sldprt");
    });
}

// Legend

TEST_P(DlgTemplateTest, TheLegendNamesTheFillInsOfTheColumn)
{
    const Texts all{
        In(L"%1 | Ziffern am Anfang der Normnummer | 14399",
           L"%1 | Leading digits of the standard number | 14399"),
        In(L"%2 | Name der Konfiguration | Standard", L"%2 | Name of the configuration | Default"),
        In(L"%3 | Normnummer | 14399-4", L"%3 | Standard number | 14399-4"),
        In(L"%4 | Größe | M20x80", L"%4 | Size | M20x80"),
        In(L"%5 | Normkürzel in Großbuchstaben | N_EN_", L"%5 | Standard prefix in capitals | N_EN_"),
        In(L"%6 | Dateiendung ohne Punkt | sldprt", L"%6 | File extension without the dot | sldprt"),
        In(L"%7 | Erstes Feld zwischen doppelten Unterstrichen | HV",
           L"%7 | First field between double underscores | HV"),
        In(L"%8 | Zweites Feld zwischen doppelten Unterstrichen | tZn",
           L"%8 | Second field between double underscores | tZn"),
    };
    Texts ofFiles = all;
    ofFiles.erase(ofFiles.begin() + 1);
    Run(1, L"%3", [&] { EXPECT_EQ(Legend(), ofFiles); });
    Run(2, L"%3", [&] { EXPECT_EQ(Legend(), all); });
    Run(3, L"%3", [&] { EXPECT_EQ(Legend(), all); });
}

// Keyboard and screen readers

TEST_P(DlgTemplateTest, TabFollowsTheReadingOrder)
{
    Run(1, L"%3", [&] {
        std::vector<int> focused;
        for (int stop = 0; stop < 5; ++stop) {
            focused.push_back(GetDlgCtrlID(GetFocus()));
            PressKey(VK_TAB);
        }
        EXPECT_EQ(focused, (std::vector<int>{IDC_TEMPLATE_TEXT, IDC_TEMPLATE_PREVIEW, IDOK, IDCANCEL,
                                             IDC_TEMPLATE_TEXT}));
    });
}

// Screen readers name a field after the label before it.
TEST_P(DlgTemplateTest, EachEditFollowsItsLabel)
{
    Run(1, L"%3", [&] {
        const HWND label = GetWindow(Item(IDC_TEMPLATE_TEXT), GW_HWNDPREV);
        EXPECT_EQ(CWnd::TextOf(label), In(L"&Schablone:", L"&Template:"));
        EXPECT_EQ(GetWindow(Item(IDC_TEMPLATE_PREVIEW), GW_HWNDPREV), Item(IDC_TEMPLATE_PREVIEW_LABEL));
    });
}

TEST_P(DlgTemplateTest, TheLabelsLetterFocusesTheTemplate)
{
    Run(1, L"%3", [&] {
        SetFocus(Item(IDCANCEL));
        constexpr LPARAM kAltDown = 0x20000001;
        PostMessageW(GetFocus(), WM_SYSCHAR, In(L"s", L"t")[0], kAltDown);
        DrainMessages();
        EXPECT_EQ(GetFocus(), Item(IDC_TEMPLATE_TEXT));
    });
}

// Templates used before

TEST_P(DlgTemplateTest, OffersTheColumnsTemplatesThatWereStored)
{
    TypeAndPressOk(2, L"", L"one %2");
    TypeAndPressOk(2, L"", L"two %2");
    TypeAndPressOk(1, L"", L"%3");
    Run(2, L"x", [this] {
        EXPECT_EQ(HistoryEntries(), (Texts{L"two %2", L"one %2"}));
        EXPECT_TRUE(IsWindowEnabled(Item(IDC_TEMPLATE_HISTORY)));
        EXPECT_EQ(TextOf(IDC_TEMPLATE_TEXT), L"x");
    });
    Run(1, L"x", [this] { EXPECT_EQ(HistoryEntries(), Texts{L"%3"}); });
}

TEST_P(DlgTemplateTest, OffersTheTemplateThatTheFirstChangeReplaced)
{
    m_settings.SetTemplate(1, L"%3_%4");
    TypeAndPressOk(1, L"%3_%4", L"%4");
    Run(1, L"x", [this] { EXPECT_EQ(HistoryEntries(), (Texts{L"%4", L"%3_%4"})); });
}

// Without a stored template, the dialog begins with the text of a cell.
TEST_P(DlgTemplateTest, OffersNoCellsTextAsATemplate)
{
    TypeAndPressOk(1, L"1_a.sldprt", L"%4");
    Run(1, L"x", [this] { EXPECT_EQ(HistoryEntries(), Texts{L"%4"}); });
}

TEST_P(DlgTemplateTest, ChoosingATemplateFillsTheFieldOnly)
{
    TypeAndPressOk(2, L"", L"one %4");
    TypeAndPressOk(2, L"", L"two %4");
    m_sample = kBolt;
    Run(2, L"x", [this] {
        SetFocus(Item(IDC_TEMPLATE_HISTORY));
        PressKey(VK_DOWN);
        PressKey(VK_DOWN);
        EXPECT_EQ(TextOf(IDC_TEMPLATE_TEXT), L"one %4");
        EXPECT_EQ(TextOf(IDC_TEMPLATE_PREVIEW), L"one M10x50");
        EXPECT_EQ(m_settings.Template(2), L"two %4");
    });
    EXPECT_EQ(m_settings.Template(2), L"two %4");
}

TEST_P(DlgTemplateTest, ChoosingTheSameTemplateAgainReplacesWhatWasTyped)
{
    TypeAndPressOk(2, L"", L"one %4");
    Run(2, L"x", [this] {
        SetFocus(Item(IDC_TEMPLATE_HISTORY));
        PressKey(VK_DOWN);
        ASSERT_EQ(TextOf(IDC_TEMPLATE_TEXT), L"one %4");
        Type(L"typed");
        SetFocus(Item(IDC_TEMPLATE_HISTORY));
        SendMessageW(Item(IDC_TEMPLATE_HISTORY), CB_SHOWDROPDOWN, TRUE, 0);
        SendMessageW(Item(IDC_TEMPLATE_HISTORY), WM_KEYDOWN, VK_RETURN, 1);
        EXPECT_EQ(TextOf(IDC_TEMPLATE_TEXT), L"one %4");
        SendMessageW(Item(IDC_TEMPLATE_TEXT), EM_UNDO, 0, 0);
        EXPECT_EQ(TextOf(IDC_TEMPLATE_TEXT), L"typed");
    });
}

TEST_P(DlgTemplateTest, RemembersNothingThatWasNotStored)
{
    Run(2, L"x", [this] {
        EXPECT_FALSE(IsWindowEnabled(Item(IDC_TEMPLATE_HISTORY)));
        Type(L"typed");
        Press(IDCANCEL);
    });
    TypeAndPressOk(3, L"", L"of no column");
    for (const int column : {1, 2, 3}) {
        Run(column, L"x", [this] { EXPECT_EQ(HistoryEntries(), Texts{}); });
    }
}

}  // namespace
