// The group of fields that both page dialogs carry: a page's width and length with their ranges, the units, and the
// offsets with their readouts. One implementation over each dialog's own control identifiers.
#pragma once

#include <windows.h>

#include "base/running_operation.h"
#include "labels/printer_label.h"

namespace r5lqz {

// The group's controls in one dialog.
struct SizeFields {
  int width;
  int width_range;
  int length;
  int length_range;
  int inches;
  int millimetres;
  int vertical;
  int vertical_spin;
  int vertical_readout;
  int horizontal;
  int horizontal_spin;
  int horizontal_readout;
};

// What the group shows: number texts as they are stored.
struct SizeTexts {
  const char* width;
  const char* length;
  const char* vertical;
  const char* horizontal;
  DWORD units;
};

// Sets the edits' text limits and the up-down controls' ranges.
void InitSizeFields(HWND dialog, const SizeFields& fields);

// Shows a page; `units`, the dialog's current ones, become the page's.
void ShowSize(HWND dialog, const SizeFields& fields, const SizeTexts& texts, DWORD& units);

// Reads and checks the group into the sizes, offsets and units of `label`. False: the user has been told what is wrong,
// and the dialog may be gone.
bool ReadSize(HWND dialog, const SizeFields& fields, PrinterLabel& label);

// Acts on a notification of one of the group's controls: converts the sizes when a unit button is clicked, refreshes a
// readout when its offset changes. True: the control is one of these, and `answer` is what the dialog procedure
// returns. `self` is the operation that the notification runs as.
bool RouteSizeFields(HWND dialog, const SizeFields& fields, int control, int notification, DWORD& units,
                     const RunningOperation& self, INT_PTR& answer);

}  // namespace r5lqz
