#include "driver_entries.h"

namespace platform {
namespace {

template <class Function>
bool Find(HMODULE module, const char* name, Function& function) {
  function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
  return function != nullptr;
}

}  // namespace

const char* FindDriverEntries(HMODULE module, DriverEntries& entries) {
  if (!Find(module, "DrvConvertDevMode", entries.ConvertDevMode)) return "DrvConvertDevMode";
  if (!Find(module, "DrvDocumentPropertySheets", entries.DocumentPropertySheets)) return "DrvDocumentPropertySheets";
  if (!Find(module, "DrvDevicePropertySheets", entries.DevicePropertySheets)) return "DrvDevicePropertySheets";
  if (!Find(module, "DevQueryPrintEx", entries.QueryPrintEx)) return "DevQueryPrintEx";
  if (!Find(module, "DrvDocumentEvent", entries.DocumentEvent)) return "DrvDocumentEvent";
  if (!Find(module, "DrvDeviceCapabilities", entries.DeviceCapabilities)) return "DrvDeviceCapabilities";
  if (!Find(module, "DrvQueryColorProfile", entries.QueryColorProfile)) return "DrvQueryColorProfile";
  if (!Find(module, "DrvPrinterEvent", entries.PrinterEvent)) return "DrvPrinterEvent";
  if (!Find(module, "DrvDriverEvent", entries.DriverEvent)) return "DrvDriverEvent";
  return nullptr;
}

}  // namespace platform
