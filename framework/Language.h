#pragma once

#include <string>

// The user-interface language of the process: non-zero is German, zero is English. The application object
// sets it once at start; every user text is chosen by it at the moment the text is shown.
inline int g_nLanguage = 1;

// A fixed user text in both languages, written beside the code that shows it.
struct Text
{
    const wchar_t* german;
    const wchar_t* english;

    // The text in the given language (non-zero: German).
    [[nodiscard]] std::wstring In(int language) const { return language != 0 ? german : english; }

    // The text in the language of the process.
    [[nodiscard]] std::wstring Current() const { return In(g_nLanguage); }
};
