// The Page tab and its dialogs over a real printer, worked by a user step by step, with the printer's data beside them.
#pragma once

#include "printer_keys.h"
#include "sheet_fixture.h"
#include "user/dialog_window.h"

namespace tests {

// One of the two dialogs: what opens it, its edits (name, width, length, offsets) and what else it shows of a page.
struct DialogKind {
  int opener;
  int edits[5];
  int inches, mm;
  int shown[3];
  int length_range;
};
inline constexpr DialogKind kManage{
    IDC_PAGE_MANAGE,
    {IDC_MANAGE_NAME, IDC_MANAGE_WIDTH, IDC_MANAGE_LENGTH, IDC_MANAGE_VERT, IDC_MANAGE_HORZ},
    IDC_MANAGE_INCHES,
    IDC_MANAGE_MM,
    {IDC_MANAGE_VERT_READOUT, IDC_MANAGE_HORZ_READOUT, IDC_MANAGE_WIDTH_RANGE},
    IDC_MANAGE_LENGTH_RANGE};
inline constexpr DialogKind kCustom{IDC_PAGE_EDIT_CUSTOM,
                                    {0, IDC_CUSTOM_WIDTH, IDC_CUSTOM_LENGTH, IDC_CUSTOM_VERT, IDC_CUSTOM_HORZ},
                                    IDC_CUSTOM_INCHES,
                                    IDC_CUSTOM_MM,
                                    {IDC_CUSTOM_VERT_READOUT, IDC_CUSTOM_HORZ_READOUT, IDC_CUSTOM_WIDTH_RANGE},
                                    IDC_CUSTOM_LENGTH_RANGE};

class DialogUser : public SheetUser {
 public:
  // Presses the tab's button and waits for the dialog.
  DialogUser(const SheetUser& sheet, const DialogKind& kind);
  bool IsOpen() const { return IsWindow(Tab()); }
  // Types over a field, character by character.
  void Type(int id, const std::string& text) const;
  // Sends the dialog's loop a key, which is to close it.
  void EndBy(int id, WPARAM key) const;
  // "NAME WIDTH LENGTH VERTICAL HORIZONTAL | UNIT VERTICAL, HORIZONTAL, WIDTH'S RANGE"
  std::string Fields() const;
  // "NAME;" for each entry.
  std::string Pages() const;
  // Pixels, in the list's font.
  LONG WidestName() const;

  const DialogKind& kind;
};

// What a user types (null: nothing) and does, what is said then, what the fields show (null: not looked at) and what is
// stored (null: what was stored before).
struct Step {
  const char* typed[5];
  std::function<void(DialogUser&)> act;
  std::string said;
  const char* fields = nullptr;
  const char* stored = nullptr;
  int selected = -2;   // -2: not looked at
  bool apart = false;  // the dialog's list and the printer's are not the same
};

inline auto Click(int id) {
  return [id](DialogUser& dialog) { dialog.Click(id); };
}
inline auto Press(int id, WPARAM key, int times = 1) {
  return [=](DialogUser& dialog) {
    for (int at = 0; at < times; ++at) dialog.Send(id, WM_KEYDOWN, key);
  };
}
inline auto Choose(int page) {
  return [page](DialogUser& dialog) {
    dialog.Send(IDC_MANAGE_LABELS, LB_SETCURSEL, static_cast<WPARAM>(page));
    SendMessageW(dialog.Tab(), WM_COMMAND, MAKEWPARAM(IDC_MANAGE_LABELS, LBN_SELCHANGE), 0);
  };
}

// The module's calls of the printer's data: how often, and how each, or only the first, is answered instead of done
// once some are through.
enum StoreCall { kEnumerate, kRead, kWrite, kDelete, kProbe, kStoreCalls };
struct StoreCalls {
  int count;
  DWORD answer;
  int let_through;
  bool once;
  void* real;
};
inline StoreCalls store[kStoreCalls];

class DialogTest : public SheetTest {
 protected:
  void SetUp() override;
  // The settings that a sheet gives in which the dialog was worked and then closed by `key`.
  DriverDevMode Work(const DialogKind& kind, const std::vector<Step>& steps, WPARAM key = VK_ESCAPE);
  DriverDevMode Work(const DialogKind& kind, const std::vector<Step>& steps, const DriverDevMode& in, WPARAM key);
  // The messages since the last look.
  std::string Said();
  // "NUMBER NAME WIDTH LENGTH VERTICAL HORIZONTAL UNITS;" for each label that the printer holds; or "NAME;".
  static std::string Stored();
  static std::string StoredNames();
  void StoreSome(int count, const std::string& name = "Stock");
};

// What the user chooses in the next file dialog (empty cancels it), and what the last one was asked for.
inline std::wstring chosen_file;
inline std::string asked_for;
void PutFile(const std::string& text);
std::string FileText();

}  // namespace tests
