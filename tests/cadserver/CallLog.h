#pragma once

#include <string>
#include <vector>

// The server's log of calls. Opens and closes the file for each line. So lines survive a crash of the server,
// and other programs can read and move the file between two calls.
class CCallLog
{
public:
    // With an empty path, nothing is logged.
    explicit CCallLog(std::wstring path);

    // Appends a line with the fields, separated by tabs. Control characters in a field are written as blanks.
    // Ignores errors: the server works without its log.
    void Add(const std::vector<std::wstring>& fields) const;

private:
    std::wstring m_path;
};
