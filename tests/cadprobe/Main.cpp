// cadprobe PROGID PART: drives the CAD system as the program does, with one copy of a part, and prints each
// result code and time. The part is opened and closed, and not saved.
//
// Connects, asks the date code, opens the part, counts its configurations, ends the CAD system and connects
// again every second until that works; clicks a window of its own during the opening.
#include <windows.h>

#include <objbase.h>

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "framework/OleMessageFilter.h"
#include "framework/WinApp.h"
#include "tests/cadprobe/ClickDuringCall.h"
#include "tests/cadprobe/Log.h"
#include "tests/cadserver/AutomationClient.h"
#include "tests/support/AutomationNumbers.h"
#include "tests/support/TextFile.h"

namespace {

constexpr long kFirstSupported = 1999250;
constexpr DWORD kLongestEnd = 60'000;       // milliseconds
constexpr DWORD kLongestConnect = 120'000;  // milliseconds
constexpr DWORD kClickDelay = 150;          // milliseconds

const char* WordFor(bool found)
{
    return found ? "yes" : "no";
}

// Never gives up: the probe waits as long as the person does.
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

HRESULT Connect(const std::wstring& progId, IDispatchPtr& application)
{
    const ULONGLONG began = GetTickCount64();
    const HRESULT status = application.CreateInstance(progId.c_str(), nullptr, CLSCTX_LOCAL_SERVER);
    LogCall("connect", status, began);
    return status;
}

bool ProbeConnect(const std::wstring& progId, IDispatchPtr& application)
{
    const ULONGLONG began = GetTickCount64();
    const HRESULT status = Connect(progId, application);
    const ULONGLONG took = GetTickCount64() - began;
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
        LogFinding("click-kept", "not tried", "the call returned before the click");
        LogFinding("filter-asked", "not tried", "the call returned before the click");
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
    } else {
        std::printf("note\tno document, error code %ld\n", error);
    }
    TimedCall("close", application, automation::kCloseDocument, {part.c_str()});
}

// Whether the program takes this for a server that is ending: cad/CadSession.
bool IsEndingCode(HRESULT status)
{
    return status == HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE) ||
           status == HRESULT_FROM_WIN32(RPC_S_CALL_FAILED) ||
           status == HRESULT_FROM_WIN32(RPC_S_CALL_FAILED_DNE) || status == RPC_E_DISCONNECTED ||
           status == CO_E_SERVER_EXEC_FAILURE;
}

// Connects every second until a new server answers.
void ProbeReconnects(const std::wstring& progId)
{
    const ULONGLONG began = GetTickCount64();
    HRESULT status = E_FAIL;
    bool known = true;
    while (FAILED(status) && GetTickCount64() - began < kLongestEnd) {
        Sleep(1'000);
        IDispatchPtr application;
        status = Connect(progId, application);
        if (SUCCEEDED(status)) {
            status = TimedCall("date code", application, automation::kGetDateCode).status;
        }
        known = known && (SUCCEEDED(status) || IsEndingCode(status));
        if (SUCCEEDED(status)) {
            TimedCall("end", application, automation::kExit);
        }
    }
    LogFinding("cad-end", WordFor(SUCCEEDED(status)),
               "a new one answered after " + std::to_string(GetTickCount64() - began) + " ms");
    LogFinding("cad-ending-codes", WordFor(known), known ? "only known codes" : "a code that is not known");
}

void Probe(const std::wstring& progId, const std::wstring& part)
{
    IDispatchPtr application;
    if (!ProbeConnect(progId, application)) {
        return;
    }
    ProbeDateCode(application);
    ProbeDocument(application, part);
    TimedCall("end", application, automation::kExit);
    application = nullptr;
    ProbeReconnects(progId);
}

// The application object, which holds the program's message filter.
class CProbeApp : public CWinApp
{
public:
    CProbeApp(std::wstring progId, std::wstring part)
        : CWinApp(L"cadprobe"), m_progId(std::move(progId)), m_part(std::move(part))
    {
    }

protected:
    bool InitInstance() override
    {
        CPatientHandler handler;
        InitializeOle();
        GetMessageFilter().SetStalledCallHandler(&handler);
        Probe(m_progId, m_part);
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
    CProbeApp(arguments[1], FullPath(arguments[2])).Run();
    return 0;
}
