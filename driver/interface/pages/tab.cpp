#include "pages/tab.h"

#include <memory>

#include "base/running_operation.h"
#include "pages/help.h"
#include "settings/conversion.h"

namespace r5lqz {
namespace {

// What the tabs report when the sheet is cancelled; not CPSUI_CANCEL, which is 0.
constexpr LPARAM kResetResult = 2;

void ReportResult(const PropertiesContext& context, LPARAM result) {
  if (context.pfnComPropSheet) context.pfnComPropSheet(context.hComPropSheet, CPSFUNC_SET_RESULT, 0, result);
}

PropertiesContext* ContextOf(HWND dialog) {
  return reinterpret_cast<PropertiesContext*>(GetWindowLongPtrW(dialog, GWLP_USERDATA));
}

struct ContextReleaser {
  void operator()(PropertiesContext* context) const { ReleaseContext(*context); }
};

// A tab's operation, which keeps the context alive while it runs.
class TabOperation {
 public:
  TabOperation(HWND dialog, PropertiesContext& context) : context_(&context), operation_(context.running, dialog) {}

 private:
  // In this order: the operation has ended when the context is released.
  std::unique_ptr<PropertiesContext, ContextReleaser> context_;
  RunningOperation operation_;
};

void Open(const TabOperations& tab, HWND dialog, LPARAM page) {
  const LPARAM kept = reinterpret_cast<const PROPSHEETPAGEW*>(page)->lParam;
  SetWindowLongPtrW(dialog, GWLP_USERDATA, kept);
  auto& context = *reinterpret_cast<PropertiesContext*>(kept);
  ++context.tab_windows;
  // A page that is first turned to behind the sheet's end: the printer may be another's by now.
  if (context.is_closed) return;
  const TabOperation operation(dialog, context);
  tab.initialize(dialog, context);
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
  const TabOperation running(dialog, context);
  if (code == static_cast<UINT>(PSN_HELP)) {
    if (tab.help_topic && !IsNestedOperation(context)) HelpClick(dialog, context.printer, tab.help_topic);
  } else if (const auto operation = OperationFor(tab, code)) {
    operation(dialog, context);
  }
}

void Command(const TabOperations& tab, HWND dialog, int control, PropertiesContext& context) {
  const TabOperation running(dialog, context);
  tab.command(dialog, control, context);
}

void Close(HWND dialog, PropertiesContext& context) {
  SetWindowLongPtrW(dialog, GWLP_USERDATA, 0);
  RunningOperation::WindowIsGone(context.running, dialog);
  --context.tab_windows;
  ReleaseContext(context);
}

}  // namespace

INT_PTR RouteTab(const TabOperations& tab, HWND dialog, UINT message, WPARAM w_param, LPARAM l_param) {
  PropertiesContext* const context = ContextOf(dialog);
  const bool works = context && !context->is_closed;
  switch (message) {
    case WM_INITDIALOG:
      // A second one is not the system's.
      if (!context) Open(tab, dialog, l_param);
      return TRUE;
    case WM_NOTIFY:
      if (works && l_param) Notify(tab, dialog, reinterpret_cast<const NMHDR*>(l_param)->code, *context);
      return TRUE;
    case WM_COMMAND:
      if (works && tab.command) Command(tab, dialog, LOWORD(w_param), *context);
      return tab.takes_commands;
    case WM_DESTROY:
      if (tab.destroy) tab.destroy(dialog);
      ReleasePictures(dialog);
      if (context) Close(dialog, *context);
      return FALSE;
    default:
      return FALSE;
  }
}

bool IsTabGone(const PropertiesContext& context) {
  return context.is_closed || (context.running && context.running->IsWindowGone());
}

bool IsNestedOperation(const PropertiesContext& context) {
  return context.running && context.running->IsNested();
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
  if (!IsTabGone(context)) AnswerNotification(dialog, PSNRET_NOERROR);
}

void FinishReset(HWND dialog, const PropertiesContext& context) {
  ReportResult(context, kResetResult);
  if (!IsTabGone(context)) AnswerNotification(dialog, PSNRET_NOERROR);
}

}  // namespace r5lqz
