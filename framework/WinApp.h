#pragma once

#include <windows.h>

#include <string>

#include "framework/OleMessageFilter.h"

class CWnd;

// The application object: one for the process, made before the program's entry point runs.
class CWinApp
{
public:
    explicit CWinApp(std::wstring name);
    CWinApp(const CWinApp&) = delete;
    CWinApp& operator=(const CWinApp&) = delete;
    virtual ~CWinApp();

    // The application object; null when the process has none.
    [[nodiscard]] static CWinApp* Get();

    // Runs InitInstance and then leaves OLE. Returns the exit code of the process.
    int Run();

    // Takes the next message from the thread's queue, waiting for it, and deals with it. False after WM_QUIT,
    // which is left in the queue for the loops further out.
    static bool PumpMessage();

    // The same for a message that is already there; does nothing when the queue is empty.
    static void PumpPendingMessage();

    // Drops the keys and the mouse messages that wait in the thread's queue, whatever window they are for.
    static void DropPendingInput();

    // The title of the program's message boxes.
    [[nodiscard]] const std::wstring& GetName() const { return m_name; }

    CWnd* m_pMainWnd = nullptr;

protected:
    // The whole program: its dialogs run in loops of their own. False says that no message loop is to follow,
    // and there is none here.
    virtual bool InitInstance() = 0;

    // OleInitialize and the message filter. False when the system refuses. Undone by Run.
    bool InitializeOle();
    COleMessageFilter& GetMessageFilter() { return m_messageFilter; }

private:
    std::wstring m_name;
    COleMessageFilter m_messageFilter;
    bool m_oleInitialized = false;
};
