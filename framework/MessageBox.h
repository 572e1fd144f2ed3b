#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <string>

struct MessageRequest
{
    std::wstring text;
    UINT type = MB_OK;      // MB_* buttons and icon
    std::wstring helpFile;  // empty: no help button
    DWORD helpContext = 0;  // topic within helpFile
};

// Shows a modal message box with the application's title, owned by the last active popup of the main window.
// Returns the button pressed (IDOK, IDYES, ...). Every message box of the program is shown by this function.
// While the Windows session ends, no box is shown, as a box would wait for an answer. The function then
// returns IDNO for a question (MB_YESNO), otherwise IDOK.
int ShowMessage(const std::wstring& text, UINT type = MB_OK);
int ShowMessage(const MessageRequest& request);

// Sets a listener that is called before a box is shown, for tests. When the listener returns a button, no box
// is shown and that button is the result. An empty function removes the listener. Returns the previous
// listener.
using MessageListener = std::function<std::optional<int>(const MessageRequest&)>;
MessageListener SetMessageListener(MessageListener listener);

// Sets an observer that is called when a message opens and when the message has been answered. The main
// dialog uses the observer to show on the taskbar button that the program is waiting. An empty function
// removes the observer. Returns the previous observer.
using MessageObserver = std::function<void(bool open)>;
MessageObserver SetMessageObserver(MessageObserver observer);
