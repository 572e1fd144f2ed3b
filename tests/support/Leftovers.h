#pragma once

#include <string>
#include <vector>

// Undoes what killed tests have changed on this machine: class registrations, the programs of documents, the
// keys of the library and of the program, and what the file dialogs remember. Returns what could not be
// undone or was kept for a person to decide, one line of UTF-8 each. Changes nothing and says so while
// another test program is running. No test of this process may be running either: its changes would be
// undone.
std::vector<std::string> RestoreLeftovers();
