#pragma once

#include <windows.h>

#include <ostream>
#include <string>
#include <vector>

// The state-image numbers and the item data of a row.
enum class Mark
{
    pending,    // state image 1, item data 1
    converted,  // state image 2, item data 0
    odd         // anything else
};

// One row as the list shows it.
struct RowOnScreen
{
    std::wstring original;
    std::wstring renamed;
    std::wstring bomName;
    Mark mark = Mark::odd;

    bool operator==(const RowOnScreen&) const = default;
};

// For the messages of failed comparisons.
std::ostream& operator<<(std::ostream& out, const RowOnScreen& row);

// A list control of another process, read through memory in that process.
class CListOnScreen
{
public:
    // The handle must allow work with the memory of the list's process.
    CListOnScreen(HWND list, HANDLE process) : m_list(list), m_process(process) {}

    [[nodiscard]] std::vector<RowOnScreen> Rows() const;
    // The rows that are selected, from 0.
    [[nodiscard]] std::vector<int> Selection() const;
    // The headers of the columns.
    [[nodiscard]] std::vector<std::wstring> Headers() const;
    [[nodiscard]] int ColumnWidth(int column) const;
    // Where on the screen to click on a cell.
    [[nodiscard]] POINT CellPosition(int row, int column) const;

private:
    [[nodiscard]] RowOnScreen Row(int row) const;
    [[nodiscard]] std::wstring CellText(int row, int column) const;
    [[nodiscard]] Mark MarkOf(int row) const;

    HWND m_list;
    HANDLE m_process;
};
