#pragma once

#include <array>
#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>

#include "framework/ComPointers.h"
#include "framework/OleException.h"

// Makes an automation string. Throws COleException with E_OUTOFMEMORY when it cannot be allocated.
[[nodiscard]] _bstr_t MakeAutomationString(std::wstring_view text);

// Holds one reference to an automation object and makes late-bound calls on it. A copy holds a reference of
// its own. Nothing but the framework's exceptions leaves it: COleDispatchException when the server reports an
// exception, COleException for every other failure, a call without an attached object (E_POINTER) included.
class COleDispatchDriver
{
public:
    // Reaches a running server of the class named by the ProgID, or starts one, and holds its object in place
    // of the one held before. Answers false when that fails; `error` (may be null) receives the status code
    // either way.
    bool CreateDispatch(const std::wstring& progId, COleException* error = nullptr);

    // Takes over the caller's reference to an object (may be null) in place of the one held before.
    void AttachDispatch(IDispatch* dispatch);

    void ReleaseDispatch();

    [[nodiscard]] bool IsAttached() const { return m_dispatch.GetInterfacePtr() != nullptr; }

    // Calls one member of the object: `kind` is DISPATCH_METHOD or DISPATCH_PROPERTYPUT. Arguments in the
    // order of the member's parameters: std::wstring (goes as BSTR), long (I4), bool (BOOL), long* (I4 by
    // reference, never null, filled by the server). Results: void, long (what the server answers is
    // coerced), IDispatchPtr (empty when the server answers no object) and _variant_t (as it came).
    template <class Result = void, class... Arguments>
    Result InvokeHelper(DISPID member, WORD kind, const Arguments&... arguments) const;

private:
    // Arguments stand in DISPPARAMS from the last to the first.
    void Invoke(DISPID member, WORD kind, VARIANT* reversedArguments, UINT count, VARIANT* result) const;

    static void SetArgument(_variant_t& argument, const std::wstring& value);
    template <std::same_as<long> Value>
    static void SetArgument(_variant_t& argument, const Value& value)
    {
        argument = value;
    }
    // The automation's true is -1 (VARIANT_TRUE), whatever the caller's true is.
    template <std::same_as<bool> Value>
    static void SetArgument(_variant_t& argument, const Value& value)
    {
        argument = value;
    }
    static void SetArgument(_variant_t& argument, long* value);

    static long TakeLong(_variant_t& result);
    static IDispatchPtr TakeDispatch(_variant_t& result);

    IDispatchPtr m_dispatch;
};

template <class Result, class... Arguments>
Result COleDispatchDriver::InvokeHelper(DISPID member, WORD kind, const Arguments&... arguments) const
{
    static_assert(sizeof(_variant_t) == sizeof(VARIANT),
                  "an array of one is passed as an array of the other");
    constexpr std::size_t kCount = sizeof...(Arguments);
    std::array<_variant_t, kCount> reversed;
    [[maybe_unused]] std::size_t next = kCount;
    (SetArgument(reversed[--next], arguments), ...);

    if constexpr (std::is_void_v<Result>) {
        Invoke(member, kind, reversed.data(), kCount, nullptr);
    } else {
        _variant_t result;
        Invoke(member, kind, reversed.data(), kCount, &result);
        if constexpr (std::is_same_v<Result, long>) {
            return TakeLong(result);
        } else if constexpr (std::is_same_v<Result, IDispatchPtr>) {
            return TakeDispatch(result);
        } else {
            static_assert(std::is_same_v<Result, _variant_t>, "no such result type");
            return _variant_t(result, false);  // moved, not copied: a copy could fail
        }
    }
}
