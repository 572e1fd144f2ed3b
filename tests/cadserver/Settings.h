#pragma once

#include <windows.h>

#include <string>

// The server's settings in the registry, under HKEY_CURRENT_USER\Software\TalvenorCadServer. COM starts the
// server, so the server cannot rely on environment variables or the working folder.
//
//   "Script", "Log"  full paths; missing if not configured
//   "Starts"         number of starts since the last configuration
//   "Rule<N>"        calls that matched the N-th fault of the script (from 0), if it counts across starts
inline constexpr const wchar_t* kSettingsKey = L"Software\\TalvenorCadServer";

// Events of a test that holds calls. The server sets kHeldEvent when it holds a call. The test sets
// kGoOnEvent to let the call continue.
inline constexpr const wchar_t* kHeldEvent = L"Local\\TalvenorCadServerHeld";
inline constexpr const wchar_t* kGoOnEvent = L"Local\\TalvenorCadServerGoOn";

// Titles of the server's prompt and of its main window.
inline constexpr const wchar_t* kPromptTitle = L"TalvenorCadServer prompt";
inline constexpr const wchar_t* kMainWindowTitle = L"TalvenorCadServer";

// Stores both paths (empty: none) and resets all counters to 0.
void ConfigureServer(const std::wstring& script, const std::wstring& log);

void RemoveSettings();

// A stored path; empty if there is none.
std::wstring ScriptPath();
std::wstring LogPath();

// A counter; 0 if it was never written.
DWORD ReadCounter(const std::wstring& name);
void WriteCounter(const std::wstring& name, DWORD value);
