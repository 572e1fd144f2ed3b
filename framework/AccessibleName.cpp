#include "framework/AccessibleName.h"

#include <initguid.h>  // makes oleacc.h define its GUIDs here

#include <oleacc.h>

#include <utility>

#include "framework/ComPointers.h"

DECLARE_COM_POINTER(IAccPropServer);
DECLARE_COM_POINTER(IAccPropServices);

namespace {

// LiveSetting_Property_GUID and Assertive of uiautomation.h, which not every compiler's headers declare.
constexpr GUID kLiveSetting{0xC12BCD8E, 0x2A8E, 0x4950, {0x8A, 0xE7, 0x36, 0x25, 0x11, 0x1D, 0x58, 0xEB}};
constexpr long kAssertive = 2;

IAccPropServicesPtr PropertyServices()
{
    IAccPropServicesPtr services;
    services.CreateInstance(CLSID_AccPropServices, nullptr, CLSCTX_INPROC_SERVER);
    return services;
}

// Names the rows of one list view ("IAccPropServer interface"). Deletes itself when its last reference is
// released.
class CRowNames final : public IAccPropServer
{
public:
    CRowNames(const IAccPropServicesPtr& services, RowName nameOf)
        : m_services(services), m_nameOf(std::move(nameOf))
    {
    }
    CRowNames(const CRowNames&) = delete;
    CRowNames& operator=(const CRowNames&) = delete;

    STDMETHODIMP QueryInterface(REFIID interfaceId, void** object) override
    {
        const bool known = interfaceId == IID_IUnknown || interfaceId == IID_IAccPropServer;
        *object = known ? this : nullptr;
        if (!known) {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG left = --m_references;
        if (left == 0) {
            delete this;
        }
        return left;
    }

    STDMETHODIMP GetPropValue(const BYTE* identity, DWORD length, MSAAPROPID /*property*/, VARIANT* value,
                              BOOL* hasValue) override
    {
        HWND list = nullptr;
        DWORD object = 0;
        DWORD child = CHILDID_SELF;
        VariantInit(value);
        *hasValue = FALSE;
        if (FAILED(m_services->DecomposeHwndIdentityString(identity, length, &list, &object, &child)) ||
            child == CHILDID_SELF) {
            return S_OK;
        }
        try {
            const std::wstring name = m_nameOf(static_cast<int>(child) - 1);
            if (!name.empty()) {
                *value = _variant_t(name.c_str()).Detach();
                *hasValue = TRUE;
            }
        } catch (...) {  // no exception may propagate into COM
            *hasValue = FALSE;
        }
        return S_OK;
    }

private:
    ~CRowNames() = default;

    ULONG m_references = 1;
    IAccPropServicesPtr m_services;
    RowName m_nameOf;
};

}  // namespace

void SetAccessibleName(HWND window, const std::wstring& name)
{
    if (const IAccPropServicesPtr services = PropertyServices()) {
        services->SetHwndPropStr(window, static_cast<DWORD>(OBJID_CLIENT), CHILDID_SELF, PROPID_ACC_NAME,
                                 name.c_str());
    }
}

void ClearAccessibleName(HWND window)
{
    if (const IAccPropServicesPtr services = PropertyServices()) {
        services->ClearHwndProps(window, static_cast<DWORD>(OBJID_CLIENT), CHILDID_SELF, &PROPID_ACC_NAME, 1);
    }
}

void SetAccessibleRowNames(HWND list, RowName nameOf)
{
    if (const IAccPropServicesPtr services = PropertyServices()) {
        const IAccPropServerPtr server(new CRowNames(services, std::move(nameOf)), false);
        services->SetHwndPropServer(list, static_cast<DWORD>(OBJID_CLIENT), CHILDID_SELF, &PROPID_ACC_NAME, 1,
                                    server, ANNO_CONTAINER);
    }
}

void ClearAccessibleRowNames(HWND list)
{
    ClearAccessibleName(list);
}

void Announce(HWND window)
{
    if (const IAccPropServicesPtr services = PropertyServices()) {
        services->SetHwndProp(window, static_cast<DWORD>(OBJID_CLIENT), CHILDID_SELF, kLiveSetting,
                              _variant_t(kAssertive));
    }
    NotifyWinEvent(EVENT_OBJECT_LIVEREGIONCHANGED, window, OBJID_CLIENT, CHILDID_SELF);
}

void ClearAnnouncement(HWND window)
{
    if (const IAccPropServicesPtr services = PropertyServices()) {
        services->ClearHwndProps(window, static_cast<DWORD>(OBJID_CLIENT), CHILDID_SELF, &kLiveSetting, 1);
    }
}
