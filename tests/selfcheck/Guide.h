#pragma once

#include <string>

// Asks a person to do something or to answer. The texts shown are UTF-8.

enum class Answer
{
    yes,
    no,
    leaveOut
};

// Prints the texts and waits for y, n, or Enter, which leaves the question out. Asks again after anything
// else.
[[nodiscard]] Answer Ask(const std::string& doThis, const std::string& question);

// Prints the text and waits for a line. The line is empty if the person leaves the question out.
[[nodiscard]] std::wstring AskForText(const std::string& doThis);
