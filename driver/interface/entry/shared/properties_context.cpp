#include "entry/shared/properties_context.h"

#include "base/owned.h"
#include "diag/trace.h"
#include "entry/shared/forms.h"
#include "entry/shared/printer_info.h"
#include "settings/conversion.h"

namespace r5lqz {
namespace {

constexpr SIZE_T kInitialHeapSize = 8192;

OwnedContext CreateContext(HANDLE printer) {
  OwnedHeap heap(HeapCreate(0, kInitialHeapSize, 0));
  if (!heap) return nullptr;
  auto* const context =
      static_cast<PropertiesContext*>(HeapAlloc(heap.get(), HEAP_ZERO_MEMORY, sizeof(PropertiesContext)));
  if (!context) return nullptr;
  context->printer = printer;
  context->heap = heap.release();
  return OwnedContext(context);
}

void BuildWorkingRecord(PropertiesContext& context, const PRINTER_INFO_2W& info, const DEVMODEW* in) {
  SetupDefaultDevMode(context.working, info.pDriverName, context.printer);
  DumpTitled("pdm:", &context.working.dm_public);
  // A record that cannot be merged leaves the settings as they are: bad data still gets a sheet and an answer.
  MergeDevMode(context.working, StoredDefault(info), context.printer);
  MergeDevMode(context.working, in, context.printer);
  context.automatic_color = context.working.dm_private.colorAdjust;
}

}  // namespace

void DestroyContext(PropertiesContext* context) {
  if (!context) return;
  context->is_closed = true;
  ReleaseContext(*context);
}

void ReleaseContext(PropertiesContext& context) {
  if (context.is_closed && context.tab_windows == 0 && !context.running) OwnedHeap(context.heap).reset();
}

OwnedContext FillUiData(HANDLE printer, const DEVMODEW* in) {
  const TraceScope trace("FillUiData");
  OwnedContext context = CreateContext(printer);
  if (!context) return nullptr;
  const GlobalBlock<PRINTER_INFO_2W> info(MyGetPrinterInfo(printer));
  if (!info) return nullptr;
  BuildWorkingRecord(*context, *info, in);
  AddPrinterForms(printer);
  return context;
}

const DEVMODEW* StoredDefault(const PRINTER_INFO_2W& info) {
  const DEVMODEW* const record = info.pDevMode;
  const auto start = reinterpret_cast<std::uintptr_t>(&info);
  const auto end = start + GlobalSize(const_cast<PRINTER_INFO_2W*>(&info));
  const auto at = reinterpret_cast<std::uintptr_t>(record);
  // Elsewhere than in the block there is nothing to measure it by.
  if (at < start || at >= end) return record;
  const bool fits = end - at >= kFormEnd && end - at >= FormOf(record).total();
  if (!fits) LOG_ERROR("The printer's stored settings are cut off: %u bytes", static_cast<unsigned>(end - at));
  return fits ? record : nullptr;
}

}  // namespace r5lqz
