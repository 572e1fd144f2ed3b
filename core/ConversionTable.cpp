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
#include "framework/Language.h"
#include "framework/MessageBox.h"
#include "platform/TemplateStore.h"

namespace {

constexpr LPARAM kDataPending = 1;
constexpr LPARAM kDataConverted = 0;
constexpr UINT kImagePending = 1;
constexpr UINT kImageConverted = 2;

// A hand-edited file name gets this extension in every row: the table is built from part files.
constexpr const wchar_t* kEditedExtension = L"sldprt";

constexpr Text kForbiddenCharacters{
    L"Folgende Zeichen sind in Dateinamen nicht erlaubt:\n\t|  /  \\  *  :  \"  ?  <  >  ;  =\n\nDiese "
    L"Zeichen "
    L"werden nun automatisch durch Unterstriche '_' ersetzt.",
    L"The following characters are not allowed to use in file names:\n\t|  /  \\  *  :  \"  ?  <  >  ;  =\n\n"
    L"These characters are automatically replaced by underscores '_'."};

// One blank between ";" and "=" is meant.
constexpr Text kForbiddenFeatureCharacters{
    L"Folgende Zeichen sind in den Feature-/Komponenten-Namen von SOLIDWORKS nicht erlaubt:\n\t@  /  ; =\n\n"
    L"Diese Zeichen werden nun automatisch durch Unterstriche '_' ersetzt.",
    L"The following characters are not allowed to use in feature-/component names of SOLIDWORKS:\n\t@  /  ; "
    L"=\n\n"
    L"These characters are automatically replaced by underscores '_'."};

constexpr Text kEditedNameTaken{L"Der angegebene Dateiname ist schon vorhanden.",
                                L"The file name is not unique."};

constexpr Text kGeneratedNameTaken{
    L"Ein generierter Dateiname ist bereits vorhanden.\nDer vorhandene Dateiname bleibt erhalten.",
    L"A generated file name is not unique.\nSkip this file."};

constexpr Text kAddedNameTakenLead{
    L"Der angegebene Dateiname in der Spalte 'Umbenannt nach...' ist bereits vorhanden.\nDatei: \"",
    L"The file name in column 'Renamed to...' is not unique.\nFile: \""};
constexpr Text kAddedNameTakenClosing{
    L"\" wird übergangen.\n\nSind mehrere Dateien betroffen, so wird diese Fehlermeldung nicht erneut "
    L"angezeigt.",
    L"\" is skipped.\n\nThis error message will be skipped for all following failures."};

// A message that is shown at most once in an operation.
class COnceMessage
{
public:
    void Show(const std::wstring& text)
    {
        if (!std::exchange(m_bShown, true)) {
            ShowMessage(text);
        }
    }

private:
    bool m_bShown = false;
};

// Writes the name's sort key into the bytes, or only measures it when `size` is 0. The key's size in bytes; 0
// when there is no room for it.
std::size_t MakeSortKey(const std::wstring& name, char* bytes, std::size_t size)
{
    constexpr DWORD kFlags = LCMAP_SORTKEY | NORM_IGNORECASE;
    const int made = LCMapStringW(GetThreadLocale(), kFlags, name.c_str(), static_cast<int>(name.size()),
                                  reinterpret_cast<wchar_t*>(bytes), static_cast<int>(size));
    return static_cast<std::size_t>(std::max(made, 0));
}

// A text in a memory that stays until the text is no longer needed, with a zero behind it.
template <class Char>
std::basic_string_view<Char> Kept(std::basic_string_view<Char> text, std::pmr::memory_resource& memory)
{
    auto* const room = static_cast<Char*>(memory.allocate((text.size() + 1) * sizeof(Char), alignof(Char)));
    *std::ranges::copy(text, room).out = Char();
    return {room, text.size()};
}

// Equal for two names exactly when the list view's own text search takes them for the same: a comparison by
// the rules of the thread's locale that ignores letter case. The key lies in the memory.
std::string_view SearchKey(const std::wstring& name, std::pmr::memory_resource& memory)
{
    constexpr std::size_t kUsualSize = 1024;
    std::array<char, kUsualSize> usual;
    if (const std::size_t size = MakeSortKey(name, usual.data(), usual.size()); size > 0) {
        return Kept(std::string_view(usual.data(), size), memory);
    }
    std::string key(MakeSortKey(name, nullptr, 0), '\0');
    MakeSortKey(name, key.data(), key.size());
    return Kept(std::string_view(key), memory);
}

void SetMark(LVITEMW& item, bool pending)
{
    item.lParam = pending ? kDataPending : kDataConverted;
    item.state = INDEXTOSTATEIMAGEMASK(pending ? kImagePending : kImageConverted);
    item.stateMask = LVIS_STATEIMAGEMASK;
}

bool EqualIgnoringFileCase(const std::wstring& left, const std::wstring& right)
{
    return CompareStringOrdinal(left.c_str(), static_cast<int>(left.size()), right.c_str(),
                                static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

std::wstring TemplateOrDefault(int column)
{
    if (std::optional<std::wstring> text = ReadTemplate(column)) {
        return *std::move(text);
    }
    WriteTemplate(column, DefaultTemplate(column));
    return DefaultTemplate(column);
}

// A row that is about to be inserted. Its new texts lie in the memory of the rows' maker, zeros behind them.
struct NewRow
{
    const std::wstring* original;
    std::wstring_view renamed;
    std::wstring_view bomName;
};

bool StandsBefore(const NewRow& left, const NewRow& right)
{
    return *left.original < *right.original;
}

// Makes the rows for new files: asks two sets where asking the list view for each name would take quadratic
// time.
class CNewRows
{
public:
    // `expected`: how many files will be added at most.
    CNewRows(const CConversionTable& table, std::size_t expected)
        : m_strFileTemplate(TemplateOrDefault(kColumnRenamed))
        , m_strBomTemplate(TemplateOrDefault(kColumnBomName))
    {
        const int count = table.GetItemCount();
        MakeRoom(m_originals, static_cast<std::size_t>(count) + expected);
        MakeRoom(m_newNames, static_cast<std::size_t>(count) + expected);
        m_rows.reserve(expected);
        for (int row = 0; row < count; ++row) {
            m_originals.insert(SearchKey(table.GetItemText(row, kColumnOriginal), m_memory));
            m_newNames.insert(Kept(std::wstring_view(table.GetItemText(row, kColumnRenamed)), m_memory));
        }
    }

    // The name must stay where it is.
    void Add(const std::wstring& original)
    {
        const auto [key, isNew] = m_originals.insert(SearchKey(original, m_memory));
        if (isNew && !MakeRow(original)) {
            m_originals.erase(key);
        }
    }

    // The rows made so far in the table's order, so that an empty table needs no further sorting. No two of
    // them have the same original name.
    std::vector<NewRow>& Sorted()
    {
        if (!std::ranges::is_sorted(m_rows, StandsBefore)) {
            std::ranges::sort(m_rows, StandsBefore);
        }
        return m_rows;
    }

private:
    // Room for so many names of which few share a place: with one that does, a look at the other's memory is
    // due, which is dear with many names.
    template <class Set>
    static void MakeRoom(Set& names, std::size_t count)
    {
        constexpr float kNamesPerPlace = 0.25F;
        names.max_load_factor(kNamesPerPlace);
        names.reserve(count);
    }

    // False when the file gets no row.
    bool MakeRow(const std::wstring& original)
    {
        Diverses::SplitPartName(original, m_values);
        ExpandTemplate(m_strNewName, m_strFileTemplate, m_values);
        if (!EnsureExtension(m_strNewName, m_values.strExt)) {
            return false;
        }
        if (SanitizeFileName(m_strNewName) > 0) {
            m_forbiddenCharacters.Show(kForbiddenCharacters.Current());
        }
        const std::wstring_view newName = Kept(std::wstring_view(m_strNewName), m_memory);
        if (!m_newNames.insert(newName).second) {
            m_nameTaken.Show(kAddedNameTakenLead.Current() + original + L" -> " + m_strNewName +
                             kAddedNameTakenClosing.Current());
            return false;
        }
        ExpandTemplate(m_strBomName, m_strBomTemplate, m_values);
        m_rows.push_back({&original, newName, Kept(std::wstring_view(m_strBomName), m_memory)});
        return true;
    }

    std::wstring m_strFileTemplate;
    std::wstring m_strBomTemplate;
    // Of the row in hand; members, as they keep their room.
    PartNameValues m_values;
    std::wstring m_strNewName;
    std::wstring m_strBomName;
    std::pmr::monotonic_buffer_resource m_memory;  // nothing in it goes before the rest
    // Sets in that memory, which go with it: destroying them would visit each name for nothing.
    std::pmr::polymorphic_allocator<> m_maker{&m_memory};
    std::pmr::unordered_set<std::string_view>& m_originals =
        *m_maker.new_object<std::pmr::unordered_set<std::string_view>>();
    std::pmr::unordered_set<std::wstring_view>& m_newNames =
        *m_maker.new_object<std::pmr::unordered_set<std::wstring_view>>();
    std::vector<NewRow> m_rows;
    COnceMessage m_forbiddenCharacters;
    COnceMessage m_nameTaken;
};

// What a template makes of one cell.
enum class Outcome
{
    unchanged,
    changed,
    unusable  // ends the whole operation
};

// Applies a column's template to one row after the other.
class CTemplateApplication
{
public:
    CTemplateApplication(const CConversionTable& table, int column) : m_nColumn(column)
    {
        for (int row = 0; column == kColumnRenamed && row < table.GetItemCount(); ++row) {
            ++m_newNames[table.GetItemText(row, kColumnRenamed)];
        }
    }

    // `text`: the cell's text, replaced by the new one when the outcome is "changed".
    Outcome Apply(const std::wstring& original, std::wstring& text)
    {
        // The template is read for each row anew: a change made meanwhile counts from the next row on.
        const std::optional<std::wstring> columnTemplate = ReadTemplate(m_nColumn);
        if (!columnTemplate) {
            return Outcome::unusable;
        }
        const PartNameValues values = Diverses::SplitPartName(original);
        std::wstring newText = ExpandTemplate(*columnTemplate, values);
        if (m_nColumn == kColumnRenamed && !AcceptFileName(newText, text, values.strExt)) {
            return Outcome::unusable;
        }
        // A file name that differs in letter case only stays as it is; that is meant.
        const bool same =
            m_nColumn == kColumnRenamed ? EqualIgnoringFileCase(newText, text) : newText == text;
        if (same) {
            return Outcome::unchanged;
        }
        text = std::move(newText);
        return Outcome::changed;
    }

    // Keeps the names that Apply asks in step with the table.
    void Rename(const std::wstring& oldName, const std::wstring& newName)
    {
        --m_newNames[oldName];
        ++m_newNames[newName];
    }

private:
    // False when there is no usable name. A name that another row has is replaced by the row's old one.
    bool AcceptFileName(std::wstring& newName, const std::wstring& oldName, const std::wstring& extension)
    {
        if (!EnsureExtension(newName, extension)) {
            return false;
        }
        if (SanitizeFileName(newName) > 0) {
            m_forbiddenCharacters.Show(kForbiddenCharacters.Current());
        }
        const auto taken = m_newNames.find(newName);
        if (newName != oldName && taken != m_newNames.end() && taken->second > 0) {
            newName = oldName;
            m_nameTaken.Show(kGeneratedNameTaken.Current());
        }
        return true;
    }

    int m_nColumn;
    std::unordered_map<std::wstring, int> m_newNames;  // how many rows have the name
    COnceMessage m_forbiddenCharacters;
    COnceMessage m_nameTaken;
};

}  // namespace

// A row with all that moves when the table is sorted.
struct CConversionTable::Row
{
    UTtab_entry texts;
    LPARAM data = 0;
    UINT state = 0;
};

void CConversionTable::AddFiles(const std::vector<std::wstring>& fileNames)
{
    CNewRows newRows(*this, fileNames.size());
    for (const std::wstring& name : fileNames) {
        newRows.Add(name);
    }
    const std::vector<NewRow>& rows = newRows.Sorted();
    const CRedrawPause pause(*this);
    const int before = GetItemCount();
    SetItemCount(before + static_cast<int>(rows.size()));
    int row = before;
    for (const NewRow& newRow : rows) {
        InsertRow(row++, newRow.original->c_str(), newRow.renamed.data(), newRow.bomName.data(), true);
    }
    if (before > 0) {
        SortTextItems(kColumnOriginal, true, 0, -1);
    }
}

void CConversionTable::FillConverted(const CList<UTtab_entry, UTtab_entry&>& entries)
{
    const CRedrawPause pause(*this);
    DeleteAllItems();
    SetItemCount(static_cast<int>(entries.GetCount()));
    int row = 0;
    for (const UTtab_entry& entry : entries) {
        InsertRow(row++, entry.strOriginal.c_str(), entry.strRenamed.c_str(), entry.strBomName.c_str(),
                  false);
    }
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
    std::vector<std::pair<std::wstring, int>> order;  // the column's text and the row that it stands in
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
    std::vector<Row> rows;
    rows.reserve(order.size());
    for (const auto& [text, row] : order) {
        rows.push_back(ReadRow(row));
    }
    const CRedrawPause pause(*this);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const int row = low + static_cast<int>(i);
        if (order[i].second != row) {
            WriteRow(row, rows[i]);
        }
    }
}

void CConversionTable::ApplyTemplate(int column)
{
    CTemplateApplication application(*this, column);
    std::vector<std::pair<int, std::wstring>> changes;  // rows and their new texts
    for (int row = GetNextItem(-1, LVNI_SELECTED); row != -1; row = GetNextItem(row, LVNI_SELECTED)) {
        const std::wstring oldText = GetItemText(row, column);
        std::wstring text = oldText;
        const Outcome outcome = application.Apply(GetItemText(row, kColumnOriginal), text);
        if (outcome == Outcome::unusable) {
            break;
        }
        if (outcome == Outcome::changed) {
            application.Rename(oldText, text);
            changes.emplace_back(row, std::move(text));
        }
    }
    if (!changes.empty()) {
        SetTexts(column, changes);
        ::PostMessageW(::GetParent(m_hWnd), WM_LISTCHANGED, 0, 0);
    }
}

// Sets texts of the column and marks their rows pending; all at once, since the list does not redraw
// meanwhile and no message box may come up above it.
void CConversionTable::SetTexts(int column, const std::vector<std::pair<int, std::wstring>>& changes) const
{
    const CRedrawPause pause(*this);
    for (const auto& [row, text] : changes) {
        SetItemText(row, column, text);
        MarkPending(row);
    }
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
    ::PostMessageW(::GetParent(m_hWnd), WM_LISTCHANGED, 0, 0);
    if (column == kColumnOriginal) {
        SortTextItems(kColumnOriginal, true, 0, -1);
    }
    return 0;
}

// The rules for a hand-edited file name. False when the cell keeps its text.
bool CConversionTable::AcceptEditedFileName(std::wstring& text, const std::wstring& oldText) const
{
    if (!EnsureExtension(text, kEditedExtension)) {
        return false;
    }
    if (SanitizeFileName(text) > 0) {
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
    constexpr UINT kMovingStates = LVIS_STATEIMAGEMASK | LVIS_SELECTED | LVIS_FOCUSED;
    return {GetRow(row), GetItemData(row), GetItemState(row, kMovingStates)};
}

void CConversionTable::WriteRow(int row, const Row& content) const
{
    constexpr UINT kMovingStates = LVIS_STATEIMAGEMASK | LVIS_SELECTED | LVIS_FOCUSED;
    SetItemText(row, kColumnOriginal, content.texts.strOriginal);
    SetItemText(row, kColumnRenamed, content.texts.strRenamed);
    SetItemText(row, kColumnBomName, content.texts.strBomName);
    SetItemData(row, content.data);
    SetItemState(row, content.state, kMovingStates);
}
