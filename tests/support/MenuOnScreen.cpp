#include "tests/support/MenuOnScreen.h"

#include "tests/support/Input.h"
#include "tests/support/OtherWindows.h"
#include "tests/support/Rects.h"
#include "tests/support/WaitFor.h"

namespace {

HWND FindMenu(DWORD process)
{
    for (const HWND window : TopWindowsOf(process)) {
        if (ClassOf(window) == L"#32768") {
            return window;
        }
    }
    return nullptr;
}

}  // namespace

CMenuOnScreen CMenuOnScreen::WaitForOne(DWORD process)
{
    const HWND window = WaitFor([&] { return FindMenu(process); });
    if (window == nullptr) {
        throw CNotOnScreen(L"a menu", process);
    }
    return {window, process};
}

void CMenuOnScreen::ChooseByKey(const std::wstring& caption) const
{
    PressKeys({MnemonicIn(caption)});
    WaitForEnd();
}

void CMenuOnScreen::Choose(Item item) const
{
    // The middle of each item, in tenths of the menu's height. The menu has four texts, and two separators of
    // half a text's height.
    constexpr int kMiddles[] = {1, 4, 7, 9};
    const RECT rect = RectOf(m_window);
    const int middle = kMiddles[static_cast<std::size_t>(item)];
    ClickAt({MiddleOf(rect).x, rect.top + (rect.bottom - rect.top) * middle / 10});
    WaitForEnd();
}

void CMenuOnScreen::WaitForEnd() const
{
    if (!WaitFor([&] { return FindMenu(m_process) == nullptr; })) {
        throw CNotOnScreen(L"the end of a menu", m_process);
    }
}
