#pragma once

#include <comdef.h>

// DECLARE_COM_POINTER(ISomething) declares the smart pointer ISomethingPtr. Where the compiler has a built-in
// __uuidof, comdef.h has declared those of the system's interfaces, and the same declaration may be repeated.
#ifdef _MSC_VER
#define DECLARE_COM_POINTER(Interface) _COM_SMARTPTR_TYPEDEF(Interface, __uuidof(Interface))
#else
#define DECLARE_COM_POINTER(Interface) _COM_SMARTPTR_TYPEDEF(Interface, IID_##Interface)
#endif

DECLARE_COM_POINTER(IDispatch);
DECLARE_COM_POINTER(IMessageFilter);
