#include "tests/windows/TalvenorDlgTest.h"

#include <commdlg.h>
#include <dlgs.h>
#include <gtest/gtest.h>
#include <shellapi.h>
#include <shlobj.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "framework/Handles.h"
#include "framework/MessageText.h"
#include "framework/PaintingWait.h"
#include "framework/ScopeExit.h"
#include "platform/FolderLock.h"
#include "platform/TemplateStore.h"
#include "resources/resource.h"
#include "tests/support/AnnouncementWatch.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/FailingFile.h"
#include "tests/support/FakeAutomation.h"
#include "tests/support/FakeClasses.h"
#include "tests/support/FileInterceptor.h"
#include "tests/support/ImportTable.h"
#include "tests/support/Languages.h"
#include "tests/support/NetworkWatch.h"
#include "tests/support/OwnFolder.h"
#include "tests/support/ShellWatch.h"
#include "tests/support/StartProgram.h"
#include "tests/support/SystemDialogs.h"
#include "tests/support/TestScopes.h"
#include "tests/support/UnderWine.h"
#include "tests/support/WindowScopes.h"
#include "tests/support/WorkAreaScope.h"
#include "tests/support/ZelmarRegistry.h"
#include "tests/windows/ConvListScopes.h"
#include "tests/windows/FakeTaskbar.h"

// Tests of the main dialog. The dialog runs modally in this process, in both languages. The tests send it the
// input that a user would give.

namespace {

using namespace automation;

// Whether a descendant shows the text or offers it as a choice.
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

// Operates the dialogs that open above the main dialog, until the end of the scope. Calls `work` for each
// dialog until `work` returns true. If a dialog stays open for about nine seconds, the test fails and the
// dialog is cancelled.
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
    static constexpr int kPatience = 300;  // the largest number of looks at one dialog

    // The topmost dialog other than the main and the progress dialog; null if there is none.
    static HWND Find()
    {
        return FindWindowOfThread([](HWND window) {
            return IsOfClass(window, L"#32770") && IsWindowVisible(window) != FALSE &&
                   GetDlgItem(window, IDC_PROGRESS_FILE) == nullptr &&
                   GetDlgItem(window, IDC_STATUS_FRAME) == nullptr;
        });
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
        // A message that `work` sends may run this timer again. At the first look the dialog may be
        // incomplete.
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

// Whether a visible descendant is of this class.
bool ShowsA(HWND window, const wchar_t* windowClass)
{
    const std::vector<HWND> below = Descendants(window);
    return std::any_of(below.begin(), below.end(), [&](HWND child) {
        return IsOfClass(child, windowClass) && IsWindowVisible(child) != FALSE;
    });
}

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

bool Cancel(HWND dialog)
{
    PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
    return true;
}

// Types names into the system's file dialog and presses its default button. Cancels the dialog if there are
// no names.
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

// Selects a folder in the system's folder picker and presses its default button. Cancels the picker if
// `folder` is an empty text. Returns false until the picker shows the folder as selected, because the picker
// forgets a selection while it fills its tree.
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

IN_BOTH_LANGUAGES(TalvenorDlgTest);

// Start and view

TEST_P(TalvenorDlgTest, TheColumnsHaveTheirHeaders)
{
    Run([this] {
        EXPECT_EQ(Header_GetItemCount(ListView_GetHeader(Item(IDC_LIST))), 3);
        for (int column = 0; column < 3; ++column) {
            std::array<wchar_t, 100> text{};
            LVCOLUMNW request{};
            request.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_FMT;
            request.pszText = text.data();
            request.cchTextMax = static_cast<int>(text.size());
            ASSERT_TRUE(ListView_GetColumn(Item(IDC_LIST), column, &request));
            EXPECT_EQ(text.data(), expected::kHeaders[column].Current());
            EXPECT_EQ(request.cx, MulDiv(175, static_cast<int>(GetDpiForWindow(Item(IDC_LIST))), 96));
            EXPECT_EQ(request.fmt & LVCFMT_JUSTIFYMASK, LVCFMT_LEFT);
        }
    });
}

TEST_P(TalvenorDlgTest, TheLibraryMayBeRegisteredFor32BitProgramsOnly)
{
    AddThreeParts();
    m_registry.RemoveLibrary();
    EXPECT_TRUE(m_registry.SetPartsFolder(m_parts, KEY_WOW64_32KEY));
    const CDialogUser user(&Cancel);  // without a folder, the first paint would ask for files
    Run([this] {
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), m_parts);
        EXPECT_EQ(Rows(), m_threeRows);
    });
}

TEST_P(TalvenorDlgTest, ALibraryThatIsRegisteredFor64BitProgramsTakesPrecedence)
{
    AddThreeParts();
    EXPECT_TRUE(m_registry.SetPartsFolder(MakeOtherFolder(), KEY_WOW64_32KEY));
    Run([this] { EXPECT_EQ(TextOf(IDC_SOURCE_DIR), m_parts); });
}

// Tests only what the program itself scales, because Wine does not scale the dialog.
TEST_P(TalvenorDlgTest, ColumnsAndStateImagesFollowTheScaling)
{
    struct Scaling
    {
        WORD dpi;
        int columnWidth;
        int imageWidth;
    };
    // At 96 dpi, columns start with a width of 175 pixels, and images are 12 pixels wide. Each new column
    // width is the previous width scaled and rounded, so the last width is 176. Between the sizes of two
    // bitmaps, the program uses the smaller bitmap.
    constexpr std::array kScalings{Scaling{120, 219, 15}, Scaling{144, 263, 18}, Scaling{168, 307, 18},
                                   Scaling{192, 351, 24}, Scaling{96, 176, 12}};
    Run([&] {
        const HWND list = Item(IDC_LIST);
        for (const Scaling& scaling : kScalings) {
            SendMessageW(m_dialog->m_hWnd, WM_DPICHANGED, MAKEWPARAM(scaling.dpi, scaling.dpi),
                         reinterpret_cast<LPARAM>(&kSuggestedRect));
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

// During the default handling of WM_DPICHANGED, Windows resizes the dialog. Wine does not, so the test
// resizes the dialog. This is the state of the dialog before that resize:
struct DuringScaling
{
    MINMAXINFO limits{};
    bool hasStateImages = true;
};

decltype(&::CallWindowProcW) g_callWindowProc = nullptr;
std::optional<DuringScaling> g_duringScaling;

LRESULT CALLBACK ResizeForScaling(WNDPROC procedure, HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_DPICHANGED) {
        g_duringScaling.emplace();
        g_duringScaling->hasStateImages =
            ListView_GetImageList(GetDlgItem(window, IDC_LIST), LVSIL_STATE) != nullptr;
        SendMessageW(window, WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&g_duringScaling->limits));
        ListView_SetColumnWidth(GetDlgItem(window, IDC_LIST), 0, 300);  // as if the system had scaled it
        const RECT& place = *reinterpret_cast<const RECT*>(lParam);
        SetWindowPos(window, nullptr, place.left, place.top, place.right - place.left,
                     place.bottom - place.top, SWP_NOZORDER | SWP_NOACTIVATE);
    }
    return g_callWindowProc(procedure, window, message, wParam, lParam);
}

DuringScaling Scale(HWND dialog, WORD dpi)
{
    RedirectImport("CallWindowProcW", &ResizeForScaling, &g_callWindowProc);
    SendMessageW(dialog, WM_DPICHANGED, MAKEWPARAM(dpi, dpi), reinterpret_cast<LPARAM>(&kSuggestedRect));
    return std::exchange(g_duringScaling, std::nullopt).value();
}

// The list view of Windows keeps its row height while it has state images. Wine's list view always measures
// its rows again.
TEST_P(TalvenorDlgTest, RowsGetTheirHeightAnewAtEachScaling)
{
    AddThreeParts();
    Run([&] {
        const auto heightAt = [&](WORD dpi) {
            EXPECT_FALSE(Scale(m_dialog->m_hWnd, dpi).hasStateImages);
            EXPECT_NE(ListView_GetImageList(Item(IDC_LIST), LVSIL_STATE), nullptr);
            const RECT row = List().GetRowRect(0);
            return row.bottom - row.top;
        };
        const LONG first = heightAt(96);
        EXPECT_GT(heightAt(288), first) << "the images are larger";
        EXPECT_EQ(heightAt(96), first);
    });
}

// Notes the messages that give a list view images or a font.
LRESULT CALLBACK NoteImagesAndFont(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR,
                                   DWORD_PTR log)
{
    if ((message == LVM_SETIMAGELIST && lParam != 0) || (message == WM_SETFONT && wParam != 0)) {
        reinterpret_cast<std::vector<UINT>*>(log)->push_back(message);
    }
    return DefSubclassProc(window, message, wParam, lParam);
}

// The list view of Windows is reported to measure its rows again when it gets a font (`dpi-row-height` in
// docs/windows.md). Wine's list view measures them again when it gets images.
TEST_P(TalvenorDlgTest, TheListGetsItsFontAgainAfterImagesOfAnotherSize)
{
    Run([&] {
        std::vector<UINT> log;
        ASSERT_TRUE(
            SetWindowSubclass(Item(IDC_LIST), &NoteImagesAndFont, 2, reinterpret_cast<DWORD_PTR>(&log)));
        Scale(m_dialog->m_hWnd, 192);
        RemoveWindowSubclass(Item(IDC_LIST), &NoteImagesAndFont, 2);
        // Before the images, the default handling of Windows may set a font as well.
        log.erase(log.begin(), std::ranges::find(log, UINT{LVM_SETIMAGELIST}));
        EXPECT_EQ(log, (std::vector<UINT>{LVM_SETIMAGELIST, WM_SETFONT}));
    });
}

TEST_P(TalvenorDlgTest, ColumnsAreScaledOnceEvenIfTheSystemDidIt)
{
    Run([&] {
        const int before = ListView_GetColumnWidth(Item(IDC_LIST), 1);
        Scale(m_dialog->m_hWnd, 192);
        EXPECT_EQ(ListView_GetColumnWidth(Item(IDC_LIST), 0), ListView_GetColumnWidth(Item(IDC_LIST), 1));
        EXPECT_GT(ListView_GetColumnWidth(Item(IDC_LIST), 1), before);
    });
}

TEST_P(TalvenorDlgTest, EverythingIsReachableOnAScreenThatIsTooSmall)
{
    // The work area of a screen of 1366 x 768 pixels at 150 %, in pixels at 100 %.
    const CWorkAreaScope workArea({0, 0, 910, 472});
    Run([&] {
        const RECT window = RectOf(m_dialog->m_hWnd);
        EXPECT_EQ(window.top, 0);
        EXPECT_EQ(window.bottom, 472);
        EXPECT_LE(window.right, 910);
        const RECT client = m_dialog->GetClientRect();
        for (const int id : {IDC_BROWSE, IDC_MARK, IDC_COPY_ONLY, IDC_START, IDC_HELP_BUTTON}) {
            const RECT place = RectIn(m_dialog->m_hWnd, Item(id));
            EXPECT_LE(place.right, client.right) << id;
            EXPECT_LE(place.bottom, client.bottom) << id;
        }
        const RECT list = RectIn(m_dialog->m_hWnd, Item(IDC_LIST));
        EXPECT_GT(list.bottom - list.top, 0);
    });
}

TEST_P(TalvenorDlgTest, NothingLimitsTheSizeWhileTheScalingChanges)
{
    Run([&] {
        EXPECT_EQ(Scale(m_dialog->m_hWnd, 144).limits.ptMinTrackSize.x, 0);
        MINMAXINFO limits{};
        SendMessageW(m_dialog->m_hWnd, WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&limits));
        EXPECT_GT(limits.ptMinTrackSize.x, 0) << "afterwards the limit holds again";
    });
}

TEST_P(TalvenorDlgTest, TheColumnsShareTheWidthOfALargerWindow)
{
    Run([&] {
        const auto widths = [&] {
            std::vector<int> all;
            for (int column = 0; column < 3; ++column) {
                all.push_back(ListView_GetColumnWidth(Item(IDC_LIST), column));
            }
            return all;
        };
        const std::vector<int> before = widths();
        RECT place{};
        GetWindowRect(m_dialog->m_hWnd, &place);
        const auto resizeBy = [&](int wider) {
            SetWindowPos(m_dialog->m_hWnd, nullptr, 0, 0, place.right - place.left + wider,
                         place.bottom - place.top, SWP_NOMOVE | SWP_NOZORDER);
        };
        resizeBy(90);
        EXPECT_EQ(widths(), (std::vector<int>{before[0] + 30, before[1] + 30, before[2] + 30}));
        resizeBy(0);
        EXPECT_EQ(widths(), before);
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

TEST_P(TalvenorDlgTest, AnEmptyFolderIsShownWithItsPathsAndNothingIsAccessed)
{
    SetPartsFolder(L"");
    const CNetworkWatch network;
    Run([this] {
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), L"");
        EXPECT_EQ(TextOf(IDC_MAPPED_DIR), L"\\\\Mapped");
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), FolderView());
        EXPECT_EQ(TakeBoxes(), Texts{});
        Command(IDC_SHOW_MAP);
        EXPECT_EQ(TakeBoxes(), (Texts{NoSuchFolder(), expected::MapMissing(L"\\\\Mapped\\PartsMap.txt")}));
    });
    Run([this] {
        List().AddFiles({L"N_ISO_1_a.sldprt"});
        Command(IDC_START);
        EXPECT_EQ(TakeBoxes(), (Texts{NoSuchFolder(), expected::NoFolder(L"\\\\Mapped")}));
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
    m_registry.RemoveTemplate(1);
    m_registry.RemoveTemplate(2);
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

TEST_P(TalvenorDlgTest, TheDragIconIsTheWindowsIcon)
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
        EXPECT_EQ(item.data(), expected::kAboutCommand.Current());
        std::wstring title;
        const CDialogUser user([&](HWND dialog) {
            title = CWnd::TextOf(dialog);
            EXPECT_FALSE(m_dialog->IsWindowEnabled());
            return Cancel(dialog);
        });
        // Windows uses the low four bits of the command.
        m_dialog->SendMessage(WM_SYSCOMMAND, IDM_ABOUT + 3);
        EXPECT_EQ(title, expected::kAbout.Current());
        EXPECT_EQ(user.m_opened, 1);
        EXPECT_TRUE(m_dialog->IsWindowEnabled());
    });
}

// The source folder, typed

TEST_P(TalvenorDlgTest, AFolderThatDoesNotExistIsReportedAndCorrectedInPlace)
{
    AddThreeParts();
    Run([this] {
        const std::wstring typed = m_folder / L"no such folder";
        TypeFolder(typed + L"\\\\..");
        EXPECT_EQ(TakeBoxes(), Texts{NoSuchFolder()});
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), typed) << "dots and backslashes at the end are removed";
        EXPECT_EQ(GetFocus(), Item(IDC_SOURCE_DIR));
        EXPECT_EQ(SelectionOf(Item(IDC_SOURCE_DIR)),
                  (std::array<DWORD, 2>{0, static_cast<DWORD>(typed.size())}));
        EXPECT_EQ(Rows(), m_threeRows);
        EXPECT_EQ(TextOf(IDC_MAPPED_DIR), m_parts + L"\\Mapped");
        SetFocus(Item(IDCANCEL));
        EXPECT_EQ(TakeBoxes(), Texts{}) << "the window may still be closed";
    });
    EXPECT_EQ(TakeBoxes(), Texts{});
}

TEST_P(TalvenorDlgTest, NoButtonWorksWhileTheFieldShowsARefusedFolder)
{
    AddThreeParts();
    Run([this] {
        TypeFolder(m_folder / L"no such folder");
        EXPECT_EQ(TakeBoxes(), Texts{NoSuchFolder()});
        Command(IDC_SELECT_ALL);  // as its mnemonic does: the focus stays in the field
        EXPECT_EQ(TakeBoxes(), Texts{}) << "the user was told already";
        EXPECT_EQ(SelectedCount(), 0);
        SetFocus(Item(IDCANCEL));  // no message on the way to the Close button
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

// Another program may fill in the field without moving the focus.
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

// SB_ENDSCROLL must not move the focus to the list again: the program would report the folder twice.
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

// The list view waits for the release of the mouse button, but the message box has taken the release. A mouse
// move ends the list view's wait.
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
        const RECT rect = RectOf(m_dialog->m_hWnd);
        SetWindowPos(m_dialog->m_hWnd, nullptr, 0, 0, rect.right - rect.left + 50, rect.bottom - rect.top,
                     SWP_NOMOVE | SWP_NOZORDER);
        expectEnd(L"resized.sldprt");
        edit(L"left");
        m_dialog->SendMessage(WM_ACTIVATE, WA_INACTIVE);
        expectEnd(L"left.sldprt");
        edit(L"scaled");
        m_dialog->SendMessage(WM_DPICHANGED, MAKEWPARAM(120, 120), reinterpret_cast<LPARAM>(&kSuggestedRect));
        expectEnd(L"scaled.sldprt");
    });
}

TEST_P(TalvenorDlgTest, TheSameFolderInAnotherCaseIsNoChange)
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

TEST_P(TalvenorDlgTest, NoToTheChangeOfTheFolderRestoresTheOldOne)
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

TEST_P(TalvenorDlgTest, YesToTheChangeOfTheFolderLoadsTheNewOne)
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

TEST_P(TalvenorDlgTest, AShareThatDoesNotExistIsReported)
{
    Run([this] {
        TypeFolder(L"\\\\127.0.0.1\\no such share\\");
        EXPECT_EQ(TakeBoxes(), Texts{NoSuchFolder()});
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), L"\\\\127.0.0.1\\no such share");
        SetFocus(Item(IDCANCEL));
    });
}

// Without its final backslash, \\?\C: is a device, not a folder. The root of a share is no folder either.
TEST_P(TalvenorDlgTest, ARootThatOnlyTheVolumeQueryKnowsIsAcceptedAndNothingIsLoaded)
{
    const std::wstring root = L"\\\\?\\C:";
    if (FileExists(root) || GetVolumeInformationW((root + L"\\").c_str(), nullptr, 0, nullptr, nullptr,
                                                  nullptr, nullptr, 0) == FALSE) {
        GTEST_SKIP() << "skipped: this machine has no root that only the volume query knows";
    }
    AddThreeParts();
    m_answer = IDYES;
    Run([&] {
        TypeFolder(root + L"\\");
        EXPECT_EQ(TakeBoxes(), Texts{ChangeQuestion()});
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), root);
        EXPECT_EQ(Rows(), Texts{});
    });
}

TEST_P(TalvenorDlgTest, AFileIsAcceptedAsTheFolderAndNothingIsLoaded)
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
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView()) << "the caption of the last view stays";
    });
}

// The source folder, picked

class FolderPickerTest : public TalvenorDlgTest
{
protected:
    // Presses the browse button and picks the folder. Cancels the picker if `folder` is an empty text.
    void Browse(const std::wstring& folder) const
    {
        const CDialogUser user([&](HWND dialog) {
            EXPECT_TRUE(Shows(dialog, expected::kPickFolder.Current()));
            return PickFolder(dialog, folder);
        });
        Press(IDC_BROWSE);
        EXPECT_EQ(user.m_opened, 1);
    }
};

IN_BOTH_LANGUAGES(FolderPickerTest);

// Whether the system's folder picker supports a text field.
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
        GTEST_SKIP() << "skipped: this system's folder picker has no such field, like Wine's";
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
    // Presses the add button and picks the files with these names. Cancels the dialog if there are no names.
    void Add(const std::wstring& names) const
    {
        const CDialogUser user([&](HWND dialog) {
            EXPECT_EQ(CWnd::TextOf(dialog), expected::kAddParts.Current());
            EXPECT_TRUE(Shows(dialog, expected::kPartFiles.Current()));
            return PickFiles(dialog, names);
        });
        Press(IDC_ADD);
        EXPECT_EQ(user.m_opened, 1);
    }

    // Types the path of a missing file. Expects that the system's dialog reports the file as missing and
    // stays open.
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

IN_BOTH_LANGUAGES(FileDialogTest);

// If Windows refuses the text in the buffer as a file name, Windows opens no dialog. Wine never refuses the
// text, so the functions below act as Windows does.
DWORD g_fileDialogError = 0;
Texts g_bufferTexts;
decltype(&::GetOpenFileNameW) g_getOpenFileName = nullptr;
decltype(&::CommDlgExtendedError) g_commDlgExtendedError = nullptr;

BOOL WINAPI RefuseFileDialog(OPENFILENAMEW* request)
{
    if (g_fileDialogError == 0) {
        return g_getOpenFileName(request);
    }
    g_bufferTexts.emplace_back(request->lpstrFile);
    return FALSE;
}

DWORD WINAPI GetFileDialogError()
{
    return g_fileDialogError != 0 ? g_fileDialogError : g_commDlgExtendedError();
}

TEST_P(FileDialogTest, IsTriedAgainWithAnEmptyBufferIfItsTextIsRefused)
{
    RedirectImport("GetOpenFileNameW", &RefuseFileDialog, &g_getOpenFileName);
    RedirectImport("CommDlgExtendedError", &GetFileDialogError, &g_commDlgExtendedError);
    const CScopeExit restore([] {
        g_fileDialogError = 0;
        g_bufferTexts.clear();
    });
    Run([&] {
        g_fileDialogError = FNERR_INVALIDFILENAME;
        Press(IDC_ADD);
        EXPECT_EQ(g_bufferTexts, (Texts{L"*.sldprt;*.sldasm", L""}));
        g_bufferTexts.clear();
        g_fileDialogError = CDERR_INITIALIZATION;
        Press(IDC_ADD);
        EXPECT_EQ(g_bufferTexts, Texts{L"*.sldprt;*.sldasm"}) << "after another error there is no second try";
    });
}

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

// The working folder of a running process cannot be renamed or deleted. So the file dialog must not make one
// of the user's folders the working folder.
TEST_P(FileDialogTest, TheWorkingFolderStays)
{
    AddThreeParts();
    const std::filesystem::path before = std::filesystem::current_path();
    Run([this] {
        m_answer = IDNO;
        Add(MakeOtherFolder() + L"\\N_ISO_9_y.sldprt");
        Add(L"");
    });
    EXPECT_EQ(std::filesystem::current_path(), before);
    EXPECT_EQ(TakeBoxes(), Texts{OtherFolderQuestion()});
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
        EXPECT_EQ(TakeBoxes(),
                  (Texts{OtherFolderQuestion(), expected::NoFolderAsFileThere(other + L"\\Mapped")}));
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

// Undo, redo and the table as text

class TableCommandsOfTheDialogTest : public FileDialogTest
{
protected:
    // Presses Ctrl and a key in the window with the focus.
    static void PressWithCtrl(char key)
    {
        std::array<BYTE, 256> before{};
        GetKeyboardState(before.data());
        std::array<BYTE, 256> held = before;
        held[VK_CONTROL] = 0x80;
        SetKeyboardState(held.data());
        PostMessageW(GetFocus(), WM_KEYDOWN, static_cast<WPARAM>(key), 1);
        DrainMessages();
        SetKeyboardState(before.data());
    }

    // Performs a command that opens a file dialog, expects the dialog's title, and picks a file.
    void PickTable(int command, const Text& title, const std::wstring& path) const
    {
        const CDialogUser user([&](HWND dialog) {
            EXPECT_EQ(CWnd::TextOf(dialog), title.Current());
            return PickFiles(dialog, path);
        });
        Command(command);
        EXPECT_EQ(user.m_opened, 1);
    }

    void SelectOnly(int row) const
    {
        Select({row});
        List().SetItemState(row, LVIS_FOCUSED, LVIS_FOCUSED);
    }
};

IN_BOTH_LANGUAGES(TableCommandsOfTheDialogTest);

TEST_P(TableCommandsOfTheDialogTest, EachCommandIsTakenBackAndMadeAgain)
{
    AddThreeParts();
    WriteMapFile("N_ISO_1_a.sldprt ; 1.sldprt ; one\r\nN_ISO_2_b.sldprt ; 2.sldprt ; two\r\n");
    m_answer = IDYES;
    Run([this] {
        std::vector<Texts> states;
        const auto note = [&] {
            DrainMessages();
            states.push_back(Rows());
            states.back().push_back(TextOf(IDC_STATUS_FRAME));
        };
        note();
        List().EditCell(0, 2);
        SendMessageW(GetFocus(), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"edited"));
        PressEnter();
        note();
        SelectOnly(1);
        Press(IDC_MARK);
        note();
        m_dialog->PostMessage(WM_APPLYTEMPLATE, 1);
        note();
        Add(L"\"N_ISO_1_a.sldprt\" \"N_ISO_3_c.sldprt\"");
        note();
        SelectOnly(0);
        Press(IDC_DELETE);
        note();
        Press(IDC_REMOVE_ALL);
        note();
        EXPECT_EQ(states.back(), Texts{FolderView() + Changed()});
        EXPECT_EQ(std::ranges::adjacent_find(states), states.end()) << "every command changed something";
        SetFocus(Item(IDC_LIST));
        for (auto state = states.rbegin() + 1; state != states.rend(); ++state) {
            PressWithCtrl('Z');
            Texts now = Rows();
            now.push_back(TextOf(IDC_STATUS_FRAME));
            EXPECT_EQ(now, *state);
        }
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView()) << "no change is left to mark";
        for (auto state = states.begin() + 1; state != states.end(); ++state) {
            PressWithCtrl('Y');
            Texts now = Rows();
            now.push_back(TextOf(IDC_STATUS_FRAME));
            EXPECT_EQ(now, *state);
        }
    });
    EXPECT_EQ(TakeBoxes(), Texts{RemoveAllQuestion()});
}

// The reloaded rows equal the rows before the change. So Redo would be possible if the program remembered the
// change.
TEST_P(TableCommandsOfTheDialogTest, AReloadForgetsTheChanges)
{
    AddThreeParts();
    const std::wstring other = MakeOtherFolder();
    m_answer = IDYES;
    Run([&] {
        const auto changeAndUndo = [this] {
            SelectOnly(0);
            Press(IDC_DELETE);
            Command(IDM_UNDO);
        };
        const auto expectNoRedo = [this](const Texts& rows) {
            EXPECT_EQ(Rows(), rows);
            Command(IDM_REDO);
            EXPECT_EQ(Rows(), rows);
        };
        changeAndUndo();
        TypeFolder(other);
        TypeFolder(m_parts);
        expectNoRedo(m_threeRows);
        WriteMapFile("N_ISO_1_a.sldprt ; 1.sldprt ; one\r\nN_ISO_2_b.sldprt ; 2.sldprt ; two\r\n");
        Press(IDC_SHOW_MAP);
        changeAndUndo();
        Press(IDC_SHOW_MAP);
        expectNoRedo({L"N_ISO_1_a.sldprt > 1.sldprt > one", L"N_ISO_2_b.sldprt > 2.sldprt > two"});
    });
}

// The run cannot change a row that is deleted. So Undo would be possible if the program remembered the
// deletion.
TEST_P(TableCommandsOfTheDialogTest, ARunForgetsTheChanges)
{
    AddThreeParts();
    Run([this] {
        SelectOnly(0);
        Press(IDC_DELETE);
        SendMessageW(Item(IDC_COPY_ONLY), BM_SETCHECK, BST_CHECKED, 0);
        Press(IDC_START);
        Command(IDM_UNDO);
        EXPECT_EQ(Rows(),
                  (Texts{L"N_ISO_2_b.sldprt > 2_b.sldprt > b-2", L"N_ISO_3_c.sldprt > 3_c.sldprt > c-3"}));
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView());
    });
}

TEST_P(TableCommandsOfTheDialogTest, TheKeysOfAnEditBelongToIt)
{
    AddThreeParts();
    Run([this] {
        SelectOnly(0);
        Press(IDC_DELETE);
        SetFocus(Item(IDC_SOURCE_DIR));
        PressWithCtrl('Z');
        EXPECT_EQ(Rows(), (Texts{m_threeRows[1], m_threeRows[2]}));
        SelectOnly(0);
        SetFocus(Item(IDC_LIST));
        List().EditCell(0, 2);
        const HWND editor = GetFocus();
        for (const char key : {'Z', 'Y', 'V'}) {
            PressWithCtrl(key);
        }
        EXPECT_EQ(GetFocus(), editor);
        EXPECT_EQ(Rows(), (Texts{m_threeRows[1], m_threeRows[2]}));
    });
    EXPECT_EQ(TakeBoxes(), Texts{});
}

TEST_P(TableCommandsOfTheDialogTest, NamesGoToAFileAndBack)
{
    AddThreeParts();
    const std::wstring path = m_folder / L"table.csv";
    const std::string headers = GetParam() != 0
                                    ? "Original Normteil-Dateien,Umbenannt nach...,Benennung d. St\xC3\xBC"
                                      "cklisteneintrags"
                                    : "Original Standard-Part-Files,Renamed to...,BOM names";
    Run([&] {
        PickTable(IDM_EXPORT, expected::kExportTable, path);
        std::string bytes = ReadBytes(path);
        // The regional settings determine the separator.
        const bool semicolons = bytes.find(';') != std::string::npos;
        std::ranges::replace(bytes, ';', ',');
        EXPECT_EQ(bytes, "\xEF\xBB\xBF" + headers +
                             "\r\nN_ISO_1_a.sldprt,1_a.sldprt,a-1\r\nN_ISO_2_b.sldprt,2_b.sldprt,b-2\r\n"
                             "N_ISO_3_c.sldprt,3_c.sldprt,c-3\r\n");
        bytes.replace(bytes.find("b-2"), 3, "\xC3\x9C 8");
        if (semicolons) {
            std::ranges::replace(bytes, ',', ';');
        }
        WriteBytes(path, bytes);
        PickTable(IDM_IMPORT, expected::kImportTable, path);
        EXPECT_EQ(Rows(),
                  (Texts{m_threeRows[0], L"N_ISO_2_b.sldprt > 2_b.sldprt > \u00DC 8 *", m_threeRows[2]}));
        DrainMessages();
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), FolderView() + Changed());
        Command(IDM_UNDO);
        EXPECT_EQ(Rows(), m_threeRows);
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), FolderView());
        PickTable(IDM_IMPORT, expected::kImportTable, L"");
        EXPECT_EQ(Rows(), m_threeRows) << "cancelled";
    });
    EXPECT_EQ(TakeBoxes(), Texts{expected::Taken(L"1", L"0", L"0", L"0", L"0")});
}

TEST_P(TableCommandsOfTheDialogTest, AFileThatCannotBeWrittenIsReported)
{
    AddThreeParts();
    const std::wstring path = m_folder / L"table.csv";
    WriteBytes(path, "x");
    const UniqueHandle reader = OpenAsOther(path, GENERIC_READ, FILE_SHARE_READ);
    Run([&] {
        Texts titles;
        const CDialogUser user([&](HWND dialog) {
            titles.push_back(CWnd::TextOf(dialog));
            if (titles.size() == 1) {
                return PickFiles(dialog, path);
            }
            PostMessageW(dialog, WM_COMMAND, IDYES, 0);  // the system asks whether to replace the file
            return true;
        });
        Command(IDM_EXPORT);
    });
    EXPECT_EQ(TakeBoxes(), Texts{expected::OpenElsewhere(path) + L" [type 48]"});
    EXPECT_EQ(ReadBytes(path), "x");
}

TEST_P(TableCommandsOfTheDialogTest, AFileThatCannotBeReadIsReported)
{
    AddThreeParts();
    const std::wstring path = m_folder / L"table.csv";
    WriteBytes(path, "N_ISO_1_a.sldprt;x.sldprt;y\r\n");
    Run([&] {
        const CFailingFile failure(path, FailingOperation::reading, ERROR_CRC, 1);
        PickTable(IDM_IMPORT, expected::kImportTable, path);
        EXPECT_EQ(failure.Count(), 1);
        EXPECT_EQ(Rows(), m_threeRows) << "not even the part that was read is taken";
        EXPECT_FALSE(m_dialog->GetDlgItemText(IDC_STATUS_FRAME).ends_with(Changed()));
    });
    EXPECT_EQ(TakeBoxes(), Texts{expected::DeviceError(path) + L" [type 48]"});
}

// Closing the window

// Stands in for the viewer of old help files: the system sends help requests to a window of class MS_WINHELP.
class CHelpViewer : public CPlainWindow
{
public:
    CHelpViewer() : CPlainWindow(nullptr, WS_OVERLAPPEDWINDOW, L"MS_WINHELP") {}

    std::vector<std::pair<HWND, int>> m_requests;  // sender and command

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

TEST_P(TalvenorDlgTest, TheHelpViewerGetsARequestToQuit)
{
    if (!UnderWine()) {
        GTEST_SKIP() << "skipped: only Wine's way to notify the help viewer is known";
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
        EXPECT_EQ(TakeBoxes(), Texts{expected::MapMissing(m_mapFile)});
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
        const UniqueHandle lock = LockFile(m_mapFile);
        Press(IDC_SHOW_MAP);
        // The messages of the map file's reader are always German.
        EXPECT_EQ(TakeBoxes(), (Texts{expected::MapNotRead.In(Language::german, m_mapFile),
                                      expected::MapMissing(m_mapFile)}));
        EXPECT_EQ(Rows(), m_threeRows);
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), FolderView());
    });
}

TEST_P(TalvenorDlgTest, AMapFileThatCannotBeReadAtTheStartLeavesTheFolderView)
{
    AddThreeParts();
    WriteMapFile("a.sldprt ; 1.sldprt ; one\r\n");
    const UniqueHandle lock = LockFile(m_mapFile);
    Run([this] {
        EXPECT_EQ(TakeBoxes(), Texts{expected::MapNotRead.In(Language::german, m_mapFile)});
        EXPECT_EQ(Rows(), m_threeRows);
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), FolderView());
    });
}

TEST_P(TalvenorDlgTest, AMapFileIsShownUpToItsFirstBadLine)
{
    WriteMapFile("a.sldprt ; 1.sldprt ; one\r\na;b\r\nc ; d ; e\r\n");
    Run([this] {
        EXPECT_EQ(TakeBoxes(), Texts{expected::SyntaxError.In(Language::german, L"6", m_mapFile)});
        EXPECT_EQ(Rows(), Texts{L"a.sldprt > 1.sldprt > one"});
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView());
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
        EXPECT_EQ(TakeBoxes(), Texts{}) << "an empty list needs no question";
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

TEST_P(TalvenorDlgTest, EnterPressesTheClickedButtonOrElseTheDefaultOne)
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
        // Screen readers set the focus without the dialog manager.
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
        List().PostMessage(WM_VSCROLL, SB_LINEDOWN);  // scrolling moves the focus to the list
        DrainMessages();
        EXPECT_EQ(GetFocus(), Item(IDC_LIST));
        EXPECT_EQ(DefaultButton(), IDC_START);
    });
}

TEST_P(TalvenorDlgTest, ACommandThatFocusesTheListRestoresTheDefaultButton)
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
    for (const int column : {-1, 0, 3}) {
        m_registry.SetTemplate(column, L"%4");
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

TEST_P(TalvenorDlgTest, DuringAMessageAboutALaterRowTheEarlierOnesAreDone)
{
    WriteMapFile("N_ISO_1_a.sldprt ; 1.sldprt ; one\r\nN_ISO_2_b.sldprt ; 2.sldprt ; two\r\n");
    m_registry.SetTemplate(1, L"fest.%6");
    Run([this] {
        Select({0, 1});
        CDialogUser user([this](HWND box) {
            EXPECT_EQ(Rows(), (Texts{L"N_ISO_1_a.sldprt > fest.sldprt > one *",
                                     L"N_ISO_2_b.sldprt > 2.sldprt > two"}));
            EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView() + Changed());
            PostMessageW(box, WM_COMMAND, IDOK, 0);
            return true;
        });
        const CListenerScope shown([](const MessageRequest&) { return std::optional<int>(); });
        m_dialog->PostMessage(WM_APPLYTEMPLATE, 1);
        DrainMessages();
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
        EXPECT_EQ(TakeBoxes(), Texts{ChangeQuestion()})
            << "without its backslash, the folder counts as another";
        Press(IDC_START);
        EXPECT_EQ(TakeBoxes(), Texts{OverwriteQuestion(m_parts + L"\\Mapped")});
    });
    // The whole question is normalised like a path: each double backslash becomes a single backslash. Only at
    // the start of the question would the double backslash of a network path stay.
    SetPartsFolder(L"\\\\?\\" + m_parts);
    Run([this] {
        EXPECT_EQ(Rows(), Texts{L"N_ISO_1_a.sldprt > 1.sldprt > one"});
        Press(IDC_START);
        EXPECT_EQ(TakeBoxes(), Texts{OverwriteQuestion(L"\\?\\" + m_parts + L"\\Mapped")});
    });
}

TEST_P(TalvenorDlgTest, TheMappedFolderIsMadeBeforeTheAnswerCounts)
{
    WriteMapFile("N_ISO_1_a.sldprt ; 1.sldprt ; one\r\n");
    m_answer = IDNO;
    // The program asks only if there is a map file, so the folder exists at first. The test removes the
    // folder while the question is open.
    m_onBox = [this] { std::filesystem::remove_all(m_parts + L"\\Mapped"); };
    Run([this] { Press(IDC_START); });
    EXPECT_EQ(TakeBoxes(), Texts{OverwriteQuestion(m_parts + L"\\Mapped")});
    EXPECT_TRUE(std::filesystem::is_empty(m_parts + L"\\Mapped"));
}

TEST_P(TalvenorDlgTest, WithoutTheMappedFolderNoRunStarts)
{
    AddThreeParts();
    WriteBytes(m_parts + L"\\Mapped", "a file");
    Run([this] {
        Press(IDC_START);
        EXPECT_EQ(TakeBoxes(), Texts{expected::NoFolderAsFileThere(m_parts + L"\\Mapped")});
        EXPECT_EQ(Rows(), m_threeRows);
        EXPECT_TRUE(m_dialog->IsWindowEnabled());
    });
}

TEST_P(TalvenorDlgTest, AFolderThatIsBeingConvertedElsewhereIsRefused)
{
    AddThreeParts();
    Run([&] {
        {
            const CFolderLock other(m_parts);
            Press(IDC_COPY_ONLY);
            Press(IDC_START);
        }
        EXPECT_EQ(TakeBoxes(), Texts{expected::kFolderInUse.Current()});
        EXPECT_EQ(Rows(), m_threeRows);
        EXPECT_FALSE(std::filesystem::exists(m_parts + L"\\Mapped"));
        Press(IDC_START);
        EXPECT_EQ(TakeBoxes(), Texts{Finished()});
        Press(IDC_START);
        EXPECT_EQ(TakeBoxes(), (Texts{OverwriteQuestion(m_parts + L"\\Mapped"), Finished()}))
            << "the run has unlocked the folder";
        const CFolderLock other(m_parts);
        Press(IDC_START);
        EXPECT_EQ(TakeBoxes(), Texts{expected::kFolderInUse.Current()}) << "no question comes first";
    });
}

// Screen readers and scripts send BM_CLICK, or the command itself, and wait for the answer.
class SentStartTest : public TalvenorDlgTest
{
protected:
    // Sends a message from another thread while this one dispatches messages. Returns the number of boxes
    // that opened after the sender had got its answer; a negative number if a box opened before.
    int BoxesAfterTheAnswer(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
    {
        constexpr DWORD kPatience = 2'000;  // milliseconds
        const UniqueHandle answered(CreateEventW(nullptr, TRUE, FALSE, nullptr));
        int late = 0;
        m_onBox = [&] {
            const bool isAnswered = WaitForSingleObject(answered.get(), kPatience) == WAIT_OBJECT_0;
            late = isAnswered && late >= 0 ? late + 1 : -1;
        };
        std::thread sender([&] {
            SendMessageW(window, message, wParam, lParam);
            SetEvent(answered.get());
        });
        EXPECT_TRUE(WaitPainting(answered.get(), 10 * kPatience));
        sender.join();
        DrainMessages();
        m_onBox = nullptr;
        return late;
    }
};

IN_BOTH_LANGUAGES(SentStartTest);

TEST_P(SentStartTest, GetsItsAnswerBeforeTheRun)
{
    AddThreeParts();
    Run([this] {
        Press(IDC_COPY_ONLY);
        const HWND button = Item(IDC_START);
        EXPECT_EQ(BoxesAfterTheAnswer(button, BM_CLICK, 0, 0), 1);
        EXPECT_EQ(TakeBoxes(), Texts{Finished()});
        EXPECT_TRUE(std::filesystem::exists(m_parts + L"\\Mapped\\3_c.sldprt"));
        EXPECT_EQ(BoxesAfterTheAnswer(m_dialog->m_hWnd, WM_COMMAND, MAKEWPARAM(IDC_START, BN_CLICKED),
                                      reinterpret_cast<LPARAM>(button)),
                  2);
        EXPECT_EQ(TakeBoxes(), (Texts{OverwriteQuestion(m_parts + L"\\Mapped"), Finished()}));
    });
}

// The report of the last run

TEST_P(TalvenorDlgTest, TheReportNeedsARun)
{
    AddThreeParts();
    const CTemporaryFolderScope temporary(m_folder.Path());
    CShellWatch shell;
    Run([&] {
        EXPECT_FALSE(IsWindowEnabled(Item(IDC_REPORT)));
        Command(IDC_REPORT);
        EXPECT_EQ(shell.Take(), Texts{}) << "a screen reader may press a disabled button";
        Press(IDC_COPY_ONLY);
        Press(IDC_START);
        EXPECT_TRUE(IsWindowEnabled(Item(IDC_REPORT)));
        EXPECT_EQ(TakeBoxes(), Texts{Finished()});
        EXPECT_EQ(NamesIn(m_folder.Path()), Texts{L"parts"})
            << "no report is written before the user asks for it";
        Press(IDC_REPORT);
        const Texts opened = shell.Take();
        ASSERT_EQ(opened.size(), 1U);
        const std::string page = ReadBytes(opened[0]);
        for (const char* part : {"N_ISO_1_a.sldprt", "N_ISO_2_b.sldprt", "N_ISO_3_c.sldprt"}) {
            EXPECT_NE(page.find(part), std::string::npos) << part;
        }
        EXPECT_EQ(TakeBoxes(), Texts{});
    });
}

TEST_P(TalvenorDlgTest, ARunThatAnExceptionEndsLeavesNoReport)
{
    AddThreeParts();
    Run([&] {
        std::filesystem::remove(m_parts + L"\\N_ISO_2_b.sldprt");
        Press(IDC_COPY_ONLY);
        Press(IDC_START);
        EXPECT_TRUE(IsWindowEnabled(Item(IDC_REPORT)));
        {
            // Throws at the first message with only an OK button: that the file cannot be copied.
            const CListenerScope noMemory([thrown = false](const MessageRequest& box) mutable {
                if (box.type == MB_OK && !std::exchange(thrown, true)) {
                    throw std::bad_alloc();
                }
                return IDYES;
            });
            Press(IDC_START);
        }
        EXPECT_FALSE(IsWindowEnabled(Item(IDC_REPORT))) << "it would show the run before";
        Command(IDM_SELECT_ATTENTION);
        EXPECT_EQ(SelectedCount(), 0);
        Press(IDC_START);
        EXPECT_TRUE(IsWindowEnabled(Item(IDC_REPORT)));
    });
}

TEST_P(TalvenorDlgTest, TheReportCanBeReadWhileTheFolderIsRefused)
{
    AddThreeParts();
    const CTemporaryFolderScope temporary(m_folder.Path());
    CShellWatch shell;
    Run([&] {
        Press(IDC_COPY_ONLY);
        Press(IDC_START);
        static_cast<void>(TakeBoxes());
        TypeFolder(m_parts + L"\\none");
        EXPECT_EQ(TakeBoxes(), Texts{NoSuchFolder()});
        Command(IDC_REPORT);
        EXPECT_EQ(shell.Take().size(), 1U);
        EXPECT_EQ(TakeBoxes(), Texts{});
        TypeFolder(m_parts);
    });
}

TEST_P(TalvenorDlgTest, TheRowsThatNeedAttentionAreSelected)
{
    AddThreeParts();
    Run([this] {
        Command(IDM_SELECT_ATTENTION);
        EXPECT_EQ(SelectedCount(), 0) << "no run has taken place yet";
        std::filesystem::remove(m_parts + L"\\N_ISO_2_b.sldprt");
        Press(IDC_COPY_ONLY);
        Press(IDC_START);
        EXPECT_EQ(TakeBoxes().size(), 2U);
        Select({0, 2});
        Command(IDM_SELECT_ATTENTION);
        EXPECT_EQ(SelectedCount(), 1);
        EXPECT_EQ(List().GetNextItem(-1, LVNI_SELECTED), 1);
        EXPECT_EQ(GetFocus(), Item(IDC_LIST));
        EXPECT_EQ(TakeBoxes(), Texts{});
    });
}

// Tests of how the dialog treats commands, input and system messages around a run. The CAD system is the fake
// of CadDialogTest.
class BusyDialogTest : public CadDialogTest
{
protected:
    // Sends the dialog commands and messages of all kinds, as a user or another program may.
    void TryEverything()
    {
        m_dialog->SetDlgItemText(IDC_SOURCE_DIR, L"Q:\\no such folder");
        m_dialog->SendMessage(WM_COMMAND, MAKEWPARAM(IDC_SOURCE_DIR, EN_KILLFOCUS),
                              reinterpret_cast<LPARAM>(Item(IDC_SOURCE_DIR)));
        for (const int id : {IDC_BROWSE, IDC_ADD, IDC_DELETE, IDC_REMOVE_ALL, IDC_SELECT_NONE, IDC_SHOW_MAP,
                             IDC_MARK, IDC_START, IDC_MORE, IDC_REPORT, IDC_CHECK_NAMES, IDCANCEL}) {
            Command(id);
        }
        for (const int id : {IDM_UNDO, IDM_REDO, IDM_COPY, IDM_PASTE, IDM_FIND, IDM_FIND_NEXT, IDM_IMPORT,
                             IDM_EXPORT, IDM_SELECT_ATTENTION}) {
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
        // If the dialog accepted commands, TryEverything would start a second run, which would call this
        // function.
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
    // Presses Enter by real input. The input goes to the window that has the focus when the input leaves the
    // queue.
    static void TypeEnter()
    {
        INPUT down{};
        down.type = INPUT_KEYBOARD;
        down.ki.wVk = VK_RETURN;
        INPUT up = down;
        up.ki.dwFlags = KEYEVENTF_KEYUP;
        Send({down, up});
    }
    // Clicks with real mouse input.
    static void ClickOn(HWND control)
    {
        const RECT rect = RectOf(control);
        INPUT down{};
        down.type = INPUT_MOUSE;
        down.mi.dx = (rect.left + 5) * 65536 / GetSystemMetrics(SM_CXSCREEN) + 1;
        down.mi.dy = (rect.top + 5) * 65536 / GetSystemMetrics(SM_CYSCREEN) + 1;
        down.mi.dwFlags = MOUSEEVENTF_ABSOLUTE | MOUSEEVENTF_MOVE | MOUSEEVENTF_LEFTDOWN;
        INPUT up = down;
        up.mi.dwFlags = MOUSEEVENTF_LEFTUP;
        Send({down, up});
    }
    // Expects that Enter and a click take effect. Needs a map file, and No as the answer to every question.
    void ExpectInputArrives()
    {
        TypeEnter();
        DrainMessages();
        EXPECT_EQ(TakeBoxes(), Texts{OverwriteQuestion(m_parts + L"\\Mapped")});
        ClickOn(Item(IDC_REMOVE_ALL));
        DrainMessages();
        EXPECT_EQ(TakeBoxes(), Texts{RemoveAllQuestion()});
    }

    int m_tries = 0;

private:
    bool m_trying = false;
};

IN_BOTH_LANGUAGES(BusyDialogTest);

TEST_P(BusyDialogTest, NoCommandStartsDuringARun)
{
    m_application.On(kOpenDocument, [this](FakeCall& call) {
        m_registry.SetTemplate(1, L"other %4");
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
        EXPECT_EQ(SelectedCount(), 0) << "the dialog takes commands again";
    });
    EXPECT_EQ(m_tries, 4);
}

// A run that ends early enables the main window before the CAD system has ended.
TEST_P(BusyDialogTest, NoCommandStartsWhileACadSystemThatIsTooOldEnds)
{
    m_application.On(kGetDateCode, AnswerLong(1999249));
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
        EXPECT_EQ(TakeBoxes(), Texts{expected::kCadTooOld.Current()});
        m_dialog->SetDlgItemText(IDC_SOURCE_DIR, m_parts);
    });
    EXPECT_EQ(m_tries, 1);
}

TEST_P(BusyDialogTest, InputWhileTheCadSystemEndsIsDiscarded)
{
    m_application.On(kOpenDocument, AnswerObject(nullptr));
    m_application.On(kExit, [this](FakeCall&) {
        if (m_class.m_created == 1) {  // otherwise each run would start the next
            TypeEnter();
            ClickOn(Item(IDC_REMOVE_ALL));
            List().PostMessage(WM_KEYDOWN, VK_RETURN, 1);
        }
        SetFocus(nullptr);  // Windows may do this when it disables a window
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

TEST_P(BusyDialogTest, InputDuringARunThatEndsEarlyIsDiscarded)
{
    m_application.On(kGetDateCode, [this](FakeCall& call) {
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
        EXPECT_EQ(TakeBoxes(), Texts{expected::kCadTooOld.Current()});
        EXPECT_EQ(m_class.m_created, 1);
        WriteMapFile("");
        ExpectInputArrives();
    });
}

TEST_P(BusyDialogTest, InputWhileTheCadSystemEndsAfterAnEarlyEndIsDiscarded)
{
    m_application.On(kGetDateCode, AnswerLong(1999249));
    m_application.On(kExit, [this](FakeCall&) {
        if (m_class.m_created == 1) {
            TypeEnter();
        }
        return S_OK;
    });
    m_answer = IDNO;
    Run([this] {
        Press(IDC_START);
        DrainMessages();
        EXPECT_EQ(TakeBoxes(), Texts{expected::kCadTooOld.Current()});
        EXPECT_EQ(m_class.m_created, 1);
    });
}

TEST_P(BusyDialogTest, TheEndOfTheSessionLetsTheCurrentRowFinishAndShowsNoMessage)
{
    int opened = 0;
    m_application.On(kOpenDocument, [&](FakeCall& call) {
        ++opened;
        EXPECT_EQ(m_dialog->SendMessage(WM_QUERYENDSESSION), FALSE);
        m_dialog->SendMessage(WM_ENDSESSION, FALSE);
        return AnswerObject(nullptr)(call);
    });
    Run([&] {
        EXPECT_EQ(m_dialog->SendMessage(WM_QUERYENDSESSION), TRUE) << "no run";
        Press(IDC_START);
        EXPECT_EQ(opened, 1);
        EXPECT_EQ(TakeBoxes(), Texts{});
        EXPECT_EQ(List().CountPendingRows(), 2);
        EXPECT_TRUE(m_dialog->IsWindowEnabled());
        EXPECT_EQ(m_dialog->SendMessage(WM_QUERYENDSESSION), TRUE) << "the run has ended";
        EXPECT_FALSE(CWinApp::IsSessionEnding()) << "if the session stays open, the next run is not stopped";
    });
    EXPECT_EQ(m_log.back(), L"application Exit method");
}

TEST_P(BusyDialogTest, ASetupProgramThatWantsItClosedDoesNotEndTheRun)
{
    m_application.On(kOpenDocument, [&](FakeCall& call) {
        EXPECT_EQ(m_dialog->SendMessage(WM_QUERYENDSESSION, 0, ENDSESSION_CLOSEAPP), FALSE);
        EXPECT_FALSE(CWinApp::IsSessionEnding());
        return AnswerObject(nullptr)(call);
    });
    Run([&] {
        Press(IDC_START);
        EXPECT_EQ(TakeBoxes(), Texts{Finished()});
        EXPECT_EQ(List().CountPendingRows(), 0);
    });
}

TEST_P(BusyDialogTest, ClosesForASetupProgramWhenNothingRuns)
{
    Run([&] {
        EXPECT_EQ(m_dialog->SendMessage(WM_QUERYENDSESSION, 0, ENDSESSION_CLOSEAPP), TRUE);
        m_dialog->SendMessage(WM_ENDSESSION, FALSE, ENDSESSION_CLOSEAPP);
        EXPECT_FALSE(m_dialog->IsEnding()) << "another program has refused to close";
        m_dialog->SendMessage(WM_ENDSESSION, TRUE, ENDSESSION_CLOSEAPP);
        EXPECT_TRUE(m_dialog->IsEnding());
    });
}

TEST_P(BusyDialogTest, AForcedEndEndsTheRunAlsoForASetupProgram)
{
    m_application.On(kOpenDocument, [&](FakeCall& call) {
        EXPECT_EQ(m_dialog->SendMessage(WM_QUERYENDSESSION, 0, ENDSESSION_CLOSEAPP | ENDSESSION_CRITICAL),
                  FALSE);
        return AnswerObject(nullptr)(call);
    });
    Run([&] {
        Press(IDC_START);
        EXPECT_EQ(TakeBoxes(), Texts{});
        EXPECT_EQ(List().CountPendingRows(), 2);
    });
}

TEST_P(BusyDialogTest, AnEndOfTheSessionDespiteTheRefusalEndsTheRunToo)
{
    m_application.On(kOpenDocument, [&](FakeCall& call) {
        m_dialog->SendMessage(WM_ENDSESSION, TRUE);
        return AnswerObject(nullptr)(call);
    });
    Run([&] {
        Press(IDC_START);
        EXPECT_EQ(TakeBoxes(), Texts{});
        EXPECT_EQ(List().CountPendingRows(), 2);
    });
}

// A handler that counts how often the filter asks its question.
class CCountingHandler : public CStalledCallHandler
{
public:
    mutable int m_asked = 0;

    [[nodiscard]] std::wstring Question() const override
    {
        ++m_asked;
        return L"Noch warten?";
    }
    [[nodiscard]] bool GiveUp() override { return false; }
};

// When the user clicks on a disabled window, the system discards the click and sends WM_SETCURSOR. So the
// test clicks with real input.
TEST_P(BusyDialogTest, AClickOnTheDisabledWindowMakesAStalledCallAsk)
{
    COleMessageFilter& filter = CWinApp::Get()->GetMessageFilter();
    CCountingHandler handler;
    m_application.On(kOpenDocument, AnswerObject(nullptr));
    m_application.On(kExit, [&](FakeCall&) {
        EXPECT_FALSE(m_dialog->IsWindowEnabled());
        const DWORD begin = GetTickCount() - 6000;  // a second longer than the filter's delay
        filter.SetStalledCallHandler(&handler);
        filter.MessagePending(nullptr, GetTickCount() - begin, PENDINGTYPE_TOPLEVEL);
        EXPECT_EQ(handler.m_asked, 0);
        ClickOn(Item(IDC_REMOVE_ALL));
        filter.MessagePending(nullptr, GetTickCount() - begin, PENDINGTYPE_TOPLEVEL);
        EXPECT_EQ(handler.m_asked, 1);
        filter.SetStalledCallHandler(nullptr);
        return S_OK;
    });
    m_answer = IDNO;
    Run([&] {
        Press(IDC_START);
        EXPECT_EQ(TakeBoxes(), (Texts{Finished(), L"Noch warten? [type 292]"}));
    });
}

// Tests of the taskbar button and of the flashing window.
class TaskbarTest : public BusyDialogTest
{
protected:
    using Calls = std::vector<std::string>;

    // Runs the dialog like Run, with a taskbar button that the shell has made.
    void RunWithButton(const std::function<void()>& work)
    {
        Run([&] {
            m_taskbar->m_window = m_dialog->m_hWnd;
            m_dialog->SendMessage(RegisterWindowMessageW(L"TaskbarButtonCreated"));
            EXPECT_EQ(TakeCalls(), Calls{"none"});
            work();
        });
    }

    // The calls on the taskbar object since the last TakeCalls. "flash" stands for a flash of the window,
    // "box" for a message box.
    [[nodiscard]] Calls TakeCalls() { return std::exchange(m_calls, {}); }

    void SetUp() override
    {
        BusyDialogTest::SetUp();
        m_onBox = [this] { m_calls.emplace_back("box"); };
    }

private:
    Calls m_calls;
    CFakeTaskbar* const m_taskbar = new CFakeTaskbar(m_calls);
    const ITaskbarList3Ptr m_owner{m_taskbar, false};
    const CFakeClass m_taskbarClass{CLSID_TaskbarList, *m_taskbar};
    const CFlashWatch m_flashes{[this](const FLASHWINFO& flash) {
        EXPECT_EQ(flash.hwnd, m_dialog->m_hWnd);
        m_calls.emplace_back("flash");
    }};
};

IN_BOTH_LANGUAGES(TaskbarTest);

TEST_P(TaskbarTest, ShowsTheProgressOfARunAndItsMessages)
{
    m_application.On(kOpenDocument, [asked = false](FakeCall& call) mutable {
        if (!std::exchange(asked, true)) {
            ShowMessage(L"a message during the call");
        }
        return AnswerObject(nullptr)(call);
    });
    RunWithButton([this] {
        Press(IDC_START);
        EXPECT_EQ(TakeCalls(),
                  (Calls{"0/100", "normal", "0/100", "paused", "flash", "box", "0/100", "normal", "33/100",
                         "normal", "66/100", "normal", "100/100", "normal", "flash", "box", "none"}));
        ShowMessage(L"a question after the run", MB_YESNO | MB_ICONQUESTION);
        EXPECT_EQ(TakeCalls(), Calls{"box"});
    });
}

TEST_P(TaskbarTest, ShowsThatARunWasAborted)
{
    WriteMapFile("N_ISO_1_a.sldprt ; 1.sldprt ; one\r\n");
    m_answer = IDYES;
    RunWithButton([this] {
        Press(IDC_SELECT_ALL);
        Press(IDC_MARK);
        Press(IDC_COPY_ONLY);
        MakeReadOnly(m_mapFile);
        const CFileInterceptor likeWindows;  // Wine lets root write to the file
        Press(IDC_START);
        EXPECT_EQ(TakeCalls(), (Calls{"box", "0/100", "normal", "100/100", "error", "flash", "box", "none"}))
            << "the first box asks whether to overwrite the map file";
    });
    EXPECT_EQ(TakeBoxes().size(), 2U);
}

// Tests of the view after a cancelled run.
class CancelledRunTest : public BusyDialogTest
{
protected:
    // Starts a run and cancels it at its first part. Calls `whileToldSo` while the message about the
    // cancelled run is open.
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
    static std::wstring Cancelled() { return expected::kCancelled.Current(); }
};

IN_BOTH_LANGUAGES(CancelledRunTest);

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
        UniqueHandle lock;
        RunAndCancel([&] { lock = LockFile(m_mapFile); });
        // The messages of the map file's reader are always German.
        EXPECT_EQ(TakeBoxes(), (Texts{Cancelled(), expected::MapNotRead.In(Language::german, m_mapFile)}));
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

// Only the first paint in a process reports a missing input folder, so each of these tests runs in a process
// of its own.

class FirstPaintTest : public TalvenorDlgTest
{
protected:
    // Returns true in the new process. Otherwise runs the current test in a new process and returns false.
    [[nodiscard]] static bool IsInOwnProcess()
    {
        if (std::getenv(kInOwnProcess) != nullptr) {
            return true;
        }
        const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
        const std::string name = std::string(test.test_suite_name()) + "." + test.name();
        SetEnvironmentVariableA(kInOwnProcess, "1");
        const StartedProgram child =
            StartProgram(L"\"" + OwnProgram() + L"\" --gtest_brief=1 --gtest_filter=" +
                             std::wstring(name.begin(), name.end()),
                         {}, true);
        SetEnvironmentVariableA(kInOwnProcess, nullptr);
        EXPECT_EQ(WaitForExit(child, 60'000), 0U) << "the other process has reported its failures above";
        return false;
    }
};

IN_BOTH_LANGUAGES(FirstPaintTest);

TEST_P(FirstPaintTest, ReportsAMissingInputFolderAndAsksForFilesOnce)
{
    if (!IsInOwnProcess()) {
        return;
    }
    m_registry.RemovePartsFolder();
    std::wstring title;
    const CDialogUser user([&](HWND dialog) {
        title = CWnd::TextOf(dialog);
        EXPECT_EQ(TakeBoxes(), Texts{expected::kNoPartsFolder.Current()});
        return Cancel(dialog);
    });
    const auto expectFallback = [&] {
        EXPECT_EQ(title, expected::kAddParts.Current());
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), L"c:\\");
        EXPECT_EQ(TextOf(IDC_MAPPED_DIR), L"c:\\Mapped");
        RedrawWindow(m_dialog->m_hWnd, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
        EXPECT_EQ(user.m_opened, 1);
        EXPECT_EQ(TakeBoxes(), Texts{});
    };
    for (int i = 0; i < 2; ++i) {
        Run(expectFallback);
        EXPECT_EQ(TakeBoxes(), Texts{ChangeQuestion()})
            << "without its backslash, the folder counts as another";
    }
}

// The 32-bit view of the registry may still hold the values of an earlier installation.
TEST_P(FirstPaintTest, AMissingInputFolderIsNotTakenFromTheOtherView)
{
    if (!IsInOwnProcess()) {
        return;
    }
    m_registry.RemovePartsFolder();
    EXPECT_TRUE(m_registry.SetPartsFolder(m_parts, KEY_WOW64_32KEY));
    const CDialogUser user(&Cancel);
    Run([this] {
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), L"c:\\");
        EXPECT_EQ(TakeBoxes(), Texts{expected::kNoPartsFolder.Current()});
    });
}

TEST_P(FirstPaintTest, LoadsTheWholeFolderOfTheFilesThatAreChosen)
{
    if (!IsInOwnProcess()) {
        return;
    }
    m_registry.RemovePartsFolder();
    m_answer = IDYES;
    AddThreeParts();
    const CDialogUser user([&](HWND dialog) { return PickFiles(dialog, m_parts + L"\\N_ISO_2_b.sldprt"); });
    Run([&] {
        EXPECT_EQ(user.m_opened, 1);
        EXPECT_EQ(TakeBoxes(), (Texts{expected::kNoPartsFolder.Current(), OtherFolderQuestion()}));
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
    // Only the first paint in a process reports a missing input folder. The dialog above has used up that
    // paint.
    m_registry.RemovePartsFolder();
    Run([this] { EXPECT_EQ(TextOf(IDC_SOURCE_DIR), L"c:\\"); });
    EXPECT_EQ(user.m_opened, 0);
    EXPECT_EQ(TakeBoxes(), Texts{ChangeQuestion()})
        << "the question comes when the Close button takes the focus";
}

// The status line

class StatusLineTest : public TalvenorDlgTest
{
protected:
    static std::wstring Numbers(int rows, int pending, int selected)
    {
        constexpr Text kNumbers{L"Zeilen: %1   Vorgemerkt: %2   Ausgewählt: %3",
                                L"Rows: %1   Marked: %2   Selected: %3"};
        return FillPlaceholders(kNumbers.Current(),
                                {std::to_wstring(rows), std::to_wstring(pending), std::to_wstring(selected)});
    }

    // Expects the text in the status line once the messages in the queue and the idle work are done.
    void ExpectStatus(const std::wstring& text) const
    {
        DrainMessages();
        m_dialog->CallIdle();
        EXPECT_EQ(TextOf(IDC_STATUS_TEXT), text);
    }

    void PressKeyIn(int id, WPARAM key) const
    {
        SetFocus(Item(id));
        PostMessageW(Item(id), WM_KEYDOWN, key, 1);
        DrainMessages();
    }

    [[nodiscard]] int FocusedRow() const { return List().GetNextItem(-1, LVNI_FOCUSED); }
    // The row that has the focus and is the only selected row; -1 if there is none.
    [[nodiscard]] int OnlySelectedRow() const
    {
        const int row = List().GetNextItem(-1, LVNI_SELECTED);
        return SelectedCount() == 1 && row == FocusedRow() ? row : -1;
    }

    // Writes a map file with three rows. The new names of the first and the third row differ only in letter
    // case.
    void WriteProblems() const
    {
        WriteMapFile(
            "N_ISO_1_a.sldprt ; M8.sldprt ; x\r\nN_ISO_2_b.sldprt ; M6.sldprt ; x\r\n"
            "N_ISO_3_c.sldprt ; m8.SLDPRT ; x\r\n");
    }
};

IN_BOTH_LANGUAGES(StatusLineTest);

TEST_P(StatusLineTest, CountsRowsPendingAndSelectedOnes)
{
    AddThreeParts();
    Run([&] {
        EXPECT_EQ(TextOf(IDC_STATUS_TEXT), Numbers(3, 3, 0));
        Select({0, 2});
        ExpectStatus(Numbers(3, 3, 2));
        List().MarkConverted(1);
        ExpectStatus(Numbers(3, 2, 2));
        Press(IDC_DELETE);
        ExpectStatus(Numbers(1, 0, 0));
    });
}

TEST_P(StatusLineTest, OffersNamesToCheckWhileThereAreSome)
{
    WriteProblems();
    Run([&] {
        EXPECT_TRUE(IsWindowVisible(Item(IDC_CHECK_NAMES)));
        EXPECT_NE(TextOf(IDC_CHECK_NAMES).find(L": 2"), std::wstring::npos);
        constexpr Text kSame{L"Name doppelt (Groß/klein): '%1'", L"Same name (letter case): '%1'"};
        const std::wstring sameAsThird = FillPlaceholders(kSame.Current(), {L"N_ISO_3_c.sldprt"});
        Press(IDC_CHECK_NAMES);
        EXPECT_EQ(OnlySelectedRow(), 0);
        ExpectStatus(sameAsThird);
        List().SelectOnly(1);
        ExpectStatus(Numbers(3, 0, 1));
        Press(IDC_CHECK_NAMES);
        EXPECT_EQ(OnlySelectedRow(), 2);
        Press(IDC_CHECK_NAMES);
        EXPECT_EQ(OnlySelectedRow(), 0) << "from the top again";
        EXPECT_EQ(GetFocus(), Item(IDC_LIST));
        SetFocus(Item(IDC_CHECK_NAMES));
        List().SetItemText(2, 1, L"other.sldprt");
        m_dialog->SendMessage(WM_LISTCHANGED);
        Select({});
        ExpectStatus(Numbers(3, 0, 0));
        EXPECT_FALSE(IsWindowVisible(Item(IDC_CHECK_NAMES)));
        EXPECT_EQ(GetFocus(), Item(IDC_LIST));
    });
}

TEST_P(StatusLineTest, SaysThatARecordIsTooLong)
{
    WriteMapFile("a.sldprt ; b.sldprt ; x\r\n");
    Run([&] {
        List().SetItemText(0, 2, std::wstring(250, L'x'));
        m_dialog->SendMessage(WM_LISTCHANGED);
        Select({0});
        ExpectStatus(Numbers(1, 0, 1));
        Press(IDC_CHECK_NAMES);
        constexpr Text kLong{L"Zu lang für die Map-Datei (mehr als 255 Bytes)",
                             L"Too long for the map file (more than 255 bytes)"};
        EXPECT_EQ(TextOf(IDC_STATUS_TEXT), kLong.Current());
        Select({});
        ExpectStatus(Numbers(1, 0, 0));
    });
}

// The find field

class FindBarTest : public StatusLineTest
{
protected:
    FindBarTest() { AddThreeParts(); }

    void OpenByKey() const
    {
        const CHeldKeys control{VK_CONTROL};
        PressKeyIn(IDC_LIST, L'F');
    }
    [[nodiscard]] bool IsOpen() const
    {
        const bool field = IsWindowVisible(Item(IDC_FIND)) != FALSE;
        EXPECT_EQ(IsWindowVisible(Item(IDC_FIND_LABEL)) != FALSE, field);
        return field;
    }
    void Find(const std::wstring& text) const { m_dialog->SetDlgItemText(IDC_FIND, text); }
};

IN_BOTH_LANGUAGES(FindBarTest);

TEST_P(FindBarTest, OpensByCtrlFAndClosesByEscape)
{
    Run([&] {
        EXPECT_FALSE(IsOpen());
        OpenByKey();
        EXPECT_TRUE(IsOpen());
        EXPECT_EQ(GetFocus(), Item(IDC_FIND));
        PressKeyIn(IDC_FIND, VK_ESCAPE);
        EXPECT_FALSE(IsOpen());
        EXPECT_EQ(GetFocus(), Item(IDC_LIST));
        EXPECT_TRUE(IsWindow(m_dialog->m_hWnd));
    });
}

TEST_P(FindBarTest, GoesToTheNextRowThatHoldsTheTextInAnyColumn)
{
    Run([&] {
        OpenByKey();
        Find(L"_B.SLD");
        EXPECT_EQ(OnlySelectedRow(), 1) << "original name; letter case is ignored";
        Find(L"3_c.s");
        EXPECT_EQ(OnlySelectedRow(), 2) << "new name";
        Find(L"a-1");
        EXPECT_EQ(OnlySelectedRow(), 0) << "BOM name; the search starts again at the top";
        Find(L"ISO");
        EXPECT_EQ(OnlySelectedRow(), 0) << "the focused row first";
        EXPECT_EQ(GetFocus(), Item(IDC_FIND));
    });
}

TEST_P(FindBarTest, EnterAndF3GoOnAndWithShiftBack)
{
    Run([&] {
        OpenByKey();
        Find(L"ISO");
        PressKeyIn(IDC_FIND, VK_RETURN);
        EXPECT_EQ(OnlySelectedRow(), 1);
        PressKeyIn(IDC_FIND, VK_F3);
        EXPECT_EQ(OnlySelectedRow(), 2);
        PressKeyIn(IDC_FIND, VK_RETURN);
        EXPECT_EQ(OnlySelectedRow(), 0);
        {
            const CHeldKeys shift{VK_SHIFT};
            PressKeyIn(IDC_FIND, VK_RETURN);
            EXPECT_EQ(OnlySelectedRow(), 2);
            PressKeyIn(IDC_FIND, VK_F3);
            EXPECT_EQ(OnlySelectedRow(), 1);
        }
        PressKeyIn(IDC_FIND, VK_ESCAPE);
        PressKeyIn(IDC_LIST, VK_F3);
        EXPECT_EQ(OnlySelectedRow(), 2) << "F3 uses the last text of the field";
        EXPECT_FALSE(IsOpen());
        EXPECT_EQ(FindProgress(), nullptr) << "no conversion was started";
        EXPECT_EQ(TakeBoxes(), Texts{});
    });
}

TEST_P(FindBarTest, SaysWhatIsNotFoundWithoutABox)
{
    Run([&] {
        OpenByKey();
        Find(L"ISO");
        const CAnnouncementWatch watch;
        Find(L"x%1x");
        DrainMessages();
        EXPECT_EQ(watch.Take(), std::vector<HWND>{Item(IDC_STATUS_TEXT)})
            << "screen readers announce the text";
        constexpr Text kNotFound{L"'x%1x' kommt nicht vor.", L"'x%1x' is not in the list."};
        ExpectStatus(kNotFound.Current());
        EXPECT_EQ(OnlySelectedRow(), 0);
        Press(IDC_REMOVE_ALL);
        PressKeyIn(IDC_FIND, VK_RETURN);
        EXPECT_EQ(TakeBoxes(), Texts{RemoveAllQuestion()});
    });
}

TEST_P(FindBarTest, ShowsTheNumbersAgainOnceTheTextIsFound)
{
    Run([&] {
        OpenByKey();
        Find(L"ISO_1");
        Find(L"ISO_1x");
        Find(L"ISO_1");
        ExpectStatus(Numbers(3, 3, 1));
        Find(L"ISO_1x");
        PressKeyIn(IDC_FIND, VK_ESCAPE);
        ExpectStatus(Numbers(3, 3, 1));
    });
}

TEST_P(FindBarTest, F3WithoutATextOpensTheField)
{
    Run([&] {
        PressKeyIn(IDC_LIST, VK_F3);
        EXPECT_TRUE(IsOpen());
        EXPECT_EQ(OnlySelectedRow(), -1);
    });
}

// The menu of further commands

class MoreMenuTest : public FindBarTest
{
protected:
    // Opens the menu and notes in m_possible which commands are possible. Then chooses the command with this
    // mnemonic; VK_ESCAPE closes the menu.
    void Choose(WPARAM mnemonic)
    {
        int looks = 0;
        const CTimerScope look(30, [&] {
            const HWND menu = FindWindowOfThread(
                [](HWND window) { return IsWindowVisible(window) != FALSE && IsOfClass(window, L"#32768"); });
            if (menu != nullptr && looks++ == 0) {
                NotePossible(reinterpret_cast<HMENU>(SendMessageW(menu, MN_GETHMENU, 0, 0)));
                PostMessageW(menu, mnemonic == VK_ESCAPE ? WM_KEYDOWN : WM_CHAR, mnemonic, 1);
            }
            if (looks == 100) {
                ADD_FAILURE() << "the menu stays open";
                EndMenu();
            }
        });
        Press(IDC_MORE);
        DrainMessages();
        EXPECT_GT(looks, 0);
    }

    void NotePossible(HMENU menu)
    {
        m_possible.clear();
        for (int item = 0; item < GetMenuItemCount(menu); ++item) {
            const UINT state = GetMenuState(menu, static_cast<UINT>(item), MF_BYPOSITION);
            if ((state & (MF_GRAYED | MF_SEPARATOR)) == 0) {
                m_possible.push_back(GetMenuItemID(menu, item));
            }
        }
    }

    // Whether pasting is possible depends on what other programs have put on the clipboard.
    [[nodiscard]] std::vector<UINT> PossibleWithoutPaste() const
    {
        std::vector<UINT> commands = m_possible;
        std::erase(commands, UINT{IDM_PASTE});
        return commands;
    }

    std::vector<UINT> m_possible;
};

IN_BOTH_LANGUAGES(MoreMenuTest);

TEST_P(MoreMenuTest, OffersWhatIsPossible)
{
    m_answer = IDYES;
    Run([&] {
        Choose(VK_ESCAPE);
        EXPECT_EQ(PossibleWithoutPaste(),
                  (std::vector<UINT>{IDM_FIND, IDM_FIND_NEXT, IDM_IMPORT, IDM_EXPORT}));
        EXPECT_FALSE(IsOpen());
        Select({2});
        Press(IDC_DELETE);
        Select({0});
        Choose(VK_ESCAPE);
        EXPECT_EQ(PossibleWithoutPaste(),
                  (std::vector<UINT>{IDM_UNDO, IDM_COPY, IDM_FIND, IDM_FIND_NEXT, IDM_IMPORT, IDM_EXPORT}));
        Press(IDC_REMOVE_ALL);
        Choose(VK_ESCAPE);
        EXPECT_EQ(PossibleWithoutPaste(), std::vector<UINT>{IDM_UNDO});
    });
}

TEST_P(MoreMenuTest, PerformsTheChosenCommand)
{
    Run([&] {
        Choose(g_nLanguage != 0 ? L's' : L'f');
        EXPECT_TRUE(IsOpen());
        EXPECT_EQ(GetFocus(), Item(IDC_FIND));
        Find(L"ISO");
        Choose(g_nLanguage != 0 ? L'w' : L'n');
        EXPECT_EQ(OnlySelectedRow(), 1);
        Press(IDC_DELETE);
        EXPECT_EQ(Rows().size(), 2U);
        Choose(g_nLanguage != 0 ? L'r' : L'u');
        EXPECT_EQ(Rows(), m_threeRows);
        EXPECT_EQ(GetFocus(), List().m_hWnd) << "Ctrl+Y works only while the list has the focus";
    });
}

TEST_P(TalvenorDlgTest, FilesOfASearchAreNotAdded)
{
    AddThreeParts();
    Run([&] {
        CSystemDialogs dialogs;
        dialogs.m_picked =
            m_parts + L'\0' + L"N_ISO_1_a.sldprt" + L'\0' + m_parts + L"\\sub\\N_ISO_9_x.sldprt";
        Command(IDC_ADD);
        EXPECT_EQ(TakeBoxes(), Texts{expected::kSearchResults.Current()});
        EXPECT_EQ(Rows(), m_threeRows);
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), FolderView());
    });
}

// Dropped files. No acceptance test drops files: WM_DROPFILES names memory of the window's own process. Wine
// does not translate the message when another process posts it.

class DropTest : public TalvenorDlgTest
{
protected:
    // Hands the paths over as the shell does; the window frees the memory.
    void Drop(const Texts& paths) const
    {
        std::wstring list;
        for (const std::wstring& path : paths) {
            list += path + L'\0';
        }
        list += L'\0';
        const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, sizeof(DROPFILES) + list.size() * sizeof(wchar_t));
        auto* const start = static_cast<DROPFILES*>(GlobalLock(memory));
        *start = {sizeof(DROPFILES), {}, FALSE, TRUE};
        std::ranges::copy(list, reinterpret_cast<wchar_t*>(start + 1));
        GlobalUnlock(memory);
        m_dialog->SendMessage(WM_DROPFILES, reinterpret_cast<WPARAM>(memory));
    }
    static std::wstring Refused()
    {
        constexpr Text kRefused{
            L"Hier lassen sich nur Normteil-Dateien (*.sldprt, *.prt, *.sldasm) aus einem einzigen Ordner "
            L"oder ein "
            L"einziger Ordner ablegen.",
            L"Only standard-part files (*.sldprt, *.prt, *.sldasm) of one folder, or one folder, can be "
            L"dropped "
            L"here."};
        return kRefused.Current();
    }
};

IN_BOTH_LANGUAGES(DropTest);

TEST_P(DropTest, TheWindowTakesFiles)
{
    Run([&] { EXPECT_NE(GetWindowLongW(m_dialog->m_hWnd, GWL_EXSTYLE) & WS_EX_ACCEPTFILES, 0); });
}

TEST_P(DropTest, FilesOfTheSameFolderAreAddedAsAChange)
{
    AddThreeParts();
    WriteMapFile("N_ISO_1_a.sldprt ; 1.sldprt ; one\r\n");
    Run([&] {
        Drop(
            {m_parts + L"\\N_ISO_3_c.sldprt", m_parts + L"\\N_ISO_2_b.SLDPRT", m_parts + L"\\N_ISO_4_d.prt"});
        EXPECT_EQ(Rows(),
                  (Texts{L"N_ISO_1_a.sldprt > 1.sldprt > one", L"N_ISO_2_b.SLDPRT > 2_b.SLDPRT > b-2 *",
                         L"N_ISO_3_c.sldprt > 3_c.sldprt > c-3 *", L"N_ISO_4_d.prt > 4_d.prt > d-4 *"}));
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), MapView() + Changed());
        EXPECT_EQ(TakeBoxes(), Texts{});
    });
}

TEST_P(DropTest, FilesOfAnotherFolderReplaceTheListAfterAQuestion)
{
    AddThreeParts();
    const std::wstring other = MakeOtherFolder();
    Run([&] {
        m_answer = IDNO;
        Drop({other + L"\\N_ISO_8_x.sldprt"});
        EXPECT_EQ(TakeBoxes(), Texts{OtherFolderQuestion()});
        EXPECT_EQ(Rows(), m_threeRows);
        m_answer = IDYES;
        Drop({other + L"\\N_ISO_8_x.sldprt"});
        EXPECT_EQ(TakeBoxes(), Texts{OtherFolderQuestion()});
        EXPECT_EQ(Rows(), Texts{L"N_ISO_8_x.sldprt > 8_x.sldprt > x-8 *"});
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), other);
    });
}

TEST_P(DropTest, AFolderIsLoadedAfterAQuestion)
{
    AddThreeParts();
    const std::wstring other = MakeOtherFolder();
    Run([&] {
        m_answer = IDNO;
        Drop({other});
        EXPECT_EQ(TakeBoxes(), Texts{ChangeQuestion()});
        EXPECT_EQ(Rows(), m_threeRows);
        m_answer = IDYES;
        Drop({other});
        EXPECT_EQ(TakeBoxes(), Texts{ChangeQuestion()});
        EXPECT_EQ(Rows(), (Texts{L"N_ISO_8_x.sldprt > 8_x.sldprt > x-8 *",
                                 L"N_ISO_9_y.sldprt > 9_y.sldprt > y-9 *"}));
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), other);
        Drop({other});
        EXPECT_EQ(TakeBoxes(), Texts{}) << "the folder is shown already";
    });
}

TEST_P(DropTest, ABackslashAtTheEndOfTheFolderDoesNotCount)
{
    AddThreeParts();
    SetPartsFolder(m_parts + L"\\");
    Run([&] {
        Drop({m_parts});
        Drop({m_parts + L"\\N_ISO_3_c.sldprt"});
        EXPECT_EQ(TakeBoxes(), Texts{});
        EXPECT_EQ(Rows(), m_threeRows);
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), m_parts);
        EXPECT_EQ(TextOf(IDC_STATUS_FRAME), FolderView() + Changed());
    });
}

// The program removes the backslash of a root, too. So each path below the root has a single backslash after
// the drive.
TEST_P(DropTest, TheRootOfADriveIsAFolder)
{
    AddThreeParts();
    m_answer = IDYES;
    Run([&] {
        Drop({L"C:\\"});
        EXPECT_EQ(TakeBoxes(), Texts{ChangeQuestion()});
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), L"C:");
        EXPECT_EQ(TextOf(IDC_MAPPED_DIR), L"C:\\Mapped");
        Drop({L"C:\\"});
        EXPECT_EQ(TakeBoxes(), Texts{}) << "the root is shown already";
    });
}

TEST_P(DropTest, AFolderReplacesTheOneThatWasRefused)
{
    AddThreeParts();
    Run([&] {
        TypeFolder(m_parts + L"\\none");
        EXPECT_EQ(TakeBoxes(), Texts{NoSuchFolder()});
        Drop({m_parts});
        EXPECT_EQ(TextOf(IDC_SOURCE_DIR), m_parts);
        Press(IDC_SELECT_ALL);
        EXPECT_EQ(List().GetSelectedCount(), 3) << "the buttons work again";
        EXPECT_EQ(TakeBoxes(), Texts{});
    });
}

TEST_P(DropTest, AnythingElseIsRefused)
{
    AddThreeParts();
    const std::wstring other = MakeOtherFolder();
    WriteBytes(m_parts + L"\\readme.txt", "x");
    std::filesystem::create_directory(other + L"\\folder.sldprt");
    const std::wstring part = m_parts + L"\\N_ISO_1_a.sldprt";
    m_answer = IDYES;
    Run([&] {
        for (const Texts& paths :
             {Texts{part, other + L"\\N_ISO_8_x.sldprt"}, Texts{part, m_parts + L"\\readme.txt"},
              Texts{m_parts, other}, Texts{part, other},
              Texts{other + L"\\N_ISO_8_x.sldprt", other + L"\\folder.sldprt"}, Texts{}}) {
            Drop(paths);
            EXPECT_EQ(TakeBoxes(), Texts{Refused()});
            EXPECT_EQ(Rows(), m_threeRows);
        }
    });
}

TEST_P(DropTest, NothingIsTakenWhileTheWindowIsDisabled)
{
    AddThreeParts();
    const std::wstring other = MakeOtherFolder();
    m_answer = IDYES;
    Run([&] {
        m_dialog->EnableWindow(false);
        Drop({other});
        Drop({});
        m_dialog->EnableWindow(true);
        EXPECT_EQ(TakeBoxes(), Texts{});
        EXPECT_EQ(Rows(), m_threeRows);
    });
}

}  // namespace
