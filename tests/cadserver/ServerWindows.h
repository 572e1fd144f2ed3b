#pragma once

// Shows a message box and waits until it is answered. Calls are served meanwhile.
void ShowPrompt();

// Shows a main window, which remains until the process ends or the user closes it.
void ShowMainWindow();
