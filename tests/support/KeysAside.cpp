#include "tests/support/KeysAside.h"

#include <array>
#include <stdexcept>
#include <utility>
#include <vector>

#include "framework/Handles.h"
#include "tests/support/TestMark.h"
#include "tests/support/TextFile.h"

namespace {

constexpr wchar_t kAside[] = L", put aside by test ";  // behind the name of the product's key
constexpr wchar_t kKeys[] = L"Keys";                   // in a key that is put aside: the product's
constexpr wchar_t kComplete[] = L"Complete";           // value of the same key

// One hive in one view. All functions return false on failure.
class CBranch
{
public:
    CBranch(HKEY hive, REGSAM view) : m_hive(hive), m_view(view) {}

    [[nodiscard]] UniqueKey Open(const std::wstring& name, REGSAM access = KEY_ALL_ACCESS) const
    {
        HKEY key = nullptr;
        const LSTATUS status = RegOpenKeyExW(m_hive, name.c_str(), 0, access | m_view, &key);
        return UniqueKey(status == ERROR_SUCCESS ? key : nullptr);
    }
    [[nodiscard]] bool Has(const std::wstring& name) const { return Open(name, KEY_READ) != nullptr; }
    bool Delete(const std::wstring& name) const
    {
        const UniqueKey key = Open(name);
        return key && RegDeleteTreeW(key.get(), nullptr) == ERROR_SUCCESS &&
               RegDeleteKeyExW(m_hive, name.c_str(), m_view, 0) == ERROR_SUCCESS;
    }
    [[nodiscard]] bool Copy(const std::wstring& from, const std::wstring& to) const
    {
        const UniqueKey source = Open(from, KEY_READ);
        const UniqueKey target = Create(to);
        return source && target && RegCopyTreeW(source.get(), nullptr, target.get()) == ERROR_SUCCESS;
    }
    bool Mark(const std::wstring& name, const wchar_t* value) const
    {
        const UniqueKey key = Create(name);
        return key && RegSetValueExW(key.get(), value, 0, REG_SZ, nullptr, 0) == ERROR_SUCCESS;
    }
    bool Unmark(const std::wstring& name, const wchar_t* value) const
    {
        const UniqueKey key = Open(name);
        return key && RegDeleteValueW(key.get(), value) == ERROR_SUCCESS;
    }
    [[nodiscard]] bool IsMarked(const std::wstring& name, const wchar_t* value) const
    {
        const UniqueKey key = Open(name, KEY_READ);
        return key && RegQueryValueExW(key.get(), value, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
    }
    [[nodiscard]] std::vector<std::wstring> PutAside(const std::wstring& product) const
    {
        std::vector<std::wstring> found;
        const std::wstring parent = product.substr(0, product.rfind(L'\\'));
        const UniqueKey software = Open(parent, KEY_READ);
        std::array<wchar_t, 256> name{};
        for (DWORD at = 0; RegEnumKeyW(software.get(), at, name.data(), 256) == ERROR_SUCCESS; ++at) {
            const std::wstring path = parent + L"\\" + name.data();
            if (path.starts_with(product + kAside)) {
                found.push_back(path);
            }
        }
        return found;
    }

private:
    [[nodiscard]] UniqueKey Create(const std::wstring& name) const
    {
        HKEY key = nullptr;
        const LSTATUS status = RegCreateKeyExW(m_hive, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS | m_view,
                                               nullptr, &key, nullptr);
        return UniqueKey(status == ERROR_SUCCESS ? key : nullptr);
    }

    HKEY m_hive;
    REGSAM m_view;
};

// A scope may stand within another.
std::wstring NewAside(const std::wstring& product)
{
    static int made = 0;
    return product + kAside + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++made);
}

// The aside's mark goes first: without it, the aside is a remainder to delete, and the keys are complete.
bool PutBack(const CBranch& branch, const std::wstring& product, const std::wstring& aside)
{
    const std::wstring keys = aside + L"\\" + kKeys;
    branch.Delete(product);
    const bool made = branch.IsMarked(keys, kTestMark);
    return branch.Mark(product, kTestMark) && branch.Copy(keys, product) &&
           (made || branch.Unmark(product, kTestMark)) && branch.Unmark(aside, kComplete) &&
           branch.Delete(aside);
}

[[noreturn]] void Refuse(const std::wstring& name, const char* why)
{
    throw std::runtime_error("the registry key " + ToUtf8(name) + " " + why);
}

void RestoreAside(const CBranch& branch, const std::wstring& product, const std::wstring& aside)
{
    const bool isReal =
        branch.IsMarked(aside, kComplete) && !branch.IsMarked(aside + L"\\" + kKeys, kTestMark);
    if (!isReal) {
        branch.Delete(aside);
    } else if (branch.Has(product) && !branch.IsMarked(product, kTestMark)) {
        Refuse(aside, "holds keys of the library that a killed test has put aside, and there are others now");
    } else if (!PutBack(branch, product, aside)) {
        Refuse(aside, "cannot be put back");
    }
}

}  // namespace

CKeysAside::CKeysAside(HKEY hive, REGSAM view, std::wstring product)
    : m_hive(hive)
    , m_view(view)
    , m_product(std::move(product))
    , m_aside(NewAside(m_product))
    , m_moved(CBranch(hive, view).Has(m_product))
{
    if (m_moved) {
        PutAside();
    }
    CBranch(m_hive, m_view).Mark(m_product, kTestMark);
}

void CKeysAside::PutAside() const
{
    const CBranch branch(m_hive, m_view);
    if (!branch.Copy(m_product, m_aside + L"\\" + kKeys) || !branch.Mark(m_aside, kComplete)) {
        branch.Delete(m_aside);
        Refuse(m_product, "cannot be put aside");
    }
    branch.Mark(m_product, kTestMark);
    branch.Delete(m_product);
}

CKeysAside::~CKeysAside()
{
    const CBranch branch(m_hive, m_view);
    if (m_moved) {
        PutBack(branch, m_product, m_aside);
    } else {
        branch.Delete(m_product);
    }
}

void CKeysAside::RestoreLeftovers(const std::wstring& product)
{
    for (const CBranch& branch :
         {CBranch(HKEY_LOCAL_MACHINE, KEY_WOW64_64KEY), CBranch(HKEY_LOCAL_MACHINE, KEY_WOW64_32KEY),
          CBranch(HKEY_CURRENT_USER, 0)}) {
        for (const std::wstring& aside : branch.PutAside(product)) {
            RestoreAside(branch, product, aside);
        }
        if (branch.IsMarked(product, kTestMark)) {
            branch.Delete(product);
        }
    }
}

bool CKeysAside::HasRealKeys(HKEY hive, REGSAM view, const std::wstring& product)
{
    const CBranch branch(hive, view);
    return branch.Has(product) && !branch.IsMarked(product, kTestMark);
}
