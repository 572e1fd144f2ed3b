#include "ui/TalvenorDlg.h"

#include <dlgs.h>
#include <gtest/gtest.h>
#include <shlobj.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "framework/Handles.h"
#include "platform/TemplateStore.h"
#include "resources/resource.h"
#include "tests/support/FakeAutomation.h"
#include "tests/support/FakeClasses.h"
#include "tests/support/NetworkWatch.h"
#include "tests/support/TestScopes.h"
#include "tests/support/UnderWine.h"
#include "tests/support/WindowScopes.h"

// The main dialog in the process of the test, run modally in both languages and worked as a user works it.

namespace {

using Texts = std::vector<std::wstring>;

constexpr DISPID kExit = 6;
constexpr DISPID kDateCode = 11;
constexpr DISPID kOpenDocument = 99;
const std::wstring kLibraryKey = L"\\input";
const std::wstring kTemplateKey = L"\\Tools\\Talvenor";
constexpr char kMapHeader[] = "; Datei: x\r\n; y\r\n; z\r\n\r\n";

// Where the system suggests to put a window that came to a screen of another scaling.
constexpr RECT kSomePlace{10, 10, 900, 700};

struct Edition
{
    int flag;
    const wchar_t* resources;
};

void PrintTo(const Edition& edition, std::ostream* stream)
{
    *stream << (edition.flag != 0 ? "German" : "English");
}

// The product's settings below a hive: none until the end of the scope, then those of before again.
class CProductSettingsScope
{
public:
    explicit CProductSettingsScope(HKEY hive) : m_hive(hive), m_hadSettings(Move(kProduct, kAside)) {}
    ~CProductSettingsScope()
    {
        RegDeleteTreeW(m_hive, kProduct.c_str());
        if (m_hadSettings) {
            Move(kAside, kProduct);
        }
    }
    CProductSettingsScope(const CProductSettingsScope&) = delete;
    CProductSettingsScope& operator=(const CProductSettingsScope&) = delete;

    // False when this process may not write there.
    bool Set(const std::wstring& key, const std::wstring& value, const std::wstring& text) const
    {
        const auto size = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
        return RegSetKeyValueW(m_hive, (kProduct + key).c_str(), value.c_str(), REG_SZ, text.c_str(), size) ==
               ERROR_SUCCESS;
    }

    void Remove(const std::wstring& key, const std::wstring& value) const
    {
        EXPECT_EQ(RegDeleteKeyValueW(m_hive, (kProduct + key).c_str(), value.c_str()), ERROR_SUCCESS);
    }

private:
    // False when there is nothing to move.
    bool Move(const std::wstring& from, const std::wstring& to) const
    {
        HKEY key = nullptr;
        if (RegOpenKeyExW(m_hive, from.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) {
            return false;
        }
        const UniqueKey source(key);
        if (RegCreateKeyExW(m_hive, to.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) !=
            ERROR_SUCCESS) {
            return false;
        }
        const UniqueKey target(key);
        return RegCopyTreeW(source.get(), nullptr, target.get()) == ERROR_SUCCESS &&
               RegDeleteTreeW(m_hive, from.c_str()) == ERROR_SUCCESS;
    }

    inline static const std::wstring kProduct = L"SOFTWARE\\Zelmar";
    const std::wstring kAside =
        L"SOFTWARE\\Zelmar, set aside by test " + std::to_wstring(GetCurrentProcessId());

    HKEY m_hive;
    bool m_hadSettings;
};

// All windows below a window.
std::vector<HWND> Descendants(HWND window)
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

bool IsOfClass(HWND window, const wchar_t* windowClass)
{
    std::array<wchar_t, 64> name{};
    GetClassNameW(window, name.data(), static_cast<int>(name.size()));
    return lstrcmpiW(name.data(), windowClass) == 0;
}

// Whether the text stands on one of the windows below, or is a choice of one.
bool Shows(HWND window, const std::wstring& text)
{
    for (const HWND child : Descendants(window)) {
        const bool isChoice =
            IsOfClass(child, WC_COMBOBOXW) && SendMessageW(child, CB_FINDSTRINGEXACT, static_cast<WPARAM>(-1),
                                                           reinterpret_cast<LPARAM>(text.c_str())) != CB_ERR;
        if (isChoice || CWnd::TextOf(child) == text) {
            return true;
        }
    }
    return false;
}

// A user who works the dialogs that open above the main dialog, until the end of the scope: looks at the open
// dialog again and again until the work on it says that it is done. A dialog that stays open all the same is
// cancelled after a while.
class CDialogUser
{
public:
    using Work = std::function<bool(HWND)>;

    explicit CDialogUser(Work work) : m_work(std::move(work)) {}
    CDialogUser(const CDialogUser&) = delete;
    CDialogUser& operator=(const CDialogUser&) = delete;

    int m_opened = 0;  // dialogs seen

private:
    static constexpr UINT kInterval = 30;  // milliseconds
    static constexpr int kPatience = 300;  // looks at one dialog

    // The dialog on top, other than the main and the progress dialog; or null.
    static HWND Find()
    {
        HWND found = nullptr;
        EnumThreadWindows(
            GetCurrentThreadId(),
            [](HWND window, LPARAM place) -> BOOL {
                const bool isIt = IsOfClass(window, L"#32770") && IsWindowVisible(window) != FALSE &&
                                  GetDlgItem(window, IDC_PROGRESS_FILE) == nullptr &&
                                  GetDlgItem(window, IDC_STATUS_FRAME) == nullptr;
                *reinterpret_cast<HWND*>(place) = isIt ? window : nullptr;
                return isIt ? FALSE : TRUE;
            },
            reinterpret_cast<LPARAM>(&found));
        return found;
    }

    void Look()
    {
        const HWND dialog = Find();
        if (dialog != m_current) {
            m_current = dialog;
            m_looks = 0;
            m_done = false;
            m_opened += dialog != nullptr ? 1 : 0;
        }
        // What the work sends may let the timer through. At the first look the dialog may be in the making.
        if (dialog == nullptr || m_looking || ++m_looks == 1) {
            return;
        }
        m_looking = true;
        m_done = m_done || m_work(dialog);
        m_looking = false;
        if (m_looks == kPatience) {
            ADD_FAILURE() << "a dialog stays open";
            PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
        }
    }

    Work m_work;
    HWND m_current = nullptr;
    int m_looks = 0;
    bool m_looking = false;
    bool m_done = false;
    CTimerScope m_timer{kInterval, [this] { Look(); }};
};

// Whether one of the windows below is of a class and visible.
bool ShowsA(HWND window, const wchar_t* windowClass)
{
    const std::vector<HWND> below = Descendants(window);
    return std::any_of(below.begin(), below.end(), [&](HWND child) {
        return IsOfClass(child, windowClass) && IsWindowVisible(child) != FALSE;
    });
}

// Whether a window of the top level stands above another one.
bool IsAbove(HWND window, HWND other)
{
    for (HWND above = GetWindow(other, GW_HWNDPREV); above != nullptr;
         above = GetWindow(above, GW_HWNDPREV)) {
        if (above == window) {
            return true;
        }
    }
    return false;
}

// The progress dialog of a run; or null.
HWND FindProgress()
{
    HWND found = nullptr;
    EnumThreadWindows(
        GetCurrentThreadId(),
        [](HWND window, LPARAM place) -> BOOL {
            const bool isIt = GetDlgItem(window, IDC_PROGRESS_FILE) != nullptr;
            *reinterpret_cast<HWND*>(place) = isIt ? window : nullptr;
            return isIt ? FALSE : TRUE;
        },
        reinterpret_cast<LPARAM>(&found));
    return found;
}

bool Cancel(HWND dialog)
{
    PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
    return true;
}

// Types into the system's file dialog and presses its default button; cancels it when there is nothing to
// type.
bool PickFiles(HWND dialog, const std::wstring& names)
{
    for (const HWND child : Descendants(dialog)) {
        const int id = GetDlgCtrlID(child);
        if (IsOfClass(child, WC_EDITW) && (id == edt1 || id == cmb13)) {
            SendMessageW(child, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(names.c_str()));
        }
    }
    PostMessageW(dialog, WM_COMMAND, names.empty() ? IDCANCEL : IDOK, 0);
    return true;
}

// The name that is selected in the tree of the system's folder picker.
std::wstring SelectedFolder(HWND dialog)
{
    std::array<wchar_t, MAX_PATH> name{};
    for (const HWND child : Descendants(dialog)) {
        if (IsOfClass(child, WC_TREEVIEWW)) {
            TVITEMW item{};
            item.mask = TVIF_TEXT;
            item.hItem = TreeView_GetSelection(child);
            item.pszText = name.data();
            item.cchTextMax = static_cast<int>(name.size());
            SendMessageW(child, TVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&item));
        }
    }
    return name.data();
}

// Selects a folder in the system's folder picker and presses its default button; cancels it when there is
// none to select. The picker may still be filling its tree and then forgets the selection: it is given again
// until it stays.
bool PickFolder(HWND dialog, const std::wstring& folder)
{
    if (folder.empty()) {
        return Cancel(dialog);
    }
    if (SelectedFolder(dialog) == std::filesystem::path(folder).filename().wstring()) {
        PostMessageW(dialog, WM_COMMAND, IDOK, 0);
        return true;
    }
    SendMessageW(dialog, BFFM_SETSELECTIONW, TRUE, reinterpret_cast<LPARAM>(folder.c_str()));
    return false;
}

class TalvenorDlgTest : public testing::TestWithParam<Edition>
{
protected:
    TalvenorDlgTest()
    {
        std::filesystem::create_directory(m_parts);
        m_user.Set(kTemplateKey, L"Template Text Column 1", L"%3_%4");
        m_user.Set(kTemplateKey, L"Template Text Column 2", L"%4-%3");
    }

    void SetUp() override
    {
        if (!m_machine.Set(kLibraryKey, L"prg", m_folder / L"prg")) {
            GTEST_SKIP() << "skipped: this process may not write the machine's settings";
        }
        SetPartsFolder(m_parts);
    }

    // The text of the language at hand.
    [[nodiscard]] static std::wstring In(const wchar_t* german, const wchar_t* english)
    {
        return GetParam().flag != 0 ? german : english;
    }

    void SetPartsFolder(const std::wstring& folder) const
    {
        EXPECT_TRUE(m_machine.Set(kLibraryKey, L"parts", folder));
    }
    void AddPart(const std::wstring& name) const { WriteBytes(m_parts + L"\\" + name, "part"); }
    // Three parts, without a map file: in the list with the new names 1_a.sldprt, 2_b.sldprt and 3_c.sldprt.
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

    // Runs the dialog, has it worked and closes it with its button.
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

    // Sends what a pressed button sends.
    void Command(int id) const
    {
        m_dialog->SendMessage(WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(Item(id)));
    }

    // Clicks a control with the mouse.
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

    // The button that wears the frame of the one that Enter presses; 0 when it is not exactly one.
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

    // Types a folder and goes on to another control.
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

    // The rows as "ORIGINAL > NEW NAME > BOM NAME", pending ones with a "*" behind them.
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

    // The message boxes since the last call; questions are marked, and boxes of any other kind than a plain
    // one.
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
    [[nodiscard]] static std::wstring FolderView()
    {
        return In(L"Inhalt des Normteil-Verzeichnisses wird angezeigt",
                  L"Showing contents of the standard part folder");
    }
    [[nodiscard]] static std::wstring MapView()
    {
        return In(L"Inhalt der Map-Datei wird angezeigt", L"Showing contents of the Map-File");
    }
    [[nodiscard]] static std::wstring Changed() { return In(L" (Liste geändert)", L" (list changed)"); }

    // Message boxes
    [[nodiscard]] static std::wstring InputFolderMissing()
    {
        return In(
            L"Norm-Input-Verzeichnis nicht vorhanden!\n\nNormteil-Verzeichnis und -Dateien müssen manuell "
            L"gewählt werden.",
            L"Norm-Input-Directory not available!\n\nStandard part directory and files have to be selected "
            L"manually.");
    }
    [[nodiscard]] static std::wstring ChangeQuestion()
    {
        return In(
            L"Soll das Quellverzeichnis wirklich geändert werden?\n\nWenn JA, dann werden alle "
            L"Normteillisteneinträge im Fenster verworfen. [question]",
            L"Do you really want to change the standard part folder?\n\nIf YES, then all standard part "
            L"entries are removed from list. [question]");
    }
    [[nodiscard]] static std::wstring OtherFolderQuestion()
    {
        return In(
            L"Soll das Quellverzeichnis wirklich geändert werden?\n\nWenn JA, dann werden alle bisherigen "
            L"Normteillisteneinträge im Fenster verworfen\nund die neu ausgewählten eingefügt. [question]",
            L"Do you really want to change the standard part folder?\n\nIf YES, then all previous "
            L"selected standard part entries are removed from list\nand the new selections are inserted. "
            L"[question]");
    }
    [[nodiscard]] static std::wstring NoSuchFolder()
    {
        return In(L"Das Quellverzeichnis existiert nicht!\nBitte Eingabe korrigieren.",
                  L"The source directory does not exist!\nPlease check input.");
    }
    [[nodiscard]] std::wstring NoMapFile() const
    {
        return In(L"Map-Datei '", L"Map-File '") + m_mapFile + In(L"' nicht vorhanden.", L"' not available.");
    }
    [[nodiscard]] static std::wstring RemoveAllQuestion()
    {
        return In(L"Wirklich alle Einträge löschen? [question]",
                  L"Do you really want to remove all list entries? [question]");
    }
    [[nodiscard]] static std::wstring OverwriteQuestion(const std::wstring& mappedFolder)
    {
        return In(L"Die Map-Datei 'PartsMap.txt' existiert bereits in '",
                  L"The Map-File 'PartsMap.txt' already exists in '") +
               mappedFolder +
               In(L"'.\n\nSoll die Datei überschrieben werden? [question]",
                  L"'.\n\nDo you want to overwrite this file? [question]");
    }
    [[nodiscard]] static std::wstring AddTitle()
    {
        return In(L"Normteile hinzufügen...", L"Add standart parts...");
    }
    [[nodiscard]] static std::wstring Finished()
    {
        return In(L"Umsetzungen erfolgreich beendet. [type 64]",
                  L"Conversion successfully finished. [type 64]");
    }

    const CLanguageScope m_language{GetParam().flag};
    const CResourceScope m_resources{GetParam().resources};
    const CProductSettingsScope m_machine{HKEY_LOCAL_MACHINE};
    const CProductSettingsScope m_user{HKEY_CURRENT_USER};
    const CTempFolder m_folder;
    const CWorkingFolderScope m_workingFolder{std::filesystem::current_path()};  // the file dialog changes it
    const std::wstring m_parts = m_folder / L"parts";
    const std::wstring m_mapFile = m_parts + L"\\Mapped\\PartsMap.txt";
    const Texts m_threeRows{L"N_ISO_1_a.sldprt > 1_a.sldprt > a-1 *",
                            L"N_ISO_2_b.sldprt > 2_b.sldprt > b-2 *",
                            L"N_ISO_3_c.sldprt > 3_c.sldprt > c-3 *"};
    CWorked<CTalvenorDlg>* m_dialog = nullptr;
    int m_answer = IDOK;
    std::function<void()> m_onBox;  // what happens while a box is open
    CFakeUser m_answers{[this] {
        if (m_onBox) {
            m_onBox();
        }
        return m_answer;
    }};
};

INSTANTIATE_TEST_SUITE_P(Languages, TalvenorDlgTest,
                         testing::Values(Edition{1, kGermanLibrary}, Edition{0, kEnglishLibrary}),
                         testing::PrintToStringParamName());

// Start and view

TEST_P(TalvenorDlgTest, TheColumnsHaveTheirHeaders)
{
    Run([this] {
        const Texts headers{
            In(L"Original Normteil-Dateien", L"Original Standard-Part-Files"),
            In(L"Umbenannt nach...", L"Renamed to..."),
            In(L"Benennung d. Stücklisteneintrags", L"BOM names"),
        };
        EXPECT_EQ(Header_GetItemCount(ListView_GetHeader(Item(IDC_LIST))), 3);
        for (int column = 0; column < 3; ++column) {
            std::array<wchar_t, 100> text{};
            LVCOLUMNW request{};
            request.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_FMT;
            request.pszText = text.data();
            request.cchTextMax = static_cast<int>(text.size());
            ASSERT_TRUE(ListView_GetColumn(Item(IDC_LIST), column, &request));
            EXPECT_EQ(text.data(), headers[static_cast<std::size_t>(column)]);
            EXPECT_EQ(request.cx, MulDiv(175, static_cast<int>(GetDpiForWindow(Item(IDC_LIST))), 96));
            EXPECT_EQ(request.fmt & LVCFMT_JUSTIFYMASK, LVCFMT_LEFT);
        }
    });
}

// Wine does not scale the dialog itself; what the program adds to that is seen here.
TEST_P(TalvenorDlgTest, ColumnsAndStateImagesFollowTheScaling)
{
    struct Scaling
    {
        WORD dpi;
        int columnWidth;
        int imageWidth;
    };
    // 175 and 12 pixels at 96 dpi; between two bitmaps the smaller one is taken.
    constexpr std::array kScalings{Scaling{120, 219, 15}, Scaling{144, 263, 18}, Scaling{168, 307, 18},
                                   Scaling{192, 351, 24}, Scaling{96, 176, 12}};
    Run([&] {
        const HWND list = Item(IDC_LIST);
        for (const Scaling& scaling : kScalings) {
            SendMessageW(m_dialog->m_hWnd, WM_DPICHANGED, MAKEWPARAM(scaling.dpi, scaling.dpi),
                         reinterpret_cast<LPARAM>(&kSomePlace));
            for (int column = 0; column < 3; ++column) {
                EXPECT_EQ(ListView_GetColumnWidth(list, column), scaling.columnWidth) << scaling.dpi;
            }
            int width = 0;
            int height = 0;
            const HIMAGELIST images = ListView_GetImageList(list, LVSIL_STATE);
            EXPECT_EQ(ImageList_GetImageCount(images), 2);
            EXPECT_TRUE(ImageList_GetIconSize(images, &width, &height));
            EXPECT_EQ(width, scaling.imageWidth) << scaling.dpi;
        }
    });
}

TEST_P(TalvenorDlgTest, StartsWithTheFoldersPartsWhereThereIsNoMapFile)
{
    AddThreeParts();
    Run([this] {
        EXPECT_EQ(Rows(), m_threeRows);
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), FolderView());
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), m_parts);
        EXPECT_EQ(TextOf(IDC_MAPPED_DIR), m_parts + L"\\Mapped");
    });
    EXPECT_EQ(TakeBoxes(), Texts{});
}

TEST_P(TalvenorDlgTest, AnEmptyFolderIsNamedAsItsPathsAreComposedAndNothingIsDoneThere)
{
    SetPartsFolder(L"");
    const CNetworkWatch network;
    Run([this] {
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), L"");
        EXPECT_EQ(TextOf(IDC_MAPPED_DIR), L"\\\\Mapped");
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), FolderView());
        EXPECT_EQ(TakeBoxes(), Texts{});
        Command(IDC_SHOW_MAP);
        EXPECT_EQ(TakeBoxes(),
                  (Texts{NoSuchFolder(), In(L"Map-Datei '\\\\Mapped\\PartsMap.txt' nicht vorhanden.",
                                            L"Map-File '\\\\Mapped\\PartsMap.txt' not available.")}));
    });
    Run([this] {
        List().AddFiles({L"N_ISO_1_a.sldprt"});
        Command(IDC_START);
        EXPECT_EQ(TakeBoxes(),
                  (Texts{NoSuchFolder(), In(L"Verzeichnis '\\\\Mapped' kann nicht angelegt werden.",
                                            L"Cannot create directory '\\\\Mapped'.")}));
        EXPECT_EQ(List().CountPendingRows(), List().GetItemCount());
        EXPECT_TRUE(m_dialog->IsWindowEnabled());
    });
    EXPECT_EQ(network.m_paths, Texts{});
}

TEST_P(TalvenorDlgTest, StartsWithTheMapFileWhereThereIsOne)
{
    AddThreeParts();
    WriteMapFile("z.sldprt ; 1.sldprt ; one\r\na.sldprt ; 2.sldprt ; \r\n");
    Run([this] {
        EXPECT_EQ(Rows(), (Texts{L"z.sldprt > 1.sldprt > one", L"a.sldprt > 2.sldprt > "}));
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView());
    });
    EXPECT_EQ(TakeBoxes(), Texts{});
}

TEST_P(TalvenorDlgTest, MissingTemplatesGetTheirDefaultsAtTheStartOfTheMapView)
{
    WriteMapFile("a.sldprt ; 1.sldprt ; one\r\n");
    m_user.Remove(kTemplateKey, L"Template Text Column 1");
    m_user.Remove(kTemplateKey, L"Template Text Column 2");
    Run([this] {
        EXPECT_EQ(Rows(), Texts{L"a.sldprt > 1.sldprt > one"});
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView());
        EXPECT_EQ(ReadTemplate(1), L"%5%3_%4.changed.%6");
        EXPECT_EQ(ReadTemplate(2), L"Norm %1 - %2");
    });
}

TEST_P(TalvenorDlgTest, AChangeIsMarkedOnceAndForgottenWithTheNextView)
{
    WriteMapFile("a.sldprt ; 1.sldprt ; one\r\n");
    Run([this] {
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView());
        for (int i = 0; i < 3; ++i) {
            m_dialog->PostMessage(WM_LISTCHANGED);
            DrainMessages();
            EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView() + Changed());
        }
        Press(IDC_SHOW_MAP);
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView());
    });
    EXPECT_EQ(TakeBoxes(), Texts{});
}

TEST_P(TalvenorDlgTest, TheDragIconIsTheWindowsOwn)
{
    Run([this] {
        const LRESULT icon = m_dialog->SendMessage(WM_QUERYDRAGICON);
        EXPECT_NE(icon, 0);
        EXPECT_EQ(icon, m_dialog->SendMessage(WM_GETICON, ICON_BIG));
    });
}

TEST_P(TalvenorDlgTest, TheSystemMenuLeadsToTheAboutBox)
{
    Run([this] {
        std::array<wchar_t, 100> item{};
        GetMenuStringW(GetSystemMenu(m_dialog->m_hWnd, FALSE), IDM_ABOUT, item.data(),
                       static_cast<int>(item.size()), MF_BYCOMMAND);
        EXPECT_EQ(item.data(), In(L"&Über Talvenor...", L"&About Talvenor..."));
        std::wstring title;
        const CDialogUser user([&](HWND dialog) {
            title = CWnd::TextOf(dialog);
            EXPECT_FALSE(m_dialog->IsWindowEnabled());
            return Cancel(dialog);
        });
        // The low four bits belong to the system.
        m_dialog->SendMessage(WM_SYSCOMMAND, IDM_ABOUT + 3);
        EXPECT_EQ(title, In(L"Über Talvenor", L"About Talvenor"));
        EXPECT_EQ(user.m_opened, 1);
        EXPECT_TRUE(m_dialog->IsWindowEnabled());
    });
}

// The source folder as it is typed

TEST_P(TalvenorDlgTest, AFolderThatDoesNotExistIsReportedAndCorrectedInPlace)
{
    AddThreeParts();
    Run([this] {
        const std::wstring typed = m_folder / L"no such folder";
        TypeFolder(typed + L"\\\\..");
        EXPECT_EQ(TakeBoxes(), Texts{NoSuchFolder()});
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), typed) << "dots and backslashes at the end go";
        EXPECT_EQ(GetFocus(), Item(IDC_SOURCE_DIR));
        DWORD start = 1;
        DWORD end = 0;
        SendMessageW(Item(IDC_SOURCE_DIR), EM_GETSEL, reinterpret_cast<WPARAM>(&start),
                     reinterpret_cast<LPARAM>(&end));
        EXPECT_EQ(start, 0U);
        EXPECT_EQ(end, typed.size());
        EXPECT_EQ(Rows(), m_threeRows);
        EXPECT_EQ(TextOf(IDC_MAPPED_DIR), m_parts + L"\\Mapped");
        SetFocus(Item(IDCANCEL));
        EXPECT_EQ(TakeBoxes(), Texts{}) << "the window may be closed all the same";
    });
    EXPECT_EQ(TakeBoxes(), Texts{});
}

TEST_P(TalvenorDlgTest, NoButtonWorksOnTheOldFolderWhileTheFieldShowsARefusedOne)
{
    AddThreeParts();
    Run([this] {
        TypeFolder(m_folder / L"no such folder");
        EXPECT_EQ(TakeBoxes(), Texts{NoSuchFolder()});
        Command(IDC_SELECT_ALL);  // the focus is back in the field: the letter of a button was pressed there
        EXPECT_EQ(TakeBoxes(), Texts{}) << "the user was told already";
        EXPECT_EQ(SelectedCount(), 0);
        SetFocus(Item(IDCANCEL));  // leaves the field without a word
        Command(IDC_SELECT_ALL);
        EXPECT_EQ(TakeBoxes(), Texts{NoSuchFolder()});
        EXPECT_EQ(GetFocus(), Item(IDC_SOURCE_DIR));
        EXPECT_EQ(SelectedCount(), 0);
        TypeFolder(m_parts);
        Command(IDC_SELECT_ALL);
        EXPECT_EQ(TakeBoxes(), Texts{});
        EXPECT_EQ(SelectedCount(), 3);
    });
}

// As by a program that fills the field in: nobody leaves the field in between.
TEST_P(TalvenorDlgTest, ACorrectedFolderLetsTheNextCommandThrough)
{
    AddThreeParts();
    const std::wstring missing = m_folder / L"no such folder";
    Run([&] {
        TypeFolder(missing);
        EXPECT_EQ(TakeBoxes(), Texts{NoSuchFolder()});
        m_dialog->SetDlgItemText(IDC_SOURCE_DIR, missing + L", either");
        Command(IDC_SELECT_ALL);
        EXPECT_EQ(SelectedCount(), 0);
        EXPECT_EQ(TakeBoxes(), Texts{}) << "the focus is in the field";
        m_dialog->SetDlgItemText(IDC_SOURCE_DIR, m_parts + L"\\.");
        Command(IDC_SELECT_ALL);
        EXPECT_EQ(SelectedCount(), 3);
        EXPECT_EQ(TakeBoxes(), Texts{});
        TypeFolder(missing);
        SetFocus(Item(IDCANCEL));
        EXPECT_EQ(TakeBoxes(), Texts{NoSuchFolder()});
        m_dialog->SetDlgItemText(IDC_SOURCE_DIR, m_parts);
        Command(IDC_SELECT_NONE);
        EXPECT_EQ(SelectedCount(), 0);
        EXPECT_EQ(TakeBoxes(), Texts{});
    });
}

// What comes up is noted. A message takes the release of the button for which the list waits; the list then
// sees the mouse go elsewhere.
TEST_P(TalvenorDlgTest, AClickOnTheScrollBarReportsARefusedFolderOnce)
{
    AddThreeParts();
    Run([this] {
        SetFocus(Item(IDC_SOURCE_DIR));
        m_dialog->SetDlgItemText(IDC_SOURCE_DIR, m_folder / L"no such folder");
        List().SendMessage(WM_VSCROLL, SB_LINEDOWN);
        DrainMessages();
        List().SendMessage(WM_VSCROLL, SB_ENDSCROLL);
        DrainMessages();
        EXPECT_EQ(TakeBoxes(), Texts{NoSuchFolder()});
        EXPECT_EQ(GetFocus(), Item(IDC_SOURCE_DIR));
    });
}

TEST_P(TalvenorDlgTest, ARightClickReportsARefusedFolderOnce)
{
    AddThreeParts();
    Run([this] {
        Texts events;
        m_onBox = [&] {
            events.emplace_back(L"message");
            DrainMessages();
            List().PostMessage(WM_MOUSEMOVE, 0, MAKELPARAM(500, 100));
        };
        HWND menu = nullptr;
        const CTimerScope user(20, [&] {
            const HWND open = FindWindowW(L"#32768", nullptr);
            if (open != std::exchange(menu, open) && open != nullptr) {
                events.emplace_back(L"menu");
            }
            EndMenu();
        });
        SetFocus(Item(IDC_SOURCE_DIR));
        m_dialog->SetDlgItemText(IDC_SOURCE_DIR, m_folder / L"no such folder");
        const RECT row = List().GetRowRect(1);
        for (const auto& [column, expected] :
             {std::pair{0, Texts{L"message"}}, std::pair{1, Texts{L"menu", L"message"}}}) {
            List().SendMessage(WM_RBUTTONDOWN, MK_RBUTTON, MAKELPARAM(column * 175 + 20, row.top + 3));
            DrainMessages();
            EXPECT_EQ(std::exchange(events, {}), expected) << column;
            EXPECT_EQ(GetFocus(), Item(IDC_SOURCE_DIR));
        }
        m_dialog->SetDlgItemText(IDC_SOURCE_DIR, m_parts);
        m_onBox = nullptr;
    });
}

TEST_P(TalvenorDlgTest, ADragOfAHeaderLeavesTheFocusInTheFolderField)
{
    Run([this] {
        SetFocus(Item(IDC_SOURCE_DIR));
        m_dialog->SetDlgItemText(IDC_SOURCE_DIR, m_folder / L"no such folder");
        const HWND header = ListView_GetHeader(Item(IDC_LIST));
        const int width = ListView_GetColumnWidth(Item(IDC_LIST), 0);
        SendMessageW(header, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(width - 1, 5));
        SendMessageW(header, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(width + 24, 5));
        SendMessageW(header, WM_LBUTTONUP, 0, MAKELPARAM(width + 24, 5));
        EXPECT_EQ(TakeBoxes(), Texts{});
        EXPECT_EQ(GetFocus(), Item(IDC_SOURCE_DIR));
        EXPECT_EQ(ListView_GetColumnWidth(Item(IDC_LIST), 0), width + 25);
        m_dialog->SetDlgItemText(IDC_SOURCE_DIR, m_parts);
    });
}

TEST_P(TalvenorDlgTest, AnEditEndsWhenTheWindowIsResizedOrLeft)
{
    AddThreeParts();
    const auto edit = [this](const wchar_t* text) {
        List().EditCell(0, 1);
        SetWindowTextW(List().GetDlgItem(IDC_IN_PLACE_EDIT), text);
    };
    const auto expectEnd = [this](const std::wstring& text) {
        EXPECT_EQ(List().GetDlgItem(IDC_IN_PLACE_EDIT), nullptr);
        EXPECT_EQ(GetFocus(), Item(IDC_LIST));
        EXPECT_EQ(List().GetItemText(0, 1), text);
    };
    Run([&] {
        edit(L"resized");
        RECT place{};
        GetWindowRect(m_dialog->m_hWnd, &place);
        SetWindowPos(m_dialog->m_hWnd, nullptr, 0, 0, place.right - place.left + 50, place.bottom - place.top,
                     SWP_NOMOVE | SWP_NOZORDER);
        expectEnd(L"resized.sldprt");
        edit(L"left");
        m_dialog->SendMessage(WM_ACTIVATE, WA_INACTIVE);
        expectEnd(L"left.sldprt");
        edit(L"scaled");
        m_dialog->SendMessage(WM_DPICHANGED, MAKEWPARAM(120, 120), reinterpret_cast<LPARAM>(&kSomePlace));
        expectEnd(L"scaled.sldprt");
    });
}

TEST_P(TalvenorDlgTest, TheSameFolderInOtherLettersIsNoChange)
{
    AddThreeParts();
    Run([this] {
        std::wstring typed = m_parts + L"\\";
        CharUpperW(typed.data());
        TypeFolder(typed);
        EXPECT_EQ(TakeBoxes(), Texts{});
        EXPECT_EQ(Rows(), m_threeRows);
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR) + L"\\", typed);
    });
}

TEST_P(TalvenorDlgTest, ANoToTheChangeOfTheFolderBringsTheOldOneBack)
{
    AddThreeParts();
    m_answer = IDNO;
    Run([this] {
        TypeFolder(MakeOtherFolder());
        EXPECT_EQ(TakeBoxes(), Texts{ChangeQuestion()});
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), m_parts);
        EXPECT_EQ(TextOf(IDC_MAPPED_DIR), m_parts + L"\\Mapped");
        EXPECT_EQ(Rows(), m_threeRows);
    });
}

TEST_P(TalvenorDlgTest, AYesToTheChangeOfTheFolderLoadsTheNewOne)
{
    AddThreeParts();
    m_answer = IDYES;
    Run([this] {
        const std::wstring other = MakeOtherFolder();
        TypeFolder(other + L"\\.");
        EXPECT_EQ(TakeBoxes(), Texts{ChangeQuestion()});
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), other);
        EXPECT_EQ(TextOf(IDC_MAPPED_DIR), other + L"\\Mapped");
        EXPECT_EQ(Rows(), (Texts{L"N_ISO_8_x.sldprt > 8_x.sldprt > x-8 *",
                                 L"N_ISO_9_y.sldprt > 9_y.sldprt > y-9 *"}));
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), FolderView());
    });
}

TEST_P(TalvenorDlgTest, AFileIsTakenAsTheFolderAndNothingIsLoaded)
{
    WriteMapFile("a.sldprt ; 1.sldprt ; one\r\n");
    AddThreeParts();
    m_answer = IDYES;
    Run([this] {
        const std::wstring file = m_parts + L"\\N_ISO_1_a.sldprt";
        TypeFolder(file);
        EXPECT_EQ(TakeBoxes(), Texts{ChangeQuestion()});
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), file);
        EXPECT_EQ(TextOf(IDC_MAPPED_DIR), file + L"\\Mapped");
        EXPECT_EQ(Rows(), Texts{});
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView()) << "no other view was shown";
    });
}

// The source folder as it is picked

class FolderPickerTest : public TalvenorDlgTest
{
protected:
    // Picks a folder by the browse button.
    void Browse(const std::wstring& folder) const
    {
        const CDialogUser user([&](HWND dialog) {
            EXPECT_TRUE(Shows(
                dialog, In(L"Quellordner der Normteile auswählen:", L"Select the standard part folder:")));
            return PickFolder(dialog, folder);
        });
        Press(IDC_BROWSE);
        EXPECT_EQ(user.m_opened, 1);
    }
};

INSTANTIATE_TEST_SUITE_P(Languages, FolderPickerTest,
                         testing::Values(Edition{1, kGermanLibrary}, Edition{0, kEnglishLibrary}),
                         testing::PrintToStringParamName());

// Whether the system's folder picker shows a field to type into when it is asked for one.
bool PickersMayHaveAField()
{
    bool hasField = false;
    const CDialogUser user([&](HWND dialog) {
        hasField = ShowsA(dialog, WC_EDITW);
        return Cancel(dialog);
    });
    BROWSEINFOW request{};
    request.ulFlags = BIF_EDITBOX;
    CoTaskMemFree(SHBrowseForFolderW(&request));
    return hasField;
}

TEST_P(FolderPickerTest, HasAFieldToTypeInto)
{
    if (!PickersMayHaveAField()) {
        GTEST_SKIP() << "skipped: this system's folder picker has no such field, as Wine's has not";
    }
    Run([this] {
        const CDialogUser user([](HWND dialog) {
            EXPECT_TRUE(ShowsA(dialog, WC_EDITW));
            return Cancel(dialog);
        });
        Press(IDC_BROWSE);
    });
}

TEST_P(FolderPickerTest, ANoReloadsTheOldFolder)
{
    AddThreeParts();
    m_answer = IDNO;
    Run([this] {
        Select({0});
        Press(IDC_DELETE);
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), FolderView() + Changed());
        Browse(MakeOtherFolder());
        EXPECT_EQ(TakeBoxes(), Texts{ChangeQuestion()});
        EXPECT_EQ(Rows(), m_threeRows);
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), FolderView());
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), m_parts);
    });
}

TEST_P(FolderPickerTest, AYesLoadsTheNewFolder)
{
    AddThreeParts();
    m_answer = IDYES;
    Run([this] {
        const std::wstring other = MakeOtherFolder();
        Browse(other);
        EXPECT_EQ(TakeBoxes(), Texts{ChangeQuestion()});
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), other);
        EXPECT_EQ(TextOf(IDC_MAPPED_DIR), other + L"\\Mapped");
        EXPECT_EQ(List().GetItemCount(), 2);
    });
}

TEST_P(FolderPickerTest, TheSameFolderIsLoadedAgainWithoutAQuestion)
{
    AddThreeParts();
    Run([this] {
        WriteMapFile("a.sldprt ; 1.sldprt ; one\r\n");
        Browse(m_parts);
        EXPECT_EQ(TakeBoxes(), Texts{});
        EXPECT_EQ(Rows(), Texts{L"a.sldprt > 1.sldprt > one"});
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView());
    });
}

TEST_P(FolderPickerTest, EnterOpensItAgain)
{
    AddThreeParts();
    Run([this] {
        const CDialogUser user(&Cancel);
        Click(IDC_BROWSE);
        EXPECT_EQ(user.m_opened, 1);
        EXPECT_EQ(GetFocus(), Item(IDC_BROWSE));
        PressEnter();
        EXPECT_EQ(user.m_opened, 2);
    });
    EXPECT_FALSE(std::filesystem::exists(m_parts + L"\\Mapped")) << "no run started";
}

TEST_P(FolderPickerTest, ACancelChangesNothing)
{
    AddThreeParts();
    Run([this] {
        Select({0});
        Press(IDC_DELETE);
        Browse(L"");
        EXPECT_EQ(TakeBoxes(), Texts{});
        EXPECT_EQ(Rows(), (Texts{m_threeRows[1], m_threeRows[2]}));
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), FolderView() + Changed());
    });
}

// Adding files

class FileDialogTest : public TalvenorDlgTest
{
protected:
    // Picks files by the add button: names, or none to cancel.
    void Add(const std::wstring& names) const
    {
        const CDialogUser user([&](HWND dialog) {
            EXPECT_EQ(CWnd::TextOf(dialog), AddTitle());
            EXPECT_TRUE(
                Shows(dialog, In(L"SW-Dateien (*.sldprt;*.sldasm)", L"SW Files (*.sldprt;*.sldasm)")));
            return PickFiles(dialog, names);
        });
        Press(IDC_ADD);
        EXPECT_EQ(user.m_opened, 1);
    }

    // Types the path of a file that cannot be had: the system says so and asks on.
    void ExpectRefused(const std::wstring& path) const
    {
        Texts titles;
        const CDialogUser user([&](HWND dialog) {
            const bool isPicker = ShowsA(dialog, WC_COMBOBOXW);
            titles.push_back(isPicker ? L"picker" : L"message");
            return isPicker && titles.size() == 1 ? PickFiles(dialog, path) : Cancel(dialog);
        });
        Press(IDC_ADD);
        EXPECT_EQ(titles, (Texts{L"picker", L"message", L"picker"}));
    }
};

INSTANTIATE_TEST_SUITE_P(Languages, FileDialogTest,
                         testing::Values(Edition{1, kGermanLibrary}, Edition{0, kEnglishLibrary}),
                         testing::PrintToStringParamName());

TEST_P(FileDialogTest, FilesOfTheSameFolderAreAddedAsAChange)
{
    WriteMapFile("N_ISO_1_a.sldprt ; 1.sldprt ; one\r\n");
    AddThreeParts();
    Run([this] {
        Add(L"\"N_ISO_1_a.sldprt\" \"N_ISO_3_c.sldprt\"");
        EXPECT_EQ(Rows(), (Texts{L"N_ISO_1_a.sldprt > 1.sldprt > one", m_threeRows[2]}));
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView() + Changed());
        Add(L"");
        EXPECT_EQ(List().GetItemCount(), 2);
    });
    EXPECT_EQ(TakeBoxes(), Texts{});
}

TEST_P(FileDialogTest, FilesOfAnotherFolderReplaceTheListAfterAYes)
{
    AddThreeParts();
    Run([this] {
        const std::wstring other = MakeOtherFolder();
        m_answer = IDNO;
        Add(other + L"\\N_ISO_9_y.sldprt");
        EXPECT_EQ(TakeBoxes(), Texts{OtherFolderQuestion()});
        EXPECT_EQ(Rows(), m_threeRows);
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), m_parts);
        EXPECT_FALSE(std::filesystem::exists(other + L"\\Mapped"));
        m_answer = IDYES;
        Add(other + L"\\N_ISO_9_y.sldprt");
        EXPECT_EQ(TakeBoxes(), Texts{OtherFolderQuestion()});
        EXPECT_EQ(Rows(), Texts{L"N_ISO_9_y.sldprt > 9_y.sldprt > y-9 *"});
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), other);
        EXPECT_EQ(TextOf(IDC_MAPPED_DIR), other + L"\\Mapped");
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), FolderView());
        EXPECT_TRUE(std::filesystem::is_directory(other + L"\\Mapped"));
    });
}

TEST_P(FileDialogTest, FilesOfAnotherFolderNeedItsMappedFolder)
{
    AddThreeParts();
    m_answer = IDYES;
    Run([this] {
        const std::wstring other = MakeOtherFolder();
        WriteBytes(other + L"\\Mapped", "a file");
        Add(other + L"\\N_ISO_9_y.sldprt");
        EXPECT_EQ(
            TakeBoxes(),
            (Texts{OtherFolderQuestion(),
                   In(L"Verzeichnis '", L"Cannot create directory '") + other + L"\\Mapped" +
                       In(L"' kann nicht angelegt werden.\nEs existiert bereits eine Datei mit dem gleichen "
                          L"Namen.",
                          L"'.\nA file with the same name exists.")}));
        EXPECT_EQ(Rows(), m_threeRows);
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), m_parts);
    });
}

TEST_P(FileDialogTest, OffersNoReadOnlyBox)
{
    Run([this] {
        const CDialogUser user([](HWND dialog) {
            EXPECT_FALSE(IsWindowVisible(GetDlgItem(dialog, chx1)));
            return Cancel(dialog);
        });
        Press(IDC_ADD);
        EXPECT_EQ(user.m_opened, 1);
    });
}

TEST_P(FileDialogTest, AMissingFileIsRefused)
{
    AddThreeParts();
    Run([this] {
        ExpectRefused(L"N_ISO_4_d.sldprt");
        ExpectRefused(m_folder / L"nowhere\\N_ISO_4_d.sldprt");
        EXPECT_EQ(Rows(), m_threeRows);
    });
}

// The end of the window

// Stands where the system looks for the viewer of old help files, and counts the requests to quit.
class CHelpViewer : public CPlainWindow
{
public:
    CHelpViewer() : CPlainWindow(nullptr, WS_OVERLAPPEDWINDOW, L"MS_WINHELP") {}

    std::vector<std::pair<HWND, int>> m_requests;  // by whom, and the command

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        if (message != WM_COPYDATA) {
            return CPlainWindow::WindowProc(message, wParam, lParam);
        }
        const auto& data = *reinterpret_cast<const COPYDATASTRUCT*>(lParam);
        std::array<WORD, 2> sizeAndCommand{};
        std::memcpy(sizeAndCommand.data(), data.lpData, sizeof sizeAndCommand);
        m_requests.emplace_back(reinterpret_cast<HWND>(wParam), sizeAndCommand[1]);
        return TRUE;
    }
};

TEST_P(TalvenorDlgTest, TheHelpViewerIsToldToQuit)
{
    if (!UnderWine()) {
        GTEST_SKIP() << "skipped: how this system tells its help viewer is known of Wine only";
    }
    const CHelpViewer viewer;
    HWND window = nullptr;
    Run([&] {
        window = m_dialog->m_hWnd;
        EXPECT_TRUE(viewer.m_requests.empty());
    });
    EXPECT_EQ(viewer.m_requests, (std::vector<std::pair<HWND, int>>{{window, HELP_QUIT}}));
}

// The commands on rows

TEST_P(TalvenorDlgTest, TheMapFileIsShownOrReportedMissing)
{
    AddThreeParts();
    Run([this] {
        Press(IDC_SHOW_MAP);
        EXPECT_EQ(TakeBoxes(), Texts{NoMapFile()});
        EXPECT_EQ(Rows(), m_threeRows);
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), FolderView());
        EXPECT_EQ(GetFocus(), Item(IDC_LIST));
        WriteMapFile("a.sldprt ; 1.sldprt ; one\r\n");
        Press(IDC_SHOW_MAP);
        EXPECT_EQ(TakeBoxes(), Texts{});
        EXPECT_EQ(Rows(), Texts{L"a.sldprt > 1.sldprt > one"});
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView());
    });
}

TEST_P(TalvenorDlgTest, AMapFileThatCannotBeReadIsReportedTwice)
{
    AddThreeParts();
    Run([this] {
        WriteMapFile("a.sldprt ; 1.sldprt ; one\r\n");
        const UniqueHandle other(
            ValidHandle(CreateFileW(m_mapFile.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr)));
        ASSERT_TRUE(other);
        Press(IDC_SHOW_MAP);
        // The reader speaks German whatever the language.
        EXPECT_EQ(TakeBoxes(),
                  (Texts{L"FEHLER: Datei '" + m_mapFile + L"' kann nicht zum Lesen geöffnet werden!",
                         NoMapFile()}));
        EXPECT_EQ(Rows(), m_threeRows);
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), FolderView());
    });
}

TEST_P(TalvenorDlgTest, AllRowsAreRemovedAfterAYes)
{
    WriteMapFile("a.sldprt ; 1.sldprt ; one\r\nb.sldprt ; 2.sldprt ; two\r\n");
    Run([this] {
        m_answer = IDNO;
        Press(IDC_REMOVE_ALL);
        EXPECT_EQ(TakeBoxes(), Texts{RemoveAllQuestion()});
        EXPECT_EQ(List().GetItemCount(), 2);
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView());
        m_answer = IDYES;
        Press(IDC_REMOVE_ALL);
        EXPECT_EQ(TakeBoxes(), Texts{RemoveAllQuestion()});
        EXPECT_EQ(List().GetItemCount(), 0);
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), FolderView() + Changed());
        Press(IDC_REMOVE_ALL);
        EXPECT_EQ(TakeBoxes(), Texts{}) << "nothing to ask about";
    });
}

TEST_P(TalvenorDlgTest, SelectedRowsAreDeleted)
{
    AddThreeParts();
    AddPart(L"N_ISO_4_d.sldprt");
    AddPart(L"N_ISO_5_e.sldprt");
    Run([this] {
        Press(IDC_SELECT_NONE);
        Press(IDC_DELETE);
        EXPECT_EQ(List().GetItemCount(), 5);
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), FolderView()) << "nothing was deleted";
        Select({1, 2, 4});
        Press(IDC_DELETE);
        EXPECT_EQ(Rows(), (Texts{m_threeRows[0], L"N_ISO_4_d.sldprt > 4_d.sldprt > d-4 *"}));
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), FolderView() + Changed());
        EXPECT_EQ(GetFocus(), Item(IDC_LIST));
        Select({0});
        m_dialog->PostMessage(WM_DELETESELECTED);
        DrainMessages();
        EXPECT_EQ(Rows(), Texts{L"N_ISO_4_d.sldprt > 4_d.sldprt > d-4 *"});
        Select({0});
        List().PostMessage(WM_KEYDOWN, VK_DELETE, 1);
        DrainMessages();
        EXPECT_EQ(Rows(), Texts{});
    });
    EXPECT_EQ(TakeBoxes(), Texts{});
}

TEST_P(TalvenorDlgTest, DeletingTheLastRowOfTheMapViewShowsTheFolderView)
{
    WriteMapFile("a.sldprt ; 1.sldprt ; one\r\nb.sldprt ; 2.sldprt ; two\r\n");
    Run([this] {
        Select({0});
        Press(IDC_DELETE);
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView() + Changed());
        Select({0});
        Press(IDC_DELETE);
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), FolderView() + Changed());
    });
}

TEST_P(TalvenorDlgTest, RowsAreSelectedAndMarkedForConversion)
{
    WriteMapFile("a.sldprt ; 1.sldprt ; one\r\nb.sldprt ; 2.sldprt ; two\r\nc.sldprt ; 3.sldprt ; three\r\n");
    Run([this] {
        Press(IDC_SELECT_ALL);
        EXPECT_EQ(SelectedCount(), 3);
        EXPECT_EQ(GetFocus(), Item(IDC_LIST));
        Press(IDC_SELECT_NONE);
        EXPECT_EQ(SelectedCount(), 0);
        EXPECT_EQ(GetFocus(), Item(IDC_LIST));
        Press(IDC_MARK);
        EXPECT_EQ(List().CountPendingRows(), 0);
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView()) << "nothing was marked";
        Select({0, 2});
        Press(IDC_MARK);
        EXPECT_EQ(Rows(), (Texts{L"a.sldprt > 1.sldprt > one *", L"b.sldprt > 2.sldprt > two",
                                 L"c.sldprt > 3.sldprt > three *"}));
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView() + Changed());
        EXPECT_EQ(GetFocus(), Item(IDC_LIST));
    });
    EXPECT_EQ(TakeBoxes(), Texts{});
}

TEST_P(TalvenorDlgTest, ATemplateIsAppliedToTheSelectedRows)
{
    WriteMapFile("N_ISO_1_a.sldprt ; 1.sldprt ; one\r\nN_ISO_2_b.sldprt ; 2.sldprt ; two\r\n");
    Run([this] {
        Select({1});
        m_dialog->PostMessage(WM_APPLYTEMPLATE, 2);
        DrainMessages();
        EXPECT_EQ(Rows(),
                  (Texts{L"N_ISO_1_a.sldprt > 1.sldprt > one", L"N_ISO_2_b.sldprt > 2.sldprt > b-2 *"}));
        m_dialog->PostMessage(WM_APPLYTEMPLATE, 1);
        DrainMessages();
        EXPECT_EQ(Rows(),
                  (Texts{L"N_ISO_1_a.sldprt > 1.sldprt > one", L"N_ISO_2_b.sldprt > 2_b.sldprt > b-2 *"}));
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView() + Changed());
    });
}

// Enter

TEST_P(TalvenorDlgTest, EnterPressesTheButtonThatWasClickedAndElsewhereTheDefaultOne)
{
    WriteMapFile("a.sldprt ; 1.sldprt ; one\r\n");
    m_answer = IDNO;
    Run([this] {
        const Texts removeAll{RemoveAllQuestion()};
        const Texts overwrite{OverwriteQuestion(m_parts + L"\\Mapped")};
        Click(IDC_REMOVE_ALL);
        EXPECT_EQ(TakeBoxes(), removeAll);
        EXPECT_EQ(DefaultButton(), IDC_REMOVE_ALL);
        PressEnter();
        EXPECT_EQ(TakeBoxes(), removeAll);
        Click(IDC_COPY_ONLY);
        EXPECT_EQ(GetFocus(), Item(IDC_COPY_ONLY));
        EXPECT_EQ(DefaultButton(), IDC_START);
        PressEnter();
        EXPECT_EQ(TakeBoxes(), overwrite);
        // A program, a screen reader for instance, gives the focus to a button past the dialog manager.
        SetFocus(Item(IDC_REMOVE_ALL));
        PressEnter();
        EXPECT_EQ(TakeBoxes(), removeAll);
        SetFocus(Item(IDC_LIST));
        PressEnter();
        EXPECT_EQ(TakeBoxes(), overwrite);
        PostMessageW(Item(IDC_LIST), WM_KEYDOWN, VK_TAB, 1);
        DrainMessages();
        EXPECT_EQ(GetFocus(), Item(IDC_ADD));
        EXPECT_EQ(DefaultButton(), IDC_ADD);
        List().PostMessage(WM_VSCROLL, SB_LINEDOWN);  // scrolling takes the focus to the list
        DrainMessages();
        EXPECT_EQ(GetFocus(), Item(IDC_LIST));
        EXPECT_EQ(DefaultButton(), IDC_START);
    });
}

TEST_P(TalvenorDlgTest, ACommandThatGoesToTheListTakesTheDefaultButtonAlong)
{
    WriteMapFile("a.sldprt ; 1.sldprt ; one\r\n");
    m_answer = IDNO;
    Run([this] {
        for (const int id :
             {IDC_SELECT_ALL, IDC_MARK, IDC_SHOW_MAP, IDC_SELECT_NONE, IDC_DELETE, IDC_START}) {
            Click(IDC_REMOVE_ALL);
            EXPECT_EQ(DefaultButton(), IDC_REMOVE_ALL);
            Command(id);
            EXPECT_EQ(GetFocus(), Item(IDC_LIST)) << id;
            EXPECT_EQ(DefaultButton(), IDC_START) << id;
        }
    });
}

TEST_P(TalvenorDlgTest, OnlyTheTwoGeneratedColumnsHaveATemplateToApply)
{
    WriteMapFile("N_ISO_1_a.sldprt ; 1.sldprt ; one\r\n");
    for (const wchar_t* const column : {L"-1", L"0", L"3"}) {
        m_user.Set(kTemplateKey, std::wstring(L"Template Text Column ") + column, L"%4");
    }
    Run([this] {
        Select({0});
        constexpr WPARAM kColumn1ButForItsHighHalf = 0x1'0000'0001;
        for (const WPARAM column : {WPARAM{0}, WPARAM{3}, WPARAM{0} - 1, kColumn1ButForItsHighHalf}) {
            m_dialog->PostMessage(WM_APPLYTEMPLATE, column);
            DrainMessages();
        }
        EXPECT_EQ(Rows(), Texts{L"N_ISO_1_a.sldprt > 1.sldprt > one"});
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView());
    });
}

TEST_P(TalvenorDlgTest, AMessageAboutALaterRowComesOverTheRowsThatAreDone)
{
    WriteMapFile("N_ISO_1_a.sldprt ; 1.sldprt ; one\r\nN_ISO_2_b.sldprt ; 2.sldprt ; two\r\n");
    m_user.Set(kTemplateKey, L"Template Text Column 1", L"fest.%6");
    Run([this] {
        Select({0, 1});
        CDialogUser user([this](HWND box) {
            EXPECT_EQ(Rows(), (Texts{L"N_ISO_1_a.sldprt > fest.sldprt > one *",
                                     L"N_ISO_2_b.sldprt > 2.sldprt > two"}));
            EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView() + Changed());
            PostMessageW(box, WM_COMMAND, IDOK, 0);
            return true;
        });
        const MessageListener before =
            SetMessageListener([](const MessageRequest&) { return std::optional<int>(); });
        m_dialog->PostMessage(WM_APPLYTEMPLATE, 1);
        DrainMessages();
        SetMessageListener(before);
        EXPECT_EQ(user.m_opened, 1);
    });
}

// The run

TEST_P(TalvenorDlgTest, StartWithAnEmptyListDoesNothing)
{
    Run([this] {
        Press(IDC_START);
        EXPECT_TRUE(m_dialog->IsWindowEnabled());
        EXPECT_EQ(GetFocus(), Item(IDC_LIST));
    });
    EXPECT_EQ(TakeBoxes(), Texts{});
    EXPECT_FALSE(std::filesystem::exists(m_parts + L"\\Mapped"));
}

TEST_P(TalvenorDlgTest, StartWithAnEmptyListBringsTheWindowToTheTop)
{
    Run([this] {
        const CPlainWindow other;
        SetWindowPos(other.m_hWnd, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
        ASSERT_TRUE(IsAbove(other.m_hWnd, m_dialog->m_hWnd));
        Command(IDC_START);
        EXPECT_TRUE(IsAbove(m_dialog->m_hWnd, other.m_hWnd));
    });
}

TEST_P(TalvenorDlgTest, AMapFileIsOverwrittenAfterAYes)
{
    WriteMapFile("N_ISO_1_a.sldprt ; 1.sldprt ; one\r\n");
    AddThreeParts();
    const std::string before = ReadBytes(m_mapFile);
    Run([&] {
        SendMessageW(Item(IDC_COPY_ONLY), BM_SETCHECK, BST_CHECKED, 0);
        Press(IDC_SELECT_ALL);
        Press(IDC_MARK);
        m_answer = IDNO;
        Press(IDC_START);
        EXPECT_EQ(TakeBoxes(), Texts{OverwriteQuestion(m_parts + L"\\Mapped")});
        EXPECT_EQ(ReadBytes(m_mapFile), before);
        EXPECT_EQ(List().CountPendingRows(), 1);
        m_answer = IDYES;
        Press(IDC_START);
        EXPECT_EQ(TakeBoxes(), (Texts{OverwriteQuestion(m_parts + L"\\Mapped"), Finished()}));
        EXPECT_EQ(Rows(), Texts{L"N_ISO_1_a.sldprt > 1.sldprt > one"});
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView());
        EXPECT_TRUE(m_dialog->IsWindowEnabled());
    });
    EXPECT_TRUE(ReadBytes(m_mapFile).ends_with("N_ISO_1_a.sldprt ; 1.sldprt ; \r\n"));
    EXPECT_TRUE(std::filesystem::exists(m_parts + L"\\Mapped\\1.sldprt"));
}

TEST_P(TalvenorDlgTest, TheOverwriteQuestionIsNormalisedAsAWhole)
{
    WriteMapFile("N_ISO_1_a.sldprt ; 1.sldprt ; one\r\n");
    m_answer = IDNO;
    SetPartsFolder(m_parts + L"\\");
    Run([this] {
        SetFocus(Item(IDC_LIST));
        EXPECT_EQ(TakeBoxes(), Texts{ChangeQuestion()}) << "without its backslash the folder is another one";
        Press(IDC_START);
        EXPECT_EQ(TakeBoxes(), Texts{OverwriteQuestion(m_parts + L"\\Mapped")});
    });
    // Two backslashes that do not stand at the start of the sentence become one, those of a network path too.
    SetPartsFolder(L"\\\\?\\" + m_parts);
    Run([this] {
        EXPECT_EQ(Rows(), Texts{L"N_ISO_1_a.sldprt > 1.sldprt > one"});
        Press(IDC_START);
        EXPECT_EQ(TakeBoxes(), Texts{OverwriteQuestion(L"\\?\\" + m_parts + L"\\Mapped")});
    });
}

TEST_P(TalvenorDlgTest, WithoutTheMappedFolderNoRunStarts)
{
    AddThreeParts();
    WriteBytes(m_parts + L"\\Mapped", "a file");
    Run([this] {
        Press(IDC_START);
        EXPECT_EQ(
            TakeBoxes(),
            Texts{
                In(L"Verzeichnis '", L"Cannot create directory '") + m_parts + L"\\Mapped" +
                In(L"' kann nicht angelegt werden.\nEs existiert bereits eine Datei mit dem gleichen Namen.",
                   L"'.\nA file with the same name exists.")});
        EXPECT_EQ(Rows(), m_threeRows);
        EXPECT_TRUE(m_dialog->IsWindowEnabled());
    });
}

// A run with a stand-in CAD system of version 30, the release of 2022.
class BusyDialogTest : public TalvenorDlgTest
{
protected:
    void SetUp() override
    {
        TalvenorDlgTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        for (int number = 20; number <= 39; ++number) {
            if (IsInstalled(kCad + std::to_wstring(number))) {
                GTEST_SKIP() << "skipped: a CAD system is registered on this machine";
            }
        }
        if (!CScratchClassKey::Root()) {
            GTEST_SKIP() << "skipped: this process may not register classes where COM looks for them";
        }
        m_progIdKey = std::make_unique<CScratchClassKey>(*CScratchClassKey::Root(), kCad + L"30",
                                                         kCad + L"30\\CLSID", TextOfClass(m_classId));
        m_application.On(kDateCode, AnswerLong(2022100));
        AddThreeParts();
    }

    // Whether the name leads to a class with an entry of its own; what a crashed test left has none.
    static bool IsInstalled(const std::wstring& progId)
    {
        CLSID classId{};
        HKEY key = nullptr;
        if (FAILED(CLSIDFromProgID(progId.c_str(), &classId)) ||
            RegOpenKeyExW(HKEY_CLASSES_ROOT, (L"CLSID\\" + TextOfClass(classId)).c_str(), 0, KEY_READ,
                          &key) != ERROR_SUCCESS) {
            return false;
        }
        const UniqueKey owner(key);
        return true;
    }

    // Tries all that a user or another program can send the dialog.
    void TryEverything()
    {
        m_dialog->SetDlgItemText(IDC_SOURCE_DIR, L"Q:\\no such folder");
        m_dialog->SendMessage(WM_COMMAND, MAKEWPARAM(IDC_SOURCE_DIR, EN_KILLFOCUS),
                              reinterpret_cast<LPARAM>(Item(IDC_SOURCE_DIR)));
        for (const int id : {IDC_BROWSE, IDC_ADD, IDC_DELETE, IDC_REMOVE_ALL, IDC_SELECT_NONE, IDC_SHOW_MAP,
                             IDC_MARK, IDC_START, IDCANCEL}) {
            Command(id);
        }
        List().PostMessage(WM_KEYDOWN, VK_DELETE, 1);
        m_dialog->PostMessage(WM_DELETESELECTED);
        m_dialog->PostMessage(WM_APPLYTEMPLATE, 1);
        m_dialog->PostMessage(WM_SYSCOMMAND, IDM_ABOUT);
        DrainMessages();
    }

    void ExpectNothingHappens()
    {
        // What is sent below starts a run within the run when the rule is broken.
        if (std::exchange(m_trying, true)) {
            return;
        }
        const Texts rows = Rows();
        const std::size_t boxes = m_answers.m_boxes.size();
        const std::wstring status = TextOf(IDC_STATUS_FRAME);
        TryEverything();
        EXPECT_EQ(Rows(), rows);
        EXPECT_EQ(SelectedCount(), 3);
        EXPECT_EQ(m_answers.m_boxes.size(), boxes);
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), status);
        EXPECT_EQ(m_class.m_created, 1) << "no second run";
        ++m_tries;
        m_trying = false;
    }

    static void Send(std::vector<INPUT> inputs)
    {
        SendInput(static_cast<UINT>(inputs.size()), inputs.data(), sizeof(INPUT));
    }
    // A key as it comes from the keyboard, to whatever has the focus when it is taken from the queue.
    static void TypeEnter()
    {
        INPUT down{};
        down.type = INPUT_KEYBOARD;
        down.ki.wVk = VK_RETURN;
        INPUT up = down;
        up.ki.dwFlags = KEYEVENTF_KEYUP;
        Send({down, up});
    }
    // The same of the mouse.
    static void ClickOn(HWND control)
    {
        RECT place{};
        GetWindowRect(control, &place);
        INPUT down{};
        down.type = INPUT_MOUSE;
        down.mi.dx = (place.left + 5) * 65536 / GetSystemMetrics(SM_CXSCREEN) + 1;
        down.mi.dy = (place.top + 5) * 65536 / GetSystemMetrics(SM_CYSCREEN) + 1;
        down.mi.dwFlags = MOUSEEVENTF_ABSOLUTE | MOUSEEVENTF_MOVE | MOUSEEVENTF_LEFTDOWN;
        INPUT up = down;
        up.mi.dwFlags = MOUSEEVENTF_LEFTUP;
        Send({down, up});
    }
    // Both do something now, with a map file there and every question answered by no.
    void ExpectInputArrives()
    {
        TypeEnter();
        DrainMessages();
        EXPECT_EQ(TakeBoxes(), Texts{OverwriteQuestion(m_parts + L"\\Mapped")});
        ClickOn(Item(IDC_REMOVE_ALL));
        DrainMessages();
        EXPECT_EQ(TakeBoxes(), Texts{RemoveAllQuestion()});
    }
    [[nodiscard]] static std::wstring TooOld()
    {
        return In(L"SOLIDWORKS 99/250 muss mindestens installiert sein.", L"SOLIDWORKS 99/250 is required.");
    }

    const std::wstring kCad = L"SldWorks.Application.";
    EventLog m_log;
    const CLSID m_classId = NewClassId();
    CFakeDispatch m_application{L"application", m_log};
    CFakeClass m_class{m_classId, m_application};
    int m_tries = 0;

private:
    bool m_trying = false;
    std::unique_ptr<CScratchClassKey> m_progIdKey;
};

INSTANTIATE_TEST_SUITE_P(Languages, BusyDialogTest,
                         testing::Values(Edition{1, kGermanLibrary}, Edition{0, kEnglishLibrary}),
                         testing::PrintToStringParamName());

TEST_P(BusyDialogTest, NoCommandStartsDuringARun)
{
    m_application.On(kOpenDocument, [this](FakeCall& call) {
        m_user.Set(kTemplateKey, L"Template Text Column 1", L"other %4");
        EXPECT_FALSE(m_dialog->IsWindowEnabled());
        ExpectNothingHappens();
        return AnswerObject(nullptr)(call);
    });
    m_application.On(kExit, [this](FakeCall&) {
        EXPECT_FALSE(m_dialog->IsWindowEnabled());
        EXPECT_EQ(FindProgress(), nullptr);
        ExpectNothingHappens();
        return S_OK;
    });
    Run([this] {
        EXPECT_EQ(TextOf(IDC_VERSION), L"2022");
        const CDialogUser user(&Cancel);
        Select({0, 1, 2});
        Press(IDC_START);
        EXPECT_EQ(user.m_opened, 0);
        EXPECT_TRUE(m_dialog->IsWindowEnabled());
        EXPECT_EQ(TakeBoxes(), Texts{Finished()});
        EXPECT_EQ(List().CountPendingRows(), 0);
        EXPECT_EQ(List().GetItemCount(), 3);
        Press(IDC_SELECT_NONE);
        EXPECT_EQ(SelectedCount(), 0) << "it takes commands again";
    });
    EXPECT_EQ(m_tries, 4);
}

// A run that ends early lets the window go before the CAD system has ended.
TEST_P(BusyDialogTest, NoCommandStartsWhileACadSystemThatIsTooOldEnds)
{
    m_application.On(kDateCode, AnswerLong(1999249));
    m_application.On(kExit, [this](FakeCall&) {
        EXPECT_TRUE(m_dialog->IsWindowEnabled());
        EXPECT_EQ(FindProgress(), nullptr);
        EXPECT_EQ(GetFocus(), Item(IDC_LIST));
        ExpectNothingHappens();
        return S_OK;
    });
    Run([this] {
        Select({0, 1, 2});
        Press(IDC_START);
        EXPECT_EQ(TakeBoxes(), Texts{TooOld()});
        m_dialog->SetDlgItemText(IDC_SOURCE_DIR, m_parts);
    });
    EXPECT_EQ(m_tries, 1);
}

TEST_P(BusyDialogTest, WhatIsTypedAndClickedWhileTheCadSystemEndsIsThrownAway)
{
    m_application.On(kOpenDocument, AnswerObject(nullptr));
    m_application.On(kExit, [this](FakeCall&) {
        if (m_class.m_created == 1) {  // a run that this starts would otherwise start the next one
            TypeEnter();
            ClickOn(Item(IDC_REMOVE_ALL));
            List().PostMessage(WM_KEYDOWN, VK_RETURN, 1);
        }
        SetFocus(nullptr);  // as a system may that disables the window
        return S_OK;
    });
    m_answer = IDNO;
    Run([this] {
        Press(IDC_START);
        EXPECT_EQ(GetActiveWindow(), m_dialog->m_hWnd);
        EXPECT_EQ(GetFocus(), Item(IDC_LIST));
        EXPECT_EQ(DefaultButton(), IDC_START);
        DrainMessages();
        EXPECT_EQ(TakeBoxes(), Texts{Finished()});
        EXPECT_EQ(m_class.m_created, 1);
        ExpectInputArrives();
    });
}

TEST_P(BusyDialogTest, WhatIsTypedDuringARunThatEndsEarlyIsThrownAway)
{
    m_application.On(kDateCode, [this](FakeCall& call) {
        if (m_class.m_created == 1) {
            TypeEnter();
        }
        return AnswerLong(1999249)(call);
    });
    m_answer = IDNO;
    Run([this] {
        Press(IDC_START);
        EXPECT_EQ(GetFocus(), Item(IDC_LIST));
        DrainMessages();
        EXPECT_EQ(TakeBoxes(), Texts{TooOld()});
        EXPECT_EQ(m_class.m_created, 1);
        WriteMapFile("");
        ExpectInputArrives();
    });
}

// What is shown behind a cancelled run.
class CancelledRunTest : public BusyDialogTest
{
protected:
    // Cancels a run in its first part and does something while the message about that is open.
    void RunAndCancel(const std::function<void()>& whileToldSo)
    {
        m_application.On(kOpenDocument, [](FakeCall& call) {
            SendMessageW(FindProgress(), WM_COMMAND, IDCANCEL, 0);
            return AnswerObject(nullptr)(call);
        });
        m_onBox = [&] {
            if (m_answers.m_boxes.back().text == Cancelled()) {
                whileToldSo();
            }
        };
        Press(IDC_START);
        m_onBox = nullptr;
    }
    static std::wstring Cancelled()
    {
        return In(L"Abbruch durch Benutzer!\n\nEs wurden nicht alle Dateien kopiert.",
                  L"Canceled by user!\n\nNot all files are copied.");
    }
};

INSTANTIATE_TEST_SUITE_P(Languages, CancelledRunTest,
                         testing::Values(Edition{1, kGermanLibrary}, Edition{0, kEnglishLibrary}),
                         testing::PrintToStringParamName());

TEST_P(CancelledRunTest, ShowsTheMapFile)
{
    Run([this] {
        RunAndCancel([] {});
        EXPECT_EQ(TakeBoxes(), Texts{Cancelled()});
        EXPECT_EQ(Rows(), Texts{L"N_ISO_1_a.sldprt > 1_a.sldprt > a-1"});
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView());
    });
}

TEST_P(CancelledRunTest, ShowsAnEmptyMapFileWhenItCannotBeRead)
{
    Run([this] {
        UniqueHandle other;
        RunAndCancel([&] {
            other = UniqueHandle(ValidHandle(
                CreateFileW(m_mapFile.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr)));
            EXPECT_TRUE(other);
        });
        // The reader speaks German whatever the language.
        EXPECT_EQ(TakeBoxes(), (Texts{Cancelled(), L"FEHLER: Datei '" + m_mapFile +
                                                       L"' kann nicht zum Lesen geöffnet werden!"}));
        EXPECT_EQ(Rows(), Texts{});
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView());
    });
}

TEST_P(CancelledRunTest, ShowsTheFolderWhenTheMapFileIsGone)
{
    Run([this] {
        RunAndCancel([this] { std::filesystem::remove(m_mapFile); });
        EXPECT_EQ(TakeBoxes(), Texts{Cancelled()});
        EXPECT_EQ(Rows(), m_threeRows);
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), FolderView());
    });
}

// The first paint. It comes once in a process: each test of it takes a process of its own.

class FirstPaintTest : public TalvenorDlgTest
{
protected:
    // Runs the test at hand again in a process of its own, unless this is that process already. True there.
    [[nodiscard]] static bool IsInOwnProcess()
    {
        if (std::getenv(kInOwnProcess) != nullptr) {
            return true;
        }
        const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
        std::wstring program(MAX_PATH, L'\0');
        program.resize(GetModuleFileNameW(nullptr, program.data(), MAX_PATH));
        const std::string name = std::string(test.test_suite_name()) + "." + test.name();
        std::wstring commandLine =
            L"\"" + program + L"\" --gtest_brief=1 --gtest_filter=" + std::wstring(name.begin(), name.end());
        SetEnvironmentVariableA(kInOwnProcess, "1");
        STARTUPINFOW start{};
        start.cb = sizeof start;
        PROCESS_INFORMATION child{};
        const BOOL started = CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                            nullptr, &start, &child);
        SetEnvironmentVariableA(kInOwnProcess, nullptr);
        EXPECT_TRUE(started);
        if (started != FALSE) {
            Await(UniqueHandle(child.hProcess));
            CloseHandle(child.hThread);
        }
        return false;
    }

private:
    static void Await(const UniqueHandle& process)
    {
        constexpr DWORD kPatience = 60000;  // milliseconds
        DWORD exitCode = 1;
        if (WaitForSingleObject(process.get(), kPatience) != WAIT_OBJECT_0) {
            TerminateProcess(process.get(), 1);
        }
        GetExitCodeProcess(process.get(), &exitCode);
        EXPECT_EQ(exitCode, 0U) << "see above";
    }
};

INSTANTIATE_TEST_SUITE_P(Languages, FirstPaintTest,
                         testing::Values(Edition{1, kGermanLibrary}, Edition{0, kEnglishLibrary}),
                         testing::PrintToStringParamName());

TEST_P(FirstPaintTest, ReportsAMissingInputFolderAndAsksForFilesOnce)
{
    if (!IsInOwnProcess()) {
        return;
    }
    m_machine.Remove(kLibraryKey, L"parts");
    std::wstring title;
    const CDialogUser user([&](HWND dialog) {
        title = CWnd::TextOf(dialog);
        EXPECT_EQ(TakeBoxes(), Texts{InputFolderMissing()});
        return Cancel(dialog);
    });
    const auto expectFallback = [&] {
        EXPECT_EQ(title, AddTitle());
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), L"c:\\");
        EXPECT_EQ(TextOf(IDC_MAPPED_DIR), L"c:\\Mapped");
        RedrawWindow(m_dialog->m_hWnd, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
        EXPECT_EQ(user.m_opened, 1);
        EXPECT_EQ(TakeBoxes(), Texts{});
    };
    for (int i = 0; i < 2; ++i) {
        Run(expectFallback);
        EXPECT_EQ(TakeBoxes(), Texts{ChangeQuestion()}) << "without its backslash the folder is another one";
    }
}

TEST_P(FirstPaintTest, LoadsTheWholeFolderOfTheFilesThatAreChosen)
{
    if (!IsInOwnProcess()) {
        return;
    }
    m_machine.Remove(kLibraryKey, L"parts");
    m_answer = IDYES;
    AddThreeParts();
    const CDialogUser user([&](HWND dialog) { return PickFiles(dialog, m_parts + L"\\N_ISO_2_b.sldprt"); });
    Run([&] {
        EXPECT_EQ(user.m_opened, 1);
        EXPECT_EQ(TakeBoxes(), (Texts{InputFolderMissing(), OtherFolderQuestion()}));
        EXPECT_EQ(Rows(), m_threeRows);
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), m_parts);
        EXPECT_EQ(TextOf(IDC_MAPPED_DIR), m_parts + L"\\Mapped");
    });
}

TEST_P(FirstPaintTest, IsSilentWhereTheInputFolderIsSet)
{
    if (!IsInOwnProcess()) {
        return;
    }
    const CDialogUser user(&Cancel);
    Run([] {});
    // Only the first paint of the process looks.
    m_machine.Remove(kLibraryKey, L"parts");
    Run([this] { EXPECT_EQ(TextOf(IDC_SOURCE_DIR), L"c:\\"); });
    EXPECT_EQ(user.m_opened, 0);
    EXPECT_EQ(TakeBoxes(), Texts{ChangeQuestion()}) << "asked when the button that closes takes the focus";
}

}  // namespace
