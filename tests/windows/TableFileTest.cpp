#include "files/TableFile.h"

#include <gtest/gtest.h>

#include <string>

#include "files/MapCodePage.h"
#include "framework/File.h"
#include "framework/FileNames.h"
#include "tests/support/TestScopes.h"

namespace {

class TableFileTest : public testing::Test
{
protected:
    [[nodiscard]] std::wstring Read(const std::string& bytes) const
    {
        WriteBytes(m_path, bytes);
        return ReadTableFile(m_path);
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
    const std::string bytes = "M\xFC;\x80";  // no UTF-8
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
    EXPECT_THROW(static_cast<void>(ReadTableFile(m_folder / L"missing.csv")), CFileException);
    EXPECT_THROW(WriteTableFile(m_folder / L"missing\\table.csv", L"x"), CFileException);
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
