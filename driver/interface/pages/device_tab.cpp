// The Device tab of the printer-properties sheet: product information and the option to buffer print jobs.
#include "diag/trace.h"
#include "install/printer_event.h"
#include "pages/product_info.h"
#include "pages/tab.h"
#include "resources/resource_ids.h"

namespace r5lqz {
namespace device_tab {
namespace {

void InitDialog(HWND dialog, const PropertiesContext& context) {
  const TraceScope trace("InitDialog");
  ShowProductInfo(dialog, IDC_DEVICE_VERSION, IDC_DEVICE_NOTICE);
  CheckDlgButton(dialog, IDC_DEVICE_BUFFER, ReadBufferPrintJob(context.printer));
}

// The tab stores its option itself and reports no result; a refusal is in the trace log.
void OkClick(HWND dialog, const PropertiesContext& context) {
  const TraceScope trace("OkClick");
  SetBufferPrintJob(context.printer, IsDlgButtonChecked(dialog, IDC_DEVICE_BUFFER) == BST_CHECKED);
  AnswerNotification(dialog, PSNRET_NOERROR);
}

void CancelClick(HWND dialog, const PropertiesContext& context) {
  const TraceScope trace("CancelClick");
  FinishReset(dialog, context);
}

void Notify(HWND dialog, UINT code, const PropertiesContext& context) {
  switch (code) {
    case static_cast<UINT>(PSN_APPLY):
      return OkClick(dialog, context);
    case static_cast<UINT>(PSN_RESET):
      return CancelClick(dialog, context);
    default:
      return;
  }
}

}  // namespace
}  // namespace device_tab

INT_PTR CALLBACK DeviceDlgProc(HWND dialog, UINT message, WPARAM /*w_param*/, LPARAM l_param) {
  switch (message) {
    case WM_INITDIALOG:
      device_tab::InitDialog(dialog, KeepContext(dialog, l_param));
      return TRUE;
    case WM_NOTIFY:
      if (const PropertiesContext* const context = ContextOf(dialog)) {
        device_tab::Notify(dialog, reinterpret_cast<const NMHDR*>(l_param)->code, *context);
      }
      return TRUE;
    case WM_DESTROY:
      ReleasePictures(dialog);
      return FALSE;
    default:
      return FALSE;
  }
}

}  // namespace r5lqz
