// cadprobe PROGID PART: drives the CAD system as the program does, with one copy of a part, and prints each
// result code and time. The part is opened and closed, but not saved. The exit status is 3 if the probe may
// not start the CAD system: none is registered, or one is running.
//
// Connects, asks for the date code, opens the part, counts its configurations, closes the part and ends the
// CAD system. Then starts and ends the CAD system once more, and connects every second until a new one
// responds. While the part is being opened, cadprobe clicks a button in a window of its own.
#include <windows.h>

#include <objbase.h>

#include <cstdio>
#include <string>
#include <vector>

#include "cad/ServerStatus.h"
#include "framework/OleMessageFilter.h"
#include "framework/WinApp.h"
#include "tests/cadprobe/ClickDuringCall.h"
#include "tests/cadprobe/Log.h"
#include "tests/cadprobe/ProbedServer.h"
#include "tests/cadserver/AutomationClient.h"
#include "tests/support/AutomationNumbers.h"
#include "tests/support/TextFile.h"

namespace {

constexpr long kFirstSupported = 1999250;
constexpr DWORD kLongestEnd = 30'000;       // milliseconds; the program waits as long
constexpr DWORD kLongestConnect = 120'000;  // milliseconds; the same
constexpr DWORD kClickDelay = 150;          // milliseconds
constexpr int kMayNotStart = 3;

const char* WordFor(bool found)
{
    return found ? "yes" : "no";
}

// Never ends the server: when the person answers Yes, the filter only cancels the call.
class CPatientHandler : public CStalledCallHandler
{
public:
    [[nodiscard]] std::wstring Question() const override { return L"The CAD system does not respond. Stop?"; }
    [[nodiscard]] bool GiveUp() override { return false; }
};

CallResult TimedCall(const char* name, IDispatch* object, DISPID member,
                     std::vector<_variant_t> arguments = {})
{
    const ULONGLONG began = GetTickCount64();
    CallResult result = Invoke(object, member, std::move(arguments));
    const bool isNumber = result.value.vt == VT_I4;
    LogCall(name, result.status, began, isNumber ? std::to_string(result.value.lVal) : "");
    return result;
}

HRESULT TimedConnect(CProbedServer& server)
{
    const ULONGLONG began = GetTickCount64();
    const HRESULT status = server.Connect();
    LogCall("connect", status, began);
    return status;
}

HRESULT TimedEnd(CProbedServer& server)
{
    const ULONGLONG began = GetTickCount64();
    const HRESULT status = server.End();
    LogCall("end", status, began);
    return status;
}

bool ProbeConnect(CProbedServer& server)
{
    const ULONGLONG began = GetTickCount64();
    const HRESULT status = TimedConnect(server);
    const ULONGLONG took = GetTickCount64() - began;
    if (status == E_ACCESSDENIED) {
        LogFinding("cad-connect", "not tried",
                   "it shows a window, or the probe did not start it: left alone");
        return false;
    }
    LogFinding("cad-connect", WordFor(SUCCEEDED(status) && took < kLongestConnect),
               "after " + std::to_string(took) + " ms");
    return SUCCEEDED(status);
}

void ProbeDateCode(IDispatch* application)
{
    const CallResult result = TimedCall("date code", application, automation::kGetDateCode);
    const bool isCode = result.value.vt == VT_I4 && result.value.lVal >= kFirstSupported;
    LogFinding("cad-date-code", WordFor(SUCCEEDED(result.status) && isCode),
               result.value.vt == VT_I4 ? std::to_string(result.value.lVal) : "no number");
}

void LogClick(CClickDuringCall& click, bool inTime)
{
    const bool kept = click.WasKept();
    if (!inTime) {
        LogFinding("click-kept", "not tried", "the call returned before the click, or a window covers it");
        LogFinding("filter-asked", "not tried", "the same");
        return;
    }
    LogFinding("click-kept", WordFor(kept), kept ? "it arrived after the call" : "it did not arrive");
    LogFinding("filter-asked", WordFor(click.WasPainted()),
               click.WasPainted() ? "the window was painted during the call" : "it was not painted");
}

void ProbeDocument(IDispatch* application, const std::wstring& part)
{
    long error = 0;
    _variant_t code;
    code.vt = VT_BYREF | VT_I4;
    code.plVal = &error;
    CClickDuringCall click(kClickDelay);
    const CallResult opened = TimedCall("open", application, automation::kOpenDocument,
                                        {part.c_str(), _variant_t(1L, VT_I4), false, false, true, code});
    const bool inTime = click.EndCall();
    LogClick(click, inTime);
    if (const IDispatchPtr document = opened.Object()) {
        TimedCall("count", document, automation::kGetConfigurationCount);
        TimedCall("close", application, automation::kCloseDocument, {part.c_str()});
    } else {
        LogFailure("the part was not opened, error code " + std::to_string(error));
    }
}

void ProbeEnd(CProbedServer& server)
{
    const HRESULT status = TimedEnd(server);
    const ULONGLONG began = GetTickCount64();
    const bool ended = SUCCEEDED(status) && server.WaitForEnd(kLongestEnd);
    LogFinding("cad-gone", WordFor(ended),
               "its process " + std::string(ended ? "ended" : "was there") + " after " +
                   std::to_string(GetTickCount64() - began) + " ms");
}

// Whether the program expects these codes from a server that is ending.
bool AreKnown(HRESULT connected, HRESULT called)
{
    return (SUCCEEDED(connected) || IsCreatorMissing(connected)) &&
           (SUCCEEDED(called) || IsServerMissing(called));
}

struct Reconnection
{
    HRESULT connected = E_FAIL;
    HRESULT called = S_OK;
    bool metEndingServer = false;  // the old process was there when an attempt began

    [[nodiscard]] bool Responds() const { return SUCCEEDED(connected) && SUCCEEDED(called); }
};

// Connects every second until a server responds, an unknown code occurs or the time is up.
Reconnection Reconnect(CProbedServer& server)
{
    const ULONGLONG began = GetTickCount64();
    Reconnection result;
    do {
        Sleep(1'000);
        result.metEndingServer = result.metEndingServer || server.CountProcesses() != 0;
        result.connected = TimedConnect(server);
        if (SUCCEEDED(result.connected)) {
            result.called = TimedCall("date code", server.Application(), automation::kGetDateCode).status;
            TimedEnd(server);
        }
    } while (AreKnown(result.connected, result.called) && !result.Responds() &&
             GetTickCount64() - began < kLongestConnect);
    return result;
}

// Ends a server and connects again.
void ProbeReconnects(CProbedServer& server)
{
    const bool started = SUCCEEDED(TimedConnect(server)) && SUCCEEDED(TimedEnd(server));
    const Reconnection result = started ? Reconnect(server) : Reconnection();
    if (!started || result.connected == E_ACCESSDENIED) {
        LogFinding("cad-end", "not tried", "it was not started and ended a second time");
        LogFinding("cad-ending-codes", "not tried", "the same");
        return;
    }
    LogFinding("cad-end", WordFor(result.Responds()),
               result.Responds() ? "a new one responded" : "none responded");
    const bool known = AreKnown(result.connected, result.called);
    LogFinding("cad-ending-codes", known && !result.metEndingServer ? "not tried" : WordFor(known),
               !known                   ? "a code that is not known"
               : result.metEndingServer ? "only known codes"
                                        : "it had ended before the first attempt");
    static_cast<void>(server.WaitForEnd(kLongestEnd));
}

// Returns the exit status.
int Probe(const std::wstring& progId, const std::wstring& part)
{
    CProbedServer server(progId);
    if (server.Image().empty() || server.CountProcesses() != 0) {
        LogFailure(server.Image().empty() ? "no CAD system is registered" : "the CAD system is running");
        return kMayNotStart;
    }
    if (ProbeConnect(server)) {
        ProbeDateCode(server.Application());
        ProbeDocument(server.Application(), part);
        ProbeEnd(server);
        ProbeReconnects(server);
    }
    if (const int left = server.CountProcesses(); left != 0) {
        LogFailure("still running: " + std::to_string(left) + " of " + ToUtf8(server.Image()));
    }
    return 0;
}

// The application object, which holds the program's message filter.
class CProbeApp : public CWinApp
{
public:
    CProbeApp(std::wstring progId, std::wstring part)
        : CWinApp(L"cadprobe"), m_progId(std::move(progId)), m_part(std::move(part))
    {
    }

    int m_status = 0;

protected:
    bool InitInstance() override
    {
        CPatientHandler handler;
        InitializeOle();
        GetMessageFilter().SetStalledCallHandler(&handler);
        m_status = Probe(m_progId, m_part);
        GetMessageFilter().SetStalledCallHandler(nullptr);
        return false;
    }

private:
    const std::wstring m_progId;
    const std::wstring m_part;
};

}  // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count != 3) {
        std::fputs("usage: cadprobe PROGID PART\n", stderr);
        return 2;
    }
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    CProbeApp probe(arguments[1], FullPath(arguments[2]));
    probe.Run();
    return probe.m_status;
}
