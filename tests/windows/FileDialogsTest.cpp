#include "ui/FileDialogs.h"

#include <commdlg.h>
#include <gtest/gtest.h>
#include <shlobj.h>

#include <array>
#include <string>

#include "tests/support/ImportTable.h"

// What the program asks of the system's dialogs. TalvenorDlgTest uses the dialogs themselves.

namespace {

// While it lives, the system's dialogs return at once as if they were cancelled. Only one object may exist at
// a time.
class CCancelledDialogs
{
public:
    CCancelledDialogs()
    {
        static const bool redirected = RedirectImport("GetOpenFileNameW", &FileDialog, &s_open) &&
                                       RedirectImport("GetSaveFileNameW", &FileDialogToSave, &s_save) &&
                                       RedirectImport("SHBrowseForFolderW", &FolderPicker, &s_browse);
        EXPECT_TRUE(redirected);
        s_current = this;
    }
    ~CCancelledDialogs() { s_current = nullptr; }
    CCancelledDialogs(const CCancelledDialogs&) = delete;
    CCancelledDialogs& operator=(const CCancelledDialogs&) = delete;

    std::wstring m_startFolder;  // of the last file dialog
    UINT m_pickerFlags = 0;
    BFFCALLBACK m_onPickerEvent = nullptr;

private:
    static BOOL WINAPI FileDialog(OPENFILENAMEW* request) { return Show(request, s_open); }
    static BOOL WINAPI FileDialogToSave(OPENFILENAMEW* request) { return Show(request, s_save); }
    static BOOL Show(OPENFILENAMEW* request, decltype(&::GetOpenFileNameW) original)
    {
        if (s_current == nullptr) {
            return original(request);
        }
        s_current->m_startFolder = request->lpstrInitialDir != nullptr ? request->lpstrInitialDir : L"(none)";
        return FALSE;
    }
    static PIDLIST_ABSOLUTE WINAPI FolderPicker(BROWSEINFOW* request)
    {
        if (s_current == nullptr) {
            return s_browse(request);
        }
        s_current->m_pickerFlags = request->ulFlags;
        s_current->m_onPickerEvent = request->lpfn;
        return nullptr;
    }

    static inline decltype(&::GetOpenFileNameW) s_open = nullptr;
    static inline decltype(&::GetSaveFileNameW) s_save = nullptr;
    static inline decltype(&::SHBrowseForFolderW) s_browse = nullptr;
    static inline CCancelledDialogs* s_current = nullptr;
};

TEST(FileDialogs, OfTablesStartInTheDocuments)
{
    std::array<wchar_t, MAX_PATH> documents{};
    ASSERT_EQ(SHGetFolderPathW(nullptr, CSIDL_PERSONAL, nullptr, SHGFP_TYPE_CURRENT, documents.data()), S_OK);
    CCancelledDialogs dialogs;
    EXPECT_FALSE(PickTableToImport(nullptr));
    EXPECT_EQ(dialogs.m_startFolder, documents.data());
    dialogs.m_startFolder.clear();
    EXPECT_FALSE(PickTableToExport(nullptr));
    EXPECT_EQ(dialogs.m_startFolder, documents.data());
}

TEST(FileDialogs, OfPartsStartInTheirFolder)
{
    const CCancelledDialogs dialogs;
    EXPECT_FALSE(PickFiles(nullptr, L"D:\\Parts"));
    EXPECT_EQ(dialogs.m_startFolder, L"D:\\Parts");
}

// Wine's picker has no field; so the system's side is played here.
TEST(FileDialogs, TheFolderPickerStaysOpenForAMistypedFolder)
{
    const CCancelledDialogs dialogs;
    EXPECT_EQ(PickFolder(nullptr), L"");
    EXPECT_EQ(dialogs.m_pickerFlags, UINT{BIF_EDITBOX | BIF_VALIDATE});
    ASSERT_NE(dialogs.m_onPickerEvent, nullptr);
    std::wstring typed = L"D:\\Prats";
    EXPECT_EQ(
        dialogs.m_onPickerEvent(nullptr, BFFM_VALIDATEFAILEDW, reinterpret_cast<LPARAM>(typed.data()), 0), 1);
    EXPECT_EQ(dialogs.m_onPickerEvent(nullptr, BFFM_SELCHANGED, 0, 0), 0);
}

}  // namespace
