// The Custom Page dialog: the page size of one document that is not one of the printer's labels.
#pragma once

#include <windows.h>

#include "settings/driver_devmode.h"

namespace r5lqz {

// Shows the dialog, modal over `owner`. On OK `working` has the custom page as its paper; otherwise it is as it was.
void EditCustomPage(HWND owner, HANDLE printer, DriverDevMode& working);

}  // namespace r5lqz
