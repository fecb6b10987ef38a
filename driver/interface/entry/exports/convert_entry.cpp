#include <cstring>

#include "base/owned.h"
#include "base/printer_interface.h"
#include "diag/trace.h"
#include "entry/shared/printer_info.h"
#include "entry/shared/properties_context.h"
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
  if (ConvertDevMode(in, FormOf(in), out, wanted) <= 0) return Refuse(ERROR_INVALID_PARAMETER);
  count = static_cast<LONG>(wanted.total());
  return TRUE;
}

// Tells the caller of a buffer that does not hold `needed` bytes how many it takes.
BOOL RefuseForSize(LONG& count, DWORD needed) {
  count = static_cast<LONG>(needed);
  return Refuse(ERROR_INSUFFICIENT_BUFFER);
}

// The older form's words stay in the output when nothing can be converted into it. They may lie over the input's, as
// one buffer can be both.
BOOL ConvertToOlderForm(const DEVMODEW* in, DEVMODEW* out, LONG& count) {
  constexpr DWORD kNeeded = kOlderForm.total();
  if (!out || !Holds(count, kNeeded)) return RefuseForSize(count, kNeeded);
  const RecordForm in_form = FormOf(in);
  PutForm(out, kOlderForm);
  if (ConvertDevMode(in, in_form, out, kOlderForm) <= 0) return Refuse(ERROR_INVALID_PARAMETER);
  count = static_cast<LONG>(kNeeded);
  return TRUE;
}

BOOL GiveDefaults(WCHAR* printer_name, DEVMODEW* out, LONG& count) {
  if (!out || !Holds(count, kRecordSize)) return RefuseForSize(count, kRecordSize);
  count = kRecordSize;
  HANDLE opened = nullptr;
  if (!OpenPrinterW(printer_name, &opened, nullptr)) return FALSE;
  const OwnedPrinter printer(opened);
  const GlobalBlock<PRINTER_INFO_2W> info(MyGetPrinterInfo(printer.get()));
  if (!info) return FALSE;
  // The caller's record lies where it likes.
  DriverDevMode defaults;
  const BOOL made = SetupDefaultDevMode(defaults, info->pDriverName, printer.get());
  std::memcpy(static_cast<void*>(out), &defaults, sizeof defaults);
  return made;
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
