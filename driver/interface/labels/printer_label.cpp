#include "labels/printer_label.h"

#include <algorithm>
#include <bitset>
#include <limits>
#include <optional>

#include "diag/number_text.h"
#include "diag/trace.h"
#include "labels/label_keys.h"

namespace r5lqz {
namespace {

constexpr double kMillimetresPerInch = 25.4;
constexpr double kTenthsPerMillimetre = 10;
constexpr double kTenthsPerInch = 254;

constexpr SHORT kHighestId = std::numeric_limits<SHORT>::max();

// The numbers in use, and the highest of them (257 when there are none).
class UsedIds {
 public:
  void Add(SHORT id) {
    highest_ = std::max(highest_, id);
    if (id > 0) used_.set(static_cast<std::size_t>(id));
  }
  // None when all are in use.
  std::optional<SHORT> Next() const {
    if (highest_ < kHighestId) return static_cast<SHORT>(highest_ + 1);
    for (int id = kFirstLabelId; id < kHighestId; ++id) {
      if (!used_.test(static_cast<std::size_t>(id))) return static_cast<SHORT>(id);
    }
    return std::nullopt;
  }

 private:
  std::bitset<std::size_t{kHighestId} + 1> used_;
  SHORT highest_ = kCustomPage;
};

}  // namespace

double ConvertUnits(double value, DWORD from, DWORD to) {
  if (from == kMillimetres && to == kInches) return value / kMillimetresPerInch;
  if (from == kMillimetres && to == kTenthsOfMillimetre) return value * kTenthsPerMillimetre;
  if (from == kInches && to == kMillimetres) return value * kMillimetresPerInch;
  if (from == kInches && to == kTenthsOfMillimetre) return value * kTenthsPerInch;
  if (from == kTenthsOfMillimetre && to == kMillimetres) return value / kTenthsPerMillimetre;
  if (from == kTenthsOfMillimetre && to == kInches) return value / kTenthsPerInch;
  return value;
}

std::int64_t LabelTenths(const char (&text)[kNumberTextSize], DWORD units) {
  double value = 0;
  if (StringToFloat(text, &value) != ERROR_SUCCESS) return 0;
  const double tenths = ConvertUnits(value, units, kTenthsOfMillimetre);
  // The half is added, and the fraction cut off, below zero too.
  return static_cast<std::int64_t>(tenths + 0.5);  // NOLINT(bugprone-incorrect-roundings)
}

ResultCode GenerateNextLabelId(HANDLE printer, SHORT* id) {
  const TraceScope trace("GenerateNextLabelId");
  LabelKeyList keys;
  const ResultCode code = keys.Read(printer);
  UsedIds used;
  for (SHORT number = 0; keys.Next(&number);) used.Add(number);
  const std::optional<SHORT> next = used.Next();
  *id = next.value_or(kHighestId);
  return trace.ReturnCode(next ? code : ERROR_TOO_MANY_NAMES);
}

}  // namespace r5lqz
