#include <gtest/gtest.h>
#include <windows.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "files/FileMisc.h"
#include "tests/faults/OperationFaults.h"
#include "tests/support/ExpectedTexts.h"

// Every file operation of a run fails in turn, and so does every one that creates the folder of the copies.
// Not included are the operations of the main dialog before a run and after a cancelled one (looking for a
// map file, scanning the folder).

namespace {

class OperationTest : public OperationFaultTest
{
protected:
    void ForEveryOperation(DWORD error)
    {
        ForEveryKindOfRun([&](bool copiesBefore) { SweepRun(error, copiesBefore); });
        SweepFolder(error);
    }

    // part: how much of the line is written before writing it fails; null: nothing.
    void ForEveryStepOfRemovingALine(DWORD error, WrittenPart part = nullptr)
    {
        m_bench.m_copyOnly = true;
        m_bench.Reset();
        const std::vector<FileOperation> run = OperationsOfRun();
        for (std::size_t number = 0; number < run.size(); ++number) {
            if (run[number].call == FileCall::writeStream) {
                const CLanguageScope language(static_cast<int>(number % 2));
                SweepRemovalOfALine({run, number, error}, part);
            }
        }
    }

private:
    void SweepRun(DWORD error, bool copiesBefore)
    {
        Prepare(copiesBefore);
        const std::vector<FileOperation> run = OperationsOfRun();
        // Each copied file has at least five blocks, which are read and written; source and copy are opened
        // and closed; setting the attributes of the copy takes five steps. In the map file, four rows are
        // written, and six operations more: the header, opening, three steps of flushing, and closing.
        const std::size_t copied = copiesBefore ? 4 : 3;
        ASSERT_GT(run.size(), copied * (2 * 5 + 2 * 2 + 5) + 4 + 6);
        const std::size_t step = EveryFault() ? 1 : 23;
        // Begins so that the last operation, closing the map file, is included.
        for (std::size_t number = (run.size() - 1) % step; number < run.size(); number += step) {
            SCOPED_TRACE("operation " + std::to_string(number) + ": " + Describe(run[number]));
            const CLanguageScope language(static_cast<int>(number % 2));
            Prepare(copiesBefore);
            const FailurePoint failure{run, number, error};
            Expect(failure, copiesBefore);
            Inject(failure, Failing({number}, error));
        }
    }

    // A line of the map file cannot be written, and a step of removing the partial line fails, too. The
    // program must then remove the partial line before it writes the next line or closes the file.
    void SweepRemovalOfALine(const FailurePoint& failure, WrittenPart part)
    {
        const std::size_t number = failure.number;
        m_bench.Reset();
        Expect(failure, false);
        const std::vector<FileOperation> withRemoval =
            OperationsOfRun(FailingAfter(part, {number}, failure.error));
        std::size_t step = number + 1;
        for (; step < withRemoval.size() && withRemoval[step].path == m_bench.MapPath(); ++step) {
            SCOPED_TRACE("line at " + std::to_string(number) + ", then " + Describe(withRemoval[step]));
            m_bench.Reset();
            Expect(failure, false);
            Inject(failure, FailingAfter(part, {number, step}, failure.error));
            if (withRemoval[step].call == FileCall::openStream) {
                break;
            }
        }
        // Seven operations: closing the stream writes the line left in its buffer and closes the file. The
        // file is opened for truncation, its size is read, and it is truncated and closed. Then it is opened
        // again.
        EXPECT_EQ(number + 7, step);
    }

    // The folder of the copies is created before the run. If that fails, the run does not start.
    void SweepFolder(DWORD error)
    {
        const std::wstring folder = m_library / L"new";
        for (const bool exists : {false, true}) {
            // The program first checks whether the folder exists. If the check fails, the program tries to
            // create the folder, which fails if the folder exists.
            TryFolder(folder, exists, 0, error, exists);
        }
        TryFolder(folder, false, 1, error, true);
    }

    void TryFolder(const std::wstring& folder, bool exists, std::size_t number, DWORD error, bool fails)
    {
        SCOPED_TRACE("folder, operation " + std::to_string(number));
        RemoveDirectoryW(folder.c_str());
        if (exists) {
            EXPECT_NE(FALSE, CreateDirectoryW(folder.c_str(), nullptr));
        }
        CMessageRecorder recorder;
        std::optional<COperationRecorder> counter;
        counter.emplace(m_library.Path(), Failing({number}, error));
        const bool failed = CFileMisc::CreateFolder(folder) != 0;
        const std::size_t operations = counter->Operations().size();
        counter.reset();
        std::vector<std::wstring> expectedTexts;
        if (fails) {
            expectedTexts.push_back(expected::NoFolder(folder));
        }
        std::string differences;
        if (failed != fails || operations != 2 || recorder.TakeTexts() != expectedTexts) {
            differences += "  a missing or unexpected message\n";
        }
        if (CFileMisc::CreateFolder(folder) != 0 || !FileExists(folder)) {
            differences += "  not created the next time\n";
        }
        Count(1, differences);
        RemoveDirectoryW(folder.c_str());
    }
};

TEST_F(OperationTest, AccessDenied)
{
    RecordProperty("kind", "each file operation of a run in turn: access denied");
    ForEveryOperation(ERROR_ACCESS_DENIED);
}

TEST_F(OperationTest, AccessDeniedWhileALineIsRemoved)
{
    RecordProperty("kind", "writing a line of the map file, and each step of removing the partial line");
    ForEveryStepOfRemovingALine(ERROR_ACCESS_DENIED);
}

// Only tools/faults runs tests named *More*.
TEST_F(OperationTest, MoreOfALineIsWrittenBeforeItIsRemoved)
{
    RecordProperty("kind", "writing half a line of the map file, and each step of removing it: disk full");
    ForEveryStepOfRemovingALine(ERROR_DISK_FULL, [](DWORD count) { return count / 2; });
}

TEST_F(OperationTest, ShareUnavailable)
{
    RecordProperty("kind", "each file operation of a run in turn: share unavailable");
    ForEveryOperation(ERROR_NETNAME_DELETED);
}

}  // namespace
