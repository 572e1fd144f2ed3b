#include "tests/support/DocumentClass.h"

#include <windows.h>

#include <array>
#include <optional>
#include <stdexcept>

#include "framework/Handles.h"
#include "tests/support/TestMark.h"
#include "tests/support/TextFile.h"

namespace {

constexpr const wchar_t* kClass = L"TalvenorTestDocument";
constexpr const wchar_t* kBefore = L"TalvenorTestDocument\\Before";  // key of the earlier registrations

// A default value as it is in the registry; REG_NONE without data if there was none.
struct DefaultValue
{
    DWORD type = REG_NONE;
    std::vector<BYTE> data;
};

std::wstring Path(const std::wstring& key)
{
    return L"SOFTWARE\\Classes\\" + key;
}

UniqueKey Open(const std::wstring& key)
{
    HKEY opened = nullptr;
    const LSTATUS status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, Path(key).c_str(), 0, KEY_READ, &opened);
    return UniqueKey(status == ERROR_SUCCESS ? opened : nullptr);
}

// None if there is no such value.
std::optional<DefaultValue> Read(const std::wstring& key, const wchar_t* name)
{
    const UniqueKey opened = Open(key);
    DefaultValue value;
    DWORD size = 0;
    if (!opened || RegQueryValueExW(opened.get(), name, nullptr, nullptr, nullptr, &size) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    value.data.resize(size);
    const LSTATUS status =
        RegQueryValueExW(opened.get(), name, nullptr, &value.type, value.data.data(), &size);
    return status == ERROR_SUCCESS ? std::optional(value) : std::nullopt;
}

bool Write(const std::wstring& key, const wchar_t* name, const DefaultValue& value)
{
    return RegSetKeyValueW(HKEY_LOCAL_MACHINE, Path(key).c_str(), name, value.type, value.data.data(),
                           static_cast<DWORD>(value.data.size())) == ERROR_SUCCESS;
}

DefaultValue TextValue(const std::wstring& text)
{
    const auto* const bytes = reinterpret_cast<const BYTE*>(text.c_str());
    return {REG_SZ, {bytes, bytes + (text.size() + 1) * sizeof(wchar_t)}};
}

// The extensions that tests have registered.
std::vector<std::wstring> Extensions()
{
    std::vector<std::wstring> extensions;
    const UniqueKey key = Open(kBefore);
    std::array<wchar_t, 256> name{};
    auto length = static_cast<DWORD>(name.size());
    for (DWORD at = 0; RegEnumValueW(key.get(), at, name.data(), &length, nullptr, nullptr, nullptr,
                                     nullptr) == ERROR_SUCCESS;
         ++at, length = static_cast<DWORD>(name.size())) {
        extensions.emplace_back(name.data());
    }
    return extensions;
}

bool IsOfTest(const std::wstring& extension)
{
    const std::optional<DefaultValue> now = Read(extension, nullptr);
    return now && now->data == TextValue(kClass).data;
}

bool Restore(const std::wstring& extension, const DefaultValue& before)
{
    if (before.type != REG_NONE) {
        return Write(extension, nullptr, before);
    }
    if (RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, Path(extension).c_str(), nullptr) != ERROR_SUCCESS) {
        return false;
    }
    const std::optional<KeyContents> rest = ContentsOf(Open(extension).get());
    return !rest || !rest->empty() || DeleteKey(HKEY_LOCAL_MACHINE, Path(extension));
}

}  // namespace

void RegisterDocumentClass(const std::wstring& extension, const std::wstring& command)
{
    const DefaultValue before = Read(extension, nullptr).value_or(DefaultValue());
    if (!Write(kBefore, extension.c_str(), before) ||
        !Write(std::wstring(kClass) + L"\\shell\\open\\command", nullptr, TextValue(command)) ||
        !Write(extension, nullptr, TextValue(kClass))) {
        throw std::runtime_error("documents " + ToUtf8(extension) + " cannot be registered");
    }
}

std::vector<std::string> RestoreDocumentClasses()
{
    std::vector<std::string> problems;
    for (const std::wstring& extension : Extensions()) {
        const std::optional<DefaultValue> before = Read(kBefore, extension.c_str());
        if (before && IsOfTest(extension) && !Restore(extension, *before)) {
            problems.push_back("documents " + ToUtf8(extension) +
                               " cannot be given back to their earlier program");
        }
    }
    if (problems.empty() && !DeleteKey(HKEY_LOCAL_MACHINE, Path(kClass))) {
        problems.emplace_back("the documents' class of a test cannot be removed");
    }
    return problems;
}
