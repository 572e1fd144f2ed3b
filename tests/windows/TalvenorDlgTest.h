#pragma once

#include <windows.h>

#include <commctrl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "resources/resource.h"
#include "tests/support/AutomationNumbers.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/FakeAutomation.h"
#include "tests/support/FakeClasses.h"
#include "tests/support/Files.h"
#include "tests/support/Languages.h"
#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"
#include "tests/support/ZelmarRegistry.h"
#include "tests/windows/ConvListScopes.h"
#include "ui/TalvenorDlg.h"

// The base of the tests of the main dialog, which runs modally in this process.

inline constexpr char kMapHeader[] = "; Datei: x\r\n; y\r\n; z\r\n\r\n";

// The rectangle that the system suggests to a window whose DPI has changed.
inline constexpr RECT kSuggestedRect{10, 10, 900, 700};

// The child windows of a window, at every depth.
inline std::vector<HWND> Descendants(HWND window)
{
    std::vector<HWND> found;
    EnumChildWindows(
        window,
        [](HWND child, LPARAM list) -> BOOL {
            reinterpret_cast<std::vector<HWND>*>(list)->push_back(child);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&found));
    return found;
}

// The progress dialog of a run; null if there is none.
inline HWND FindProgress()
{
    return FindWindowOfThread([](HWND window) { return GetDlgItem(window, IDC_PROGRESS_FILE) != nullptr; });
}

class TalvenorDlgTest : public LanguageTest
{
protected:
    TalvenorDlgTest()
    {
        std::filesystem::create_directory(m_parts);
        m_registry.SetTemplate(1, L"%3_%4");
        m_registry.SetTemplate(2, L"%4-%3");
    }

    void SetUp() override
    {
        EXPECT_TRUE(m_registry.SetProgramFolder(m_folder / L"prg"));
        SetPartsFolder(m_parts);
    }

    void SetPartsFolder(const std::wstring& folder) { EXPECT_TRUE(m_registry.SetPartsFolder(folder)); }
    void AddPart(const std::wstring& name) const { WriteBytes(m_parts + L"\\" + name, "part"); }
    // Adds three parts. Without a map file, the list gives them the new names 1_a.sldprt, 2_b.sldprt and
    // 3_c.sldprt.
    void AddThreeParts() const
    {
        for (const wchar_t* const name : {L"N_ISO_1_a.sldprt", L"N_ISO_2_b.sldprt", L"N_ISO_3_c.sldprt"}) {
            AddPart(name);
        }
    }
    void WriteMapFile(const std::string& records) const
    {
        std::filesystem::create_directory(m_parts + L"\\Mapped");
        WriteBytes(m_mapFile, kMapHeader + records);
    }
    [[nodiscard]] std::wstring MakeOtherFolder() const
    {
        const std::wstring folder = m_folder / L"other";
        std::filesystem::create_directory(folder);
        WriteBytes(folder + L"\\N_ISO_8_x.sldprt", "part");
        WriteBytes(folder + L"\\N_ISO_9_y.sldprt", "part");
        return folder;
    }

    // Runs the dialog, calls `work` while it is open, and closes it with its Close button.
    void Run(const std::function<void()>& work)
    {
        CWorked<CTalvenorDlg> dialog;
        const CMainWindowScope mainWindow(&dialog);
        dialog.m_work = [&] {
            m_dialog = &dialog;
            DrainMessages();
            work();
            Press(IDCANCEL);
        };
        EXPECT_EQ(dialog.DoModal(), IDCANCEL);
        m_dialog = nullptr;
    }

    [[nodiscard]] HWND Item(int id) const { return m_dialog->GetDlgItem(id); }
    [[nodiscard]] std::wstring TextOf(int id) const { return m_dialog->GetDlgItemText(id); }
    [[nodiscard]] CConvList& List() const
    {
        return dynamic_cast<CConvList&>(*CWnd::FromHandle(Item(IDC_LIST)));
    }
    void Press(int button) const { SendMessageW(Item(button), BM_CLICK, 0, 0); }

    // Sends the command that a pressed button sends.
    void Command(int id) const
    {
        m_dialog->SendMessage(WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(Item(id)));
    }

    void Click(int id) const
    {
        PostMessageW(Item(id), WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(3, 3));
        PostMessageW(Item(id), WM_LBUTTONUP, 0, MAKELPARAM(3, 3));
        DrainMessages();
    }
    static void PressEnter()
    {
        PostMessageW(GetFocus(), WM_KEYDOWN, VK_RETURN, 1);
        DrainMessages();
    }

    // The default button; 0 if there is not exactly one.
    [[nodiscard]] int DefaultButton() const
    {
        int found = 0;
        int count = 0;
        for (const HWND control : Descendants(m_dialog->m_hWnd)) {
            if ((SendMessageW(control, WM_GETDLGCODE, 0, 0) & DLGC_DEFPUSHBUTTON) != 0) {
                found = GetDlgCtrlID(control);
                ++count;
            }
        }
        return count == 1 ? found : 0;
    }

    // Types a folder into the source folder field and moves the focus to another control.
    void TypeFolder(const std::wstring& folder, int nextControl = IDC_LIST) const
    {
        SetFocus(Item(IDC_SOURCE_DIR));
        m_dialog->SetDlgItemText(IDC_SOURCE_DIR, folder);
        SetFocus(Item(nextControl));
    }

    void Select(const std::vector<int>& rows) const
    {
        List().SetItemState(-1, 0, LVIS_SELECTED);
        for (const int row : rows) {
            List().SetItemState(row, LVIS_SELECTED, LVIS_SELECTED);
        }
    }
    [[nodiscard]] int SelectedCount() const
    {
        return static_cast<int>(ListView_GetSelectedCount(Item(IDC_LIST)));
    }

    // The rows as "ORIGINAL > NEW NAME > BOM NAME", followed by "*" if pending.
    [[nodiscard]] Texts Rows() const
    {
        Texts rows;
        for (int row = 0; row < List().GetItemCount(); ++row) {
            const UTtab_entry entry = List().GetRow(row);
            const bool pending = List().GetItemState(row, LVIS_STATEIMAGEMASK) == INDEXTOSTATEIMAGEMASK(1);
            EXPECT_EQ(List().IsPending(row), pending);
            rows.push_back(entry.strOriginal + L" > " + entry.strRenamed + L" > " + entry.strBomName +
                           (pending ? L" *" : L""));
        }
        return rows;
    }

    // The texts of the message boxes since the last call. A suffix gives the type of a box unless the type is
    // MB_OK.
    [[nodiscard]] Texts TakeBoxes()
    {
        Texts boxes;
        for (const MessageRequest& box : std::exchange(m_answers.m_boxes, {})) {
            const std::wstring kind = box.type == (MB_YESNO | MB_ICONQUESTION)
                                          ? L" [question]"
                                          : L" [type " + std::to_wstring(box.type) + L"]";
            boxes.push_back(box.text + (box.type == MB_OK ? L"" : kind));
        }
        return boxes;
    }

    // The status captions
    [[nodiscard]] static std::wstring FolderView() { return expected::kFolderView.Current(); }
    [[nodiscard]] static std::wstring MapView() { return expected::kMapView.Current(); }
    [[nodiscard]] static std::wstring Changed() { return expected::kListChanged.Current(); }

    // Message boxes as TakeBoxes returns them
    [[nodiscard]] static std::wstring Question(const std::wstring& text) { return text + L" [question]"; }
    [[nodiscard]] static std::wstring ChangeQuestion() { return Question(expected::kChangeFolder.Current()); }
    [[nodiscard]] static std::wstring OtherFolderQuestion()
    {
        return Question(expected::kAddFromOtherFolder.Current());
    }
    [[nodiscard]] static std::wstring RemoveAllQuestion() { return Question(expected::kRemoveAll.Current()); }
    [[nodiscard]] static std::wstring OverwriteQuestion(const std::wstring& mappedFolder)
    {
        return Question(expected::OverwriteMap(mappedFolder));
    }
    [[nodiscard]] static std::wstring NoSuchFolder() { return expected::kNoSuchFolder.Current(); }
    [[nodiscard]] static std::wstring Finished() { return expected::kFinished.Current() + L" [type 64]"; }

    CZelmarRegistry m_registry;
    const CTempFolder m_folder;
    const std::wstring m_parts = m_folder / L"parts";
    const std::wstring m_mapFile = m_parts + L"\\Mapped\\PartsMap.txt";
    const Texts m_threeRows{L"N_ISO_1_a.sldprt > 1_a.sldprt > a-1 *",
                            L"N_ISO_2_b.sldprt > 2_b.sldprt > b-2 *",
                            L"N_ISO_3_c.sldprt > 3_c.sldprt > c-3 *"};
    CWorked<CTalvenorDlg>* m_dialog = nullptr;
    int m_answer = IDOK;
    std::function<void()> m_onBox;  // what happens while a box is open
    CMessageRecorder m_answers{[this] {
        if (m_onBox) {
            m_onBox();
        }
        return m_answer;
    }};
};

// The base of the tests that need a CAD system. Registers release 2022, with a fake automation object in this
// process.
class CadDialogTest : public TalvenorDlgTest
{
protected:
    void SetUp() override
    {
        TalvenorDlgTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        CScratchClasses::RequireNoCadSystem();
        if (IsSkipped()) {
            return;
        }
        CScratchClasses::RequireAccess();
        if (IsSkipped()) {
            return;
        }
        m_classes.AddProgId(L"SldWorks.Application.30", m_classId);
        m_application.On(automation::kGetDateCode, AnswerLong(2022100));
        AddThreeParts();
    }

    EventLog m_log;
    const CLSID m_classId = NewClassId();
    CFakeDispatch m_application{L"application", m_log};
    CFakeClass m_class{m_classId, m_application};

private:
    CScratchClasses m_classes;
};
