#include "tests/cadserver/Session.h"

#include <objbase.h>

#include <utility>

#include "tests/cadserver/Registration.h"
#include "tests/cadserver/TextFile.h"

namespace {

constexpr UINT kAnswerTime = 100;  // milliseconds in which the answer to the last call leaves the process
constexpr long kNoPartFile = 1;
constexpr long kNoSuchFile = 2;
constexpr long kReadOnly = 3;

std::wstring KeyOf(const std::wstring& path)
{
    return LowerCase(FullPath(path));
}

long LoadPart(OpenPart& part)
{
    const DWORD attributes = GetFileAttributesW(part.path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return kNoSuchFile;
    }
    if ((attributes & FILE_ATTRIBUTE_READONLY) != 0) {
        return kReadOnly;
    }
    return SUCCEEDED(ReadConfigurations(part.path, part.configurations)) ? 0 : kNoPartFile;
}

}  // namespace

CSession::CSession(int version, CScript script, CCallLog log)
    : m_version(version), m_script(std::move(script)), m_faults(m_script.Faults()), m_log(std::move(log))
{
}

OpenPartPointer CSession::OpenPartAt(const std::wstring& path, long& errorCode)
{
    const std::wstring key = KeyOf(path);
    if (const auto found = m_parts.find(key); found != m_parts.end()) {
        return found->second;
    }
    auto part = std::make_shared<OpenPart>();
    part->path = path;
    part->file = FileNameOf(path);
    if (const long failure = LoadPart(*part); failure != 0) {
        errorCode = failure;
        return nullptr;
    }
    m_parts[key] = part;
    return part;
}

bool CSession::ClosePartAt(const std::wstring& path)
{
    const auto found = m_parts.find(KeyOf(path));
    if (found == m_parts.end()) {
        return false;
    }
    found->second->open = false;
    m_parts.erase(found);
    return true;
}

std::wstring CSession::OpenNames() const
{
    std::wstring names;
    for (const auto& [key, part] : m_parts) {
        names += (names.empty() ? L"" : L"|") + part->file;
    }
    return names;
}

HRESULT CSession::RegisterClassObject(IUnknown& factory)
{
    DWORD registration = 0;
    const HRESULT result = CoRegisterClassObject(ClassOf(m_version), &factory, CLSCTX_LOCAL_SERVER,
                                                 REGCLS_MULTIPLEUSE, &registration);
    if (SUCCEEDED(result)) {
        m_registration = registration;
    }
    return result;
}

void CSession::Revoke()
{
    if (m_registration) {
        CoRevokeClassObject(*m_registration);
        m_registration.reset();
    }
}

void CSession::AddObject()
{
    m_used = true;
    CoAddRefServerProcess();
}

void CSession::RemoveObject()
{
    if (CoReleaseServerProcess() == 0) {
        RequestEnd(L"released");
    }
}

void CSession::RequestEnd(const std::wstring& reason)
{
    if (!m_endReason.empty()) {
        return;
    }
    m_endReason = reason;
    Revoke();
    SetTimer(nullptr, 0, kAnswerTime, [](HWND, UINT, UINT_PTR, DWORD) { PostQuitMessage(0); });
}

void CSession::EndNow(const std::wstring& reason)
{
    m_endReason = reason;
    // COM would go on sending clients to a server that died with its class object registered.
    Revoke();
    LogEnd();
    TerminateProcess(GetCurrentProcess(), 1);
    std::abort();
}

void CSession::LogEnd() const
{
    m_log.Add({L"-", L"end", L"process=" + std::to_wstring(GetCurrentProcessId()), L"reason=" + m_endReason,
               L"open=" + OpenNames()});
}
