#include "framework/LongOperation.h"

namespace {

bool g_active = false;

}  // namespace

// Keeps the computer awake, but lets the screen turn off ("SetThreadExecutionState function").
CLongOperation::CLongOperation(HWND window, const std::wstring& reason) : m_window(window)
{
    constexpr std::size_t kLongestReason = MAX_STR_BLOCKREASON - 1;
    g_active = true;
    SetThreadExecutionState(ES_CONTINUOUS | ES_SYSTEM_REQUIRED);
    ShutdownBlockReasonCreate(m_window, reason.substr(0, kLongestReason).c_str());
}

CLongOperation::~CLongOperation()
{
    ShutdownBlockReasonDestroy(m_window);
    SetThreadExecutionState(ES_CONTINUOUS);
    g_active = false;
}

bool CLongOperation::IsActive()
{
    return g_active;
}
