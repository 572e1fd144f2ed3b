#include "framework/ServerProcess.h"

#include <tlhelp32.h>

#include <algorithm>
#include <utility>

#include "framework/FileNames.h"
#include "framework/LocalServer.h"
#include "framework/PaintingWait.h"

namespace {

using UniqueService = UniqueOwner<SC_HANDLE, ::CloseServiceHandle>;

constexpr DWORD kServerRights =
    PROCESS_QUERY_LIMITED_INFORMATION | PROCESS_SET_QUOTA | PROCESS_TERMINATE | SYNCHRONIZE;

std::wstring ImageOf(HANDLE process)
{
    std::wstring path(32'768, L'\0');
    auto length = static_cast<DWORD>(path.size());
    if (QueryFullProcessImageNameW(process, 0, path.data(), &length) == FALSE) {
        return {};
    }
    path.resize(length);
    return FinalPath(path);
}

ULONGLONG Number(const FILETIME& time)
{
    return ULARGE_INTEGER{{time.dwLowDateTime, time.dwHighDateTime}}.QuadPart;
}

ULONGLONG CreationTime(HANDLE process)
{
    FILETIME created{};
    FILETIME ended{};
    FILETIME kernel{};
    FILETIME user{};
    GetProcessTimes(process, &created, &ended, &kernel, &user);
    return Number(created);
}

ULONGLONG Now()
{
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    return Number(now);
}

// The process id of the service that starts COM's local servers; 0 when it cannot be queried.
DWORD ActivatorId()
{
    const UniqueService manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    if (manager == nullptr) {
        return 0;
    }
    const UniqueService service(OpenServiceW(manager.get(), L"DcomLaunch", SERVICE_QUERY_STATUS));
    SERVICE_STATUS_PROCESS status{};
    DWORD size = 0;
    if (service == nullptr ||
        QueryServiceStatusEx(service.get(), SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status),
                             sizeof status, &size) == FALSE) {
        return 0;
    }
    return status.dwProcessId;
}

// Whether COM started the process with this parent. On Windows, a service starts the servers; under Wine, the
// client's own process does. This program starts no server except through COM, so COM has started every
// server that is a child of this process.
bool IsStartedByCom(DWORD parent)
{
    return parent != 0 && (parent == GetCurrentProcessId() || parent == ActivatorId());
}

// Whether a window is a program's main window, which a user works in, and not a prompt or splash screen.
bool IsMainWindow(HWND window)
{
    constexpr int kDialogClass = 32'770;
    RECT place{};
    return IsWindowVisible(window) != FALSE && GetWindow(window, GW_OWNER) == nullptr &&
           (GetWindowLongW(window, GWL_EXSTYLE) & WS_EX_TOOLWINDOW) == 0 &&
           (GetWindowLongW(window, GWL_STYLE) & (WS_THICKFRAME | WS_MINIMIZEBOX)) != 0 &&
           GetClassLongPtrW(window, GCW_ATOM) != kDialogClass && GetWindowRect(window, &place) != FALSE &&
           IsRectEmpty(&place) == FALSE;
}

struct MainWindowSearch
{
    DWORD processId;
    bool found;
};

BOOL CALLBACK FindMainWindow(HWND window, LPARAM parameter)
{
    auto& search = *reinterpret_cast<MainWindowSearch*>(parameter);
    DWORD processId = 0;
    GetWindowThreadProcessId(window, &processId);
    search.found = processId == search.processId && IsMainWindow(window);
    return search.found ? FALSE : TRUE;
}

bool HasMainWindow(DWORD processId)
{
    MainWindowSearch search{processId, false};
    EnumWindows(&FindMainWindow, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

bool SetJobLimits(HANDLE job, DWORD limits)
{
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION information{};
    information.BasicLimitInformation.LimitFlags = limits;
    return SetInformationJobObject(job, JobObjectExtendedLimitInformation, &information,
                                   sizeof information) != FALSE;
}

}  // namespace

CServerProcess::~CServerProcess()
{
    static_cast<void>(IsOurs());  // unties a server that shows a main window
}

void CServerProcess::BeginRun(const std::wstring& progId)
{
    m_runSince = Now();
    m_before.reset();
    std::wstring image = LocalServerImage(progId);
    if (!EqualFileNames(image, m_image)) {
        Forget();
        m_letGoSince = 0;
        m_image = std::move(image);
    }
}

void CServerProcess::BeginConnect()
{
    std::vector<Process> processes = ProcessesOf(m_image);
    m_wasAlive = IsRecent(processes);
    if (!m_before) {
        m_connectingSince = Now();
        m_before = std::move(processes);
    }
}

void CServerProcess::EndConnect(bool connected)
{
    if (!connected) {
        return;
    }
    std::vector<Process> processes = ProcessesOf(m_image);
    if (!processes.empty()) {
        m_connectedSince = std::ranges::min_element(processes, {}, &Process::created)->created;
    }
    const bool ownOneOnly = IsOurs() && processes.size() == 1 && processes[0].id == m_id;
    const std::vector<Process> newOnes = NewOnes(std::move(processes));
    m_before.reset();
    if (newOnes.size() == 1 && IsStartedByCom(newOnes[0].parent)) {
        Adopt(newOnes[0]);
    } else if (ownOneOnly) {
        Tie();
    } else {
        Forget();
    }
    static_cast<void>(IsOurs());  // unties a server that showed a main window meanwhile
}

bool CServerProcess::IsOurs()
{
    if (m_process != nullptr && HasMainWindow(m_id)) {
        Forget();
    }
    return m_process != nullptr;
}

void CServerProcess::LetGo(bool isEnding)
{
    m_before.reset();
    if (m_connectedSince != 0) {
        m_letGoSince = std::exchange(m_connectedSince, 0);
    }
    if (isEnding) {
        Untie();
    }
}

bool CServerProcess::WasAlive() const
{
    return m_wasAlive || IsRecent(ProcessesOf(m_image));
}

bool CServerProcess::WaitForEnd(DWORD milliseconds)
{
    return !IsOurs() || WaitPainting(m_process.get(), milliseconds);
}

bool CServerProcess::Terminate()
{
    constexpr DWORD kEndTime = 5'000;  // milliseconds
    if (!IsOurs()) {
        return false;
    }
    // The result is ignored: the call fails for a process that has ended ("TerminateProcess function").
    TerminateProcess(m_process.get(), 1);
    return WaitForSingleObject(m_process.get(), kEndTime) == WAIT_OBJECT_0;
}

// The running processes of an image, as far as this program may query them.
std::vector<CServerProcess::Process> CServerProcess::ProcessesOf(const std::wstring& image)
{
    std::vector<Process> processes;
    if (image.empty()) {
        return processes;
    }
    const UniqueHandle snapshot(ValidHandle(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0)));
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Process32FirstW(snapshot.get(), &entry); more != FALSE;
         more = Process32NextW(snapshot.get(), &entry)) {
        UniqueHandle process(
            OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE, FALSE, entry.th32ProcessID));
        if (process != nullptr && WaitForSingleObject(process.get(), 0) == WAIT_TIMEOUT &&
            EqualFileNames(ImageOf(process.get()), image)) {
            const ULONGLONG created = CreationTime(process.get());
            processes.push_back(
                {entry.th32ProcessID, entry.th32ParentProcessID, created, std::move(process)});
        }
    }
    return processes;
}

// Compares the creation time, too: m_before lacks an old process that could not be opened when m_before was
// made.
std::vector<CServerProcess::Process> CServerProcess::NewOnes(std::vector<Process> processes) const
{
    std::erase_if(processes, [this](const Process& process) {
        return process.created < m_connectingSince ||
               (m_before && std::ranges::find(*m_before, process.id, &Process::id) != m_before->end());
    });
    return processes;
}

bool CServerProcess::IsRecent(const std::vector<Process>& processes) const
{
    const ULONGLONG since = m_letGoSince != 0 ? m_letGoSince : m_runSince;
    return std::ranges::any_of(processes,
                               [since](const Process& process) { return process.created >= since; });
}

void CServerProcess::Adopt(const Process& process)
{
    Forget();
    m_process.reset(OpenProcess(kServerRights, FALSE, process.id));
    if (m_process != nullptr) {
        m_id = process.id;
        m_connectedSince = process.created;
        Tie();
    }
}

// Puts the server into a job that ends the server when the job's last handle is closed. The system closes
// that handle when this program ends ("Job Objects").
void CServerProcess::Tie()
{
    m_job.reset(CreateJobObjectW(nullptr, nullptr));
    if (m_job == nullptr ||
        !SetJobLimits(m_job.get(),
                      JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE | JOB_OBJECT_LIMIT_SILENT_BREAKAWAY_OK) ||
        AssignProcessToJobObject(m_job.get(), m_process.get()) == FALSE) {
        m_job.reset();
    }
}

// A process cannot leave its job, so the limit is removed from the job.
void CServerProcess::Untie()
{
    if (m_job != nullptr && SetJobLimits(m_job.get(), JOB_OBJECT_LIMIT_SILENT_BREAKAWAY_OK)) {
        m_job.reset();
    }
}

void CServerProcess::Forget()
{
    Untie();
    m_process.reset();
    m_id = 0;
}
