#include "label_stock.h"

#include <winspool.h>

#include <cstdio>
#include <cstring>

#include "printer_keys.h"

namespace platform {

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

DWORD RemoveLabelStocks(HANDLE printer) {
  const DWORD code = RegistryDeletePrinterKey(printer, L"Label Sizes");
  return code == ERROR_FILE_NOT_FOUND ? DWORD{ERROR_SUCCESS} : code;
}

}  // namespace platform
