#pragma once

#include <windows.h>

#include "framework/Handles.h"
#include "framework/Language.h"

// The context menu of one generated column, in the language that is current when the menu is made.
class CColumnMenu
{
public:
    enum Command : UINT
    {
        none,
        deleteRows,
        applyTemplate,
        editTemplate
    };

    explicit CColumnMenu(const Text& title);

    // Shows the menu at a screen position and returns the choice; none when it was dismissed.
    [[nodiscard]] Command Show(HWND owner, POINT position) const;

private:
    UniqueMenu m_menu;
};
