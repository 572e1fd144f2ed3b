#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "files/FileMisc.h"
#include "tests/faults/FaultTest.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/FileInterceptor.h"

// The computer loses power during a run. Of what the run has written to the map file since the last flush,
// the disk may hold any beginning.

namespace {

// Notes the contents of a file before each operation on it.
class CContentsRecorder : public CFileInterceptor
{
public:
    struct Step
    {
        FileCall call;
        std::string before;
    };

    explicit CContentsRecorder(std::wstring path) : m_path(std::move(path)) {}

    [[nodiscard]] const std::vector<Step>& Steps() const { return m_steps; }

    DWORD ErrorFor(const FileOperation& operation) override
    {
        if (operation.path == m_path && !std::exchange(m_reading, true)) {
            m_steps.push_back({operation.call, FileExists(m_path) ? ReadBytes(m_path) : ""});
            m_reading = false;
        }
        return ERROR_SUCCESS;
    }

private:
    const std::wstring m_path;
    bool m_reading = false;  // the recorder itself reads the file
    std::vector<Step> m_steps;
};

// What the reader finds in a map file.
struct Found
{
    std::vector<UTtab_entry> records;
    std::vector<std::wstring> messages;
};

class PowerLossTest : public CountingTest
{
protected:
    static constexpr std::size_t kHeaderLines = 4;

    // The operations of a run on the map file.
    std::vector<CContentsRecorder::Step> StepsOfRun()
    {
        std::optional<CContentsRecorder> recorder;
        recorder.emplace(m_bench.MapPath());
        std::vector<CContentsRecorder::Step> steps;
        m_bench.m_afterRun = [&] {
            steps = recorder->Steps();
            recorder.reset();
        };
        EXPECT_EQ("", m_bench.Run({}));
        return steps;
    }

    // Makes a run, and compares what its map file holds before each operation. `earlier`: what it holds
    // before the run.
    void LoseBeforeEachStep(const std::string& earlier)
    {
        const std::vector<CContentsRecorder::Step> steps = StepsOfRun();
        const std::string map = ReadBytes(m_bench.MapPath());
        m_headerLength = map.find("\r\n\r\n") + 4;
        std::vector<FileCall> calls;
        std::size_t length = 0;
        for (const CContentsRecorder::Step& step : steps) {
            const bool opened = !calls.empty();
            Count(1, opened                   ? DifferenceIn(step, map, length)
                     : step.before == earlier ? ""
                                              : "  changed early\n");
            length = opened ? step.before.size() : 0;
            calls.push_back(step.call);
        }
        std::vector<FileCall> expectedCalls = {FileCall::openStream, FileCall::open};
        expectedCalls.insert(expectedCalls.end(), 1 + m_rows.size(), FileCall::writeStream);
        expectedCalls.insert(expectedCalls.end(), {FileCall::flush, FileCall::close, FileCall::closeStream});
        EXPECT_EQ(expectedCalls, calls);
    }

    // The file holds whole lines of the new map, and not fewer than before; when it is flushed, it holds all.
    std::string DifferenceIn(const CContentsRecorder::Step& step, const std::string& map, std::size_t length)
    {
        const std::string& found = step.before;
        const bool wholeLines = map.starts_with(found) && (found.empty() || found.ends_with('\n'));
        if (!wholeLines || found.size() < length || (step.call == FileCall::flush && found != map)) {
            return "  the file holds:\n" + found + "\n";
        }
        const Found expected = ExpectedIn(found.size());
        const Found read = Read(found);
        return read.records == expected.records && read.messages == expected.messages
                   ? ""
                   : "  other records or messages\n";
    }

    Found Read(const std::string& bytes)
    {
        WriteBytes(m_cut, bytes);
        CMessageRecorder messages;
        CFileMisc reader(1);
        EXPECT_EQ((CFileMisc::MapFileState{true, false}), reader.ReadMapFile(m_cut));
        return {{reader.m_lstEntries.begin(), reader.m_lstEntries.end()}, messages.TakeTexts()};
    }

    // What the reader must find in the first `length` bytes of the map file: each whole line, and the last
    // line as far as it goes. Names and separators are read only if they are complete; of the BOM name, the
    // beginning is read.
    [[nodiscard]] Found ExpectedIn(std::size_t length) const
    {
        Found found;
        std::size_t begin = m_headerLength;
        for (std::size_t row = 0; row < m_rows.size() && begin < length; ++row) {
            const UTtab_entry& texts = m_rows[row].texts;
            const std::size_t names = (texts.strOriginal + L" ; " + texts.strRenamed + L" ;").size();
            if (length - begin < names) {
                found.messages.push_back(expected::SyntaxError.In(
                    Language::german, std::to_wstring(kHeaderLines + row + 1), m_cut));
                break;
            }
            const std::size_t bomName = length - begin - std::min(length - begin, names + 1);
            found.records.push_back(
                {texts.strOriginal, texts.strRenamed, Unblanked(texts.strBomName.substr(0, bomName))});
            begin += names + 1 + texts.strBomName.size() + 2;
        }
        return found;
    }

    // The text without blanks and carriage returns at its end: the BOM name may be cut off after a blank, and
    // a line end after its first half.
    static std::wstring Unblanked(std::wstring text)
    {
        text.resize(text.find_last_not_of(L" \r") + 1);
        return text;
    }

    // Zeros may follow the beginning: the file has its length, but not all of its data. They do not belong to
    // a record; a last line that is too long with them is not read.
    static bool IsPossibleWithZeros(const Found& found, const Found& expected, std::size_t wholeLines)
    {
        std::vector<UTtab_entry> records = found.records;
        if (records.size() < wholeLines || records.size() > expected.records.size()) {
            return false;
        }
        for (UTtab_entry& record : records) {
            record.strBomName = Unblanked(record.strBomName.substr(0, record.strBomName.find(L'\0')));
        }
        return std::equal(records.begin(), records.end(), expected.records.begin());
    }

    // Makes a run, and calls `difference` with each length up to that of its map file.
    void ForEveryBeginning(
        const std::function<std::string(const std::string& map, std::size_t length)>& difference)
    {
        EXPECT_EQ("", m_bench.Run({}));
        const std::string map = ReadBytes(m_bench.MapPath());
        m_headerLength = map.find("\r\n\r\n") + 4;
        ASSERT_LT(m_headerLength, map.size());
        for (std::size_t length = 0; length <= map.size(); ++length) {
            const std::string found = difference(map, length);
            Count(1, found.empty() ? "" : "  after " + std::to_string(length) + " bytes: " + found);
        }
    }

    CTempFolder m_library;
    const std::wstring m_cut = m_library / L"cut.txt";
    const std::vector<ModelRow> m_rows = FourRows();
    CFaultBench m_bench{m_library.Path(), m_rows};
    std::size_t m_headerLength = 0;
};

TEST_F(PowerLossTest, EveryBeginningOfTheMapFileIsRead)
{
    RecordProperty("kind", "power lost: every beginning of the map file");
    ForEveryBeginning([this](const std::string& map, std::size_t length) -> std::string {
        const Found found = Read(map.substr(0, length));
        const Found expected = ExpectedIn(length);
        return found.records == expected.records && found.messages == expected.messages
                   ? ""
                   : "other records or messages\n";
    });
}

TEST_F(PowerLossTest, WholeRecordsBeforeZerosAreRead)
{
    RecordProperty("kind", "power lost: every beginning of the map file, followed by zeros");
    ForEveryBeginning([this](const std::string& map, std::size_t length) -> std::string {
        const std::string beginning = map.substr(0, length);
        const auto lines = static_cast<std::size_t>(std::ranges::count(beginning, '\n'));
        const std::size_t records = std::max(lines, kHeaderLines) - kHeaderLines;
        const Found found = Read(beginning + std::string(map.size() - length, '\0'));
        return IsPossibleWithZeros(found, ExpectedIn(length), records) ? "" : "other records\n";
    });
}

// Each line is appended, none is changed later, and all lines are flushed to disk.
TEST_F(PowerLossTest, TheMapFileOnlyGrowsUntilItIsFlushed)
{
    if (!CFileInterceptor::SeesStreams()) {
        GTEST_SKIP() << kSeesNoStreams;
    }
    RecordProperty("kind", "power lost before each operation on a new map file");
    LoseBeforeEachStep("");
}

// Opening the file removes the records of the earlier run, however many they are.
TEST_F(PowerLossTest, NothingRemainsOfALongerMapFile)
{
    if (!CFileInterceptor::SeesStreams()) {
        GTEST_SKIP() << kSeesNoStreams;
    }
    RecordProperty("kind", "power lost before each operation on a map file that was longer before");
    std::string earlier = "; an earlier file\r\n;\r\n;\r\n\r\n";
    for (int record = 0; record < 50; ++record) {
        earlier += "N_1_old.sldprt ; an earlier name.sldprt ; an earlier text\r\n";
    }
    m_bench.WriteMapFile(earlier);
    LoseBeforeEachStep(earlier);
    EXPECT_LT(ReadBytes(m_bench.MapPath()).size(), earlier.size());
}

}  // namespace
