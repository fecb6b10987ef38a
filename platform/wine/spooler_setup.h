// A driver and a printer of it in the platform's own spooler, from installation to removal, for programs that then
// meet the driver as any application does.
#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "driver_entries.h"
#include "import_patch.h"

namespace platform {

/// How a step went: the call that failed, with its code. No call means that it held.
struct StepResult {
  const char* call = nullptr;
  DWORD code = 0;

  bool Held() const { return !call; }
};

/// What to install. The module's file name becomes that of the copy that the spooler loads.
struct PrinterRequest {
  std::wstring module_path;
  std::wstring driver_name;
  std::wstring printer_name;
  /// Told what is about to be done, in a few words; may be empty.
  std::function<void(const char*)> progress;
};

/// Removes a printer and a driver of these names: what a program left that ended before it could remove them.
void RemoveRemains(const PrinterRequest& request);

/// Owner of an installed printer: what exists of it is removed when it ends. Not to be moved between threads.
struct InstalledPrinter {
  InstalledPrinter() = default;
  InstalledPrinter(const InstalledPrinter&) = delete;
  InstalledPrinter& operator=(const InstalledPrinter&) = delete;
  ~InstalledPrinter();

  std::wstring driver_name;
  std::wstring printer_name;
  /// The copy of the module that the spooler loads into this process, with its entry points.
  std::wstring loaded_path;
  HMODULE module = nullptr;
  DriverEntries entries;
  /// Opened with full access.
  HANDLE printer = nullptr;

  bool driver_registered = false;
  bool printer_added = false;
  std::wstring staged_path;
  std::vector<ImportPatch> patches;
  HANDLE turn = nullptr;
};

/// Registers the driver and adds the printer: copies the module into the driver directory, AddPrinterDriverExW (which
/// delivers the driver's installation event), puts the key operations that the platform lacks into the very
/// copy that the spooler loads, AddPrinterW, delivers the printer's creation event, opens the printer. Remains of a
/// program that ended half-way are replaced. Programs of one spooler take turns; the wait for a turn is at most two
/// minutes. When a step fails, `installed` holds what was done so far and removes it when it ends.
StepResult InstallPrinter(const PrinterRequest& request, InstalledPrinter& installed);

/// Delivers the printer's deletion event, removes the printer, delivers the driver's removal event, removes the driver,
/// gives the turn back. The spooler keeps the module's copy loaded in this process, so that file stays in the driver
/// directory until the next installation.
/// The answer names the first call that failed; what can be removed is removed all the same.
StepResult RemovePrinter(InstalledPrinter& installed);

}  // namespace platform
