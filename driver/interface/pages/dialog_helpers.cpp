#include "pages/dialog_helpers.h"

#include <windows.h>

#include <commctrl.h>

#include <algorithm>

#include "base/bounded_format.h"
#include "base/bounded_text.h"
#include "diag/number_text.h"
#include "diag/trace.h"
#include "pages/number_entry.h"
#include "resources/resource_ids.h"

namespace r5lqz {
namespace {

// Characters with the terminator: more than any field takes, so that what is too long shows; the blanks around it
// count.
constexpr std::size_t kLongestEntry = 4 * kLabelNameSize;
// No code page takes more bytes for a UTF-16 unit.
constexpr std::size_t kBytesPerUnit = 4;

// Whole-number ranges: two signed 16-bit numbers at most.
constexpr std::size_t kIntRangeTextSize = 16;

bool TextsEqual(const WCHAR* left, const WCHAR* right) {
  return std::wcscmp(left, right) == 0;
}

// A message that does not fit leaves only its range out; the user still learns what was wrong.
void ShowRangeError(HWND dialog, UINT message_id, const WCHAR* range) {
  const StringText message = LoadText(message_id);
  const StringText caption = LoadText(IDS_VALID_RANGE);
  StringText text;
  FormatBounded(std::span(text), L"%s\n%s %s", message.data(), caption.data(), range);
  ShowError(dialog, text[0] ? text.data() : message.data());
}

}  // namespace

void InitComboBox(HWND dialog, int control, std::span<const ComboBoxEntry> entries, int selection) {
  const TraceScope trace("InitComboBox");
  const HWND box = GetDlgItem(dialog, control);
  SendMessageW(box, CB_RESETCONTENT, 0, 0);
  for (const ComboBoxEntry& entry : entries) {
    const StringText text = LoadText(entry.string_id);
    const LRESULT index = SendMessageW(box, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text.data()));
    // An entry stands for the value with its number: none behind one that the box has no memory for.
    if (index < 0) break;
    SendMessageW(box, CB_SETITEMDATA, static_cast<WPARAM>(index), entry.value);
  }
  const bool known = selection >= 0 && static_cast<std::size_t>(selection) < entries.size();
  SendMessageW(box, CB_SETCURSEL, known ? static_cast<WPARAM>(selection) : 0, 0);
}

void SetComboBoxSelectionString(HWND dialog, int control, const WCHAR* wanted) {
  const TraceScope trace("SetComboBoxSelectionString");
  const HWND box = GetDlgItem(dialog, control);
  SendMessageW(box, CB_SETCURSEL, 0, 0);
  const LRESULT count = SendMessageW(box, CB_GETCOUNT, 0, 0);
  for (LRESULT entry = 0; entry < count; ++entry) {
    const auto* const text =
        reinterpret_cast<const WCHAR*>(SendMessageW(box, CB_GETITEMDATA, static_cast<WPARAM>(entry), 0));
    if (!text || !TextsEqual(text, wanted)) continue;
    SendMessageW(box, CB_SETCURSEL, static_cast<WPARAM>(entry), 0);
    return;
  }
}

bool ReadNarrowText(HWND dialog, int control, std::span<char> text) {
  std::array<WCHAR, kLongestEntry> typed{};
  constexpr auto kSize = static_cast<int>(kLongestEntry);
  const auto length = static_cast<std::size_t>(GetDlgItemTextW(dialog, control, typed.data(), kSize));
  auto narrow = NarrowText<kBytesPerUnit * kLongestEntry>(std::span<const WCHAR>(typed).first(length));
  const bool converted = narrow[0] || length == 0;
  TrimWhitespace(narrow.data());
  CopyBounded(text, std::span<const char>(narrow));
  // A text that fills its room may have been cut.
  return converted && length + 1 < typed.size() && TextIn(std::span<const char>(narrow)).size() < text.size();
}

bool ReadAndValidateFloat(HWND dialog, int control, std::span<char, kNumberTextSize> text, LONG minimum, LONG maximum,
                          DWORD units, UINT message_id) {
  const TraceScope trace("ReadAndValidateFloat");
  if (ReadNarrowText(dialog, control, text) && AcceptFloatEntry(text, minimum, maximum, units)) return true;
  std::array<WCHAR, kRangeTextSize> range;
  GetRangeString(range, minimum, maximum, units);
  ShowRangeError(dialog, message_id, range.data());
  return false;
}

bool ReadAndValidateInt(HWND dialog, int control, std::span<char> text, LONG minimum, LONG maximum, UINT message_id) {
  const TraceScope trace("ReadAndValidateInt");
  if (ReadNarrowText(dialog, control, text) && AcceptIntEntry(text.data(), minimum, maximum)) return true;
  std::array<WCHAR, kIntRangeTextSize> range;
  FormatBounded(std::span(range), L"%d - %d", static_cast<int>(minimum), static_cast<int>(maximum));
  ShowRangeError(dialog, message_id, range.data());
  return false;
}

void ShowError(HWND dialog, const WCHAR* message) {
  MessageBoxW(dialog, message, LoadText(IDS_ERROR).data(), MB_ICONERROR);
}

}  // namespace r5lqz
