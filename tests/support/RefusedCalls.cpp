#include "tests/support/RefusedCalls.h"

#include <windows.h>

#include <commctrl.h>
#include <oleauto.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <optional>

#include "tests/support/ImportTable.h"

namespace {

struct Refusal
{
    CallKind kind;
    DWORD thread;
    int refused;
    int count = 0;
};

std::optional<Refusal> g_refusal;

// Must not allocate: malloc calls it.
bool Refuses(CallKind kind)
{
    if (!g_refusal || g_refusal->kind != kind || CUncountedCalls::AreActive() ||
        g_refusal->thread != GetCurrentThreadId()) {
        return false;
    }
    return ++g_refusal->count == g_refusal->refused;
}

// A function's name as a template argument.
template <std::size_t size>
struct Name
{
    constexpr Name(const char (&name)[size]) { std::copy_n(name, size, text); }
    char text[size]{};
};

// The results of functions that fail: null, or INVALID_HANDLE_VALUE.
struct Null
{
    template <class Result>
    static Result As()
    {
        return Result();
    }
};
struct InvalidHandle
{
    template <class Result>
    static Result As()
    {
        return INVALID_HANDLE_VALUE;
    }
};

template <CallKind kind, Name name, class Function, class Failure = Null>
struct Refusable;

// Distinct functions of one type need distinct variables, hence the name.
template <CallKind kind, Name name, class Failure, class Result, class... Args>
struct Refusable<kind, name, Result(WINAPI*)(Args...), Failure>
{
    static Result WINAPI Call(Args... args)
    {
        if (!Refuses(kind)) {
            return s_original(args...);
        }
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return Failure::template As<Result>();
    }
    static bool Redirect() { return RedirectImport(name.text, &Call, &s_original); }

    static inline Result(WINAPI* s_original)(Args...) = nullptr;
};

#define REFUSABLE(kind, function) Refusable<CallKind::kind, #function, decltype(&::function)>::Redirect()

bool RedirectMemory()
{
    // The type is written out because the attributes of malloc cannot be part of a template argument.
    const bool allocation = Refusable<CallKind::memory, "malloc", void* (*)(std::size_t)>::Redirect();
    const std::array redirected{allocation, REFUSABLE(memory, SysAllocString),
                                REFUSABLE(memory, SysAllocStringLen), REFUSABLE(memory, GlobalAlloc),
                                REFUSABLE(memory, HeapAlloc)};
    return std::ranges::find(redirected, false) == redirected.end();
}

bool RedirectHandles()
{
    const std::array redirected{
        REFUSABLE(handles, CreateWindowExW),
        REFUSABLE(handles, CreateDialogParamW),
        REFUSABLE(handles, GetDC),
        REFUSABLE(handles, BeginPaint),
        REFUSABLE(handles, BeginDeferWindowPos),
        REFUSABLE(handles, DeferWindowPos),
        REFUSABLE(handles, CreatePopupMenu),
        REFUSABLE(handles, GetSystemMenu),
        REFUSABLE(handles, LoadImageW),
        REFUSABLE(handles, LoadCursorW),
        REFUSABLE(handles, ImageList_LoadImageW),
        REFUSABLE(handles, CreateMutexW),
        REFUSABLE(handles, HeapCreate),
        Refusable<CallKind::handles, "CreateFileW", decltype(&::CreateFileW), InvalidHandle>::Redirect()};
    return std::ranges::find(redirected, false) == redirected.end();
}

#undef REFUSABLE

}  // namespace

CRefusedCall::CRefusedCall(CallKind kind, int refused)
{
    static_cast<void>(Sees(kind));
    g_refusal = Refusal{kind, GetCurrentThreadId(), refused};
}

CRefusedCall::~CRefusedCall()
{
    g_refusal.reset();
}

int CRefusedCall::Count()
{
    return g_refusal ? g_refusal->count : 0;
}

bool CRefusedCall::Sees(CallKind kind)
{
    static const bool memory = RedirectMemory();
    static const bool handles = RedirectHandles();
    return kind == CallKind::memory ? memory : handles;
}
