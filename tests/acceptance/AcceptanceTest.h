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

// Base class of all acceptance tests. At the start of a test, the registry names an empty standard-parts
// folder and holds no templates, and the script of the stand-in CAD server is empty. After each test,
// TearDown waits for the server processes to end. A process that does not end in time fails the test.
//
// Suites named *InBothLanguages check texts, mnemonics or the layout. They run with the German program and
// with the English program. All other suites run with the German program only (see CMakeLists.txt).
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

    // Chooses a command of the menu of further commands by keyboard.
    static void ChooseFurther(const CProgramUnderTest& program, const Text& command);
    // Exports the list to a CSV file, replaces a word throughout the file as in a spreadsheet, and imports
    // the file. Expects the word in `rows` rows, and a message that these rows have changed.
    static void ReplaceInSpreadsheet(const CProgramUnderTest& program, const std::wstring& path,
                                     const std::string& word, const std::string& by, std::size_t rows);

    // Expects that an edit contains `text`, and that the whole text is selected.
    static void ExpectSelectedText(HWND edit, const std::wstring& text);

    void AddThreeParts() const;
    static Rows RowsOfThreeParts();
    void WriteThreeRecords() const;
    static Rows RowsOfThreeRecords();

    // Wait for the list's rows, its selection, or the caption of its frame. A timeout fails the test.
    static void WaitForRows(const CProgramUnderTest& program, const Rows& rows);
    static void WaitForSelection(const CProgramUnderTest& program, const Selection& rows);
    static void WaitForCaption(const CProgramUnderTest& program, const std::wstring& caption);

    // Clicks Start, expects the message that the run has finished as the only message, and waits for the end
    // of the run.
    void ConvertToTheEnd(const CProgramUnderTest& program) const;
    // Waits until only the main dialog is left and the server has ended.
    void WaitForEndOfRun(const CProgramUnderTest& program) const;

    // The program's question whether to overwrite the library's map file.
    [[nodiscard]] std::wstring OverwriteQuestion() const;

    CTempFolder m_temp;
    CSharedZelmarRegistry m_registry;
    CTestLibrary m_library;
    CCadServer m_server;
};

using Cell = std::wstring RowOnScreen::*;

// The rows after an edit of one cell. The edit marks the cell's row for conversion.
Rows Edited(Rows rows, std::size_t row, Cell cell, const std::wstring& text);

// The row of a standard part 'N_ISO_<number>_<size>.sldprt' with the names that the default templates give.
RowOnScreen IsoRow(const std::wstring& number, const std::wstring& size, Mark mark);
