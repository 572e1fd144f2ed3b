#pragma once

#include <string>

#include "framework/DataExchange.h"
#include "framework/Wnd.h"

// Binds the object to the control at the first exchange.
void DDX_Control(CDataExchange& exchange, int id, CWnd& control);

// Moves a control's text. A text that the control already shows is not set again, so that nothing flickers.
void DDX_Text(CDataExchange& exchange, int id, std::wstring& text);
// The same for a control that is bound: it is not looked for among the dialog's controls.
void DDX_Text(CDataExchange& exchange, const CWnd& control, std::wstring& text);
