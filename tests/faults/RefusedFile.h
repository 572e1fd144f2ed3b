#pragma once

#include <windows.h>

#include <cstddef>
#include <string>

#include "tests/faults/FileWatch.h"

// What the system can be had to refuse.
enum class Refusal
{
    reading,            // from a certain byte on
    writing,            // from a certain byte on
    openingForChanges,  // the file cannot be opened to change its attributes
    changes,            // it can, but they cannot be changed
    flushing            // what was written cannot be brought to the disk
};

// As long as it lives, the system refuses to do something with one file, in this process: as it does on a
// damaged disk, behind a network path or for want of a right, none of which a test can have everywhere.
class CRefusedFile : public CFileWatch
{
public:
    // `firstByte`: of those that cannot be read or written.
    CRefusedFile(std::wstring path, Refusal refusal, DWORD error, std::size_t firstByte = 0);

    // How often it was refused.
    [[nodiscard]] int Count() const { return m_count; }

    DWORD ErrorOf(const FileOperation& operation) override;

private:
    [[nodiscard]] bool Refuses(const FileOperation& operation) const;

    const std::wstring m_path;
    const Refusal m_refusal;
    const DWORD m_error;
    const LONGLONG m_firstByte;
    int m_count = 0;
};
