#include "tests/faults/RefusedFile.h"

#include <utility>

#include "framework/Handles.h"
#include "tests/acceptance/TestLibrary.h"
#include "tests/faults/ImportTable.h"

namespace {

decltype(&CreateFileW) g_createFile = nullptr;
decltype(&ReadFile) g_readFile = nullptr;
decltype(&SetFileAttributesW) g_setAttributes = nullptr;
decltype(&SetFileInformationByHandle) g_setInformation = nullptr;

HANDLE WINAPI CreateOrRefuse(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                             DWORD disposition, DWORD flags, HANDLE model)
{
    return CRefusedFile::RefusesOpening(path, access)
               ? INVALID_HANDLE_VALUE
               : g_createFile(path, access, share, security, disposition, flags, model);
}

BOOL WINAPI ReadOrRefuse(HANDLE file, LPVOID buffer, DWORD count, LPDWORD done, LPOVERLAPPED overlapped)
{
    return CRefusedFile::RefusesReading(file) ? FALSE : g_readFile(file, buffer, count, done, overlapped);
}

BOOL WINAPI SetAttributesOrRefuse(LPCWSTR path, DWORD attributes)
{
    return CRefusedFile::RefusesAttributes(path) ? FALSE : g_setAttributes(path, attributes);
}

BOOL WINAPI SetInformationOrRefuse(HANDLE file, FILE_INFO_BY_HANDLE_CLASS kind, LPVOID information,
                                   DWORD size)
{
    return CRefusedFile::RefusesChange(file) ? FALSE : g_setInformation(file, kind, information, size);
}

bool RedirectAll()
{
    RedirectImport("CreateFileW", &CreateOrRefuse, &g_createFile);
    RedirectImport("ReadFile", &ReadOrRefuse, &g_readFile);
    RedirectImport("SetFileAttributesW", &SetAttributesOrRefuse, &g_setAttributes);
    RedirectImport("SetFileInformationByHandle", &SetInformationOrRefuse, &g_setInformation);
    return true;
}

}  // namespace

CRefusedFile::CRefusedFile(std::wstring path, Refusal refusal, DWORD error, std::size_t firstByte)
    : m_path(std::move(path)), m_refusal(refusal), m_error(error), m_firstByte(firstByte)
{
    static const bool redirected = RedirectAll();
    static_cast<void>(redirected);
    s_current = this;
}

CRefusedFile::~CRefusedFile()
{
    s_current = nullptr;
}

bool CRefusedFile::RefusesReading(HANDLE file)
{
    return s_current != nullptr &&
           s_current->Refuse(s_current->m_refusal == Refusal::reading && s_current->IsFile(file) &&
                                 SetFilePointer(file, 0, nullptr, FILE_CURRENT) >= s_current->m_firstByte,
                             s_current->m_error);
}

// A file whose attributes stay read-only cannot be written either. Windows sees to that itself; Wine lets
// root write.
bool CRefusedFile::RefusesOpening(const wchar_t* path, DWORD access)
{
    if (s_current == nullptr || s_current->m_path != path || s_current->m_refusal == Refusal::reading) {
        return false;
    }
    if ((access & GENERIC_WRITE) != 0) {
        return s_current->Refuse(IsReadOnly(path), ERROR_ACCESS_DENIED);
    }
    return s_current->Refuse(
        s_current->m_refusal == Refusal::openingForChanges && (access & FILE_WRITE_ATTRIBUTES) != 0,
        s_current->m_error);
}

bool CRefusedFile::RefusesAttributes(const wchar_t* path)
{
    return s_current != nullptr &&
           s_current->Refuse(s_current->m_refusal != Refusal::reading && s_current->m_path == path,
                             s_current->m_error);
}

bool CRefusedFile::RefusesChange(HANDLE file)
{
    return s_current != nullptr &&
           s_current->Refuse(s_current->m_refusal == Refusal::changes && s_current->IsFile(file),
                             s_current->m_error);
}

bool CRefusedFile::Refuse(bool meant, DWORD error)
{
    if (meant) {
        ++m_count;
        SetLastError(error);
    }
    return meant;
}

bool CRefusedFile::IsFile(HANDLE file) const
{
    const UniqueHandle own(
        ValidHandle(g_createFile(m_path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                 nullptr, OPEN_EXISTING, 0, nullptr)));
    BY_HANDLE_FILE_INFORMATION one{};
    BY_HANDLE_FILE_INFORMATION other{};
    return own != nullptr && GetFileInformationByHandle(own.get(), &one) != FALSE &&
           GetFileInformationByHandle(file, &other) != FALSE &&
           one.dwVolumeSerialNumber == other.dwVolumeSerialNumber &&
           one.nFileIndexHigh == other.nFileIndexHigh && one.nFileIndexLow == other.nFileIndexLow;
}
