// What the spooler says of a printer.
#pragma once

#include "base/printer_interface.h"

namespace r5lqz {

// The printer's PRINTER_INFO_2 in one GlobalAlloc block that the caller releases with GlobalFree; or none.
PRINTER_INFO_2W* MyGetPrinterInfo(HANDLE printer);

// The printer's name: a new runtime-heap text that the caller frees, or none (traced).
WCHAR* GetPrinterName(HANDLE printer);

}  // namespace r5lqz
