#pragma once

#include <windows.h>

#include <commdlg.h>
#include <gtest/gtest.h>
#include <shlobj.h>

#include <algorithm>
#include <string>

#include "tests/support/ImportTable.h"

// While it exists, the system's file dialogs and folder picker are not shown and return at once. Only one
// object may exist at a time.
class CSystemDialogs
{
public:
    CSystemDialogs()
    {
        static const bool redirected = RedirectImport("GetOpenFileNameW", &FileDialog, &s_open) &&
                                       RedirectImport("GetSaveFileNameW", &FileDialogToSave, &s_save) &&
                                       RedirectImport("SHBrowseForFolderW", &FolderPicker, &s_browse);
        EXPECT_TRUE(redirected);
        s_current = this;
    }
    ~CSystemDialogs() { s_current = nullptr; }
    CSystemDialogs(const CSystemDialogs&) = delete;
    CSystemDialogs& operator=(const CSystemDialogs&) = delete;

    std::wstring m_picked;       // what the file dialog returns in its buffer; empty: cancelled
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
        const std::wstring& picked = s_current->m_picked;
        std::copy_n(picked.c_str(), picked.size() + 1, request->lpstrFile);
        return picked.empty() ? FALSE : TRUE;
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
    static inline CSystemDialogs* s_current = nullptr;
};
