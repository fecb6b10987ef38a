// What the benchmarks share: a printer with labels, and the calls and the time of the platform beside the time of the
// whole.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>

#include "labels/label_store.h"
#include "native/control.h"

namespace bench {

inline constexpr char kPrinterName[] = "Labels";

// The one printer, anew: with `labels` label stocks numbered from 258, and `stored` as its default record (or none).
inline HANDLE SetUpPrinter(int labels, std::span<const std::byte> stored = {}) {
  platform::Reset();
  platform::AddPrinter(kPrinterName, "Brindlewick R5-LQZ", stored);
  const HANDLE printer = platform::OpenTestPrinter(kPrinterName);
  for (int at = 0; at < labels; ++at) {
    r5lqz::PrinterLabel label{"Label", "4.125", "127.0", "-12", "12", r5lqz::kInches, 0};
    std::snprintf(label.name, sizeof label.name, "Label stock %d", at);
    if (r5lqz::AddPrinterLabel(printer, &label) != ERROR_SUCCESS) std::abort();
  }
  return printer;
}

// What one run asks of the platform.
template <typename Run>
void ReportCalls(benchmark::State& state, Run& run) {
  const auto calls_of = [](const char* name) { return static_cast<double>(platform::Calls(name)); };
  const double keys = calls_of("EnumPrinterKeyW");
  const double values = calls_of("GetPrinterDataExA");
  const auto all = static_cast<double>(platform::TotalCalls());
  run();
  state.counters["EnumPrinterKeyW"] = calls_of("EnumPrinterKeyW") - keys;
  state.counters["GetPrinterDataExA"] = calls_of("GetPrinterDataExA") - values;
  state.counters["calls"] = static_cast<double>(platform::TotalCalls()) - all;
}

// Nanoseconds and calls of one run.
struct Timed {
  double whole = 0;
  double in_layer = 0;  // of those; 0 unless the layer measures
  double calls = 0;
};

template <typename Run>
Timed TimeOnce(int runs, Run& run) {
  const auto calls = platform::TotalCalls();
  const auto in_layer = platform::TimeInLayer();
  const auto start = std::chrono::steady_clock::now();
  for (int at = 0; at < runs; ++at) run();
  const auto spent = std::chrono::steady_clock::now() - start;
  return {static_cast<double>(std::chrono::nanoseconds(spent).count()) / runs,
          static_cast<double>(platform::TimeInLayer() - in_layer) / runs,
          static_cast<double>(platform::TotalCalls() - calls) / runs};
}

// The quickest of many short batches: one that no other process came between.
template <typename Run>
Timed TimeBest(bool layer_measures, Run& run) {
  constexpr int kBatches = 60;
  constexpr double kBatchNanoseconds = 1e6;
  platform::MeasureTime(layer_measures);
  Timed best = TimeOnce(1, run);
  const int runs = std::max(1, static_cast<int>(kBatchNanoseconds / std::max(best.whole, 20.0)));
  for (int at = 0; at < kBatches; ++at) {
    const Timed timed = TimeOnce(runs, run);
    if (timed.whole < best.whole) best = timed;
  }
  platform::MeasureTime(false);
  return best;
}

// How much of a run is the module's own work, the rest being the in-memory platform's. The layer's clock makes each
// call dearer; what of that falls outside of what it counts is learnt from a call that does nothing.
template <typename Run>
void ReportOwnShare(benchmark::State& state, Run& run) {
  auto nothing = [] { SetLastError(ERROR_SUCCESS); };
  const Timed idle = TimeBest(true, nothing);
  const Timed timed = TimeBest(true, run);
  const double own = std::max(0.0, timed.whole - timed.in_layer - timed.calls * (idle.whole - idle.in_layer));
  state.counters["own_ns"] = own;
  state.counters["own_percent"] = 100 * own / TimeBest(false, run).whole;
}

// Times `run`, then reports the counters beside it.
template <typename Run>
void Measure(benchmark::State& state, Run run) {
  for ([[maybe_unused]] auto _ : state) run();
  ReportCalls(state, run);
  ReportOwnShare(state, run);
}

}  // namespace bench
