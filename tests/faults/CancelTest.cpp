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

    void AtEachCall(bool confirms, unsigned step)
    {
        for (unsigned call = 1; call <= kExpectedCalls; call += step) {
            Inject({.cancelAt = call, .confirms = confirms});
        }
    }

    // The faults that are combined with a cancel.
    enum class Kind
    {
        failure,
        exception,
        exceptionWithoutNewServer,
        endBefore,
        endAfter
    };
    static constexpr unsigned kKinds = 5;

    static Fault FaultOf(Kind kind, unsigned call)
    {
        switch (kind) {
            case Kind::failure:
                return {.kind = Fault::Kind::fail, .nth = call, .across = true};
            case Kind::exception:
            case Kind::exceptionWithoutNewServer:
                return {.kind = Fault::Kind::exception,
                        .nth = call,
                        .across = true,
                        .source = L"CAD system",
                        .description = L"Größe fehlt."};
            case Kind::endBefore:
                return {.kind = Fault::Kind::endBefore, .nth = call, .across = true};
            case Kind::endAfter:
                return {.kind = Fault::Kind::endAfter, .nth = call, .across = true};
        }
        return {};
    }

    // A run with a fault, in which nobody cancels.
    static ServerScript WithFault(Kind kind, unsigned call)
    {
        return {.faults = {FaultOf(kind, call)},
                .refuseFrom = kind == Kind::exceptionWithoutNewServer ? 2U : 0U};
    }

    static ServerScript WithCancel(ServerScript script, unsigned call, bool confirms)
    {
        script.cancelAt = call;
        script.confirms = confirms;
        return script;
    }

    // Each pair of calls gets one kind of fault, and three of four cancels are confirmed.
    static Kind KindAt(unsigned cancelAt, unsigned faultAt)
    {
        return static_cast<Kind>((cancelAt + faultAt) % kKinds);
    }
    static bool ConfirmsAt(unsigned cancelAt, unsigned faultAt) { return (cancelAt + faultAt) % 4 != 0; }

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
    unsigned fault = 0;
    for (unsigned call = 1; call <= kExpectedCalls; ++call) {
        for (unsigned kind = 0; kind < kKinds; ++kind) {
            constexpr unsigned kStep = 33;  // no multiple of kKinds, so that all kinds occur
            if (fault++ % kStep == 0 || EveryFault()) {
                Inject(WithCancel(WithFault(static_cast<Kind>(kind), call), call, ConfirmsAt(call, kind)));
            }
        }
    }
}

// Only tools/faults runs suites named *More*. The parameter is the call during which the user cancels.
class MoreCancelTest : public CancelTest, public testing::WithParamInterface<unsigned>
{
protected:
    // The calls of a run with a fault before the last call, counted by hand. A fault ends its row. Then the
    // program ends the server, if that is still there, and gets the version of the next one. If the version
    // fails, at the first call, the run ends.
    static unsigned CallsWithFault(Kind kind, unsigned call)
    {
        const unsigned ended = kind == Kind::endBefore || kind == Kind::endAfter ? 0 : 1;
        if (call == 1 || kind == Kind::exceptionWithoutNewServer) {
            return call + ended;
        }
        const unsigned laterRows = call <= 14 ? 15 + 14 : call <= 29 ? 14 : 0;
        return call + ended + 1 + laterRows + 1;
    }
};

TEST_P(MoreCancelTest, AndALaterCallFails)
{
    RecordProperty("kind", "user cancels during each automation call, and each later call fails");
    const unsigned cancelAt = GetParam();
    unsigned injected = 0;
    for (unsigned fault = cancelAt + 1; fault <= kExpectedCalls; ++fault) {
        const bool confirms = ConfirmsAt(cancelAt, fault);
        m_bench.Reset();
        if (fault <= m_bench.ModelCalls(WithCancel({}, cancelAt, confirms))) {
            Inject(WithCancel(WithFault(KindAt(cancelAt, fault), fault), cancelAt, confirms));
            ++injected;
        }
    }
    // A cancel that is not confirmed, at every fourth sum, does not shorten the run. But the last three calls
    // of a part come after the question: the run then ends with the part. After a cancel at least one call
    // follows, the one that ends the server.
    const bool isAsked = (cancelAt < 12 || cancelAt > 14) && (cancelAt < 27 || cancelAt > 29);
    const unsigned unconfirmed = isAsked ? (cancelAt + kExpectedCalls) / 4 - 2 * cancelAt / 4 : 0;
    EXPECT_GE(injected, unconfirmed + (cancelAt < kExpectedCalls ? 1U : 0U));
}

TEST_P(MoreCancelTest, AndAnEarlierCallHasFailed)
{
    RecordProperty("kind", "user cancels during each automation call, after each earlier call has failed");
    const unsigned cancelAt = GetParam();
    for (unsigned fault = 1; fault < cancelAt; ++fault) {
        const Kind kind = KindAt(cancelAt, fault);
        const ServerScript script = WithFault(kind, fault);
        m_bench.Reset();
        ASSERT_EQ(CallsWithFault(kind, fault), m_bench.ModelCalls(script));
        if (cancelAt <= CallsWithFault(kind, fault)) {
            Inject(WithCancel(script, cancelAt, ConfirmsAt(cancelAt, fault)));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Cancel, MoreCancelTest, testing::Range(1U, kExpectedCalls + 1));

}  // namespace
