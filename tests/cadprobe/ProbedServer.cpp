#include "tests/cadprobe/ProbedServer.h"

#include <algorithm>
#include <utility>

#include "framework/FileNames.h"
#include "framework/LocalServer.h"
#include "tests/cadserver/AutomationClient.h"
#include "tests/support/AutomationNumbers.h"
#include "tests/support/RunningPrograms.h"

CProbedServer::CProbedServer(std::wstring progId)
    : m_progId(std::move(progId)), m_image(LocalServerImage(m_progId))
{
    m_process.BeginRun(m_progId);
}

int CProbedServer::CountProcesses() const
{
    const std::vector<RunningProgram> programs = RunningPrograms(SYNCHRONIZE);
    return static_cast<int>(std::ranges::count_if(programs, [this](const RunningProgram& program) {
        return WaitForSingleObject(program.process.get(), 0) == WAIT_TIMEOUT &&
               EqualFileNames(FinalPath(program.image), m_image);
    }));
}

HRESULT CProbedServer::Connect()
{
    m_process.BeginConnect();
    const HRESULT status = m_application.CreateInstance(m_progId.c_str(), nullptr, CLSCTX_LOCAL_SERVER);
    m_process.EndConnect(SUCCEEDED(status));
    if (SUCCEEDED(status) && !m_process.IsOurs()) {
        Release(false);
        return E_ACCESSDENIED;
    }
    return status;
}

HRESULT CProbedServer::End()
{
    if (!m_process.IsOurs()) {
        Release(false);
        return E_ACCESSDENIED;
    }
    const HRESULT status = Invoke(m_application, automation::kExit).status;
    Release(SUCCEEDED(status));
    return status;
}

bool CProbedServer::WaitForEnd(DWORD milliseconds)
{
    // CServerProcess::WaitForEnd returns true at once for a server that is no longer ours, so the processes
    // are counted, too.
    return m_process.WaitForEnd(milliseconds) && CountProcesses() == 0;
}

void CProbedServer::Release(bool isEnding)
{
    m_application = nullptr;
    m_process.LetGo(isEnding);
}
