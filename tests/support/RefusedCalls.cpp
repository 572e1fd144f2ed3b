#include "tests/support/RefusedCalls.h"

#include <windows.h>

#include <commctrl.h>
#include <oleauto.h>
#include <tlhelp32.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

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

// Notes in `called` that a function of this kind is called. Must not allocate: malloc calls it.
bool Refuses(CallKind kind, bool& called)
{
    if (!g_refusal || g_refusal->kind != kind || CUncountedCalls::AreActive() ||
        g_refusal->thread != GetCurrentThreadId()) {
        return false;
    }
    called = true;
    return ++g_refusal->count == g_refusal->refused;
}

// A function whose calls can be refused.
struct Function
{
    const char* name;
    bool imported;
    bool* called;  // while a CRefusedCall exists
};

// A function's name as a template argument.
template <std::size_t size>
struct Name
{
    constexpr Name(const char (&name)[size]) { std::copy_n(name, size, text); }
    char text[size]{};
};

// The results of functions that fail: null, INVALID_HANDLE_VALUE, or an error code.
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

struct ErrorCode
{
    template <class Result>
    static Result As()
    {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
};

template <CallKind kind, Name name, class Type, class Failure = Null>
struct Refusable;

// Distinct functions of one type need distinct variables, hence the name.
template <CallKind kind, Name name, class Failure, class Result, class... Args>
struct Refusable<kind, name, Result(WINAPI*)(Args...), Failure>
{
    static Result WINAPI Call(Args... args)
    {
        if (!Refuses(kind, s_called)) {
            return s_original(args...);
        }
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return Failure::template As<Result>();
    }
    static Function Redirect()
    {
        return {kName.text, RedirectImport(name.text, &Call, &s_original), &s_called};
    }

    static constexpr Name kName = name;  // outlives the call of Redirect
    static inline Result(WINAPI* s_original)(Args...) = nullptr;
    static inline bool s_called = false;
};

#define REFUSABLE(kind, function) Refusable<CallKind::kind, #function, decltype(&::function)>::Redirect()
#define REFUSABLE_BY(failure, function) \
    Refusable<CallKind::handles, #function, decltype(&::function), failure>::Redirect()

std::vector<Function> RedirectMemory()
{
    // The type is written out because the attributes of malloc cannot be part of a template argument.
    return {Refusable<CallKind::memory, "malloc", void* (*)(std::size_t)>::Redirect(),
            REFUSABLE(memory, SysAllocStringLen), REFUSABLE(memory, GlobalAlloc),
            REFUSABLE(memory, HeapAlloc)};
}

std::vector<Function> RedirectHandles()
{
    return {REFUSABLE(handles, CreateWindowExW),
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
            REFUSABLE(handles, OpenProcess),
            REFUSABLE(handles, CreateJobObjectW),
            REFUSABLE_BY(InvalidHandle, CreateFileW),
            REFUSABLE_BY(InvalidHandle, FindFirstFileW),
            REFUSABLE_BY(InvalidHandle, CreateToolhelp32Snapshot),
            REFUSABLE_BY(ErrorCode, RegOpenKeyExW),
            REFUSABLE_BY(ErrorCode, RegCreateKeyExW)};
}

#undef REFUSABLE
#undef REFUSABLE_BY

// The functions of a kind, which are redirected from the first call on.
const std::vector<Function>& FunctionsOf(CallKind kind)
{
    static const std::vector<Function> memory = RedirectMemory();
    static const std::vector<Function> handles = RedirectHandles();
    return kind == CallKind::memory ? memory : handles;
}

template <class Condition>
std::vector<std::string> NamesOf(CallKind kind, Condition condition)
{
    std::vector<std::string> names;
    for (const Function& function : FunctionsOf(kind)) {
        if (condition(function)) {
            names.emplace_back(function.name);
        }
    }
    return names;
}

}  // namespace

CRefusedCall::CRefusedCall(CallKind kind, int refused)
{
    for (const Function& function : FunctionsOf(kind)) {
        *function.called = false;
    }
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

std::vector<std::string> CRefusedCall::Called()
{
    const CUncountedCalls uncounted;
    return g_refusal ? NamesOf(g_refusal->kind, [](const Function& function) { return *function.called; })
                     : std::vector<std::string>();
}

std::vector<std::string> CRefusedCall::Functions(CallKind kind)
{
    return NamesOf(kind, [](const Function&) { return true; });
}

std::vector<std::string> CRefusedCall::NotImported(CallKind kind)
{
    return NamesOf(kind, [](const Function& function) { return !function.imported; });
}
