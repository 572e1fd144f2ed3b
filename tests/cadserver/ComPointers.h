#pragma once

#include <windows.h>

#include <comdef.h>

#if !USE___UUIDOF
// Smart pointers of the interfaces used here; the toolchain's own definitions are disabled for GCC.
_COM_SMARTPTR_TYPEDEF(IClassFactory, IID_IClassFactory);
_COM_SMARTPTR_TYPEDEF(IDispatch, IID_IDispatch);
_COM_SMARTPTR_TYPEDEF(ILockBytes, IID_ILockBytes);
_COM_SMARTPTR_TYPEDEF(IStorage, IID_IStorage);
_COM_SMARTPTR_TYPEDEF(IStream, IID_IStream);
#endif
