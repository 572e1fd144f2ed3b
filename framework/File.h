#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

#include "framework/Exception.h"
#include "framework/Handles.h"

// Why a file operation failed.
class CFileException : public CException
{
public:
    enum class Cause
    {
        none,
        generic,
        fileNotFound,
        badPath,
        tooManyOpenFiles,
        accessDenied,
        invalidFile,
        removeCurrentDir,
        directoryFull,
        badSeek,
        hardIO,
        sharingViolation,
        lockViolation,
        diskFull,
        endOfFile
    };

    CFileException() = default;

    // The failure that a Windows error code (GetLastError) of an operation on fileName stands for.
    CFileException(DWORD osError, std::wstring fileName);

    // The class of failure of a Windows error code; a code that is not known is Cause::generic.
    [[nodiscard]] static Cause CauseOf(DWORD osError);

    // One sentence that names the class of failure and, where that helps, the file; at most 1024 characters,
    // the rest is cut off. A cause that is not known is followed by the number of the Windows error.
    [[nodiscard]] std::wstring GetErrorMessage() const override;

    Cause m_cause = Cause::none;
    DWORD m_lOsError = ERROR_SUCCESS;
    std::wstring m_strFileName;
};

// What the file system tells about a file.
struct CFileStatus
{
    DWORD attributes = 0;             // FILE_ATTRIBUTE_*; 0: none is set
    FILETIME lastWriteTime = {0, 0};  // UTC
};

// A file that is open for unbuffered reading or writing of bytes from its beginning on.
class CFile
{
public:
    enum OpenFlags : UINT
    {
        modeRead = 0x01,
        modeWrite = 0x02,
        modeCreate = 0x04,      // make the file, or truncate the one that is there
        shareDenyNone = 0x08,   // others may read and write meanwhile
        shareExclusive = 0x10,  // others may do neither
        typeBinary = 0x20       // bytes pass unchanged; there is no other way, the flag only says so
    };

    // Opens the file (CreateFileW) in place of the one that is open now. False on failure; *error then tells
    // why, when error is not null. A name that means a device, such as NUL.txt, is a failure too.
    [[nodiscard]] bool Open(const std::wstring& path, UINT flags, CFileException* error);

    // Reads up to count bytes (ReadFile) and returns how many it read; 0 is the end of the file.
    // Throws CFileException.
    [[nodiscard]] UINT Read(void* buffer, UINT count);

    // Writes count bytes (WriteFile). Throws CFileException; Cause::diskFull when fewer bytes found room.
    void Write(const void* buffer, UINT count);

    // Closes the file when it is open. Throws CFileException when the system reports a failure at that late
    // point; the file is closed all the same. The destructor closes without a report.
    void Close();

    // When the file is open (for writing): has the system bring to the disk what it still holds of it,
    // whoever wrote that (FlushFileBuffers). False when it cannot; true when the file system, as some behind
    // a network path, has no such request: then nothing is known to be lost.
    [[nodiscard]] bool Flush();

    // Reads the status of a file or folder; false when there is none at the path, or a device.
    [[nodiscard]] static bool GetStatus(const std::wstring& path, CFileStatus& status);

    // Sets the attributes and the time of last modification, both or none. Throws CFileException.
    static void SetStatus(const std::wstring& path, const CFileStatus& status);

    // Takes away what a file holds behind its first `length` bytes. False when the system refuses, and when
    // the file is shorter; it stays as it is then.
    [[nodiscard]] static bool Truncate(const std::wstring& path, std::uint64_t length);

private:
    UniqueHandle m_file;
    std::wstring m_path;
};
