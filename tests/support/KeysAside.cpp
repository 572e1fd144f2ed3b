#include "tests/support/KeysAside.h"

#include <algorithm>
#include <array>
#include <functional>
#include <optional>
#include <stdexcept>
#include <utility>

#include "framework/Handles.h"
#include "tests/support/Problem.h"
#include "tests/support/TestMark.h"
#include "tests/support/TextFile.h"

namespace {

// Appended to the name of the product's key
constexpr wchar_t kAside[] = L", put aside by test ";
constexpr wchar_t kKept[] = L", kept by test ";

// In a key named with kAside
constexpr wchar_t kKeys[] = L"Keys";          // subkey with the copy of the product's key
constexpr wchar_t kComplete[] = L"Complete";  // value: the copy is complete

constexpr char kNotOurs[] =
    "of a test has values that no test has written, and is left as it is: delete it, or its value "
    "TalvenorTest to keep it";

// One hive in one view. The functions return false on failure.
class CBranch
{
public:
    CBranch(HKEY hive, REGSAM view) : m_hive(hive), m_view(view) {}

    [[nodiscard]] UniqueKey Open(const std::wstring& name, REGSAM access = KEY_READ) const
    {
        HKEY key = nullptr;
        const LSTATUS status = RegOpenKeyExW(m_hive, name.c_str(), 0, access | m_view, &key);
        return UniqueKey(status == ERROR_SUCCESS ? key : nullptr);
    }
    [[nodiscard]] UniqueKey Create(const std::wstring& name) const
    {
        HKEY key = nullptr;
        const LSTATUS status = RegCreateKeyExW(m_hive, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS | m_view,
                                               nullptr, &key, nullptr);
        return UniqueKey(status == ERROR_SUCCESS ? key : nullptr);
    }
    // True also if the key may not be read.
    [[nodiscard]] bool Has(const std::wstring& name) const
    {
        HKEY key = nullptr;
        const LSTATUS status = RegOpenKeyExW(m_hive, name.c_str(), 0, KEY_READ | m_view, &key);
        const UniqueKey owner(key);
        return status != ERROR_FILE_NOT_FOUND;
    }
    [[nodiscard]] bool Delete(const std::wstring& name) const { return DeleteKey(m_hive, name, m_view); }
    // False also if the copy differs from the original in more than the mark.
    [[nodiscard]] bool Copy(const std::wstring& from, const std::wstring& to) const
    {
        const UniqueKey source = Open(from);
        const UniqueKey target = Create(to);
        if (!source || !target || RegCopyTreeW(source.get(), nullptr, target.get()) != ERROR_SUCCESS) {
            return false;
        }
        const std::optional<KeyContents> contents = ContentsOf(source.get());
        return contents && contents == ContentsOf(target.get());
    }
    [[nodiscard]] bool Mark(const std::wstring& name) const
    {
        const UniqueKey key = Create(name);
        return key && MarkKey(key.get());
    }
    [[nodiscard]] bool IsMarked(const std::wstring& name) const { return ::IsMarked(Open(name).get()); }
    [[nodiscard]] bool SetComplete(const std::wstring& aside) const
    {
        return RegSetValueExW(Create(aside).get(), kComplete, 0, REG_SZ, nullptr, 0) == ERROR_SUCCESS;
    }
    [[nodiscard]] bool IsComplete(const std::wstring& aside) const
    {
        return RegQueryValueExW(Open(aside).get(), kComplete, nullptr, nullptr, nullptr, nullptr) ==
               ERROR_SUCCESS;
    }
    [[nodiscard]] bool DeleteValue(const std::wstring& name, const wchar_t* value) const
    {
        return RegDeleteValueW(Open(name, KEY_ALL_ACCESS).get(), value) == ERROR_SUCCESS;
    }
    [[nodiscard]] std::vector<std::wstring> PutAside(const std::wstring& product) const
    {
        std::vector<std::wstring> found;
        const std::wstring parent = product.substr(0, product.rfind(L'\\'));
        const UniqueKey software = Open(parent);
        std::array<wchar_t, 256> name{};
        for (DWORD at = 0; RegEnumKeyW(software.get(), at, name.data(), 256) == ERROR_SUCCESS; ++at) {
            const std::wstring path = parent + L"\\" + name.data();
            if (path.starts_with(product + kAside)) {
                found.push_back(path);
            }
        }
        return found;
    }
    // The name of a key that does not exist yet. Scopes may be nested, so the process id is not enough.
    [[nodiscard]] std::wstring NewName(const std::wstring& product, const wchar_t* kind) const
    {
        static int made = 0;
        std::wstring name;
        do {
            name = product + kind + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++made);
        } while (Has(name));
        return name;
    }
    [[nodiscard]] std::string Title(const std::wstring& name) const
    {
        return (m_hive == HKEY_LOCAL_MACHINE ? "HKLM\\" : "HKCU\\") + ToUtf8(name) +
               (m_view == KEY_WOW64_32KEY ? " (32-bit view)" : "");
    }

private:
    HKEY m_hive;
    REGSAM m_view;
};

[[noreturn]] void Refuse(const CBranch& branch, const std::wstring& name, const std::string& why)
{
    throw std::runtime_error("the registry key " + branch.Title(name) + " " + why);
}

// Who has written the keys that are in the product's place.
enum class Writer
{
    tests,
    programOrUser,
    another
};

// The values of Talvenor, and all that the system's file dialogs remember, may be written by a program that
// a test has started, and by the user.
bool MayBeOfProgram(const std::wstring& product, const std::wstring& line)
{
    const std::wstring settings = KeyLine(L"Tools\\Talvenor");
    return product == kFileDialogsKey || line == KeyLine(L"Tools") || line.starts_with(settings) ||
           line.starts_with(settings.substr(0, settings.size() - 1) + L"\\");
}

// known: what need not be kept in this key
Writer WriterOf(const CBranch& branch, const std::wstring& product, const std::wstring& key,
                const KeyContents& known)
{
    if (!branch.Has(key)) {
        return Writer::tests;
    }
    const std::optional<KeyContents> foreign = ForeignContents(branch.Open(key).get(), known);
    if (!foreign || !branch.IsMarked(key)) {
        return Writer::another;
    }
    if (foreign->empty()) {
        return Writer::tests;
    }
    const bool ofProgram = std::ranges::all_of(
        *foreign, [&](const std::wstring& line) { return MayBeOfProgram(product, line); });
    return ofProgram ? Writer::programOrUser : Writer::another;
}

// Returns the message that says where the key is now.
std::string Keep(const CBranch& branch, const std::wstring& product, const std::wstring& key)
{
    const std::wstring kept = branch.NewName(product, kKept);
    if (!branch.Copy(key, kept) || !branch.DeleteValue(kept, kTestMark) || !branch.Delete(key)) {
        Refuse(branch, key, "holds what no test has written, and cannot be kept under another name");
    }
    return "what a killed test or the user has stored in the registry key " + branch.Title(product) +
           " is kept in " + branch.Title(kept);
}

// The keys aside. None if they are incomplete or unreadable: nothing may be deleted to put them back then.
std::optional<KeyContents> ContentsAside(const CBranch& branch, const std::wstring& aside)
{
    return branch.IsComplete(aside) ? ContentsOf(branch.Open(aside + L"\\" + kKeys).get()) : std::nullopt;
}

// Deletes the value Complete before the rest of the keys aside: without that value, they are only a
// remainder, which RestoreLeftovers deletes.
void PutBack(const CBranch& branch, const std::wstring& product, const std::wstring& aside)
{
    const std::wstring keys = aside + L"\\" + kKeys;
    const bool made = branch.IsMarked(keys);
    if (!branch.Delete(product) || !branch.Mark(product) || !branch.Copy(keys, product) ||
        (!made && !branch.DeleteValue(product, kTestMark)) || !branch.DeleteValue(aside, kComplete) ||
        !branch.Delete(aside)) {
        Refuse(branch, aside, "cannot be put back");
    }
}

void Remove(const CBranch& branch, const std::wstring& key)
{
    if (!branch.Delete(key)) {
        Refuse(branch, key, "of a test cannot be removed");
    }
}

// Returns a message if the keys that a killed test left in the product's place are kept.
std::optional<std::string> ClearPlace(const CBranch& branch, const std::wstring& product,
                                      const KeyContents& known)
{
    switch (WriterOf(branch, product, product, known)) {
        case Writer::tests:
            Remove(branch, product);
            return std::nullopt;
        case Writer::programOrUser:
            return Keep(branch, product, product);
        default:
            Refuse(branch, product, kNotOurs);
    }
}

std::optional<std::string> ReplaceBy(const CBranch& branch, const std::wstring& product,
                                     const std::wstring& aside, const KeyContents& contents)
{
    if (!branch.IsMarked(product) && ContentsOf(branch.Open(product).get()) == contents) {
        Remove(branch, aside);  // the keys are back already
        return std::nullopt;
    }
    if (WriterOf(branch, product, product, contents) == Writer::another) {
        Refuse(branch, aside, "holds keys that a killed test has put aside, and there are others now");
    }
    const std::optional<std::string> kept = ClearPlace(branch, product, contents);
    PutBack(branch, product, aside);
    return kept;
}

// Keys aside that have the mark are a test's: a scope nested in another one has put them aside.
std::optional<std::string> RestoreAside(const CBranch& branch, const std::wstring& product,
                                        const std::wstring& aside)
{
    const std::wstring keys = aside + L"\\" + kKeys;
    if (!branch.IsComplete(aside)) {
        Remove(branch, aside);
        return std::nullopt;
    }
    const std::optional<KeyContents> contents = ContentsAside(branch, aside);
    if (!contents) {
        Refuse(branch, aside, "cannot be read, so it is not put back");
    }
    if (!branch.IsMarked(keys)) {
        return ReplaceBy(branch, product, aside, *contents);
    }
    std::optional<std::string> kept;
    if (WriterOf(branch, product, keys, {}) != Writer::tests) {
        kept = Keep(branch, product, keys);
    }
    Remove(branch, aside);
    return kept;
}

void Try(const std::function<std::optional<std::string>()>& step, std::vector<std::string>& problems)
{
    try {
        if (const std::optional<std::string> problem = step()) {
            problems.push_back(*problem);
        }
    } catch (const std::runtime_error& error) {
        problems.emplace_back(error.what());
    }
}

}  // namespace

CKeysAside::CKeysAside(HKEY hive, REGSAM view, std::wstring product)
    : m_hive(hive)
    , m_view(view)
    , m_product(std::move(product))
    , m_aside(CBranch(hive, view).NewName(m_product, kAside))
    , m_moved(CBranch(hive, view).Has(m_product))
{
    if (m_moved) {
        PutAside();
    }
    static_cast<void>(CBranch(m_hive, m_view).Mark(m_product));  // without access, nothing needs undoing
}

void CKeysAside::PutAside() const
{
    const CBranch branch(m_hive, m_view);
    if (!branch.Copy(m_product, m_aside + L"\\" + kKeys) || !branch.SetComplete(m_aside) ||
        !branch.Mark(m_product)) {
        static_cast<void>(branch.Delete(m_aside));  // what remains is removed at the next start
        Refuse(branch, m_product, "cannot be put aside");
    }
    if (!branch.Delete(m_product)) {
        Refuse(branch, m_product, "cannot be removed while its copy is aside");
    }
}

CKeysAside::~CKeysAside()
{
    try {
        End();
    } catch (const std::runtime_error& error) {
        ReportProblem(error.what());
    }
}

void CKeysAside::End() const
{
    const CBranch branch(m_hive, m_view);
    const std::optional<KeyContents> aside = m_moved ? ContentsAside(branch, m_aside) : KeyContents();
    if (!aside) {
        Refuse(branch, m_aside, "cannot be read, so it is not put back");
    }
    if (WriterOf(branch, m_product, m_product, *aside) == Writer::another) {
        Refuse(branch, m_product, kNotOurs);
    }
    if (m_moved) {
        PutBack(branch, m_product, m_aside);
    } else {
        Remove(branch, m_product);
    }
}

std::vector<std::string> CKeysAside::RestoreLeftovers(const std::wstring& product)
{
    std::vector<std::string> problems;
    for (const CBranch& branch :
         {CBranch(HKEY_LOCAL_MACHINE, KEY_WOW64_64KEY), CBranch(HKEY_LOCAL_MACHINE, KEY_WOW64_32KEY),
          CBranch(HKEY_CURRENT_USER, 0)}) {
        for (const std::wstring& aside : branch.PutAside(product)) {
            Try([&] { return RestoreAside(branch, product, aside); }, problems);
        }
        if (branch.IsMarked(product) && branch.PutAside(product).empty()) {
            Try([&] { return ClearPlace(branch, product, {}); }, problems);
        }
    }
    return problems;
}

bool CKeysAside::HasRealKeys(HKEY hive, REGSAM view, const std::wstring& product)
{
    const CBranch branch(hive, view);
    return branch.Has(product) && !branch.IsMarked(product);
}
