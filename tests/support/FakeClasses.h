#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <deque>
#include <string>

#include "tests/cadserver/ClassFamily.h"
#include "tests/support/ClassKey.h"

// A class factory in the process of the test, and registry keys by which COM finds classes under their
// ProgID, like those of an installed CAD system.

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

    // Skips the test if the machine has a CAD system, whose names the test would register.
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
    // Registers a class and the program that serves it. Returns the class's key.
    std::wstring AddServer(const std::wstring& progId, const std::wstring& commandLine,
                           const CLSID& classId = NewClassId())
    {
        const std::wstring key = L"CLSID\\" + TextOfClass(classId);
        AddProgId(progId, classId);
        AddKey(key, key + L"\\LocalServer32", commandLine);
        return key;
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
