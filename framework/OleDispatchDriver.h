#pragma once

#include <array>
#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>

#include "framework/ComPointers.h"
#include "framework/OleException.h"

// Throws COleException with E_OUTOFMEMORY when the string cannot be allocated.
[[nodiscard]] _bstr_t MakeAutomationString(std::wstring_view text);

// Holds a reference to an automation object and makes late-bound calls on the object. A copy adds a
// reference. Calls throw COleDispatchException when the server reports an exception, and COleException for
// every other failure, such as a call without an attached object (E_POINTER).
class COleDispatchDriver
{
public:
    COleDispatchDriver() = default;
    COleDispatchDriver(const COleDispatchDriver&) = default;
    COleDispatchDriver& operator=(COleDispatchDriver other);
    ~COleDispatchDriver();

    // Connects to a running server of the ProgID's class, or starts one; releases the previous object first.
    // Returns false on failure. *error (unless null) receives the status code in either case.
    bool CreateDispatch(const std::wstring& progId, COleException* error = nullptr);

    // Takes ownership of the caller's reference (may be null); releases the previous object first.
    void AttachDispatch(IDispatch* dispatch);

    void ReleaseDispatch();

    [[nodiscard]] bool IsAttached() const { return m_dispatch.GetInterfacePtr() != nullptr; }

    // Calls a member of the object; `kind` is DISPATCH_METHOD or DISPATCH_PROPERTYPUT. Arguments, in the
    // order of the member's parameters: std::wstring (BSTR), long (I4), bool (BOOL), long* (I4 by reference,
    // not null, set by the server). Results: void, long (coerced), IDispatchPtr (empty when the server
    // returns no object), _variant_t (unchanged).
    template <class Result = void, class... Arguments>
    Result InvokeHelper(DISPID member, WORD kind, const Arguments&... arguments) const;

private:
    // DISPPARAMS holds the arguments in reverse order.
    void Invoke(DISPID member, WORD kind, VARIANT* reversedArguments, UINT count, VARIANT* result) const;

    static void SetArgument(_variant_t& argument, const std::wstring& value);
    template <std::same_as<long> Value>
    static void SetArgument(_variant_t& argument, const Value& value)
    {
        argument = value;
    }
    // _variant_t turns true into VARIANT_TRUE (-1).
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
            return _variant_t(result, false);  // takes ownership: a copy could fail
        }
    }
}
