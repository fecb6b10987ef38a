// Label list files: a printer's pages carried to another printer.
#pragma once

#include <windows.h>

#include "labels/printer_label.h"

namespace r5lqz {

// Writes `count` labels to the file at `path`, replacing it. TRUE when the whole text was written.
BOOL ExportPrinterLabels(const PrinterLabel* labels, int count, const WCHAR* path);

// Reads the label file at `path` into `labels` from the start; the number of pages read, at most `capacity`. 0 for any
// file that cannot be used, with `labels` as they were.
int ImportPrinterLabels(PrinterLabel* labels, int capacity, const WCHAR* path);

}  // namespace r5lqz
