// Storing label stocks, and looking at them, as an administrator's tool would: as printer data, value by value.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

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

/// A stock as it lies in the printer's data; a value that is not there, or of another type, is empty or 0.
struct StoredStock {
  std::string key;
  std::string name;
  std::string width;
  std::string length;
  std::string vertical_offset;
  std::string horizontal_offset;
  DWORD units;
};

/// Every stock of the printer, in the order of its keys.
std::vector<StoredStock> ReadLabelStocks(HANDLE printer);

/// Removes every stock of the printer; a printer without any answers 0 too.
DWORD RemoveLabelStocks(HANDLE printer);

}  // namespace platform
