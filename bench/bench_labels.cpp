// What applications ask of the label list: the paper capabilities, and a label chosen by its number.
#include <array>

#include "base/printer_interface.h"
#include "measure.h"
#include "settings/conversion.h"

namespace {

using namespace r5lqz;

void Capability(benchmark::State& state, WORD capability) {
  const HANDLE printer = bench::SetUpPrinter(static_cast<int>(state.range(0)));
  // Room for the longest entries, the names.
  static std::array<WCHAR, std::size_t{64} * kMostLabels> output;
  bench::Measure(state, [&] {
    benchmark::DoNotOptimize(DrvDeviceCapabilities(printer, nullptr, capability, output.data(), nullptr));
    benchmark::ClobberMemory();
  });
}

// The last label of the list, or one that is not there when there are none.
void LookUpByValidation(benchmark::State& state) {
  const auto labels = static_cast<SHORT>(state.range(0));
  const HANDLE printer = bench::SetUpPrinter(labels);
  DriverDevMode record;
  SetupDefaultDevMode(record, nullptr, printer);
  record.dm_public.dmPaperSize = static_cast<SHORT>(kFirstLabelId + std::max(labels - 1, 0));
  bench::Measure(state, [&] {
    ValidateForm(record, printer);
    benchmark::ClobberMemory();
  });
}

void LabelCounts(benchmark::internal::Benchmark* benchmark) {
  for (const int labels : {0, 1, 16, 64, int{kMostLabels}}) benchmark->Arg(labels);
}

BENCHMARK_CAPTURE(Capability, Papers, WORD{DC_PAPERS})->Apply(LabelCounts);
BENCHMARK_CAPTURE(Capability, PaperSizes, WORD{DC_PAPERSIZE})->Apply(LabelCounts);
BENCHMARK_CAPTURE(Capability, PaperNames, WORD{DC_PAPERNAMES})->Apply(LabelCounts);
BENCHMARK(LookUpByValidation)->Apply(LabelCounts);

}  // namespace
