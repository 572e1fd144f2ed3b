#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "core/ConversionTable.h"
#include "files/FileMisc.h"
#include "framework/Handles.h"
#include "framework/Language.h"
#include "resources/resource.h"
#include "tests/acceptance/ExpectedTexts.h"
#include "tests/cadserver/TextFile.h"
#include "tests/faults/FaultTest.h"

// One file operation of a run after the other fails.

namespace {

constexpr std::size_t kPendingRows[] = {0, 1, 3};  // of the four: those whose files are copied

std::wstring SourceFailure(const CFaultBench& bench, std::size_t row)
{
    return expected::kSourceNotOpenedLead.Current() + bench.Part(row) + expected::kNotOpenedMiddle.Current() +
           L"*" + expected::kNotOpenedEnd.Current();
}

// The German message names the target, the English one the source.
std::wstring TargetFailure(const CFaultBench& bench, std::size_t row)
{
    return expected::kTargetNotOpenedLead.Current() + (g_nLanguage != 0 ? bench.Copy(row) : bench.Part(row)) +
           expected::kNotOpenedMiddle.Current() + L"*" + expected::kNotOpenedEnd.Current();
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

    CFaultBench& Bench() override { return m_bench; }

    CTempFolder m_library;
    CFaultBench m_bench{m_library.Path(), FourRows()};
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
    if (!ReadOnlyFilesDenyWriting()) {
        GTEST_SKIP() << "this system lets the user write to read-only files, as Wine does for root";
    }
    ForTheMapFile([this]() -> Mend {
        const std::wstring path = m_bench.MapPath();
        WriteBytes(path, "");
        SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY);
        return [path] { SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL); };
    });
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

// Calls a function when the run turns to a row, which it shows in the first line of the progress dialog.
class CRowWatcher
{
public:
    CRowWatcher(std::size_t row, std::function<void()> onRow)
        : m_rowsToGo(row + 1)
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
        const bool beginsRow = text.starts_with(L"Kopiere: ") || text.starts_with(L"Copy: ");
        if (beginsRow && --m_rowsToGo == 0) {
            m_onRow();
        }
    }

    inline static CRowWatcher* s_current = nullptr;

    std::size_t m_rowsToGo;
    std::function<void()> m_onRow;
    HHOOK m_hook;
};

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
            const CRowWatcher watcher(gone, [&way] { way.Take(); });
            RunAndRepeat({}, [&way] { way.GiveBack(); });
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

TEST_F(FileNameTest, EveryCharacterOfASCII)
{
    RecordProperty("kind", "every ASCII character in a file name");
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

constexpr Text kNotCopiedLead{
    L"Kopieren der Normteil-Dateien fehlgeschlagen!\n\nSchreib-/Lesefehler beim Kopieren von\n\"",
    L"Filecopy failed!\n\nRead/write error while copying of\n\""};
constexpr Text kNotCopiedMiddle{L"\" nach\n\"", L"\" to\n\""};
constexpr const wchar_t* kNotCopiedEnd = L"\".\nError: *";

// What the copying of a file leaves for which there was no room: its beginning. Puts it out of the way.
void TakePartOf(const std::wstring& source, const std::wstring& copy)
{
    const std::string bytes = ReadBytes(copy);
    EXPECT_LT(bytes.size(), std::filesystem::file_size(source));
    EXPECT_TRUE(ReadBytes(source).starts_with(bytes));
    EXPECT_NE(0U, GetFileAttributesW(copy.c_str()) & FILE_ATTRIBUTE_READONLY);
    SetFileAttributesW(copy.c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_NE(FALSE, DeleteFileW(copy.c_str()));
}

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
            room += Blocks(static_cast<std::size_t>(std::filesystem::file_size(bench.Part(full))));
            Fill(room);  // one block short, as the map file takes one
            bench.m_afterRun = [&] {
                Free();
                for (const std::size_t row : kPendingRows) {
                    if (row >= full) {
                        TakePartOf(bench.Part(row), bench.Copy(row));
                    }
                }
            };
            for (const std::size_t row : kPendingRows) {
                if (row >= full) {
                    bench.Rows()[row].copyFailure = kNotCopiedLead.Current() + bench.Part(row) +
                                                    kNotCopiedMiddle.Current() + bench.Copy(row) +
                                                    kNotCopiedEnd;
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

TEST_F(FullDiskTest, NoRoomForRecords)
{
    RecordProperty("kind", "disk full while the map file is written");
    std::vector<std::wstring> names;
    for (int number = 100; number < 150; ++number) {
        names.push_back(std::to_wstring(number) + std::wstring(60, L'x') + L".sldprt");
    }
    const std::size_t recordLength = 2 * names[0].size() + std::wstring(L"neu ").size() + 6 + 2;
    CFaultBench bench(m_folder, EmptyParts(names));
    bench.m_copyOnly = true;
    for (std::size_t blocks = 0; blocks <= 2; ++blocks) {
        SCOPED_TRACE("blocks " + std::to_string(blocks));
        const CLanguageScope language(static_cast<int>(blocks % 2));
        bench.Reset();
        bench.ExpectNoRoomFor(blocks * kBlock, recordLength);
        Fill(blocks);
        bench.m_afterRun = [this] { Free(); };
        std::string differences = bench.Run({});
        bench.m_afterRun = nullptr;
        bench.ExpectNoFailure();
        differences += bench.Run({});
        Note(1, differences);
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

// A folder with that many part files. Wine looks through the whole folder for each file that it makes, so the
// caller may have made it.
std::wstring FolderOfMany(const CTempFolder& own, int count)
{
    if (const wchar_t* const folder = _wgetenv(L"TALVENOR_MANY_FILES"); folder != nullptr) {
        return folder;
    }
    for (int number = 1; number <= count; ++number) {
        WriteBytes(own / (L"N_" + std::to_wstring(number) + L"_M8.sldprt"), "");
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
        expectedNames.push_back(L"N_" + std::to_wstring(number) + L"_M8.sldprt");
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

}  // namespace
