#pragma once

#include <windows.h>

#include <algorithm>
#include <vector>

#include "tests/cadserver/ComPointers.h"

// A minimal automation client, which calls objects through IDispatch::Invoke only.

struct CallResult
{
    HRESULT status = S_OK;
    _variant_t value;
    EXCEPINFO exception{};
    UINT wrongArgument = ~0U;

    [[nodiscard]] IDispatchPtr Object() const
    {
        return {value.vt == VT_DISPATCH ? value.pdispVal : nullptr, true};
    }
};

inline CallResult Invoke(IDispatch* object, DISPID dispid, std::vector<_variant_t> arguments = {},
                         WORD kind = DISPATCH_METHOD)
{
    std::reverse(arguments.begin(), arguments.end());
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS parameters{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
    if (kind == DISPATCH_PROPERTYPUT) {
        parameters.rgdispidNamedArgs = &put;
        parameters.cNamedArgs = 1;
    }
    CallResult result;
    result.status = object->Invoke(dispid, IID_NULL, LOCALE_USER_DEFAULT, kind, &parameters, &result.value,
                                   &result.exception, &result.wrongArgument);
    return result;
}
