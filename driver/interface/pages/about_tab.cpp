// The About tab: product information and help.
#include "pages/help.h"
#include "pages/help_topics.h"
#include "pages/product_info.h"
#include "pages/tab.h"
#include "resources/resource_ids.h"

namespace r5lqz {
namespace about_tab {
namespace {

void Notify(HWND dialog, UINT code, const PropertiesContext& context) {
  if (code == static_cast<UINT>(PSN_HELP)) HelpClick(dialog, context.printer, kAboutTopic);
}

}  // namespace
}  // namespace about_tab

INT_PTR CALLBACK AboutDlgProc(HWND dialog, UINT message, WPARAM /*w_param*/, LPARAM l_param) {
  switch (message) {
    case WM_INITDIALOG:
      ShowProductInfo(dialog, IDC_ABOUT_VERSION, IDC_ABOUT_NOTICE);
      KeepContext(dialog, l_param);
      return TRUE;
    case WM_NOTIFY:
      if (const PropertiesContext* const context = ContextOf(dialog)) {
        about_tab::Notify(dialog, reinterpret_cast<const NMHDR*>(l_param)->code, *context);
      }
      return TRUE;
    default:
      return FALSE;
  }
}

}  // namespace r5lqz
