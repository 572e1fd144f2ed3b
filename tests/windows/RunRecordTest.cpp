#include "run/RunRecord.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "framework/OleException.h"
#include "framework/WinApp.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/FailingFile.h"
#include "tests/windows/ConversionRunTest.h"

// Tests of the record that a conversion run keeps about its rows and its end.

namespace {

using namespace automation;

using Outcomes = std::vector<RowOutcome>;

CadRecord WellWritten()
{
    CadRecord cad;
    cad.step = CadStep::closing;
    cad.opened = true;
    cad.configurations = 1;
    cad.written = 1;
    cad.saveResult = 0;
    return cad;
}

class RunRecordTest : public ConversionRunTest
{
protected:
    [[nodiscard]] RunRow Row(std::size_t row) const { return m_record.rows.at(row); }
    [[nodiscard]] CadRecord Cad(std::size_t row) const { return Row(row).cad.value(); }
    [[nodiscard]] Outcomes AllOutcomes() const
    {
        Outcomes outcomes;
        for (std::size_t row = 0; row < m_record.rows.size(); ++row) {
            outcomes.push_back(Row(row).outcome);
        }
        return outcomes;
    }

    // Adds four rows, alternately converted and pending.
    void AddMixedRows()
    {
        for (const int number : {1, 2, 3, 4}) {
            const std::wstring name = std::to_wstring(number) + L".sldprt";
            AddRow(L"a" + name, L"b" + name, L"Norm %2", number % 2 == 0);
        }
    }

    // Expects that the rows of AddMixedRows kept their marks in the record.
    void ExpectMarks() const
    {
        for (std::size_t row = 0; row < 4; ++row) {
            EXPECT_EQ(Row(row).pending, row % 2 == 1) << row;
        }
    }

    // The first call of this member of the document runs `failure`; later calls run `answer`.
    void FailOnce(DISPID member, const CFakeDispatch::Handler& failure, const CFakeDispatch::Handler& answer)
    {
        m_document.On(member, [failed = false, failure, answer](FakeCall& call) mutable {
            return std::exchange(failed, true) ? answer(call) : failure(call);
        });
    }

    // Expects that a call failed in this step of the first row, and that SOLIDWORKS was loaded again. Also
    // expects that the second row was written without a problem.
    void ExpectLostIn(CadStep step)
    {
        EXPECT_EQ(m_record.end, RunEnd::finished);
        EXPECT_EQ(AllOutcomes(), (Outcomes{RowOutcome::copied, RowOutcome::copied}));
        EXPECT_TRUE(Cad(0).failed);
        EXPECT_EQ(Cad(0).step, step);
        EXPECT_EQ(Row(0).reason, COleException(E_ACCESSDENIED).GetErrorMessage() + L" (0x80070005)");
        EXPECT_TRUE(Row(0).cadReloaded);
        EXPECT_FALSE(Row(0).cadLost);
        EXPECT_EQ(Cad(1), WellWritten());
        EXPECT_FALSE(Row(1).cadReloaded);
    }
};

TEST_F(RunRecordTest, OfRowsThatTurnOutWell)
{
    AddRows(1);
    AddRow(L"a2.sldprt", L"b2.sldprt", L"Norm", false);
    Run(false);
    EXPECT_EQ(m_record.end, RunEnd::finished);
    EXPECT_EQ(m_record.folder, L"lib");
    EXPECT_EQ(m_record.cadYear, L"2022") << "the ProgID ends in 30";
    EXPECT_FALSE(m_record.copyOnly);
    EXPECT_EQ(AllOutcomes(), (Outcomes{RowOutcome::copied, RowOutcome::recordedOnly}));
    EXPECT_EQ(Row(0).entry, (UTtab_entry{L"a1.sldprt", L"b1.sldprt", L"Norm 1 - %2"}));
    EXPECT_EQ(Row(0).cad, WellWritten());
    EXPECT_EQ(Row(0).reason, L"");
    EXPECT_FALSE(Row(0).givenUp);
    EXPECT_EQ(Row(1).cad, std::nullopt);
}

TEST_F(RunRecordTest, KnowsWhenTheRunBeganAndHowLongItTook)
{
    AddRows(2);
    FailOpening(2, Before([] { Sleep(60); }, AnswerObject(&m_document)));
    SYSTEMTIME before{};
    GetLocalTime(&before);
    Run(false);
    SYSTEMTIME after{};
    GetLocalTime(&after);
    EXPECT_GE(m_record.start.year, before.wYear);
    EXPECT_LE(m_record.start.year, after.wYear);
    EXPECT_TRUE(m_record.start.minute == before.wMinute || m_record.start.minute == after.wMinute);
    EXPECT_GE(Row(1).duration, std::chrono::milliseconds(60));
    EXPECT_LT(Row(0).duration, Row(1).duration);
    EXPECT_GE(m_record.duration, Row(0).duration + Row(1).duration);
}

TEST_F(RunRecordTest, OfARunThatCopiesOnly)
{
    AddRows(1);
    Run(true);
    EXPECT_TRUE(m_record.copyOnly);
    EXPECT_EQ(m_record.cadYear, L"");
    EXPECT_EQ(AllOutcomes(), Outcomes{RowOutcome::copied});
    EXPECT_EQ(Row(0).cad, std::nullopt);
}

TEST_F(RunRecordTest, OfACopyThatDoesNotOpen)
{
    AddRows(2);
    FailOpening(1, [](FakeCall& call) {
        *call.Argument(5).plVal = 2;
        return AnswerObject(nullptr)(call);
    });
    Run(false);
    EXPECT_FALSE(Cad(0).opened);
    EXPECT_EQ(Cad(0).openCode, 2);
    EXPECT_FALSE(Cad(0).failed);
    EXPECT_EQ(Row(0).outcome, RowOutcome::copied);
    EXPECT_EQ(Cad(1), WellWritten());
    EXPECT_EQ(Marks(), "cc");
}

TEST_F(RunRecordTest, OfAMissingConfiguration)
{
    AddRows(1);
    m_document.On(kGetConfigurationCount, AnswerLong(3));
    m_document.On(kGetConfigurationNames, AnswerStrings({L"x", L"y", L"z"}));
    m_document.On(kGetConfiguration, [this](FakeCall& call) {
        const bool missing = std::wstring(call.Argument(0).bstrVal) == L"y";
        return AnswerObject(missing ? nullptr : &m_configuration)(call);
    });
    Run(false);
    EXPECT_EQ(Cad(0).step, CadStep::writing);
    EXPECT_EQ(Cad(0).configurations, 3);
    EXPECT_EQ(Cad(0).written, 1);
    EXPECT_EQ(Row(0).unwritten, (Texts{L"y", L"z"}));
    EXPECT_FALSE(Cad(0).failed);
    EXPECT_EQ(Cad(0).saveResult, std::nullopt);
}

TEST_F(RunRecordTest, OfTheValueThatASaveReturns)
{
    AddRows(1);
    m_document.On(kSave, AnswerLong(17));
    Run(false);
    EXPECT_EQ(Cad(0).saveResult, 17);
    // The server returns an object instead of the number that the interface promises.
    m_document.On(kSave, AnswerObject(&m_configuration));
    Run(false);
    EXPECT_EQ(Cad(0).saveResult, std::nullopt);
    EXPECT_FALSE(Cad(0).failed);
}

TEST_F(RunRecordTest, OfAFailureInEachStep)
{
    const auto failure = Fail(E_ACCESSDENIED);
    AddRows(2);
    FailOpening(1, failure);
    Run(false);
    ExpectLostIn(CadStep::opening);
    FailOnce(kGetConfigurationNames, failure, AnswerStrings({L"Default"}));
    Run(false);
    ExpectLostIn(CadStep::reading);
    FailOnce(kGetConfiguration, failure, AnswerObject(&m_configuration));
    Run(false);
    ExpectLostIn(CadStep::writing);
    EXPECT_EQ(Row(0).unwritten, Texts{L"Default"});
    FailOnce(kSave, failure, AnswerLong(0));
    Run(false);
    ExpectLostIn(CadStep::saving);
    EXPECT_EQ(Cad(0).saveResult, std::nullopt);
    m_application.On(kCloseDocument, [failed = false](FakeCall&) mutable {
        return std::exchange(failed, true) ? S_OK : E_ACCESSDENIED;
    });
    Run(false);
    ExpectLostIn(CadStep::closing);
    EXPECT_EQ(Cad(0).saveResult, 0);
}

TEST_F(RunRecordTest, OfTheServersOwnReport)
{
    AddRows(2);
    FailOnce(kSave, RaiseException(L"SldWorks", L"Disk full", nullptr, 0), AnswerLong(0));
    Run(false);
    EXPECT_EQ(Row(0).reason, L"SldWorks - Disk full");
    FailOnce(
        kSave,
        [](FakeCall& call) {
            call.exception->scode = E_ACCESSDENIED;
            return DISP_E_EXCEPTION;
        },
        AnswerLong(0));
    Run(false);
    EXPECT_EQ(Row(0).reason, L"unknown error (0x80070005)");
}

TEST_F(RunRecordTest, OfASolidworksThatDoesNotComeBack)
{
    AddRows(3);
    FailOpening(2, Before([&] { m_class.m_status = CO_E_SERVER_EXEC_FAILURE; }, Fail(E_UNEXPECTED)));
    Run(false);
    EXPECT_EQ(m_record.end, RunEnd::cadNotLoaded);
    EXPECT_EQ(AllOutcomes(), (Outcomes{RowOutcome::copied, RowOutcome::copied, RowOutcome::notReached}));
    EXPECT_FALSE(Row(1).cadReloaded);
    EXPECT_TRUE(Row(1).cadLost);
    EXPECT_FALSE(Row(2).cadLost);
    EXPECT_EQ(Row(2).entry, (UTtab_entry{L"a3.sldprt", L"b3.sldprt", L"Norm 3 - %2"}));
}

// An answer that stalls the call until the user gives up on it. The server runs in the test's own process, so
// the program has no server process to end.
HRESULT StallUntilGivenUp(FakeCall& /*call*/)
{
    const CMessageRecorder user([] { return IDYES; });
    COleMessageFilter& filter = CWinApp::Get()->GetMessageFilter();
    filter.SetBusyDelay(100);
    Sleep(150);
    PostThreadMessageW(GetCurrentThreadId(), WM_KEYDOWN, VK_SPACE, 0);
    filter.MessagePending(nullptr, 150, PENDINGTYPE_TOPLEVEL);
    Sleep(20);
    EXPECT_EQ(filter.MessagePending(nullptr, 170, PENDINGTYPE_TOPLEVEL), DWORD{PENDINGMSG_CANCELCALL});
    return RPC_E_CALL_CANCELED;
}

TEST_F(RunRecordTest, OfACallThatTheUserGivesUp)
{
    AddRows(2);
    m_document.On(kSave, &StallUntilGivenUp);
    Run(false);
    EXPECT_EQ(m_record.givenUpCalls, 1);
    EXPECT_TRUE(Row(0).givenUp);
    EXPECT_EQ(Cad(0).step, CadStep::saving);
    EXPECT_TRUE(Row(0).cadLost);
    EXPECT_FALSE(Row(1).givenUp);
    EXPECT_EQ(Row(1).outcome, RowOutcome::notReached);
}

TEST_F(RunRecordTest, OfAVersionQueryThatTheUserGivesUp)
{
    AddRows(1);
    m_application.On(kGetDateCode, &StallUntilGivenUp);
    Run(false);
    EXPECT_EQ(m_record.end, RunEnd::cadNotLoaded);
    EXPECT_EQ(m_record.givenUpCalls, 1);
    EXPECT_FALSE(Row(0).givenUp);
}

TEST_F(RunRecordTest, OfASolidworksThatHangsWhenItIsEnded)
{
    AddRows(1);
    m_application.On(kExit, &StallUntilGivenUp);
    Run(false);
    EXPECT_EQ(m_record.end, RunEnd::finished);
    EXPECT_EQ(m_record.givenUpCalls, 1);
    EXPECT_FALSE(Row(0).givenUp);
}

TEST_F(RunRecordTest, OfACancelledRun)
{
    AddRows(3);
    m_answer = IDYES;
    m_document.On(kGetConfiguration, Before([&] { m_screen.PressCancel(); }, AnswerObject(&m_configuration)));
    Run(false);
    EXPECT_EQ(m_record.end, RunEnd::cancelled);
    EXPECT_EQ(AllOutcomes(), (Outcomes{RowOutcome::copied, RowOutcome::notReached, RowOutcome::notReached}));
    EXPECT_EQ(Row(0).cad, WellWritten());
    EXPECT_EQ(Row(2).entry.strOriginal, L"a3.sldprt");
}

TEST_F(RunRecordTest, OfARunThatEndsWithTheSession)
{
    AddRows(2);
    m_application.On(kOpenDocument,
                     Before([] { CWinApp::Get()->SetSessionEnding(true); }, AnswerObject(&m_document)));
    Run(false);
    CWinApp::Get()->SetSessionEnding(false);
    EXPECT_EQ(m_record.end, RunEnd::sessionEnded);
    EXPECT_EQ(AllOutcomes(), (Outcomes{RowOutcome::copied, RowOutcome::notReached}));
}

// While the session ends, SOLIDWORKS is not loaded again. The record says that the end of the session stopped
// the run, not that SOLIDWORKS could not be loaded.
TEST_F(RunRecordTest, OfACallThatFailsWhileTheSessionEnds)
{
    AddRows(1);
    m_application.On(kOpenDocument,
                     Before([] { CWinApp::Get()->SetSessionEnding(true); }, Fail(E_ACCESSDENIED)));
    Run(false);
    CWinApp::Get()->SetSessionEnding(false);
    EXPECT_EQ(m_record.end, RunEnd::sessionEnded);
    EXPECT_TRUE(Row(0).cadLost);
}

TEST_F(RunRecordTest, OfARunThatCannotBegin)
{
    AddRows(1);
    m_class.m_status = REGDB_E_CLASSNOTREG;
    Run(false);
    EXPECT_EQ(m_record.end, RunEnd::cadNotLoaded);
    EXPECT_EQ(AllOutcomes(), Outcomes{RowOutcome::notReached});
    m_class.m_status = S_OK;
    m_application.On(kGetDateCode, AnswerLong(1999249));
    Run(false);
    EXPECT_EQ(m_record.end, RunEnd::cadTooOld);
    std::filesystem::create_directory(kMapFile);
    Run(true);
    EXPECT_EQ(m_record.end, RunEnd::mapFileNotOpened);
    EXPECT_EQ(AllOutcomes(), Outcomes{RowOutcome::notReached});
}

TEST_F(RunRecordTest, KeepsTheMarksWhenTheRunCannotBegin)
{
    AddMixedRows();
    m_class.m_status = REGDB_E_CLASSNOTREG;
    Run(false);
    EXPECT_EQ(m_record.end, RunEnd::cadNotLoaded);
    ExpectMarks();
    EXPECT_FALSE(m_record.mapFileReplaced);
    m_class.m_status = S_OK;
    m_application.On(kGetDateCode, AnswerLong(1999249));
    Run(false);
    EXPECT_EQ(m_record.end, RunEnd::cadTooOld);
    ExpectMarks();
    EXPECT_FALSE(m_record.mapFileReplaced);
    std::filesystem::create_directory(kMapFile);
    Run(true);
    EXPECT_EQ(m_record.end, RunEnd::mapFileNotOpened);
    ExpectMarks();
    EXPECT_FALSE(m_record.mapFileReplaced);
}

TEST_F(RunRecordTest, KeepsTheMarksWhenTheSessionEndsBeforeTheFirstRow)
{
    AddMixedRows();
    m_application.On(kGetDateCode,
                     Before([] { CWinApp::Get()->SetSessionEnding(true); }, AnswerLong(2024100)));
    Run(false);
    CWinApp::Get()->SetSessionEnding(false);
    EXPECT_EQ(m_record.end, RunEnd::sessionEnded);
    ExpectMarks();
    EXPECT_FALSE(m_record.mapFileReplaced);
}

TEST_F(RunRecordTest, KeepsTheMarksWhenTheRunEndsBetweenTwoRows)
{
    AddMixedRows();
    FailOpening(1, Before([&] { m_class.m_status = CO_E_SERVER_EXEC_FAILURE; }, Fail(E_UNEXPECTED)));
    Run(false);
    EXPECT_EQ(m_record.end, RunEnd::cadNotLoaded);
    EXPECT_EQ(AllOutcomes(), (Outcomes{RowOutcome::recordedOnly, RowOutcome::copied, RowOutcome::notReached,
                                       RowOutcome::notReached}));
    ExpectMarks();
    EXPECT_TRUE(m_record.mapFileReplaced);
    m_class.m_status = S_OK;
    m_document.On(kGetConfiguration, Before([&] { m_screen.PressCancel(); }, AnswerObject(&m_configuration)));
    m_answer = IDYES;
    Run(false);
    EXPECT_EQ(m_record.end, RunEnd::cancelled);
    ExpectMarks();
    EXPECT_TRUE(m_record.mapFileReplaced);
    m_document.On(kGetConfiguration,
                  Before([] { CWinApp::Get()->SetSessionEnding(true); }, AnswerObject(&m_configuration)));
    Run(false);
    CWinApp::Get()->SetSessionEnding(false);
    EXPECT_EQ(m_record.end, RunEnd::sessionEnded);
    EXPECT_EQ(Row(3).outcome, RowOutcome::notReached);
    ExpectMarks();
    EXPECT_TRUE(m_record.mapFileReplaced);
}

TEST_F(RunRecordTest, OfFilesThatCannotBeCopied)
{
    AddRows(2);
    AddRow(L"c.sldprt", L"..\\c.sldprt", L"x");
    AddRow(L"d.sldprt", L"..\\d.sldprt", L"x");
    std::filesystem::remove(L"lib\\a1.sldprt");
    const CFailingFile full(L"lib\\Mapped\\b2.sldprt", FailingOperation::writing, ERROR_DISK_FULL);
    Run(true);
    EXPECT_EQ(AllOutcomes(), Outcomes(4, RowOutcome::notCopied));
    EXPECT_EQ(Row(0).reason,
              expected::SourceNotOpened(L"lib\\a1.sldprt", expected::FileMissing(L"lib\\a1.sldprt")));
    EXPECT_EQ(L"box " + Row(1).reason, m_log.at(1)) << "the record holds the text that the user saw";
    EXPECT_NE(Row(1).reason.find(L"b2.sldprt"), std::wstring::npos);
    EXPECT_EQ(Row(2).reason, expected::NoFileName(L"..\\c.sldprt"));
    EXPECT_EQ(Row(3).reason, expected::NoFileName(L"..\\d.sldprt"))
        << "recorded, although this kind of message is shown only once per run";
}

// Makes every write to the map file fail.
class CFullMapFile : public CFileInterceptor
{
public:
    DWORD ErrorFor(const FileOperation& operation) override
    {
        const bool isWrite = operation.call == FileCall::write || operation.call == FileCall::writeStream;
        return isWrite && operation.path.ends_with(L"PartsMap.txt") ? ERROR_DISK_FULL : ERROR_SUCCESS;
    }
};

TEST_F(RunRecordTest, OfRowsThatCannotBeRecorded)
{
    AddRows(1);
    AddRow(L"a2.sldprt", L"b2.sldprt", L"Norm", false);
    const CFullMapFile full;
    Run(true);
    EXPECT_EQ(AllOutcomes(), (Outcomes{RowOutcome::notRecorded, RowOutcome::notRecorded}));
    EXPECT_EQ(Row(0).reason, expected::RecordsMissing(kMapFile));
    EXPECT_EQ(Row(1).reason, expected::RecordsMissing(kMapFile));
}

}  // namespace
