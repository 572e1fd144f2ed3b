#include "tests/acceptance/Input.h"

#include <vector>

#include "tests/acceptance/OtherWindows.h"
#include "tests/acceptance/WaitFor.h"

namespace {

void Send(std::vector<INPUT>& inputs)
{
    SendInput(static_cast<UINT>(inputs.size()), inputs.data(), sizeof(INPUT));
}

INPUT MouseInput(DWORD flags)
{
    INPUT input{};
    input.type = INPUT_MOUSE;
    input.mi.dwFlags = flags;
    return input;
}

bool IsExtended(int key)
{
    return key == VK_DELETE || key == VK_HOME || key == VK_END || key == VK_UP || key == VK_DOWN;
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

INPUT CharacterInput(wchar_t character, DWORD flags)
{
    INPUT input{};
    input.type = INPUT_KEYBOARD;
    input.ki.wScan = character;
    input.ki.dwFlags = KEYEVENTF_UNICODE | flags;
    return input;
}

void MoveMouse(POINT position)
{
    SetCursorPos(position.x, position.y);
    WaitFor([&] {
        POINT mouse{};
        return GetCursorPos(&mouse) != FALSE && mouse.x == position.x && mouse.y == position.y;
    });
}

}  // namespace

void ClickAt(POINT position)
{
    // A second click at the same place would be taken for a double click.
    static POINT lastPosition{};
    static ULONGLONG lastTime = 0;
    if (position.x == lastPosition.x && position.y == lastPosition.y) {
        WaitFor([] { return GetTickCount64() > lastTime + GetDoubleClickTime(); });
    }
    MoveMouse(position);
    std::vector<INPUT> inputs = {MouseInput(MOUSEEVENTF_LEFTDOWN), MouseInput(MOUSEEVENTF_LEFTUP)};
    Send(inputs);
    lastPosition = position;
    lastTime = GetTickCount64();
}

void ClickOn(HWND control)
{
    RECT place{};
    GetWindowRect(control, &place);
    const POINT middle{(place.left + place.right) / 2, (place.top + place.bottom) / 2};
    // A window that has just been opened may still lie under another one. The system asks the window itself
    // what is at the point, and a program in the middle of a call does not answer: so no long wait for it.
    constexpr DWORD kOpening = 300;  // milliseconds
    const HWND window = GetAncestor(control, GA_ROOT);
    WaitFor([&] { return GetAncestor(WindowFromPoint(middle), GA_ROOT) == window; }, kOpening);
    ClickAt(middle);
}

void PressKeys(std::initializer_list<int> keys)
{
    std::vector<INPUT> inputs;
    for (const int key : keys) {
        inputs.push_back(KeyInput(key, 0));
    }
    for (auto key = keys.end(); key != keys.begin();) {
        inputs.push_back(KeyInput(*--key, KEYEVENTF_KEYUP));
    }
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

int MnemonicOf(HWND control)
{
    const std::wstring text = TextOf(control);
    const std::size_t ampersand = text.find(L'&');
    return ampersand == std::wstring::npos ? 0 : VkKeyScanW(text.at(ampersand + 1)) & 0xFF;
}
