#include "framework/LongOperation.h"

// The screen may go dark ("SetThreadExecutionState function").
CLongOperation::CLongOperation(HWND window, const std::wstring& reason) : m_window(window)
{
    constexpr std::size_t kLongestReason = MAX_STR_BLOCKREASON - 1;
    SetThreadExecutionState(ES_CONTINUOUS | ES_SYSTEM_REQUIRED);
    ShutdownBlockReasonCreate(m_window, reason.substr(0, kLongestReason).c_str());
}

CLongOperation::~CLongOperation()
{
    ShutdownBlockReasonDestroy(m_window);
    SetThreadExecutionState(ES_CONTINUOUS);
}
