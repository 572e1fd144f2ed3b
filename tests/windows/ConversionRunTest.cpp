#include "run/ConversionRun.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <io.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "resources/resource.h"
#include "tests/support/FakeAutomation.h"
#include "tests/support/FakeClasses.h"
#include "tests/support/MappedFile.h"
#include "tests/support/NetworkWatch.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"

// The run in one process with a stand-in CAD system: real files, a real table and the real progress dialog.

namespace {

constexpr DISPID kExit = 6;
constexpr DISPID kDateCode = 11;
constexpr DISPID kOpenDocument = 99;
constexpr DISPID kConfigurationCount = 0x101B3;
constexpr DISPID kConfigurationNames = 0x101B4;
constexpr DISPID kSave = 0x101E3;
constexpr DISPID kConfigurationByName = 0x10200;

using Texts = std::vector<std::wstring>;
using Positions = std::vector<int>;

const std::wstring kNotLoadedGerman =
    L"box SOLIDWORKS konnte nicht geladen werden.\nDie Anwendung ist entweder nicht installiert, oder die "
    L"Installation ist zerstört.";
const std::wstring kNotLoadedEnglish =
    L"box Could not load SOLIDWORKS.\nThe application either is not installed, or the installation is "
    L"corrupt.";
const std::wstring kTooOldGerman = L"box SOLIDWORKS 99/250 muss mindestens installiert sein.";
const std::wstring kTooOldEnglish = L"box SOLIDWORKS 99/250 is required.";
const std::wstring kFinishedGerman = L"box Umsetzungen erfolgreich beendet. [type 64]";
const std::wstring kFinishedEnglish = L"box Conversion successfully finished. [type 64]";
const std::wstring kCancelledGerman = L"box Abbruch durch Benutzer!\n\nEs wurden nicht alle Dateien kopiert.";
const std::wstring kCancelledEnglish = L"box Canceled by user!\n\nNot all files are copied.";
const std::wstring kReallyCancel =
    L"box Wirklich abbrechen?\n(Die Stücklisteneinträge der Konfigurationen des aktuellen Normteils werden "
    L"noch zu Ende geschrieben). [type 36]";

// Sees what the windows of the thread are sent, and keeps what the progress dialog was made to show.
class CScreenWatcher
{
public:
    CScreenWatcher() : m_hook(SetWindowsHookExW(WH_CALLWNDPROC, &OnCall, nullptr, GetCurrentThreadId()))
    {
        s_current = this;
        EXPECT_NE(m_hook, nullptr);
    }
    ~CScreenWatcher()
    {
        UnhookWindowsHookEx(m_hook);
        s_current = nullptr;
    }
    CScreenWatcher(const CScreenWatcher&) = delete;
    CScreenWatcher& operator=(const CScreenWatcher&) = delete;

    HWND m_dialog = nullptr;                                 // the progress dialog; it may be gone
    std::map<int, Texts> m_texts;                            // what each line was set to
    std::map<int, Positions> m_positions;                    // and each bar
    std::function<void()> m_onOverallMove;                   // called when the overall bar is about to move
    std::function<void(const std::wstring&)> m_onFirstLine;  // and when the first line is about to be set
    std::function<void(HWND, UINT, WPARAM)> m_onMessage;     // called for whatever any window is sent

    [[nodiscard]] bool IsOpen() const { return m_dialog != nullptr && IsWindow(m_dialog) != FALSE; }
    [[nodiscard]] bool MayCancel() const { return IsWindowEnabled(GetDlgItem(m_dialog, IDCANCEL)) != FALSE; }
    [[nodiscard]] std::wstring FirstLine() const
    {
        std::array<wchar_t, 300> text{};
        GetDlgItemTextW(m_dialog, IDC_PROGRESS_FIRST, text.data(), static_cast<int>(text.size()));
        return text.data();
    }
    void PressCancel() const
    {
        SendMessageW(m_dialog, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED),
                     reinterpret_cast<LPARAM>(GetDlgItem(m_dialog, IDCANCEL)));
    }

private:
    static LRESULT CALLBACK OnCall(int code, WPARAM wParam, LPARAM lParam)
    {
        if (code == HC_ACTION && s_current != nullptr) {
            s_current->Note(*reinterpret_cast<const CWPSTRUCT*>(lParam));
        }
        return CallNextHookEx(nullptr, code, wParam, lParam);
    }

    void Note(const CWPSTRUCT& call)
    {
        if (m_onMessage) {
            m_onMessage(call.hwnd, call.message, call.wParam);
        }
        if (call.message != WM_SETTEXT && call.message != PBM_SETPOS) {
            return;
        }
        const HWND parent = GetParent(call.hwnd);
        const int id = GetDlgCtrlID(call.hwnd);
        if (parent == nullptr || GetDlgItem(parent, IDC_PROGRESS_FILE) == nullptr) {
            return;
        }
        m_dialog = parent;
        if (call.message == WM_SETTEXT) {
            m_texts[id].emplace_back(reinterpret_cast<const wchar_t*>(call.lParam));
            if (id == IDC_PROGRESS_FIRST && m_onFirstLine) {
                m_onFirstLine(m_texts[id].back());
            }
        } else {
            m_positions[id].push_back(static_cast<int>(call.wParam));
            if (id == IDC_PROGRESS_OVERALL && m_onOverallMove) {
                m_onOverallMove();
            }
        }
    }

    inline static CScreenWatcher* s_current = nullptr;

    HHOOK m_hook;
};

class ConversionRunTest : public testing::Test, protected CConversionView
{
protected:
    // The standard-parts folder is "lib" in the working folder, so that the texts on screen fit their lines.
    ConversionRunTest()
    {
        std::filesystem::create_directories(L"lib\\Mapped");
        EXPECT_TRUE(m_table.SubclassWindow(
            m_mainWindow.AddControl(WC_LISTVIEWW, IDC_LIST, LVS_REPORT, {0, 0, 600, 200})));
        for (const int column : {0, 1, 2}) {
            m_table.InsertColumn(column, L"", 175);
        }
        m_application.On(kDateCode, AnswerLong(2024100));
        m_application.On(kOpenDocument, AnswerObject(&m_document));
        m_document.On(kConfigurationCount, AnswerLong(1));
        m_document.On(kConfigurationNames, AnswerStrings({L"Default"}));
        m_document.On(kConfigurationByName, AnswerObject(&m_configuration));
        m_document.On(kSave, AnswerLong(0));
        m_listenerBefore =
            SetMessageListener([this](const MessageRequest& request) { return OnBox(request); });
    }
    ~ConversionRunTest() override { SetMessageListener(m_listenerBefore); }

    void SetUp() override
    {
        if (!CScratchClassKey::Root()) {
            GTEST_SKIP() << "skipped: this process may not register classes where COM looks for them";
        }
        m_progIdKey = std::make_unique<CScratchClassKey>(*CScratchClassKey::Root(), kProgId,
                                                         kProgId + L"\\CLSID", TextOfClass(m_classId));
    }

    // Every end of a run leaves the same behind.
    void TearDown() override
    {
        if (IsSkipped()) {
            return;
        }
        EXPECT_NE(m_screen.m_dialog, nullptr);
        EXPECT_FALSE(m_screen.IsOpen());
        EXPECT_EQ(m_application.References(), 0);
        EXPECT_EQ(m_document.References(), 0);
        EXPECT_EQ(m_configuration.References(), 0);
    }

    // A row, and the file that its original name stands for.
    void AddRow(const std::wstring& original, const std::wstring& renamed, const std::wstring& bomName,
                bool pending = true)
    {
        UTtab_entry entry{original, renamed, bomName};
        m_entries.AddTail(entry);
        m_pending.push_back(pending);
        WriteBytes(L"lib\\" + original, "content of a part");
    }
    // Pending rows a1, a2, ... with the new names b1, b2, ...
    void AddRows(int count)
    {
        for (int i = 1; i <= count; ++i) {
            const std::wstring number = std::to_wstring(i);
            AddRow(L"a" + number + L".sldprt", L"b" + number + L".sldprt", L"Norm " + number + L" - %2");
        }
    }

    void Run(bool copyOnly, const std::wstring& folder = L"lib")
    {
        m_table.FillConverted(m_entries);
        for (std::size_t row = 0; row < m_pending.size(); ++row) {
            if (m_pending[row]) {
                m_table.MarkPending(static_cast<int>(row));
            }
        }
        DrainMessages();
        CConversionRun(m_mainWindow, m_table, m_sldWorks, *this, {folder, kProgId, copyOnly}).Run();
    }

    // The record lines of the map file, each ended by CR LF.
    static std::vector<std::string> Records()
    {
        std::istringstream file(ReadBytes(L"lib\\Mapped\\PartsMap.txt"));
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);) {
            EXPECT_TRUE(line.ends_with('\r')) << line;
            lines.push_back(line.substr(0, line.size() - 1));
        }
        EXPECT_GE(lines.size(), 4U);
        lines.erase(lines.begin(), lines.begin() + std::min<std::ptrdiff_t>(4, std::ssize(lines)));
        return lines;
    }

    // The marks of the rows: P pending, c converted.
    [[nodiscard]] std::string Marks() const
    {
        std::string marks;
        for (int row = 0; row < m_table.GetItemCount(); ++row) {
            const LPARAM data = m_table.GetItemData(row);
            const UINT image = m_table.GetItemState(row, 0xF000);
            marks += data == 1 && image == 0x1000 ? 'P' : data == 0 && image == 0x2000 ? 'c' : '?';
        }
        return marks;
    }

    static bool IsReadOnly(const std::wstring& path)
    {
        const DWORD attributes = GetFileAttributesW(path.c_str());
        EXPECT_NE(attributes, INVALID_FILE_ATTRIBUTES);
        return (attributes & FILE_ATTRIBUTE_READONLY) != 0;
    }

    [[nodiscard]] std::ptrdiff_t Count(const std::wstring& event) const
    {
        return std::ranges::count(m_log, event);
    }
    [[nodiscard]] Texts Boxes() const
    {
        Texts boxes;
        std::ranges::copy_if(m_log, std::back_inserter(boxes),
                             [](const std::wstring& event) { return event.starts_with(L"box "); });
        return boxes;
    }
    [[nodiscard]] bool MentionsView() const
    {
        return std::ranges::any_of(m_log,
                                   [](const std::wstring& event) { return event.starts_with(L"view "); });
    }

    virtual void Log(const std::wstring& event) { m_log.push_back(event); }

    // Lets a member do something before it answers as before.
    static CFakeDispatch::Handler Before(std::function<void()> action, CFakeDispatch::Handler answer)
    {
        return [action = std::move(action), answer = std::move(answer)](FakeCall& call) {
            action();
            return answer(call);
        };
    }

    static CFakeDispatch::Handler Succeed()
    {
        return [](FakeCall&) { return S_OK; };
    }

    // Has the opening of a document fail at its n-th call (from 1) and succeed at the others.
    void FailOpening(int n, const CFakeDispatch::Handler& failure)
    {
        m_application.On(kOpenDocument, [this, n, failure](FakeCall& call) {
            return ++m_opened == n ? failure(call) : AnswerObject(&m_document)(call);
        });
    }

    const std::wstring kProgId = L"Talvenor.Test.Run.30";
    CResourceScope m_resources;
    CLanguageScope m_language{1};
    CTempFolder m_folder;
    CWorkingFolderScope m_workingFolder{m_folder.Path()};
    EventLog m_log;
    const CLSID m_classId = NewClassId();
    CFakeDispatch m_application{L"application", m_log};
    CFakeDispatch m_document{L"document", m_log};
    CFakeDispatch m_configuration{L"configuration", m_log};
    CFakeClass m_class{m_classId, m_application};
    CPlainWindow m_mainWindow;
    CMainWindowScope m_mainWindowScope{&m_mainWindow};
    CConversionTable m_table;
    CSldWorks m_sldWorks;
    CScreenWatcher m_screen;
    int m_answer = IDOK;  // to message boxes
    std::function<void()> m_onBox;
    bool m_mapFileIsOpen = false;  // expected when a message box is shown
    int m_opened = 0;

private:
    int OnBox(const MessageRequest& request)
    {
        EXPECT_FALSE(m_mainWindow.IsWindowEnabled());
        EXPECT_TRUE(m_screen.IsOpen());
        std::wstring text = L"box " + request.text;
        if (request.type != MB_OK) {
            text += L" [type " + std::to_wstring(request.type) + L"]";
        }
        if (!request.helpFile.empty() || request.helpContext != 0) {
            text += L" [help " + request.helpFile + L" " + std::to_wstring(request.helpContext) + L"]";
        }
        Log(text);
        if (m_onBox) {
            m_onBox();
        }
        return m_answer;
    }

    void ShowViewStatus(bool mapView) override
    {
        Log(mapView ? L"view map file" : L"view folder");
        ExpectMapFileClosed();
    }
    void ReloadAfterCancel() override
    {
        Log(L"view reload");
        ExpectMapFileClosed();
    }
    void TakeInputAgain() override { m_mainWindow.EnableWindow(true); }
    static void ExpectMapFileClosed()
    {
        const UniqueHandle file(ValidHandle(
            CreateFileW(L"lib\\Mapped\\PartsMap.txt", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr)));
        EXPECT_NE(file, nullptr);
    }

    CList<UTtab_entry, UTtab_entry&> m_entries;
    std::vector<bool> m_pending;
    std::unique_ptr<CScratchClassKey> m_progIdKey;
    MessageListener m_listenerBefore;
};

// A whole run

TEST_F(ConversionRunTest, CopiesRecordsAndUpdatesPartAfterPart)
{
    AddRow(L"N_4017_M8.sldprt", L"Schraube.sldprt", L"Norm 4017 - %2");
    AddRow(L"N_ISO_4032_M6.sldasm", L"Mutter.sldasm", L"%1|%3|%4|%5");
    Run(false);
    EXPECT_EQ(m_log,
              (EventLog{
                  L"application 11 method",
                  L"application 24 method BOOL=0 I4=1",
                  L"application 99 method BSTR=lib\\Mapped\\Schraube.sldprt I4=1 BOOL=0 BOOL=0 BOOL=-1 "
                  L"&I4=0",
                  L"document 65971 method",
                  L"document 65972 method",
                  L"document 66048 method BSTR=Default",
                  L"configuration 6 put BOOL=-1",
                  L"configuration 5 put BSTR=Norm 4017 - Default",
                  L"document 66019 method BOOL=-1",
                  L"application 7 method BSTR=lib\\Mapped\\Schraube.sldprt",
                  L"application 24 method BOOL=-1 I4=1",
                  L"application 24 method BOOL=0 I4=2",
                  L"application 99 method BSTR=lib\\Mapped\\Mutter.sldasm I4=2 BOOL=0 BOOL=0 BOOL=-1 "
                  L"&I4=0",
                  L"document 65971 method",
                  L"document 65972 method",
                  L"document 66048 method BSTR=Default",
                  L"configuration 6 put BOOL=-1",
                  // The standard number is cut out behind "N_": of "ISO_4032" there are no digits.
                  L"configuration 5 put BSTR=|4032|M6|%5",
                  L"document 66019 method BOOL=-1",
                  L"application 7 method BSTR=lib\\Mapped\\Mutter.sldasm",
                  L"application 24 method BOOL=-1 I4=2",
                  L"view map file",
                  kFinishedGerman,
                  L"application 6 method",
              }));
    EXPECT_EQ(m_class.m_created, 1);
    EXPECT_EQ(Records(), (std::vector<std::string>{"N_4017_M8.sldprt ; Schraube.sldprt ; Norm 4017 - %2",
                                                   "N_ISO_4032_M6.sldasm ; Mutter.sldasm ; %1|%3|%4|%5"}));
    EXPECT_EQ(ReadBytes(L"lib\\Mapped\\Schraube.sldprt"), "content of a part");
    EXPECT_EQ(Marks(), "cc");
    EXPECT_TRUE(IsReadOnly(L"lib\\Mapped\\Schraube.sldprt"));
    EXPECT_TRUE(IsReadOnly(L"lib\\Mapped\\Mutter.sldasm"));
    EXPECT_FALSE(IsReadOnly(L"lib\\N_4017_M8.sldprt"));
}

TEST_F(ConversionRunTest, TheStandardNumberIsItsLeadingDigits)
{
    AddRow(L"N_4017A_M8__x__y__.sldprt", L"b.sldprt", L"%1|%3|%4|%7|%8|%2");
    Run(false);
    EXPECT_EQ(Count(L"configuration 5 put BSTR=4017|4017A|M8|x|y|Default"), 1);
}

TEST_F(ConversionRunTest, TheMapFileHasItsHeader)
{
    AddRows(1);
    Run(true);
    const std::string bytes = ReadBytes(L"lib\\Mapped\\PartsMap.txt");
    const std::string lead =
        "; Datei: lib\\Mapped\\PartsMap.txt\r\n"
        "; Automatisch generierte Datei, manuelle \xC4nderungen k\xF6nnen verloren "
        "gehen.\r\n; (c) ";
    EXPECT_EQ(bytes.substr(0, lead.size()), lead);
    const std::size_t end = bytes.find("\r\n", lead.size());
    ASSERT_NE(end, std::string::npos);
    EXPECT_EQ(bytes.substr(end), "\r\n\r\na1.sldprt ; b1.sldprt ; \r\n");
}

TEST_F(ConversionRunTest, ShowsWhatItDoesInGerman)
{
    AddRows(2);
    Run(false);
    EXPECT_EQ(
        m_screen.m_texts[1012],
        (Texts{L"Lade SOLIDWORKS...", L"Kopiere: lib\\a1.sldprt", L"Bearbeite Datei: lib\\Mapped\\b1.sldprt",
               L"Kopiere: lib\\a2.sldprt", L"Bearbeite Datei: lib\\Mapped\\b2.sldprt"}));
    EXPECT_EQ(
        m_screen.m_texts[1013],
        (Texts{L"nach: lib\\Mapped\\b1.sldprt", L"Aktuelle Konfiguration:  Default", L"Schreibe Datei...",
               L"nach: lib\\Mapped\\b2.sldprt", L"Aktuelle Konfiguration:  Default", L"Schreibe Datei..."}));
    EXPECT_EQ(m_screen.m_texts[1014], (Texts{L"Setze neuen Stückl.-Eintrag:  Norm 1 - Default", L"",
                                             L"Setze neuen Stückl.-Eintrag:  Norm 2 - Default", L""}));
}

TEST_F(ConversionRunTest, ShowsWhatItDoesInEnglish)
{
    const CLanguageScope english(0);
    AddRows(1);
    Run(false);
    EXPECT_EQ(m_screen.m_texts[1012], (Texts{L"Loading SOLIDWORKS...", L"Copy: lib\\a1.sldprt",
                                             L"Current file: lib\\Mapped\\b1.sldprt"}));
    EXPECT_EQ(m_screen.m_texts[1013].front(), L"to: lib\\Mapped\\b1.sldprt");
    EXPECT_EQ(Boxes(), Texts{kFinishedEnglish});
}

TEST_F(ConversionRunTest, TheThirdLineIsClearedForEachRow)
{
    AddRows(2);
    // Without a configuration object the writer stops and leaves its texts standing.
    m_document.On(kConfigurationByName, AnswerObject(nullptr));
    Run(false);
    EXPECT_EQ(m_screen.m_texts[1014], (Texts{L"Setze neuen Stückl.-Eintrag:  Norm 1 - Default", L"",
                                             L"Setze neuen Stückl.-Eintrag:  Norm 2 - Default"}));
    EXPECT_EQ(Marks(), "cc");
}

TEST_F(ConversionRunTest, TheWindowsAreAsTheRunNeedsThem)
{
    AddRows(1);
    bool askedVersion = false;
    m_application.On(kDateCode, Before(
                                    [&] {
                                        askedVersion = true;
                                        EXPECT_FALSE(m_mainWindow.IsWindowEnabled());
                                        EXPECT_EQ(GetWindow(m_screen.m_dialog, GW_OWNER),
                                                  m_mainWindow.m_hWnd);
                                        EXPECT_EQ(m_screen.FirstLine(), L"Lade SOLIDWORKS...");
                                        EXPECT_FALSE(m_screen.MayCancel());
                                        EXPECT_FALSE(std::filesystem::exists(L"lib\\Mapped\\PartsMap.txt"));
                                    },
                                    AnswerLong(1999250)));
    m_application.On(kOpenDocument,
                     Before([&] { EXPECT_TRUE(m_screen.MayCancel()); }, AnswerObject(&m_document)));
    m_application.On(kExit, Before([&] { EXPECT_FALSE(m_screen.IsOpen()); }, Succeed()));
    Run(false);
    EXPECT_TRUE(askedVersion);
    EXPECT_EQ(Boxes(), Texts{kFinishedGerman});
}

TEST_F(ConversionRunTest, ATrailingBackslashOfTheFolderMakesNoDifference)
{
    AddRows(1);
    Run(false, L"lib\\");
    EXPECT_EQ(m_screen.m_texts[1012][1], L"Kopiere: lib\\a1.sldprt");
    EXPECT_EQ(Count(L"application 7 method BSTR=lib\\Mapped\\b1.sldprt"), 1);
    EXPECT_EQ(Records().size(), 1U);
}

TEST_F(ConversionRunTest, EachRecordIsOnDiskBeforeItsPartIsUpdated)
{
    AddRows(2);
    std::vector<std::vector<std::string>> seen;
    m_application.On(kOpenDocument,
                     Before(
                         [&] {
                             seen.push_back(Records());
                             EXPECT_EQ(
                                 ReadBytes(L"lib\\Mapped\\b" + std::to_wstring(seen.size()) + L".sldprt"),
                                 "content of a part");
                             EXPECT_EQ(Marks(), seen.size() == 1 ? "PP" : "cP");
                             EXPECT_EQ(std::filesystem::exists(L"lib\\Mapped\\b2.sldprt"), seen.size() == 2);
                         },
                         AnswerObject(&m_document)));
    Run(false);
    const std::string first = "a1.sldprt ; b1.sldprt ; Norm 1 - %2";
    const std::string second = "a2.sldprt ; b2.sldprt ; Norm 2 - %2";
    EXPECT_EQ(seen, (std::vector<std::vector<std::string>>{{first}, {first, second}}));
}

TEST_F(ConversionRunTest, ConvertedRowsAreRecordedOnly)
{
    AddRow(L"a1.sldprt", L"b1.sldprt", L"one", false);
    AddRow(L"a2.sldprt", L"b2.sldprt", L"two", true);
    AddRow(L"a3.sldprt", L"b3.sldprt", L"three", false);
    WriteBytes(L"lib\\Mapped\\b1.sldprt", "of an earlier run");
    Run(false);
    EXPECT_EQ(Records(),
              (std::vector<std::string>{"a1.sldprt ; b1.sldprt ; one", "a2.sldprt ; b2.sldprt ; two",
                                        "a3.sldprt ; b3.sldprt ; three"}));
    EXPECT_EQ(ReadBytes(L"lib\\Mapped\\b1.sldprt"), "of an earlier run");
    EXPECT_FALSE(std::filesystem::exists(L"lib\\Mapped\\b3.sldprt"));
    EXPECT_TRUE(IsReadOnly(L"lib\\Mapped\\b1.sldprt"));
    EXPECT_EQ(Marks(), "ccc");
    EXPECT_EQ(Count(L"document 66019 method BOOL=-1"), 1);
    EXPECT_EQ(m_screen.m_texts[1012],
              (Texts{L"Lade SOLIDWORKS...", L"Kopiere: lib\\a1.sldprt", L"Kopiere: lib\\a2.sldprt",
                     L"Bearbeite Datei: lib\\Mapped\\b2.sldprt", L"Kopiere: lib\\a3.sldprt"}));
    EXPECT_EQ(Boxes(), Texts{kFinishedGerman});
}

TEST_F(ConversionRunTest, AReadOnlyCopyOfAnEarlierRunIsReplaced)
{
    AddRows(1);
    WriteBytes(L"lib\\Mapped\\b1.sldprt", "of an earlier run, and longer than the new one");
    SetFileAttributesW(L"lib\\Mapped\\b1.sldprt", FILE_ATTRIBUTE_READONLY);
    bool wasReadOnly = true;
    m_application.On(kOpenDocument, Before([&] { wasReadOnly = IsReadOnly(L"lib\\Mapped\\b1.sldprt"); },
                                           AnswerObject(&m_document)));
    Run(false);
    EXPECT_FALSE(wasReadOnly);
    EXPECT_EQ(ReadBytes(L"lib\\Mapped\\b1.sldprt"), "content of a part");
    EXPECT_TRUE(IsReadOnly(L"lib\\Mapped\\b1.sldprt"));
    EXPECT_EQ(Boxes(), Texts{kFinishedGerman});
}

TEST_F(ConversionRunTest, TheMapFileOfAnEarlierRunIsReplaced)
{
    WriteBytes(L"lib\\Mapped\\PartsMap.txt", std::string(5000, 'x'));
    Run(true);
    EXPECT_TRUE(Records().empty());
    EXPECT_LT(ReadBytes(L"lib\\Mapped\\PartsMap.txt").size(), 300U);
}

TEST_F(ConversionRunTest, ADocumentThatDoesNotOpenIsNoError)
{
    AddRows(1);
    m_application.On(kOpenDocument, AnswerObject(nullptr));
    Run(false);
    EXPECT_EQ(Marks(), "c");
    EXPECT_EQ(Records().size(), 1U);
    EXPECT_EQ(Boxes(), Texts{kFinishedGerman});
}

// The bars. The progress dialog sets both to 0 when it is made.

TEST_F(ConversionRunTest, TheOverallBarShowsTheShareDone)
{
    AddRows(7);
    Run(true);
    EXPECT_EQ(m_screen.m_positions[1015], (Positions{0, 0, 14, 28, 42, 57, 71, 85}));
    EXPECT_EQ(m_screen.m_positions[1017], Positions(8, 0));
}

// 53/100 in single precision is a little less than 0.53, and so are 100 times that a little less than 53: the
// nearest number of single precision is 52.999996. 59/100 is alike; the other hundredths come out even.
TEST_F(ConversionRunTest, TheShareIsOfSinglePrecisionAndCutTowardsZero)
{
    AddRows(100);
    Run(true);
    Positions expected{0};
    for (int done = 0; done < 100; ++done) {
        expected.push_back(done == 53 ? 52 : done == 59 ? 58 : done);
    }
    EXPECT_EQ(m_screen.m_positions[1015], expected);
}

TEST_F(ConversionRunTest, WithNothingToConvertTheOverallBarIsFull)
{
    AddRow(L"a1.sldprt", L"b1.sldprt", L"one", false);
    AddRow(L"a2.sldprt", L"b2.sldprt", L"two", false);
    Run(false);
    EXPECT_EQ(m_screen.m_positions[1015], (Positions{0, 100, 100}));
    EXPECT_EQ(Records().size(), 2U);
    EXPECT_FALSE(std::filesystem::exists(L"lib\\Mapped\\b1.sldprt"));
    EXPECT_EQ(Boxes(), Texts{kFinishedGerman});
}

TEST_F(ConversionRunTest, ACopyOnlyRunCountsEveryRow)
{
    AddRow(L"a1.sldprt", L"b1.sldprt", L"", false);
    AddRow(L"a2.sldprt", L"b2.sldprt", L"", true);
    AddRow(L"a3.sldprt", L"b3.sldprt", L"", false);
    Run(true);
    EXPECT_EQ(m_screen.m_positions[1015], (Positions{0, 0, 100, 200}));
}

TEST_F(ConversionRunTest, ARunWithUpdatesCountsThePendingRows)
{
    AddRow(L"a1.sldprt", L"b1.sldprt", L"x", false);
    AddRow(L"a2.sldprt", L"b2.sldprt", L"x", true);
    AddRow(L"a3.sldprt", L"b3.sldprt", L"x", true);
    m_document.On(kConfigurationCount, AnswerLong(2));
    m_document.On(kConfigurationNames, AnswerStrings({L"A", L"B"}));
    Run(false);
    // Row 2: begins at 0, its two configurations share 50, saving shows 50; row 3 likewise from 50.
    EXPECT_EQ(m_screen.m_positions[1015], (Positions{0, 0, 0, 0, 25, 50, 50, 50, 75, 100}));
    EXPECT_EQ(m_screen.m_positions[1017], (Positions{0, 0, 0, 0, 50, 100, 0, 0, 50, 100}));
}

// Copying only

TEST_F(ConversionRunTest, ACopyOnlyRunNeedsNoCadSystem)
{
    AddRows(2);
    m_class.m_status = E_FAIL;
    bool couldCancel = false;
    m_screen.m_onOverallMove = [&] { couldCancel |= m_screen.FirstLine() != L"" && m_screen.MayCancel(); };
    Run(true);
    EXPECT_EQ(m_log, (EventLog{L"view map file", kFinishedGerman}));
    EXPECT_EQ(m_class.m_created, 0);
    EXPECT_FALSE(couldCancel);
    EXPECT_EQ(Records(), (std::vector<std::string>{"a1.sldprt ; b1.sldprt ; ", "a2.sldprt ; b2.sldprt ; "}));
    EXPECT_EQ(ReadBytes(L"lib\\Mapped\\b2.sldprt"), "content of a part");
    EXPECT_TRUE(IsReadOnly(L"lib\\Mapped\\b2.sldprt"));
    EXPECT_EQ(Marks(), "cc");
    EXPECT_EQ(m_table.GetItemText(0, 2), L"Norm 1 - %2") << "the table keeps the BOM name";
    EXPECT_EQ(m_screen.m_texts[1012],
              (Texts{L"Kopiere: lib\\a1.sldprt", L"Bearbeite Datei: lib\\Mapped\\b1.sldprt",
                     L"Kopiere: lib\\a2.sldprt", L"Bearbeite Datei: lib\\Mapped\\b2.sldprt"}));
}

TEST_F(ConversionRunTest, ACopyOnlyRunCannotBeCancelled)
{
    AddRows(3);
    int presses = 0;
    m_screen.m_onOverallMove = [&] {
        // The first move is the dialog's own, before the run takes it over.
        if (m_screen.m_positions[1015].size() > 1) {
            ++presses;
            m_screen.PressCancel();
            PostMessageW(m_screen.m_dialog, WM_CLOSE, 0, 0);
        }
    };
    Run(true);
    EXPECT_EQ(presses, 3);
    EXPECT_EQ(Marks(), "ccc");
    EXPECT_EQ(Boxes(), Texts{kFinishedGerman});
}

TEST_F(ConversionRunTest, TakesOneMessageForEachRow)
{
    AddRows(3);
    CCountingWindow window;
    bool posted = false;
    m_screen.m_onOverallMove = [&] {
        for (int i = 0; i < 10 && !posted; ++i) {
            window.PostMessage(WM_APP);
        }
        posted = true;
    };
    Run(true);
    EXPECT_EQ(window.m_count, 3);
    DrainMessages();
    EXPECT_EQ(window.m_count, 10);
}

TEST_F(ConversionRunTest, ScrollsTheRowDoneIntoView)
{
    AddRows(40);
    Run(true);
    EXPECT_EQ(ListView_GetTopIndex(m_table.m_hWnd) + ListView_GetCountPerPage(m_table.m_hWnd), 40);
}

// Cancelling

TEST_F(ConversionRunTest, ACancelEndsTheRunAfterTheRowInHand)
{
    AddRows(6);
    m_answer = IDYES;
    m_document.On(kConfigurationByName, Before(
                                            [&] {
                                                if (Records().size() == 5) {
                                                    m_screen.PressCancel();
                                                }
                                            },
                                            AnswerObject(&m_configuration)));
    Run(false);
    EXPECT_EQ(Records().size(), 5U);
    EXPECT_EQ(Marks(), "cccccP");
    EXPECT_EQ(Boxes(), (Texts{kReallyCancel, kCancelledGerman}));
    EXPECT_EQ(m_log.back(), L"application 6 method");
    EXPECT_EQ(*(m_log.end() - 2), L"view reload");
    EXPECT_EQ(*(m_log.end() - 3), kCancelledGerman);
    EXPECT_EQ(Count(L"document 66019 method BOOL=-1"), 5) << "the part in hand is finished";
    EXPECT_TRUE(IsReadOnly(L"lib\\Mapped\\b4.sldprt"));
    EXPECT_FALSE(IsReadOnly(L"lib\\Mapped\\b5.sldprt")) << "the run ends before that";
    EXPECT_FALSE(std::filesystem::exists(L"lib\\Mapped\\b6.sldprt"));
}

TEST_F(ConversionRunTest, ACancelIsReportedInEnglish)
{
    const CLanguageScope english(0);
    AddRows(2);
    m_answer = IDYES;
    m_document.On(kConfigurationByName,
                  Before([&] { m_screen.PressCancel(); }, AnswerObject(&m_configuration)));
    Run(false);
    EXPECT_EQ(Boxes().back(), kCancelledEnglish);
    EXPECT_EQ(Marks(), "cP");
}

TEST_F(ConversionRunTest, ACancelTakenBackLetsTheRunGoOn)
{
    AddRows(2);
    m_answer = IDNO;
    m_document.On(kConfigurationByName,
                  Before([&] { m_screen.PressCancel(); }, AnswerObject(&m_configuration)));
    Run(false);
    EXPECT_EQ(Boxes(), (Texts{kReallyCancel, kReallyCancel, kFinishedGerman}));
    EXPECT_EQ(Marks(), "cc");
}

TEST_F(ConversionRunTest, ACancelBetweenConfigurationsAndCopyIsNotAskedFor)
{
    AddRows(2);
    // While the part is opened the button is enabled; without configurations nobody asks.
    m_document.On(kConfigurationCount, AnswerLong(0));
    m_application.On(kOpenDocument, Before([&] { m_screen.PressCancel(); }, AnswerObject(&m_document)));
    Run(false);
    EXPECT_EQ(Boxes(), Texts{kCancelledGerman});
    EXPECT_EQ(Marks(), "cP");
    EXPECT_EQ(Records().size(), 1U);
}

TEST_F(ConversionRunTest, NothingCancelsWhileAPartIsSaved)
{
    AddRows(2);
    m_document.On(kSave, Before(
                             [&] {
                                 EXPECT_FALSE(m_screen.MayCancel());
                                 m_screen.PressCancel();
                             },
                             AnswerLong(0)));
    Run(false);
    EXPECT_EQ(Boxes(), Texts{kFinishedGerman});
    EXPECT_EQ(Marks(), "cc");
}

TEST_F(ConversionRunTest, ACancelInTheLastRowIsStillACancel)
{
    AddRows(1);
    m_answer = IDYES;
    m_document.On(kConfigurationByName,
                  Before([&] { m_screen.PressCancel(); }, AnswerObject(&m_configuration)));
    Run(false);
    EXPECT_EQ(Boxes(), (Texts{kReallyCancel, kCancelledGerman}));
    EXPECT_EQ(Marks(), "c");
}

// Failures

TEST_F(ConversionRunTest, AFailedCopySkipsTheRow)
{
    AddRows(3);
    std::filesystem::remove(L"lib\\a2.sldprt");
    Run(false);
    EXPECT_EQ(Records(), (std::vector<std::string>{"a1.sldprt ; b1.sldprt ; Norm 1 - %2",
                                                   "a3.sldprt ; b3.sldprt ; Norm 3 - %2"}));
    EXPECT_EQ(Marks(), "cPc");
    EXPECT_EQ(Count(L"document 66019 method BOOL=-1"), 2);
    const Texts boxes = Boxes();
    ASSERT_EQ(boxes.size(), 2U);
    EXPECT_TRUE(
        boxes[0].starts_with(L"box Kopieren der Normteil-Dateien fehlgeschlagen!\n\nDie Quell-Datei "
                             L"\"lib\\a2.sldprt\" konnte nicht geöffnet werden.\nError: "));
    EXPECT_EQ(boxes[1], kFinishedGerman);
    // Two parts of three: 33 and 66 when saving, and the row that failed counts for nothing.
    EXPECT_EQ(m_screen.m_positions[1015], (Positions{0, 0, 0, 33, 33, 33, 33, 66}));
}

TEST_F(ConversionRunTest, NoCopyTakesThePlaceOfTheMapFile)
{
    AddRow(L"a.txt", L"partsmap.TXT", L"x");
    AddRow(L"b.txt", L"PartsMap.txt", L"x", false);
    Run(true);
    EXPECT_EQ(Records(), std::vector<std::string>{"b.txt ; PartsMap.txt ; "});
    EXPECT_EQ(Marks(), "Pc");
    EXPECT_FALSE(IsReadOnly(L"lib\\Mapped\\PartsMap.txt")) << "the next run could not write it";
}

TEST_F(ConversionRunTest, EveryFailedCopyIsReported)
{
    AddRows(2);
    std::filesystem::remove(L"lib\\a1.sldprt");
    std::filesystem::remove(L"lib\\a2.sldprt");
    Run(true);
    EXPECT_TRUE(Records().empty());
    EXPECT_EQ(Marks(), "PP");
    EXPECT_EQ(Boxes().size(), 3U);
    EXPECT_EQ(Boxes().back(), kFinishedGerman);
    EXPECT_EQ(m_screen.m_positions[1015], (Positions{0, 0, 0}));
}

TEST_F(ConversionRunTest, WithoutTheCadSystemNothingIsWritten)
{
    AddRows(1);
    m_class.m_status = REGDB_E_CLASSNOTREG;
    Run(false);
    EXPECT_EQ(m_log, EventLog{kNotLoadedGerman});
    EXPECT_FALSE(std::filesystem::exists(L"lib\\Mapped\\PartsMap.txt"));
    EXPECT_FALSE(std::filesystem::exists(L"lib\\Mapped\\b1.sldprt"));
    EXPECT_EQ(Marks(), "P");
    const CLanguageScope english(0);
    Run(false);
    EXPECT_EQ(Boxes(), (Texts{kNotLoadedGerman, kNotLoadedEnglish}));
}

TEST_F(ConversionRunTest, AnOldCadSystemIsLetGoAgain)
{
    AddRows(1);
    m_application.On(kDateCode, AnswerLong(1999249));
    m_application.On(kExit, Before([&] { EXPECT_FALSE(m_screen.IsOpen()); }, Succeed()));
    Run(false);
    EXPECT_EQ(m_log, (EventLog{L"application 11 method", kTooOldGerman, L"application 6 method"}));
    EXPECT_FALSE(std::filesystem::exists(L"lib\\Mapped\\PartsMap.txt"));
    EXPECT_EQ(Marks(), "P");
    const CLanguageScope english(0);
    Run(false);
    EXPECT_EQ(Boxes(), (Texts{kTooOldGerman, kTooOldEnglish}));
}

TEST_F(ConversionRunTest, ACadSystemThatDoesNotTellItsVersionIsNoConnection)
{
    AddRows(1);
    m_application.On(kDateCode, Fail(E_FAIL));
    Run(false);
    EXPECT_EQ(m_log, (EventLog{L"application 11 method", kNotLoadedGerman, L"application 6 method"}));
    EXPECT_FALSE(std::filesystem::exists(L"lib\\Mapped\\PartsMap.txt"));
}

TEST_F(ConversionRunTest, AMapFileThatCannotBeOpenedEndsTheRun)
{
    AddRows(1);
    std::filesystem::create_directory(L"lib\\Mapped\\PartsMap.txt");
    Run(false);
    EXPECT_EQ(m_log,
              (EventLog{L"application 11 method",
                        L"box FEHLER: Datei lib\\Mapped\\PartsMap.txt kann nicht zum Schreiben geöffnet "
                        L"werden!",
                        L"application 6 method"}));
    EXPECT_FALSE(std::filesystem::exists(L"lib\\Mapped\\b1.sldprt"));
    EXPECT_EQ(Marks(), "P");
    m_log.clear();
    const CLanguageScope english(0);
    Run(true);
    EXPECT_EQ(m_log,
              EventLog{L"box ERROR: File lib\\Mapped\\PartsMap.txt cannot be opened for write access!"});
    EXPECT_EQ(m_class.m_created, 1);
}

TEST_F(ConversionRunTest, AMapFileWhosePathHasNoBytesEndsTheRun)
{
    AddRows(1);
    std::filesystem::create_directories(L"日本\\Mapped");
    Run(true, L"日本");
    EXPECT_EQ(
        m_log,
        EventLog{L"box FEHLER: Datei 日本\\Mapped\\PartsMap.txt kann nicht zum Schreiben geöffnet werden!"});
    EXPECT_TRUE(std::filesystem::is_empty(L"日本\\Mapped"));
    EXPECT_EQ(Marks(), "P");
}

TEST_F(ConversionRunTest, ANetworkPathKeepsItsTwoBackslashes)
{
    AddRows(1);
    Run(true, L"\\\\127.0.0.1\\talvenor-no-such-share");
    EXPECT_EQ(m_log,
              EventLog{L"box FEHLER: Datei \\\\127.0.0.1\\talvenor-no-such-share\\Mapped\\PartsMap.txt "
                       L"kann nicht zum Schreiben geöffnet werden!"});
}

TEST_F(ConversionRunTest, WithoutAFolderNothingIsAskedOfTheNetwork)
{
    AddRows(1);
    const CNetworkWatch network;
    Run(true, L"");
    EXPECT_EQ(m_log, EventLog{L"box FEHLER: Datei \\\\Mapped\\PartsMap.txt kann nicht zum Schreiben geöffnet "
                              L"werden!"});
    EXPECT_EQ(network.m_paths, Texts{});
}

// A map file on which writing fails for a while, as on a disk that is full.
class UnwritableMapFileTest : public ConversionRunTest
{
protected:
    static constexpr wchar_t kMapFile[] = L"lib\\Mapped\\PartsMap.txt";

    // Lets writing the map file fail while the rows of these original names are in hand.
    void FailAt(const Texts& originals)
    {
        const int file = NextFileNumber();
        m_screen.m_onFirstLine = [originals, file](const std::wstring& text) {
            if (std::ranges::any_of(originals, [&](const auto& name) { return text.ends_with(name); })) {
                BreakMapFile(file);
            }
        };
    }

    void ExpectRowsMissing(const std::wstring& box, const std::wstring& finished)
    {
        AddRow(L"a1.sldprt", L"b1.sldprt", L"one");
        AddRow(L"a2.sldprt", L"b2.sldprt", L"two");
        AddRow(L"a3.sldprt", L"b3.sldprt", L"three");
        AddRow(L"a4.sldprt", L"b4.sldprt", L"four", false);
        AddRow(L"a5.sldprt", L"b5.sldprt", L"five");
        FailAt({L"a2.sldprt", L"a3.sldprt", L"a4.sldprt"});
        Run(false);
        EXPECT_EQ(Boxes(), (Texts{box, finished})) << "told once";
        EXPECT_EQ(Records(),
                  (std::vector<std::string>{"a1.sldprt ; b1.sldprt ; one", "a5.sldprt ; b5.sldprt ; five"}));
        EXPECT_EQ(Marks(), "cPPcc");
        EXPECT_EQ(Count(L"document 66019 method BOOL=-1"), 2) << "only parts on record are updated";
        EXPECT_TRUE(MentionsView());
    }

private:
    // The number under which the C run-time opens its next file.
    static int NextFileNumber()
    {
        const int number = _open("NUL", _O_RDONLY);
        EXPECT_NE(number, -1);
        _close(number);
        return number;
    }

    // Puts an end that only reads in the place of the run's open map file, and half a line into the file.
    // That needs neither a full disk nor a lock, which Wine would not heed.
    static void BreakMapFile(int number)
    {
        std::array<wchar_t, MAX_PATH> path{};
        GetFinalPathNameByHandleW(reinterpret_cast<HANDLE>(_get_osfhandle(number)), path.data(), MAX_PATH, 0);
        ASSERT_TRUE(std::wstring(path.data()).ends_with(L"\\lib\\Mapped\\PartsMap.txt"));
        const int onlyReads = _wopen(kMapFile, _O_RDONLY | _O_TEXT);
        ASSERT_EQ(_dup2(onlyReads, number), 0);
        _close(onlyReads);
        std::ofstream(kMapFile, std::ios::app) << "a2.sldprt ; b2.s";
    }
};

TEST_F(UnwritableMapFileTest, ARecordThatCannotBeWrittenIsReportedInGerman)
{
    ExpectRowsMissing(
        L"box FEHLER: Datei lib\\Mapped\\PartsMap.txt kann nicht geschrieben werden!\n"
        L"Die betroffenen Normteile fehlen in dieser Datei.",
        kFinishedGerman);
}

TEST_F(UnwritableMapFileTest, ARecordThatCannotBeWrittenIsReportedInEnglish)
{
    const CLanguageScope english(0);
    ExpectRowsMissing(
        L"box ERROR: File lib\\Mapped\\PartsMap.txt cannot be written!\n"
        L"The standard parts concerned are missing from this file.",
        kFinishedEnglish);
}

TEST_F(UnwritableMapFileTest, TheLastRecordsFailureLeavesNoHalfLine)
{
    AddRows(2);
    FailAt({L"a2.sldprt"});
    Run(true);
    EXPECT_EQ(Records(), std::vector<std::string>{"a1.sldprt ; b1.sldprt ; "});
    EXPECT_EQ(Marks(), "cP");
    EXPECT_EQ(ReadBytes(L"lib\\Mapped\\b2.sldprt"), "content of a part");
    EXPECT_TRUE(IsReadOnly(L"lib\\Mapped\\b2.sldprt"));
}

TEST_F(UnwritableMapFileTest, AnExceptionThatEndsTheRunLeavesNoHalfLine)
{
    AddRows(2);
    FailAt({L"a2.sldprt"});
    std::optional<CMappedFile> mapped;
    m_screen.m_onFirstLine = [&mapped, fail = m_screen.m_onFirstLine](const std::wstring& text) {
        fail(text);
        if (text.ends_with(L"a2.sldprt")) {
            mapped.emplace(kMapFile);
        }
    };
    m_onBox = [&mapped] {
        EXPECT_TRUE(ReadBytes(kMapFile).ends_with("a2.sldprt ; b2.s"));
        mapped.reset();
        throw CTestException();
    };
    EXPECT_THROW(Run(true), CTestException);
    EXPECT_EQ(Records(), std::vector<std::string>{"a1.sldprt ; b1.sldprt ; "});
}

// Errors of the CAD system

TEST_F(ConversionRunTest, AReportedErrorIsShownAndTheRunGoesOnWithANewConnection)
{
    AddRows(2);
    FailOpening(1, RaiseException(L"SldWorks", L"The file is damaged.", L"C:\\cad\\help.chm", 417));
    int versions = 0;
    m_application.On(kDateCode, Before(
                                    [&] {
                                        ++versions;
                                        EXPECT_EQ(m_screen.FirstLine(), L"Lade SOLIDWORKS...");
                                        EXPECT_FALSE(m_screen.MayCancel());
                                        EXPECT_FALSE(m_mainWindow.IsWindowEnabled());
                                    },
                                    AnswerLong(2024100)));
    // The button stays disabled until the next part has been written.
    m_document.On(kConfigurationCount, Before([&] { EXPECT_FALSE(m_screen.MayCancel()); }, AnswerLong(1)));
    Run(false);
    EXPECT_EQ(Boxes(),
              (Texts{L"box SldWorks - The file is damaged. [help C:\\cad\\help.chm 417]", kFinishedGerman}));
    EXPECT_EQ(versions, 2);
    EXPECT_EQ(m_class.m_created, 2);
    EXPECT_EQ(Count(L"application 6 method"), 2);
    EXPECT_EQ(Records().size(), 2U);
    EXPECT_EQ(Marks(), "cc");
    EXPECT_TRUE(IsReadOnly(L"lib\\Mapped\\b1.sldprt"));
    EXPECT_EQ(m_screen.m_texts[1012],
              (Texts{L"Lade SOLIDWORKS...", L"Kopiere: lib\\a1.sldprt",
                     L"Bearbeite Datei: lib\\Mapped\\b1.sldprt", L"Lade SOLIDWORKS...",
                     L"Kopiere: lib\\a2.sldprt", L"Bearbeite Datei: lib\\Mapped\\b2.sldprt"}));
    // The second row begins at one part of two, whatever became of the first.
    EXPECT_EQ(m_screen.m_positions[1015], (Positions{0, 0, 50, 50, 100}));
}

TEST_F(ConversionRunTest, BehindAReconnectionTheNextPartsLastStepEnablesTheCancelButtonAgain)
{
    AddRows(3);
    std::vector<bool> mayCancel;
    m_application.On(kOpenDocument, [&](FakeCall& call) {
        mayCancel.push_back(m_screen.MayCancel());
        return mayCancel.size() == 1 ? RaiseException(L"SldWorks", L"Crash", nullptr, 0)(call)
                                     : AnswerObject(&m_document)(call);
    });
    Run(false);
    EXPECT_EQ(mayCancel, (std::vector<bool>{true, false, true}));
    EXPECT_EQ(Marks(), "ccc");
}

TEST_F(ConversionRunTest, AnErrorIsShownWithWhatItSays)
{
    struct Case
    {
        CFakeDispatch::Handler failure;
        Texts boxes;
    };
    const std::vector<Case> cases{
        {RaiseException(nullptr, L"Broken", nullptr, 0), {L"box Broken"}},
        {RaiseException(L"", L"Broken", L"", 12), {L"box Broken"}},
        {RaiseException(L"SldWorks", nullptr, nullptr, 0), {L"box SldWorks - unknown error"}},
        {RaiseException(nullptr, nullptr, nullptr, 0), {L"box unknown error"}},
        {RaiseException(nullptr, L"Broken", L"h.chm", 0), {L"box Broken [help h.chm 0]"}},
        {Fail(RPC_E_SERVERFAULT), {}},
        {Fail(DISP_E_MEMBERNOTFOUND), {}},
    };
    AddRows(1);
    for (const Case& test : cases) {
        m_log.clear();
        m_opened = 0;
        m_class.m_created = 0;
        FailOpening(1, test.failure);
        Run(false);
        Texts expected = test.boxes;
        expected.push_back(kFinishedGerman);
        EXPECT_EQ(Boxes(), expected);
        EXPECT_EQ(m_class.m_created, 2);
        EXPECT_EQ(Marks(), "c");
        EXPECT_EQ(Records().size(), 1U);
    }
}

TEST_F(ConversionRunTest, AnErrorInTheMiddleOfAPartIsHandledAlike)
{
    AddRows(2);
    bool failed = false;
    m_document.On(kSave, [&](FakeCall& call) {
        return std::exchange(failed, true) ? AnswerLong(0)(call)
                                           : RaiseException(L"SldWorks", L"Disk full", nullptr, 0)(call);
    });
    Run(false);
    EXPECT_EQ(Boxes(), (Texts{L"box SldWorks - Disk full", kFinishedGerman}));
    EXPECT_EQ(Marks(), "cc");
    EXPECT_EQ(m_document.References(), 0);
}

TEST_F(ConversionRunTest, AServerThatCannotBeEndedAnyMoreIsLetGoAllTheSame)
{
    AddRows(2);
    FailOpening(1, Fail(HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE)));
    m_application.On(kExit, Fail(HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE)));
    Run(false);
    EXPECT_EQ(Boxes(), Texts{kFinishedGerman});
    EXPECT_EQ(m_class.m_created, 2);
    EXPECT_EQ(Count(L"application 6 method"), 2);
    EXPECT_EQ(Marks(), "cc");
}

TEST_F(ConversionRunTest, AFailedReconnectionEndsTheRun)
{
    AddRows(3);
    FailOpening(2, Before([&] { m_class.m_status = CO_E_SERVER_EXEC_FAILURE; },
                          RaiseException(L"SldWorks", L"Crash", nullptr, 0)));
    Run(false);
    EXPECT_EQ(Boxes(), (Texts{L"box SldWorks - Crash", kNotLoadedGerman}));
    EXPECT_FALSE(MentionsView());
    EXPECT_EQ(Records(), (std::vector<std::string>{"a1.sldprt ; b1.sldprt ; Norm 1 - %2",
                                                   "a2.sldprt ; b2.sldprt ; Norm 2 - %2"}));
    EXPECT_EQ(Marks(), "cPP");
    EXPECT_EQ(Count(L"application 6 method"), 1);
    EXPECT_FALSE(std::filesystem::exists(L"lib\\Mapped\\b3.sldprt"));
    EXPECT_TRUE(std::filesystem::remove(L"lib\\Mapped\\PartsMap.txt")) << "it is closed";
}

TEST_F(ConversionRunTest, AnOldCadSystemAtTheReconnectionEndsTheRun)
{
    const CLanguageScope english(0);
    AddRows(2);
    FailOpening(1, Before([&] { m_application.On(kDateCode, AnswerLong(1998000)); }, Fail(E_UNEXPECTED)));
    Run(false);
    EXPECT_EQ(Boxes(), Texts{kTooOldEnglish});
    EXPECT_FALSE(MentionsView());
    EXPECT_EQ(Records().size(), 1U);
    EXPECT_EQ(Marks(), "PP");
    EXPECT_EQ(Count(L"application 6 method"), 2);
    EXPECT_EQ(m_log.back(), L"application 6 method");
}

// The last steps of a run: in the log of these tests stands also what becomes of the windows and the map
// file. The main window is enabled for a moment while the progress dialog goes.
class EndOfRunTest : public ConversionRunTest
{
protected:
    EndOfRunTest()
    {
        m_screen.m_onMessage = [this](HWND window, UINT message, WPARAM wParam) {
            if (window == m_mainWindow.m_hWnd && message == WM_ENABLE) {
                Log(wParam != FALSE ? L"main window enabled" : L"main window disabled");
            } else if (window == m_screen.m_dialog && message == WM_DESTROY) {
                Log(L"progress dialog destroyed");
            }
        };
        m_screen.m_onFirstLine = [this](const std::wstring&) { LogMapFile(); };
        AddRows(2);
    }

    void Log(const std::wstring& event) override
    {
        LogMapFile();
        m_log.push_back(event);
    }
    void RunToTheEnd(bool copyOnly)
    {
        Run(copyOnly);
        Log(L"returned");
    }

    // Cancels the run in its first row.
    void CancelRun()
    {
        m_document.On(kConfigurationCount, AnswerLong(0));
        m_application.On(kOpenDocument, Before([&] { m_screen.PressCancel(); }, AnswerObject(&m_document)));
        RunToTheEnd(false);
    }

    // Has the connection be lost in the first row, and something else happen before the next one.
    void LoseConnection(const std::function<void()>& before)
    {
        FailOpening(1, Before(before, Fail(E_UNEXPECTED)));
        RunToTheEnd(false);
    }

    // The log from the last event of this kind on.
    [[nodiscard]] EventLog From(const std::wstring& event) const
    {
        const auto found = std::ranges::find(m_log.rbegin(), m_log.rend(), event);
        return found == m_log.rend() ? m_log : EventLog(found.base() - 1, m_log.end());
    }

private:
    void LogMapFile()
    {
        const bool isOpen = IsMapFileOpen();
        if (std::exchange(m_wasOpen, isOpen) != isOpen) {
            m_log.emplace_back(isOpen ? L"map file opened" : L"map file closed");
        }
    }
    static bool IsMapFileOpen()
    {
        const UniqueHandle file(ValidHandle(
            CreateFileW(L"lib\\Mapped\\PartsMap.txt", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr)));
        return file == nullptr && GetLastError() == ERROR_SHARING_VIOLATION;
    }

    bool m_wasOpen = false;
};

const EventLog kDialogGoes{L"main window enabled", L"progress dialog destroyed", L"main window disabled"};
const std::wstring kCadEnds = L"application 6 method";

EventLog operator+(EventLog events, const EventLog& more)
{
    events.insert(events.end(), more.begin(), more.end());
    return events;
}

TEST_F(EndOfRunTest, WhenItHasFinished)
{
    RunToTheEnd(false);
    EXPECT_EQ(From(L"map file closed"), (EventLog{L"map file closed", L"view map file", kFinishedGerman} +
                                         kDialogGoes + EventLog{kCadEnds, L"returned"}));
}

TEST_F(EndOfRunTest, WhenItHasCopiedOnly)
{
    RunToTheEnd(true);
    EXPECT_EQ(m_log, (EventLog{L"main window disabled", L"map file opened", L"map file closed",
                               L"view map file", kFinishedGerman} +
                      kDialogGoes + EventLog{L"returned"}));
}

TEST_F(EndOfRunTest, WhenItWasCancelled)
{
    CancelRun();
    EXPECT_EQ(From(L"map file closed"), (EventLog{L"map file closed", kCancelledGerman, L"view reload"} +
                                         kDialogGoes + EventLog{kCadEnds, L"returned"}));
}

TEST_F(EndOfRunTest, WhenTheCadSystemIsNotLoaded)
{
    m_class.m_status = REGDB_E_CLASSNOTREG;
    RunToTheEnd(false);
    EXPECT_EQ(m_log, (EventLog{L"main window disabled", kNotLoadedGerman} + kDialogGoes +
                      EventLog{L"main window enabled", L"returned"}));
}

TEST_F(EndOfRunTest, WhenTheCadSystemIsTooOld)
{
    m_application.On(kDateCode, AnswerLong(1999249));
    RunToTheEnd(false);
    EXPECT_EQ(From(kTooOldGerman), (EventLog{kTooOldGerman} + kDialogGoes +
                                    EventLog{L"main window enabled", kCadEnds, L"returned"}));
}

TEST_F(EndOfRunTest, WhenTheCadSystemDoesNotTellItsVersion)
{
    m_application.On(kDateCode, Fail(E_FAIL));
    RunToTheEnd(false);
    EXPECT_EQ(From(kNotLoadedGerman), (EventLog{kNotLoadedGerman} + kDialogGoes +
                                       EventLog{L"main window enabled", kCadEnds, L"returned"}));
}

TEST_F(EndOfRunTest, WhenTheMapFileIsNotOpened)
{
    std::filesystem::create_directory(L"lib\\Mapped\\PartsMap.txt");
    const std::wstring notOpened =
        L"box FEHLER: Datei lib\\Mapped\\PartsMap.txt kann nicht zum Schreiben geöffnet werden!";
    RunToTheEnd(false);
    EXPECT_EQ(From(notOpened),
              (EventLog{notOpened} + kDialogGoes + EventLog{L"main window enabled", kCadEnds, L"returned"}));
    m_log.clear();
    RunToTheEnd(true);
    EXPECT_EQ(m_log, (EventLog{L"main window disabled", notOpened} + kDialogGoes +
                      EventLog{L"main window enabled", L"returned"}));
}

TEST_F(EndOfRunTest, WhenTheCadSystemDoesNotComeBack)
{
    LoseConnection([&] { m_class.m_status = CO_E_SERVER_EXEC_FAILURE; });
    EXPECT_EQ(From(kNotLoadedGerman), (EventLog{kNotLoadedGerman} + kDialogGoes +
                                       EventLog{L"main window enabled", L"map file closed", L"returned"}));
}

TEST_F(EndOfRunTest, WhenTheCadSystemComesBackTooOld)
{
    LoseConnection([&] { m_application.On(kDateCode, AnswerLong(1998000)); });
    EXPECT_EQ(From(kTooOldGerman),
              (EventLog{kTooOldGerman} + kDialogGoes +
               EventLog{L"main window enabled", kCadEnds, L"map file closed", L"returned"}));
}

TEST_F(EndOfRunTest, WhenAnExceptionEndsIt)
{
    std::filesystem::remove(L"lib\\a1.sldprt");
    m_onBox = [] { throw CTestException(); };
    EXPECT_THROW(Run(false), CTestException);
    Log(L"thrown");
    const std::wstring box = Boxes().back();
    EXPECT_TRUE(box.starts_with(L"box Kopieren der Normteil-Dateien fehlgeschlagen!")) << box;
    EXPECT_EQ(From(box), EventLog{box} + kDialogGoes + (EventLog{kCadEnds, L"map file closed", L"thrown"}));
}

// Another window of the thread stands for another program: it must not come to the front in place of the main
// window, which nothing that waits in the queue can reach before it is disabled again.
TEST_F(EndOfRunTest, TheMainWindowIsTheActiveOneBehindTheProgressDialog)
{
    const CCountingWindow other;
    HWND active = nullptr;
    int dispatched = -1;
    m_screen.m_onMessage = [&, note = m_screen.m_onMessage](HWND window, UINT message, WPARAM wParam) {
        note(window, message, wParam);
        if (m_log.back() == L"progress dialog destroyed") {
            other.PostMessage(WM_APP);
        }
    };
    m_application.On(kExit, Before(
                                [&] {
                                    active = GetActiveWindow();
                                    dispatched = other.m_count;
                                },
                                Succeed()));
    SetActiveWindow(m_mainWindow.m_hWnd);
    Run(false);
    EXPECT_EQ(active, m_mainWindow.m_hWnd);
    EXPECT_EQ(dispatched, 0);
    DrainMessages();
    EXPECT_GT(other.m_count, 0);
}

}  // namespace
