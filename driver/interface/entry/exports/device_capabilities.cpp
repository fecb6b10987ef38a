#include <algorithm>
#include <cstring>
#include <span>

#include "base/bounded_text.h"
#include "base/printer_interface.h"
#include "diag/trace.h"
#include "labels/label_store.h"
#include "settings/conversion.h"

namespace r5lqz {
namespace {

constexpr DWORD kUnsupported = GDI_ERROR;

constexpr WORD kOnlyBin = DMBIN_USER;
constexpr WCHAR kBinName[] = L"Feeder";
constexpr std::size_t kBinNameSize = 24;    // characters of a bin's slot
constexpr std::size_t kPaperNameSize = 64;  // characters of a paper's slot
constexpr DWORD kLandscapeRotation = 90;    // degrees counter-clockwise from portrait

static_assert(DC_FIELDS == 1 && DC_COPIES == 18);

// A printer's labels, read once for one answer. A list that cannot be read has the labels that were loaded.
class LabelList {
 public:
  explicit LabelList(HANDLE printer) { ReadPrinterLabelList(printer, labels_, kMostLabels, &count_); }
  std::span<const PrinterLabel> labels() const { return std::span(labels_).first(static_cast<std::size_t>(count_)); }
  DWORD count() const { return static_cast<DWORD>(count_); }

 private:
  PrinterLabel labels_[kMostLabels];
  LONG count_ = 0;
};

// Callers' arrays may lie anywhere, so entries are written byte by byte.
template <typename Entry>
std::byte* PutEntry(void* at, const Entry& entry) {
  std::memcpy(at, &entry, sizeof entry);
  return static_cast<std::byte*>(at) + sizeof entry;
}

// A label's extent as the answer has room for it: 16 bits, whatever the stored text says.
LONG ShortExtent(const char (&text)[kNumberTextSize], DWORD units) {
  return static_cast<SHORT>(LabelTenths(text, units));
}

void PutLabel(WORD capability, const PrinterLabel& label, void*& at) {
  switch (capability) {
    case DC_PAPERS:
      at = PutEntry(at, static_cast<WORD>(label.id));
      break;
    case DC_PAPERSIZE:
      at = PutEntry(at, POINT{ShortExtent(label.width, label.units), ShortExtent(label.length, label.units)});
      break;
    default:
      // The name's characters never fill a slot to its last one, so every slot ends in a zero.
      at = PutEntry(at, WidenText<kPaperNameSize>(label.name));
      break;
  }
}

DWORD AnswerOfLabels(HANDLE printer, WORD capability, void* output) {
  const LabelList list(printer);
  if (output) {
    for (const PrinterLabel& label : list.labels()) PutLabel(capability, label, output);
  }
  return list.count();
}

DWORD AnswerOfRecord(HANDLE printer, const WCHAR* device_name, WORD capability, const DEVMODEW* record) {
  DriverDevMode merged;
  if (!SetupDefaultDevMode(merged, device_name, printer) || !MergeDevMode(merged, record, printer)) return kUnsupported;
  const DEVMODEW& settings = merged.dm_public;
  switch (capability) {
    case DC_FIELDS:
      return settings.dmFields;
    case DC_SIZE:
      return settings.dmSize;
    case DC_EXTRA:
      return settings.dmDriverExtra;
    case DC_VERSION:
      return settings.dmSpecVersion;
    default:
      return settings.dmDriverVersion;
  }
}

DWORD AnswerOfExtent(LONG width, LONG length, void* output) {
  if (output) PutEntry(output, POINT{width, length});
  return static_cast<DWORD>(MAKELONG(width, length));
}

DWORD AnswerOfBins(void* output) {
  if (output) PutEntry(output, kOnlyBin);
  return 1;
}

DWORD AnswerOfBinNames(void* output) {
  std::array<WCHAR, kBinNameSize> slot;
  CopyBounded(std::span(slot), kBinName);
  if (output) PutEntry(output, slot);
  return 1;
}

DWORD AnswerOfResolutions(void* output) {
  if (output) {
    for (const LONG resolution : kResolutions) output = PutEntry(output, std::array<LONG, 2>{resolution, resolution});
  }
  return static_cast<DWORD>(kResolutions.size());
}

DWORD AnswerOfFileDependencies(void* output) {
  if (output) PutEntry(output, WCHAR{});
  return 0;
}

DWORD Answer(HANDLE printer, const WCHAR* device_name, WORD capability, void* output, const DEVMODEW* record) {
  switch (capability) {
    case DC_FIELDS:
    case DC_SIZE:
    case DC_EXTRA:
    case DC_VERSION:
    case DC_DRIVER:
      return AnswerOfRecord(printer, device_name, capability, record);
    case DC_PAPERS:
    case DC_PAPERSIZE:
    case DC_PAPERNAMES:
      return AnswerOfLabels(printer, capability, output);
    case DC_MINEXTENT:
      return AnswerOfExtent(kWidthLimits.lowest, kLengthLimits.lowest, output);
    case DC_MAXEXTENT:
      return AnswerOfExtent(kWidthLimits.highest, kLengthLimits.highest, output);
    case DC_BINS:
      return AnswerOfBins(output);
    case DC_BINNAMES:
      return AnswerOfBinNames(output);
    case DC_ENUMRESOLUTIONS:
      return AnswerOfResolutions(output);
    case DC_FILEDEPENDENCIES:
      return AnswerOfFileDependencies(output);
    case DC_DUPLEX:
      return 1;
    case DC_TRUETYPE:
      return DCTT_BITMAP;
    case DC_ORIENTATION:
      return kLandscapeRotation;
    case DC_COPIES:
      return 1;
    default:
      return kUnsupported;
  }
}

}  // namespace
}  // namespace r5lqz

DWORD WINAPI DrvDeviceCapabilities(HANDLE printer, LPWSTR device_name, WORD capability, PVOID output,
                                   PDEVMODEW record) {
  const r5lqz::TraceScope trace("DrvDeviceCapabilities");
  return r5lqz::Answer(printer, device_name, capability, output, record);
}
