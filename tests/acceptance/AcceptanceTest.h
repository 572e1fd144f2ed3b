#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "resources/resource.h"
#include "tests/acceptance/CadServer.h"
#include "tests/acceptance/ExpectedTexts.h"
#include "tests/acceptance/Input.h"
#include "tests/acceptance/OtherWindows.h"
#include "tests/acceptance/PartReader.h"
#include "tests/acceptance/ProgramUnderTest.h"
#include "tests/acceptance/Repeat.h"
#include "tests/acceptance/TestLibrary.h"
#include "tests/acceptance/WaitFor.h"
#include "tests/acceptance/ZelmarRegistry.h"
#include "tests/cadserver/TextFile.h"

using Rows = std::vector<RowOnScreen>;
using Selection = std::vector<int>;

// What each test finds: an empty standard-parts folder that the registry names, no templates, and the
// stand-in CAD server with an empty script. A server that still runs behind a test makes it fail.
class AcceptanceTest : public testing::Test
{
protected:
    AcceptanceTest();
    void TearDown() override;

    // Waits for a message box of the program, compares its text, title and buttons, and clicks on one of
    // them.
    static void ExpectMessage(const CProgramUnderTest& program, const std::wstring& text);
    static void ExpectQuestion(const CProgramUnderTest& program, const std::wstring& text, int answer);
    static void ExpectBox(const CProgramUnderTest& program, const std::wstring& text,
                          const std::vector<int>& buttons, int answer);

    // Waits for the program's file dialog; throws CNotOnScreen when it does not come.
    static HWND WaitForPicker(const CProgramUnderTest& program);

    // Types a file into the program's file dialog and closes that with Enter.
    static void ChooseInPicker(const CProgramUnderTest& program, const std::wstring& path);

    // Three parts in the folder, and their rows.
    void AddThreeParts() const;
    static Rows ThreeRows();
    // A map file with three records, and its rows.
    void WriteThreeRecords() const;
    static Rows ThreeRecords();

    // Wait for what the list and its frame are to show.
    static void WaitForRows(const CProgramUnderTest& program, const Rows& rows);
    static void WaitForSelection(const CProgramUnderTest& program, const Selection& rows);
    static void WaitForCaption(const CProgramUnderTest& program, const std::wstring& caption);

    // Clicks on start and waits until a run that goes well is over.
    void ConvertToTheEnd(const CProgramUnderTest& program) const;
    // Waits until a run is over: only the main dialog is left, and the server has been ended.
    void WaitForEndOfRun(const CProgramUnderTest& program) const;

    // The program's question before it overwrites the library's map file.
    [[nodiscard]] std::wstring OverwriteQuestion() const;

    CTempFolder m_temp;
    CZelmarRegistry m_registry;
    CTestLibrary m_library;
    CCadServer m_server;
};

using Cell = std::wstring RowOnScreen::*;

// The rows after an edit of one cell, whose row is then to be converted.
Rows Edited(Rows rows, std::size_t row, Cell cell, const std::wstring& text);

// A row of the list with the generated names of a standard part 'N_ISO_<number>_<size>.sldprt'.
RowOnScreen IsoRow(const std::wstring& number, const std::wstring& size, Mark mark);
