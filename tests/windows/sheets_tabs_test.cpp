// What the tabs show of the settings, and what they make of what the user does.
#include <clocale>

#include "sheet_fixture.h"
#include "user/printer_calls.h"

namespace tests {
namespace {

struct Tabs : SheetTest {};

constexpr int kFlags[] = {IDC_LAYOUT_LANDSCAPE, IDC_LAYOUT_ROTATE, IDC_LAYOUT_MIRROR, IDC_LAYOUT_DRIVER_COPIES};

const std::string kProduct = "1.0.0\xA9 " + std::string(__DATE__).substr(7) + " Brindlewick. All rights reserved.";

struct Choice {
  SHORT resolution;
  const char* quality;
  bool automatic;
  DWORD intent_value;
  const char* intent;
  std::string profile;
  unsigned flags = 0;
};

DriverDevMode With(const Choice& choice, DriverDevMode record) {
  auto& own = record.dm_private;
  record.dm_public.dmPrintQuality = record.dm_public.dmYResolution = choice.resolution;
  own.colorAdjust = choice.automatic;
  own.rendIntent = choice.intent_value;
  std::fill(std::copy(choice.profile.begin(), choice.profile.end(), own.colorProfile), std::end(own.colorProfile),
            L'\0');
  record.dm_public.dmOrientation = choice.flags & 1 ? DMORIENT_LANDSCAPE : DMORIENT_PORTRAIT;
  own.rotate180 = choice.flags >> 1 & 1;
  own.mirrorImage = choice.flags >> 2 & 1;
  own.usePrivateCopies = choice.flags >> 3 & 1;
  return record;
}

void ExpectColors(const Choice& choice, const SheetUser& user) {
  EXPECT_EQ(user.Text(IDC_COLOR_QUALITY), choice.quality);
  EXPECT_EQ(user.Text(IDC_COLOR_INTENT), choice.intent);
  EXPECT_EQ(user.Text(IDC_COLOR_PROFILE), choice.profile);
  EXPECT_EQ(user.Checked(IDC_COLOR_AUTOMATIC), choice.automatic);
  EXPECT_NE(user.Checked(IDC_COLOR_APPLICATION), choice.automatic);
  for (const int id : {IDC_COLOR_INTENT, IDC_COLOR_PROFILE}) EXPECT_EQ(user.Enabled(id), choice.automatic) << id;
}

void ExpectLayout(const Choice& choice, const SheetUser& user) {
  for (int at = 0; at < 4; ++at) EXPECT_EQ(user.Checked(kFlags[at]), (choice.flags >> at & 1) == 1) << at;
  EXPECT_NE(user.Checked(IDC_LAYOUT_PORTRAIT), user.Checked(IDC_LAYOUT_LANDSCAPE));
  EXPECT_EQ(user.Text(IDC_LAYOUT_COPIES), "1");
}

// Each row is shown from its record, and chosen in a sheet that shows the row before it.
TEST_F(Tabs, ShowAndTakeEveryChoice) {
  const Choice kRows[] = {{600, "Best", true, 0, "Perceptual", "alpha.icm", 1},
                          {300, "Normal", false, 1, "Relative Colorimetric", "beta.icm", 2},
                          {150, "Fast", true, 2, "Absolute Colorimetric", "gamma.icm", 4},
                          {300, "Normal", true, 3, "Saturation", "alpha.icm", 8 + 1},
                          {600, "Best", false, 0, "Perceptual", "gamma.icm", 0}};
  Choice before = kRows[2];
  for (const Choice& row : kRows) {
    DriverDevMode in = With(before, settled);
    in.dm_public.dmCopies = 7;  // nobody gets more than one
    const DriverDevMode out = Edit(in, [&](SheetUser& user) {
      ASSERT_TRUE(user.Open(kColorTab));
      ExpectColors(before, user);
      user.Press(PSBTN_APPLYNOW);  // releases nothing that the next one reads
      user.Choose(IDC_COLOR_QUALITY, row.quality);
      user.Choose(IDC_COLOR_INTENT, row.intent);
      user.Choose(IDC_COLOR_PROFILE, row.profile);
      user.Click(row.automatic ? IDC_COLOR_AUTOMATIC : IDC_COLOR_APPLICATION);
      ExpectColors(row, user);
      ASSERT_TRUE(user.Open(kLayoutTab));
      ExpectLayout(before, user);
      user.Click(row.flags & 1 ? IDC_LAYOUT_LANDSCAPE : IDC_LAYOUT_PORTRAIT);
      for (int at = 1; at < 4; ++at) {
        if ((row.flags ^ before.flags) >> at & 1) user.Click(kFlags[at]);
      }
      // The choices outlive a look at another tab.
      ASSERT_TRUE(user.Open(kColorTab));
      ExpectColors(row, user);
      ASSERT_TRUE(user.Open(kLayoutTab));
      ExpectLayout(row, user);
    });
    const DriverDevMode chosen = With(row, settled);
    EXPECT_EQ(memcmp(&out, &chosen, sizeof out), 0) << &row - kRows;
    before = row;
  }
}

TEST_F(Tabs, LiveWithAnyProfileListAndQuality) {
  const std::string longest(259, 'x');
  const struct {
    std::vector<std::wstring> profiles;
    std::string stored, shown, kept;
  } kRows[] = {{{}, "old.icm", "", "old.icm"},
               {{L"a.icm", L"b.icm"}, "B.icm", "a.icm", "a.icm"},
               {{L"a.icm", std::wstring(259, L'x')}, longest, longest, longest},
               {{std::wstring(260, L'y')}, "old.icm", std::string(260, 'y'), ""}};  // a name that no record can hold
  for (const auto& row : kRows) {
    watch->profiles = row.profiles;
    const DriverDevMode out = Edit(With({72, "", true, 99, "", row.stored}, settled), [&](SheetUser& user) {
      ASSERT_TRUE(user.Open(kColorTab));
      ExpectColors({0, "Normal", true, 0, "Relative Colorimetric", row.shown}, user);
    });
    EXPECT_EQ(Narrow(out.dm_private.colorProfile, 260), row.kept);
    EXPECT_TRUE(out.dm_public.dmPrintQuality == 300 && out.dm_public.dmYResolution == 300);
  }
}

TEST_F(Tabs, KeepTheUserUntilTheHiddenCountIsRight) {
  const std::string refusal = "Invalid Number of Copies\nValid range: 1 - 1";
  GuardedBlock out(sizeof settled);
  auto header = Header(&settled, out.data());
  const auto outcome = ShowSheet(
      Driver().DocumentPropertySheets, &header,
      [&](SheetUser& user) {
        ASSERT_TRUE(user.Open(kLayoutTab));
        for (const wchar_t* const entry : {L"2", L"0", L"", L"11111111111111111111111"}) {
          SetDlgItemTextW(user.Tab(), IDC_LAYOUT_COPIES, entry);
          EXPECT_FALSE(user.Open(kAboutTab)) << entry;
          EXPECT_EQ(Said(), refusal) << entry;
          user.Press(PSBTN_APPLYNOW);
          EXPECT_TRUE(Said().starts_with(refusal)) << entry;
          // The sheet asks a current tab whether it can be left before it lets it apply; another one it does not ask.
          EXPECT_EQ(user.Notify(static_cast<UINT>(PSN_APPLY)), PSNRET_INVALID_NOCHANGEPAGE);
          EXPECT_EQ(Said(), refusal);
        }
        EXPECT_TRUE(out.Untouched()) << "a refused apply copies nothing";
        SetDlgItemTextW(user.Tab(), IDC_LAYOUT_COPIES, L" +01\t");
        EXPECT_TRUE(user.Open(kAboutTab));
        EXPECT_EQ(user.Text(IDC_ABOUT_VERSION) + user.Text(IDC_ABOUT_NOTICE), kProduct);
        // Whatever comes to a tab after its end finds nothing; the end comes once more when the sheet closes.
        SendMessageW(user.Tab(), WM_DESTROY, 0, 0);
        EXPECT_EQ(GetWindowLongPtrW(user.Tab(), GWLP_USERDATA), 0);
      },
      PSBTN_OK);
  EXPECT_EQ(outcome.results, (std::vector<LPARAM>{CPSUI_OK, CPSUI_OK})) << "a refused apply reports nothing";
  EXPECT_EQ(memcmp(out.data(), &settled, sizeof settled), 0);
}

TEST_F(Tabs, DeviceShowsAndStoresItsOption) {
  const struct {
    const char* stored;  // "" nothing, "text" a text, else a number
    bool shown, click;
    int button;
    int left;  // -1: no number
  } kRows[] = {{"", true, false, PSBTN_OK, 1},     {"", true, true, PSBTN_CANCEL, -1},
               {"1", true, true, PSBTN_OK, 0},     {"0", false, false, PSBTN_OK, 0},
               {"0", false, true, PSBTN_OK, 1},    {"text", true, false, PSBTN_OK, 1},
               {"0", false, true, PSBTN_CANCEL, 0}};
  constexpr wchar_t kName[] = L"bufferPrintJob";
  const std::wstring key = L"System\\CurrentControlSet\\Control\\Print\\Printers\\" + std::wstring(PrinterName());
  for (const auto& row : kRows) {
    SCOPED_TRACE(&row - kRows);
    // The platform's spooler cannot delete printer data.
    RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, (key + L"\\PrinterDriverData").c_str(), kName);
    auto number = static_cast<DWORD>(atoi(row.stored));
    const DWORD stored_type = *row.stored == 't' ? REG_SZ : REG_DWORD;
    if (*row.stored) {
      SetPrinterDataW(Printer(), const_cast<wchar_t*>(kName), stored_type, reinterpret_cast<BYTE*>(&number), 4);
    }
    const auto outcome = ShowSheet(
        Driver().DevicePropertySheets, &device,
        [&](SheetUser& user) {
          EXPECT_EQ(user.Text(IDC_DEVICE_VERSION) + user.Text(IDC_DEVICE_NOTICE), kProduct);
          EXPECT_EQ(user.Checked(IDC_DEVICE_BUFFER), row.shown);
          if (row.click) user.Click(IDC_DEVICE_BUFFER);
        },
        row.button);
    EXPECT_EQ(outcome.results, row.button == PSBTN_OK ? std::vector<LPARAM>{} : std::vector<LPARAM>{2});
    EXPECT_EQ(user::ReadBufferOption(Printer()), row.left);
  }
  // The sheet finds out who may change the printer, and says so.
  EXPECT_EQ(device.Flags, 0u);
  DWORD type = 0, value = 0, size = 0;
  auto* const permission = const_cast<wchar_t*>(L"Permission");
  GetPrinterDataW(Printer(), permission, &type, reinterpret_cast<BYTE*>(&value), sizeof value, &size);
  EXPECT_TRUE(type == REG_DWORD && value == 1);
  watch->Replace(
      "winspool.drv", "SetPrinterDataW",
      +[](HANDLE, LPWSTR, DWORD, LPBYTE, DWORD) { return DWORD{ERROR_ACCESS_DENIED}; });
  ShowSheet(Driver().DevicePropertySheets, &device, [](SheetUser&) {}, PSBTN_CANCEL);
  EXPECT_EQ(device.Flags, DWORD{DPS_NOPERMISSION});
}

}  // namespace
}  // namespace tests
