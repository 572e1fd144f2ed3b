#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cad/SldWorks.h"
#include "core/TableRecorder.h"
#include "files/FileMisc.h"
#include "files/PickedFiles.h"
#include "framework/Controls.h"
#include "framework/Dialog.h"
#include "framework/DialogLayout.h"
#include "framework/ServerProcess.h"
#include "framework/TaskbarProgress.h"
#include "run/ConversionView.h"
#include "ui/ConvList.h"
#include "ui/EditSourceDir.h"
#include "ui/FindBar.h"
#include "ui/RunReportCommands.h"
#include "ui/StatusLine.h"
#include "ui/TableCommands.h"

// The main window. Shows the conversion table. Lets the user choose the standard-parts folder, add and delete
// files, view the map file, choose the SOLIDWORKS version and start the conversion run.
class CTalvenorDlg : public CDialog,
                     private CFileMisc,
                     private CSldWorks,
                     private CConversionView,
                     private CTableCaption
{
public:
    CTalvenorDlg();

    bool PreTranslateMessage(MSG& message) override;

protected:
    [[nodiscard]] const MessageMap* GetMessageMap() const override;
    bool OnCommand(WPARAM wParam, LPARAM lParam) override;
    LRESULT OnNotify(WPARAM wParam, LPARAM lParam) override;
    void DoDataExchange(CDataExchange& exchange) override;
    bool OnInitDialog() override;
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;
    void OnIdle() override { m_status.Update(); }
    void OnOK() override {}  // Enter never closes the window

private:
    // Start
    void AddAboutToSystemMenu() const;
    void SetDialogIcon();
    void PrepareList();
    void SetStateImages();
    void AnchorControls();
    void ReadFolders();
    void FillVersions();
    void OnFirstPaint();

    // View
    void ShowViewStatus(bool mapView) override;
    void ReloadAfterCancel() override;
    void TakeInputAgain() override;
    void ShowProgress(int percent) override;
    void ShowRunEnd(bool failed) override;
    void TellOfMessage(bool open);
    void MarkListChanged(bool on);
    [[nodiscard]] ViewStatus GetViewStatus() const override;
    void SetViewStatus(const ViewStatus& status) override;
    void FillListFromTable(const CFileMisc& mapFile);
    void ShowMapView(const CFileMisc& mapFile);
    bool ShowMapFileContents();
    void ShowFolderContents();
    void LoadListForSourceFolder();
    void SetFolder(const std::wstring& folder);
    void ShowFolders();

    // Windows messages
    [[nodiscard]] bool IsBusy() const;
    LRESULT EndLabelEdit(WPARAM wParam, LPARAM lParam);
    void OnPaint();
    HICON OnQueryDragIcon();
    LRESULT OnSysCommand(WPARAM wParam, LPARAM lParam);
    void OnDestroy();
    LRESULT OnSetCursor(WPARAM wParam, LPARAM lParam);
    LRESULT OnQueryEndSession(WPARAM wParam, LPARAM lParam);
    LRESULT OnEndSession(WPARAM wParam, LPARAM lParam);
    LRESULT OnActivate(WPARAM wParam, LPARAM lParam);
    void OnSize();
    LRESULT OnDpiChanged(WPARAM wParam, LPARAM lParam);
    void Arrange();
    void OnGetMinMaxInfo(MINMAXINFO& limits);
    void OnListChanged();
    LRESULT OnDropFiles(WPARAM wParam, LPARAM lParam);
    LRESULT OnApplyTemplate(WPARAM wParam, LPARAM lParam);

    // Commands
    void OnSourceDirKillFocus();
    void OnBrowseSourceFolder();
    void OnAddStandardParts();
    void OnDeleteSelected();
    void OnSelectAll();
    void OnSelectNone();
    void OnRemoveAll();
    void OnShowMapFile();
    void OnMarkForConversion();
    void OnCheckNames();
    void OnFindChange();
    void OnFind();
    void OnFindNext();
    void OnMore();
    [[nodiscard]] bool IsPossible(UINT command) const;
    void OnReport();
    void OnSelectAttention();
    void OnStart();
    void OnHelp();

    [[nodiscard]] bool NeedsOtherFolder(WPARAM command) const;
    [[nodiscard]] std::wstring TypedFolder() const;
    [[nodiscard]] bool CheckTypedFolder(const std::wstring& folder) const;
    void RefuseFolder() const;
    void TakeDrop(const std::optional<PickedFiles>& files);
    void ChangeFolder(const std::wstring& folder);
    void TakePickedFiles(const std::wstring& folder, const std::vector<std::wstring>& names);
    void SelectAllRows(bool select);
    void DeleteSelectedRows();
    void TakeChosenVersion();
    [[nodiscard]] bool MayOverwriteMapFile() const;
    void RunConversion(bool copyOnly);
    // Whether OnSelectAttention would do something now.
    [[nodiscard]] bool CanSelectAttention() const;

    CStatic m_wndStatusFrame;
    CConvList m_wndList;
    CStatusLine m_status{m_wndList, [this] { RequestIdle(); }};
    CFindBar m_wndFind{m_wndList, m_status};
    CTableRecorder m_recorder{m_wndList, *this};
    CTableCommands m_commands{m_wndList, m_recorder};
    std::wstring m_strSourceDir;   // the standard-parts folder
    std::wstring m_strInstallDir;  // the library's program folder; empty when the registry does not name it
    bool m_bInputDirMissing = false;
    CImageList m_stateImages;
    CEditSourceDir m_wndSourceDir;
    CComboBox m_wndVersion;
    CButton m_wndCopyOnly;
    CButton m_wndReport;
    CRunReportCommands m_report;
    std::wstring m_strProgId;
    CServerProcess m_cadServer;
    CTaskbarProgress m_taskbar;
    std::wstring m_strHelpFile;  // the manual in the library's program folder
    UniqueIcon m_icon;
    UniqueIcon m_smallIcon;

    UINT m_nDpi = USER_DEFAULT_SCREEN_DPI;  // of the columns and images
    CDialogLayout m_layout;
    bool m_bScalingChanges = false;     // during the default processing of WM_DPICHANGED
    bool m_bRunning = false;            // during a conversion run
    bool m_bCheckingSourceDir = false;  // a message about the typed folder is open
    bool m_bFolderRefused = false;      // the folder field was left with a folder that does not exist
};
