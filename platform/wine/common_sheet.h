// A common property sheet of ours: asks a driver's property-sheet entry point everything that the platform's own asks
// elsewhere and Wine's does not, collects its pages and shows them in one modal sheet.
#pragma once

#include "base/printer_interface.h"

#include <prsht.h>

#include <functional>
#include <vector>

namespace platform {

using SheetEntry = LONG(WINAPI*)(PPROPSHEETUI_INFO info, LPARAM param);

struct SheetRequest {
  SheetEntry entry = nullptr;
  // DOCUMENTPROPERTYHEADER or DEVICEPROPERTYHEADER.
  void* header = nullptr;
  HWND parent = nullptr;
  // An Apply button, whatever the driver's header says, so that an apply may leave the sheet open.
  bool apply_button = false;
  // Runs on a thread of its own once the sheet is shown, and works it by messages; it must get it closed. Empty: a user
  // does.
  std::function<void(HWND sheet)> work;
};

struct SheetOutcome {
  LONG opened = 0;  // the answer to PROPSHEETUI_REASON_INIT
  bool shown = false;
  PROPSHEETUI_INFO_HEADER header{};  // as the driver filled it
  std::vector<LPARAM> results;       // what the pages reported with CPSFUNC_SET_RESULT, in order
  std::size_t pages = 0;             // handed over
  ULONG_PTR result = 0;              // what the driver made of the last of them
  ULONG_PTR user_data_after_open = 0;
  ULONG_PTR user_data_after_close = 0;
};

// Opens, shows, closes and destroys a sheet. The sheet's result (CPSUI_OK when a page reported that, else CPSUI_CANCEL)
// goes to the driver before it is told to destroy its part.
SheetOutcome ShowSheet(const SheetRequest& request);

// What a host may do from inside a message loop of the driver's: destroys the sheet that is shown on the calling
// thread, with every window that it owns, and has the driver destroy its part at once, or only the latter. ShowSheet
// then returns without asking the driver anything more.
void EndShownSheet();
void EndDriversPart();

}  // namespace platform
