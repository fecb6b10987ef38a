// Settings records as applications and the spooler hand them in: of any size, any content, lying about both.
#include "diag/trace.h"
#include "base/printer_interface.h"
#include "input.h"
#include "labels/label_store.h"
#include "settings/conversion.h"

namespace {

using fuzz::Block;
using namespace r5lqz;

constexpr SHORT kLastLabelId = 261;

constexpr BYTE kTraced = 1;
constexpr BYTE kNoPrinter = 2;
constexpr BYTE kOddAddress = 4;

// The front of an input; the two records follow. One input goes one way: what it costs to go all of them would be spent
// again and again on those that it does not change.
struct Head {
  BYTE flags;
  BYTE mode;
  BYTE way;
  BYTE query_size;
  SHORT count;
  WORD first_size;  // bytes of the first record; the second takes the rest
};

// One of the printer's labels has sizes that are no numbers, one has sizes out of range.
HANDLE SetUpPrinter() {
  const HANDLE printer = fuzz::AddPrinter();
  constexpr PrinterLabel kLabels[] = {
      {"Shipping", "104.8", "127.0", "-12", "2400", kMillimetres, kFirstLabelId},
      {"A name that is too long for the form name", "4.125", "5.000", "9999999", "x", kInches, 259},
      {"No numbers", "wide", "", "", "", kTenthsOfMillimetre, 260},
      {"Too large", "9999999", "-999999", "1", "1", kInches, kLastLabelId},
  };
  for (const PrinterLabel& label : kLabels) REQUIRE(SavePrinterLabel(printer, &label) == ERROR_SUCCESS);
  return printer;
}

RecordForm ReadForm(std::span<const std::byte> record) {
  RecordForm form{};
  const auto bytes = record.subspan(std::min(record.size(), kFormOffset));
  if (!bytes.empty()) std::memcpy(&form, bytes.data(), std::min(bytes.size(), sizeof form));
  return form;
}

// What a record claims to have. Most of the claims beyond a few kilobytes are taken as smaller ones: they take a
// thousand times as long as any other and show the same.
RecordForm ClaimedForm(std::span<const std::byte> bytes) {
  RecordForm form = ReadForm(bytes);
  for (WORD* size : {&form.public_size, &form.private_size}) *size = *size < 0xFF00 ? *size % 2048 : *size;
  return form;
}

// A record in exactly as many bytes as it claims to have, but never fewer than its form words need; at an odd address
// on demand. It is the last thing in its block.
class Record {
 public:
  explicit Record(std::span<const std::byte> bytes, bool odd = false)
      : shift_(odd ? 1 : 0), block_(shift_ + std::max<std::size_t>(kFormEnd, ClaimedForm(bytes).total()), {}) {
    std::memcpy(At(0), bytes.data(), std::min(bytes.size(), block_.size() - shift_));
    PutForm(get(), ClaimedForm(bytes));
  }

  std::byte* At(std::size_t offset) const { return block_.As<std::byte>() + shift_ + offset; }
  DEVMODEW* get() const { return reinterpret_cast<DEVMODEW*>(At(0)); }
  std::span<const std::byte> bytes() const { return block_.bytes().subspan(shift_); }
  RecordForm form() const { return ReadForm(bytes()); }
  bool Holds(std::span<const std::byte> other) const { return fuzz::Same(bytes(), other); }

 private:
  std::size_t shift_;
  Block block_;
};

// Out of the first record come its bytes, out of the one given whatever it has not; the form is the given one's.
void CheckConversion(const Record& in, const Record& given) {
  const Record out(given.bytes());
  const LONG copied = ConvertDevMode(in.get(), out.get());
  if (copied < 0) return REQUIRE(out.Holds(given.bytes()));
  const RecordForm from = in.form();
  RecordForm form = given.form();
  const std::size_t public_bytes = std::min(from.public_size, form.public_size);
  const std::size_t private_bytes = std::min(from.private_size, form.private_size);
  REQUIRE(static_cast<std::size_t>(copied) == public_bytes + private_bytes);
  REQUIRE(out.form().spec_version != 0);
  form.spec_version = out.form().spec_version;
  const Record expected(given.bytes());
  std::memcpy(expected.At(0), in.At(0), public_bytes);
  std::memcpy(expected.At(form.public_size), in.At(from.public_size), private_bytes);
  PutForm(expected.get(), form);
  REQUIRE(out.Holds(expected.bytes()));
}

// A record converted onto itself keeps everything but the spec version.
void CheckConversionInPlace(const Record& record) {
  const Record both(record.bytes());
  ConvertDevMode(both.get(), both.get());
  PutForm(both.get(), record.form());
  REQUIRE(both.Holds(record.bytes()));
}

// A record of ours that validation has nothing more to say to.
void RequireMerged(const DriverDevMode& record, HANDLE printer) {
  REQUIRE(std::memcmp(&kCurrentForm, &record.dm_public.dmSpecVersion, sizeof kCurrentForm) == 0);
  REQUIRE(record.dm_private.signature == kSignature && record.dm_private.rendIntent <= 3);
  REQUIRE(kWidthLimits.Hold(record.dm_public.dmPaperWidth) && kLengthLimits.Hold(record.dm_public.dmPaperLength));
  DriverDevMode again = record;
  ValidateDevmode(again, printer);
  REQUIRE(std::memcmp(&again, &record, sizeof again) == 0);
}

bool IsMergeable(const RecordForm& form) {
  const bool known = form.public_size == 188 || form.public_size == 212 || form.public_size == 220;
  return (known || form.spec_version != 0) && form.total() > 0;
}

// The driver's defaults with the records laid over them, the second first.
DriverDevMode CheckMerge(const Record& first, const Record& second, HANDLE printer) {
  DriverDevMode settings;
  SetupDefaultDevMode(settings, L"Driver", printer);
  for (const Record* record : {&second, &first}) {
    const DriverDevMode before = settings;
    const BOOL merged = MergeDevMode(settings, record->get(), printer);
    REQUIRE(merged == IsMergeable(record->form()));
    if (merged) RequireMerged(settings, printer);
    if (!merged) REQUIRE(std::memcmp(&settings, &before, sizeof settings) == 0);
  }
  return settings;
}

void CheckValidation(const Record& record, HANDLE printer) {
  const Block whole(sizeof(DriverDevMode), record.bytes());
  DriverDevMode& settings = *whole.As<DriverDevMode>();
  PutForm(&settings.dm_public, kCurrentForm);
  settings.dm_private.signature = kSignature;
  ValidateDevmode(settings, printer);
  RequireMerged(settings, printer);
}

// The smaller of a caller's form and the driver's own: what a caller may be handed at most.
RecordForm SmallerForm(RecordForm form) {
  form.public_size = std::min(form.public_size, kPublicSize);
  form.private_size = std::min(form.private_size, kPrivateSize);
  return form;
}

Block PoisonedOutput(const RecordForm& shape) {
  return Block(std::max<std::size_t>(kFormEnd, SmallerForm(shape).total()), {}, std::byte{0xEE});
}

void RequireHandedOut(BOOL done, std::span<const std::byte> out, RecordForm shape) {
  if (!done) return;
  const RecordForm form = ReadForm(out);
  REQUIRE(form.public_size == SmallerForm(shape).public_size && form.private_size == SmallerForm(shape).private_size);
  REQUIRE(form.spec_version != 0);
}

void CheckOutput(const DriverDevMode& working, const Record& shape) {
  const Block out = PoisonedOutput(shape.form());
  RequireHandedOut(CopyDevModeToOutput(working, shape.get(), out.As<DEVMODEW>()), out.bytes(), shape.form());
  // Applications pass one buffer as shape and output.
  const Record same(shape.bytes());
  RequireHandedOut(CopyDevModeToOutput(working, same.get(), same.get()), same.bytes(), shape.form());
}

// The whole road of an application's call: the printer's stored record, which may be cut off, then the application's
// own.
void CheckDocumentProperties(const Record& in, std::span<const std::byte> stored, DWORD mode, HANDLE printer) {
  platform::SetDevMode(fuzz::kPrinterName, stored);
  const Block out = PoisonedOutput(in.form());
  DOCUMENTPROPERTYHEADER header{};
  header.hPrinter = printer;
  header.pdmIn = in.get();
  header.pdmOut = out.As<DEVMODEW>();
  header.fMode = mode;
  const LONG result = DrvDocumentPropertySheets(nullptr, reinterpret_cast<LPARAM>(&header));
  REQUIRE(header.cbOut == 864);
  REQUIRE(result == (mode == 0 ? 864 : printer ? 1 : -1));
  if (result != 1 || !(mode & (DM_OUT_DEFAULT | DM_OUT_BUFFER)) || out.size() != sizeof(DriverDevMode)) return;
  // Of a record that cannot be merged nothing is taken, not even validation's changes to the defaults.
  if (IsMergeable(in.form())) RequireMerged(*out.As<DriverDevMode>(), printer);
}

void CheckConvertEntry(const Head& head, const Record& in, const Record& given) {
  const std::size_t size = static_cast<std::size_t>(std::max<SHORT>(head.count, 0));
  const Block out(size, given.bytes());
  WCHAR name[] = L"Printer";
  LONG count = head.count;
  if (!DrvConvertDevMode(name, in.get(), out.As<DEVMODEW>(), &count, head.mode % 8)) return;
  REQUIRE(count >= 0 && static_cast<std::size_t>(count) <= size);
  REQUIRE(static_cast<DWORD>(count) == ReadForm(out.bytes()).total());
}

void CheckColorProfileQuery(const Head& head, const Record& record) {
  const Block name(head.query_size, {}, std::byte{0xEE});
  ULONG size = head.query_size;
  ULONG flags = 0;
  const BOOL done = DrvQueryColorProfile(nullptr, record.get(), head.mode % 4, name.As<void>(), &size, &flags);
  REQUIRE(done ? size == 58 && flags == QCP_PROFILEDISK : flags == 0);
}

void CheckPrintQuery(const Record& record, HANDLE printer) {
  DEVQUERYPRINT_INFO info{};
  info.cbSize = sizeof info;
  info.hPrinter = printer;
  info.pDevMode = record.get();
  if (!DevQueryPrintEx(&info)) return;
  SHORT paper = 0;
  std::memcpy(&paper, record.bytes().data() + offsetof(DEVMODEW, dmPaperSize), sizeof paper);
  REQUIRE(paper == kUserPaper || (printer && paper >= kFirstLabelId && paper <= kLastLabelId));
}

void CheckRecordCapabilities(const Record& record, HANDLE printer) {
  WCHAR name[] = L"Device";
  const DWORD size = DrvDeviceCapabilities(printer, name, DC_SIZE, nullptr, record.get());
  REQUIRE(size == GDI_ERROR || size == kPublicSize);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const HANDLE open_printer = SetUpPrinter();
  fuzz::Input input(data, size);
  const Head head = input.Take<Head>();
  const auto first_bytes = input.TakeBytes(head.first_size);
  const auto second_bytes = input.TakeRest();
  const Record first(first_bytes, (head.flags & kOddAddress) != 0);
  const Record second(second_bytes);
  const HANDLE printer = head.flags & kNoPrinter ? nullptr : open_printer;

  fuzz::AsModule([&] {
    const int way = head.way % 8;
    // The others would dump every record they meet.
    log_mask = head.flags & kTraced && way < 3 ? kMessageBit | kTraceBit : 0;
    switch (way) {
      case 0:
        return DumpDevMode(first.get());
      case 1:
        CheckConversion(first, second);
        return CheckConversionInPlace(first);
      case 2:
        return CheckColorProfileQuery(head, first);
      case 3:
        return CheckValidation(first, printer);
      case 4:
        return CheckDocumentProperties(first, second_bytes, head.mode % 8, printer);
      case 5:
        return CheckConvertEntry(head, first, second);
      case 6:
        return CheckOutput(CheckMerge(first, second, printer), second);
      default:
        CheckPrintQuery(first, printer);
        return CheckRecordCapabilities(second, printer);
    }
  });
  return 0;
}
