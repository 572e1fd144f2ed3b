#include "core/NameTemplate.h"

#include <algorithm>
#include <initializer_list>

#include "core/NameRules.h"
#include "core/TextTools.h"

namespace {

struct FillIn
{
    std::wstring_view name;
    std::wstring_view value;
};

using FillIns = std::initializer_list<FillIn>;

// Whether replacing fill-ins can make new ones: a value contains "%", or the text contains "%%", as in "%%1".
bool CanMakeFillIns(std::wstring_view text, FillIns fillIns)
{
    return text.find(L"%%") != std::wstring_view::npos ||
           std::ranges::any_of(
               fillIns, [](const FillIn& each) { return each.value.find(L'%') != std::wstring_view::npos; });
}

void FillInOnePass(std::wstring& filled, std::wstring_view text, FillIns fillIns)
{
    std::size_t done = 0;
    for (std::size_t at = text.find(L'%'); at != std::wstring_view::npos; at = text.find(L'%', at + 1)) {
        const std::wstring_view name = text.substr(at, 2);
        const FillIn* fillIn = std::ranges::find(fillIns, name, &FillIn::name);
        if (fillIn != fillIns.end()) {
            filled.append(text, done, at - done).append(fillIn->value);
            done = at + name.size();
        }
    }
    filled.append(text, done);
}

// Replaces the fill-ins one after the other, each in the whole text, inserted values included. Kept: users'
// templates rely on this order. If no new fill-ins can arise, one pass gives the same result.
void Fill(std::wstring& filled, std::wstring_view text, FillIns fillIns)
{
    std::size_t usualSize = text.size();  // with each fill-in once
    for (const FillIn& fillIn : fillIns) {
        usualSize += fillIn.value.size();
    }
    filled.clear();
    filled.reserve(usualSize);
    if (!CanMakeFillIns(text, fillIns)) {
        FillInOnePass(filled, text, fillIns);
        return;
    }
    filled = text;
    for (const FillIn& fillIn : fillIns) {
        ReplaceAll(filled, fillIn.name, fillIn.value);
    }
}

}  // namespace

const wchar_t* DefaultTemplate(int column)
{
    return column == kColumnRenamed ? L"%5%3_%4.changed.%6" : L"Norm %1 - %2";
}

std::wstring ExpandTemplate(std::wstring_view templateText, const PartNameValues& values)
{
    std::wstring expanded;
    ExpandTemplate(expanded, templateText, values);
    return expanded;
}

void ExpandTemplate(std::wstring& expanded, std::wstring_view templateText, const PartNameValues& values)
{
    Fill(expanded, templateText,
         {{L"%1", values.strNumDigits},
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
    std::wstring expanded;
    Fill(expanded, text,
         {{L"%1", values.strNumDigits},
          {L"%2", configurationName},
          {L"%3", values.strNumber},
          {L"%4", values.strSize},
          {L"%7", values.strExtra1},
          {L"%8", values.strExtra2}});
    return expanded;
}

std::optional<std::wstring> NewFileName(std::wstring_view templateText, std::wstring_view fileName,
                                        NameComparison equal)
{
    const PartNameValues values = Diverses::SplitPartName(fileName);
    std::wstring name = ExpandTemplate(templateText, values);
    if (!EnsureExtension(name, values.strExt, equal)) {
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
