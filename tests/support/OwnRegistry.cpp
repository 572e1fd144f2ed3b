#include "tests/support/OwnRegistry.h"

#include <stdexcept>
#include <utility>

#include "tests/cadserver/ClassFamily.h"
#include "tests/support/ImportTable.h"
#include "tests/support/RefusedCalls.h"
#include "tests/support/TestMark.h"
#include "tests/support/TextFile.h"

namespace {

constexpr wchar_t kRoots[] = L"SOFTWARE\\TalvenorTestRegistry";
constexpr wchar_t kProduct[] = L"SOFTWARE\\Zelmar";

COwnRegistry* g_registry = nullptr;
decltype(&::RegOpenKeyExW) g_open = nullptr;
decltype(&::RegCreateKeyExW) g_create = nullptr;

std::wstring PlaceOf(HKEY hive, const wchar_t* path, REGSAM access)
{
    const CUncountedCalls uncounted;
    return g_registry == nullptr ? std::wstring() : g_registry->PlaceOf(hive, path, access);
}

bool IsRealCadSystem(HKEY hive, const wchar_t* path)
{
    const CUncountedCalls uncounted;
    const std::wstring text = path == nullptr ? L"" : path;
    const std::wstring progId = text.substr(0, text.find(L'\\'));
    return hive == HKEY_CLASSES_ROOT && progId.starts_with(kCommonProgId) &&
           RegGetValueW(hive, progId.c_str(), kTestMark, RRF_RT_ANY, nullptr, nullptr, nullptr) !=
               ERROR_SUCCESS;
}

LSTATUS WINAPI OpenInOwn(HKEY hive, const wchar_t* path, DWORD options, REGSAM access, HKEY* key)
{
    const std::wstring place = PlaceOf(hive, path, access);
    if (g_registry != nullptr && IsRealCadSystem(hive, path)) {
        return ERROR_FILE_NOT_FOUND;
    }
    return place.empty() ? g_open(hive, path, options, access, key)
                         : g_open(HKEY_CURRENT_USER, place.c_str(), options, access, key);
}

LSTATUS WINAPI CreateInOwn(HKEY hive, const wchar_t* path, DWORD reserved, wchar_t* keyClass, DWORD options,
                           REGSAM access, SECURITY_ATTRIBUTES* security, HKEY* key, DWORD* disposition)
{
    const std::wstring place = PlaceOf(hive, path, access);
    if (place.empty()) {
        return g_create(hive, path, reserved, keyClass, options, access, security, key, disposition);
    }
    if (!g_registry->IsWritable()) {
        return ERROR_ACCESS_DENIED;
    }
    return g_create(HKEY_CURRENT_USER, place.c_str(), reserved, keyClass, options | REG_OPTION_VOLATILE,
                    access, security, key, disposition);
}

std::wstring NewRoot()
{
    static int made = 0;
    return kRoots + (L"\\" + std::to_wstring(GetCurrentProcessId())) + L"-" + std::to_wstring(++made);
}

bool IsProduct(const std::wstring& path)
{
    const std::wstring product = kProduct;
    return CompareStringOrdinal(path.substr(0, product.size()).c_str(), -1, kProduct, -1, TRUE) ==
               CSTR_EQUAL &&
           (path.size() == product.size() || path[product.size()] == L'\\');
}

const wchar_t* BranchOf(HKEY hive, REGSAM access)
{
    if (hive != HKEY_LOCAL_MACHINE) {
        return L"user";
    }
    return (access & KEY_WOW64_32KEY) != 0 ? L"machine32" : L"machine64";
}

}  // namespace

COwnRegistry::COwnRegistry() : m_root(NewRoot()), m_outer(g_registry)
{
    static const bool redirected = RedirectImport("RegOpenKeyExW", &OpenInOwn, &g_open) &&
                                   RedirectImport("RegCreateKeyExW", &CreateInOwn, &g_create);
    HKEY key = nullptr;
    if (!redirected || g_create(HKEY_CURRENT_USER, m_root.c_str(), 0, nullptr, REG_OPTION_VOLATILE, KEY_READ,
                                nullptr, &key, nullptr) != ERROR_SUCCESS) {
        throw std::runtime_error("no registry of the test's own");
    }
    RegCloseKey(key);
    g_registry = this;
}

COwnRegistry::~COwnRegistry()
{
    g_registry = m_outer;
    RegDeleteTreeW(HKEY_CURRENT_USER, m_root.c_str());
    RegDeleteKeyW(HKEY_CURRENT_USER, kRoots);  // fails while another root is in it
}

std::wstring COwnRegistry::PlaceOf(HKEY hive, const wchar_t* path, REGSAM access) const
{
    if ((hive != HKEY_LOCAL_MACHINE && hive != HKEY_CURRENT_USER) || path == nullptr || !IsProduct(path)) {
        return L"";
    }
    return m_root + L"\\" + BranchOf(hive, access) + L"\\" + path;
}

bool COwnRegistry::IsInForce()
{
    return g_registry != nullptr;
}

std::vector<std::string> COwnRegistry::RestoreLeftovers()
{
    const LSTATUS status = RegDeleteTreeW(HKEY_CURRENT_USER, kRoots);
    if (status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND) {
        return {};
    }
    return {"the registry key HKCU\\" + ToUtf8(kRoots) + " of killed tests cannot be removed"};
}
