#include "tests/selfcheck/Expectations.h"

#include "tests/selfcheck/Looks.h"

namespace {

constexpr Look kLooks[] = {
    {"checksums", &LookAtChecksums},
    {"starts", &LookAtStart},
    {"resource-folder", &LookAtResourceFolder},
    {"dpi-aware", &LookAtDpiAwareness},
    {"frame-metrics", &LookAtFrame},
    {"work-area", &LookAtWorkArea},
    {"dark-mode", &LookAtGround},
    {"common-controls", &LookAtCommonControls},
    {"system-libraries", &LookAtLibraries},
    {"mitigations", &LookAtMitigations},
    {"old-windows", &LookAtOldWindows},
    {"keep-awake", &LookAtKeepAwake},
    {"nested-jobs", &LookAtNestedJobs},
    {"dialog-font", &LookAtDialogFont},
    {"key-layout", &LookAtKeyLayout},
    {"file-case", &LookAtFileCase},
    {"map-code-page", &LookAtCodePage},
    {"working-folder", &LookAtWorkingFolder},
    {"library-view", &LookAtLibraryView},
    {"user-view", &LookAtUserView},
    {"cad-registered", &LookAtCadVersions},
    {"cad-current", &LookAtCurrentCad},
};

constexpr const char* kInProcess = "windows_tests";
constexpr const char* kWhole = "acceptance_tests";

constexpr Proof kProofs[] = {
    {"focus-disabled", kInProcess, "*ProgressFileCopyTest.TheButtonGetsTheKeyboardBackWhenItIsEnabled*"},
    {"default-button", kInProcess, "*TalvenorDlgTest.EnterPressesTheClickedButtonOrElseTheDefaultOne/*"},
    {"box-owner", kInProcess, "MessageBox*.TheOwnerIsTheWindowTheUserWorksIn"},
    {"accessible-names", kInProcess, "AccessibleName.*"},
    {"start-posted", kInProcess, "*SentStartTest.GetsItsAnswerBeforeTheRun/*"},
    {"file-read-only", kInProcess, "FileTest.ReadOnlyFileDeniesWriting"},
    {"file-share", kInProcess, "FileTest.FileThatAnotherHoldsExclusivelyIsASharingViolation"},
    {"file-delete-open", kInProcess, "CopyPartFileTest.CopiesASourceThatIsOpenElsewhereForDeletion"},
    {"file-device", kInProcess, "FileTest.NameOfADeviceIsABadPath"},
    {"file-status", kInProcess, "FileTest.SetStatusSetsAttributesAndTimeOfReadOnlyFilesToo"},
    {"file-mapped", kInProcess, "FailingRecordTest.AppendsNothingAfterAPartialRecordThatStays"},
    {"file-flush", kInProcess, "FileTest.FlushesOnlyWithWriteAccess"},
    {"scan-short-name", kInProcess, "FileMiscTest.ScanAppendsAPartFileFoundByItsShortName"},
    {"cad-image", kInProcess, "LocalServerTest.IsFoundOnASubstitutedDrive"},
    {"long-path", kInProcess, "FileTest.LongPathsWorkWhereTheSystemAllowsThem"},
    {"share-gone", kInProcess, "*TalvenorDlgTest.AShareThatDoesNotExistIsReported/*"},
    {"temp-folder", kInProcess, "*RunReportCommandsTest.WritesAndOpensAReport*"},
    {"open-dialog-folder", kInProcess, "*FileDialogTest.TheWorkingFolderStays/*"},
    {"folder-picker-field", kInProcess, "*FolderPickerTest.HasAFieldToTypeInto/*"},
    {"fail-fast", kInProcess, "WinApp.AnUncaughtExceptionEndsTheProgramByFailFast"},
    {"views-apart", kInProcess, "RegistryViewTest.ReadsAndWritesInItsOwnView"},
    {"predefined-reopen", kInProcess, "RegistryTest.AHiveServesManyAccesses"},
    {"user-classes", kInProcess, "ScratchClasses.OfTheUserAreFoundByCom"},
    {"kill-focus-box", kWhole, "ListEditTest.AcceptsInputAfterAMessageThatAButtonBroughtUp"},
    {"drag-loop", kWhole, "ListColumnsTest.DoNotFollowTheMouseAfterAMessageAboutTheOpenEdit"},
    {"call-cancelled", kWhole, "HangTest.OneClickAndOneAnswerStopWaitingForAServerThatItReached"},
    {"call-server-killed", kWhole, "HangTest.OneClickAndOneAnswerEndAHangInTheRunAndInTheEndCall"},
    {"filter-woken", kWhole, "HangTest.OneClickAndOneAnswerEndAHangInTheRunAndInTheEndCall"},
    {"call-rejected", kWhole, "BusyServerTest.IsAskedAgainWhenItRejectsACall"},
    {"call-retry-later", kWhole, "BusyServerTest.IsAskedAgainWhenItSaysRetryLater"},
    {"reentrant", kWhole, "RunTest.DropsInputUntilTheCadSystemHasEnded"},
    {"data-library", kWhole, "LibrarySearchTest.RunsNothingInItsResourceLibrary"},
    {"cad-started-by-com", kWhole, "ServerEndTest.AKilledProgramLeavesNoServerThatItStarted"},
};

constexpr Question kQuestions[] = {
    {"dpi-system-dialogs", "On a monitor not scaled like the main one, press Browse, then Add.",
     "Were both dialogs as large as in other programs there?"},
    {"snap", "Press Win+Left, then Win+Up, so that the window takes a quarter of the screen.",
     "Was every control fully visible?"},
    {"contrast-theme", "Turn on a contrast theme (Alt+Shift+PrintScreen), look at the window, turn it off.",
     "Were the list, its grid lines and marks readable?"},
    {"text-size", "Set Accessibility > Text size to 200 %, start the program, look at it, set it back.",
     "Was all text of the window fully visible?"},
    {"enter-after-browse", "Press Browse, close the folder picker with Cancel, press Enter.",
     "Did the folder picker open again, and no conversion start?"},
    {"kill-focus-target",
     "Type a folder that does not exist into the folder field and click Close; start the program again.",
     "Did the program close without a message?"},
    {"edit-alt-tab", "Press F2 in the list, type a letter, and press Alt+Tab.",
     "Did the other program come to the front and stay there?"},
    {"owner-enabled", "Choose View/Modify template in the menu of a column, and press Cancel.",
     "Did the window of Talvenor stay in front?"},
    {"ok-alone", "Type a folder that does not exist into the folder field, press Tab, then Escape.",
     "Did Escape close the message?"},
    {"ghost-window", "Start a run while SOLIDWORKS is slow to start, and click the window several times.",
     "Did the window keep its title, without \"(not responding)\"?"},
    {"screen-reader", "Turn on a screen reader other than Narrator (NVDA or JAWS), go through the rows.",
     "Does it say the part file and the mark of each row?"},
    {"uia-bridge", "Turn on Narrator (Ctrl+Win+Enter) and go through the rows.",
     "Does it say the part file and the mark of each row?"},
    {"alt-digit",
     "Put the focus on the list and press Alt+2 twice. First release Alt before 2, then 2 before Alt.",
     "Did a column move each time, and no menu open?"},
    {"header-limits", "Drag the right border of a column as far to the left and to the right as it goes.",
     "Did it stop before the column vanished, and somewhere on the right, too?"},
    {"list-scroll",
     "Make the columns wide (Ctrl+1, Ctrl+2), scroll sideways, and double-click a cell of the second column.",
     "Did the editor open exactly over its cell?"},
    {"grid-lines", "Look at a list with few rows: the lines between the columns.",
     "Do they run straight down to the end, in one colour?"},
    {"menu-key", "Put the focus into the list; press the menu key, Esc, then the menu key with Ctrl.",
     "Did the menu of the second column open, then that of the third?"},
    {"right-press", "Right-click a cell of the second column and choose Delete with the mouse.",
     "Did the row vanish at once, without another click?"},
    {"taskbar", "Start a run with many parts and look at the taskbar button.", "Does it show the progress?"},
    {"flash", "Start a run with a few parts, and go to another program until it ends.",
     "Did the taskbar button flash?"},
    {"foreground", "Drop a part file of another folder from the Explorer onto the window.",
     "Does the question open in front of the Explorer?"},
    {"drop-elevated",
     "Start talvenor_english.exe in an administrator's command prompt in its folder, and drop a part file "
     "onto it.",
     "Did the program take the file or ask about it?"},
    {"press-disabled",
     "Turn the sound on, start a run, and click the window behind the one that shows the progress.",
     "Did Windows beep, or did the window in front blink?"},
    {"standby",
     "Start a run with many parts, choose Sleep in the start menu, and wake the computer after a minute.",
     "Did the run go on by itself?"},
    {"locked-screen", "Start a run with many parts, press Win+L, and come back after a minute.",
     "Had the run gone on meanwhile?"},
    {"server-sharing",
     "On another computer, open PartsMap.txt of a share in Excel, and start a run in that folder here.",
     "Did a message say that the file cannot be opened for write access?"},
    {"server-attributes",
     "Convert one part in a folder of your file server, and look at the properties of its copy.",
     "Is it read-only, and was it last modified at the time of the conversion?"},
    {"server-path",
     "Open a folder of a share in one Talvenor by its drive letter and in another by \\\\server\\share; "
     "start a run in both.",
     "Did the second one say that another Talvenor is converting the folder?"},
    {"share-root", "Type the root of a share (\\\\server\\share) into the folder field and press Tab.",
     "Was it taken without a message?"},
    {"network-loss", "Start a run in a folder of a file server; pull the network cable for ten seconds.",
     "Do messages and the report name every part that was not copied, and were the later ones copied?"},
    {"start-share",
     "Start talvenor_english.exe from a share, start a run, and pull the network cable for ten seconds.",
     "Did Talvenor go on, without a crash?"},
    {"vault-files",
     "In the local view of your document-management system, press Browse, choose a folder of parts that was "
     "not fetched before, and convert one part.",
     "Did the list have every part file that the Explorer shows, and is the copy in the folder Mapped?"},
    {"open-dialog-buffer", "Press Add and choose several thousand files with long names at once.",
     "Did the list stay as it was?"},
    {"open-document", "Press Help.", "Did the manual open in your PDF viewer?"},
    {"open-report", "Press Report after a run, and click a heading of the page.",
     "Did the page open in the browser, and did the click sort the rows?"},
    {"help-quit", "Close the program.", "Did it close without a window or a message about help?"},
    {"shell-extensions",
     "On a computer with SOLIDWORKS, press Add and right-click a part file in the dialog.",
     "Did the menu have the entries that it has in the Explorer?"},
    {"start-folder",
     "Start talvenor_english.exe as administrator from its context menu, then with the Task Scheduler.",
     "Did it start, or did its message name its resource library?"},
    {"start-explorer", "Double-click talvenor_english.exe in the Explorer.", "Did its window open?"},
    {"start-pinned",
     "Pin the running talvenor_english.exe to the taskbar, close it, and start it with that button.",
     "Did its window open?"},
    {"smart-screen", "Download the package with a browser and open it.",
     "Was there a warning, and could you get past it as the README says?"},
    {"zip-mark",
     "Download the portable archive with a browser, unpack it in the Explorer, and start talvenor.exe.",
     "Did its window open, if need be after a warning?"},
    {"controlled-folders",
     "Turn on Controlled folder access (Windows Security), start a run in a folder below Documents, turn it "
     "off.",
     "Did a message say that the folder Mapped cannot be created?"},
    {"clipboard", "Copy rows of the list into a spreadsheet, change a name there, copy and paste them back.",
     "Did each column keep its place both ways?"},
    {"csv-file", "Press Export, and open the file by a double-click in Excel.",
     "Is each name in its own column, with the right umlauts?"},
    {"cad-no-window", "Look at the screen and the taskbar while a run drives SOLIDWORKS.",
     "Did the main window of SOLIDWORKS stay hidden?"},
    {"cad-user-session", "Start SOLIDWORKS by hand, without a document, then convert one part.",
     "Was there only one SLDWORKS.exe in the Task Manager, and did it end with the run?"},
    {"cad-end-unsaved",
     "Start SOLIDWORKS by hand, change a new part without saving it, and convert one part with Talvenor.",
     "Did SOLIDWORKS ask about the unsaved part, or keep it?"},
    {"cad-serves", "Open the Task Manager, and start a run with SOLIDWORKS closed before.",
     "Was there one SLDWORKS.exe, which stayed until the end of the run?"},
    {"cad-killed",
     "Start a run as an ordinary user, with SOLIDWORKS closed before; end talvenor_english.exe in the Task "
     "Manager.",
     "Did SLDWORKS.exe disappear, too?"},
    {"cad-calls", "Convert three parts, and open the copies in SOLIDWORKS.",
     "Does each configuration have the BOM name of the list?"},
    {"cad-save", "Compare such a copy with its original in SOLIDWORKS.",
     "Do they differ in the BOM names alone?"},
    {"session-end",
     "Start a run with many parts and sign out; cancel the sign-out when Windows asks. Open the copy of the "
     "last row with a green check mark in SOLIDWORKS.",
     "Did Windows show the program's reason, and does each configuration of the copy have its BOM name?"},
    {"session-goes-on",
     "This ends the self-check, too: keep a copy of its report, and answer after you have signed in and "
     "started it anew (selfcheck --only 4). Start a run with many parts, sign out, and press nothing.",
     "Were you signed out as soon as the row was finished?"},
};

}  // namespace

std::span<const Look> Looks()
{
    return kLooks;
}

std::span<const Proof> Proofs()
{
    return kProofs;
}

std::span<const Question> Questions()
{
    return kQuestions;
}

std::string FilterOf(const std::string& program)
{
    std::string filter;
    for (const Proof& proof : kProofs) {
        if (program == proof.program) {
            filter += (filter.empty() ? "" : ":") + std::string(proof.cases);
        }
    }
    return filter;
}
