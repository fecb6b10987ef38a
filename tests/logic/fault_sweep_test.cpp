// Every entry point with its first, second, third ... platform call failing, once and from there on: nothing may be
// left open, and afterwards the same call must work again.
#include "base/owned.h"
#include "install/printer_event.h"
#include "support.h"

namespace r5lqz {
namespace {

struct Operation {
  const char* name;
  void (*run)(HANDLE printer);
};

DriverDevMode Job(SHORT paper) {
  DriverDevMode job;
  SetupDefaultDevMode(job, nullptr, nullptr);
  job.dm_public.dmPaperSize = paper;
  return job;
}

const Operation kOperations[] = {
    {"DrvDocumentPropertySheets",
     [](HANDLE printer) {
       DriverDevMode in = Job(259);
       DriverDevMode out = Job(257);
       DOCUMENTPROPERTYHEADER header{
           sizeof header, 0, printer, nullptr, &in.dm_public, &out.dm_public, 0, DM_IN_BUFFER | DM_OUT_BUFFER};
       const LONG result = DrvDocumentPropertySheets(nullptr, reinterpret_cast<LPARAM>(&header));
       EXPECT_TRUE(result == 1 || result == -1);
     }},
    {"DrvConvertDevMode",
     [](HANDLE) {
       WCHAR name[] = L"Labels";
       DriverDevMode out;
       LONG count = sizeof out;
       DrvConvertDevMode(name, nullptr, &out.dm_public, &count, CDM_DRIVER_DEFAULT);
     }},
    {"Queries",
     [](HANDLE printer) {
       DriverDevMode job = Job(259);
       DEVQUERYPRINT_INFO info{sizeof info, 1, printer, &job.dm_public, nullptr, 0, 0};
       DevQueryPrintEx(&info);
       WCHAR names[2 * 64];
       for (WORD index = 0; index < 20; ++index) {
         const DWORD answer = DrvDeviceCapabilities(printer, nullptr, index, names, nullptr);
         if (index == DC_PAPERNAMES) EXPECT_LE(answer, 2u);
       }
     }},
    {"DrvPrinterEvent",
     [](HANDLE) {
       WCHAR name[] = L"Labels";
       platform::SetImpersonating(true);
       EXPECT_TRUE(DrvPrinterEvent(name, PRINTER_EVENT_INITIALIZE, 0, 0));
     }},
    {"DrvDocumentEvent",
     [](HANDLE) { DrvDocumentEvent(nullptr, nullptr, DOCUMENTEVENT_STARTDOCPRE, 0, nullptr, 0, nullptr); }},
    {"LabelChanges",
     [](HANDLE printer) {
       PrinterLabel label{"Swept", "50", "60", "0", "0", kMillimetres, 0};
       if (AddPrinterLabel(printer, &label) == ERROR_SUCCESS) {
         ModifyPrinterLabel(printer, &label);
         DeletePrinterLabel(printer, &label);
       }
       platform::RemoveKey(kPrinterName, "Label Sizes\\" + std::to_string(label.id));
     }},
};

// What the sweep and every test's end look at: what is open counts, of whatever kind.
TEST_F(ModuleTest, WhatIsLeftOpenShows) {
  HANDLE opened = nullptr;
  WCHAR name[] = L"Labels";
  OpenPrinterW(name, &opened, nullptr);
  EXPECT_EQ(static_cast<BYTE*>(HeapAlloc(HeapCreate(0, 0, 0), 0, 3))[2], 0xCD) << "no zeros by chance";
  GlobalAlloc(0, 1);
  CreateMutexA(nullptr, FALSE, "m");
  CreateFileA("C:\\TEMP\\x.txt", FILE_APPEND_DATA, 0, nullptr, CREATE_NEW, 0, nullptr);
  platform::SetImpersonating(true);
  RevertToPrinterSelf();
  const RuntimeBlock<BYTE> counted(static_cast<BYTE*>(std::malloc(5)));
  EXPECT_EQ(counted.get()[4], 0xCD);
  ClosePrinter(printer());
  EXPECT_EQ(platform::LiveBalance(), (platform::Balance{1, 1, 1, 1, 1, 1, 1, 1}));
  platform::Reset();
}

class FaultSweep : public ModuleTest, public testing::WithParamInterface<Operation> {
 protected:
  FaultSweep() { SetUpPrinter(); }

  void SetUpPrinter() {
    StoreLabel(258, "First", "50", "60", kMillimetres);
    StoreLabel(259, "Second", "4.125", "5", kInches);
    platform::SetProfiles(std::vector<std::u16string>{u"b.icc", u"a.icc"});
    platform::RemoveData(kPrinterName, "", "Forms?");
    platform::RemoveData(kPrinterName, "", "bufferPrintJob");
  }

  // Lets the `nth` call of `name` (of any, without one) fail; whether there was one to fail.
  bool RunWithFault(const char* name, std::uint64_t nth, bool persistent) {
    SetUpPrinter();
    const auto injected = platform::FaultsInjected();
    const auto given_back = platform::Calls("ImpersonatePrinterClient");
    const auto tokens = platform::LiveBalance().tokens;
    platform::FailCall(name, nth, ERROR_ACCESS_DENIED, persistent);
    GetParam().run(printer());
    platform::DisarmFaults();
    platform::SetImpersonating(false);
    // When the platform refuses to take the client's identity back, asking it to is all that can be done.
    auto balance = platform::LiveBalance();
    EXPECT_LE(balance.tokens - tokens,
              static_cast<std::int64_t>(platform::Calls("ImpersonatePrinterClient") - given_back));
    balance.tokens = 0;
    EXPECT_EQ(balance, platform::Balance{}) << "call " << nth << (persistent ? " and later" : "");
    return platform::FaultsInjected() > injected;
  }
};

TEST_P(FaultSweep, LeavesNothingOpen) {
  std::ofstream(LogFile("r5-lqz-ui.dat")) << "3";
  for (const bool persistent : {false, true}) {
    std::uint64_t nth = 1;
    for (; RunWithFault(nullptr, nth, persistent); log_mask = 0) ASSERT_LT(++nth, 1000u);
    EXPECT_GT(nth, 1u);
    EXPECT_EQ(Labels().size(), 2u);
  }
  platform::Reset();
}

TEST_P(FaultSweep, TraceLogThatFailsDisturbsNobody) {
  for (const char* const call :
       {"malloc", "CreateMutexA", "WaitForSingleObject", "ReleaseMutex", "CloseHandle", "CreateFileA", "GetFileType",
        "GetFileInformationByHandleEx", "GetFinalPathNameByHandleW", "WriteFile"}) {
    for (const bool persistent : {false, true}) {
      log_mask = kMessageBit | kTraceBit;
      RunWithFault(call, 2, persistent);
      log_mask = 0;
      EXPECT_EQ(Labels().size(), 2u) << call;
    }
  }
  platform::Reset();
}

INSTANTIATE_TEST_SUITE_P(EntryPoints, FaultSweep, testing::ValuesIn(kOperations),
                         [](const auto& sweep) { return std::string(sweep.param.name); });

}  // namespace
}  // namespace r5lqz
