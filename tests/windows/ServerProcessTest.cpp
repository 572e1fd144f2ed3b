#include "framework/ServerProcess.h"

#include <gtest/gtest.h>
#include <tlhelp32.h>

#include <memory>
#include <optional>
#include <vector>

#include "framework/LocalServer.h"
#include "framework/ScopeExit.h"
#include "tests/support/FakeClasses.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"
#include "tests/windows/WaitingProgram.h"

namespace {

constexpr DWORD kNotLong = 300;  // milliseconds
constexpr DWORD kTick = 50;      // milliseconds; longer than a step of the system clock

constexpr char kNoSubstitution[] = "skipped: this system substitutes no drive for a folder, as Wine does not";

// The child processes of a process.
std::vector<DWORD> ChildrenOf(DWORD parent)
{
    std::vector<DWORD> children;
    const UniqueHandle snapshot(ValidHandle(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0)));
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Process32FirstW(snapshot.get(), &entry); more != FALSE;
         more = Process32NextW(snapshot.get(), &entry)) {
        if (entry.th32ParentProcessID == parent) {
            children.push_back(entry.th32ProcessID);
        }
    }
    return children;
}

// A process that was started by a process of the test. The scope ends it.
class CChildScope
{
public:
    explicit CChildScope(DWORD id) : m_process(OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, id)) {}
    CChildScope(const CChildScope&) = delete;
    CChildScope& operator=(const CChildScope&) = delete;
    ~CChildScope()
    {
        TerminateProcess(m_process.get(), 1);
        WaitForSingleObject(m_process.get(), 10'000);
    }

    [[nodiscard]] bool IsAlive() const { return WaitForSingleObject(m_process.get(), 0) == WAIT_TIMEOUT; }

private:
    UniqueHandle m_process;
};

// A COM class whose server is a copy of waitingprogram.exe. The tests start the server themselves;
// CServerProcess regards it as started by COM.
class ServerProcessTest : public testing::Test
{
protected:
    void SetUp() override
    {
        CScratchClasses::RequireAccess();
        if (IsSkipped()) {
            return;
        }
        m_classes.AddServer(kProgId, m_image);
        m_server->BeginRun(kProgId);
    }

    // Registers another class and begins a run that uses it.
    void BeginRunOf(const std::wstring& commandLine)
    {
        const std::wstring progId = L"Talvenor.Test.Process.2";
        m_classes.AddServer(progId, commandLine);
        m_server->BeginRun(progId);
    }

    // A connection to a running server.
    void ConnectToRunning()
    {
        m_server->BeginConnect();
        m_server->EndConnect(true);
    }

    // A connection that starts a server.
    CWaitingProcess Connect()
    {
        m_server->BeginConnect();
        CWaitingProcess process(m_image);
        m_server->EndConnect(true);
        return process;
    }

    const std::wstring kProgId = L"Talvenor.Test.Process.1";
    CTempFolder m_folder;
    const std::wstring m_image = CopyWaitingProgram(m_folder);
    CScratchClasses m_classes;
    std::optional<CServerProcess> m_server{std::in_place};
};

TEST_F(ServerProcessTest, AServerStartedByTheConnectionIsOurs)
{
    const CWaitingProcess process = Connect();
    EXPECT_TRUE(m_server->IsOurs());
}

TEST_F(ServerProcessTest, AnEarlierServerIsNotOurs)
{
    const CWaitingProcess process(m_image);
    ConnectToRunning();
    EXPECT_FALSE(m_server->IsOurs());
    EXPECT_FALSE(m_server->Terminate());
    m_server.reset();
    EXPECT_FALSE(process.Ends(kNotLong));
}

TEST_F(ServerProcessTest, AServerStartedBesideAnEarlierOneIsOurs)
{
    const CWaitingProcess other(m_image);
    const CWaitingProcess process = Connect();
    EXPECT_TRUE(m_server->IsOurs());
    EXPECT_TRUE(m_server->Terminate());
    EXPECT_TRUE(process.Ends());
    EXPECT_FALSE(other.Ends(kNotLong));
}

TEST_F(ServerProcessTest, OfTwoStartedServersNeitherIsOurs)
{
    m_server->BeginConnect();
    const CWaitingProcess first(m_image);
    const CWaitingProcess second(m_image);
    m_server->EndConnect(true);
    EXPECT_FALSE(m_server->IsOurs());
}

TEST_F(ServerProcessTest, AnotherProgramsProcessIsNotTheServer)
{
    const std::wstring sameNameElsewhere = [this] {
        std::filesystem::create_directory(m_folder / L"elsewhere");
        return m_folder / L"elsewhere\\server.exe";
    }();
    std::filesystem::copy_file(m_image, sameNameElsewhere);
    m_server->BeginConnect();
    const CWaitingProcess process(sameNameElsewhere);
    m_server->EndConnect(true);
    EXPECT_FALSE(m_server->IsOurs());
}

// This happens when the user starts the CAD system while the program connects.
TEST_F(ServerProcessTest, AServerStartedByAnotherProgramIsNotOurs)
{
    const std::wstring starter = m_folder / L"starter.exe";
    std::filesystem::copy_file(m_image, starter);
    const CWaitingProcess parent(starter);
    BeginRunOf(starter);
    m_server->BeginConnect();
    parent.StartAnother();
    ASSERT_TRUE(WaitFor([&] { return !ChildrenOf(parent.Id()).empty(); }));
    const CChildScope child(ChildrenOf(parent.Id())[0]);
    m_server->EndConnect(true);
    EXPECT_FALSE(m_server->IsOurs());
}

TEST_F(ServerProcessTest, AFailedConnectionHasNoServer)
{
    m_server->BeginConnect();
    const CWaitingProcess process(m_image);
    m_server->EndConnect(false);
    EXPECT_FALSE(m_server->IsOurs());
}

TEST_F(ServerProcessTest, AClassWithoutAProgramHasNoServer)
{
    m_server->BeginRun(L"Talvenor.Test.Missing.1");
    ConnectToRunning();
    EXPECT_FALSE(m_server->IsOurs());
    EXPECT_FALSE(m_server->WasAlive());
}

// ---- The server ends with this program

TEST_F(ServerProcessTest, AServerInUseEndsWithTheObject)
{
    const CWaitingProcess process = Connect();
    m_server.reset();
    EXPECT_TRUE(process.Ends());
}

TEST_F(ServerProcessTest, AServerAskedToEndOutlivesTheObject)
{
    const CWaitingProcess process = Connect();
    m_server->LetGo(true);
    m_server.reset();
    EXPECT_FALSE(process.Ends(kNotLong));
}

TEST_F(ServerProcessTest, AServerThatCouldNotBeAskedToEndEndsWithTheObject)
{
    const CWaitingProcess process = Connect();
    m_server->LetGo(false);
    EXPECT_FALSE(process.Ends(kNotLong));
    m_server.reset();
    EXPECT_TRUE(process.Ends());
}

TEST_F(ServerProcessTest, ChildrenOfTheServerOutliveIt)
{
    const CWaitingProcess process = Connect();
    process.StartAnother();
    ASSERT_TRUE(WaitFor([&] { return !ChildrenOf(process.Id()).empty(); }));
    const CChildScope child(ChildrenOf(process.Id())[0]);
    m_server.reset();
    EXPECT_TRUE(process.Ends());
    Sleep(kNotLong);
    EXPECT_TRUE(child.IsAlive());
}

TEST_F(ServerProcessTest, AServerWithAMainWindowIsNoLongerOurs)
{
    const CWaitingProcess process = Connect();
    process.ShowMainWindow();
    EXPECT_FALSE(m_server->IsOurs());
    EXPECT_TRUE(m_server->WaitForEnd(60'000));
    EXPECT_FALSE(m_server->Terminate());
    m_server.reset();
    EXPECT_FALSE(process.Ends(kNotLong));
}

TEST_F(ServerProcessTest, AMainWindowIsNoticedAtTheEnd)
{
    const CWaitingProcess process = Connect();
    process.ShowMainWindow();
    m_server.reset();
    EXPECT_FALSE(process.Ends(kNotLong));
}

TEST_F(ServerProcessTest, APromptIsNoMainWindow)
{
    const CWaitingProcess process = Connect();
    process.ShowPrompt();
    EXPECT_TRUE(m_server->IsOurs());
}

TEST_F(ServerProcessTest, ASplashScreenIsNoMainWindow)
{
    const CWaitingProcess process = Connect();
    process.ShowSplashScreen();
    EXPECT_TRUE(m_server->IsOurs());
}

// An example is a palette of tools that floats beside the hidden main window.
TEST_F(ServerProcessTest, AToolWindowIsNoMainWindow)
{
    const CWaitingProcess process = Connect();
    process.ShowToolWindow();
    EXPECT_TRUE(m_server->IsOurs());
}

// The second connection reaches the server that could not be asked to end.
TEST_F(ServerProcessTest, AServerOfOursThatIsReachedAgainStaysOurs)
{
    const CWaitingProcess process = Connect();
    m_server->LetGo(false);
    ConnectToRunning();
    EXPECT_TRUE(m_server->IsOurs());
    m_server.reset();
    EXPECT_TRUE(process.Ends());
}

TEST_F(ServerProcessTest, AServerOfOursThatIsReachedAgainIsTiedAgain)
{
    const CWaitingProcess process = Connect();
    m_server->LetGo(true);
    ConnectToRunning();
    m_server.reset();
    EXPECT_TRUE(process.Ends());
}

TEST_F(ServerProcessTest, WithAnotherServerBesideOursNobodyKnowsWhichWasReached)
{
    const CWaitingProcess other(m_image);
    const CWaitingProcess process = Connect();
    m_server->LetGo(false);
    ConnectToRunning();
    EXPECT_FALSE(m_server->IsOurs());
    m_server.reset();
    EXPECT_FALSE(process.Ends(kNotLong));
}

TEST_F(ServerProcessTest, AFailedConnectionKeepsTheServerOfTheLast)
{
    const CWaitingProcess process = Connect();
    m_server->LetGo(true);
    m_server->BeginConnect();
    m_server->EndConnect(false);
    EXPECT_TRUE(m_server->IsOurs());
    EXPECT_TRUE(m_server->Terminate());
    EXPECT_TRUE(process.Ends(0));
}

// This happens when COM abandons an activation that takes too long, and the next attempt reaches the server.
TEST_F(ServerProcessTest, AServerThatAppearedWithAnEarlierAttemptIsOurs)
{
    m_server->BeginConnect();
    const CWaitingProcess process(m_image);
    m_server->EndConnect(false);
    ConnectToRunning();
    EXPECT_TRUE(m_server->IsOurs());
}

TEST_F(ServerProcessTest, TheNextRunBeginsWithTheServersThatThereAre)
{
    m_server->BeginConnect();
    const CWaitingProcess process(m_image);
    m_server->EndConnect(false);
    m_server->BeginRun(kProgId);
    ConnectToRunning();
    EXPECT_FALSE(m_server->IsOurs());
}

TEST_F(ServerProcessTest, AnotherClassReleasesTheServer)
{
    const CWaitingProcess process = Connect();
    m_server->LetGo(true);
    BeginRunOf(CopyWaitingProgram(m_folder, L"other.exe"));
    EXPECT_FALSE(m_server->IsOurs());
    EXPECT_FALSE(m_server->WasAlive());
    EXPECT_FALSE(process.Ends(kNotLong));
}

// ---- Waiting for the server's end

TEST_F(ServerProcessTest, WaitsUntilTheServerHasEnded)
{
    const CWaitingProcess process = Connect();
    m_server->LetGo(true);
    const ULONGLONG start = GetTickCount64();
    process.EndLater(700);
    EXPECT_TRUE(m_server->WaitForEnd(10'000));
    EXPECT_TRUE(process.Ends(0));
    const ULONGLONG waited = GetTickCount64() - start;
    EXPECT_GE(waited, 600U);
    EXPECT_LT(waited, 5'000U);
}

TEST_F(ServerProcessTest, WaitsNoLongerThanTheTimeout)
{
    const CWaitingProcess process = Connect();
    m_server->LetGo(true);
    const ULONGLONG start = GetTickCount64();
    EXPECT_FALSE(m_server->WaitForEnd(kNotLong));
    EXPECT_GE(GetTickCount64() - start, kNotLong - 20);
    EXPECT_TRUE(m_server->IsOurs());
}

TEST_F(ServerProcessTest, TerminateEndsTheServer)
{
    const CWaitingProcess process = Connect();
    m_server->LetGo(true);
    EXPECT_TRUE(m_server->Terminate());
    EXPECT_TRUE(process.Ends());
    EXPECT_TRUE(m_server->WaitForEnd(0));
}

// On Windows, TerminateProcess fails for a process that has already ended. Under Wine it succeeds.
TEST_F(ServerProcessTest, AServerThatHasEndedByItselfNeedsNoForce)
{
    const CWaitingProcess process = Connect();
    process.EndLater(0);
    EXPECT_TRUE(process.Ends());
    EXPECT_TRUE(m_server->Terminate());
}

TEST_F(ServerProcessTest, WaitsOnlyForItsOwnServer)
{
    EXPECT_TRUE(m_server->WaitForEnd(60'000));
    const CWaitingProcess process(m_image);
    ConnectToRunning();
    m_server->LetGo(true);
    EXPECT_TRUE(m_server->WaitForEnd(60'000));
}

// ---- Whether the server was alive

TEST_F(ServerProcessTest, AReleasedServerIsAliveUntilItHasEnded)
{
    const CWaitingProcess process(m_image);
    Sleep(kTick);
    m_server->BeginRun(kProgId);
    ConnectToRunning();
    EXPECT_FALSE(m_server->WasAlive()) << "not let go yet";
    m_server->LetGo(false);
    EXPECT_TRUE(m_server->WasAlive());
    m_server->BeginRun(kProgId);
    EXPECT_TRUE(m_server->WasAlive()) << "in the next run, too";
    process.EndLater(0);
    EXPECT_TRUE(process.Ends());
    EXPECT_FALSE(m_server->WasAlive());
}

TEST_F(ServerProcessTest, OnlyANewerServerCountsAsAlive)
{
    const CWaitingProcess older(m_image);
    Sleep(kTick);
    m_server->BeginRun(kProgId);
    {
        const CWaitingProcess process = Connect();
        m_server->LetGo(true);
    }
    EXPECT_FALSE(m_server->WasAlive());
    const CWaitingProcess newer(m_image);
    EXPECT_TRUE(m_server->WasAlive());
}

TEST_F(ServerProcessTest, BeforeAReleaseOnlyAServerOfThisRunCounts)
{
    const CWaitingProcess older(m_image);
    Sleep(kTick);
    m_server->BeginRun(kProgId);
    m_server->BeginConnect();
    EXPECT_FALSE(m_server->WasAlive());
    const CWaitingProcess newer(m_image);
    m_server->EndConnect(false);
    EXPECT_TRUE(m_server->WasAlive());
}

TEST_F(ServerProcessTest, AServerThatEndsDuringTheConnectionWasAlive)
{
    {
        const CWaitingProcess process = Connect();
        m_server->LetGo(true);
        m_server->BeginConnect();
    }
    m_server->EndConnect(false);
    EXPECT_TRUE(m_server->WasAlive());
    m_server->BeginConnect();
    EXPECT_FALSE(m_server->WasAlive());
}

// ---- The program of a class

class LocalServerTest : public ServerProcessTest
{
protected:
    std::wstring ImageFor(const std::wstring& commandLine)
    {
        const std::wstring progId = L"Talvenor.Test.Image." + std::to_wstring(++m_count);
        m_classes.AddServer(progId, commandLine);
        return LocalServerImage(progId);
    }
    // The same with one more value in the LocalServer32 key. A value without a name replaces the command
    // line.
    std::wstring ImageFor(const std::wstring& commandLine, const wchar_t* name, DWORD type,
                          const std::wstring& value)
    {
        const std::wstring progId = L"Talvenor.Test.Image.0";
        const std::wstring key = m_classes.AddServer(progId, commandLine);
        EXPECT_TRUE(CScratchClassKey::Write(*CScratchClassKey::Root(), key, key + L"\\LocalServer32", name,
                                            type, value));
        return LocalServerImage(progId);
    }

    int m_count = 0;
};

TEST_F(LocalServerTest, IsReadFromTheCommandLine)
{
    std::filesystem::create_directory(m_folder / L"CAD system");
    const std::wstring image = CopyWaitingProgram(m_folder, L"CAD system\\my server.exe");
    EXPECT_EQ(ImageFor(image), image);
    EXPECT_EQ(ImageFor(image + L" /automation -x"), image);
    EXPECT_EQ(ImageFor(L"\"" + image + L"\""), image);
    EXPECT_EQ(ImageFor(L"\"" + image + L"\" /automation"), image);
    EXPECT_EQ(ImageFor((m_folder / L"CAD system\\my server") + L" /automation"), image);
    EXPECT_EQ(ImageFor(m_folder / L"missing.exe"), L"");
    EXPECT_EQ(ImageFor(m_folder.Path()), L"");
    EXPECT_EQ(ImageFor(L""), L"");
    EXPECT_EQ(ImageFor(L"\""), L"");
}

TEST_F(LocalServerTest, IsReadFromServerExecutableFirst)
{
    EXPECT_EQ(ImageFor(L"missing.exe -x", L"ServerExecutable", REG_SZ, m_image), m_image);
}

TEST_F(LocalServerTest, IsFoundByItsShortPath)
{
    std::filesystem::create_directory(m_folder / L"a folder with a long name");
    const std::wstring image =
        CopyWaitingProgram(m_folder, L"a folder with a long name\\a long server name.exe");
    std::wstring shortPath(MAX_PATH, L'\0');
    shortPath.resize(GetShortPathNameW(image.c_str(), shortPath.data(), MAX_PATH));
    if (shortPath.empty() || shortPath == image) {
        GTEST_SKIP() << "skipped: the volume has no short names";
    }
    EXPECT_EQ(ImageFor(shortPath), image);
}

// A drive name such as "T:" that neither a drive nor a device of this session uses; empty if there is none.
std::wstring FreeDrive()
{
    const DWORD drives = GetLogicalDrives();
    for (wchar_t letter = L'Z'; letter >= L'D'; --letter) {
        const std::wstring drive{letter, L':'};
        wchar_t target[MAX_PATH] = L"";
        if ((drives >> (letter - L'A') & 1) == 0 && QueryDosDeviceW(drive.c_str(), target, MAX_PATH) == 0 &&
            GetLastError() == ERROR_FILE_NOT_FOUND) {
            return drive;
        }
    }
    return L"";
}

TEST(FreeDriveTest, IsNoDriveOfTheMachine)
{
    const std::wstring drive = FreeDrive();
    if (drive.empty()) {
        GTEST_SKIP() << "skipped: every drive letter is in use";
    }
    EXPECT_EQ(GetDriveTypeW((drive + L"\\").c_str()), static_cast<UINT>(DRIVE_NO_ROOT_DIR));
}

// A junction in the registered path is resolved in the same way.
TEST_F(LocalServerTest, IsFoundOnASubstitutedDrive)
{
    const std::wstring drive = FreeDrive();
    if (drive.empty()) {
        GTEST_SKIP() << "skipped: every drive letter is in use";
    }
    if (DefineDosDeviceW(0, drive.c_str(), m_folder.Path().c_str()) == FALSE) {
        GTEST_SKIP() << kNoSubstitution;
    }
    const CScopeExit remove([&] {
        DefineDosDeviceW(DDD_REMOVE_DEFINITION | DDD_EXACT_MATCH_ON_REMOVE, drive.c_str(),
                         m_folder.Path().c_str());
    });
    if (GetFileAttributesW((drive + L"\\server.exe").c_str()) == INVALID_FILE_ATTRIBUTES) {
        GTEST_SKIP() << kNoSubstitution;
    }
    EXPECT_EQ(ImageFor(drive + L"\\server.exe /automation"), m_image);
}

// Wine always names a process by its long path, Windows by the path that started it.
TEST_F(ServerProcessTest, AServerStartedByItsShortPathIsOurs)
{
    std::wstring shortPath(MAX_PATH, L'\0');
    const std::wstring image = CopyWaitingProgram(m_folder, L"a long server name.exe");
    shortPath.resize(GetShortPathNameW(image.c_str(), shortPath.data(), MAX_PATH));
    if (shortPath.empty() || shortPath == image) {
        GTEST_SKIP() << "skipped: the volume has no short names";
    }
    BeginRunOf(shortPath + L" /automation");
    m_server->BeginConnect();
    const CWaitingProcess process(shortPath);
    m_server->EndConnect(true);
    EXPECT_TRUE(m_server->IsOurs());
}

TEST_F(LocalServerTest, ExpandsTheEnvironment)
{
    SetEnvironmentVariableW(L"TALVENOR_TEST_FOLDER", m_folder.Path().c_str());
    EXPECT_EQ(ImageFor(L"", nullptr, REG_EXPAND_SZ, L"%TALVENOR_TEST_FOLDER%\\server.exe"), m_image);
    SetEnvironmentVariableW(L"TALVENOR_TEST_FOLDER", nullptr);
}

TEST_F(LocalServerTest, IsEmptyForAnUnknownProgId)
{
    EXPECT_EQ(LocalServerImage(L"Talvenor.Test.Missing.1"), L"");
    EXPECT_EQ(LocalServerImage(L""), L"");
}

}  // namespace
