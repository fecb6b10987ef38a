#include "pages/number_entry.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "diag/bounded_text.h"
#include "diag/number_text.h"
#include "diag/trace.h"
#include "labels/printer_label.h"

namespace r5lqz {
namespace {

constexpr double kThousandths = 1000;

// A bound in the units of its entry.
double BoundIn(LONG tenths, DWORD units) {
  return ConvertUnits(tenths, kTenthsOfMillimetre, units);
}

// Whole thousandths of a bound, rounded towards the inside of the range, so that the shown bounds are valid entries.
LONG LowerThousandths(double bound) {
  const double product = bound * kThousandths;
  const LONG cut = static_cast<LONG>(product);
  return cut == product ? cut : cut + 1;
}

LONG UpperThousandths(double bound) {
  return static_cast<LONG>(bound * kThousandths);
}

}  // namespace

bool AcceptFloatEntry(std::span<char, kNumberTextSize> text, LONG minimum, LONG maximum, DWORD units) {
  TrimWhitespace(text.data());
  const char separator = LocaleDecimalPoint();
  // A point that is not the locale's separator is no part of a number here, though the stored form would have it.
  if (separator != '.' && std::strchr(text.data(), '.')) return false;
  if (char* const found = std::strchr(text.data(), separator)) *found = '.';
  double value = 0;
  if (StringToFloat(text.data(), &value) != ERROR_SUCCESS) return false;
  return value >= BoundIn(minimum, units) && value <= BoundIn(maximum, units);
}

bool AcceptIntEntry(char* text, LONG minimum, LONG maximum) {
  TrimWhitespace(text);
  int value = 0;
  return StringToInt(text, &value) == ERROR_SUCCESS && value >= minimum && value <= maximum;
}

void GetRangeString(std::span<WCHAR, kRangeTextSize> text, LONG minimum, LONG maximum, DWORD units) {
  const TraceScope trace("GetRangeString");
  const LONG lower = LowerThousandths(BoundIn(minimum, units));
  const LONG upper = UpperThousandths(BoundIn(maximum, units));
  // From whole numbers, because the runtime's decimals follow the locale and this text does not.
  std::array<char, kRangeTextSize> narrow{};
  const int length = std::snprintf(narrow.data(), narrow.size(), "%d.%03d - %d.%03d", static_cast<int>(lower / 1000),
                                   static_cast<int>(lower % 1000), static_cast<int>(upper / 1000),
                                   static_cast<int>(upper % 1000));
  if (length < 0 || static_cast<std::size_t>(length) >= narrow.size()) narrow[0] = '\0';
  std::copy(narrow.begin(), narrow.end(), text.begin());
}

DWORD LocalizeNumberText(std::span<char, kNumberTextSize> destination, const char* source) {
  if (destination.data() != source) CopyBounded(destination, source);
  if (char* const point = std::strchr(destination.data(), '.')) *point = LocaleDecimalPoint();
  return 0;
}

}  // namespace r5lqz
