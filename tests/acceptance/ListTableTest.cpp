// Export, import, copy and paste of the list's rows, with undo and redo, by keyboard.
#include "tests/acceptance/ListTest.h"

namespace {

constexpr int kRecords = 200;

// Returns an empty text if the clipboard has no text or another program has the clipboard open.
std::wstring ClipboardText()
{
    if (OpenClipboard(nullptr) == FALSE) {
        return {};
    }
    const HANDLE data = GetClipboardData(CF_UNICODETEXT);
    const auto* const text = static_cast<const wchar_t*>(data != nullptr ? GlobalLock(data) : nullptr);
    std::wstring copy = text != nullptr ? text : L"";
    GlobalUnlock(data);
    CloseClipboard();
    return copy;
}

class ListTableTest : public ListTest
{
protected:
    // The records N_100 to N_299 with BOM names that begin with `word`.
    static std::wstring Records(const std::wstring& word, const std::wstring& separator,
                                const std::wstring& lineEnd)
    {
        std::wstring records;
        for (int number = 100; number < 100 + kRecords; ++number) {
            const std::wstring text = std::to_wstring(number);
            records += L"N_" + text + L".sldprt" + separator + L"M" + text + L".sldprt" + separator + word +
                       L" " + text + lineEnd;
        }
        return records;
    }

    // Copies all rows to the clipboard, because reading the list from outside takes seconds.
    static void ExpectBomNames(const std::wstring& word)
    {
        const std::wstring expected = Records(word, L"\t", L"\r\n");
        PressKeys({VK_CONTROL, 'A'});
        PressKeys({VK_CONTROL, 'C'});
        WaitFor([&] { return ClipboardText() == expected; });
        EXPECT_EQ(expected, ClipboardText());
    }
};

TEST_F(ListTableTest, NamesGoThroughASpreadsheetAndChangesComeBack)
{
    m_library.WriteMapFile(ToUtf8(Records(L"Norm", L" ; ", L"\n")));
    const CProgramUnderTest program;
    ReplaceInSpreadsheet(program, m_temp / L"table.csv", "Norm ", "Mutter ", kRecords);
    WaitForCaption(program, ChangedMapView());
    FocusFirstRow(program);
    ExpectBomNames(L"Mutter");
    PressKeys({VK_CONTROL, 'Z'});
    WaitForCaption(program, expected::kMapView.Current());
    ExpectBomNames(L"Norm");
    PressKeys({VK_CONTROL, 'Y'});
    WaitForCaption(program, ChangedMapView());
    ExpectBomNames(L"Mutter");
}

TEST_F(ListTableTest, CopiedRowsArePastedOverLaterEdits)
{
    WriteThreeRecords();
    const CProgramUnderTest program;
    FocusFirstRow(program);
    PressKeys({VK_CONTROL, 'A'});
    PressKeys({VK_CONTROL, 'C'});
    EditCell(program, 1, 2, L"Mutter");
    const Rows edited = Edited(RowsOfThreeRecords(), 1, &RowOnScreen::bomName, L"Mutter");
    WaitForRows(program, edited);
    program.WaitForFocus(IDC_LIST);
    PressKeys({VK_CONTROL, 'V'});
    ExpectMessage(program, expected::Taken(L"1", L"0", L"0", L"0", L"0"));
    WaitForRows(program, Edited(RowsOfThreeRecords(), 1, &RowOnScreen::bomName, L"2"));
    program.WaitForKeyboard();
    PressKeys({VK_CONTROL, 'Z'});
    WaitForRows(program, edited);
    PressKeys({VK_CONTROL, 'Z'});
    WaitForRows(program, RowsOfThreeRecords());
}

}  // namespace
