#include "tests/support/RefusedCalls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <new>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "framework/LongOperation.h"
#include "resources/resource.h"
#include "tests/support/AutomationNumbers.h"
#include "tests/support/EveryFault.h"
#include "tests/support/Rects.h"
#include "tests/support/ShellWatch.h"
#include "tests/support/TextFile.h"
#include "tests/support/WindowScopes.h"
#include "tests/windows/TalvenorDlgTest.h"

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
        if (!IsSkipped() && !CRefusedCall::Sees(CallKind::memory)) {
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

    static void DoNothing() {}

    // Performs an action with each of its calls refused in turn, or with about `sample` of them unless every
    // fault is wanted. Calls `prepare` before and `check` after each time. The number of calls is found out
    // by performing the action undisturbed.
    static void RefuseEach(CallKind kind, int sample, const Action& prepare, const Action& action,
                           const Action& check)
    {
        const auto perform = [&](int refused) {
            SCOPED_TRACE("refused call " + std::to_string(refused));
            prepare();
            int calls = 0;
            {
                const CRefusedCall refusal(kind, refused);
                action();
                calls = CRefusedCall::Count();
            }
            check();
            return calls;
        };
        perform(0);  // makes what is made only once
        const int calls = perform(0);
        const int step = EveryFault() ? 1 : std::max(1, calls / sample);
        int tried = 0;
        int refused = 0;
        for (int call = 1; call <= calls; call += step) {
            ++tried;
            refused += perform(call) >= call ? 1 : 0;
        }
        RecordProperty("calls", calls);
        EXPECT_GT(calls, 0);
        EXPECT_GE(refused * 10, tried * 9) << "most of the calls were really made again";
        perform(0);
    }

    // ---- Runs

    void PrepareRun()
    {
        for (const std::wstring& name : NamesIn(m_mapped)) {
            SetFileAttributesW((m_mapped + L"\\" + name).c_str(), FILE_ATTRIBUTE_NORMAL);
            EXPECT_TRUE(DeleteFileW((m_mapped + L"\\" + name).c_str()));
        }
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

    void RefuseEachOfARun(CallKind kind, int sample)
    {
        Run([&] {
            const auto prepare = [this] { PrepareRun(); };
            const auto start = [this] { Press(IDC_START); };
            const auto check = [this] { CheckRun(); };
            RefuseEach(kind, sample, prepare, start, check);
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

    void RefuseEachOfTheStart(CallKind kind, int sample)
    {
        const auto prepare = [this] {
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
        RefuseEach(kind, sample, prepare, open, check);
        EXPECT_EQ(m_opened, 3) << "the last start was undisturbed";
    }

    // ---- The report

    void RefuseEachOfTheReport(CallKind kind)
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
            RefuseEach(kind, 100, &DoNothing, report, check);
        });
    }

    const std::wstring m_mapped = m_parts + L"\\Mapped";
    CFakeDispatch m_document{L"document", m_log};
    CFakeDispatch m_configuration{L"configuration", m_log};
    INT_PTR m_result = 0;
    int m_opened = -1;  // the rows of the list of the opened dialog; -1 if it did not open
};

INSTANTIATE_TEST_SUITE_P(German, RefusedCallsTest, testing::Values(1));

TEST_P(RefusedCallsTest, MemoryDuringARun)
{
    RefuseEachOfARun(CallKind::memory, 150);
}

TEST_P(RefusedCallsTest, HandlesDuringARun)
{
    RefuseEachOfARun(CallKind::handles, 100);
}

TEST_P(RefusedCallsTest, MemoryAtTheStart)
{
    RefuseEachOfTheStart(CallKind::memory, 25);
}

TEST_P(RefusedCallsTest, HandlesAtTheStart)
{
    RefuseEachOfTheStart(CallKind::handles, 25);
}

TEST_P(RefusedCallsTest, MemoryForTheReport)
{
    RefuseEachOfTheReport(CallKind::memory);
}

TEST_P(RefusedCallsTest, HandlesForTheReport)
{
    RefuseEachOfTheReport(CallKind::handles);
}

// An editor that is left open without the focus would later overwrite the cell with what it happens to hold.
TEST_P(RefusedCallsTest, AnEditOpensWithItsTextOrNotAtAll)
{
    Run([this] {
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
        for (const CallKind kind : {CallKind::memory, CallKind::handles}) {
            RefuseEach(kind, 100, &DoNothing, open, check);
        }
    });
}

TEST_P(RefusedCallsTest, ATypedNameIsTakenOrStaysInItsEditor)
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
        RefuseEach(CallKind::memory, 100, prepare, leave, check);
    });
}

// A control that a new scaling leaves without a size would be gone.
TEST_P(RefusedCallsTest, HandlesDuringANewScaling)
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
            EXPECT_NE(ListView_GetImageList(Item(IDC_LIST), LVSIL_STATE), nullptr) << "the marks are back";
            EXPECT_EQ(TakeBoxes(), Texts{});
        };
        const auto scaleUp = [&] { scale(192); };
        RefuseEach(CallKind::handles, 100, &DoNothing, scaleUp, check);
    });
}

}  // namespace
