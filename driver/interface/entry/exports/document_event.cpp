#include <cstddef>

#include "base/printer_interface.h"
#include "diag/trace.h"

namespace r5lqz {
namespace {

// The events that the module wants delivered.
constexpr DWORD kWantedEvents[] = {DOCUMENTEVENT_QUERYFILTER, DOCUMENTEVENT_STARTDOCPRE};
constexpr UINT kWantedCount = static_cast<UINT>(std::size(kWantedEvents));

// Names the wanted events in the caller's filter of `size` bytes, when the filter and its bytes have room for them.
void FillFilter(DOCEVENT_FILTER* filter, ULONG size) {
  constexpr std::size_t kHead = offsetof(DOCEVENT_FILTER, aDocEventCall);
  if (!filter || size < kHead) return;
  if (filter->cElementsAllocated < kWantedCount || size < kHead + sizeof kWantedEvents) {
    filter->cElementsNeeded = kWantedCount;
    return;
  }
  std::copy(std::begin(kWantedEvents), std::end(kWantedEvents), filter->aDocEventCall);
  filter->cElementsReturned = kWantedCount;
}

}  // namespace
}  // namespace r5lqz

int WINAPI DrvDocumentEvent(HANDLE /*printer*/, HDC /*device*/, int event, ULONG /*in_size*/, PVOID /*in*/,
                            ULONG out_size, PVOID out) {
  const r5lqz::TraceScope trace("DrvDocumentEvent");
  // The upper half of the code carries the platform's flags (DOCUMENTEVENT_SPOOLED).
  switch (DOCUMENTEVENT_EVENT(event)) {
    case DOCUMENTEVENT_CREATEDCPRE:
      return DOCUMENTEVENT_SUCCESS;
    case DOCUMENTEVENT_STARTDOCPRE:
      r5lqz::LoadLogMask();
      return DOCUMENTEVENT_SUCCESS;
    case DOCUMENTEVENT_QUERYFILTER:
      r5lqz::FillFilter(static_cast<DOCEVENT_FILTER*>(out), out_size);
      return DOCUMENTEVENT_SUCCESS;
    default:
      return DOCUMENTEVENT_UNSUPPORTED;
  }
}
