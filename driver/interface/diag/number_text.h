// The one rule for what counts as a number in a text: a plain decimal with "." whatever the locale, or a plain integer.
#pragma once

#include <span>

#include "base/result_codes.h"

namespace r5lqz {

// Parses an optional sign, then digits with at most one "."; a sign or a point alone is 0. Writes `result` only on
// success. kNoText, kNoResultPlace or kNotANumber otherwise; ERROR_OUTOFMEMORY when a text far longer than any stored
// one cannot be copied.
ResultCode StringToFloat(const char* text, double* result);

// Parses an optional sign, then digits. Writes `result` only on success; kNoText, kNoResultPlace or kNotANumber
// otherwise.
ResultCode StringToInt(const char* text, int* result);

// Removes leading and trailing white space, in place. A missing text stays missing.
void TrimWhitespace(char* text);

// The first character of the decimal point of the runtime library's current locale.
char LocaleDecimalPoint();

// Formats `value` with `decimals` digits behind "." whatever the locale; a number that does not fit leaves `text`
// empty.
void FormatDecimal(std::span<char> text, double value, int decimals);

}  // namespace r5lqz
