#pragma once

#include <windows.h>

#include <span>

#include "framework/Language.h"

// An entry of a command menu. The text ends in a tab and the shortcut key, if there is one.
struct MenuCommand
{
    UINT id;  // 0: a separator
    Text text;
    bool possible;  // otherwise it is grey
};

// Shows the commands as a menu below a button and returns the id of the chosen one; 0 when it was dismissed.
[[nodiscard]] UINT ShowCommandMenu(HWND button, std::span<const MenuCommand> commands);
