#include "tests/support/RefusedCalls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <new>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "framework/Clipboard.h"
#include "framework/LongOperation.h"
#include "framework/ServerProcess.h"
#include "resources/resource.h"
#include "tests/support/AutomationNumbers.h"
#include "tests/support/FakeClasses.h"
#include "tests/support/FaultCount.h"
#include "tests/support/Rects.h"
#include "tests/support/ShellWatch.h"
#include "tests/support/TextFile.h"
#include "tests/support/WindowScopes.h"
#include "tests/windows/TalvenorDlgTest.h"
#include "tests/windows/WaitingProgram.h"
#include "ui/DlgTemplate.h"

// The main dialog while the system is short of memory or handles: one call after the other fails. Whatever
// the map file and the window then say must be true.

namespace {

using namespace automation;
using Lines = std::vector<std::string>;

// What the map file may hold of the parts of CadDialogTest, in this order.
const Lines kRecords{"N_ISO_1_a.sldprt ; 1_a.sldprt ; a-1", "N_ISO_2_b.sldprt ; 2_b.sldprt ; b-2",
                     "N_ISO_3_c.sldprt ; 3_c.sldprt ; c-3"};

// The lines of a text in which each line, the last one too, ends in CR LF.
Lines WholeLines(const std::string& text)
{
    EXPECT_TRUE(text.empty() || text.ends_with("\r\n")) << "a partial line: " << text;
    Lines lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        EXPECT_TRUE(line.ends_with('\r')) << line;
        lines.push_back(line.substr(0, line.size() - 1));
    }
    return lines;
}

class RefusedCallsTest : public CadDialogTest
{
protected:
    using Action = std::function<void()>;

    void SetUp() override
    {
        CadDialogTest::SetUp();
        if (!IsSkipped() && CRefusedCall::NotImported(CallKind::memory) == Lines{"malloc"}) {
            GTEST_SKIP() << "skipped: this executable contains the runtime library";
        }
        m_application.On(kOpenDocument, AnswerObject(&m_document));
        m_document.On(kGetConfigurationCount, AnswerLong(1));
        m_document.On(kGetConfigurationNames, AnswerStrings({L"Default"}));
        m_document.On(kGetConfiguration, AnswerObject(&m_configuration));
        m_document.On(kSave, AnswerLong(0));
        // A key that the user presses during the run waits in the queue when the run has ended.
        m_application.On(kExit, [this](FakeCall&) {
            PostMessageW(m_dialog->m_hWnd, WM_KEYDOWN, VK_SHIFT, 1);
            return S_OK;
        });
    }

    void TearDown() override
    {
        m_count.Record();
        CadDialogTest::TearDown();
    }

    static void DoNothing() {}

    // What RefuseEach refuses, and during which action.
    struct Refusals
    {
        CallKind kind;
        const char* when;   // in the report
        int variation = 0;  // by how many calls the action may be shorter another time
    };

    // Performs an action with each of its calls refused in turn. Calls `prepare` before and `check` after
    // each time. The number of calls is found out by performing the action undisturbed.
    void RefuseEach(const Refusals& refusals, const Action& prepare, const Action& action,
                    const Action& check)
    {
        const auto perform = [&](int refused) {
            SCOPED_TRACE("refused call " + std::to_string(refused));
            prepare();
            int calls = 0;
            {
                const CRefusedCall refusal(refusals.kind, refused);
                action();
                calls = CRefusedCall::Count();
                Note(CRefusedCall::Called());
            }
            check();
            return calls;
        };
        perform(0);  // makes what is made only once
        const int calls = perform(0);
        ASSERT_GT(calls, 0);
        if (m_refuses) {
            RecordProperty("kind", TitleOf(refusals));
            Sweep(calls, refusals.variation, perform);
            perform(0);
        }
    }

    // Every call that is to be refused must really be made again.
    void Sweep(int calls, int variation, const std::function<int(int)>& perform)
    {
        std::vector<int> missed;
        for (int call = 1; call <= calls; ++call) {
            const int failures = Failures();
            if (perform(call) >= call) {
                m_count.Add(1, Failures() == failures);
            } else if (call <= calls - variation) {
                missed.push_back(call);
            }
        }
        EXPECT_EQ(missed, std::vector<int>()) << "of " << calls << " calls";
    }

    static std::string TitleOf(const Refusals& refusals)
    {
        return std::string(refusals.kind == CallKind::memory ? "each call for memory"
                                                             : "each call for a handle") +
               " refused in turn: " + refusals.when;
    }

    // The failed assertions of this test so far.
    static int Failures()
    {
        const testing::TestResult& result = *testing::UnitTest::GetInstance()->current_test_info()->result();
        int failures = 0;
        for (int part = 0; part < result.total_part_count(); ++part) {
            failures += result.GetTestPartResult(part).failed() ? 1 : 0;
        }
        return failures;
    }

    void Note(const Lines& called)
    {
        const CUncountedCalls uncounted;
        m_called.insert(called.begin(), called.end());
    }

    // ---- Runs

    void RemoveCopies() const
    {
        for (const std::wstring& name : NamesIn(m_mapped)) {
            SetFileAttributesW((m_mapped + L"\\" + name).c_str(), FILE_ATTRIBUTE_NORMAL);
            EXPECT_TRUE(DeleteFileW((m_mapped + L"\\" + name).c_str()));
        }
    }

    void PrepareRun()
    {
        RemoveCopies();
        for (int row = 0; row < List().GetItemCount(); ++row) {
            List().MarkPending(row);
        }
    }

    void CheckRun()
    {
        DrainMessages();
        const Lines records = Records();
        CheckRows(records);
        const Texts boxes = TakeBoxes();
        EXPECT_FALSE(boxes.empty()) << "a run ends with a message";
        if (List().CountPendingRows() > 0 || records.size() < kRecords.size()) {
            EXPECT_NE(boxes, Texts{Finished()}) << "the user is told";
        }
        CheckWindow();
    }

    // The records in the map file, which must be a part of kRecords; none without a map file.
    [[nodiscard]] Lines Records() const
    {
        if (!FileExists(m_mapFile)) {
            return {};
        }
        const Lines header{"; Datei: " + ByCode(m_mapFile),
                           "; Automatisch generierte Datei, manuelle \xC4nderungen k\xF6nnen verloren gehen.",
                           "; (c) Talvenor", ""};
        Lines lines = WholeLines(ReadBytes(m_mapFile));
        if (lines.empty()) {
            return {};
        }
        EXPECT_GE(lines.size(), header.size());
        const auto end = lines.begin() + std::min(std::ssize(lines), std::ssize(header));
        EXPECT_EQ(Lines(lines.begin(), end), header);
        lines.erase(lines.begin(), end);
        EXPECT_TRUE(std::ranges::includes(kRecords, lines)) << testing::PrintToString(lines);
        return lines;
    }

    // A converted row has its record, and a recorded row its copy.
    void CheckRows(const Lines& records) const
    {
        ASSERT_EQ(List().GetItemCount(), 3);
        for (int row = 0; row < 3; ++row) {
            const bool recorded =
                std::ranges::find(records, kRecords[static_cast<std::size_t>(row)]) != records.end();
            EXPECT_TRUE(recorded || List().IsPending(row)) << row;
            if (recorded) {
                EXPECT_EQ(ReadBytes(m_mapped + L"\\" + List().GetItemText(row, 1)), "part") << row;
            }
        }
    }

    // The window takes commands, and nothing of the run is left.
    void CheckWindow() const
    {
        EXPECT_TRUE(m_dialog->IsWindowEnabled());
        EXPECT_EQ(FindProgress(), nullptr);
        EXPECT_FALSE(CLongOperation::IsActive());
        EXPECT_EQ(m_application.References(), 0) << "the CAD system is released";
        EXPECT_EQ(m_document.References(), 0);
        EXPECT_EQ(m_configuration.References(), 0);
        EXPECT_TRUE(!FileExists(m_mapFile) || OpenAsOther(m_mapFile, GENERIC_READ | GENERIC_WRITE, 0));
        Press(IDC_SELECT_ALL);
        EXPECT_EQ(SelectedCount(), 3);
        Press(IDC_SELECT_NONE);
    }

    void RefuseDuringARun(CallKind kind)
    {
        Run([&] {
            const auto prepare = [this] { PrepareRun(); };
            const auto start = [this] { Press(IDC_START); };
            const auto check = [this] { CheckRun(); };
            RefuseEach({kind, "a run"}, prepare, start, check);
            EXPECT_EQ(Records(), kRecords) << "the last run was undisturbed";
            EXPECT_EQ(List().CountPendingRows(), 0);
        });
    }

    // ---- The start

    // Opens the dialog and closes it again.
    void Open()
    {
        std::optional<CWorked<CTalvenorDlg>> dialog;
        try {
            dialog.emplace();
        } catch (const std::bad_alloc&) {
            return;  // the program itself ends by fail-fast
        }
        const CMainWindowScope mainWindow(&*dialog);
        dialog->m_work = [&] {
            const CUncountedCalls uncounted;
            m_dialog = &*dialog;
            DrainMessages();
            m_opened = ListView_GetItemCount(Item(IDC_LIST));  // it may be unbound
            Press(IDCANCEL);
        };
        m_result = dialog->DoModal();
        m_dialog = nullptr;
    }

    void RefuseAtTheStart(CallKind kind)
    {
        const auto prepare = [this] {
            RemoveCopies();
            m_opened = -1;
            m_result = -1;
        };
        const auto check = [this] {
            const bool complete = m_result == IDCANCEL && m_opened == 3;
            EXPECT_TRUE(complete || m_result == -1 || !TakeBoxes().empty()) << m_result << " " << m_opened;
            EXPECT_EQ(FindWindowOfThread([](HWND window) { return IsOfClass(window, L"#32770"); }), nullptr);
            EXPECT_EQ(m_registry.Template(1), L"%3_%4");
            EXPECT_EQ(m_registry.Template(2), L"%4-%3");
            static_cast<void>(TakeBoxes());
        };
        const auto open = [this] { Open(); };
        RefuseEach({kind, "the start"}, prepare, open, check);
        EXPECT_EQ(m_opened, 3) << "the last start was undisturbed";
    }

    // ---- The report

    void RefuseForTheReport(CallKind kind)
    {
        CShellWatch shell;
        const CTempFolder temporary;
        const CTemporaryFolderScope temporaryFolder(temporary.Path());
        Run([&] {
            PrepareRun();
            Press(IDC_START);
            static_cast<void>(TakeBoxes());
            const auto check = [&] {
                const std::size_t shown = shell.Take().size();
                EXPECT_EQ(shown, TakeBoxes().empty() ? 1U : 0U) << "a page or a message";
                for (const std::wstring& name : NamesIn(temporary.Path())) {
                    EXPECT_TRUE(ReadBytes(temporary / name).ends_with("</html>\n"));
                    EXPECT_TRUE(DeleteFileW((temporary / name).c_str()));
                }
                EXPECT_TRUE(m_dialog->IsWindowEnabled());
            };
            const auto report = [this] { Press(IDC_REPORT); };
            RefuseEach({kind, "the report"}, &DoNothing, report, check);
        });
    }

    // ---- Edits

    // An editor that is left open without the focus would later overwrite the cell with what it happens to
    // hold.
    void RefuseWhenAnEditOpens(CallKind kind)
    {
        Run([this, kind] {
            const auto open = [this] {
                List().PostMessage(WM_KEYDOWN, VK_F2, 1);
                DrainMessages();
            };
            const auto check = [this] {
                DrainMessages();
                if (const HWND editor = List().GetDlgItem(IDC_IN_PLACE_EDIT); editor != nullptr) {
                    EXPECT_EQ(GetFocus(), editor);
                    EXPECT_EQ(CWnd::TextOf(editor), L"1_a.sldprt");
                }
                SetFocus(Item(IDC_LIST));
                EXPECT_EQ(GetWindow(Item(IDC_LIST), GW_CHILD), List().GetHeader());
                EXPECT_EQ(GetWindow(List().GetHeader(), GW_HWNDNEXT), nullptr) << "no editor is left";
                EXPECT_EQ(List().GetItemText(0, 1), L"1_a.sldprt");
                static_cast<void>(TakeBoxes());
            };
            List().SelectOnly(0);
            RefuseEach({kind, "an edit opens"}, &DoNothing, open, check);
        });
    }

    void RefuseWhenAnEditEnds()
    {
        Run([this] {
            const auto prepare = [this] {
                List().SetItemText(0, 1, L"1_a.sldprt");
                List().EditCell(0, 1);
                SetWindowTextW(GetFocus(), L"M8x20 DIN 933");
            };
            const auto check = [this] {
                if (const HWND editor = List().GetDlgItem(IDC_IN_PLACE_EDIT); editor != nullptr) {
                    EXPECT_EQ(CWnd::TextOf(editor), L"M8x20 DIN 933");
                    SetFocus(editor);
                    SetFocus(Item(IDC_LIST));
                }
                EXPECT_EQ(List().GetDlgItem(IDC_IN_PLACE_EDIT), nullptr);
                const bool told = !TakeBoxes().empty();
                EXPECT_TRUE(told || List().GetItemText(0, 1) == L"M8x20 DIN 933.sldprt");
            };
            const auto leave = [this] { SetFocus(Item(IDC_LIST)); };
            RefuseEach({CallKind::memory, "an edit ends"}, prepare, leave, check);
        });
    }

    // ---- The window

    // A control that a new scaling leaves without a size would be gone.
    void RefuseAtANewScaling()
    {
        Run([this] {
            const auto scale = [this](WORD dpi) {
                const RECT place = RectOf(m_dialog->m_hWnd);
                m_dialog->SendMessage(WM_DPICHANGED, MAKEWPARAM(dpi, dpi), reinterpret_cast<LPARAM>(&place));
            };
            const auto width = [this] { return ListView_GetColumnWidth(Item(IDC_LIST), 0); };
            scale(96);
            const int before = width();
            const auto check = [&] {
                for (const HWND control : Descendants(m_dialog->m_hWnd)) {
                    const RECT rect = ClientRectOf(control);
                    EXPECT_FALSE(IsRectEmpty(&rect)) << GetDlgCtrlID(control);
                }
                scale(96);
                EXPECT_EQ(width(), before);
                EXPECT_NE(ListView_GetImageList(Item(IDC_LIST), LVSIL_STATE), nullptr)
                    << "the marks are back";
                EXPECT_EQ(TakeBoxes(), Texts{});
            };
            const auto scaleUp = [&] { scale(192); };
            RefuseEach({CallKind::handles, "a new scaling"}, &DoNothing, scaleUp, check);
        });
    }

    void RefuseWhilePaintingMinimized()
    {
        Run([this] {
            const auto minimize = [this] {
                ShowWindow(m_dialog->m_hWnd, SW_MINIMIZE);
                EXPECT_TRUE(IsIconic(m_dialog->m_hWnd));
                InvalidateRect(m_dialog->m_hWnd, nullptr, TRUE);
            };
            const auto check = [this] {
                ShowWindow(m_dialog->m_hWnd, SW_RESTORE);
                DrainMessages();
                EXPECT_FALSE(IsIconic(m_dialog->m_hWnd));
                EXPECT_TRUE(IsWindowVisible(Item(IDC_LIST)));
                EXPECT_EQ(TakeBoxes(), Texts{});
            };
            const auto paint = [this] { m_dialog->SendMessage(WM_PAINT); };
            RefuseEach({CallKind::handles, "the minimized window is painted"}, minimize, paint, check);
        });
    }

    // ---- Commands

    void RefuseWhileCopyingRows()
    {
        Run([this] {
            Press(IDC_SELECT_ALL);
            const std::wstring rows =
                L"N_ISO_1_a.sldprt\t1_a.sldprt\ta-1\r\nN_ISO_2_b.sldprt\t2_b.sldprt\tb-2\r\n"
                L"N_ISO_3_c.sldprt\t3_c.sldprt\tc-3\r\n";
            const auto prepare = [this] { EXPECT_TRUE(WriteClipboard(m_dialog->m_hWnd, L"earlier")); };
            const auto check = [&] {
                EXPECT_EQ(ReadClipboard(m_dialog->m_hWnd), TakeBoxes().empty() ? rows : L"earlier");
            };
            const auto copy = [this] { Command(IDM_COPY); };
            RefuseEach({CallKind::memory, "rows are copied to the clipboard"}, prepare, copy, check);
            EXPECT_EQ(ReadClipboard(m_dialog->m_hWnd), rows) << "the last copy was undisturbed";
        });
    }

    // A menu that does not open must leave nothing behind, and a half-made one no command.
    void RefuseWhenAMenuOpens(CallKind kind, const char* when, const Action& open)
    {
        Run([&] {
            bool opened = false;
            const CTimerScope close(20, [&] {
                const CUncountedCalls uncounted;
                if (IsMenuOpen()) {
                    opened = true;
                    EndMenu();
                }
            });
            Press(IDC_SELECT_ALL);
            const Texts rows = Rows();
            const auto prepare = [&] { opened = false; };
            const auto check = [&] {
                DrainMessages();
                EXPECT_FALSE(IsMenuOpen());
                EXPECT_EQ(Rows(), rows);
                CheckWindow();
                Press(IDC_SELECT_ALL);
                static_cast<void>(TakeBoxes());
            };
            RefuseEach({kind, when}, prepare, open, check);
            EXPECT_TRUE(opened) << "the last menu was undisturbed";
        });
    }

    static bool IsMenuOpen()
    {
        return FindWindowOfThread([](HWND window) {
                   return IsWindowVisible(window) != FALSE && IsOfClass(window, L"#32768");
               }) != nullptr;
    }

    void RefuseWhenFurtherCommandsOpen(CallKind kind)
    {
        RefuseWhenAMenuOpens(kind, "the menu of further commands opens", [this] { Press(IDC_MORE); });
    }

    void RefuseWhenTheListsMenuOpens(CallKind kind)
    {
        RefuseWhenAMenuOpens(kind, "the menu of the list opens", [this] {
            List().SendMessage(WM_CONTEXTMENU, reinterpret_cast<WPARAM>(Item(IDC_LIST)), -1);
        });
    }

    // ---- A template

    // OK does not report that it could not store the template, but it never stores another text.
    void RefuseWhileStoringATemplate(CallKind kind)
    {
        Run([this, kind] {
            const std::wstring before = L"%3_%4";
            const std::wstring after = L"%4 %3";
            const auto prepare = [&] {
                m_registry.SetTemplate(1, before);
                m_registry.SetHistory(1, 1, after);
                m_registry.SetHistory(1, 2, before);
            };
            const auto check = [&] {
                const std::wstring stored = m_registry.Template(1).value_or(L"(none)");
                EXPECT_TRUE(stored == before || stored == after) << ToUtf8(stored);
                EXPECT_TRUE(m_dialog->IsWindowEnabled());
                static_cast<void>(TakeBoxes());
            };
            const auto store = [&] { StoreTemplate(before, after); };
            RefuseEach({kind, "a template is stored"}, prepare, store, check);
            EXPECT_EQ(m_registry.Template(1), after) << "the last time was undisturbed";
        });
    }

    // Opens the template dialog, enters a template and presses OK. If OK does not close the dialog, cancels.
    void StoreTemplate(const std::wstring& before, const std::wstring& after)
    {
        try {
            CWorked<CDlgTemplate> dialog(1, 1, before, m_dialog);
            dialog.m_work = [&] {
                dialog.SetDlgItemText(IDC_TEMPLATE_TEXT, after);
                SendMessageW(dialog.GetDlgItem(IDOK), BM_CLICK, 0, 0);
                if (!dialog.IsEnding()) {
                    dialog.EndDialog(IDCANCEL);
                }
            };
            static_cast<void>(dialog.DoModal());
        } catch (const std::bad_alloc&) {
            return;  // the window procedure reports it
        }
    }

    // ---- The CAD system's process

    // Whatever is not known about the processes: one that was there before is never taken for the program's
    // own and ended. `starts`: whether connecting starts another one.
    void RefuseWhileConnecting(bool starts)
    {
        const std::wstring progId = L"Talvenor.Test.Process.1";
        const CTempFolder folder;
        const std::wstring image = CopyWaitingProgram(folder);
        CScratchClasses classes;
        classes.AddServer(progId, image);
        const CWaitingProcess earlier(image);
        std::optional<CServerProcess> server;
        std::optional<CWaitingProcess> started;
        bool ours = false;
        const auto prepare = [&] { server.emplace().BeginRun(progId); };
        const auto connect = [&] {
            server->BeginConnect();
            if (starts) {
                const CUncountedCalls uncounted;
                started.emplace(image);
            }
            server->EndConnect(true);
        };
        const auto check = [&] {
            ours = server->Terminate();
            server.reset();
            EXPECT_EQ(started && started->Ends(0), ours);
            EXPECT_FALSE(earlier.Ends(0));
            started.reset();
        };
        // A process of another program that has ended meanwhile is no longer opened, before and after
        // connecting.
        constexpr int kVariation = 2;
        RefuseEach({CallKind::handles, "the process of the CAD system is looked for", kVariation}, prepare,
                   connect, check);
        EXPECT_EQ(ours, starts) << "the last connection was undisturbed";
    }

    const std::wstring m_mapped = m_parts + L"\\Mapped";
    CFakeDispatch m_document{L"document", m_log};
    CFakeDispatch m_configuration{L"configuration", m_log};
    bool m_refuses = true;  // otherwise RefuseEach only performs the action
    std::set<std::string> m_called;
    CFaultCount m_count;
    INT_PTR m_result = 0;
    int m_opened = -1;  // the rows of the list of the opened dialog; -1 if it did not open
};

INSTANTIATE_TEST_SUITE_P(German, RefusedCallsTest, testing::Values(1));

TEST_P(RefusedCallsTest, MemoryDuringARun)
{
    RefuseDuringARun(CallKind::memory);
}

TEST_P(RefusedCallsTest, HandlesDuringARun)
{
    RefuseDuringARun(CallKind::handles);
}

TEST_P(RefusedCallsTest, MemoryAtTheStart)
{
    RefuseAtTheStart(CallKind::memory);
}

TEST_P(RefusedCallsTest, HandlesAtTheStart)
{
    RefuseAtTheStart(CallKind::handles);
}

TEST_P(RefusedCallsTest, MemoryForTheReport)
{
    RefuseForTheReport(CallKind::memory);
}

TEST_P(RefusedCallsTest, HandlesForTheReport)
{
    RefuseForTheReport(CallKind::handles);
}

TEST_P(RefusedCallsTest, MemoryWhenAnEditOpens)
{
    RefuseWhenAnEditOpens(CallKind::memory);
}

TEST_P(RefusedCallsTest, HandlesWhenAnEditOpens)
{
    RefuseWhenAnEditOpens(CallKind::handles);
}

TEST_P(RefusedCallsTest, MemoryWhenAnEditEnds)
{
    RefuseWhenAnEditEnds();
}

TEST_P(RefusedCallsTest, HandlesAtANewScaling)
{
    RefuseAtANewScaling();
}

TEST_P(RefusedCallsTest, HandlesWhilePaintingMinimized)
{
    RefuseWhilePaintingMinimized();
}

TEST_P(RefusedCallsTest, MemoryWhileCopyingRows)
{
    RefuseWhileCopyingRows();
}

TEST_P(RefusedCallsTest, MemoryWhenFurtherCommandsOpen)
{
    RefuseWhenFurtherCommandsOpen(CallKind::memory);
}

TEST_P(RefusedCallsTest, HandlesWhenFurtherCommandsOpen)
{
    RefuseWhenFurtherCommandsOpen(CallKind::handles);
}

TEST_P(RefusedCallsTest, MemoryWhenTheListsMenuOpens)
{
    RefuseWhenTheListsMenuOpens(CallKind::memory);
}

TEST_P(RefusedCallsTest, MemoryWhileStoringATemplate)
{
    RefuseWhileStoringATemplate(CallKind::memory);
}

TEST_P(RefusedCallsTest, HandlesWhileStoringATemplate)
{
    RefuseWhileStoringATemplate(CallKind::handles);
}

TEST_P(RefusedCallsTest, HandlesWhileConnecting)
{
    RefuseWhileConnecting(true);
}

TEST_P(RefusedCallsTest, HandlesWhileConnectingToAnEarlierServer)
{
    RefuseWhileConnecting(false);
}

// A function that is not imported, or that no action calls, would never be refused.
TEST_P(RefusedCallsTest, EveryFunctionIsCalledBySomeAction)
{
    m_refuses = false;
    for (const CallKind kind : {CallKind::memory, CallKind::handles}) {
        EXPECT_EQ(CRefusedCall::NotImported(kind), Lines());
        m_called.clear();
        RefuseDuringARun(kind);
        RefuseAtTheStart(kind);
        RefuseForTheReport(kind);
        RefuseWhenAnEditOpens(kind);
        if (kind == CallKind::memory) {
            RefuseWhileCopyingRows();
        } else {
            RefuseAtANewScaling();
            RefuseWhilePaintingMinimized();
            RefuseWhileStoringATemplate(kind);
            RefuseWhenFurtherCommandsOpen(kind);
            RefuseWhileConnecting(true);
        }
        Lines listed = CRefusedCall::Functions(kind);
        std::ranges::sort(listed);
        EXPECT_EQ(Lines(m_called.begin(), m_called.end()), listed);
    }
}

}  // namespace
