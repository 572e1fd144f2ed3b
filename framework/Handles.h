#pragma once

#include <windows.h>

#include <commctrl.h>

#include <memory>
#include <type_traits>

template <class HandleType, auto closeFunction>
struct HandleCloser
{
    using pointer = HandleType;
    void operator()(HandleType handle) const noexcept { closeFunction(handle); }
};

// Owns a Windows handle; null means that it owns none. Pass results that may be INVALID_HANDLE_VALUE through
// ValidHandle.
template <class HandleType, auto closeFunction>
using UniqueOwner =
    std::unique_ptr<std::remove_pointer_t<HandleType>, HandleCloser<HandleType, closeFunction>>;

using UniqueHandle = UniqueOwner<HANDLE, ::CloseHandle>;
using UniqueFindHandle = UniqueOwner<HANDLE, ::FindClose>;
using UniqueHeap = UniqueOwner<HANDLE, ::HeapDestroy>;
using UniqueIcon = UniqueOwner<HICON, ::DestroyIcon>;
using UniqueKey = UniqueOwner<HKEY, ::RegCloseKey>;
using UniqueMenu = UniqueOwner<HMENU, ::DestroyMenu>;
using UniqueModule = UniqueOwner<HMODULE, ::FreeLibrary>;
using UniqueImageList = UniqueOwner<HIMAGELIST, ::ImageList_Destroy>;

// The handle, or null for INVALID_HANDLE_VALUE.
[[nodiscard]] inline HANDLE ValidHandle(HANDLE handle) noexcept
{
    return handle == INVALID_HANDLE_VALUE ? nullptr : handle;
}
