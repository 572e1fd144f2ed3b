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
    flag,      // BOOL, VARIANT_TRUE or VARIANT_FALSE and nothing else
    numberOut  // I4 by reference
};

// The arguments of one automation call, numbered from 0 in the order in which the operation declares them. A
// reference to a variant, as script languages pass their variables, stands for the variant.
class CArguments
{
public:
    explicit CArguments(const DISPPARAMS& parameters) : m_parameters(parameters) {}

    // S_OK when the arguments are what the operation declares, else the automation error; for a wrong type
    // the position within the call's own array is returned too.
    HRESULT Check(std::span<const Parameter> declared, UINT& wrongArgument) const;

    // The values; only after a successful check.
    [[nodiscard]] std::wstring Text(UINT index) const;
    [[nodiscard]] long Number(UINT index) const { return At(index).lVal; }
    [[nodiscard]] bool Flag(UINT index) const { return At(index).boolVal != VARIANT_FALSE; }
    void SetNumber(UINT index, long value) const;

    // The first argument if it is a text, else an empty text. Allowed before the check.
    [[nodiscard]] std::wstring LeadingText() const;

    // Each argument as it came, in the form of the call log.
    [[nodiscard]] std::vector<std::wstring> Describe() const;

private:
    [[nodiscard]] VARIANT& Raw(UINT index) const
    {
        return m_parameters.rgvarg[m_parameters.cArgs - 1 - index];
    }
    [[nodiscard]] VARIANT& At(UINT index) const;

    const DISPPARAMS& m_parameters;
};

// A value in the form of the call log, such as BSTR=..., I4=..., BSTR[2]=a|b.
std::wstring DescribeValue(const VARIANT& value);
