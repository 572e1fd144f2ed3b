#include "ui/CommandMenu.h"

#include <string>

#include "framework/Handles.h"

UINT ShowCommandMenu(HWND button, std::span<const MenuCommand> commands)
{
    const UniqueMenu menu(CreatePopupMenu());
    for (const MenuCommand& command : commands) {
        const UINT state = command.possible ? MF_ENABLED : MF_GRAYED;
        const std::wstring text = command.text.Current() + L'\t' + command.shortcut.Current();
        AppendMenuW(menu.get(), command.id == 0 ? MF_SEPARATOR : MF_STRING | state, command.id, text.c_str());
    }
    TPMPARAMS around{};  // the menu must not cover the button
    around.cbSize = sizeof around;
    GetWindowRect(button, &around.rcExclude);
    constexpr UINT kFlags = TPM_LEFTALIGN | TPM_TOPALIGN | TPM_VERTICAL | TPM_NONOTIFY | TPM_RETURNCMD;
    return static_cast<UINT>(TrackPopupMenuEx(menu.get(), kFlags, around.rcExclude.left,
                                              around.rcExclude.bottom, button, &around));
}
