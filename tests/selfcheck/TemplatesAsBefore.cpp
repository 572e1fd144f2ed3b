#include "tests/selfcheck/TemplatesAsBefore.h"

#include "framework/Handles.h"

namespace {

UniqueKey Open(const wchar_t* path)
{
    HKEY key = nullptr;
    const LSTATUS status = RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_READ, &key);
    return UniqueKey(status == ERROR_SUCCESS ? key : nullptr);
}

}  // namespace

CTemplatesAsBefore::CTemplatesAsBefore() : m_values(Values())
{
    for (std::size_t at = 0; at < kKeys.size(); ++at) {
        m_hadKey.at(at) = Open(kKeys.at(at)) != nullptr;
    }
}

CTemplatesAsBefore::~CTemplatesAsBefore()
{
    for (const auto& [name, value] : m_values) {
        RegSetKeyValueW(HKEY_CURRENT_USER, kKeys.front(), name.c_str(), value.type, value.data.data(),
                        static_cast<DWORD>(value.data.size()));
    }
    for (const auto& [name, value] : Values()) {
        if (!m_values.contains(name)) {
            RegDeleteKeyValueW(HKEY_CURRENT_USER, kKeys.front(), name.c_str());
        }
    }
    for (std::size_t at = 0; at < kKeys.size() && !m_hadKey.at(at); ++at) {
        RegDeleteKeyW(HKEY_CURRENT_USER, kKeys.at(at));
    }
}

std::map<std::wstring, CTemplatesAsBefore::Value> CTemplatesAsBefore::Values()
{
    const UniqueKey key = Open(kKeys.front());
    DWORD longestName = 0;
    DWORD largest = 0;  // value, in bytes
    RegQueryInfoKeyW(key.get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &longestName,
                     &largest, nullptr, nullptr);
    std::map<std::wstring, Value> values;
    std::wstring name(longestName + 1, L'\0');
    for (DWORD at = 0;; ++at) {
        Value value{REG_NONE, std::vector<BYTE>(largest)};
        auto length = static_cast<DWORD>(name.size());
        DWORD size = largest;
        if (RegEnumValueW(key.get(), at, name.data(), &length, nullptr, &value.type, value.data.data(),
                          &size) != ERROR_SUCCESS) {
            return values;
        }
        value.data.resize(size);
        values.emplace(name.substr(0, length), std::move(value));
    }
}
