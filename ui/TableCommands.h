#pragma once

#include <windows.h>

#include <array>
#include <string>

#include "core/TableRecorder.h"
#include "ui/ConvList.h"

// Undo, redo, and the table as text on the clipboard and in files. The commands are IDM_UNDO to IDM_EXPORT of
// resources/resource.h.
class CTableCommands
{
public:
    // Both must outlive the commands.
    CTableCommands(CConvList& list, CTableRecorder& recorder) : m_list(list), m_recorder(recorder) {}

    // The command of a key that is pressed in the list; 0 if the key has none. Checks the state of Ctrl,
    // Shift and Alt, too.
    [[nodiscard]] static int CommandOfKey(WPARAM key);

    // Whether the command would do something now; false if `command` is none of these commands.
    [[nodiscard]] bool IsPossible(int command) const;

    // Performs the command if it is possible. Returns false if `command` is none of these commands.
    bool Perform(int command);

private:
    static constexpr WPARAM kNoKey = 0;

    struct Command
    {
        int id;
        WPARAM key;  // with Ctrl, in the list
        bool (CTableCommands::*isPossible)() const;
        void (CTableCommands::*perform)();
    };
    static const std::array<Command, 6> kCommands;

    [[nodiscard]] static const Command* Find(int command);

    [[nodiscard]] bool CanUndo() const { return m_recorder.CanUndo(); }
    [[nodiscard]] bool CanRedo() const { return m_recorder.CanRedo(); }
    [[nodiscard]] bool HasSelection() const { return m_list.GetSelectedCount() > 0; }
    [[nodiscard]] bool HasRows() const { return m_list.GetItemCount() > 0; }
    [[nodiscard]] bool CanPaste() const;

    void Undo() { m_recorder.Undo(); }
    void Redo() { m_recorder.Redo(); }
    void Copy();
    void Paste();
    void Import();
    void Export();
    void TakeText(const std::wstring& text);

    CConvList& m_list;
    CTableRecorder& m_recorder;
};
