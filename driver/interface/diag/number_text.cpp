#include "diag/number_text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/owned.h"

namespace r5lqz {
namespace {

// Every stored number text fits; longer ones are copied to the heap.
constexpr std::size_t kUsualSize = 32;

// The runtime library's isdigit may follow the locale; a number text never does.
bool IsDigit(char character) {
  return character >= '0' && character <= '9';
}

const char* SkipSign(const char* text) {
  return *text == '+' || *text == '-' ? text + 1 : text;
}

bool IsDecimal(const char* text) {
  bool point_seen = false;
  for (const char* at = SkipSign(text); *at; ++at) {
    if (*at == '.' && !point_seen) {
      point_seen = true;
    } else if (!IsDigit(*at)) {
      return false;
    }
  }
  return true;
}

bool IsInteger(const char* text) {
  const char* const digits = SkipSign(text);
  return std::all_of(digits, digits + std::strlen(digits), IsDigit);
}

// `atof` reads the decimal point of the host's locale, so the text is given one.
double ConvertDecimal(char* copy) {
  if (char* const point = std::strchr(copy, '.')) *point = LocaleDecimalPoint();
  return std::atof(copy);
}

// Beyond ASCII the runtime library may take for a blank, by the host's locale, what is half a character of the system's
// code page.
bool IsSpace(char character) {
  const auto code = static_cast<unsigned char>(character);
  return code < 0x80 && std::isspace(code) != 0;
}

}  // namespace

char LocaleDecimalPoint() {
  const char point = *std::localeconv()->decimal_point;
  return point ? point : '.';
}

ResultCode StringToFloat(const char* text, double* result) {
  if (!text) return kNoText;
  if (!result) return kNoResultPlace;
  if (!IsDecimal(text)) return kNotANumber;

  const std::size_t size = std::strlen(text) + 1;
  std::array<char, kUsualSize> usual;
  RuntimeBlock<char> longer;
  if (size > usual.size()) {
    longer.reset(static_cast<char*>(std::malloc(size)));
    if (!longer) return ERROR_OUTOFMEMORY;
  }
  char* const copy = longer ? longer.get() : usual.data();
  std::memcpy(copy, text, size);
  *result = ConvertDecimal(copy);
  return ERROR_SUCCESS;
}

ResultCode StringToInt(const char* text, int* result) {
  if (!text) return kNoText;
  if (!result) return kNoResultPlace;
  if (!IsInteger(text)) return kNotANumber;
  *result = std::atoi(text);
  return ERROR_SUCCESS;
}

void TrimWhitespace(char* text) {
  if (!text) return;
  char* const end = text + std::strlen(text);
  char* const first = std::find_if_not(text, end, IsSpace);
  char* last = end;
  while (last > first && IsSpace(last[-1])) --last;
  *std::copy(first, last, text) = '\0';
}

void FormatDecimal(std::span<char> text, double value, int decimals) {
  const int length = std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
  if (length < 0 || static_cast<std::size_t>(length) >= text.size()) text[0] = '\0';
  if (char* const point = std::strchr(text.data(), LocaleDecimalPoint())) *point = '.';
}

}  // namespace r5lqz
