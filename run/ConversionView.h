#pragma once

// What a conversion run needs of the main dialog.
class CConversionView
{
public:
    virtual ~CConversionView() = default;

    // Sets the caption of the list: true for "contents of the map file", false for "contents of the folder".
    // The rows stay.
    virtual void ShowViewStatus(bool mapView) = 0;

    // Reloads the list from the map file: empty, after a message, when it cannot be read. Without a map file,
    // from the standard-parts folder.
    virtual void ReloadAfterCancel() = 0;

    // Enables a disabled window, drops the input that came meanwhile, brings the window to the top and sets
    // the focus to its list. An enabled window is only brought to the top.
    virtual void TakeInputAgain() = 0;

    // The share of the rows done, in percent, and, in front of the run's last message, whether it was
    // aborted. For what the user sees of the run while another program is in front.
    virtual void ShowProgress(int /*percent*/) {}
    virtual void ShowRunEnd(bool /*failed*/) {}

protected:
    CConversionView() = default;
    CConversionView(const CConversionView&) = default;
    CConversionView& operator=(const CConversionView&) = default;
};
