// What an application is told: through the platform's own calls where it passes them on whole, otherwise by the
// driver's entry points, called as a spooler calls them.
#include <windows.h>
#include <winspool.h>

#include <array>
#include <atomic>
#include <thread>
#include <vector>

#include "guarded_block.h"
#include "spooler_fixture.h"

namespace tests {
namespace {

using r5lqz::DriverDevMode;

struct ApplicationTest : SpoolerTest {
  // What DocumentPropertiesW makes of `in`; the driver's default settings without one.
  static DriverDevMode Complete(const DriverDevMode* in) {
    DriverDevMode asked = in ? *in : DriverDevMode{};
    GuardedBlock out(sizeof asked);
    // An output that was never initialised misleads the platform.
    memset(out.data(), 0, offsetof(DEVMODEW, dmFields));
    EXPECT_EQ(DocumentPropertiesW(nullptr, Printer(), PrinterName(), out.As<DEVMODEW>(),
                                  in ? &asked.dm_public : nullptr, in ? DM_IN_BUFFER | DM_OUT_BUFFER : DM_OUT_BUFFER),
              1);
    EXPECT_TRUE(out.FrontIntact());
    EXPECT_TRUE(!in || memcmp(&asked, in, sizeof asked) == 0) << "the caller's record was changed";
    return out.Read<DriverDevMode>();
  }
  // This platform's DeviceCapabilitiesW hands on no printer, without which there are no labels.
  static DWORD LabelCapability(WORD index, void* output = nullptr, HANDLE printer = Printer()) {
    return Driver().DeviceCapabilities(printer, PrinterName(), index, output, nullptr);
  }
};

TEST_F(ApplicationTest, CapabilitiesComeThroughThePlatformsOwnCall) {
  GuardedBlock bin(24 * sizeof(wchar_t));
  const std::pair<WORD, DWORD> kRows[] = {
      {DC_FIELDS, 0x00015F03}, {DC_BINNAMES, 1}, {DC_PAPERS, 0}, {19, static_cast<DWORD>(GDI_ERROR)}};
  for (const auto& [index, answer] : kRows) {
    for (wchar_t* const output : {static_cast<wchar_t*>(nullptr), bin.As<wchar_t>()}) {
      EXPECT_EQ(static_cast<DWORD>(DeviceCapabilitiesW(PrinterName(), L"FILE:", index, output, nullptr)), answer);
    }
  }
  EXPECT_TRUE(bin.FrontIntact());
  EXPECT_EQ(Narrow(bin.As<wchar_t>(), 24), "Feeder");
}

TEST_F(ApplicationTest, LabelsAreReportedIntoRoomForAsManyAsWereCounted) {
  const std::string longest(63, 'n');
  Store({258, "inches", "4.125", "5.000", "0", "0", 1});
  Store({259, "unknown version", "4.125", "5.000", "0", "0", 1, 2});
  Store({32767, longest.c_str(), "10", "254", "0", "0", 2});
  // As a tool stores it that does not count the terminator.
  char width[] = "101.6";
  ASSERT_EQ(SetPrinterDataExA(Printer(), "Label Sizes\\32767", "width", REG_SZ, reinterpret_cast<BYTE*>(width), 5), 0u);

  GuardedBlock sizes(2 * sizeof(POINT)), names(2 * 64 * sizeof(wchar_t));
  const std::pair<WORD, GuardedBlock*> answers[] = {{DC_PAPERSIZE, &sizes}, {DC_PAPERNAMES, &names}};
  for (const auto& [index, out] : answers) {
    SCOPED_TRACE(index);
    EXPECT_EQ(LabelCapability(index, out->data(), nullptr), 0u);
    EXPECT_TRUE(out->Untouched()) << "without a printer there are none";
    ASSERT_EQ(LabelCapability(index), 2u);
    EXPECT_EQ(LabelCapability(index, out->data()), 2u);
    EXPECT_TRUE(out->FrontIntact());
  }
  EXPECT_EQ((sizes.Read<std::array<LONG, 4>>()), (std::array<LONG, 4>{1048, 1270, 102, 254}));
  const auto name = names.Read<std::array<wchar_t, 128>>();
  EXPECT_EQ(Narrow(name.data(), 64), "inches");
  EXPECT_EQ(Narrow(name.data() + 64, 64), longest);
}

TEST_F(ApplicationTest, SettingsAreCompletedFromPrinterAndLabel) {
  Store({258, "Address", "4", "5.000", "24", "-60", 1});
  EXPECT_EQ(DocumentPropertiesW(nullptr, Printer(), PrinterName(), nullptr, nullptr, 0), 864);
  const DriverDevMode usual = Complete(nullptr);
  EXPECT_EQ(Narrow(usual.dm_public.dmDeviceName, 32), "R5-LQZ tested driver");
  EXPECT_EQ(usual.dm_public.dmPaperSize, 257);
  EXPECT_EQ(usual.dm_private.signature, 0x18284000u);

  DriverDevMode asked = usual;
  asked.dm_public.dmFields = DM_PAPERSIZE | DM_ORIENTATION;
  asked.dm_public.dmPaperSize = 258;
  asked.dm_public.dmOrientation = 2;
  DriverDevMode expected = asked;
  expected.dm_public.dmFields = usual.dm_public.dmFields;
  expected.dm_public.dmPaperWidth = 1016;
  wcscpy(expected.dm_public.dmFormName, L"Address");
  strcpy(expected.dm_private.labelName, "Address");
  expected.dm_private.vertOffset = 24;
  expected.dm_private.horzOffset = -60;
  asked.dm_public.dmPrintQuality = 600;  // not marked as set
  const DriverDevMode completed = Complete(&asked);
  EXPECT_EQ(memcmp(&completed, &expected, sizeof expected), 0);

  DWORD forms = 0, type = REG_NONE, needed = 0;
  wchar_t name[] = L"Forms?";
  EXPECT_EQ(GetPrinterDataW(Printer(), name, &type, reinterpret_cast<BYTE*>(&forms), sizeof forms, &needed), 0u);
  EXPECT_TRUE(type == REG_DWORD && forms == 2) << "the printer's form was not registered";
}

TEST_F(ApplicationTest, SeveralThreadsGetTheAnswersOfOne) {
  for (int number = 258; number < 268; ++number) Store({number, "shared", "4.125", "5.000", "24", "-60", 1});
  std::atomic<int> wrong;
  const auto work = [&](int paper) {
    DriverDevMode asked = Defaults();
    asked.dm_public.dmFields = DM_PAPERSIZE;
    asked.dm_public.dmPaperSize = static_cast<short>(paper);
    DEVQUERYPRINT_INFO query{sizeof query, 1, Printer(), &asked.dm_public, nullptr, 0, 0};
    for (int round = 0; round < 10; ++round) {
      const DriverDevMode completed = Complete(&asked);
      wrong += completed.dm_public.dmPaperSize != paper || completed.dm_private.horzOffset != -60;
      WORD numbers[10]{};
      wrong += LabelCapability(DC_PAPERS, numbers) != 10 || numbers[9] != 267;
      wrong += Driver().QueryPrintEx(&query) != TRUE;
      wrong += Driver().DocumentEvent(Printer(), nullptr, DOCUMENTEVENT_STARTDOCPRE, 0, nullptr, 0, nullptr) != 1;
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back(work, 258 + i);
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace tests
