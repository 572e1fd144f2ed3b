#pragma once

#include <string>

enum class Language
{
    english,
    german
};

// The language flag of the process: non-zero is German, zero is English. The application object sets it once
// at start; the language of a user text is chosen when the text is shown.
inline int g_nLanguage = 1;

[[nodiscard]] constexpr Language LanguageOf(int flag)
{
    return flag != 0 ? Language::german : Language::english;
}

// A fixed user text in both languages, written beside the code that shows it.
struct Text
{
    const wchar_t* german;
    const wchar_t* english;

    [[nodiscard]] std::wstring In(Language language) const
    {
        return language == Language::german ? german : english;
    }

    // The text in the language of the process.
    [[nodiscard]] std::wstring Current() const { return In(LanguageOf(g_nLanguage)); }
};
