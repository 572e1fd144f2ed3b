#pragma once

#include <comdef.h>

// The toolchain's comdef.h names its owning interface pointers only for compilers with a __uuidof of their
// own; here are the ones that the program uses.
_COM_SMARTPTR_TYPEDEF(IDispatch, IID_IDispatch);
_COM_SMARTPTR_TYPEDEF(IMessageFilter, IID_IMessageFilter);
