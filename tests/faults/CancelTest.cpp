#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "framework/WinApp.h"
#include "tests/faults/FaultTest.h"

// The user cancels during every automation call of a run, with and without a fault in the same run.

namespace {

class CancelTest : public FaultTest
{
protected:
    // A key during a call that is pending for too long would bring up the question about a server that does
    // not respond.
    void SetUp() override { CWinApp::Get()->GetMessageFilter().SetBusyDelay(60'000); }
    void TearDown() override
    {
        CWinApp::Get()->GetMessageFilter().SetBusyDelay(kBusyDelay);
        FaultTest::TearDown();
    }

    void Inject(const ServerScript& script)
    {
        SCOPED_TRACE(script.Rules());
        const CLanguageScope language(static_cast<int>(script.cancelAt % 2));
        m_bench.Reset();
        RunAndRepeat(script);
    }

    // The number of calls in a run with this script.
    unsigned CallsWith(const ServerScript& script)
    {
        m_bench.Reset();
        EXPECT_EQ("", m_bench.Run(script));
        return static_cast<unsigned>(CFaultBench::Calls().size());
    }

    void AtEachCall(bool confirms, unsigned step)
    {
        const unsigned last = CallsWith({});
        for (unsigned call = 1; call <= last; call += step) {
            Inject({.cancelAt = call, .confirms = confirms});
        }
    }

    // The user cancels, and a call raises an exception or returns a failure code. After about every second
    // exception no new server starts.
    static ServerScript WithFault(unsigned cancelAt, unsigned faultAt)
    {
        const Fault exception{.kind = Fault::Kind::exception,
                              .nth = faultAt,
                              .across = true,
                              .source = L"CAD system",
                              .description = L"Größe fehlt."};
        const Fault failure{.kind = Fault::Kind::fail, .nth = faultAt, .across = true};
        const unsigned kind = (cancelAt + faultAt) % 3;
        return {.faults = {kind == 0 ? failure : exception},
                .refuseFrom = kind == 1 ? 2U : 0U,
                .cancelAt = cancelAt,
                .confirms = (cancelAt + faultAt) % 4 != 0};
    }

    CTempFolder m_library;
    CFaultBench m_bench{m_library.Path(), FourRows()};

    CFaultBench& Bench() override { return m_bench; }
};

TEST_F(CancelTest, AtEachCallConfirmed)
{
    RecordProperty("kind", "user cancels during each automation call");
    AtEachCall(true, EveryFault() ? 1 : 5);
}

TEST_F(CancelTest, AtEachCallRevoked)
{
    RecordProperty("kind", "user cancels during each automation call, but does not confirm it");
    AtEachCall(false, EveryFault() ? 1 : 17);
}

TEST_F(CancelTest, AtACallThatFails)
{
    RecordProperty("kind", "user cancels during each automation call, and the call fails");
    const unsigned last = CallsWith({});
    for (unsigned call = 1; call <= last; call += EveryFault() ? 1 : 7) {
        Inject(WithFault(call, call));
    }
}

// Only tools/faults runs suites named *More*. The parameter is the call during which the user cancels.
class MoreCancelTest : public CancelTest, public testing::WithParamInterface<unsigned>
{
};

TEST_P(MoreCancelTest, AndALaterCallFails)
{
    RecordProperty("kind", "user cancels during each automation call, and each later call fails");
    const unsigned last = CallsWith({.cancelAt = GetParam()});
    for (unsigned fault = GetParam() + 1; fault <= last; ++fault) {
        Inject(WithFault(GetParam(), fault));
    }
}

TEST_P(MoreCancelTest, AndAnEarlierCallHasFailed)
{
    RecordProperty("kind", "user cancels during each automation call, after each earlier call has failed");
    for (unsigned fault = 1; fault < GetParam(); ++fault) {
        Inject(WithFault(GetParam(), fault));
    }
}

INSTANTIATE_TEST_SUITE_P(Cancel, MoreCancelTest, testing::Range(1U, 45U));

}  // namespace
