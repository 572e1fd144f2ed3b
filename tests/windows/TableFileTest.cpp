#include "files/TableFile.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "files/MapCodePage.h"
#include "framework/File.h"
#include "framework/FileNames.h"
#include "tests/support/FailingFile.h"
#include "tests/support/FileInterceptor.h"
#include "tests/support/Files.h"

namespace {

using Failure = std::pair<DWORD, std::wstring>;
using Names = std::vector<std::wstring>;

class TableFileTest : public testing::Test
{
protected:
    [[nodiscard]] std::wstring Read(const std::string& bytes) const
    {
        WriteBytes(m_path, bytes);
        return ReadTableFile(m_path);
    }

    // The error code and the file name of the exception that the operation throws; ERROR_SUCCESS if there is
    // none.
    template <class Operation>
    static Failure FailureOf(Operation operation)
    {
        try {
            operation();
        } catch (const CFileException& error) {
            return {error.m_osError, error.m_fileName};
        }
        return {ERROR_SUCCESS, L""};
    }
    static Failure ReadFailure(const std::wstring& path)
    {
        return FailureOf([&] { static_cast<void>(ReadTableFile(path)); });
    }
    static Failure WriteFailure(const std::wstring& path)
    {
        return FailureOf([&] { WriteTableFile(path, L"new"); });
    }

    CTempFolder m_folder;
    const std::wstring m_path = m_folder / L"table.csv";
};

}  // namespace

TEST_F(TableFileTest, ReadsUnicode)
{
    EXPECT_EQ(Read(""), L"");
    EXPECT_EQ(Read("\xEF\xBB\xBFM\xC3\xBC"), L"M\u00FC");
    EXPECT_EQ(Read("M\xC3\xBC"), L"M\u00FC");
    EXPECT_EQ(Read(std::string("\xFF\xFEM\0\xFC\0", 6)), L"M\u00FC");
}

TEST_F(TableFileTest, ReadsTheAnsiCodePage)
{
    constexpr int kBytes = 4;
    const std::string bytes = "M\xFC;\x80";  // invalid as UTF-8
    std::wstring expected(kBytes, L'\0');
    EXPECT_EQ(MultiByteToWideChar(MapCodePage(), 0, bytes.c_str(), kBytes, expected.data(), kBytes), kBytes);
    EXPECT_EQ(Read(bytes), expected);
}

TEST_F(TableFileTest, ReadsAFileOfManyBlocks)
{
    const std::string text(5'000'001, 'x');
    EXPECT_TRUE(Read(text) == std::wstring(text.begin(), text.end()));
}

TEST_F(TableFileTest, WritesUtf8WithAMarkOverAnExistingFile)
{
    WriteBytes(m_path, "something longer than the text that follows");
    WriteTableFile(m_path, L"M\u00FC\r\n");
    EXPECT_EQ(ReadBytes(m_path), "\xEF\xBB\xBFM\xC3\xBC\r\n");
}

TEST_F(TableFileTest, ReportsAMissingFileOrFolder)
{
    EXPECT_EQ(ReadFailure(m_folder / L"missing.csv"),
              (Failure{ERROR_FILE_NOT_FOUND, m_folder / L"missing.csv"}));
    const std::wstring path = m_folder / L"missing\\table.csv";
    EXPECT_EQ(WriteFailure(path), (Failure{ERROR_PATH_NOT_FOUND, path}));
}

TEST_F(TableFileTest, ReportsAFileThatAnotherProgramHasOpen)
{
    WriteBytes(m_path, "old");
    {
        const UniqueHandle other = OpenAsOther(m_path, GENERIC_READ, FILE_SHARE_READ);
        EXPECT_EQ(WriteFailure(m_path), (Failure{ERROR_SHARING_VIOLATION, m_path}));
        EXPECT_EQ(ReadTableFile(m_path), L"old") << "the other program allows reading";
    }
    const UniqueHandle lock = LockFile(m_path);
    EXPECT_EQ(ReadFailure(m_path), (Failure{ERROR_SHARING_VIOLATION, m_path}));
    EXPECT_EQ(WriteFailure(m_path), (Failure{ERROR_SHARING_VIOLATION, m_path}));
}

TEST_F(TableFileTest, KeepsTheOldFileWhenWritingFails)
{
    WriteBytes(m_path, "old");
    const std::wstring temporary = m_path + L".1.tmp";
    for (const auto& [path, failing] :
         {std::pair{temporary, FailingOperation::writing}, std::pair{temporary, FailingOperation::flushing},
          std::pair{m_path, FailingOperation::replacing}}) {
        {
            const CFailingFile failure(path, failing, ERROR_DISK_FULL);
            EXPECT_EQ(WriteFailure(m_path), (Failure{ERROR_DISK_FULL, m_path}));
            EXPECT_EQ(failure.Count(), 1);
        }
        EXPECT_EQ(ReadBytes(m_path), "old");
        EXPECT_EQ(NamesIn(m_folder.Path()), Names{L"table.csv"});
    }
}

TEST_F(TableFileTest, LeavesNoFileWhenWritingANewOneFails)
{
    const CFailingFile failure(m_path + L".1.tmp", FailingOperation::writing, ERROR_DISK_FULL);
    EXPECT_EQ(WriteFailure(m_path), (Failure{ERROR_DISK_FULL, m_path}));
    EXPECT_EQ(NamesIn(m_folder.Path()), Names{});
}

TEST_F(TableFileTest, KeepsAReadOnlyFile)
{
    WriteBytes(m_path, "old");
    MakeReadOnly(m_path);
    {
        const CFileInterceptor likeWindows;  // Wine lets root write to the file
        EXPECT_EQ(WriteFailure(m_path), (Failure{ERROR_ACCESS_DENIED, m_path}));
    }
    EXPECT_EQ(ReadBytes(m_path), "old");
    EXPECT_TRUE(IsReadOnly(m_path));
    EXPECT_EQ(NamesIn(m_folder.Path()), Names{L"table.csv"});
}

TEST_F(TableFileTest, LeavesOtherFilesAlone)
{
    WriteBytes(m_path + L".1.tmp", "of another program");
    WriteTableFile(m_path, L"x");
    EXPECT_EQ(ReadBytes(m_path), "\xEF\xBB\xBFx");
    EXPECT_EQ(ReadBytes(m_path + L".1.tmp"), "of another program");
    EXPECT_EQ(NamesIn(m_folder.Path()), (Names{L"table.csv", L"table.csv.1.tmp"}));
}

TEST(FoldFileName, IsEqualForNamesThatAreEqualToTheFileSystem)
{
    EXPECT_EQ(FoldFileName(L""), L"");
    for (const wchar_t* const name : {L"Part", L"\u00FCber", L"\u0439", L"\u0131", L"\u00DF", L"i"}) {
        for (const wchar_t* const other : {L"PART", L"\u00DCBER", L"\u0419", L"I", L"SS", L"\u0130"}) {
            EXPECT_EQ(FoldFileName(name) == FoldFileName(other), EqualFileNames(name, other))
                << testing::PrintToString(name) << testing::PrintToString(other);
        }
    }
}
