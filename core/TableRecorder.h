#pragma once

#include <functional>
#include <vector>

#include "core/ConversionTable.h"
#include "core/TableHistory.h"

// The caption that tells what the table shows and whether it was changed.
class CTableCaption
{
public:
    [[nodiscard]] virtual ViewStatus GetViewStatus() const = 0;
    virtual void SetViewStatus(const ViewStatus& status) = 0;

protected:
    ~CTableCaption() = default;
};

// Makes changes of the table that the user can undo and redo. Each call of EditRows, DeleteSelected or
// ChangeRows that affects the rows is one step. Undoing restores texts, marks, order, selection, focus and
// caption.
class CTableRecorder
{
public:
    // Both must outlive the recorder.
    CTableRecorder(CConversionTable& table, CTableCaption& caption) : m_table(table), m_caption(caption) {}

    using Change = std::function<void()>;

    // Makes a change that affects these rows only and leaves them in their places. `rows` is in ascending
    // order.
    void EditRows(const std::vector<int>& rows, const Change& change);

    // Makes a change that deletes exactly the selected rows.
    void DeleteSelected(const Change& change);

    // Makes any other change. Reads the whole table twice.
    void ChangeRows(const Change& change);

    [[nodiscard]] bool CanUndo() const { return m_history.CanUndo(); }
    [[nodiscard]] bool CanRedo() const { return m_history.CanRedo(); }

    // Undo the last change, or redo the change undone last; do nothing when there is none. If another program
    // has changed the rows in between, the rows stay as they are and the history is forgotten.
    void Undo();
    void Redo();

    // Forgets all changes. Call it when the table gets other contents.
    void Forget() { m_history.Clear(); }

private:
    [[nodiscard]] TableStep::Situation Situation() const;
    [[nodiscard]] std::vector<TableRow> Read(const std::vector<int>& rows) const;
    [[nodiscard]] std::vector<TableRow> ReadAll() const;
    void Add(std::vector<RowSplice> splices, TableStep::Situation before);
    void Make(const TableStep& step, void (CTableHistory::*note)(const ViewStatus&));
    [[nodiscard]] bool Fits(const TableStep& step) const;

    CConversionTable& m_table;
    CTableCaption& m_caption;
    CTableHistory m_history;
};
