#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "framework/Language.h"
#include "tests/faults/FaultTest.h"

// Every automation call of a run fails in turn, in every way in which a call can fail.

namespace {

using ScriptFor = std::function<ServerScript(unsigned call)>;

// A kind of fault.
struct FaultKind
{
    const char* name;   // in the name of the test
    const char* title;  // in FAULTS.md
    ScriptFor scriptFor;
    ServerLife life = ServerLife::stays;
};

ScriptFor Single(const Fault& fault)
{
    return [fault](unsigned call) {
        Fault placed = fault;
        placed.nth = call;
        return ServerScript{{placed}};
    };
}

ScriptFor Failing(HRESULT status)
{
    return Single({.kind = Fault::Kind::fail, .status = status});
}

ScriptFor OneOfKind(Fault::Kind kind)
{
    return Single({.kind = kind});
}

const Fault kException{
    .kind = Fault::Kind::exception, .source = L"CAD system", .description = L"Größe fehlt."};

// The server raises an exception or ends, and a new one does not start.
ScriptFor WithoutNewServer(Fault::Kind kind)
{
    return [kind](unsigned call) { return ServerScript{{{.kind = kind, .nth = call}}, 2}; };
}

// The server raises an exception, and the new one is too old.
ServerScript WithOldServer(unsigned call)
{
    Fault fault = kException;
    fault.nth = call;
    return {.faults = {fault}, .oldFrom = 2};
}

// The server raises an exception, and the new one fails its first call, which gets the version.
ServerScript WithoutVersion(unsigned call)
{
    Fault first = kException;
    first.nth = call;
    first.across = true;
    const Fault second{.kind = Fault::Kind::fail, .nth = call + 2, .across = true};
    return {{first, second}};
}

ServerScript LastingFrom(unsigned call)
{
    Fault fault = kException;
    fault.nth = call;
    fault.lasting = true;
    return {{fault}};
}

// The server raises an exception, and lingers when it is asked to end.
ScriptFor Lingering(HRESULT status)
{
    return [status](unsigned call) {
        Fault fault = kException;
        fault.nth = call;
        return ServerScript{.faults = {fault}, .lingerTime = 1'200, .lingerStatus = status};
    };
}

// The server raises an exception. This server and the next one start slowly.
ServerScript StartingSlowly(unsigned call)
{
    Fault fault = kException;
    fault.nth = call;
    return {.faults = {fault}, .startDelay = 1'500};
}

constexpr HRESULT kServerUnavailable = HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE);

const FaultKind kExceptionWithTexts = {"ExceptionWithTexts", "exception with source and description",
                                       Single(kException)};
const FaultKind kFailure = {"Failure", "failure code E_FAIL", Failing(E_FAIL)};
const FaultKind kNoNewServer = {"NoNewServer", "exception, and the new server does not start",
                                WithoutNewServer(Fault::Kind::exception)};

// These cause different messages, so every call is tested in both languages.
const std::vector<FaultKind> kKindsWithMessages = {
    kExceptionWithTexts,
    {"ExceptionWithoutTexts", "exception without texts", OneOfKind(Fault::Kind::exception)},
    kNoNewServer,
    {"TooOld", "exception, and the new server is too old", WithOldServer},
};

const std::vector<FaultKind> kOtherKinds = {
    {"ExceptionWithHelp", "exception with description and help topic",
     Single({.kind = Fault::Kind::exception,
             .description = L"Nur ein Text",
             .helpFile = L"C:\\cad.chm",
             .helpContext = 7})},
    {"ExceptionSourceOnly", "exception with source only",
     Single({.kind = Fault::Kind::exception, .source = L"CAD system"})},
    {"ExceptionWithoutReport", "failure code DISP_E_EXCEPTION without exception information",
     Failing(DISP_E_EXCEPTION)},
    kFailure,
    {"Disconnected", "failure code RPC_E_DISCONNECTED", Failing(RPC_E_DISCONNECTED)},
    {"Unavailable", "failure code 0x800706BA (server unavailable)", Failing(kServerUnavailable)},
    {"OutOfMemory", "failure code E_OUTOFMEMORY", Failing(E_OUTOFMEMORY)},
    {"NoMember", "failure code DISP_E_MEMBERNOTFOUND", Failing(DISP_E_MEMBERNOTFOUND)},
    {"ServerFault", "failure code RPC_E_SERVERFAULT", Failing(RPC_E_SERVERFAULT)},
    {"RejectedForSomeTime", "calls rejected as busy for some time",
     OneOfKind(Fault::Kind::rejectForSomeTime)},
    {"RejectedForever", "calls rejected as busy forever", OneOfKind(Fault::Kind::rejectForever)},
    {"Lasting", "exception in this and every later call", LastingFrom},
    {"NoVersion", "exception, and the new server does not return its version", WithoutVersion},
    {"EndBefore", "server ends before serving the call", OneOfKind(Fault::Kind::endBefore)},
    {"EndAfter", "server ends after serving the call", OneOfKind(Fault::Kind::endAfter)},
    {"EndAndNoNewServer", "server ends before serving the call, and the new one does not start",
     WithoutNewServer(Fault::Kind::endBefore), ServerLife::perConnection},
    {"ExceptionServerPerConnection", "exception, with one server process per connection", Single(kException),
     ServerLife::perConnection},
    {"EndServerPerConnection", "server ends after serving the call, with one server process per connection",
     OneOfKind(Fault::Kind::endAfter), ServerLife::perConnection},
};

// Only a process that does not stay can linger, start slowly or hang.
const std::vector<FaultKind> kServerKinds = {
    {"Lingering", "exception, and the server lingers for 1.2 s, refusing calls (RPC_E_DISCONNECTED)",
     Lingering(RPC_E_DISCONNECTED), ServerLife::perConnection},
    {"LingeringReached",
     "the same with a server that another client has started (refusing calls with 0x800706BA)",
     Lingering(kServerUnavailable), ServerLife::reached},
    {"StartingSlowly", "exception, and each server takes 1.5 s to start", StartingSlowly,
     ServerLife::perConnection},
    {"Hanging", "server hangs, and the user gives it up", Single({.kind = Fault::Kind::hang, .across = true}),
     ServerLife::perConnection},
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

TEST_F(AutomationFaultTest, ARunWithoutFaultsMakesTheExpectedCalls)
{
    for (const int language : {1, 0}) {
        const CLanguageScope scope(language);
        for (const ServerLife life : {ServerLife::stays, ServerLife::perConnection}) {
            m_bench.m_life = life;
            m_bench.Reset();
            EXPECT_EQ("", m_bench.Run({}));
            EXPECT_EQ(kExpectedCalls, CFaultBench::Calls().size());
        }
    }
}

enum class Languages
{
    german,
    english,
    alternating  // from call to call
};

struct EveryCall
{
    FaultKind kind;
    Languages languages = Languages::alternating;
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
    const char* const suffixes[] = {"German", "English", ""};
    return std::string(info.param.kind.name) + suffixes[static_cast<int>(info.param.languages)];
}

class CallTest : public AutomationFaultTest, public testing::WithParamInterface<EveryCall>
{
protected:
    [[nodiscard]] static int LanguageAt(unsigned call)
    {
        const Languages languages = GetParam().languages;
        return languages == Languages::german || (languages == Languages::alternating && call % 2 != 0) ? 1
                                                                                                        : 0;
    }
};

TEST_P(CallTest, LeavesTheExpectedState)
{
    m_bench.m_life = GetParam().kind.life;
    RecordProperty("kind", GetParam().kind.title);
    constexpr unsigned kStep = 3;  // odd, so that the languages still alternate
    for (unsigned call = 1; call <= kExpectedCalls; call += EveryFault() ? 1 : kStep) {
        const CLanguageScope language(LanguageAt(call));
        Inject(GetParam().kind.scriptFor(call));
    }
}

// Only tools/faults runs suites named *More*. Main always runs, with one of their kinds of fault.
INSTANTIATE_TEST_SUITE_P(Main, CallTest,
                         testing::Values(EveryCall{kExceptionWithTexts, Languages::alternating}), NameOf);
INSTANTIATE_TEST_SUITE_P(MoreMessages, CallTest,
                         testing::ValuesIn(With(kKindsWithMessages, {Languages::german, Languages::english})),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(MoreServers, CallTest,
                         testing::ValuesIn(With(kServerKinds, {Languages::alternating})), NameOf);
INSTANTIATE_TEST_SUITE_P(More, CallTest, testing::ValuesIn(With(kOtherKinds, {Languages::alternating})),
                         NameOf);

// A run as long as users' runs, with a server that lingers for as long as a real one may.
class MoreLongListTest : public FaultTest
{
protected:
    static constexpr int kParts = 40;
    static constexpr int kFailing = 10;  // every tenth part fails

    static std::vector<ModelRow> ManyRows()
    {
        std::vector<ModelRow> rows;
        for (int number = 1; number <= kParts; ++number) {
            const std::wstring digits = std::to_wstring(number);
            ModelRow row{{L"N_" + digits + L"_M8.sldprt", digits + L".sldprt", L"Norm %1"}};
            row.source = {{L"x", true, L"as delivered"}};
            row.written = {{L"x", true, L"Norm " + digits}};
            rows.push_back(row);
        }
        return rows;
    }

    // A part takes ten calls. In every tenth part, the third call fails. That adds two calls: the one that
    // ends the server, and the one that gets the version of the next server.
    static ServerScript EachTenthFails()
    {
        constexpr unsigned kCalls = 10;
        constexpr unsigned kFailingCall = 3;
        ServerScript script;
        unsigned last = 1;  // gets the version
        for (int failing = 1; failing <= kParts / kFailing; ++failing) {
            last += (kFailing - 1) * kCalls + kFailingCall;
            Fault fault = kException;
            fault.nth = last;
            fault.across = true;
            script.faults.push_back(fault);
            last += 2;
        }
        script.lingerTime = 5'000;
        return script;
    }

    CTempFolder m_library;
    CFaultBench m_bench{m_library.Path(), ManyRows()};

    CFaultBench& Bench() override { return m_bench; }
};

TEST_F(MoreLongListTest, EachTenthPartFailsAndTheServerLingers)
{
    m_bench.m_life = ServerLife::perConnection;
    const ULONGLONG start = GetTickCount64();
    const std::string differences = m_bench.Run(EachTenthFails());
    const ULONGLONG seconds = (GetTickCount64() - start) / 1'000;
    Count(kParts / kFailing, differences);
    RecordProperty("kind", "each tenth of 40 parts fails, and the server lingers for 5 s each time (" +
                               std::to_string(seconds) + " s in all)");
    for (std::size_t row = 0; row < m_bench.Rows().size(); ++row) {
        const bool failed = row % kFailing == kFailing - 1;
        std::vector<PartConfiguration> configurations;
        EXPECT_EQ(S_OK, ReadConfigurations(m_bench.Copy(row), configurations));
        EXPECT_EQ(configurations, failed ? m_bench.Rows()[row].source : m_bench.Rows()[row].written);
    }
}

// A second fault in the same run, at every call after the first fault. The parameter is the call with the
// first fault.
class MorePairsTest : public AutomationFaultTest, public testing::WithParamInterface<unsigned>
{
};

TEST_P(MorePairsTest, LeaveTheExpectedState)
{
    RecordProperty("kind", "two faults in one run: exception and failure code");
    const unsigned first = GetParam();
    const CLanguageScope language(static_cast<int>(first % 2));
    Fault exception = kException;
    exception.nth = first;
    exception.across = true;
    m_bench.Reset();
    EXPECT_EQ("", m_bench.Run({{exception}}));
    const auto last = static_cast<unsigned>(CFaultBench::Calls().size());
    for (unsigned second = first + 1; second <= last; ++second) {
        const Fault failure{.kind = Fault::Kind::fail, .nth = second, .across = true};
        Inject({{exception, failure}});
    }
}

INSTANTIATE_TEST_SUITE_P(First, MorePairsTest, testing::Range(1U, kExpectedCalls));

}  // namespace
