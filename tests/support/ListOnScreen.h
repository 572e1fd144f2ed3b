#pragma once

#include <windows.h>

#include <ostream>
#include <string>
#include <vector>

// The mark of a row, which the program keeps both as a state image and as item data.
enum class Mark
{
    pending,    // state image 1, item data 1
    converted,  // state image 2, item data 0
    odd         // anything else
};

// A row of the list.
struct RowOnScreen
{
    std::wstring original;
    std::wstring renamed;
    std::wstring bomName;
    Mark mark = Mark::odd;

    bool operator==(const RowOnScreen&) const = default;
};

// For failure messages.
std::ostream& operator<<(std::ostream& out, const RowOnScreen& row);

// A list control of another process, read through memory in that process.
class CListOnScreen
{
public:
    // The handle must have the rights to read and write the memory of the list's process.
    CListOnScreen(HWND list, HANDLE process) : m_list(list), m_process(process) {}

    [[nodiscard]] std::vector<RowOnScreen> Rows() const;
    // The rows that are selected, from 0.
    [[nodiscard]] std::vector<int> Selection() const;
    // The headers of the columns.
    [[nodiscard]] std::vector<std::wstring> Headers() const;
    [[nodiscard]] int ColumnWidth(int column) const;
    // The columns from left to right.
    [[nodiscard]] std::vector<int> ColumnOrder() const;

    // Selects or deselects a row (-1: all rows) without the mouse.
    void Select(int row, bool selected) const;

    // Where on the screen to click on a cell. Like the next two functions, waits briefly until no other
    // window covers the position.
    [[nodiscard]] POINT CellPosition(int row, int column) const;
    // Where to drag the right end of a column's header.
    [[nodiscard]] POINT DividerPosition(int column) const;
    // Below the last row in the middle of a column; the rows must not fill the list.
    [[nodiscard]] POINT PositionBelowRows(int column) const;

    // The editor of a cell; null if none is open.
    [[nodiscard]] HWND Editor() const;

private:
    [[nodiscard]] POINT Uncovered(POINT position) const;
    [[nodiscard]] HWND Header() const;
    [[nodiscard]] RECT HeaderRect(int column) const;
    [[nodiscard]] RECT ClientRect() const;
    [[nodiscard]] RECT RowRect(int row) const;
    [[nodiscard]] RowOnScreen Row(int row) const;
    [[nodiscard]] std::wstring CellText(int row, int column) const;
    [[nodiscard]] Mark MarkOf(int row) const;

    HWND m_list;
    HANDLE m_process;
};
