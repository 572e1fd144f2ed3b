#include "tests/faults/RefusedFile.h"

#include <utility>

CRefusedFile::CRefusedFile(std::wstring path, Refusal refusal, DWORD error, std::size_t firstByte)
    : m_path(std::move(path))
    , m_refusal(refusal)
    , m_error(error)
    , m_firstByte(static_cast<LONGLONG>(firstByte))
{
}

DWORD CRefusedFile::ErrorOf(const FileOperation& operation)
{
    if (operation.path != m_path || !Refuses(operation)) {
        return ERROR_SUCCESS;
    }
    ++m_count;
    return m_error;
}

bool CRefusedFile::Refuses(const FileOperation& operation) const
{
    switch (m_refusal) {
        case Refusal::reading:
            return operation.call == FileCall::read && operation.place >= m_firstByte;
        case Refusal::writing:
            return operation.call == FileCall::write && operation.place >= m_firstByte;
        case Refusal::openingForChanges:
            return operation.call == FileCall::setAttributes ||
                   (operation.call == FileCall::open && (operation.access & FILE_WRITE_ATTRIBUTES) != 0);
        case Refusal::changes:
            return operation.call == FileCall::setAttributes || operation.call == FileCall::change;
        case Refusal::flushing:
            return operation.call == FileCall::flush;
    }
    return false;
}
