// One label stock of a printer ("page" in the user interface) and what its numbers mean.
#pragma once

#include <windows.h>

#include <cstdint>
#include <span>

#include "base/result_codes.h"

namespace r5lqz {

// Units of a label's width and length.
inline constexpr DWORD kMillimetres = 0;
inline constexpr DWORD kInches = 1;
inline constexpr DWORD kTenthsOfMillimetre = 2;

// Sizes of a label's texts, bytes with the terminator.
inline constexpr std::size_t kLabelNameSize = 64;
inline constexpr std::size_t kNumberTextSize = 8;

// Paper numbers of dmPaperSize.
inline constexpr SHORT kUserPaper = DMPAPER_USER;  // 256: a size that the application set
inline constexpr SHORT kCustomPage = 257;          // the driver's custom page; the default
inline constexpr SHORT kFirstLabelId = 258;        // labels of the printer's list, from here upward

struct Limits {
  LONG lowest;
  LONG highest;
  LONG fallback;  // what a value outside becomes

  constexpr bool Hold(double value) const { return value >= lowest && value <= highest; }
  constexpr LONG Force(double value) const { return Hold(value) ? static_cast<LONG>(value) : fallback; }
};

inline constexpr Limits kWidthLimits{10, 2970, 1048};    // tenths of a millimetre
inline constexpr Limits kLengthLimits{254, 9017, 1270};  // tenths of a millimetre
inline constexpr Limits kOffsetLimits{-2400, 2400, 0};   // 1/1200 inch

// Every list of labels is an array of this many with a count.
inline constexpr LONG kMostLabels = 128;

// Texts are narrow, of the system's ANSI code page, terminated within their arrays, with "." as decimal point.
struct PrinterLabel {
  char name[kLabelNameSize];         // 1 to 63 characters
  char width[kNumberTextSize];       // decimal, in `units`
  char length[kNumberTextSize];      // decimal, in `units`
  char vertOffset[kNumberTextSize];  // signed integer, 1/1200 inch
  char horzOffset[kNumberTextSize];  // signed integer, 1/1200 inch
  DWORD units;
  SHORT id;  // the label's number: its registry key, and dmPaperSize of documents that use it
};

static_assert(sizeof(PrinterLabel) == 104);

// Validation, print query, capabilities and import hold a whole list on the stack of whoever called the module, which
// may be a small one: what that may take at most, in bytes. A longer list has to go to a heap.
inline constexpr std::size_t kStackForLabels = 16384;
static_assert(kMostLabels * sizeof(PrinterLabel) <= kStackForLabels, "the label list no longer fits a caller's stack");

// A length converted between label units; a unit code that is none of the three leaves it as it is.
double ConvertUnits(double value, DWORD from, DWORD to);

// A label's width or length text in tenths of a millimetre, rounded; 0 when the text is not a number, so that whoever
// checks ranges refuses it.
std::int64_t LabelTenths(const char (&text)[kNumberTextSize], DWORD units);

// The number for a new label: one more than the highest in use, 258 for the first. When the numbers up to 32767 are
// used up, the lowest free one, so that no stored label is overwritten. `id` is always written. ERROR_SUCCESS, the
// code with which the label list could not be enumerated, or ERROR_TOO_MANY_NAMES: no number is free.
ResultCode GenerateNextLabelId(HANDLE printer, SHORT* id);

}  // namespace r5lqz
