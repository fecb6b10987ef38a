// The printer's label list as the spooler keeps it: one subkey of "Label Sizes" per label, named by its number. These
// are the only operations that touch those keys. They hold no lock: two writers of one label may interleave value by
// value.
#pragma once

#include <windows.h>

#include <span>

#include "base/result_codes.h"
#include "labels/printer_label.h"

namespace r5lqz {

// Reads the labels that can be read, in the spooler's order, into `labels` (`capacity` records of the caller's) from
// the start; `count` is how many. A label that cannot be loaded is left out and the list still succeeds; behind
// the 256th of them nothing more is read. ERROR_SUCCESS also when the printer has no list; otherwise the code of the
// enumeration.
ResultCode ReadPrinterLabelList(HANDLE printer, PrinterLabel* labels, LONG capacity, LONG* count);

// Reads the label numbered `id`; on failure the field that failed and those after it keep what they held.
// kUnknownLabelVersion, kWrongValueType or the spooler's code.
ResultCode LoadPrinterLabel(HANDLE printer, PrinterLabel* label, SHORT id);

// Writes a label under its `id`, value by value up to the first that is refused; that one's code.
ResultCode SavePrinterLabel(HANDLE printer, const PrinterLabel* label);

// Gives `label` the next number and saves it. kMissingArgument without printer or label.
ResultCode AddPrinterLabel(HANDLE printer, PrinterLabel* label);

// Saves `label` over the one with its `id`. kMissingArgument without printer or label.
ResultCode ModifyPrinterLabel(HANDLE printer, const PrinterLabel* label);

// Deletes the label with the `id` of `label` (nothing else of it is read). kMissingArgument without printer or label.
ResultCode DeletePrinterLabel(HANDLE printer, const PrinterLabel* label);

}  // namespace r5lqz
