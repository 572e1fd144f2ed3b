#pragma once

#include <windows.h>

#include <optional>
#include <string>

inline constexpr int kFirstVersion = 20;
inline constexpr int kLastVersion = 45;
inline constexpr const wchar_t* kCommonProgId = L"SldWorks.Application";

// The class identifier of the stand-in server's major version.
CLSID ClassOf(int version);

// Whether a class identifier in text form is one of the stand-in server's.
bool IsOurClass(const std::wstring& classText);

// A ProgID of the CAD system that belongs to another program than the stand-in server, for all users or for
// this one; none if there is no such. Any version counts, also one that the stand-in does not know.
std::optional<std::wstring> OtherCadSystem();
