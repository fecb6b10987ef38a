// What the tabs show of the settings, and what they make of what the user does.
#include <clocale>

#include "sheet_fixture.h"

namespace tests {
namespace {

struct Appearance : SheetTest {};
struct Layout : SheetTest {};
struct Device : SheetTest {};

struct Colors {
  SHORT resolution;
  const char* quality;
  bool automatic;
  DWORD intent_value;
  const char* intent;
  std::string profile;
};

DriverDevMode With(const Colors& colors, DriverDevMode record) {
  record.dm_public.dmPrintQuality = record.dm_public.dmYResolution = colors.resolution;
  record.dm_private.colorAdjust = colors.automatic;
  record.dm_private.rendIntent = colors.intent_value;
  auto& profile = record.dm_private.colorProfile;
  std::fill(std::copy(colors.profile.begin(), colors.profile.end(), profile), std::end(profile), L'\0');
  return record;
}

void ExpectShown(const Colors& colors, const SheetUser& user) {
  EXPECT_EQ(user.Text(IDC_COLOR_QUALITY), colors.quality);
  EXPECT_EQ(user.Text(IDC_COLOR_INTENT), colors.intent);
  EXPECT_EQ(user.Text(IDC_COLOR_PROFILE), colors.profile);
  EXPECT_EQ(user.Checked(IDC_COLOR_AUTOMATIC), colors.automatic);
  EXPECT_NE(user.Checked(IDC_COLOR_APPLICATION), colors.automatic);
  for (const int id : {IDC_COLOR_INTENT, IDC_COLOR_PROFILE}) EXPECT_EQ(user.Enabled(id), colors.automatic) << id;
}

// Each row is shown from its record, and chosen in a sheet that shows the row before it.
TEST_F(Appearance, ShowsAndTakesEveryChoice) {
  const Colors kRows[] = {{600, "Best", true, 0, "Perceptual", "alpha.icm"},
                          {300, "Normal", false, 1, "Relative Colorimetric", "beta.icm"},
                          {150, "Fast", true, 2, "Absolute Colorimetric", "gamma.icm"},
                          {300, "Normal", true, 3, "Saturation", "alpha.icm"},
                          {600, "Best", false, 0, "Perceptual", "gamma.icm"}};
  Colors before = kRows[2];
  for (const Colors& row : kRows) {
    const DriverDevMode out = Edit(With(before, settled), [&](SheetUser& user) {
      ASSERT_TRUE(user.Open("Appearance"));
      ExpectShown(before, user);
      EXPECT_EQ(user.Send(IDC_COLOR_QUALITY, CB_GETCOUNT), 3);
      EXPECT_EQ(user.Send(IDC_COLOR_INTENT, CB_GETCOUNT), 4);
      user.Choose(IDC_COLOR_QUALITY, row.quality);
      user.Choose(IDC_COLOR_INTENT, row.intent);
      user.Choose(IDC_COLOR_PROFILE, row.profile.c_str());
      user.Click(row.automatic ? IDC_COLOR_AUTOMATIC : IDC_COLOR_APPLICATION);
      ExpectShown(row, user);
      // The choices outlive a look at another tab.
      ASSERT_TRUE(user.Open("About") && user.Open("Appearance"));
      ExpectShown(row, user);
    });
    const DriverDevMode chosen = With(row, settled);
    EXPECT_EQ(memcmp(&out, &chosen, sizeof out), 0) << row.quality << row.intent << row.profile;
    before = row;
  }
}

TEST_F(Appearance, LivesWithAnyProfileListAndQuality) {
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
      ASSERT_TRUE(user.Open("Appearance"));
      ExpectShown({0, "Normal", true, 0, "Relative Colorimetric", row.shown}, user);
    });
    EXPECT_EQ(Narrow(out.dm_private.colorProfile, 260), row.kept);
    EXPECT_TRUE(out.dm_public.dmPrintQuality == 300 && out.dm_public.dmYResolution == 300);
  }
}

// Released names are spoilt: whoever reads one too late stores nonsense.
TEST_F(Appearance, KeepsItsProfilesThroughEveryApply) {
  DriverDevMode out{};
  auto header = Header(&settled, &out);
  const auto outcome = ShowSheet(
      document_entry, &header,
      [&](SheetUser& user) {
        ASSERT_TRUE(user.Open("Appearance"));
        for (const char* const name : {"beta.icm", "gamma.icm", "beta.icm"}) {
          user.Choose(IDC_COLOR_PROFILE, name);
          user.Press(PSBTN_APPLYNOW);
          EXPECT_EQ(Narrow(out.dm_private.colorProfile, 260), name);
        }
      },
      PSBTN_CANCEL);
  std::vector<LPARAM> results;
  for (const LPARAM result : {CPSUI_OK, CPSUI_OK, CPSUI_OK, 2}) {
    for (const LPARAM one : Reported(result)) results.push_back(one);
  }
  EXPECT_EQ(outcome.results, results);
  EXPECT_EQ(Narrow(out.dm_private.colorProfile, 260), "beta.icm") << "what was applied stays";
}

TEST_F(Layout, ShowsAndTakesEveryChoice) {
  DriverDevMode in = settled;
  for (const unsigned choice : {1u, 2u, 4u, 7u, 0u, 6u, 5u, 3u}) {
    DriverDevMode chosen = settled;
    chosen.dm_public.dmOrientation = choice & 1 ? DMORIENT_LANDSCAPE : DMORIENT_PORTRAIT;
    chosen.dm_private.rotate180 = choice >> 1 & 1;
    chosen.dm_private.mirrorImage = choice >> 2 & 1;
    chosen.dm_private.usePrivateCopies = in.dm_private.usePrivateCopies = choice & 1;
    in.dm_public.dmCopies = 7;  // nobody gets more than one
    const DriverDevMode out = Edit(in, [&](SheetUser& user) {
      ASSERT_TRUE(user.Open("Layout"));
      const auto expect_shown = [&](const DriverDevMode& record) {
        const bool landscape = record.dm_public.dmOrientation == DMORIENT_LANDSCAPE;
        EXPECT_EQ(user.Checked(IDC_LAYOUT_LANDSCAPE), landscape);
        EXPECT_NE(user.Checked(IDC_LAYOUT_PORTRAIT), landscape);
        EXPECT_EQ(user.Checked(IDC_LAYOUT_ROTATE), record.dm_private.rotate180 == 1);
        EXPECT_EQ(user.Checked(IDC_LAYOUT_MIRROR), record.dm_private.mirrorImage == 1);
        EXPECT_EQ(user.Checked(IDC_LAYOUT_DRIVER_COPIES), record.dm_private.usePrivateCopies == 1);
        EXPECT_EQ(user.Text(IDC_LAYOUT_COPIES), "1");
      };
      expect_shown(in);
      user.Click(choice & 1 ? IDC_LAYOUT_LANDSCAPE : IDC_LAYOUT_PORTRAIT);
      if (in.dm_private.rotate180 != chosen.dm_private.rotate180) user.Click(IDC_LAYOUT_ROTATE);
      if (in.dm_private.mirrorImage != chosen.dm_private.mirrorImage) user.Click(IDC_LAYOUT_MIRROR);
      ASSERT_TRUE(user.Open("About") && user.Open("Layout"));
      expect_shown(chosen);
    });
    EXPECT_EQ(memcmp(&out, &chosen, sizeof out), 0) << choice;
    in = out;
  }
}

TEST_F(Layout, KeepsTheUserUntilTheHiddenCountIsRight) {
  GuardedBlock out(sizeof settled);
  auto header = Header(&settled, out.data());
  ASSERT_TRUE(setlocale(LC_ALL, "German_Germany.1252"));
  const auto outcome = ShowSheet(
      document_entry, &header,
      [&](SheetUser& user) {
        ASSERT_TRUE(user.Open("Layout"));
        const HWND tab = user.Tab();
        const NMHDR apply{nullptr, 0, static_cast<UINT>(PSN_APPLY)};
        for (const char* const entry : {"2", "0", "-1", "1,0", "1.0", "1 1", "", "11111111111111111111111"}) {
          watch->boxes.clear();
          user.Type(IDC_LAYOUT_COPIES, entry);
          EXPECT_FALSE(user.Open("About")) << entry;
          EXPECT_EQ(watch->boxes.size(), 1u) << entry;
          user.Press(PSBTN_APPLYNOW);
          EXPECT_GT(watch->boxes.size(), 1u) << entry;
          EXPECT_EQ(user.Tab(), tab);
          // The sheet asks a current tab whether it can be left before it lets it apply; another one it does not ask.
          EXPECT_EQ(SendMessageW(tab, WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&apply)), PSNRET_INVALID_NOCHANGEPAGE);
          for (const auto& box : watch->boxes) {
            EXPECT_EQ(box.text, "Error: Invalid Number of Copies\nValid range: 1 - 1");
            EXPECT_TRUE(box.owner == tab && box.type == MB_ICONERROR);
          }
        }
        EXPECT_TRUE(out.Untouched()) << "a refused apply copies nothing";
        user.Type(IDC_LAYOUT_COPIES, " +01\t");
        EXPECT_TRUE(user.Open("About"));
      },
      PSBTN_OK);
  EXPECT_STREQ(setlocale(LC_ALL, nullptr), "German_Germany.1252") << "the host's locale is the host's";
  setlocale(LC_ALL, "C");
  EXPECT_EQ(outcome.results, Reported(CPSUI_OK)) << "a refused apply reports nothing";
  EXPECT_EQ(memcmp(out.data(), &settled, sizeof settled), 0);
}

TEST_F(Device, ShowsAndStoresItsOption) {
  const struct {
    const char* stored;  // "" nothing, "text" a text, else a number
    bool shown, click;
    int button;
    const char* left;
  } kRows[] = {{"", true, false, PSBTN_OK, "1"},   {"", true, true, PSBTN_OK, "0"},
               {"0", false, true, PSBTN_OK, "1"},  {"0", false, false, PSBTN_OK, "0"},
               {"1", true, true, PSBTN_OK, "0"},   {"text", true, false, PSBTN_OK, "1"},
               {"", true, true, PSBTN_CANCEL, ""}, {"0", false, true, PSBTN_CANCEL, "0"}};
  auto* const name = const_cast<wchar_t*>(L"bufferPrintJob");
  const std::wstring key = L"System\\CurrentControlSet\\Control\\Print\\Printers\\" + std::wstring(PrinterName());
  for (const auto& row : kRows) {
    SCOPED_TRACE(std::string(row.stored) + " to " + row.left);
    // The platform's spooler cannot delete printer data.
    RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, (key + L"\\PrinterDriverData").c_str(), name);
    auto number = static_cast<DWORD>(atoi(row.stored));
    const DWORD stored_type = *row.stored == 't' ? REG_SZ : REG_DWORD;
    if (*row.stored) SetPrinterDataW(Printer(), name, stored_type, reinterpret_cast<BYTE*>(&number), sizeof number);
    watch->written.clear();
    const auto outcome = ShowSheet(
        device_entry, &device,
        [&](SheetUser& user) {
          ASSERT_TRUE(user.Open("Device"));
          EXPECT_EQ(user.Checked(IDC_DEVICE_BUFFER), row.shown);
          if (row.click) user.Click(IDC_DEVICE_BUFFER);
        },
        row.button);
    EXPECT_EQ(outcome.results, row.button == PSBTN_OK ? std::vector<LPARAM>{} : std::vector<LPARAM>{2});
    EXPECT_EQ(watch->written, row.button == PSBTN_OK ? (Texts{"Permission", "bufferPrintJob"}) : Texts{"Permission"});
    DWORD type = REG_NONE, size = 0;
    const DWORD code = GetPrinterDataW(Printer(), name, &type, reinterpret_cast<BYTE*>(&number), sizeof number, &size);
    EXPECT_EQ(code ? "" : std::to_string(number), row.left);
    EXPECT_EQ(type, code ? DWORD{REG_NONE} : DWORD{REG_DWORD});
  }
}

TEST_F(SheetTest, AboutAndDeviceNameVersionAndYear) {
  const std::string notice = "\xA9 " + std::string(__DATE__).substr(7) + " Brindlewick. All rights reserved.";
  const auto expect_texts = [&](const char* tab, int version_id, int notice_id) {
    return [&, tab, version_id, notice_id](SheetUser& user) {
      ASSERT_TRUE(user.Open(tab));
      EXPECT_EQ(user.Text(version_id), "1.0.0");
      EXPECT_EQ(user.Text(notice_id), notice);
    };
  };
  Edit(settled, expect_texts("About", IDC_ABOUT_VERSION, IDC_ABOUT_NOTICE));
  ShowSheet(device_entry, &device, expect_texts("Device", IDC_DEVICE_VERSION, IDC_DEVICE_NOTICE), PSBTN_OK);
}

}  // namespace
}  // namespace tests
