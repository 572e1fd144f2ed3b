#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "framework/Handles.h"

// The keys of the library and of the program, HKLM\SOFTWARE\Zelmar in both views and HKCU\SOFTWARE\Zelmar,
// lie in a root of the test's own until the end of the scope: empty at first, and nothing reaches the real
// ones. A registered CAD system is hidden, so that no dialog of the test offers to start it; those of tests
// are not. Holds for this executable's calls of RegOpenKeyExW and RegCreateKeyExW, not for other processes.
// Does not depend on the predefined handles, which the program closes after use: on Windows that would end a
// redirection by RegOverridePredefKey. The root is volatile, so that not even a killed test leaves it beyond
// the user's session.
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

    // Where a key lies, as a path below HKEY_CURRENT_USER; empty for a key that is not of the product.
    [[nodiscard]] std::wstring PlaceOf(HKEY hive, const wchar_t* path, REGSAM access) const;

    // Whether such a registry is in force, so that no key of the product that this executable opens is a real
    // one.
    [[nodiscard]] static bool IsInForce();

    // Removes the roots of killed tests. Returns one line if that is not possible.
    static std::vector<std::string> RestoreLeftovers();

private:
    const std::wstring m_root;
    bool m_writable = true;
    COwnRegistry* const m_outer;
};
