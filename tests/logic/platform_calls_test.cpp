// How often the module asks the platform: applications ask for capabilities hundreds of times, on their own threads.
#include <functional>

#include "support.h"

namespace r5lqz {
namespace {

struct Asked {
  std::uint64_t keys;
  std::uint64_t values;
  std::uint64_t all;
};

Asked AskedDuring(const std::function<void()>& call) {
  const auto count = [] {
    return Asked{platform::Calls("EnumPrinterKeyW"), platform::Calls("GetPrinterDataExA"), platform::TotalCalls()};
  };
  const Asked before = count();
  call();
  const Asked after = count();
  return {after.keys - before.keys, after.values - before.values, after.all - before.all};
}

class PlatformCalls : public ModuleTest {
 protected:
  static void StoreLabels(int count) {
    for (int id = kFirstLabelId; id < kFirstLabelId + count; ++id) StoreLabel(id, "Roll", "4.125", "127.0", kInches);
  }
  DWORD Capability(WORD capability, void* output = nullptr) const {
    return DrvDeviceCapabilities(printer(), nullptr, capability, output, nullptr);
  }
};

// Since every label comes back whole, seven reads for each also mean that no value is read twice.
TEST_F(PlatformCalls, ReadingLabelsAsksForEachValueOnce) {
  for (const int labels : {1, 16, 128}) {
    SCOPED_TRACE(labels);
    StoreLabels(labels);
    const auto expect = [&](const std::function<void()>& call) {
      const Asked asked = AskedDuring(call);
      EXPECT_EQ(asked.keys, 2u);
      EXPECT_EQ(asked.values, 7u * static_cast<unsigned>(labels));
    };
    expect([&] { EXPECT_EQ(Labels().size(), static_cast<std::size_t>(labels)); });
    std::vector<WCHAR> output(static_cast<std::size_t>(labels) * 64);
    for (const WORD capability : {DC_PAPERS, DC_PAPERSIZE, DC_PAPERNAMES}) {
      expect([&] { EXPECT_EQ(Capability(capability), static_cast<DWORD>(labels)); });
      expect([&] { EXPECT_EQ(Capability(capability, output.data()), static_cast<DWORD>(labels)); });
    }
    DriverDevMode record = Defaults();
    record.dm_public.dmPaperSize = static_cast<SHORT>(kFirstLabelId + labels - 1);
    expect([&] { ValidateForm(record, printer()); });
    EXPECT_STREQ(record.dm_private.labelName, "Roll");
  }
}

TEST_F(PlatformCalls, ReadingStopsWhereNothingMoreIsWanted) {
  EXPECT_EQ(AskedDuring([&] { Labels(); }).keys, 1u) << "there is no list to fetch";
  StoreLabels(3);
  EXPECT_EQ(AskedDuring([&] { Labels(2); }).values, 2 * 7u) << "the third label has no room";
  platform::SetDataDword(kPrinterName, "Label Sizes\\258", "version", 2);
  EXPECT_EQ(AskedDuring([&] { Labels(); }).values, 1 + 2 * 7u) << "an unknown version is not read on";
}

TEST_F(PlatformCalls, FixedAnswersAskNothing) {
  StoreLabels(1);
  // Room for the longest answers: a bin's name and the resolutions.
  BYTE output[48];
  for (const WORD capability : {DC_MINEXTENT, DC_MAXEXTENT, DC_BINS, DC_DUPLEX, DC_BINNAMES, DC_ENUMRESOLUTIONS,
                                DC_FILEDEPENDENCIES, DC_TRUETYPE, DC_ORIENTATION, DC_COPIES, 0, 19, DC_NUP}) {
    SCOPED_TRACE(capability);
    EXPECT_EQ(AskedDuring([&] { Capability(capability); }).all, 0u);
    EXPECT_EQ(AskedDuring([&] { Capability(capability, output); }).all, 0u);
  }
}

}  // namespace
}  // namespace r5lqz
