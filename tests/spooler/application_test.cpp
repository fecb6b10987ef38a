// What an application gets through the platform's own spooler and registry; what is answered to whom is tested over the
// in-memory platform.
#include <windows.h>
#include <winspool.h>

#include <array>

#include "guarded_block.h"
#include "spooler_fixture.h"

namespace tests {
namespace {

using r5lqz::DriverDevMode;

struct ApplicationTest : SpoolerTest {};

TEST_F(ApplicationTest, GetsLabelsAndCompletedSettings) {
  const std::string longest(63, 'n');
  Store({258, "Address", "4", "5.000", "24", "-60", 1});
  Store({32767, longest.c_str(), "10", "254", "0", "0", 2});
  // As a tool stores it that does not count the terminator.
  char width[] = "101.6";
  ASSERT_EQ(SetPrinterDataExA(Printer(), "Label Sizes\\32767", "width", REG_SZ, reinterpret_cast<BYTE*>(width), 5), 0u);

  // This platform's DeviceCapabilitiesW hands on no printer, without which there are no labels.
  GuardedBlock bin(24 * sizeof(wchar_t)), sizes(2 * sizeof(POINT)), names(2 * 64 * sizeof(wchar_t));
  EXPECT_EQ(DeviceCapabilitiesW(PrinterName(), L"FILE:", DC_PAPERS, nullptr, nullptr), 0);
  EXPECT_EQ(DeviceCapabilitiesW(PrinterName(), L"FILE:", DC_BINNAMES, bin.As<wchar_t>(), nullptr), 1);
  EXPECT_EQ(Narrow(bin.As<wchar_t>(), 24), "Feeder");
  const auto labels = [](WORD index, GuardedBlock& out) {
    return Driver().DeviceCapabilities(Printer(), PrinterName(), index, out.data(), nullptr);
  };
  EXPECT_EQ(labels(DC_PAPERSIZE, sizes), 2u);
  EXPECT_EQ((sizes.Read<std::array<LONG, 4>>()), (std::array<LONG, 4>{1016, 1270, 102, 254}));
  EXPECT_EQ(labels(DC_PAPERNAMES, names), 2u);
  EXPECT_EQ(Narrow(names.As<wchar_t>() + 64, 64), longest);

  DriverDevMode asked = Defaults();
  asked.dm_public.dmFields = DM_PAPERSIZE | DM_ORIENTATION;
  asked.dm_public.dmPaperSize = 258;
  asked.dm_public.dmOrientation = 2;
  DriverDevMode expected = asked;
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
  EXPECT_EQ(DocumentPropertiesW(nullptr, Printer(), PrinterName(), nullptr, nullptr, 0), 864);
  EXPECT_EQ(DocumentPropertiesW(nullptr, Printer(), PrinterName(), out.As<DEVMODEW>(), &asked.dm_public,
                                DM_IN_BUFFER | DM_OUT_BUFFER),
            1);
  EXPECT_TRUE(out.FrontIntact());
  EXPECT_EQ(memcmp(out.data(), &expected, sizeof expected), 0);
  DEVQUERYPRINT_INFO query{sizeof query, 1, Printer(), &asked.dm_public, nullptr, 0, 0};
  EXPECT_TRUE(Driver().QueryPrintEx(&query));

  DWORD forms = 0, type = REG_NONE, needed = 0;
  wchar_t name[] = L"Forms?";
  EXPECT_EQ(GetPrinterDataW(Printer(), name, &type, reinterpret_cast<BYTE*>(&forms), sizeof forms, &needed), 0u);
  EXPECT_TRUE(type == REG_DWORD && forms == 2) << "the printer's form was not registered";
}

}  // namespace
}  // namespace tests
