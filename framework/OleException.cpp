#include "framework/OleException.h"

#include <array>
#include <cwchar>
#include <string_view>

#include "framework/Language.h"
#include "framework/MessageText.h"

namespace {

// Removes the line end and the full stop of system messages.
std::wstring TrimTail(std::wstring_view text)
{
    const std::size_t last = text.find_last_not_of(L" \t\r\n.");
    return std::wstring(text.substr(0, last == std::wstring_view::npos ? 0 : last + 1));
}

// The system's text for a status code in the language (0: any); empty when it has none.
std::wstring SystemText(HRESULT status, DWORD languageId)
{
    std::array<wchar_t, 1024> buffer{};
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                        static_cast<DWORD>(status), languageId, buffer.data(),
                                        static_cast<DWORD>(buffer.size()), nullptr);
    return TrimTail({buffer.data(), length});
}

std::wstring StatusNumber(HRESULT status)
{
    constexpr Text kStatus{L"Fehler 0x%1", L"Error 0x%1"};
    std::array<wchar_t, 9> digits{};
    std::swprintf(digits.data(), digits.size(), L"%08lX", static_cast<unsigned long>(status));
    return FillPlaceholders(kStatus.Current(), {digits.data()});
}

std::wstring StatusText(HRESULT status)
{
    const WORD language = LanguageOf(g_nLanguage) == Language::german ? LANG_GERMAN : LANG_ENGLISH;
    std::wstring text = SystemText(status, MAKELANGID(language, SUBLANG_DEFAULT));
    if (text.empty()) {
        text = SystemText(status, 0);
    }
    return text.empty() ? StatusNumber(status) : text;
}

}  // namespace

COleException::COleException(HRESULT sc) : m_sc(sc) {}

std::wstring COleException::GetErrorMessage() const
{
    return StatusText(m_sc);
}

std::wstring COleDispatchException::GetErrorMessage() const
{
    if (std::wstring description = TrimTail(m_description); !description.empty()) {
        return description;
    }
    return StatusText(m_sc != S_OK ? m_sc : DISP_E_EXCEPTION);
}
