#pragma once

#include <windows.h>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "framework/Handles.h"

// The product's key; the paths of its settings are joined from this and their own piece ("\\input", ...).
inline constexpr wchar_t kProductKey[] = L"SOFTWARE\\Zelmar";

// The data of one registry value, kept in a private heap, with its size in bytes and its registry type.
// The filling operations return false, and leave the buffer empty, when there is no memory or the data is
// larger than a value can be.
class CRegistryValue
{
public:
    CRegistryValue();
    ~CRegistryValue();
    CRegistryValue(const CRegistryValue&) = delete;
    CRegistryValue& operator=(const CRegistryValue&) = delete;

    // Frees the data. The type is REG_NONE then.
    void Clear();

    // Reads the data and type of a value of an open key into a buffer of size bytes. False, with the buffer
    // empty, when the value cannot be read or is larger.
    [[nodiscard]] bool Read(HKEY key, const std::wstring& valueName, DWORD size);

    // A text with its terminating zero: REG_SZ, or REG_EXPAND_SZ when expandable.
    [[nodiscard]] bool SetText(const std::wstring& text, bool expandable = false);

    // A 32-bit number: REG_DWORD.
    [[nodiscard]] bool SetNumber(DWORD number);

    // A list of texts, each with its terminating zero, then one more zero; an empty list is two zeros:
    // REG_MULTI_SZ.
    [[nodiscard]] bool SetTexts(const std::vector<std::wstring>& texts);

    // The bytes as they are: REG_BINARY.
    [[nodiscard]] bool SetBytes(std::span<const BYTE> bytes);

    // The text in the data up to its terminating zero, or all whole characters when there is none.
    [[nodiscard]] std::wstring GetText() const;

    // True for the types that hold one text: REG_SZ, REG_EXPAND_SZ, REG_LINK.
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

// Reads and writes single named texts below one root key: a predefined hive, or a key that this object is
// given to close. All failures are silent.
class CRegistry
{
public:
    // hive: a predefined hive, or a key that the first access that opened a sub-key closes; after that access
    // an object of such a key finds nothing any more.
    explicit CRegistry(HKEY hive);
    virtual ~CRegistry() = default;
    CRegistry(const CRegistry&) = delete;
    CRegistry& operator=(const CRegistry&) = delete;

    // Reads a value of the sub-key; an empty value name is the key's default value. Environment references in
    // the text are not expanded. False, with text unchanged, when the value is missing or is no text.
    [[nodiscard]] bool ReadString(const std::wstring& subKey, const std::wstring& valueName,
                                  std::wstring& text);

    // Writes a value as REG_SZ and makes the sub-key when it is missing. False when that fails.
    [[nodiscard]] bool WriteString(const std::wstring& subKey, const std::wstring& valueName,
                                   const std::wstring& text);

private:
    void CloseRoot();

    HKEY m_rootKey;
};
