#include "core/ConversionTable.h"

#include <algorithm>
#include <array>
#include <memory_resource>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "core/NameRules.h"
#include "core/NameTemplate.h"
#include "core/PartName.h"
#include "framework/FileNames.h"
#include "framework/Language.h"
#include "framework/MessageBox.h"
#include "framework/MessageText.h"
#include "framework/ScopeExit.h"
#include "platform/TemplateStore.h"

namespace {

constexpr LPARAM kDataPending = 1;
constexpr LPARAM kDataConverted = 0;
constexpr UINT kImagePending = 1;
constexpr UINT kImageConverted = 2;

// State bits that move with their row when the table is sorted.
constexpr UINT kMovingStates = LVIS_STATEIMAGEMASK | LVIS_SELECTED | LVIS_FOCUSED;

constexpr Text kForbiddenCharacters{
    L"Folgende Zeichen sind in Dateinamen nicht erlaubt:\n"
    L"\t|  /  \\  *  :  \"  ?  <  >  ;  =\n\n"
    L"Diese Zeichen werden nun automatisch durch Unterstriche '_' ersetzt.",
    L"The following characters are not allowed to use in file names:\n"
    L"\t|  /  \\  *  :  \"  ?  <  >  ;  =\n\n"
    L"These characters are automatically replaced by underscores '_'."};

// One blank between ";" and "=", two between the others. Kept: users look messages up by their text.
constexpr Text kForbiddenFeatureCharacters{
    L"Folgende Zeichen sind in den Feature-/Komponenten-Namen von SOLIDWORKS nicht erlaubt:\n"
    L"\t@  /  ; =\n\n"
    L"Diese Zeichen werden nun automatisch durch Unterstriche '_' ersetzt.",
    L"The following characters are not allowed to use in feature-/component names of SOLIDWORKS:\n"
    L"\t@  /  ; =\n\n"
    L"These characters are automatically replaced by underscores '_'."};

constexpr Text kEditedNameTaken{L"Der angegebene Dateiname ist schon vorhanden.",
                                L"The file name is not unique."};

constexpr Text kGeneratedNameTaken{
    L"Ein generierter Dateiname ist bereits vorhanden.\nDer vorhandene Dateiname bleibt erhalten.",
    L"A generated file name is not unique.\nSkip this file."};

// %1: the original name, %2: the new name.
constexpr Text kAddedNameTaken{
    L"Der angegebene Dateiname in der Spalte 'Umbenannt nach...' ist bereits vorhanden.\n"
    L"Datei: \"%1 -> %2\" wird übergangen.\n\n"
    L"Sind mehrere Dateien betroffen, so wird diese Fehlermeldung nicht erneut angezeigt.",
    L"The file name in column 'Renamed to...' is not unique.\n"
    L"File: \"%1 -> %2\" is skipped.\n\n"
    L"This error message will be skipped for all following failures."};

// Writes the name's sort key into the buffer, or only measures it when `size` is 0. Returns the key's size in
// bytes, 0 when it does not fit.
std::size_t WriteSortKey(const std::wstring& name, char* buffer, std::size_t size)
{
    constexpr DWORD kFlags = LCMAP_SORTKEY | NORM_IGNORECASE;
    const int written = LCMapStringW(GetThreadLocale(), kFlags, name.c_str(), static_cast<int>(name.size()),
                                     reinterpret_cast<wchar_t*>(buffer), static_cast<int>(size));
    return static_cast<std::size_t>(std::max(written, 0));
}

// Copies the text, NUL-terminated, into the arena.
template <class Char>
std::basic_string_view<Char> CopyToArena(std::basic_string_view<Char> text, std::pmr::memory_resource& arena)
{
    auto* const copy = static_cast<Char*>(arena.allocate((text.size() + 1) * sizeof(Char), alignof(Char)));
    *std::ranges::copy(text, copy).out = Char();
    return {copy, text.size()};
}

// Returns a key, stored in the arena. Two names have the same key exactly when the list view's text search
// (LVM_FINDITEM) treats them as equal. The search compares linguistically and case-insensitively, in the
// thread's locale.
std::string_view SearchKey(const std::wstring& name, std::pmr::memory_resource& arena)
{
    constexpr std::size_t kStackSize = 1024;
    std::array<char, kStackSize> buffer;
    if (const std::size_t size = WriteSortKey(name, buffer.data(), buffer.size()); size > 0) {
        return CopyToArena(std::string_view(buffer.data(), size), arena);
    }
    std::string key(WriteSortKey(name, nullptr, 0), '\0');
    WriteSortKey(name, key.data(), key.size());
    return CopyToArena(std::string_view(key), arena);
}

void SetMark(LVITEMW& item, bool pending)
{
    item.lParam = pending ? kDataPending : kDataConverted;
    item.state = INDEXTOSTATEIMAGEMASK(pending ? kImagePending : kImageConverted);
    item.stateMask = LVIS_STATEIMAGEMASK;
}

std::wstring ReadOrCreateTemplate(int column)
{
    if (std::optional<std::wstring> text = ReadTemplate(column)) {
        return *std::move(text);
    }
    if (!HasTemplate(column)) {  // do not replace the user's template because memory was short
        WriteTemplate(column, DefaultTemplate(column));
    }
    return DefaultTemplate(column);
}

// Like the list view, takes each text up to its NUL.
void SetTexts(UTtab_entry& entry, const wchar_t* original, const wchar_t* renamed, const wchar_t* bomName)
{
    entry.strOriginal = original;
    entry.strRenamed = renamed;
    entry.strBomName = bomName;
}

// A row that is not in the table yet. Its generated texts are in the arena, NUL-terminated.
struct NewRow
{
    const std::wstring* original;
    std::wstring_view renamed;
    std::wstring_view bomName;
};

bool IsOriginalLess(const NewRow& left, const NewRow& right)
{
    return *left.original < *right.original;
}

}  // namespace

// Everything that sorting moves with a row.
struct CConversionTable::Row
{
    UTtab_entry texts;
    LPARAM data = 0;
    UINT state = 0;
};

// Adds new files. Looks names up in sets: a search in the list view for each name would take quadratic time.
class CConversionTable::NewFiles
{
public:
    // `expected`: an upper bound on the number of files to add.
    NewFiles(CConversionTable& table, std::size_t expected)
        : m_table(table)
        , m_fileTemplate(ReadOrCreateTemplate(kColumnRenamed))
        , m_bomTemplate(ReadOrCreateTemplate(kColumnBomName))
    {
        const std::size_t most = static_cast<std::size_t>(table.GetItemCount()) + expected;
        Reserve(m_originals, most);
        Reserve(m_newNames, most);
        m_rows.reserve(expected);
        ReadNames();
    }

    // Keeps a pointer to `original`: the string must outlive this object.
    void Add(const std::wstring& original)
    {
        const std::string_view key = SearchKey(original, m_arena);
        if (!m_originals.contains(key) && MakeRow(original)) {
            m_originals.insert(key);
        }
    }

    // Inserts the rows and sorts the table. Rows for an empty table are sorted before they are inserted.
    void Finish()
    {
        const bool sortFirst = m_table.GetItemCount() == 0;
        if (sortFirst && !std::ranges::is_sorted(m_rows, IsOriginalLess)) {
            std::ranges::sort(m_rows, IsOriginalLess);  // need not be stable: original names are unique
        }
        InsertRows();
        if (sortFirst) {
            TellObserver();
        } else {
            m_table.SortTextItems(kColumnOriginal, true, 0, -1);
        }
    }

private:
    // Low load factor: each collision costs a cache miss.
    template <class Set>
    static void Reserve(Set& names, std::size_t count)
    {
        constexpr float kLoadFactor = 0.25F;
        names.max_load_factor(kLoadFactor);
        names.reserve(count);
    }

    void ReadNames()
    {
        m_originals.clear();
        m_newNames.clear();
        for (int row = 0; row < m_table.GetItemCount(); ++row) {
            m_originals.insert(SearchKey(m_table.GetItemText(row, kColumnOriginal), m_arena));
            m_newNames.insert(
                CopyToArena(std::wstring_view(m_table.GetItemText(row, kColumnRenamed)), m_arena));
        }
    }

    // Returns false when the file gets no row.
    bool MakeRow(const std::wstring& original)
    {
        Diverses::SplitPartName(original, m_values);
        ExpandTemplate(m_newName, m_fileTemplate, m_values);
        if (!EnsureExtension(m_newName, m_values.strExt, EqualFileNames)) {
            return false;
        }
        if (SanitizeFileName(m_newName) > 0 && !std::exchange(m_forbiddenShown, true)) {
            InsertRowsAndShow(kForbiddenCharacters.Current());
        }
        const std::wstring_view newName = CopyToArena(std::wstring_view(m_newName), m_arena);
        if (!m_newNames.insert(newName).second) {
            if (!std::exchange(m_takenShown, true)) {
                InsertRowsAndShow(FillPlaceholders(kAddedNameTaken.Current(), {original, m_newName}));
            }
            return false;
        }
        ExpandTemplate(m_bomName, m_bomTemplate, m_values);
        m_rows.push_back({&original, newName, CopyToArena(std::wstring_view(m_bomName), m_arena)});
        return true;
    }

    // The user sees the table behind the message, so the rows made so far are inserted first. The names are
    // read again afterwards: another program may have changed cells.
    void InsertRowsAndShow(const std::wstring& message)
    {
        InsertRows();
        m_rows.clear();
        ShowMessage(message);
        ReadNames();
    }

    // Appends the rows in m_rows.
    void InsertRows()
    {
        if (m_rows.empty()) {
            return;
        }
        const CRedrawPause pause(m_table);
        int row = m_table.GetItemCount();
        m_table.SetItemCount(row + static_cast<int>(m_rows.size()));
        for (const NewRow& each : m_rows) {
            m_table.InsertRow(row++, each.original->c_str(), each.renamed.data(), each.bomName.data(), true);
        }
    }

    void TellObserver() const
    {
        const auto read = [this](std::size_t row, UTtab_entry& entry) {
            SetTexts(entry, m_rows[row].original->c_str(), m_rows[row].renamed.data(),
                     m_rows[row].bomName.data());
        };
        m_table.m_fillObserver({m_rows.size(), true, read});
    }

    CConversionTable& m_table;
    std::wstring m_fileTemplate;
    std::wstring m_bomTemplate;
    // Reused for every row to save allocations.
    PartNameValues m_values;
    std::wstring m_newName;
    std::wstring m_bomName;
    std::pmr::monotonic_buffer_resource m_arena;  // freed as a whole
    // The sets are in the arena, too, and are freed with it. Their destructors, which would visit every node,
    // are not called.
    std::pmr::polymorphic_allocator<> m_allocator{&m_arena};
    std::pmr::unordered_set<std::string_view>& m_originals =
        *m_allocator.new_object<std::pmr::unordered_set<std::string_view>>();
    std::pmr::unordered_set<std::wstring_view>& m_newNames =
        *m_allocator.new_object<std::pmr::unordered_set<std::wstring_view>>();
    std::vector<NewRow> m_rows;  // not in the table yet
    bool m_forbiddenShown = false;
    bool m_takenShown = false;
};

// Applies a column's template row by row. Redraws the list view and notifies the parent before each message
// and at the end, not for each row.
class CConversionTable::TemplateApplication
{
public:
    TemplateApplication(CConversionTable& table, int column) : m_table(table), m_column(column)
    {
        ReadNames();
    }

    // Returns false to end the operation; the row is unchanged then.
    bool Apply(int row)
    {
        // Read for each row: a template that changes while a message is open applies from the next row on.
        const std::optional<std::wstring> columnTemplate = ReadTemplate(m_column);
        if (!columnTemplate) {
            return false;
        }
        const PartNameValues values = Diverses::SplitPartName(m_table.GetItemText(row, kColumnOriginal));
        const std::wstring newText = ExpandTemplate(*columnTemplate, values);
        if (m_column == kColumnRenamed) {
            return ApplyFileName(row, newText, values.strExt);
        }
        if (newText != m_table.GetItemText(row, m_column)) {
            SetText(row, newText);
        }
        return true;
    }

    void ShowChanges()
    {
        if (m_pause) {
            m_pause.reset();
            m_table.NotifyParent();
        }
    }

private:
    // Leaves the row unchanged when another row has the name.
    bool ApplyFileName(int row, std::wstring newName, const std::wstring& extension)
    {
        if (!EnsureExtension(newName, extension, EqualFileNames)) {
            return false;
        }
        if (SanitizeFileName(newName) > 0) {
            ShowOnce(m_forbiddenShown, kForbiddenCharacters);
        }
        const std::wstring oldName = m_table.GetItemText(row, kColumnRenamed);
        const auto taken = m_newNames.find(newName);
        if (newName != oldName && taken != m_newNames.end() && taken->second > 0) {
            ShowOnce(m_takenShown, kGeneratedNameTaken);
        } else if (!EqualFileNames(newName, oldName)) {  // a change of case alone is ignored
            --m_newNames[oldName];
            ++m_newNames[newName];
            SetText(row, newName);
        }
        return true;
    }

    void SetText(int row, const std::wstring& text)
    {
        if (!m_pause) {
            m_pause.emplace(m_table);
        }
        m_table.SetItemText(row, m_column, text);
        m_table.MarkPending(row);
    }

    // Reads the names again afterwards: another program may change cells while the message is open.
    void ShowOnce(bool& shown, const Text& message)
    {
        if (!std::exchange(shown, true)) {
            ShowChanges();
            ShowMessage(message.Current());
            ReadNames();
        }
    }

    void ReadNames()
    {
        m_newNames.clear();
        for (int row = 0; m_column == kColumnRenamed && row < m_table.GetItemCount(); ++row) {
            ++m_newNames[m_table.GetItemText(row, kColumnRenamed)];
        }
    }

    CConversionTable& m_table;
    int m_column;
    std::unordered_map<std::wstring, int> m_newNames;  // the number of rows with the name
    std::optional<CRedrawPause> m_pause;               // since the first change that is not shown yet
    bool m_forbiddenShown = false;
    bool m_takenShown = false;
};

void CConversionTable::AddFiles(const std::vector<std::wstring>& fileNames)
{
    NewFiles files(*this, fileNames.size());
    for (const std::wstring& name : fileNames) {
        files.Add(name);
    }
    files.Finish();
}

void CConversionTable::FillConverted(const CList<UTtab_entry, UTtab_entry&>& entries)
{
    const CRedrawPause pause(*this);
    DeleteAllItems();
    SetItemCount(static_cast<int>(entries.GetCount()));
    std::vector<const UTtab_entry*> rows;
    rows.reserve(static_cast<std::size_t>(entries.GetCount()));
    for (const UTtab_entry& entry : entries) {
        InsertRow(static_cast<int>(rows.size()), entry.strOriginal.c_str(), entry.strRenamed.c_str(),
                  entry.strBomName.c_str(), false);
        rows.push_back(&entry);
    }
    const auto read = [&rows](std::size_t row, UTtab_entry& entry) {
        SetTexts(entry, rows[row]->strOriginal.c_str(), rows[row]->strRenamed.c_str(),
                 rows[row]->strBomName.c_str());
    };
    m_fillObserver({rows.size(), false, read});
}

bool CConversionTable::IsNewNameTaken(const std::wstring& fileName) const
{
    for (int row = 0; row < GetItemCount(); ++row) {
        if (GetItemText(row, kColumnRenamed) == fileName) {
            return true;
        }
    }
    return false;
}

int CConversionTable::CountPendingRows() const
{
    int count = 0;
    for (int row = 0; row < GetItemCount(); ++row) {
        count += IsPending(row) ? 1 : 0;
    }
    return count;
}

void CConversionTable::SortTextItems(int column, bool ascending, int low, int high)
{
    const int last = high == -1 ? GetItemCount() - 1 : high;
    std::vector<std::pair<std::wstring, int>> order;  // the column's text and its row
    for (int row = low; row <= last; ++row) {
        order.emplace_back(GetItemText(row, column), row);
    }
    const auto before = [ascending](const auto& left, const auto& right) {
        return ascending ? left.first < right.first : right.first < left.first;
    };
    if (std::ranges::is_sorted(order, before)) {
        return;
    }
    std::ranges::stable_sort(order, before);
    // Usually few rows move; only these are read completely and written.
    std::vector<std::pair<int, Row>> moved;
    for (int place = low; const auto& [text, row] : order) {
        if (row != place) {
            moved.emplace_back(place, ReadRow(row));
        }
        ++place;
    }
    const CRedrawPause pause(*this);
    for (const auto& [place, row] : moved) {
        WriteRow(place, row);
    }
}

void CConversionTable::ApplyTemplate(int column)
{
    TemplateApplication application(*this, column);
    const CScopeExit showChanges([&application] { application.ShowChanges(); });
    int row = GetNextItem(-1, LVNI_SELECTED);
    while (row != -1 && application.Apply(row)) {
        row = GetNextItem(row, LVNI_SELECTED);
    }
}

// Posted, so that the parent does not react in the middle of an operation.
void CConversionTable::NotifyParent() const
{
    ::PostMessageW(::GetParent(m_hWnd), WM_LISTCHANGED, 0, 0);
}

LRESULT CConversionTable::OnEndLabelEdit(int row, int column, const wchar_t* newText)
{
    if (newText == nullptr) {
        return 0;
    }
    const std::wstring oldText = GetItemText(row, column);
    std::wstring text = newText;
    if (column == kColumnRenamed && !AcceptEditedFileName(text, oldText)) {
        return 0;
    }
    if (column == kColumnBomName && SanitizeFeatureName(text) > 0) {
        ShowMessage(kForbiddenFeatureCharacters.Current());
    }
    if (text == oldText) {
        return 0;
    }
    SetItemText(row, column, text);
    MarkPending(row);
    NotifyParent();
    if (column == kColumnOriginal) {
        SortTextItems(kColumnOriginal, true, 0, -1);
    }
    return 0;
}

// Applies the rules about extension, forbidden characters and uniqueness, and shows their messages. Returns
// false when the cell keeps its text.
bool CConversionTable::AcceptEditedFileName(std::wstring& text, const std::wstring& oldText) const
{
    std::optional<EditedName> edited = EditedFileName(std::move(text), EqualFileNames);
    if (!edited) {
        return false;
    }
    text = std::move(edited->text);
    if (edited->cleaned) {
        ShowMessage(kForbiddenCharacters.Current());
    }
    if (text == oldText) {
        return false;
    }
    if (IsNewNameTaken(text)) {
        ShowMessage(kEditedNameTaken.Current());
        return false;
    }
    return true;
}

void CConversionTable::SetNames(const std::vector<RowNames>& names) const
{
    const CRedrawPause pause(*this);
    bool changed = false;
    for (const RowNames& each : names) {
        const UTtab_entry before = GetRow(each.row);
        const bool renamed = SetChangedText(each.row, kColumnRenamed, before.strRenamed, each.renamed);
        if (SetChangedText(each.row, kColumnBomName, before.strBomName, each.bomName) || renamed) {
            MarkPending(each.row);
            changed = true;
        }
    }
    if (changed) {
        NotifyParent();
    }
}

// Sets the text only if it differs: comparing is faster than setting. Returns whether it differed.
bool CConversionTable::SetChangedText(int row, int column, const std::wstring& oldText,
                                      const std::wstring& text) const
{
    if (text == oldText) {
        return false;
    }
    SetItemText(row, column, text);
    return true;
}

void CConversionTable::Splice(const RowSplice& splice) const
{
    const std::size_t kept = std::min(splice.removed.size(), splice.inserted.size());
    const int next = splice.at + static_cast<int>(kept);
    const CRedrawPause pause(*this);
    for (std::size_t i = 0; i < kept; ++i) {
        ChangeRow(splice.at + static_cast<int>(i), splice.removed[i], splice.inserted[i]);
    }
    DeleteRows(next, static_cast<int>(splice.removed.size() - kept));
    InsertRows(next, std::span(splice.inserted).subspan(kept));
}

void CConversionTable::ChangeRow(int row, const TableRow& before, const TableRow& after) const
{
    SetChangedText(row, kColumnOriginal, before.texts.strOriginal, after.texts.strOriginal);
    SetChangedText(row, kColumnRenamed, before.texts.strRenamed, after.texts.strRenamed);
    SetChangedText(row, kColumnBomName, before.texts.strBomName, after.texts.strBomName);
    if (before.pending != after.pending) {
        Mark(row, after.pending);
    }
}

void CConversionTable::DeleteRows(int first, int count) const
{
    if (count > 0 && count == GetItemCount()) {
        DeleteAllItems();  // row by row takes quadratic time
        return;
    }
    for (int row = first + count - 1; row >= first; --row) {  // bottom up: fewer rows move up
        DeleteItem(row);
    }
}

void CConversionTable::InsertRows(int first, std::span<const TableRow> rows) const
{
    SetItemCount(GetItemCount() + static_cast<int>(rows.size()));
    for (const TableRow& each : rows) {
        InsertRow(first++, each.texts.strOriginal.c_str(), each.texts.strRenamed.c_str(),
                  each.texts.strBomName.c_str(), each.pending);
    }
}

std::vector<int> CConversionTable::SelectedRows() const
{
    std::vector<int> rows;
    for (int row = GetNextItem(-1, LVNI_SELECTED); row != -1; row = GetNextItem(row, LVNI_SELECTED)) {
        rows.push_back(row);
    }
    return rows;
}

UTtab_entry CConversionTable::GetRow(int row) const
{
    return {GetItemText(row, kColumnOriginal), GetItemText(row, kColumnRenamed),
            GetItemText(row, kColumnBomName)};
}

bool CConversionTable::IsPending(int row) const
{
    return GetItemData(row) == kDataPending;
}

void CConversionTable::MarkPending(int row) const
{
    Mark(row, true);
}

void CConversionTable::MarkConverted(int row) const
{
    Mark(row, false);
}

void CConversionTable::SelectOnly(int row) const
{
    constexpr UINT kState = LVIS_SELECTED | LVIS_FOCUSED;
    SetItemState(-1, 0, LVIS_SELECTED);  // -1: every row
    SetItemState(row, kState, kState);
    EnsureVisible(row);
}

void CConversionTable::ScrollIntoView(int row) const
{
    const int page = GetCountPerPage();
    if (row >= GetTopIndex() + page) {
        EnsureVisible(std::min(row + page, GetItemCount()) - 1);
    }
    EnsureVisible(row);
}

void CConversionTable::Mark(int row, bool pending) const
{
    LVITEMW item{};
    item.mask = LVIF_PARAM | LVIF_STATE;
    item.iItem = row;
    SetMark(item, pending);
    SetItem(item);
}

void CConversionTable::InsertRow(int row, const wchar_t* original, const wchar_t* renamed,
                                 const wchar_t* bomName, bool pending) const
{
    LVITEMW item{};
    item.mask = LVIF_TEXT | LVIF_PARAM | LVIF_STATE | LVIF_IMAGE;
    item.iItem = row;
    item.pszText = const_cast<wchar_t*>(original);
    SetMark(item, pending);
    const int inserted = InsertItem(item);
    SetItemText(inserted, kColumnRenamed, renamed);
    SetItemText(inserted, kColumnBomName, bomName);
}

CConversionTable::Row CConversionTable::ReadRow(int row) const
{
    LVITEMW item{};
    item.mask = LVIF_PARAM | LVIF_STATE;
    item.iItem = row;
    item.stateMask = kMovingStates;
    GetItem(item);
    return {GetRow(row), item.lParam, item.state};
}

void CConversionTable::WriteRow(int row, const Row& content) const
{
    LVITEMW item{};
    item.mask = LVIF_TEXT | LVIF_PARAM | LVIF_STATE;
    item.iItem = row;
    item.pszText = const_cast<wchar_t*>(content.texts.strOriginal.c_str());
    item.lParam = content.data;
    item.state = content.state;
    item.stateMask = kMovingStates;
    SetItem(item);
    SetItemText(row, kColumnRenamed, content.texts.strRenamed);
    SetItemText(row, kColumnBomName, content.texts.strBomName);
}
