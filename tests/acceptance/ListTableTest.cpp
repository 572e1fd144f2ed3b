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

    // Chooses a command of the menu of further commands, and picks a file in its file dialog.
    static void PickFor(const CProgramUnderTest& program, const std::wstring& command, const Text& title,
                        const std::wstring& path)
    {
        program.PressByKey(IDC_MORE);
        CMenuOnScreen::WaitForOne(program.ProcessId()).ChooseByKey(command);
        ChooseInPicker(program, path, title);
    }

    // Waits until the exported file is complete, and replaces a word throughout the file. The file cannot be
    // opened while it gets its name.
    static void ReplaceInFile(const std::wstring& path, const std::string& word, const std::string& by)
    {
        std::string text;
        WaitFor([&] {
            text = BytesOf(path);
            return text.ends_with(word + "299\r\n");
        });
        std::size_t count = 0;
        for (std::size_t at = text.find(word); at != std::string::npos;
             at = text.find(word, at + by.size())) {
            text.replace(at, word.size(), by);
            ++count;
        }
        ASSERT_EQ(static_cast<std::size_t>(kRecords), count);
        WriteBytes(path, text);
    }
};

TEST_F(ListTableTest, NamesGoThroughASpreadsheetAndChangesComeBack)
{
    m_library.WriteMapFile(ToUtf8(Records(L"Norm", L" ; ", L"\n")));
    const std::wstring path = m_temp / L"table.csv";
    const CProgramUnderTest program;
    PickFor(program, L"E&xportieren...", expected::kExportTable, path);
    ReplaceInFile(path, "Norm ", "Mutter ");
    program.WaitForRest();
    PickFor(program, L"&Importieren...", expected::kImportTable, path);
    ExpectMessage(program, expected::Taken(L"200", L"0", L"0", L"0", L"0"));
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
