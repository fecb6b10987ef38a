// What the tabs and dialogs do alike with their controls.
#pragma once

#include <windows.h>

#include <span>

#include "base/string_table.h"
#include "labels/printer_label.h"

namespace r5lqz {

// One entry of a combo box: its text in the string table and the value that it stands for.
struct ComboBoxEntry {
  UINT string_id;
  LPARAM value;
};

// Fills a combo box with `entries` and selects `selection`, or the first entry when there is no such one.
void InitComboBox(HWND dialog, int control, std::span<const ComboBoxEntry> entries, int selection);

// Selects the first entry whose item value, a wide text, equals `wanted`; the first entry when none does.
void SetComboBoxSelectionString(HWND dialog, int control, const WCHAR* wanted);

// The one way to read a narrow text from a control: of its first text.size() - 1 characters (63 at most) what trimming
// leaves, in the system's ANSI code page. False, with `text` empty, when that takes more bytes than there is room for:
// a text is never cut within a character.
bool ReadNarrowText(HWND dialog, int control, std::span<char> text);

// Reads, checks and normalises a decimal entry; `text` then holds what is stored. Bounds in tenths of a millimetre,
// shown and compared in `units`. False: the user has been told, with the message of the string table and the valid
// range.
bool ReadAndValidateFloat(HWND dialog, int control, std::span<char, kNumberTextSize> text, LONG minimum, LONG maximum,
                          DWORD units, UINT message_id);

// The same for a whole number; `text` receives the trimmed entry.
bool ReadAndValidateInt(HWND dialog, int control, std::span<char> text, LONG minimum, LONG maximum, UINT message_id);

// Shows a message of the string table with the error icon, owned by `dialog`.
void ShowError(HWND dialog, const WCHAR* message);

}  // namespace r5lqz
