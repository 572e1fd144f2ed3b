#include "tests/cadserver/Application.h"

#include "tests/cadserver/Document.h"
#include "tests/support/TextFile.h"

namespace {

constexpr DISPID kEnd = 6;
constexpr DISPID kCloseDocument = 7;
constexpr DISPID kDateCode = 11;
constexpr DISPID kSetDocumentVisible = 24;
constexpr DISPID kOpenDocument = 99;
constexpr DISPID kOpenNames = 1001;

constexpr UINT kErrorCode = 5;  // index of the error code argument of OpenDocument

constexpr Parameter kCloseParameters[] = {Parameter::text};
constexpr Parameter kVisibleParameters[] = {Parameter::flag, Parameter::number};
constexpr Parameter kOpenParameters[] = {Parameter::text, Parameter::number, Parameter::flag,
                                         Parameter::flag, Parameter::flag,   Parameter::numberOut};

constexpr Operation kOperations[] = {
    {kEnd, DISPATCH_METHOD, L"EndApplication", {}},
    {kCloseDocument, DISPATCH_METHOD, L"CloseDocument", kCloseParameters},
    {kDateCode, DISPATCH_METHOD, L"DateCode", {}},
    {kSetDocumentVisible, DISPATCH_METHOD, L"SetDocumentVisible", kVisibleParameters},
    {kOpenDocument, DISPATCH_METHOD, L"OpenDocument", kOpenParameters},
    {kOpenNames, DISPATCH_METHOD, L"OpenDocumentNames", {}, true},
};

}  // namespace

CApplication::CApplication(CSession& session) : CAutomationObject(session) {}

std::span<const Operation> CApplication::Operations() const
{
    return kOperations;
}

std::wstring CApplication::FileOf(const CArguments& arguments) const
{
    return FileNameOf(arguments.LeadingText());
}

Outcome CApplication::Perform(DISPID dispid, const CArguments& arguments)
{
    switch (dispid) {
        case kEnd:
            Session().RequestEnd(L"asked");
            return {};
        case kCloseDocument:
            return {S_OK, {}, Session().ClosePartAt(arguments.Text(0)) ? L"ok" : L"not open"};
        case kDateCode:
            return {S_OK, _variant_t(Session().DateCode(), VT_I4), {}};
        case kSetDocumentVisible:
            return {};  // there are no windows; the call is only logged
        case kOpenDocument:
            return OpenDocument(arguments);
        case kOpenNames:
            return {S_OK, _variant_t(Session().OpenNames().c_str()), {}};
        default:
            return {DISP_E_MEMBERNOTFOUND, {}, {}};
    }
}

Outcome CApplication::OpenDocument(const CArguments& arguments)
{
    const std::wstring path = arguments.Text(0);
    const OpenResult opening = Session().Script().Open(FileNameOf(path));
    long errorCode = opening.errorCode;
    OpenPartPointer part;
    if (opening.withDocument) {
        part = Session().OpenPartAt(path, errorCode);
    }
    arguments.SetNumber(kErrorCode, errorCode);
    if (part == nullptr) {
        return {S_OK, _variant_t(static_cast<IDispatch*>(nullptr), false), L"null"};
    }
    return {S_OK, _variant_t(new CDocument(Session(), part), false), L"document " + part->file};
}
