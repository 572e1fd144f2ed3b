#include "ui/CommandMenu.h"

#include "framework/Handles.h"

UINT ShowCommandMenu(HWND button, std::span<const MenuCommand> commands)
{
    const UniqueMenu menu(CreatePopupMenu());
    for (const MenuCommand& command : commands) {
        const UINT state = command.possible ? MF_ENABLED : MF_GRAYED;
        AppendMenuW(menu.get(), command.id == 0 ? MF_SEPARATOR : MF_STRING | state, command.id,
                    command.text.Current().c_str());
    }
    TPMPARAMS around{};  // the menu must not cover the button
    around.cbSize = sizeof around;
    GetWindowRect(button, &around.rcExclude);
    constexpr UINT kFlags = TPM_LEFTALIGN | TPM_TOPALIGN | TPM_VERTICAL | TPM_NONOTIFY | TPM_RETURNCMD;
    return static_cast<UINT>(TrackPopupMenuEx(menu.get(), kFlags, around.rcExclude.left,
                                              around.rcExclude.bottom, button, &around));
}
