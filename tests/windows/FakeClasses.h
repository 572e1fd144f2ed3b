#pragma once

#include <windows.h>

#include <array>
#include <optional>
#include <string>

#include "tests/windows/FakeAutomation.h"

// Automation classes for the length of a test, reached by their ProgID as an installed CAD system is.

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

// A key with a default value in the registry's classes that is removed, with all below it, when the object
// goes. It lies among the user's own classes where COM looks at these, and else among the machine's: Wine
// knows no others, and an elevated process does not trust the user's.
class CScratchClassKey
{
public:
    // `top` is the key that is removed, `path` the key that gets the value: the same or one below it.
    CScratchClassKey(HKEY root, const std::wstring& top, const std::wstring& path, const std::wstring& value)
        : m_root(root), m_top(kClasses + top)
    {
        const auto size = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
        RegSetKeyValueW(root, (kClasses + path).c_str(), nullptr, REG_SZ, value.c_str(), size);
    }
    CScratchClassKey(const CScratchClassKey&) = delete;
    CScratchClassKey& operator=(const CScratchClassKey&) = delete;
    ~CScratchClassKey() { RegDeleteTreeW(m_root, m_top.c_str()); }

    // The root below which COM finds classes; nothing when this process may write to neither.
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

private:
    inline static const std::wstring kClasses = L"Software\\Classes\\";

    HKEY m_root;
    std::wstring m_top;
};

// Makes one object for every caller, or fails.
class CFakeClass : public IClassFactory
{
public:
    CFakeClass(const CLSID& classId, CFakeDispatch& object) : m_object(object)
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
    CFakeDispatch& m_object;
    DWORD m_registration = 0;
};
