#include "tests/acceptance/AcceptanceTest.h"

#include "tests/support/MenuOnScreen.h"

namespace {

std::size_t CountOf(const std::string& word, const std::string& text)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + word.size())) {
        ++count;
    }
    return count;
}

void ReplaceAll(std::string& text, const std::string& word, const std::string& by)
{
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + by.size())) {
        text.replace(at, word.size(), by);
    }
}

constexpr DWORD kUpdateTimeout = 5'000;  // milliseconds

// The file-name edit of a file dialog, or null while the edit does not have the focus.
HWND NameEditOf(HWND picker)
{
    const HWND focus = FocusOf(picker);
    return IsChild(picker, focus) != FALSE && ClassOf(focus).ends_with(L"Edit") ? focus : nullptr;
}

HWND WaitForPicker(const CProgramUnderTest& program, const std::wstring& title)
{
    const HWND picker = WaitFor([&] {
        const std::vector<HWND> windows = TopWindowsOf(program.ProcessId());
        return !windows.empty() && TextOf(windows[0]) == title ? windows[0] : nullptr;
    });
    if (picker == nullptr) {
        throw CNotOnScreen(L"the file dialog", program.ProcessId());
    }
    return picker;
}

}  // namespace

AcceptanceTest::AcceptanceTest() : m_server(m_temp.Path())
{
    m_registry.SetPartsFolder(m_library.Path());
}

void AcceptanceTest::TearDown()
{
    EXPECT_TRUE(m_server.WaitForEnd()) << "a process of the CAD server is still running; its log:\n"
                                       << testing::PrintToString(m_server.Log());
}

void AcceptanceTest::ExpectMessage(const CProgramUnderTest& program, const std::wstring& text)
{
    ExpectBox(program, text, {IDOK}, IDOK);
}

void AcceptanceTest::ExpectQuestion(const CProgramUnderTest& program, const std::wstring& text, int answer)
{
    ExpectBox(program, text, {IDYES, IDNO}, answer);
}

void AcceptanceTest::ExpectBox(const CProgramUnderTest& program, const std::wstring& text,
                               const std::vector<int>& buttons, int answer)
{
    const CMessageBoxOnScreen box = CMessageBoxOnScreen::WaitForOne(program.ProcessId());
    EXPECT_EQ(text, box.Text());
    EXPECT_EQ(L"Talvenor", box.Title());
    EXPECT_EQ(buttons, box.Buttons());
    box.Answer(answer);
}

void AcceptanceTest::ChooseInPicker(const CProgramUnderTest& program, const std::wstring& path,
                                    const Text& title)
{
    const HWND picker = WaitForPicker(program, title.Current());
    const HWND name = WaitFor([&] { return NameEditOf(picker); });
    if (name == nullptr) {
        throw CNotOnScreen(L"the file-name edit with the focus", program.ProcessId());
    }
    TypeText(path);  // replaces the selected file name
    WaitFor([&] { return TextOf(name) == path; });
    ASSERT_EQ(path, TextOf(name));
    PressKeys({VK_RETURN});
}

void AcceptanceTest::ChooseFurther(const CProgramUnderTest& program, const Text& command)
{
    program.WaitForKeyboard();
    program.PressByKey(IDC_MORE);
    CMenuOnScreen::WaitForOne(program.ProcessId()).ChooseByKey(command.Current());
}

void AcceptanceTest::ReplaceInSpreadsheet(const CProgramUnderTest& program, const std::wstring& path,
                                          const std::string& word, const std::string& by, std::size_t rows)
{
    ChooseFurther(program, expected::kExport);
    ChooseInPicker(program, path, expected::kExportTable);
    // The program renames the finished file. The file cannot be opened during the renaming.
    WaitFor([&] { return CountOf(word, BytesOf(path)) == rows; });
    std::string table = BytesOf(path);
    ASSERT_EQ(rows, CountOf(word, table));
    ReplaceAll(table, word, by);
    WriteBytes(path, table);
    program.WaitForRest();
    ChooseFurther(program, expected::kImport);
    ChooseInPicker(program, path, expected::kImportTable);
    ExpectMessage(program, expected::Taken(std::to_wstring(rows), L"0", L"0", L"0", L"0"));
}

void AcceptanceTest::ExpectSelectedText(HWND edit, const std::wstring& text)
{
    EXPECT_EQ(text, TextOf(edit));
    const LRESULT range = Ask(edit, EM_GETSEL);
    EXPECT_EQ(0, LOWORD(range));
    EXPECT_EQ(text.size(), HIWORD(range));
}

void AcceptanceTest::AddThreeParts() const
{
    for (const wchar_t* size : {L"M4", L"M6", L"M8"}) {
        m_library.AddPart(L"N_ISO_4017_" + std::wstring(size) + L".sldprt", {L"x"});
    }
}

Rows AcceptanceTest::RowsOfThreeParts()
{
    return {IsoRow(L"4017", L"M4", Mark::pending), IsoRow(L"4017", L"M6", Mark::pending),
            IsoRow(L"4017", L"M8", Mark::pending)};
}

void AcceptanceTest::WriteThreeRecords() const
{
    m_library.WriteMapFile("a ; A ; 1\nb ; B ; 2\nc ; C ; 3\n");
}

Rows AcceptanceTest::RowsOfThreeRecords()
{
    return {{L"a", L"A", L"1", Mark::converted},
            {L"b", L"B", L"2", Mark::converted},
            {L"c", L"C", L"3", Mark::converted}};
}

void AcceptanceTest::WaitForRows(const CProgramUnderTest& program, const Rows& rows)
{
    WaitFor([&] { return program.List().Rows() == rows; }, kUpdateTimeout);
    EXPECT_EQ(rows, program.List().Rows());
}

void AcceptanceTest::WaitForSelection(const CProgramUnderTest& program, const Selection& rows)
{
    WaitFor([&] { return program.List().Selection() == rows; }, kUpdateTimeout);
    EXPECT_EQ(rows, program.List().Selection());
}

void AcceptanceTest::WaitForCaption(const CProgramUnderTest& program, const std::wstring& caption)
{
    program.WaitForText(IDC_STATUS_FRAME, caption);
}

void AcceptanceTest::ConvertToTheEnd(const CProgramUnderTest& program) const
{
    program.Click(IDC_START);
    ExpectMessage(program, expected::kFinished.Current());
    WaitForEndOfRun(program);
}

void AcceptanceTest::WaitForEndOfRun(const CProgramUnderTest& program) const
{
    program.WaitForRest();
    EXPECT_TRUE(m_server.WaitForEnd()) << "the CAD server is still running after the run";
}

std::wstring AcceptanceTest::OverwriteQuestion() const
{
    return m_library.OverwriteQuestion();
}

Rows Edited(Rows rows, std::size_t row, Cell cell, const std::wstring& text)
{
    rows.at(row).*cell = text;
    rows.at(row).mark = Mark::pending;
    return rows;
}

RowOnScreen IsoRow(const std::wstring& number, const std::wstring& size, Mark mark)
{
    const std::wstring name = L"N_ISO_" + number + L"_" + size;
    return {name + L".sldprt", name + L".changed.sldprt", L"Norm " + number + L" - %2", mark};
}
