// CAD servers that start or end slowly, and servers whose program is killed.
#include <algorithm>

#include "tests/acceptance/RunFailureTest.h"

namespace {

class ServerEndTest : public RunFailureTest
{
protected:
    static Rows AllConverted(int count)
    {
        Rows rows;
        for (int number = 1; number <= count; ++number) {
            rows.push_back(RowOf(number, Mark::converted));
        }
        return rows;
    }

    [[nodiscard]] std::ptrdiff_t CountLate() const
    {
        const Lines log = m_server.Log();
        return std::ranges::count_if(log, [](const std::string& line) { return line.starts_with("- late"); });
    }
};

TEST_F(ServerEndTest, ReconnectsWhenTheOldServerIsGone)
{
    AddParts(5);
    m_server.SetScript(
        "linger 2000\nfault file=2.sldprt call=GetConfiguration fail 0x80004005\n"
        "fault file=4.sldprt call=GetConfiguration fail 0x80004005\n");
    const CProgramUnderTest program;
    ConvertToTheEnd(program);
    EXPECT_EQ(MapUpTo(5), m_library.MapFileBytes());
    EXPECT_EQ(AllConverted(5), program.List().Rows());
    for (const int number : {1, 3, 5}) {
        EXPECT_EQ(L"Norm " + std::to_wstring(number), BomNameOf(number));
    }
    EXPECT_EQ(0, CountLate()) << "no connection while the old server lingers";
}

TEST_F(ServerEndTest, TheNextRunWaitsForTheServerOfTheLast)
{
    AddParts(2);
    m_server.SetScript("linger 3000\n");
    const CProgramUnderTest program;
    program.Click(IDC_START);
    ExpectMessage(program, expected::kFinished.Current());
    program.WaitForRest();
    program.Click(IDC_SELECT_ALL);
    program.Click(IDC_MARK);
    program.Click(IDC_START);
    ExpectQuestion(program, OverwriteQuestion(), IDYES);
    ExpectMessage(program, expected::kFinished.Current());
    WaitForEndOfRun(program);
    EXPECT_EQ(MapUpTo(2), m_library.MapFileBytes());
    EXPECT_EQ(L"Norm 2", BomNameOf(2));
    EXPECT_EQ(0, CountLate()) << "no connection while the first server lingers";
}

TEST_F(ServerEndTest, WaitsForAServerThatStartsSlowly)
{
    AddParts(2);
    m_server.SetScript("start-slow 3000\n");
    const CProgramUnderTest program;
    ConvertToTheEnd(program);
    EXPECT_EQ(MapUpTo(2), m_library.MapFileBytes());
    EXPECT_EQ(AllConverted(2), program.List().Rows());
    EXPECT_EQ(L"Norm 1", BomNameOf(1));
    EXPECT_EQ(L"Norm 2", BomNameOf(2));
    EXPECT_EQ((Lines{"- start version=30", "- end reason=asked open="}), m_server.Life());
}

// The program does not know the process of a server that it did not start, so it cannot wait for the end of
// that process. Instead the program tries to connect until a new server serves it.
TEST_F(ServerEndTest, TriesAgainWhileAServerThatItReachedLingers)
{
    AddParts(3);
    m_server.SetScript("linger 2000\nfault file=1.sldprt call=GetConfiguration fail 0x80004005\n");
    const IDispatchPtr client = StartServer();
    const CProgramUnderTest program;
    ConvertToTheEnd(program);
    EXPECT_EQ(MapUpTo(3), m_library.MapFileBytes());
    EXPECT_EQ(AllConverted(3), program.List().Rows());
    EXPECT_EQ(L"Norm 2", BomNameOf(2));
    EXPECT_EQ(L"Norm 3", BomNameOf(3));
    EXPECT_GT(CountLate(), 0) << "connections while the server lingered";
}

// The test kills the program during the first call, during a call in the middle, and during the call that
// ends the server.
TEST_F(ServerEndTest, AKilledProgramLeavesNoServerThatItStarted)
{
    AddParts(1);
    for (const std::string call : {"GetDateCode", "GetConfiguration", "Exit"}) {
        SCOPED_TRACE(call);
        m_server.StartOver("fault call=" + call + " hang\n");
        {
            const CProgramUnderTest program;
            program.Click(IDC_START);
            if (call == "Exit") {
                ExpectMessage(program, expected::kFinished.Current());
            }
            EXPECT_TRUE(WaitFor([&] { return m_server.WasAsked("hangs"); }));
        }
        EXPECT_TRUE(m_server.WaitForEnd(5'000)) << "the server is still there";
        m_server.EndByForce();
        m_library.RemoveMapped();
    }
}

// A user may be working in a server with a main window. The stand-in shows the window before the program
// connects.
TEST_F(ServerEndTest, AKilledProgramLeavesAServerWithAMainWindow)
{
    AddParts(1);
    m_server.SetScript("window\nfault call=GetConfiguration hang\n");
    {
        const CProgramUnderTest program;
        program.Click(IDC_START);
        EXPECT_TRUE(WaitFor([&] { return m_server.WasAsked("hangs"); }));
    }
    EXPECT_FALSE(m_server.WaitForEnd(2'000)) << "a server that its user may work in was ended";
    m_server.EndByForce();
}

TEST_F(ServerEndTest, AKilledProgramLeavesAServerThatItReached)
{
    AddParts(1);
    m_server.SetScript("fault call=GetConfiguration hang\n");
    const IDispatchPtr client = StartServer();
    {
        const CProgramUnderTest program;
        program.Click(IDC_START);
        EXPECT_TRUE(WaitFor([&] { return m_server.WasAsked("hangs"); }));
    }
    EXPECT_FALSE(m_server.WaitForEnd(2'000)) << "somebody else's server was ended";
    m_server.EndByForce();
}

}  // namespace
