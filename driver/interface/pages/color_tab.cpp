// The Color tab ("Appearance"): print quality, and who adjusts the colours: the driver, with a profile and an intent,
// or the application.
#include <algorithm>
#include <array>
#include <iterator>

#include "base/bounded_text.h"
#include "base/owned.h"
#include "diag/trace.h"
#include "entry/shared/color_profile_list.h"
#include "entry/shared/printer_info.h"
#include "pages/dialog_helpers.h"
#include "pages/help_topics.h"
#include "pages/tab.h"
#include "resources/resource_ids.h"

namespace r5lqz {
namespace color_tab {
namespace {

// The resolutions by the names that they have for the user.
constexpr std::array<ComboBoxEntry, kResolutions.size()> kQualities{{
    {IDS_QUALITY_BEST, kResolutions[0]},
    {IDS_QUALITY_NORMAL, kResolutions[1]},
    {IDS_QUALITY_FAST, kResolutions[2]},
}};
constexpr int kNormalQuality = 1;

// In the order of the values of rendIntent.
constexpr ComboBoxEntry kIntents[] = {
    {IDS_INTENT_PERCEPTUAL, 0},
    {IDS_INTENT_RELATIVE, 1},
    {IDS_INTENT_ABSOLUTE, 2},
    {IDS_INTENT_SATURATION, 3},
};

int QualityIndex(SHORT resolution) {
  const auto found = std::find(kResolutions.begin(), kResolutions.end(), resolution);
  return found != kResolutions.end() ? static_cast<int>(found - kResolutions.begin()) : kNormalQuality;
}

// Each entry has a copy of its profile's name of its own; the combo box keeps it as item value until
// FreeColorProfileItemData.
void AddProfile(HWND box, const WCHAR* name) {
  RuntimeBlock<WCHAR> copy = CopyOfText(name);
  if (!copy) return;
  const LRESULT entry = SendMessageW(box, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(copy.get()));
  if (entry < 0) return;
  SendMessageW(box, CB_SETITEMDATA, static_cast<WPARAM>(entry), reinterpret_cast<LPARAM>(copy.release()));
  // The box has it now, which the analyzer cannot see.
}  // NOLINT(clang-analyzer-unix.Malloc)

void InitColorProfileComboBox(HWND dialog, HANDLE printer) {
  const TraceScope trace("InitColorProfileComboBox");
  const HWND box = GetDlgItem(dialog, IDC_COLOR_PROFILE);
  SendMessageW(box, CB_RESETCONTENT, 0, 0);
  const RuntimeBlock<WCHAR> printer_name(GetPrinterName(printer));
  if (!printer_name) return;
  WCHAR* list = nullptr;
  if (!GetColorProfileList(printer_name.get(), &list)) return;
  const RuntimeBlock<WCHAR> profiles(list);
  for (const WCHAR* name = list; *name; name += std::wcslen(name) + 1) AddProfile(box, name);
}

// Every copy is released once: what was released is no longer the entry's. The entries themselves stay.
void FreeColorProfileItemData(HWND dialog) {
  const TraceScope trace("FreeColorProfileItemData");
  const HWND box = GetDlgItem(dialog, IDC_COLOR_PROFILE);
  const LRESULT count = SendMessageW(box, CB_GETCOUNT, 0, 0);
  for (LRESULT entry = 0; entry < count; ++entry) {
    const auto index = static_cast<WPARAM>(entry);
    const RuntimeBlock<WCHAR> copy(reinterpret_cast<WCHAR*>(SendMessageW(box, CB_GETITEMDATA, index, 0)));
    SendMessageW(box, CB_SETITEMDATA, index, 0);
  }
}

void EnableColorLists(HWND dialog, bool enable) {
  EnableWindow(GetDlgItem(dialog, IDC_COLOR_INTENT), enable);
  EnableWindow(GetDlgItem(dialog, IDC_COLOR_PROFILE), enable);
}

void SyncColorAdjustControls(HWND dialog, const PropertiesContext& context) {
  const bool automatic = context.automatic_color != 0;
  EnableWindow(GetDlgItem(dialog, IDC_COLOR_AUTOMATIC), TRUE);
  EnableColorLists(dialog, automatic);
  CheckDlgButton(dialog, IDC_COLOR_AUTOMATIC, automatic ? BST_CHECKED : BST_UNCHECKED);
  CheckDlgButton(dialog, IDC_COLOR_APPLICATION, automatic ? BST_UNCHECKED : BST_CHECKED);
}

void InitDialog(HWND dialog, PropertiesContext& context) {
  const TraceScope trace("InitDialog");
  const DriverDevMode& working = context.working;
  InitComboBox(dialog, IDC_COLOR_QUALITY, kQualities, QualityIndex(working.dm_public.dmPrintQuality));
  SyncColorAdjustControls(dialog, context);
  InitComboBox(dialog, IDC_COLOR_INTENT, kIntents, static_cast<int>(working.dm_private.rendIntent));
  InitColorProfileComboBox(dialog, context.printer);
  std::array<WCHAR, kProfileNameSize> profile;
  CopyBounded(std::span(profile), std::span<const WCHAR>(working.dm_private.colorProfile));
  SetComboBoxSelectionString(dialog, IDC_COLOR_PROFILE, profile.data());
}

void ColorAdjustClick(HWND dialog, bool automatic, PropertiesContext& context) {
  const TraceScope trace("ColorAdjustClick");
  context.automatic_color = automatic;
  EnableColorLists(dialog, automatic);
}

void ReInitPage(HWND dialog, PropertiesContext& context) {
  const TraceScope trace("ReInitPage");
  SyncColorAdjustControls(dialog, context);
  AnswerNotification(dialog, PSNRET_NOERROR);
}

LRESULT SelectionOf(HWND dialog, int control) {
  return SendDlgItemMessageW(dialog, control, CB_GETCURSEL, 0, 0);
}

// A printer without profiles keeps the one that the record names: there was nothing to choose instead.
void TakeProfile(HWND dialog, PrivateDevMode& own) {
  const LRESULT entry = SelectionOf(dialog, IDC_COLOR_PROFILE);
  if (entry < 0) return;
  const auto* const name = reinterpret_cast<const WCHAR*>(
      SendDlgItemMessageW(dialog, IDC_COLOR_PROFILE, CB_GETITEMDATA, static_cast<WPARAM>(entry), 0));
  if (name) CopyBounded(std::span(own.colorProfile), name);
}

void OkClick(HWND dialog, PropertiesContext& context) {
  const TraceScope trace("OkClick");
  DEVMODEW& settings = context.working.dm_public;
  PrivateDevMode& own = context.working.dm_private;
  const LRESULT quality = SelectionOf(dialog, IDC_COLOR_QUALITY);
  if (quality >= 0 && static_cast<std::size_t>(quality) < kResolutions.size()) {
    settings.dmPrintQuality = settings.dmYResolution = kResolutions[static_cast<std::size_t>(quality)];
  }
  own.colorAdjust = IsDlgButtonChecked(dialog, IDC_COLOR_AUTOMATIC) == BST_CHECKED;
  if (const LRESULT intent = SelectionOf(dialog, IDC_COLOR_INTENT); intent >= 0 && intent < std::ssize(kIntents))
    own.rendIntent = static_cast<DWORD>(intent);
  TakeProfile(dialog, own);
  // The profiles' copies stay: an apply may leave the sheet open, and the next one reads them again.
  FinishApply(dialog, context);
}

void CancelClick(HWND dialog, PropertiesContext& context) {
  const TraceScope trace("CancelClick");
  FreeColorProfileItemData(dialog);
  FinishReset(dialog, context);
}

void Command(HWND dialog, int control, PropertiesContext& context) {
  switch (control) {
    case IDC_COLOR_AUTOMATIC:
      return ColorAdjustClick(dialog, true, context);
    case IDC_COLOR_APPLICATION:
      return ColorAdjustClick(dialog, false, context);
    default:
      return;
  }
}

constexpr TabOperations kOperations{
    .initialize = InitDialog,
    .set_active = ReInitPage,
    .apply = OkClick,
    .reset = CancelClick,
    .help_topic = kAppearanceTopic,
    .takes_commands = true,
    .command = Command,
    .destroy = FreeColorProfileItemData,
};

}  // namespace
}  // namespace color_tab

INT_PTR CALLBACK ColorDlgProc(HWND dialog, UINT message, WPARAM w_param, LPARAM l_param) {
  return RouteTab(color_tab::kOperations, dialog, message, w_param, l_param);
}

}  // namespace r5lqz
