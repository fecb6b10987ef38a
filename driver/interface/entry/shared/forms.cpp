#include "entry/shared/forms.h"

#include "base/printer_interface.h"
#include "diag/trace.h"
#include "settings/driver_devmode.h"

namespace r5lqz {
namespace {

constexpr WCHAR kMarkerName[] = L"Forms?";
constexpr DWORD kMarkerValue = 2;

// Any number counts, whatever its type says: an older driver's marker must not be undone.
bool AreFormsRegistered(HANDLE printer) {
  DWORD type = REG_NONE;
  DWORD marker = 0;
  DWORD size = 0;
  const DWORD code =
      GetPrinterDataW(printer, Writable(kMarkerName), &type, reinterpret_cast<BYTE*>(&marker), sizeof marker, &size);
  return code == ERROR_SUCCESS && marker > 0;
}

void RegisterForm(HANDLE printer, const WCHAR* name) {
  FORM_INFO_1W form{};
  form.Flags = FORM_USER;
  form.pName = Writable(name);
  AddFormW(printer, 1, reinterpret_cast<BYTE*>(&form));
}

void MarkRegistered(HANDLE printer) {
  DWORD marker = kMarkerValue;
  SetPrinterDataW(printer, Writable(kMarkerName), REG_DWORD, reinterpret_cast<BYTE*>(&marker), sizeof marker);
}

}  // namespace

BOOL AddPrinterForms(HANDLE printer) {
  const TraceScope trace("AddPrinterForms");
  if (!AreFormsRegistered(printer)) {
    RegisterForm(printer, kCustomFormName);
    MarkRegistered(printer);
  }
  return TRUE;
}

}  // namespace r5lqz
