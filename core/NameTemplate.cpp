#include "core/NameTemplate.h"

#include <initializer_list>

#include "core/NameRules.h"
#include "core/TextTools.h"

namespace {

struct FillIn
{
    std::wstring_view name;
    std::wstring_view value;
};

// Filling in this order over the whole text, values put in before included, is meant: users' templates rely
// on it.
std::wstring Fill(std::wstring_view text, std::initializer_list<FillIn> fillIns)
{
    std::size_t usualSize = text.size();  // of a text in which each fill-in stands once
    for (const FillIn& fillIn : fillIns) {
        usualSize += fillIn.value.size();
    }
    std::wstring filled;
    filled.reserve(usualSize);
    filled = text;
    for (const FillIn& fillIn : fillIns) {
        ReplaceAll(filled, fillIn.name, fillIn.value);
    }
    return filled;
}

}  // namespace

const wchar_t* DefaultTemplate(int column)
{
    return column == kColumnRenamed ? L"%5%3_%4.changed.%6" : L"Norm %1 - %2";
}

std::wstring ExpandTemplate(std::wstring_view templateText, const PartNameValues& values)
{
    return Fill(templateText, {{L"%1", values.strNumDigits},
                               {L"%3", values.strNumber},
                               {L"%4", values.strSize},
                               {L"%5", values.strPrefix},
                               {L"%6", values.strExt},
                               {L"%7", values.strExtra1},
                               {L"%8", values.strExtra2}});
}

std::wstring ExpandConfigurationName(std::wstring_view text, const PartNameValues& values,
                                     std::wstring_view configurationName)
{
    return Fill(text, {{L"%1", values.strNumDigits},
                       {L"%2", configurationName},
                       {L"%3", values.strNumber},
                       {L"%4", values.strSize},
                       {L"%7", values.strExtra1},
                       {L"%8", values.strExtra2}});
}

std::optional<std::wstring> NewFileName(std::wstring_view templateText, std::wstring_view fileName)
{
    const PartNameValues values = Diverses::SplitPartName(fileName);
    std::wstring name = ExpandTemplate(templateText, values);
    if (!EnsureExtension(name, values.strExt)) {
        return std::nullopt;
    }
    SanitizeFileName(name);
    return name;
}

std::wstring ConfigurationBomName(std::wstring_view templateText, std::wstring_view fileName,
                                  std::wstring_view configurationName)
{
    const PartNameValues values = Diverses::SplitPartName(fileName);
    return ExpandConfigurationName(ExpandTemplate(templateText, values), values, configurationName);
}
