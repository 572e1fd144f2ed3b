#include "tests/selfcheck/TemplatesAsBefore.h"

#include <windows.h>

#include "framework/Handles.h"

namespace {

bool HasKey(const wchar_t* path)
{
    HKEY key = nullptr;
    const LSTATUS status = RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_READ, &key);
    const UniqueKey owner(key);
    return status == ERROR_SUCCESS;
}

std::optional<std::wstring> TextOf(const wchar_t* key, const wchar_t* value)
{
    std::wstring text(32'768, L'\0');
    auto bytes = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    if (RegGetValueW(HKEY_CURRENT_USER, key, value, RRF_RT_REG_SZ, nullptr, text.data(), &bytes) !=
        ERROR_SUCCESS) {
        return std::nullopt;
    }
    return text.c_str();
}

}  // namespace

CTemplatesAsBefore::CTemplatesAsBefore()
{
    for (std::size_t at = 0; at < kKeys.size(); ++at) {
        m_hadKey.at(at) = HasKey(kKeys.at(at));
    }
    for (std::size_t at = 0; at < kValues.size(); ++at) {
        m_texts.at(at) = TextOf(kKeys.front(), kValues.at(at));
    }
}

CTemplatesAsBefore::~CTemplatesAsBefore()
{
    for (std::size_t at = 0; at < kValues.size(); ++at) {
        if (const std::optional<std::wstring>& text = m_texts.at(at)) {
            RegSetKeyValueW(HKEY_CURRENT_USER, kKeys.front(), kValues.at(at), REG_SZ, text->c_str(),
                            static_cast<DWORD>((text->size() + 1) * sizeof(wchar_t)));
        } else {
            RegDeleteKeyValueW(HKEY_CURRENT_USER, kKeys.front(), kValues.at(at));
        }
    }
    for (std::size_t at = 0; at < kKeys.size() && !m_hadKey.at(at); ++at) {
        RegDeleteKeyW(HKEY_CURRENT_USER, kKeys.at(at));
    }
}
