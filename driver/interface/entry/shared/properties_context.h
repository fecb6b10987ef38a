// What one property sheet, or one document-properties call, works in.
#pragma once

#include <memory>

#include "base/printer_interface.h"
#include "settings/driver_devmode.h"

namespace r5lqz {

class RunningOperation;

// Lives in a private heap of its own, with everything that belongs to it; the tabs borrow it and never free it.
struct PropertiesContext {
  HANDLE printer;                   // the caller's
  HANDLE heap;                      // holds this context
  PFNCOMPROPSHEET pfnComPropSheet;  // of the common property sheet; empty without one
  HANDLE hComPropSheet;             // to be passed to it
  DriverDevMode working;            // the settings that are shown and changed
  const DEVMODEW* pdmIn;            // the caller's record, or none
  DEVMODEW* pdmOut;                 // where the caller wants the settings, or none
  DWORD fMode;                      // the caller's DM_ flags
  DWORD automatic_color;            // the Appearance tab's current choice; starts as the record's colorAdjust
  void* label_table;                // the Page tab's labels, from this heap; none before the tab is shown
  DWORD tab_windows;                // tabs that are there and know this context
  RunningOperation* running;        // the innermost operation of a tab that is running
  bool is_closed;                   // the sheet has ended, and what it lent may not be used any more
};

// Ends the context (none is fine): nothing that it borrowed is used from here on. Its heap, and the context in it, is
// destroyed at once, or, when tabs are still there or an operation of theirs still waits for a box, with the last of
// them.
void DestroyContext(PropertiesContext* context);

// To be called when a tab or an operation is through: destroys a context that has ended and has no users left.
void ReleaseContext(PropertiesContext& context);

struct ContextDestroyer {
  void operator()(PropertiesContext* context) const { DestroyContext(context); }
};
using OwnedContext = std::unique_ptr<PropertiesContext, ContextDestroyer>;

// Builds the context for `printer` (the caller's): defaults, then the printer's stored default record, then `in` (or
// none) laid over it. Registers the printer's form on the way. None when there is no memory or no printer information.
OwnedContext FillUiData(HANDLE printer, const DEVMODEW* in);

// The record that `info`, a block of MyGetPrinterInfo, holds as the printer's stored default; none when it has none, or
// one that claims to be longer than the block is.
const DEVMODEW* StoredDefault(const PRINTER_INFO_2W& info);

}  // namespace r5lqz
