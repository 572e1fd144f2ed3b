#pragma once

// What a conversion run needs of the window that started it. The main dialog is one.
class CConversionView
{
public:
    virtual ~CConversionView() = default;

    // Names the view in the window: true for "contents of the map file", false for "contents of the folder".
    // The rows stay as they are.
    virtual void ShowViewStatus(bool mapView) = 0;

    // Shows what the map file on disk holds: nothing when it cannot be read, which the user is told. Without
    // a map file, the standard-parts folder's contents.
    virtual void ReloadAfterCancel() = 0;

    // Enables the window, drops what was typed and clicked while it was disabled, brings it to the top and
    // gives the focus to its list. One that is enabled is brought to the top only.
    virtual void TakeInputAgain() = 0;

protected:
    CConversionView() = default;
    CConversionView(const CConversionView&) = default;
    CConversionView& operator=(const CConversionView&) = default;
};
