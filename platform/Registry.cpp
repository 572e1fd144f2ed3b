#include "platform/Registry.h"

#include <cstring>
#include <limits>

namespace {

bool IsPredefined(HKEY key)
{
    // winreg.h defines the hives as 0x80000000 and up, sign-extended.
    constexpr ULONG_PTR kFirstPredefined = 0x80000000;
    return (reinterpret_cast<ULONG_PTR>(key) & kFirstPredefined) != 0;
}

bool IsTextType(DWORD type)
{
    return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_LINK;
}

UniqueKey OpenForReading(HKEY root, const std::wstring& subKey, REGSAM view)
{
    HKEY key = nullptr;
    const LSTATUS status = ::RegOpenKeyExW(root, subKey.c_str(), 0, KEY_READ | view, &key);
    return UniqueKey(status == ERROR_SUCCESS ? key : nullptr);
}

UniqueKey OpenForWriting(HKEY root, const std::wstring& subKey, REGSAM view)
{
    HKEY key = nullptr;
    const LSTATUS status = ::RegCreateKeyExW(root, subKey.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                             KEY_WRITE | view, nullptr, &key, nullptr);
    return UniqueKey(status == ERROR_SUCCESS ? key : nullptr);
}

}  // namespace

CRegistryValue::CRegistryValue() : m_heap(::HeapCreate(0, 0, 0)) {}

CRegistryValue::~CRegistryValue()
{
    Clear();
}

void CRegistryValue::Clear()
{
    if (m_data != nullptr) {
        ::HeapFree(m_heap.get(), 0, m_data);
    }
    m_data = nullptr;
    m_size = 0;
    m_type = REG_NONE;
}

bool CRegistryValue::Allocate(std::size_t size)
{
    Clear();
    if (!m_heap || size > std::numeric_limits<DWORD>::max()) {
        return false;
    }
    m_data = static_cast<BYTE*>(::HeapAlloc(m_heap.get(), 0, size));
    m_size = m_data != nullptr ? static_cast<DWORD>(size) : 0;
    return m_data != nullptr;
}

bool CRegistryValue::Read(HKEY key, const std::wstring& valueName, DWORD size)
{
    if (!Allocate(size)) {
        return false;
    }
    if (::RegQueryValueExW(key, valueName.c_str(), nullptr, &m_type, m_data, &m_size) != ERROR_SUCCESS) {
        Clear();
        return false;
    }
    return true;
}

bool CRegistryValue::Fill(const void* bytes, std::size_t size, DWORD type)
{
    if (!Allocate(size)) {
        return false;
    }
    if (size != 0) {
        std::memcpy(m_data, bytes, size);
    }
    m_type = type;
    return true;
}

bool CRegistryValue::SetText(const std::wstring& text, bool expandable)
{
    return Fill(text.c_str(), (text.size() + 1) * sizeof(wchar_t), expandable ? REG_EXPAND_SZ : REG_SZ);
}

bool CRegistryValue::SetNumber(DWORD number)
{
    return Fill(&number, sizeof number, REG_DWORD);
}

bool CRegistryValue::SetTexts(const std::vector<std::wstring>& texts)
{
    std::wstring joined;
    for (const std::wstring& text : texts) {
        joined += text;
        joined += L'\0';
    }
    if (texts.empty()) {
        joined += L'\0';
    }
    joined += L'\0';
    return Fill(joined.data(), joined.size() * sizeof(wchar_t), REG_MULTI_SZ);
}

bool CRegistryValue::SetBytes(std::span<const BYTE> bytes)
{
    return Fill(bytes.data(), bytes.size(), REG_BINARY);
}

std::wstring CRegistryValue::GetText() const
{
    // Any program may have written the value: it may lack the NUL and have an odd size ("RegQueryValueExW
    // function").
    std::wstring text(m_size / sizeof(wchar_t), L'\0');
    if (!text.empty()) {
        std::memcpy(text.data(), m_data, text.size() * sizeof(wchar_t));
    }
    return text.substr(0, text.find(L'\0'));
}

bool CRegistryValue::IsText() const
{
    return IsTextType(m_type);
}

CRegistry::CRegistry(HKEY hive, REGSAM view) : m_rootKey(hive), m_view(view) {}

bool CRegistry::ReadString(const std::wstring& subKey, const std::wstring& valueName, std::wstring& text)
{
    const UniqueKey key = OpenForReading(m_rootKey, subKey, m_view);
    if (!key) {
        return false;
    }
    DWORD size = 0;
    if (::RegQueryValueExW(key.get(), valueName.c_str(), nullptr, nullptr, nullptr, &size) != ERROR_SUCCESS) {
        return false;
    }
    CRegistryValue value;
    const bool read = value.Read(key.get(), valueName, size);
    CloseRoot();
    if (!read || !value.IsText()) {
        return false;
    }
    text = value.GetText();
    return true;
}

bool CRegistry::HasString(const std::wstring& subKey, const std::wstring& valueName) const
{
    const UniqueKey key = OpenForReading(m_rootKey, subKey, m_view);
    DWORD type = REG_NONE;
    return key &&
           ::RegQueryValueExW(key.get(), valueName.c_str(), nullptr, &type, nullptr, nullptr) ==
               ERROR_SUCCESS &&
           IsTextType(type);
}

bool CRegistry::WriteString(const std::wstring& subKey, const std::wstring& valueName,
                            const std::wstring& text)
{
    CRegistryValue value;
    if (!value.SetText(text)) {
        return false;
    }
    const UniqueKey key = OpenForWriting(m_rootKey, subKey, m_view);
    if (!key) {
        return false;
    }
    const LSTATUS status =
        ::RegSetValueExW(key.get(), valueName.c_str(), 0, value.Type(), value.Data(), value.Size());
    CloseRoot();
    return status == ERROR_SUCCESS;
}

void CRegistry::CloseRoot()
{
    // Windows reopens a closed hive at its next use. Any other handle is invalid now and may be reused for
    // another object.
    ::RegCloseKey(m_rootKey);
    if (!IsPredefined(m_rootKey)) {
        m_rootKey = nullptr;
    }
}

REGSAM ViewOfMachineKey(const std::wstring& subKey)
{
    HKEY key = nullptr;
    const LSTATUS status =
        ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, subKey.c_str(), 0, KEY_READ | KEY_WOW64_64KEY, &key);
    const UniqueKey owner(status == ERROR_SUCCESS ? key : nullptr);
    return status == ERROR_FILE_NOT_FOUND ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;
}
