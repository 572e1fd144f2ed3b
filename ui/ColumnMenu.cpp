#include "ui/ColumnMenu.h"

namespace {

constexpr Text kDelete{L"&Löschen", L"&Delete"};
constexpr Text kApplyTemplate{L"Schablone &anwenden", L"&Use template"};
constexpr Text kEditTemplate{L"Schablone ansehen/&bearbeiten...", L"View/&Modify template..."};

}  // namespace

CColumnMenu::CColumnMenu(const Text& title) : m_menu(CreatePopupMenu())
{
    const auto append = [this](UINT state, UINT command, const Text& text) {
        AppendMenuW(m_menu.get(), MF_STRING | state, command, text.Current().c_str());
    };
    append(MF_DISABLED, none, title);
    SetMenuDefaultItem(m_menu.get(), 0, TRUE);  // bold
    AppendMenuW(m_menu.get(), MF_SEPARATOR, none, nullptr);
    append(MF_ENABLED, deleteRows, kDelete);
    AppendMenuW(m_menu.get(), MF_SEPARATOR, none, nullptr);
    append(MF_ENABLED, applyTemplate, kApplyTemplate);
    append(MF_ENABLED, editTemplate, kEditTemplate);
}

CColumnMenu::Command CColumnMenu::Show(HWND owner, POINT position) const
{
    constexpr UINT kFlags = TPM_LEFTALIGN | TPM_TOPALIGN | TPM_RIGHTBUTTON | TPM_NONOTIFY | TPM_RETURNCMD;
    return static_cast<Command>(
        TrackPopupMenuEx(m_menu.get(), kFlags, position.x, position.y, owner, nullptr));
}
