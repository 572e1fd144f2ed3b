#pragma once

#include <windows.h>

// What a test and the program talvenor_ending share: the program counts its file operations while it is told
// to, and ends itself by force in front of one of them.
struct EndOrder
{
    LONG counting;  // not 0: on
    LONG operations;
    LONG endAt;  // the operation, from 1, that is not made any more; 0: none
};

inline constexpr const wchar_t* kEndOrderName = L"Local\\TalvenorEndOrder";
inline constexpr UINT kEndedByOrder = 77;  // the exit status
