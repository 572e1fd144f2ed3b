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
// While the Windows session ends, none is shown: it would wait for an answer. The result is then No or OK.
int ShowMessage(const std::wstring& text, UINT type = MB_OK);
int ShowMessage(const MessageRequest& request);

// Called before a box is shown, for tests. When the listener returns a button, that is the result and no box
// is shown. An empty function removes the listener. Returns the previous one.
using MessageListener = std::function<std::optional<int>(const MessageRequest&)>;
MessageListener SetMessageListener(MessageListener listener);

// Called when a question (MB_YESNO) comes up and when it was answered, for what else tells the user that the
// program waits. An empty function removes the observer. Returns the previous one.
using QuestionObserver = std::function<void(bool open)>;
QuestionObserver SetQuestionObserver(QuestionObserver observer);
