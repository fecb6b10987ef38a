#include "pages/tab.h"

#include "pages/help.h"
#include "settings/conversion.h"

namespace r5lqz {
namespace {

// What the tabs report when the sheet is cancelled; not CPSUI_CANCEL, which is 0.
constexpr LPARAM kResetResult = 2;

void ReportResult(const PropertiesContext& context, LPARAM result) {
  if (context.pfnComPropSheet) context.pfnComPropSheet(context.hComPropSheet, CPSFUNC_SET_RESULT, 0, result);
}

PropertiesContext& KeepContext(HWND dialog, LPARAM page) {
  const LPARAM context = reinterpret_cast<const PROPSHEETPAGEW*>(page)->lParam;
  SetWindowLongPtrW(dialog, GWLP_USERDATA, context);
  return *reinterpret_cast<PropertiesContext*>(context);
}

PropertiesContext* ContextOf(HWND dialog) {
  return reinterpret_cast<PropertiesContext*>(GetWindowLongPtrW(dialog, GWLP_USERDATA));
}

// Not every version of the platform's picture controls frees the bitmaps that it loaded for them.
void ReleasePictures(HWND dialog) {
  // Means nothing to controls that are no pictures.
  const auto release = [](HWND control, LPARAM) -> BOOL {
    const LRESULT bitmap = SendMessageW(control, STM_SETIMAGE, IMAGE_BITMAP, 0);
    if (bitmap) DeleteObject(reinterpret_cast<HGDIOBJ>(bitmap));
    return TRUE;
  };
  EnumChildWindows(dialog, release, 0);
}

TabOperations::Operation OperationFor(const TabOperations& tab, UINT code) {
  switch (code) {
    case static_cast<UINT>(PSN_SETACTIVE):
      return tab.set_active;
    case static_cast<UINT>(PSN_KILLACTIVE):
      return tab.kill_active;
    case static_cast<UINT>(PSN_APPLY):
      return tab.apply;
    case static_cast<UINT>(PSN_RESET):
      return tab.reset;
    default:
      return nullptr;
  }
}

void Notify(const TabOperations& tab, HWND dialog, UINT code, PropertiesContext& context) {
  if (code == static_cast<UINT>(PSN_HELP)) {
    if (tab.help_topic) HelpClick(dialog, context.printer, tab.help_topic);
  } else if (const auto operation = OperationFor(tab, code)) {
    operation(dialog, context);
  }
}

}  // namespace

INT_PTR RouteTab(const TabOperations& tab, HWND dialog, UINT message, WPARAM w_param, LPARAM l_param) {
  PropertiesContext* const context = ContextOf(dialog);
  switch (message) {
    case WM_INITDIALOG:
      tab.initialize(dialog, KeepContext(dialog, l_param));
      return TRUE;
    case WM_NOTIFY:
      if (context) Notify(tab, dialog, reinterpret_cast<const NMHDR*>(l_param)->code, *context);
      return TRUE;
    case WM_COMMAND:
      if (context && tab.command) tab.command(dialog, LOWORD(w_param), *context);
      return tab.takes_commands;
    case WM_DESTROY:
      if (tab.destroy) tab.destroy(dialog);
      ReleasePictures(dialog);
      return FALSE;
    default:
      return FALSE;
  }
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
