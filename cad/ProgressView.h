#pragma once

#include <string>

// The part of the progress dialog that the BOM entry writer uses. Bars range from 0 to 100.
class CProgressView
{
public:
    virtual ~CProgressView() = default;

    // Set the three lines of text. Refresh brings them to the screen.
    virtual void SetFirstText(const std::wstring& text) = 0;
    virtual void SetSecondText(const std::wstring& text) = 0;
    virtual void SetThirdText(const std::wstring& text) = 0;
    virtual void Refresh() = 0;

    virtual void SetFilePosition(int position) = 0;
    virtual void SetOverallPosition(int position) = 0;
    [[nodiscard]] virtual int GetOverallPosition() const = 0;

    // The user has pressed Cancel.
    [[nodiscard]] virtual bool IsCancelled() const = 0;
    virtual void ClearCancelled() = 0;
    virtual void EnableCancel(bool enable) = 0;

    // The Windows session is ending: the run stops after the current part and asks nothing.
    [[nodiscard]] virtual bool IsSessionEnding() const = 0;

    // Translates and dispatches one pending message of the thread, if there is one.
    virtual void PumpOneMessage() = 0;

protected:
    CProgressView() = default;
    CProgressView(const CProgressView&) = default;
    CProgressView& operator=(const CProgressView&) = default;
};
