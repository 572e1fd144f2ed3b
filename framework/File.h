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

    // osError: the error code (GetLastError) of a failed operation on the file.
    CFileException(DWORD osError, std::wstring fileName);

    // Cause::generic for unknown codes.
    [[nodiscard]] static Cause CauseOf(DWORD osError);

    // A sentence about the cause, truncated to 1024 characters. For most causes, the sentence names the file;
    // for Cause::generic, it also gives the number of the Windows error.
    [[nodiscard]] std::wstring GetErrorMessage() const override;

    Cause m_cause = Cause::none;
    DWORD m_osError = ERROR_SUCCESS;
    std::wstring m_fileName;
};

struct CFileStatus
{
    DWORD attributes = 0;             // FILE_ATTRIBUTE_*; 0 for none
    FILETIME lastWriteTime = {0, 0};  // UTC
};

// A file that is read or written sequentially, byte for byte and without a buffer.
class CFile
{
public:
    enum OpenFlags : UINT
    {
        modeRead = 0x01,
        modeWrite = 0x02,
        modeCreate = 0x04,      // create the file, or truncate an existing one
        shareDenyNone = 0x08,   // others may read, write, rename and delete at the same time
        shareExclusive = 0x10,  // others may do none of these
        modeCreateNew = 0x20    // create the file; fail with ERROR_FILE_EXISTS if it exists
    };

    // Opens the file (CreateFileW) and closes the previous one. On failure returns false and sets *error
    // (unless null). Device names such as NUL.txt fail, too.
    [[nodiscard]] bool Open(const std::wstring& path, UINT flags, CFileException* error);

    // Reads up to count bytes (ReadFile). Returns the number of bytes read, 0 at the end of the file. Throws
    // CFileException.
    [[nodiscard]] UINT Read(void* buffer, UINT count);

    // Writes count bytes (WriteFile). Throws CFileException on failure, with Cause::diskFull when not all
    // bytes were written.
    void Write(const void* buffer, UINT count);

    // Closes the file, if open. Throws CFileException when the system reports an error; the object then
    // counts as closed. The destructor does not report errors.
    void Close();

    // Flushes the file's cached writes to disk, including writes through other handles (FlushFileBuffers).
    // Returns false on failure, also for a file opened without modeWrite. Returns true when the file is
    // closed, and on file systems without this operation, such as some network drives.
    [[nodiscard]] bool Flush();

    // Reads the status of a file or folder. Returns false when the path does not exist or is a device.
    [[nodiscard]] static bool GetStatus(const std::wstring& path, CFileStatus& status);

    // Sets both the attributes and the time of the last write, in one call. Throws CFileException.
    static void SetStatus(const std::wstring& path, const CFileStatus& status);

    // Truncates the file to `length` bytes. Returns false, with the file unchanged, when the system refuses
    // or the file is shorter.
    [[nodiscard]] static bool Truncate(const std::wstring& path, std::uint64_t length);

private:
    UniqueHandle m_file;
    std::wstring m_path;
};
