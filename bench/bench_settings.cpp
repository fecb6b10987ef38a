// Settings records on their way through the module, with tracing off.
#include "base/printer_interface.h"
#include "measure.h"
#include "settings/conversion.h"

namespace {

using namespace r5lqz;

DriverDevMode Defaults(HANDLE printer) {
  DriverDevMode record;
  SetupDefaultDevMode(record, L"Brindlewick R5-LQZ", printer);
  return record;
}

void Merge(benchmark::State& state, const RecordForm& source_form) {
  const HANDLE printer = bench::SetUpPrinter(16);
  DriverDevMode settings = Defaults(printer);
  DriverDevMode source = Defaults(printer);
  source.dm_public.dmFields |= DM_PAPERWIDTH | DM_PAPERLENGTH | DM_SCALE | DM_COLLATE;
  PutForm(&source.dm_public, source_form);
  bench::Measure(state, [&] {
    benchmark::DoNotOptimize(MergeDevMode(settings, &source.dm_public, printer));
    benchmark::ClobberMemory();
  });
}

constexpr RecordForm kForeignForm{0x0320, 0x0100, 188, 0};
BENCHMARK_CAPTURE(Merge, FullRecord, kCurrentForm);
BENCHMARK_CAPTURE(Merge, ForeignRecord, kForeignForm);

// A whole call of an application: its record laid over the printer's stored one.
void DocumentProperties(benchmark::State& state) {
  const DriverDevMode stored = Defaults(nullptr);
  const HANDLE printer = bench::SetUpPrinter(16, std::as_bytes(std::span(&stored, 1)));
  DriverDevMode in = Defaults(printer);
  DriverDevMode out{};
  DOCUMENTPROPERTYHEADER header{};
  header.cbSize = sizeof header;
  header.hPrinter = printer;
  header.pdmIn = &in.dm_public;
  header.pdmOut = &out.dm_public;
  header.fMode = DM_IN_BUFFER | DM_OUT_BUFFER;
  bench::Measure(state, [&] {
    benchmark::DoNotOptimize(DrvDocumentPropertySheets(nullptr, reinterpret_cast<LPARAM>(&header)));
    benchmark::ClobberMemory();
  });
}
BENCHMARK(DocumentProperties);

}  // namespace
