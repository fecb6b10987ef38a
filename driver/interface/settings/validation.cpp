#include <algorithm>
#include <iterator>
#include <memory>

#include "base/bounded_text.h"
#include "diag/trace.h"
#include "labels/label_store.h"
#include "settings/conversion.h"
#include "settings/paper.h"

namespace r5lqz {
namespace {

constexpr SHORT kOnlyCopies = 1;
constexpr SHORT kFullScale = 100;
constexpr DWORD kDefaultIntent = 1;
constexpr DWORD kLastIntent = 3;
constexpr DWORD kPaperFields = DM_PAPERSIZE | DM_PAPERLENGTH | DM_PAPERWIDTH | DM_FORMNAME;

void ForceFlag(DWORD& flag) {
  if (flag > 1) flag = 0;
}

// A text without a terminator would be read on beyond its field by whoever gets the record.
template <typename Char, std::size_t size>
void ForceTerminated(Char (&text)[size]) {
  if (std::find(std::begin(text), std::end(text), Char{}) == std::end(text)) std::fill_n(text, size, Char{});
}

void SetCustomForm(DEVMODEW& record) {
  CopyBounded(std::span(record.dmFormName), kCustomFormName);
}

void TakeLabel(DriverDevMode& record, const PrinterLabel& label) {
  TakePageSize(record, label);
  const auto form_name = WidenText<kLabelNameSize>(label.name);
  CopyBounded(std::span(record.dm_public.dmFormName), std::span<const WCHAR>(form_name));
  CopyBounded(std::span(record.dm_private.labelName), std::span<const char>(label.name));
}

// A paper that names no label (deleted meanwhile, or a list that cannot be read) keeps the sizes that the record has.
void TakeLabelNumbered(DriverDevMode& record, SHORT id, HANDLE printer) {
  PrinterLabel labels[kMostLabels];
  LONG count = 0;
  ReadPrinterLabelList(printer, labels, kMostLabels, &count);
  const auto read = std::span(labels).first(static_cast<std::size_t>(count));
  const auto label = std::find_if(read.begin(), read.end(), [id](const PrinterLabel& one) { return one.id == id; });
  if (label != read.end()) TakeLabel(record, *label);
}

void ForcePublicFields(DEVMODEW& settings) {
  if (settings.dmOrientation != DMORIENT_PORTRAIT && settings.dmOrientation != DMORIENT_LANDSCAPE) {
    settings.dmOrientation = DMORIENT_PORTRAIT;
  }
  if (std::find(kResolutions.begin(), kResolutions.end(), settings.dmPrintQuality) == kResolutions.end()) {
    settings.dmPrintQuality = kDefaultResolution;
  }
  settings.dmCopies = kOnlyCopies;
  settings.dmYResolution = settings.dmPrintQuality;
  settings.dmDuplex = DMDUP_SIMPLEX;
  settings.dmScale = kFullScale;
  settings.dmCollate = DMCOLLATE_FALSE;
  ForceTerminated(settings.dmDeviceName);
  ForceTerminated(settings.dmFormName);
}

void ForcePrivateFields(PrivateDevMode& own) {
  own.vertOffset = kOffsetLimits.Force(own.vertOffset);
  own.horzOffset = kOffsetLimits.Force(own.horzOffset);
  if (own.rendIntent > kLastIntent) own.rendIntent = kDefaultIntent;
  own.copies = kOnlyCopies;
  for (DWORD* const flag : {&own.colorAdjust, &own.rotate180, &own.mirrorImage, &own.usePrivateCopies}) {
    ForceFlag(*flag);
  }
  ForceTerminated(own.labelName);
  ForceTerminated(own.width_string);
  ForceTerminated(own.length_string);
  ForceTerminated(own.colorProfile);
}

}  // namespace

void ValidateDevmode(DriverDevMode& record, HANDLE printer) {
  const TraceScope trace("ValidateDevmode");
  DumpTitled("pdm (before ValidateForm):", &record.dm_public);
  ValidateForm(record, printer);
  DumpTitled("pdm (After ValidateForm):", &record.dm_public);
  ForcePublicFields(record.dm_public);
  ForcePrivateFields(record.dm_private);
  DumpTitled("pdm:", &record.dm_public);
}

void ValidateForm(DriverDevMode& record, HANDLE printer) {
  const TraceScope trace("ValidateForm");
  DEVMODEW& settings = record.dm_public;
  const SHORT paper = settings.dmPaperSize;
  if (paper <= kUserPaper) {
    settings.dmPaperSize = kUserPaper;
    SetCustomForm(settings);
  } else if (paper != record.dm_private.dmPaperSize) {
    TakeLabelNumbered(record, paper, printer);
  }
  settings.dmPaperLength = static_cast<SHORT>(kLengthLimits.Force(settings.dmPaperLength));
  settings.dmPaperWidth = static_cast<SHORT>(kWidthLimits.Force(settings.dmPaperWidth));
  settings.dmFields |= kPaperFields;
}

}  // namespace r5lqz
