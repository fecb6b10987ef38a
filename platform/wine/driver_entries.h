// The entry points of a loaded driver module, for the calls that this platform's spooler does not pass on.
#pragma once

#include <windows.h>

#include "base/printer_interface.h"

namespace platform {

/// All of them, as the module exports them; borrowed from the module, which must stay loaded.
struct DriverEntries {
  decltype(&::DrvConvertDevMode) ConvertDevMode = nullptr;
  decltype(&::DrvDocumentPropertySheets) DocumentPropertySheets = nullptr;
  decltype(&::DrvDevicePropertySheets) DevicePropertySheets = nullptr;
  decltype(&::DevQueryPrintEx) QueryPrintEx = nullptr;
  decltype(&::DrvDocumentEvent) DocumentEvent = nullptr;
  decltype(&::DrvDeviceCapabilities) DeviceCapabilities = nullptr;
  decltype(&::DrvQueryColorProfile) QueryColorProfile = nullptr;
  decltype(&::DrvPrinterEvent) PrinterEvent = nullptr;
  decltype(&::DrvDriverEvent) DriverEvent = nullptr;
};

/// Fills `entries` from the module's exports; the answer is the name of the first that is missing, or none.
const char* FindDriverEntries(HMODULE module, DriverEntries& entries);

}  // namespace platform
