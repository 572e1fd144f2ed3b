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
    if (PlainUpper(lastSix) != PlainUpper(extension)) {
        name = name + L"." + extension;
    }
    return true;
}

void RequireSanitized(const std::wstring& name)
{
    Require(name.find_first_of(kNotInFileNames) == std::wstring::npos,
            "a sanitised file name contains none of the eleven characters");
    Require(name.find(L"..") == std::wstring::npos, "a sanitised file name contains no two dots in a row");
}

void CheckFileName(const std::wstring& name)
{
    std::wstring sanitized = name;
    std::wstring plain = name;
    const int count = SanitizeFileName(sanitized);
    Require(count == PlainSanitizeFileName(plain), "every replaced character of a file name is counted");
    Require(sanitized == plain, "a file name is sanitised as the plain implementation sanitises it");
    RequireSanitized(sanitized);
    std::wstring again = sanitized;
    Require(SanitizeFileName(again) == 0 && again == sanitized,
            "sanitising a file name again changes nothing");
}

void CheckFeatureName(const std::wstring& name)
{
    std::wstring sanitized = name;
    std::wstring plain = name;
    const int count = SanitizeFeatureName(sanitized);
    Require(count == PlainUnderscores(plain, kNotInFeatureNames),
            "every replaced character of a feature name is counted");
    Require(sanitized == plain, "a feature name is sanitised as the plain implementation sanitises it");
    std::wstring again = sanitized;
    Require(SanitizeFeatureName(again) == 0 && again == sanitized,
            "sanitising a feature name again changes nothing");
}

void CheckExtension(const std::wstring& name, const std::wstring& extension)
{
    std::wstring ensured = name;
    std::wstring plain = name;
    const bool usable = EnsureExtension(ensured, extension, EqualIgnoringCase);
    Require(usable == PlainEnsureExtension(plain, extension),
            "the plain implementation accepts the same names");
    Require(ensured == plain, "a name gets the same extension from the plain implementation");
    // EnsureExtension compares the last six characters of the name, so it recognises only an extension of six
    // characters. EnsureExtension also trims the name, so the extension must not end in a blank.
    if (usable && extension.size() == 6 && Trim(extension).ends_with(extension.back())) {
        std::wstring again = ensured;
        Require(EnsureExtension(again, extension, EqualIgnoringCase) && again == ensured,
                "ensuring the extension again changes nothing");
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
    // The name serves as a template here: without fill-ins, a template is the new name itself. The
    // extension comes from the part's name.
    if (const std::optional<std::wstring> made = NewFileName(name, L"Part." + extension, EqualIgnoringCase)) {
        RequireSanitized(*made);
    }
    return 0;
}
