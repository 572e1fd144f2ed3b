#pragma once

#include <windows.h>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "framework/Handles.h"

// The product's key. Callers append the rest of a key's path ("\\input", ...).
inline constexpr wchar_t kProductKey[] = L"SOFTWARE\\Zelmar";

// The data of a registry value in a private heap, with its size in bytes and its type. The functions that
// fill the object return false and leave the object empty when memory is short or the data is larger than a
// registry value can be.
class CRegistryValue
{
public:
    CRegistryValue();
    ~CRegistryValue();
    CRegistryValue(const CRegistryValue&) = delete;
    CRegistryValue& operator=(const CRegistryValue&) = delete;

    // Frees the data and sets the type to REG_NONE.
    void Clear();

    // Reads a value of an open key into a buffer of `size` bytes. Also returns false when the value cannot be
    // read or is larger than the buffer.
    [[nodiscard]] bool Read(HKEY key, const std::wstring& valueName, DWORD size);

    // A NUL-terminated text: REG_SZ, or REG_EXPAND_SZ when expandable.
    [[nodiscard]] bool SetText(const std::wstring& text, bool expandable = false);

    // A 32-bit number: REG_DWORD.
    [[nodiscard]] bool SetNumber(DWORD number);

    // A list of NUL-terminated texts, then one more NUL; an empty list is two NULs: REG_MULTI_SZ.
    [[nodiscard]] bool SetTexts(const std::vector<std::wstring>& texts);

    // The bytes as they are: REG_BINARY.
    [[nodiscard]] bool SetBytes(std::span<const BYTE> bytes);

    // The text up to its NUL, or all whole characters when there is none.
    [[nodiscard]] std::wstring GetText() const;

    // Whether the type is REG_SZ, REG_EXPAND_SZ or REG_LINK.
    [[nodiscard]] bool IsText() const;

    [[nodiscard]] const BYTE* Data() const { return m_data; }
    [[nodiscard]] DWORD Size() const { return m_size; }
    [[nodiscard]] DWORD Type() const { return m_type; }

private:
    [[nodiscard]] bool Allocate(std::size_t size);
    [[nodiscard]] bool Fill(const void* bytes, std::size_t size, DWORD type);

    UniqueHeap m_heap;
    BYTE* m_data = nullptr;  // belongs to m_heap
    DWORD m_size = 0;
    DWORD m_type = REG_NONE;
};

// Reads and writes texts below a root key. Shows no messages.
class CRegistry
{
public:
    // `hive`: a predefined hive, or an open key, which serves for one access only: the first ReadString that
    // finds a value, or the first WriteString that opens its sub-key, closes the key. Later accesses fail.
    // `view`: KEY_WOW64_32KEY for what 32-bit programs see, KEY_WOW64_64KEY for what 64-bit programs see, 0
    // for the view of this process ("Accessing an Alternate Registry View").
    explicit CRegistry(HKEY hive, REGSAM view = 0);
    virtual ~CRegistry() = default;
    CRegistry(const CRegistry&) = delete;
    CRegistry& operator=(const CRegistry&) = delete;

    // Reads a value of the sub-key; an empty value name is the default value. Environment variables in the
    // text are not expanded. Returns false and leaves `text` unchanged when the value is missing or not a
    // text.
    [[nodiscard]] bool ReadString(const std::wstring& subKey, const std::wstring& valueName,
                                  std::wstring& text);

    // Whether the value is a text, even if there is no memory to read it.
    [[nodiscard]] bool HasString(const std::wstring& subKey, const std::wstring& valueName) const;

    // Writes a value as REG_SZ and creates a missing sub-key. Returns false on failure.
    [[nodiscard]] bool WriteString(const std::wstring& subKey, const std::wstring& valueName,
                                   const std::wstring& text);

private:
    void CloseRoot();

    HKEY m_rootKey;
    REGSAM m_view;
};

// Returns KEY_WOW64_32KEY when a key of the local machine is missing in the 64-bit view: a 32-bit setup
// program may have written it. Otherwise KEY_WOW64_64KEY, also when Windows denies access to the key.
[[nodiscard]] REGSAM ViewOfMachineKey(const std::wstring& subKey);
