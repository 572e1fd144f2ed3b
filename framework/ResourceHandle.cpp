#include "framework/ResourceHandle.h"

namespace {

HINSTANCE g_resourceHandle = nullptr;

}  // namespace

HINSTANCE GetResourceHandle()
{
    return g_resourceHandle != nullptr ? g_resourceHandle : GetModuleHandleW(nullptr);
}

void SetResourceHandle(HINSTANCE module)
{
    g_resourceHandle = module;
}

std::wstring LoadResourceString(UINT id)
{
    // With a buffer size of 0, LoadStringW returns a pointer to the resource itself ("LoadStringW function").
    const wchar_t* text = nullptr;
    const int length = LoadStringW(GetResourceHandle(), id, reinterpret_cast<wchar_t*>(&text), 0);
    return length > 0 ? std::wstring(text, static_cast<std::size_t>(length)) : std::wstring();
}
