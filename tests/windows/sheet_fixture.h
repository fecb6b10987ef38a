// The module's sheets over a real printer, worked as a user would, with what the module asks of the platform meanwhile
// watched and, where a test wants it, answered otherwise.
#pragma once

#include <functional>
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

// The document sheet's tabs, as they stand; it opens with the first.
enum Tab { kPageTab, kColorTab, kLayoutTab, kAboutTab, kTabs };

std::string NarrowText(const std::wstring& text);
// A text of the system's ANSI code page, which tests write.
std::wstring WideText(const std::string& text);

// Works an open sheet by the messages that mouse and keyboard cause. Entries are known by their texts.
struct SheetUser {
  // False: the current tab is not left.
  bool Open(int tab) const { return user::SelectTab(sheet, tab) != nullptr; }
  // The tab that is worked on; a dialog without tabs is one by itself.
  HWND Tab() const;
  LRESULT Send(int id, UINT message, WPARAM first = 0, LPARAM second = 0) const;
  std::string Text(int id) const { return NarrowText(user::TextOf(GetDlgItem(Tab(), id))); }
  bool Checked(int id) const { return Send(id, BM_GETCHECK) == BST_CHECKED; }
  bool Enabled(int id) const { return IsWindowEnabled(GetDlgItem(Tab(), id)); }
  void Click(int id) const { Send(id, BM_CLICK); }
  void Choose(int id, const std::string& entry) const {
    EXPECT_TRUE(user::ChooseEntry(Tab(), id, WideText(entry))) << entry;
  }
  LRESULT Notify(UINT code) const;
  // Apply or Help, which return when the tabs have done it.
  void Press(int button) const { SendMessageW(sheet, PSM_PRESSBUTTON, static_cast<WPARAM>(button), 0); }

  const HWND sheet;
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
  // The messages since the last look, each with its title if that is not the translated one.
  std::string said;
  // What happens while a message box or a file dialog is open, on the sheet's thread.
  std::function<void(HWND owner)> while_open = [](HWND) {};
  std::vector<std::wstring> profiles = {L"alpha.icm", L"beta.icm", L"gamma.icm"};
  std::mutex guard;
  std::set<void*> blocks;       // of the runtime heap that the module holds
  std::vector<void*> released;  // and spoilt; kept, so that late readers are seen
};

using Steps = std::function<void(SheetUser&)>;

// Opens `entry`'s sheet with an Apply button, lets `steps` work it, and closes it by `button`.
platform::SheetOutcome ShowSheet(platform::SheetEntry entry, void* header, const Steps& steps, int button);

class SheetTest : public SpoolerTest {
 protected:
  void SetUp() override;
  // Whatever a test did: no sheet leaves a block of memory or a private heap behind.
  void TearDown() override;

  static DOCUMENTPROPERTYHEADER Header(const void* in, void* out, DWORD mode = DM_IN_BUFFER | DM_OUT_BUFFER);
  // The settings that come back through a document sheet closed by OK.
  static DriverDevMode Edit(const DriverDevMode& in, const Steps& steps);
  std::string Said() { return std::exchange(watch->said, {}); }

  std::unique_ptr<Watch> watch;
  DEVICEPROPERTYHEADER device{};
  DriverDevMode settled{};  // the default settings as a sheet gives them back
  DWORD heaps = 0;
};

}  // namespace tests
