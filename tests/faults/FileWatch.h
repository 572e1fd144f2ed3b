#pragma once

#include <windows.h>

#include <string>

// What a program asks of the system about files.
enum class FileCall
{
    open,
    read,
    write,
    close,
    readStatus,      // attributes and times
    readAttributes,  // alone
    setAttributes,   // by the path
    change,          // of what is open: attributes and times, or the size
    readSize,        // of what is open
    flush,           // to the disk
    makeFolder,
    openStream,  // the runtime library's
    writeStream,
    closeStream
};

struct FileOperation
{
    FileCall call = FileCall::open;
    std::wstring path;
    DWORD access = 0;    // that the file is opened for, or was
    LONGLONG place = 0;  // where it is read or written, in bytes; of streams always 0

    bool operator==(const FileOperation&) const = default;
};

// As long as it lives, it is asked about each file operation of this process that the program's own code
// makes (not those that the system's libraries make among themselves), and may have it fail. Meanwhile a
// read-only file cannot be opened for writing: Windows sees to that itself; Wine lets root write. There is
// one at a time.
class CFileWatch
{
public:
    CFileWatch();
    CFileWatch(const CFileWatch&) = delete;
    CFileWatch& operator=(const CFileWatch&) = delete;
    virtual ~CFileWatch();

    // The error code with which an operation is to fail, or ERROR_SUCCESS to let it pass. One that closes a
    // file closes it all the same.
    virtual DWORD ErrorOf(const FileOperation& /*operation*/) { return ERROR_SUCCESS; }
};
