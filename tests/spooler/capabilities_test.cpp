// The fixed answers of the capability query, through the platform's call and straight from the driver.
#include "guarded_block.h"
#include "spooler_fixture.h"

namespace tests {
namespace {

using CapabilitiesTest = SpoolerTest;

// An answer beside the bytes that a buffer receives; nothing where it stays untouched.
struct Expected {
  const char* name;
  WORD index;
  DWORD answer;
  std::string bytes;
};

template <class T, std::size_t count>
std::string Bytes(const T (&values)[count]) {
  return std::string(reinterpret_cast<const char*>(values), sizeof values);
}

const Expected kExpected[] = {
    {"fields", DC_FIELDS, 0x00015F03, {}},
    {"smallest paper", DC_MINEXTENT, 0x00FE000A, Bytes<LONG>({10, 254})},
    {"largest paper", DC_MAXEXTENT, 0x23390B9A, Bytes<LONG>({2970, 9017})},
    {"bins", DC_BINS, 1, Bytes<WORD>({256})},
    {"duplex", DC_DUPLEX, 1, {}},
    {"size", DC_SIZE, 220, {}},
    {"extra", DC_EXTRA, 644, {}},
    {"version", DC_VERSION, 0x0401, {}},
    {"driver", DC_DRIVER, 0x0401, {}},
    {"bin names", DC_BINNAMES, 1, Bytes<wchar_t, 24>({'F', 'e', 'e', 'd', 'e', 'r'})},
    {"resolutions", DC_ENUMRESOLUTIONS, 3, Bytes<LONG>({600, 600, 300, 300, 150, 150})},
    {"dependent files", DC_FILEDEPENDENCIES, 0, Bytes<wchar_t>({0})},
    {"TrueType", DC_TRUETYPE, 1, {}},
    {"orientation", DC_ORIENTATION, 90, {}},
    {"copies", DC_COPIES, 1, {}},
};

TEST_F(CapabilitiesTest, EachAnswersAndFillsExactlyItsEntries) {
  for (const auto& each : kExpected) {
    SCOPED_TRACE(each.name);
    for (const HANDLE printer : {Printer(), HANDLE{}}) {
      GuardedBlock out(each.bytes.empty() ? 64 : each.bytes.size());
      EXPECT_EQ(each.answer, Driver().DeviceCapabilities(printer, PrinterName(), each.index, nullptr, nullptr));
      EXPECT_EQ(each.answer, Driver().DeviceCapabilities(printer, PrinterName(), each.index, out.data(), nullptr));
      EXPECT_EQ(0, memcmp(out.data(), each.bytes.data(), each.bytes.size()));
      EXPECT_TRUE(out.Untouched(each.bytes.size()));
    }
    GuardedBlock out(each.bytes.empty() ? 64 : each.bytes.size());
    EXPECT_EQ(each.answer,
              static_cast<DWORD>(DeviceCapabilitiesW(PrinterName(), L"FILE:", each.index, out.As<wchar_t>(), nullptr)));
    EXPECT_EQ(0, memcmp(out.data(), each.bytes.data(), each.bytes.size()));
    EXPECT_TRUE(out.Untouched(each.bytes.size()));
  }
}

TEST_F(CapabilitiesTest, UnknownIndexesAreRefused) {
  GuardedBlock out(64);
  for (const WORD index : {0, 19, 33, 0x8001, 0xFFFF}) {
    EXPECT_EQ(0xFFFFFFFF, Driver().DeviceCapabilities(Printer(), PrinterName(), index, out.data(), nullptr)) << index;
  }
  EXPECT_TRUE(out.Untouched());
}

TEST_F(CapabilitiesTest, TheCallersRecordIsMergedFirst) {
  r5lqz::DriverDevMode record = Defaults();
  record.dm_public.dmFields = DM_SCALE | DM_NUP;
  EXPECT_EQ(0x00015F03u | DM_SCALE | DM_NUP | DM_PAPERLENGTH | DM_PAPERWIDTH,
            static_cast<DWORD>(DeviceCapabilitiesW(PrinterName(), L"FILE:", DC_FIELDS, nullptr, &record.dm_public)));
}

}  // namespace
}  // namespace tests
