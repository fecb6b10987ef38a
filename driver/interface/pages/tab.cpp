#include "pages/tab.h"

#include "settings/conversion.h"

namespace r5lqz {
namespace {

// What the tabs report when the sheet is cancelled; not CPSUI_CANCEL, which is 0.
constexpr LPARAM kResetResult = 2;

void ReportResult(const PropertiesContext& context, LPARAM result) {
  if (context.pfnComPropSheet) context.pfnComPropSheet(context.hComPropSheet, CPSFUNC_SET_RESULT, 0, result);
}

}  // namespace

PropertiesContext& KeepContext(HWND dialog, LPARAM page) {
  const LPARAM context = reinterpret_cast<const PROPSHEETPAGEW*>(page)->lParam;
  SetWindowLongPtrW(dialog, GWLP_USERDATA, context);
  return *reinterpret_cast<PropertiesContext*>(context);
}

PropertiesContext* ContextOf(HWND dialog) {
  return reinterpret_cast<PropertiesContext*>(GetWindowLongPtrW(dialog, GWLP_USERDATA));
}

void ReleasePictures(HWND dialog) {
  // Means nothing to controls that are no pictures.
  const auto release = [](HWND control, LPARAM) -> BOOL {
    const LRESULT bitmap = SendMessageW(control, STM_SETIMAGE, IMAGE_BITMAP, 0);
    if (bitmap) DeleteObject(reinterpret_cast<HGDIOBJ>(bitmap));
    return TRUE;
  };
  EnumChildWindows(dialog, release, 0);
}

void AnswerNotification(HWND dialog, LONG answer) {
  SetWindowLongPtrW(dialog, DWLP_MSGRESULT, answer);
}

void CopyToOutput(const PropertiesContext& context) {
  if (context.pdmOut && !(context.fMode & DM_NOPERMISSION)) {
    CopyDevModeToOutput(context.working, context.pdmIn, context.pdmOut);
  }
}

void FinishApply(HWND dialog, const PropertiesContext& context) {
  CopyToOutput(context);
  ReportResult(context, CPSUI_OK);
  AnswerNotification(dialog, PSNRET_NOERROR);
}

void FinishReset(HWND dialog, const PropertiesContext& context) {
  ReportResult(context, kResetResult);
  AnswerNotification(dialog, PSNRET_NOERROR);
}

}  // namespace r5lqz
