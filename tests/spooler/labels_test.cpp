// Label stocks as papers: what is stored, what an application is told, and whether a job's paper is accepted.
#include <windows.h>
#include <winspool.h>

#include <array>

#include "guarded_block.h"
#include "spooler_fixture.h"

namespace tests {
namespace {

struct LabelsTest : SpoolerTest {
  static DWORD Capability(WORD index, void* output = nullptr, HANDLE printer = Printer()) {
    return Driver().DeviceCapabilities(printer, PrinterName(), index, output, nullptr);
  }
  static DWORD SetText(const char* key, const char* value, DWORD type, const std::string& bytes) {
    return SetPrinterDataExA(Printer(), key, value, type, reinterpret_cast<BYTE*>(const_cast<char*>(bytes.data())),
                             static_cast<DWORD>(bytes.size()));
  }
};

TEST_F(LabelsTest, ReportsNumberNameAndSizeOfEach) {
  const std::string longest(63, 'n');
  const struct {
    platform::LabelStock stock;
    POINT size;
  } stocks[] = {
      {{258, "inches", "4.125", "5.000", "0", "0", 1}, {1048, 1270}},
      {{259, "millimetres", "104.8", "127.0", "0", "0", 0}, {1048, 1270}},
      {{260, "tenths", "1048", "1270", "0", "0", 2}, {1048, 1270}},
      {{261, "unknown units", "620", "290", "0", "0", 7}, {620, 290}},
      {{262, "not a number", "wide", "29.0", "0", "0", 0}, {0, 290}},
      {{32767, longest.c_str(), "10", "254", "0", "0", 2}, {10, 254}},
  };
  constexpr DWORD kCount = std::size(stocks);
  for (const auto& each : stocks) Store(each.stock);

  ASSERT_EQ(kCount, Capability(DC_PAPERS));
  ASSERT_EQ(kCount, Capability(DC_PAPERSIZE));
  ASSERT_EQ(kCount, Capability(DC_PAPERNAMES));
  // Room for exactly as many as were counted.
  GuardedBlock numbers(kCount * sizeof(WORD));
  GuardedBlock sizes(kCount * sizeof(POINT));
  GuardedBlock names(kCount * 64 * sizeof(wchar_t));
  EXPECT_EQ(kCount, Capability(DC_PAPERS, numbers.data()));
  EXPECT_EQ(kCount, Capability(DC_PAPERSIZE, sizes.data()));
  EXPECT_EQ(kCount, Capability(DC_PAPERNAMES, names.data()));
  EXPECT_TRUE(numbers.FrontIntact() && sizes.FrontIntact() && names.FrontIntact());

  for (DWORD i = 0; i < kCount; ++i) {
    const auto& [stock, size] = stocks[i];
    SCOPED_TRACE(stock.name);
    EXPECT_EQ(stock.number, numbers.Read<WORD>(i * sizeof(WORD)));
    EXPECT_EQ(size.x, sizes.Read<POINT>(i * sizeof(POINT)).x);
    EXPECT_EQ(size.y, sizes.Read<POINT>(i * sizeof(POINT)).y);
    std::array<wchar_t, 64> expected{};
    std::copy_n(stock.name, strlen(stock.name), expected.begin());
    EXPECT_EQ(0, memcmp(expected.data(), names.data() + i * sizeof expected, sizeof expected)) << "or junk behind it";
  }
}

TEST_F(LabelsTest, WithoutLabelsOrPrinterThereAreNoPapers) {
  GuardedBlock untouched(64);
  for (const WORD index : {DC_PAPERS, DC_PAPERSIZE, DC_PAPERNAMES}) {
    EXPECT_EQ(0u, Capability(index, untouched.data())) << index;
    EXPECT_EQ(0u, Capability(index, untouched.data(), nullptr)) << index;
  }
  EXPECT_TRUE(untouched.Untouched());
}

TEST_F(LabelsTest, UnreadableLabelsAreLeftOut) {
  Store({258, "kept", "4.125", "5.000", "0", "0", 1});
  Store({259, "unknown version", "4.125", "5.000", "0", "0", 1, 2});
  Store({260, std::string(64, 'n').c_str(), "4.125", "5.000", "0", "0", 1});
  Store({261, "a number text too long", "4.125000", "5.000", "0", "0", 1});
  Store({262, "wrong type", "4.125", "5.000", "0", "0", 1});
  ASSERT_EQ(0u, SetText("Label Sizes\\262", "width", REG_BINARY, std::string("4.125", 6)));
  ASSERT_EQ(0u, SetText("Label Sizes\\263", "name", REG_SZ, std::string("nothing else", 13)));
  Store({264, "unterminated width", "4.125", "5.000", "0", "0", 1});
  ASSERT_EQ(0u, SetText("Label Sizes\\264", "width", REG_SZ, "101.6"));
  ASSERT_EQ(0u, SetText("Label Sizes\\264", "units", REG_DWORD, std::string(4, '\0')));
  ASSERT_EQ(0u, SetText("Label Sizes\\265", "units", REG_DWORD, std::string(2, '\0')));

  ASSERT_EQ(2u, Capability(DC_PAPERS));
  WORD numbers[2];
  POINT sizes[2];
  EXPECT_EQ(2u, Capability(DC_PAPERS, numbers));
  EXPECT_EQ(2u, Capability(DC_PAPERSIZE, sizes));
  EXPECT_EQ(258, numbers[0]);
  EXPECT_EQ(264, numbers[1]);
  EXPECT_EQ(1016, sizes[1].x);
  EXPECT_EQ(50, sizes[1].y);
}

TEST_F(LabelsTest, AtMost128AreReported) {
  for (int number = 300; number < 430; ++number) Store({number, "many", "50", "254", "0", "0", 2});
  EXPECT_EQ(128u, Capability(DC_PAPERNAMES));
  GuardedBlock numbers(128 * sizeof(WORD));
  EXPECT_EQ(128u, Capability(DC_PAPERS, numbers.data()));
  EXPECT_EQ(427, numbers.Read<WORD>(127 * sizeof(WORD)));
  EXPECT_TRUE(numbers.FrontIntact());
}

TEST_F(LabelsTest, AJobsPaperIsAcceptedByNumber) {
  Store({258, "known", "4.125", "5.000", "0", "0", 1});
  r5lqz::DriverDevMode record = Defaults();
  wchar_t text[8] = L"poison";
  DEVQUERYPRINT_INFO query{sizeof query, 1, Printer(), &record.dm_public, text, std::size(text), 0xA5A5A5A5};

  constexpr struct {
    short paper;
    bool with_printer;
    BOOL accepted;
  } kJobs[] = {{256, true, TRUE}, {257, true, FALSE}, {258, true, TRUE},  {259, true, FALSE}, {9, true, FALSE},
               {-1, true, FALSE}, {0, true, FALSE},   {256, false, TRUE}, {258, false, FALSE}};
  for (const auto& job : kJobs) {
    SCOPED_TRACE(job.paper);
    record.dm_public.dmPaperSize = job.paper;
    query.hPrinter = job.with_printer ? Printer() : nullptr;
    EXPECT_EQ(job.accepted, Driver().QueryPrintEx(&query));
  }
  query.pDevMode = nullptr;
  EXPECT_TRUE(Driver().QueryPrintEx(&query));
  EXPECT_STREQ("poison", Narrow(text, 8).c_str());
  EXPECT_EQ(0xA5A5A5A5, query.cchNeeded);

  // A record of unknown form cannot be judged.
  r5lqz::DriverDevMode junk{};
  junk.dm_public.dmPaperSize = 256;
  query.pDevMode = &junk.dm_public;
  query.hPrinter = Printer();
  EXPECT_FALSE(Driver().QueryPrintEx(&query));
}

}  // namespace
}  // namespace tests
