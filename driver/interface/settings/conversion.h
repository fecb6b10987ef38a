// Settings records of every size and source turned into the driver's own, and back.
#pragma once

#include <windows.h>

#include "settings/driver_devmode.h"

namespace r5lqz {

// Copies what two records have in common from `in` to `out` (caller-owned, dmSize plus dmDriverExtra bytes each),
// keeping the form words that the caller has set in `out`. The number of bytes copied, or -1 with `out` unchanged: a
// record is missing, or its form is unknown.
LONG ConvertDevMode(const DEVMODEW* in, DEVMODEW* out);

// The same for records whose forms were read or chosen before: an output that others can reach at the same time is not
// asked again how much it holds.
LONG ConvertDevMode(const DEVMODEW* in, const RecordForm& in_form, DEVMODEW* out, const RecordForm& out_form);

// The form in which a record is handed back to a caller whose record is `shape` (or none): of each part the smaller of
// its size and the driver's own. More than its total is never written.
RecordForm OutputForm(const DEVMODEW* shape);

// Hands the working record back into `out` in the size that the caller's `shape` has (864 bytes without one), never in
// a larger one. FALSE when the shape's form is unknown, with nothing but its words in `out`; or with `out` unchanged
// when the shape is too small for its own words.
BOOL CopyDevModeToOutput(const DriverDevMode& working, const DEVMODEW* shape, DEVMODEW* out);

// Lays `source` (any record, or none) over `destination` and validates the result with `printer`'s labels. FALSE, with
// `destination` unchanged, when the source's form is unknown or there is no memory.
BOOL MergeDevMode(DriverDevMode& destination, const DEVMODEW* source, HANDLE printer);

// The merge's step: copies each public field that the source marks as set, and the private part when it is this
// driver's.
void CopyDevmode(DriverDevMode& destination, const DriverDevMode& source);

// Forces every field into what the printer supports. `printer` (or none) resolves label numbers.
void ValidateDevmode(DriverDevMode& record, HANDLE printer);

// The step of validation that resolves the paper number and sets the paper's size and form name.
void ValidateForm(DriverDevMode& record, HANDLE printer);

}  // namespace r5lqz
