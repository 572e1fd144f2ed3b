#include "platform/TemplateHistory.h"

#include <algorithm>
#include <utility>

#include "platform/Registry.h"

namespace {

// The number of characters that a user can type into an edit control ("EM_SETLIMITTEXT message"). Only
// another program can have written a longer text.
constexpr std::size_t kLongestTemplate = 30'000;

std::wstring HistoryKey()
{
    return std::wstring(kProductKey) + L"\\Tools\\Talvenor\\Template History";
}

// `place` counts from 1, the newest.
std::wstring ValueName(int column, std::size_t place)
{
    return L"Column " + std::to_wstring(column) + L" Template " + std::to_wstring(place);
}

bool IsTemplate(const std::wstring& text)
{
    const auto isControl = [](wchar_t character) { return character < L' '; };
    return !text.empty() && text.size() <= kLongestTemplate && std::ranges::none_of(text, isControl);
}

}  // namespace

std::vector<std::wstring> ReadTemplateHistory(int column)
{
    std::vector<std::wstring> templates;
    for (std::size_t place = 1; place <= kTemplateHistorySize; ++place) {
        std::wstring text;
        if (CRegistry(HKEY_CURRENT_USER).ReadString(HistoryKey(), ValueName(column, place), text) &&
            IsTemplate(text) && std::ranges::find(templates, text) == templates.end()) {
            templates.push_back(std::move(text));
        }
    }
    return templates;
}

void AddToTemplateHistory(int column, const std::wstring& text)
{
    if (!IsTemplate(text)) {
        return;
    }
    std::vector<std::wstring> templates = ReadTemplateHistory(column);
    std::erase(templates, text);
    templates.insert(templates.begin(), text);
    templates.resize(std::min(templates.size(), kTemplateHistorySize));
    std::size_t place = 0;
    for (const std::wstring& each : templates) {
        static_cast<void>(
            CRegistry(HKEY_CURRENT_USER).WriteString(HistoryKey(), ValueName(column, ++place), each));
    }
}
