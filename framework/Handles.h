#pragma once

#include <windows.h>

#include <commctrl.h>

#include <memory>
#include <type_traits>

// Frees a Windows handle with the function that belongs to its kind.
template <class HandleType, auto closeFunction>
struct HandleCloser
{
    using pointer = HandleType;
    void operator()(HandleType handle) const noexcept { closeFunction(handle); }
};

// The one owner of a Windows handle. Empty is the null handle: a function that tells failure by
// INVALID_HANDLE_VALUE has its result passed through ValidHandle first.
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
