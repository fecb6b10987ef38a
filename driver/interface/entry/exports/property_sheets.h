// The two property sheets: which tabs they have, and how the common property sheet's questions are answered.
#pragma once

#include "base/printer_interface.h"

namespace r5lqz {

// Answers the common property sheet for the printing-preferences sheet, by info.Reason; `param` is what that reason
// brings. 1: handled; 0: a tab could not be created; -1: no header, an unknown reason, or no context to work in.
LONG AnswerDocumentSheet(PROPSHEETUI_INFO& info, LPARAM param);

}  // namespace r5lqz
