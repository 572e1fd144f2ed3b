#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/ConversionTable.h"
#include "files/FileMisc.h"
#include "framework/Handles.h"
#include "framework/Language.h"
#include "resources/resource.h"
#include "tests/acceptance/ExpectedTexts.h"
#include "tests/acceptance/TestLibrary.h"
#include "tests/cadserver/TextFile.h"
#include "tests/faults/CopyFailures.h"
#include "tests/faults/FaultTest.h"
#include "tests/faults/FileWatch.h"
#include "tests/faults/RefusedFile.h"
#include "tests/windows/MappedFile.h"

// One file operation of a run after the other fails.

namespace {

constexpr std::size_t kPendingRows[] = {0, 1, 3};  // of the four: those whose files are copied
constexpr std::size_t kRecordedRow = 2;            // and the one that is only recorded

std::size_t SizeOf(const std::wstring& path)
{
    return static_cast<std::size_t>(std::filesystem::file_size(path));
}

class FileFaultTest : public FaultTest
{
protected:
    // Lets `breakRow` break the copying of each pending row's file in turn, in both languages. It answers how
    // to mend it.
    using Mend = std::function<void()>;
    void ForEachRow(const std::function<Mend(std::size_t)>& breakRow,
                    std::wstring (*failure)(const CFaultBench&, std::size_t))
    {
        for (const int language : LanguagesToTry()) {
            const CLanguageScope scope(language);
            for (const std::size_t row : kPendingRows) {
                SCOPED_TRACE("row " + std::to_string(row));
                m_bench.Reset();
                const Mend mend = breakRow(row);
                m_bench.Rows()[row].copyFailure = failure(m_bench, row);
                RunAndRepeat({}, mend);
            }
        }
    }

    // The same for something that keeps the map file from being opened.
    void ForTheMapFile(const std::function<Mend()>& breakIt)
    {
        for (const int language : LanguagesToTry()) {
            const CLanguageScope scope(language);
            m_bench.Reset();
            const Mend mend = breakIt();
            m_bench.ExpectNoMapFile();
            RunAndRepeat({}, mend);
        }
    }

    enum class Place
    {
        first,
        secondBlock,
        middle,
        end
    };

    // The same for reading or writing that fails from each of these places of a file on, the source or its
    // copy: what lies before them is copied.
    void ForPlacesOfEachRow(std::wstring (CFaultBench::*file)(std::size_t) const, Refusal refusal,
                            DWORD error, std::initializer_list<Place> places)
    {
        for (const Place place : places) {
            SCOPED_TRACE("place " + std::to_string(static_cast<int>(place)));
            ForEachRow(
                [&](std::size_t row) -> Mend {
                    const std::size_t firstByte = ByteAt(place, SizeOf(m_bench.Part(row)));
                    m_refused.emplace((m_bench.*file)(row), refusal, error, firstByte);
                    return [this, row, firstByte] {
                        EndRefusal();
                        EXPECT_EQ(firstByte, TakePartOf(m_bench.Part(row), m_bench.Copy(row)));
                    };
                },
                CopyingFailure);
        }
    }

    static std::size_t ByteAt(Place place, std::size_t size)
    {
        constexpr std::size_t kAtATime = 4096;  // bytes are read and written
        EXPECT_GT(size, 4 * kAtATime);
        switch (place) {
            case Place::first:
                return 0;
            case Place::secondBlock:
                return kAtATime;
            case Place::middle:
                return size / kAtATime / 2 * kAtATime;
            case Place::end:
                break;
        }
        return size;
    }

    // Brings something out of the way, and back.
    static Mend MoveAway(const std::wstring& path)
    {
        const std::wstring away = path + L".away";
        EXPECT_NE(FALSE, MoveFileW(path.c_str(), away.c_str()));
        return [path, away] { EXPECT_NE(FALSE, MoveFileW(away.c_str(), path.c_str())); };
    }

    // Opens a file so that others may do with it only what `share` says.
    static Mend Hold(const std::wstring& path, DWORD access, DWORD share)
    {
        const HANDLE file =
            CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        EXPECT_NE(INVALID_HANDLE_VALUE, file);
        return [file] { CloseHandle(file); };
    }

    // Has something refused, such as changes of a file's attributes.
    Mend Refuse(const std::wstring& path, Refusal refusal, DWORD error = ERROR_ACCESS_DENIED)
    {
        m_refused.emplace(path, refusal, error);
        return [this] { EndRefusal(); };
    }
    void EndRefusal()
    {
        EXPECT_GT(m_refused->Count(), 0) << "nothing was refused";
        m_refused.reset();
    }

    CFaultBench& Bench() override { return m_bench; }

    CTempFolder m_library;
    CFaultBench m_bench{m_library.Path(), FourRows()};
    std::optional<CRefusedFile> m_refused;
};

TEST_F(FileFaultTest, MissingSource)
{
    RecordProperty("kind", "source file missing");
    ForEachRow([this](std::size_t row) { return MoveAway(m_bench.Part(row)); }, SourceFailure);
}

TEST_F(FileFaultTest, LockedSource)
{
    RecordProperty("kind", "source file locked by another program");
    ForEachRow([this](std::size_t row) { return Hold(m_bench.Part(row), GENERIC_READ, 0); }, SourceFailure);
}

TEST_F(FileFaultTest, LockedTarget)
{
    RecordProperty("kind", "target file locked by another program");
    ForEachRow(
        [this](std::size_t row) {
            EXPECT_EQ("", m_bench.Run({}));
            m_bench.MarkAll();
            return Hold(m_bench.Copy(row), GENERIC_READ, FILE_SHARE_READ);
        },
        TargetFailure);
}

TEST_F(FileFaultTest, FolderInPlaceOfTheTarget)
{
    RecordProperty("kind", "folder in the place of the target file");
    ForEachRow(
        [this](std::size_t row) -> Mend {
            const std::wstring path = m_bench.Copy(row);
            EXPECT_NE(FALSE, CreateDirectoryW(path.c_str(), nullptr));
            return [path] {
                SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
                EXPECT_NE(FALSE, RemoveDirectoryW(path.c_str()));
            };
        },
        TargetFailure);
}

TEST_F(FileFaultTest, UnreadableSource)
{
    RecordProperty("kind", "read error in a source file");
    ForPlacesOfEachRow(&CFaultBench::Part, Refusal::reading, ERROR_LOCK_VIOLATION,
                       {Place::first, Place::secondBlock, Place::middle, Place::end});
}

TEST_F(FileFaultTest, UnwritableTarget)
{
    RecordProperty("kind", "write error in a target file");
    ForPlacesOfEachRow(&CFaultBench::Copy, Refusal::writing, ERROR_WRITE_FAULT,
                       {Place::first, Place::secondBlock, Place::middle});
}

// An earlier copy stays as it was.
TEST_F(FileFaultTest, ReadOnlyCannotBeCleared)
{
    RecordProperty("kind", "read-only attribute of an earlier copy cannot be cleared");
    for (const Refusal refusal : {Refusal::openingForChanges, Refusal::changes}) {
        ForEachRow(
            [&](std::size_t row) {
                EXPECT_EQ("", m_bench.Run({}));
                m_bench.MarkAll();
                return Refuse(m_bench.Copy(row), refusal);
            },
            TargetFailure);
    }
}

TEST_F(FileFaultTest, ReadOnlyCannotBeClearedOfARowThatIsOnlyRecorded)
{
    RecordProperty("kind", "read-only attribute of a copy that is only recorded cannot be cleared");
    for (const Refusal refusal : {Refusal::openingForChanges, Refusal::changes}) {
        m_bench.Reset();
        RunAndRepeat({}, Refuse(m_bench.Copy(kRecordedRow), refusal));
    }
}

TEST_F(FileFaultTest, ReadOnlyCannotBeSet)
{
    RecordProperty("kind", "read-only attribute of a copy cannot be set");
    for (const Refusal refusal : {Refusal::openingForChanges, Refusal::changes}) {
        for (const std::size_t row : kPendingRows) {
            SCOPED_TRACE("row " + std::to_string(row));
            m_bench.Reset();
            m_bench.Rows()[row].staysWritable = true;
            RunAndRepeat({}, Refuse(m_bench.Copy(row), refusal));
        }
    }
}

TEST_F(FileFaultTest, HeldMapFile)
{
    RecordProperty("kind", "map file held by a reader or a writer, in every way of sharing");
    for (const DWORD access : {DWORD{GENERIC_READ}, DWORD{GENERIC_WRITE}, GENERIC_READ | GENERIC_WRITE}) {
        for (const DWORD share : std::initializer_list<DWORD>{0, FILE_SHARE_READ, FILE_SHARE_WRITE,
                                                              FILE_SHARE_READ | FILE_SHARE_WRITE}) {
            SCOPED_TRACE("access " + std::to_string(access) + ", share " + std::to_string(share));
            const CLanguageScope language(static_cast<int>(share % 2));
            m_bench.Reset();
            m_bench.WriteMapFile("of an earlier run");
            const Mend mend = Hold(m_bench.MapPath(), access, share);
            // The run only writes, and grants the other both reading and writing.
            if ((share & FILE_SHARE_WRITE) == 0) {
                m_bench.ExpectNoMapFile();
            }
            RunAndRepeat({}, mend);
        }
    }
}

// Of the bench itself.
TEST_F(FileFaultTest, AFileThatSomebodyStillHoldsIsNoticed)
{
    m_bench.WriteMapFile("");
    const Mend letGo = Hold(m_bench.MapPath(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE);
    EXPECT_EQ("  the map file is still open\n", m_bench.Run({}));
    letGo();
}

TEST_F(FileFaultTest, FolderInPlaceOfTheMapFile)
{
    RecordProperty("kind", "folder in the place of the map file");
    ForTheMapFile([this]() -> Mend {
        const std::wstring path = m_bench.MapPath();
        EXPECT_NE(FALSE, CreateDirectoryW(path.c_str(), nullptr));
        return [path] { EXPECT_NE(FALSE, RemoveDirectoryW(path.c_str())); };
    });
}

TEST_F(FileFaultTest, ReadOnlyMapFile)
{
    RecordProperty("kind", "map file read-only");
    std::optional<CFileWatch> watch;
    ForTheMapFile([&]() -> Mend {
        const std::wstring path = m_bench.MapPath();
        m_bench.WriteMapFile("of an earlier run");
        SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY);
        watch.emplace();
        return [&watch, path] {
            watch.reset();
            SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
        };
    });
}

// Of the watch itself.
TEST_F(FileFaultTest, AReadOnlyFileIsOpenedForReadingOnly)
{
    const std::wstring path = m_library / L"read-only.txt";
    WriteBytes(path, "");
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY);
    const CFileWatch watch;
    EXPECT_TRUE(std::ifstream(path.c_str()).is_open());
    EXPECT_FALSE(std::ofstream(path.c_str()).is_open());
    EXPECT_FALSE(std::fstream(path.c_str(), std::ios::in | std::ios::out).is_open());
}

TEST_F(FileFaultTest, MapFileDoesNotReachTheDisk)
{
    RecordProperty("kind", "map file not brought to the disk");
    for (const int language : LanguagesToTry()) {
        const CLanguageScope scope(language);
        m_bench.Reset();
        m_bench.ExpectLateMapFailure();
        RunAndRepeat({}, Refuse(m_bench.MapPath(), Refusal::flushing));
    }
}

TEST_F(FileFaultTest, MapFileIsWhereNothingCanBeBroughtToTheDisk)
{
    RecordProperty("kind", "file system without the request to bring the map file to the disk");
    for (const DWORD error : std::initializer_list<DWORD>{ERROR_INVALID_FUNCTION, ERROR_NOT_SUPPORTED,
                                                          ERROR_CALL_NOT_IMPLEMENTED}) {
        m_bench.Reset();
        RunAndRepeat({}, Refuse(m_bench.MapPath(), Refusal::flushing, error));
    }
}

TEST_F(FileFaultTest, NoMappedFolder)
{
    RecordProperty("kind", "\"Mapped\" folder gone");
    ForTheMapFile([this] { return MoveAway(m_library / L"Mapped"); });
}

TEST_F(FileFaultTest, MappedIsAFile)
{
    RecordProperty("kind", "\"Mapped\" being a file");
    ForTheMapFile([this]() -> Mend {
        const std::wstring path = m_library / L"Mapped";
        const Mend back = MoveAway(path);
        WriteBytes(path, "no folder");
        return [path, back] {
            EXPECT_EQ("no folder", ReadBytes(path));
            EXPECT_NE(FALSE, DeleteFileW(path.c_str()));
            back();
        };
    });
}

// A way to a folder that can be taken away in the midst of a run, though files in it are open, as a network
// may take a share. On Windows that is a drive letter. Wine finds drives in another way; it lets folders be
// renamed, however.
class CWayToFolder
{
public:
    explicit CWayToFolder(const std::wstring& folder) : m_folder(folder), m_away(folder + L".away")
    {
        m_way = UnderWine() ? folder : kDrive;
        if (!UnderWine()) {
            EXPECT_NE(FALSE, DefineDosDeviceW(0, kDrive, m_folder.c_str()));
        }
    }
    CWayToFolder(const CWayToFolder&) = delete;
    CWayToFolder& operator=(const CWayToFolder&) = delete;
    ~CWayToFolder()
    {
        if (!UnderWine()) {
            Take();
        }
    }

    [[nodiscard]] const std::wstring& Way() const { return m_way; }

    void Take() const
    {
        EXPECT_NE(FALSE, UnderWine() ? MoveFileW(m_folder.c_str(), m_away.c_str())
                                     : DefineDosDeviceW(DDD_REMOVE_DEFINITION, kDrive, nullptr));
    }
    void GiveBack() const
    {
        EXPECT_NE(FALSE, UnderWine() ? MoveFileW(m_away.c_str(), m_folder.c_str())
                                     : DefineDosDeviceW(0, kDrive, m_folder.c_str()));
    }

private:
    static constexpr const wchar_t* kDrive = L"T:";

    std::wstring m_folder;
    std::wstring m_away;
    std::wstring m_way;
};

// What the first line of the progress dialog begins with when the run turns to a row, and, in one that only
// copies, when the row is recorded.
constexpr Text kTurnedTo{L"Kopiere: ", L"Copy: "};
constexpr Text kRecorded{L"Bearbeite Datei: ", L"Current file: "};

// Calls a function with the number of each row, from 0, when the run is that far with it.
class CRowWatcher
{
public:
    CRowWatcher(const Text& moment, std::function<void(std::size_t)> onRow)
        : m_moment(moment.Current())
        , m_onRow(std::move(onRow))
        , m_hook(SetWindowsHookExW(WH_CALLWNDPROC, &OnCall, nullptr, GetCurrentThreadId()))
    {
        s_current = this;
    }
    CRowWatcher(const CRowWatcher&) = delete;
    CRowWatcher& operator=(const CRowWatcher&) = delete;
    ~CRowWatcher()
    {
        UnhookWindowsHookEx(m_hook);
        s_current = nullptr;
    }

private:
    static LRESULT CALLBACK OnCall(int code, WPARAM wParam, LPARAM lParam)
    {
        const auto& call = *reinterpret_cast<const CWPSTRUCT*>(lParam);
        if (code == HC_ACTION && s_current != nullptr && call.message == WM_SETTEXT &&
            GetDlgCtrlID(call.hwnd) == IDC_PROGRESS_FIRST) {
            s_current->Note(reinterpret_cast<const wchar_t*>(call.lParam));
        }
        return CallNextHookEx(nullptr, code, wParam, lParam);
    }

    void Note(const std::wstring& text)
    {
        if (text.starts_with(m_moment)) {
            m_onRow(m_row++);
        }
    }

    inline static CRowWatcher* s_current = nullptr;

    const std::wstring m_moment;
    std::size_t m_row = 0;
    std::function<void(std::size_t)> m_onRow;
    HHOOK m_hook;
};

// It stays away until the row is converted again.
TEST_F(FileFaultTest, CopyGoneBeforeItIsMadeReadOnly)
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
            watcher.emplace(kRecorded, [this, gone](std::size_t row) {
                if (row == gone) {
                    EXPECT_NE(FALSE, DeleteFileW(m_bench.Copy(row).c_str()));
                }
            });
            RunAndRepeat({}, [&watcher] { watcher.reset(); });
        }
    }
}

TEST_F(FileFaultTest, ShareGoneDuringTheRun)
{
    RecordProperty("kind", "the library's share gone from this row on");
    for (const int language : LanguagesToTry()) {
        const CLanguageScope scope(language);
        for (const std::size_t gone : kPendingRows) {
            SCOPED_TRACE("row " + std::to_string(gone));
            const CWayToFolder way(m_library.Path());
            m_bench.RunIn(way.Way());
            for (const std::size_t row : kPendingRows) {
                if (row >= gone) {
                    m_bench.Rows()[row].copyFailure = SourceFailure(m_bench, row);
                }
            }
            std::optional<CRowWatcher> watcher;
            watcher.emplace(kTurnedTo, [&way, gone](std::size_t row) {
                if (row == gone) {
                    way.Take();
                }
            });
            RunAndRepeat({}, [&] {
                watcher.reset();
                way.GiveBack();
            });
        }
    }
}

// Rows whose parts are empty files: quick to copy, and in need of no room on the disk.
std::vector<ModelRow> EmptyParts(const std::vector<std::wstring>& names)
{
    std::vector<ModelRow> rows;
    for (const std::wstring& name : names) {
        rows.push_back({{name, L"neu " + name, L"BOM"}});
    }
    return rows;
}

// A run that only copies, of rows on whose files nothing depends but their names.
std::string CopyUnder(const std::wstring& folder, const std::vector<std::wstring>& names)
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
    // Copies files with the characters in their names, so many in each, all in one run. Answers which of the
    // characters the system does not allow, with those beside them.
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
        Note(static_cast<int>(names.size()), CopyUnder(library.Path(), names));
        return refused;
    }
};

TEST_F(FileNameTest, CharactersOfASCII)
{
    RecordProperty("kind", "every ASCII character but the colon in a file name");
    std::wstring characters;
    std::wstring forbidden = L"\"*/<>?\\|";
    for (wchar_t character = 1; character < 0x80; ++character) {
        if (character != L':') {  // divides the names of a file and of a stream in it
            characters += character;
        }
        if (character < L' ') {
            forbidden += character;
        }
    }
    std::ranges::sort(forbidden);
    EXPECT_EQ(forbidden, CopyWith(characters, 1));
}

// Takes too long for every day.
TEST_F(FileNameTest, MoreCharactersOfTheBasicPlane)
{
    RecordProperty("kind", "all further characters of the Basic Multilingual Plane, 64 in each name");
    std::wstring characters;
    for (int code = 0x80; code < 0x10000; ++code) {
        const bool halfOfAPair = code >= 0xD800 && code < 0xE000;  // no character
        if (!halfOfAPair) {
            characters += static_cast<wchar_t>(code);
        }
    }
    EXPECT_EQ(L"", CopyWith(characters, 64));
}

// Each stands for two halves in the name; the first and the last 32 of each plane.
TEST_F(FileNameTest, CharactersOfTheOtherPlanes)
{
    RecordProperty("kind", "characters of the other sixteen planes, 32 in each name");
    std::wstring characters;
    for (unsigned plane = 1; plane <= 16; ++plane) {
        for (const unsigned first : {0U, 0x10000U - 32U}) {
            for (unsigned place = first; place < first + 32; ++place) {
                const unsigned code = (plane - 1) * 0x10000U + place;
                characters += static_cast<wchar_t>(0xD800U + (code >> 10U));
                characters += static_cast<wchar_t>(0xDC00U + (code & 0x3FFU));
            }
        }
    }
    EXPECT_EQ(L"", CopyWith(characters, 64));
}

// Whether a path is too long is the system's affair (Windows: more than 259 characters); the run either deals
// with the file as with any other, or says that it cannot open it.
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
        Note(1, bench.Run({}));
    }
}

// ---- Disks

constexpr std::size_t kBlock = 4096;  // what a file system of this kind gives out at a time

std::size_t Blocks(std::size_t bytes)
{
    return (bytes + kBlock - 1) / kBlock;
}

// A folder on a small file system of its own that the test can fill; the caller says where that is.
class FullDiskTest : public CountingTest
{
protected:
    void SetUp() override
    {
        const wchar_t* const disk = _wgetenv(L"TALVENOR_SMALL_DISK");
        if (disk == nullptr) {
            GTEST_SKIP() << "no small file system at hand: mounting one takes the right to do so";
        }
        m_folder = std::wstring(disk) + L"\\lib";
        CreateDirectoryW(m_folder.c_str(), nullptr);
    }

    // Leaves room for so many blocks.
    void Fill(std::size_t blocks) const
    {
        ULARGE_INTEGER room{};
        ASSERT_NE(FALSE, GetDiskFreeSpaceExW(m_folder.c_str(), &room, nullptr, nullptr));
        ASSERT_GT(room.QuadPart, blocks * kBlock);
        WriteBytes(Filler(), std::string(static_cast<std::size_t>(room.QuadPart) - blocks * kBlock, 'f'));
    }
    void Free() const { EXPECT_NE(FALSE, DeleteFileW(Filler().c_str())); }

    std::wstring m_folder;

private:
    [[nodiscard]] std::wstring Filler() const { return m_folder + L"\\filler"; }
};

TEST_F(FullDiskTest, NoRoomForThisAndTheLaterCopies)
{
    RecordProperty("kind", "disk full while a file is copied");
    CFaultBench bench(m_folder, FourRows());
    bench.m_copyOnly = true;
    for (const int language : LanguagesToTry()) {
        const CLanguageScope scope(language);
        std::size_t room = 0;  // that the map file's one block and the copies before leave
        for (const std::size_t full : kPendingRows) {
            SCOPED_TRACE("row " + std::to_string(full));
            bench.Reset();
            room += Blocks(SizeOf(bench.Part(full)));
            Fill(room);  // one block short, as the map file takes one
            bench.m_afterRun = [&] {
                Free();
                for (const std::size_t row : kPendingRows) {
                    if (row >= full) {
                        EXPECT_LT(TakePartOf(bench.Part(row), bench.Copy(row)), SizeOf(bench.Part(row)));
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
            Note(1, differences);
        }
    }
}

// Rows whose records take as many bytes each, some blocks together.
std::vector<ModelRow> RowsOfLongNames()
{
    std::vector<std::wstring> names;
    for (int number = 100; number < 150; ++number) {
        names.push_back(std::to_wstring(number) + std::wstring(60, L'x') + L".sldprt");
    }
    return EmptyParts(names);
}

// Of a run that only copies.
std::size_t RecordLength(const ModelRow& row)
{
    return (row.texts.strOriginal + L" ; " + row.texts.strRenamed + L" ; \r\n").size();
}

TEST_F(FullDiskTest, NoRoomForRecords)
{
    RecordProperty("kind", "disk full while the map file is written");
    const std::vector<ModelRow> rows = RowsOfLongNames();
    CFaultBench bench(m_folder, rows);
    bench.m_copyOnly = true;
    for (std::size_t blocks = 0; blocks <= 2; ++blocks) {
        SCOPED_TRACE("blocks " + std::to_string(blocks));
        const CLanguageScope language(static_cast<int>(blocks % 2));
        bench.Reset();
        bench.ExpectNoRoomFor(blocks * kBlock, RecordLength(rows[0]));
        Fill(blocks);
        bench.m_afterRun = [this] { Free(); };
        std::string differences = bench.Run({});
        bench.m_afterRun = nullptr;
        bench.ExpectNoFailure();
        differences += bench.Run({});
        Note(1, differences);
    }
}

// A record finds room for its beginning only, which cannot be taken back.
class HalfRecordTest : public FullDiskTest
{
protected:
    // What is mended before the run turns to the row behind the one that is not recorded.
    struct MendedOnTheWay
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

    // A run in which the map file finds room for one block.
    std::string Run(MendedOnTheWay mended)
    {
        m_bench->Reset();
        m_bench->ExpectNoRoomFor(kBlock, RecordLength(m_rows[0]));
        m_failing = static_cast<std::size_t>(std::ranges::find_if(m_bench->Rows(), &ModelRow::recordFails) -
                                             m_bench->Rows().begin());
        if (mended.disk && mended.file) {
            m_bench->ExpectNoFailure();
            m_bench->Rows()[m_failing].recordFails = true;
        } else {
            m_bench->ExpectHalfRecord();
        }
        Fill(1);
        std::optional<CMappedFile> mapped;
        std::optional<CRowWatcher> watcher;
        watcher.emplace(kTurnedTo, [&](std::size_t row) {
            if (row == m_failing) {
                mapped.emplace(m_bench->MapPath());
            } else if (row == m_failing + 1) {
                Mend(mended, mapped);
            }
        });
        m_bench->m_afterRun = [&] {
            watcher.reset();
            Mend({!mended.disk, !mended.file}, mapped);
        };
        return m_bench->Run({});
    }

    std::string RunAgain()
    {
        m_bench->m_afterRun = nullptr;
        m_bench->ExpectNoFailure();
        return m_bench->Run({});
    }

    // The records that were written whole are read; the half one may pass for a record, too.
    void ExpectWholeRecordsRead() const
    {
        CFileMisc reader(1);
        EXPECT_EQ((CFileMisc::MapFileState{true, false}), reader.ReadMapFile(m_bench->MapPath()));
        std::vector<UTtab_entry> records;
        for (POSITION at = reader.m_lstEntries.GetHeadPosition(); at != nullptr;) {
            records.push_back(reader.m_lstEntries.GetNext(at));
        }
        ASSERT_GE(records.size(), m_failing);
        EXPECT_LE(records.size(), m_failing + 1);
        for (std::size_t row = 0; row < m_failing; ++row) {
            EXPECT_EQ(m_rows[row].texts.strOriginal, records[row].strOriginal);
            EXPECT_EQ(m_rows[row].texts.strRenamed, records[row].strRenamed);
        }
    }

    const std::vector<ModelRow> m_rows = RowsOfLongNames();

private:
    void Mend(MendedOnTheWay what, std::optional<CMappedFile>& mapped) const
    {
        if (what.disk) {
            Free();
        }
        if (what.file) {
            mapped.reset();
        }
    }

    std::optional<CFaultBench> m_bench;
    std::size_t m_failing = 0;  // the row
};

TEST_F(HalfRecordTest, NothingIsWrittenBehindIt)
{
    RecordProperty("kind", "disk full, and the half record cannot be taken back");
    for (const bool freedOnTheWay : {false, true}) {
        const CLanguageScope language(freedOnTheWay ? 0 : 1);
        std::string differences = Run({.disk = freedOnTheWay, .file = false});
        ExpectWholeRecordsRead();
        Note(1, differences + RunAgain());
    }
}

TEST_F(HalfRecordTest, IsTakenBackAsSoonAsThatGoes)
{
    RecordProperty("kind", "disk full, and the half record can be taken back only later");
    for (const int language : LanguagesToTry()) {
        const CLanguageScope scope(language);
        const std::string differences = Run({.disk = true, .file = true});
        Note(1, differences + RunAgain());
    }
}

TEST_F(CountingTest, NothingIsWrittenIntoAReadOnlyFolder)
{
    RecordProperty("kind", "target folder read-only");
    const wchar_t* const folder = _wgetenv(L"TALVENOR_READ_ONLY_MAPPED");
    if (folder == nullptr) {
        GTEST_SKIP() << "no folder at hand whose \"Mapped\" nobody may write: making one takes the right to "
                        "mount a file system";
    }
    std::vector<ModelRow> rows = FourRows();
    std::erase_if(rows, [](const ModelRow& row) { return !row.pending; });
    CFaultBench bench(folder, rows);
    for (const int language : LanguagesToTry()) {
        const CLanguageScope scope(language);
        bench.ExpectNoMapFile();
        Note(1, bench.Run({}));
    }
}

// ---- Many files

std::wstring NameOfMany(int number)
{
    return L"N_" + std::to_wstring(number) + L"_M8.sldprt";
}

// A folder with that many part files, and their copies where the caller made them. Wine looks through the
// whole folder for each file that it makes, so the caller may have made it.
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
    Note(1, difference);
}

// Other bytes in the place of a copy.
void MakeStale(const std::wstring& copy)
{
    SetFileAttributesW(copy.c_str(), FILE_ATTRIBUTE_NORMAL);
    WriteBytes(copy, "old");
    SetFileAttributesW(copy.c_str(), FILE_ATTRIBUTE_READONLY);
}

// The copies are there already, as an earlier run left them, but of other parts: those that the folder holds
// are empty, and so are their copies behind the run.
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
    Note(1, bench.Run({}));
}

}  // namespace
