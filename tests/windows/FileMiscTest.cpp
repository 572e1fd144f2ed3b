#include "files/FileMisc.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "files/MapCodePage.h"
#include "files/MapLine.h"
#include "framework/File.h"
#include "framework/Handles.h"
#include "framework/ScopeExit.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/ImportTable.h"
#include "tests/support/NetworkWatch.h"
#include "tests/support/RefusedCalls.h"
#include "tests/support/TestScopes.h"

namespace {

using Texts = std::vector<std::wstring>;

constexpr char kHeader[] =
    "; Datei: C:\\parts\\Mapped\\PartsMap.txt\r\n"
    "; Automatisch generierte Datei, manuelle \xC4nderungen k\xF6nnen verloren gehen.\r\n"
    "; (c) Somebody\r\n"
    "\r\n";

class FileMiscTest : public testing::Test
{
protected:
    // Runs the test in German, then in English.
    template <class Test>
    static void InBothLanguages(Test test)
    {
        for (const int language : {1, 0}) {
            SCOPED_TRACE(language != 0 ? "German" : "English");
            const CLanguageScope scope(language);
            test();
        }
    }

    CTempFolder m_folder;
    CMessageRecorder m_messages;
};

constexpr FILETIME kLongAgo{0, 0x01B00000};  // in 1986

class CopyPartFileTest : public FileMiscTest
{
protected:
    // The copy must fail in each language, with this error about the source or the target.
    void ExpectSourceNotOpened(const expected::Message& error)
    {
        InBothLanguages([&] {
            EXPECT_EQ(CFileMisc::CopyPartFile(m_source, m_target), 1);
            EXPECT_EQ(m_messages.TakeTexts(), Texts{expected::SourceNotOpened(m_source, error(m_source))});
        });
    }
    void ExpectTargetNotOpened(const expected::Message& error)
    {
        InBothLanguages([&] {
            EXPECT_EQ(CFileMisc::CopyPartFile(m_source, m_target), 1);
            EXPECT_EQ(m_messages.TakeTexts(),
                      Texts{expected::TargetNotOpened(m_source, m_target, error(m_target))});
        });
    }

    std::wstring m_source = m_folder / L"source.sldprt";
    std::wstring m_target = m_folder / L"target.sldprt";
};

// Under Wine, every file has the archive attribute. While g_hidesArchive is set, GetFileAttributesExW does
// not report this attribute.
bool g_hidesArchive = false;
decltype(&GetFileAttributesExW) g_getAttributes = nullptr;
BOOL WINAPI HideArchive(LPCWSTR path, GET_FILEEX_INFO_LEVELS level, LPVOID information)
{
    const BOOL found = g_getAttributes(path, level, information);
    if (found != FALSE && g_hidesArchive) {
        static_cast<WIN32_FILE_ATTRIBUTE_DATA*>(information)->dwFileAttributes &=
            ~static_cast<DWORD>(FILE_ATTRIBUTE_ARCHIVE);
    }
    return found;
}

// The file attributes that were set last.
DWORD g_attributesSet = 0;
decltype(&SetFileInformationByHandle) g_setInformation = nullptr;
BOOL WINAPI NoteAttributes(HANDLE file, FILE_INFO_BY_HANDLE_CLASS kind, LPVOID information, DWORD size)
{
    if (kind == FileBasicInfo) {
        g_attributesSet = static_cast<FILE_BASIC_INFO*>(information)->FileAttributes;
    }
    return g_setInformation(file, kind, information, size);
}

class ReadOnlyTest : public FileMiscTest
{
protected:
    ReadOnlyTest() { WriteBytes(m_path, "part"); }

    // Sets the attributes and a last-write time long past.
    void Prepare(DWORD attributes) const
    {
        CFileStatus status;
        status.attributes = attributes;
        status.lastWriteTime = kLongAgo;
        CFile::SetStatus(m_path, status);
    }

    [[nodiscard]] CFileStatus Status() const
    {
        CFileStatus status;
        EXPECT_TRUE(CFile::GetStatus(m_path, status));
        return status;
    }

    // Whether the last write was within a minute of now.
    [[nodiscard]] bool WasJustModified() const
    {
        FILETIME now = {};
        ::GetSystemTimeAsFileTime(&now);
        const auto ticks = [](const FILETIME& time) {
            return static_cast<LONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
        };
        const LONGLONG age = ticks(now) - ticks(Status().lastWriteTime);
        constexpr LONGLONG kTicksPerMinute = 60LL * 10'000'000;
        return -kTicksPerMinute < age && age < kTicksPerMinute;
    }

    const std::wstring m_path = m_folder / L"part.sldprt";
};

class FitPathTest : public testing::Test
{
protected:
    FitPathTest() { ::SelectObject(m_dc, ::GetStockObject(DEFAULT_GUI_FONT)); }
    ~FitPathTest() override { ::DeleteDC(m_dc); }

    // The width of the text in pixels.
    [[nodiscard]] int WidthOf(const std::wstring& text) const
    {
        SIZE size = {};
        EXPECT_TRUE(::GetTextExtentPoint32W(m_dc, text.c_str(), static_cast<int>(text.size()), &size));
        return static_cast<int>(size.cx);
    }

    [[nodiscard]] std::wstring Fit(const std::wstring& prefix, const std::wstring& path, int width) const
    {
        return CFileMisc::FitPathToWidth(m_dc, prefix, path, width);
    }

    HDC m_dc = ::CreateCompatibleDC(nullptr);
};

class MapFileTest : public FileMiscTest
{
protected:
    // Writes the bytes to the map file and reads the file.
    CFileMisc::MapFileState Read(const std::string& bytes)
    {
        WriteBytes(m_path, bytes);
        return m_files.ReadMapFile(m_path);
    }

    [[nodiscard]] std::vector<UTtab_entry> Entries() const
    {
        return {m_files.m_lstEntries.begin(), m_files.m_lstEntries.end()};
    }

    CFileMisc m_files{1};
    const std::wstring m_path = m_folder / L"PartsMap.txt";
};

std::string Pattern(std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>(i * 7 + i / 251);
    }
    return bytes;
}

Texts Sorted(Texts names)
{
    std::sort(names.begin(), names.end());
    return names;
}

constexpr CFileMisc::MapFileState kRead = {true, false};
constexpr CFileMisc::MapFileState kMissing = {false, false};
constexpr CFileMisc::MapFileState kUnreadable = {true, true};

}  // namespace

TEST_F(FileMiscTest, KeepsTheLanguageItIsGivenAndStartsWithoutEntries)
{
    const CFileMisc german(1);
    EXPECT_EQ(german.m_nLanguage, 1);
    EXPECT_EQ(german.m_lstEntries.GetCount(), 0U);
    EXPECT_EQ(CFileMisc(0).m_nLanguage, 0);
}

TEST_F(FileMiscTest, CreateFolderMakesOneLevel)
{
    EXPECT_EQ(CFileMisc::CreateFolder(m_folder / L"Mapped"), 0);
    EXPECT_TRUE(std::filesystem::is_directory(m_folder / L"Mapped"));
    EXPECT_EQ(m_messages.TakeTexts(), Texts{});
}

TEST_F(FileMiscTest, CreateFolderAcceptsAnExistingFolder)
{
    std::filesystem::create_directory(m_folder / L"Mapped");
    WriteBytes(m_folder / L"Mapped\\a.sldprt", "x");
    EXPECT_EQ(CFileMisc::CreateFolder(m_folder / L"Mapped"), 0);
    EXPECT_EQ(ReadBytes(m_folder / L"Mapped\\a.sldprt"), "x");
    EXPECT_EQ(m_messages.TakeTexts(), Texts{});
}

TEST_F(FileMiscTest, CreateFolderReportsAMissingParent)
{
    const std::wstring path = m_folder / L"no\\Mapped";
    InBothLanguages([&] {
        EXPECT_EQ(CFileMisc::CreateFolder(path), 1);
        EXPECT_EQ(m_messages.TakeTexts(), Texts{expected::NoFolder(path)});
    });
    EXPECT_FALSE(FileExists(m_folder / L"no"));
}

TEST_F(FileMiscTest, CreateFolderReportsAFileInItsPlace)
{
    const std::wstring path = m_folder / L"Mapped";
    WriteBytes(path, "x");
    InBothLanguages([&] {
        EXPECT_EQ(CFileMisc::CreateFolder(path), 1);
        EXPECT_EQ(m_messages.TakeTexts(), Texts{expected::NoFolderAsFileThere(path)});
    });
    EXPECT_EQ(ReadBytes(path), "x");
}

TEST_F(CopyPartFileTest, CopiesEveryByteWhateverTheSize)
{
    for (const std::size_t size : {0U, 1U, 4095U, 4096U, 4097U, 8192U, 12289U}) {
        SCOPED_TRACE(size);
        const std::string bytes = Pattern(size);
        WriteBytes(m_source, bytes);
        EXPECT_EQ(CFileMisc::CopyPartFile(m_source, m_target), 0);
        EXPECT_EQ(ReadBytes(m_target), bytes);
        EXPECT_EQ(ReadBytes(m_source), bytes);
        std::filesystem::remove(m_target);
    }
    EXPECT_EQ(m_messages.TakeTexts(), Texts{});
}

TEST_F(CopyPartFileTest, OverwritesALongerTarget)
{
    WriteBytes(m_source, "new");
    WriteBytes(m_target, "old and longer");
    EXPECT_EQ(CFileMisc::CopyPartFile(m_source, m_target), 0);
    EXPECT_EQ(ReadBytes(m_target), "new");
}

TEST_F(CopyPartFileTest, TimesAndAttributesAreNotCopied)
{
    WriteBytes(m_source, "x");
    CFileStatus status;
    status.attributes = FILE_ATTRIBUTE_READONLY;
    status.lastWriteTime = kLongAgo;
    CFile::SetStatus(m_source, status);
    ASSERT_EQ(CFileMisc::CopyPartFile(m_source, m_target), 0);
    CFileStatus copied;
    ASSERT_TRUE(CFile::GetStatus(m_target, copied));
    EXPECT_EQ(copied.attributes & FILE_ATTRIBUTE_READONLY, 0U);
    EXPECT_GT(copied.lastWriteTime.dwHighDateTime, 0x01D00000U) << "the copy is as old as its source";
}

TEST_F(CopyPartFileTest, CopiesASourceThatIsOpenElsewhereForDeletion)
{
    WriteBytes(m_source, "part");
    const UniqueHandle other =
        OpenAsOther(m_source, DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
    ASSERT_TRUE(other);
    EXPECT_EQ(CFileMisc::CopyPartFile(m_source, m_target), 0);
    EXPECT_EQ(ReadBytes(m_target), "part");
}

TEST_F(CopyPartFileTest, SourceMayBeOpenElsewhere)
{
    WriteBytes(m_source, "shared");
    const UniqueHandle other =
        OpenAsOther(m_source, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE);
    ASSERT_TRUE(other);
    EXPECT_EQ(CFileMisc::CopyPartFile(m_source, m_target), 0);
    EXPECT_EQ(ReadBytes(m_target), "shared");
}

TEST_F(CopyPartFileTest, AMissingSourceIsReportedAndMakesNoTarget)
{
    m_source = m_folder / L"100%2.sldprt";  // its %2 is no placeholder
    ExpectSourceNotOpened(expected::FileMissing);
    EXPECT_FALSE(FileExists(m_target));
}

TEST_F(CopyPartFileTest, ALockedSourceIsReportedAndLeavesTheTargetAlone)
{
    WriteBytes(m_source, "source");
    WriteBytes(m_target, "target");
    const UniqueHandle other = OpenAsOther(m_source, GENERIC_READ, 0);
    ASSERT_TRUE(other);
    ExpectSourceNotOpened(expected::OpenElsewhere);
    EXPECT_EQ(ReadBytes(m_target), "target");
}

// The target is opened exclusively: the copy fails even if the other handle shares everything.
TEST_F(CopyPartFileTest, ATargetOpenElsewhereIsReported)
{
    WriteBytes(m_source, "source");
    WriteBytes(m_target, "target");
    for (const DWORD share : std::initializer_list<DWORD>{
             FILE_SHARE_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE}) {
        const UniqueHandle other = OpenAsOther(m_target, GENERIC_READ, share);
        ASSERT_TRUE(other);
        ExpectTargetNotOpened(expected::OpenElsewhere);
    }
    EXPECT_EQ(ReadBytes(m_source), "source");
    EXPECT_EQ(ReadBytes(m_target), "target");
    EXPECT_TRUE(OpenAsOther(m_source, GENERIC_READ, 0)) << "the source is still open";
}

TEST_F(CopyPartFileTest, ADeviceIsRejectedAsTheTarget)
{
    WriteBytes(m_source, "source");
    m_target = m_folder / L"NUL.sldprt";
    if (::GetFileType(OpenAsOther(m_target, GENERIC_READ, 0).get()) != FILE_TYPE_CHAR) {
        GTEST_SKIP() << "skipped: no longer a device on this system, as from Windows 11 on";
    }
    ExpectTargetNotOpened(expected::BadPath);
}

TEST_F(CopyPartFileTest, AReadOnlyTargetIsReported)
{
    if (!ReadOnlyFilesDenyWriting()) {
        GTEST_SKIP() << "skipped: this system lets the user write to read-only files, as Wine does for root";
    }
    WriteBytes(m_source, "source");
    WriteBytes(m_target, "target");
    MakeReadOnly(m_target);
    ExpectTargetNotOpened(expected::AccessDenied);
    EXPECT_EQ(ReadBytes(m_target), "target");
}

TEST_F(CopyPartFileTest, AFolderAsTargetIsReported)
{
    WriteBytes(m_source, "source");
    std::filesystem::create_directory(m_target);
    ExpectTargetNotOpened(expected::AccessDenied);
    EXPECT_TRUE(std::filesystem::is_directory(m_target));
}

TEST_F(CopyPartFileTest, ATargetInAMissingFolderIsReported)
{
    WriteBytes(m_source, "source");
    m_target = m_folder / L"no\\target.sldprt";
    ExpectTargetNotOpened(expected::BadPath);
}

TEST_F(CopyPartFileTest, CopyOntoItselfFailsAndKeepsTheFile)
{
    WriteBytes(m_source, "source");
    m_target = m_source;
    EXPECT_EQ(CFileMisc::CopyPartFile(m_source, m_target), 1);
    EXPECT_EQ(m_messages.TakeTexts().size(), 1U);
    EXPECT_EQ(ReadBytes(m_source), "source");
}

TEST_F(CopyPartFileTest, AReadErrorIsReportedAndKeepsTheBytesAlreadyCopied)
{
    // The other end of the pipe closes after 5000 bytes: two reads succeed, the third fails.
    const std::string bytes = Pattern(5000);
    for (const int language : {1, 0}) {
        m_source = L"\\\\.\\pipe\\talvenor" + std::to_wstring(::GetCurrentProcessId()) + L"-" +
                   std::to_wstring(language);
        UniqueHandle pipe(ValidHandle(::CreateNamedPipeW(
            m_source.c_str(), PIPE_ACCESS_OUTBOUND, PIPE_TYPE_BYTE | PIPE_WAIT, 1, 8192, 8192, 0, nullptr)));
        ASSERT_TRUE(pipe);
        std::thread server([&] {
            ::ConnectNamedPipe(pipe.get(), nullptr);
            DWORD written = 0;
            ::WriteFile(pipe.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
            pipe.reset();
        });
        const CLanguageScope scope(language);
        EXPECT_EQ(CFileMisc::CopyPartFile(m_source, m_target), 1);
        // Unblocks the server thread if the copy never connected.
        OpenAsOther(m_source, GENERIC_READ, 0).reset();
        server.join();
        EXPECT_EQ(
            m_messages.TakeTexts(),
            Texts{expected::NotCopied(m_source, m_target, expected::UnknownFileError(m_source, L"109"))});
        EXPECT_EQ(ReadBytes(m_target), bytes);
    }
}

TEST_F(CopyPartFileTest, WriteErrorIsReported)
{
    m_target = L"Z:\\dev\\full";
    if (!OpenAsOther(m_target, GENERIC_WRITE, 0)) {
        GTEST_SKIP() << "skipped: only Wine's host has a device that is always full";
    }
    const std::string bytes = Pattern(5000);
    WriteBytes(m_source, bytes);
    InBothLanguages([&] {
        EXPECT_EQ(CFileMisc::CopyPartFile(m_source, m_target), 1);
        EXPECT_EQ(m_messages.TakeTexts(),
                  Texts{expected::NotCopied(m_source, m_target, expected::NoSpace(m_target))});
    });
    EXPECT_EQ(ReadBytes(m_source), bytes);
}

TEST_F(FileMiscTest, ScanAppendsBothKindsOfPartFiles)
{
    for (const wchar_t* name :
         {L"b.sldprt", L"a.SLDPRT", L"c.prt", L"D.PRT", L"e.sldprt.bak", L"f.txt", L"g.sldasm", L"sldprt"}) {
        WriteBytes(m_folder / name, "");
    }
    std::filesystem::create_directory(m_folder / L"folder.sldprt");
    std::filesystem::create_directory(m_folder / L"sub");
    WriteBytes(m_folder / L"sub\\h.sldprt", "");
    Texts names = {L"before"};
    CFileMisc::ScanPartFiles(m_folder.Path(), names);
    ASSERT_EQ(names.size(), 6U);
    EXPECT_EQ(names.front(), L"before");
    EXPECT_EQ(Sorted({names.begin() + 1, names.begin() + 4}),
              (Texts{L"a.SLDPRT", L"b.sldprt", L"folder.sldprt"}));
    EXPECT_EQ(Sorted({names.begin() + 4, names.end()}), (Texts{L"D.PRT", L"c.prt"}));
}

// On a volume with short names, the system compares a pattern with the short names, too.
TEST_F(FileMiscTest, ScanAppendsAPartFileFoundByItsShortName)
{
    const std::wstring path = m_folder / L"longer name.prtx";
    WriteBytes(path, "");
    std::array<wchar_t, MAX_PATH> shortPath{};
    GetShortPathNameW(path.c_str(), shortPath.data(), MAX_PATH);
    if (!std::wstring_view(shortPath.data()).ends_with(L".PRT")) {
        GTEST_SKIP() << "skipped: this volume has no short names";
    }
    Texts names;
    CFileMisc::ScanPartFiles(m_folder.Path(), names);
    EXPECT_EQ(names, Texts{L"longer name.prtx"});
}

TEST_F(FileMiscTest, ScanOfAnEmptyOrMissingFolderAddsNothing)
{
    Texts names;
    CFileMisc::ScanPartFiles(m_folder.Path(), names);
    CFileMisc::ScanPartFiles(m_folder / L"no", names);
    EXPECT_EQ(names, Texts{});
    EXPECT_EQ(m_messages.TakeTexts(), Texts{});
}

// Without a message, a folder whose files cannot be listed would look like an empty one.
TEST_F(FileMiscTest, ScanReportsAFailureOnce)
{
    WriteBytes(m_folder / L"a.sldprt", "");
    WriteBytes(m_folder / L"b.prt", "");
    const Texts message{expected::UnknownFileError(m_folder.Path(), L"8")};  // not enough memory
    for (const int refused : {1, 2}) {
        Texts names;
        {
            const CRefusedCall refusal(CallKind::handles, refused);
            CFileMisc::ScanPartFiles(m_folder.Path(), names);
        }
        EXPECT_EQ(names, refused == 1 ? Texts{} : Texts{L"a.sldprt"});
        EXPECT_EQ(m_messages.TakeTexts(), message);
    }
}

TEST_F(ReadOnlyTest, SetReadOnlyAlsoSetsTheArchiveAttributeAndTheTime)
{
    Prepare(0);
    ASSERT_FALSE(WasJustModified());
    EXPECT_EQ(CFileMisc::SetReadOnly(m_path), L"");
    EXPECT_TRUE(IsReadOnly(m_path));
    // Always true under Wine, where every file has the archive attribute.
    EXPECT_NE(Status().attributes & FILE_ATTRIBUTE_ARCHIVE, 0U);
    EXPECT_TRUE(WasJustModified());
    EXPECT_EQ(ReadBytes(m_path), "part");
}

TEST_F(ReadOnlyTest, ClearReadOnlyAlsoSetsTheArchiveAttributeAndTheTime)
{
    Prepare(FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(CFileMisc::ClearReadOnly(m_path), L"");
    EXPECT_FALSE(IsReadOnly(m_path));
    EXPECT_NE(Status().attributes & FILE_ATTRIBUTE_ARCHIVE, 0U);
    EXPECT_TRUE(WasJustModified());
}

TEST_F(ReadOnlyTest, BothSetTheArchiveAttributeThatTheFileLacks)
{
    RedirectImport("GetFileAttributesExW", &HideArchive, &g_getAttributes);
    RedirectImport("SetFileInformationByHandle", &NoteAttributes, &g_setInformation);
    Prepare(0);
    g_hidesArchive = true;
    const CScopeExit shown([] { g_hidesArchive = false; });
    EXPECT_EQ(CFileMisc::SetReadOnly(m_path), L"");
    EXPECT_EQ(g_attributesSet, static_cast<DWORD>(FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_ARCHIVE));
    EXPECT_EQ(CFileMisc::ClearReadOnly(m_path), L"");
    EXPECT_EQ(g_attributesSet, static_cast<DWORD>(FILE_ATTRIBUTE_ARCHIVE));
}

TEST_F(ReadOnlyTest, NothingIsWrittenIfNothingChanges)
{
    Prepare(FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(CFileMisc::SetReadOnly(m_path), L"");
    EXPECT_TRUE(IsReadOnly(m_path));
    EXPECT_FALSE(WasJustModified());
    Prepare(0);
    EXPECT_EQ(CFileMisc::ClearReadOnly(m_path), L"");
    EXPECT_FALSE(IsReadOnly(m_path));
    EXPECT_FALSE(WasJustModified());
}

TEST_F(ReadOnlyTest, OtherAttributesAreKept)
{
    Prepare(FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
    constexpr DWORD kOthers = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
    if ((Status().attributes & kOthers) != kOthers) {
        GTEST_SKIP()
            << "skipped: the file system of the temporary folder does not store hidden and system attributes";
    }
    EXPECT_EQ(CFileMisc::SetReadOnly(m_path), L"");
    EXPECT_EQ(Status().attributes & kOthers, kOthers);
    EXPECT_EQ(CFileMisc::ClearReadOnly(m_path), L"");
    EXPECT_EQ(Status().attributes & kOthers, kOthers);
}

TEST_F(ReadOnlyTest, AMissingFileIsReportedInEnglishInBothLanguages)
{
    const std::wstring path = m_folder / L"missing.sldprt";
    for (const int language : {1, 0}) {
        const CLanguageScope scope(language);
        EXPECT_EQ(CFileMisc::SetReadOnly(path), path + L": File does not exist.");
        EXPECT_EQ(CFileMisc::ClearReadOnly(path), path + L": File does not exist.");
    }
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(m_messages.TakeTexts(), Texts{});
}

TEST_F(ReadOnlyTest, AFileThatCannotBeChangedIsReported)
{
    // Wine's host has a file whose attributes not even root may change.
    const std::wstring path = L"Z:\\proc\\self\\status";
    CFileStatus status;
    if (!CFile::GetStatus(path, status)) {
        GTEST_SKIP() << "skipped: this system has no known file whose attributes nobody may change";
    }
    const CLanguageScope english(0);
    EXPECT_EQ(CFileMisc::ClearReadOnly(path), L"Access to \"" + path + L"\" was denied");
}

TEST_F(FitPathTest, WholeTextIsKeptWhenItFits)
{
    const std::wstring prefix = L"Copy: ";
    const std::wstring path = L"C:\\parts\\a.sldprt";
    EXPECT_EQ(Fit(prefix, path, WidthOf(prefix + path)), prefix + path);
    EXPECT_NE(Fit(prefix, path, WidthOf(prefix + path) - 1), prefix + path);
}

TEST_F(FitPathTest, EmptyTextStaysEmpty)
{
    EXPECT_EQ(Fit(L"", L"", 100), L"");
    EXPECT_EQ(Fit(L"", L"", -1), L"");
}

TEST_F(FitPathTest, CutsAtTheFirstBackslashFromWhichTheRestFits)
{
    const std::wstring path = L"C:\\parts\\Mapped\\N_ISO_4017.sldprt";
    const std::wstring fromFirst = L"to: ...\\parts\\Mapped\\N_ISO_4017.sldprt";
    const std::wstring fromSecond = L"to: ...\\Mapped\\N_ISO_4017.sldprt";
    const std::wstring fromThird = L"to: ...\\N_ISO_4017.sldprt";
    EXPECT_EQ(Fit(L"to: ", path, WidthOf(fromSecond)), fromSecond);
    EXPECT_EQ(Fit(L"to: ", path, WidthOf(fromSecond) - 1), fromThird);
    EXPECT_EQ(Fit(L"to: ", path, WidthOf(fromThird)), fromThird);
    EXPECT_EQ(Fit(L"to: ", L"C:\\ein\\sehr\\langer\\Anfang" + path.substr(2), WidthOf(fromFirst)), fromFirst);
}

TEST_F(FitPathTest, TailOfALongFileName)
{
    const std::wstring path = L"C:\\deep\\deeper\\" + std::wstring(60, L'm') + L"abcd.sldprt";
    const std::wstring tail = L"to: ...bcd.sldprt";
    EXPECT_EQ(Fit(L"to: ", path, WidthOf(tail)), tail);
    EXPECT_EQ(Fit(L"to: ", path, WidthOf(tail) - 1), L"to: ...cd.sldprt");
    EXPECT_EQ(Fit(L"to: ", path, WidthOf(L"to: ...t")), L"to: ...t");
}

TEST_F(FitPathTest, TheTailBeginsWithAWholeCharacter)
{
    std::wstring path = L"C:\\";
    for (int i = 0; i < 20; ++i) {
        path += L"\U0001F529";
    }
    int tails = 0;
    for (int width = WidthOf(L"to: ..."); width < WidthOf(L"to: " + path); ++width) {
        const std::wstring tail = Fit(L"to: ", path, width).substr(7);
        EXPECT_TRUE(path.ends_with(tail));
        EXPECT_FALSE(!tail.empty() && IS_LOW_SURROGATE(tail.front())) << width;
        tails += tail.empty() ? 0 : 1;
    }
    EXPECT_GT(tails, 0);
    const std::wstring half = L"...\xDD29x";
    EXPECT_EQ(Fit(L"", L"mmmmmm\xDD29x", WidthOf(half)), half) << "half a pair is a character of its own";
}

TEST_F(FitPathTest, PathWithoutABackslash)
{
    EXPECT_EQ(Fit(L"", L"mmmmmmmmmmxyz", WidthOf(L"...xyz")), L"...xyz");
}

TEST_F(FitPathTest, DotsWhenNotOneCharacterFits)
{
    EXPECT_EQ(Fit(L"to: ", L"C:\\a.sldprt", 0), L"to: ...");
    EXPECT_EQ(Fit(L"to: ", L"C:\\a.sldprt", WidthOf(L"to: ...t") - 1), L"to: ...");
    EXPECT_EQ(Fit(L"to: ", L"", 0), L"to: ...");
    EXPECT_EQ(CFileMisc::FitPathToWidth(nullptr, L"to: ", L"C:\\a.sldprt", 1000), L"to: ...");
}

TEST_F(MapFileTest, MissingFileEmptiesTheListWithoutAMessage)
{
    UTtab_entry entry = {L"a", L"b", L"c"};
    m_files.m_lstEntries.AddTail(entry);
    EXPECT_EQ(m_files.ReadMapFile(m_path), kMissing);
    EXPECT_EQ(m_files.m_lstEntries.GetCount(), 0U);
    EXPECT_EQ(m_messages.TakeTexts(), Texts{});
}

TEST_F(MapFileTest, HeaderAloneHoldsNoEntries)
{
    EXPECT_EQ(Read(kHeader), kRead);
    EXPECT_EQ(Entries(), std::vector<UTtab_entry>{});
    EXPECT_EQ(m_messages.TakeTexts(), Texts{});
}

TEST_F(MapFileTest, ReadsRecordsInFileOrderAndReplacesThoseReadBefore)
{
    EXPECT_EQ(Read(std::string(kHeader) + "z.sldprt ; y.sldprt ; Norm 1\r\na.sldprt ; b.sldprt ; \r\n"),
              kRead);
    EXPECT_EQ(Entries(), (std::vector<UTtab_entry>{{L"z.sldprt", L"y.sldprt", L"Norm 1"},
                                                   {L"a.sldprt", L"b.sldprt", L""}}));
    EXPECT_EQ(Read("c;d;e"), kRead);
    EXPECT_EQ(Entries(), (std::vector<UTtab_entry>{{L"c", L"d", L"e"}}));
    EXPECT_EQ(m_messages.TakeTexts(), Texts{});
}

TEST_F(MapFileTest, ReadsBareLineFeedsAndAnUnterminatedLastLine)
{
    EXPECT_EQ(Read("; comment\n\n \ta ; b ; c ; d\t\n;b;c\nlast;;\n"), kRead);
    EXPECT_EQ(Entries(), (std::vector<UTtab_entry>{{L"a", L"b", L"c ; d"}}));
    EXPECT_EQ(m_messages.TakeTexts().size(), 1U);
    EXPECT_EQ(Read("a;b;\ne; ;f"), kRead);
    EXPECT_EQ(Entries(), (std::vector<UTtab_entry>{{L"a", L"b", L""}, {L"e", L"", L"f"}}));
    EXPECT_EQ(m_messages.TakeTexts(), Texts{});
}

TEST_F(MapFileTest, LineOf255BytesIsReadAndOneOf256EndsTheReadingSilently)
{
    const std::string longest = "a;b;" + std::string(251, 'x');
    EXPECT_EQ(Read(longest + "\r\n" + "c;d;e\r\n" + longest + "x\r\nf;g;h\r\n"), kRead);
    EXPECT_EQ(Entries(),
              (std::vector<UTtab_entry>{{L"a", L"b", std::wstring(251, L'x')}, {L"c", L"d", L"e"}}));
    EXPECT_EQ(m_messages.TakeTexts(), Texts{});
}

TEST_F(MapFileTest, BadLineIsReportedInTheObjectsOwnLanguage)
{
    const std::string bytes = std::string(kHeader) + "a;b\r\nc;d;e\r\n";
    InBothLanguages([&] {
        for (const int own : {1, 0}) {
            m_files.m_nLanguage = own;
            EXPECT_EQ(Read(bytes), kRead);
            EXPECT_EQ(m_messages.TakeTexts(), Texts{expected::SyntaxError.In(LanguageOf(own), L"5", m_path)});
        }
        EXPECT_TRUE(m_files.m_lstEntries.GetCount() == 0);
    });
}

TEST_F(MapFileTest, EntriesBeforeABadLineStay)
{
    EXPECT_EQ(Read("a;b;c\r\nd;;e\r\nf;g;h\r\n"), kRead);
    EXPECT_EQ(Entries(), (std::vector<UTtab_entry>{{L"a", L"b", L"c"}}));
    EXPECT_EQ(m_messages.TakeTexts(), Texts{expected::SyntaxError.In(Language::german, L"2", m_path)});
}

TEST_F(MapFileTest, PercentInThePathTakesNoArgument)
{
    const std::wstring folder = m_folder / L"100%d %s %n";
    std::filesystem::create_directory(folder);
    WriteBytes(folder + L"\\PartsMap.txt", "bad\r\n");
    EXPECT_EQ(m_files.ReadMapFile(folder + L"\\PartsMap.txt"), kRead);
    EXPECT_EQ(m_messages.TakeTexts(),
              Texts{expected::SyntaxError.In(Language::german, L"1", folder + L"\\PartsMap.txt")});
}

TEST_F(MapFileTest, LockedFileIsReportedInTheObjectsOwnLanguage)
{
    WriteBytes(m_path, "a;b;c\r\n");
    const UniqueHandle other = OpenAsOther(m_path, GENERIC_READ, 0);
    ASSERT_TRUE(other);
    InBothLanguages([&] {
        for (const int own : {1, 0}) {
            m_files.m_nLanguage = own;
            EXPECT_EQ(m_files.ReadMapFile(m_path), kUnreadable);
            EXPECT_EQ(m_messages.TakeTexts(), Texts{expected::MapNotRead.In(LanguageOf(own), m_path)});
        }
    });
    EXPECT_TRUE(m_files.m_lstEntries.GetCount() == 0);
}

TEST_F(MapFileTest, AFolderInPlaceOfTheMapFileIsReported)
{
    std::filesystem::create_directory(m_path);
    EXPECT_EQ(m_files.ReadMapFile(m_path), kUnreadable);
    EXPECT_EQ(m_messages.TakeTexts(), Texts{expected::MapNotRead.In(Language::german, m_path)});
}

TEST_F(MapFileTest, ReadsAFileThatIsOpenForWritingElsewhere)
{
    WriteBytes(m_path, "a;b;c\r\n");
    const UniqueHandle other =
        OpenAsOther(m_path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE);
    ASSERT_TRUE(other);
    EXPECT_EQ(m_files.ReadMapFile(m_path), kRead);
    EXPECT_EQ(Entries().size(), 1U);
}

TEST_F(MapFileTest, PathMayHoldCharactersUpToFF)
{
    const std::wstring folder = m_folder / L"Größe ÿ";
    std::filesystem::create_directory(folder);
    WriteBytes(folder + L"\\PartsMap.txt", "a;b;c\r\n");
    EXPECT_EQ(m_files.ReadMapFile(folder + L"\\PartsMap.txt"), kRead);
    EXPECT_EQ(Entries().size(), 1U);
}

TEST_F(MapFileTest, PathMayHoldCharactersThatTheCodePageHasInOneByte)
{
    if (MapCodePage() != 1252) {
        GTEST_SKIP() << "skipped: the map file's code page is not 1252";
    }
    const std::wstring folder = m_folder / L"Normteile – 5 €, Š";
    std::filesystem::create_directory(folder);
    WriteBytes(folder + L"\\PartsMap.txt", "a;b;c\r\n");
    EXPECT_EQ(m_files.ReadMapFile(folder + L"\\PartsMap.txt"), kRead);
    EXPECT_EQ(Entries().size(), 1U);
    EXPECT_EQ(m_messages.TakeTexts(), Texts{});
}

TEST_F(MapFileTest, PathWithACharacterThatHasNoByteCannotBeRead)
{
    const std::wstring folder = m_folder / L"日本";  // two bytes each in code page 932, none in 1252
    std::filesystem::create_directory(folder);
    WriteBytes(folder + L"\\PartsMap.txt", "a;b;c\r\n");
    EXPECT_EQ(m_files.ReadMapFile(folder + L"\\PartsMap.txt"), kUnreadable);
    EXPECT_EQ(m_messages.TakeTexts(),
              Texts{expected::MapNotRead.In(Language::german, folder + L"\\PartsMap.txt")});
}

TEST_F(MapFileTest, BytesAreReadThroughTheCodePageOfTheMapFile)
{
    if (MapCodePage() != 1252) {
        GTEST_SKIP() << "skipped: the map file's code page is not 1252";
    }
    EXPECT_EQ(Read("\xE4;\x80;\x96\xDF\r\n"), kRead);
    EXPECT_EQ(Entries(), (std::vector<UTtab_entry>{{L"ä", L"€", L"–ß"}}));
}

TEST_F(MapFileTest, RecordsRoundTrip)
{
    if (MapCodePage() != 1252) {
        GTEST_SKIP() << "skipped: the map file's code page is not 1252";
    }
    const std::vector<UTtab_entry> entries = {
        {L"N_ISO_4017_M8.sldprt", L"Größe–8 €.sldprt", L"Norm 4017 ; %2"}, {L"b.sldprt", L"c.sldprt", L""}};
    std::ofstream stream;
    const Path8 path8 = CFileMisc::PathToBytes(m_path, 1252);
    ASSERT_EQ(CFileMisc::OpenOutputFile(stream, path8, true), 0);
    stream << FormatMapHeader(path8.bytes);
    for (const UTtab_entry& entry : entries) {
        stream << FormatMapRecord(entry, MapEncoderOf(1252)) << '\n';
    }
    stream.close();
    EXPECT_EQ(m_files.ReadMapFile(m_path), kRead);
    EXPECT_EQ(Entries(), entries);
    EXPECT_EQ(m_messages.TakeTexts(), Texts{});
}

// Without a standard-parts folder, the "Mapped" folder and the map file have these paths. The first path
// names a computer, the second a share.
TEST_F(FileMiscTest, NoNetworkComputerIsAskedForAFolderOrAMapFile)
{
    const CNetworkWatch network;
    InBothLanguages([&] {
        EXPECT_EQ(CFileMisc::CreateFolder(L"\\\\Mapped"), 1);
        EXPECT_EQ(m_messages.TakeTexts(), Texts{expected::NoFolder(L"\\\\Mapped")});
    });
    CFileMisc files(1);
    EXPECT_EQ(files.ReadMapFile(L"\\\\Mapped\\PartsMap.txt"), kMissing);
    std::ifstream input;
    const Path8 path8 = CFileMisc::PathToBytes(L"\\\\Mapped\\PartsMap.txt", 1252);
    EXPECT_EQ(CFileMisc::OpenInputFile(input, path8, true), 1);
    EXPECT_TRUE(input.fail());
    std::ofstream output;
    EXPECT_EQ(CFileMisc::OpenOutputFile(output, path8, true), 1);
    EXPECT_TRUE(output.fail());
    EXPECT_EQ(m_messages.TakeTexts(), Texts{});
    EXPECT_EQ(network.m_paths, Texts{});
    EXPECT_EQ(CFileMisc::CreateFolder(L"\\\\server\\Mapped"), 1);
    EXPECT_EQ(m_messages.TakeTexts().size(), 1U);
    EXPECT_EQ(network.m_paths.size(), 2U) << "the watch missed a network access";
}

TEST_F(FileMiscTest, OnlyTextModeTranslatesLineEnds)
{
    const std::wstring path = m_folder / L"ä ÿ.txt";
    const Path8 path8 = CFileMisc::PathToBytes(path, 1252);
    for (const bool text : {true, false}) {
        std::ofstream output;
        ASSERT_EQ(CFileMisc::OpenOutputFile(output, path8, text), 0);
        output << "a\nb\n";
        output.close();
        EXPECT_EQ(ReadBytes(path), text ? "a\r\nb\r\n" : "a\nb\n")
            << "wrong line ends, or the file was not truncated";
    }
    WriteBytes(path, "a\r\nb");
    for (const bool text : {true, false}) {
        std::ifstream input;
        ASSERT_EQ(CFileMisc::OpenInputFile(input, path8, text), 0);
        EXPECT_TRUE(input.good());
        std::string line;
        std::getline(input, line);
        EXPECT_EQ(line, text ? "a" : "a\r");
    }
}

TEST_F(FileMiscTest, OpenStreamsLetOthersReadAndWrite)
{
    const std::wstring path = m_folder / L"shared.txt";
    const Path8 path8 = CFileMisc::PathToBytes(path, 1252);
    std::ofstream output;
    ASSERT_EQ(CFileMisc::OpenOutputFile(output, path8, true), 0);
    std::ifstream input;
    EXPECT_EQ(CFileMisc::OpenInputFile(input, path8, true), 0);
    EXPECT_TRUE(OpenAsOther(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE));
    output.close();
    EXPECT_TRUE(OpenAsOther(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE));
}

TEST_F(FileMiscTest, StreamsThatCannotBeOpenedAreLeftFailed)
{
    std::ifstream input;
    EXPECT_EQ(CFileMisc::OpenInputFile(input, CFileMisc::PathToBytes(m_folder / L"missing.txt", 1252), true),
              1);
    EXPECT_TRUE(input.fail());
    EXPECT_FALSE(std::filesystem::exists(m_folder / L"missing.txt"));
    std::ofstream output;
    EXPECT_EQ(
        CFileMisc::OpenOutputFile(output, CFileMisc::PathToBytes(m_folder / L"no\\file.txt", 1252), true), 1);
    EXPECT_TRUE(output.fail());
    EXPECT_EQ(CFileMisc::OpenOutputFile(output, CFileMisc::PathToBytes(m_folder.Path(), 1252), false), 1);
    EXPECT_TRUE(output.fail());
    EXPECT_TRUE(std::filesystem::is_empty(m_folder.Path())) << "some other file was made";
    EXPECT_EQ(m_messages.TakeTexts(), Texts{});
}

TEST_F(FileMiscTest, PathToBytesTakesEachCharacterByItsCodeOrItsByteInTheCodePage)
{
    const std::wstring latin = L"C:\\ä\u0080\u00FF";
    for (const UINT codePage : {1252U, 1250U, 1251U, 932U, 65001U}) {
        const Path8 path8 = CFileMisc::PathToBytes(latin, codePage);
        EXPECT_EQ(path8.bytes, "C:\\\xE4\x80\xFF") << codePage;
        EXPECT_EQ(path8.path, latin) << codePage;
        EXPECT_TRUE(path8.representable) << codePage;
    }
    EXPECT_EQ(CFileMisc::PathToBytes(L"– ł ｱ", 1252).bytes, "\x96 ? ?");
    EXPECT_EQ(CFileMisc::PathToBytes(L"– ł ｱ", 1250).bytes, "\x96 \xB3 ?");
    EXPECT_EQ(CFileMisc::PathToBytes(L"– ł ｱ", 1251).bytes, "\x96 ? ?");
    EXPECT_EQ(CFileMisc::PathToBytes(L"– ł ｱ", 932).bytes, "? ? \xB1");
    EXPECT_EQ(CFileMisc::PathToBytes(L"– ł ｱ", 65001).bytes, "? ? ?");
}

TEST_F(FileMiscTest, PathIsRepresentableWhenTheCodePageHasOneByteForEachCharacterAboveFF)
{
    struct Case
    {
        const wchar_t* path;
        std::vector<UINT> codePages;  // in which the path is representable
    };
    const Case cases[] = {{L"\\\\?\\D:\\Größe", {1252, 1250, 1251, 932, 65001}},
                          {L"D:\\Normteile – 2024", {1252, 1250, 1251}},
                          {L"D:\\Œuvre", {1252}},
                          {L"D:\\Łódź", {1250}},
                          {L"D:\\Болты", {1251}},
                          {L"D:\\ﾎﾞﾙﾄ", {932}},
                          {L"D:\\日本", {}},
                          {L"D:\\\xD83D\xDE00", {}}};
    for (const auto& [path, codePages] : cases) {
        for (const UINT codePage : {1252U, 1250U, 1251U, 932U, 65001U}) {
            EXPECT_EQ(CFileMisc::PathToBytes(path, codePage).representable,
                      std::ranges::find(codePages, codePage) != codePages.end())
                << testing::PrintToString(path) << " " << codePage;
        }
    }
}

TEST_F(FileMiscTest, StreamsOpenTheGivenPath)
{
    // õ and ő both become the byte 0xF5: õ by its code, ő by code page 1250.
    const std::wstring byItsCode = m_folder / L"õ.txt";
    const std::wstring byTheCodePage = m_folder / L"ő.txt";
    const Path8 first = CFileMisc::PathToBytes(byItsCode, 1250);
    const Path8 second = CFileMisc::PathToBytes(byTheCodePage, 1250);
    EXPECT_EQ(first.bytes, second.bytes);
    for (const auto& [path8, text] : {std::pair(first, "code"), std::pair(second, "page")}) {
        std::ofstream output;
        ASSERT_EQ(CFileMisc::OpenOutputFile(output, path8, true), 0);
        output << text;
    }
    EXPECT_EQ(ReadBytes(byItsCode), "code");
    EXPECT_EQ(ReadBytes(byTheCodePage), "page");
    std::ifstream input;
    ASSERT_EQ(CFileMisc::OpenInputFile(input, second, true), 0);
    std::string line;
    std::getline(input, line);
    EXPECT_EQ(line, "page");
}

TEST_F(FileMiscTest, StreamsDoNotOpenAPathThatIsNotRepresentable)
{
    const std::wstring path = m_folder / L"Łódź.txt";
    std::ofstream output;
    EXPECT_EQ(CFileMisc::OpenOutputFile(output, CFileMisc::PathToBytes(path, 1252), true), 1);
    EXPECT_TRUE(output.fail());
    EXPECT_TRUE(std::filesystem::is_empty(m_folder.Path())) << "a file was made";
    WriteBytes(path, "there");
    std::ifstream input;
    EXPECT_EQ(CFileMisc::OpenInputFile(input, CFileMisc::PathToBytes(path, 1252), true), 1);
    EXPECT_TRUE(input.fail());
    EXPECT_EQ(CFileMisc::OpenInputFile(input, CFileMisc::PathToBytes(path, 1250), true), 0);
}

TEST_F(FileMiscTest, AppliesTheNameRules)
{
    std::wstring name = L" M8 ";
    EXPECT_TRUE(CFileMisc::EnsureExtension(name, L"sldprt"));
    EXPECT_EQ(name, L"M8.sldprt");
    EXPECT_FALSE(CFileMisc::EnsureExtension(name, L""));
    name = L"M8.ÄÖÜÉßя";
    EXPECT_TRUE(CFileMisc::EnsureExtension(name, L"äöüéßЯ")) << "case was not ignored";
    EXPECT_EQ(name, L"M8.ÄÖÜÉßя");
    name = L"a|b<c>..sldprt";
    EXPECT_EQ(CFileMisc::SanitizeFileName(name), 3);
    EXPECT_EQ(name, L"a_b_c_.sldprt");
}
