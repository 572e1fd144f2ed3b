#pragma once

#include <cstdlib>

// Whether to inject every fault, as tools/faults does, or only the main ones of each kind.
inline bool EveryFault()
{
    return _wgetenv(L"TALVENOR_EVERY_FAULT") != nullptr;
}
