#include <algorithm>
#include <array>
#include <vector>

#include "core/PartName.h"
#include "tests/fuzz/FuzzInput.h"

namespace {

constexpr std::size_t kNone = std::wstring::npos;

std::wstring PlainCore(const std::wstring& name, std::size_t prefixLength)
{
    if (name.find(L'.') == kNone) {
        return {};
    }
    const std::wstring stem = name.substr(0, name.rfind(L'.'));
    return stem.size() > prefixLength ? stem.substr(prefixLength) : std::wstring();
}

std::wstring PlainDigits(const std::wstring& text)
{
    std::wstring digits;
    for (std::size_t at = 0; at < text.size() && text[at] >= L'0' && text[at] <= L'9'; ++at) {
        digits += text[at];
    }
    return digits;
}

std::wstring PlainPrefix(const std::wstring& name)
{
    const std::wstring upper = PlainUpper(name);
    if (upper.rfind(L"N_", 0) == 0) {
        for (const wchar_t* const longer : {L"N_ISO_", L"N_ENISO_", L"N_EN_"}) {
            if (upper.rfind(longer, 0) == 0) {
                return longer;
            }
        }
        return L"N_";
    }
    return upper.rfind(L'N', 0) == 0 ? L"N" : L"";
}

std::vector<std::size_t> PlainFences(const std::wstring& name)
{
    std::vector<std::size_t> fences;
    for (std::size_t at = 0; at + 1 < name.size(); ++at) {
        if (name[at] == L'_' && name[at + 1] == L'_') {
            fences.push_back(at++);
        }
    }
    return fences;
}

std::wstring PlainSize(std::wstring text, const std::vector<std::size_t>& fences, std::size_t prefixLength)
{
    if (fences.size() == 3) {
        text = text.substr(0, fences[0]) + text.substr(fences[2] + 2);
    }
    text = text.size() > prefixLength ? text.substr(prefixLength) : std::wstring();
    if (text.find(L'_') == kNone) {
        return {};
    }
    text = text.substr(text.find(L'_') + 1);
    return text.find(L'.') == kNone ? std::wstring() : text.substr(0, text.rfind(L'.'));
}

PartNameValues PlainSplit(const std::wstring& name)
{
    PartNameValues values;
    if (name.find(L'.') != kNone) {
        values.strExt = name.substr(name.rfind(L'.') + 1);
    }
    values.strPrefix = PlainPrefix(name);
    if (!values.strPrefix.empty()) {
        const std::wstring core = PlainCore(name, values.strPrefix.size());
        values.strNumDigits = PlainDigits(core);
        values.strNumber = core.substr(0, core.find(L'_'));
    }
    const std::vector<std::size_t> fences = PlainFences(name);
    values.strSize = PlainSize(name, fences, values.strPrefix.size());
    if (fences.size() == 3) {
        const std::wstring block = name.substr(fences[0] + 2, fences[2] - fences[0] - 2);
        const std::size_t middle = block.find(L"__");
        if (middle != kNone) {
            values.strExtra1 = block.substr(0, middle);
            values.strExtra2 = block.substr(middle + 2);
        }
    }
    return values;
}

void CheckSplit(const std::wstring& name, const std::wstring& prefix)
{
    Require(Diverses::SplitPartName(name) == PlainSplit(name),
            "a name is split as by the plain implementation");
    const std::wstring digits = Diverses::LeadingDigits(name, prefix);
    Require(digits == PlainDigits(PlainCore(name, prefix.size())),
            "the leading digits are those after as many characters as the prefix has");
}

std::wstring Without(std::wstring text, std::wstring_view characters)
{
    std::erase_if(text, [characters](wchar_t each) { return characters.find(each) != kNone; });
    return text;
}

// Pieces of a valid name. Underscores and the last dot separate the pieces: no piece but the prefix has an
// underscore, and the extension has no dot. Number and size are never empty; otherwise two underscores would
// meet.
PartNameValues TakePieces(CFuzzInput& input)
{
    constexpr std::array kPrefixes{L"N", L"N_", L"N_ISO_", L"N_ENISO_", L"N_EN_"};
    PartNameValues pieces;
    pieces.strPrefix = kPrefixes[input.Choice(kPrefixes.size())];
    pieces.strNumDigits = PlainDigits(input.Field());
    pieces.strNumber = pieces.strNumDigits + L"-" + Without(input.Field(), L"_");
    pieces.strSize = L"M" + Without(input.Field(), L"_");
    pieces.strExtra1 = Without(input.Field(), L"_");
    pieces.strExtra2 = Without(input.Field(), L"_");
    pieces.strExt = Without(input.Field(), L"_.");
    return pieces;
}

void CheckJoined(CFuzzInput& input)
{
    const bool withBlock = input.Choice(2) == 1;
    const bool smallPrefix = input.Choice(2) == 1;
    PartNameValues pieces = TakePieces(input);
    std::wstring prefix = pieces.strPrefix;
    if (smallPrefix) {
        std::replace(prefix.begin(), prefix.end(), L'N', L'n');
        std::replace(prefix.begin(), prefix.end(), L'I', L'i');
    }
    std::wstring name = prefix + pieces.strNumber + L"_" + pieces.strSize;
    if (withBlock) {
        name += L"__" + pieces.strExtra1 + L"__" + pieces.strExtra2 + L"__";
    } else {
        pieces.strExtra1 = pieces.strExtra2 = L"";
    }
    Require(Diverses::SplitPartName(name + L"." + pieces.strExt) == pieces,
            "splitting a name returns the pieces that it was joined from");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    CFuzzInput input(data, size);
    const std::wstring name = input.Field();
    const std::wstring prefix = input.Field();
    CheckSplit(name, prefix);
    CheckJoined(input);
    return 0;
}
