#pragma once

#include <string>

// Base of the framework's exceptions, which are thrown by value and caught by reference.
class CException
{
public:
    CException() = default;
    CException(const CException&) = default;
    CException& operator=(const CException&) = default;
    virtual ~CException() = default;

    // A sentence for the user, in the language of the process, without a full stop at its end.
    [[nodiscard]] virtual std::wstring GetErrorMessage() const = 0;
};
