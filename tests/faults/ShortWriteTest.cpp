#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/faults/OperationFaults.h"
#include "tests/support/Files.h"

// Writes of which only a part reaches the file, and more error codes than OperationTest injects.

namespace {

constexpr DWORD kErrors[] = {ERROR_DISK_FULL,
                             ERROR_HANDLE_DISK_FULL,
                             ERROR_NETNAME_DELETED,
                             ERROR_BAD_NETPATH,
                             ERROR_UNEXP_NET_ERR,
                             ERROR_SHARING_VIOLATION,
                             ERROR_LOCK_VIOLATION,
                             ERROR_ACCESS_DENIED,
                             ERROR_WRITE_PROTECT,
                             ERROR_NOT_READY,
                             ERROR_DEVICE_NOT_CONNECTED,
                             ERROR_IO_DEVICE,
                             ERROR_CRC,
                             ERROR_SEM_TIMEOUT,
                             ERROR_PATH_NOT_FOUND,
                             ERROR_FILE_NOT_FOUND,
                             ERROR_NO_SYSTEM_RESOURCES,
                             ERROR_OPERATION_ABORTED};

class ErrorCodeTest : public OperationFaultTest
{
protected:
    // The first operation of each kind on each of these files: the map file, the part and the copy of a row.
    [[nodiscard]] std::vector<std::size_t> KindsIn(const std::vector<FileOperation>& run,
                                                   std::size_t row) const
    {
        std::vector<std::size_t> numbers;
        std::set<std::pair<std::wstring, FileCall>> seen;
        std::map<std::wstring, int> changes;  // of attributes
        for (std::size_t number = 0; number < run.size(); ++number) {
            const FileOperation& operation = run[number];
            if (operation.path != m_bench.MapPath() && RowOf(operation) != row) {
                continue;
            }
            changes[operation.path] += operation.call == FileCall::readStatus ? 1 : 0;
            const std::wstring file =
                operation.path + std::to_wstring(operation.access) + std::to_wstring(changes[operation.path]);
            if (seen.emplace(file, operation.call).second) {
                numbers.push_back(number);
            }
        }
        return numbers;
    }
};

TEST_F(ErrorCodeTest, AtEachKindOfOperation)
{
    RecordProperty("kind", "each kind of file operation of a run that only copies, over earlier copies: " +
                               std::to_string(std::size(kErrors)) + " other errors of the system");
    constexpr std::size_t kRow = 1;
    m_bench.m_copyOnly = true;
    Prepare(true);
    const std::vector<FileOperation> run = OperationsOfRun();
    const std::vector<std::size_t> kinds = KindsIn(run, kRow);
    // The map file: open, open for flushing, write, flush, two closings. The part: open, read, close. The
    // copy: open, write, close, and two changes of six steps, of which the second needs no setAttributes.
    ASSERT_EQ(6U + 3U + 3U + 6U + 5U, kinds.size());
    std::size_t fault = 0;
    for (const DWORD error : kErrors) {
        for (const std::size_t number : kinds) {
            if (!EveryFault() && fault++ % 31 != 0) {
                continue;
            }
            SCOPED_TRACE("error " + std::to_string(error) + " of " + Describe(run[number]));
            const CLanguageScope language(static_cast<int>(number % 2));
            Prepare(true);
            const FailurePoint failure{run, number, error};
            Expect(failure, true);
            Inject(failure, Failing({number}, error));
        }
    }
}

constexpr DWORD kBlockSize = 4096;  // bytes that the program writes at a time

// One byte, half of the bytes, all but one. A block or record has more than two bytes, so none of these
// is all of it.
constexpr WrittenPart kParts[] = {[](DWORD) { return DWORD{1}; }, [](DWORD count) { return count / 2; },
                                  [](DWORD count) { return count - 1; }};

class ShortWriteTest : public OperationFaultTest
{
protected:
    // Calls `act` for each operation of this kind in a run that only copies, and for each part of its bytes.
    // `writes`: the number of these operations.
    using Act = std::function<void(const FailurePoint&, WrittenPart)>;
    void ForEachWrite(FileCall call, std::size_t writes, DWORD error, const Act& act)
    {
        m_bench.m_copyOnly = true;
        Prepare(false);
        const std::vector<FileOperation> run = OperationsOfRun();
        ASSERT_EQ(static_cast<std::size_t>(std::ranges::count(run, call, &FileOperation::call)), writes);
        std::size_t fault = 0;
        for (std::size_t number = 0; number < run.size(); ++number) {
            for (const WrittenPart part : kParts) {
                constexpr std::size_t kStep = 11;
                if (run[number].call != call || (fault++ % kStep != 0 && !EveryFault())) {
                    continue;
                }
                SCOPED_TRACE("operation " + std::to_string(number) + " writes " +
                             std::to_string(part(kBlockSize)) + " of 4096: " + Describe(run[number]));
                const CLanguageScope language(static_cast<int>(number % 2));
                Prepare(false);
                act({run, number, error}, part);
            }
        }
    }

    // The header and the record of each of the four rows.
    static constexpr std::size_t kLines = 1 + 4;

    // The blocks of the copies of the three pending rows.
    [[nodiscard]] std::size_t CountBlocks() const
    {
        std::size_t blocks = 0;
        for (const std::size_t row : {0U, 1U, 3U}) {
            blocks += (ReadBytes(m_bench.Part(row)).size() + kBlockSize - 1) / kBlockSize;
        }
        EXPECT_GE(blocks, 3U * 5U) << "each part has at least five blocks";
        return blocks;
    }

    // error: what the operation reports after it has written a part; may be ERROR_SUCCESS. expectedError: the
    // error in the message.
    void TestCopies(DWORD error, DWORD expectedError)
    {
        const auto act = [&](const FailurePoint& failure, WrittenPart part) {
            const std::size_t row = RowOf(failure.Operation()).value();
            const std::size_t before = CopiedBefore(failure, row);
            const std::size_t left = ReadBytes(m_bench.Part(row)).size() - before;
            const DWORD block = std::min(kBlockSize, static_cast<DWORD>(left));
            ExpectPartialCopy({row, before + part(block), failure.Operation().path, expectedError});
            Inject(failure, FailingAfter(part, {failure.number}, error));
        };
        ForEachWrite(FileCall::write, CountBlocks(), expectedError, act);
    }
};

TEST_F(ShortWriteTest, OfACopyFail)
{
    RecordProperty("kind", "writing a block of a copy fails after a part of it");
    TestCopies(ERROR_NETNAME_DELETED, ERROR_NETNAME_DELETED);
}

// Such a success means that the disk is full.
TEST_F(ShortWriteTest, OfACopySucceed)
{
    RecordProperty("kind", "a part of a block of a copy is written, and the system reports success");
    TestCopies(ERROR_SUCCESS, ERROR_DISK_FULL);
}

TEST_F(ShortWriteTest, OfTheMapFileFail)
{
    RecordProperty("kind", "writing a line of the map file fails after a part of it");
    const auto act = [&](const FailurePoint& failure, WrittenPart part) {
        Expect(failure, false);
        Inject(failure, FailingAfter(part, {failure.number}, failure.error));
    };
    ForEachWrite(FileCall::writeStream, kLines, ERROR_DISK_FULL, act);
}

// The runtime library writes the rest.
TEST_F(ShortWriteTest, OfTheMapFileSucceed)
{
    RecordProperty("kind", "a part of a line of the map file is written, and the system reports success");
    const auto act = [&](const FailurePoint& failure, WrittenPart part) {
        Inject(failure, FailingAfter(part, {failure.number}, ERROR_SUCCESS));
    };
    ForEachWrite(FileCall::writeStream, kLines, ERROR_SUCCESS, act);
}

}  // namespace
