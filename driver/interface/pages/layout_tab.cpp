// The Layout tab: orientation, rotation and mirroring, and a copy count that stays hidden and can only be 1.
#include <windows.h>

#include <commctrl.h>

#include <array>

#include "base/bounded_format.h"
#include "diag/number_text.h"
#include "diag/trace.h"
#include "pages/dialog_helpers.h"
#include "pages/help_topics.h"
#include "pages/tab.h"
#include "resources/resource_ids.h"

namespace r5lqz {
namespace layout_tab {
namespace {

constexpr SHORT kFewestCopies = 1;
constexpr SHORT kMostCopies = 1;

// The check boxes and the fields that they show.
constexpr struct {
  int control;
  DWORD PrivateDevMode::* field;
} kFlags[] = {
    {IDC_LAYOUT_ROTATE, &PrivateDevMode::rotate180},
    {IDC_LAYOUT_MIRROR, &PrivateDevMode::mirrorImage},
    {IDC_LAYOUT_DRIVER_COPIES, &PrivateDevMode::usePrivateCopies},
};

void DisplayNumberCopies(HWND dialog, const DriverDevMode& working) {
  const TraceScope trace("DisplayNumberCopies");
  const PrivateDevMode& own = working.dm_private;
  const SHORT copies = own.usePrivateCopies ? own.copies : working.dm_public.dmCopies;
  std::array<WCHAR, 26> text;
  FormatBounded(std::span(text), L"%ld", static_cast<LONG>(copies));
  SetDlgItemTextW(dialog, IDC_LAYOUT_COPIES, text.data());
  SendDlgItemMessageW(dialog, IDC_LAYOUT_COPIES_SPIN, UDM_SETPOS, 0, MAKELPARAM(copies, 0));
}

void InitDialog(HWND dialog, PropertiesContext& context) {
  const TraceScope trace("InitDialog");
  const DriverDevMode& working = context.working;
  const bool landscape = working.dm_public.dmOrientation == DMORIENT_LANDSCAPE;
  CheckDlgButton(dialog, IDC_LAYOUT_LANDSCAPE, landscape ? BST_CHECKED : BST_UNCHECKED);
  CheckDlgButton(dialog, IDC_LAYOUT_PORTRAIT, landscape ? BST_UNCHECKED : BST_CHECKED);
  for (const auto& flag : kFlags) CheckDlgButton(dialog, flag.control, working.dm_private.*flag.field);
  SendDlgItemMessageW(dialog, IDC_LAYOUT_COPIES_SPIN, UDM_SETRANGE, 0, MAKELPARAM(kMostCopies, kFewestCopies));
  DisplayNumberCopies(dialog, working);
}

bool GetNumberCopies(HWND dialog, DriverDevMode& working) {
  const TraceScope trace("GetNumberCopies");
  std::array<char, 20> text{};
  if (!ReadAndValidateInt(dialog, IDC_LAYOUT_COPIES, text, kFewestCopies, kMostCopies, IDS_INVALID_COPIES))
    return false;
  int copies = 0;
  StringToInt(text.data(), &copies);
  working.dm_public.dmCopies = working.dm_private.copies = static_cast<SHORT>(copies);
  return true;
}

void ReInitPage(HWND dialog, PropertiesContext& /*context*/) {
  const TraceScope trace("ReInitPage");
  AnswerNotification(dialog, PSNRET_NOERROR);
}

// Takes the copy count over; false, with the user told, when it is none. While the user is being told something
// already, that is still the answer to whoever asks.
bool TakeCopies(HWND dialog, PropertiesContext& context) {
  return !IsNestedOperation(context) && GetNumberCopies(dialog, context.working);
}

// Whether the tab may be left.
void ValidatePage(HWND dialog, PropertiesContext& context) {
  const TraceScope trace("ValidatePage");
  const LONG answer = TakeCopies(dialog, context) ? FALSE : PSNRET_INVALID_NOCHANGEPAGE;
  if (!IsTabGone(context)) AnswerNotification(dialog, answer);
}

void OkClick(HWND dialog, PropertiesContext& context) {
  const TraceScope trace("OkClick");
  const bool landscape = IsDlgButtonChecked(dialog, IDC_LAYOUT_LANDSCAPE) == BST_CHECKED;
  context.working.dm_public.dmOrientation = landscape ? DMORIENT_LANDSCAPE : DMORIENT_PORTRAIT;
  for (const auto& flag : kFlags) {
    context.working.dm_private.*flag.field = IsDlgButtonChecked(dialog, flag.control) == BST_CHECKED;
  }
  if (TakeCopies(dialog, context)) {
    FinishApply(dialog, context);
  } else if (!IsTabGone(context)) {
    AnswerNotification(dialog, PSNRET_INVALID_NOCHANGEPAGE);
  }
}

void CancelClick(HWND dialog, PropertiesContext& context) {
  const TraceScope trace("CancelClick");
  FinishReset(dialog, context);
}

constexpr TabOperations kOperations{
    .initialize = InitDialog,
    .set_active = ReInitPage,
    .kill_active = ValidatePage,
    .apply = OkClick,
    .reset = CancelClick,
    .help_topic = kLayoutTopic,
    .takes_commands = true,
};

}  // namespace
}  // namespace layout_tab

INT_PTR CALLBACK LayoutDlgProc(HWND dialog, UINT message, WPARAM w_param, LPARAM l_param) {
  return RouteTab(layout_tab::kOperations, dialog, message, w_param, l_param);
}

}  // namespace r5lqz
