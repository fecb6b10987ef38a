// What the common property sheet asks of the module, and what it gets.
#include <thread>

#include "sheet_fixture.h"

namespace tests {
namespace {

// The pages that the module asked for; which of them cannot be made, from 1 (0: none).
std::vector<PROPSHEETPAGEW> asked;
std::size_t failing_page;

HPROPSHEETPAGE WINAPI MakePage(LPCPROPSHEETPAGEW page) {
  asked.push_back(*page);
  return asked.size() == failing_page ? nullptr : CreatePropertySheetPageW(page);
}

// A conversation about a sheet that is never shown; keeps the pages that it is handed.
struct Talk {
  Talk(platform::SheetEntry asked_entry, void* header) : entry(asked_entry) {
    info.hComPropSheet = this;
    info.pfnComPropSheet = [](HANDLE self, UINT function, LPARAM page, LPARAM) -> LONG_PTR {
      EXPECT_EQ(function, UINT{CPSFUNC_ADD_HPROPSHEETPAGE});
      static_cast<Talk*>(self)->pages.push_back(reinterpret_cast<HPROPSHEETPAGE>(page));
      return 0;  // nobody looks at it
    };
    info.lParamInit = reinterpret_cast<LPARAM>(header);
    info.UserData = info.Result = 0xBAD;
    asked.clear();
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
  // The end, which may come twice: of what is gone nothing is left to be used.
  void End() {
    for (int i = 0; i < 2; ++i) EXPECT_TRUE(Ask(PROPSHEETUI_REASON_DESTROY) == 1 && info.UserData == 0);
  }

  platform::SheetEntry entry;
  PROPSHEETUI_INFO info{};
  std::vector<HPROPSHEETPAGE> pages;
};

struct Protocol : SheetTest {
  void SetUp() override {
    SheetTest::SetUp();
    if (!watch) return;
    watch->Replace("comctl32.dll", "CreatePropertySheetPageW", &MakePage);
    document = Header(&settled, out.data());
    sheets = {{Driver().DocumentPropertySheets, &document}, {Driver().DevicePropertySheets, &device}};
    failing_page = 0;
  }
  GuardedBlock out{sizeof(DriverDevMode)};
  DOCUMENTPROPERTYHEADER document;
  std::vector<std::pair<platform::SheetEntry, void*>> sheets;
};

TEST_F(Protocol, AnswersEveryReason) {
  std::string made;
  for (const auto& [entry, sheet_header] : sheets) {
    Talk talk(entry, sheet_header);
    ASSERT_EQ(talk.Ask(PROPSHEETUI_REASON_INIT), 1);
    EXPECT_EQ(talk.info.Result, 0u);
    for (const PROPSHEETPAGEW& page : asked) {
      EXPECT_EQ(page.lParam, static_cast<LPARAM>(talk.info.UserData));
      EXPECT_TRUE(page.dwSize == 104 && page.hInstance == Module());
      for (const auto number : {LOWORD(page.pszTemplate), LOWORD(page.pszTitle), LOWORD(page.dwFlags)}) {
        made += std::to_string(number) + " ";
      }
    }
    PROPSHEETUI_INFO_HEADER header{.hWndParent = reinterpret_cast<HWND>(0x1234)};
    ASSERT_EQ(talk.Ask(PROPSHEETUI_REASON_GET_INFO_HEADER, &header), 1);
    EXPECT_TRUE(header.Flags == 6 && header.IconID == 64082 && header.hInst == Module());
    EXPECT_EQ(header.pTitle, PrinterName());
    EXPECT_EQ(header.hWndParent, reinterpret_cast<HWND>(0x1234));
    for (const WORD reason : {4, 5, 6, 99, 0xFFFF}) EXPECT_EQ(talk.Ask(reason), -1) << reason;
    for (const LONG_PTR result : {CPSUI_CANCEL, 2, 77}) EXPECT_EQ(talk.Give(result), ULONG_PTR(result));
    EXPECT_EQ(out.Untouched(), sheet_header == &document) << "only OK writes";
    EXPECT_EQ(talk.Give(CPSUI_OK), ULONG_PTR{CPSUI_OK});
    talk.End();
    talk.info.lParamInit = 0;
    for (const WORD reason : {0, 1, 2, 3, 4}) EXPECT_EQ(talk.Ask(reason), -1) << reason << " without a header";
  }
  EXPECT_EQ(memcmp(out.data(), &settled, sizeof settled), 0);
  EXPECT_EQ(made, "142 149 40 144 146 40 143 150 40 146 145 40 128 147 8 ");
}

// Each page fails in turn, and then the context that they all need.
TEST_F(Protocol, ShowsAndKeepsNothingWhenItCannotOpen) {
  for (const auto& [entry, header] : sheets) {
    const auto expect_nothing = [&](Talk& talk) {
      EXPECT_EQ(talk.info.UserData, 0u);
      EXPECT_EQ(GetProcessHeaps(0, nullptr), heaps) << "the context is gone at once";
      talk.Give(CPSUI_OK);
      EXPECT_TRUE(out.Untouched());
      talk.End();
    };
    const std::size_t tabs = header == &device ? 1 : kTabs;
    for (failing_page = 1; failing_page <= tabs; ++failing_page) {
      Talk talk(entry, header);
      EXPECT_EQ(talk.Ask(PROPSHEETUI_REASON_INIT), 0);
      EXPECT_EQ(talk.pages.size(), failing_page - 1);
      expect_nothing(talk);
    }
    document.hPrinter = device.hPrinter = nullptr;
    Talk talk(entry, header);
    EXPECT_LE(talk.Ask(PROPSHEETUI_REASON_INIT), 0);
    EXPECT_TRUE(talk.pages.empty());
    expect_nothing(talk);
    document.hPrinter = device.hPrinter = Printer();
  }
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
    for (const int button : {PSBTN_OK, PSBTN_CANCEL}) {
      SCOPED_TRACE(testing::Message() << mode << " " << button);
      GuardedBlock older(kSize + kExtra);
      auto header = Header(shape.data(), older.data(), mode);
      const auto outcome = ShowSheet(
          Driver().DocumentPropertySheets, &header,
          [&](SheetUser& user) {
            ASSERT_TRUE(user.Open(kColorTab));
            user.Choose(IDC_COLOR_QUALITY, "Fast");
            user.Press(PSBTN_APPLYNOW);
            EXPECT_EQ(older.Untouched(), !applied);
          },
          button);
      const bool ok = button == PSBTN_OK;
      EXPECT_EQ(older.Untouched(), !(applied || (ok && closed)));
      EXPECT_TRUE(older.Untouched() || (older.Read<SHORT>(offsetof(DEVMODEW, dmPrintQuality)) == 150 &&
                                        older.Read<WORD>(offsetof(DEVMODEW, dmSize)) == kSize));
      EXPECT_EQ(outcome.results, (ok ? std::vector<LPARAM>{1, 1, 1, 1} : std::vector<LPARAM>{1, 1, 2, 2}));
      EXPECT_EQ(outcome.result, ok ? ULONG_PTR{CPSUI_OK} : ULONG_PTR{CPSUI_CANCEL});
    }
  }
}

// The platform's own road: it takes no results from the tabs, so what they write themselves is all that comes back.
TEST_F(Protocol, OpensForAnApplication) {
  std::thread person([application = GetCurrentThreadId()] {
    HWND sheet = nullptr;
    ASSERT_TRUE(user::WaitUntil([&] { return (sheet = user::FindSheet(application)) != nullptr; }));
    EXPECT_TRUE(user::ChooseEntry(user::SelectTab(sheet, kColorTab), IDC_COLOR_QUALITY, L"Best"));
    user::CloseSheet(sheet, PSBTN_OK);
  });
  EXPECT_EQ(DocumentPropertiesW(nullptr, Printer(), PrinterName(), out.As<DEVMODEW>(), &settled.dm_public,
                                DM_IN_BUFFER | DM_OUT_BUFFER | DM_IN_PROMPT),
            IDOK);
  person.join();
  settled.dm_public.dmPrintQuality = settled.dm_public.dmYResolution = 600;
  EXPECT_EQ(memcmp(out.data(), &settled, sizeof settled), 0);
}

}  // namespace
}  // namespace tests
