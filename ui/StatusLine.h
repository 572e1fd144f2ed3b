#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "core/ConversionTable.h"
#include "files/NamesToCheck.h"

// The line below the list: the numbers of all, pending and selected rows, and a button that goes to the next
// name to check. The button is hidden while no name needs checking. The line is updated only when the message
// queue is empty, because commands change thousands of rows one by one.
class CStatusLine
{
public:
    // requestUpdate: makes the window call Update soon, once for any number of requests.
    CStatusLine(const CConversionTable& table, std::function<void()> requestUpdate)
        : m_table(table), m_requestUpdate(std::move(requestUpdate))
    {
    }

    // Call it once, when the dialog has its controls, and before the list is filled.
    void Begin(HWND dialog);

    // Call it when the list has been filled and has sent its notifications. Reads the new rows from `rows`,
    // which is faster than reading them from the list.
    void ListFilled(const CConversionTable::FilledRows& rows);

    // Call it for each notification of the list.
    void OnNotify(const NMHDR& header);

    // Call it when the texts or marks of rows may have changed.
    void RowsChanged();

    // Shows the numbers and updates the button. Reads only what may have changed: each message to the list
    // costs time, and reading a row takes several.
    void Update();

    // Shows a text in place of the numbers until the list, its selection or its focused row changes.
    // Screen readers announce the text; the focus does not move.
    void Say(const std::wstring& text);

    // Shows the numbers soon, also in place of a text of Say.
    void ShowNumbers();

    [[nodiscard]] bool HasNamesToCheck() const { return !m_toCheck.empty(); }

    // Selects the next row with a name to check and shows the problem. Searches from the row after the
    // focused row, then from the top. Does nothing when there is no such row.
    void GoToNextName();

private:
    void Show(const std::wstring& text);
    void FindNames(std::size_t rows, const RowReader& read);
    [[nodiscard]] std::wstring Problem(const NameToCheck& name) const;

    const CConversionTable& m_table;
    std::function<void()> m_requestUpdate;
    HWND m_dialog = nullptr;
    std::vector<NameToCheck> m_toCheck;
    std::wstring m_shown;
    int m_pending = 0;
    bool m_listChanged = true;  // since the last update
    bool m_namesChanged = true;
    bool m_marksChanged = true;
};
