#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "resources/resource.h"
#include "tests/support/CadServer.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/Input.h"
#include "tests/support/OtherWindows.h"
#include "tests/support/PartReader.h"
#include "tests/support/ProgramUnderTest.h"
#include "tests/support/Repeat.h"
#include "tests/support/TestLibrary.h"
#include "tests/support/TextFile.h"
#include "tests/support/WaitFor.h"
#include "tests/support/ZelmarRegistry.h"

using Rows = std::vector<RowOnScreen>;
using Selection = std::vector<int>;

// Each test starts with an empty standard-parts folder that the registry names, no templates, and an empty
// script for the stand-in CAD server. The test fails if a server process is still running at its end.
//
// A suite named *InBothLanguages checks texts, mnemonics or the layout, and also runs with the English
// program; the others run with the German one only (see CMakeLists.txt).
class AcceptanceTest : public testing::Test
{
protected:
    AcceptanceTest();
    void TearDown() override;

    // Waits for a message box, compares its text, title and buttons, and clicks a button.
    static void ExpectMessage(const CProgramUnderTest& program, const std::wstring& text);
    static void ExpectQuestion(const CProgramUnderTest& program, const std::wstring& text, int answer);
    static void ExpectBox(const CProgramUnderTest& program, const std::wstring& text,
                          const std::vector<int>& buttons, int answer);

    // Types a path into the program's file dialog with this title and presses Enter. Throws CNotOnScreen if
    // no such dialog opens.
    static void ChooseInPicker(const CProgramUnderTest& program, const std::wstring& path,
                               const Text& title = expected::kAddParts);

    // Expects that an edit contains `text` and that all of it is selected.
    static void ExpectSelectedText(HWND edit, const std::wstring& text);

    // Three parts in the folder, and their rows.
    void AddThreeParts() const;
    static Rows RowsOfThreeParts();
    // A map file with three records, and its rows.
    void WriteThreeRecords() const;
    static Rows RowsOfThreeRecords();

    // Wait until the list has these rows, has this selection, or has this caption in its frame. If not, the
    // test fails.
    static void WaitForRows(const CProgramUnderTest& program, const Rows& rows);
    static void WaitForSelection(const CProgramUnderTest& program, const Selection& rows);
    static void WaitForCaption(const CProgramUnderTest& program, const std::wstring& caption);

    // Clicks Start and waits for the end of a run without messages in between.
    void ConvertToTheEnd(const CProgramUnderTest& program) const;
    // Waits until only the main dialog is left and the server has ended.
    void WaitForEndOfRun(const CProgramUnderTest& program) const;

    // The program's question before it overwrites the library's map file.
    [[nodiscard]] std::wstring OverwriteQuestion() const;

    CTempFolder m_temp;
    CSharedZelmarRegistry m_registry;
    CTestLibrary m_library;
    CCadServer m_server;
};

using Cell = std::wstring RowOnScreen::*;

// The rows after an edit of one cell, which marks its row for conversion.
Rows Edited(Rows rows, std::size_t row, Cell cell, const std::wstring& text);

// The row of a standard part 'N_ISO_<number>_<size>.sldprt' with the names that the default templates give.
RowOnScreen IsoRow(const std::wstring& number, const std::wstring& size, Mark mark);
