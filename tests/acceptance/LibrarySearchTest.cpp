// Which libraries the program can load, and from which folders.
#include <array>
#include <cstdlib>
#include <filesystem>

#include "tests/acceptance/AcceptanceTest.h"
#include "tests/support/OwnFolder.h"

namespace {

const std::wstring kPlanted = L"planted.dll";

// During the lifetime of this object, the planted library creates the file `trace` when a process loads the
// library. This applies to the test process and to the processes that it starts.
class CPlantedScope
{
public:
    explicit CPlantedScope(const std::wstring& trace)
    {
        SetEnvironmentVariableW(L"TALVENOR_TEST_PLANTED", trace.c_str());
    }
    CPlantedScope(const CPlantedScope&) = delete;
    CPlantedScope& operator=(const CPlantedScope&) = delete;
    ~CPlantedScope() { SetEnvironmentVariableW(L"TALVENOR_TEST_PLANTED", nullptr); }
};

// Prepends a folder to PATH, for this process and for the processes that it starts.
class CPathScope
{
public:
    explicit CPathScope(const std::wstring& folder) : m_before(_wgetenv(L"PATH"))
    {
        SetEnvironmentVariableW(L"PATH", (folder + L";" + m_before).c_str());
    }
    CPathScope(const CPathScope&) = delete;
    CPathScope& operator=(const CPathScope&) = delete;
    ~CPathScope() { SetEnvironmentVariableW(L"PATH", m_before.c_str()); }

private:
    const std::wstring m_before;
};

// A virus scanner may take a thread injected into another process for an attack. So these tests run only
// where TALVENOR_TEST_INJECT is set; the project's own test runs set the variable.
void RequireInjection()
{
    if (std::getenv("TALVENOR_TEST_INJECT") == nullptr) {
        GTEST_SKIP() << "skipped: would run code in another process; set TALVENOR_TEST_INJECT to allow it";
    }
}

// Makes a process load a library, given by name or path, on a new thread of that process. Returns whether the
// library was loaded.
bool LoadsInProcess(DWORD processId, const std::wstring& library)
{
    const UniqueHandle process(OpenProcess(PROCESS_ALL_ACCESS, FALSE, processId));
    const SIZE_T size = (library.size() + 1) * sizeof(wchar_t);
    void* const text = VirtualAllocEx(process.get(), nullptr, size, MEM_COMMIT, PAGE_READWRITE);
    EXPECT_NE(WriteProcessMemory(process.get(), text, library.c_str(), size, nullptr), FALSE);
    // kernel32 has the same base address in every process.
    FARPROC const load = GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "LoadLibraryW");
    const UniqueHandle thread(CreateRemoteThread(
        process.get(), nullptr, 0, reinterpret_cast<LPTHREAD_START_ROUTINE>(reinterpret_cast<void*>(load)),
        text, 0, nullptr));
    EXPECT_EQ(WaitForSingleObject(thread.get(), kPatience), WAIT_OBJECT_0);
    DWORD module = 0;  // the lower half of the module's address; 0 if the library was not loaded
    EXPECT_NE(GetExitCodeThread(thread.get(), &module), FALSE);
    return module != 0;
}

class LibrarySearchTest : public AcceptanceTest
{
protected:
    const std::wstring m_trace = m_temp / L"planted library ran";
    const CPlantedScope m_planted{m_trace};
};

class InjectingTest : public LibrarySearchTest
{
protected:
    void SetUp() override { RequireInjection(); }
};

TEST_F(InjectingTest, RunsNothingFromItsOwnAndTheWorkingFolder)
{
    const CProgramUnderTest program;
    ASSERT_NE(program.MainWindow(), nullptr);
    EXPECT_FALSE(LoadsInProcess(program.ProcessId(), kPlanted));
    EXPECT_FALSE(FileExists(m_trace));
    // The full path loads the library. So only the search order kept the library out before.
    EXPECT_TRUE(LoadsInProcess(program.ProcessId(), OwnFolder() + L"\\" + kPlanted));
    EXPECT_TRUE(FileExists(m_trace));
}

TEST_F(InjectingTest, RunsNothingFromTheFoldersOfPath)
{
    const std::wstring name = L"planted in path.dll";
    ASSERT_TRUE(std::filesystem::copy_file(OwnFolder() + L"\\" + kPlanted, m_temp / name));
    const CPathScope path(m_temp.Path());
    const CProgramUnderTest program;
    ASSERT_NE(program.MainWindow(), nullptr);
    EXPECT_FALSE(LoadsInProcess(program.ProcessId(), name));
    EXPECT_FALSE(FileExists(m_trace));
    // The test process has the default search order and loads the library by its name. So only the program's
    // search order kept the library out.
    const UniqueModule loaded(LoadLibraryW(name.c_str()));
    EXPECT_NE(loaded, nullptr);
    EXPECT_TRUE(FileExists(m_trace));
}

TEST_F(InjectingTest, FindsTheSystemsLibraries)
{
    const CProgramUnderTest program;
    ASSERT_NE(program.MainWindow(), nullptr);
    EXPECT_TRUE(LoadsInProcess(program.ProcessId(), L"winmm.dll"));
}

TEST_F(LibrarySearchTest, RunsNothingInItsResourceLibrary)
{
    for (const wchar_t* const library : {L"talvresgerx64.dll", L"talvresusx64.dll"}) {
        ASSERT_TRUE(std::filesystem::copy_file(OwnFolder() + L"\\" + kPlanted, m_temp / library));
    }
    const CProgramUnderTest program(m_temp.Path());
    EXPECT_EQ(0U, program.WaitForEnd()) << "the library holds no dialog, so the program ends";
    EXPECT_FALSE(FileExists(m_trace));
    // Loaded as a library, the file runs its code. The program ran no code because it loads the file as data.
    const UniqueModule loaded(LoadLibraryW((m_temp / L"talvresgerx64.dll").c_str()));
    EXPECT_TRUE(FileExists(m_trace));
}

}  // namespace
