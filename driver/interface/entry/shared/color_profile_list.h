// The colour profiles that the colour-management system associates with a printer.
#pragma once

#include <windows.h>

#include <cstddef>

namespace r5lqz {

// Lists the profiles of the printer named `printer_name`, sorted. TRUE: `list` is a new profile list that the caller
// frees (wide texts each ended by a zero, the list ended by an empty text; possibly just that). FALSE: there is none,
// and why is traced; `list` is none, or untouched when not even the size could be learnt.
BOOL GetColorProfileList(const WCHAR* printer_name, WCHAR** list);

// Sorts the first `count` texts of a list of `size` bytes in place, without regard to case; texts behind them go. A
// list that does not end within its size is taken to end there. Without memory the list stays as it is.
void SortProfileList(WCHAR* list, std::size_t size, std::size_t count);

// Writes the texts to the trace log.
void LogProfileList(const WCHAR* list);

}  // namespace r5lqz
