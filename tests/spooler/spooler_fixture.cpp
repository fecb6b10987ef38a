#include "spooler_fixture.h"

#include "../built_files.h"

namespace tests {
namespace {

platform::InstalledPrinter installed;

struct Removal : testing::Environment {
  void TearDown() override {
    const auto result = platform::RemovePrinter(installed);
    EXPECT_TRUE(result.Held()) << result.call << " answered " << result.code;
  }
};
const auto* const removal = testing::AddGlobalTestEnvironment(new Removal);

}  // namespace

std::string Narrow(const wchar_t* text, std::size_t capacity) {
  std::string narrow(capacity * 4, '\0');
  const int length = WideCharToMultiByte(CP_ACP, 0, text, static_cast<int>(wcsnlen(text, capacity)), narrow.data(),
                                         static_cast<int>(narrow.size()), nullptr, nullptr);
  narrow.resize(static_cast<std::size_t>(length));
  return narrow;
}

std::wstring ModulePath() {
  return Built(L"r5-lqz-ui.dll").wstring();
}

void SpoolerTest::SetUp() {
  static const platform::StepResult outcome =
      platform::InstallPrinter({ModulePath(), L"R5-LQZ tested driver", L"R5-LQZ tested printer", {}}, installed);
  ASSERT_TRUE(outcome.Held()) << outcome.call << " answered " << outcome.code;
  ASSERT_EQ(0u, platform::RemoveLabelStocks(Printer()));
}

HANDLE SpoolerTest::Printer() {
  return installed.printer;
}
wchar_t* SpoolerTest::PrinterName() {
  return installed.printer_name.data();
}
const platform::DriverEntries& SpoolerTest::Driver() {
  return installed.entries;
}

HMODULE SpoolerTest::Module() {
  return installed.module;
}

void SpoolerTest::Store(const platform::LabelStock& stock) {
  ASSERT_EQ(0u, platform::StoreLabelStock(Printer(), stock)) << stock.number;
}

r5lqz::DriverDevMode SpoolerTest::Defaults() {
  r5lqz::DriverDevMode record{};
  LONG count = sizeof record;
  EXPECT_TRUE(Driver().ConvertDevMode(PrinterName(), nullptr, &record.dm_public, &count, CDM_DRIVER_DEFAULT));
  return record;
}

}  // namespace tests
