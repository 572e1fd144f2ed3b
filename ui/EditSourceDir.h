#pragma once

#include <string>

#include "framework/Controls.h"

// The main dialog's source-folder edit: Enter and Escape stay in it, so that neither presses the default
// button or closes the dialog.
class CEditSourceDir : public CEdit
{
public:
    bool PreTranslateMessage(MSG& message) override;

protected:
    [[nodiscard]] const MessageMap* GetMessageMap() const override;
    [[nodiscard]] std::wstring TextToPaste(std::wstring text) const override;

private:
    LRESULT OnGetDlgCode(WPARAM wParam, LPARAM lParam);
};
