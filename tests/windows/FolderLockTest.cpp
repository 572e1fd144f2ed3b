#include "platform/FolderLock.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>

#include "tests/support/ImportTable.h"
#include "tests/support/TestScopes.h"

namespace {

class FolderLock : public testing::Test
{
protected:
    static bool IsTaken(const std::wstring& folder) { return CFolderLock(folder).IsTaken(); }

    const CTempFolder m_folder;
};

// While the object lives, GetFinalPathNameByHandleW fails.
class CUnresolvedPaths
{
public:
    CUnresolvedPaths()
    {
        static const bool redirected =
            RedirectImport("GetFinalPathNameByHandleW", &CUnresolvedPaths::Resolve, &s_original);
        EXPECT_TRUE(redirected);
        s_fails = true;
    }
    ~CUnresolvedPaths() { s_fails = false; }
    CUnresolvedPaths(const CUnresolvedPaths&) = delete;
    CUnresolvedPaths& operator=(const CUnresolvedPaths&) = delete;

private:
    static DWORD WINAPI Resolve(HANDLE file, wchar_t* path, DWORD size, DWORD flags)
    {
        return s_fails ? 0 : s_original(file, path, size, flags);
    }

    static inline decltype(&::GetFinalPathNameByHandleW) s_original = nullptr;
    static inline bool s_fails = false;
};

TEST_F(FolderLock, RefusesASecondOneUntilItEnds)
{
    std::optional<CFolderLock> first(m_folder.Path());
    EXPECT_FALSE(first->IsTaken());
    EXPECT_TRUE(IsTaken(m_folder.Path()));
    EXPECT_TRUE(IsTaken(m_folder.Path())) << "the refused lock has not freed the folder";
    first.reset();
    EXPECT_FALSE(IsTaken(m_folder.Path()));
}

TEST_F(FolderLock, IsOnTheFolderHoweverItIsWritten)
{
    const std::wstring folder = m_folder / L"Größe";
    std::filesystem::create_directory(folder);
    const CFolderLock first(folder);
    EXPECT_TRUE(IsTaken(m_folder / L"GRÖßE\\"));
    EXPECT_TRUE(IsTaken(folder + L"\\."));
    EXPECT_TRUE(IsTaken(L"\\\\?\\" + folder));
    EXPECT_FALSE(IsTaken(m_folder.Path()));
    EXPECT_FALSE(IsTaken(m_folder / L"none"));
}

// Stands for a folder that is reached once by its local path and once through a share of this machine, which
// the system does not resolve to the local path.
TEST_F(FolderLock, IsOnTheFolderThroughAnUnresolvedPath)
{
    const std::wstring folder = m_folder / L"x";
    std::filesystem::create_directory(folder);
    const CUnresolvedPaths unresolved;
    const CFolderLock first(folder);
    EXPECT_TRUE(IsTaken(folder + L"\\."));
    EXPECT_FALSE(IsTaken(m_folder.Path()));
}

// While the object lives, CreateMutexW fails with the error given to the constructor.
class CFailingMutex
{
public:
    explicit CFailingMutex(DWORD error)
    {
        static const bool redirected = RedirectImport("CreateMutexW", &CFailingMutex::Create, &s_original);
        EXPECT_TRUE(redirected);
        s_error = error;
    }
    ~CFailingMutex() { s_error = ERROR_SUCCESS; }
    CFailingMutex(const CFailingMutex&) = delete;
    CFailingMutex& operator=(const CFailingMutex&) = delete;

private:
    static HANDLE WINAPI Create(SECURITY_ATTRIBUTES* security, BOOL owned, const wchar_t* name)
    {
        if (s_error == ERROR_SUCCESS) {
            return s_original(security, owned, name);
        }
        SetLastError(s_error);
        return nullptr;
    }

    static inline decltype(&::CreateMutexW) s_original = nullptr;
    static inline DWORD s_error = ERROR_SUCCESS;
};

TEST_F(FolderLock, OfAnotherUserCountsToo)
{
    const CFailingMutex denied(ERROR_ACCESS_DENIED);
    EXPECT_TRUE(IsTaken(m_folder.Path()));
}

TEST_F(FolderLock, KeepsNobodyFromWorkingWhenTheSystemHasNoMutexes)
{
    const CFailingMutex none(ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_FALSE(IsTaken(m_folder.Path()));
}

}  // namespace
