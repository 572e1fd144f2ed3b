#pragma once

#include <windows.h>

#include <cstddef>
#include <string>

#include "tests/support/FileInterceptor.h"

// The operation that fails.
enum class FailingOperation
{
    reading,            // from a certain byte on
    writing,            // from a certain byte on
    openingForChanges,  // opening the file to change its attributes
    changes,            // changing the attributes of the open file
    flushing,           // flushing the file to disk
    replacing           // moving another file to the path
};

// While it exists, one kind of operation on one file fails in this process, as on a damaged disk, on a
// network path or without permission. Tests cannot set these up on every machine.
class CFailingFile : public CFileInterceptor
{
public:
    // firstByte: reading or writing fails from this byte on.
    CFailingFile(std::wstring path, FailingOperation failing, DWORD error, std::size_t firstByte = 0);

    // The number of failed operations.
    [[nodiscard]] int Count() const { return m_count; }

    DWORD ErrorFor(const FileOperation& operation) override;

private:
    [[nodiscard]] bool MustFail(const FileOperation& operation) const;

    const std::wstring m_path;
    const FailingOperation m_failing;
    const DWORD m_error;
    const LONGLONG m_firstByte;
    int m_count = 0;
};
