// What an application gets through the platform's own spooler and registry; what is answered to whom is tested over the
// in-memory platform.
#include <windows.h>
#include <winspool.h>

#include "guarded_block.h"
#include "spooler_fixture.h"

namespace tests {
namespace {

TEST_F(SpoolerTest, ApplicationGetsSettingsCompletedWithALabel) {
  Store({258, "Address", "4", "5.000", "24", "-60", 1});
  // As a tool stores it that does not count the terminator.
  char width[] = "4";
  ASSERT_EQ(SetPrinterDataExA(Printer(), "Label Sizes\\258", "width", REG_SZ, reinterpret_cast<BYTE*>(width), 1), 0u);
  POINT size{};
  EXPECT_EQ(Driver().DeviceCapabilities(Printer(), PrinterName(), DC_PAPERSIZE, &size, nullptr), 1u);
  EXPECT_TRUE(size.x == 1016 && size.y == 1270);
  EXPECT_EQ(DeviceCapabilitiesW(PrinterName(), L"FILE:", DC_BINS, nullptr, nullptr), 1);

  r5lqz::DriverDevMode asked = Defaults();
  asked.dm_public.dmFields = DM_PAPERSIZE | DM_ORIENTATION;
  asked.dm_public.dmPaperSize = 258;
  asked.dm_public.dmOrientation = 2;
  r5lqz::DriverDevMode expected = asked;
  expected.dm_public.dmFields = Defaults().dm_public.dmFields | 0x0001000E;
  expected.dm_public.dmPaperWidth = 1016;
  expected.dm_public.dmScale = 100;
  wcscpy(expected.dm_public.dmFormName, L"Address");
  strcpy(expected.dm_private.labelName, "Address");
  expected.dm_private.vertOffset = 24;
  expected.dm_private.horzOffset = -60;
  asked.dm_public.dmPrintQuality = 600;  // not marked as set
  GuardedBlock out(sizeof asked);
  // An output that was never initialised misleads the platform.
  memset(out.data(), 0, offsetof(DEVMODEW, dmFields));
  EXPECT_EQ(DocumentPropertiesW(nullptr, Printer(), PrinterName(), out.As<DEVMODEW>(), &asked.dm_public,
                                DM_IN_BUFFER | DM_OUT_BUFFER),
            1);
  EXPECT_TRUE(out.FrontIntact());
  EXPECT_EQ(memcmp(out.data(), &expected, sizeof expected), 0);

  DWORD forms = 0, needed = 0;
  wchar_t name[] = L"Forms?";
  EXPECT_EQ(GetPrinterDataW(Printer(), name, nullptr, reinterpret_cast<BYTE*>(&forms), sizeof forms, &needed), 0u);
  EXPECT_EQ(forms, 2u) << "the printer's form was not registered";
}

}  // namespace
}  // namespace tests
