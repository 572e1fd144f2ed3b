#include "framework/AccessibleName.h"

#include <initguid.h>  // makes oleacc.h define its GUIDs here

#include <oleacc.h>

#include "framework/ComPointers.h"

DECLARE_COM_POINTER(IAccPropServices);

namespace {

IAccPropServicesPtr PropertyServices()
{
    IAccPropServicesPtr services;
    services.CreateInstance(CLSID_AccPropServices, nullptr, CLSCTX_INPROC_SERVER);
    return services;
}

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
