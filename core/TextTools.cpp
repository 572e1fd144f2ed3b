#include "core/TextTools.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::wstring_view kWhiteSpace =
    L"\t\n\v\f\r \u0085\u00A0\u1680\u2000\u2001\u2002\u2003\u2004\u2005\u2006\u2007\u2008\u2009\u200A"
    L"\u2028\u2029\u202F\u205F\u3000";

wchar_t UpperLetter(wchar_t character)
{
    return character >= L'a' && character <= L'z' ? static_cast<wchar_t>(character - L'a' + L'A') : character;
}

}  // namespace

std::wstring_view TrimView(std::wstring_view text)
{
    const std::size_t first = text.find_first_not_of(kWhiteSpace);
    if (first == std::wstring_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}

std::wstring Trim(std::wstring_view text)
{
    return std::wstring(TrimView(text));
}

bool EqualIgnoringCase(std::wstring_view left, std::wstring_view right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](wchar_t a, wchar_t b) { return UpperLetter(a) == UpperLetter(b); });
}

int ReplaceAll(std::wstring& text, std::wstring_view what, std::wstring_view by)
{
    if (what.empty()) {
        return 0;
    }
    std::size_t at = text.find(what);
    if (at != std::wstring::npos && text.find(what, at + what.size()) == std::wstring::npos) {
        text.replace(at, what.size(), by);  // the usual case, without a second text
        return 1;
    }
    std::wstring replaced;
    std::size_t done = 0;
    int count = 0;
    for (; at != std::wstring::npos; at = text.find(what, done)) {
        replaced.append(text, done, at - done).append(by);
        done = at + what.size();
        ++count;
    }
    if (count > 0) {
        replaced.append(text, done);
        text = std::move(replaced);
    }
    return count;
}
