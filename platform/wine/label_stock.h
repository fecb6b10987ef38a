// Storing label stocks as an administrator's tool would: as printer data, value by value.
#pragma once

#include <windows.h>

namespace platform {

/// One label stock as printer data. Width and length are decimal texts in `units` (0 millimetres, 1 inches, 2 tenths
/// of a millimetre), the offsets whole numbers in 1/1200 inch.
struct LabelStock {
  int number;
  const char* name;
  const char* width;
  const char* length;
  const char* vertical_offset;
  const char* horizontal_offset;
  DWORD units;
  DWORD version = 1;
};

/// Writes the stock under its number; the answer is that of the first failing SetPrinterDataExA, or 0.
DWORD StoreLabelStock(HANDLE printer, const LabelStock& stock);

/// Removes every stock of the printer; a printer without any answers 0 too.
DWORD RemoveLabelStocks(HANDLE printer);

}  // namespace platform
