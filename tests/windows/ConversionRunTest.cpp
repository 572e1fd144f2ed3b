#include "tests/windows/ConversionRunTest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "framework/LongOperation.h"
#include "framework/WinApp.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/FileInterceptor.h"
#include "tests/support/NetworkWatch.h"

namespace {

using namespace automation;

// Lines of the progress dialog
std::wstring Copying(const std::wstring& path)
{
    return expected::kCopy.Current() + path;
}
std::wstring Editing(const std::wstring& path)
{
    return expected::kCurrentFile.Current() + path;
}
std::wstring NewBomEntry(const std::wstring& name)
{
    return expected::kNewBomEntry.Current() + name;
}

// Message boxes as the log shows them, in the language of the process
std::wstring Box(const std::wstring& text)
{
    return L"box " + text;
}
std::wstring SourceMissing(const std::wstring& path)
{
    return Box(expected::SourceNotOpened(path, expected::FileMissing(path)));
}
std::wstring NotLoaded()
{
    return Box(expected::kCadNotLoaded.Current());
}
std::wstring TooOld()
{
    return Box(expected::kCadTooOld.Current());
}
std::wstring Finished()
{
    return Box(expected::kFinished.Current()) + L" [type 64]";
}
std::wstring Cancelled()
{
    return Box(expected::kCancelled.Current());
}
std::wstring ReallyCancel()
{
    return Box(expected::kReallyCancel.Current()) + L" [type 36]";
}

const std::wstring kVersionIsRead = L"application GetDateCode method";
const std::wstring kCadEnds = L"application Exit method";

// A whole run

TEST_F(ConversionRunTest, CopiesRecordsAndUpdatesPartAfterPart)
{
    AddRow(L"N_4017_M8.sldprt", L"Schraube.sldprt", L"Norm 4017 - %2");
    AddRow(L"N_ISO_4032_M6.sldasm", L"Mutter.sldasm", L"%1|%3|%4|%5");
    Run(false);
    EXPECT_EQ(
        m_log,
        (EventLog{
            kVersionIsRead,
            L"application SetDocumentVisibility method BOOL=0 I4=1",
            L"application OpenDocument method BSTR=lib\\Mapped\\Schraube.sldprt I4=1 BOOL=0 BOOL=0 BOOL=-1 "
            L"&I4=0",
            L"document GetConfigurationCount method",
            L"document GetConfigurationNames method",
            L"document GetConfiguration method BSTR=Default",
            L"configuration UseAlternativeBomName put BOOL=-1",
            L"configuration AlternativeBomName put BSTR=Norm 4017 - Default",
            L"document Save method BOOL=-1",
            L"application CloseDocument method BSTR=lib\\Mapped\\Schraube.sldprt",
            L"application SetDocumentVisibility method BOOL=-1 I4=1",
            L"application SetDocumentVisibility method BOOL=0 I4=2",
            L"application OpenDocument method BSTR=lib\\Mapped\\Mutter.sldasm I4=2 BOOL=0 BOOL=0 BOOL=-1 "
            L"&I4=0",
            L"document GetConfigurationCount method",
            L"document GetConfigurationNames method",
            L"document GetConfiguration method BSTR=Default",
            L"configuration UseAlternativeBomName put BOOL=-1",
            // %1 is the digits right after "N_". Here an "I" follows, so there are none.
            L"configuration AlternativeBomName put BSTR=|4032|M6|%5",
            L"document Save method BOOL=-1",
            L"application CloseDocument method BSTR=lib\\Mapped\\Mutter.sldasm",
            L"application SetDocumentVisibility method BOOL=-1 I4=2",
            L"view map file",
            Finished(),
            kCadEnds,
        }));
    EXPECT_EQ(m_class.m_created, 1);
    EXPECT_EQ(Records(), (std::vector<std::string>{"N_4017_M8.sldprt ; Schraube.sldprt ; Norm 4017 - %2",
                                                   "N_ISO_4032_M6.sldasm ; Mutter.sldasm ; %1|%3|%4|%5"}));
    EXPECT_EQ(ReadBytes(L"lib\\Mapped\\Schraube.sldprt"), "content of a part");
    EXPECT_EQ(Marks(), "cc");
    EXPECT_TRUE(IsReadOnly(L"lib\\Mapped\\Schraube.sldprt"));
    EXPECT_TRUE(IsReadOnly(L"lib\\Mapped\\Mutter.sldasm"));
    EXPECT_FALSE(IsReadOnly(L"lib\\N_4017_M8.sldprt"));
}

TEST_F(ConversionRunTest, TheBomNameContainsThePiecesOfTheFileName)
{
    AddRow(L"N_4017A_M8__x__y__.sldprt", L"b.sldprt", L"%1|%3|%4|%7|%8|%2");
    Run(false);
    EXPECT_EQ(Count(L"configuration AlternativeBomName put BSTR=4017|4017A|M8|x|y|Default"), 1);
}

TEST_F(ConversionRunTest, TheMapFileHasItsHeader)
{
    AddRows(1);
    Run(true);
    const std::string bytes = ReadBytes(kMapFile);
    const std::string lead =
        "; Datei: lib\\Mapped\\PartsMap.txt\r\n"
        "; Automatisch generierte Datei, manuelle \xC4nderungen k\xF6nnen verloren "
        "gehen.\r\n; (c) ";
    EXPECT_EQ(bytes.substr(0, lead.size()), lead);
    const std::size_t end = bytes.find("\r\n", lead.size());
    ASSERT_NE(end, std::string::npos);
    EXPECT_EQ(bytes.substr(end), "\r\n\r\na1.sldprt ; b1.sldprt ; \r\n");
}

TEST_F(ConversionRunTest, ShowsWhatItDoesInGerman)
{
    AddRows(2);
    Run(false);
    EXPECT_EQ(m_screen.m_texts[IDC_PROGRESS_FIRST],
              (Texts{expected::kLoadingCad.Current(), Copying(L"lib\\a1.sldprt"),
                     Editing(L"lib\\Mapped\\b1.sldprt"), Copying(L"lib\\a2.sldprt"),
                     Editing(L"lib\\Mapped\\b2.sldprt")}));
    EXPECT_EQ(
        m_screen.m_texts[IDC_PROGRESS_SECOND],
        (Texts{expected::kCopyTo.Current() + L"lib\\Mapped\\b1.sldprt",
               expected::kCurrentConfiguration.Current() + L"Default", expected::kSavingFile.Current(),
               expected::kCopyTo.Current() + L"lib\\Mapped\\b2.sldprt",
               expected::kCurrentConfiguration.Current() + L"Default", expected::kSavingFile.Current()}));
    EXPECT_EQ(m_screen.m_texts[IDC_PROGRESS_THIRD],
              (Texts{NewBomEntry(L"Norm 1 - Default"), L"", NewBomEntry(L"Norm 2 - Default"), L""}));
}

TEST_F(ConversionRunTest, ShowsWhatItDoesInEnglish)
{
    const CLanguageScope english(0);
    AddRows(1);
    Run(false);
    EXPECT_EQ(m_screen.m_texts[IDC_PROGRESS_FIRST],
              (Texts{expected::kLoadingCad.Current(), Copying(L"lib\\a1.sldprt"),
                     Editing(L"lib\\Mapped\\b1.sldprt")}));
    EXPECT_EQ(m_screen.m_texts[IDC_PROGRESS_SECOND].front(),
              expected::kCopyTo.Current() + L"lib\\Mapped\\b1.sldprt");
    EXPECT_EQ(Boxes(), Texts{Finished()});
}

TEST_F(ConversionRunTest, TheThirdLineIsClearedForEachRow)
{
    AddRows(2);
    // Without a configuration object the writer stops, and its texts stay in the dialog.
    m_document.On(kGetConfiguration, AnswerObject(nullptr));
    Run(false);
    EXPECT_EQ(m_screen.m_texts[IDC_PROGRESS_THIRD],
              (Texts{NewBomEntry(L"Norm 1 - Default"), L"", NewBomEntry(L"Norm 2 - Default")}));
    EXPECT_EQ(Marks(), "cc");
}

TEST_F(ConversionRunTest, TheMainWindowIsDisabledAndCancelEnabledInTime)
{
    AddRows(1);
    bool askedVersion = false;
    m_application.On(kGetDateCode, Before(
                                       [&] {
                                           askedVersion = true;
                                           EXPECT_FALSE(m_mainWindow.IsWindowEnabled());
                                           EXPECT_EQ(GetWindow(m_screen.m_dialog, GW_OWNER),
                                                     m_mainWindow.m_hWnd);
                                           EXPECT_EQ(m_screen.FirstLine(), expected::kLoadingCad.Current());
                                           EXPECT_FALSE(m_screen.MayCancel());
                                           EXPECT_FALSE(std::filesystem::exists(kMapFile));
                                       },
                                       AnswerLong(1999250)));
    m_application.On(kOpenDocument,
                     Before([&] { EXPECT_TRUE(m_screen.MayCancel()); }, AnswerObject(&m_document)));
    m_application.On(kExit, Before([&] { EXPECT_FALSE(m_screen.IsOpen()); }, Succeed()));
    Run(false);
    EXPECT_TRUE(askedVersion);
    EXPECT_EQ(Boxes(), Texts{Finished()});
}

TEST_F(ConversionRunTest, ATrailingBackslashOfTheFolderMakesNoDifference)
{
    AddRows(1);
    Run(false, L"lib\\");
    EXPECT_EQ(m_screen.m_texts[IDC_PROGRESS_FIRST][1], Copying(L"lib\\a1.sldprt"));
    EXPECT_EQ(Count(L"application CloseDocument method BSTR=lib\\Mapped\\b1.sldprt"), 1);
    EXPECT_EQ(Records().size(), 1U);
}

TEST_F(ConversionRunTest, EachRecordIsOnDiskBeforeItsPartIsUpdated)
{
    AddRows(2);
    std::vector<std::vector<std::string>> seen;
    m_application.On(kOpenDocument,
                     Before(
                         [&] {
                             seen.push_back(Records());
                             EXPECT_EQ(
                                 ReadBytes(L"lib\\Mapped\\b" + std::to_wstring(seen.size()) + L".sldprt"),
                                 "content of a part");
                             EXPECT_EQ(Marks(), seen.size() == 1 ? "PP" : "cP");
                             EXPECT_EQ(std::filesystem::exists(L"lib\\Mapped\\b2.sldprt"), seen.size() == 2);
                         },
                         AnswerObject(&m_document)));
    Run(false);
    const std::string first = "a1.sldprt ; b1.sldprt ; Norm 1 - %2";
    const std::string second = "a2.sldprt ; b2.sldprt ; Norm 2 - %2";
    EXPECT_EQ(seen, (std::vector<std::vector<std::string>>{{first}, {first, second}}));
}

TEST_F(ConversionRunTest, ConvertedRowsAreRecordedOnly)
{
    AddRow(L"a1.sldprt", L"b1.sldprt", L"one", false);
    AddRow(L"a2.sldprt", L"b2.sldprt", L"two", true);
    AddRow(L"a3.sldprt", L"b3.sldprt", L"three", false);
    WriteBytes(L"lib\\Mapped\\b1.sldprt", "of an earlier run");
    Run(false);
    EXPECT_EQ(Records(),
              (std::vector<std::string>{"a1.sldprt ; b1.sldprt ; one", "a2.sldprt ; b2.sldprt ; two",
                                        "a3.sldprt ; b3.sldprt ; three"}));
    EXPECT_EQ(ReadBytes(L"lib\\Mapped\\b1.sldprt"), "of an earlier run");
    EXPECT_FALSE(std::filesystem::exists(L"lib\\Mapped\\b3.sldprt"));
    EXPECT_TRUE(IsReadOnly(L"lib\\Mapped\\b1.sldprt"));
    EXPECT_EQ(Marks(), "ccc");
    EXPECT_EQ(Count(L"document Save method BOOL=-1"), 1);
    EXPECT_EQ(m_screen.m_texts[IDC_PROGRESS_FIRST],
              (Texts{expected::kLoadingCad.Current(), Copying(L"lib\\a1.sldprt"), Copying(L"lib\\a2.sldprt"),
                     Editing(L"lib\\Mapped\\b2.sldprt"), Copying(L"lib\\a3.sldprt")}));
    EXPECT_EQ(Boxes(), Texts{Finished()});
}

TEST_F(ConversionRunTest, AReadOnlyCopyOfAnEarlierRunIsReplaced)
{
    AddRows(1);
    WriteBytes(L"lib\\Mapped\\b1.sldprt", "of an earlier run, and longer than the new one");
    MakeReadOnly(L"lib\\Mapped\\b1.sldprt");
    bool wasReadOnly = true;
    m_application.On(kOpenDocument, Before([&] { wasReadOnly = IsReadOnly(L"lib\\Mapped\\b1.sldprt"); },
                                           AnswerObject(&m_document)));
    Run(false);
    EXPECT_FALSE(wasReadOnly);
    EXPECT_EQ(ReadBytes(L"lib\\Mapped\\b1.sldprt"), "content of a part");
    EXPECT_TRUE(IsReadOnly(L"lib\\Mapped\\b1.sldprt"));
    EXPECT_EQ(Boxes(), Texts{Finished()});
}

TEST_F(ConversionRunTest, TheMapFileOfAnEarlierRunIsReplaced)
{
    WriteBytes(kMapFile, std::string(5000, 'x'));
    Run(true);
    EXPECT_TRUE(Records().empty());
    EXPECT_LT(ReadBytes(kMapFile).size(), 300U);
}

TEST_F(ConversionRunTest, AnUnopenedDocumentIsNoError)
{
    AddRows(1);
    m_application.On(kOpenDocument, AnswerObject(nullptr));
    Run(false);
    EXPECT_EQ(Marks(), "c");
    EXPECT_EQ(Records().size(), 1U);
    EXPECT_EQ(Boxes(), Texts{Finished()});
}

// The bars. The progress dialog sets both to 0 when it is created.

TEST_F(ConversionRunTest, TheOverallBarShowsTheShareDone)
{
    AddRows(7);
    Run(true);
    EXPECT_EQ(m_screen.m_positions[IDC_PROGRESS_OVERALL], (Positions{0, 0, 14, 28, 42, 57, 71, 85}));
    EXPECT_EQ(m_screen.m_positions[IDC_PROGRESS_FILE], Positions(8, 0));
}

// In single precision, 53/100 is slightly less than 0.53, and 100 times that rounds to 52.999996. The same
// happens to 59/100. All other shares give the exact percentage.
TEST_F(ConversionRunTest, TheShareIsComputedInSinglePrecisionAndTruncated)
{
    AddRows(100);
    Run(true);
    Positions expected{0};
    for (int done = 0; done < 100; ++done) {
        expected.push_back(done == 53 ? 52 : done == 59 ? 58 : done);
    }
    EXPECT_EQ(m_screen.m_positions[IDC_PROGRESS_OVERALL], expected);
}

TEST_F(ConversionRunTest, WithNothingToConvertTheOverallBarIsFull)
{
    AddRow(L"a1.sldprt", L"b1.sldprt", L"one", false);
    AddRow(L"a2.sldprt", L"b2.sldprt", L"two", false);
    Run(false);
    EXPECT_EQ(m_screen.m_positions[IDC_PROGRESS_OVERALL], (Positions{0, 100, 100}));
    EXPECT_EQ(Records().size(), 2U);
    EXPECT_FALSE(std::filesystem::exists(L"lib\\Mapped\\b1.sldprt"));
    EXPECT_EQ(Boxes(), Texts{Finished()});
}

TEST_F(ConversionRunTest, ACopyOnlyRunCountsEveryRow)
{
    AddRow(L"a1.sldprt", L"b1.sldprt", L"", false);
    AddRow(L"a2.sldprt", L"b2.sldprt", L"", true);
    AddRow(L"a3.sldprt", L"b3.sldprt", L"", false);
    Run(true);
    EXPECT_EQ(m_screen.m_positions[IDC_PROGRESS_OVERALL], (Positions{0, 0, 100, 200}));
}

TEST_F(ConversionRunTest, ARunWithUpdatesCountsThePendingRows)
{
    AddRow(L"a1.sldprt", L"b1.sldprt", L"x", false);
    AddRow(L"a2.sldprt", L"b2.sldprt", L"x", true);
    AddRow(L"a3.sldprt", L"b3.sldprt", L"x", true);
    m_document.On(kGetConfigurationCount, AnswerLong(2));
    m_document.On(kGetConfigurationNames, AnswerStrings({L"A", L"B"}));
    Run(false);
    // Row 2 begins at 0, its two configurations begin at 0 and 25, and saving shows 50. Row 3 does the same
    // from 50.
    EXPECT_EQ(m_screen.m_positions[IDC_PROGRESS_OVERALL], (Positions{0, 0, 0, 0, 25, 50, 50, 50, 75, 100}));
    EXPECT_EQ(m_screen.m_positions[IDC_PROGRESS_FILE], (Positions{0, 0, 0, 0, 50, 100, 0, 0, 50, 100}));
}

// Copying only

TEST_F(ConversionRunTest, ACopyOnlyRunNeedsNoCadSystem)
{
    AddRows(2);
    m_class.m_status = E_FAIL;
    bool couldCancel = false;
    m_screen.m_onOverallMove = [&] { couldCancel |= m_screen.FirstLine() != L"" && m_screen.MayCancel(); };
    Run(true);
    EXPECT_EQ(m_log, (EventLog{L"view map file", Finished()}));
    EXPECT_EQ(m_class.m_created, 0);
    EXPECT_FALSE(couldCancel);
    EXPECT_EQ(Records(), (std::vector<std::string>{"a1.sldprt ; b1.sldprt ; ", "a2.sldprt ; b2.sldprt ; "}));
    EXPECT_EQ(ReadBytes(L"lib\\Mapped\\b2.sldprt"), "content of a part");
    EXPECT_TRUE(IsReadOnly(L"lib\\Mapped\\b2.sldprt"));
    EXPECT_EQ(Marks(), "cc");
    EXPECT_EQ(m_table.GetItemText(0, 2), L"Norm 1 - %2") << "the table keeps the BOM name";
    EXPECT_EQ(m_screen.m_texts[IDC_PROGRESS_FIRST],
              (Texts{Copying(L"lib\\a1.sldprt"), Editing(L"lib\\Mapped\\b1.sldprt"),
                     Copying(L"lib\\a2.sldprt"), Editing(L"lib\\Mapped\\b2.sldprt")}));
}

TEST_F(ConversionRunTest, ACopyOnlyRunCannotBeCancelled)
{
    AddRows(3);
    int presses = 0;
    m_screen.m_onOverallMove = [&] {
        // The dialog makes the first move itself, when it is created.
        if (m_screen.m_positions[IDC_PROGRESS_OVERALL].size() > 1) {
            ++presses;
            m_screen.PressCancel();
            PostMessageW(m_screen.m_dialog, WM_CLOSE, 0, 0);
        }
    };
    Run(true);
    EXPECT_EQ(presses, 3);
    EXPECT_EQ(Marks(), "ccc");
    EXPECT_EQ(Boxes(), Texts{Finished()});
}

TEST_F(ConversionRunTest, HandlesOneMessagePerRow)
{
    AddRows(3);
    CCountingWindow window;
    bool posted = false;
    m_screen.m_onOverallMove = [&] {
        for (int i = 0; i < 10 && !posted; ++i) {
            window.PostMessage(WM_APP);
        }
        posted = true;
    };
    Run(true);
    EXPECT_EQ(window.m_count, 3);
    DrainMessages();
    EXPECT_EQ(window.m_count, 10);
}

TEST_F(ConversionRunTest, ScrollsTheRowDoneIntoView)
{
    AddRows(40);
    Run(true);
    EXPECT_EQ(ListView_GetTopIndex(m_table.m_hWnd) + ListView_GetCountPerPage(m_table.m_hWnd), 40);
}

// Counts the pages of the list that a run shows. A page is new if another row is at the top.
class CPageWatcher
{
public:
    explicit CPageWatcher(const CConversionTable& table) : m_table(table) {}

    int m_pages = 0;

    void Look()
    {
        const int top = m_table.GetTopIndex();
        m_pages += top != m_top ? 1 : 0;
        m_top = top;
    }

private:
    const CConversionTable& m_table;
    int m_top = 0;
};

// A run with converted rows is fast: nothing is copied.
TEST_F(ConversionRunTest, ACopyOnlyRunShowsAtMostTenPagesPerSecond)
{
    AddConvertedRows(400);
    CPageWatcher pages(m_table);
    m_screen.m_onFirstLine = [&](const std::wstring&) { pages.Look(); };
    const ULONGLONG start = GetTickCount64();
    Run(true);
    // The list scrolls at most every 100 ms, less one tick of the clock (16 ms).
    EXPECT_LE(static_cast<ULONGLONG>(pages.m_pages), 1 + (GetTickCount64() - start) / 84);
}

TEST_F(ConversionRunTest, TheRowDoneIsInViewWhileAMessageIsOpen)
{
    AddConvertedRows(40);
    AddRows(1);
    std::filesystem::remove(L"lib\\a1.sldprt");
    std::vector<bool> inView;
    m_onBox = [&] { inView.push_back(m_table.GetTopIndex() + m_table.GetCountPerPage() >= 40); };
    Run(true);
    EXPECT_EQ(inView, (std::vector<bool>{true, true})) << "at the failed copy and at the end";
}

TEST_F(ConversionRunTest, TheRowDoneIsInViewWhenTheCadSystemIsCalled)
{
    AddConvertedRows(40);
    AddRows(1);
    int visible = 0;
    m_application.On(kOpenDocument,
                     Before([&] { visible = m_table.GetTopIndex() + m_table.GetCountPerPage(); },
                            AnswerObject(&m_document)));
    Run(false);
    EXPECT_GE(visible, 40);
}

// Cancelling

TEST_F(ConversionRunTest, ACancelEndsTheRunAfterTheCurrentRow)
{
    AddRows(6);
    m_answer = IDYES;
    m_document.On(kGetConfiguration, Before(
                                         [&] {
                                             if (Records().size() == 5) {
                                                 m_screen.PressCancel();
                                             }
                                         },
                                         AnswerObject(&m_configuration)));
    Run(false);
    EXPECT_EQ(Records().size(), 5U);
    EXPECT_EQ(Marks(), "cccccP");
    EXPECT_EQ(Boxes(), (Texts{ReallyCancel(), Cancelled()}));
    EXPECT_EQ(m_log.back(), kCadEnds);
    EXPECT_EQ(*(m_log.end() - 2), L"view reload");
    EXPECT_EQ(*(m_log.end() - 3), Cancelled());
    EXPECT_EQ(Count(L"document Save method BOOL=-1"), 5) << "the current part is finished";
    EXPECT_TRUE(IsReadOnly(L"lib\\Mapped\\b4.sldprt"));
    EXPECT_FALSE(IsReadOnly(L"lib\\Mapped\\b5.sldprt")) << "the run ends before the copy is made read-only";
    EXPECT_FALSE(std::filesystem::exists(L"lib\\Mapped\\b6.sldprt"));
}

TEST_F(ConversionRunTest, ACancelIsReportedInEnglish)
{
    const CLanguageScope english(0);
    AddRows(2);
    m_answer = IDYES;
    m_document.On(kGetConfiguration, Before([&] { m_screen.PressCancel(); }, AnswerObject(&m_configuration)));
    Run(false);
    EXPECT_EQ(Boxes().back(), Cancelled());
    EXPECT_EQ(Marks(), "cP");
}

TEST_F(ConversionRunTest, ARevokedCancelLetsTheRunContinue)
{
    AddRows(2);
    m_answer = IDNO;
    m_document.On(kGetConfiguration, Before([&] { m_screen.PressCancel(); }, AnswerObject(&m_configuration)));
    Run(false);
    EXPECT_EQ(Boxes(), (Texts{ReallyCancel(), ReallyCancel(), Finished()}));
    EXPECT_EQ(Marks(), "cc");
}

TEST_F(ConversionRunTest, ACancelOutsideTheConfigurationsNeedsNoConfirmation)
{
    AddRows(2);
    // The cancel button is enabled while the part is opened. Without configurations no question is asked.
    m_document.On(kGetConfigurationCount, AnswerLong(0));
    m_application.On(kOpenDocument, Before([&] { m_screen.PressCancel(); }, AnswerObject(&m_document)));
    Run(false);
    EXPECT_EQ(Boxes(), Texts{Cancelled()});
    EXPECT_EQ(Marks(), "cP");
    EXPECT_EQ(Records().size(), 1U);
}

TEST_F(ConversionRunTest, NothingCancelsWhileAPartIsSaved)
{
    AddRows(2);
    m_document.On(kSave, Before(
                             [&] {
                                 EXPECT_FALSE(m_screen.MayCancel());
                                 m_screen.PressCancel();
                             },
                             AnswerLong(0)));
    Run(false);
    EXPECT_EQ(Boxes(), Texts{Finished()});
    EXPECT_EQ(Marks(), "cc");
}

TEST_F(ConversionRunTest, ACancelInTheLastRowIsStillACancel)
{
    AddRows(1);
    m_answer = IDYES;
    m_document.On(kGetConfiguration, Before([&] { m_screen.PressCancel(); }, AnswerObject(&m_configuration)));
    Run(false);
    EXPECT_EQ(Boxes(), (Texts{ReallyCancel(), Cancelled()}));
    EXPECT_EQ(Marks(), "c");
}

// Failures

TEST_F(ConversionRunTest, AFailedCopySkipsTheRow)
{
    AddRows(3);
    std::filesystem::remove(L"lib\\a2.sldprt");
    Run(false);
    EXPECT_EQ(Records(), (std::vector<std::string>{"a1.sldprt ; b1.sldprt ; Norm 1 - %2",
                                                   "a3.sldprt ; b3.sldprt ; Norm 3 - %2"}));
    EXPECT_EQ(Marks(), "cPc");
    EXPECT_EQ(Count(L"document Save method BOOL=-1"), 2);
    EXPECT_EQ(Boxes(), (Texts{SourceMissing(L"lib\\a2.sldprt"), Finished()}));
    // Saving shows 33 for the first of three parts and 66 for the second. The row that failed does not count.
    EXPECT_EQ(m_screen.m_positions[IDC_PROGRESS_OVERALL], (Positions{0, 0, 0, 33, 33, 33, 33, 66}));
}

TEST_F(ConversionRunTest, NoCopyReplacesTheMapFile)
{
    AddRow(L"a.txt", L"partsmap.TXT", L"x");
    AddRow(L"b.txt", L"PartsMap.txt", L"x", false);
    Run(true);
    EXPECT_EQ(Records(), std::vector<std::string>{"b.txt ; PartsMap.txt ; "});
    EXPECT_EQ(Marks(), "Pc");
    EXPECT_FALSE(IsReadOnly(kMapFile)) << "the next run could not write it";
}

// The first new name leads out of the folder, the second to a stream of another copy. The third original name
// leads out of the folder.
TEST_F(ConversionRunTest, ARowWithoutTwoFileNamesIsSkippedAndTheFirstIsReported)
{
    AddRow(L"a.sldprt", L"..\\other.sldprt", L"x");
    AddRow(L"b.sldprt", L"d.sldprt:stream", L"x");
    AddRow(L"..\\c.sldprt", L"c.sldprt", L"x");
    AddRow(L"d.sldprt", L"d.sldprt", L"x");
    WriteBytes(L"lib\\other.sldprt", "other");
    for (const int language : {1, 0}) {
        const CLanguageScope scope(language);
        Run(true);
        EXPECT_EQ(Boxes(), (Texts{Box(expected::NoFileName(L"..\\other.sldprt")), Finished()}));
        EXPECT_EQ(Records(), std::vector<std::string>{"d.sldprt ; d.sldprt ; "});
        EXPECT_EQ(Marks(), "PPPc");
        EXPECT_EQ(NamesIn(L"lib\\Mapped"), (Texts{L"PartsMap.txt", L"d.sldprt"}));
        EXPECT_EQ(ReadBytes(L"lib\\other.sldprt"), "other");
        EXPECT_FALSE(IsReadOnly(L"lib\\other.sldprt"));
        m_log.clear();
    }
}

TEST_F(ConversionRunTest, EveryFailedCopyIsReported)
{
    AddRows(2);
    std::filesystem::remove(L"lib\\a1.sldprt");
    std::filesystem::remove(L"lib\\a2.sldprt");
    Run(true);
    EXPECT_TRUE(Records().empty());
    EXPECT_EQ(Marks(), "PP");
    EXPECT_EQ(Boxes().size(), 3U);
    EXPECT_EQ(Boxes().back(), Finished());
    EXPECT_EQ(m_screen.m_positions[IDC_PROGRESS_OVERALL], (Positions{0, 0, 0}));
}

TEST_F(ConversionRunTest, AMapFileWithAnUnencodablePathEndsTheRun)
{
    AddRows(1);
    std::filesystem::create_directories(L"日本\\Mapped");
    Run(true, L"日本");
    EXPECT_EQ(m_log, EventLog{Box(expected::MapNotWritten(L"日本\\Mapped\\PartsMap.txt"))});
    EXPECT_TRUE(std::filesystem::is_empty(L"日本\\Mapped"));
    EXPECT_EQ(Marks(), "P");
}

TEST_F(ConversionRunTest, ANetworkPathKeepsItsTwoBackslashes)
{
    AddRows(1);
    Run(true, L"\\\\127.0.0.1\\talvenor-no-such-share");
    EXPECT_EQ(m_log, EventLog{Box(expected::MapNotWritten(
                         L"\\\\127.0.0.1\\talvenor-no-such-share\\Mapped\\PartsMap.txt"))});
}

TEST_F(ConversionRunTest, WithoutAFolderTheNetworkIsNotAccessed)
{
    AddRows(1);
    const CNetworkWatch network;
    Run(true, L"");
    EXPECT_EQ(m_log, EventLog{Box(expected::MapNotWritten(L"\\\\Mapped\\PartsMap.txt"))});
    EXPECT_EQ(network.m_paths, Texts{});
}

// While m_isFull is set, each write to the map file appends half a record and fails as on a full disk.
class CFullDisk : public CFileInterceptor
{
public:
    DWORD ErrorFor(const FileOperation& operation) override
    {
        const bool isWrite = operation.call == FileCall::write || operation.call == FileCall::writeStream;
        if (!m_isFull || !isWrite || !operation.path.ends_with(L"PartsMap.txt")) {
            return ERROR_SUCCESS;
        }
        m_isFull = false;  // lets the half record through
        std::ofstream(std::filesystem::path(kMapFile), std::ios::app) << "a2.sldprt ; b2.s";
        m_isFull = true;
        return ERROR_DISK_FULL;
    }

    bool m_isFull = false;
};

class UnwritableMapFileTest : public ConversionRunTest
{
protected:
    // The disk is full while the rows with these original names are converted.
    void FailAt(const Texts& originals)
    {
        m_screen.m_onFirstLine = [this, originals](const std::wstring& text) {
            if (text.starts_with(expected::kCopy.Current())) {
                m_disk.m_isFull = std::ranges::any_of(
                    originals, [&text](const std::wstring& name) { return text.ends_with(name); });
            }
        };
    }

    void ExpectRowsMissing()
    {
        AddRow(L"a1.sldprt", L"b1.sldprt", L"one");
        AddRow(L"a2.sldprt", L"b2.sldprt", L"two");
        AddRow(L"a3.sldprt", L"b3.sldprt", L"three");
        AddRow(L"a4.sldprt", L"b4.sldprt", L"four", false);
        AddRow(L"a5.sldprt", L"b5.sldprt", L"five");
        FailAt({L"a2.sldprt", L"a3.sldprt", L"a4.sldprt"});
        Run(false);
        EXPECT_EQ(Boxes(), (Texts{Box(expected::RecordsMissing(kMapFile)), Finished()})) << "reported once";
        EXPECT_EQ(Records(),
                  (std::vector<std::string>{"a1.sldprt ; b1.sldprt ; one", "a5.sldprt ; b5.sldprt ; five"}));
        EXPECT_EQ(Marks(), "cPPcc");
        EXPECT_EQ(Count(L"document Save method BOOL=-1"), 2) << "only recorded parts are updated";
        EXPECT_TRUE(MentionsView());
    }

    CFullDisk m_disk;
};

TEST_F(UnwritableMapFileTest, ARecordThatCannotBeWrittenIsReportedInGerman)
{
    ExpectRowsMissing();
}

TEST_F(UnwritableMapFileTest, ARecordThatCannotBeWrittenIsReportedInEnglish)
{
    const CLanguageScope english(0);
    ExpectRowsMissing();
}

TEST_F(UnwritableMapFileTest, AFailureInTheLastRecordLeavesNoPartialRecord)
{
    AddRows(2);
    FailAt({L"a2.sldprt"});
    Run(true);
    EXPECT_EQ(Records(), std::vector<std::string>{"a1.sldprt ; b1.sldprt ; "});
    EXPECT_EQ(Marks(), "cP");
    EXPECT_EQ(ReadBytes(L"lib\\Mapped\\b2.sldprt"), "content of a part");
    EXPECT_TRUE(IsReadOnly(L"lib\\Mapped\\b2.sldprt"));
}

TEST_F(UnwritableMapFileTest, AnExceptionThatEndsTheRunLeavesNoPartialRecord)
{
    AddRows(2);
    FailAt({L"a2.sldprt"});
    std::optional<CMappedFile> mapped;
    m_screen.m_onFirstLine = [&mapped, fail = m_screen.m_onFirstLine](const std::wstring& text) {
        fail(text);
        if (text.ends_with(L"a2.sldprt")) {
            mapped.emplace(kMapFile);
        }
    };
    m_onBox = [&mapped] {
        EXPECT_TRUE(ReadBytes(kMapFile).ends_with("a2.sldprt ; b2.s"));
        mapped.reset();
        throw CTestException();
    };
    EXPECT_THROW(Run(true), CTestException);
    EXPECT_EQ(Records(), std::vector<std::string>{"a1.sldprt ; b1.sldprt ; "});
}

// Errors of the CAD system

TEST_F(ConversionRunTest, AReportedErrorIsShownAndTheRunContinuesWithANewConnection)
{
    AddRows(2);
    FailOpening(1, RaiseException(L"SldWorks", L"The file is damaged.", L"C:\\cad\\help.chm", 417));
    int versions = 0;
    m_application.On(kGetDateCode, Before(
                                       [&] {
                                           ++versions;
                                           EXPECT_EQ(m_screen.FirstLine(), expected::kLoadingCad.Current());
                                           EXPECT_FALSE(m_screen.MayCancel());
                                           EXPECT_FALSE(m_mainWindow.IsWindowEnabled());
                                       },
                                       AnswerLong(2024100)));
    // The cancel button stays disabled until the next part has been written.
    m_document.On(kGetConfigurationCount, Before([&] { EXPECT_FALSE(m_screen.MayCancel()); }, AnswerLong(1)));
    Run(false);
    EXPECT_EQ(Boxes(),
              (Texts{L"box SldWorks - The file is damaged. [help C:\\cad\\help.chm 417]", Finished()}));
    EXPECT_EQ(versions, 2);
    EXPECT_EQ(m_class.m_created, 2);
    EXPECT_EQ(Count(kCadEnds), 2);
    EXPECT_EQ(Records().size(), 2U);
    EXPECT_EQ(Marks(), "cc");
    EXPECT_TRUE(IsReadOnly(L"lib\\Mapped\\b1.sldprt"));
    EXPECT_EQ(m_screen.m_texts[IDC_PROGRESS_FIRST],
              (Texts{expected::kLoadingCad.Current(), Copying(L"lib\\a1.sldprt"),
                     Editing(L"lib\\Mapped\\b1.sldprt"), expected::kLoadingCad.Current(),
                     Copying(L"lib\\a2.sldprt"), Editing(L"lib\\Mapped\\b2.sldprt")}));
    // The second row begins at 50: the first one counts as done, although its part could not be opened.
    EXPECT_EQ(m_screen.m_positions[IDC_PROGRESS_OVERALL], (Positions{0, 0, 50, 50, 100}));
}

TEST_F(ConversionRunTest, AfterAReconnectionTheNextPartsLastStepEnablesTheCancelButton)
{
    AddRows(3);
    std::vector<bool> mayCancel;
    m_application.On(kOpenDocument, [&](FakeCall& call) {
        mayCancel.push_back(m_screen.MayCancel());
        return mayCancel.size() == 1 ? RaiseException(L"SldWorks", L"Crash", nullptr, 0)(call)
                                     : AnswerObject(&m_document)(call);
    });
    Run(false);
    EXPECT_EQ(mayCancel, (std::vector<bool>{true, false, true}));
    EXPECT_EQ(Marks(), "ccc");
}

TEST_F(ConversionRunTest, AnErrorIsShownWithItsTexts)
{
    struct Case
    {
        CFakeDispatch::Handler failure;
        Texts boxes;
    };
    const std::vector<Case> cases{
        {RaiseException(nullptr, L"Broken", nullptr, 0), {L"box Broken"}},
        {RaiseException(L"", L"Broken", L"", 12), {L"box Broken"}},
        {RaiseException(L"SldWorks", nullptr, nullptr, 0), {L"box SldWorks - unknown error"}},
        {RaiseException(nullptr, nullptr, nullptr, 0), {L"box unknown error"}},
        {RaiseException(nullptr, L"Broken", L"h.chm", 0), {L"box Broken [help h.chm 0]"}},
        {Fail(RPC_E_SERVERFAULT), {}},
        {Fail(DISP_E_MEMBERNOTFOUND), {}},
    };
    AddRows(1);
    for (const Case& test : cases) {
        m_log.clear();
        m_opened = 0;
        m_class.m_created = 0;
        FailOpening(1, test.failure);
        Run(false);
        Texts expected = test.boxes;
        expected.push_back(Finished());
        EXPECT_EQ(Boxes(), expected);
        EXPECT_EQ(m_class.m_created, 2);
        EXPECT_EQ(Marks(), "c");
        EXPECT_EQ(Records().size(), 1U);
    }
}

TEST_F(ConversionRunTest, AnErrorInTheMiddleOfAPartIsHandledAlike)
{
    AddRows(2);
    bool failed = false;
    m_document.On(kSave, [&](FakeCall& call) {
        return std::exchange(failed, true) ? AnswerLong(0)(call)
                                           : RaiseException(L"SldWorks", L"Disk full", nullptr, 0)(call);
    });
    Run(false);
    EXPECT_EQ(Boxes(), (Texts{L"box SldWorks - Disk full", Finished()}));
    EXPECT_EQ(Marks(), "cc");
    EXPECT_EQ(m_document.References(), 0);
}

TEST_F(ConversionRunTest, AServerThatCannotBeEndedIsReleased)
{
    AddRows(2);
    FailOpening(1, Fail(HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE)));
    m_application.On(kExit, Fail(HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE)));
    Run(false);
    EXPECT_EQ(Boxes(), Texts{Finished()});
    EXPECT_EQ(m_class.m_created, 2);
    EXPECT_EQ(Count(kCadEnds), 2);
    EXPECT_EQ(Marks(), "cc");
}

TEST_F(ConversionRunTest, AFailedReconnectionEndsTheRun)
{
    AddRows(3);
    FailOpening(2, Before([&] { m_class.m_status = CO_E_SERVER_EXEC_FAILURE; },
                          RaiseException(L"SldWorks", L"Crash", nullptr, 0)));
    Run(false);
    EXPECT_EQ(Boxes(), (Texts{L"box SldWorks - Crash", NotLoaded()}));
    EXPECT_FALSE(MentionsView());
    EXPECT_EQ(Records(), (std::vector<std::string>{"a1.sldprt ; b1.sldprt ; Norm 1 - %2",
                                                   "a2.sldprt ; b2.sldprt ; Norm 2 - %2"}));
    EXPECT_EQ(Marks(), "cPP");
    EXPECT_EQ(Count(kCadEnds), 1);
    EXPECT_FALSE(std::filesystem::exists(L"lib\\Mapped\\b3.sldprt"));
    EXPECT_TRUE(std::filesystem::remove(kMapFile)) << "the map file is still open";
}

TEST_F(ConversionRunTest, AnOldCadSystemAtTheReconnectionEndsTheRun)
{
    const CLanguageScope english(0);
    AddRows(2);
    FailOpening(1, Before([&] { m_application.On(kGetDateCode, AnswerLong(1998000)); }, Fail(E_UNEXPECTED)));
    Run(false);
    EXPECT_EQ(Boxes(), Texts{TooOld()});
    EXPECT_FALSE(MentionsView());
    EXPECT_EQ(Records().size(), 1U);
    EXPECT_EQ(Marks(), "PP");
    EXPECT_EQ(Count(kCadEnds), 2);
    EXPECT_EQ(m_log.back(), kCadEnds);
}

// The last steps of a run. These tests also log what happens to the windows and the map file. The main window
// is enabled briefly while the progress dialog closes.
class EndOfRunTest : public ConversionRunTest
{
protected:
    EndOfRunTest()
    {
        m_screen.m_onMessage = [this](HWND window, UINT message, WPARAM wParam) {
            if (window == m_mainWindow.m_hWnd && message == WM_ENABLE) {
                Log(wParam != FALSE ? L"main window enabled" : L"main window disabled");
            } else if (window == m_screen.m_dialog && message == WM_DESTROY) {
                Log(L"progress dialog destroyed");
            }
        };
        m_screen.m_onFirstLine = [this](const std::wstring&) { LogMapFile(); };
        AddRows(2);
    }

    void Log(const std::wstring& event) override
    {
        LogMapFile();
        m_log.push_back(event);
    }
    void RunToTheEnd(bool copyOnly)
    {
        Run(copyOnly);
        Log(L"returned");
    }

    // Runs the test in German, then in English.
    void InBothLanguages(const std::function<void()>& test)
    {
        for (const int language : {1, 0}) {
            SCOPED_TRACE(language != 0 ? "German" : "English");
            const CLanguageScope scope(language);
            m_log.clear();
            test();
        }
    }

    void ExpectNothingCopied() const
    {
        EXPECT_FALSE(FileExists(L"lib\\Mapped\\b1.sldprt"));
        EXPECT_EQ(Marks(), "PP");
    }
    void ExpectNothingWritten() const
    {
        EXPECT_FALSE(FileExists(kMapFile));
        ExpectNothingCopied();
    }

    // Cancels the run in its first row.
    void CancelRun()
    {
        m_document.On(kGetConfigurationCount, AnswerLong(0));
        m_application.On(kOpenDocument, Before([&] { m_screen.PressCancel(); }, AnswerObject(&m_document)));
        RunToTheEnd(false);
    }

    // Calls a function in the first row, then loses the connection.
    void LoseConnection(const std::function<void()>& before)
    {
        FailOpening(1, Before(before, Fail(E_UNEXPECTED)));
        RunToTheEnd(false);
    }

    // The log from the last occurrence of an event on; the whole log if the event is missing.
    [[nodiscard]] EventLog From(const std::wstring& event) const
    {
        const auto found = std::ranges::find(m_log.rbegin(), m_log.rend(), event);
        return found == m_log.rend() ? m_log : EventLog(found.base() - 1, m_log.end());
    }

private:
    void LogMapFile()
    {
        const bool isOpen = IsMapFileOpen();
        if (std::exchange(m_wasOpen, isOpen) != isOpen) {
            m_log.emplace_back(isOpen ? L"map file opened" : L"map file closed");
        }
    }
    static bool IsMapFileOpen()
    {
        return OpenAsOther(kMapFile, GENERIC_READ, 0) == nullptr && GetLastError() == ERROR_SHARING_VIOLATION;
    }

    bool m_wasOpen = false;
};

const EventLog kDialogGoes{L"main window enabled", L"progress dialog destroyed", L"main window disabled"};

TEST_F(EndOfRunTest, WhenItHasFinished)
{
    RunToTheEnd(false);
    EXPECT_EQ(From(L"map file closed"), (EventLog{L"map file closed", L"view map file", Finished()} +
                                         kDialogGoes + EventLog{kCadEnds, L"returned"}));
}

TEST_F(EndOfRunTest, WhenItHasCopiedOnly)
{
    RunToTheEnd(true);
    EXPECT_EQ(m_log, (EventLog{L"main window disabled", L"map file opened", L"map file closed",
                               L"view map file", Finished()} +
                      kDialogGoes + EventLog{L"returned"}));
}

TEST_F(EndOfRunTest, WhenItWasCancelled)
{
    CancelRun();
    EXPECT_EQ(From(L"map file closed"), (EventLog{L"map file closed", Cancelled(), L"view reload"} +
                                         kDialogGoes + EventLog{kCadEnds, L"returned"}));
}

TEST_F(EndOfRunTest, WhenTheSessionEnds)
{
    m_application.On(kOpenDocument, Before(
                                        [&] {
                                            CWinApp::Get()->SetSessionEnding(true);
                                            m_screen.PressCancel();
                                        },
                                        AnswerObject(&m_document)));
    RunToTheEnd(false);
    CWinApp::Get()->SetSessionEnding(false);
    EXPECT_EQ(From(L"map file closed"),
              EventLog{L"map file closed"} + kDialogGoes + (EventLog{kCadEnds, L"returned"}));
    EXPECT_EQ(Boxes(), Texts{});
    EXPECT_EQ(Marks(), "cP");
    EXPECT_EQ(Records().size(), 1U);
}

TEST_F(EndOfRunTest, WhenTheSessionEndsBeforeACallFails)
{
    m_application.On(kOpenDocument, Before([] { CWinApp::Get()->SetSessionEnding(true); },
                                           RaiseException(L"SldWorks", L"Crash", nullptr, 0)));
    RunToTheEnd(false);
    CWinApp::Get()->SetSessionEnding(false);
    EXPECT_EQ(Boxes(), Texts{});
    EXPECT_EQ(m_class.m_created, 1);
    EXPECT_EQ(From(L"map file closed"), EventLog{L"map file closed"} + kDialogGoes + EventLog{L"returned"});
    EXPECT_EQ(Marks(), "PP") << "the part was not updated";
    EXPECT_EQ(Records().size(), 1U);
}

TEST_F(EndOfRunTest, WhenTheSessionEndsWhileItCopiesOnly)
{
    m_screen.m_onFirstLine = [](const std::wstring&) { CWinApp::Get()->SetSessionEnding(true); };
    RunToTheEnd(true);
    CWinApp::Get()->SetSessionEnding(false);
    EXPECT_EQ(Boxes(), Texts{});
    EXPECT_EQ(Marks(), "cP");
    EXPECT_EQ(Records().size(), 1U);
}

TEST_F(EndOfRunTest, WhenTheSessionEndsWhileACopyFails)
{
    std::filesystem::remove(L"lib\\a1.sldprt");
    m_screen.m_onFirstLine = [](const std::wstring&) { CWinApp::Get()->SetSessionEnding(true); };
    RunToTheEnd(true);
    CWinApp::Get()->SetSessionEnding(false);
    EXPECT_EQ(Boxes(), Texts{});
    EXPECT_EQ(Marks(), "PP");
    EXPECT_FALSE(FileExists(L"lib\\Mapped\\b2.sldprt"));
}

TEST_F(EndOfRunTest, WhenTheSessionEndsWhileTheCadSystemIsLoaded)
{
    for (const long dateCode : {2024100L, 1999249L}) {
        SCOPED_TRACE(dateCode);
        WriteBytes(kMapFile, "the old map file");
        m_application.On(kGetDateCode,
                         Before([] { CWinApp::Get()->SetSessionEnding(true); }, AnswerLong(dateCode)));
        RunToTheEnd(false);
        CWinApp::Get()->SetSessionEnding(false);
        EXPECT_EQ(Boxes(), Texts{});
        EXPECT_EQ(ReadBytes(kMapFile), "the old map file");
        ExpectNothingCopied();
    }
}

// While the last message is open, the run no longer keeps the computer awake or the Windows session open.
TEST_F(EndOfRunTest, AfterTheLongOperation)
{
    bool duringCall = false;
    m_application.On(kOpenDocument,
                     Before([&] { duringCall = CLongOperation::IsActive(); }, AnswerObject(&m_document)));
    bool duringMessage = true;
    m_onBox = [&] { duringMessage = CLongOperation::IsActive(); };
    RunToTheEnd(false);
    EXPECT_TRUE(duringCall);
    EXPECT_FALSE(duringMessage);
}

TEST_F(EndOfRunTest, WhenTheCadSystemIsNotLoaded)
{
    m_class.m_status = REGDB_E_CLASSNOTREG;
    InBothLanguages([this] {
        RunToTheEnd(false);
        EXPECT_EQ(m_log, (EventLog{L"main window disabled", NotLoaded()} + kDialogGoes +
                          EventLog{L"main window enabled", L"returned"}));
        ExpectNothingWritten();
    });
}

TEST_F(EndOfRunTest, WhenTheCadSystemIsTooOld)
{
    m_application.On(kGetDateCode, AnswerLong(1999249));
    InBothLanguages([this] {
        RunToTheEnd(false);
        EXPECT_EQ(m_log, (EventLog{L"main window disabled", kVersionIsRead, TooOld()} + kDialogGoes +
                          EventLog{L"main window enabled", kCadEnds, L"returned"}));
        ExpectNothingWritten();
    });
}

TEST_F(EndOfRunTest, WhenTheCadSystemHasNoVersion)
{
    m_application.On(kGetDateCode, Fail(E_FAIL));
    RunToTheEnd(false);
    EXPECT_EQ(m_log, (EventLog{L"main window disabled", kVersionIsRead, NotLoaded()} + kDialogGoes +
                      EventLog{L"main window enabled", kCadEnds, L"returned"}));
    ExpectNothingWritten();
}

TEST_F(EndOfRunTest, WhenTheMapFileIsNotOpened)
{
    std::filesystem::create_directory(kMapFile);
    InBothLanguages([this] {
        const std::wstring notOpened = Box(expected::MapNotWritten(kMapFile));
        RunToTheEnd(false);
        EXPECT_EQ(m_log, (EventLog{L"main window disabled", kVersionIsRead, notOpened} + kDialogGoes +
                          EventLog{L"main window enabled", kCadEnds, L"returned"}));
        m_log.clear();
        RunToTheEnd(true);
        EXPECT_EQ(m_log, (EventLog{L"main window disabled", notOpened} + kDialogGoes +
                          EventLog{L"main window enabled", L"returned"}));
        ExpectNothingCopied();
    });
    EXPECT_EQ(m_class.m_created, 2) << "a run that only copies needs no CAD system";
}

TEST_F(EndOfRunTest, WhenTheCadSystemDoesNotComeBack)
{
    LoseConnection([&] { m_class.m_status = CO_E_SERVER_EXEC_FAILURE; });
    EXPECT_EQ(From(NotLoaded()), (EventLog{NotLoaded()} + kDialogGoes +
                                  EventLog{L"main window enabled", L"map file closed", L"returned"}));
}

TEST_F(EndOfRunTest, WhenTheCadSystemComesBackTooOld)
{
    LoseConnection([&] { m_application.On(kGetDateCode, AnswerLong(1998000)); });
    EXPECT_EQ(From(TooOld()), (EventLog{TooOld()} + kDialogGoes +
                               EventLog{L"main window enabled", kCadEnds, L"map file closed", L"returned"}));
}

TEST_F(EndOfRunTest, WhenAnExceptionEndsIt)
{
    std::filesystem::remove(L"lib\\a1.sldprt");
    m_onBox = [] { throw CTestException(); };
    EXPECT_THROW(Run(false), CTestException);
    Log(L"thrown");
    const std::wstring box = SourceMissing(L"lib\\a1.sldprt");
    EXPECT_EQ(From(box), EventLog{box} + kDialogGoes + (EventLog{kCadEnds, L"map file closed", L"thrown"}));
}

// A second window of the thread plays another program's window. When the progress dialog closes, the main
// window must become active, not that window. No queued message may be dispatched before the main window is
// disabled again.
TEST_F(EndOfRunTest, TheMainWindowIsActiveAfterTheProgressDialog)
{
    const CCountingWindow other;
    HWND active = nullptr;
    int dispatched = -1;
    m_screen.m_onMessage = [&, note = m_screen.m_onMessage](HWND window, UINT message, WPARAM wParam) {
        note(window, message, wParam);
        if (m_log.back() == L"progress dialog destroyed") {
            other.PostMessage(WM_APP);
        }
    };
    m_application.On(kExit, Before(
                                [&] {
                                    active = GetActiveWindow();
                                    dispatched = other.m_count;
                                },
                                Succeed()));
    SetActiveWindow(m_mainWindow.m_hWnd);
    Run(false);
    EXPECT_EQ(active, m_mainWindow.m_hWnd);
    EXPECT_EQ(dispatched, 0);
    DrainMessages();
    EXPECT_GT(other.m_count, 0);
}

// What a run reports to the main window: percentages and, before the last message, whether the run failed.
class RunProgressTest : public ConversionRunTest
{
protected:
    void ShowProgress(int percent) override { m_log.push_back(std::to_wstring(percent)); }
    void ShowRunEnd(bool failed) override { m_log.emplace_back(failed ? L"failed" : L"ended"); }

    [[nodiscard]] Texts Heard() const
    {
        Texts heard;
        std::ranges::copy_if(m_log, std::back_inserter(heard), [](const std::wstring& event) {
            return event == L"failed" || event == L"ended" || event.starts_with(L"box ") ||
                   std::ranges::all_of(event, [](wchar_t digit) { return digit >= L'0' && digit <= L'9'; });
        });
        return heard;
    }
};

TEST_F(RunProgressTest, IsThePercentageAfterEachRowAndTheEnd)
{
    AddRows(3);
    Run(true);
    EXPECT_EQ(Heard(), (Texts{L"0", L"33", L"66", L"100", L"ended", Finished()}));
}

TEST_F(RunProgressTest, TellsOfAnAbortedRun)
{
    AddRows(1);
    std::filesystem::create_directory(kMapFile);
    Run(true);
    EXPECT_EQ(Heard(), (Texts{L"0", L"failed", Box(expected::MapNotWritten(kMapFile))}));
}

}  // namespace
