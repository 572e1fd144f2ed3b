#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <string>

// One message box as the program asks for it.
struct MessageRequest
{
    std::wstring text;
    UINT type = MB_OK;      // MB_* buttons and icon
    std::wstring helpFile;  // empty: no help button
    DWORD helpContext = 0;  // topic within helpFile
};

// Shows a modal message box under the application's title and returns the button pressed (IDOK, IDYES, ...).
// Its owner is the window the user works in: the last active popup of the main window.
// Every message box of the program goes through this function.
int ShowMessage(const std::wstring& text, UINT type = MB_OK);
int ShowMessage(const MessageRequest& request);

// A listener is asked before a box is shown. When it answers, its answer is the result and no box appears;
// when it answers nothing, the box is shown. An empty function removes the listener. Returns the one before.
using MessageListener = std::function<std::optional<int>(const MessageRequest&)>;
MessageListener SetMessageListener(MessageListener listener);
