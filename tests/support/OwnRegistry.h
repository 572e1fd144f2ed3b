#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "framework/Handles.h"

// Until the end of the scope, the keys of the library and of the program (HKLM\SOFTWARE\Zelmar in both views
// and HKCU\SOFTWARE\Zelmar) lie below a root of the test's own. The root is empty at first; the real keys are
// neither read nor changed. A registered CAD system is hidden, so that no dialog of the test offers to start
// it, unless a test has registered it. All this affects this executable's calls of RegOpenKeyExW and
// RegCreateKeyExW, but no other process. RegOverridePredefKey would not do: the program closes the predefined
// handles after use, which on Windows ends such a redirection. The root is volatile: even that of a killed
// test does not outlast the user's session.
class COwnRegistry
{
public:
    // Throws std::runtime_error if the root cannot be made.
    COwnRegistry();
    ~COwnRegistry();
    COwnRegistry(const COwnRegistry&) = delete;
    COwnRegistry& operator=(const COwnRegistry&) = delete;

    // From now on, keys can only be read, as if the user had no right to write them.
    void RefuseWriting() { m_writable = false; }
    [[nodiscard]] bool IsWritable() const { return m_writable; }

    // Where a key lies, as a path below HKEY_CURRENT_USER; empty for a key that is not one of the product's.
    [[nodiscard]] std::wstring PlaceOf(HKEY hive, const wchar_t* path, REGSAM access) const;

    // Whether such a registry is in force, so that no key of the product that this executable opens is a real
    // one.
    [[nodiscard]] static bool IsInForce();

    // Removes the roots of killed tests. Returns a message if that is not possible, otherwise nothing.
    static std::vector<std::string> RestoreLeftovers();

private:
    const std::wstring m_root;
    bool m_writable = true;
    COwnRegistry* const m_outer;
};
