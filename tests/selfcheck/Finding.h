#pragma once

#include <functional>
#include <string>
#include <vector>

// Whether a look at the system found an expectation to be met. All texts are UTF-8.
enum class Found
{
    yes,
    no,
    notTried
};

struct Finding
{
    Found found = Found::notTried;
    std::string detail;  // what was seen, or why it was not tried
};

inline Finding Yes(std::string detail)
{
    return {Found::yes, std::move(detail)};
}
inline Finding No(std::string detail)
{
    return {Found::no, std::move(detail)};
}
inline Finding NotTried(std::string why)
{
    return {Found::notTried, std::move(why)};
}
inline Finding YesIf(bool condition, std::string detail)
{
    return {condition ? Found::yes : Found::no, std::move(detail)};
}
