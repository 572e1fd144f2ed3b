#include "framework/File.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>
#include <utility>

#include "framework/Language.h"
#include "framework/MessageText.h"

namespace {

using Cause = CFileException::Cause;

constexpr std::size_t kMaxMessageLength = 1024;
constexpr DWORD kErrorDiskQuotaExceeded = 1295;  // not in the toolchain's headers

struct ErrorCause
{
    DWORD osError;
    Cause cause;
};

constexpr ErrorCause kErrorCauses[] = {
    {ERROR_SUCCESS, Cause::none},
    {ERROR_FILE_NOT_FOUND, Cause::fileNotFound},
    {ERROR_PATH_NOT_FOUND, Cause::badPath},
    {ERROR_INVALID_DRIVE, Cause::badPath},
    {ERROR_INVALID_NAME, Cause::badPath},
    {ERROR_BAD_PATHNAME, Cause::badPath},
    {ERROR_DIRECTORY, Cause::badPath},
    {ERROR_FILENAME_EXCED_RANGE, Cause::badPath},
    {ERROR_BAD_NETPATH, Cause::badPath},
    {ERROR_BAD_NET_NAME, Cause::badPath},
    {ERROR_TOO_MANY_OPEN_FILES, Cause::tooManyOpenFiles},
    {ERROR_ACCESS_DENIED, Cause::accessDenied},
    {ERROR_NETWORK_ACCESS_DENIED, Cause::accessDenied},
    {ERROR_WRITE_PROTECT, Cause::accessDenied},
    {ERROR_INVALID_HANDLE, Cause::invalidFile},
    {ERROR_CURRENT_DIRECTORY, Cause::removeCurrentDir},
    {ERROR_CANNOT_MAKE, Cause::directoryFull},
    {ERROR_SEEK, Cause::badSeek},
    {ERROR_SEEK_ON_DEVICE, Cause::badSeek},
    {ERROR_NEGATIVE_SEEK, Cause::badSeek},
    {ERROR_NOT_READY, Cause::hardIO},
    {ERROR_CRC, Cause::hardIO},
    {ERROR_BAD_UNIT, Cause::hardIO},
    {ERROR_SECTOR_NOT_FOUND, Cause::hardIO},
    {ERROR_READ_FAULT, Cause::hardIO},
    {ERROR_WRITE_FAULT, Cause::hardIO},
    {ERROR_GEN_FAILURE, Cause::hardIO},
    {ERROR_WRONG_DISK, Cause::hardIO},
    {ERROR_IO_DEVICE, Cause::hardIO},
    {ERROR_DEVICE_NOT_CONNECTED, Cause::hardIO},
    {ERROR_REM_NOT_LIST, Cause::hardIO},
    {ERROR_NETWORK_BUSY, Cause::hardIO},
    {ERROR_DEV_NOT_EXIST, Cause::hardIO},
    {ERROR_BAD_NET_RESP, Cause::hardIO},
    {ERROR_UNEXP_NET_ERR, Cause::hardIO},
    {ERROR_NETNAME_DELETED, Cause::hardIO},
    {ERROR_SEM_TIMEOUT, Cause::hardIO},
    {ERROR_NO_NETWORK, Cause::hardIO},
    {ERROR_NETWORK_UNREACHABLE, Cause::hardIO},
    {ERROR_HOST_UNREACHABLE, Cause::hardIO},
    {ERROR_CONNECTION_ABORTED, Cause::hardIO},
    {ERROR_SHARING_VIOLATION, Cause::sharingViolation},
    {ERROR_SHARING_BUFFER_EXCEEDED, Cause::sharingViolation},
    {ERROR_LOCK_VIOLATION, Cause::lockViolation},
    {ERROR_LOCKED, Cause::lockViolation},
    {ERROR_DISK_FULL, Cause::diskFull},
    {ERROR_HANDLE_DISK_FULL, Cause::diskFull},
    {kErrorDiskQuotaExceeded, Cause::diskFull},
    {ERROR_HANDLE_EOF, Cause::endOfFile},
};

struct CauseText
{
    Cause cause;
    Text text;  // %1: the file, %2: the number of the Windows error
};

// Without full stops: the messages that quote these texts add their own.
constexpr CauseText kCauseTexts[] = {
    {Cause::none, {L"Es liegt kein Fehler vor", L"There is no error"}},
    {Cause::generic,
     {L"Beim Zugriff auf \"%1\" trat ein unbekannter Fehler auf (Windows-Fehler %2)",
      L"An unknown error occurred while accessing \"%1\" (Windows error %2)"}},
    {Cause::fileNotFound, {L"Die Datei \"%1\" ist nicht vorhanden", L"The file \"%1\" does not exist"}},
    {Cause::badPath,
     {L"Der Pfad \"%1\" ist ungültig oder nicht vorhanden", L"The path \"%1\" is invalid or does not exist"}},
    {Cause::tooManyOpenFiles, {L"Es sind zu viele Dateien geöffnet", L"Too many files are open"}},
    {Cause::accessDenied, {L"Der Zugriff auf \"%1\" wurde verweigert", L"Access to \"%1\" was denied"}},
    {Cause::invalidFile,
     {L"Die Datei \"%1\" ist nicht oder nicht mehr geöffnet",
      L"The file \"%1\" is not open or no longer open"}},
    {Cause::removeCurrentDir,
     {L"Der Arbeitsordner \"%1\" kann nicht entfernt werden",
      L"The working folder \"%1\" cannot be removed"}},
    {Cause::directoryFull,
     {L"Im Ordner von \"%1\" ist kein Platz für weitere Einträge",
      L"The folder of \"%1\" has no room for more entries"}},
    {Cause::badSeek,
     {L"In der Datei \"%1\" wurde eine ungültige Stelle angesprochen",
      L"An invalid position in the file \"%1\" was requested"}},
    {Cause::hardIO,
     {L"Das Laufwerk oder Gerät von \"%1\" meldet einen Fehler",
      L"The drive or device of \"%1\" reports an error"}},
    {Cause::sharingViolation,
     {L"Die Datei \"%1\" ist von einem anderen Programm geöffnet",
      L"The file \"%1\" is open in another program"}},
    {Cause::lockViolation,
     {L"Ein Bereich der Datei \"%1\" ist von einem anderen Programm gesperrt",
      L"A region of the file \"%1\" is locked by another program"}},
    {Cause::diskFull,
     {L"Für die Datei \"%1\" ist kein Speicherplatz mehr frei",
      L"There is no space left for the file \"%1\""}},
    {Cause::endOfFile,
     {L"Das Ende der Datei \"%1\" wurde überschritten", L"Reading went past the end of the file \"%1\""}},
};

const Text& TextFor(Cause cause)
{
    return std::ranges::find(kCauseTexts, cause, &CauseText::cause)->text;
}

[[noreturn]] void ThrowLastError(const std::wstring& fileName)
{
    const DWORD osError = ::GetLastError();
    throw CFileException(osError, fileName);
}

// Before Windows 11, a name such as NUL.txt is a device in every folder ("Naming Files, Paths, and
// Namespaces"). Data written to NUL is lost without an error.
bool BecomesDevice(const std::wstring& path)
{
    constexpr std::wstring_view kDevice = L"\\\\.\\";
    std::array<wchar_t, 16> full{};  // fits every device path; a longer path is no device
    const DWORD length =
        ::GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    return length < full.size() && std::wstring_view(full.data()).starts_with(kDevice) &&
           !path.starts_with(kDevice);
}

DWORD DispositionOf(UINT flags)
{
    if ((flags & CFile::modeCreateNew) != 0) {
        return CREATE_NEW;
    }
    return (flags & CFile::modeCreate) != 0 ? CREATE_ALWAYS : OPEN_EXISTING;
}

}  // namespace

CFileException::CFileException(DWORD osError, std::wstring fileName)
    : m_cause(CauseOf(osError)), m_osError(osError), m_fileName(std::move(fileName))
{
}

CFileException::Cause CFileException::CauseOf(DWORD osError)
{
    const auto* entry = std::ranges::find(kErrorCauses, osError, &ErrorCause::osError);
    return entry != std::end(kErrorCauses) ? entry->cause : Cause::generic;
}

std::wstring CFileException::GetErrorMessage() const
{
    std::wstring message =
        FillPlaceholders(TextFor(m_cause).Current(), {m_fileName, std::to_wstring(m_osError)});
    if (message.size() > kMaxMessageLength) {
        message.resize(kMaxMessageLength);
    }
    return message;
}

bool CFile::Open(const std::wstring& path, UINT flags, CFileException* error)
{
    const DWORD access =
        ((flags & modeRead) != 0 ? GENERIC_READ : 0U) | ((flags & modeWrite) != 0 ? GENERIC_WRITE : 0U);
    // Without delete sharing, opening fails while another program has the file open to rename or delete it,
    // as file synchronisation and virus scanners do ("CreateFileW function").
    const DWORD share =
        (flags & shareDenyNone) != 0 ? FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE : 0U;

    m_file.reset();
    m_path = path;
    const bool becomesDevice = BecomesDevice(path);
    if (!becomesDevice) {
        m_file.reset(ValidHandle(::CreateFileW(path.c_str(), access, share, nullptr, DispositionOf(flags),
                                               FILE_ATTRIBUTE_NORMAL, nullptr)));
    }
    if (m_file) {
        return true;
    }
    const DWORD osError = becomesDevice ? ERROR_BAD_PATHNAME : ::GetLastError();
    if (error != nullptr) {
        *error = CFileException(osError, path);
    }
    return false;
}

UINT CFile::Read(void* buffer, UINT count)
{
    DWORD done = 0;
    if (!::ReadFile(m_file.get(), buffer, count, &done, nullptr)) {
        ThrowLastError(m_path);
    }
    return done;
}

void CFile::Write(const void* buffer, UINT count)
{
    DWORD done = 0;
    if (!::WriteFile(m_file.get(), buffer, count, &done, nullptr)) {
        ThrowLastError(m_path);
    }
    if (done != count) {
        throw CFileException(ERROR_DISK_FULL, m_path);
    }
}

void CFile::Close()
{
    if (m_file && !::CloseHandle(m_file.release())) {
        ThrowLastError(m_path);
    }
}

bool CFile::Flush()
{
    if (!m_file || ::FlushFileBuffers(m_file.get())) {
        return true;
    }
    switch (::GetLastError()) {
        case ERROR_INVALID_FUNCTION:
        case ERROR_NOT_SUPPORTED:
        case ERROR_CALL_NOT_IMPLEMENTED:
            return true;
        default:
            return false;
    }
}

bool CFile::GetStatus(const std::wstring& path, CFileStatus& status)
{
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (BecomesDevice(path) || !::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) {
        return false;
    }
    status.attributes = data.dwFileAttributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_NORMAL);
    status.lastWriteTime = data.ftLastWriteTime;
    return true;
}

void CFile::SetStatus(const std::wstring& path, const CFileStatus& status)
{
    // The read-only attribute is cleared first: some network file systems refuse to change the times of a
    // read-only file (undocumented; "SetFileTime function" does not mention it).
    const DWORD present = ::GetFileAttributesW(path.c_str());
    if (present != INVALID_FILE_ATTRIBUTES && (present & FILE_ATTRIBUTE_READONLY) != 0) {
        ::SetFileAttributesW(path.c_str(), present & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    }
    const UniqueHandle file(ValidHandle(::CreateFileW(
        path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr)));
    if (!file) {
        ThrowLastError(path);
    }
    FILE_BASIC_INFO info = {};  // a 0 leaves the time as it is ("FILE_BASIC_INFORMATION structure")
    info.LastWriteTime.LowPart = status.lastWriteTime.dwLowDateTime;
    info.LastWriteTime.HighPart = static_cast<LONG>(status.lastWriteTime.dwHighDateTime);
    info.FileAttributes = status.attributes != 0 ? status.attributes : FILE_ATTRIBUTE_NORMAL;
    if (!::SetFileInformationByHandle(file.get(), FileBasicInfo, &info, sizeof info)) {
        ThrowLastError(path);
    }
}

bool CFile::Truncate(const std::wstring& path, std::uint64_t length)
{
    CFile file;
    LARGE_INTEGER size{};
    if (!file.Open(path, modeWrite | shareDenyNone, nullptr) || !::GetFileSizeEx(file.m_file.get(), &size)) {
        return false;
    }
    FILE_END_OF_FILE_INFO end{};
    end.EndOfFile.QuadPart = static_cast<LONGLONG>(length);
    if (size.QuadPart <= end.EndOfFile.QuadPart) {
        return size.QuadPart == end.EndOfFile.QuadPart;  // never extend the file
    }
    return ::SetFileInformationByHandle(file.m_file.get(), FileEndOfFileInfo, &end, sizeof end) != FALSE;
}
