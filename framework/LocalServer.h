#pragma once

#include <string>

// Returns the final path (FinalPath) of the program that COM starts for the class of a ProgID. The registered
// path may contain short names or junctions. Empty when the ProgID is not registered, its class is not served
// by a program (in-process server, service), or the program is missing.
[[nodiscard]] std::wstring LocalServerImage(const std::wstring& progId);

// Returns the final path of the program that a command line starts; empty when there is none. A path without
// quotes may contain blanks: as in CreateProcessW, the program is the shortest prefix of the line that names
// a file and ends before a blank or at the end of the line.
[[nodiscard]] std::wstring ImageOfCommandLine(const std::wstring& commandLine);
