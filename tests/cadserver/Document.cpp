#include "tests/cadserver/Document.h"

#include <optional>
#include <utility>

#include "tests/cadserver/Configuration.h"

namespace {

constexpr long kSaved = 0;
constexpr long kNotSaved = 1;

constexpr Parameter kSaveParameters[] = {Parameter::flag};
constexpr Parameter kByNameParameters[] = {Parameter::text};

constexpr Operation kOperations[] = {
    {automation::kCallMethod17, DISPATCH_METHOD, {}},
    {automation::kGetConfigurationCount, DISPATCH_METHOD, {}},
    {automation::kGetConfigurationNames, DISPATCH_METHOD, {}},
    {automation::kSave, DISPATCH_METHOD, kSaveParameters},
    {automation::kGetConfiguration, DISPATCH_METHOD, kByNameParameters},
};

// A one-dimensional array with the lower bound `first`. fill(index, element) sets each element; index starts
// at 0.
template <class Element, class Fill>
_variant_t MakeArray(VARTYPE type, LONG first, size_t count, Fill fill)
{
    SAFEARRAY* array = SafeArrayCreateVector(type, first, static_cast<ULONG>(count));
    if (array == nullptr) {
        throw std::bad_alloc();
    }
    _variant_t value;
    value.vt = static_cast<VARTYPE>(VT_ARRAY | type);
    value.parray = array;
    for (size_t index = 0; index < count; ++index) {
        LONG position = first + static_cast<LONG>(index);
        void* element = nullptr;
        SafeArrayPtrOfIndex(array, &position, &element);
        fill(index, *static_cast<Element*>(element));
    }
    return value;
}

BSTR Allocate(const std::wstring& text)
{
    return SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
}

_variant_t TextArray(const std::vector<std::wstring>& names, LONG first)
{
    return MakeArray<BSTR>(VT_BSTR, first, names.size(),
                           [&](size_t index, BSTR& element) { element = Allocate(names[index]); });
}

_variant_t VariantArray(const std::vector<std::wstring>& names)
{
    return MakeArray<VARIANT>(VT_VARIANT, 0, names.size(), [&](size_t index, VARIANT& element) {
        element.vt = VT_BSTR;
        element.bstrVal = Allocate(names[index]);
    });
}

_variant_t NumberArray(size_t count)
{
    return MakeArray<LONG>(VT_I4, 0, count,
                           [](size_t index, LONG& element) { element = static_cast<LONG>(index) + 1; });
}

}  // namespace

CDocument::CDocument(CSession& session, OpenPartPointer part)
    : CAutomationObject(session), m_part(std::move(part))
{
}

std::span<const Operation> CDocument::Operations() const
{
    return kOperations;
}

std::wstring CDocument::FileOf(const CArguments& /*arguments*/) const
{
    return m_part->file;
}

Outcome CDocument::Perform(DISPID dispid, const CArguments& arguments)
{
    if (!m_part->open) {
        return {RPC_E_DISCONNECTED, {}, {}};
    }
    switch (dispid) {
        case automation::kCallMethod17:
            return {};
        case automation::kGetConfigurationCount:
            return {S_OK, _variant_t(Count(), VT_I4), {}};
        case automation::kGetConfigurationNames: {
            const _variant_t names = Names();
            return {S_OK, names, DescribeValue(names)};
        }
        case automation::kSave:
            return Save();
        case automation::kGetConfiguration:
            return ConfigurationByName(arguments.Text(0));
        default:
            return {DISP_E_MEMBERNOTFOUND, {}, {}};
    }
}

long CDocument::Count() const
{
    return Session().Script().Count(m_part->file).value_or(static_cast<long>(m_part->configurations.size()));
}

_variant_t CDocument::Names() const
{
    std::vector<std::wstring> names;
    for (const PartConfiguration& configuration : m_part->configurations) {
        names.push_back(configuration.name);
    }
    const CScript& script = Session().Script();
    names.resize(std::min(names.size(), script.NamesLimit(m_part->file).value_or(names.size())));
    switch (script.Names(m_part->file)) {
        case NamesKind::variants:
            return VariantArray(names);
        case NamesKind::single:
            return names.empty() ? _variant_t() : _variant_t(names[0].c_str());
        case NamesKind::empty:
            return {};
        case NamesKind::integers:
            return NumberArray(names.size());
        case NamesKind::fromOne:
            return TextArray(names, 1);
        case NamesKind::texts:
            break;
    }
    return TextArray(names, 0);
}

Outcome CDocument::ConfigurationByName(const std::wstring& name)
{
    const bool missing = Session().Script().IsMissing(m_part->file, name);
    for (size_t index = 0; !missing && index < m_part->configurations.size(); ++index) {
        if (m_part->configurations[index].name == name) {
            return {S_OK, _variant_t(new CConfiguration(Session(), m_part, index), false),
                    L"configuration " + m_part->file + L"/" + name};
        }
    }
    return {S_OK, _variant_t(static_cast<IDispatch*>(nullptr), false), L"null"};
}

Outcome CDocument::Save()
{
    if (const std::optional<long> value = Session().Script().SaveValue(m_part->file)) {
        return {S_OK, _variant_t(*value, VT_I4), {}};
    }
    const HRESULT result = SaveConfigurations(m_part->path, m_part->configurations);
    return {S_OK, _variant_t(SUCCEEDED(result) ? kSaved : kNotSaved, VT_I4), {}};
}
