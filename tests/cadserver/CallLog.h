#pragma once

#include <string>
#include <vector>

// The server's record of what it was asked. Each line is opened, appended and closed at once, so that it is
// there whatever happens next, and so that others can read and move the file meanwhile.
class CCallLog
{
public:
    // An empty path: nothing is recorded.
    explicit CCallLog(std::wstring path);

    // Appends one line of the fields, separated by tabs. Tabs and line ends inside a field are written as
    // blanks. Failures are ignored: a server without its log still works.
    void Add(const std::vector<std::wstring>& fields) const;

private:
    std::wstring m_path;
};
