#pragma once

#include <windows.h>

#include <string>

// What the server keeps in the registry, under HKEY_CURRENT_USER\Software\TalvenorCadServer: COM starts it,
// so it can rely neither on its environment nor on its working folder.
//   "Script", "Log"  full paths, missing when there is none
//   "Starts"         how often the server was started since the last configuration
//   "Rule<N>"        how many calls have fitted the N-th fault of the script (from 0), for faults that count
//   across starts
inline constexpr const wchar_t* kSettingsKey = L"Software\\TalvenorCadServer";

// Events of a test that has calls held: the server sets the first when a call is held, the test the second
// when that call may go on.
inline constexpr const wchar_t* kHeldEvent = L"Local\\TalvenorCadServerHeld";
inline constexpr const wchar_t* kGoOnEvent = L"Local\\TalvenorCadServerGoOn";

// Stores the two paths (empty: none) and sets all counters back to 0.
void ConfigureServer(const std::wstring& script, const std::wstring& log);

// Removes everything that the server keeps.
void RemoveSettings();

// A path as it was stored, empty when there is none.
std::wstring ScriptPath();
std::wstring LogPath();

// A counter, 0 when it was never written.
DWORD ReadCounter(const std::wstring& name);
void WriteCounter(const std::wstring& name, DWORD value);
