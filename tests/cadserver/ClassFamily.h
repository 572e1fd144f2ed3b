#pragma once

#include <windows.h>

#include <optional>
#include <string>

inline constexpr int kFirstVersion = 20;
inline constexpr int kLastVersion = 45;
inline constexpr const wchar_t* kCommonProgId = L"SldWorks.Application";

// The class identifier of the stand-in server for this major version.
CLSID ClassOf(int version);

// Whether a class identifier in text form belongs to the stand-in server.
bool IsOurClass(const std::wstring& classText);

// A ProgID of the CAD system that belongs to a program other than the stand-in server; nothing if there is
// none. Covers the registrations for all users and for the current user, and every version of the CAD system.
std::optional<std::wstring> OtherCadSystem();
