#include "tests/acceptance/AcceptanceTest.h"

AcceptanceTest::AcceptanceTest() : m_server(m_temp.Path())
{
    m_registry.SetPartsFolder(m_library.Path());
}

void AcceptanceTest::TearDown()
{
    EXPECT_TRUE(m_server.WaitForEnd()) << "a process of the CAD server is still there; it was asked:\n"
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

HWND AcceptanceTest::WaitForPicker(const CProgramUnderTest& program)
{
    const HWND picker = WaitFor([&] {
        const std::vector<HWND> windows = TopWindowsOf(program.ProcessId());
        return !windows.empty() && TextOf(windows[0]) == expected::kAddParts.Current() ? windows[0] : nullptr;
    });
    if (picker == nullptr) {
        throw CNotOnScreen(L"the file dialog", program.ProcessId());
    }
    return picker;
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
    EXPECT_TRUE(m_server.WaitForEnd()) << "the run has not ended the CAD server";
}

std::wstring AcceptanceTest::OverwriteQuestion() const
{
    return expected::kOverwriteLead.Current() + m_library.MappedPath() + expected::kOverwriteEnd.Current();
}

RowOnScreen IsoRow(const std::wstring& number, const std::wstring& size, Mark mark)
{
    const std::wstring name = L"N_ISO_" + number + L"_" + size;
    return {name + L".sldprt", name + L".changed.sldprt", L"Norm " + number + L" - %2", mark};
}
