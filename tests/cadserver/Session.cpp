#include "tests/cadserver/Session.h"

#include <objbase.h>

#include <cstdlib>
#include <exception>
#include <utility>

#include "tests/cadserver/Registration.h"
#include "tests/cadserver/Settings.h"
#include "tests/support/TextFile.h"

namespace {

constexpr UINT kEndDelay = 100;        // milliseconds in which the last call returns to its client
constexpr UINT kStayTimeout = 60'000;  // milliseconds, both for a session and between two sessions
constexpr long kNotAPartFile = 1;
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
    return SUCCEEDED(ReadConfigurations(part.path, part.configurations)) ? 0 : kNotAPartFile;
}

std::wstring OwnProcess()
{
    return L"process=" + std::to_wstring(GetCurrentProcessId());
}

DWORD CountStart()
{
    const DWORD start = ReadCounter(L"Starts") + 1;
    WriteCounter(L"Starts", start);
    return start;
}

}  // namespace

std::optional<StartSettings> PrepareStart(int version, const std::wstring& remark)
{
    const CCallLog log(LogPath());
    const std::wstring path = ScriptPath();
    const std::wstring versionText = L"version=" + std::to_wstring(version);
    try {
        CScript script = path.empty() ? CScript() : CScript(path);
        const DWORD start = CountStart();
        if (script.RefusesStart(start)) {
            log.Add({L"-", L"refused", OwnProcess(), versionText});
            return std::nullopt;
        }
        std::vector<std::wstring> fields = {L"-", L"start", OwnProcess(), versionText};
        if (!remark.empty()) {
            fields.push_back(remark);
        }
        log.Add(fields);
        return StartSettings{start, std::move(script), log};
    } catch (const std::exception& error) {
        log.Add({L"-", L"script-error", FromUtf8(error.what())});
        return std::nullopt;
    }
}

CSession::CSession(int version, StartSettings settings)
    : m_version(version)
    , m_start(settings.number)
    , m_script(std::move(settings.script))
    , m_faults(m_script.Faults())
    , m_log(std::move(settings.log))
{
    if (m_script.Stays() || LingeringAtEnd()) {
        CoAddRefServerProcess();  // never released, so clients can connect even when no object exists
    }
    RestartStayTimer();
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

std::optional<HRESULT> CSession::Refusal() const
{
    const std::optional<Lingering> lingering = LingeringAtEnd();
    if (lingering && !m_endReason.empty()) {
        return lingering->status;
    }
    return m_disconnected ? std::optional<HRESULT>(RPC_E_DISCONNECTED) : std::nullopt;
}

bool CSession::EnsureSession()
{
    if (Refusal()) {
        m_log.Add({L"-", L"late", OwnProcess()});
    }
    if (m_endReason.empty() || !m_script.Stays()) {
        return true;
    }
    std::optional<StartSettings> settings =
        PrepareStart(m_version, L"left=" + std::to_wstring(m_leftObjects));
    if (!settings) {
        return false;
    }
    m_start = settings->number;
    m_script = std::move(settings->script);
    m_log = std::move(settings->log);
    m_faults = CFaultPlan(m_script.Faults());
    m_calls = 0;
    m_endReason.clear();
    m_endLogged = false;
    RestartStayTimer();
    return true;
}

void CSession::AddObject()
{
    m_used = true;
    ++m_objects;
    CoAddRefServerProcess();
}

void CSession::RemoveObject(unsigned number)
{
    CoReleaseServerProcess();
    if (number != m_number) {
        --m_leftObjects;
    } else if (--m_objects == 0) {
        RequestEnd(L"released");
    }
}

void CSession::RequestEnd(const std::wstring& reason)
{
    if (!m_endReason.empty()) {
        return;
    }
    m_endReason = reason;
    if (m_script.Stays()) {
        EndSession();
        return;
    }
    if (!LingeringAtEnd()) {
        Revoke();
    }
    m_endTime = GetTickCount64() + kEndDelay;
    SetTimer(nullptr, 0, kEndDelay, nullptr);  // wakes the message loop when there are no more calls
}

void CSession::EndSession()
{
    LogEnd();
    for (const auto& [key, part] : m_parts) {
        part->open = false;
    }
    m_parts.clear();
    ++m_number;
    m_leftObjects += std::exchange(m_objects, 0);
    RestartStayTimer();
}

void CSession::RestartStayTimer()
{
    if (m_stayTimer != 0) {
        KillTimer(nullptr, m_stayTimer);
    }
    m_stayTimer = m_script.Stays() ? SetTimer(nullptr, 0, kStayTimeout, nullptr) : 0;
}

void CSession::EndNow(const std::wstring& reason)
{
    m_endReason = reason;
    End(1);
}

void CSession::Disconnect()
{
    m_disconnected = true;
    Revoke();
}

void CSession::Leave()
{
    End(0);
}

void CSession::End(UINT status)
{
    // Otherwise COM would keep sending clients to the dead process.
    Revoke();
    LogEnd();
    // No CoUninitialize: under Wine (8.0) it may wait forever for a call that is just returning.
    TerminateProcess(GetCurrentProcess(), status);
    std::abort();
}

void CSession::Hang()
{
    // Otherwise Wine would keep sending clients to this process, even after its end.
    Revoke();
    for (;;) {
        Sleep(INFINITE);
    }
}

void CSession::LogEnd()
{
    if (std::exchange(m_endLogged, true)) {
        return;
    }
    m_log.Add({L"-", L"end", OwnProcess(), L"reason=" + m_endReason, L"open=" + OpenNames()});
}
