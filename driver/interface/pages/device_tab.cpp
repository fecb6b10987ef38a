// The Device tab of the printer-properties sheet: product information and the option to buffer print jobs.
#include "diag/trace.h"
#include "install/printer_event.h"
#include "pages/product_info.h"
#include "pages/tab.h"
#include "resources/resource_ids.h"

namespace r5lqz {
namespace device_tab {
namespace {

void InitDialog(HWND dialog, PropertiesContext& context) {
  const TraceScope trace("InitDialog");
  ShowProductInfo(dialog, IDC_DEVICE_VERSION, IDC_DEVICE_NOTICE);
  CheckDlgButton(dialog, IDC_DEVICE_BUFFER, ReadBufferPrintJob(context.printer));
}

// The tab stores its option itself and reports no result; a refusal is in the trace log.
void OkClick(HWND dialog, PropertiesContext& context) {
  const TraceScope trace("OkClick");
  SetBufferPrintJob(context.printer, IsDlgButtonChecked(dialog, IDC_DEVICE_BUFFER) == BST_CHECKED);
  AnswerNotification(dialog, PSNRET_NOERROR);
}

void CancelClick(HWND dialog, PropertiesContext& context) {
  const TraceScope trace("CancelClick");
  FinishReset(dialog, context);
}

constexpr TabOperations kOperations{.initialize = InitDialog, .apply = OkClick, .reset = CancelClick};

}  // namespace
}  // namespace device_tab

INT_PTR CALLBACK DeviceDlgProc(HWND dialog, UINT message, WPARAM w_param, LPARAM l_param) {
  return RouteTab(device_tab::kOperations, dialog, message, w_param, l_param);
}

}  // namespace r5lqz
