#pragma once

// What a conversion run needs from the main dialog.
class CConversionView
{
public:
    virtual ~CConversionView() = default;

    // Sets the caption of the list: true for "contents of the map file", false for "contents of the folder".
    // The rows stay.
    virtual void ShowViewStatus(bool mapView) = 0;

    // Reloads the list from the map file, or from the standard-parts folder when there is no map file. If the
    // map file cannot be opened, shows a message and leaves the list empty.
    virtual void ReloadAfterCancel() = 0;

    // Brings the main window to the top. If the window is disabled, also enables the window, drops the input
    // that came meanwhile and sets the focus to the list.
    virtual void TakeInputAgain() = 0;

    // ShowProgress reports the share of the rows done, in percent. ShowRunEnd reports, before the run's last
    // message, whether the run was aborted. The main dialog shows both on the taskbar button, for a user who
    // works in another program.
    virtual void ShowProgress(int /*percent*/) {}
    virtual void ShowRunEnd(bool /*failed*/) {}

protected:
    CConversionView() = default;
    CConversionView(const CConversionView&) = default;
    CConversionView& operator=(const CConversionView&) = default;
};
