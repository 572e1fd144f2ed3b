#include "tests/cadserver/Configuration.h"

#include <utility>

namespace {

constexpr Parameter kNameParameters[] = {Parameter::text};
constexpr Parameter kUseParameters[] = {Parameter::flag};

constexpr Operation kOperations[] = {
    {automation::kAlternativeBomName, DISPATCH_PROPERTYPUT, kNameParameters},
    {automation::kUseAlternativeBomName, DISPATCH_PROPERTYPUT, kUseParameters},
};

}  // namespace

CConfiguration::CConfiguration(CSession& session, OpenPartPointer part, size_t index)
    : CAutomationObject(session), m_part(std::move(part)), m_index(index)
{
}

std::span<const Operation> CConfiguration::Operations() const
{
    return kOperations;
}

std::wstring CConfiguration::Label() const
{
    return L"configuration " + m_part->file + L"/" + m_part->configurations[m_index].name;
}

std::wstring CConfiguration::FileOf(const CArguments& /*arguments*/) const
{
    return m_part->file;
}

Outcome CConfiguration::Perform(DISPID dispid, const CArguments& arguments)
{
    if (!m_part->open) {
        return {RPC_E_DISCONNECTED, {}, {}};
    }
    PartConfiguration& configuration = m_part->configurations[m_index];
    if (dispid == automation::kAlternativeBomName) {
        configuration.alternative = arguments.Text(0);
    } else {
        configuration.useAlternative = arguments.Flag(0);
    }
    return {};
}
