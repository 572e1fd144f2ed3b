#pragma once

#include <windows.h>

#include <string>

// An open popup menu of another process. Under Wine, its items cannot be read from outside; they are chosen
// by key or position.
class CMenuOnScreen
{
public:
    // The items of a column's menu, in their order. A separator follows the title, another one follows
    // deleteRows.
    enum class Item
    {
        title,
        deleteRows,
        applyTemplate,
        editTemplate
    };

    // Waits for a menu; throws CNotOnScreen if none opens.
    static CMenuOnScreen WaitForOne(DWORD process);

    // Chooses the item with this caption by its underlined letter.
    void ChooseByKey(const std::wstring& caption) const;
    // Chooses an item of a column's menu with the mouse.
    void Choose(Item item) const;

private:
    CMenuOnScreen(HWND window, DWORD process) : m_window(window), m_process(process) {}

    // Waits until the menu is closed; throws CNotOnScreen if it stays open.
    void WaitForEnd() const;

    HWND m_window;
    DWORD m_process;
};
