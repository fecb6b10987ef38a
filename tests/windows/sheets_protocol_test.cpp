// What the common property sheet asks of the module, and what it gets.
#include <thread>

#include "sheet_fixture.h"

namespace tests {
namespace {

// A conversation about a sheet that is never shown; keeps the pages that it is handed.
struct Talk {
  Talk(platform::SheetEntry asked, void* header) : entry(asked) {
    info.hComPropSheet = this;
    info.pfnComPropSheet = [](HANDLE self, UINT function, LPARAM page, LPARAM) -> LONG_PTR {
      EXPECT_EQ(function, UINT{CPSFUNC_ADD_HPROPSHEETPAGE});
      static_cast<Talk*>(self)->pages.push_back(reinterpret_cast<HPROPSHEETPAGE>(page));
      return 0;  // nobody looks at it
    };
    info.lParamInit = reinterpret_cast<LPARAM>(header);
    info.UserData = info.Result = 0xBAD;
  }
  ~Talk() {
    for (const auto page : pages) DestroyPropertySheetPage(page);
  }
  LONG Ask(WORD reason, void* param = nullptr) {
    info.Reason = reason;
    return entry(&info, reinterpret_cast<LPARAM>(param));
  }
  // What the module makes of a sheet's result.
  ULONG_PTR Give(LONG_PTR result) {
    SETRESULT_INFO given{sizeof given, 0, nullptr, result};
    EXPECT_EQ(Ask(PROPSHEETUI_REASON_SET_RESULT, &given), 1);
    return info.Result;
  }

  platform::SheetEntry entry;
  PROPSHEETUI_INFO info{};
  std::vector<HPROPSHEETPAGE> pages;
};

struct Protocol : SheetTest {
  void SetUp() override {
    SheetTest::SetUp();
    document = Header(&settled, out.data());
    sheets = {{document_entry, &document}, {device_entry, &device}};
    watch->pages.clear();
  }
  GuardedBlock out{sizeof(DriverDevMode)};
  DOCUMENTPROPERTYHEADER document;
  std::vector<std::pair<platform::SheetEntry, void*>> sheets;
};

TEST_F(Protocol, AnswersEveryReason) {
  Texts made;
  for (const auto& [entry, sheet_header] : sheets) {
    Talk talk(entry, sheet_header);
    ASSERT_EQ(talk.Ask(PROPSHEETUI_REASON_INIT), 1);
    EXPECT_EQ(talk.info.Result, 0u);
    for (const PROPSHEETPAGEW& page : watch->pages) {
      EXPECT_EQ(page.lParam, static_cast<LPARAM>(talk.info.UserData));
      EXPECT_TRUE(page.dwSize == 104 && page.hInstance == Module());
      const std::string ids = std::to_string(LOWORD(page.pszTemplate)) + " " + std::to_string(LOWORD(page.pszTitle));
      made.push_back(ids + (page.dwFlags == 0x28 ? " help" : page.dwFlags == 0x08 ? "" : " flags"));
    }
    watch->pages.clear();

    PROPSHEETUI_INFO_HEADER header{.hWndParent = reinterpret_cast<HWND>(0x1234)};
    ASSERT_EQ(talk.Ask(PROPSHEETUI_REASON_GET_INFO_HEADER, &header), 1);
    EXPECT_TRUE(header.Flags == 6 && header.IconID == 64082 && header.hInst == Module());
    EXPECT_EQ(header.pTitle, PrinterName());
    EXPECT_EQ(header.hWndParent, reinterpret_cast<HWND>(0x1234));
    for (const WORD reason : {4, 5, 6, 99, 0xFFFF}) EXPECT_EQ(talk.Ask(reason), -1) << reason;
    for (const LONG_PTR result : {CPSUI_CANCEL, 2, 77}) EXPECT_EQ(talk.Give(result), ULONG_PTR(result));
    EXPECT_EQ(out.Untouched(), sheet_header == &document) << "only OK writes";
    EXPECT_EQ(talk.Give(CPSUI_OK), ULONG_PTR{CPSUI_OK});
    for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(talk.Ask(PROPSHEETUI_REASON_DESTROY), 1);
      ASSERT_EQ(talk.info.UserData, 0u) << "of what is gone nothing is left to be used";
    }
    talk.info.lParamInit = 0;
    for (const WORD reason : {0, 1, 2, 3, 4}) EXPECT_EQ(talk.Ask(reason), -1) << reason << " without a header";
  }
  EXPECT_EQ(memcmp(out.data(), &settled, sizeof settled), 0);
  EXPECT_EQ(made, (Texts{"142 149 help", "144 146 help", "143 150 help", "146 145 help", "128 147"}));
}

// Each page fails in turn, and then the context that they all need.
TEST_F(Protocol, ShowsAndKeepsNothingWhenItCannotOpen) {
  for (const auto& [entry, header] : sheets) {
    const auto expect_nothing = [&](Talk& talk) {
      EXPECT_EQ(talk.info.UserData, 0u);
      EXPECT_EQ(GetProcessHeaps(0, nullptr), heaps) << "the context is gone at once";
      talk.Give(CPSUI_OK);
      EXPECT_TRUE(out.Untouched());
      for (int i = 0; i < 2; ++i) EXPECT_EQ(talk.Ask(PROPSHEETUI_REASON_DESTROY), 1);
    };
    LONG opened = 0;
    std::size_t failing = 0;
    while (opened == 0) {
      watch->pages.clear();
      watch->failing_page = ++failing;
      Talk talk(entry, header);
      opened = talk.Ask(PROPSHEETUI_REASON_INIT);
      EXPECT_EQ(talk.pages.size(), failing - 1);
      opened == 0 ? expect_nothing(talk) : static_cast<void>(talk.Ask(PROPSHEETUI_REASON_DESTROY));
    }
    EXPECT_TRUE(opened == 1 && failing == (header == &device ? 2u : 5u));

    document.hPrinter = device.hPrinter = nullptr;
    Talk talk(entry, header);
    EXPECT_LE(talk.Ask(PROPSHEETUI_REASON_INIT), 0);
    EXPECT_TRUE(talk.pages.empty());
    expect_nothing(talk);
    EXPECT_FALSE(platform::ShowSheet({entry, header}).shown);
    document.hPrinter = device.hPrinter = Printer();
  }
}

TEST_F(Protocol, ShowsItsTabsAndTheirHelp) {
  for (const auto& [entry, header] : sheets) {
    const bool is_document = header == &document;
    ShowSheet(
        entry, header,
        [&](SheetUser& user) {
          const Texts titles = user.Titles();
          EXPECT_EQ(titles, is_document ? (Texts{"Page", "Appearance", "Layout", "About"}) : Texts{"Device"});
          for (const auto& title : titles) {
            ASSERT_TRUE(user.Open(title));
            const HWND help = GetDlgItem(GetParent(user.Tab()), IDHELP);
            EXPECT_EQ(help && IsWindowVisible(help) && IsWindowEnabled(help), is_document) << title;
            // Whatever comes to a tab after its end finds nothing; the end comes once more when the sheet closes.
            SendMessageW(user.Tab(), WM_DESTROY, 0, 0);
            EXPECT_EQ(GetWindowLongPtrW(user.Tab(), GWLP_USERDATA), 0) << title;
          }
        },
        PSBTN_OK);
  }
  for (const auto& [id, times] : watch->shown) EXPECT_EQ(times, 1) << id;
  EXPECT_EQ(watch->shown.size(), 5u);
}

// `applied`: written by an Apply that leaves the sheet open; `closed`: when OK has closed it. The caller's record is of
// an older form and ends where a byte more would end the program.
TEST_F(Protocol, WritesTheOutputInTheCallersSizeWhereItMay) {
  const struct {
    DWORD mode;
    bool applied, closed;
  } kModes[] = {{DM_IN_BUFFER | DM_OUT_BUFFER, true, true},
                {0, true, true},
                {DM_NOPERMISSION | DM_IN_BUFFER, false, false},
                // The sheet's result is written whatever the tabs may do.
                {DM_NOPERMISSION | DM_OUT_BUFFER, false, true},
                {DM_NOPERMISSION | DM_OUT_DEFAULT, false, true}};
  constexpr WORD kSize = 188, kExtra = 112;
  GuardedBlock shape(kSize + kExtra);
  memset(shape.data(), 0, kSize + kExtra);
  r5lqz::PutForm(shape.As<DEVMODEW>(), {0x0320, 0x0350, kSize, kExtra});
  for (const auto& [mode, applied, closed] : kModes) {
    for (const bool apply : {true, false}) {
      for (const int button : {PSBTN_OK, PSBTN_CANCEL}) {
        SCOPED_TRACE(testing::Message() << mode << " " << button << " " << apply);
        GuardedBlock older(kSize + kExtra);
        auto header = Header(shape.data(), older.data(), mode);
        watch->shown.clear();
        const auto outcome = ShowSheet(
            document_entry, &header,
            [&](SheetUser& user) {
              ASSERT_TRUE(user.Open("Appearance"));
              user.Choose(IDC_COLOR_QUALITY, "Fast");
              if (apply) user.Press(PSBTN_APPLYNOW);
              EXPECT_EQ(older.Untouched(), !(apply && applied));
            },
            button);
        const bool ok = button == PSBTN_OK;
        EXPECT_EQ(older.Untouched(), !(ok ? closed : apply && applied));
        EXPECT_TRUE(older.Untouched() || (older.Read<SHORT>(offsetof(DEVMODEW, dmPrintQuality)) == 150 &&
                                          older.Read<WORD>(offsetof(DEVMODEW, dmSize)) == kSize));
        std::vector<LPARAM> results = apply ? Reported(CPSUI_OK) : std::vector<LPARAM>{};
        for (const LPARAM last : Reported(ok ? CPSUI_OK : 2)) results.push_back(last);
        EXPECT_EQ(outcome.results, results);
        EXPECT_EQ(outcome.result, ok ? ULONG_PTR{CPSUI_OK} : ULONG_PTR{CPSUI_CANCEL});
      }
    }
  }
}

TEST_F(Protocol, DeviceSheetTellsWhoMayChangeThePrinter) {
  for (const DWORD answer : {DWORD{ERROR_SUCCESS}, DWORD{ERROR_ACCESS_DENIED}}) {
    watch->write_answer = answer;
    ShowSheet(device_entry, &device, [](SheetUser& user) { EXPECT_TRUE(user.Open("Device")); }, PSBTN_CANCEL);
    EXPECT_EQ(device.Flags, answer ? DPS_NOPERMISSION : 0);
  }
  DWORD type = 0, value = 0, size = 0;
  auto* const name = const_cast<wchar_t*>(L"Permission");
  EXPECT_EQ(GetPrinterDataW(Printer(), name, &type, reinterpret_cast<BYTE*>(&value), sizeof value, &size), 0u);
  EXPECT_TRUE(type == REG_DWORD && value == 1);
}

// The platform's own road: it takes no results from the tabs, so what they write themselves is all that comes back.
TEST_F(Protocol, OpensForAnApplication) {
  for (const int button : {PSBTN_CANCEL, PSBTN_OK}) {
    const DWORD application = GetCurrentThreadId();
    std::thread person([&] {
      HWND sheet = nullptr;
      for (int i = 0; i < 200 && !sheet; ++i, Sleep(50)) {
        EnumThreadWindows(
            application,
            [](HWND window, LPARAM found) -> BOOL {
              const bool is_sheet = IsWindowVisible(window) && SendMessageW(window, PSM_GETTABCONTROL, 0, 0);
              if (is_sheet) *reinterpret_cast<HWND*>(found) = window;
              return !is_sheet;
            },
            reinterpret_cast<LPARAM>(&sheet));
      }
      ASSERT_TRUE(sheet) << "no sheet came";
      SheetUser user(sheet);
      EXPECT_TRUE(user.Open("Appearance"));
      user.Choose(IDC_COLOR_QUALITY, "Best");
      user.Press(button);
    });
    EXPECT_EQ(DocumentPropertiesW(nullptr, Printer(), PrinterName(), out.As<DEVMODEW>(), &settled.dm_public,
                                  DM_IN_BUFFER | DM_OUT_BUFFER | DM_IN_PROMPT),
              IDOK);
    person.join();
    EXPECT_EQ(out.Untouched(), button == PSBTN_CANCEL);
  }
  settled.dm_public.dmPrintQuality = settled.dm_public.dmYResolution = 600;
  EXPECT_EQ(memcmp(out.data(), &settled, sizeof settled), 0);
  EXPECT_EQ(watch->shown[IDD_COLOR_TAB], 2);
}

}  // namespace
}  // namespace tests
