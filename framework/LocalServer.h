#pragma once

#include <string>

// Returns the full path of the program that COM starts for the class of a ProgID. Empty when the ProgID is
// not registered, its class is not served by a program (in-process server, service), or the program is
// missing.
[[nodiscard]] std::wstring LocalServerImage(const std::wstring& progId);

// Returns a path with every name in its long form: installers may register short ones ("SETUPC~1.EXE").
// Returns the path unchanged when nothing is there.
[[nodiscard]] std::wstring LongPath(const std::wstring& path);

// Returns the full path of the program that a command line starts; empty when there is none. A path without
// quotes may contain blanks: as in CreateProcessW, the program is the shortest part of the line, up to a
// blank or the end, that names a file.
[[nodiscard]] std::wstring ImageOfCommandLine(const std::wstring& commandLine);
