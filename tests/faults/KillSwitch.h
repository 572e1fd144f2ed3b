#pragma once

#include <windows.h>

// Memory shared by a test and the program talvenor_killable, which counts its file operations and terminates
// itself before one of them.
struct KillSwitch
{
    LONG counting;  // 0: off
    LONG operations;
    LONG killAt;  // the number (from 1) of the first operation that is not made; 0: none
};

inline constexpr const wchar_t* kKillSwitchName = L"Local\\TalvenorKillSwitch";
inline constexpr UINT kKilledExitStatus = 77;
