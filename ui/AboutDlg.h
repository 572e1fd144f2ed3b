#pragma once

#include "framework/Dialog.h"
#include "resources/resource.h"

// The about box.
class CAboutDlg : public CDialog
{
public:
    explicit CAboutDlg(CWnd* owner) : CDialog(IDD_ABOUT, owner) {}
};
