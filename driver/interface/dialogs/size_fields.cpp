#include "dialogs/size_fields.h"

#include <commctrl.h>

#include <array>

#include "base/module.h"
#include "diag/number_text.h"
#include "diag/trace.h"
#include "dialogs/size_text.h"
#include "pages/dialog_helpers.h"
#include "pages/number_entry.h"
#include "resources/resource_ids.h"

namespace r5lqz {
namespace {

constexpr WPARAM kNumberLimit = kNumberTextSize - 1;

using NumberText = std::array<char, kNumberTextSize>;

void ShowNumber(HWND dialog, int control, const char* stored) {
  NumberText text{};
  LocalizeNumberText(text, stored);
  SetDlgItemTextA(dialog, control, text.data());
}

void CheckUnits(HWND dialog, const SizeFields& fields, DWORD units) {
  CheckDlgButton(dialog, fields.inches, units == kInches ? BST_CHECKED : BST_UNCHECKED);
  CheckDlgButton(dialog, fields.millimetres, units == kInches ? BST_UNCHECKED : BST_CHECKED);
}

void ShowRange(HWND dialog, int control, const Limits& limits, DWORD units) {
  std::array<WCHAR, kRangeTextSize> text;
  GetRangeString(text, limits.lowest, limits.highest, units);
  SetDlgItemTextW(dialog, control, text.data());
}

void UpdateReadout(HWND dialog, const SizeFields& fields, int edit, int readout) {
  std::array<char, 32> text{};
  if (!ReadNarrowText(dialog, edit, text)) text[0] = '?';  // no number in any case
  const bool millimetres = IsDlgButtonChecked(dialog, fields.millimetres) == BST_CHECKED;
  std::array<char, 50> word{};
  LoadStringA(ModuleHandle(), millimetres ? IDS_MM : IDS_INCHES, word.data(), static_cast<int>(word.size()));
  SetDlgItemTextA(dialog, readout, OffsetReadout(text.data(), millimetres, word.data()).data());
}

// Width and length in the units that they are written in.
bool ReadWidthAndLength(HWND dialog, const SizeFields& fields, DWORD units, PrinterLabel& label) {
  return ReadAndValidateFloat(dialog, fields.width, label.width, kWidthLimits.lowest, kWidthLimits.highest, units,
                              IDS_INVALID_WIDTH) &&
         ReadAndValidateFloat(dialog, fields.length, label.length, kLengthLimits.lowest, kLengthLimits.highest, units,
                              IDS_INVALID_LENGTH);
}

bool ReadOffset(HWND dialog, int control, std::span<char> text) {
  return ReadAndValidateInt(dialog, control, text, kOffsetLimits.lowest, kOffsetLimits.highest, IDS_INVALID_OFFSET);
}

void SetRangeText(HWND dialog, const SizeFields& fields, DWORD units) {
  const TraceScope trace("SetRangeText");
  ShowRange(dialog, fields.width_range, kWidthLimits, units);
  ShowRange(dialog, fields.length_range, kLengthLimits, units);
}

void UpdateVertOffset(HWND dialog, const SizeFields& fields) {
  const TraceScope trace("UpdateVertOffset");
  UpdateReadout(dialog, fields, fields.vertical, fields.vertical_readout);
}

void UpdateHorzOffset(HWND dialog, const SizeFields& fields) {
  const TraceScope trace("UpdateHorzOffset");
  UpdateReadout(dialog, fields, fields.horizontal, fields.horizontal_readout);
}

// The buttons end up showing the current units whatever happens.
void UnitsClick(HWND dialog, const SizeFields& fields, DWORD new_units, DWORD& units, const RunningOperation& self) {
  const TraceScope trace("UnitsClick");
  PrinterLabel label{};
  if (new_units == units || self.IsNested() || !ReadWidthAndLength(dialog, fields, units, label)) {
    if (!self.IsWindowGone()) CheckUnits(dialog, fields, units);
    return;
  }
  SetRangeText(dialog, fields, new_units);
  SetDlgItemTextA(dialog, fields.width, ConvertSizeText(label.width, units, new_units).data());
  SetDlgItemTextA(dialog, fields.length, ConvertSizeText(label.length, units, new_units).data());
  UpdateVertOffset(dialog, fields);
  UpdateHorzOffset(dialog, fields);
  units = new_units;
}

}  // namespace

void InitSizeFields(HWND dialog, const SizeFields& fields) {
  for (const int edit : {fields.width, fields.length, fields.vertical, fields.horizontal}) {
    SendDlgItemMessageW(dialog, edit, EM_LIMITTEXT, kNumberLimit, 0);
  }
  for (const int spin : {fields.vertical_spin, fields.horizontal_spin}) {
    SendDlgItemMessageW(dialog, spin, UDM_SETRANGE, 0,
                        MAKELPARAM(static_cast<WORD>(kOffsetLimits.highest), static_cast<WORD>(kOffsetLimits.lowest)));
  }
}

void ShowSize(HWND dialog, const SizeFields& fields, const SizeTexts& texts, DWORD& units) {
  ShowNumber(dialog, fields.width, texts.width);
  ShowNumber(dialog, fields.length, texts.length);
  SetDlgItemTextA(dialog, fields.vertical, texts.vertical);
  SetDlgItemTextA(dialog, fields.horizontal, texts.horizontal);
  CheckUnits(dialog, fields, texts.units);
  units = texts.units;
  SetRangeText(dialog, fields, units);
  UpdateVertOffset(dialog, fields);
  UpdateHorzOffset(dialog, fields);
}

bool ReadSize(HWND dialog, const SizeFields& fields, PrinterLabel& label) {
  label.units = IsDlgButtonChecked(dialog, fields.inches) == BST_CHECKED ? kInches : kMillimetres;
  return ReadWidthAndLength(dialog, fields, label.units, label) &&
         ReadOffset(dialog, fields.vertical, label.vertOffset) &&
         ReadOffset(dialog, fields.horizontal, label.horzOffset);
}

bool RouteSizeFields(HWND dialog, const SizeFields& fields, int control, int notification, DWORD& units,
                     const RunningOperation& self, INT_PTR& answer) {
  answer = TRUE;
  if (control == fields.inches || control == fields.millimetres) {
    UnitsClick(dialog, fields, control == fields.inches ? kInches : kMillimetres, units, self);
    return true;
  }
  if (control != fields.vertical && control != fields.horizontal) return false;
  if (notification == EN_CHANGE) {
    if (control == fields.vertical) UpdateVertOffset(dialog, fields);
    if (control == fields.horizontal) UpdateHorzOffset(dialog, fields);
  }
  // The system is left to act on the offset edits' notifications as well.
  answer = FALSE;
  return true;
}

}  // namespace r5lqz
