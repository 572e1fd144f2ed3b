#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/ConversionTable.h"
#include "files/FileMisc.h"
#include "framework/Handles.h"
#include "framework/Language.h"
#include "resources/resource.h"
#include "tests/faults/CopyFailures.h"
#include "tests/faults/FaultTest.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/FailingFile.h"
#include "tests/support/FileInterceptor.h"
#include "tests/support/Files.h"
#include "tests/support/TestLibrary.h"
#include "tests/support/TextFile.h"
#include "tests/support/WindowScopes.h"

// File operations of a run fail.

namespace {

constexpr std::size_t kPendingRows[] = {0, 1, 3};  // of FourRows; their files are copied
constexpr std::size_t kRecordedRow = 2;            // already converted, so it is only recorded

std::size_t SizeOf(const std::wstring& path)
{
    return static_cast<std::size_t>(std::filesystem::file_size(path));
}

class FileFaultTest : public FaultTest
{
protected:
    // Calls breakRow for each pending row in turn, in each of LanguagesToTry. breakRow must make the copying
    // of the row's file fail, and returns the function that undoes this.
    using Undo = std::function<void()>;
    void ForEachPendingRow(const std::function<Undo(std::size_t)>& breakRow,
                           std::wstring (*failure)(const CFaultBench&, std::size_t))
    {
        for (const int language : LanguagesToTry()) {
            const CLanguageScope scope(language);
            for (const std::size_t row : kPendingRows) {
                SCOPED_TRACE("row " + std::to_string(row));
                m_bench.Reset();
                const Undo undo = breakRow(row);
                m_bench.Rows()[row].copyFailure = failure(m_bench, row);
                RunAndRepeat({}, undo);
            }
        }
    }

    // The same with a function that makes opening the map file fail.
    void ForTheMapFile(const std::function<Undo()>& breakMapFile)
    {
        for (const int language : LanguagesToTry()) {
            const CLanguageScope scope(language);
            m_bench.Reset();
            const Undo undo = breakMapFile();
            m_bench.ExpectNoMapFile();
            RunAndRepeat({}, undo);
        }
    }

    enum class Position
    {
        first,
        secondBlock,
        middle,
        end
    };

    // Like ForEachPendingRow, with reading or writing that fails from each of these positions on, in the
    // source or in its copy. The bytes before the position are copied.
    void ForPositionsInEachRow(std::wstring (CFaultBench::*file)(std::size_t) const,
                               FailingOperation operation, DWORD error,
                               std::initializer_list<Position> positions)
    {
        for (const Position position : positions) {
            SCOPED_TRACE("position " + std::to_string(static_cast<int>(position)));
            ForEachPendingRow(
                [&](std::size_t row) -> Undo {
                    const std::size_t firstByte = ByteAt(position, SizeOf(m_bench.Part(row)));
                    m_failing.emplace((m_bench.*file)(row), operation, error, firstByte);
                    return [this, row, firstByte] {
                        StopFailing();
                        EXPECT_EQ(firstByte, RemovePartialCopy(m_bench.Part(row), m_bench.Copy(row)));
                    };
                },
                CopyingFailure);
        }
    }

    static std::size_t ByteAt(Position position, std::size_t size)
    {
        constexpr std::size_t kBlockSize = 4096;  // bytes that the program reads or writes at a time
        EXPECT_GT(size, 4 * kBlockSize);
        switch (position) {
            case Position::first:
                return 0;
            case Position::secondBlock:
                return kBlockSize;
            case Position::middle:
                return size / kBlockSize / 2 * kBlockSize;
            case Position::end:
                break;
        }
        return size;
    }

    // Renames a file or folder; undo restores it.
    static Undo MoveAway(const std::wstring& path)
    {
        const std::wstring away = path + L".away";
        EXPECT_NE(FALSE, MoveFileW(path.c_str(), away.c_str()));
        return [path, away] { EXPECT_NE(FALSE, MoveFileW(away.c_str(), path.c_str())); };
    }

    // Keeps a file open with this share mode.
    static Undo Hold(const std::wstring& path, DWORD access, DWORD share)
    {
        const auto file = std::make_shared<UniqueHandle>(OpenAsOther(path, access, share));
        EXPECT_TRUE(*file);
        return [file] { file->reset(); };
    }

    // Makes an operation on the file fail.
    Undo MakeFail(const std::wstring& path, FailingOperation operation, DWORD error = ERROR_ACCESS_DENIED)
    {
        m_failing.emplace(path, operation, error);
        return [this] { StopFailing(); };
    }
    void StopFailing()
    {
        EXPECT_GT(m_failing->Count(), 0) << "no operation failed";
        m_failing.reset();
    }

    CFaultBench& Bench() override { return m_bench; }

    CTempFolder m_library;
    CFaultBench m_bench{m_library.Path(), FourRows()};
    std::optional<CFailingFile> m_failing;
};

TEST_F(FileFaultTest, MissingSource)
{
    RecordProperty("kind", "source file missing");
    ForEachPendingRow([this](std::size_t row) { return MoveAway(m_bench.Part(row)); }, SourceFailure);
}

TEST_F(FileFaultTest, LockedSource)
{
    RecordProperty("kind", "source file locked by another program");
    ForEachPendingRow([this](std::size_t row) { return Hold(m_bench.Part(row), GENERIC_READ, 0); },
                      SourceFailure);
}

TEST_F(FileFaultTest, LockedTarget)
{
    RecordProperty("kind", "target file locked by another program");
    ForEachPendingRow(
        [this](std::size_t row) {
            EXPECT_EQ("", m_bench.Run({}));
            m_bench.MarkAll();
            return Hold(m_bench.Copy(row), GENERIC_READ, FILE_SHARE_READ);
        },
        TargetFailure);
}

TEST_F(FileFaultTest, TargetIsAFolder)
{
    RecordProperty("kind", "target file is a folder");
    ForEachPendingRow(
        [this](std::size_t row) -> Undo {
            const std::wstring path = m_bench.Copy(row);
            EXPECT_NE(FALSE, CreateDirectoryW(path.c_str(), nullptr));
            return [path] {
                SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
                EXPECT_NE(FALSE, RemoveDirectoryW(path.c_str()));
            };
        },
        TargetFailure);
}

TEST_F(FileFaultTest, ReadErrorInTheSource)
{
    RecordProperty("kind", "read error in a source file");
    ForPositionsInEachRow(&CFaultBench::Part, FailingOperation::reading, ERROR_LOCK_VIOLATION,
                          {Position::first, Position::secondBlock, Position::middle, Position::end});
}

TEST_F(FileFaultTest, WriteErrorInTheTarget)
{
    RecordProperty("kind", "write error in a target file");
    ForPositionsInEachRow(&CFaultBench::Copy, FailingOperation::writing, ERROR_WRITE_FAULT,
                          {Position::first, Position::secondBlock, Position::middle});
}

// The earlier copy stays unchanged.
TEST_F(FileFaultTest, ReadOnlyCannotBeCleared)
{
    RecordProperty("kind", "read-only attribute of an earlier copy cannot be cleared");
    for (const FailingOperation operation :
         {FailingOperation::openingForChanges, FailingOperation::changes}) {
        ForEachPendingRow(
            [&](std::size_t row) {
                EXPECT_EQ("", m_bench.Run({}));
                m_bench.MarkAll();
                return MakeFail(m_bench.Copy(row), operation);
            },
            TargetFailure);
    }
}

TEST_F(FileFaultTest, ReadOnlyCannotBeClearedForARowThatIsOnlyRecorded)
{
    RecordProperty("kind", "read-only attribute of a copy that is only recorded cannot be cleared");
    for (const FailingOperation operation :
         {FailingOperation::openingForChanges, FailingOperation::changes}) {
        m_bench.Reset();
        RunAndRepeat({}, MakeFail(m_bench.Copy(kRecordedRow), operation));
    }
}

TEST_F(FileFaultTest, ReadOnlyCannotBeSet)
{
    RecordProperty("kind", "read-only attribute of a copy cannot be set");
    for (const FailingOperation operation :
         {FailingOperation::openingForChanges, FailingOperation::changes}) {
        for (const std::size_t row : kPendingRows) {
            SCOPED_TRACE("row " + std::to_string(row));
            m_bench.Reset();
            m_bench.Rows()[row].staysWritable = true;
            RunAndRepeat({}, MakeFail(m_bench.Copy(row), operation));
        }
    }
}

TEST_F(FileFaultTest, MapFileIsOpenInAnotherProgram)
{
    RecordProperty("kind", "map file opened by another program, with every access and share mode");
    for (const DWORD access : {DWORD{GENERIC_READ}, DWORD{GENERIC_WRITE}, GENERIC_READ | GENERIC_WRITE}) {
        for (const DWORD share : std::initializer_list<DWORD>{0, FILE_SHARE_READ, FILE_SHARE_WRITE,
                                                              FILE_SHARE_READ | FILE_SHARE_WRITE}) {
            SCOPED_TRACE("access " + std::to_string(access) + ", share " + std::to_string(share));
            const CLanguageScope language(static_cast<int>(share % 2));
            m_bench.Reset();
            m_bench.WriteMapFile("from an earlier run");
            const Undo undo = Hold(m_bench.MapPath(), access, share);
            // The run opens the map file for writing and shares reading and writing.
            if ((share & FILE_SHARE_WRITE) == 0) {
                m_bench.ExpectNoMapFile();
            }
            RunAndRepeat({}, undo);
        }
    }
}

// Tests CFaultBench.
TEST_F(FileFaultTest, FindsAFileThatIsStillOpen)
{
    m_bench.WriteMapFile("");
    const Undo close = Hold(m_bench.MapPath(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE);
    EXPECT_EQ("  the map file is still open\n", m_bench.Run({}));
    close();
}

TEST_F(FileFaultTest, MapFileIsAFolder)
{
    RecordProperty("kind", "map file is a folder");
    ForTheMapFile([this]() -> Undo {
        const std::wstring path = m_bench.MapPath();
        EXPECT_NE(FALSE, CreateDirectoryW(path.c_str(), nullptr));
        return [path] { EXPECT_NE(FALSE, RemoveDirectoryW(path.c_str())); };
    });
}

TEST_F(FileFaultTest, ReadOnlyMapFile)
{
    RecordProperty("kind", "read-only map file");
    std::optional<CFileInterceptor> interceptor;
    ForTheMapFile([&]() -> Undo {
        const std::wstring path = m_bench.MapPath();
        m_bench.WriteMapFile("from an earlier run");
        MakeReadOnly(path);
        interceptor.emplace();
        return [&interceptor, path] {
            interceptor.reset();
            SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
        };
    });
}

// Tests CFileInterceptor.
TEST_F(FileFaultTest, AReadOnlyFileCanOnlyBeOpenedForReading)
{
    const std::wstring path = m_library / L"read-only.txt";
    WriteBytes(path, "");
    MakeReadOnly(path);
    const CFileInterceptor interceptor;
    EXPECT_TRUE(std::ifstream(path.c_str()).is_open());
    EXPECT_FALSE(std::ofstream(path.c_str()).is_open());
    EXPECT_FALSE(std::fstream(path.c_str(), std::ios::in | std::ios::out).is_open());
}

TEST_F(FileFaultTest, MapFileCannotBeFlushed)
{
    RecordProperty("kind", "map file cannot be flushed to disk");
    for (const int language : LanguagesToTry()) {
        const CLanguageScope scope(language);
        m_bench.Reset();
        m_bench.ExpectLateMapFailure();
        RunAndRepeat({}, MakeFail(m_bench.MapPath(), FailingOperation::flushing));
    }
}

TEST_F(FileFaultTest, FileSystemHasNoFlush)
{
    RecordProperty("kind", "file system that does not support flushing the map file");
    for (const DWORD error : std::initializer_list<DWORD>{ERROR_INVALID_FUNCTION, ERROR_NOT_SUPPORTED,
                                                          ERROR_CALL_NOT_IMPLEMENTED}) {
        m_bench.Reset();
        RunAndRepeat({}, MakeFail(m_bench.MapPath(), FailingOperation::flushing, error));
    }
}

TEST_F(FileFaultTest, NoMappedFolder)
{
    RecordProperty("kind", "\"Mapped\" folder missing");
    ForTheMapFile([this] { return MoveAway(m_library / L"Mapped"); });
}

TEST_F(FileFaultTest, MappedIsAFile)
{
    RecordProperty("kind", "\"Mapped\" is a file");
    ForTheMapFile([this]() -> Undo {
        const std::wstring path = m_library / L"Mapped";
        const Undo restore = MoveAway(path);
        WriteBytes(path, "not a folder");
        return [path, restore] {
            EXPECT_EQ("not a folder", ReadBytes(path));
            EXPECT_NE(FALSE, DeleteFileW(path.c_str()));
            restore();
        };
    });
}

// A path of a folder that can be removed during a run although files in the folder are open, like a network
// share that becomes unavailable. On Windows the path is a drive letter, whose definition is removed. Under
// Wine drive letters work differently, but a folder with open files can be renamed.
class CRemovableFolder
{
public:
    explicit CRemovableFolder(const std::wstring& folder)
        : m_folder(folder), m_renamedFolder(folder + L".away")
    {
        m_path = UnderWine() ? folder : kDrive;
        if (!UnderWine()) {
            EXPECT_NE(FALSE, DefineDosDeviceW(0, kDrive, m_folder.c_str()));
        }
    }
    CRemovableFolder(const CRemovableFolder&) = delete;
    CRemovableFolder& operator=(const CRemovableFolder&) = delete;
    ~CRemovableFolder()
    {
        if (!UnderWine()) {
            Remove();
        }
    }

    [[nodiscard]] const std::wstring& Path() const { return m_path; }

    void Remove() const
    {
        EXPECT_NE(FALSE, UnderWine() ? MoveFileW(m_folder.c_str(), m_renamedFolder.c_str())
                                     : DefineDosDeviceW(DDD_REMOVE_DEFINITION, kDrive, nullptr));
    }
    void Restore() const
    {
        EXPECT_NE(FALSE, UnderWine() ? MoveFileW(m_renamedFolder.c_str(), m_folder.c_str())
                                     : DefineDosDeviceW(0, kDrive, m_folder.c_str()));
    }

private:
    static constexpr const wchar_t* kDrive = L"T:";

    std::wstring m_folder;
    std::wstring m_renamedFolder;
    std::wstring m_path;
};

// Calls a function for each row, with the number of the row (from 0), when the first text of the progress
// dialog begins with `moment`.
class CRowWatcher
{
public:
    CRowWatcher(const Text& moment, std::function<void(std::size_t)> onRow)
        : m_moment(moment.Current()), m_onRow(std::move(onRow))
    {
    }

private:
    void OnMessage(const CWPSTRUCT& call)
    {
        if (call.message == WM_SETTEXT && GetDlgCtrlID(call.hwnd) == IDC_PROGRESS_FIRST &&
            std::wstring_view(reinterpret_cast<const wchar_t*>(call.lParam)).starts_with(m_moment)) {
            m_onRow(m_row++);
        }
    }

    const std::wstring m_moment;
    std::size_t m_row = 0;
    std::function<void(std::size_t)> m_onRow;
    CSentMessageHook m_hook{[this](const CWPSTRUCT& call) { OnMessage(call); }};
};

// The copy stays missing until the row is converted again.
TEST_F(FileFaultTest, CopyIsRemovedBeforeItIsMadeReadOnly)
{
    RecordProperty("kind", "copy removed before it is made read-only");
    m_bench.m_copyOnly = true;
    for (const int language : LanguagesToTry()) {
        const CLanguageScope scope(language);
        for (const std::size_t gone : kPendingRows) {
            SCOPED_TRACE("row " + std::to_string(gone));
            m_bench.Reset();
            m_bench.Rows()[gone].copyVanishes = true;
            std::optional<CRowWatcher> watcher;
            watcher.emplace(expected::kCurrentFile, [this, gone](std::size_t row) {
                if (row == gone) {
                    EXPECT_NE(FALSE, DeleteFileW(m_bench.Copy(row).c_str()));
                }
            });
            RunAndRepeat({}, [&watcher] { watcher.reset(); });
        }
    }
}

TEST_F(FileFaultTest, ShareIsRemovedDuringTheRun)
{
    RecordProperty("kind", "share of the library unavailable from a row on");
    for (const int language : LanguagesToTry()) {
        const CLanguageScope scope(language);
        for (const std::size_t gone : kPendingRows) {
            SCOPED_TRACE("row " + std::to_string(gone));
            const CRemovableFolder removable(m_library.Path());
            m_bench.RunIn(removable.Path());
            for (const std::size_t row : kPendingRows) {
                if (row >= gone) {
                    m_bench.Rows()[row].copyFailure = SourceFailure(m_bench, row);
                }
            }
            std::optional<CRowWatcher> watcher;
            watcher.emplace(expected::kCopy, [&removable, gone](std::size_t row) {
                if (row == gone) {
                    removable.Remove();
                }
            });
            RunAndRepeat({}, [&] {
                watcher.reset();
                removable.Restore();
            });
        }
    }
}

// Rows with empty part files, which are quick to copy and take no disk space.
std::vector<ModelRow> EmptyParts(const std::vector<std::wstring>& names)
{
    std::vector<ModelRow> rows;
    for (const std::wstring& name : names) {
        rows.push_back({{name, L"neu " + name, L"BOM"}});
    }
    return rows;
}

// A run that copies empty files with these names.
std::string CopyEmptyFiles(const std::wstring& folder, const std::vector<std::wstring>& names)
{
    CFaultBench bench(folder, EmptyParts(names));
    bench.m_copyOnly = true;
    return bench.Run({});
}

bool CanCreate(const std::wstring& path)
{
    const UniqueHandle file(ValidHandle(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                                    FILE_FLAG_DELETE_ON_CLOSE, nullptr)));
    return file != nullptr;
}

class FileNameTest : public CountingTest
{
protected:
    // Copies files with these characters in their names in one run, `inOneName` characters in each name.
    // Returns all characters of the names that the system does not allow.
    std::wstring CopyWith(const std::wstring& characters, std::size_t inOneName)
    {
        const CTempFolder library;
        std::vector<std::wstring> names;
        std::wstring refused;
        for (std::size_t at = 0; at < characters.size(); at += inOneName) {
            const std::wstring part = characters.substr(at, inOneName);
            const std::wstring name =
                std::to_wstring(static_cast<int>(part.front())) + L"_" + part + L"_.sldprt";
            if (CanCreate(library / name)) {
                names.push_back(name);
            } else {
                refused += part;
            }
        }
        Count(static_cast<int>(names.size()), CopyEmptyFiles(library.Path(), names));
        return refused;
    }
};

TEST_F(FileNameTest, ASCIICharacters)
{
    RecordProperty("kind", "every ASCII character but the colon in a file name");
    std::wstring characters;
    std::wstring forbidden = L"\"*/<>?\\|";
    for (wchar_t character = 1; character < 0x80; ++character) {
        if (character != L':') {  // separates the name of a file from that of a stream in it
            characters += character;
        }
        if (character < L' ') {
            forbidden += character;
        }
    }
    std::ranges::sort(forbidden);
    EXPECT_EQ(forbidden, CopyWith(characters, 1));
}

// Takes too long for every test run.
TEST_F(FileNameTest, MoreCharactersOfTheBasicPlane)
{
    RecordProperty("kind", "all other characters of the Basic Multilingual Plane, 64 per name");
    std::wstring characters;
    for (int code = 0x80; code < 0x10000; ++code) {
        const bool isSurrogate = code >= 0xD800 && code < 0xE000;
        if (!isSurrogate) {
            characters += static_cast<wchar_t>(code);
        }
    }
    EXPECT_EQ(L"", CopyWith(characters, 64));
}

// The first and last 32 characters of each plane, each a surrogate pair in the name.
TEST_F(FileNameTest, CharactersOfTheOtherPlanes)
{
    RecordProperty("kind", "characters of the other sixteen planes, 32 per name");
    std::wstring characters;
    for (unsigned plane = 1; plane <= 16; ++plane) {
        for (const unsigned first : {0U, 0x10000U - 32U}) {
            for (unsigned position = first; position < first + 32; ++position) {
                const unsigned code = (plane - 1) * 0x10000U + position;
                characters += static_cast<wchar_t>(0xD800U + (code >> 10U));
                characters += static_cast<wchar_t>(0xDC00U + (code & 0x3FFU));
            }
        }
    }
    EXPECT_EQ(L"", CopyWith(characters, 64));
}

// The system decides which paths are too long (Windows: more than 259 characters). The run either copies the
// file or reports that it cannot open the target.
TEST_F(FileNameTest, LongTargets)
{
    RecordProperty("kind", "paths of 200 to 420 characters, names of up to 256");
    const CTempFolder top;
    const std::wstring folder = top / std::wstring(100, L'f');
    ASSERT_NE(FALSE, CreateDirectoryW(folder.c_str(), nullptr));
    const std::wstring extension = L".sldprt";
    const auto shortest = static_cast<int>(200 - folder.size());
    for (int length = shortest; length <= 256; length += length < 245 ? 9 : 1) {
        SCOPED_TRACE(length);
        const CLanguageScope language(length % 2);
        ModelRow row = EmptyParts({L"a.sldprt"})[0];
        row.texts.strRenamed =
            std::wstring(static_cast<std::size_t>(length) - extension.size(), L'n') + extension;
        CFaultBench bench(folder, {row, EmptyParts({L"b.sldprt"})[0]});
        bench.m_copyOnly = true;
        if (!CanCreate(bench.Copy(0))) {
            bench.Rows()[0].copyFailure = TargetFailure(bench, 0);
        }
        Count(1, bench.Run({}));
    }
}

// ---- Disks

constexpr std::size_t kBlock = 4096;  // the allocation unit of the file system

std::size_t Blocks(std::size_t bytes)
{
    return (bytes + kBlock - 1) / kBlock;
}

// A folder on a small file system, which run.sh mounts and the test can fill.
class FullDiskTest : public CountingTest
{
protected:
    void SetUp() override
    {
        const wchar_t* const disk = _wgetenv(L"TALVENOR_SMALL_DISK");
        if (disk == nullptr) {
            GTEST_SKIP() << "skipped: no small file system: mounting one needs the permission to mount";
        }
        m_folder = std::wstring(disk) + L"\\lib";
        CreateDirectoryW(m_folder.c_str(), nullptr);
    }

    // Fills the disk, but leaves this many blocks free.
    void Fill(std::size_t blocks) const
    {
        ULARGE_INTEGER space{};
        ASSERT_NE(FALSE, GetDiskFreeSpaceExW(m_folder.c_str(), &space, nullptr, nullptr));
        ASSERT_GT(space.QuadPart, blocks * kBlock);
        WriteBytes(Filler(), std::string(static_cast<std::size_t>(space.QuadPart) - blocks * kBlock, 'f'));
    }
    void Free() const { EXPECT_NE(FALSE, DeleteFileW(Filler().c_str())); }

    std::wstring m_folder;

private:
    [[nodiscard]] std::wstring Filler() const { return m_folder + L"\\filler"; }
};

TEST_F(FullDiskTest, NoSpaceForACopyAndAllLaterOnes)
{
    RecordProperty("kind", "disk full while a file is copied");
    CFaultBench bench(m_folder, FourRows());
    bench.m_copyOnly = true;
    for (const int language : LanguagesToTry()) {
        const CLanguageScope scope(language);
        std::size_t blocks = 0;  // for the copies up to this one
        for (const std::size_t full : kPendingRows) {
            SCOPED_TRACE("row " + std::to_string(full));
            bench.Reset();
            blocks += Blocks(SizeOf(bench.Part(full)));
            Fill(blocks);  // one too few, as the map file takes one
            bench.m_afterRun = [&] {
                Free();
                for (const std::size_t row : kPendingRows) {
                    if (row >= full) {
                        EXPECT_LT(RemovePartialCopy(bench.Part(row), bench.Copy(row)),
                                  SizeOf(bench.Part(row)));
                    }
                }
            };
            for (const std::size_t row : kPendingRows) {
                if (row >= full) {
                    bench.Rows()[row].copyFailure = CopyingFailure(bench, row);
                }
            }
            std::string differences = bench.Run({});
            bench.m_afterRun = nullptr;
            bench.ExpectNoFailure();
            differences += bench.Run({});
            Count(1, differences);
        }
    }
}

// Rows whose records have the same length and take several blocks together.
std::vector<ModelRow> RowsOfLongNames()
{
    std::vector<std::wstring> names;
    for (int number = 100; number < 150; ++number) {
        names.push_back(std::to_wstring(number) + std::wstring(60, L'x') + L".sldprt");
    }
    return EmptyParts(names);
}

// The number of bytes of a row's record in a run that only copies.
std::size_t RecordLength(const ModelRow& row)
{
    return (row.texts.strOriginal + L" ; " + row.texts.strRenamed + L" ; \r\n").size();
}

TEST_F(FullDiskTest, NoSpaceForRecords)
{
    RecordProperty("kind", "disk full while the map file is written");
    const std::vector<ModelRow> rows = RowsOfLongNames();
    CFaultBench bench(m_folder, rows);
    bench.m_copyOnly = true;
    for (std::size_t blocks = 0; blocks <= 2; ++blocks) {
        SCOPED_TRACE("blocks " + std::to_string(blocks));
        const CLanguageScope language(static_cast<int>(blocks % 2));
        bench.Reset();
        bench.ExpectFullDisk(blocks * kBlock, RecordLength(rows[0]));
        Fill(blocks);
        bench.m_afterRun = [this] { Free(); };
        std::string differences = bench.Run({});
        bench.m_afterRun = nullptr;
        bench.ExpectNoFailure();
        differences += bench.Run({});
        Count(1, differences);
    }
}

// The disk is full after the beginning of a record, and this partial record cannot be removed.
class PartialRecordTest : public FullDiskTest
{
protected:
    // What is fixed when the run begins the row after the one that cannot be recorded. disk: the disk is
    // freed, so that records can be written. file: the file mapping is closed, so that the partial record can
    // be removed.
    struct FixedDuringTheRun
    {
        bool disk;
        bool file;
    };

    void SetUp() override
    {
        FullDiskTest::SetUp();
        if (!IsSkipped()) {
            m_bench.emplace(m_folder, m_rows);
            m_bench->m_copyOnly = true;
        }
    }

    // A run with space for one block of the map file.
    std::string Run(FixedDuringTheRun fixed)
    {
        m_bench->Reset();
        m_bench->ExpectFullDisk(kBlock, RecordLength(m_rows[0]));
        m_failing = static_cast<std::size_t>(std::ranges::find_if(m_bench->Rows(), &ModelRow::recordFails) -
                                             m_bench->Rows().begin());
        if (fixed.disk && fixed.file) {
            m_bench->ExpectNoFailure();
            m_bench->Rows()[m_failing].recordFails = true;
        } else {
            m_bench->ExpectPartialRecord();
        }
        Fill(1);
        std::optional<CMappedFile> mapped;
        std::optional<CRowWatcher> watcher;
        watcher.emplace(expected::kCopy, [&](std::size_t row) {
            if (row == m_failing) {
                mapped.emplace(m_bench->MapPath());
            } else if (row == m_failing + 1) {
                Fix(fixed, mapped);
            }
        });
        m_bench->m_afterRun = [&] {
            watcher.reset();
            Fix({!fixed.disk, !fixed.file}, mapped);
        };
        return m_bench->Run({});
    }

    std::string RunAgain()
    {
        m_bench->m_afterRun = nullptr;
        m_bench->ExpectNoFailure();
        return m_bench->Run({});
    }

    // All complete records must be read. The partial record may look like a record, too.
    void ExpectCompleteRecordsAreRead() const
    {
        CFileMisc reader(1);
        EXPECT_EQ((CFileMisc::MapFileState{true, false}), reader.ReadMapFile(m_bench->MapPath()));
        const std::vector<UTtab_entry> records(reader.m_lstEntries.begin(), reader.m_lstEntries.end());
        ASSERT_GE(records.size(), m_failing);
        EXPECT_LE(records.size(), m_failing + 1);
        for (std::size_t row = 0; row < m_failing; ++row) {
            EXPECT_EQ(m_rows[row].texts.strOriginal, records[row].strOriginal);
            EXPECT_EQ(m_rows[row].texts.strRenamed, records[row].strRenamed);
        }
    }

    const std::vector<ModelRow> m_rows = RowsOfLongNames();

private:
    void Fix(FixedDuringTheRun what, std::optional<CMappedFile>& mapped) const
    {
        if (what.disk) {
            Free();
        }
        if (what.file) {
            mapped.reset();
        }
    }

    std::optional<CFaultBench> m_bench;
    std::size_t m_failing = 0;  // the row that cannot be recorded
};

TEST_F(PartialRecordTest, NothingIsWrittenAfterIt)
{
    RecordProperty("kind", "disk full, and the partial record cannot be removed");
    for (const bool freedDuringTheRun : {false, true}) {
        const CLanguageScope language(freedDuringTheRun ? 0 : 1);
        std::string differences = Run({.disk = freedDuringTheRun, .file = false});
        ExpectCompleteRecordsAreRead();
        Count(1, differences + RunAgain());
    }
}

TEST_F(PartialRecordTest, IsRemovedAsSoonAsPossible)
{
    RecordProperty("kind", "disk full, and the partial record can be removed only later");
    for (const int language : LanguagesToTry()) {
        const CLanguageScope scope(language);
        const std::string differences = Run({.disk = true, .file = true});
        Count(1, differences + RunAgain());
    }
}

TEST_F(CountingTest, TargetFolderIsReadOnly)
{
    RecordProperty("kind", "read-only target folder");
    const wchar_t* const folder = _wgetenv(L"TALVENOR_READ_ONLY_MAPPED");
    if (folder == nullptr) {
        GTEST_SKIP() << "skipped: no read-only \"Mapped\" folder: making one needs the permission to mount";
    }
    std::vector<ModelRow> rows = FourRows();
    std::erase_if(rows, [](const ModelRow& row) { return !row.pending; });
    CFaultBench bench(folder, rows);
    for (const int language : LanguagesToTry()) {
        const CLanguageScope scope(language);
        bench.ExpectNoMapFile();
        Count(1, bench.Run({}));
    }
}

// ---- Many files

std::wstring NameOfMany(int number)
{
    return L"N_" + std::to_wstring(number) + L"_M8.sldprt";
}

// A folder with this many part files. run.sh provides one that has the copies, too: Wine searches the whole
// folder for each file that it creates, so making them here would take a long time.
std::wstring FolderOfMany(const CTempFolder& own, int count)
{
    if (const wchar_t* const folder = _wgetenv(L"TALVENOR_MANY_FILES"); folder != nullptr) {
        return folder;
    }
    for (int number = 1; number <= count; ++number) {
        WriteBytes(own / NameOfMany(number), "");
    }
    return own.Path();
}

TEST_F(CountingTest, FiftyThousandFilesAreLoaded)
{
    RecordProperty("kind", "50,000 files in the folder");
    constexpr int kCount = 50'000;
    const CTempFolder own;
    const CUserSettingsScope settings;
    const CResourceScope resources;
    CPlainWindow window;
    CConversionTable table;
    ASSERT_TRUE(table.SubclassWindow(window.AddControl(WC_LISTVIEWW, 1, LVS_REPORT)));
    for (const int column : {0, 1, 2}) {
        table.InsertColumn(column, L"", 175);
    }
    std::vector<std::wstring> names;
    CFileMisc::ScanPartFiles(FolderOfMany(own, kCount), names);
    EXPECT_EQ(static_cast<std::size_t>(kCount), names.size());
    table.AddFiles(names);

    std::vector<std::wstring> expectedNames;
    for (int number = 1; number <= kCount; ++number) {
        expectedNames.push_back(NameOfMany(number));
    }
    std::ranges::sort(expectedNames);
    ASSERT_EQ(kCount, table.GetItemCount());
    std::string difference;
    for (int row = 0; row < kCount && difference.empty(); ++row) {
        if (table.GetItemText(row, 0) != expectedNames[static_cast<std::size_t>(row)] ||
            !table.IsPending(row)) {
            difference = "row " + std::to_string(row) + ": " + ToUtf8(table.GetItemText(row, 0));
        }
    }
    Count(1, difference);
}

// Replaces the contents of a copy.
void MakeStale(const std::wstring& copy)
{
    SetFileAttributesW(copy.c_str(), FILE_ATTRIBUTE_NORMAL);
    WriteBytes(copy, "old");
    MakeReadOnly(copy);
}

// Copies with other contents exist already, as if from an earlier run. The parts are empty, and so are their
// copies after the run.
TEST_F(CountingTest, ManyFilesAreCopiedAndRecorded)
{
    const int count = EveryFault() ? 50'000 : 200;
    RecordProperty("kind", std::to_string(count) + " files in the folder, all of them copied and recorded");
    const CTempFolder own;
    std::vector<std::wstring> names;
    for (int number = 1; number <= count; ++number) {
        names.push_back(NameOfMany(number));
    }
    std::vector<ModelRow> rows = EmptyParts(names);
    for (ModelRow& row : rows) {
        row.pending = false;
    }
    CFaultBench bench(EveryFault() ? FolderOfMany(own, count) : own.Path(), std::move(rows));
    bench.m_copyOnly = true;
    bench.MarkAll();
    for (std::size_t row = 0; row < names.size(); ++row) {
        MakeStale(bench.Copy(row));
    }
    Count(1, bench.Run({}));
}

}  // namespace
