#include "framework/Clipboard.h"

#include <algorithm>

#include "framework/Handles.h"

namespace {

// Opens the clipboard and closes it again.
class COpenClipboard
{
public:
    explicit COpenClipboard(HWND owner) : m_open(OpenClipboard(owner) != FALSE)
    {
        for (int tries = 1; !m_open && tries < kTries; ++tries) {
            Sleep(kPause);
            m_open = OpenClipboard(owner) != FALSE;
        }
    }
    COpenClipboard(const COpenClipboard&) = delete;
    COpenClipboard& operator=(const COpenClipboard&) = delete;
    ~COpenClipboard()
    {
        if (m_open) {
            CloseClipboard();
        }
    }

    [[nodiscard]] bool IsOpen() const { return m_open; }

private:
    static constexpr int kTries = 10;
    static constexpr DWORD kPause = 20;  // milliseconds

    bool m_open;
};

using UniqueGlobal = UniqueOwner<HGLOBAL, ::GlobalFree>;

}  // namespace

bool ClipboardHasText()
{
    return IsClipboardFormatAvailable(CF_UNICODETEXT) != FALSE;
}

std::optional<std::wstring> ReadClipboard(HWND owner)
{
    const COpenClipboard clipboard(owner);
    const HANDLE data = clipboard.IsOpen() ? GetClipboardData(CF_UNICODETEXT) : nullptr;
    const auto* const text = static_cast<const wchar_t*>(data != nullptr ? GlobalLock(data) : nullptr);
    if (text == nullptr) {
        return std::nullopt;
    }
    // The program that put the text on the clipboard may have left out the NUL.
    const wchar_t* const last = text + GlobalSize(data) / sizeof(wchar_t);
    std::wstring result(text, std::find(text, last, L'\0'));
    GlobalUnlock(data);
    return result;
}

bool WriteClipboard(HWND owner, const std::wstring& text)
{
    UniqueGlobal memory(GlobalAlloc(GMEM_MOVEABLE, (text.size() + 1) * sizeof(wchar_t)));
    void* const place = memory != nullptr ? GlobalLock(memory.get()) : nullptr;
    if (place == nullptr) {
        return false;
    }
    *std::ranges::copy(text, static_cast<wchar_t*>(place)).out = L'\0';
    GlobalUnlock(memory.get());
    const COpenClipboard clipboard(owner);
    if (!clipboard.IsOpen() || EmptyClipboard() == FALSE ||
        SetClipboardData(CF_UNICODETEXT, memory.get()) == nullptr) {
        return false;
    }
    [[maybe_unused]] const HGLOBAL ownedByTheClipboard = memory.release();
    return true;
}
