// Printer data: keys beneath a printer and the values in them.
#include "native/printers.h"

#include <algorithm>

namespace platform {
namespace {

// Where the calls that name no key keep their values.
constexpr std::string_view kDefaultKey = "PrinterDriverData";

std::string_view ValueKey(std::string_view key) {
  return key.empty() ? kDefaultKey : key;
}

// Makes the key and every parent that is missing.
Key& ObtainKey(Printer& printer, std::string_view path) {
  const FoldedName folded(path);
  if (const auto known = printer.keys.find(folded.view()); known != printer.keys.end()) return known->second;
  const std::size_t parent_end = path.rfind('\\');
  if (parent_end != path.npos) ObtainKey(printer, path.substr(0, parent_end));
  Key& key = printer.keys[folded.text()];
  key.name = Widen(path.substr(parent_end == path.npos ? 0 : parent_end + 1));
  return key;
}

template <typename Text>
const Value* FindValue(const Printer& printer, std::string_view key, Text value) {
  const auto found_key = printer.keys.find(FoldedName(key).view());
  if (found_key == printer.keys.end()) return nullptr;
  const auto found = found_key->second.values.find(FoldedName(value).view());
  return found == found_key->second.values.end() ? nullptr : &found->second;
}

template <typename Text>
void StoreValue(Printer& printer, std::string_view key, Text value, DWORD type, std::span<const std::byte> bytes) {
  ObtainKey(printer, key)
      .values.insert_or_assign(FoldedName(value).text(), Value{type, Bytes(bytes.begin(), bytes.end())});
}

// What all paths beneath this one begin with; the path "" is the root.
std::u16string Beneath(std::u16string_view folded) {
  std::u16string prefix(folded);
  if (!prefix.empty()) prefix.push_back(u'\\');
  return prefix;
}

// The names of the keys right beneath one, each terminated, then an empty one.
std::u16string SubkeyNames(const Printer& printer, std::u16string_view folded) {
  const std::u16string prefix = Beneath(folded);
  std::u16string names;
  for (auto at = printer.keys.lower_bound(prefix); at != printer.keys.end() && at->first.starts_with(prefix); ++at) {
    if (at->first.find(u'\\', prefix.size()) != at->first.npos) continue;
    names.append(at->second.name).push_back(u'\0');
  }
  names.push_back(u'\0');
  return names;
}

// Removes the key with all that lies beneath it; false when it is missing.
bool EraseKey(Printer& printer, std::u16string_view folded) {
  const std::u16string prefix = Beneath(folded);
  const bool known = folded.empty() || printer.keys.find(folded) != printer.keys.end();
  std::erase_if(printer.keys, [&](const auto& key) { return key.first == folded || key.first.starts_with(prefix); });
  return known;
}

template <typename Text>
DWORD ReadValue(HANDLE handle, std::string_view key, Text value, DWORD* type, BYTE* data, DWORD size, DWORD* needed) {
  std::lock_guard lock(StateMutex());
  const Printer* printer = OpenedPrinter(handle);
  if (!printer) return ERROR_INVALID_HANDLE;
  if (!needed) return ERROR_INVALID_PARAMETER;
  const Value* found = FindValue(*printer, key, value);
  if (!found) return ERROR_FILE_NOT_FOUND;
  if (type) *type = found->type;
  *needed = static_cast<DWORD>(found->bytes.size());
  if (!data || size < found->bytes.size()) return ERROR_MORE_DATA;
  std::copy(found->bytes.begin(), found->bytes.end(), reinterpret_cast<std::byte*>(data));
  return ERROR_SUCCESS;
}

template <typename Text>
DWORD WriteValue(HANDLE handle, std::string_view key, Text value, DWORD type, const BYTE* data, DWORD size) {
  std::lock_guard lock(StateMutex());
  Printer* printer = OpenedPrinter(handle);
  if (!printer) return ERROR_INVALID_HANDLE;
  if (!data && size > 0) return ERROR_INVALID_PARAMETER;
  if (!MayWrite(handle)) return ERROR_ACCESS_DENIED;
  StoreValue(*printer, key, value, type, std::as_bytes(std::span(data, size)));
  return ERROR_SUCCESS;
}

}  // namespace

void SetData(std::string_view printer, std::string_view key, std::string_view value, DWORD type,
             std::span<const std::byte> bytes) {
  std::lock_guard lock(StateMutex());
  StoreValue(NamedPrinter(printer), ValueKey(key), value, type, bytes);
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
  const Value* found = FindValue(NamedPrinter(printer), ValueKey(key), value);
  if (!found) return std::nullopt;
  return Data{found->type, found->bytes};
}

void RemoveKey(std::string_view printer, std::string_view key) {
  std::lock_guard lock(StateMutex());
  EraseKey(NamedPrinter(printer), FoldedName(key).view());
}

void RemoveData(std::string_view printer, std::string_view key, std::string_view value) {
  std::lock_guard lock(StateMutex());
  const auto found = NamedPrinter(printer).keys.find(FoldedName(ValueKey(key)).view());
  if (found != NamedPrinter(printer).keys.end()) found->second.values.erase(FoldedName(value).text());
}

void SetKeyListBytes(std::string_view printer, std::string_view key, std::span<const std::byte> bytes) {
  std::lock_guard lock(StateMutex());
  NamedPrinter(printer).key_lists.insert_or_assign(FoldedName(key).text(), Bytes(bytes.begin(), bytes.end()));
}

}  // namespace platform

using platform::Call;
using platform::CallScope;

extern "C" {

DWORD WINAPI GetPrinterDataW(HANDLE printer, LPWSTR value, LPDWORD type, LPBYTE data, DWORD size, LPDWORD needed) {
  CallScope call(Call::kGetPrinterDataW);
  if (call.failed()) return call.code();
  return platform::ReadValue(printer, platform::kDefaultKey, platform::View(value), type, data, size, needed);
}

DWORD WINAPI SetPrinterDataW(HANDLE printer, LPWSTR value, DWORD type, LPBYTE data, DWORD size) {
  CallScope call(Call::kSetPrinterDataW);
  if (call.failed()) return call.code();
  return platform::WriteValue(printer, platform::kDefaultKey, platform::View(value), type, data, size);
}

DWORD WINAPI GetPrinterDataExA(HANDLE printer, LPCSTR key, LPCSTR value, LPDWORD type, LPBYTE data, DWORD size,
                               LPDWORD needed) {
  CallScope call(Call::kGetPrinterDataExA);
  if (call.failed()) return call.code();
  if (!key || !value) return ERROR_INVALID_PARAMETER;
  return platform::ReadValue(printer, key, std::string_view(value), type, data, size, needed);
}

DWORD WINAPI SetPrinterDataExA(HANDLE printer, LPCSTR key, LPCSTR value, DWORD type, LPBYTE data, DWORD size) {
  CallScope call(Call::kSetPrinterDataExA);
  if (call.failed()) return call.code();
  if (!key || !*key || !value) return ERROR_INVALID_PARAMETER;
  return platform::WriteValue(printer, key, std::string_view(value), type, data, size);
}

DWORD WINAPI EnumPrinterKeyW(HANDLE handle, const WCHAR* key, WCHAR* names, DWORD size, DWORD* needed) {
  CallScope call(Call::kEnumPrinterKeyW);
  if (call.failed()) return call.code();
  if (!key || !needed) return ERROR_INVALID_PARAMETER;
  std::lock_guard lock(platform::StateMutex());
  const platform::Printer* printer = platform::OpenedPrinter(handle);
  if (!printer) return ERROR_INVALID_HANDLE;
  const platform::FoldedName name(platform::View(key));
  const auto folded = name.view();
  const auto forced = printer->key_lists.find(folded);
  const bool is_forced = forced != printer->key_lists.end();
  if (!is_forced && !folded.empty() && printer->keys.find(folded) == printer->keys.end()) return ERROR_FILE_NOT_FOUND;
  const std::u16string found = is_forced ? std::u16string() : platform::SubkeyNames(*printer, folded);
  const auto list = is_forced ? std::span(forced->second) : std::as_bytes(std::span(found));
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
  return platform::EraseKey(*printer, platform::FoldedName(platform::View(key)).view()) ? ERROR_SUCCESS
                                                                                        : ERROR_FILE_NOT_FOUND;
}

}  // extern "C"
