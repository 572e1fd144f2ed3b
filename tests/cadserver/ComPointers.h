#pragma once

#include <windows.h>

#include "framework/ComPointers.h"

DECLARE_COM_POINTER(IClassFactory);
DECLARE_COM_POINTER(ILockBytes);
DECLARE_COM_POINTER(IStorage);
DECLARE_COM_POINTER(IStream);
