#pragma once

#include <windows.h>

#include <span>

#include "framework/Language.h"

// An entry of a command menu.
struct MenuCommand
{
    UINT id;  // 0: a separator
    Text text;
    Text shortcut;  // shown only; may be empty
    bool possible;  // otherwise it is grey
};

// Shows the commands as a menu below a button and returns the id of the chosen one; 0 when it was dismissed.
[[nodiscard]] UINT ShowCommandMenu(HWND button, std::span<const MenuCommand> commands);
