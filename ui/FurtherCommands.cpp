#include "ui/FurtherCommands.h"

#include <array>
#include <string>

#include "framework/Handles.h"
#include "framework/Language.h"
#include "resources/resource.h"

namespace {

struct MenuCommand
{
    UINT id;
    Text text;
    Text key;  // only shown; CTalvenorDlg handles the key
};

constexpr Text kNoText{L"", L""};
constexpr MenuCommand kSeparator{0, kNoText, kNoText};

constexpr std::array kCommands{
    MenuCommand{IDM_UNDO, {L"&Rückgängig", L"&Undo"}, {L"Strg+Z", L"Ctrl+Z"}},
    MenuCommand{IDM_REDO, {L"Wieder&herstellen", L"&Redo"}, {L"Strg+Y", L"Ctrl+Y"}},
    kSeparator,
    MenuCommand{IDM_COPY, {L"&Kopieren", L"&Copy"}, {L"Strg+C", L"Ctrl+C"}},
    MenuCommand{IDM_PASTE, {L"&Einfügen", L"&Paste"}, {L"Strg+V", L"Ctrl+V"}},
    kSeparator,
    MenuCommand{IDM_FIND, {L"&Suchen...", L"&Find..."}, {L"Strg+F", L"Ctrl+F"}},
    MenuCommand{IDM_FIND_NEXT, {L"&Weitersuchen", L"Find &next"}, {L"F3", L"F3"}},
    MenuCommand{IDC_CHECK_NAMES, {L"Nächsten Namen &prüfen", L"Chec&k next name"}, kNoText},
    kSeparator,
    MenuCommand{IDM_IMPORT, {L"&Importieren...", L"&Import..."}, kNoText},
    MenuCommand{IDM_EXPORT, {L"E&xportieren...", L"E&xport..."}, kNoText},
    kSeparator,
    MenuCommand{IDM_SELECT_ATTENTION,
                {L"&Auffällige Zeilen der letzten Umsetzung markieren",
                 L"&Select what needs attention in the last conversion"},
                kNoText},
};

UniqueMenu MakeMenu(const std::function<bool(UINT)>& isPossible)
{
    UniqueMenu menu(CreatePopupMenu());
    for (const MenuCommand& command : kCommands) {
        if (command.id == kSeparator.id) {
            AppendMenuW(menu.get(), MF_SEPARATOR, 0, nullptr);
        } else {
            const std::wstring text = command.text.Current() + L'\t' + command.key.Current();
            AppendMenuW(menu.get(), MF_STRING | (isPossible(command.id) ? MF_ENABLED : MF_GRAYED), command.id,
                        text.c_str());
        }
    }
    return menu;
}

}  // namespace

UINT ShowFurtherCommands(HWND button, const std::function<bool(UINT)>& isPossible)
{
    const UniqueMenu menu = MakeMenu(isPossible);
    TPMPARAMS around{};  // the menu must not cover the button
    around.cbSize = sizeof around;
    GetWindowRect(button, &around.rcExclude);
    constexpr UINT kFlags = TPM_LEFTALIGN | TPM_TOPALIGN | TPM_VERTICAL | TPM_NONOTIFY | TPM_RETURNCMD;
    return static_cast<UINT>(TrackPopupMenuEx(menu.get(), kFlags, around.rcExclude.left,
                                              around.rcExclude.bottom, button, &around));
}
