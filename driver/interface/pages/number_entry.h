// What counts as a valid number in an entry field, and how stored numbers and ranges are shown: text in, text out.
#pragma once

#include <windows.h>

#include <array>
#include <span>

#include "labels/printer_label.h"

namespace r5lqz {

// Room for the range text of a decimal entry.
inline constexpr std::size_t kRangeTextSize = 32;

// Checks and normalises a decimal entry as the user typed it, with the runtime locale's decimal separator: trims it,
// gives it "." and compares it with the bounds (tenths of a millimetre, in `units`: kMillimetres, kInches, else as they
// are). True: `text` is what is stored. False: `text` is of no further use.
bool AcceptFloatEntry(std::span<char, kNumberTextSize> text, LONG minimum, LONG maximum, DWORD units);

// The same for a whole number of any length; `text` is terminated.
bool AcceptIntEntry(char* text, LONG minimum, LONG maximum);

// The range of a decimal entry, rounded inwards to thousandths: "1.000 - 297.000", always with ".".
void GetRangeString(std::span<WCHAR, kRangeTextSize> text, LONG minimum, LONG maximum, DWORD units);

// Copies a stored number text (unless it is `destination` itself) and gives it the runtime locale's decimal separator.
// Always 0.
DWORD LocalizeNumberText(std::span<char, kNumberTextSize> destination, const char* source);

}  // namespace r5lqz
