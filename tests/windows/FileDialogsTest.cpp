#include "ui/FileDialogs.h"

#include <gtest/gtest.h>
#include <shlobj.h>

#include <array>
#include <string>

#include "tests/support/SystemDialogs.h"

// What the program asks of the system's dialogs. TalvenorDlgTest uses the dialogs themselves.

namespace {

TEST(FileDialogs, OfTablesStartInTheDocuments)
{
    std::array<wchar_t, MAX_PATH> documents{};
    ASSERT_EQ(SHGetFolderPathW(nullptr, CSIDL_PERSONAL, nullptr, SHGFP_TYPE_CURRENT, documents.data()), S_OK);
    CSystemDialogs dialogs;
    EXPECT_FALSE(PickTableToImport(nullptr));
    EXPECT_EQ(dialogs.m_startFolder, documents.data());
    dialogs.m_startFolder.clear();
    EXPECT_FALSE(PickTableToExport(nullptr));
    EXPECT_EQ(dialogs.m_startFolder, documents.data());
}

TEST(FileDialogs, OfPartsStartInTheirFolder)
{
    const CSystemDialogs dialogs;
    EXPECT_FALSE(PickFiles(nullptr, L"D:\\Parts"));
    EXPECT_EQ(dialogs.m_startFolder, L"D:\\Parts");
}

// Wine's folder picker has no field to type into, so the test itself calls the callback as the system would.
TEST(FileDialogs, TheFolderPickerStaysOpenForAMistypedFolder)
{
    const CSystemDialogs dialogs;
    EXPECT_EQ(PickFolder(nullptr), L"");
    EXPECT_EQ(dialogs.m_pickerFlags, UINT{BIF_EDITBOX | BIF_VALIDATE});
    ASSERT_NE(dialogs.m_onPickerEvent, nullptr);
    std::wstring typed = L"D:\\Prats";
    EXPECT_EQ(
        dialogs.m_onPickerEvent(nullptr, BFFM_VALIDATEFAILEDW, reinterpret_cast<LPARAM>(typed.data()), 0), 1);
    EXPECT_EQ(dialogs.m_onPickerEvent(nullptr, BFFM_SELCHANGED, 0, 0), 0);
}

}  // namespace
