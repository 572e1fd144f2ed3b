#include "tests/support/Input.h"

#include <commctrl.h>

#include <cstdlib>
#include <vector>

#include "tests/support/OtherWindows.h"
#include "tests/support/Rects.h"
#include "tests/support/Repeat.h"
#include "tests/support/TextFile.h"
#include "tests/support/WaitFor.h"

namespace {

void Send(std::vector<INPUT> inputs)
{
    SendInput(static_cast<UINT>(inputs.size()), inputs.data(), sizeof(INPUT));
}

// SendInput divides the screen into 65536 parts; rounding up gives exactly this pixel.
LONG PartOfScreen(LONG pixel, int metric)
{
    const LONG pixels = GetSystemMetrics(metric);
    return (pixel * 65536 + pixels - 1) / pixels;
}

// A mouse action at a position of the screen.
INPUT MouseInput(POINT position, DWORD action, int wheel = 0)
{
    INPUT input{};
    input.type = INPUT_MOUSE;
    input.mi.dx = PartOfScreen(position.x, SM_CXSCREEN);
    input.mi.dy = PartOfScreen(position.y, SM_CYSCREEN);
    input.mi.mouseData = static_cast<DWORD>(wheel);
    input.mi.dwFlags = MOUSEEVENTF_ABSOLUTE | MOUSEEVENTF_MOVE | action;
    return input;
}

// Sends mouse input at a position, late enough not to be the second half of a double-click.
void SendClick(POINT position, const std::vector<INPUT>& inputs)
{
    static POINT lastPosition{};
    static ULONGLONG lastTime = 0;
    const bool isNear = std::abs(position.x - lastPosition.x) <= GetSystemMetrics(SM_CXDOUBLECLK) &&
                        std::abs(position.y - lastPosition.y) <= GetSystemMetrics(SM_CYDOUBLECLK);
    if (isNear) {
        WaitFor([] { return GetTickCount64() > lastTime + GetDoubleClickTime(); });
    }
    Send(inputs);
    lastPosition = position;
    lastTime = GetTickCount64();
}

bool IsExtended(int key)
{
    return key == VK_DELETE || key == VK_HOME || key == VK_END || key == VK_UP || key == VK_DOWN ||
           key == VK_LEFT || key == VK_RIGHT || key == VK_APPS;
}

INPUT KeyInput(int key, DWORD flags)
{
    INPUT input{};
    input.type = INPUT_KEYBOARD;
    input.ki.wVk = static_cast<WORD>(key);
    input.ki.wScan = static_cast<WORD>(MapVirtualKeyW(static_cast<UINT>(key), MAPVK_VK_TO_VSC));
    input.ki.dwFlags = flags | (IsExtended(key) ? KEYEVENTF_EXTENDEDKEY : 0);
    return input;
}

std::vector<INPUT> KeyInputs(std::initializer_list<int> keys, DWORD flags)
{
    std::vector<INPUT> inputs;
    for (const int key : keys) {
        inputs.push_back(KeyInput(key, flags));
    }
    return inputs;
}

INPUT CharacterInput(wchar_t character, DWORD flags)
{
    INPUT input{};
    input.type = INPUT_KEYBOARD;
    input.ki.wScan = character;
    input.ki.dwFlags = KEYEVENTF_UNICODE | flags;
    return input;
}

// Whether a button has taken a press. Either it has captured the mouse, or the press has brought up something
// else first, such as a message about the field that lost the focus.
bool HasTakenPress(HWND button)
{
    GUITHREADINFO thread{};
    thread.cbSize = sizeof thread;
    GetGUIThreadInfo(GetWindowThreadProcessId(button, nullptr), &thread);
    return thread.hwndCapture == button || IsWindow(button) == FALSE ||
           IsWindowEnabled(GetAncestor(button, GA_ROOT)) == FALSE;
}

}  // namespace

POINT MiddleOf(HWND control)
{
    return MiddleOf(RectOf(control));
}

void ClickAt(POINT position)
{
    SendClick(position,
              {MouseInput(position, MOUSEEVENTF_LEFTDOWN), MouseInput(position, MOUSEEVENTF_LEFTUP)});
}

void DoubleClickAt(POINT position)
{
    const INPUT down = MouseInput(position, MOUSEEVENTF_LEFTDOWN);
    const INPUT up = MouseInput(position, MOUSEEVENTF_LEFTUP);
    SendClick(position, {down, up, down, up});
}

void RightClickAt(POINT position)
{
    SendClick(position,
              {MouseInput(position, MOUSEEVENTF_RIGHTDOWN), MouseInput(position, MOUSEEVENTF_RIGHTUP)});
}

void Drag(POINT from, POINT to)
{
    SendClick(from, {MouseInput(from, MOUSEEVENTF_LEFTDOWN), MouseInput(to, 0),
                     MouseInput(to, MOUSEEVENTF_LEFTUP)});
}

bool WaitUntilOnTop(HWND control, POINT position)
{
    // WindowFromPoint asks the window under the point. A program that waits for a call does not respond, so
    // do not wait long.
    constexpr DWORD kOpening = 300;  // milliseconds
    const HWND window = GetAncestor(control, GA_ROOT);
    return WaitFor([&] { return GetAncestor(WindowFromPoint(position), GA_ROOT) == window; }, kOpening);
}

bool PressOn(HWND button)
{
    constexpr DWORD kLongest = 8'000;  // milliseconds; as long as a call of the program may take
    const POINT middle = MiddleOf(button);
    WaitUntilOnTop(button, middle);
    SendClick(middle, {MouseInput(middle, MOUSEEVENTF_LEFTDOWN)});
    const bool taken = WaitFor([&] { return HasTakenPress(button); }, kLongest);
    Send({MouseInput(middle, MOUSEEVENTF_LEFTUP)});
    return taken;
}

void ClickOn(HWND control)
{
    if (ClassOf(control) != WC_BUTTONW || IsWindowEnabled(control) == FALSE) {
        const POINT middle = MiddleOf(control);
        WaitUntilOnTop(control, middle);
        ClickAt(middle);
        return;
    }
    const std::wstring press = L"a press on the button \"" + TextOf(control) + L"\"";
    if (!PressOn(control) && !(MayRepeat(ToUtf8(press)) && PressOn(control))) {
        DWORD process = 0;
        GetWindowThreadProcessId(control, &process);
        throw CNotOnScreen(press + L" that it takes", process);
    }
}

void PressKeys(std::initializer_list<int> keys)
{
    std::vector<INPUT> inputs = KeyInputs(keys, 0);
    const std::vector<INPUT> releases = KeyInputs(keys, KEYEVENTF_KEYUP);
    inputs.insert(inputs.end(), releases.rbegin(), releases.rend());
    Send(inputs);
}

void PressKeysReleasingFirstFirst(std::initializer_list<int> keys)
{
    std::vector<INPUT> inputs = KeyInputs(keys, 0);
    const std::vector<INPUT> releases = KeyInputs(keys, KEYEVENTF_KEYUP);
    inputs.insert(inputs.end(), releases.begin(), releases.end());
    Send(inputs);
}

void TypeText(const std::wstring& text)
{
    std::vector<INPUT> inputs;
    for (const wchar_t character : text) {
        inputs.push_back(CharacterInput(character, 0));
        inputs.push_back(CharacterInput(character, KEYEVENTF_KEYUP));
    }
    Send(inputs);
}

int MnemonicIn(const std::wstring& caption)
{
    const std::size_t ampersand = caption.find(L'&');
    return ampersand == std::wstring::npos ? 0 : VkKeyScanW(caption.at(ampersand + 1)) & 0xFF;
}

int MnemonicOf(HWND control)
{
    return MnemonicIn(TextOf(control));
}
