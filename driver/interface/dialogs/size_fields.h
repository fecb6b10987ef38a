// The group of fields that both page dialogs carry: a page's width and length with their ranges, the units, and the
// offsets with their readouts. One implementation over each dialog's own control identifiers.
#pragma once

#include <windows.h>

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

// Reads and checks the group into the sizes, offsets and units of `label`. False: the user has been told what is wrong.
bool ReadSize(HWND dialog, const SizeFields& fields, PrinterLabel& label);

// Converts width and length into the units of the button that was clicked, and makes them current. The buttons end up
// showing the current units whatever happens.
void UnitsClick(HWND dialog, const SizeFields& fields, DWORD new_units, DWORD& units);

// Writes the ranges of width and length in `units`.
void SetRangeText(HWND dialog, const SizeFields& fields, DWORD units);

// Refresh the readouts from the edits.
void UpdateVertOffset(HWND dialog, const SizeFields& fields);
void UpdateHorzOffset(HWND dialog, const SizeFields& fields);

}  // namespace r5lqz
