#include "label_stock.h"

#include <winspool.h>

#include <cstdio>
#include <cstring>

#include "printer_keys.h"

namespace platform {
namespace {

constexpr DWORD kLargestValue = 256;

std::string TextOf(HANDLE printer, const std::string& key, const char* name) {
  char text[kLargestValue + 1]{};
  DWORD type = REG_NONE;
  DWORD size = 0;
  const DWORD code =
      GetPrinterDataExA(printer, key.c_str(), name, &type, reinterpret_cast<BYTE*>(text), kLargestValue, &size);
  return code == ERROR_SUCCESS && type == REG_SZ ? text : "";
}

DWORD NumberOf(HANDLE printer, const std::string& key, const char* name) {
  DWORD number = 0;
  DWORD type = REG_NONE;
  DWORD size = 0;
  const DWORD code =
      GetPrinterDataExA(printer, key.c_str(), name, &type, reinterpret_cast<BYTE*>(&number), sizeof number, &size);
  return code == ERROR_SUCCESS && type == REG_DWORD ? number : 0;
}

}  // namespace

DWORD StoreLabelStock(HANDLE printer, const LabelStock& stock) {
  char key[32];
  snprintf(key, sizeof key, "Label Sizes\\%d", stock.number);

  const auto number = [&](const char* name, DWORD value) {
    return SetPrinterDataExA(printer, key, name, REG_DWORD, reinterpret_cast<BYTE*>(&value), sizeof value);
  };
  const auto text = [&](const char* name, const char* value) {
    auto* bytes = reinterpret_cast<BYTE*>(const_cast<char*>(value));
    return SetPrinterDataExA(printer, key, name, REG_SZ, bytes, static_cast<DWORD>(strlen(value) + 1));
  };

  DWORD code = number("version", stock.version);
  if (!code) code = text("name", stock.name);
  if (!code) code = text("width", stock.width);
  if (!code) code = text("length", stock.length);
  if (!code) code = text("vertOffset", stock.vertical_offset);
  if (!code) code = text("horzOffset", stock.horizontal_offset);
  if (!code) code = number("units", stock.units);
  return code;
}

std::vector<StoredStock> ReadLabelStocks(HANDLE printer) {
  DWORD size = 0;
  RegistryEnumPrinterKey(printer, L"Label Sizes", nullptr, 0, &size);
  std::wstring names(size / sizeof(wchar_t) + 1, L'\0');
  if (RegistryEnumPrinterKey(printer, L"Label Sizes", names.data(), size, &size)) return {};
  std::vector<StoredStock> stocks;
  for (const wchar_t* name = names.c_str(); *name; name += wcslen(name) + 1) {
    const std::string key = "Label Sizes\\" + std::string(name, name + wcslen(name));
    const auto text = [&](const char* value) { return TextOf(printer, key, value); };
    stocks.push_back({key, text("name"), text("width"), text("length"), text("vertOffset"), text("horzOffset"),
                      NumberOf(printer, key, "units")});
  }
  return stocks;
}

DWORD RemoveLabelStocks(HANDLE printer) {
  const DWORD code = RegistryDeletePrinterKey(printer, L"Label Sizes");
  return code == ERROR_FILE_NOT_FOUND ? DWORD{ERROR_SUCCESS} : code;
}

}  // namespace platform
