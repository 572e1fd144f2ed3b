#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "tests/faults/OperationFaults.h"

// From each file operation of a run on, all later ones fail, too.

namespace {

bool IsWrite(const FileOperation& operation)
{
    return operation.call == FileCall::write || operation.call == FileCall::writeStream;
}

constexpr WrittenPart kHalf = [](DWORD count) { return count / 2; };

class LastingFaultTest : public OperationFaultTest
{
protected:
    // The error, the operations that it hits, and a function that sets what is expected, given the first
    // operation that fails.
    struct Lasting
    {
        DWORD error;
        std::function<bool(const FileOperation&)> hits;
        std::function<void(const FailurePoint&, bool copiesBefore)> expect;
    };

    void Sweep(const Lasting& lasting, std::size_t step)
    {
        ForEveryKindOfRun([&](bool copiesBefore) {
            Prepare(copiesBefore);
            const std::vector<FileOperation> run = OperationsOfRun();
            const std::vector<std::size_t> hit = NumbersOf(run, lasting.hits);
            const std::size_t copied = copiesBefore ? 4 : 3;
            ASSERT_GT(hit.size(), copied * 5 + 4) << "five blocks of each copy, the header and four records";
            for (std::size_t at = (hit.size() - 1) % step; at < hit.size(); at += step) {
                const FailurePoint first{run, hit[at], lasting.error};
                SCOPED_TRACE("from operation " + std::to_string(first.number) + ": " +
                             Describe(first.Operation()));
                const CLanguageScope language(static_cast<int>(at % 2));
                Prepare(copiesBefore);
                lasting.expect(first, copiesBefore);
                Inject(first, From(first.number, lasting));
            }
        });
    }

    // The share is gone: nothing more can be opened, written or changed.
    void ExpectNoShare(const FailurePoint& first, bool copiesBefore)
    {
        if (first.Operation().call == FileCall::openStream) {
            m_bench.ExpectNoMapFile();
            return;
        }
        m_bench.ExpectLateMapFailure();
        if (const std::optional<std::size_t> row = RowOf(first.Operation()); row) {
            ExpectRowWithoutShare(first, *row, copiesBefore);
            ExpectNoShareFrom(*row + 1, first.error);
            return;
        }
        const std::size_t lines = first.Before(FileCall::writeStream);
        if (lines == 0) {
            m_bench.ExpectNoHeader();
            ExpectNoShareFrom(0, first.error);
        } else if (first.Operation().call == FileCall::writeStream) {
            ExpectMissingLine(lines);
            m_bench.Rows()[lines - 1].staysWritable = true;
            ExpectNoShareFrom(lines, first.error);
        }
    }

    // The share disappears after half of a record has been written. That half therefore stays in the map
    // file.
    void SweepRecords(DWORD error)
    {
        m_bench.Reset();
        const std::vector<FileOperation> run = OperationsOfRun();
        const std::string map = ReadBytes(m_bench.MapPath());
        const std::vector<std::size_t> lines = NumbersOf(
            run, [](const FileOperation& operation) { return operation.call == FileCall::writeStream; });
        ASSERT_EQ(1 + m_bench.Rows().size(), lines.size()) << "the header and the records";
        std::size_t begin = map.find("\r\n\r\n") + 4;  // of the record
        for (std::size_t line = 1; line < lines.size(); ++line) {
            SCOPED_TRACE("line " + std::to_string(line));
            m_bench.Reset();
            const FailurePoint first{run, lines[line], error};
            ExpectNoShare(first, false);
            const std::size_t end = map.find('\r', begin);
            m_bench.ExpectMapFileCutAt(begin + kHalf(static_cast<DWORD>(end + 1 - begin)));
            OperationFaults faults =
                From(first.number, {error, [](const FileOperation&) { return true; }, {}});
            faults.partial = first.number;
            faults.part = kHalf;
            Inject(first, faults);
            begin = end + 2;
        }
    }

    // The disk is full: files can be opened and changed, but nothing can be written. Each later copy is
    // created, but stays empty.
    void ExpectFullDisk(const FailurePoint& first, bool /*copiesBefore*/)
    {
        std::size_t nextRow = 0;
        if (const std::optional<std::size_t> row = RowOf(first.Operation()); row) {
            ExpectPartialCopy({*row, CopiedBefore(first, *row), first.Operation().path, first.error});
            nextRow = *row + 1;
        } else {
            nextRow = first.Before(FileCall::writeStream);
            ExpectMissingLine(nextRow);
        }
        for (std::size_t row = nextRow; row < m_bench.Rows().size(); ++row) {
            if (m_bench.Rows()[row].pending) {
                ExpectPartialCopy({row, 0, m_bench.Copy(row), first.error});
            } else {
                ExpectMissingLine(row + 1);
            }
        }
    }

private:
    static std::vector<std::size_t> NumbersOf(const std::vector<FileOperation>& run,
                                              const std::function<bool(const FileOperation&)>& hits)
    {
        std::vector<std::size_t> numbers;
        for (std::size_t number = 0; number < run.size(); ++number) {
            if (hits(run[number])) {
                numbers.push_back(number);
            }
        }
        return numbers;
    }

    static OperationFaults From(std::size_t first, const Lasting& lasting)
    {
        return {.error = [first, lasting](std::size_t number, const FileOperation& operation) {
            return number >= first && lasting.hits(operation) ? lasting.error : ERROR_SUCCESS;
        }};
    }

    void ExpectNoShareFrom(std::size_t first, DWORD error)
    {
        for (std::size_t row = first; row < m_bench.Rows().size(); ++row) {
            if (m_bench.Rows()[row].pending) {
                ExpectNoSource(row, error);
            } else {
                ExpectMissingLine(row + 1);
            }
        }
    }

    // The row in whose operations the share disappears. Its copy cannot be made read-only any more.
    void ExpectRowWithoutShare(const FailurePoint& first, std::size_t row, bool copiesBefore)
    {
        const FileOperation& operation = first.Operation();
        const bool isPart = operation.path == m_bench.Part(row);
        if (!isPart && operation.access != GENERIC_WRITE) {
            ExpectNoAttributes(first, row);
        } else if (operation.call != FileCall::open) {
            ExpectPartialCopy({.row = row,
                               .length = CopiedBefore(first, row),
                               .failing = operation.path,
                               .error = first.error,
                               .readOnly = false});
        } else {
            if (isPart) {
                ExpectNoSource(row, first.error);
            } else {
                ExpectNoTarget(row, first.error);
            }
            m_bench.Rows()[row].staysWritable = copiesBefore;  // an earlier copy is writable by then
        }
    }

    void ExpectNoAttributes(const FailurePoint& first, std::size_t row)
    {
        if (ChangeAt(first) == 1) {
            // The attribute of an earlier copy has been cleared by path before it is cleared by handle.
            m_bench.Rows()[row].staysWritable = first.Before(FileCall::setAttributes) > 0;
            if (m_bench.Rows()[row].pending) {
                ExpectNoSource(row, first.error);
            } else {
                ExpectMissingLine(row + 1);
            }
        } else {
            // The attribute is set by the time the copy is closed.
            m_bench.Rows()[row].staysWritable = first.Operation().call != FileCall::close;
        }
    }
};

TEST_F(LastingFaultTest, ShareGone)
{
    RecordProperty("kind", "all file operations of a run from each of them on: share gone");
    const Lasting lasting{
        .error = ERROR_NETNAME_DELETED,
        .hits = [](const FileOperation&) { return true; },
        .expect = [this](const FailurePoint& first, bool before) { ExpectNoShare(first, before); }};
    Sweep(lasting, EveryFault() ? 1 : 29);
}

TEST_F(LastingFaultTest, ShareGoneWithinARecord)
{
    RecordProperty("kind", "all file operations of a run from half a record on: share gone");
    for (const bool copyOnly : {true, false}) {
        m_bench.m_copyOnly = copyOnly;
        SweepRecords(ERROR_NETNAME_DELETED);
    }
}

TEST_F(LastingFaultTest, DiskFull)
{
    RecordProperty("kind", "all writing in a run from each block and line on: disk full");
    const Lasting lasting{
        .error = ERROR_DISK_FULL, .hits = IsWrite, .expect = [this](const FailurePoint& first, bool before) {
            ExpectFullDisk(first, before);
        }};
    Sweep(lasting, EveryFault() ? 1 : 13);
}

}  // namespace
