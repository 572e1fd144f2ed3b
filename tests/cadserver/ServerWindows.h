#pragma once

// Shows a message box and waits for the answer. Meanwhile the server serves calls.
void ShowPrompt();

// Shows a main window, which remains until the process ends or the user closes it.
void ShowMainWindow();
