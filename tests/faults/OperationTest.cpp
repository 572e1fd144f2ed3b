#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "files/FileMisc.h"
#include "tests/acceptance/ExpectedTexts.h"
#include "tests/acceptance/TestLibrary.h"
#include "tests/cadserver/TextFile.h"
#include "tests/faults/CopyFailures.h"
#include "tests/faults/FaultTest.h"
#include "tests/faults/FileWatch.h"

// Every file operation of a run fails in turn, whatever it is; and those that make its folder. What the main
// dialog asks before a run and behind a cancelled one (whether there is a map file, which files the folder
// holds) is not among them.

namespace {

constexpr const char* kCallNames[] = {
    "open",   "read",     "write", "close",      "readStatus", "readAttributes", "setAttributes",
    "change", "readSize", "flush", "makeFolder", "openStream", "writeStream",    "closeStream"};

std::string Described(const FileOperation& operation)
{
    return std::string(kCallNames[static_cast<std::size_t>(operation.call)]) + " " +
           ToUtf8(operation.path.substr(operation.path.rfind(L'\\') + 1)) + " access " +
           std::to_string(operation.access) + " at " + std::to_string(operation.place);
}

// Counts the operations on what lies in a folder, and lets some of them fail.
class COperationCounter : public CFileWatch
{
public:
    // `failing` are the numbers of those, from 0.
    explicit COperationCounter(std::wstring folder, std::set<std::size_t> failing = {},
                               DWORD error = ERROR_SUCCESS)
        : m_folder(std::move(folder) + L"\\"), m_failing(std::move(failing)), m_error(error)
    {
    }

    [[nodiscard]] const std::vector<FileOperation>& Seen() const { return m_seen; }

    DWORD ErrorOf(const FileOperation& operation) override
    {
        if (!operation.path.starts_with(m_folder)) {
            return ERROR_SUCCESS;
        }
        m_seen.push_back(operation);
        return m_failing.contains(m_seen.size() - 1) ? m_error : ERROR_SUCCESS;
    }

private:
    const std::wstring m_folder;
    const std::set<std::size_t> m_failing;
    const DWORD m_error;
    std::vector<FileOperation> m_seen;
};

constexpr Text kDenied{L"Der Zugriff auf \"%s\" wurde verweigert", L"Access to \"%s\" was denied"};
constexpr Text kNoDrive{L"Das Laufwerk oder Gerät von \"%s\" meldet einen Fehler",
                        L"The drive or device of \"%s\" reports an error"};

constexpr Text kNoFolderEnd{L"' kann nicht angelegt werden.", L"'."};

// What a message says about the failure of an operation on a file.
std::wstring Sentence(DWORD error, const std::wstring& path)
{
    std::wstring text = error == ERROR_ACCESS_DENIED ? kDenied.Current() : kNoDrive.Current();
    return text.replace(text.find(L"%s"), 2, path);
}

std::wstring Saying(std::wstring message, const std::wstring& sentence)
{
    return message.replace(message.find(L'*'), 1, sentence);
}

class OperationTest : public FaultTest
{
protected:
    void ForEveryOperation(DWORD error)
    {
        for (const bool copyOnly : {true, false}) {
            for (const bool copiesBefore : {false, true}) {
                SCOPED_TRACE(std::string(copyOnly ? "copies only" : "with the server") +
                             (copiesBefore ? ", over earlier copies" : ""));
                m_bench.m_copyOnly = copyOnly;
                SweepRun(error, copiesBefore);
            }
        }
        SweepFolder(error);
    }

    void ForEveryStepOfTakingBack(DWORD error)
    {
        m_bench.m_copyOnly = true;
        m_bench.Reset();
        const std::vector<FileOperation> run = OperationsOfARun();
        for (std::size_t number = 0; number < run.size(); ++number) {
            if (run[number].call == FileCall::writeStream) {
                const CLanguageScope language(static_cast<int>(number % 2));
                SweepTakingBack(run, number, error);
            }
        }
    }

private:
    // Where an operation stands among those of its run.
    struct Moment
    {
        const std::vector<FileOperation>& run;
        std::size_t number;
        DWORD error;

        [[nodiscard]] const FileOperation& Operation() const { return run[number]; }
        // How many operations of this kind on this file came before.
        [[nodiscard]] std::size_t Before(FileCall call) const
        {
            return static_cast<std::size_t>(
                std::count_if(run.begin(), run.begin() + static_cast<std::ptrdiff_t>(number),
                              [&](const FileOperation& operation) {
                                  return operation.call == call && operation.path == Operation().path;
                              }));
        }
    };

    void SweepRun(DWORD error, bool copiesBefore)
    {
        Prepare(copiesBefore);
        const std::vector<FileOperation> run = OperationsOfARun();
        // Of each of the copied files at least five blocks read and written, two files opened and closed, the
        // copy's attributes set in five steps; of the map file a line a row, the lead, opening, bringing to
        // the disk in three steps, and closing.
        const std::size_t copied = copiesBefore ? 4 : 3;
        ASSERT_GT(run.size(), copied * (2 * 5 + 2 * 2 + 5) + 4 + 6);
        const std::size_t step = EveryFault() ? 1 : 23;  // with the last, the closing of the map file
        for (std::size_t number = (run.size() - 1) % step; number < run.size(); number += step) {
            SCOPED_TRACE("operation " + std::to_string(number) + ": " + Described(run[number]));
            const CLanguageScope language(static_cast<int>(number % 2));
            Prepare(copiesBefore);
            Inject({run, number, error}, copiesBefore);
        }
    }

    void Prepare(bool copiesBefore)
    {
        if (!copiesBefore) {
            m_bench.Reset();
            return;
        }
        if (!PathExists(m_bench.Copy(0))) {
            EXPECT_EQ("", m_bench.Run({}));
        }
        m_bench.MarkAll();
    }

    std::vector<FileOperation> OperationsOfARun(const std::set<std::size_t>& failing = {},
                                                DWORD error = ERROR_SUCCESS)
    {
        std::optional<COperationCounter> counter;
        counter.emplace(m_library.Path(), failing, error);
        std::vector<FileOperation> seen;
        m_bench.m_afterRun = [&] {
            seen = counter->Seen();
            counter.reset();
        };
        EXPECT_EQ("", m_bench.Run({}));
        return seen;
    }

    // `second`: the number of another operation that fails, of those that only the failure brings about.
    void Inject(const Moment& moment, bool copiesBefore, std::optional<std::size_t> second = {})
    {
        m_mend = nullptr;
        Expect(moment, copiesBefore);
        std::set<std::size_t> failing = {moment.number};
        if (second) {
            failing.insert(*second);
        }
        std::optional<COperationCounter> counter;
        counter.emplace(m_library.Path(), failing, moment.error);
        RunAndRepeat({}, [&] {
            const std::vector<FileOperation> seen = counter->Seen();
            counter.reset();
            ASSERT_GT(seen.size(), *failing.rbegin());
            EXPECT_EQ(Described(moment.Operation()), Described(seen[moment.number]));
            if (m_mend) {
                m_mend();
            }
        });
    }

    // A line of the map file cannot be written, and one step of taking back its beginning fails, too: that
    // is made up for before the next line, or before the file is closed.
    void SweepTakingBack(const std::vector<FileOperation>& run, std::size_t number, DWORD error)
    {
        const Moment moment{run, number, error};
        m_bench.Reset();
        Expect(moment, false);
        const std::vector<FileOperation> withSteps = OperationsOfARun({number}, error);
        std::size_t step = number + 1;
        for (; step < withSteps.size() && withSteps[step].path == m_bench.MapPath(); ++step) {
            SCOPED_TRACE("line at " + std::to_string(number) + ", then " + Described(withSteps[step]));
            m_bench.Reset();
            Inject(moment, false, step);
            if (withSteps[step].call == FileCall::openStream) {
                break;
            }
        }
        // Written again and closed, opened to be cut, its size asked for, cut and closed, opened again.
        EXPECT_EQ(number + 7, step);
    }

    // What the failure of the operation comes to.
    void Expect(const Moment& moment, bool copiesBefore)
    {
        if (moment.Operation().path == m_bench.MapPath()) {
            ExpectOfMapFile(moment);
            return;
        }
        for (std::size_t row = 0; row < m_bench.Rows().size(); ++row) {
            if (moment.Operation().path == m_bench.Part(row)) {
                ExpectOfPart(moment, row);
                return;
            }
            if (moment.Operation().path == m_bench.Copy(row)) {
                ExpectOfCopy(moment, row, copiesBefore);
                return;
            }
        }
        FAIL() << "no file of the run";
    }

    void ExpectOfMapFile(const Moment& moment)
    {
        switch (moment.Operation().call) {
            case FileCall::openStream:
                m_bench.ExpectNoMapFile();
                return;
            case FileCall::writeStream:
                ExpectNoLine(moment.Before(FileCall::writeStream));
                return;
            case FileCall::flush:
            case FileCall::closeStream:
                m_bench.ExpectLateMapFailure();
                return;
            case FileCall::open:   // to be brought to the disk: that is not asked then, and nothing is lost
            case FileCall::close:  // of the same: everything is on the disk
                return;
            default:
                FAIL() << "not to be done with the map file";
        }
    }

    // Each line is handed over at once: first the lead, then a record for each row.
    void ExpectNoLine(std::size_t line)
    {
        if (line == 0) {
            m_bench.ExpectNoHeader();
        } else {
            m_bench.Rows().at(line - 1).recordFails = true;
        }
    }

    void ExpectOfPart(const Moment& moment, std::size_t row)
    {
        switch (moment.Operation().call) {
            case FileCall::open:
                m_bench.Rows()[row].copyFailure =
                    Saying(SourceFailure(m_bench, row), Sentence(moment.error, m_bench.Part(row)));
                return;
            case FileCall::read:
            case FileCall::close:
                ExpectPartOfTheCopy(moment, row);
                return;
            default:
                FAIL() << "not to be done with a part";
        }
    }

    void ExpectOfCopy(const Moment& moment, std::size_t row, bool copiesBefore)
    {
        if (moment.Operation().access == GENERIC_WRITE) {
            ExpectOfTarget(moment, row);
        } else {
            ExpectOfAttributes(moment, row, copiesBefore);
        }
    }

    void ExpectOfTarget(const Moment& moment, std::size_t row)
    {
        if (moment.Operation().call == FileCall::open) {
            ExpectNoTarget(row, moment.error);
        } else {
            ExpectPartOfTheCopy(moment, row);
        }
    }

    void ExpectNoTarget(std::size_t row, DWORD error)
    {
        m_bench.Rows()[row].copyFailure =
            Saying(TargetFailure(m_bench, row), Sentence(error, m_bench.Copy(row)));
    }

    // The bytes before the place, or all when only the closing fails. An earlier copy is lost.
    void ExpectPartOfTheCopy(const Moment& moment, std::size_t row)
    {
        const std::wstring part = m_bench.Part(row);
        const std::wstring copy = m_bench.Copy(row);
        m_bench.Rows()[row].copyFailure =
            Saying(CopyingFailure(m_bench, row), Sentence(moment.error, moment.Operation().path));
        const std::size_t length = moment.Operation().call == FileCall::close
                                       ? ReadBytes(part).size()
                                       : static_cast<std::size_t>(moment.Operation().place);
        const bool thereBefore = PathExists(copy);
        const std::string before = thereBefore ? ReadBytes(copy) : "";
        m_mend = [=] {
            EXPECT_EQ(length, TakePartOf(part, copy));
            if (thereBefore) {
                WriteBytes(copy, before);
                SetFileAttributesW(copy.c_str(), FILE_ATTRIBUTE_READONLY);
            }
        };
    }

    // Nobody is told about attributes. They are read and changed once before the row's file is copied, to
    // clear the read-only attribute of a copy that is there, and once behind, to set it.
    void ExpectOfAttributes(const Moment& moment, std::size_t row, bool copiesBefore)
    {
        const bool there = copiesBefore || !m_bench.Rows()[row].pending;
        const FileCall call = moment.Operation().call;
        const std::size_t changes = moment.Before(FileCall::readStatus) + (call == FileCall::readStatus);
        if (changes == 1) {
            // The change itself is made twice, by the path and then by what is open: one of them is enough.
            if (call == FileCall::readStatus && there && m_bench.Rows()[row].pending) {
                ExpectNoTarget(row, ERROR_ACCESS_DENIED);
            }
            return;
        }
        ASSERT_EQ(2U, changes);
        ASSERT_NE(FileCall::setAttributes, call);
        m_bench.Rows()[row].staysWritable =
            call == FileCall::readStatus || call == FileCall::open || call == FileCall::change;
    }

    // The folder of the copies is made before the run, which it keeps from beginning when that fails.
    void SweepFolder(DWORD error)
    {
        const std::wstring folder = m_library / L"new";
        for (const bool there : {false, true}) {
            // Whether the folder is there is asked first; if that fails, making one that is there fails.
            TryFolder(folder, there, 0, error, there);
        }
        TryFolder(folder, false, 1, error, true);
    }

    void TryFolder(const std::wstring& folder, bool there, std::size_t number, DWORD error, bool fails)
    {
        SCOPED_TRACE("folder, operation " + std::to_string(number));
        RemoveDirectoryW(folder.c_str());
        if (there) {
            EXPECT_NE(FALSE, CreateDirectoryW(folder.c_str(), nullptr));
        }
        CMessageRecorder recorder;
        std::optional<COperationCounter> counter;
        counter.emplace(m_library.Path(), std::set{number}, error);
        const bool failed = CFileMisc::CreateFolder(folder) != 0;
        const std::size_t operations = counter->Seen().size();
        counter.reset();
        std::vector<std::wstring> expectedTexts;
        if (fails) {
            expectedTexts.push_back(expected::kNoFolderLead.Current() + folder + kNoFolderEnd.Current());
        }
        std::string differences;
        if (failed != fails || operations != 2 || recorder.TakeTexts() != expectedTexts) {
            differences += "  not told, or told without a reason\n";
        }
        if (CFileMisc::CreateFolder(folder) != 0 || !PathExists(folder)) {
            differences += "  not made the next time\n";
        }
        Note(1, differences);
        RemoveDirectoryW(folder.c_str());
    }

    CFaultBench& Bench() override { return m_bench; }

    CTempFolder m_library;
    CFaultBench m_bench{m_library.Path(), FourRows()};
    std::function<void()> m_mend;
};

TEST_F(OperationTest, AccessDenied)
{
    RecordProperty("kind", "each file operation of a run refused in turn: access denied");
    ForEveryOperation(ERROR_ACCESS_DENIED);
}

TEST_F(OperationTest, AccessDeniedWhileALineIsTakenBack)
{
    RecordProperty("kind", "a line of the map file, and each step of taking its beginning back, refused");
    ForEveryStepOfTakingBack(ERROR_ACCESS_DENIED);
}

TEST_F(OperationTest, ShareGone)
{
    RecordProperty("kind", "each file operation of a run refused in turn: share gone");
    ForEveryOperation(ERROR_NETNAME_DELETED);
}

}  // namespace
