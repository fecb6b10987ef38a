// The printer form by which settings records name a custom size.
#pragma once

#include <windows.h>

namespace r5lqz {

// Registers the form "Custom" with the spooler, once per printer: printer data remembers it. A handle that may not
// write leaves it for the next time. Always TRUE.
BOOL AddPrinterForms(HANDLE printer);

}  // namespace r5lqz
