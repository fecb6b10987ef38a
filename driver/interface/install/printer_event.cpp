#include "install/printer_event.h"

#include <cstdlib>

#include "base/late.h"
#include "base/owned.h"
#include "base/printer_interface.h"
#include "diag/trace.h"
#include "entry/shared/printer_info.h"

namespace r5lqz {
namespace {

constexpr WCHAR kOptionName[] = L"bufferPrintJob";
constexpr DWORD kDefaultOption = 1;

// The thread under the spooler's own identity, which may write what its client may not.
class SpoolerIdentity {
 public:
  SpoolerIdentity() : client_(R5LQZ_CALL_LATE(RevertToPrinterSelf)) {}
  ~SpoolerIdentity() {
    const LastErrorKeeper keeper;
    if (!client_ || R5LQZ_CALL_LATE(ImpersonatePrinterClient, client_)) return;
    // The thread goes on with the spooler's rights, which only the host can end; at least it is known. The token is not
    // closed: the call takes it over, and whether also when it fails nobody says. A token too many is the lesser evil
    // beside closing what may be another thread's handle by now.
    LOG_ERROR("Could not resume the client's identity: 0x%x", static_cast<unsigned>(GetLastError()));
  }
  SpoolerIdentity(const SpoolerIdentity&) = delete;
  SpoolerIdentity& operator=(const SpoolerIdentity&) = delete;

 private:
  HANDLE client_;
};

// A handle with full access, or none with the thread's last error saying why.
OwnedPrinter OpenWithFullAccess(HANDLE printer) {
  HANDLE opened = nullptr;
  DWORD error = ERROR_SUCCESS;
  const RuntimeBlock<WCHAR> name(GetPrinterName(printer));
  PRINTER_DEFAULTSW defaults{nullptr, nullptr, PRINTER_ALL_ACCESS};
  if (!name || !OpenPrinterW(name.get(), &opened, &defaults)) {
    error = GetLastError();
    opened = nullptr;
  }
  SetLastError(error);
  return OwnedPrinter(opened);
}

struct StoredOption {
  DWORD code;  // of the read
  DWORD type;
  DWORD value;
};

StoredOption ReadOption(HANDLE printer) {
  StoredOption option{ERROR_SUCCESS, REG_NONE, 0};
  DWORD size = 0;
  option.code = GetPrinterDataW(printer, Writable(kOptionName), &option.type, reinterpret_cast<BYTE*>(&option.value),
                                sizeof option.value, &size);
  return option;
}

bool HasOption(HANDLE printer) {
  const StoredOption option = ReadOption(printer);
  return option.code == ERROR_SUCCESS && option.type == REG_DWORD;
}

void GiveDefaultOption(WCHAR* printer_name) {
  HANDLE opened = nullptr;
  if (!OpenPrinterW(printer_name, &opened, nullptr)) {
    LOG_ERROR("Could not get printer handle: 0x%x", static_cast<unsigned>(GetLastError()));
    return;
  }
  const OwnedPrinter printer(opened);
  if (!HasOption(printer.get()) && !SetBufferPrintJob(printer.get(), kDefaultOption)) {
    LOG_ERROR("Could not set default buffer print job option");
  }
}

}  // namespace

DWORD ReadBufferPrintJob(HANDLE printer) {
  const StoredOption option = ReadOption(printer);
  if (option.code != ERROR_SUCCESS) {
    LOG_ERROR("Could not get buffer print job value: 0x%x", static_cast<unsigned>(option.code));
    return kDefaultOption;
  }
  if (option.type != REG_DWORD) {
    LOG_ERROR("Buffer print job value incorrect type: %lu", static_cast<unsigned long>(option.type));
    return kDefaultOption;
  }
  return option.value;
}

BOOL SetBufferPrintJob(HANDLE printer, DWORD value) {
  const SpoolerIdentity identity;
  const OwnedPrinter full_access = OpenWithFullAccess(printer);
  if (!full_access) {
    LOG_ERROR("Couldn't get printer handle: 0x%x", static_cast<unsigned>(GetLastError()));
    return FALSE;
  }
  const DWORD code = SetPrinterDataW(full_access.get(), Writable(kOptionName), REG_DWORD,
                                     reinterpret_cast<BYTE*>(&value), sizeof value);
  if (code != ERROR_SUCCESS) LOG_ERROR("Could not set buffer print job value: 0x%x", static_cast<unsigned>(code));
  return code == ERROR_SUCCESS;
}

}  // namespace r5lqz

BOOL WINAPI DrvPrinterEvent(LPWSTR printer_name, INT event, DWORD /*flags*/, LPARAM /*param*/) {
  const r5lqz::TraceScope trace("DrvPrinterEvent");
  if (event == PRINTER_EVENT_INITIALIZE) r5lqz::GiveDefaultOption(printer_name);
  return TRUE;
}
