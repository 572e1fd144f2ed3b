#include "tests/cadprobe/ClickDuringCall.h"

#include <array>

#include "framework/WinApp.h"

namespace {

constexpr wchar_t kClass[] = L"TalvenorCadProbe";
constexpr int kButton = 1;
constexpr int kWidth = 300;
constexpr int kHeight = 150;

// Returns false, without a click, if another window lies over this one.
bool Click(HWND window)
{
    RECT rect{};
    GetWindowRect(window, &rect);
    const POINT middle{(rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2};
    if (GetAncestor(WindowFromPoint(middle), GA_ROOT) != window) {
        return false;
    }
    SetCursorPos(middle.x, middle.y);
    std::array<INPUT, 2> inputs{};
    inputs[0].type = inputs[1].type = INPUT_MOUSE;
    inputs[0].mi.dwFlags = MOUSEEVENTF_LEFTDOWN;
    inputs[1].mi.dwFlags = MOUSEEVENTF_LEFTUP;
    return SendInput(static_cast<UINT>(inputs.size()), inputs.data(), sizeof(INPUT)) == inputs.size();
}

}  // namespace

CClickDuringCall::CClickDuringCall(DWORD delay)
{
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = &WindowProc;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.lpszClassName = kClass;
    windowClass.hbrBackground = GetSysColorBrush(COLOR_3DFACE);
    RegisterClassW(&windowClass);  // fails harmlessly the second time
    m_window = CreateWindowExW(WS_EX_TOPMOST, kClass, L"cadprobe", WS_POPUP | WS_CAPTION | WS_VISIBLE, 100,
                               100, kWidth, kHeight, nullptr, nullptr, windowClass.hInstance, nullptr);
    SetWindowLongPtrW(m_window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    CreateWindowW(L"BUTTON", L"Clicked by the probe", WS_CHILD | WS_VISIBLE, 0, 0, kWidth, kHeight, m_window,
                  reinterpret_cast<HMENU>(static_cast<INT_PTR>(kButton)), windowClass.hInstance, nullptr);
    UpdateWindow(m_window);
    m_painted = false;
    m_clicker = std::thread([this, delay] { ClickAfter(delay); });
}

CClickDuringCall::~CClickDuringCall()
{
    m_clicker.join();
    DestroyWindow(m_window);
}

void CClickDuringCall::ClickAfter(DWORD delay) const
{
    Sleep(delay);
    InvalidateRect(m_window, nullptr, TRUE);
    m_clicked = Click(m_window);
}

bool CClickDuringCall::EndCall()
{
    m_inCall = false;
    return m_clicked;
}

bool CClickDuringCall::WasKept()
{
    constexpr DWORD kPatience = 2'000;  // milliseconds
    const ULONGLONG end = GetTickCount64() + kPatience;
    CWinApp::Get()->GetMessageFilter().ReturnHeldInput();
    while (!m_pressed && GetTickCount64() < end) {
        MSG message{};
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) {
            DispatchMessageW(&message);
        }
        Sleep(10);
    }
    return m_pressed;
}

LRESULT CALLBACK CClickDuringCall::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    auto* const self = reinterpret_cast<CClickDuringCall*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (self != nullptr && message == WM_COMMAND && LOWORD(wParam) == kButton) {
        self->m_pressed = true;
    } else if (self != nullptr && message == WM_PAINT && self->m_inCall) {
        self->m_painted = true;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}
