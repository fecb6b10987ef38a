// The Page tab's dialogs over a real printer, worked by a user step by step, with the printer's data beside them.
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

// A dialog from the press of the tab's button on; one that is still open in the end is cancelled.
struct DialogUser : SheetUser {
  DialogUser(const SheetUser& user, const DialogKind& kind);
  DialogUser(const DialogUser&) = delete;
  ~DialogUser() {
    if (IsWindow(sheet)) EndBy(VK_ESCAPE);
  }
  // Sends the dialog's loop a key, which is to close it.
  void EndBy(WPARAM key) const;
  // "NAME WIDTH LENGTH VERTICAL HORIZONTAL | UNIT VERTICAL, HORIZONTAL, WIDTH'S RANGE"
  std::string Fields() const;
  // "NAME;" for each entry.
  std::string Pages() const;
  // The list's entries, their widest in pixels of the list's font.
  LRESULT Count() const { return Send(IDC_MANAGE_LABELS, LB_GETCOUNT); }
  LONG WidestName() const;

  const DialogKind& kind;
};

inline constexpr char kWidthMm[] = "Invalid Width\nValid range: 1.000 - 297.000";
inline constexpr char kOffset[] = "Offset is invalid.\nValid range: -2400 - 2400";

// What a user types (null: nothing) and does, what is said then, what the fields show (null: not looked at) and what is
// stored (null: what was stored before).
struct Step {
  const char* typed[5];
  std::function<void(DialogUser&)> act;
  std::string said;
  const char* fields = nullptr;
  const char* stored = nullptr;
  int selected = -2;  // -2: not looked at
};

inline auto Click(int id) {
  return [id](DialogUser& dialog) { dialog.Click(id); };
}
inline auto Press(int id, WPARAM key, int times = 1) {
  return [=](DialogUser& dialog) {
    for (int at = 0; at < times; ++at) dialog.Send(id, WM_KEYDOWN, key);
  };
}
inline auto Choose(const char* page) {
  return [page](DialogUser& dialog) {
    EXPECT_TRUE(user::ChooseListed(dialog.Tab(), IDC_MANAGE_LABELS, WideText(page))) << page;
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

// The page of settings: "NUMBER NAME WIDTH LENGTH VERTICAL HORIZONTAL UNITS, PUBLIC NUMBER WIDTH LENGTH".
std::string PageOf(const DriverDevMode& record);

class DialogTest : public SheetTest {
 protected:
  void SetUp() override;
  // Settings that a label has made.
  static DriverDevMode MadeBy(const platform::LabelStock& label);
  // The settings that a sheet gives in which the dialog was worked and then closed by `key`.
  static DriverDevMode Work(const DialogKind& kind, const std::function<void(DialogUser&)>& work,
                            const DriverDevMode& in = Defaults(), WPARAM key = VK_ESCAPE);
  DriverDevMode Take(const DialogKind& kind, const std::vector<Step>& steps, const DriverDevMode& in = Defaults(),
                     WPARAM key = VK_ESCAPE);
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
