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
#include "tests/acceptance/WaitFor.h"
#include "tests/cadserver/CallHold.h"
#include "tests/faults/EndOrder.h"
#include "tests/faults/FaultTest.h"
#include "tests/faults/KillBench.h"

// The program is ended by force, at every point of a run that can be told from outside and at any moment.

namespace {

constexpr MappedBefore kBoth[] = {MappedBefore::nothing, MappedBefore::anEarlierRun};

class KillTest : public CountingTest
{
};

// The first, one in the middle and the last, when time is short.
unsigned NextCall(unsigned call, unsigned last)
{
    return EveryFault() || call == last ? call + 1 : std::min(call + last / 2, last);
}

// The server holds the call, the program is ended, and the server goes on with the call and answers to
// nobody.
TEST_F(KillTest, AtAutomationCalls)
{
    RecordProperty("kind",
                   "program ended by force during each automation call, before or behind what it does");
    CKillBench bench;
    for (const MappedBefore before : kBoth) {
        const unsigned last = CKillBench::Calls(before);
        for (unsigned call = 1; call <= last; call = NextCall(call, last)) {
            for (const std::string side : {"before", "after"}) {
                SCOPED_TRACE("call " + std::to_string(call) + " " + side);
                const CCallHold hold;
                const auto end = [&](CKillBench& running) {
                    if (call == last) {
                        running.AcceptTheEnd();
                    }
                    EXPECT_TRUE(hold.WaitUntilHeld(kPatience));
                    running.EndProgram();
                    hold.LetGo();
                };
                Note(1, bench.Kill({.before = before,
                                    .end = end,
                                    .rules = "fault nth=" + std::to_string(call) + " hold-" + side + "\n",
                                    .records = CKillBench::RecordsAtCall(before, call)}));
            }
        }
    }
}

// Memory shared with the program that ends itself.
class COrder
{
public:
    COrder(const COrder&) = delete;
    COrder& operator=(const COrder&) = delete;
    COrder()
        : m_memory(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(EndOrder),
                                      kEndOrderName))
        , m_order(
              static_cast<EndOrder*>(MapViewOfFile(m_memory.get(), FILE_MAP_WRITE, 0, 0, sizeof(EndOrder))))
    {
    }
    ~COrder() { UnmapViewOfFile(m_order); }

    // From now on the operations count, and none is made any more when it comes to this one.
    void Give(LONG endAt) const
    {
        m_order->operations = 0;
        m_order->endAt = endAt;
        m_order->counting = 1;
    }
    // The operations since then.
    [[nodiscard]] LONG Take() const
    {
        m_order->counting = 0;
        return m_order->operations;
    }

private:
    UniqueHandle m_memory;
    EndOrder* m_order;
};

TEST_F(KillTest, AtFileOperations)
{
    RecordProperty("kind", "program ended by force in front of each file operation of a run");
    const COrder order;
    CKillBench bench(L"talvenor_ending.exe");
    for (const MappedBefore before : kBoth) {
        ASSERT_EQ("", bench.RunToTheEnd(before, [&] { order.Give(0); }));
        const LONG operations = order.Take();
        // Four copies of at least six blocks each, their opening and attributes, the records.
        ASSERT_GT(operations, 4 * (6 + 2 + 1));
        for (LONG operation = 1; operation <= operations; operation += EveryFault() ? 1 : 45) {
            SCOPED_TRACE("operation " + std::to_string(operation));
            const auto end = [&](CKillBench& running) {
                running.WaitForEndOfProgram();
                EXPECT_EQ(operation, order.Take());
            };
            Note(1, bench.Kill({.before = before, .end = end, .atStart = [&] { order.Give(operation); }}));
        }
    }
}

// Another one each time, unless TALVENOR_SEED gives that of an earlier run.
std::uint32_t Seed()
{
    const char* const given = std::getenv("TALVENOR_SEED");
    return given != nullptr ? static_cast<std::uint32_t>(std::stoul(given)) : std::random_device()();
}

// Kills that left some of the records, but not all: how many more there may be until there is one.
constexpr int kMoreKills = 20;

TEST_F(KillTest, AtRandomMoments)
{
    const int count = EveryFault() ? 300 : 4;
    const std::uint32_t seed = Seed();
    RecordProperty("kind",
                   "program ended by force at a random moment of a run (seed " + std::to_string(seed) + ")");
    std::cout << "seed " << seed << " (TALVENOR_SEED=" << seed << " gives the same shares of a run)\n";
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> shares(0,
                                                  1);  // of the run's time, which differs a little each time
    CKillBench bench;
    for (const MappedBefore before : kBoth) {
        ASSERT_EQ("", bench.RunToTheEnd(before));
        const std::size_t all = CKillBench::RecordsAtCall(before, CKillBench::Calls(before));
        std::map<std::size_t, int> killsThatLeft;
        int inMidRun = 0;
        for (int kill = 0; kill < count / 2 || (inMidRun == 0 && kill < count / 2 + kMoreKills); ++kill) {
            const double share = shares(random);
            const auto moment = static_cast<DWORD>(share * bench.RunTime());
            SCOPED_TRACE("after " + std::to_string(moment) + " ms");
            std::cout << "kill after " << moment << " of " << bench.RunTime() << " ms\n";
            const auto end = [moment](CKillBench& running) {
                Sleep(moment);
                running.EndProgram();
            };
            Note(1, bench.Kill({.before = before, .end = end}));
            ++killsThatLeft[bench.RecordsLeft()];
            inMidRun += bench.RecordsLeft() > 0 && bench.RecordsLeft() < all ? 1 : 0;
        }
        for (const auto& [records, kills] : killsThatLeft) {
            std::cout << kills << " kills left " << records << " of " << all << " records\n";
        }
        EXPECT_GT(inMidRun, 0) << "no kill hit the run between its first record and its last";
    }
}

}  // namespace
