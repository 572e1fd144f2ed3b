#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "files/FileMisc.h"
#include "tests/faults/CopyFailures.h"
#include "tests/faults/FaultTest.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/FileInterceptor.h"
#include "tests/support/TestLibrary.h"
#include "tests/support/TextFile.h"

// Every file operation of a run fails in turn, and so does every one that creates the folder of the copies.
// Not included are the operations of the main dialog before a run and after a cancelled one (looking for a
// map file, scanning the folder).

namespace {

constexpr std::array kCallNames{
    "open",     "read",  "write",   "close",      "readStatus", "readAttributes", "setAttributes", "change",
    "readSize", "flush", "replace", "makeFolder", "openStream", "writeStream",    "closeStream"};
static_assert(kCallNames.size() == static_cast<std::size_t>(FileCall::closeStream) + 1);

std::string Describe(const FileOperation& operation)
{
    return std::string(kCallNames[static_cast<std::size_t>(operation.call)]) + " " +
           ToUtf8(operation.path.substr(operation.path.rfind(L'\\') + 1)) + " access " +
           std::to_string(operation.access) + " at " + std::to_string(operation.position);
}

// Records the operations on files below a folder, and makes some of them fail.
class COperationRecorder : public CFileInterceptor
{
public:
    // failing: the indexes of operations that fail, from 0.
    explicit COperationRecorder(std::wstring folder, std::set<std::size_t> failing = {},
                                DWORD error = ERROR_SUCCESS)
        : m_folder(std::move(folder) + L"\\"), m_failing(std::move(failing)), m_error(error)
    {
    }

    [[nodiscard]] const std::vector<FileOperation>& Operations() const { return m_operations; }

    DWORD ErrorFor(const FileOperation& operation) override
    {
        if (!operation.path.starts_with(m_folder)) {
            return ERROR_SUCCESS;
        }
        m_operations.push_back(operation);
        return m_failing.contains(m_operations.size() - 1) ? m_error : ERROR_SUCCESS;
    }

private:
    const std::wstring m_folder;
    const std::set<std::size_t> m_failing;
    const DWORD m_error;
    std::vector<FileOperation> m_operations;
};

constexpr Text kDenied{L"Der Zugriff auf \"%s\" wurde verweigert", L"Access to \"%s\" was denied"};
constexpr Text kNoDrive{L"Das Laufwerk oder Gerät von \"%s\" meldet einen Fehler",
                        L"The drive or device of \"%s\" reports an error"};

// The part of a message that describes the error.
std::wstring ErrorText(DWORD error, const std::wstring& path)
{
    std::wstring text = error == ERROR_ACCESS_DENIED ? kDenied.Current() : kNoDrive.Current();
    return text.replace(text.find(L"%s"), 2, path);
}

std::wstring WithErrorText(std::wstring message, const std::wstring& sentence)
{
    return message.replace(message.find(L'*'), 1, sentence);
}

class OperationTest : public FaultTest
{
protected:
    void SetUp() override
    {
        if (!CFileInterceptor::SeesStreams()) {
            GTEST_SKIP() << kSeesNoStreams;
        }
    }

    void ForEveryOperation(DWORD error)
    {
        for (const bool copyOnly : {true, false}) {
            for (const bool copiesBefore : {false, true}) {
                SCOPED_TRACE(std::string(copyOnly ? "copies only" : "with the server") +
                             (copiesBefore ? ", over earlier copies" : ""));
                m_bench.m_copyOnly = copyOnly;
                SweepRun(error, copiesBefore);
            }
        }
        SweepFolder(error);
    }

    void ForEveryStepOfRemovingALine(DWORD error)
    {
        m_bench.m_copyOnly = true;
        m_bench.Reset();
        const std::vector<FileOperation> run = OperationsOfRun();
        for (std::size_t number = 0; number < run.size(); ++number) {
            if (run[number].call == FileCall::writeStream) {
                const CLanguageScope language(static_cast<int>(number % 2));
                SweepRemovalOfALine(run, number, error);
            }
        }
    }

private:
    // The operation that fails in a run.
    struct FailurePoint
    {
        const std::vector<FileOperation>& run;
        std::size_t number;
        DWORD error;

        [[nodiscard]] const FileOperation& Operation() const { return run[number]; }
        // The number of operations of this kind on the same file before this one.
        [[nodiscard]] std::size_t Before(FileCall call) const
        {
            return static_cast<std::size_t>(
                std::count_if(run.begin(), run.begin() + static_cast<std::ptrdiff_t>(number),
                              [&](const FileOperation& operation) {
                                  return operation.call == call && operation.path == Operation().path;
                              }));
        }
    };

    void SweepRun(DWORD error, bool copiesBefore)
    {
        Prepare(copiesBefore);
        const std::vector<FileOperation> run = OperationsOfRun();
        // Each copied file has at least five blocks, which are read and written; source and copy are opened
        // and closed; setting the attributes of the copy takes five steps. The map file has the header and a
        // line per row; it is opened, flushed in three steps and closed.
        const std::size_t copied = copiesBefore ? 4 : 3;
        ASSERT_GT(run.size(), copied * (2 * 5 + 2 * 2 + 5) + 4 + 6);
        const std::size_t step = EveryFault() ? 1 : 23;  // includes the last operation, closing the map file
        for (std::size_t number = (run.size() - 1) % step; number < run.size(); number += step) {
            SCOPED_TRACE("operation " + std::to_string(number) + ": " + Describe(run[number]));
            const CLanguageScope language(static_cast<int>(number % 2));
            Prepare(copiesBefore);
            Inject({run, number, error}, copiesBefore);
        }
    }

    void Prepare(bool copiesBefore)
    {
        if (!copiesBefore) {
            m_bench.Reset();
            return;
        }
        if (!PathExists(m_bench.Copy(0))) {
            EXPECT_EQ("", m_bench.Run({}));
        }
        m_bench.MarkAll();
    }

    std::vector<FileOperation> OperationsOfRun(const std::set<std::size_t>& failing = {},
                                               DWORD error = ERROR_SUCCESS)
    {
        std::optional<COperationRecorder> counter;
        counter.emplace(m_library.Path(), failing, error);
        std::vector<FileOperation> operations;
        m_bench.m_afterRun = [&] {
            operations = counter->Operations();
            counter.reset();
        };
        EXPECT_EQ("", m_bench.Run({}));
        return operations;
    }

    // second: another operation that fails, one that happens only because of the failure.
    void Inject(const FailurePoint& failure, bool copiesBefore, std::optional<std::size_t> second = {})
    {
        m_undo = nullptr;
        Expect(failure, copiesBefore);
        std::set<std::size_t> failing = {failure.number};
        if (second) {
            failing.insert(*second);
        }
        std::optional<COperationRecorder> counter;
        counter.emplace(m_library.Path(), failing, failure.error);
        RunAndRepeat({}, [&] {
            const std::vector<FileOperation> operations = counter->Operations();
            counter.reset();
            ASSERT_GT(operations.size(), *failing.rbegin());
            EXPECT_EQ(Describe(failure.Operation()), Describe(operations[failure.number]));
            if (m_undo) {
                m_undo();
            }
        });
    }

    // A line of the map file cannot be written, and a step of removing the partial line fails, too. The
    // program must then remove the partial line before it writes the next line or closes the file.
    void SweepRemovalOfALine(const std::vector<FileOperation>& run, std::size_t number, DWORD error)
    {
        const FailurePoint failure{run, number, error};
        m_bench.Reset();
        Expect(failure, false);
        const std::vector<FileOperation> withRemoval = OperationsOfRun({number}, error);
        std::size_t step = number + 1;
        for (; step < withRemoval.size() && withRemoval[step].path == m_bench.MapPath(); ++step) {
            SCOPED_TRACE("line at " + std::to_string(number) + ", then " + Describe(withRemoval[step]));
            m_bench.Reset();
            Inject(failure, false, step);
            if (withRemoval[step].call == FileCall::openStream) {
                break;
            }
        }
        // Seven operations: the line is written again and the file closed; the file is opened for truncation,
        // its size read, truncated and closed; then it is opened again.
        EXPECT_EQ(number + 7, step);
    }

    // Sets the expected result of the failure.
    void Expect(const FailurePoint& failure, bool copiesBefore)
    {
        if (failure.Operation().path == m_bench.MapPath()) {
            ExpectMapFileFailure(failure);
            return;
        }
        for (std::size_t row = 0; row < m_bench.Rows().size(); ++row) {
            if (failure.Operation().path == m_bench.Part(row)) {
                ExpectPartFailure(failure, row);
                return;
            }
            if (failure.Operation().path == m_bench.Copy(row)) {
                ExpectCopyFailure(failure, row, copiesBefore);
                return;
            }
        }
        FAIL() << "not a file of the run";
    }

    void ExpectMapFileFailure(const FailurePoint& failure)
    {
        switch (failure.Operation().call) {
            case FileCall::openStream:
                m_bench.ExpectNoMapFile();
                return;
            case FileCall::writeStream:
                ExpectMissingLine(failure.Before(FileCall::writeStream));
                return;
            case FileCall::flush:
            case FileCall::closeStream:
                m_bench.ExpectLateMapFailure();
                return;
            case FileCall::open:   // for flushing: the file is then not flushed, and nothing is lost
            case FileCall::close:  // after flushing: everything is on disk
                return;
            default:
                FAIL() << "unexpected operation on the map file";
        }
    }

    // Lines are written one by one: first the header, then a record per row.
    void ExpectMissingLine(std::size_t line)
    {
        if (line == 0) {
            m_bench.ExpectNoHeader();
        } else {
            m_bench.Rows().at(line - 1).recordFails = true;
        }
    }

    void ExpectPartFailure(const FailurePoint& failure, std::size_t row)
    {
        switch (failure.Operation().call) {
            case FileCall::open:
                m_bench.Rows()[row].copyFailure =
                    WithErrorText(SourceFailure(m_bench, row), ErrorText(failure.error, m_bench.Part(row)));
                return;
            case FileCall::read:
            case FileCall::close:
                ExpectPartialCopy(failure, row);
                return;
            default:
                FAIL() << "unexpected operation on a part";
        }
    }

    void ExpectCopyFailure(const FailurePoint& failure, std::size_t row, bool copiesBefore)
    {
        if (failure.Operation().access == GENERIC_WRITE) {
            ExpectTargetFailure(failure, row);
        } else {
            ExpectAttributeFailure(failure, row, copiesBefore);
        }
    }

    void ExpectTargetFailure(const FailurePoint& failure, std::size_t row)
    {
        if (failure.Operation().call == FileCall::open) {
            ExpectNoTarget(row, failure.error);
        } else {
            ExpectPartialCopy(failure, row);
        }
    }

    void ExpectNoTarget(std::size_t row, DWORD error)
    {
        m_bench.Rows()[row].copyFailure =
            WithErrorText(TargetFailure(m_bench, row), ErrorText(error, m_bench.Copy(row)));
    }

    // The copy contains the bytes before the failure, or all if closing fails. An earlier copy is lost.
    void ExpectPartialCopy(const FailurePoint& failure, std::size_t row)
    {
        const std::wstring part = m_bench.Part(row);
        const std::wstring copy = m_bench.Copy(row);
        m_bench.Rows()[row].copyFailure =
            WithErrorText(CopyingFailure(m_bench, row), ErrorText(failure.error, failure.Operation().path));
        const std::size_t length = failure.Operation().call == FileCall::close
                                       ? ReadBytes(part).size()
                                       : static_cast<std::size_t>(failure.Operation().position);
        const bool existedBefore = PathExists(copy);
        const std::string before = existedBefore ? ReadBytes(copy) : "";
        m_undo = [=] {
            EXPECT_EQ(length, RemovePartialCopy(part, copy));
            if (existedBefore) {
                WriteBytes(copy, before);
                MakeReadOnly(copy);
            }
        };
    }

    // Failures to change attributes are not reported. Attributes are read and changed twice: before copying,
    // to clear the read-only attribute of an existing copy, and after it, to set the attribute.
    void ExpectAttributeFailure(const FailurePoint& failure, std::size_t row, bool copiesBefore)
    {
        const bool exists = copiesBefore || !m_bench.Rows()[row].pending;
        const FileCall call = failure.Operation().call;
        const std::size_t changes = failure.Before(FileCall::readStatus) + (call == FileCall::readStatus);
        if (changes == 1) {
            // The read-only attribute is cleared twice, by path and by handle; either is enough.
            if (call == FileCall::readStatus && exists && m_bench.Rows()[row].pending) {
                ExpectNoTarget(row, ERROR_ACCESS_DENIED);
            }
            return;
        }
        ASSERT_EQ(2U, changes);
        ASSERT_NE(FileCall::setAttributes, call);
        m_bench.Rows()[row].staysWritable =
            call == FileCall::readStatus || call == FileCall::open || call == FileCall::change;
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
        counter.emplace(m_library.Path(), std::set{number}, error);
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
        if (CFileMisc::CreateFolder(folder) != 0 || !PathExists(folder)) {
            differences += "  not created the next time\n";
        }
        Count(1, differences);
        RemoveDirectoryW(folder.c_str());
    }

    CFaultBench& Bench() override { return m_bench; }

    CTempFolder m_library;
    CFaultBench m_bench{m_library.Path(), FourRows()};
    std::function<void()> m_undo;
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

TEST_F(OperationTest, ShareUnavailable)
{
    RecordProperty("kind", "each file operation of a run in turn: share unavailable");
    ForEveryOperation(ERROR_NETNAME_DELETED);
}

}  // namespace
