#pragma once

#include <string>

// What a person is asked to do or to tell. The texts shown are UTF-8.

enum class Answer
{
    yes,
    no,
    leaveOut
};

// Prints the texts and waits for y, n, or Enter, which leaves it out. Asks again after anything else.
[[nodiscard]] Answer Ask(const std::string& doThis, const std::string& question);

// Waits for a line; empty to leave it out.
[[nodiscard]] std::wstring AskForText(const std::string& doThis);
