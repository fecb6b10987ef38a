#include "settings/paper.h"

#include "base/bounded_text.h"
#include "diag/number_text.h"

namespace r5lqz {
namespace {

void TakeOffset(const char* text, LONG& offset) {
  int value = 0;
  if (StringToInt(text, &value) == ERROR_SUCCESS) offset = value;
}

// What of a stored size the record's field holds: its low 16 bits, whether the printer can have them or not; validation
// forces them. A text that is no number gives the default's.
SHORT ShortSize(const Limits& limits, const char (&text)[kNumberTextSize], DWORD units) {
  double number = 0;
  const bool is_number = StringToFloat(text, &number) == ERROR_SUCCESS;
  return static_cast<SHORT>(is_number ? LabelTenths(text, units) : limits.fallback);
}

}  // namespace

void TakePageSize(DriverDevMode& record, const PrinterLabel& page) {
  record.dm_public.dmPaperWidth = ShortSize(kWidthLimits, page.width, page.units);
  record.dm_public.dmPaperLength = ShortSize(kLengthLimits, page.length, page.units);
  TakeOffset(page.vertOffset, record.dm_private.vertOffset);
  TakeOffset(page.horzOffset, record.dm_private.horzOffset);
}

void TakePage(DriverDevMode& record, const PrinterLabel& page) {
  PrivateDevMode& own = record.dm_private;
  CopyBounded(std::span(own.labelName), std::span<const char>(page.name));
  record.dm_public.dmPaperSize = own.dmPaperSize = page.id;
  TakePageSize(record, page);
  CopyBounded(std::span(own.width_string), std::span<const char>(page.width));
  CopyBounded(std::span(own.length_string), std::span<const char>(page.length));
  own.units = page.units;
}

}  // namespace r5lqz
