// The module's sheets over a real printer, worked as a user would, with what the module asks of the platform meanwhile
// watched and, where a test wants it, answered otherwise.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <utility>

#include "../spooler/guarded_block.h"
#include "../spooler/spooler_fixture.h"
#include "common_sheet.h"
#include "resources/resource_ids.h"
#include "user/sheet_window.h"

namespace tests {

using r5lqz::DriverDevMode;
using Texts = std::vector<std::string>;

// A text of the system's ANSI code page, which tests write.
std::wstring WideText(const std::string& text);

// Works an open sheet by the messages that mouse and keyboard cause. Tabs and entries are known by their texts.
class SheetUser {
 public:
  explicit SheetUser(HWND sheet) : sheet_(sheet) {}

  Texts Titles() const;
  // Turns to a tab. False: there is none of that title, or the current one is not left.
  bool Open(const std::string& title) const;
  // The tab that is worked on; a dialog without tabs is one by itself.
  HWND Tab() const;
  HWND Control(int id) const;
  LRESULT Send(int id, UINT message, WPARAM first = 0, LPARAM second = 0) const {
    return SendMessageW(Control(id), message, first, second);
  }

  std::string Text(int id) const;  // of a combo box: the selected entry's
  bool Checked(int id) const { return Send(id, BM_GETCHECK) == BST_CHECKED; }
  bool Enabled(int id) const { return IsWindowEnabled(GetDlgItem(Tab(), id)); }
  void Click(int id) const { Send(id, BM_CLICK); }
  void Choose(int id, const std::string& entry) const;
  void Type(int id, const char* text) const;
  // Apply and Help return when the tabs have done it; OK and Cancel are for the sheet's own loop to see.
  void Press(int button) const;

 private:
  HWND sheet_;
};

// Patches a module's imports as long as it lives; one at a time.
struct Watch {
  explicit Watch(HMODULE watched);
  ~Watch();
  template <class Result, class... Arguments>
  void Replace(const char* dll, const char* function, Result (*replacement)(Arguments...)) {
    patches.push_back(platform::ReplaceImport(module, dll, function, reinterpret_cast<const void*>(replacement)));
    EXPECT_TRUE(patches.back()) << function;
  }

  HMODULE module;
  std::vector<platform::ImportPatch> patches;
  std::recursive_mutex guard;
  std::vector<PROPSHEETPAGEW> pages;  // asked for
  std::size_t failing_page = 0;       // which of them cannot be made, from 1; 0: none
  std::map<UINT, DLGPROC> procedures;
  std::map<UINT, int> shown;  // WM_INITDIALOGs by template
  struct Box {
    HWND owner;
    std::string text;
    UINT type;
  };
  std::vector<Box> boxes;  // the text is "caption: text"
  // What happens while a message box or a file dialog is open, on the sheet's thread.
  std::function<void(HWND owner)> while_open = [](HWND) {};
  std::vector<std::wstring> profiles = {L"alpha.icm", L"beta.icm", L"gamma.icm"};
  Texts written;                // names of printer data
  DWORD write_answer = 0;       // instead of writing
  std::set<void*> blocks;       // of the runtime heap that the module holds
  std::vector<void*> released;  // and spoilt; kept, so that late readers are seen
  int strange_releases = 0;
};

using Steps = std::function<void(SheetUser&)>;

// Opens `entry`'s sheet with an Apply button, lets `steps` work it, and closes it by `button`.
platform::SheetOutcome ShowSheet(platform::SheetEntry entry, void* header, const Steps& steps, int button);

// How many GDI objects this process has.
std::size_t GdiObjects();

// Whether rounds of the same leave GDI objects behind. The platform adds to a stock of its own now and then; what is
// left behind comes at every round.
class GdiGrowth {
 public:
  void EndRound() {
    const std::size_t count = GdiObjects();
    every_round_ &= count > std::exchange(last_, count);
    ++rounds_;
  }
  bool IsSteady() const { return rounds_ >= 6 && every_round_; }

 private:
  std::size_t last_ = GdiObjects();
  int rounds_ = 0;
  bool every_round_ = true;
};

class SheetTest : public SpoolerTest {
 protected:
  void SetUp() override;
  // Whatever a test did: no sheet leaves a block of memory or a private heap behind.
  void TearDown() override;

  static platform::SheetEntry EntryOf(HMODULE module, const char* name);
  static DOCUMENTPROPERTYHEADER Header(const void* in, void* out, DWORD mode = DM_IN_BUFFER | DM_OUT_BUFFER);
  // The settings that come back through a document sheet closed by OK.
  static DriverDevMode Edit(const DriverDevMode& in, const Steps& steps);
  // A text of the module's own in the language that the test runs in.
  static std::string ModuleText(int id);
  // What a sheet's tabs report when each that was opened reports once.
  std::vector<LPARAM> Reported(LPARAM result) const;

  std::unique_ptr<Watch> watch;
  platform::SheetEntry document_entry = nullptr, device_entry = nullptr;
  DEVICEPROPERTYHEADER device{};
  DriverDevMode settled{};  // the default settings as a sheet gives them back
  DWORD heaps = 0;
};

}  // namespace tests
