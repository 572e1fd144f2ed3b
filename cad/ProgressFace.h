#pragma once

#include <string>

// What the BOM entry writer and the conversion run need of the progress dialog. Bars run from 0 to 100.
class CProgressFace
{
public:
    virtual ~CProgressFace() = default;

    // The three text lines. A new text is seen after Refresh.
    virtual void SetFirstText(const std::wstring& text) = 0;
    virtual void SetSecondText(const std::wstring& text) = 0;
    virtual void SetThirdText(const std::wstring& text) = 0;
    virtual void Refresh() = 0;

    virtual void SetFilePosition(int position) = 0;
    virtual void SetOverallPosition(int position) = 0;
    [[nodiscard]] virtual int GetOverallPosition() const = 0;

    // Set by the user's press on the cancel button.
    [[nodiscard]] virtual bool IsCancelled() const = 0;
    virtual void ClearCancelled() = 0;
    virtual void EnableCancel(bool enable) = 0;

    // Takes at most one pending window message from the thread's queue, translates and dispatches it.
    virtual void PumpOneMessage() = 0;

protected:
    CProgressFace() = default;
    CProgressFace(const CProgressFace&) = default;
    CProgressFace& operator=(const CProgressFace&) = default;
};
