#include "diag/owned.h"
#include "diag/trace.h"
#include "entry/printer_interface.h"
#include "entry/properties_context.h"
#include "settings/conversion.h"

namespace r5lqz {
namespace {

BOOL Refuse(DWORD error) {
  SetLastError(error);
  return FALSE;
}

// Whether the caller's buffer of `count` bytes holds `needed`; counts are signed, and a negative one holds nothing.
bool Holds(LONG count, DWORD needed) {
  return count >= 0 && static_cast<DWORD>(count) >= needed;
}

// The caller has chosen the output's form by its header words.
BOOL ConvertAsTheCallerChose(const DEVMODEW* in, DEVMODEW* out, LONG& count) {
  // A buffer too small for the header words has none to read.
  if (!out || !Holds(count, kFormEnd)) return Refuse(ERROR_INVALID_PARAMETER);
  const RecordForm wanted = FormOf(out);
  if (!Holds(count, wanted.total())) return Refuse(ERROR_INVALID_PARAMETER);
  if (ConvertDevMode(in, out) <= 0) {
    // Two records with nothing in common still get their version word; a refused call changes nothing.
    PutForm(out, wanted);
    return Refuse(ERROR_INVALID_PARAMETER);
  }
  count = static_cast<LONG>(wanted.total());
  return TRUE;
}

// Whether `out` holds `needed` bytes; the caller of one that does not is told how many.
bool HasRoom(const DEVMODEW* out, LONG& count, DWORD needed) {
  const bool holds = out && Holds(count, needed);
  count = static_cast<LONG>(needed);
  return holds;
}

BOOL ConvertToOlderForm(const DEVMODEW* in, DEVMODEW* out, LONG& count) {
  const LONG before_count = count;
  if (!HasRoom(out, count, kOlderForm.total())) return Refuse(ERROR_INSUFFICIENT_BUFFER);
  const RecordForm before = FormOf(out);
  PutForm(out, kOlderForm);
  if (ConvertDevMode(in, out) > 0) return TRUE;
  PutForm(out, before);
  count = before_count;
  return Refuse(ERROR_INVALID_PARAMETER);
}

BOOL GiveDefaults(WCHAR* printer_name, DEVMODEW* out, LONG& count) {
  if (!HasRoom(out, count, kRecordSize)) return Refuse(ERROR_INSUFFICIENT_BUFFER);
  HANDLE opened = nullptr;
  if (!OpenPrinterW(printer_name, &opened, nullptr)) return FALSE;
  const OwnedPrinter printer(opened);
  const GlobalBlock<PRINTER_INFO_2W> info(MyGetPrinterInfo(printer.get()));
  if (!info) return FALSE;
  return SetupDefaultDevMode(*reinterpret_cast<DriverDevMode*>(out), info->pDriverName, printer.get());
}

BOOL Convert(WCHAR* printer_name, const DEVMODEW* in, DEVMODEW* out, LONG* count, DWORD mode) {
  if (!count) return Refuse(ERROR_INVALID_PARAMETER);
  switch (mode) {
    case CDM_CONVERT:
      return ConvertAsTheCallerChose(in, out, *count);
    case CDM_CONVERT351:
      return ConvertToOlderForm(in, out, *count);
    case CDM_DRIVER_DEFAULT:
      return GiveDefaults(printer_name, out, *count);
    default:
      return FALSE;
  }
}

}  // namespace
}  // namespace r5lqz

BOOL WINAPI DrvConvertDevMode(LPTSTR printer_name, PDEVMODE in, PDEVMODE out, PLONG count, DWORD mode) {
  const r5lqz::TraceScope trace("DrvConvertDevMode");
  return r5lqz::Convert(printer_name, in, out, count, mode);
}
