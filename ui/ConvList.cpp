#include "ui/ConvList.h"

#include <array>

const MessageMap* CConvList::GetMessageMap() const
{
    static constexpr std::array kEntries{
        OnReflectedNotify<&CConvList::OnEndLabelEditNotify>(LVN_ENDLABELEDITW),
    };
    static const MessageMap kMap{CConversionTable::GetMessageMap(), kEntries};
    return &kMap;
}

LRESULT CConvList::OnEndLabelEditNotify(NMHDR& header)
{
    const LVITEMW& item = reinterpret_cast<const NMLVDISPINFOW&>(header).item;
    return OnEndLabelEdit(item.iItem, item.iSubItem, item.pszText);
}
