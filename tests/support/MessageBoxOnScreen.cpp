#include "tests/support/MessageBoxOnScreen.h"

#include <algorithm>
#include <iterator>

#include "tests/support/Input.h"
#include "tests/support/OtherWindows.h"
#include "tests/support/Rects.h"
#include "tests/support/Repeat.h"
#include "tests/support/TextFile.h"
#include "tests/support/WaitFor.h"

namespace {

// The id of the static control with the text of a message box.
constexpr int kTextId = 0xFFFF;

bool IsMessageText(HWND control)
{
    return ClassOf(control) == L"Static" && (GetDlgCtrlID(control) & kTextId) == kTextId;
}

bool IsMessageButton(HWND control)
{
    return ClassOf(control) == L"Button" && GetDlgCtrlID(control) >= IDOK && GetDlgCtrlID(control) <= IDHELP;
}

bool IsMessageIcon(HWND control)
{
    return ClassOf(control) == L"Static" && (GetWindowLongW(control, GWL_STYLE) & SS_TYPEMASK) == SS_ICON;
}

// One text, buttons, perhaps an icon and nothing else: no other dialog of the program looks like this.
bool IsMessageBox(HWND window)
{
    const std::vector<HWND> controls = ControlsOf(window);
    const bool known = std::ranges::all_of(controls, [](HWND control) {
        return IsMessageText(control) || IsMessageButton(control) || IsMessageIcon(control);
    });
    return known && ClassOf(window) == L"#32770" && std::ranges::count_if(controls, &IsMessageText) == 1;
}

}  // namespace

std::optional<CMessageBoxOnScreen> CMessageBoxOnScreen::Find(DWORD process)
{
    for (const HWND window : TopWindowsOf(process)) {
        if (IsMessageBox(window)) {
            return CMessageBoxOnScreen(window, process);
        }
    }
    return std::nullopt;
}

CMessageBoxOnScreen CMessageBoxOnScreen::WaitForOne(DWORD process)
{
    // A box gets the focus shortly after it is shown; a click in between may be lost.
    std::optional<CMessageBoxOnScreen> box;
    const auto ready = [&] {
        box = Find(process);
        return box && IsMessageButton(FocusOf(box->m_window));
    };
    if (!WaitFor(ready)) {
        throw CNotOnScreen(L"a message box with the focus", process);
    }
    return *box;
}

CMessageBoxOnScreen CMessageBoxOnScreen::WaitForText(DWORD process, const std::wstring& text)
{
    std::optional<CMessageBoxOnScreen> box;
    WaitFor([&] { return (box = Find(process)).has_value(); });
    if (!box || box->Text() != text) {
        throw CNotOnScreen(L"the message box: " + text, process);
    }
    return *box;
}

std::wstring CMessageBoxOnScreen::Text() const
{
    const std::vector<HWND> controls = ControlsOf(m_window);
    const auto text = std::ranges::find_if(controls, &IsMessageText);
    return text == controls.end() ? std::wstring() : TextOf(*text);
}

std::wstring CMessageBoxOnScreen::Title() const
{
    return TextOf(m_window);
}

std::vector<HWND> CMessageBoxOnScreen::ButtonWindows() const
{
    std::vector<HWND> buttons = ControlsOf(m_window);
    std::erase_if(buttons, [](HWND control) { return !IsMessageButton(control); });
    const auto left = [](HWND control) { return RectOf(control).left; };
    std::ranges::sort(buttons, {}, left);
    return buttons;
}

// If a box has only one button apart from Help, the button is OK. Windows then gives it the number of Cancel,
// so that Escape presses it; Wine keeps its own number.
std::vector<int> CMessageBoxOnScreen::Buttons() const
{
    std::vector<int> numbers;
    std::ranges::transform(ButtonWindows(), std::back_inserter(numbers), &GetDlgCtrlID);
    const auto isAnswer = [](int number) { return number != IDHELP; };
    if (std::ranges::count_if(numbers, isAnswer) == 1) {
        *std::ranges::find_if(numbers, isAnswer) = IDOK;
    }
    return numbers;
}

HWND CMessageBoxOnScreen::Button(int button) const
{
    const std::vector<int> answers = Buttons();
    const auto found = std::ranges::find(answers, button);
    return found == answers.end() ? nullptr
                                  : ButtonWindows().at(static_cast<std::size_t>(found - answers.begin()));
}

void CMessageBoxOnScreen::Answer(int button) const
{
    const HWND item = Button(button);
    const bool raised = BringToFront(item);
    if (!PressOn(item)) {
        if (raised || !MayRepeat("a press in the message box: " + ToUtf8(Text()))) {
            throw CNotOnScreen(L"a press that the message box takes", m_process);
        }
        AnswerByKey(item);
    }
    WaitForEnd();
}

// Under Wine a box may be below its owner, where no click reaches it. Returns true if this function raised
// it.
bool CMessageBoxOnScreen::BringToFront(HWND item) const
{
    if (WaitUntilOnTop(item, MiddleOf(item)) ||
        !MayRepeat("the raising of the message box: " + ToUtf8(Text()))) {
        return false;
    }
    SetWindowPos(m_window, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    return true;
}

// Under Wine, a box that is clicked just as the window manager starts to manage it may get no more mouse
// input.
void CMessageBoxOnScreen::AnswerByKey(HWND item) const
{
    constexpr int kMostButtons = 4;
    constexpr DWORD kKeyTimeout = 500;  // milliseconds
    for (int tab = 0; tab < kMostButtons && FocusOf(m_window) != item; ++tab) {
        PressKeys({VK_TAB});
        WaitFor([&] { return FocusOf(m_window) == item; }, kKeyTimeout);
    }
    PressKeys({VK_SPACE});
}

void CMessageBoxOnScreen::PostPress(int button) const
{
    const HWND item = Button(button);
    PostMessageW(m_window, WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(item), BN_CLICKED),
                 reinterpret_cast<LPARAM>(item));
}

void CMessageBoxOnScreen::Press(int button) const
{
    PostPress(button);
    WaitForEnd();
}

void CMessageBoxOnScreen::WaitForEnd() const
{
    if (!WaitFor([&] { return IsWindow(m_window) == FALSE; })) {
        throw CNotOnScreen(L"the end of a message box", m_process);
    }
}
