#pragma once

#include <string>

#include "framework/DataExchange.h"
#include "framework/Wnd.h"

// The functions that a dialog's DoDataExchange calls.

// Binds the object to the control at the first exchange.
void DDX_Control(CDataExchange& exchange, int id, CWnd& control);

// Exchanges a control's text. To avoid flicker, sets the control's text only if it differs.
void DDX_Text(CDataExchange& exchange, int id, std::wstring& text);
// The same for a bound control, which needs no lookup in the dialog.
void DDX_Text(CDataExchange& exchange, const CWnd& control, std::wstring& text);
