#include "labels/label_store.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/bounded_text.h"
#include "base/printer_interface.h"
#include "diag/trace.h"
#include "labels/label_keys.h"

namespace r5lqz {
namespace {

constexpr DWORD kLabelVersion = 1;

// One stored value of a label: where it lies in the record. "version" lies nowhere: it is checked, and always written
// as 1.
struct LabelValue {
  const char* name;
  DWORD type;
  std::size_t offset;
  std::size_t size;
};

#define LABEL_FIELD(field, type)                                             \
  LabelValue {                                                               \
    #field, type, offsetof(PrinterLabel, field), sizeof(PrinterLabel::field) \
  }

// In the order in which they are written and read, behind the version.
constexpr std::array kValues{
    LABEL_FIELD(name, REG_SZ),       LABEL_FIELD(width, REG_SZ),      LABEL_FIELD(length, REG_SZ),
    LABEL_FIELD(vertOffset, REG_SZ), LABEL_FIELD(horzOffset, REG_SZ), LABEL_FIELD(units, REG_DWORD),
};

#undef LABEL_FIELD

constexpr char kVersionName[] = "version";

// How many labels that cannot be read one listing passes over. Each costs a call of the spooler, and whoever may write
// the printer's data can make as many as the store holds.
constexpr int kMostUnreadable = 256;

// The largest value that a label has, and an end for who converts one without in its place.
using ValueBuffer = std::array<BYTE, kLabelNameSize + sizeof(WCHAR)>;

std::span<BYTE> FieldOf(PrinterLabel& label, const LabelValue& value) {
  return std::span(reinterpret_cast<BYTE*>(&label), sizeof label).subspan(value.offset, value.size);
}

std::span<const BYTE> FieldOf(const PrinterLabel& label, const LabelValue& value) {
  return std::span(reinterpret_cast<const BYTE*>(&label), sizeof label).subspan(value.offset, value.size);
}

// Checks what came back of a value: a text must leave room for the terminator that the store may lack, a number must be
// whole.
ResultCode CheckStored(std::span<const BYTE> field, DWORD wanted_type, DWORD type, DWORD size) {
  if (type != wanted_type || size > field.size()) return kWrongValueType;
  if (wanted_type == REG_DWORD) return size == field.size() ? ERROR_SUCCESS : kWrongValueType;
  const bool terminated = std::find(field.begin(), field.begin() + size, BYTE{}) != field.begin() + size;
  return terminated || size < field.size() ? ERROR_SUCCESS : ERROR_MORE_DATA;
}

// Reads one value into `field`, zero-filled behind it; an unreadable one leaves the field as it was.
ResultCode ReadValue(HANDLE printer, const char* key, const char* name, DWORD wanted_type, std::span<BYTE> field) {
  ValueBuffer buffer{};
  const auto read = std::span(buffer).first(field.size());
  DWORD type = REG_NONE;
  DWORD size = 0;
  DWORD code = GetPrinterDataExA(printer, key, name, &type, read.data(), static_cast<DWORD>(read.size()), &size);
  if (code == ERROR_SUCCESS) code = CheckStored(read, wanted_type, type, size);
  if (code != ERROR_SUCCESS) {
    LOG_ERROR("Could not read label %s: 0x%x", name, static_cast<unsigned>(code));
    return code;
  }
  if (wanted_type == REG_SZ) {
    // The store converts a text in its place: what is left of the wide one lies behind it, and may lack an end too.
    const auto end = std::find(read.begin(), read.end(), BYTE{});
    std::fill(end != read.end() ? end : read.begin() + size, read.end(), BYTE{});
  }
  std::copy(read.begin(), read.end(), field.begin());
  return ERROR_SUCCESS;
}

ResultCode CheckVersion(HANDLE printer, const char* key) {
  DWORD version = 0;
  const auto bytes = std::span(reinterpret_cast<BYTE*>(&version), sizeof version);
  if (const ResultCode code = ReadValue(printer, key, kVersionName, REG_DWORD, bytes)) return code;
  if (version == kLabelVersion) return ERROR_SUCCESS;
  LOG_ERROR("Unknown label version: %d", static_cast<int>(version));
  return kUnknownLabelVersion;
}

ResultCode LoadValues(HANDLE printer, const char* key, PrinterLabel& label) {
  if (const ResultCode code = CheckVersion(printer, key)) return code;
  for (const LabelValue& value : kValues) {
    if (const ResultCode code = ReadValue(printer, key, value.name, value.type, FieldOf(label, value))) return code;
  }
  return ERROR_SUCCESS;
}

ResultCode WriteValue(HANDLE printer, const char* key, const char* name, DWORD type, std::span<const BYTE> bytes) {
  // The spooler takes the data as writable but does not write it.
  BYTE* const data = const_cast<BYTE*>(bytes.data());
  const DWORD code = bytes.empty()
                         ? ERROR_INVALID_DATA
                         : SetPrinterDataExA(printer, key, name, type, data, static_cast<DWORD>(bytes.size()));
  if (code != ERROR_SUCCESS) LOG_ERROR("Could not set label %s: 0x%x", name, static_cast<unsigned>(code));
  return code;
}

// The bytes of a field as they are stored: a text with its terminator, or none when it has no terminator.
std::span<const BYTE> StoredBytes(std::span<const BYTE> field, DWORD type) {
  if (type != REG_SZ) return field;
  const std::size_t length = TextIn(field).size();
  return length < field.size() ? field.first(length + 1) : std::span<const BYTE>{};
}

ResultCode SaveValues(HANDLE printer, const char* key, const PrinterLabel& label) {
  const auto version = std::span(reinterpret_cast<const BYTE*>(&kLabelVersion), sizeof kLabelVersion);
  if (const ResultCode code = WriteValue(printer, key, kVersionName, REG_DWORD, version)) return code;
  for (const LabelValue& value : kValues) {
    const auto bytes = StoredBytes(FieldOf(label, value), value.type);
    if (const ResultCode code = WriteValue(printer, key, value.name, value.type, bytes)) return code;
  }
  return ERROR_SUCCESS;
}

}  // namespace

ResultCode ReadPrinterLabelList(HANDLE printer, PrinterLabel* labels, LONG capacity, LONG* count) {
  const TraceScope trace("ReadPrinterLabelList");
  LabelKeyList keys;
  const ResultCode code = keys.Read(printer);
  LONG loaded = 0;
  int unreadable = 0;
  for (SHORT id = 0; loaded < capacity && unreadable < kMostUnreadable && keys.Next(&id);) {
    if (LoadPrinterLabel(printer, &labels[loaded], id) == ERROR_SUCCESS) {
      ++loaded;
    } else {
      ++unreadable;
    }
  }
  if (unreadable == kMostUnreadable) LOG_ERROR("Gave up the label list after %d unreadable labels", unreadable);
  *count = loaded;
  return trace.ReturnCode(code);
}

ResultCode LoadPrinterLabel(HANDLE printer, PrinterLabel* label, SHORT id) {
  const TraceScope trace("LoadPrinterLabel");
  label->id = id;
  return trace.ReturnCode(LoadValues(printer, LabelKeyName(id).data(), *label));
}

ResultCode SavePrinterLabel(HANDLE printer, const PrinterLabel* label) {
  const TraceScope trace("SavePrinterLabel");
  return trace.ReturnCode(SaveValues(printer, LabelKeyName(label->id).data(), *label));
}

ResultCode AddPrinterLabel(HANDLE printer, PrinterLabel* label) {
  const TraceScope trace("AddPrinterLabel");
  if (!printer || !label) return trace.ReturnCode(kMissingArgument);
  if (const ResultCode code = GenerateNextLabelId(printer, &label->id)) return trace.ReturnCode(code);
  return trace.ReturnCode(SavePrinterLabel(printer, label));
}

ResultCode ModifyPrinterLabel(HANDLE printer, const PrinterLabel* label) {
  const TraceScope trace("ModifyPrinterLabel");
  if (!printer || !label) return trace.ReturnCode(kMissingArgument);
  return trace.ReturnCode(SavePrinterLabel(printer, label));
}

ResultCode DeletePrinterLabel(HANDLE printer, const PrinterLabel* label) {
  const TraceScope trace("DeletePrinterLabel");
  if (!printer || !label) return trace.ReturnCode(kMissingArgument);
  return trace.ReturnCode(DeletePrinterKeyW(printer, WideLabelKeyName(label->id).data()));
}

}  // namespace r5lqz
