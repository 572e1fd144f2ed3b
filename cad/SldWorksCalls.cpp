#include "cad/SldWorksCalls.h"

namespace {

constexpr DISPID kApplicationExit = 6;
constexpr DISPID kApplicationCloseDocument = 7;
constexpr DISPID kApplicationDateCode = 11;
constexpr DISPID kApplicationDocumentVisibility = 24;
constexpr DISPID kApplicationOpenDocument = 99;

constexpr DISPID kDocumentMethod17 = 17;
constexpr DISPID kDocumentConfigurationCount = 0x101B3;
constexpr DISPID kDocumentConfigurationNames = 0x101B4;
constexpr DISPID kDocumentSave = 0x101E3;
constexpr DISPID kDocumentConfigurationByName = 0x10200;

constexpr DISPID kConfigurationAlternativeBomName = 5;
constexpr DISPID kConfigurationUseAlternativeBomName = 6;

}  // namespace

void CSldWorksConfiguration::PutAlternativeBomName(const std::wstring& name)
{
    InvokeHelper(kConfigurationAlternativeBomName, DISPATCH_PROPERTYPUT, name);
}

void CSldWorksConfiguration::PutUseAlternativeBomName(bool use)
{
    InvokeHelper(kConfigurationUseAlternativeBomName, DISPATCH_PROPERTYPUT, use);
}

void CSldWorksDocument::CallMethod17()
{
    InvokeHelper(kDocumentMethod17, DISPATCH_METHOD);
}

long CSldWorksDocument::GetConfigurationCount()
{
    return InvokeHelper<long>(kDocumentConfigurationCount, DISPATCH_METHOD);
}

_variant_t CSldWorksDocument::GetConfigurationNames()
{
    return InvokeHelper<_variant_t>(kDocumentConfigurationNames, DISPATCH_METHOD);
}

CSldWorksConfiguration CSldWorksDocument::GetConfiguration(const std::wstring& name)
{
    return CSldWorksConfiguration(
        InvokeHelper<IDispatchPtr>(kDocumentConfigurationByName, DISPATCH_METHOD, name).Detach());
}

// The result is not converted: a conversion could fail, or call the server for an object's default value.
std::optional<long> CSldWorksDocument::Save(bool silent)
{
    const _variant_t result = InvokeHelper<_variant_t>(kDocumentSave, DISPATCH_METHOD, silent);
    return result.vt == VT_I4 ? std::optional<long>(result.lVal) : std::nullopt;
}

void CSldWorksApplication::Exit()
{
    InvokeHelper(kApplicationExit, DISPATCH_METHOD);
}

void CSldWorksApplication::CloseDocument(const std::wstring& path)
{
    InvokeHelper(kApplicationCloseDocument, DISPATCH_METHOD, path);
}

long CSldWorksApplication::GetDateCode()
{
    return InvokeHelper<long>(kApplicationDateCode, DISPATCH_METHOD);
}

void CSldWorksApplication::SetDocumentVisibility(bool visible, long type)
{
    InvokeHelper(kApplicationDocumentVisibility, DISPATCH_METHOD, visible, type);
}

CSldWorksDocument CSldWorksApplication::OpenDocument(const std::wstring& path, long type, bool readOnly,
                                                     bool viewOnly, bool silent, long& errorCode)
{
    return CSldWorksDocument(InvokeHelper<IDispatchPtr>(kApplicationOpenDocument, DISPATCH_METHOD, path, type,
                                                        readOnly, viewOnly, silent, &errorCode)
                                 .Detach());
}
