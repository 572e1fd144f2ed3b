#include "tests/cadserver/Application.h"

#include "tests/cadserver/Document.h"
#include "tests/cadserver/ServerWindows.h"
#include "tests/support/TextFile.h"

namespace {

constexpr UINT kErrorCode = 5;  // index of the error code argument of OpenDocument

constexpr Parameter kCloseParameters[] = {Parameter::text};
constexpr Parameter kVisibilityParameters[] = {Parameter::flag, Parameter::number};
constexpr Parameter kOpenParameters[] = {Parameter::text, Parameter::number, Parameter::flag,
                                         Parameter::flag, Parameter::flag,   Parameter::numberOut};

constexpr Operation kOperations[] = {
    {automation::kExit, DISPATCH_METHOD, {}},
    {automation::kCloseDocument, DISPATCH_METHOD, kCloseParameters},
    {automation::kGetDateCode, DISPATCH_METHOD, {}},
    {automation::kSetDocumentVisibility, DISPATCH_METHOD, kVisibilityParameters},
    {automation::kOpenDocument, DISPATCH_METHOD, kOpenParameters},
    {automation::kOpenDocumentNames, DISPATCH_METHOD, {}, true},
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
        case automation::kExit:
            if (Session().Script().PromptsInEnd()) {
                ShowPrompt();
            }
            Session().RequestEnd(L"asked");
            return {};
        case automation::kCloseDocument:
            return {S_OK, {}, Session().ClosePartAt(arguments.Text(0)) ? L"ok" : L"not open"};
        case automation::kGetDateCode:
            return {S_OK, _variant_t(Session().DateCode(), VT_I4), {}};
        case automation::kSetDocumentVisibility:
            return {};  // documents have no windows; the call is only logged
        case automation::kOpenDocument:
            return OpenDocument(arguments);
        case automation::kOpenDocumentNames:
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
