// Printers, handles, printer information, forms.
#include "native/printers.h"

#include <memory>
#include <unordered_map>

namespace platform {
namespace {

struct Opened {
  std::shared_ptr<Printer> printer;
  ACCESS_MASK access = 0;
  bool by_test = false;
};

std::map<std::u16string, std::shared_ptr<Printer>, std::less<>> printers;
std::unordered_map<HANDLE, Opened> opened;

bool AsksFullAccess(ACCESS_MASK access) {
  return (access & PRINTER_ALL_ACCESS) == PRINTER_ALL_ACCESS;
}

HANDLE Open(std::shared_ptr<Printer> printer, ACCESS_MASK access, bool by_test) {
  const HANDLE handle = NewHandle();
  opened.emplace(handle, Opened{std::move(printer), access, by_test});
  return handle;
}

template <typename Text>
std::shared_ptr<Printer> FindPrinter(Text name) {
  const auto found = printers.find(FoldedName(name).view());
  return found == printers.end() ? nullptr : found->second;
}

// The printer information under construction: the fixed part, its texts, then the settings record as the very last
// bytes, so that whoever believes a record that claims to be longer leaves the block.
struct InfoBlock {
  PRINTER_INFO_2W info{};
  BYTE* base;  // where the caller's copy will lie
  Bytes bytes = RoomFor(sizeof(PRINTER_INFO_2W));

  static Bytes RoomFor(std::size_t fixed) {
    Bytes bytes;
    bytes.reserve(2048);
    bytes.resize(fixed);
    return bytes;
  }

  template <typename Pointer>
  Pointer Append(const void* data, std::size_t size, std::size_t alignment) {
    bytes.resize((bytes.size() + alignment - 1) / alignment * alignment);
    const std::size_t at = bytes.size();
    bytes.resize(at + size);
    std::memcpy(bytes.data() + at, data, size);
    return reinterpret_cast<Pointer>(reinterpret_cast<std::uintptr_t>(base) + at);  // base may be null
  }

  LPWSTR Text(std::u16string_view text) {
    const auto at = Append<LPWSTR>(text.data(), text.size() * sizeof(char16_t), sizeof(char16_t));
    bytes.resize(bytes.size() + sizeof(char16_t));
    return at;
  }
};

Bytes PrinterInfo(const Printer& printer, BYTE* base) {
  InfoBlock block{.base = base};
  PRINTER_INFO_2W& info = block.info;
  if (!printer.omits_names) {
    info.pPrinterName = block.Text(printer.name);
    info.pDriverName = block.Text(printer.driver_name);
  }
  info.pShareName = info.pComment = info.pLocation = info.pSepFile = info.pParameters = block.Text(u"");
  info.pPortName = block.Text(u"LPT1:");
  info.pPrintProcessor = block.Text(u"winprint");
  info.pDatatype = block.Text(u"RAW");
  if (!printer.devmode.empty()) {
    info.pDevMode = block.Append<LPDEVMODEW>(printer.devmode.data(), printer.devmode.size(), alignof(void*));
  }
  std::memcpy(block.bytes.data(), &info, sizeof(info));
  return std::move(block.bytes);
}

}  // namespace

Printer& NamedPrinter(std::string_view name) {
  const auto printer = FindPrinter(name);
  if (!printer) ReportMisuse("there is no printer named", name);
  return *printer;
}

Printer* OpenedPrinter(HANDLE handle) {
  const auto found = opened.find(handle);
  return found == opened.end() ? nullptr : found->second.printer.get();
}

bool MayWrite(HANDLE handle) {
  const Opened& open = opened.at(handle);
  return open.printer->writes == Denied::kNobody ||
         (open.printer->writes == Denied::kPlain && AsksFullAccess(open.access));
}

void AddPrinter(std::string_view name, std::string_view driver_name, std::span<const std::byte> devmode) {
  auto printer = std::make_shared<Printer>();
  printer->name = Widen(name);
  printer->driver_name = Widen(driver_name);
  printer->devmode.assign(devmode.begin(), devmode.end());
  std::lock_guard lock(StateMutex());
  printers.insert_or_assign(FoldedName(name).text(), std::move(printer));
}

void SetDevMode(std::string_view printer, std::span<const std::byte> devmode) {
  std::lock_guard lock(StateMutex());
  NamedPrinter(printer).devmode.assign(devmode.begin(), devmode.end());
}

void OmitNames(std::string_view printer) {
  std::lock_guard lock(StateMutex());
  NamedPrinter(printer).omits_names = true;
}

HANDLE OpenTestPrinter(std::string_view printer, ACCESS_MASK access) {
  std::lock_guard lock(StateMutex());
  NamedPrinter(printer);
  return Open(FindPrinter(printer), access, true);
}

void CloseTestPrinter(HANDLE printer) {
  std::lock_guard lock(StateMutex());
  opened.erase(printer);
}

std::vector<Form> Forms(std::string_view printer) {
  std::lock_guard lock(StateMutex());
  return NamedPrinter(printer).forms;
}

void DenyWrites(std::string_view printer, Denied who) {
  std::lock_guard lock(StateMutex());
  NamedPrinter(printer).writes = who;
}

void DenyAccess(std::string_view printer, Denied who) {
  std::lock_guard lock(StateMutex());
  NamedPrinter(printer).access = who;
}

void ResetSpooler() {
  std::lock_guard lock(StateMutex());
  opened.clear();
  printers.clear();
}

void AddSpooler(Balance& balance) {
  std::lock_guard lock(StateMutex());
  for (const auto& open : opened) balance.printers += open.second.by_test ? 0 : 1;
}

}  // namespace platform

using platform::Call;
using platform::CallScope;
using platform::Denied;

extern "C" {

BOOL WINAPI OpenPrinterW(LPWSTR name, HANDLE* handle, LPPRINTER_DEFAULTSW defaults) {
  CallScope call(Call::kOpenPrinterW);
  if (call.failed()) return call.Fail(FALSE);
  if (!handle) return platform::FailWith(ERROR_INVALID_PARAMETER, FALSE);
  std::lock_guard lock(platform::StateMutex());
  auto printer = platform::FindPrinter(platform::View(name));
  if (!printer) return platform::FailWith(ERROR_INVALID_PRINTER_NAME, FALSE);
  const ACCESS_MASK access = defaults ? defaults->DesiredAccess : 0;
  const bool denied =
      printer->access == Denied::kEveryone || (printer->access == Denied::kPlain && platform::IsImpersonating());
  if (defaults && denied) return platform::FailWith(ERROR_ACCESS_DENIED, FALSE);
  *handle = platform::Open(std::move(printer), access, false);
  return TRUE;
}

BOOL WINAPI ClosePrinter(HANDLE handle) {
  CallScope call(Call::kClosePrinter);
  std::lock_guard lock(platform::StateMutex());
  const auto found = platform::opened.find(handle);
  if (found == platform::opened.end() || found->second.by_test) platform::CountBadRelease(handle);
  if (found == platform::opened.end()) return platform::FailWith(ERROR_INVALID_HANDLE, FALSE);
  platform::opened.erase(found);
  return call.failed() ? call.Fail(FALSE) : TRUE;
}

BOOL WINAPI GetPrinterW(HANDLE handle, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed) {
  CallScope call(Call::kGetPrinterW);
  if (call.failed()) return call.Fail(FALSE);
  std::lock_guard lock(platform::StateMutex());
  const platform::Printer* printer = platform::OpenedPrinter(handle);
  if (!printer) return platform::FailWith(ERROR_INVALID_HANDLE, FALSE);
  if (level != 2) return platform::FailWith(ERROR_INVALID_LEVEL, FALSE);
  if (!needed) return platform::FailWith(ERROR_INVALID_PARAMETER, FALSE);
  const platform::Bytes info = platform::PrinterInfo(*printer, buffer);
  *needed = static_cast<DWORD>(info.size());
  if (!buffer || size < info.size()) return platform::FailWith(ERROR_INSUFFICIENT_BUFFER, FALSE);
  std::memcpy(buffer, info.data(), info.size());
  return TRUE;
}

BOOL WINAPI AddFormW(HANDLE handle, DWORD level, LPBYTE form) {
  CallScope call(Call::kAddFormW);
  if (call.failed()) return call.Fail(FALSE);
  std::lock_guard lock(platform::StateMutex());
  platform::Printer* printer = platform::OpenedPrinter(handle);
  if (!printer) return platform::FailWith(ERROR_INVALID_HANDLE, FALSE);
  if (level != 1) return platform::FailWith(ERROR_INVALID_LEVEL, FALSE);
  const auto* info = reinterpret_cast<const FORM_INFO_1W*>(form);
  if (!info || !info->pName) return platform::FailWith(ERROR_INVALID_PARAMETER, FALSE);
  if (!platform::MayWrite(handle)) return platform::FailWith(ERROR_ACCESS_DENIED, FALSE);
  platform::Form added{platform::Narrow(platform::View(info->pName)), info->Flags, info->Size, info->ImageableArea};
  for (const auto& known : printer->forms) {
    if (known.name == added.name) return platform::FailWith(ERROR_FILE_EXISTS, FALSE);
  }
  printer->forms.push_back(std::move(added));
  return TRUE;
}

}  // extern "C"
