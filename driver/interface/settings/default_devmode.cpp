#include <cstring>

#include "base/bounded_text.h"
#include "base/owned.h"
#include "diag/trace.h"
#include "entry/shared/color_profile_list.h"
#include "entry/shared/printer_info.h"
#include "settings/driver_devmode.h"

namespace r5lqz {
namespace {

constexpr DWORD kDefaultFields = DM_ORIENTATION | DM_PAPERSIZE | DM_COPIES | DM_DEFAULTSOURCE | DM_PRINTQUALITY |
                                 DM_COLOR | DM_DUPLEX | DM_TTOPTION | DM_FORMNAME;
static_assert(kDefaultFields == 0x00015F03);

// The custom page of a new record: 4.125 by 5.000 inches.
constexpr char kDefaultWidth[] = "4.125";
constexpr char kDefaultLength[] = "5.000";
constexpr DWORD kDefaultUnits = 1;  // inches
constexpr DWORD kRelativeColorimetric = 1;

void SetPublicDefaults(DEVMODEW& settings) {
  PutForm(&settings, kCurrentForm);
  settings.dmFields = kDefaultFields;
  settings.dmOrientation = DMORIENT_PORTRAIT;
  settings.dmPaperSize = kCustomPage;
  settings.dmPaperLength = static_cast<SHORT>(kLengthLimits.fallback);
  settings.dmPaperWidth = static_cast<SHORT>(kWidthLimits.fallback);
  settings.dmCopies = 1;
  settings.dmDefaultSource = DMBIN_FORMSOURCE;
  settings.dmPrintQuality = kDefaultResolution;
  settings.dmColor = DMCOLOR_COLOR;
  settings.dmDuplex = DMDUP_SIMPLEX;
  settings.dmYResolution = kDefaultResolution;
  settings.dmTTOption = DMTT_BITMAP;
  CopyBounded(std::span(settings.dmFormName), kCustomFormName);
}

void SetPrivateDefaults(PrivateDevMode& own) {
  own.signature = kSignature;
  own.rendIntent = kRelativeColorimetric;
  own.copies = 1;
  own.dmPaperSize = kCustomPage;
  own.units = kDefaultUnits;
  CopyBounded(std::span(own.width_string), kDefaultWidth);
  CopyBounded(std::span(own.length_string), kDefaultLength);
}

// The printer's first profile; none when it has none, or one whose name no field holds: part of a file name is no
// profile.
void AssignDefaultColorProfile(PrivateDevMode& own, HANDLE printer) {
  const TraceScope trace("AssignDefaultColorProfile");
  const RuntimeBlock<WCHAR> name(GetPrinterName(printer));
  if (!name) return;
  WCHAR* list = nullptr;
  if (!GetColorProfileList(name.get(), &list)) return;
  const RuntimeBlock<WCHAR> profiles(list);
  CopyBounded(std::span(own.colorProfile), profiles.get());
}

}  // namespace

BOOL SetupDefaultDevMode(DriverDevMode& record, const WCHAR* device_name, HANDLE printer) {
  const TraceScope trace("SetupDefaultDevMode");
  std::memset(&record, 0, sizeof record);
  CopyBounded(std::span(record.dm_public.dmDeviceName), device_name);
  SetPublicDefaults(record.dm_public);
  SetPrivateDefaults(record.dm_private);
  AssignDefaultColorProfile(record.dm_private, printer);
  return trace.ReturnBool(TRUE);
}

}  // namespace r5lqz
