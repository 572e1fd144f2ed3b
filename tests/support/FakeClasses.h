#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <array>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "framework/Handles.h"
#include "tests/cadserver/ClassFamily.h"
#include "tests/support/TestMark.h"
#include "tests/support/TextFile.h"

// A class factory in the process of the test, and registry keys by which COM finds classes under their
// ProgID, like those of an installed CAD system.

inline std::wstring TextOfClass(const CLSID& classId)
{
    std::array<wchar_t, 40> text{};
    StringFromGUID2(classId, text.data(), static_cast<int>(text.size()));
    return text.data();
}

inline CLSID NewClassId()
{
    CLSID classId{};
    CoCreateGuid(&classId);
    return classId;
}

// A key with a default value in the registry's classes, removed with its subkeys at the end of the scope. A
// mark identifies it for RemoveLeftovers. A key without the mark belongs to another program; it is left
// alone, and the test fails.
class CScratchClassKey
{
public:
    // `top` is the key that is removed, `path` the key that gets the value: the same or one below it.
    CScratchClassKey(HKEY root, const std::wstring& top, const std::wstring& path, const std::wstring& value)
        : m_root(root), m_top(kClasses + top)
    {
        if (IsOfOtherProgram(m_top)) {
            m_top.clear();
            ADD_FAILURE() << "a key of another program: " << ToUtf8(top);
            return;
        }
        const auto size = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
        RegSetKeyValueW(root, m_top.c_str(), kTestMark, REG_SZ, L"", sizeof(wchar_t));
        RegSetKeyValueW(root, (kClasses + path).c_str(), nullptr, REG_SZ, value.c_str(), size);
    }
    CScratchClassKey(const CScratchClassKey&) = delete;
    CScratchClassKey& operator=(const CScratchClassKey&) = delete;
    ~CScratchClassKey()
    {
        if (!m_top.empty()) {
            RegDeleteTreeW(m_root, m_top.c_str());
        }
    }

    // The hive in which COM finds classes that this process registers: HKEY_CURRENT_USER, or
    // HKEY_LOCAL_MACHINE under Wine and for an elevated process. None if this process may write to neither.
    static std::optional<HKEY> Root()
    {
        static const std::optional<HKEY> root = []() -> std::optional<HKEY> {
            for (const HKEY candidate : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
                const std::wstring progId = L"Talvenor.Test.Probe";
                const CScratchClassKey probe(candidate, progId, progId + L"\\CLSID",
                                             TextOfClass(NewClassId()));
                CLSID found{};
                if (SUCCEEDED(CLSIDFromProgID(progId.c_str(), &found))) {
                    return candidate;
                }
            }
            return std::nullopt;
        }();
        return root;
    }

    // Removes the keys of crashed tests, which would look like a registered CAD system.
    static void RemoveLeftovers()
    {
        for (const HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
            RemoveMarked(root, L"");
            RemoveMarked(root, L"CLSID\\");
        }
    }

private:
    inline static const std::wstring kClasses = L"Software\\Classes\\";

    // A user's key would hide the machine's, so that both count.
    static bool IsOfOtherProgram(const std::wstring& key)
    {
        const auto isThere = [&](HKEY root) {
            HKEY found = nullptr;
            const LSTATUS status = RegOpenKeyExW(root, key.c_str(), 0, KEY_READ, &found);
            const UniqueKey owner(found);
            return status == ERROR_SUCCESS &&
                   RegQueryValueExW(found, kTestMark, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS;
        };
        return isThere(HKEY_CURRENT_USER) || isThere(HKEY_LOCAL_MACHINE);
    }

    static void RemoveMarked(HKEY root, const std::wstring& below)
    {
        HKEY classes = nullptr;
        if (RegOpenKeyExW(root, (kClasses + below).c_str(), 0, KEY_READ, &classes) != ERROR_SUCCESS) {
            return;
        }
        std::vector<std::wstring> marked;
        std::array<wchar_t, MAX_PATH> name{};
        for (DWORD at = 0; RegEnumKeyW(classes, at, name.data(), MAX_PATH) == ERROR_SUCCESS; ++at) {
            if (RegGetValueW(classes, name.data(), kTestMark, RRF_RT_ANY, nullptr, nullptr, nullptr) ==
                ERROR_SUCCESS) {
                marked.emplace_back(name.data());
            }
        }
        RegCloseKey(classes);
        for (const std::wstring& key : marked) {
            RegDeleteTreeW(root, (kClasses + below + key).c_str());
        }
    }

    HKEY m_root;
    std::wstring m_top;
};

// The classes of a test, registered where COM looks for them until the end of the scope.
class CScratchClasses
{
public:
    // Skips the test if this process may not register classes.
    static void RequireAccess()
    {
        if (!CScratchClassKey::Root()) {
            GTEST_SKIP() << "skipped: this process may not register classes where COM looks for them";
        }
    }

    // Skips the test if the machine has a CAD system, whose names it would register.
    static void RequireNoCadSystem()
    {
        if (OtherCadSystem()) {
            GTEST_SKIP() << "skipped: a CAD system is registered on this machine";
        }
    }

    void AddKey(const std::wstring& top, const std::wstring& path, const std::wstring& value)
    {
        m_keys.emplace_back(*CScratchClassKey::Root(), top, path, value);
    }
    void AddProgId(const std::wstring& progId, const CLSID& classId)
    {
        AddKey(progId, progId + L"\\CLSID", TextOfClass(classId));
    }
    // Registers a class's ProgID.
    void AddClass(const CLSID& classId, const std::wstring& progId)
    {
        const std::wstring key = L"CLSID\\" + TextOfClass(classId);
        AddKey(key, key + L"\\ProgID", progId);
    }
    // Registers a class and the program that serves it. Returns the path of the program's key.
    std::wstring AddServer(const std::wstring& progId, const std::wstring& commandLine,
                           const CLSID& classId = NewClassId())
    {
        const std::wstring key = L"CLSID\\" + TextOfClass(classId);
        AddProgId(progId, classId);
        AddKey(key, key + L"\\LocalServer32", commandLine);
        return L"Software\\Classes\\" + key + L"\\LocalServer32";
    }
    void RemoveAll() { m_keys.clear(); }

private:
    std::deque<CScratchClassKey> m_keys;
};

// A class factory that returns the same object to every caller, or fails.
class CFakeClass : public IClassFactory
{
public:
    CFakeClass(const CLSID& classId, IUnknown& object) : m_object(object)
    {
        CoRegisterClassObject(classId, this, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &m_registration);
    }
    CFakeClass(const CFakeClass&) = delete;
    CFakeClass& operator=(const CFakeClass&) = delete;
    virtual ~CFakeClass() { CoRevokeClassObject(m_registration); }

    HRESULT m_status = S_OK;
    int m_created = 0;
    HCURSOR m_cursor = nullptr;  // the cursor while the object was made

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID interfaceId, void** object) override
    {
        const bool known =
            IsEqualIID(interfaceId, IID_IUnknown) || IsEqualIID(interfaceId, IID_IClassFactory);
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID interfaceId, void** object) override
    {
        ++m_created;
        m_cursor = GetCursor();
        *object = nullptr;
        return FAILED(m_status) ? m_status : m_object.QueryInterface(interfaceId, object);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

private:
    IUnknown& m_object;
    DWORD m_registration = 0;
};
