// The Custom Page dialog: what it makes of a document's own page size.
#include "dialogs_fixture.h"

namespace tests {
namespace {

struct CustomPage : DialogTest {};

const auto Ok = Click(IDOK), Inches = Click(IDC_CUSTOM_INCHES), Mm = Click(IDC_CUSTOM_MM);

TEST_F(CustomPage, WritesWhatIsTypedOrNothing) {
  constexpr char kDefault[] = "4.125 5.000 0 0 | in 0.000 in, 0.000 in, 0.040 - 11.692";
  constexpr char kTenths[] = "1048 1270 0 0 | mm 0.000 mm, 0.000 mm, 10.000 - 2970.000";
  const struct {
    DWORD units;
    std::vector<Step> steps;
    short paper_width, paper_length;
    const char *width, *length;
    DWORD stored_units;
    LONG vertical;
    WPARAM key = VK_RETURN;
    LONG horizontal = 0;
  } kRows[] = {
      {1, {{{}, Inches, "", kDefault}}, 1048, 1270, "4.125", "5.000", 1, 0},
      {1, {{{nullptr, "0.04", "35.5", "", "+1"}}}, 10, 9017, "0.04", "35.5", 1, 0, VK_RETURN, 1},
      {1,
       {{{nullptr, nullptr, nullptr, "5"}, Mm, "", "104.775 127.000 5 0 | mm 0.106 mm, 0.000 mm, 1.000 - 297.000"}},
       1048,
       1270,
       "104.775",
       "127.000",
       0,
       5},
      {0, {{{nullptr, " 104.8 ", "127"}}}, 1048, 1270, "104.8", "127", 0, 0},
      {2,
       {{{}, Mm, "", "104.800 127.000 0 0 | mm 0.000 mm, 0.000 mm, 1.000 - 297.000"}},
       1048,
       1270,
       "104.800",
       "127.000",
       0,
       0},
      {2,
       {{{}, Ok, "Invalid Width\nValid range: 1.000 - 297.000", kTenths}, {{nullptr, "30", "127"}}},
       300,
       1270,
       "30",
       "127",
       0,
       0},
      {1,
       {{{nullptr, "3", "5", "2401"}, Ok, "Offset is invalid.\nValid range: -2400 - 2400"},
        {{nullptr, nullptr, nullptr, "2399"}, Press(IDC_CUSTOM_VERT, VK_UP, 3)}},
       762,
       1270,
       "3",
       "5",
       1,
       2400},
      {1,
       {{{nullptr, "3", nullptr, "-2399", "1.5"}, Press(IDC_CUSTOM_VERT, VK_DOWN, 3)},
        {{}, Mm, "", "76.200 127.000 -2400 1.5 | mm -50.800 mm, -.--- mm, 1.000 - 297.000"}},
       1048,
       1270,
       "4.125",
       "5.000",
       1,
       0,
       VK_ESCAPE},
      {1,
       {{{}, {}, "", "4.125 5.000 -12 -2399 | in -0.010 in, -1.999 in, 0.040 - 11.692"},
        {{}, Press(IDC_CUSTOM_HORZ, VK_DOWN, 3), "", "4.125 5.000 -12 -2400 | in -0.010 in, -2.000 in, 0.040 - 11.692"},
        {{}, Press(IDC_CUSTOM_HORZ, VK_UP)}},
       1048,
       1270,
       "4.125",
       "5.000",
       1,
       -12,
       VK_RETURN,
       -2399},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(&row - kRows);
    DriverDevMode in = Defaults();
    in.dm_private.units = row.units;
    strcpy(in.dm_private.width_string, row.units == 1 ? "4.125" : "1048");
    strcpy(in.dm_private.length_string, row.units == 1 ? "5.000" : "1270");
    strcpy(in.dm_private.labelName, "Other");
    if (row.horizontal) in.dm_private.vertOffset = -12, in.dm_private.horzOffset = row.horizontal;
    const DriverDevMode out = Work(kCustom, row.steps, in, row.key);
    const auto& own = out.dm_private;
    EXPECT_STREQ(own.labelName, row.key == VK_RETURN ? "Custom" : "Other");
    EXPECT_EQ(own.dmPaperSize, 257);
    EXPECT_EQ(out.dm_public.dmPaperSize, 257);
    EXPECT_EQ(out.dm_public.dmPaperWidth, row.paper_width);
    EXPECT_EQ(out.dm_public.dmPaperLength, row.paper_length);
    EXPECT_STREQ(own.width_string, row.width);
    EXPECT_STREQ(own.length_string, row.length);
    EXPECT_EQ(own.units, row.stored_units);
    EXPECT_TRUE(own.vertOffset == row.vertical && own.horzOffset == row.horizontal);
    EXPECT_EQ(out.dm_public.dmFields, settled.dm_public.dmFields);
  }
}

}  // namespace
}  // namespace tests
