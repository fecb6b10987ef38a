// Everything that the module is asked, with its first, second, third ... platform call failing, once and from there on:
// nothing may be left open, and afterwards it must work again.
#include "support.h"

namespace r5lqz {
namespace {

void AskEverything(HANDLE printer) {
  WCHAR name[] = L"Labels";
  DriverDevMode job, out;
  SetupDefaultDevMode(job, nullptr, nullptr);
  job.dm_public.dmPaperSize = 259;
  const LONG answer = DocumentProperties(printer, &job.dm_public, &out.dm_public, DM_IN_BUFFER | DM_OUT_BUFFER);
  EXPECT_TRUE(answer == 1 || answer == -1);
  LONG size = sizeof out;
  DrvConvertDevMode(name, nullptr, &out.dm_public, &size, CDM_DRIVER_DEFAULT);
  QueryPrint(printer, &job.dm_public);
  WCHAR names[2 * 64];
  EXPECT_LE(DrvDeviceCapabilities(printer, nullptr, DC_PAPERNAMES, names, nullptr), 2u);
  DrvDeviceCapabilities(printer, nullptr, DC_FIELDS, nullptr, nullptr);

  PrinterLabel label{"Swept", "50", "60", "0", "0", kMillimetres, 0};
  if (AddPrinterLabel(printer, &label) == ERROR_SUCCESS) {
    ModifyPrinterLabel(printer, &label);
    DeletePrinterLabel(printer, &label);
  }

  platform::SetImpersonating(true);
  const auto asked = platform::Calls("ImpersonatePrinterClient");
  EXPECT_TRUE(DrvPrinterEvent(name, PRINTER_EVENT_INITIALIZE, 0, 0));
  // When the platform refuses to take the client's identity back, asking it to is all that can be done.
  EXPECT_TRUE(platform::IsImpersonating() || platform::Calls("ImpersonatePrinterClient") > asked);
  platform::SetImpersonating(false);

  // Reads the mask and writes a record.
  SetLastError(77);
  DrvDocumentEvent(nullptr, nullptr, DOCUMENTEVENT_STARTDOCPRE, 0, nullptr, 0, nullptr);
  EXPECT_EQ(GetLastError(), 77u);
  log_mask = 0;
}

struct FaultSweep : ModuleTest {
  // Whether there was an `nth` call that could fail.
  bool RunWithFault(std::uint64_t nth, bool persistent) const {
    SCOPED_TRACE(testing::Message() << "call " << nth << (persistent ? " and later" : ""));
    platform::RemoveKey(kPrinterName, "Label Sizes\\260");
    platform::RemoveData(kPrinterName, "", "Forms?");
    platform::RemoveData(kPrinterName, "", "bufferPrintJob");
    const auto injected = platform::FaultsInjected();
    platform::FailCall(nullptr, nth, ERROR_ACCESS_DENIED, persistent);
    AskEverything(printer());
    platform::DisarmFaults();
    platform::Balance balance = platform::LiveBalance();
    balance.tokens = 0;
    EXPECT_EQ(balance, platform::Balance{});
    return platform::FaultsInjected() > injected;
  }
};

TEST_F(FaultSweep, LeavesNothingOpen) {
  StoreLabel(258, "First");
  StoreLabel(259, "Second", "4.125", "5", kInches);
  platform::SetProfiles(std::vector<std::u16string>{u"b.icc", u"a.icc"});
  std::ofstream(LogFile("r5-lqz-ui.dat")) << "3";
  for (const bool persistent : {false, true}) {
    std::uint64_t nth = 1;
    while (RunWithFault(nth, persistent) && !HasFailure()) ASSERT_LT(++nth, 10000u);
    EXPECT_GT(nth, 100u);
  }
  platform::RemoveKey(kPrinterName, "Label Sizes\\260");
  EXPECT_EQ(Labels().size(), 2u);
  platform::Reset();
}

}  // namespace
}  // namespace r5lqz
