// Writes the counts of executed lines while the program runs, because a program that is ended from outside
// writes none at its end, and the tests end most of the programs that they start. Part of the coverage build
// only.
#include <windows.h>

#include <cstdlib>
#include <string>

extern "C" void __gcov_dump(void);
extern "C" void __gcov_reset(void);

namespace {

// What a killed program did after its last write is lost.
constexpr DWORD kInterval = 200;  // milliseconds

// GCOV_PREFIX is the folder of the counts. Each process has a folder of its own there: one that is killed
// while it writes leaves a damaged file, to which nothing could be added.
void UseOwnFolder()
{
    const char* const all = std::getenv("GCOV_PREFIX");
    LARGE_INTEGER now;
    QueryPerformanceCounter(&now);
    const std::string own = std::string(all == nullptr ? "." : all) + "/process-" +
                            std::to_string(GetCurrentProcessId()) + "-" + std::to_string(now.QuadPart);
    _putenv_s("GCOV_PREFIX", own.c_str());
}

// Only one thread may write: this one, or, once the program ends, the one that ends it.
class CWriter
{
public:
    CWriter()
    {
        UseOwnFolder();
        CloseHandle(CreateThread(nullptr, 0, &Run, this, 0, nullptr));
    }
    CWriter(const CWriter&) = delete;
    CWriter& operator=(const CWriter&) = delete;
    // Keeps the lock, so that the thread no longer writes when the run-time library writes the last counts.
    ~CWriter() { AcquireSRWLockExclusive(&m_lock); }

private:
    static DWORD WINAPI Run(LPVOID writer)
    {
        for (;;) {
            Sleep(kInterval);
            SRWLOCK& lock = static_cast<CWriter*>(writer)->m_lock;
            AcquireSRWLockExclusive(&lock);
            __gcov_dump();   // adds the counts to those in the files ...
            __gcov_reset();  // ... and begins anew, as a further call would write nothing
            ReleaseSRWLockExclusive(&lock);
        }
    }

    SRWLOCK m_lock = SRWLOCK_INIT;
};

const CWriter g_writer;

}  // namespace
