// Messages in an order that no user's hand gives: commands while a box is open, the sheet ended from inside one, and
// long walks by chance through everything.
#include <windows.h>

#include <prsht.h>

#include <random>

#include "dialogs_fixture.h"
#include "labels/printer_label.h"

namespace tests {
namespace {

// A change of a window that is gone might reach another one.
void ExpectAlive(HWND window) {
  EXPECT_TRUE(IsWindow(window));
}

struct Messages : DialogTest {
  void SetUp() override {
    DialogTest::SetUp();
    if (!watch) return;
    watch->Replace(
        "user32.dll", "SetDlgItemTextW",
        +[](HWND window, int id, LPCWSTR text) { return ExpectAlive(window), SetDlgItemTextW(window, id, text); });
    watch->Replace(
        "user32.dll", "CheckDlgButton",
        +[](HWND window, int id, UINT state) { return ExpectAlive(window), CheckDlgButton(window, id, state); });
    watch->Replace(
        "user32.dll", "SetWindowLongPtrW", +[](HWND window, int index, LONG_PTR value) {
          return ExpectAlive(window), SetWindowLongPtrW(window, index, value);
        });
  }
  // What a test did with the printer's data so far.
  static int StoreUses() {
    int count = 0;
    for (const auto& call : store) count += call.count;
    return count;
  }
};

const std::string kLongName(60, 'n');

// Pages of which the first two cannot be imported beside a page named kLongName.
const std::string kUnwelcome =
    R"({"version":0,"list":[{"name":")" + kLongName + R"("},{"name":")" + kLongName + R"("},{"name":"Welcome"}]})";

void Command(HWND dialog, int control, int notification = BN_CLICKED) {
  const HWND sender = GetDlgItem(dialog, control);
  SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(control, notification), reinterpret_cast<LPARAM>(sender));
}

// The host ends the sheet from inside the box or dialog that a click has opened. Nothing is shown or written from then
// on; what was allocated goes (which every test checks).
TEST_F(Messages, SheetMayEndWhileTheUserIsAsked) {
  const struct {
    const DialogKind* dialog;  // none: the Layout tab
    UINT click;
    const char* typed;  // name and width, or the copy count
    DWORD refusal = 0;  // of the store
  } kRows[] = {{&kManage, IDC_MANAGE_IMPORT, nullptr},
               {&kManage, IDC_MANAGE_IMPORT, nullptr, ERROR_ACCESS_DENIED},
               {&kManage, IDC_MANAGE_EXPORT, nullptr},
               {&kManage, IDC_MANAGE_ADD, ""},
               {&kManage, IDC_MANAGE_MODIFY, "x", ERROR_ACCESS_DENIED},
               {&kManage, IDC_MANAGE_MM, "x"},
               {&kCustom, IDC_CUSTOM_MM, "x"},
               {&kCustom, IDOK, "x"},
               {nullptr, static_cast<UINT>(PSN_KILLACTIVE), "2"},
               {nullptr, static_cast<UINT>(PSN_APPLY), "2"}};
  for (const auto& row : kRows) {
    for (const std::size_t at_box : {1u, 2u}) {  // of an import: the file dialog, then a message
      SCOPED_TRACE(std::to_string(&row - kRows) + ", box " + std::to_string(at_box));
      if (at_box == 2 && row.click != IDC_MANAGE_IMPORT) continue;
      ASSERT_EQ(0u, platform::RemoveLabelStocks(Printer()));
      Store({258, kLongName.c_str(), "4.125", "5.000", "0", "0", 1});
      PutFile(kUnwelcome);
      std::size_t boxes = 0;
      int uses = -1;
      watch->while_open = [&](HWND) {
        if (++boxes != at_box) return;
        uses = StoreUses();
        watch->boxes.clear();
        platform::EndShownSheet();
      };
      DriverDevMode in = Defaults(), out{};
      auto header = Header(&in, &out);
      ShowSheet(
          document_entry, &header,
          [&](SheetUser& sheet) {
            ASSERT_TRUE(sheet.Open(row.dialog ? "Page" : "Layout"));
            if (!row.dialog) {
              const HWND tab = sheet.Tab();
              const NMHDR asked{nullptr, 0, row.click};
              sheet.Type(IDC_LAYOUT_COPIES, row.typed);
              SendMessageW(tab, WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&asked));
              return;
            }
            const DialogUser dialog(sheet, *row.dialog);
            if (row.typed) {
              if (row.dialog == &kManage && row.click != IDC_MANAGE_MM) dialog.Type(IDC_MANAGE_NAME, row.typed);
              if (row.click != IDC_MANAGE_ADD && !row.refusal) dialog.Type(row.dialog->edits[1], row.typed);
            }
            store[kWrite].answer = row.refusal;
            Command(dialog.Tab(), static_cast<int>(row.click));
          },
          PSBTN_CANCEL);
      EXPECT_EQ(StoreUses(), uses);
      EXPECT_EQ(Said(), "");
      EXPECT_EQ(FileText(), kUnwelcome);
      EXPECT_EQ(out.dm_public.dmSize, 0);
      store[kWrite].answer = 0;
    }
  }
  watch->while_open = [](HWND) {};
}

// The host has the driver end its part and closes the printer, but leaves the windows for later: nothing uses the
// printer any more, neither what waited nor a new command.
TEST_F(Messages, PrinterIsNotUsedAfterTheSheetsEnd) {
  for (const int control : {IDC_MANAGE_IMPORT, IDC_MANAGE_ADD, IDC_MANAGE_MODIFY, IDC_MANAGE_DELETE}) {
    SCOPED_TRACE(control);
    StoreSome(2);
    PutFile(R"({"version":0,"list":[{"name":"F0"},{"name":"F1"}]})");
    int uses = -1;
    const auto end = [&](HWND) {
      platform::EndDriversPart();
      uses = StoreUses();
      watch->while_open = [](HWND) {};
    };
    auto header = Header(nullptr, nullptr);
    ShowSheet(
        document_entry, &header,
        [&](SheetUser& sheet) {
          ASSERT_TRUE(sheet.Open("Page"));
          const DialogUser dialog(sheet, kManage);
          dialog.Type(IDC_MANAGE_NAME, "New");
          watch->while_open = end;
          Command(dialog.Tab(), IDC_MANAGE_IMPORT);
          Command(dialog.Tab(), control);
          EXPECT_EQ(StoreUses(), uses);
          watch->while_open = [](HWND) {};
          SendMessageW(dialog.Tab(), WM_APP, 0, 0);
          dialog.EndBy(IDC_MANAGE_NAME, VK_ESCAPE);
        },
        PSBTN_CANCEL);
    EXPECT_EQ(Said(), "");
  }
}

// Whatever is clicked while a command of a window waits: it is not done, and opens nothing above what is open.
TEST_F(Messages, CommandsDuringABoxAreRefused) {
  StoreSome(124);
  Store({900, kLongName.c_str(), "4.125", "5.000", "0", "0", 1});
  PutFile(kUnwelcome);
  int deepest = 0, depth = 0;
  const auto refuses = [&](const std::function<void()>& meddle) {
    deepest = depth = 0;
    watch->while_open = [&, meddle](HWND) {
      deepest = std::max(deepest, ++depth);
      if (depth < 3) meddle();
      --depth;
    };
  };
  Edit(Defaults(), [&](SheetUser& sheet) {
    ASSERT_TRUE(sheet.Open("Page"));
    const HWND tab = sheet.Tab();
    DialogUser dialog(sheet, kManage);
    refuses([&] {
      SetDlgItemTextA(dialog.Tab(), IDC_MANAGE_NAME, "New");
      for (const int control :
           {IDC_MANAGE_ADD, IDC_MANAGE_MODIFY, IDC_MANAGE_DELETE, IDC_MANAGE_IMPORT, IDC_MANAGE_EXPORT, IDCANCEL}) {
        Command(dialog.Tab(), control);
      }
      for (const char* const name : {"New 1", "New 2"}) {
        SetDlgItemTextA(dialog.Tab(), IDC_MANAGE_NAME, name);
        Command(dialog.Tab(), IDC_MANAGE_ADD);
      }
      Click(IDC_MANAGE_MM)(dialog);
      EXPECT_TRUE(dialog.Checked(IDC_MANAGE_INCHES) && !dialog.Checked(IDC_MANAGE_MM)) << "no switch, no button";
      for (const int control : {IDC_PAGE_MANAGE, IDC_PAGE_EDIT_CUSTOM}) Command(tab, control);
    });
    Click(IDC_MANAGE_IMPORT)(dialog);
    EXPECT_EQ(deepest, 1);
    EXPECT_TRUE(dialog.IsOpen());
    EXPECT_EQ(dialog.Send(IDC_MANAGE_LABELS, LB_GETCOUNT), 126);
    EXPECT_EQ(dialog.Pages(), StoredNames());
    // An entry that somebody else put into the list stands for no page.
    const int uses = StoreUses();
    const std::string shown = dialog.Fields();
    SendMessageA(GetDlgItem(dialog.Tab(), IDC_MANAGE_LABELS), LB_ADDSTRING, 0, reinterpret_cast<LPARAM>("Strange"));
    for (const int control : {IDC_MANAGE_MODIFY, IDC_MANAGE_DELETE}) {
      Choose(126)(dialog);
      Click(control)(dialog);
    }
    EXPECT_EQ(dialog.Fields(), shown);
    EXPECT_EQ(StoreUses(), uses);
    dialog.EndBy(IDC_MANAGE_NAME, VK_ESCAPE);

    DialogUser custom(sheet, kCustom);
    custom.Type(IDC_CUSTOM_WIDTH, "x");
    refuses([&] {
      SetDlgItemTextA(custom.Tab(), IDC_CUSTOM_WIDTH, "7");
      for (const int control : {IDOK, IDCANCEL}) Command(custom.Tab(), control);
    });
    Click(IDC_CUSTOM_MM)(custom);
    EXPECT_TRUE(deepest == 1 && IsWindowVisible(custom.Tab()));
    custom.EndBy(IDC_CUSTOM_WIDTH, VK_ESCAPE);

    ASSERT_TRUE(sheet.Open("Layout"));
    sheet.Type(IDC_LAYOUT_COPIES, "2");
    const NMHDR asked{nullptr, 0, static_cast<UINT>(PSN_KILLACTIVE)};
    const HWND layout = sheet.Tab();
    refuses([&] { SendMessageW(layout, WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&asked)); });
    EXPECT_FALSE(sheet.Open("Page"));
    EXPECT_EQ(deepest, 1);
    sheet.Type(IDC_LAYOUT_COPIES, "1");
  });
  watch->while_open = [](HWND) {};
  watch->boxes.clear();
}

// --- Walks by chance -------------------------------------------------------------------------------------------------

// The dialog's copy of the printer's pages, as it lies at the start of the state that its window names.
struct DialogCopy {
  r5lqz::PrinterLabel labels[r5lqz::kMostLabels];
  int count;
};

class Walk {
 public:
  Walk(unsigned seed, Watch& its_watch, const std::function<std::string()>& stored)
      : chance_(seed), watch_(its_watch), stored_(stored) {}

  // One sheet, from its opening to its end, whoever ends it.
  void RunThrough(SheetUser& sheet) {
    ended_ = false;
    watch_.while_open = [this](HWND owner) { DuringABox(owner); };
    for (int steps = 0; steps < 16 && !ended_; ++steps) {
      if (Once(6) || !sheet.Open("Page")) sheet.Open(Any({"Appearance", "Layout", "About", "Page"}));
      tab_ = sheet.Tab();
      Meddle(tab_);
      if (!ended_ && Once(4)) Work(Once(3) ? kCustom : kManage);
    }
    watch_.while_open = [](HWND) {};
    // What keeps a user on the Layout tab would keep the sheet open.
    if (!ended_) SetDlgItemTextA(GetDlgItem(tab_, IDC_LAYOUT_COPIES) ? tab_ : nullptr, IDC_LAYOUT_COPIES, "1");
  }
  int steps() const { return steps_; }
  bool ended() const { return ended_; }

 private:
  bool Once(int in) { return chance_() % static_cast<unsigned>(in) == 0; }
  template <class T>
  T Any(std::initializer_list<T> values) {
    return values.begin()[chance_() % values.size()];
  }
  const char* AnyText() {
    static const std::string huge(5000, '9'), blanks(70, ' ');
    return Any({"", "4.125", "4,125", "100", "-", "+", ".", "1e3", "2401", "-2400", "%s%n", "A", "a", "A (Copy 1)",
                "\xC4\x81\xFF", "12345678", kLongName.c_str(), huge.c_str(), blanks.c_str()});
  }
  std::string AnyFile() {
    const std::string page = R"({"name":"A"})";
    return Any<std::string>({kUnwelcome, "", "{", "[1]", R"({"version":0,"list":[)" + page + "," + page + "]}",
                             R"({"version":0,"list":[1,null,[],{}]})"});
  }

  // A click, a text, a selection or a notification, for any control of a window.
  void Meddle(HWND window) {
    static const std::vector<int> kControls{IDC_MANAGE_NAME,
                                            IDC_MANAGE_WIDTH,
                                            IDC_MANAGE_LENGTH,
                                            IDC_MANAGE_VERT,
                                            IDC_MANAGE_HORZ,
                                            IDC_MANAGE_INCHES,
                                            IDC_MANAGE_MM,
                                            IDC_MANAGE_ADD,
                                            IDC_MANAGE_ADD,
                                            IDC_MANAGE_MODIFY,
                                            IDC_MANAGE_DELETE,
                                            IDC_MANAGE_IMPORT,
                                            IDC_MANAGE_EXPORT,
                                            IDC_MANAGE_LABELS,
                                            IDC_CUSTOM_WIDTH,
                                            IDC_CUSTOM_LENGTH,
                                            IDC_CUSTOM_INCHES,
                                            IDC_CUSTOM_MM,
                                            IDC_CUSTOM_VERT,
                                            IDC_CUSTOM_HORZ,
                                            IDOK,
                                            IDC_PAGE_LABELS,
                                            IDC_COLOR_QUALITY,
                                            IDC_COLOR_PROFILE,
                                            IDC_COLOR_INTENT,
                                            IDC_COLOR_AUTOMATIC,
                                            IDC_COLOR_APPLICATION,
                                            IDC_LAYOUT_ROTATE,
                                            IDC_LAYOUT_COPIES,
                                            IDC_DEVICE_BUFFER,
                                            0x7FFF};
    ++steps_;
    int control = kControls[chance_() % kControls.size()];
    // Most of the time something that the window has.
    for (int tries = 0; tries < 20 && !GetDlgItem(window, control); ++tries) {
      control = kControls[chance_() % kControls.size()];
    }
    const HWND item = GetDlgItem(window, control);
    chosen_file = L"pages.zpk";
    if (Once(8)) PutFile(AnyFile());
    if (control == IDC_MANAGE_LABELS) SendMessageW(item, LB_SETCURSEL, Any({0u, 1u, 3u, 127u, 1000u, ~0u}), 0);
    if (Once(2) || control == IDC_PAGE_LABELS) SendMessageW(item, CB_SETCURSEL, Any({0u, 1u, 5u, ~0u}), 0);
    if (Once(3) || (control == IDC_MANAGE_NAME && Once(2))) SetDlgItemTextA(window, control, AnyText());
    if (Once(3)) return Command(window, control, Any({BN_CLICKED, EN_CHANGE, LBN_SELCHANGE, LBN_KILLFOCUS, 77}));
    if (Once(6)) return Notify(window);
    SendMessageW(item, BM_CLICK, 0, 0);
  }

  void Notify(HWND window) {
    const UINT code = Any(
        {static_cast<UINT>(PSN_KILLACTIVE), static_cast<UINT>(PSN_SETACTIVE), static_cast<UINT>(PSN_APPLY), 12345u});
    const NMHDR notification{nullptr, 0, code};
    SendMessageW(window, WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&notification));
    SendMessageW(window, WM_NOTIFY, 0, 0);
  }

  // A dialog from its opening to its end.
  void Work(const DialogKind& kind) {
    const HWND button = GetDlgItem(tab_, kind.opener);
    if (!button) return;
    const DialogUser dialog{SheetUser(tab_), kind};
    dialog_ = dialog.Tab();
    // One that has been closed is hidden until the sheet's thread comes round to destroying it.
    const auto is_open = [this] { return IsWindowVisible(dialog_) && !ended_; };
    for (int steps = 0; steps < 25 && is_open(); ++steps) {
      Meddle(dialog_);
      if (is_open() && kind.opener == kManage.opener) ExpectAgreement(dialog);
    }
    if (is_open()) dialog.EndBy(kind.edits[1], VK_ESCAPE);
    for (int tries = 0; tries < 2000 && IsWindow(dialog_); ++tries) Sleep(1);
    SendMessageW(tab_, WM_NULL, 0, 0);
    dialog_ = nullptr;
  }

  // On the sheet's thread.
  void DuringABox(HWND owner) {
    if (++depth_ < 4 && !ended_) {
      while (Once(2)) Meddle(Any({owner, dialog_, tab_}));
      if (depth_ == 1 && Once(20)) {
        ended_ = true;
        platform::EndShownSheet();
      }
    }
    --depth_;
  }

  void ExpectAgreement(const DialogUser& dialog) {
    const auto* copy = reinterpret_cast<const DialogCopy*>(GetWindowLongPtrW(dialog.Tab(), GWLP_USERDATA));
    ASSERT_TRUE(copy && copy->count >= 0 && copy->count <= r5lqz::kMostLabels);
    std::string names, labels;
    for (int at = 0; at < copy->count; ++at) {
      const auto& label = copy->labels[at];
      names += label.name + std::string(";");
      for (const std::string& part :
           {std::to_string(label.id), std::string(label.name), std::string(label.width), std::string(label.length),
            std::string(label.vertOffset), std::string(label.horzOffset)}) {
        labels += part + " ";
      }
      labels += std::to_string(label.units) + ";";
    }
    ASSERT_EQ(dialog.Pages(), names);
    ASSERT_EQ(stored_(), labels);
  }

  std::mt19937 chance_;
  Watch& watch_;
  std::function<std::string()> stored_;
  HWND tab_ = nullptr, dialog_ = nullptr;
  std::atomic<bool> ended_ = false;
  int depth_ = 0, steps_ = 0;
};

TEST_F(Messages, NoOrderOfThemLeavesTheListsApartOrAnythingBehind) {
  GdiGrowth growth;
  int steps = 0, ended = 0;
  for (unsigned seed = 0; seed < 10; ++seed) {
    SCOPED_TRACE(seed);
    if (seed % 6 == 0) {
      ASSERT_EQ(0u, platform::RemoveLabelStocks(Printer()));
      StoreSome(seed % 12 ? 3 : 0, "A");
    }
    Walk walk(seed, *watch, [] { return Stored(); });
    DriverDevMode in = Defaults(), out{};
    auto header = Header(&in, &out);
    const auto run_through = [&](SheetUser& sheet) { walk.RunThrough(sheet); };
    seed % 5 == 4 ? ShowSheet(device_entry, &device, run_through, PSBTN_CANCEL)
                  : ShowSheet(document_entry, &header, run_through, PSBTN_CANCEL);
    watch->boxes.clear();
    steps += walk.steps();
    ended += walk.ended();
    ASSERT_EQ(watch->blocks.size(), 0u);
    ASSERT_EQ(GetProcessHeaps(0, nullptr), heaps);
    HANDLE all[64];
    const DWORD count = GetProcessHeaps(64, all);
    for (DWORD at = 0; at < std::min<DWORD>(count, 64); ++at) EXPECT_TRUE(HeapValidate(all[at], 0, nullptr));
    ASSERT_FALSE(HasFailure());
    growth.EndRound();
  }
  EXPECT_FALSE(growth.IsSteady());
  EXPECT_TRUE(steps > 400 && ended > 1) << steps << " steps, " << ended << " sheets ended during a box";
  const auto count_window = [](HWND, LPARAM count) -> BOOL { return ++*reinterpret_cast<int*>(count), TRUE; };
  int windows = 0;
  EnumThreadWindows(GetCurrentThreadId(), count_window, reinterpret_cast<LPARAM>(&windows));
  EXPECT_EQ(windows, 0);
}

}  // namespace
}  // namespace tests
