// The parsers of number texts, which ask nothing of the platform.
#include <benchmark/benchmark.h>

#include <array>

#include "diag/number_text.h"

namespace {

using namespace r5lqz;

void ParseDecimal(benchmark::State& state) {
  const char* text = "104.825";
  for ([[maybe_unused]] auto _ : state) {
    double value = 0;
    benchmark::DoNotOptimize(text);
    benchmark::DoNotOptimize(StringToFloat(text, &value));
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(ParseDecimal);

void ParseInteger(benchmark::State& state) {
  const char* text = "-2400";
  for ([[maybe_unused]] auto _ : state) {
    int value = 0;
    benchmark::DoNotOptimize(text);
    benchmark::DoNotOptimize(StringToInt(text, &value));
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(ParseInteger);

void Trim(benchmark::State& state) {
  for ([[maybe_unused]] auto _ : state) {
    std::array<char, 16> text{"  4.125\t"};
    benchmark::DoNotOptimize(text.data());
    TrimWhitespace(text.data());
    benchmark::ClobberMemory();
  }
}
BENCHMARK(Trim);

}  // namespace
