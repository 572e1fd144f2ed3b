#include "core/NameRules.h"

#include <optional>

#include "core/NameTemplate.h"
#include "core/TextTools.h"
#include "tests/fuzz/FuzzInput.h"

namespace {

constexpr std::wstring_view kNotInFileNames = L"|/\\*:\"?<>;=";
constexpr std::wstring_view kNotInFeatureNames = L"/@;=";

int PlainUnderscores(std::wstring& name, std::wstring_view forbidden)
{
    int count = 0;
    for (const wchar_t character : forbidden) {
        for (std::size_t at = name.find(character); at != std::wstring::npos; at = name.find(character)) {
            name[at] = L'_';
            ++count;
        }
    }
    return count;
}

int PlainSanitizeFileName(std::wstring& name)
{
    const int count = PlainUnderscores(name, kNotInFileNames);
    for (std::size_t at = name.find(L".."); at != std::wstring::npos; at = name.find(L"..")) {
        name.erase(at, 1);
    }
    return count;
}

bool PlainEnsureExtension(std::wstring& name, const std::wstring& extension)
{
    name = Trim(name);
    if (name.empty() || extension.empty()) {
        return false;
    }
    const std::wstring lastSix = name.size() > 6 ? name.substr(name.size() - 6) : name;
    if (ToUpper(lastSix) != ToUpper(extension)) {
        name = name + L"." + extension;
    }
    return true;
}

void RequireCleanFileName(const std::wstring& name)
{
    Require(name.find_first_of(kNotInFileNames) == std::wstring::npos,
            "a file name that passed has none of the eleven characters");
    Require(name.find(L"..") == std::wstring::npos, "a file name that passed has no two dots in a row");
}

void CheckFileName(const std::wstring& name)
{
    std::wstring cleaned = name;
    std::wstring plain = name;
    const int count = SanitizeFileName(cleaned);
    Require(count == PlainSanitizeFileName(plain), "each replaced character of a file name is counted");
    Require(cleaned == plain, "a file name is cleaned as the plain rule does it");
    RequireCleanFileName(cleaned);
    std::wstring again = cleaned;
    Require(SanitizeFileName(again) == 0 && again == cleaned, "cleaning a file name twice changes nothing");
}

void CheckFeatureName(const std::wstring& name)
{
    std::wstring cleaned = name;
    std::wstring plain = name;
    const int count = SanitizeFeatureName(cleaned);
    Require(count == PlainUnderscores(plain, kNotInFeatureNames),
            "each replaced character of a feature name is counted");
    Require(cleaned == plain, "a feature name is cleaned as the plain rule does it");
    std::wstring again = cleaned;
    Require(SanitizeFeatureName(again) == 0 && again == cleaned,
            "cleaning a feature name twice changes nothing");
}

void CheckExtension(const std::wstring& name, const std::wstring& extension)
{
    std::wstring ensured = name;
    std::wstring plain = name;
    const bool usable = EnsureExtension(ensured, extension, EqualIgnoringCase);
    Require(usable == PlainEnsureExtension(plain, extension), "a name is usable as the plain rule has it");
    Require(ensured == plain, "a name gets its extension as the plain rule has it");
    // Other lengths than six never compare equal, and a blank at the end would be trimmed.
    if (usable && extension.size() == 6 && Trim(extension).ends_with(extension.back())) {
        std::wstring again = ensured;
        Require(EnsureExtension(again, extension, EqualIgnoringCase) && again == ensured,
                "making sure of an extension twice changes nothing");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    CFuzzInput input(data, size);
    const std::wstring extension = input.Field();
    const std::wstring name = input.Rest();
    CheckFileName(name);
    CheckFeatureName(name);
    CheckExtension(name, extension);
    // A template without fill-ins is the name itself; the part's name gives the extension.
    if (const std::optional<std::wstring> made = NewFileName(name, L"Part." + extension, EqualIgnoringCase)) {
        RequireCleanFileName(*made);
    }
    return 0;
}
