#pragma once

#include <windows.h>

#include <string>

#include "framework/Exception.h"

// An automation call that failed with a status code and no report of the server's own.
class COleException : public CException
{
public:
    HRESULT m_sc = S_OK;  // the status code

    COleException() = default;
    explicit COleException(HRESULT sc);

    // The system's text for the status code; the code in hexadecimal digits where the system has none.
    [[nodiscard]] std::wstring GetErrorMessage() const override;
};

// An automation call that the server answered with an exception: its own report of what went wrong. Each
// text may be empty.
class COleDispatchException : public CException
{
public:
    WORD m_wCode = 0;               // the server's own error number; 0 when it gave m_scError instead
    std::wstring m_strSource;       // the program that failed
    std::wstring m_strDescription;  // what went wrong, in the server's words
    std::wstring m_strHelpFile;     // full path of a help file
    DWORD m_dwHelpContext = 0;      // topic within the help file
    SCODE m_scError = S_OK;         // the server's status code; 0 when it gave m_wCode instead

    // The server's description; without one, the system's text for the status code.
    [[nodiscard]] std::wstring GetErrorMessage() const override;
};
