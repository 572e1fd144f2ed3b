#pragma once

#include "framework/WinApp.h"

// The application object.
class CTalvenorApp : public CWinApp
{
public:
    CTalvenorApp() : CWinApp(L"Talvenor") {}
    ~CTalvenorApp() override;

protected:
    // Sets the language, loads its resource library and runs the main dialog until it closes. Returns false,
    // as no message loop follows.
    bool InitInstance() override;

private:
    void ShowMainDialog();
};
