#include "core/PartName.h"

#include <algorithm>
#include <array>
#include <optional>

#include "core/TextTools.h"

namespace {

constexpr std::wstring_view kFence = L"__";

// Longer prefixes come before the shorter ones that they start with.
constexpr std::array<std::wstring_view, 5> kPrefixes = {L"N_ISO_", L"N_ENISO_", L"N_EN_", L"N_", L"N"};

// The positions of the three fences ("__") that delimit the two extra fields.
struct ExtraBlock
{
    std::size_t first;
    std::size_t middle;
    std::size_t last;
};

std::wstring_view StandardPrefix(std::wstring_view fileName)
{
    for (const std::wstring_view prefix : kPrefixes) {
        if (EqualIgnoringCase(fileName.substr(0, prefix.size()), prefix)) {
            return prefix;
        }
    }
    return {};
}

std::wstring_view Extension(std::wstring_view fileName)
{
    const std::size_t dot = fileName.rfind(L'.');
    return dot == std::wstring_view::npos ? std::wstring_view() : fileName.substr(dot + 1);
}

// The text between the prefix and the last dot; empty without a dot.
std::wstring_view Core(std::wstring_view fileName, std::size_t prefixLength)
{
    const std::size_t dot = fileName.rfind(L'.');
    if (dot == std::wstring_view::npos || dot <= prefixLength) {
        return {};
    }
    return fileName.substr(prefixLength, dot - prefixLength);
}

std::wstring_view DigitsAtStart(std::wstring_view text)
{
    return text.substr(0, text.find_first_not_of(L"0123456789"));
}

std::wstring_view NumberOf(std::wstring_view core)
{
    return core.substr(0, core.find(L'_'));
}

// A name has a block only if it contains exactly three fences, counted from the left without overlap: in
// "___" the fence is the first two underscores.
std::optional<ExtraBlock> FindExtraBlock(std::wstring_view fileName)
{
    std::array<std::size_t, 3> fences{};
    std::size_t count = 0;
    for (std::size_t at = fileName.find(kFence); at != std::wstring_view::npos;
         at = fileName.find(kFence, at + kFence.size())) {
        if (count == fences.size()) {
            return std::nullopt;
        }
        fences[count++] = at;
    }
    if (count < fences.size()) {
        return std::nullopt;
    }
    return ExtraBlock{fences[0], fences[1], fences[2]};
}

std::wstring_view TextBetween(std::wstring_view fileName, std::size_t fence, std::size_t nextFence)
{
    const std::size_t begin = fence + kFence.size();
    return fileName.substr(begin, nextFence - begin);
}

std::wstring WithoutBlock(std::wstring_view fileName, const ExtraBlock& block)
{
    std::wstring text(fileName);
    text.erase(block.first, block.last + kFence.size() - block.first);
    return text;
}

// The text between the first underscore after the prefix and the last dot. `fileName` must not contain the
// extra block.
std::wstring_view SizeOf(std::wstring_view fileName, std::size_t prefixLength)
{
    fileName.remove_prefix(std::min(prefixLength, fileName.size()));
    const std::size_t underscore = fileName.find(L'_');
    if (underscore == std::wstring_view::npos) {
        return {};
    }
    fileName.remove_prefix(underscore + 1);
    const std::size_t dot = fileName.rfind(L'.');
    return dot == std::wstring_view::npos ? std::wstring_view() : fileName.substr(0, dot);
}

}  // namespace

PartNameValues Diverses::SplitPartName(std::wstring_view fileName)
{
    PartNameValues values;
    SplitPartName(fileName, values);
    return values;
}

void Diverses::SplitPartName(std::wstring_view fileName, PartNameValues& values)
{
    values.strExt = Extension(fileName);
    const std::wstring_view prefix = StandardPrefix(fileName);
    const std::wstring_view core = prefix.empty() ? std::wstring_view() : Core(fileName, prefix.size());
    values.strPrefix = prefix;
    values.strNumDigits = DigitsAtStart(core);
    values.strNumber = NumberOf(core);
    if (const std::optional<ExtraBlock> block = FindExtraBlock(fileName)) {
        values.strSize = SizeOf(WithoutBlock(fileName, *block), prefix.size());
        values.strExtra1 = TextBetween(fileName, block->first, block->middle);
        values.strExtra2 = TextBetween(fileName, block->middle, block->last);
    } else {
        values.strSize = SizeOf(fileName, prefix.size());
        values.strExtra1.clear();
        values.strExtra2.clear();
    }
}

std::wstring Diverses::LeadingDigits(std::wstring_view fileName, std::wstring_view prefix)
{
    return std::wstring(DigitsAtStart(Core(fileName, prefix.size())));
}

bool HasPartExtension(std::wstring_view fileName)
{
    constexpr std::array<std::wstring_view, 3> kExtensions{L".sldprt", L".prt", L".sldasm"};
    const std::size_t dot = fileName.rfind(L'.');
    return dot != std::wstring_view::npos &&
           std::ranges::any_of(kExtensions, [extension = fileName.substr(dot)](std::wstring_view each) {
               return EqualIgnoringCase(extension, each);
           });
}
