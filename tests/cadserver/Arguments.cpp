#include "tests/cadserver/Arguments.h"

#include <algorithm>

namespace {

bool FitsType(const VARIANT& value, Parameter declared)
{
    switch (declared) {
        case Parameter::text:
            return value.vt == VT_BSTR;
        case Parameter::number:
            return value.vt == VT_I4;
        case Parameter::flag:
            return value.vt == VT_BOOL && (value.boolVal == VARIANT_TRUE || value.boolVal == VARIANT_FALSE);
        case Parameter::numberOut:
            return value.vt == (VT_BYREF | VT_I4);
    }
    return false;
}

bool IsVariantReference(const VARIANT& value)
{
    return value.vt == (VT_BYREF | VT_VARIANT);
}

std::wstring TextOf(BSTR text)
{
    return {text, SysStringLen(text)};
}

std::wstring DescribeArray(const VARIANT& value)
{
    LONG first = 0;
    LONG last = -1;
    SafeArrayGetLBound(value.parray, 1, &first);
    SafeArrayGetUBound(value.parray, 1, &last);
    const VARTYPE type = value.vt & VT_TYPEMASK;
    std::wstring text = type == VT_BSTR ? L"BSTR" : type == VT_VARIANT ? L"VARIANT" : L"I4";
    const std::wstring range =
        first == 0 ? std::to_wstring(last + 1) : std::to_wstring(first) + L".." + std::to_wstring(last);
    text += L"[" + range + L"]=";
    for (LONG index = first; index <= last; ++index) {
        void* element = nullptr;
        SafeArrayPtrOfIndex(value.parray, &index, &element);
        text += index > first ? L"|" : L"";
        text += type == VT_BSTR      ? TextOf(*static_cast<BSTR*>(element))
                : type == VT_VARIANT ? TextOf(static_cast<VARIANT*>(element)->bstrVal)
                                     : std::to_wstring(*static_cast<LONG*>(element));
    }
    return text;
}

}  // namespace

VARIANT& CArguments::At(UINT index) const
{
    VARIANT& value = Raw(index);
    return IsVariantReference(value) ? *value.pvarVal : value;
}

HRESULT CArguments::Check(std::span<const Parameter> declared, UINT& wrongArgument) const
{
    if (m_parameters.cArgs != declared.size()) {
        return DISP_E_BADPARAMCOUNT;
    }
    for (UINT index = 0; index < m_parameters.cArgs; ++index) {
        const bool scriptOut = declared[index] == Parameter::numberOut && IsVariantReference(Raw(index));
        if (!scriptOut && !FitsType(At(index), declared[index])) {
            wrongArgument = m_parameters.cArgs - 1 - index;
            return DISP_E_TYPEMISMATCH;
        }
    }
    return S_OK;
}

std::wstring CArguments::Text(UINT index) const
{
    return TextOf(At(index).bstrVal);
}

void CArguments::SetNumber(UINT index, long value) const
{
    if (IsVariantReference(Raw(index))) {
        VARIANT& element = At(index);
        VariantClear(&element);
        element.vt = VT_I4;
        element.lVal = value;
    } else {
        *Raw(index).plVal = value;
    }
}

std::wstring CArguments::LeadingText() const
{
    return m_parameters.cArgs > 0 && At(0).vt == VT_BSTR ? Text(0) : std::wstring();
}

std::vector<std::wstring> CArguments::Describe() const
{
    std::vector<std::wstring> texts;
    for (UINT index = 0; index < m_parameters.cArgs; ++index) {
        texts.push_back((IsVariantReference(Raw(index)) ? L"*" : L"") + DescribeValue(At(index)));
    }
    return texts;
}

std::wstring DescribeValue(const VARIANT& value)
{
    switch (value.vt) {
        case VT_EMPTY:
            return L"EMPTY";
        case VT_BSTR:
            return L"BSTR=" + TextOf(value.bstrVal);
        case VT_I4:
            return L"I4=" + std::to_wstring(value.lVal);
        case VT_BOOL:
            return L"BOOL=" + std::to_wstring(value.boolVal);
        case VT_BYREF | VT_I4:
            return L"I4&=" + std::to_wstring(*value.plVal);
        case VT_ARRAY | VT_BSTR:
        case VT_ARRAY | VT_VARIANT:
        case VT_ARRAY | VT_I4:
            return DescribeArray(value);
        default:
            return L"VT" + std::to_wstring(value.vt);
    }
}
