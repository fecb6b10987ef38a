#include "settings/paper.h"

#include "diag/bounded_text.h"
#include "diag/number_text.h"

namespace r5lqz {
namespace {

void TakeOffset(const char* text, LONG& offset) {
  int value = 0;
  if (StringToInt(text, &value) == ERROR_SUCCESS) offset = value;
}

// Forced before it is cut to 16 bits: a stored size far beyond its limits must not come out as another one.
SHORT Forced(const Limits& limits, const char (&text)[kNumberTextSize], DWORD units) {
  return static_cast<SHORT>(limits.Force(static_cast<double>(LabelTenths(text, units))));
}

}  // namespace

void TakePageSize(DriverDevMode& record, const PrinterLabel& page) {
  record.dm_public.dmPaperWidth = Forced(kWidthLimits, page.width, page.units);
  record.dm_public.dmPaperLength = Forced(kLengthLimits, page.length, page.units);
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
