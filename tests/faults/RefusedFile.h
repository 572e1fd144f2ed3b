#pragma once

#include <windows.h>

#include <cstddef>
#include <string>

// What the system can be had to refuse.
enum class Refusal
{
    reading,            // from a certain byte on
    openingForChanges,  // the file cannot be opened to change its attributes
    changes             // it can, but they cannot be changed
};

// As long as it lives, the system refuses to do something with one file, in this process: as it does on a
// damaged disk, behind a network path or for want of a right, none of which a test can have everywhere. There
// is one at a time.
class CRefusedFile
{
public:
    // `firstByte`: of those that cannot be read.
    CRefusedFile(std::wstring path, Refusal refusal, DWORD error, std::size_t firstByte = 0);
    CRefusedFile(const CRefusedFile&) = delete;
    CRefusedFile& operator=(const CRefusedFile&) = delete;
    ~CRefusedFile();

    // How often it was refused.
    [[nodiscard]] int Count() const { return m_count; }

    // Whether the call is to fail; the error code is set then.
    static bool RefusesReading(HANDLE file);
    static bool RefusesOpening(const wchar_t* path, DWORD access);
    static bool RefusesAttributes(const wchar_t* path);
    static bool RefusesChange(HANDLE file);

private:
    bool Refuse(bool meant, DWORD error);
    [[nodiscard]] bool IsFile(HANDLE file) const;

    inline static CRefusedFile* s_current = nullptr;

    const std::wstring m_path;
    const Refusal m_refusal;
    const DWORD m_error;
    const std::size_t m_firstByte;
    int m_count = 0;
};
