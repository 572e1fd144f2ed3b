#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "core/ConversionTable.h"
#include "ui/ColumnMenu.h"

// The main dialog's list: the conversion table with mouse and keyboard. The cells of the two generated
// columns are edited in place, each of these columns has a context menu, and all columns can be moved and
// resized.
class CConvList : public CConversionTable
{
public:
    // Makes the menus in the current language.
    CConvList();

    bool PreTranslateMessage(MSG& message) override;

    // Ends an open edit, scrolls a cell into view and opens its editor. Opens no editor when there is no such
    // cell or its column is too narrow.
    void EditCell(int row, int column);

    // Like EditCell, but the editor is a drop-down list of the choices.
    void EditCellFromList(int row, int column, const std::vector<std::wstring>& choices);

    // Ends an open edit with its text and returns the focus to the list.
    void EndEdit() const;

    // What a screen reader says for a row: its part file and its mark. Empty if there is no such row.
    [[nodiscard]] std::wstring SpokenName(int row) const;

    // Distributes the extra width of the list, in pixels, among the columns: in proportion to their own
    // widths, each column up to the maximum width. When the extra width shrinks, the columns shrink, too.
    void ShareExtraWidth(int extra);

    // The widths of the columns, in pixels.
    [[nodiscard]] std::vector<int> ColumnWidths() const;

    // Sets each column to its width in `widths`, times numerator / denominator, such as the new DPI / the old
    // DPI.
    void ScaleColumns(const std::vector<int>& widths, int numerator, int denominator);

protected:
    [[nodiscard]] const MessageMap* GetMessageMap() const override;

private:
    struct Cell
    {
        int row = -1;
        int column = -1;
    };

    // A column's place in client coordinates; `right` is exclusive.
    struct ColumnPlace
    {
        int column;
        int left;
        int right;
    };

    // Places
    [[nodiscard]] std::vector<ColumnPlace> ColumnPlaces() const;
    [[nodiscard]] std::optional<int> ColumnAt(int x) const;
    [[nodiscard]] std::optional<int> RowAt(POINT point) const;
    [[nodiscard]] ColumnPlace PlaceOf(int column) const;
    [[nodiscard]] bool IsReport() const;
    [[nodiscard]] int HeaderHeight() const;

    // Windows messages
    LRESULT OnScroll(WPARAM wParam, LPARAM lParam);
    void OnWheel();
    void OnPaint();
    LRESULT OnLButtonDown(WPARAM wParam, LPARAM lParam);
    LRESULT OnLButtonDblClk(WPARAM wParam, LPARAM lParam);
    LRESULT OnRButtonDown(WPARAM wParam, LPARAM lParam);
    LRESULT OnContextMenu(WPARAM wParam, LPARAM lParam);
    void OnInPlaceListClosed();
    LRESULT OnHeaderBeginDrag(NMHDR& header);
    bool EndEditInPress();
    LRESULT OnHeaderItemChanging(NMHDR& header);
    LRESULT OnHeaderItemChanged(NMHDR& header);
    LRESULT OnEndLabelEditNotify(NMHDR& header);

    // Editing
    [[nodiscard]] std::optional<RECT> RevealCell(int row, int column) const;
    [[nodiscard]] ColumnPlace RevealColumn(int column) const;
    void EditOtherColumn();

    // Menus
    void SelectAndFocus(int row) const;
    [[nodiscard]] const CColumnMenu& MenuOf(int column) const;
    void ShowMenuByKeyboard(bool bomNames);
    void Perform(CColumnMenu::Command command, const Cell& cell);
    void EditTemplate(const Cell& cell);
    LRESULT DefaultKeepingSelection(LPARAM position);

    // Keys
    bool OnKey(WPARAM key);
    [[nodiscard]] int FocusedRow() const;
    void Widen(int column, int step) const;
    void MoveRight(int column) const;
    bool IsEndOfAltDigit(const MSG& message);

    std::array<CColumnMenu, 2> m_menus;  // of columns 1 and 2
    Cell m_edited;                       // the cell of the editor opened last
    bool m_ctrlAtMenuKey = false;        // Ctrl was down when the menu key was pressed
    bool m_altUsed = false;              // a digit was pressed since Alt went down
    int m_extraWidth = 0;                // see ShareExtraWidth
    std::vector<int> m_shares;           // each column's share of the extra width
};
