#include "core/TextTools.h"
#include "tests/fuzz/FuzzInput.h"

namespace {

bool IsWhiteSpace(wchar_t character)
{
    const auto code = static_cast<unsigned>(character);
    return (code >= 0x09 && code <= 0x0D) || code == 0x20 || code == 0x85 || code == 0xA0 || code == 0x1680 ||
           (code >= 0x2000 && code <= 0x200A) || code == 0x2028 || code == 0x2029 || code == 0x202F ||
           code == 0x205F || code == 0x3000;
}

std::wstring PlainTrim(std::wstring text)
{
    while (!text.empty() && IsWhiteSpace(text.front())) {
        text.erase(0, 1);
    }
    while (!text.empty() && IsWhiteSpace(text.back())) {
        text.pop_back();
    }
    return text;
}

int PlainReplace(std::wstring& text, const std::wstring& what, const std::wstring& by)
{
    std::wstring result;
    int count = 0;
    for (std::size_t at = 0; at < text.size();) {
        if (!what.empty() && text.compare(at, what.size(), what) == 0) {
            result += by;
            at += what.size();
            ++count;
        } else {
            result += text[at++];
        }
    }
    text = result;
    return count;
}

void CheckTrim(const std::wstring& text)
{
    const std::wstring trimmed = Trim(text);
    Require(trimmed == PlainTrim(text), "trimming removes the white space at both ends");
    Require(Trim(trimmed) == trimmed, "trimming again changes nothing");
}

void CheckCase(const std::wstring& left, const std::wstring& right)
{
    Require(EqualIgnoringCase(left, PlainUpper(left)),
            "a text equals its upper-case form when case is ignored");
    Require(EqualIgnoringCase(left, right) == (PlainUpper(left) == PlainUpper(right)),
            "texts are equal ignoring case if their upper-case forms are equal");
}

void CheckReplace(const std::wstring& text, const std::wstring& what, const std::wstring& by)
{
    std::wstring replaced = text;
    std::wstring plain = text;
    const int count = ReplaceAll(replaced, what, by);
    Require(count == PlainReplace(plain, what, by), "every occurrence is counted");
    Require(replaced == plain, "every occurrence is replaced, left to right and without overlap");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    CFuzzInput input(data, size);
    const std::wstring what = input.Field();
    const std::wstring by = input.Field();
    const std::wstring text = input.Rest();
    CheckTrim(text);
    CheckCase(text, what);
    CheckCase(by, what);
    CheckReplace(text, what, by);
    return 0;
}
