#include "framework/File.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "tests/support/ExpectedTexts.h"
#include "tests/support/ImportTable.h"
#include "tests/support/TestScopes.h"
#include "tests/support/UnderWine.h"

namespace {

using Cause = CFileException::Cause;

class FileTest : public testing::Test
{
protected:
    CTempFolder m_folder;
    const std::wstring m_path = m_folder / L"file.bin";
};

CFileException OpenFailure(const std::wstring& path, UINT flags)
{
    CFile file;
    CFileException error;
    EXPECT_FALSE(file.Open(path, flags, &error));
    EXPECT_EQ(error.m_fileName, path);
    return error;
}

template <class Operation>
Cause ThrownCause(Operation operation)
{
    try {
        operation();
    } catch (const CFileException& error) {
        return error.m_cause;
    }
    return Cause::none;
}

// While g_writesHalf is true, WriteFile writes only half of the bytes and still reports success.
bool g_writesHalf = false;
decltype(&WriteFile) g_writeFile = nullptr;
BOOL WINAPI WriteHalf(HANDLE file, LPCVOID bytes, DWORD count, LPDWORD done, LPOVERLAPPED overlapped)
{
    return g_writeFile(file, bytes, g_writesHalf ? count / 2 : count, done, overlapped);
}

FILETIME SomeTime()
{
    const SYSTEMTIME time = {2001, 2, 0, 3, 4, 5, 6, 0};
    FILETIME fileTime = {};
    ::SystemTimeToFileTime(&time, &fileTime);
    return fileTime;
}

}  // namespace

TEST_F(FileTest, MissingFileIsNotFound)
{
    const CFileException error = OpenFailure(m_path, CFile::modeRead | CFile::shareDenyNone);
    EXPECT_EQ(error.m_cause, Cause::fileNotFound);
    EXPECT_EQ(error.m_osError, static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
}

TEST_F(FileTest, ANewFileReplacesNone)
{
    constexpr UINT kNew = CFile::modeCreateNew | CFile::modeWrite | CFile::shareExclusive;
    {
        CFile file;
        ASSERT_TRUE(file.Open(m_path, kNew, nullptr));
        file.Write("x", 1);
        file.Close();
    }
    EXPECT_EQ(OpenFailure(m_path, kNew).m_osError, static_cast<DWORD>(ERROR_FILE_EXISTS));
    EXPECT_EQ(ReadBytes(m_path), "x");
}

TEST_F(FileTest, MissingFolderIsABadPath)
{
    EXPECT_EQ(OpenFailure(m_folder / L"no\\file.bin", CFile::modeRead).m_cause, Cause::badPath);
    EXPECT_EQ(OpenFailure(m_folder / L"no\\file.bin", CFile::modeWrite | CFile::modeCreate).m_cause,
              Cause::badPath);
}

TEST_F(FileTest, NameOfADeviceIsABadPath)
{
    const std::wstring path = m_folder / L"NUL.sldprt";
    if (::GetFileType(OpenAsOther(path, GENERIC_READ, 0).get()) != FILE_TYPE_CHAR) {
        GTEST_SKIP() << "skipped: NUL.sldprt is no device on this system, as on Windows 11 and later";
    }
    for (const UINT flags : {UINT{CFile::modeRead}, CFile::modeWrite | CFile::modeCreate}) {
        EXPECT_EQ(OpenFailure(path, flags).m_cause, Cause::badPath);
    }
    CFileStatus status;
    EXPECT_FALSE(CFile::GetStatus(path, status));
}

// Whether a path may exceed MAX_PATH. Where the registry has no value for this, Wine allows it and Windows
// does not.
bool AllowsLongPaths()
{
    DWORD enabled = UnderWine() ? 1 : 0;
    DWORD bytes = sizeof enabled;
    RegGetValueW(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Control\\FileSystem", L"LongPathsEnabled",
                 RRF_RT_REG_DWORD, nullptr, &enabled, &bytes);
    return enabled != 0;
}

TEST_F(FileTest, LongPathsWorkWhereTheSystemAllowsThem)
{
    // With the prefix \\?\ a path may exceed MAX_PATH on every system.
    const std::wstring folder = m_folder / std::wstring(200, L'a');
    const std::wstring path = folder + L"\\" + std::wstring(200, L'b');
    ASSERT_TRUE(CreateDirectoryW((L"\\\\?\\" + folder).c_str(), nullptr));
    CFile file;
    CFileException error;
    EXPECT_EQ(file.Open(path, CFile::modeWrite | CFile::modeCreate, &error), AllowsLongPaths());
    file.Close();
    DeleteFileW((L"\\\\?\\" + path).c_str());
    EXPECT_TRUE(RemoveDirectoryW((L"\\\\?\\" + folder).c_str()));
}

TEST_F(FileTest, FolderDeniesAccess)
{
    EXPECT_EQ(OpenFailure(m_folder.Path(), CFile::modeRead).m_cause, Cause::accessDenied);
}

TEST_F(FileTest, ReadOnlyFileDeniesWriting)
{
    WriteBytes(m_path, "x");
    if (!ReadOnlyFilesDenyWriting()) {
        GTEST_SKIP() << "skipped: this system lets the user write to read-only files, as Wine does for root";
    }
    MakeReadOnly(m_path);
    EXPECT_EQ(OpenFailure(m_path, CFile::modeWrite | CFile::modeCreate).m_cause, Cause::accessDenied);
    EXPECT_EQ(ReadBytes(m_path), "x");
}

TEST_F(FileTest, FileThatAnotherHoldsExclusivelyIsASharingViolation)
{
    WriteBytes(m_path, "x");
    const UniqueHandle other = OpenAsOther(m_path, GENERIC_READ, 0);
    ASSERT_TRUE(other);
    EXPECT_EQ(OpenFailure(m_path, CFile::modeRead | CFile::shareDenyNone).m_cause, Cause::sharingViolation);
}

TEST_F(FileTest, FailureNeedsNoExceptionObject)
{
    CFile file;
    EXPECT_FALSE(file.Open(m_path, CFile::modeRead, nullptr));
}

TEST_F(FileTest, ShareDenyNoneLetsOthersReadAndWrite)
{
    WriteBytes(m_path, "x");
    CFile file;
    ASSERT_TRUE(file.Open(m_path, CFile::modeRead | CFile::shareDenyNone, nullptr));
    EXPECT_TRUE(OpenAsOther(m_path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE));
}

TEST_F(FileTest, ShareDenyNoneLetsOthersRenameAndDelete)
{
    WriteBytes(m_path, "xy");
    const std::wstring renamed = m_folder / L"renamed.bin";
    CFile file;
    ASSERT_TRUE(file.Open(m_path, CFile::modeRead | CFile::shareDenyNone, nullptr));
    EXPECT_TRUE(::MoveFileW(m_path.c_str(), renamed.c_str()));
    EXPECT_TRUE(::DeleteFileW(renamed.c_str()));
    std::array<char, 3> bytes{};
    EXPECT_EQ(file.Read(bytes.data(), 3), 2U) << "the open handle still reads the deleted file";
    file.Close();
    EXPECT_FALSE(FileExists(m_path));
    EXPECT_FALSE(FileExists(renamed));
}

TEST_F(FileTest, OpensAFileThatAnotherIsAboutToDelete)
{
    WriteBytes(m_path, "x");
    const UniqueHandle other =
        OpenAsOther(m_path, DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
    ASSERT_TRUE(other);
    CFile file;
    EXPECT_TRUE(file.Open(m_path, CFile::modeRead | CFile::shareDenyNone, nullptr));
}

TEST_F(FileTest, ShareExclusiveKeepsOthersOutUntilClose)
{
    CFile file;
    ASSERT_TRUE(file.Open(m_path, CFile::modeCreate | CFile::modeWrite | CFile::shareExclusive, nullptr));
    EXPECT_FALSE(OpenAsOther(m_path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE));
    file.Close();
    EXPECT_TRUE(OpenAsOther(m_path, GENERIC_READ, 0));
    EXPECT_NO_THROW(file.Close());
}

TEST_F(FileTest, DestructorCloses)
{
    {
        CFile file;
        ASSERT_TRUE(file.Open(m_path, CFile::modeCreate | CFile::modeWrite | CFile::shareExclusive, nullptr));
    }
    EXPECT_TRUE(OpenAsOther(m_path, GENERIC_READ, 0));
}

TEST_F(FileTest, OpeningAnotherFileClosesTheFirst)
{
    CFile file;
    ASSERT_TRUE(file.Open(m_path, CFile::modeCreate | CFile::modeWrite | CFile::shareExclusive, nullptr));
    EXPECT_FALSE(file.Open(m_folder / L"missing", CFile::modeRead, nullptr));
    EXPECT_TRUE(OpenAsOther(m_path, GENERIC_READ, 0));
}

TEST_F(FileTest, ReadsUpToTheEndAndThenNothing)
{
    WriteBytes(m_path, std::string("a\r\n\x1a\0z", 6));
    CFile file;
    ASSERT_TRUE(file.Open(m_path, CFile::modeRead, nullptr));
    char bytes[4] = {};
    EXPECT_EQ(file.Read(bytes, 4), 4U);
    EXPECT_EQ(std::string(bytes, 4), "a\r\n\x1a");
    EXPECT_EQ(file.Read(bytes, 4), 2U);
    EXPECT_EQ(std::string(bytes, 2), std::string("\0z", 2));
    EXPECT_EQ(file.Read(bytes, 4), 0U);
}

TEST_F(FileTest, CreateTruncatesAndPlainWriteDoesNot)
{
    WriteBytes(m_path, "12345");
    CFile file;
    ASSERT_TRUE(file.Open(m_path, CFile::modeWrite, nullptr));
    file.Write("ab", 2);
    file.Close();
    EXPECT_EQ(ReadBytes(m_path), "ab345");
    ASSERT_TRUE(file.Open(m_path, CFile::modeWrite | CFile::modeCreate, nullptr));
    file.Write("\n\0", 2);
    file.Write("", 0);
    file.Close();
    EXPECT_EQ(ReadBytes(m_path), std::string("\n\0", 2));
}

TEST_F(FileTest, ReadAndWriteThrowWhatFailed)
{
    char one = 0;
    CFile file;
    EXPECT_EQ(ThrownCause([&] { (void)file.Read(&one, 1); }), Cause::invalidFile);
    ASSERT_TRUE(file.Open(m_path, CFile::modeCreate | CFile::modeWrite, nullptr));
    EXPECT_EQ(ThrownCause([&] { (void)file.Read(&one, 1); }), Cause::accessDenied);
    file.Close();
    ASSERT_TRUE(file.Open(m_path, CFile::modeRead, nullptr));
    try {
        file.Write("x", 1);
        FAIL() << "a file open for reading accepted a byte";
    } catch (const CFileException& error) {
        EXPECT_EQ(error.m_cause, Cause::accessDenied);
        EXPECT_EQ(error.m_osError, static_cast<DWORD>(ERROR_ACCESS_DENIED));
        EXPECT_EQ(error.m_fileName, m_path);
    }
    file.Close();
    EXPECT_EQ(ReadBytes(m_path), "");
}

TEST_F(FileTest, AShortWriteMeansAFullDisk)
{
    RedirectImport("WriteFile", &WriteHalf, &g_writeFile);
    CFile file;
    ASSERT_TRUE(file.Open(m_path, CFile::modeCreate | CFile::modeWrite, nullptr));
    g_writesHalf = true;
    EXPECT_EQ(ThrownCause([&] { file.Write("part", 4); }), Cause::diskFull);
    g_writesHalf = false;
    EXPECT_EQ(ThrownCause([&] { file.Write("part", 4); }), Cause::none);
}

TEST_F(FileTest, StatusOfAMissingFileIsNone)
{
    CFileStatus status;
    EXPECT_FALSE(CFile::GetStatus(m_path, status));
    EXPECT_EQ(ThrownCause([&] { CFile::SetStatus(m_path, status); }), Cause::fileNotFound);
    EXPECT_FALSE(CFile::GetStatus(m_path, status));
}

TEST_F(FileTest, StatusIncludesFolders)
{
    CFileStatus status;
    ASSERT_TRUE(CFile::GetStatus(m_folder.Path(), status));
    EXPECT_NE(status.attributes & FILE_ATTRIBUTE_DIRECTORY, 0U);
}

TEST_F(FileTest, SetStatusSetsAttributesAndTimeOfReadOnlyFilesToo)
{
    WriteBytes(m_path, "x");
    CFileStatus wanted;
    wanted.attributes = FILE_ATTRIBUTE_READONLY;
    wanted.lastWriteTime = SomeTime();
    CFile::SetStatus(m_path, wanted);
    CFileStatus found;
    ASSERT_TRUE(CFile::GetStatus(m_path, found));
    EXPECT_EQ(found.attributes & FILE_ATTRIBUTE_READONLY, static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(::CompareFileTime(&found.lastWriteTime, &wanted.lastWriteTime), 0);

    wanted.attributes = 0;
    wanted.lastWriteTime.dwHighDateTime += 1;
    CFile::SetStatus(m_path, wanted);
    ASSERT_TRUE(CFile::GetStatus(m_path, found));
    EXPECT_EQ(found.attributes & FILE_ATTRIBUTE_READONLY, 0U);
    EXPECT_EQ(::CompareFileTime(&found.lastWriteTime, &wanted.lastWriteTime), 0);
}

TEST_F(FileTest, SetStatusWorksOnAFileOpenElsewhere)
{
    WriteBytes(m_path, "x");
    const UniqueHandle other = OpenAsOther(m_path, GENERIC_READ | GENERIC_WRITE, 0);
    ASSERT_TRUE(other);
    CFileStatus wanted;
    wanted.attributes = FILE_ATTRIBUTE_READONLY;
    wanted.lastWriteTime = SomeTime();
    EXPECT_EQ(ThrownCause([&] { CFile::SetStatus(m_path, wanted); }), Cause::none);
}

TEST_F(FileTest, TruncatesALongerFile)
{
    WriteBytes(m_path, "whole line\nhalf");
    const UniqueHandle reader = OpenAsOther(m_path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE);
    EXPECT_TRUE(CFile::Truncate(m_path, 11));
    EXPECT_EQ(ReadBytes(m_path), "whole line\n");
    EXPECT_TRUE(CFile::Truncate(m_path, 11));
    EXPECT_EQ(ReadBytes(m_path), "whole line\n");
}

TEST_F(FileTest, DoesNotTruncateAShorterFile)
{
    WriteBytes(m_path, "whole li");
    EXPECT_FALSE(CFile::Truncate(m_path, 11));
    EXPECT_EQ(ReadBytes(m_path), "whole li");
}

TEST_F(FileTest, DoesNotTruncateWithoutWriteAccess)
{
    WriteBytes(m_path, "whole line\nhalf");
    const UniqueHandle holder = OpenAsOther(m_path, GENERIC_READ, FILE_SHARE_READ);
    EXPECT_FALSE(CFile::Truncate(m_path, 11));
    EXPECT_EQ(ReadBytes(m_path), "whole line\nhalf");
    EXPECT_FALSE(CFile::Truncate(m_folder / L"missing.bin", 0));
    CFileStatus status;
    EXPECT_FALSE(CFile::GetStatus(m_folder / L"missing.bin", status));
}

TEST_F(FileTest, FlushesOnlyWithWriteAccess)
{
    CFile file;
    EXPECT_TRUE(file.Flush()) << "no file is open";
    WriteBytes(m_path, "x");
    ASSERT_TRUE(file.Open(m_path, CFile::modeWrite | CFile::shareDenyNone, nullptr));
    EXPECT_TRUE(file.Flush());
    ASSERT_TRUE(file.Open(m_path, CFile::modeRead | CFile::shareDenyNone, nullptr));
    EXPECT_FALSE(file.Flush());
}

TEST(FileException, MapsWindowsErrorsToCauses)
{
    const struct
    {
        DWORD osError;
        Cause cause;
    } cases[] = {
        {ERROR_SUCCESS, Cause::none},
        {ERROR_FILE_NOT_FOUND, Cause::fileNotFound},
        {ERROR_PATH_NOT_FOUND, Cause::badPath},
        {ERROR_INVALID_NAME, Cause::badPath},
        {ERROR_BAD_NETPATH, Cause::badPath},
        {ERROR_TOO_MANY_OPEN_FILES, Cause::tooManyOpenFiles},
        {ERROR_ACCESS_DENIED, Cause::accessDenied},
        {ERROR_WRITE_PROTECT, Cause::accessDenied},
        {ERROR_INVALID_HANDLE, Cause::invalidFile},
        {ERROR_CURRENT_DIRECTORY, Cause::removeCurrentDir},
        {ERROR_CANNOT_MAKE, Cause::directoryFull},
        {ERROR_NEGATIVE_SEEK, Cause::badSeek},
        {ERROR_CRC, Cause::hardIO},
        {ERROR_NOT_READY, Cause::hardIO},
        {ERROR_UNEXP_NET_ERR, Cause::hardIO},
        {ERROR_NETNAME_DELETED, Cause::hardIO},
        {ERROR_SEM_TIMEOUT, Cause::hardIO},
        {ERROR_NETWORK_UNREACHABLE, Cause::hardIO},
        {ERROR_SHARING_VIOLATION, Cause::sharingViolation},
        {ERROR_LOCK_VIOLATION, Cause::lockViolation},
        {ERROR_DISK_FULL, Cause::diskFull},
        {ERROR_HANDLE_DISK_FULL, Cause::diskFull},
        {1295, Cause::diskFull},  // disk quota exceeded
        {ERROR_HANDLE_EOF, Cause::endOfFile},
        {ERROR_BROKEN_PIPE, Cause::generic},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(CFileException::CauseOf(each.osError), each.cause) << "error " << each.osError;
    }
}

TEST(FileException, IsInTheLanguageOfTheProcess)
{
    const CFileException denied(ERROR_ACCESS_DENIED, L"C:\\a\\b.sldprt");
    const CFileException unknown(ERROR_BROKEN_PIPE, L"C:\\a");
    for (const int language : {1, 0}) {
        const CLanguageScope scope(language);
        EXPECT_EQ(denied.GetErrorMessage(), expected::AccessDenied(L"C:\\a\\b.sldprt"));
        EXPECT_EQ(unknown.GetErrorMessage(), expected::UnknownFileError(L"C:\\a", L"109"));
    }
}

TEST(FileException, EachTextNamesTheFile)
{
    const CLanguageScope english(0);
    CFileException error(ERROR_SUCCESS, L"C:\\a");
    error.m_cause = Cause::invalidFile;
    EXPECT_EQ(error.GetErrorMessage(), L"The file \"C:\\a\" is not open or no longer open");
    error.m_cause = Cause::badSeek;
    EXPECT_EQ(error.GetErrorMessage(), L"An invalid position in the file \"C:\\a\" was requested");
}

TEST(FileException, EveryCauseHasATextInBothLanguagesWithoutAFullStop)
{
    for (int cause = static_cast<int>(Cause::none); cause <= static_cast<int>(Cause::endOfFile); ++cause) {
        SCOPED_TRACE(cause);
        CFileException error(ERROR_SUCCESS, L"C:\\100%2");
        error.m_cause = static_cast<Cause>(cause);
        std::wstring texts[2];
        for (int language = 0; language < 2; ++language) {
            const CLanguageScope scope(language);
            texts[language] = error.GetErrorMessage();
            ASSERT_FALSE(texts[language].empty());
            EXPECT_NE(texts[language].back(), L'.');
            const bool aboutAFile = error.m_cause != Cause::none && error.m_cause != Cause::tooManyOpenFiles;
            EXPECT_EQ(texts[language].find(L"\"C:\\100%2\"") != std::wstring::npos, aboutAFile);
        }
        EXPECT_NE(texts[0], texts[1]);
    }
}

TEST(FileException, MessageIsCutAt1024Characters)
{
    const CLanguageScope english(0);
    const std::wstring longest(1024 - expected::FileMissing(L"").size(), L'x');
    for (const std::wstring& path : {longest, longest + L"y", std::wstring(3000, L'x')}) {
        EXPECT_EQ(CFileException(ERROR_FILE_NOT_FOUND, path).GetErrorMessage(),
                  expected::FileMissing(path).substr(0, 1024));
    }
}
