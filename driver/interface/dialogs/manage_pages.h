// The Manage Pages dialog: the user's hand on the printer's list of label stocks.
#pragma once

#include <windows.h>

namespace r5lqz {

// Shows the dialog, modal over `owner`. Every change is in the printer's data at once; when it returns, the label list
// may be another one. A list that cannot be read shows no dialog. Once `is_ended` is set, the printer's handle is not
// used any more.
void ManagePages(HWND owner, HANDLE printer, const bool& is_ended);

}  // namespace r5lqz
