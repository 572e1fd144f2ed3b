#include "files/MapFileWriter.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>

#include "files/MapCodePage.h"
#include "tests/support/FileInterceptor.h"
#include "tests/support/Files.h"

namespace {

// Makes all file operations of the kind m_failing fail with ERROR_DISK_FULL, and counts the failures in
// m_count.
class CFailures : public CFileInterceptor
{
public:
    DWORD ErrorFor(const FileOperation& operation) override
    {
        const bool fails = operation.call == m_failing;
        m_count += fails ? 1 : 0;
        return fails ? ERROR_DISK_FULL : ERROR_SUCCESS;
    }

    std::optional<FileCall> m_failing;
    int m_count = 0;
};

class MapFileWriterTest : public testing::Test
{
protected:
    // The text of the map file after its header.
    [[nodiscard]] std::string Records() const
    {
        const std::string text = ReadBytes(m_path);
        const std::string closing = "; (c) Talvenor\r\n\r\n";
        const std::size_t header = text.find(closing);
        EXPECT_NE(header, std::string::npos);
        return text.substr(header + closing.size());
    }

    CFailures m_failures;
    const CTempFolder m_folder;
    const std::wstring m_path = m_folder / L"PartsMap.txt";
    const UTtab_entry m_first{L"a.sldprt", L"b.sldprt", L"Name"};
    const UTtab_entry m_second{L"c.sldprt", L"d.sldprt", L""};
    const std::string m_firstLine = "a.sldprt ; b.sldprt ; Name\r\n";
    const std::string m_secondLine = "c.sldprt ; d.sldprt ; \r\n";
};

class FailingRecordTest : public MapFileWriterTest
{
protected:
    void SetUp() override
    {
        if (!CFileInterceptor::SeesStreams()) {
            GTEST_SKIP() << kSeesNoStreams;
        }
    }
};

TEST_F(MapFileWriterTest, HandsEachRecordToTheSystemAtOnce)
{
    WriteBytes(m_path, std::string(1000, 'x'));  // an earlier run's file, longer than the new text
    CMapFileWriter writer;
    ASSERT_TRUE(writer.Open(m_path));
    EXPECT_TRUE(writer.AppendHeader());
    EXPECT_EQ(Records(), "");
    EXPECT_TRUE(writer.Append(m_first));
    EXPECT_EQ(Records(), m_firstLine);
    EXPECT_TRUE(writer.Append(m_second));
    EXPECT_EQ(Records(), m_firstLine + m_secondLine);
    EXPECT_TRUE(writer.Close());
}

TEST_F(MapFileWriterTest, TheHeaderNamesTheFile)
{
    CMapFileWriter writer;
    ASSERT_TRUE(writer.Open(m_path));
    EXPECT_TRUE(writer.AppendHeader());
    EXPECT_TRUE(ReadBytes(m_path).starts_with("; Datei: " + std::string(m_path.begin(), m_path.end()) +
                                              "\r\n; Automatisch"));
}

TEST_F(MapFileWriterTest, TheHeaderIsInTheCodePageOfTheMapFile)
{
    if (MapCodePage() != 1252) {
        GTEST_SKIP() << "skipped: the map file's code page is not 1252";
    }
    const std::wstring path = m_folder / L"Normteile – 5 €.txt";
    CMapFileWriter writer;
    ASSERT_TRUE(writer.Open(path));
    EXPECT_TRUE(writer.AppendHeader());
    EXPECT_NE(ReadBytes(path).find("\\Normteile \x96 5 \x80.txt\r\n"), std::string::npos);
}

TEST_F(MapFileWriterTest, DoesNotOpenWhereNoFileCanBe)
{
    CMapFileWriter writer;
    EXPECT_FALSE(writer.Open(m_folder.Path()));
    EXPECT_FALSE(writer.Open(m_folder / L"missing\\PartsMap.txt"));
    EXPECT_FALSE(writer.Open(m_folder / L"日本.txt"))
        << "the map file's code page has no bytes for this name";
    EXPECT_TRUE(writer.Close()) << "no file was open";
}

TEST_F(FailingRecordTest, AFailedRecordLeavesNothingBehind)
{
    CMapFileWriter writer;
    ASSERT_TRUE(writer.Open(m_path) && writer.AppendHeader() && writer.Append(m_first));
    m_failures.m_failing = FileCall::writeStream;
    EXPECT_FALSE(writer.Append(m_second));
    m_failures.m_failing.reset();
    EXPECT_EQ(Records(), m_firstLine);
    EXPECT_TRUE(writer.Append(m_second));
    EXPECT_TRUE(writer.Close());
    EXPECT_EQ(Records(), m_firstLine + m_secondLine);
}

TEST_F(FailingRecordTest, AppendsNothingAfterAPartialRecordThatStays)
{
    CMapFileWriter writer;
    ASSERT_TRUE(writer.Open(m_path) && writer.AppendHeader() && writer.Append(m_first));
    {
        std::ofstream(std::filesystem::path(m_path), std::ios::binary | std::ios::app) << "c.sldprt ; d.sl";
        const CMappedFile mapped(m_path);  // a mapped file cannot be truncated
        m_failures.m_failing = FileCall::writeStream;
        EXPECT_FALSE(writer.Append(m_second));
        m_failures.m_failing.reset();
        EXPECT_FALSE(writer.Append(m_second));
        EXPECT_TRUE(Records().ends_with("c.sldprt ; d.sl"));
    }
    EXPECT_TRUE(writer.Append(m_second));
    EXPECT_EQ(Records(), m_firstLine + m_secondLine);
}

TEST_F(MapFileWriterTest, TellsWhenTheFileDoesNotReachTheDisk)
{
    CMapFileWriter writer;
    ASSERT_TRUE(writer.Open(m_path) && writer.AppendHeader());
    m_failures.m_failing = FileCall::flush;
    EXPECT_FALSE(writer.Close());
    EXPECT_EQ(m_failures.m_count, 1);
    EXPECT_TRUE(writer.Close()) << "the first call has closed the file anyway";
}

}  // namespace
