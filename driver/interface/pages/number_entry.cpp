#include "pages/number_entry.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/bounded_text.h"
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
std::int64_t LowerThousandths(double bound) {
  const double product = bound * kThousandths;
  const auto cut = static_cast<std::int64_t>(product);
  return static_cast<double>(cut) == product ? cut : cut + 1;
}

std::int64_t UpperThousandths(double bound) {
  return static_cast<std::int64_t>(bound * kThousandths);
}

// From whole numbers, because the runtime's decimals follow the locale and this text does not.
struct Decimal {
  explicit Decimal(std::int64_t thousandths)
      : sign(thousandths < 0 ? "-" : ""),
        whole(static_cast<int>(std::abs(thousandths) / 1000)),
        fraction(static_cast<int>(std::abs(thousandths) % 1000)) {}
  const char* sign;
  int whole;
  int fraction;
};

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
  const Decimal lower(LowerThousandths(BoundIn(minimum, units)));
  const Decimal upper(UpperThousandths(BoundIn(maximum, units)));
  std::array<char, kRangeTextSize> narrow{};
  const int length = std::snprintf(narrow.data(), narrow.size(), "%s%d.%03d - %s%d.%03d", lower.sign, lower.whole,
                                   lower.fraction, upper.sign, upper.whole, upper.fraction);
  if (length < 0 || static_cast<std::size_t>(length) >= narrow.size()) narrow[0] = '\0';
  std::copy(narrow.begin(), narrow.end(), text.begin());
}

DWORD LocalizeNumberText(std::span<char, kNumberTextSize> destination, const char* source) {
  if (destination.data() != source) CopyBounded(destination, source);
  if (char* const point = std::strchr(destination.data(), '.')) *point = LocaleDecimalPoint();
  return 0;
}

}  // namespace r5lqz
