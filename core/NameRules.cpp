#include "core/NameRules.h"

#include <algorithm>
#include <array>
#include <utility>

#include "core/TextTools.h"

namespace {

// The length of "sldprt", "sldasm" and "slddrw". The dot is not compared: "ABCsldprt" gets nothing appended.
constexpr std::size_t kComparedCharacters = 6;

// The extension of every edited file name, even of an assembly. Kept: names in use were made this way.
constexpr std::wstring_view kEditedExtension = L"sldprt";

std::wstring_view LastCharacters(std::wstring_view name)
{
    return name.substr(name.size() - std::min(name.size(), kComparedCharacters));
}

// A set of ASCII characters.
class CCharacterSet
{
public:
    explicit constexpr CCharacterSet(std::wstring_view characters)
    {
        for (const wchar_t character : characters) {
            m_has[static_cast<std::size_t>(character)] = true;
        }
    }
    [[nodiscard]] constexpr bool Has(wchar_t character) const
    {
        const auto number = static_cast<std::size_t>(character);
        return number < m_has.size() && m_has[number];
    }

private:
    std::array<bool, 128> m_has{};
};

constexpr CCharacterSet kForbiddenInFileNames(L"|/\\*:\"?<>;=");
constexpr CCharacterSet kForbiddenInFeatureNames(L"/@;=");

int PutUnderscores(std::wstring& name, const CCharacterSet& forbidden)
{
    int count = 0;
    for (wchar_t& character : name) {
        if (forbidden.Has(character)) {
            character = L'_';
            ++count;
        }
    }
    return count;
}

void CollapseDots(std::wstring& name)
{
    const auto end =
        std::unique(name.begin(), name.end(), [](wchar_t a, wchar_t b) { return a == L'.' && b == L'.'; });
    name.erase(end, name.end());
}

}  // namespace

bool EnsureExtension(std::wstring& name, std::wstring_view extension, NameComparison equal)
{
    if (const std::wstring_view trimmed = TrimView(name); trimmed.size() < name.size()) {
        name = std::wstring(trimmed);
    }
    if (name.empty() || extension.empty()) {
        return false;
    }
    if (!equal(LastCharacters(name), extension)) {
        name.append(L".").append(extension);
    }
    return true;
}

int SanitizeFileName(std::wstring& name)
{
    const int count = PutUnderscores(name, kForbiddenInFileNames);
    CollapseDots(name);
    return count;
}

int SanitizeFeatureName(std::wstring& name)
{
    return PutUnderscores(name, kForbiddenInFeatureNames);
}

std::optional<EditedName> EditedFileName(std::wstring text, NameComparison equal)
{
    if (!EnsureExtension(text, kEditedExtension, equal)) {
        return std::nullopt;
    }
    const bool cleaned = SanitizeFileName(text) > 0;
    return EditedName{std::move(text), cleaned};
}
