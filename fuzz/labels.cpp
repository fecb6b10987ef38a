// Stored label data: key lists in any bytes, values of any type and length, lists that change while they are read.
#include <string>
#include <vector>

#include "base/bounded_text.h"
#include "diag/trace.h"
#include "base/printer_interface.h"
#include "input.h"
#include "labels/label_store.h"
#include "settings/conversion.h"

namespace {

using fuzz::Block;
using fuzz::kPrinterName;
using namespace r5lqz;

constexpr char kParentKey[] = "Label Sizes";

constexpr BYTE kTraced = 1, kGivenKeyList = 2, kChangingKeyList = 4;
constexpr BYTE kOneTooMany = 8;  // the given key list repeated until it has one name more than a list has labels
constexpr int kFlagBits = 4;

// The front of an input. Behind it lie the two key lists, then label after label: its number, then its values, each of
// which begins with how it is stored.
struct Head {
  BYTE flags;  // and, above them, what is asked for
  BYTE capacity;
  WORD list_size;    // bytes of the given key list
  WORD second_size;  // bytes of the one that the second question finds
  SHORT paper;       // what a record asks for
};

// A label's value when it is stored well: a text, or a number where there is none.
struct Value {
  const char* name;
  const char* text;
  DWORD number;
};

constexpr Value kValues[] = {{"version", nullptr, 1},    {"name", "Label", 0},     {"width", "4.125", 0},
                             {"length", "127.0", 0},     {"vertOffset", "-12", 0}, {"horzOffset", "0", 0},
                             {"units", nullptr, kInches}};

std::string KeyOf(SHORT id) {
  return std::string(kParentKey) + "\\" + std::to_string(id);
}

// Well, as the input gives it, or not at all.
void Store(fuzz::Input& input, const std::string& key, const Value& value) {
  const int how = input.Take<BYTE>() % 3;
  if (how == 0 && value.text) platform::SetDataText(kPrinterName, key, value.name, value.text);
  if (how == 0 && !value.text) platform::SetDataDword(kPrinterName, key, value.name, value.number);
  if (how != 1) return;
  const DWORD type = input.Take<BYTE>() % 12;
  platform::SetData(kPrinterName, key, value.name, type, input.TakeBytes(input.Take<BYTE>()));
}

void StoreLabels(fuzz::Input& input) {
  for (int labels = 0; labels < 8 && !input.empty(); ++labels) {
    const std::string key = KeyOf(input.Take<SHORT>());
    for (const Value& value : kValues) Store(input, key, value);
  }
}

// The key lists that the spooler gives in turn, from the first one on again for every call of the module.
class KeyLists {
 public:
  KeyLists(const Head& head, fuzz::Input& input) {
    lists_[0] = input.TakeBytes(head.list_size);
    lists_[1] = input.TakeBytes(head.second_size);
    if (head.flags & kOneTooMany) lists_[0] = Repeated(lists_[0]);
    if (head.flags & kGivenKeyList) platform::SetKeyListBytes(kPrinterName, kParentKey, lists_[0]);
    if (!(head.flags & kChangingKeyList)) return;
    platform::SetCallHook(
        [this](const char*) { platform::SetKeyListBytes(kPrinterName, kParentKey, lists_[asked_++ % 2]); },
        "EnumPrinterKeyW");
  }
  void StartOver() { asked_ = 0; }

 private:
  std::span<const std::byte> Repeated(std::span<const std::byte> name) {
    for (int at = 0; at <= kMostLabels; ++at) repeated_.insert(repeated_.end(), name.begin(), name.end());
    repeated_.resize(repeated_.size() + sizeof(WCHAR));
    return repeated_;
  }

  std::span<const std::byte> lists_[2];
  std::vector<std::byte> repeated_;
  std::size_t asked_ = 0;
};

// A label that was read is what lies under its number: each text whole, as long as the stored one.
void RequireAsStored(const PrinterLabel& label) {
  const auto require = [key = KeyOf(label.id)](const char* value, std::span<const char> field) {
    const auto data = platform::GetData(kPrinterName, key, value);
    const std::string_view text(field.data(), TextIn(field).size());
    REQUIRE(data && text.size() < field.size() && data->bytes.size() >= text.size());
    REQUIRE(text.empty() || std::memcmp(data->bytes.data(), text.data(), text.size()) == 0);
  };
  require("name", label.name);
  require("width", label.width);
  require("length", label.length);
  require("vertOffset", label.vertOffset);
  require("horzOffset", label.horzOffset);
}

std::vector<PrinterLabel> CheckList(HANDLE printer, LONG capacity) {
  const Block block(static_cast<std::size_t>(capacity) * sizeof(PrinterLabel), {}, std::byte{0xEE});
  auto* const labels = block.As<PrinterLabel>();
  LONG count = -1;
  ReadPrinterLabelList(printer, labels, capacity, &count);
  REQUIRE(count >= 0 && count <= capacity);
  std::for_each(labels, labels + count, RequireAsStored);
  return {labels, labels + count};
}

// What was read can be stored again under a new number, and reads the same.
void CheckAdding(HANDLE printer, const PrinterLabel& label) {
  PrinterLabel added = label;
  if (AddPrinterLabel(printer, &added) != ERROR_SUCCESS) return;
  PrinterLabel read{};
  REQUIRE(LoadPrinterLabel(printer, &read, added.id) == ERROR_SUCCESS);
  REQUIRE(read.id == added.id && std::strcmp(read.name, label.name) == 0 && read.units == label.units);
}

void CheckNextId(HANDLE printer, const std::vector<PrinterLabel>& labels) {
  SHORT id = 0;
  GenerateNextLabelId(printer, &id);
  REQUIRE(id >= kFirstLabelId);
  REQUIRE(std::ranges::none_of(labels, [id](const PrinterLabel& label) { return label.id == id; }));
}

// Asked for the number, then for the entries in exactly as much room.
void CheckCapability(HANDLE printer, WORD capability, std::size_t entry_size, KeyLists& lists) {
  lists.StartOver();
  const DWORD count = DrvDeviceCapabilities(printer, nullptr, capability, nullptr, nullptr);
  REQUIRE(count <= static_cast<DWORD>(kMostLabels));
  const Block entries(count * entry_size, {}, std::byte{0xEE});
  lists.StartOver();
  REQUIRE(DrvDeviceCapabilities(printer, nullptr, capability, entries.As<void>(), nullptr) == count);
}

void CheckSelection(HANDLE printer, SHORT paper) {
  DriverDevMode record;
  SetupDefaultDevMode(record, nullptr, printer);
  record.dm_public.dmPaperSize = paper;
  ValidateForm(record, printer);
  REQUIRE(kWidthLimits.Hold(record.dm_public.dmPaperWidth) && kLengthLimits.Hold(record.dm_public.dmPaperLength));
  REQUIRE(record.dm_public.dmPaperSize == std::max(paper, kUserPaper));
  REQUIRE(std::memchr(record.dm_private.labelName, 0, sizeof record.dm_private.labelName));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const Head head = input.Take<Head>();
  platform::Reset();
  const HANDLE printer = fuzz::AddPrinter();
  KeyLists lists(head, input);
  StoreLabels(input);
  log_mask = head.flags & kTraced ? kMessageBit | kTraceBit : 0;

  fuzz::AsModule([&] {
    const auto labels = CheckList(printer, head.capacity % (kMostLabels + 1));
    lists.StartOver();
    switch (const int what = (head.flags >> kFlagBits) % 6; what) {
      case 0:
        return CheckCapability(printer, DC_PAPERS, sizeof(WORD), lists);
      case 1:
        return CheckCapability(printer, DC_PAPERSIZE, sizeof(POINT), lists);
      case 2:
        return CheckCapability(printer, DC_PAPERNAMES, 64 * sizeof(WCHAR), lists);
      case 3:
      case 4:
        return CheckSelection(printer, what == 4 || labels.empty() ? head.paper : labels.back().id);
      default:
        CheckNextId(printer, labels);
        if (!labels.empty()) CheckAdding(printer, labels.front());
    }
  });
  platform::SetCallHook({});
  return 0;
}
