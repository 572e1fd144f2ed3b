#include "tests/faults/OperationFaults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <utility>

#include "tests/faults/CopyFailures.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/TestLibrary.h"
#include "tests/support/TextFile.h"

namespace {

constexpr std::array kCallNames{
    "open",     "read",  "write",   "close",      "readStatus", "readAttributes", "setAttributes", "change",
    "readSize", "flush", "replace", "makeFolder", "openStream", "writeStream",    "closeStream"};
static_assert(kCallNames.size() == static_cast<std::size_t>(FileCall::closeStream) + 1);

std::wstring WithErrorText(std::wstring message, const std::wstring& sentence)
{
    return message.replace(message.find(L'*'), 1, sentence);
}

}  // namespace

std::string Describe(const FileOperation& operation)
{
    return std::string(kCallNames[static_cast<std::size_t>(operation.call)]) + " " +
           ToUtf8(operation.path.substr(operation.path.rfind(L'\\') + 1)) + " access " +
           std::to_string(operation.access) + " at " + std::to_string(operation.position);
}

// An error without an entry has no text of its own.
std::wstring ErrorText(DWORD error, const std::wstring& path)
{
    static const std::map<DWORD, expected::Message> texts = {
        {ERROR_ACCESS_DENIED, expected::AccessDenied},
        {ERROR_WRITE_PROTECT, expected::AccessDenied},
        {ERROR_FILE_NOT_FOUND, expected::FileMissing},
        {ERROR_PATH_NOT_FOUND, expected::BadPath},
        {ERROR_BAD_NETPATH, expected::BadPath},
        {ERROR_BAD_NET_NAME, expected::BadPath},
        {ERROR_SHARING_VIOLATION, expected::OpenElsewhere},
        {ERROR_LOCK_VIOLATION, expected::LockedElsewhere},
        {ERROR_DISK_FULL, expected::NoSpace},
        {ERROR_HANDLE_DISK_FULL, expected::NoSpace},
        {ERROR_NOT_READY, expected::DeviceError},
        {ERROR_CRC, expected::DeviceError},
        {ERROR_IO_DEVICE, expected::DeviceError},
        {ERROR_SEM_TIMEOUT, expected::DeviceError},
        {ERROR_UNEXP_NET_ERR, expected::DeviceError},
        {ERROR_NETNAME_DELETED, expected::DeviceError},
        {ERROR_DEVICE_NOT_CONNECTED, expected::DeviceError},
    };
    const auto found = texts.find(error);
    return found == texts.end() ? expected::UnknownFileError(path, std::to_wstring(error))
                                : found->second(path);
}

OperationFaults Failing(std::vector<std::size_t> numbers, DWORD error)
{
    return {.error = [numbers = std::move(numbers), error](std::size_t number, const FileOperation&) {
        return std::ranges::find(numbers, number) == numbers.end() ? ERROR_SUCCESS : error;
    }};
}

OperationFaults FailingAfter(WrittenPart part, std::vector<std::size_t> numbers, DWORD error)
{
    const std::size_t first = numbers.front();
    OperationFaults faults = Failing(std::move(numbers), error);
    if (part != nullptr) {
        faults.partial = first;
        faults.part = part;
    }
    return faults;
}

COperationRecorder::COperationRecorder(std::wstring folder, OperationFaults faults)
    : m_folder(std::move(folder) + L"\\"), m_faults(std::move(faults))
{
}

DWORD COperationRecorder::ErrorFor(const FileOperation& operation)
{
    if (!operation.path.starts_with(m_folder)) {
        return ERROR_SUCCESS;
    }
    m_operations.push_back(operation);
    return m_faults.error(m_operations.size() - 1, operation);
}

std::optional<DWORD> COperationRecorder::WrittenOf(const FileOperation& operation, DWORD count)
{
    if (!operation.path.starts_with(m_folder) || m_operations.size() != m_faults.partial) {
        return std::nullopt;
    }
    const DWORD written = m_faults.part(count);
    EXPECT_LT(written, count);
    ++m_partialWrites;
    return written;
}

std::size_t OperationFaultTest::FailurePoint::Before(FileCall call) const
{
    return static_cast<std::size_t>(std::count_if(
        run.begin(), run.begin() + static_cast<std::ptrdiff_t>(number), [&](const FileOperation& operation) {
            return operation.call == call && operation.path == Operation().path;
        }));
}

void OperationFaultTest::SetUp()
{
    if (!CFileInterceptor::SeesStreams()) {
        GTEST_SKIP() << kSeesNoStreams;
    }
}

void OperationFaultTest::ForEveryKindOfRun(const std::function<void(bool copiesBefore)>& sweep)
{
    for (const bool copyOnly : {true, false}) {
        for (const bool copiesBefore : {false, true}) {
            SCOPED_TRACE(std::string(copyOnly ? "copies only" : "with the server") +
                         (copiesBefore ? ", over earlier copies" : ""));
            m_bench.m_copyOnly = copyOnly;
            sweep(copiesBefore);
        }
    }
}

void OperationFaultTest::Prepare(bool copiesBefore)
{
    if (!copiesBefore) {
        m_bench.Reset();
        return;
    }
    if (!FileExists(m_bench.Copy(0))) {
        EXPECT_EQ("", m_bench.Run({}));
    }
    m_bench.MarkAll();
}

std::vector<FileOperation> OperationFaultTest::OperationsOfRun(const OperationFaults& faults)
{
    std::optional<COperationRecorder> recorder;
    recorder.emplace(m_library.Path(), faults);
    std::vector<FileOperation> operations;
    m_bench.m_afterRun = [&] {
        operations = recorder->Operations();
        recorder.reset();
    };
    EXPECT_EQ("", m_bench.Run({}));
    return operations;
}

void OperationFaultTest::Inject(const FailurePoint& failure, const OperationFaults& faults)
{
    std::optional<COperationRecorder> recorder;
    recorder.emplace(m_library.Path(), faults);
    RunAndRepeat({}, [&] {
        const std::vector<FileOperation> operations = recorder->Operations();
        EXPECT_EQ(recorder->PartialWrites(), faults.partial ? 1 : 0);
        recorder.reset();
        ASSERT_GT(operations.size(), failure.number);
        EXPECT_EQ(Describe(failure.Operation()), Describe(operations[failure.number]));
        for (const std::function<void()>& undo : std::exchange(m_undo, {})) {
            undo();
        }
    });
}

std::optional<std::size_t> OperationFaultTest::RowOf(const FileOperation& operation) const
{
    for (std::size_t row = 0; row < FourRows().size(); ++row) {
        if (operation.path == m_bench.Part(row) || operation.path == m_bench.Copy(row)) {
            return row;
        }
    }
    EXPECT_EQ(operation.path, m_bench.MapPath());
    return std::nullopt;
}

void OperationFaultTest::Expect(const FailurePoint& failure, bool copiesBefore)
{
    const std::optional<std::size_t> row = RowOf(failure.Operation());
    if (!row) {
        ExpectMapFileFailure(failure);
    } else if (failure.Operation().path == m_bench.Part(*row)) {
        ExpectPartFailure(failure, *row);
    } else {
        ExpectCopyFailure(failure, *row, copiesBefore);
    }
}

void OperationFaultTest::ExpectMapFileFailure(const FailurePoint& failure)
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

void OperationFaultTest::ExpectMissingLine(std::size_t line)
{
    if (line == 0) {
        m_bench.ExpectNoHeader();
    } else {
        m_bench.Rows().at(line - 1).recordFails = true;
    }
}

void OperationFaultTest::ExpectPartFailure(const FailurePoint& failure, std::size_t row)
{
    switch (failure.Operation().call) {
        case FileCall::open:
            ExpectNoSource(row, failure.error);
            return;
        case FileCall::read:
        case FileCall::close:
            ExpectPartialCopy({row, CopiedBefore(failure, row), failure.Operation().path, failure.error});
            return;
        default:
            FAIL() << "unexpected operation on a part";
    }
}

void OperationFaultTest::ExpectCopyFailure(const FailurePoint& failure, std::size_t row, bool copiesBefore)
{
    if (failure.Operation().access != GENERIC_WRITE) {
        ExpectAttributeFailure(failure, row, copiesBefore);
    } else if (failure.Operation().call == FileCall::open) {
        ExpectNoTarget(row, failure.error);
    } else {
        ExpectPartialCopy({row, CopiedBefore(failure, row), failure.Operation().path, failure.error});
    }
}

void OperationFaultTest::ExpectNoSource(std::size_t row, DWORD error)
{
    m_bench.Rows()[row].copyFailure =
        WithErrorText(SourceFailure(m_bench, row), ErrorText(error, m_bench.Part(row)));
}

void OperationFaultTest::ExpectNoTarget(std::size_t row, DWORD error)
{
    m_bench.Rows()[row].copyFailure =
        WithErrorText(TargetFailure(m_bench, row), ErrorText(error, m_bench.Copy(row)));
}

std::size_t OperationFaultTest::CopiedBefore(const FailurePoint& failure, std::size_t row) const
{
    return failure.Operation().call == FileCall::close
               ? ReadBytes(m_bench.Part(row)).size()
               : static_cast<std::size_t>(failure.Operation().position);
}

void OperationFaultTest::ExpectPartialCopy(const PartialCopy& partial)
{
    const std::wstring part = m_bench.Part(partial.row);
    const std::wstring copy = m_bench.Copy(partial.row);
    m_bench.Rows()[partial.row].copyFailure =
        WithErrorText(CopyingFailure(m_bench, partial.row), ErrorText(partial.error, partial.failing));
    const bool existedBefore = FileExists(copy);
    const std::string before = existedBefore ? ReadBytes(copy) : "";
    m_undo.emplace_back([=] {
        EXPECT_EQ(partial.length, RemovePartialCopy(part, copy, partial.readOnly));
        if (existedBefore) {
            WriteBytes(copy, before);
            MakeReadOnly(copy);
        }
    });
}

std::size_t OperationFaultTest::ChangeAt(const FailurePoint& failure)
{
    return failure.Before(FileCall::readStatus) +
           (failure.Operation().call == FileCall::readStatus ? 1U : 0U);
}

// A failure to change attributes is reported only if it keeps an earlier copy from being overwritten.
void OperationFaultTest::ExpectAttributeFailure(const FailurePoint& failure, std::size_t row,
                                                bool copiesBefore)
{
    const bool exists = copiesBefore || !m_bench.Rows()[row].pending;
    const FileCall call = failure.Operation().call;
    if (ChangeAt(failure) == 1) {
        // The read-only attribute is cleared twice, by path and by handle; either is enough.
        if (call == FileCall::readStatus && exists && m_bench.Rows()[row].pending) {
            ExpectNoTarget(row, ERROR_ACCESS_DENIED);
        }
        return;
    }
    ASSERT_EQ(2U, ChangeAt(failure));
    ASSERT_NE(FileCall::setAttributes, call);
    m_bench.Rows()[row].staysWritable =
        call == FileCall::readStatus || call == FileCall::open || call == FileCall::change;
}
