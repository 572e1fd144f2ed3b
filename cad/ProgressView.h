#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The steps of writing the BOM names of one part.
enum class CadStep : std::uint8_t
{
    opening,
    reading,  // the configurations' names
    writing,  // their BOM names
    saving,
    closing
};

// The part of the progress dialog that the BOM entry writer uses. Both bars range from 0 to 100.
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

    // Whether the user has pressed Cancel.
    [[nodiscard]] virtual bool IsCancelled() const = 0;
    virtual void ClearCancelled() = 0;
    virtual void EnableCancel(bool enable) = 0;

    // Whether the Windows session is ending. If so, the run stops after the current part and asks nothing.
    [[nodiscard]] virtual bool IsSessionEnding() const = 0;

    // Translates and dispatches one pending message of the thread, if there is one.
    virtual void PumpOneMessage() = 0;

    // The Note functions record what becomes of the current part, including failures without a message. If a
    // call to SOLIDWORKS throws, the failure belongs to the step noted last.
    virtual void NoteStep(CadStep step) = 0;
    // `opened`: there is a document, and `code` allows using it.
    virtual void NoteOpened(bool opened, long code) = 0;
    // `count` is what the CAD system reports; there may be fewer names.
    virtual void NoteConfigurations(long count, const std::vector<std::wstring>& names) = 0;
    virtual void NoteConfigurationWritten() = 0;
    // `result`: what Save returned; nullopt if that was not a number.
    virtual void NoteSaved(std::optional<long> result) = 0;

protected:
    CProgressView() = default;
    CProgressView(const CProgressView&) = default;
    CProgressView& operator=(const CProgressView&) = default;
};
