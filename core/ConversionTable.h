#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "core/TableHistory.h"
#include "core/TableImport.h"
#include "core/UTtabEntry.h"
#include "framework/Controls.h"
#include "framework/List.h"

// Messages that the table posts to its parent window.
inline constexpr UINT WM_LISTCHANGED = WM_USER + 5;     // a row was changed
inline constexpr UINT WM_DELETESELECTED = WM_USER + 6;  // delete the selected rows
inline constexpr UINT WM_APPLYTEMPLATE = WM_USER + 7;   // wParam: the column whose template to apply

// The conversion table: a row for each standard-part file. The list view is both view and store. A row has
// three texts (kColumnOriginal, kColumnRenamed, kColumnBomName) and a mark, pending or converted. The mark is
// held in the item data (1 or 0) and in the state image (1 or 2).
class CConversionTable : public CListCtrl
{
public:
    // The rows that an empty table was filled with, as the list view has them. Reading these takes far less
    // time than reading the list view.
    struct FilledRows
    {
        std::size_t count = 0;
        bool pending = false;
        RowReader read;
    };

    // Sets the function that is called when all rows of an empty or emptied table have been inserted at once.
    // It is not called if rows were inserted earlier, to be visible behind a message.
    void SetFillObserver(std::function<void(const FilledRows&)> observer)
    {
        m_fillObserver = std::move(observer);
    }

    // Adds a pending row with generated names for each file name (without folder) that is not in column 0
    // yet, whatever its case, then sorts the table. A file whose generated name is unusable or taken is
    // skipped. The messages about forbidden characters and taken names are shown at most once each. While a
    // message is open, the table already shows the rows made so far, unsorted, after the old rows.
    void AddFiles(const std::vector<std::wstring>& fileNames);

    // Replaces all rows with the entries, in the same order and marked converted.
    void FillConverted(const CList<UTtab_entry, UTtab_entry&>& entries);

    // Whether any row has this name in column 1; case-sensitive.
    [[nodiscard]] bool IsNewNameTaken(const std::wstring& fileName) const;

    [[nodiscard]] int CountPendingRows() const;

    // Sorts the rows `low` to `high` (-1: the last) by the character codes of the column's texts. Marks,
    // selection and focus move with their rows.
    void SortTextItems(int column, bool ascending, int low, int high);

    // Regenerates the column (1 or 2) of the selected rows, from the top. Changed rows become pending. The
    // parent is notified of the changes before each message and at the end. Stops silently when the template
    // is missing or gives no usable file name.
    void ApplyTemplate(int column);

    // Applies a hand edit of a cell; `newText` is null when the user cancelled it. Always returns 0, so that
    // the list view does not set the text itself (LVN_ENDLABELEDIT).
    LRESULT OnEndLabelEdit(int row, int column, const wchar_t* newText);

    // Sets the new file names and BOM names of rows. Rows whose names change become pending, and the parent
    // is notified.
    void SetNames(const std::vector<RowNames>& names) const;

    // Replaces rows and their marks. The rows from `splice.at` on must be `splice.removed`.
    void Splice(const RowSplice& splice) const;

    [[nodiscard]] UTtab_entry GetRow(int row) const;
    [[nodiscard]] TableRow GetMarkedRow(int row) const { return {GetRow(row), IsPending(row)}; }
    [[nodiscard]] std::vector<int> SelectedRows() const;
    [[nodiscard]] bool IsPending(int row) const;
    void MarkPending(int row) const;
    void MarkConverted(int row) const;

    // Selects only this row, focuses it and scrolls it into view.
    void SelectOnly(int row) const;

    // Scrolls the row into view. A row below the view goes to the top, so that the rows after it are visible,
    // too.
    void ScrollIntoView(int row) const;

private:
    struct Row;
    class NewFiles;
    class TemplateApplication;

    bool SetChangedText(int row, int column, const std::wstring& oldText, const std::wstring& text) const;
    void ChangeRow(int row, const TableRow& before, const TableRow& after) const;
    void DeleteRows(int first, int count) const;
    void InsertRows(int first, std::span<const TableRow> rows) const;
    void Mark(int row, bool pending) const;
    void NotifyParent() const;
    void InsertRow(int row, const wchar_t* original, const wchar_t* renamed, const wchar_t* bomName,
                   bool pending) const;
    [[nodiscard]] Row ReadRow(int row) const;
    void WriteRow(int row, const Row& content) const;
    [[nodiscard]] bool AcceptEditedFileName(std::wstring& text, const std::wstring& oldText) const;

    std::function<void(const FilledRows&)> m_fillObserver = [](const FilledRows&) {};
};
