#pragma once

#include <comdef.h>

// DECLARE_COM_POINTER(ISomething) declares the smart pointer ISomethingPtr. With Microsoft's compiler,
// comdef.h has already declared the pointers of the system's interfaces; repeating the same declaration is
// allowed.
#ifdef _MSC_VER
#define DECLARE_COM_POINTER(Interface) _COM_SMARTPTR_TYPEDEF(Interface, __uuidof(Interface))
#else
#define DECLARE_COM_POINTER(Interface) _COM_SMARTPTR_TYPEDEF(Interface, IID_##Interface)
#endif

DECLARE_COM_POINTER(IDispatch);
DECLARE_COM_POINTER(IMessageFilter);
