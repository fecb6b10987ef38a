// Label list files: whatever the bytes are, they give labels that the rest of the module can use, and these are written
// and read again as they are.
#include <string>

#include "diag/number_text.h"
#include "dialogs/label_json.h"
#include "input.h"
#include "labels/label_store.h"

namespace {

using fuzz::Block;
using namespace r5lqz;

constexpr std::byte kUntouched{0xA5};

void RequireText(std::span<const char> field) {
  REQUIRE(std::find(field.begin(), field.end(), '\0') != field.end());
}

void RequireNumber(std::span<const char> field, double lowest, double highest) {
  RequireText(field);
  double value = 0;
  REQUIRE(StringToFloat(field.data(), &value) == ERROR_SUCCESS);
  REQUIRE(value >= lowest && value <= highest);
}

// What the file format promises of each page, whatever stood there. A default is rounded, but well within the limits.
void RequireUsable(const PrinterLabel& label) {
  RequireText(label.name);
  REQUIRE(label.units <= kTenthsOfMillimetre);
  const auto in_units = [&](LONG tenths) { return ConvertUnits(tenths, kTenthsOfMillimetre, label.units); };
  const double rounding = 1e-9;
  RequireNumber(label.width, in_units(kWidthLimits.lowest) - rounding, in_units(kWidthLimits.highest) + rounding);
  RequireNumber(label.length, in_units(kLengthLimits.lowest) - rounding, in_units(kLengthLimits.highest) + rounding);
  RequireNumber(label.vertOffset, kOffsetLimits.lowest, kOffsetLimits.highest);
  RequireNumber(label.horzOffset, kOffsetLimits.lowest, kOffsetLimits.highest);
  REQUIRE(label.id > kFirstLabelId);
}

// The labels of a text in `room` places, of which those that are not filled stay as they were.
Block Read(const char* text, std::size_t room, std::size_t& count) {
  Block labels(room * sizeof(PrinterLabel), {}, kUntouched);
  count = static_cast<std::size_t>(ReadLabelJson(text, {labels.As<PrinterLabel>(), room}));
  REQUIRE(count <= room);
  const auto rest = labels.bytes().subspan(count * sizeof(PrinterLabel));
  REQUIRE(std::all_of(rest.begin(), rest.end(), [](std::byte byte) { return byte == kUntouched; }));
  return labels;
}

void CheckRoundTrip(const Block& labels, std::size_t count) {
  const auto text = WriteLabelJson({labels.As<PrinterLabel>(), count});
  REQUIRE(text);
  const Block exact(std::as_bytes(std::span(text.get(), std::strlen(text.get()) + 1)));
  std::size_t read = 0;
  const Block again = Read(exact.As<char>(), count, read);
  const auto same = WriteLabelJson({again.As<PrinterLabel>(), read});
  REQUIRE(read == count && same && std::strcmp(same.get(), text.get()) == 0);
}

}  // namespace

// The first byte is the room for labels, the rest the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const std::size_t room = input.Take<std::uint8_t>() % (kMostLabels + 2);
  const auto content = input.TakeRest();
  const Block file(content.size() + 1, content);
  fuzz::AsModule([&] {
    std::size_t count = 0;
    const Block labels = Read(file.As<char>(), room, count);
    for (std::size_t at = 0; at < count; ++at) RequireUsable(labels.As<PrinterLabel>()[at]);
    CheckRoundTrip(labels, count);
  });
  return 0;
}
