#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

// A key with a default value in the registry's classes, removed with its subkeys at the end of the scope. A
// mark identifies it for RestoreLeftovers. A key without the mark, or with values that no test has written,
// belongs to another program; it is left alone and reported by ReportProblem.
class CScratchClassKey
{
public:
    // `top` is the key that is removed, `path` the key that gets the value: the same or one below it.
    CScratchClassKey(HKEY root, const std::wstring& top, const std::wstring& path, const std::wstring& value);
    ~CScratchClassKey();
    CScratchClassKey(const CScratchClassKey&) = delete;
    CScratchClassKey& operator=(const CScratchClassKey&) = delete;

    // Writes a value below the key `top` of a test; a null name is the default value. Returns false on
    // failure.
    static bool Write(HKEY root, const std::wstring& top, const std::wstring& path, const wchar_t* name,
                      DWORD type, const std::wstring& value);

    // The hive in which COM finds classes that this process registers: HKEY_CURRENT_USER, or
    // HKEY_LOCAL_MACHINE under Wine and for an elevated process. None if this process may write to neither.
    static std::optional<HKEY> Root();

    // Removes the keys of killed tests, which would look like a registered CAD system. Returns one line for
    // each that is left.
    static std::vector<std::string> RestoreLeftovers();

private:
    HKEY m_root;
    std::wstring m_top;
};

// A class identifier as text.
std::wstring TextOfClass(const CLSID& classId);

CLSID NewClassId();
