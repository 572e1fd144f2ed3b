#include "framework/LongOperation.h"

namespace {

bool g_active = false;

// Shutdown levels: the system first asks the processes with the highest level whether the session may end.
// The default is 0x280 ("SetProcessShutdownParameters function").
constexpr DWORD kOwnLevel = 0x280;
constexpr DWORD kAskedEarlier = 0x2FF;

}  // namespace

// Keeps the computer awake, but lets the screen turn off ("SetThreadExecutionState function"). Makes the
// system ask this program before other programs whether the session may end. A program that has agreed ends
// even if this program then refuses ("WM_QUERYENDSESSION message"), and the operation may need that program.
CLongOperation::CLongOperation(HWND window, const std::wstring& reason) : m_window(window)
{
    constexpr std::size_t kLongestReason = MAX_STR_BLOCKREASON - 1;
    const std::wstring shortReason = reason.substr(0, kLongestReason);  // may throw: before any change
    g_active = true;
    SetProcessShutdownParameters(kAskedEarlier, 0);
    SetThreadExecutionState(ES_CONTINUOUS | ES_SYSTEM_REQUIRED);
    ShutdownBlockReasonCreate(m_window, shortReason.c_str());
}

CLongOperation::~CLongOperation()
{
    ShutdownBlockReasonDestroy(m_window);
    SetThreadExecutionState(ES_CONTINUOUS);
    SetProcessShutdownParameters(kOwnLevel, 0);
    g_active = false;
}

bool CLongOperation::IsActive()
{
    return g_active;
}
