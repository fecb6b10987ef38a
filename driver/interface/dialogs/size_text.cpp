#include "dialogs/size_text.h"

#include <cstdio>

#include "diag/number_text.h"
#include "labels/printer_label.h"

namespace r5lqz {
namespace {

constexpr double kOffsetsPerInch = 1200;
constexpr double kOffsetsPerMillimetre = 47.244094488;

}  // namespace

std::array<char, 16> ConvertSizeText(const char* text, DWORD from, DWORD to) {
  double value = 0;
  StringToFloat(text, &value);
  // The runtime's own decimals follow the locale, which is also the notation that the fields are read in.
  std::array<char, 16> converted{};
  std::snprintf(converted.data(), converted.size(), "%2.3f", ConvertUnits(value, from, to));
  return converted;
}

Readout OffsetReadout(char* text, bool millimetres, const char* unit_word) {
  TrimWhitespace(text);
  Readout readout{};
  int offset = 0;
  if (StringToInt(text, &offset) == ERROR_SUCCESS) {
    const double shown = offset / (millimetres ? kOffsetsPerMillimetre : kOffsetsPerInch);
    std::snprintf(readout.data(), readout.size(), "%2.3f %s", shown, unit_word);
  } else {
    std::snprintf(readout.data(), readout.size(), "-.--- %s", unit_word);
  }
  return readout;
}

}  // namespace r5lqz
