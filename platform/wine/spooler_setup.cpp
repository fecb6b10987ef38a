#include "spooler_setup.h"

#include <winspool.h>

#include <cstddef>
#include <fstream>
#include <iterator>

#include "printer_keys.h"

namespace platform {
namespace {

constexpr wchar_t kTurnName[] = L"R5LQZ spooler set-up";
constexpr DWORD kTurnWait = 120000;  // milliseconds
constexpr wchar_t kEnvironment[] = L"Windows x64";
constexpr wchar_t kLoadedFolder[] = L"\\3";  // where drivers of this version are loaded from

wchar_t* Writable(const std::wstring& text) {
  return const_cast<wchar_t*>(text.c_str());
}

StepResult Failed(const char* call) {
  return {call, GetLastError()};
}

std::wstring FileNameOf(const std::wstring& path) {
  const auto slash = path.find_last_of(L"\\/");
  return slash == std::wstring::npos ? path : path.substr(slash + 1);
}

StepResult TakeTurn(InstalledPrinter& installed) {
  installed.turn = CreateMutexW(nullptr, FALSE, kTurnName);
  if (!installed.turn) return Failed("CreateMutexW");
  const DWORD waited = WaitForSingleObject(installed.turn, kTurnWait);
  // A turn left behind by a program that died is ours as well.
  if (waited == WAIT_OBJECT_0 || waited == WAIT_ABANDONED) return {};
  CloseHandle(installed.turn);
  installed.turn = nullptr;
  return {"WaitForSingleObject", waited};
}

StepResult FindDriverDirectory(std::wstring& directory) {
  DWORD size = 0;
  GetPrinterDriverDirectoryW(nullptr, nullptr, 1, nullptr, 0, &size);
  directory.assign(size / sizeof(wchar_t) + 1, L'\0');
  if (!GetPrinterDriverDirectoryW(nullptr, nullptr, 1, reinterpret_cast<BYTE*>(directory.data()), size, &size)) {
    return Failed("GetPrinterDriverDirectoryW");
  }
  directory.resize(wcslen(directory.c_str()));
  return {};
}

bool SameContent(const std::wstring& one, const std::wstring& other) {
  const auto read = [](const std::wstring& path) {
    std::basic_ifstream<char> file(path.c_str(), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  };
  const std::string content = read(one);
  return !content.empty() && content == read(other);
}

StepResult RegisterDriver(const PrinterRequest& request, InstalledPrinter& installed) {
  std::wstring directory;
  if (const auto found = FindDriverDirectory(directory); !found.Held()) return found;
  const std::wstring file = FileNameOf(request.module_path);
  installed.staged_path = directory + L"\\" + file;
  installed.loaded_path = directory + kLoadedFolder + L"\\" + file;
  if (!CopyFileW(request.module_path.c_str(), installed.staged_path.c_str(), FALSE)) return Failed("CopyFileW");

  // A driver has a rendering half and a data file of its own; this spooler asks for their names and uses neither, so
  // the module stands in for both.
  DRIVER_INFO_3W driver{};
  driver.cVersion = 3;
  driver.pName = Writable(request.driver_name);
  driver.pEnvironment = const_cast<wchar_t*>(kEnvironment);
  driver.pDriverPath = driver.pDataFile = driver.pConfigFile = Writable(file);
  if (!AddPrinterDriverExW(nullptr, 3, reinterpret_cast<BYTE*>(&driver), APD_COPY_ALL_FILES)) {
    return Failed("AddPrinterDriverExW");
  }
  installed.driver_registered = true;
  // The call reports success even when it could not copy, which would leave an older module in place.
  if (!SameContent(request.module_path, installed.loaded_path)) return {"AddPrinterDriverExW", ERROR_FILE_INVALID};
  return {};
}

StepResult LoadDriver(InstalledPrinter& installed) {
  installed.module = LoadLibraryW(installed.loaded_path.c_str());
  if (!installed.module) return Failed("LoadLibraryW");
  if (const char* missing = FindDriverEntries(installed.module, installed.entries))
    return {missing, ERROR_PROC_NOT_FOUND};
  return {};
}

// A platform with key operations of its own keeps them; one that lacks the first lacks both.
StepResult SupplyKeyOperations(InstalledPrinter& installed) {
  DWORD needed = 0;
  if (EnumPrinterKeyW(nullptr, L"", nullptr, 0, &needed) != ERROR_CALL_NOT_IMPLEMENTED) return {};
  const auto supply = [&](const char* name, const void* function) {
    installed.patches.push_back(ReplaceImport(installed.module, "winspool.drv", name, function));
    return static_cast<bool>(installed.patches.back());
  };
  if (!supply("EnumPrinterKeyW", reinterpret_cast<const void*>(&RegistryEnumPrinterKey)) ||
      !supply("DeletePrinterKeyW", reinterpret_cast<const void*>(&RegistryDeletePrinterKey))) {
    return {"ReplaceImport", ERROR_PROC_NOT_FOUND};
  }
  return {};
}

StepResult AddPrinterOf(const PrinterRequest& request, InstalledPrinter& installed) {
  PRINTER_INFO_2W info{};
  info.pPrinterName = Writable(request.printer_name);
  info.pDriverName = Writable(request.driver_name);
  info.pPortName = const_cast<wchar_t*>(L"FILE:");
  info.pPrintProcessor = const_cast<wchar_t*>(L"winprint");
  info.pDatatype = const_cast<wchar_t*>(L"RAW");
  const HANDLE added = AddPrinterW(nullptr, 2, reinterpret_cast<BYTE*>(&info));
  if (!added) return Failed("AddPrinterW");
  installed.printer_added = true;
  ClosePrinter(added);
  return {};
}

StepResult OpenAddedPrinter(InstalledPrinter& installed) {
  PRINTER_DEFAULTSW full{nullptr, nullptr, PRINTER_ALL_ACCESS};
  if (OpenPrinterW(Writable(installed.printer_name), &installed.printer, &full)) return {};
  installed.printer = nullptr;
  return Failed("OpenPrinterW");
}

StepResult SendPrinterEvent(InstalledPrinter& installed, int event) {
  if (installed.entries.PrinterEvent(Writable(installed.printer_name), event, PRINTER_EVENT_FLAG_NO_UI, 0)) return {};
  return Failed("DrvPrinterEvent");
}

// The installation's event came from the spooler itself; of a removal it tells nobody.
StepResult SendDriverRemoval(InstalledPrinter& installed) {
  DRIVER_INFO_1W driver{Writable(installed.driver_name)};
  if (installed.entries.DriverEvent(DRIVER_EVENT_DELETE, 1, reinterpret_cast<BYTE*>(&driver), 0)) return {};
  return Failed("DrvDriverEvent");
}

// Of the failures of a removal, which goes on after each, the first is told.
void Note(StepResult& first, const StepResult& result) {
  if (first.Held()) first = result;
}

void DeleteAddedPrinter(InstalledPrinter& installed, StepResult& first) {
  if (installed.printer_added && installed.printer) {
    Note(first, SendPrinterEvent(installed, PRINTER_EVENT_DELETE));
    if (!DeletePrinter(installed.printer)) Note(first, Failed("DeletePrinter"));
  }
  installed.printer_added = false;
  if (installed.printer && !ClosePrinter(installed.printer)) Note(first, Failed("ClosePrinter"));
  installed.printer = nullptr;
}

void UnloadDriver(InstalledPrinter& installed, StepResult& first) {
  if (installed.entries.DriverEvent) Note(first, SendDriverRemoval(installed));
  while (!installed.patches.empty()) installed.patches.pop_back();
  installed.entries = {};
  if (installed.module) FreeLibrary(installed.module);
  installed.module = nullptr;
}

void UnregisterDriver(InstalledPrinter& installed, StepResult& first) {
  if (installed.driver_registered) {
    auto* environment = const_cast<wchar_t*>(kEnvironment);
    if (!DeletePrinterDriverExW(nullptr, environment, Writable(installed.driver_name), 0, 0)) {
      Note(first, Failed("DeletePrinterDriverExW"));
    }
    installed.driver_registered = false;
  }
  if (!installed.staged_path.empty() && !DeleteFileW(installed.staged_path.c_str()) &&
      GetLastError() != ERROR_FILE_NOT_FOUND) {
    Note(first, Failed("DeleteFileW"));
  }
  installed.staged_path.clear();
}

}  // namespace

void RemoveRemains(const PrinterRequest& request) {
  PRINTER_DEFAULTSW full{nullptr, nullptr, PRINTER_ALL_ACCESS};
  HANDLE printer = nullptr;
  if (OpenPrinterW(Writable(request.printer_name), &printer, &full)) {
    DeletePrinter(printer);
    ClosePrinter(printer);
  }
  DeletePrinterDriverExW(nullptr, const_cast<wchar_t*>(kEnvironment), Writable(request.driver_name), 0, 0);
}

InstalledPrinter::~InstalledPrinter() {
  RemovePrinter(*this);
}

StepResult InstallPrinter(const PrinterRequest& request, InstalledPrinter& installed) {
  installed.driver_name = request.driver_name;
  installed.printer_name = request.printer_name;

  const struct {
    const char* what;
    std::function<StepResult()> run;
  } steps[] = {
      {"wait for the spooler to be free", [&] { return TakeTurn(installed); }},
      {"register the driver", [&] { return RemoveRemains(request), RegisterDriver(request, installed); }},
      {"load the driver from the spooler's folder", [&] { return LoadDriver(installed); }},
      {"supply the key operations that the platform lacks", [&] { return SupplyKeyOperations(installed); }},
      {"add the printer", [&] { return AddPrinterOf(request, installed); }},
      {"open the printer", [&] { return OpenAddedPrinter(installed); }},
      {"deliver the printer's creation event", [&] { return SendPrinterEvent(installed, PRINTER_EVENT_INITIALIZE); }},
  };
  for (const auto& step : steps) {
    if (request.progress) request.progress(step.what);
    if (const auto result = step.run(); !result.Held()) return result;
  }
  return {};
}

StepResult RemovePrinter(InstalledPrinter& installed) {
  StepResult first;
  DeleteAddedPrinter(installed, first);
  UnloadDriver(installed, first);
  UnregisterDriver(installed, first);
  if (installed.turn) {
    ReleaseMutex(installed.turn);
    CloseHandle(installed.turn);
    installed.turn = nullptr;
  }
  return first;
}

}  // namespace platform
