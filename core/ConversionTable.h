#pragma once

#include <string>
#include <vector>

#include "core/UTtabEntry.h"
#include "framework/Controls.h"
#include "framework/List.h"

// Messages that the table posts to its parent window.
inline constexpr UINT WM_LISTCHANGED = WM_USER + 5;     // a row was changed
inline constexpr UINT WM_DELETESELECTED = WM_USER + 6;  // delete the selected rows
inline constexpr UINT WM_APPLYTEMPLATE = WM_USER + 7;   // wParam: the column whose template to apply

// The conversion table: one row for each standard-part file, kept in a list view that is both its view and
// its store. A row has three texts (kColumnOriginal, kColumnRenamed, kColumnBomName) and a mark, pending or
// converted, that lies in the item data (1 or 0) and in the state image (1 or 2).
class CConversionTable : public CListCtrl
{
public:
    // Adds a pending row with generated names for each file name (no folder) that column 0 does not hold yet,
    // letter case ignored, then sorts. A name that the rules reject is skipped; the forbidden-characters
    // message and the collision message are shown at most once, with the rows made so far in the table, in
    // the order of the names, behind the others.
    void AddFiles(const std::vector<std::wstring>& fileNames);

    // Replaces all rows by the entries, marked converted, in the entries' order.
    void FillConverted(const CList<UTtab_entry, UTtab_entry&>& entries);

    // Whether column 1 of any row equals the name, letter case counting.
    [[nodiscard]] bool IsNewNameTaken(const std::wstring& fileName) const;

    [[nodiscard]] int CountPendingRows() const;

    // Sorts the rows `low` to `high` (-1: the last) by the texts of the column, by their character codes.
    // Marks and selection move with their rows.
    void SortTextItems(int column, bool ascending, int low, int high);

    // Generates the column (1 or 2) anew for the selected rows, one after the other. Rows that change become
    // pending, and the parent is told: at the end, and of what is done so far before a message comes up. Ends
    // silently when the template is missing or yields no usable file name.
    void ApplyTemplate(int column);

    // Takes a hand edit of a cell; null when the user cancelled it. The cell changes only through this call:
    // the answer to the list view is always "reject", 0.
    LRESULT OnEndLabelEdit(int row, int column, const wchar_t* newText);

    [[nodiscard]] UTtab_entry GetRow(int row) const;
    [[nodiscard]] bool IsPending(int row) const;
    void MarkPending(int row) const;
    void MarkConverted(int row) const;

    // Scrolls only when the row is out of view, and then by a whole page, so that the rows to come are seen
    // too.
    void ScrollIntoView(int row) const;

private:
    struct Row;
    class NewFiles;
    class TemplateApplication;

    void Mark(int row, bool pending) const;
    void TellParent() const;
    void InsertRow(int row, const wchar_t* original, const wchar_t* renamed, const wchar_t* bomName,
                   bool pending) const;
    [[nodiscard]] Row ReadRow(int row) const;
    void WriteRow(int row, const Row& content) const;
    [[nodiscard]] bool AcceptEditedFileName(std::wstring& text, const std::wstring& oldText) const;
};
