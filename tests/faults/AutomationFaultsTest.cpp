#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "framework/Language.h"
#include "tests/faults/FaultTest.h"

// One automation call after the other fails, in every way in which a call can.

namespace {

// Counted by hand for the rows below. A part takes seven calls (visibility off, open, count, names, save,
// close, visibility on), one more where opening reports reservations, and for each configuration two (have
// it, say whether its own name counts) and a third where a name is written:
//   Schraube  7 + 3 + 3     = 13
//   Scheibe   7 + 3 + 2 + 3 = 15   the second configuration's name comes out empty
//   früher    0                    needs no conversion
//   Gruppe    7 + 1 + 3 + 3 = 14   opened with code 128
// and the run one to ask for the version and one to end the server.
constexpr unsigned kCallsByHand = 1 + 13 + 15 + 0 + 14 + 1;

using ScriptFor = std::function<ServerScript(unsigned call)>;

// A kind of fault.
struct FaultKind
{
    const char* name;   // of the test
    const char* title;  // in the table of all faults
    ScriptFor scriptFor;
    ServerLife life = ServerLife::stays;
};

ScriptFor One(const Fault& fault)
{
    return [fault](unsigned call) {
        Fault placed = fault;
        placed.nth = call;
        return ServerScript{{placed}};
    };
}

ScriptFor Failing(HRESULT status)
{
    return One({.kind = Fault::Kind::fail, .status = status});
}

ScriptFor OneOfKind(Fault::Kind kind)
{
    return One({.kind = kind});
}

const Fault kTold{.kind = Fault::Kind::exception, .source = L"CAD system", .description = L"Größe fehlt."};

// The server reports an exception or ends, and a new one does not come up.
ScriptFor AndNoNewServer(Fault::Kind kind)
{
    return [kind](unsigned call) { return ServerScript{{{.kind = kind, .nth = call}}, 2}; };
}

// The server reports an exception, and the new one is too old.
ServerScript AndTooOld(unsigned call)
{
    Fault fault = kTold;
    fault.nth = call;
    return {.faults = {fault}, .oldFrom = 2};
}

// A fault, and the new server does not tell its version, which is the first call that it is asked.
ServerScript AndNoVersion(unsigned call)
{
    Fault first = kTold;
    first.nth = call;
    first.across = true;
    const Fault second{.kind = Fault::Kind::fail, .nth = call + 2, .across = true};
    return {{first, second}};
}

ServerScript EveryCallFrom(unsigned call)
{
    Fault fault = kTold;
    fault.nth = call;
    fault.lasting = true;
    return {{fault}};
}

constexpr HRESULT kServerUnavailable = HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE);

const FaultKind kExceptionTold = {"ExceptionTold", "exception with source and description", One(kTold)};
const FaultKind kFailure = {"Failure", "failure code E_FAIL", Failing(E_FAIL)};
const FaultKind kNoNewServer = {"NoNewServer", "exception, and the new server does not start",
                                AndNoNewServer(Fault::Kind::exception)};

// What the program says about these is tested in both languages throughout.
const std::vector<FaultKind> kTellingKinds = {
    kExceptionTold,
    {"ExceptionUntold", "exception with neither", OneOfKind(Fault::Kind::exception)},
    kNoNewServer,
    {"TooOld", "exception, and the new server is too old", AndTooOld},
};

const std::vector<FaultKind> kOtherKinds = {
    {"ExceptionWithHelp", "exception with description and help topic",
     One({.kind = Fault::Kind::exception,
          .description = L"Nur ein Text",
          .helpFile = L"C:\\cad.chm",
          .helpContext = 7})},
    {"ExceptionSourceOnly", "exception with source only",
     One({.kind = Fault::Kind::exception, .source = L"CAD system"})},
    {"ExceptionWithoutReport", "failure code DISP_E_EXCEPTION without a report", Failing(DISP_E_EXCEPTION)},
    kFailure,
    {"Disconnected", "failure code RPC_E_DISCONNECTED", Failing(RPC_E_DISCONNECTED)},
    {"Unavailable", "failure code 0x800706BA (server unavailable)", Failing(kServerUnavailable)},
    {"OutOfMemory", "failure code E_OUTOFMEMORY", Failing(E_OUTOFMEMORY)},
    {"NoMember", "failure code DISP_E_MEMBERNOTFOUND", Failing(DISP_E_MEMBERNOTFOUND)},
    {"ServerFault", "failure code RPC_E_SERVERFAULT", Failing(RPC_E_SERVERFAULT)},
    {"RejectedForAWhile", "calls rejected as busy for a while", OneOfKind(Fault::Kind::rejectForAWhile)},
    {"RejectedForGood", "calls rejected as busy for good", OneOfKind(Fault::Kind::rejectForGood)},
    {"Lasting", "exception in this and every later call", EveryCallFrom},
    {"NoVersion", "exception, and the new server does not tell its version", AndNoVersion},
    {"EndBefore", "server ends before answering", OneOfKind(Fault::Kind::endBefore)},
    {"EndAfter", "server ends after acting", OneOfKind(Fault::Kind::endAfter)},
    {"EndAndNoNewServer", "server ends before answering, and the new one does not start",
     AndNoNewServer(Fault::Kind::endBefore), ServerLife::real},
    {"ExceptionRealServer", "exception, with a server process for each connection", One(kTold),
     ServerLife::real},
    {"EndRealServer", "server ends after acting, with a server process for each connection",
     OneOfKind(Fault::Kind::endAfter), ServerLife::real},
};

class AutomationFaultTest : public FaultTest
{
protected:
    void Inject(const ServerScript& script)
    {
        SCOPED_TRACE(script.Rules());
        m_bench.Reset();
        RunAndRepeat(script);
    }

    CTempFolder m_library;
    CFaultBench m_bench{m_library.Path(), FourRows()};

    CFaultBench& Bench() override { return m_bench; }
};

TEST_F(AutomationFaultTest, AFaultlessRunMakesTheCallsCountedByHand)
{
    for (const int language : {1, 0}) {
        const CLanguageScope scope(language);
        for (const ServerLife life : {ServerLife::stays, ServerLife::real}) {
            m_bench.m_life = life;
            m_bench.Reset();
            EXPECT_EQ("", m_bench.Run({}));
            EXPECT_EQ(kCallsByHand, CFaultBench::Calls().size());
        }
    }
}

enum class Languages
{
    german,
    english,
    inTurn  // from call to call
};

struct EveryCall
{
    FaultKind kind;
    Languages languages = Languages::inTurn;
};

std::ostream& operator<<(std::ostream& out, const EveryCall& parameter)
{
    return out << parameter.kind.title;
}

std::vector<EveryCall> With(const std::vector<FaultKind>& kinds, const std::vector<Languages>& choices)
{
    std::vector<EveryCall> parameters;
    for (const FaultKind& kind : kinds) {
        for (const Languages languages : choices) {
            parameters.push_back({kind, languages});
        }
    }
    return parameters;
}

std::string NameOf(const testing::TestParamInfo<EveryCall>& info)
{
    const char* const tails[] = {"German", "English", ""};
    return std::string(info.param.kind.name) + tails[static_cast<int>(info.param.languages)];
}

class CallTest : public AutomationFaultTest, public testing::WithParamInterface<EveryCall>
{
protected:
    [[nodiscard]] static int LanguageAt(unsigned call)
    {
        const Languages languages = GetParam().languages;
        return languages == Languages::german || (languages == Languages::inTurn && call % 2 != 0) ? 1 : 0;
    }
};

TEST_P(CallTest, LeavesEverythingTrue)
{
    m_bench.m_life = GetParam().kind.life;
    RecordProperty("kind", GetParam().kind.title);
    constexpr unsigned kStep = 3;  // odd, so that the languages still take turns
    for (unsigned call = 1; call <= kCallsByHand; call += EveryFault() ? 1 : kStep) {
        const CLanguageScope language(LanguageAt(call));
        Inject(GetParam().kind.scriptFor(call));
    }
}

// Main is what is tested every time; it lies within More, which is all.
INSTANTIATE_TEST_SUITE_P(Main, CallTest, testing::Values(EveryCall{kExceptionTold, Languages::inTurn}),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(MoreTelling, CallTest,
                         testing::ValuesIn(With(kTellingKinds, {Languages::german, Languages::english})),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(More, CallTest, testing::ValuesIn(With(kOtherKinds, {Languages::inTurn})), NameOf);

// A second fault in the same run, at every call that is made behind the first. The test's parameter is the
// first call to fail.
class MorePairsTest : public AutomationFaultTest, public testing::WithParamInterface<unsigned>
{
};

TEST_P(MorePairsTest, LeaveEverythingTrue)
{
    RecordProperty("kind", "two faults in one run: exception and failure code");
    const unsigned first = GetParam();
    const CLanguageScope language(static_cast<int>(first % 2));
    Fault told = kTold;
    told.nth = first;
    told.across = true;
    m_bench.Reset();
    EXPECT_EQ("", m_bench.Run({{told}}));
    const auto last = static_cast<unsigned>(CFaultBench::Calls().size());
    for (unsigned second = first + 1; second <= last; ++second) {
        const Fault failure{.kind = Fault::Kind::fail, .nth = second, .across = true};
        Inject({{told, failure}});
    }
}

INSTANTIATE_TEST_SUITE_P(First, MorePairsTest, testing::Range(1U, kCallsByHand));

}  // namespace
