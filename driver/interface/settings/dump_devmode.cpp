#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "base/bounded_text.h"
#include "diag/trace.h"
#include "settings/driver_devmode.h"

namespace r5lqz {
namespace {

enum class Shown { kSigned, kUnsigned, kNarrowText, kWideText };

// One line of the dump: a field of the part that is dumped.
struct DumpedField {
  const char* name;
  std::size_t offset;
  std::size_t size;
  Shown shown;
};

#define PUBLIC_FIELD(field, shown)                                    \
  DumpedField {                                                       \
    #field, offsetof(DEVMODEW, field), sizeof(DEVMODEW::field), shown \
  }
#define PRIVATE_FIELD(field, shown)                                               \
  DumpedField {                                                                   \
    #field, offsetof(PrivateDevMode, field), sizeof(PrivateDevMode::field), shown \
  }

constexpr std::array kPublicFields{
    PUBLIC_FIELD(dmDeviceName, Shown::kWideText),
    PUBLIC_FIELD(dmDriverVersion, Shown::kUnsigned),
    PUBLIC_FIELD(dmSize, Shown::kUnsigned),
    PUBLIC_FIELD(dmDriverExtra, Shown::kUnsigned),
    PUBLIC_FIELD(dmFields, Shown::kUnsigned),
    PUBLIC_FIELD(dmOrientation, Shown::kSigned),
    PUBLIC_FIELD(dmPaperSize, Shown::kSigned),
    PUBLIC_FIELD(dmPaperLength, Shown::kSigned),
    PUBLIC_FIELD(dmPaperWidth, Shown::kSigned),
    PUBLIC_FIELD(dmScale, Shown::kSigned),
    PUBLIC_FIELD(dmCopies, Shown::kSigned),
    PUBLIC_FIELD(dmDefaultSource, Shown::kSigned),
    PUBLIC_FIELD(dmPrintQuality, Shown::kSigned),
    PUBLIC_FIELD(dmColor, Shown::kSigned),
    PUBLIC_FIELD(dmDuplex, Shown::kSigned),
    PUBLIC_FIELD(dmYResolution, Shown::kSigned),
    PUBLIC_FIELD(dmTTOption, Shown::kSigned),
    PUBLIC_FIELD(dmCollate, Shown::kSigned),
    PUBLIC_FIELD(dmFormName, Shown::kWideText),
    PUBLIC_FIELD(dmLogPixels, Shown::kUnsigned),
    PUBLIC_FIELD(dmBitsPerPel, Shown::kUnsigned),
    PUBLIC_FIELD(dmPelsWidth, Shown::kUnsigned),
    PUBLIC_FIELD(dmPelsHeight, Shown::kUnsigned),
    PUBLIC_FIELD(dmNup, Shown::kUnsigned),
    PUBLIC_FIELD(dmDisplayFrequency, Shown::kUnsigned),
    PUBLIC_FIELD(dmICMMethod, Shown::kUnsigned),
    PUBLIC_FIELD(dmICMIntent, Shown::kUnsigned),
    PUBLIC_FIELD(dmMediaType, Shown::kUnsigned),
    PUBLIC_FIELD(dmDitherType, Shown::kUnsigned),
};

constexpr std::array kPrivateFields{
    PRIVATE_FIELD(signature, Shown::kUnsigned),      PRIVATE_FIELD(colorAdjust, Shown::kSigned),
    PRIVATE_FIELD(rendIntent, Shown::kSigned),       PRIVATE_FIELD(rotate180, Shown::kSigned),
    PRIVATE_FIELD(mirrorImage, Shown::kSigned),      PRIVATE_FIELD(labelName, Shown::kNarrowText),
    PRIVATE_FIELD(usePrivateCopies, Shown::kSigned), PRIVATE_FIELD(copies, Shown::kSigned),
    PRIVATE_FIELD(vertOffset, Shown::kSigned),       PRIVATE_FIELD(horzOffset, Shown::kSigned),
    PRIVATE_FIELD(dmPaperSize, Shown::kSigned),      PRIVATE_FIELD(units, Shown::kSigned),
    PRIVATE_FIELD(width_string, Shown::kNarrowText), PRIVATE_FIELD(length_string, Shown::kNarrowText),
    PRIVATE_FIELD(colorProfile, Shown::kWideText),
};

#undef PUBLIC_FIELD
#undef PRIVATE_FIELD

constexpr int kPublicNameWidth = 19;
constexpr int kPrivateNameWidth = 28;

// UTF-8, if that is the system's code page, takes up to three bytes for a UTF-16 unit.
using DumpedText = ShownText<3 * kProfileNameSize>;

template <typename Value>
Value ValueAt(std::span<const std::byte> bytes) {
  Value value{};
  std::memcpy(&value, bytes.data(), sizeof value);
  return value;
}

unsigned long UnsignedAt(std::span<const std::byte> bytes) {
  return bytes.size() == sizeof(WORD) ? ValueAt<std::uint16_t>(bytes) : ValueAt<std::uint32_t>(bytes);
}

int SignedAt(std::span<const std::byte> bytes) {
  return bytes.size() == sizeof(SHORT) ? ValueAt<std::int16_t>(bytes) : ValueAt<std::int32_t>(bytes);
}

std::span<const char> NarrowAt(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// A foreign record may lie anywhere, hence the copy. Zeros end a text that fills its field.
std::array<WCHAR, kProfileNameSize + 1> WideAt(std::span<const std::byte> bytes) {
  std::array<WCHAR, kProfileNameSize + 1> text{};
  std::memcpy(text.data(), bytes.data(), bytes.size());
  return text;
}

void DumpField(const DumpedField& field, int name_width, std::span<const std::byte> bytes) {
  switch (field.shown) {
    case Shown::kSigned:
      LOG_INFO("%-*s= %d", name_width, field.name, SignedAt(bytes));
      break;
    case Shown::kUnsigned:
      LOG_INFO("%-*s= %lu", name_width, field.name, UnsignedAt(bytes));
      break;
    case Shown::kNarrowText:
      LOG_INFO("%-*s= %s", name_width, field.name, DumpedText(NarrowAt(bytes)).c_str());
      break;
    case Shown::kWideText:
      LOG_INFO("%-*s= %s", name_width, field.name, DumpedText(TextIn(std::span<const WCHAR>(WideAt(bytes)))).c_str());
      break;
  }
}

// The lines of those fields that the part holds whole.
void DumpPart(std::span<const DumpedField> fields, int name_width, std::span<const std::byte> part) {
  for (const DumpedField& field : fields) {
    if (field.offset + field.size <= part.size()) DumpField(field, name_width, part.subspan(field.offset, field.size));
  }
}

}  // namespace

void DumpDevMode(const DEVMODEW* record, DWORD readable) {
  if (readable < kFormEnd) return;
  const RecordForm form = FormOf(record);
  if (form.public_size != kPublicSize) {
    LOG_INFO("DevMode is invalid. The values of sizeof(DEVMODE) and dmSize do not match.");
    return;
  }
  const std::span bytes(reinterpret_cast<const std::byte*>(record), std::min(form.total(), readable));
  const auto public_part = bytes.first(std::min<std::size_t>(bytes.size(), kPublicSize));
  LOG_INFO("<Public-DevMode>");
  DumpPart(kPublicFields, kPublicNameWidth, public_part);
  LOG_INFO("</Public-DevMode>");
  LOG_INFO("<Private-DevMode>");
  DumpPart(kPrivateFields, kPrivateNameWidth, bytes.subspan(public_part.size()));
  LOG_INFO("</Private-DevMode>");
}

void DumpTitled(const char* title, const DEVMODEW* record, DWORD readable) {
  if (!Logs(kMessageBit)) return;
  LOG_INFO("%s", title);
  if (record) DumpDevMode(record, readable);
}

}  // namespace r5lqz
