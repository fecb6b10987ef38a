#include <algorithm>

#include "base/printer_interface.h"
#include "diag/trace.h"
#include "labels/label_store.h"
#include "settings/conversion.h"

namespace r5lqz {
namespace {

// The paper of a job's own record; 0, which no printer knows, when the record ends before it.
SHORT PaperOf(const DEVMODEW* record) {
  constexpr std::size_t kOffset = offsetof(DEVMODEW, dmPaperSize);
  SHORT paper = 0;
  if (FormOf(record).public_size >= kOffset + sizeof paper) {
    std::memcpy(&paper, reinterpret_cast<const std::byte*>(record) + kOffset, sizeof paper);
  }
  return paper;
}

// Whether the job's paper is one that this printer knows: a size of the application's own, or one of its labels.
BOOL QueryPrintForm(const DEVQUERYPRINT_INFO& info) {
  const TraceScope trace("QueryPrintForm");
  const SHORT paper = PaperOf(info.pDevMode);
  if (paper == kUserPaper) return TRUE;
  PrinterLabel labels[kMostLabels];
  LONG count = 0;
  ReadPrinterLabelList(info.hPrinter, labels, kMostLabels, &count);
  return std::any_of(labels, labels + count, [paper](const PrinterLabel& label) { return label.id == paper; });
}

BOOL QueryPrint(const DEVQUERYPRINT_INFO* info) {
  if (!info) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (!info->pDevMode) return TRUE;
  // The job's record must be one that can be merged, though the paper is asked of the record as it came.
  DriverDevMode merged;
  if (!SetupDefaultDevMode(merged, nullptr, info->hPrinter)) return FALSE;
  if (!MergeDevMode(merged, info->pDevMode, info->hPrinter)) return FALSE;
  return QueryPrintForm(*info);
}

}  // namespace
}  // namespace r5lqz

BOOL WINAPI DevQueryPrintEx(PDEVQUERYPRINT_INFO info) {
  const r5lqz::TraceScope trace("DevQueryPrintEx");
  return r5lqz::QueryPrint(info);
}
