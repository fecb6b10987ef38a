#include "user/printer_calls.h"

#include <winspool.h>

namespace user {
namespace {

platform::SheetOutcome Show(platform::SheetEntry entry, void* header, const SheetWork& work) {
  platform::SheetRequest request;
  request.entry = entry;
  request.header = header;
  request.work = work;
  return platform::ShowSheet(request);
}

}  // namespace

platform::SheetOutcome ShowPreferences(platform::InstalledPrinter& installed, r5lqz::DriverDevMode& before,
                                       r5lqz::DriverDevMode& after, const SheetWork& work) {
  after = before;
  DOCUMENTPROPERTYHEADER header{};
  header.cbSize = sizeof header;
  header.hPrinter = installed.printer;
  header.pszPrinterName = installed.printer_name.data();
  header.pdmIn = &before.dm_public;
  header.pdmOut = &after.dm_public;
  header.fMode = DM_IN_BUFFER | DM_IN_PROMPT | DM_OUT_BUFFER;
  return Show(installed.entries.DocumentPropertySheets, &header, work);
}

platform::SheetOutcome ShowProperties(platform::InstalledPrinter& installed, const SheetWork& work) {
  DEVICEPROPERTYHEADER header{};
  header.cbSize = sizeof header;
  header.hPrinter = installed.printer;
  header.pszPrinterName = installed.printer_name.data();
  return Show(installed.entries.DevicePropertySheets, &header, work);
}

int ReadBufferOption(HANDLE printer) {
  DWORD value = 0;
  DWORD type = REG_NONE;
  DWORD needed = 0;
  const DWORD code = GetPrinterDataW(printer, const_cast<wchar_t*>(L"bufferPrintJob"), &type,
                                     reinterpret_cast<BYTE*>(&value), sizeof value, &needed);
  return code == ERROR_SUCCESS && type == REG_DWORD ? static_cast<int>(value) : -1;
}

bool StartDocument(platform::InstalledPrinter& installed) {
  return installed.entries.DocumentEvent(installed.printer, nullptr, DOCUMENTEVENT_STARTDOCPRE, 0, nullptr, 0,
                                         nullptr) == DOCUMENTEVENT_SUCCESS;
}

bool AcceptsPaper(platform::InstalledPrinter& installed, DEVMODEW& settings) {
  DEVQUERYPRINT_INFO query{};
  query.cbSize = sizeof query;
  query.Level = 1;
  query.hPrinter = installed.printer;
  query.pDevMode = &settings;
  return installed.entries.QueryPrintEx(&query);
}

}  // namespace user
