#include "core/NameTemplate.h"

#include <optional>
#include <utility>
#include <vector>

#include "core/NameRules.h"
#include "core/TextTools.h"
#include "tests/fuzz/FuzzInput.h"

namespace {

// In characters. Fill-ins inside values multiply the text. Longer texts cost time and test nothing new.
constexpr std::size_t kMaxExpansion = 10'000;

using FillIns = std::vector<std::pair<wchar_t, std::wstring>>;

// Goes through the text once per fill-in. Returns nothing if the text gets too long.
std::optional<std::wstring> PlainFill(std::wstring text, const FillIns& fillIns)
{
    for (const auto& [digit, value] : fillIns) {
        std::wstring filled;
        for (std::size_t at = 0; at < text.size(); ++at) {
            if (text[at] == L'%' && at + 1 < text.size() && text[at + 1] == digit) {
                filled += value;
                ++at;
            } else {
                filled += text[at];
            }
            if (filled.size() > kMaxExpansion) {
                return std::nullopt;
            }
        }
        text = filled;
    }
    return text;
}

std::optional<std::wstring> PlainTemplate(const std::wstring& text, const PartNameValues& values)
{
    return PlainFill(text, {{L'1', values.strNumDigits},
                            {L'3', values.strNumber},
                            {L'4', values.strSize},
                            {L'5', values.strPrefix},
                            {L'6', values.strExt},
                            {L'7', values.strExtra1},
                            {L'8', values.strExtra2}});
}

std::optional<std::wstring> PlainConfiguration(const std::wstring& text, const PartNameValues& values,
                                               const std::wstring& configuration)
{
    return PlainFill(text, {{L'1', values.strNumDigits},
                            {L'2', configuration},
                            {L'3', values.strNumber},
                            {L'4', values.strSize},
                            {L'7', values.strExtra1},
                            {L'8', values.strExtra2}});
}

PartNameValues TakeValues(CFuzzInput& input)
{
    PartNameValues values;
    for (std::wstring* const value :
         {&values.strNumDigits, &values.strNumber, &values.strSize, &values.strPrefix, &values.strExt,
          &values.strExtra1, &values.strExtra2}) {
        *value = input.Field();
    }
    return values;
}

void CheckExpansions(const std::wstring& text, const PartNameValues& values,
                     const std::wstring& configuration)
{
    if (const std::optional<std::wstring> plain = PlainTemplate(text, values)) {
        Require(ExpandTemplate(text, values) == *plain,
                "a template is expanded as by the plain implementation");
    }
    if (const std::optional<std::wstring> plain = PlainConfiguration(text, values, configuration)) {
        Require(ExpandConfigurationName(text, values, configuration) == *plain,
                "a configuration name is filled in as by the plain implementation");
    }
}

// Checks the final texts that a template makes from a part's file name.
void CheckFinalTexts(const std::wstring& text, const std::wstring& fileName,
                     const std::wstring& configuration)
{
    const PartNameValues values = Diverses::SplitPartName(fileName);
    const std::optional<std::wstring> expanded = PlainTemplate(text, values);
    if (!expanded) {
        return;
    }
    std::wstring expected = *expanded;
    const bool usable = EnsureExtension(expected, values.strExt, EqualIgnoringCase);
    SanitizeFileName(expected);
    const std::optional<std::wstring> name = NewFileName(text, fileName, EqualIgnoringCase);
    Require(name.has_value() == usable && (!usable || *name == expected),
            "a new file name is the expanded template with its extension, sanitised");
    if (const auto plain = PlainConfiguration(*expanded, values, configuration)) {
        Require(ConfigurationBomName(text, fileName, configuration) == *plain,
                "a configuration's BOM name is the expanded template with the configuration name filled in");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    CFuzzInput input(data, size);
    const std::wstring text = input.Field();
    const std::wstring configuration = input.Field();
    const std::wstring fileName = input.Field();
    const PartNameValues values = TakeValues(input);
    CheckExpansions(text, values, configuration);
    CheckFinalTexts(text, fileName, configuration);
    return 0;
}
