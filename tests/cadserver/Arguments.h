#pragma once

#include <windows.h>

#include <comdef.h>

#include <span>
#include <string>
#include <vector>

enum class Parameter
{
    text,      // BSTR
    number,    // I4
    flag,      // BOOL, only VARIANT_TRUE or VARIANT_FALSE
    numberOut  // I4 by reference
};

// The arguments of an automation call, indexed from 0 in the order of their declaration. References to
// variants, which script languages pass for variables, are dereferenced.
class CArguments
{
public:
    explicit CArguments(const DISPPARAMS& parameters) : m_parameters(parameters) {}

    // Returns S_OK if the arguments match the declaration, otherwise the automation error. For a wrong type,
    // sets wrongArgument to the argument's index in DISPPARAMS::rgvarg.
    HRESULT Check(std::span<const Parameter> declared, UINT& wrongArgument) const;

    // The values. Call only after a successful Check.
    [[nodiscard]] std::wstring Text(UINT index) const;
    [[nodiscard]] long Number(UINT index) const { return At(index).lVal; }
    [[nodiscard]] bool Flag(UINT index) const { return At(index).boolVal != VARIANT_FALSE; }
    void SetNumber(UINT index, long value) const;

    // The first argument if it is a text, otherwise an empty text. May be called before Check.
    [[nodiscard]] std::wstring LeadingText() const;

    // The arguments in the format of the call log.
    [[nodiscard]] std::vector<std::wstring> Describe() const;

private:
    [[nodiscard]] VARIANT& Raw(UINT index) const
    {
        return m_parameters.rgvarg[m_parameters.cArgs - 1 - index];
    }
    [[nodiscard]] VARIANT& At(UINT index) const;

    const DISPPARAMS& m_parameters;
};

// A value in the format of the call log, such as BSTR=..., I4=..., BSTR[2]=a|b.
std::wstring DescribeValue(const VARIANT& value);
