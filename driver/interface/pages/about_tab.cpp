// The About tab: product information and help.
#include "pages/help_topics.h"
#include "pages/product_info.h"
#include "pages/tab.h"
#include "resources/resource_ids.h"

namespace r5lqz {
namespace about_tab {
namespace {

void Initialize(HWND dialog, PropertiesContext& /*context*/) {
  ShowProductInfo(dialog, IDC_ABOUT_VERSION, IDC_ABOUT_NOTICE);
}

constexpr TabOperations kOperations{.initialize = Initialize, .help_topic = kAboutTopic};

}  // namespace
}  // namespace about_tab

INT_PTR CALLBACK AboutDlgProc(HWND dialog, UINT message, WPARAM w_param, LPARAM l_param) {
  return RouteTab(about_tab::kOperations, dialog, message, w_param, l_param);
}

}  // namespace r5lqz
