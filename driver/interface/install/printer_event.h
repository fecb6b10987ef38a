// What a printer of this driver is given when it is created, and the printer data that other units ask for.
#pragma once

#include <windows.h>

namespace r5lqz {

// The option "bufferPrintJob" as it is stored; 1, with the reason traced, when it is missing or no number.
DWORD ReadBufferPrintJob(HANDLE printer);

// Stores the option "bufferPrintJob" (1 or 0) through a handle of its own, under the spooler's identity; the client's
// is back on return. TRUE when it was stored; otherwise the reason is traced.
BOOL SetBufferPrintJob(HANDLE printer, DWORD value);

}  // namespace r5lqz
