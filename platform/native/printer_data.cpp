// Printer data: keys beneath a printer and the values in them.
#include "native/printers.h"

#include <algorithm>

namespace platform {
namespace {

// Where the calls that name no key keep their values.
constexpr std::u16string_view kDefaultKey = u"PrinterDriverData";

std::u16string ValueKey(std::string_view key) {
  return key.empty() ? std::u16string(kDefaultKey) : Widen(key);
}

// Makes the key and every parent that is missing.
Key& ObtainKey(Printer& printer, const std::u16string& path) {
  const std::size_t parent_end = path.rfind(u'\\');
  if (parent_end != path.npos) ObtainKey(printer, path.substr(0, parent_end));
  const auto [key, added] = printer.keys.try_emplace(Folded(path));
  if (added) key->second.name = path.substr(parent_end == path.npos ? 0 : parent_end + 1);
  return key->second;
}

const Value* FindValue(const Printer& printer, std::u16string key, std::u16string value) {
  const auto found_key = printer.keys.find(Folded(std::move(key)));
  if (found_key == printer.keys.end()) return nullptr;
  const auto found = found_key->second.values.find(Folded(std::move(value)));
  return found == found_key->second.values.end() ? nullptr : &found->second;
}

void StoreValue(Printer& printer, const std::u16string& key, std::u16string value, DWORD type,
                std::span<const std::byte> bytes) {
  ObtainKey(printer, key)
      .values.insert_or_assign(Folded(std::move(value)), Value{type, Bytes(bytes.begin(), bytes.end())});
}

// What all paths beneath this one begin with; the path "" is the root.
std::u16string Beneath(const std::u16string& folded) {
  return folded.empty() ? folded : folded + u'\\';
}

std::vector<std::u16string> SubkeyNames(const Printer& printer, const std::u16string& folded) {
  const std::u16string prefix = Beneath(folded);
  std::vector<std::u16string> names;
  for (auto at = printer.keys.lower_bound(prefix); at != printer.keys.end() && at->first.starts_with(prefix); ++at) {
    if (at->first.find(u'\\', prefix.size()) == at->first.npos) names.push_back(at->second.name);
  }
  return names;
}

// Removes the key with all that lies beneath it; false when it is missing.
bool EraseKey(Printer& printer, const std::u16string& folded) {
  const std::u16string prefix = Beneath(folded);
  const bool known = folded.empty() || printer.keys.contains(folded);
  std::erase_if(printer.keys, [&](const auto& key) { return key.first == folded || key.first.starts_with(prefix); });
  return known;
}

// The names one after another, each terminated, then an empty one.
Bytes NameList(std::span<const std::u16string> names) {
  std::u16string list;
  for (const auto& name : names) list.append(name).push_back(u'\0');
  list.push_back(u'\0');
  const auto bytes = std::as_bytes(std::span(list));
  return Bytes(bytes.begin(), bytes.end());
}

DWORD ReadValue(HANDLE handle, std::u16string key, std::u16string value, DWORD* type, BYTE* data, DWORD size,
                DWORD* needed) {
  std::lock_guard lock(StateMutex());
  const Printer* printer = OpenedPrinter(handle);
  if (!printer) return ERROR_INVALID_HANDLE;
  if (!needed) return ERROR_INVALID_PARAMETER;
  const Value* found = FindValue(*printer, std::move(key), std::move(value));
  if (!found) return ERROR_FILE_NOT_FOUND;
  if (type) *type = found->type;
  *needed = static_cast<DWORD>(found->bytes.size());
  if (!data || size < found->bytes.size()) return ERROR_MORE_DATA;
  std::copy(found->bytes.begin(), found->bytes.end(), reinterpret_cast<std::byte*>(data));
  return ERROR_SUCCESS;
}

DWORD WriteValue(HANDLE handle, const std::u16string& key, std::u16string value, DWORD type, const BYTE* data,
                 DWORD size) {
  std::lock_guard lock(StateMutex());
  Printer* printer = OpenedPrinter(handle);
  if (!printer) return ERROR_INVALID_HANDLE;
  if (!data && size > 0) return ERROR_INVALID_PARAMETER;
  if (!MayWrite(handle)) return ERROR_ACCESS_DENIED;
  StoreValue(*printer, key, std::move(value), type, std::as_bytes(std::span(data, size)));
  return ERROR_SUCCESS;
}

}  // namespace

void SetData(std::string_view printer, std::string_view key, std::string_view value, DWORD type,
             std::span<const std::byte> bytes) {
  std::lock_guard lock(StateMutex());
  StoreValue(NamedPrinter(printer), ValueKey(key), Widen(value), type, bytes);
}

void SetDataText(std::string_view printer, std::string_view key, std::string_view value, std::string_view text,
                 bool terminated) {
  const std::string stored(text);
  SetData(printer, key, value, REG_SZ, std::as_bytes(std::span(stored.c_str(), stored.size() + (terminated ? 1 : 0))));
}

void SetDataDword(std::string_view printer, std::string_view key, std::string_view value, DWORD number) {
  SetData(printer, key, value, REG_DWORD, std::as_bytes(std::span(&number, 1)));
}

std::optional<Data> GetData(std::string_view printer, std::string_view key, std::string_view value) {
  std::lock_guard lock(StateMutex());
  const Value* found = FindValue(NamedPrinter(printer), ValueKey(key), Widen(value));
  if (!found) return std::nullopt;
  return Data{found->type, found->bytes};
}

void RemoveKey(std::string_view printer, std::string_view key) {
  std::lock_guard lock(StateMutex());
  EraseKey(NamedPrinter(printer), Folded(Widen(key)));
}

void RemoveData(std::string_view printer, std::string_view key, std::string_view value) {
  std::lock_guard lock(StateMutex());
  const auto found = NamedPrinter(printer).keys.find(Folded(ValueKey(key)));
  if (found != NamedPrinter(printer).keys.end()) found->second.values.erase(Folded(Widen(value)));
}

void SetKeyListBytes(std::string_view printer, std::string_view key, std::span<const std::byte> bytes) {
  std::lock_guard lock(StateMutex());
  NamedPrinter(printer).key_lists.insert_or_assign(Folded(Widen(key)), Bytes(bytes.begin(), bytes.end()));
}

}  // namespace platform

using platform::Call;
using platform::CallScope;

extern "C" {

DWORD WINAPI GetPrinterDataW(HANDLE printer, LPWSTR value, LPDWORD type, LPBYTE data, DWORD size, LPDWORD needed) {
  CallScope call(Call::kGetPrinterDataW);
  if (call.failed()) return call.code();
  return platform::ReadValue(printer, std::u16string(platform::kDefaultKey), std::u16string(platform::View(value)),
                             type, data, size, needed);
}

DWORD WINAPI SetPrinterDataW(HANDLE printer, LPWSTR value, DWORD type, LPBYTE data, DWORD size) {
  CallScope call(Call::kSetPrinterDataW);
  if (call.failed()) return call.code();
  return platform::WriteValue(printer, std::u16string(platform::kDefaultKey), std::u16string(platform::View(value)),
                              type, data, size);
}

DWORD WINAPI GetPrinterDataExA(HANDLE printer, LPCSTR key, LPCSTR value, LPDWORD type, LPBYTE data, DWORD size,
                               LPDWORD needed) {
  CallScope call(Call::kGetPrinterDataExA);
  if (call.failed()) return call.code();
  if (!key || !value) return ERROR_INVALID_PARAMETER;
  return platform::ReadValue(printer, platform::Widen(key), platform::Widen(value), type, data, size, needed);
}

DWORD WINAPI SetPrinterDataExA(HANDLE printer, LPCSTR key, LPCSTR value, DWORD type, LPBYTE data, DWORD size) {
  CallScope call(Call::kSetPrinterDataExA);
  if (call.failed()) return call.code();
  if (!key || !*key || !value) return ERROR_INVALID_PARAMETER;
  return platform::WriteValue(printer, platform::Widen(key), platform::Widen(value), type, data, size);
}

DWORD WINAPI EnumPrinterKeyW(HANDLE handle, const WCHAR* key, WCHAR* names, DWORD size, DWORD* needed) {
  CallScope call(Call::kEnumPrinterKeyW);
  if (call.failed()) return call.code();
  if (!key || !needed) return ERROR_INVALID_PARAMETER;
  std::lock_guard lock(platform::StateMutex());
  const platform::Printer* printer = platform::OpenedPrinter(handle);
  if (!printer) return ERROR_INVALID_HANDLE;
  const std::u16string folded = platform::Folded(std::u16string(platform::View(key)));
  const auto forced = printer->key_lists.find(folded);
  if (forced == printer->key_lists.end() && !folded.empty() && !printer->keys.contains(folded)) {
    return ERROR_FILE_NOT_FOUND;
  }
  const platform::Bytes list =
      forced == printer->key_lists.end() ? platform::NameList(platform::SubkeyNames(*printer, folded)) : forced->second;
  *needed = static_cast<DWORD>(list.size());
  if (!names || size < list.size()) return ERROR_MORE_DATA;
  std::copy(list.begin(), list.end(), reinterpret_cast<std::byte*>(names));
  return ERROR_SUCCESS;
}

DWORD WINAPI DeletePrinterKeyW(HANDLE handle, LPCWSTR key) {
  CallScope call(Call::kDeletePrinterKeyW);
  if (call.failed()) return call.code();
  if (!key) return ERROR_INVALID_PARAMETER;
  std::lock_guard lock(platform::StateMutex());
  platform::Printer* printer = platform::OpenedPrinter(handle);
  if (!printer) return ERROR_INVALID_HANDLE;
  if (!platform::MayWrite(handle)) return ERROR_ACCESS_DENIED;
  const std::u16string folded = platform::Folded(std::u16string(platform::View(key)));
  return platform::EraseKey(*printer, folded) ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
}

}  // extern "C"
