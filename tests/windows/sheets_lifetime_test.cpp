// Sheets side by side and one after the other: nothing of one is seen by another, nothing is left.

#include "sheet_fixture.h"

namespace tests {
namespace {

struct Lifetime : SheetTest {};

std::size_t Windows() {
  std::size_t count = 0;
  EnumThreadWindows(
      GetCurrentThreadId(),
      [](HWND, LPARAM counter) -> BOOL { return ++*reinterpret_cast<std::size_t*>(counter), TRUE; },
      reinterpret_cast<LPARAM>(&count));
  return count;
}

TEST_F(Lifetime, SheetsLeaveNothing) {
  const HGDIOBJ brush = CreateSolidBrush(0x123456);
  const std::size_t with_brush = GdiObjects();
  DeleteObject(brush);
  ASSERT_EQ(GdiObjects() + 1, with_brush) << "the count counts";

  GdiGrowth growth;
  const std::size_t windows = Windows();
  DriverDevMode out{};
  auto header = Header(&settled, &out);
  const auto look_around = [](SheetUser& user) {
    for (const auto& title : user.Titles()) EXPECT_TRUE(user.Open(title));
    user.Press(PSBTN_APPLYNOW);
  };
  for (int i = 0; i < 24; ++i) {
    const int button = i & 1 ? PSBTN_OK : PSBTN_CANCEL;
    i & 2 ? ShowSheet(document_entry, &header, look_around, button)
          : ShowSheet(device_entry, &device, look_around, button);
    ASSERT_EQ(watch->blocks.size(), 0u);
    ASSERT_EQ(GetProcessHeaps(0, nullptr), heaps);
    ASSERT_EQ(Windows(), windows);
    if (i % 4 == 3) growth.EndRound();
  }
  EXPECT_FALSE(growth.IsSteady());
  EXPECT_EQ(watch->shown[IDD_LAYOUT_TAB], 12);
}

TEST_F(Lifetime, TwoSheetsAtOnceKnowNothingOfEachOther) {
  struct Side {
    const char* quality;
    int adjust;
    SHORT resolution;
    DriverDevMode out{};
  } sides[] = {{"Best", IDC_COLOR_AUTOMATIC, 600}, {"Fast", IDC_COLOR_APPLICATION, 150}};
  const auto open = [&](Side& side, const Steps& meanwhile) {
    auto header = Header(&settled, &side.out);
    ShowSheet(
        document_entry, &header,
        [&](SheetUser& user) {
          ASSERT_TRUE(user.Open("Appearance"));
          user.Choose(IDC_COLOR_QUALITY, side.quality);
          user.Click(side.adjust);
          meanwhile(user);
          ASSERT_TRUE(user.Open("Layout") && user.Open("Appearance"));
          EXPECT_EQ(user.Enabled(IDC_COLOR_PROFILE), side.adjust == IDC_COLOR_AUTOMATIC);
        },
        PSBTN_OK);
  };
  // The second on a thread of its own, begun when the first is drawn: fonts that two threads draw with for the first
  // time at the same moment can stop Wine's drawing of text for good.
  open(sides[0], [&](SheetUser&) { open(sides[1], [](SheetUser&) {}); });
  for (const Side& side : sides) {
    EXPECT_EQ(side.out.dm_public.dmPrintQuality, side.resolution);
    EXPECT_EQ(side.out.dm_private.colorAdjust, side.adjust == IDC_COLOR_AUTOMATIC ? 1u : 0u);
  }
}

}  // namespace
}  // namespace tests
