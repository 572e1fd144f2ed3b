#pragma once

#include <comdef.h>

// comdef.h declares its smart pointers only for compilers with a built-in __uuidof, which this one lacks.
_COM_SMARTPTR_TYPEDEF(IDispatch, IID_IDispatch);
_COM_SMARTPTR_TYPEDEF(IMessageFilter, IID_IMessageFilter);
