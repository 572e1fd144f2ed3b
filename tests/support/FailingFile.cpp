#include "tests/support/FailingFile.h"

#include <utility>

CFailingFile::CFailingFile(std::wstring path, FailingOperation failing, DWORD error, std::size_t firstByte)
    : m_path(std::move(path))
    , m_failing(failing)
    , m_error(error)
    , m_firstByte(static_cast<LONGLONG>(firstByte))
{
}

DWORD CFailingFile::ErrorFor(const FileOperation& operation)
{
    if (operation.path != m_path || !MustFail(operation)) {
        return ERROR_SUCCESS;
    }
    ++m_count;
    return m_error;
}

bool CFailingFile::MustFail(const FileOperation& operation) const
{
    switch (m_failing) {
        case FailingOperation::reading:
            return operation.call == FileCall::read && operation.position >= m_firstByte;
        case FailingOperation::writing:
            return operation.call == FileCall::write && operation.position >= m_firstByte;
        case FailingOperation::openingForChanges:
            return operation.call == FileCall::setAttributes ||
                   (operation.call == FileCall::open && (operation.access & FILE_WRITE_ATTRIBUTES) != 0);
        case FailingOperation::changes:
            return operation.call == FileCall::setAttributes || operation.call == FileCall::change;
        case FailingOperation::flushing:
            return operation.call == FileCall::flush;
        case FailingOperation::replacing:
            return operation.call == FileCall::replace;
    }
    return false;
}
