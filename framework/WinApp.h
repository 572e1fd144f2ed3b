#pragma once

#include <windows.h>

#include <string>

#include "framework/OleMessageFilter.h"

class CWnd;

// The application object, one per process. From its construction until the process ends, an uncaught
// exception ends the process by fail-fast. Windows Error Reporting gets the failure, and the runtime library
// shows no box.
class CWinApp
{
public:
    explicit CWinApp(std::wstring name);
    CWinApp(const CWinApp&) = delete;
    CWinApp& operator=(const CWinApp&) = delete;
    virtual ~CWinApp();

    // The application object; null when the process has none.
    [[nodiscard]] static CWinApp* Get();

    // Runs InitInstance and uninitialises OLE. Returns the exit code of the process.
    int Run();

    // Waits for the next message and dispatches it. On WM_QUIT, posts WM_QUIT again for the outer message
    // loops and returns false.
    static bool PumpMessage();

    // Returns the message filter's held input to the queue and dispatches one waiting message, if any. Keys
    // and clicks come first, so that cancelling does not wait for other messages. Escape takes effect at the
    // first call, if Escape is the next key. A click on Cancel takes effect at the second call, as press and
    // release are two messages.
    static void PumpPendingMessage();

    // Removes keyboard, mouse and pointer messages for all windows from the thread's queue, and drops the
    // message filter's held input.
    static void DropPendingInput();

    // The message filter, which waits for automation servers to answer.
    [[nodiscard]] COleMessageFilter& GetMessageFilter() { return m_messageFilter; }

    // Whether the Windows session is ending. If so, long operations end at their next step; message boxes are
    // not shown.
    void SetSessionEnding(bool ending) { m_sessionEnding = ending; }
    [[nodiscard]] static bool IsSessionEnding();

    // The title of the program's message boxes.
    [[nodiscard]] const std::wstring& GetName() const { return m_name; }

    CWnd* m_mainWindow = nullptr;

protected:
    // Runs the whole program: its dialogs have their own message loops. The result is ignored, as Run has no
    // message loop of its own; return false.
    virtual bool InitInstance() = 0;

    // Initialises OLE and registers the message filter. Returns false on failure. Run undoes both.
    bool InitializeOle();

private:
    std::wstring m_name;
    COleMessageFilter m_messageFilter;
    bool m_oleInitialized = false;
    bool m_sessionEnding = false;
};
