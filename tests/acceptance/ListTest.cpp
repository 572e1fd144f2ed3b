#include "tests/acceptance/ListTest.h"

#include "tests/support/Repeat.h"

HWND ListTest::FindEditor(const CProgramUnderTest& program)
{
    const HWND open = program.List().Editor();
    return open != nullptr && FocusOf(open) == open ? open : nullptr;
}

HWND ListTest::WaitForEditor(const CProgramUnderTest& program)
{
    const HWND editor = WaitFor([&] { return FindEditor(program); });
    if (editor == nullptr) {
        throw CNotOnScreen(L"the editor of a cell", program.ProcessId());
    }
    return editor;
}

void ListTest::WaitForNoEditor(const CProgramUnderTest& program)
{
    if (!WaitFor([&] { return program.List().Editor() == nullptr; })) {
        throw CNotOnScreen(L"the end of a cell edit", program.ProcessId());
    }
}

HWND ListTest::OpenEditor(const CProgramUnderTest& program, int row, int column)
{
    constexpr DWORD kDoubleClickTimeout = 5'000;  // milliseconds
    const POINT position = program.List().CellPosition(row, column);
    program.WaitForKeyboard();
    DoubleClickAt(position);
    // After the window opens, the window manager may move the focus once more, which closes the cell editor.
    if (!WaitFor([&] { return FindEditor(program); }, kDoubleClickTimeout) &&
        MayRepeat("a double-click to edit a cell")) {
        DoubleClickAt(position);
    }
    return WaitForEditor(program);
}

void ListTest::TypeOver(const CProgramUnderTest& program, const std::wstring& text)
{
    const HWND editor = WaitForEditor(program);
    TypeText(text);
    if (!WaitFor([&] { return TextOf(editor) == text; })) {
        throw CNotOnScreen(L"\"" + text + L"\" in the editor", program.ProcessId());
    }
}

void ListTest::EditCell(const CProgramUnderTest& program, int row, int column, const std::wstring& text)
{
    OpenEditor(program, row, column);
    TypeOver(program, text);
    PressKeys({VK_RETURN});
}

void ListTest::WaitForTextOf(HWND control, const std::wstring& text)
{
    WaitFor([&] { return TextOf(control) == text; });
    EXPECT_EQ(text, TextOf(control));
}

CMenuOnScreen ListTest::OpenMenu(const CProgramUnderTest& program, int row, int column)
{
    program.WaitForKeyboard();
    RightClickAt(program.List().CellPosition(row, column));
    return CMenuOnScreen::WaitForOne(program.ProcessId());
}

void ListTest::FocusFirstRow(const CProgramUnderTest& program)
{
    program.WaitForKeyboard();
    program.FocusByKey(IDC_LIST);
    PressKeys({VK_END});  // the first row may have the focus without being selected
    PressKeys({VK_HOME});
    WaitForSelection(program, {0});
}

std::wstring ListTest::ChangedMapView()
{
    return expected::kMapView.Current() + expected::kListChanged.Current();
}
