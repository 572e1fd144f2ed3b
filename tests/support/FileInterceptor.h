#pragma once

#include <windows.h>

#include <optional>
#include <string>

// File operations of the program, each a function of the system or the runtime library.
enum class FileCall
{
    open,
    read,
    write,
    close,
    readStatus,      // GetFileAttributesEx: attributes and times
    readAttributes,  // GetFileAttributes
    setAttributes,   // SetFileAttributes
    change,          // SetFileInformationByHandle: attributes and times, or the size
    readSize,        // GetFileSizeEx
    flush,           // FlushFileBuffers
    replace,         // MoveFileEx; the path is the new one
    makeFolder,
    openStream,  // of the runtime library
    writeStream,
    closeStream
};

struct FileOperation
{
    FileCall call = FileCall::open;
    std::wstring path;
    DWORD access = 0;       // with which the file is or was opened
    LONGLONG position = 0;  // byte at which it is read or written; 0 for streams

    bool operator==(const FileOperation&) const = default;
};

// While it exists, it intercepts the file operations of the code in this executable (not those within system
// libraries) and can make them fail. It also makes opening a read-only file for writing fail: Windows does
// that itself, but Wine allows it for root. Only one object may exist at a time.
class CFileInterceptor
{
public:
    CFileInterceptor();
    CFileInterceptor(const CFileInterceptor&) = delete;
    CFileInterceptor& operator=(const CFileInterceptor&) = delete;
    virtual ~CFileInterceptor();

    // Whether openStream, writeStream and closeStream are intercepted. They are not if the runtime library is
    // part of the executable: then the operations of its streams are seen as open, write and close.
    [[nodiscard]] static bool SeesStreams();

    // Returns the error code with which an operation must fail, or ERROR_SUCCESS. A file is closed even if
    // the operation that closes it must fail.
    virtual DWORD ErrorFor(const FileOperation& /*operation*/) { return ERROR_SUCCESS; }

    // Called before ErrorFor for an operation that writes `count` bytes (of a stream in text mode: before the
    // line ends are converted). Returns how many of them are written if not all, whether the operation then
    // fails or not. nullopt: all, or none if it fails.
    virtual std::optional<DWORD> WrittenOf(const FileOperation& /*operation*/, DWORD /*count*/)
    {
        return std::nullopt;
    }
};

// The reason for skipping a test that needs SeesStreams.
inline constexpr const char* kSeesNoStreams =
    "skipped: the runtime library is part of this program, so the operations of its streams cannot be "
    "intercepted";
