#pragma once

#include <windows.h>

// Measures the time since its construction.
class CStopwatch
{
public:
    [[nodiscard]] double Seconds() const { return static_cast<double>(Now() - m_begin) / Frequency(); }

private:
    static LONGLONG Now()
    {
        LARGE_INTEGER count;
        QueryPerformanceCounter(&count);
        return count.QuadPart;
    }
    static double Frequency()
    {
        LARGE_INTEGER frequency;
        QueryPerformanceFrequency(&frequency);
        return static_cast<double>(frequency.QuadPart);
    }

    LONGLONG m_begin = Now();
};
