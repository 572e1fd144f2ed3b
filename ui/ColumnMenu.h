#pragma once

#include <windows.h>

#include "framework/Handles.h"
#include "framework/Language.h"

// The popup menu of one generated column of the conversion list, in the language in force when it is made.
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

    // Lets the user choose at a position of the screen; none when the menu was dismissed.
    [[nodiscard]] Command Show(HWND owner, POINT position) const;

private:
    UniqueMenu m_menu;
};
