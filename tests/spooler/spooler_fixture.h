// The installed driver and printer that the tests of this program share, as an application finds them.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "label_stock.h"
#include "settings/driver_devmode.h"
#include "spooler_setup.h"

namespace tests {

/// A fixed-size wide text in the ANSI code page, as the module stores it, for comparing and printing.
std::string Narrow(const wchar_t* text, std::size_t capacity);

/// The module file that the build made.
std::wstring ModulePath();

/// Installs at the first test that needs it; every test begins without label stocks.
class SpoolerTest : public testing::Test {
 protected:
  void SetUp() override;

  static HANDLE Printer();
  static wchar_t* PrinterName();
  static const platform::DriverEntries& Driver();
  static HMODULE Module();
  static void Store(const platform::LabelStock& stock);
  /// The driver's default record, straight from it.
  static r5lqz::DriverDevMode Defaults();
};

}  // namespace tests
