#include "dialogs/custom_page.h"

#include <array>
#include <cstdio>

#include "base/bounded_text.h"
#include "base/module.h"
#include "diag/trace.h"
#include "dialogs/dialog_frame.h"
#include "dialogs/size_fields.h"
#include "resources/resource_ids.h"
#include "settings/paper.h"

namespace r5lqz {
namespace custom_page {
namespace {

constexpr INT_PTR kConfirmed = 1;
constexpr INT_PTR kCancelled = 2;

// The name by which the custom page goes among the labels.
constexpr char kPageName[] = "Custom";

constexpr SizeFields kFields{
    .width = IDC_CUSTOM_WIDTH,
    .width_range = IDC_CUSTOM_WIDTH_RANGE,
    .length = IDC_CUSTOM_LENGTH,
    .length_range = IDC_CUSTOM_LENGTH_RANGE,
    .inches = IDC_CUSTOM_INCHES,
    .millimetres = IDC_CUSTOM_MM,
    .vertical = IDC_CUSTOM_VERT,
    .vertical_spin = IDC_CUSTOM_VERT_SPIN,
    .vertical_readout = IDC_CUSTOM_VERT_READOUT,
    .horizontal = IDC_CUSTOM_HORZ,
    .horizontal_spin = IDC_CUSTOM_HORZ_SPIN,
    .horizontal_readout = IDC_CUSTOM_HORZ_READOUT,
};

// What the dialog is opened with. The printer is the record's; the dialog asks it nothing.
struct Request {
  HANDLE printer;
  DriverDevMode* working;
};

// The state of one open dialog.
struct CustomPageContext {
  DWORD units;
  DriverDevMode* record;
};

using OffsetText = std::array<char, 16>;

OffsetText TextOfOffset(LONG offset) {
  OffsetText text{};
  std::snprintf(text.data(), text.size(), "%d", static_cast<int>(offset));
  return text;
}

void DisplayValues(HWND dialog, const DriverDevMode& record, DWORD& units) {
  const TraceScope trace("DisplayValues");
  const PrivateDevMode& own = record.dm_private;
  const OffsetText vertical = TextOfOffset(own.vertOffset);
  const OffsetText horizontal = TextOfOffset(own.horzOffset);
  ShowSize(dialog, kFields, {own.width_string, own.length_string, vertical.data(), horizontal.data(), own.units},
           units);
}

BOOL Initialize(HWND dialog, CustomPageContext& context) {
  const TraceScope trace("Initialize");
  context.units = context.record->dm_private.units;
  InitSizeFields(dialog, kFields);
  DisplayValues(dialog, *context.record, context.units);
  return TRUE;
}

void OkClick(HWND dialog, DriverDevMode& record) {
  const TraceScope trace("OkClick");
  PrinterLabel page{};
  if (!ReadSize(dialog, kFields, page)) return;
  CopyBounded(std::span(page.name), kPageName);
  page.id = kCustomPage;
  TakePage(record, page);
  EndDialog(dialog, kConfirmed);
}

void CancelClick(HWND dialog) {
  const TraceScope trace("CancelClick");
  EndDialog(dialog, kCancelled);
}

bool Open(HWND dialog, CustomPageContext& context, LPARAM parameter) {
  context = {kInches, reinterpret_cast<const Request*>(parameter)->working};
  return Initialize(dialog, context);
}

INT_PTR Command(HWND dialog, int control, int notification, CustomPageContext& context, const RunningOperation& self) {
  INT_PTR answer = TRUE;
  if (RouteSizeFields(dialog, kFields, control, notification, context.units, self, answer)) return answer;
  if (self.IsNested()) return TRUE;
  switch (control) {
    case IDOK:
      OkClick(dialog, *context.record);
      return TRUE;
    case IDCANCEL:
      CancelClick(dialog);
      return TRUE;
    default:
      return TRUE;
  }
}

constexpr DialogOperations<CustomPageContext> kOperations{.open = Open, .command = Command, .not_shown = kCancelled};

INT_PTR CALLBACK CustomPageDlgProc(HWND dialog, UINT message, WPARAM w_param, LPARAM l_param) {
  return RouteDialog(kOperations, dialog, message, w_param, l_param);
}

}  // namespace
}  // namespace custom_page

void EditCustomPage(HWND owner, HANDLE printer, DriverDevMode& working) {
  const custom_page::Request request{printer, &working};
  DialogBoxParamW(ModuleHandle(), MAKEINTRESOURCEW(IDD_CUSTOM_PAGE), owner, custom_page::CustomPageDlgProc,
                  reinterpret_cast<LPARAM>(&request));
}

}  // namespace r5lqz
