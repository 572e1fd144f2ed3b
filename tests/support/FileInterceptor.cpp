#include "tests/support/FileInterceptor.h"

#include <direct.h>
#include <io.h>
#include <cerrno>
#include <cstdio>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "tests/support/ImportTable.h"

namespace {

struct OpenFile
{
    std::wstring path;
    DWORD access;
};

CFileInterceptor* g_interceptor = nullptr;
std::map<HANDLE, OpenFile> g_files;
std::map<int, OpenFile> g_streams;  // key: file descriptor of the runtime library

decltype(&CreateFileW) g_createFile = nullptr;
decltype(&ReadFile) g_readFile = nullptr;
decltype(&WriteFile) g_writeFile = nullptr;
decltype(&CloseHandle) g_closeHandle = nullptr;
decltype(&GetFileAttributesExW) g_readAttributesEx = nullptr;
decltype(&GetFileAttributesW) g_readAttributes = nullptr;
decltype(&SetFileAttributesW) g_setAttributes = nullptr;
decltype(&SetFileInformationByHandle) g_setInformation = nullptr;
decltype(&GetFileSizeEx) g_readSize = nullptr;
decltype(&FlushFileBuffers) g_flush = nullptr;
decltype(&MoveFileExW) g_replace = nullptr;
decltype(&_wmkdir) g_makeFolder = nullptr;
decltype(&_wfopen) g_openStream = nullptr;
decltype(&_write) g_writeStream = nullptr;
decltype(&fclose) g_closeStream = nullptr;

// Returns whether the operation must fail. If so, sets the error codes of the system and of the runtime
// library.
bool Fails(const FileOperation& operation)
{
    const DWORD error = g_interceptor == nullptr ? ERROR_SUCCESS : g_interceptor->ErrorFor(operation);
    if (error == ERROR_SUCCESS) {
        return false;
    }
    SetLastError(error);
    // Like the runtime library.
    errno = error == ERROR_ACCESS_DENIED ? EACCES : error == ERROR_DISK_FULL ? ENOSPC : EINVAL;
    return true;
}

bool DeniesWriting(const wchar_t* path, DWORD access)
{
    const bool denies = g_interceptor != nullptr && (access & GENERIC_WRITE) != 0 &&
                        (g_readAttributes(path) & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY)) ==
                            FILE_ATTRIBUTE_READONLY;
    if (denies) {
        SetLastError(ERROR_ACCESS_DENIED);
        errno = EACCES;
    }
    return denies;
}

// Like Fails, for an open file. Files that were opened while no interceptor existed never fail.
template <class Key>
bool FailsOpen(const std::map<Key, OpenFile>& files, Key key, FileCall call, LONGLONG position = 0)
{
    const auto found = files.find(key);
    return found != files.end() && Fails({call, found->second.path, found->second.access, position});
}

LONGLONG PositionIn(HANDLE file)
{
    LARGE_INTEGER position{};
    return g_files.contains(file) && SetFilePointerEx(file, {}, &position, FILE_CURRENT) != FALSE
               ? position.QuadPart
               : 0;
}

HANDLE WINAPI Open(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD disposition,
                   DWORD flags, HANDLE fileTemplate)
{
    if (Fails({FileCall::open, path, access}) || DeniesWriting(path, access)) {
        return INVALID_HANDLE_VALUE;
    }
    const HANDLE file = g_createFile(path, access, share, security, disposition, flags, fileTemplate);
    if (g_interceptor != nullptr && file != INVALID_HANDLE_VALUE) {
        g_files[file] = {path, access};
    }
    return file;
}

BOOL WINAPI Read(HANDLE file, LPVOID buffer, DWORD count, LPDWORD done, LPOVERLAPPED overlapped)
{
    return FailsOpen(g_files, file, FileCall::read, PositionIn(file))
               ? FALSE
               : g_readFile(file, buffer, count, done, overlapped);
}

// How many of the bytes an operation writes, if not all.
template <class Key>
std::optional<DWORD> WrittenOf(const std::map<Key, OpenFile>& files, Key key, FileCall call, DWORD count,
                               LONGLONG position = 0)
{
    const auto found = files.find(key);
    return found == files.end() || g_interceptor == nullptr
               ? std::nullopt
               : g_interceptor->WrittenOf({call, found->second.path, found->second.access, position}, count);
}

BOOL WINAPI Write(HANDLE file, LPCVOID buffer, DWORD count, LPDWORD done, LPOVERLAPPED overlapped)
{
    const LONGLONG position = PositionIn(file);
    const std::optional<DWORD> part = WrittenOf(g_files, file, FileCall::write, count, position);
    const BOOL written = part ? g_writeFile(file, buffer, *part, done, overlapped) : TRUE;
    if (FailsOpen(g_files, file, FileCall::write, position)) {
        return FALSE;
    }
    return part ? written : g_writeFile(file, buffer, count, done, overlapped);
}

BOOL WINAPI Close(HANDLE file)
{
    if (!g_files.contains(file)) {
        return g_closeHandle(file);
    }
    const OpenFile closed = g_files.extract(file).mapped();
    const BOOL done = g_closeHandle(file);
    return Fails({FileCall::close, closed.path, closed.access}) ? FALSE : done;
}

BOOL WINAPI ReadStatus(LPCWSTR path, GET_FILEEX_INFO_LEVELS level, LPVOID status)
{
    return Fails({FileCall::readStatus, path}) ? FALSE : g_readAttributesEx(path, level, status);
}

DWORD WINAPI ReadAttributes(LPCWSTR path)
{
    return Fails({FileCall::readAttributes, path}) ? INVALID_FILE_ATTRIBUTES : g_readAttributes(path);
}

BOOL WINAPI SetAttributes(LPCWSTR path, DWORD attributes)
{
    return Fails({FileCall::setAttributes, path}) ? FALSE : g_setAttributes(path, attributes);
}

BOOL WINAPI Change(HANDLE file, FILE_INFO_BY_HANDLE_CLASS kind, LPVOID information, DWORD size)
{
    return FailsOpen(g_files, file, FileCall::change) ? FALSE
                                                      : g_setInformation(file, kind, information, size);
}

BOOL WINAPI ReadSize(HANDLE file, PLARGE_INTEGER size)
{
    return FailsOpen(g_files, file, FileCall::readSize) ? FALSE : g_readSize(file, size);
}

BOOL WINAPI Flush(HANDLE file)
{
    return FailsOpen(g_files, file, FileCall::flush) ? FALSE : g_flush(file);
}

BOOL WINAPI ReplaceExisting(LPCWSTR from, LPCWSTR to, DWORD flags)
{
    return Fails({FileCall::replace, to}) ? FALSE : g_replace(from, to, flags);
}

int MakeFolder(const wchar_t* path)
{
    return Fails({FileCall::makeFolder, path}) ? -1 : g_makeFolder(path);
}

DWORD AccessOf(std::wstring_view mode)
{
    if (mode.find(L'+') != std::wstring_view::npos) {
        return GENERIC_READ | GENERIC_WRITE;
    }
    return mode.starts_with(L'r') ? GENERIC_READ : GENERIC_WRITE;
}

FILE* OpenStream(const wchar_t* path, const wchar_t* mode)
{
    const DWORD access = AccessOf(mode);
    if (Fails({FileCall::openStream, path, access}) || DeniesWriting(path, access)) {
        return nullptr;
    }
    FILE* const stream = g_openStream(path, mode);
    if (g_interceptor != nullptr && stream != nullptr) {
        g_streams[_fileno(stream)] = {path, access};
    }
    return stream;
}

int WriteStream(int stream, const void* bytes, unsigned count)
{
    const std::optional<DWORD> part = WrittenOf(g_streams, stream, FileCall::writeStream, count);
    const int written = part ? g_writeStream(stream, bytes, *part) : 0;
    if (FailsOpen(g_streams, stream, FileCall::writeStream)) {
        return -1;
    }
    return part ? written : g_writeStream(stream, bytes, count);
}

int CloseStream(FILE* stream)
{
    const int number = _fileno(stream);
    if (!g_streams.contains(number)) {
        return g_closeStream(stream);
    }
    const OpenFile closed = g_streams.extract(number).mapped();
    const int result = g_closeStream(stream);
    return Fails({FileCall::closeStream, closed.path, closed.access}) ? EOF : result;
}

void RedirectSystem()
{
    RedirectImport("CreateFileW", &Open, &g_createFile);
    RedirectImport("ReadFile", &Read, &g_readFile);
    RedirectImport("WriteFile", &Write, &g_writeFile);
    RedirectImport("CloseHandle", &Close, &g_closeHandle);
    RedirectImport("GetFileAttributesExW", &ReadStatus, &g_readAttributesEx);
    RedirectImport("GetFileAttributesW", &ReadAttributes, &g_readAttributes);
    RedirectImport("SetFileAttributesW", &SetAttributes, &g_setAttributes);
    RedirectImport("SetFileInformationByHandle", &Change, &g_setInformation);
    RedirectImport("GetFileSizeEx", &ReadSize, &g_readSize);
    RedirectImport("FlushFileBuffers", &Flush, &g_flush);
    RedirectImport("MoveFileExW", &ReplaceExisting, &g_replace);
}

bool RedirectRuntime()
{
    RedirectImport("_wmkdir", &MakeFolder, &g_makeFolder);
    const bool opens = RedirectImport("_wfopen", &OpenStream, &g_openStream);
    const bool writes = RedirectImport("_write", &WriteStream, &g_writeStream);
    const bool closes = RedirectImport("fclose", &CloseStream, &g_closeStream);
    return opens && writes && closes;
}

// Redirects everything once. Returns whether the operations of streams are redirected.
bool RedirectAll()
{
    static const bool streams = [] {
        RedirectSystem();
        return RedirectRuntime();
    }();
    return streams;
}

}  // namespace

CFileInterceptor::CFileInterceptor()
{
    RedirectAll();
    g_interceptor = this;
}

CFileInterceptor::~CFileInterceptor()
{
    g_interceptor = nullptr;
    g_files.clear();
    g_streams.clear();
}

bool CFileInterceptor::SeesStreams()
{
    return RedirectAll();
}
