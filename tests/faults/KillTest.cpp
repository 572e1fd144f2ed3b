#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <random>
#include <string>

#include "framework/Handles.h"
#include "tests/cadserver/CallHold.h"
#include "tests/faults/FaultTest.h"
#include "tests/faults/KillBench.h"
#include "tests/faults/KillSwitch.h"
#include "tests/support/WaitFor.h"

// The program is killed at every automation call and file operation of a run, and at random moments.

namespace {

constexpr MappedBefore kBoth[] = {MappedBefore::nothing, MappedBefore::anEarlierRun};

class KillTest : public CountingTest
{
};

// The next call at which the program is killed. Without EveryFault: the first call, one in the middle and the
// last.
unsigned NextCall(unsigned call, unsigned last)
{
    return EveryFault() || call == last ? call + 1 : std::min(call + last / 2, last);
}

// The server holds the call, the program is killed, and then the server completes the call.
TEST_F(KillTest, AtAutomationCalls)
{
    RecordProperty("kind",
                   "program killed during each automation call, before or after the server serves it");
    CKillBench bench;
    for (const MappedBefore before : kBoth) {
        const unsigned last = CKillBench::Calls(before);
        for (unsigned call = 1; call <= last; call = NextCall(call, last)) {
            for (const std::string side : {"before", "after"}) {
                SCOPED_TRACE("call " + std::to_string(call) + " " + side);
                const CCallHold hold;
                const auto end = [&](CKillBench& program) {
                    if (call == last) {
                        program.CloseFinalMessage();
                    }
                    EXPECT_TRUE(hold.WaitUntilHeld(kPatience));
                    program.EndProgram();
                    hold.LetGo();
                };
                Count(1, bench.Kill({.before = before,
                                     .end = end,
                                     .rules = "fault nth=" + std::to_string(call) + " hold-" + side + "\n",
                                     .records = CKillBench::RecordsAtCall(before, call)}));
            }
        }
    }
}

class MoreKillTest : public KillTest
{
};

// The program starts the server, the server hangs in the call, and the program is killed. The server must end
// with the program.
TEST_F(MoreKillTest, AtCallsOfAHangingServer)
{
    RecordProperty("kind", "program killed at each automation call, in which the server hangs");
    CKillBench bench;
    for (const MappedBefore before : kBoth) {
        const unsigned last = CKillBench::Calls(before);
        for (unsigned call = 1; call <= last; call = NextCall(call, last)) {
            SCOPED_TRACE("call " + std::to_string(call));
            const auto end = [&](CKillBench& program) {
                if (call == last) {
                    program.CloseFinalMessage();
                }
                EXPECT_TRUE(WaitFor([] { return CServerEnvironment::Server().WasAsked(" hangs"); }));
                program.EndProgram();
            };
            Count(1, bench.Kill({.before = before,
                                 .end = end,
                                 .rules = "fault nth=" + std::to_string(call) + " hang\n",
                                 .records = CKillBench::RecordsAtCall(before, call),
                                 .hangs = true}));
        }
    }
}

// Owns the KillSwitch that is shared with the program.
class CSharedKillSwitch
{
public:
    CSharedKillSwitch(const CSharedKillSwitch&) = delete;
    CSharedKillSwitch& operator=(const CSharedKillSwitch&) = delete;
    CSharedKillSwitch()
        : m_memory(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(KillSwitch),
                                      kKillSwitchName))
        , m_killSwitch(static_cast<KillSwitch*>(
              MapViewOfFile(m_memory.get(), FILE_MAP_WRITE, 0, 0, sizeof(KillSwitch))))
    {
    }
    ~CSharedKillSwitch() { UnmapViewOfFile(m_killSwitch); }

    // Starts counting operations. The program is killed before operation killAt; 0: not killed.
    void Arm(LONG killAt) const
    {
        m_killSwitch->operations = 0;
        m_killSwitch->killAt = killAt;
        m_killSwitch->counting = 1;
    }
    // Stops counting. Returns the number of operations.
    [[nodiscard]] LONG Disarm() const
    {
        m_killSwitch->counting = 0;
        return m_killSwitch->operations;
    }

private:
    UniqueHandle m_memory;
    KillSwitch* m_killSwitch;
};

TEST_F(KillTest, AtFileOperations)
{
    RecordProperty("kind", "program killed before each file operation of a run");
    const CSharedKillSwitch killSwitch;
    CKillBench bench(L"talvenor_killable.exe");
    for (const MappedBefore before : kBoth) {
        ASSERT_EQ("", bench.RunUndisturbed(before, [&] { killSwitch.Arm(0); }));
        const LONG operations = killSwitch.Disarm();
        // A lower limit: four copies, each with six blocks to write, two files to open, and the attributes to
        // set.
        ASSERT_GT(operations, 4 * (6 + 2 + 1));
        for (LONG operation = 1; operation <= operations; operation += EveryFault() ? 1 : 45) {
            SCOPED_TRACE("operation " + std::to_string(operation));
            const auto end = [&](CKillBench& program) {
                program.WaitForEndOfProgram();
                EXPECT_EQ(operation, killSwitch.Disarm());
            };
            Count(1, bench.Kill(
                         {.before = before, .end = end, .beforeRun = [&] { killSwitch.Arm(operation); }}));
        }
    }
}

// A new seed for each run, unless TALVENOR_SEED repeats an earlier one.
std::uint32_t Seed()
{
    const char* const fixed = std::getenv("TALVENOR_SEED");
    return fixed != nullptr ? static_cast<std::uint32_t>(std::stoul(fixed)) : std::random_device()();
}

// At most this many additional kills are made until one hits the run between its first and its last record.
constexpr int kMaxAdditionalKills = 20;

TEST_F(KillTest, AtRandomMoments)
{
    const int count = EveryFault() ? 300 : 4;
    const std::uint32_t seed = Seed();
    RecordProperty("kind", "program killed at a random moment of a run (seed " + std::to_string(seed) + ")");
    std::cout << "seed " << seed << " (TALVENOR_SEED=" << seed
              << " repeats the moments, as fractions of the run time)\n";
    std::mt19937 random(seed);
    // Fractions of the run time, as the time itself varies from run to run.
    std::uniform_real_distribution<double> fractions(0, 1);
    CKillBench bench;
    for (const MappedBefore before : kBoth) {
        ASSERT_EQ("", bench.RunUndisturbed(before));
        const std::size_t all = CKillBench::RecordsAtCall(before, CKillBench::Calls(before));
        std::map<std::size_t, int> killsByRecords;
        int inMidRun = 0;
        for (int kill = 0; kill < count / 2 || (inMidRun == 0 && kill < count / 2 + kMaxAdditionalKills);
             ++kill) {
            const auto moment = static_cast<DWORD>(fractions(random) * bench.RunTime());
            SCOPED_TRACE("after " + std::to_string(moment) + " ms");
            std::cout << "kill after " << moment << " of " << bench.RunTime() << " ms\n";
            const auto end = [moment](CKillBench& program) {
                Sleep(moment);
                program.EndProgram();
            };
            Count(1, bench.Kill({.before = before, .end = end}));
            ++killsByRecords[bench.RecordsLeft()];
            inMidRun += bench.RecordsLeft() > 0 && bench.RecordsLeft() < all ? 1 : 0;
        }
        for (const auto& [records, kills] : killsByRecords) {
            std::cout << kills << " kills left " << records << " of " << all << " records\n";
        }
        EXPECT_GT(inMidRun, 0) << "no kill hit the run between its first and last record";
    }
}

}  // namespace
