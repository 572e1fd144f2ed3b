#include "ui/TableCommands.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <string_view>
#include <vector>

#include "core/ColumnHeaders.h"
#include "core/TableImport.h"
#include "core/TableText.h"
#include "files/TableFile.h"
#include "framework/Clipboard.h"
#include "framework/FileNames.h"
#include "framework/Language.h"
#include "framework/MessageBox.h"
#include "framework/MessageText.h"
#include "resources/resource.h"
#include "ui/FileDialogs.h"

namespace {

constexpr Text kClipboardInUse{L"Die Zwischenablage wird gerade von einem anderen Programm benutzt.",
                               L"The clipboard is being used by another program."};

// %1 to %5: numbers.
constexpr Text kTaken{
    L"Geänderte Zeilen: %1\n\n"
    L"Nicht in der Liste: %2\n"
    L"Dateiname schon vorhanden: %3\n"
    L"Mehrfach und verschieden genannt: %4\n"
    L"Zellen mit ersetzten Zeichen: %5",
    L"Rows changed: %1\n\n"
    L"Not in the list: %2\n"
    L"File name not unique: %3\n"
    L"Named more than once, differently: %4\n"
    L"Cells with replaced characters: %5"};

// The user's list separator, which spreadsheets expect in CSV files; a semicolon if CTableReader does not
// support the user's separator.
wchar_t ListSeparator()
{
    constexpr std::wstring_view kUsual = L";,\t";
    std::array<wchar_t, 4> separator{};  // the longest that Windows allows ("LOCALE_SLIST")
    GetLocaleInfoEx(LOCALE_NAME_USER_DEFAULT, LOCALE_SLIST, separator.data(),
                    static_cast<int>(separator.size()));
    return kUsual.find(separator.front()) != std::wstring_view::npos ? separator.front() : L';';
}

void AppendRow(std::wstring& text, const UTtab_entry& row, wchar_t separator)
{
    AppendTableRow(text, {row.strOriginal, row.strRenamed, row.strBomName}, separator);
}

std::wstring Summary(const TableImport& taken)
{
    return FillPlaceholders(
        kTaken.Current(),
        {std::to_wstring(taken.changes.size()), std::to_wstring(taken.unknown),
         std::to_wstring(taken.notUnique), std::to_wstring(taken.ambiguous), std::to_wstring(taken.cleaned)});
}

}  // namespace

constexpr std::array<CTableCommands::Command, 6> CTableCommands::kCommands{{
    {IDM_UNDO, 'Z', &CTableCommands::CanUndo, &CTableCommands::Undo},
    {IDM_REDO, 'Y', &CTableCommands::CanRedo, &CTableCommands::Redo},
    {IDM_COPY, 'C', &CTableCommands::HasSelection, &CTableCommands::Copy},
    {IDM_PASTE, 'V', &CTableCommands::CanPaste, &CTableCommands::Paste},
    {IDM_IMPORT, kNoKey, &CTableCommands::HasRows, &CTableCommands::Import},
    {IDM_EXPORT, kNoKey, &CTableCommands::HasRows, &CTableCommands::Export},
}};

const CTableCommands::Command* CTableCommands::Find(int command)
{
    const auto* const found = std::ranges::find(kCommands, command, &Command::id);
    return found != kCommands.end() ? found : nullptr;
}

int CTableCommands::CommandOfKey(WPARAM key)
{
    const auto isDown = [](int modifier) { return GetKeyState(modifier) < 0; };
    if (key == kNoKey || !isDown(VK_CONTROL) || isDown(VK_SHIFT) || isDown(VK_MENU)) {
        return 0;
    }
    const auto* const found = std::ranges::find(kCommands, key, &Command::key);
    return found != kCommands.end() ? found->id : 0;
}

bool CTableCommands::IsPossible(int command) const
{
    const Command* const found = Find(command);
    return found != nullptr && (this->*found->isPossible)();
}

bool CTableCommands::Perform(int command)
{
    const Command* const found = Find(command);
    if (found == nullptr) {
        return false;
    }
    m_list.EndEdit();
    if ((this->*found->isPossible)()) {
        (this->*found->perform)();
    }
    return true;
}

bool CTableCommands::CanPaste() const
{
    return HasRows() && ClipboardHasText();
}

void CTableCommands::Copy()
{
    std::wstring text;
    for (const int row : m_list.SelectedRows()) {
        AppendRow(text, m_list.GetRow(row), kTab);
    }
    if (!WriteClipboard(m_list.m_hWnd, text)) {
        ShowMessage(kClipboardInUse.Current());
    }
}

void CTableCommands::Paste()
{
    if (const std::optional<std::wstring> text = ReadClipboard(m_list.m_hWnd)) {
        TakeText(*text);
    } else {
        ShowMessage(kClipboardInUse.Current());
    }
}

void CTableCommands::Import()
{
    if (const std::optional<std::wstring> path = PickTableToImport(::GetParent(m_list.m_hWnd))) {
        TakeText(ReadTableFile(*path));
    }
}

void CTableCommands::Export()
{
    const std::optional<std::wstring> path = PickTableToExport(::GetParent(m_list.m_hWnd));
    if (!path) {
        return;
    }
    const wchar_t separator = ListSeparator();
    std::wstring text;
    AppendTableRow(text,
                   {kColumnHeaders[0].Current(), kColumnHeaders[1].Current(), kColumnHeaders[2].Current()},
                   separator);
    for (int row = 0; row < m_list.GetItemCount(); ++row) {
        AppendRow(text, m_list.GetRow(row), separator);
    }
    WriteTableFile(*path, text);
}

// Takes the names in a text into the table and shows how many were taken and how many were not.
void CTableCommands::TakeText(const std::wstring& text)
{
    std::vector<UTtab_entry> rows;
    rows.reserve(static_cast<std::size_t>(m_list.GetItemCount()));
    for (int row = 0; row < m_list.GetItemCount(); ++row) {
        rows.push_back(m_list.GetRow(row));
    }
    const TableImport taken = ImportTable(rows, text, {&EqualFileNames, &FoldFileName});
    std::vector<int> changed;
    std::ranges::transform(taken.changes, std::back_inserter(changed), &RowNames::row);
    m_recorder.EditRows(changed, [&] { m_list.SetNames(taken.changes); });
    ShowMessage(Summary(taken));
}
