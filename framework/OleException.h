#pragma once

#include <windows.h>

#include <string>

#include "framework/Exception.h"

// An automation call that failed without a report from the server.
class COleException : public CException
{
public:
    HRESULT m_sc = S_OK;

    COleException() = default;
    explicit COleException(HRESULT sc);

    // The system's text for the status code, or the code in hexadecimal when the system has none.
    [[nodiscard]] std::wstring GetErrorMessage() const override;
};

// An automation call that failed with the server's own report (EXCEPINFO). Each text may be empty.
class COleDispatchException : public CException
{
public:
    WORD m_code = 0;             // the server's error number; 0 when m_sc is set instead
    std::wstring m_source;       // the program that failed
    std::wstring m_description;  // what went wrong, in the server's words
    std::wstring m_helpFile;     // full path
    DWORD m_helpContext = 0;     // topic within the help file
    SCODE m_sc = S_OK;           // the status code; 0 when m_code is set instead

    // The server's description or, when it is empty, the text that COleException gives for m_sc, or for
    // DISP_E_EXCEPTION when m_sc is 0.
    [[nodiscard]] std::wstring GetErrorMessage() const override;
};
