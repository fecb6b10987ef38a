// Messages in an order that no user's hand gives: commands while a box is open, the sheet ended from inside one, and
// long walks by chance through everything.
#include <windows.h>

#include <prsht.h>

#include <random>
#include <sstream>

#include "dialogs_fixture.h"
#include "labels/printer_label.h"

namespace tests {
namespace {

// A change of a window that is gone might reach another one.
template <auto change, class... Rest>
auto WINAPI ToTheLiving(HWND window, Rest... rest) {
  EXPECT_TRUE(IsWindow(window));
  return change(window, rest...);
}

// What a test did with the printer's data so far.
int StoreUses() {
  int count = 0;
  for (const auto& call : store) count += call.count;
  return count;
}

struct Messages : DialogTest {
  void SetUp() override {
    DialogTest::SetUp();
    if (!watch) return;
    watch->Replace("user32.dll", "SetDlgItemTextW", &ToTheLiving<SetDlgItemTextW, int, LPCWSTR>);
    watch->Replace("user32.dll", "CheckDlgButton", &ToTheLiving<CheckDlgButton, int, UINT>);
    watch->Replace("user32.dll", "SetWindowLongPtrW", &ToTheLiving<SetWindowLongPtrW, int, LONG_PTR>);
  }
  // Opens a document sheet that is cancelled, or ended by somebody else. True: it gave nothing back.
  bool Show(const Steps& steps) {
    DriverDevMode in = Defaults(), out{};
    auto header = Header(&in, &out);
    const auto outcome = ShowSheet(Driver().DocumentPropertySheets, &header, steps, PSBTN_CANCEL);
    watch->while_open = [](HWND) {};
    return out.dm_public.dmSize == 0 && outcome.results.empty();
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

// The host ends the sheet from inside the box or dialog that a click has opened, or has the driver end its part and
// leaves the windows for later. Nothing is shown, read or written from then on, by what waited or by a new command;
// what was allocated goes (which every test checks).
TEST_F(Messages, SheetMayEndWhileTheUserIsAsked) {
  constexpr int kLeave = PSN_KILLACTIVE, kApply = PSN_APPLY;
  const struct {
    const DialogKind* dialog;  // none: the Layout tab
    int click;
    int field;          // that has no valid entry
    DWORD refusal = 0;  // of the store
    int box = 1;        // of an import: the file dialog, then a message
    void (*end)() = &platform::EndShownSheet;
  } kRows[] = {{&kManage, IDC_MANAGE_IMPORT, 0},
               {&kManage, IDC_MANAGE_IMPORT, 0, 0, 1, &platform::EndDriversPart},
               {&kManage, IDC_MANAGE_IMPORT, 0, 0, 2},
               {&kManage, IDC_MANAGE_IMPORT, 0, ERROR_ACCESS_DENIED, 2},
               {&kManage, IDC_MANAGE_EXPORT, 0},
               {&kManage, IDC_MANAGE_ADD, IDC_MANAGE_NAME},
               {&kManage, IDC_MANAGE_MODIFY, 0, ERROR_ACCESS_DENIED},
               {&kManage, IDC_MANAGE_MM, IDC_MANAGE_WIDTH},
               {&kCustom, IDC_CUSTOM_MM, IDC_CUSTOM_WIDTH},
               {&kCustom, IDOK, IDC_CUSTOM_WIDTH},
               {nullptr, kLeave, IDC_LAYOUT_COPIES},
               {nullptr, kLeave, IDC_LAYOUT_COPIES, 0, 1, &platform::EndDriversPart},
               {nullptr, kApply, IDC_LAYOUT_COPIES}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(&row - kRows);
    ASSERT_EQ(0u, platform::RemoveLabelStocks(Printer()));
    Store({258, kLongName.c_str(), "4.125", "5.000", "0", "0", 1});
    PutFile(kUnwelcome);
    int boxes = 0, uses = -1;
    watch->while_open = [&](HWND) {
      if (++boxes != row.box) return;
      uses = StoreUses();
      Said();
      row.end();
    };
    const auto ask = [&](SheetUser& user) {
      ASSERT_TRUE(user.Open(row.dialog ? kPageTab : kLayoutTab));
      std::unique_ptr<DialogUser> dialog;
      if (row.dialog) dialog = std::make_unique<DialogUser>(user, *row.dialog);
      const HWND window = dialog ? dialog->sheet : user.Tab();
      if (row.field) SetDlgItemTextA(window, row.field, "");
      store[kWrite].answer = row.refusal;
      if (!dialog) SheetUser{window}.Notify(static_cast<UINT>(row.click));
      if (!dialog && row.end == &platform::EndDriversPart) {
        EXPECT_TRUE(user.Open(kColorTab));
        EXPECT_EQ(user.Send(IDC_COLOR_QUALITY, CB_GETCOUNT), 0) << "a tab's first time is too late";
      }
      if (!dialog) return;
      Command(window, row.click);
      for (int control : {IDC_MANAGE_MODIFY, IDC_MANAGE_DELETE, IDC_MANAGE_IMPORT}) Command(window, control);
    };
    EXPECT_TRUE(Show(ask));
    EXPECT_EQ(StoreUses(), uses);
    EXPECT_EQ(Said(), "");
    EXPECT_EQ(FileText(), kUnwelcome);
    store[kWrite].answer = 0;
  }
}

// Whatever is clicked while a command of a window waits: it is not done, and opens nothing above what is open.
TEST_F(Messages, CommandsDuringABoxAreRefused) {
  StoreSome(124);
  Store({900, kLongName.c_str(), "4.125", "5.000", "0", "0", 1});
  PutFile(kUnwelcome);
  int depth = 0;
  const auto meanwhile = [&](const std::function<void()>& meddle) {
    watch->while_open = [&depth, meddle](HWND) {
      EXPECT_EQ(++depth, 1);
      if (depth < 3) meddle();
      --depth;
    };
  };
  Edit(Defaults(), [&](SheetUser& user) {
    const HWND tab = user.Tab();
    {
      DialogUser dialog(user, kManage);
      meanwhile([&] {
        for (const char* const name : {"New", "New 1", "New 2"}) {
          SetDlgItemTextA(dialog.sheet, IDC_MANAGE_NAME, name);
          Command(dialog.sheet, IDC_MANAGE_ADD);
        }
        for (const int control :
             {IDC_MANAGE_MODIFY, IDC_MANAGE_DELETE, IDC_MANAGE_IMPORT, IDC_MANAGE_EXPORT, IDCANCEL}) {
          Command(dialog.sheet, control);
        }
        dialog.Click(IDC_MANAGE_MM);
        EXPECT_TRUE(dialog.Checked(IDC_MANAGE_INCHES) && !dialog.Checked(IDC_MANAGE_MM)) << "no switch, no button";
        for (const int control : {IDC_PAGE_MANAGE, IDC_PAGE_EDIT_CUSTOM}) Command(tab, control);
      });
      dialog.Click(IDC_MANAGE_IMPORT);
      ASSERT_TRUE(IsWindowVisible(dialog.sheet));
      EXPECT_EQ(dialog.Count(), 126);
      EXPECT_EQ(dialog.Pages(), StoredNames());
      // An entry that somebody else put into the list stands for no page.
      const int uses = StoreUses();
      const std::string shown = dialog.Fields();
      SendMessageA(GetDlgItem(dialog.sheet, IDC_MANAGE_LABELS), LB_ADDSTRING, 0, reinterpret_cast<LPARAM>("Strange"));
      for (const int control : {IDC_MANAGE_MODIFY, IDC_MANAGE_DELETE}) {
        Choose("Strange")(dialog);
        dialog.Click(control);
      }
      EXPECT_EQ(dialog.Fields(), shown);
      EXPECT_EQ(StoreUses(), uses);
    }
    {
      DialogUser custom(user, kCustom);
      SetDlgItemTextA(custom.sheet, IDC_CUSTOM_WIDTH, "x");
      meanwhile([&] {
        SetDlgItemTextA(custom.sheet, IDC_CUSTOM_WIDTH, "7");
        for (const int control : {IDOK, IDCANCEL}) Command(custom.sheet, control);
      });
      custom.Click(IDC_CUSTOM_MM);
      EXPECT_TRUE(IsWindowVisible(custom.sheet));
    }
    ASSERT_TRUE(user.Open(kLayoutTab));
    SetDlgItemTextA(user.Tab(), IDC_LAYOUT_COPIES, "2");
    const SheetUser layout{user.Tab()};
    meanwhile([&] { layout.Notify(static_cast<UINT>(PSN_KILLACTIVE)); });
    EXPECT_FALSE(user.Open(kPageTab));
    SetDlgItemTextA(layout.sheet, IDC_LAYOUT_COPIES, "1");
  });
  watch->while_open = [](HWND) {};
}

// --- Walks by chance -------------------------------------------------------------------------------------------------

// The dialog's copy of the printer's pages, as it lies at the start of the state that its window names.
struct DialogCopy {
  r5lqz::PrinterLabel labels[r5lqz::kMostLabels];
  int count;
};

class Walk {
 public:
  Walk(unsigned seed, Watch& its_watch, std::string (*its_stored)())
      : chance_(seed), watch_(its_watch), stored_(its_stored) {}

  // One sheet, from its opening to its end, whoever ends it.
  void RunThrough(const SheetUser& user) {
    watch_.while_open = [this](HWND owner) { DuringABox(owner); };
    for (int at = 0; at < 16 && !ended; ++at) {
      user.Open(Once(6) ? Any({kColorTab, kLayoutTab, kAboutTab}) : kPageTab);
      tab_ = user.Tab();
      Meddle(tab_);
      if (!ended && Once(4)) Work(Once(3) ? kCustom : kManage);
    }
    watch_.while_open = [](HWND) {};
    // What keeps a user on the Layout tab would keep the sheet open.
    if (!ended) SetDlgItemTextA(GetDlgItem(tab_, IDC_LAYOUT_COPIES) ? tab_ : nullptr, IDC_LAYOUT_COPIES, "1");
  }

  int steps = 0;
  std::atomic<bool> ended = false;

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

  // A click, a text, a selection or a notification, for a control of a window that has a number, or for none.
  void Meddle(HWND window) {
    std::vector<HWND> controls;
    const auto take = [](HWND child, LPARAM list) -> BOOL {
      const int number = GetDlgCtrlID(child);
      const bool waits_for_a_dialog = number == IDC_PAGE_MANAGE || number == IDC_PAGE_EDIT_CUSTOM;
      if (number != 0xFFFF && !waits_for_a_dialog) reinterpret_cast<std::vector<HWND>*>(list)->push_back(child);
      return TRUE;
    };
    EnumChildWindows(window, take, reinterpret_cast<LPARAM>(&controls));
    ++steps;
    const HWND item = controls.empty() || Once(20) ? nullptr : controls[chance_() % controls.size()];
    const int control = item ? GetDlgCtrlID(item) : Any({IDCANCEL, 0x7FFF});
    chosen_file = L"pages.zpk";
    if (Once(8)) PutFile(AnyFile());
    if (control == IDC_MANAGE_LABELS) SendMessageW(item, LB_SETCURSEL, Any({0u, 1u, 3u, 127u, 1000u, ~0u}), 0);
    if (Once(2) || control == IDC_PAGE_LABELS) SendMessageW(item, CB_SETCURSEL, Any({0u, 1u, 5u, ~0u}), 0);
    if (Once(3) || (control == IDC_MANAGE_NAME && Once(2))) SetDlgItemTextA(window, control, AnyText());
    if (Once(3)) return Command(window, control, Any({BN_CLICKED, EN_CHANGE, LBN_SELCHANGE, LBN_KILLFOCUS, 77}));
    if (!Once(6)) return static_cast<void>(SendMessageW(item, BM_CLICK, 0, 0));
    const UINT code = Any(
        {static_cast<UINT>(PSN_KILLACTIVE), static_cast<UINT>(PSN_SETACTIVE), static_cast<UINT>(PSN_APPLY), 12345u});
    SheetUser{window}.Notify(code);
    SendMessageW(window, WM_NOTIFY, 0, 0);
  }

  // A dialog from its opening to its end.
  void Work(const DialogKind& kind) {
    if (!GetDlgItem(tab_, kind.opener)) return;
    const DialogUser dialog(SheetUser{tab_}, kind);
    dialog_ = dialog.sheet;
    // One that has been closed is hidden until the sheet's thread comes round to destroying it.
    const auto is_open = [this] { return IsWindowVisible(dialog_) && !ended; };
    for (int at = 0; at < 25 && is_open(); ++at) {
      Meddle(dialog_);
      if (is_open() && kind.opener == kManage.opener) ExpectAgreement(dialog);
    }
    dialog_ = nullptr;
  }

  // On the sheet's thread.
  void DuringABox(HWND owner) {
    if (++depth_ < 4 && !ended) {
      while (Once(2)) Meddle(Any({owner, dialog_, tab_}));
      if (depth_ == 1 && Once(20)) {
        ended = true;
        platform::EndShownSheet();
      }
    }
    --depth_;
  }

  void ExpectAgreement(const DialogUser& dialog) {
    const auto* copy = reinterpret_cast<const DialogCopy*>(GetWindowLongPtrW(dialog.sheet, GWLP_USERDATA));
    ASSERT_TRUE(copy && copy->count >= 0 && copy->count <= r5lqz::kMostLabels);
    std::ostringstream names, labels;
    for (int at = 0; at < copy->count; ++at) {
      const auto& label = copy->labels[at];
      names << label.name << ";";
      labels << label.id << " " << label.name << " " << label.width << " " << label.length << " " << label.vertOffset
             << " " << label.horzOffset << " " << label.units << ";";
    }
    ASSERT_EQ(dialog.Pages(), names.str());
    ASSERT_EQ(stored_(), labels.str());
  }

  std::mt19937 chance_;
  Watch& watch_;
  std::string (*stored_)();
  HWND tab_ = nullptr, dialog_ = nullptr;
  int depth_ = 0;
};

// How many GDI objects this process has. Where the platform does not count them they are looked up in the table that it
// shares with every process; its address stands in the process environment block.
std::size_t GdiObjects() {
  if (const DWORD counted = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS)) return counted;
  constexpr std::size_t kEntries = 0x10000, kEntrySize = 24, kTypeOffset = 14;
  const HMODULE base = GetModuleHandleW(L"ntdll.dll");
  const auto find_block =
      reinterpret_cast<const BYTE*(WINAPI*)()>(reinterpret_cast<void*>(GetProcAddress(base, "RtlGetCurrentPeb")));
  const BYTE* const table = *reinterpret_cast<const BYTE* const*>(find_block() + 0xF8);
  std::size_t count = 0;
  for (std::size_t i = 0; i < kEntries; ++i) count += table[i * kEntrySize + kTypeOffset] != 0;
  return count;
}

TEST_F(Messages, NoOrderOfThemLeavesTheListsApartOrAnythingBehind) {
  const HGDIOBJ brush = CreateSolidBrush(0x123456);
  const std::size_t with_brush = GdiObjects();
  DeleteObject(brush);
  ASSERT_EQ(GdiObjects() + 1, with_brush) << "the count counts";

  std::size_t objects = GdiObjects();
  bool grew_each_time = true;
  int steps = 0, ended = 0;
  for (unsigned seed = 0; seed < 7; ++seed) {
    SCOPED_TRACE(seed);
    if (seed % 3 == 0) {
      ASSERT_EQ(0u, platform::RemoveLabelStocks(Printer()));
      StoreSome(seed ? 3 : 0, "A");
    }
    Walk walk(seed, *watch, &Stored);
    const bool is_document = seed % 5 != 4;
    const auto run_through = [&](SheetUser& user) {
      // Everything that a document sheet draws, in every round.
      for (int tab = kTabs; tab-- > 0;) user.Open(tab);
      for (const DialogKind* const kind : {&kManage, &kCustom}) {
        if (is_document) DialogUser(user, *kind);
      }
      walk.RunThrough(user);
    };
    if (is_document) Show(run_through);
    if (!is_document) ShowSheet(Driver().DevicePropertySheets, &device, run_through, PSBTN_CANCEL);
    Said();
    steps += walk.steps;
    ended += walk.ended;
    ASSERT_EQ(watch->blocks.size(), 0u);
    ASSERT_EQ(GetProcessHeaps(0, nullptr), heaps);
    HANDLE all[64];
    const DWORD count = GetProcessHeaps(64, all);
    for (DWORD at = 0; at < std::min<DWORD>(count, 64); ++at) EXPECT_TRUE(HeapValidate(all[at], 0, nullptr));
    ASSERT_FALSE(HasFailure());
    // The platform adds to a stock of its own now and then; what is left behind comes at every round.
    const std::size_t before = std::exchange(objects, GdiObjects());
    grew_each_time &= !is_document || objects > before;
  }
  EXPECT_FALSE(grew_each_time);
  EXPECT_TRUE(steps > 300 && ended > 0) << steps << " steps, " << ended << " sheets ended during a box";
  const auto count_window = [](HWND, LPARAM count) -> BOOL { return ++*reinterpret_cast<int*>(count), TRUE; };
  int windows = 0;
  EnumThreadWindows(GetCurrentThreadId(), count_window, reinterpret_cast<LPARAM>(&windows));
  EXPECT_EQ(windows, 0);
}

}  // namespace
}  // namespace tests
