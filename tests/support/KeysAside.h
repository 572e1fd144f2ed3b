#pragma once

#include <windows.h>

#include <string>

inline constexpr wchar_t kZelmarKey[] = L"SOFTWARE\\Zelmar";
// Where the system's file dialogs remember folders and files.
inline constexpr wchar_t kFileDialogsKey[] =
    L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\ComDlg32";

// Puts the product's keys, or others, in one hive and view of the registry aside, so that programs that a
// test starts find none, and puts them back at the end of the scope. They are copied before they are deleted,
// and stay marked as complete until they are back: the next test program restores what a killed one has left.
class CKeysAside
{
public:
    // view: KEY_WOW64_64KEY or KEY_WOW64_32KEY. Throws std::runtime_error if there are keys that cannot be
    // put aside; they are unchanged then.
    explicit CKeysAside(HKEY hive, REGSAM view = 0, std::wstring product = kZelmarKey);
    ~CKeysAside();
    CKeysAside(const CKeysAside&) = delete;
    CKeysAside& operator=(const CKeysAside&) = delete;

    // Puts back what killed tests have put aside, and removes the keys that they made. Throws
    // std::runtime_error if the product's keys are there again although others are put aside: a person has to
    // decide which ones count.
    static void RestoreLeftovers(const std::wstring& product = kZelmarKey);

    // Whether the hive has keys of the product that no test has made.
    [[nodiscard]] static bool HasRealKeys(HKEY hive, REGSAM view = 0,
                                          const std::wstring& product = kZelmarKey);

private:
    void PutAside() const;

    const HKEY m_hive;
    const REGSAM m_view;
    const std::wstring m_product;
    const std::wstring m_aside;
    const bool m_moved;
};
