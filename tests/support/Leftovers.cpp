#include "tests/support/Leftovers.h"

#include <windows.h>

#include <optional>
#include <stdexcept>
#include <string_view>

#include "framework/Handles.h"
#include "tests/support/ClassKey.h"
#include "tests/support/DocumentClass.h"
#include "tests/support/KeysAside.h"
#include "tests/support/OnlyTests.h"
#include "tests/support/OwnRegistry.h"

namespace {

void Append(std::vector<std::string>& problems, const std::vector<std::string>& more)
{
    problems.insert(problems.end(), more.begin(), more.end());
}

// The tests of the registry views make these keys; nothing else has such names.
void DeleteRegistryTestKeys(REGSAM view)
{
    HKEY opened = nullptr;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE", 0, KEY_READ | view, &opened);
    const UniqueKey software(opened);
    std::vector<std::wstring> found;
    wchar_t name[256] = L"";
    for (DWORD at = 0; RegEnumKeyW(opened, at, name, 256) == ERROR_SUCCESS; ++at) {
        if (std::wstring_view(name).starts_with(L"TalvenorRegistryTest")) {
            found.emplace_back(name);
        }
    }
    for (const std::wstring& key : found) {
        RegDeleteKeyExW(HKEY_LOCAL_MACHINE, (L"SOFTWARE\\" + key).c_str(), view, 0);
    }
}

}  // namespace

std::vector<std::string> RestoreLeftovers()
{
    std::optional<COnlyTests> only;
    try {
        only.emplace();
    } catch (const std::runtime_error& error) {
        return {error.what()};
    }
    std::vector<std::string> problems = CScratchClassKey::RestoreLeftovers();
    Append(problems, RestoreDocumentClasses());
    Append(problems, CKeysAside::RestoreLeftovers());
    Append(problems, CKeysAside::RestoreLeftovers(kFileDialogsKey));
    Append(problems, COwnRegistry::RestoreLeftovers());
    DeleteRegistryTestKeys(KEY_WOW64_64KEY);
    DeleteRegistryTestKeys(KEY_WOW64_32KEY);
    return problems;
}
