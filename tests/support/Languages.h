#pragma once

#include <gtest/gtest.h>

#include "tests/support/TestScopes.h"
#include "tests/support/WindowScopes.h"

// A test that runs once in each language, with that language's resource library. The parameter is the
// language (non-zero: German); to be instantiated by IN_BOTH_LANGUAGES.
class LanguageTest : public testing::TestWithParam<int>
{
protected:
    [[nodiscard]] static std::wstring In(const wchar_t* german, const wchar_t* english)
    {
        return GetParam() != 0 ? german : english;
    }

    const CLanguageScope m_language{GetParam()};
    const CResourceScope m_resources{GetParam() != 0 ? kGermanLibrary : kEnglishLibrary};
};

#define IN_BOTH_LANGUAGES(suite)                                                                 \
    INSTANTIATE_TEST_SUITE_P(Languages, suite, testing::Values(1, 0), [](const auto& language) { \
        return language.param != 0 ? "German" : "English";                                       \
    })
