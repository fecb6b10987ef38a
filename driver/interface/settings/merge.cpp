#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "base/bounded_text.h"
#include "base/owned.h"
#include "diag/trace.h"
#include "settings/conversion.h"

namespace r5lqz {
namespace {

// A public field that an application may set, and the bit that says so.
struct MergedField {
  DWORD bit;
  std::size_t offset;
  std::size_t size;
};

#define MERGED_FIELD(bit, field)                            \
  MergedField {                                             \
    bit, offsetof(DEVMODEW, field), sizeof(DEVMODEW::field) \
  }

constexpr std::array kMergedFields{
    MERGED_FIELD(DM_ORIENTATION, dmOrientation),
    MERGED_FIELD(DM_PAPERSIZE, dmPaperSize),
    MERGED_FIELD(DM_PAPERLENGTH, dmPaperLength),
    MERGED_FIELD(DM_PAPERWIDTH, dmPaperWidth),
    MERGED_FIELD(DM_SCALE, dmScale),
    MERGED_FIELD(DM_COPIES, dmCopies),
    MERGED_FIELD(DM_DEFAULTSOURCE, dmDefaultSource),
    MERGED_FIELD(DM_PRINTQUALITY, dmPrintQuality),
    MERGED_FIELD(DM_COLOR, dmColor),
    MERGED_FIELD(DM_DUPLEX, dmDuplex),
    MERGED_FIELD(DM_YRESOLUTION, dmYResolution),
    MERGED_FIELD(DM_TTOPTION, dmTTOption),
    MERGED_FIELD(DM_COLLATE, dmCollate),
    MERGED_FIELD(DM_NUP, dmNup),
    MERGED_FIELD(DM_ICMMETHOD, dmICMMethod),
    MERGED_FIELD(DM_ICMINTENT, dmICMIntent),
    MERGED_FIELD(DM_MEDIATYPE, dmMediaType),
    MERGED_FIELD(DM_DITHERTYPE, dmDitherType),
};

#undef MERGED_FIELD

void DumpBoth(const char* destination_title, const DriverDevMode& destination, const char* source_title,
              const DEVMODEW* source) {
  DumpTitled(destination_title, &destination.dm_public);
  DumpTitled(source_title, source);
}

// The scratch record starts as a copy of the destination, so that whatever a short source does not cover keeps the
// destination's value.
BOOL Merge(DriverDevMode& destination, const DEVMODEW* source, HANDLE printer) {
  const RuntimeBlock<DriverDevMode> scratch(static_cast<DriverDevMode*>(std::calloc(1, sizeof(DriverDevMode))));
  if (!scratch) return FALSE;
  DumpBoth("pdmDest:", destination, "pdmSrc:", source);
  *scratch = destination;
  if (ConvertDevMode(source, &scratch->dm_public) <= 0) return FALSE;
  CopyDevmode(destination, *scratch);
  ValidateDevmode(destination, printer);
  DumpBoth("pdmDest:", destination, "pdmSrc:", &scratch->dm_public);
  return TRUE;
}

}  // namespace

BOOL MergeDevMode(DriverDevMode& destination, const DEVMODEW* source, HANDLE printer) {
  const TraceScope trace("MergeDevMode");
  return trace.ReturnBool(source ? Merge(destination, source, printer) : TRUE);
}

void CopyDevmode(DriverDevMode& destination, const DriverDevMode& source) {
  const TraceScope trace("CopyDevmode");
  DumpBoth("dest:", destination, "src:", &source.dm_public);

  auto* const to = reinterpret_cast<std::byte*>(&destination.dm_public);
  const auto* const from = reinterpret_cast<const std::byte*>(&source.dm_public);
  const DWORD fields = source.dm_public.dmFields;
  for (const MergedField& field : kMergedFields) {
    if (!(fields & field.bit)) continue;
    std::memcpy(to + field.offset, from + field.offset, field.size);
    destination.dm_public.dmFields |= field.bit;
  }
  if (fields & DM_FORMNAME) {
    CopyBounded(std::span(destination.dm_public.dmFormName), std::span<const WCHAR>(source.dm_public.dmFormName));
    destination.dm_public.dmFields |= DM_FORMNAME;
  }
  if (source.dm_private.signature == kSignature) destination.dm_private = source.dm_private;

  DumpBoth("dest:", destination, "src:", &source.dm_public);
}

}  // namespace r5lqz
