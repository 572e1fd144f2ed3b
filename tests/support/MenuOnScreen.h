#pragma once

#include <windows.h>

#include <string>

// An open popup menu of another process. Its items cannot be asked for from outside under Wine; they are
// chosen by their key or by their place.
class CMenuOnScreen
{
public:
    // The items of a column's menu by their place: the title and, between separators, the commands.
    enum class Item
    {
        title,
        deleteRows,
        applyTemplate,
        editTemplate
    };

    // Whether the process has a menu open.
    static bool IsOpen(DWORD process);

    // Waits for a menu; throws CNotOnScreen when none comes.
    static CMenuOnScreen WaitForOne(DWORD process);

    // Chooses the item of a caption by its underlined letter.
    void ChooseByKey(const std::wstring& caption) const;
    // Chooses an item of a column's menu with the mouse.
    void Choose(Item item) const;
    // Clicks on an item of a column's menu, whatever comes of it.
    void ClickOn(Item item) const;
    // Leaves the menu by the Escape key.
    void Dismiss() const;

private:
    CMenuOnScreen(HWND window, DWORD process) : m_window(window), m_process(process) {}

    // Waits until the menu has gone; throws CNotOnScreen when it stays.
    void WaitForEnd() const;

    HWND m_window;
    DWORD m_process;
};
