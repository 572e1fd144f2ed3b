#include "tests/selfcheck/Guide.h"

#include <array>
#include <cstdio>

std::string AskForText(const std::string& doThis)
{
    std::printf("\n%s > ", doThis.c_str());
    std::array<char, 1024> line{};
    if (std::fgets(line.data(), static_cast<int>(line.size()), stdin) == nullptr) {
        return {};
    }
    const std::string text = line.data();
    return text.substr(0, text.find_first_of("\r\n"));
}

Answer Ask(const std::string& doThis, const std::string& question)
{
    const std::string answer = AskForText(doThis + "\n" + question + " y, n, or Enter to leave it out");
    return answer == "y" ? Answer::yes : answer == "n" ? Answer::no : Answer::leaveOut;
}
