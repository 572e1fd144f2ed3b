#pragma once

#include <string>

// Returns the final path (FinalPath) of the program that COM starts for the class of a ProgID: installers may
// register short names, and administrators move programs behind junctions. Empty when the ProgID is not
// registered, its class is not served by a program (in-process server, service), or the program is missing.
[[nodiscard]] std::wstring LocalServerImage(const std::wstring& progId);

// Returns the final path of the program that a command line starts; empty when there is none. A path without
// quotes may contain blanks: as in CreateProcessW, the program is the shortest part of the line, up to a
// blank or the end, that names a file.
[[nodiscard]] std::wstring ImageOfCommandLine(const std::wstring& commandLine);
