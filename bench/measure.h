// What the benchmarks share: a printer with labels, and the calls and the time of the platform beside the time of the whole.
#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>

#include "labels/label_store.h"
#include "platform/native/control.h"

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

struct Timed {
  double whole = 0;     // nanoseconds
  double in_layer = 0;  // nanoseconds, of those
  double calls = 0;
};

template <typename Run>
Timed TimeWithLayer(int runs, Run& run) {
  const auto calls = platform::TotalCalls();
  const auto in_layer = platform::TimeInLayer();
  platform::MeasureTime(true);
  const auto start = std::chrono::steady_clock::now();
  for (int at = 0; at < runs; ++at) run();
  const auto spent = std::chrono::steady_clock::now() - start;
  platform::MeasureTime(false);
  return {static_cast<double>(std::chrono::nanoseconds(spent).count()),
          static_cast<double>(platform::TimeInLayer() - in_layer), static_cast<double>(platform::TotalCalls() - calls)};
}

// How much of a run is the module's own work, the rest being the in-memory platform's. A second pass, because the layer's
// clock makes each call dearer; what the clock costs outside of what it counts is learnt from a call that does nothing.
template <typename Run>
void ReportOwnShare(benchmark::State& state, Run& run) {
  constexpr int kRuns = 2000;
  auto nothing = [] { SetLastError(ERROR_SUCCESS); };
  const Timed idle = TimeWithLayer(100 * kRuns, nothing);
  const double outside_per_call = (idle.whole - idle.in_layer) / idle.calls;
  const double clock_per_call = idle.whole / idle.calls;

  const Timed timed = TimeWithLayer(kRuns, run);
  const double own = std::max(0.0, timed.whole - timed.in_layer - timed.calls * outside_per_call);
  const double whole = timed.whole - timed.calls * clock_per_call;
  state.counters["own_ns"] = own / kRuns;
  state.counters["own_percent"] = 100 * own / std::max(own, whole);
}

// Times `run`, then reports the counters beside it.
template <typename Run>
void Measure(benchmark::State& state, Run run) {
  for ([[maybe_unused]] auto _ : state) run();
  ReportCalls(state, run);
  ReportOwnShare(state, run);
}

}  // namespace bench
