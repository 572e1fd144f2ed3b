#pragma once

#include "core/ConversionTable.h"

// The main dialog's list: the conversion table in the user's hands.
class CConvList : public CConversionTable
{
protected:
    [[nodiscard]] const MessageMap* GetMessageMap() const override;

private:
    LRESULT OnEndLabelEditNotify(NMHDR& header);
};
