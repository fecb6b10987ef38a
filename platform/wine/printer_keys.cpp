#include "printer_keys.h"

#include <winspool.h>

#include <cstring>
#include <memory>
#include <new>

namespace platform {
namespace {

constexpr wchar_t kPrintersKey[] = L"System\\CurrentControlSet\\Control\\Print\\Printers";
// The registry's own limit of a key name, with its terminator.
constexpr DWORD kNameCapacity = 256;

struct KeyCloser {
  void operator()(HKEY key) const { RegCloseKey(key); }
};
using OwnedKey = std::unique_ptr<HKEY__, KeyCloser>;
using Block = std::unique_ptr<BYTE[]>;

DWORD OpenKey(HKEY parent, LPCWSTR name, OwnedKey& key) {
  HKEY opened = nullptr;
  const LSTATUS code = RegOpenKeyExW(parent, name, 0, KEY_READ | KEY_WRITE | DELETE, &opened);
  if (code == ERROR_SUCCESS) key.reset(opened);
  return static_cast<DWORD>(code);
}

// The printer's top key, found by the name that the spooler gives for the handle.
DWORD OpenPrinterTop(HANDLE printer, OwnedKey& top) {
  DWORD size = 0;
  if (GetPrinterW(printer, 2, nullptr, 0, &size) || GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
    return ERROR_INVALID_HANDLE;
  }
  const Block block(new (std::nothrow) BYTE[size]);
  if (!block) return ERROR_NOT_ENOUGH_MEMORY;
  if (!GetPrinterW(printer, 2, block.get(), size, &size)) return GetLastError();

  OwnedKey printers;
  if (const DWORD code = OpenKey(HKEY_LOCAL_MACHINE, kPrintersKey, printers)) return code;
  return OpenKey(printers.get(), reinterpret_cast<const PRINTER_INFO_2W*>(block.get())->pPrinterName, top);
}

// Adds up the list of subkey names in bytes, its closing empty name included, and writes the list where `names` is
// given. A list that has grown past `size` since it was measured is not written on.
DWORD ListSubkeys(HKEY key, LPWSTR names, DWORD size, DWORD& total) {
  const DWORD closing = sizeof(wchar_t);
  total = 0;
  for (DWORD index = 0;; ++index) {
    wchar_t name[kNameCapacity];
    DWORD length = kNameCapacity;
    const LSTATUS code = RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr);
    if (code == ERROR_NO_MORE_ITEMS) break;
    if (code != ERROR_SUCCESS) return static_cast<DWORD>(code);
    const DWORD bytes = (length + 1) * sizeof(wchar_t);
    if (names && total + bytes + closing <= size) memcpy(names + total / sizeof(wchar_t), name, bytes);
    total += bytes;
  }
  if (names && total + closing <= size) names[total / sizeof(wchar_t)] = L'\0';
  total += closing;
  return ERROR_SUCCESS;
}

}  // namespace

DWORD WINAPI RegistryEnumPrinterKey(HANDLE printer, LPCWSTR key, LPWSTR names, DWORD size, LPDWORD needed) {
  if (!key || !needed) return ERROR_INVALID_PARAMETER;
  OwnedKey top;
  OwnedKey parent;
  if (const DWORD code = OpenPrinterTop(printer, top)) return code;
  if (const DWORD code = OpenKey(top.get(), key, parent)) return code;

  DWORD total = 0;
  if (const DWORD code = ListSubkeys(parent.get(), nullptr, 0, total)) return code;
  if (names && total <= size) {
    if (const DWORD code = ListSubkeys(parent.get(), names, size, total)) return code;
  }
  *needed = total;
  return names && total <= size ? ERROR_SUCCESS : ERROR_MORE_DATA;
}

DWORD WINAPI RegistryDeletePrinterKey(HANDLE printer, LPCWSTR key) {
  if (!key) return ERROR_INVALID_PARAMETER;
  OwnedKey top;
  if (const DWORD code = OpenPrinterTop(printer, top)) return code;
  if (*key) return static_cast<DWORD>(RegDeleteTreeW(top.get(), key));

  // The top itself holds the printer's own settings as values, so only what lies beneath it goes.
  for (;;) {
    wchar_t name[kNameCapacity];
    DWORD length = kNameCapacity;
    LSTATUS code = RegEnumKeyExW(top.get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr);
    if (code == ERROR_NO_MORE_ITEMS) return ERROR_SUCCESS;
    if (code == ERROR_SUCCESS) code = RegDeleteTreeW(top.get(), name);
    if (code != ERROR_SUCCESS) return static_cast<DWORD>(code);
  }
}

}  // namespace platform
