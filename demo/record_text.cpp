#include "record_text.h"

#include <cstring>
#include <optional>

#include "user/console.h"

namespace demo {

using namespace user;
namespace {

using r5lqz::PrivateDevMode;

// The bytes of a value, if the record holds all of them.
template <class T>
std::optional<T> PublicValue(const DEVMODEW& record, std::size_t offset) {
  if (offset + sizeof(T) > record.dmSize) return {};
  T value;
  memcpy(&value, reinterpret_cast<const BYTE*>(&record) + offset, sizeof value);
  return value;
}

template <class T>
std::optional<T> PrivateBytes(const DEVMODEW& record, std::size_t offset) {
  if (offset + sizeof(T) > record.dmDriverExtra) return {};
  T value;
  memcpy(&value, reinterpret_cast<const BYTE*>(&record) + record.dmSize + offset, sizeof value);
  return value;
}

template <class T>
std::optional<T> PrivateValue(const DEVMODEW& record, std::size_t offset) {
  const auto signature = PrivateBytes<DWORD>(record, offsetof(PrivateDevMode, signature));
  if (signature != r5lqz::kSignature) return {};
  return PrivateBytes<T>(record, offset);
}

template <class T>
std::string Number(const std::optional<T>& value, const char* unit = "") {
  return value ? Format("%ld%s", static_cast<long>(*value), unit) : kAbsent;
}

std::string Millimetres(const std::optional<short>& tenths) {
  return tenths ? Format("%.1f mm", static_cast<double>(*tenths) / 10) : kAbsent;
}

template <class Text>
std::string NarrowText(const std::optional<Text>& text) {
  return text ? "\"" + std::string(text->data(), strnlen(text->data(), text->size())) + "\"" : kAbsent;
}

template <class Text>
std::string WideText(const std::optional<Text>& text) {
  return text ? "\"" + Narrow(text->data(), text->size()) + "\"" : kAbsent;
}

template <std::size_t size>
using Wide = std::array<wchar_t, size>;
template <std::size_t size>
using Chars = std::array<char, size>;

#define PUBLIC(type, member) PublicValue<type>(r, offsetof(DEVMODEW, member))
#define PRIVATE(type, member) PrivateValue<type>(r, offsetof(PrivateDevMode, member))

constexpr Field kFields[] = {
    {"record", 0, [](const DEVMODEW& r) { return Format("%u + %u bytes", r.dmSize, r.dmDriverExtra); }},
    {"versions", 0, [](const DEVMODEW& r) { return Format("0x%04x / 0x%04x", r.dmSpecVersion, r.dmDriverVersion); }},
    {"fields", 0, [](const DEVMODEW& r) { return Format("0x%08lx", PUBLIC(DWORD, dmFields).value_or(0)); }},
    {"device", 0, [](const DEVMODEW& r) { return WideText(PUBLIC(Wide<32>, dmDeviceName)); }},
    {"orientation", DM_ORIENTATION,
     [](const DEVMODEW& r) {
       const auto value = PUBLIC(short, dmOrientation);
       return !value ? std::string(kAbsent) : *value == 1 ? "portrait" : *value == 2 ? "landscape" : Number(value);
     }},
    {"paper", DM_PAPERSIZE, [](const DEVMODEW& r) { return Number(PUBLIC(short, dmPaperSize)); }},
    {"form", DM_FORMNAME, [](const DEVMODEW& r) { return WideText(PUBLIC(Wide<32>, dmFormName)); }},
    {"width", DM_PAPERWIDTH, [](const DEVMODEW& r) { return Millimetres(PUBLIC(short, dmPaperWidth)); }},
    {"length", DM_PAPERLENGTH, [](const DEVMODEW& r) { return Millimetres(PUBLIC(short, dmPaperLength)); }},
    {"scale", DM_SCALE, [](const DEVMODEW& r) { return Number(PUBLIC(short, dmScale), " %"); }},
    {"copies", DM_COPIES, [](const DEVMODEW& r) { return Number(PUBLIC(short, dmCopies)); }},
    {"source", DM_DEFAULTSOURCE, [](const DEVMODEW& r) { return Number(PUBLIC(short, dmDefaultSource)); }},
    {"quality", DM_PRINTQUALITY, [](const DEVMODEW& r) { return Number(PUBLIC(short, dmPrintQuality), " dpi"); }},
    {"y resolution", DM_YRESOLUTION, [](const DEVMODEW& r) { return Number(PUBLIC(short, dmYResolution), " dpi"); }},
    {"colour", DM_COLOR, [](const DEVMODEW& r) { return Number(PUBLIC(short, dmColor)); }},
    {"duplex", DM_DUPLEX, [](const DEVMODEW& r) { return Number(PUBLIC(short, dmDuplex)); }},
    {"TrueType", DM_TTOPTION, [](const DEVMODEW& r) { return Number(PUBLIC(short, dmTTOption)); }},
    {"collate", DM_COLLATE, [](const DEVMODEW& r) { return Number(PUBLIC(short, dmCollate)); }},
    {"private: signature", 0,
     [](const DEVMODEW& r) {
       const auto signature = PrivateBytes<DWORD>(r, offsetof(PrivateDevMode, signature));
       return signature ? Format("0x%08lx", *signature) : std::string(kAbsent);
     }},
    {"private: label", 0, [](const DEVMODEW& r) { return NarrowText(PRIVATE(Chars<64>, labelName)); }},
    {"private: size of paper", 0, [](const DEVMODEW& r) { return Number(PRIVATE(SHORT, dmPaperSize)); }},
    {"private: vert. offset", 0, [](const DEVMODEW& r) { return Number(PRIVATE(LONG, vertOffset), "/1200 in"); }},
    {"private: horz. offset", 0, [](const DEVMODEW& r) { return Number(PRIVATE(LONG, horzOffset), "/1200 in"); }},
    {"private: colour adjust", 0, [](const DEVMODEW& r) { return Number(PRIVATE(DWORD, colorAdjust)); }},
    {"private: intent", 0, [](const DEVMODEW& r) { return Number(PRIVATE(DWORD, rendIntent)); }},
    {"private: rotated", 0, [](const DEVMODEW& r) { return Number(PRIVATE(DWORD, rotate180)); }},
    {"private: mirrored", 0, [](const DEVMODEW& r) { return Number(PRIVATE(DWORD, mirrorImage)); }},
    {"private: custom units", 0, [](const DEVMODEW& r) { return Number(PRIVATE(DWORD, units)); }},
    {"private: custom width", 0, [](const DEVMODEW& r) { return NarrowText(PRIVATE(Chars<8>, width_string)); }},
    {"private: custom length", 0, [](const DEVMODEW& r) { return NarrowText(PRIVATE(Chars<8>, length_string)); }},
    {"private: profile", 0, [](const DEVMODEW& r) { return WideText(PRIVATE(Wide<260>, colorProfile)); }},
};

#undef PUBLIC
#undef PRIVATE

}  // namespace

std::span<const Field> Fields() {
  return kFields;
}

}  // namespace demo
