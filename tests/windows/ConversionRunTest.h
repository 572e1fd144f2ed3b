#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "framework/WinApp.h"
#include "resources/resource.h"
#include "run/ConversionRun.h"
#include "tests/support/FakeAutomation.h"
#include "tests/support/FakeClasses.h"
#include "tests/support/Files.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"

// The base of the tests of the conversion run. The automation objects are fakes in this process; the files,
// the table and the progress dialog are real.

using Texts = std::vector<std::wstring>;
using Positions = std::vector<int>;

inline const std::wstring kMapFile = L"lib\\Mapped\\PartsMap.txt";

// Records what the progress dialog shows.
class CScreenWatcher
{
public:
    HWND m_dialog = nullptr;                                 // the progress dialog; it may be gone
    std::map<int, Texts> m_texts;                            // the texts that each line was given
    std::map<int, Positions> m_positions;                    // the positions that each bar was given
    std::function<void()> m_onOverallMove;                   // called when the overall bar is about to move
    std::function<void(const std::wstring&)> m_onFirstLine;  // called when the first line is about to be set
    std::function<void(HWND, UINT, WPARAM)> m_onMessage;     // called for each message sent to a window

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

    CSentMessageHook m_hook{[this](const CWPSTRUCT& call) { Note(call); }};
};

class ConversionRunTest : public testing::Test, protected CConversionView
{
protected:
    // The standard-parts folder is "lib" in the working folder. With this short path, the progress dialog
    // shows the files' paths in full.
    ConversionRunTest()
    {
        std::filesystem::create_directories(L"lib\\Mapped");
        EXPECT_TRUE(m_table.SubclassWindow(
            m_mainWindow.AddControl(WC_LISTVIEWW, IDC_LIST, LVS_REPORT, {0, 0, 600, 200})));
        for (const int column : {0, 1, 2}) {
            m_table.InsertColumn(column, L"", 175);
        }
        m_application.On(automation::kGetDateCode, AnswerLong(2024100));
        m_application.On(automation::kOpenDocument, AnswerObject(&m_document));
        m_document.On(automation::kGetConfigurationCount, AnswerLong(1));
        m_document.On(automation::kGetConfigurationNames, AnswerStrings({L"Default"}));
        m_document.On(automation::kGetConfiguration, AnswerObject(&m_configuration));
        m_document.On(automation::kSave, AnswerLong(0));
    }

    void SetUp() override
    {
        CScratchClasses::RequireAccess();
        if (!IsSkipped()) {
            m_classes.AddProgId(kProgId, m_classId);
        }
    }

    // What holds after every run, however it ended.
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

    // Adds a row and creates its part file.
    void AddRow(const std::wstring& original, const std::wstring& renamed, const std::wstring& bomName,
                bool pending = true)
    {
        UTtab_entry entry{original, renamed, bomName};
        m_entries.AddTail(entry);
        m_pending.push_back(pending);
        WriteBytes(L"lib\\" + original, "content of a part");
    }
    // Adds pending rows a1, a2, ... with the new names b1, b2, ...
    void AddRows(int count)
    {
        for (int i = 1; i <= count; ++i) {
            const std::wstring number = std::to_wstring(i);
            AddRow(L"a" + number + L".sldprt", L"b" + number + L".sldprt", L"Norm " + number + L" - %2");
        }
    }

    void AddConvertedRows(int count)
    {
        for (int row = 0; row < count; ++row) {
            AddRow(L"a.sldprt", L"b.sldprt", L"", false);
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
        CConversionRun run(m_mainWindow, m_table, m_sldWorks, m_cadServer, *this,
                           {folder, kProgId, copyOnly});
        run.Run();
        m_record = run.TakeRecord();
    }

    // The record lines of the map file. Each line must end in CR LF.
    static std::vector<std::string> Records()
    {
        std::istringstream file(ReadBytes(kMapFile));
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);) {
            EXPECT_TRUE(line.ends_with('\r')) << line;
            lines.push_back(line.substr(0, line.size() - 1));
        }
        EXPECT_GE(lines.size(), 4U);
        lines.erase(lines.begin(), lines.begin() + std::min<std::ptrdiff_t>(4, std::ssize(lines)));
        return lines;
    }

    // The marks of the rows: P pending, c converted, ? contradictory.
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

    // An answer that calls a function first.
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

    // Only the n-th call (from 1) to open a document fails.
    void FailOpening(int n, const CFakeDispatch::Handler& failure)
    {
        m_application.On(automation::kOpenDocument, [this, n, failure](FakeCall& call) {
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
    CServerProcess m_cadServer;
    CScreenWatcher m_screen;
    int m_answer = IDOK;  // to message boxes
    std::function<void()> m_onBox;
    int m_opened = 0;
    RunRecord m_record;  // of the last run

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
    static void ExpectMapFileClosed() { EXPECT_TRUE(OpenAsOther(kMapFile, GENERIC_READ, 0)); }

    CList<UTtab_entry, UTtab_entry&> m_entries;
    std::vector<bool> m_pending;
    CScratchClasses m_classes;
    CListenerScope m_listener{[this](const MessageRequest& request) { return OnBox(request); }};
};
