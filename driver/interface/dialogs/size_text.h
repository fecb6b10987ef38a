// The texts of a page's size and offsets as the page dialogs show them.
#pragma once

#include <windows.h>

#include <array>
#include <span>

#include "settings/driver_devmode.h"

namespace r5lqz {

inline constexpr std::size_t kReadoutSize = 64;
using Readout = std::array<char, kReadoutSize>;

// A width or length text (with ".") converted between units, with three decimals in the locale's notation, as the edit
// fields show numbers.
std::array<char, 16> ConvertSizeText(const char* text, DWORD from, DWORD to);

// An offset edit's text in 1/1200 inch (trimmed in place) as it reads in millimetres or inches, followed by the unit's word;
// dashes for a text that is no whole number. No range is checked.
Readout OffsetReadout(char* text, bool millimetres, const char* unit_word);

}  // namespace r5lqz
