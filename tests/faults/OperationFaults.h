#pragma once

#include <windows.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/faults/FaultTest.h"
#include "tests/support/FileInterceptor.h"

// Faults of the file operations of a run.

// One line about the operation.
std::string Describe(const FileOperation& operation);

// The description of an error in a message about the file.
std::wstring ErrorText(DWORD error, const std::wstring& path);

// How many of `count` bytes are written: fewer than all.
using WrittenPart = DWORD (*)(DWORD count);

// What happens to the file operations of a run. They are numbered from 0.
struct OperationFaults
{
    // The error code with which an operation fails, or ERROR_SUCCESS.
    std::function<DWORD(std::size_t number, const FileOperation& operation)> error =
        [](std::size_t, const FileOperation&) { return ERROR_SUCCESS; };
    // The operation that writes only a part of its bytes, whether it then fails or not.
    std::optional<std::size_t> partial = {};
    WrittenPart part = nullptr;
};

// These operations fail.
OperationFaults Failing(std::vector<std::size_t> numbers, DWORD error);

// The same, but the first of these operations is a write and first writes a part of its bytes (null:
// nothing).
OperationFaults FailingAfter(WrittenPart part, std::vector<std::size_t> numbers, DWORD error);

// Records the operations on files below a folder, and injects faults.
class COperationRecorder : public CFileInterceptor
{
public:
    explicit COperationRecorder(std::wstring folder, OperationFaults faults = {});

    [[nodiscard]] const std::vector<FileOperation>& Operations() const { return m_operations; }
    // The number of writes of which only a part was written.
    [[nodiscard]] int PartialWrites() const { return m_partialWrites; }

    DWORD ErrorFor(const FileOperation& operation) override;
    std::optional<DWORD> WrittenOf(const FileOperation& operation, DWORD count) override;

private:
    const std::wstring m_folder;
    const OperationFaults m_faults;
    std::vector<FileOperation> m_operations;
    int m_partialWrites = 0;
};

// Tests in which file operations of runs fail. The operations of a run without faults are counted first; each
// fault is then placed at one of them.
class OperationFaultTest : public FaultTest
{
protected:
    // The operation that fails, or the first one that does.
    struct FailurePoint
    {
        const std::vector<FileOperation>& run;  // the operations without faults
        std::size_t number;
        DWORD error;

        [[nodiscard]] const FileOperation& Operation() const { return run[number]; }
        // The number of operations of this kind on the same file before this one.
        [[nodiscard]] std::size_t Before(FileCall call) const;
    };

    void SetUp() override;

    // Calls `sweep` for runs that only copy and for runs with the server, each with earlier copies and
    // without.
    void ForEveryKindOfRun(const std::function<void(bool copiesBefore)>& sweep);

    void Prepare(bool copiesBefore);

    // The operations of a run with these faults, which must end as the bench expects.
    std::vector<FileOperation> OperationsOfRun(const OperationFaults& faults = {});

    // Makes a run with these faults, and compares it with what has been expected. `failure` is the first one.
    void Inject(const FailurePoint& failure, const OperationFaults& faults);

    // Set what is expected after the failure of one operation.
    void Expect(const FailurePoint& failure, bool copiesBefore);
    // The map file has no such line. The header is line 0, the record of row n is line n + 1.
    void ExpectMissingLine(std::size_t line);
    void ExpectNoSource(std::size_t row, DWORD error);
    void ExpectNoTarget(std::size_t row, DWORD error);
    // The copy ends after this many bytes. An earlier copy is lost.
    struct PartialCopy
    {
        std::size_t row;
        std::size_t length;
        std::wstring failing;  // the file in the message
        DWORD error;
        bool readOnly = true;
    };
    void ExpectPartialCopy(const PartialCopy& partial);
    // The number of bytes in the copy before a failure to read, to write or to close.
    [[nodiscard]] std::size_t CopiedBefore(const FailurePoint& failure, std::size_t row) const;
    // The row to whose part or copy the operation belongs; none for the map file.
    [[nodiscard]] std::optional<std::size_t> RowOf(const FileOperation& operation) const;
    // To which change of attributes the operation belongs: 1 before copying, to clear the read-only attribute
    // of an existing copy; 2 after copying, to set the attribute.
    [[nodiscard]] static std::size_t ChangeAt(const FailurePoint& failure);

    CFaultBench& Bench() override { return m_bench; }

    CTempFolder m_library;
    CFaultBench m_bench{m_library.Path(), FourRows()};

private:
    void ExpectMapFileFailure(const FailurePoint& failure);
    void ExpectPartFailure(const FailurePoint& failure, std::size_t row);
    void ExpectCopyFailure(const FailurePoint& failure, std::size_t row, bool copiesBefore);
    void ExpectAttributeFailure(const FailurePoint& failure, std::size_t row, bool copiesBefore);

    std::vector<std::function<void()>> m_undo;  // called after the next run
};
