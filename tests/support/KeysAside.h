#pragma once

#include <windows.h>

#include <string>
#include <vector>

inline constexpr wchar_t kZelmarKey[] = L"SOFTWARE\\Zelmar";
// Where the system's file dialogs remember folders and files.
inline constexpr wchar_t kFileDialogsKey[] =
    L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\ComDlg32";

// Puts aside the product's keys, or others, in one hive and view of the registry, so that programs that a
// test starts find none, and puts them back at the end of the scope. The keys are copied before they are
// deleted, and the copy stays marked as complete until they are back: the next test program restores what a
// killed one has left.
//
// Keys that neither a test nor a program under test has written, such as those of an installer that ran
// meanwhile, are left where they are, and the keys aside stay aside. ReportProblem says so; a person has to
// decide which keys count.
class CKeysAside
{
public:
    // view: KEY_WOW64_64KEY or KEY_WOW64_32KEY; 0 for HKEY_CURRENT_USER. Throws std::runtime_error if there
    // are keys that cannot be put aside; they are unchanged then, or RestoreLeftovers can put them back.
    explicit CKeysAside(HKEY hive, REGSAM view = 0, std::wstring product = kZelmarKey);
    ~CKeysAside();
    CKeysAside(const CKeysAside&) = delete;
    CKeysAside& operator=(const CKeysAside&) = delete;

    // Puts back what killed tests have put aside, and removes the keys that they made. Returns what could
    // not be undone, one line each. Values that the program under test has
    // written, or the user since the test was killed, are kept beside the key under another name; a line says
    // so.
    static std::vector<std::string> RestoreLeftovers(const std::wstring& product = kZelmarKey);

    // Whether the hive has keys of the product that no test has made.
    [[nodiscard]] static bool HasRealKeys(HKEY hive, REGSAM view = 0,
                                          const std::wstring& product = kZelmarKey);

private:
    void PutAside() const;
    void End() const;

    const HKEY m_hive;
    const REGSAM m_view;
    const std::wstring m_product;
    const std::wstring m_aside;
    const bool m_moved;
};
