#include "entry/exports/document_properties.h"

#include "diag/trace.h"
#include "entry/exports/property_sheets.h"
#include "entry/shared/properties_context.h"
#include "settings/conversion.h"

namespace r5lqz {
namespace {

constexpr LONG kDone = 1;
constexpr LONG kFailed = -1;
constexpr DWORD kOutputModes = DM_OUT_DEFAULT | DM_OUT_BUFFER;

// How much of the output record there is for certain: what the call may write. Its own words do not tell: a caller that
// reuses a block has left them from another record. Without an output flag nothing is written, and the caller has
// promised no room at all.
DWORD RoomOf(const DOCUMENTPROPERTYHEADER& header) {
  return header.fMode & kOutputModes ? OutputForm(header.pdmIn).total() : 0;
}

LONG AnswerWithoutSheet(DOCUMENTPROPERTYHEADER* header) {
  if (!header) return kFailed;
  LOG_INFO("pDPHdr->fMode = %d", static_cast<int>(header->fMode));
  return CopyDocumentProperties(*header);
}

}  // namespace

LONG CopyDocumentProperties(DOCUMENTPROPERTYHEADER& header) {
  const TraceScope trace("CopyDocumentProperties");
  header.cbOut = kRecordSize;
  if (header.fMode == 0 || !header.pdmOut) return kRecordSize;

  DumpTitled("pDPHdr->pdmIn:", header.pdmIn);
  DumpTitled("pDPHdr->pdmOut:", header.pdmOut, RoomOf(header));
  const OwnedContext context = FillUiData(header.hPrinter, header.pdmIn);
  if (!context) return kFailed;
  if (header.fMode & kOutputModes) CopyDevModeToOutput(context->working, header.pdmIn, header.pdmOut);
  return kDone;
}

}  // namespace r5lqz

LONG WINAPI DrvDocumentPropertySheets(PPROPSHEETUI_INFO info, LPARAM param) {
  const r5lqz::TraceScope trace("DrvDocumentPropertySheets");
  if (info) return r5lqz::AnswerDocumentSheet(*info, param);
  return r5lqz::AnswerWithoutSheet(reinterpret_cast<DOCUMENTPROPERTYHEADER*>(param));
}
