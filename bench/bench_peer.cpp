// What a printing program waits for, beside the driver that the platform itself brings (wineps.drv), registered as a
// second printer, in one run: loading, capabilities, settings, the preferences sheet until it is painted. The figures
// are medians of alternating runs; a ratio says more than the milliseconds beside it. Run by scripts/bench as:
// bench_peer.exe PATH\r5-lqz-ui.dll PATH\nothing.dll
// bench_peer.exe PATH\r5-lqz-ui.dll
// The spooler looks through the drivers of a process in the order in which they came, which tells in calls that take
// less than a microsecond: in the first form the peer comes first, in the second ours. What is called "alone" does not
// go through it.
#include <windows.h>

#include <commctrl.h>
#include <psapi.h>
#include <winspool.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "common_sheet.h"
#include "user/console.h"
#include "counted_calls.h"
#include "user/sheet_window.h"
#include "spooler_setup.h"

namespace {

using user::Format;

constexpr wchar_t kPeerDriver[] = L"Benchmark PostScript driver";
constexpr wchar_t kPeerPrinter[] = L"Benchmark PostScript printer";
constexpr wchar_t kPpdName[] = L"r5lqz-bench.ppd";
constexpr char kPpd[] =
    "*PPD-Adobe: \"4.3\"\n*FormatVersion: \"4.3\"\n*LanguageVersion: English\n*LanguageEncoding: ISOLatin1\n"
    "*PCFileName: \"BENCH.PPD\"\n*Product: \"(Benchmark)\"\n*PSVersion: \"(3010.000) 0\"\n*ModelName: \"Benchmark\"\n"
    "*ShortNickName: \"Benchmark\"\n*NickName: \"Benchmark\"\n*LanguageLevel: \"3\"\n*ColorDevice: True\n"
    "*OpenUI *PageSize: PickOne\n*DefaultPageSize: A4\n*PageSize A4/A4: \"\"\n*PageSize Letter/Letter: \"\"\n"
    "*CloseUI: *PageSize\n*DefaultImageableArea: A4\n*ImageableArea A4/A4: \"18 18 577 824\"\n"
    "*ImageableArea Letter/Letter: \"18 18 594 774\"\n*DefaultPaperDimension: A4\n*PaperDimension A4/A4: \"595 842\"\n"
    "*PaperDimension Letter/Letter: \"612 792\"\n";

using bench::Microseconds;

template <class Run>
double TimeOf(Run run) {
  const double start = Microseconds();
  run();
  return Microseconds() - start;
}

double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

// The medians of both, which take turns.
std::pair<double, double> Alternate(int runs, const std::function<double()>& ours,
                                    const std::function<double()>& peer) {
  std::vector<double> first;
  std::vector<double> second;
  for (int run = 0; run < runs; ++run) {
    first.push_back(ours());
    second.push_back(peer());
  }
  return {Median(first), Median(second)};
}

user::Row RowOf(const std::string& what, const std::pair<double, double>& medians) {
  return {what, Format("%.2f", medians.first), Format("%.2f", medians.second),
          Format("%.2f", medians.first / medians.second)};
}

int CountModules() {
  HMODULE modules[512];
  DWORD size = 0;
  EnumProcessModules(GetCurrentProcess(), modules, sizeof modules, &size);
  return static_cast<int>(size / sizeof(HMODULE));
}

// A process that has what printing programs have loads the module, and answers by its exit code: tenths of
// microseconds, and in the topmost byte how many modules came.
int MeasureLoading(const wchar_t* path) {
  for (const wchar_t* name : {L"winspool.drv", L"user32.dll", L"gdi32.dll", L"advapi32.dll", L"comctl32.dll"}) {
    LoadLibraryW(name);
  }
  const int before = CountModules();
  HMODULE module = nullptr;
  const double taken = TimeOf([&] { module = LoadLibraryW(path); });
  const int came = CountModules() - before;
  return module ? (came << 24) | std::min(static_cast<int>(taken * 10), 0xFFFFFF) : 0;
}

struct Loading {
  double microseconds = 0;
  int modules = 0;
};

Loading LoadInNewProcess(const std::wstring& path) {
  wchar_t self[MAX_PATH];
  GetModuleFileNameW(nullptr, self, MAX_PATH);
  std::wstring line = L"\"" + std::wstring(self) + L"\" load \"" + path + L"\"";
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  DWORD code = 0;
  if (CreateProcessW(self, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process)) {
    WaitForSingleObject(process.hProcess, INFINITE);
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
  }
  return {(code & 0xFFFFFF) / 10.0, static_cast<int>(code >> 24)};
}

void CompareLoading(const std::wstring& module, const std::wstring& peer, const std::wstring& nothing,
                    user::Report& report) {
  constexpr int kRuns = 31;
  int modules[3]{};
  const auto load = [&](const std::wstring& path, int which) {
    return [&, path, which] {
      const Loading loading = LoadInNewProcess(path);
      modules[which] = loading.modules;
      return loading.microseconds;
    };
  };
  const auto with_nothing = Alternate(kRuns, load(module, 0), load(nothing, 2));
  const auto with_peer = Alternate(kRuns, load(module, 0), load(peer, 1));
  report.Table({"loading, us", "ours", "the other's", "ratio"},
               {RowOf("beside a module of nothing", with_nothing), RowOf("beside the peer", with_peer)});
  report.Table({"modules that come along", "ours", "nothing", "the peer"},
               {{"", Format("%d", modules[0]), Format("%d", modules[2]), Format("%d", modules[1])}});
}

// The peer's driver and printer in the spooler, as long as this lives.
class Peer {
 public:
  Peer() {
    wchar_t directory[MAX_PATH];
    DWORD size = 0;
    GetPrinterDriverDirectoryW(nullptr, nullptr, 1, reinterpret_cast<BYTE*>(directory), sizeof directory, &size);
    path_ = std::wstring(directory) + L"\\3\\wineps.drv";
    ppd_ = std::wstring(directory) + L"\\3\\" + kPpdName;
    std::ofstream(ppd_.c_str(), std::ios::binary) << kPpd;
    wchar_t driver_file[] = L"wineps.drv";
    DRIVER_INFO_3W driver{};
    driver.cVersion = 3;
    driver.pName = const_cast<wchar_t*>(kPeerDriver);
    driver.pEnvironment = const_cast<wchar_t*>(L"Windows x64");
    driver.pDriverPath = driver.pConfigFile = driver_file;
    driver.pDataFile = ppd_.data();
    AddPrinterDriverExW(nullptr, 3, reinterpret_cast<BYTE*>(&driver), APD_COPY_NEW_FILES | APD_COPY_FROM_DIRECTORY);
    PRINTER_INFO_2W info{};
    info.pPrinterName = const_cast<wchar_t*>(kPeerPrinter);
    info.pDriverName = const_cast<wchar_t*>(kPeerDriver);
    info.pPortName = const_cast<wchar_t*>(L"FILE:");
    info.pPrintProcessor = const_cast<wchar_t*>(L"winprint");
    info.pDatatype = const_cast<wchar_t*>(L"RAW");
    if (const HANDLE added = AddPrinterW(nullptr, 2, reinterpret_cast<BYTE*>(&info))) ClosePrinter(added);
    PRINTER_DEFAULTSW full{nullptr, nullptr, PRINTER_ALL_ACCESS};
    if (!OpenPrinterW(const_cast<wchar_t*>(kPeerPrinter), &printer, &full)) printer = nullptr;
    module = LoadLibraryW(path_.c_str());
  }
  ~Peer() {
    if (printer) {
      DeletePrinter(printer);
      ClosePrinter(printer);
    }
    DeletePrinterDriverExW(nullptr, nullptr, const_cast<wchar_t*>(kPeerDriver), 0, 0);
    DeleteFileW(ppd_.c_str());
  }
  const std::wstring& path() const { return path_; }

  HANDLE printer = nullptr;
  HMODULE module = nullptr;

 private:
  std::wstring path_;
  std::wstring ppd_;
};

struct Printer {
  HANDLE handle;
  wchar_t* name;
  // The driver's own functions.
  decltype(&DrvDeviceCapabilities) capabilities;
  decltype(&DrvDocumentPropertySheets) sheets;
};

Printer PrinterOf(HMODULE module, HANDLE handle, const wchar_t* name) {
  const auto find = [&](const char* function) { return reinterpret_cast<void*>(GetProcAddress(module, function)); };
  return {handle, const_cast<wchar_t*>(name),
          reinterpret_cast<decltype(&DrvDeviceCapabilities)>(find("DrvDeviceCapabilities")),
          reinterpret_cast<decltype(&DrvDocumentPropertySheets)>(find("DrvDocumentPropertySheets"))};
}

// How long one call takes, of many.
double Each(int calls, const std::function<void()>& call) {
  return TimeOf([&] {
           for (int i = 0; i < calls; ++i) call();
         }) /
         calls;
}

constexpr int kCallsOfABatch = 20;

double AskCapabilities(const Printer& printer, std::initializer_list<WORD> capabilities) {
  return Each(kCallsOfABatch, [&] {
    for (const WORD capability : capabilities) {
      DeviceCapabilitiesW(printer.name, L"FILE:", capability, nullptr, nullptr);
    }
  });
}

constexpr std::initializer_list<WORD> kFixed{DC_BINS, DC_COPIES, DC_DUPLEX, DC_ORIENTATION, DC_TRUETYPE};

double AskFixedAlone(const Printer& printer) {
  return Each(kCallsOfABatch, [&] {
    for (const WORD capability : kFixed) {
      printer.capabilities(printer.handle, printer.name, capability, nullptr, nullptr);
    }
  });
}

double AskSizeAlone(const Printer& printer) {
  DOCUMENTPROPERTYHEADER header{};
  header.cbSize = sizeof header;
  header.hPrinter = printer.handle;
  header.pszPrinterName = printer.name;
  return Each(kCallsOfABatch, [&] { printer.sheets(nullptr, reinterpret_cast<LPARAM>(&header)); });
}

// 0 when the driver refuses.
double AskSettings(const Printer& printer, DWORD mode) {
  std::vector<BYTE> in(static_cast<std::size_t>(
      std::max(1L, DocumentPropertiesW(nullptr, printer.handle, printer.name, nullptr, nullptr, 0))));
  std::vector<BYTE> out(in.size());
  auto* const record = reinterpret_cast<DEVMODEW*>(in.data());
  LONG answer = DocumentPropertiesW(nullptr, printer.handle, printer.name, record, nullptr, DM_OUT_BUFFER);
  const double each = Each(kCallsOfABatch, [&] {
    answer = DocumentPropertiesW(nullptr, printer.handle, printer.name,
                                 mode ? reinterpret_cast<DEVMODEW*>(out.data()) : nullptr,
                                 mode & DM_IN_BUFFER ? record : nullptr, mode);
  });
  return answer > 0 ? each : 0;
}

// From the call until the sheet has been painted, when another thread closes it.
double ShowPreferences(const Printer& printer, user::Report& report,
                       const std::function<void(DOCUMENTPROPERTYHEADER& header)>& show) {
  std::vector<BYTE> record(4096);
  std::vector<BYTE> out(4096);
  DocumentPropertiesW(nullptr, printer.handle, printer.name, reinterpret_cast<DEVMODEW*>(record.data()), nullptr,
                      DM_OUT_BUFFER);
  DOCUMENTPROPERTYHEADER header{};
  header.cbSize = sizeof header;
  header.hPrinter = printer.handle;
  header.pszPrinterName = printer.name;
  header.pdmIn = reinterpret_cast<DEVMODEW*>(record.data());
  header.pdmOut = reinterpret_cast<DEVMODEW*>(out.data());
  header.fMode = DM_IN_BUFFER | DM_IN_PROMPT | DM_OUT_BUFFER;
  double painted = 0;
  std::thread user([&, thread = GetCurrentThreadId()] {
    HWND sheet = nullptr;
    if (!user::WaitUntil([&] { return (sheet = user::FindSheet(thread)) != nullptr; })) return;
    if (user::WaitUntilShown(sheet) && user::WaitUntilPainted(sheet)) painted = Microseconds();
    user::CloseSheet(sheet, PSBTN_CANCEL);
  });
  const double start = Microseconds();
  show(header);
  user.join();
  report.Expect(painted > start, "a sheet to be shown");
  return painted - start;
}

// What of an answer's time is the spooler's: its calls by the module, and the time in them and beside them.
void TellOwnTime(platform::InstalledPrinter& installed, user::Report& report) {
  const Printer ours = PrinterOf(installed.module, installed.printer, installed.printer_name.c_str());
  const bench::CountedCalls counted(installed.module);
  report.Expect(counted.AreCounted(), "the module's calls to be counted");
  std::vector<user::Row> rows;
  // `asked`: how many answers one run takes.
  const auto tell = [&](const char* what, int asked, const std::function<double()>& ask) {
    std::vector<double> own;
    std::vector<double> in_calls;
    double calls = 0;
    for (int run = 0; run < 15; ++run) {
      bench::spent = {};
      const double whole = ask();
      calls = bench::spent.All() / static_cast<double>(asked);
      in_calls.push_back(bench::spent.in_calls / asked);
      own.push_back(whole - in_calls.back());
    }
    rows.push_back({what, Format("%.0f", calls), Format("%.2f", Median(in_calls)), Format("%.2f", Median(own))});
  };
  tell("five fixed capabilities", kCallsOfABatch, [&] { return AskCapabilities(ours, kFixed); });
  tell("DC_SIZE and DC_FIELDS", kCallsOfABatch, [&] { return AskCapabilities(ours, {DC_SIZE, DC_FIELDS}); });
  tell("size of the record", kCallsOfABatch, [&] { return AskSizeAlone(ours); });
  // With the settings that AskSettings begins with, whose calls are the same.
  const auto settings = [&](DWORD mode) { return [&ours, mode] { return AskSettings(ours, mode); }; };
  tell("default settings", kCallsOfABatch + 1, settings(DM_OUT_BUFFER));
  tell("merge", kCallsOfABatch + 1, settings(DM_IN_BUFFER | DM_OUT_BUFFER));
  report.Table({"ours, us", "spooler calls", "in them", "beside them"}, rows);
}

void Compare(platform::InstalledPrinter& installed, const Peer& peer, user::Report& report) {
  const Printer ours = PrinterOf(installed.module, installed.printer, installed.printer_name.c_str());
  const Printer other = PrinterOf(peer.module, peer.printer, kPeerPrinter);
  if (!report.Expect(other.capabilities && other.sheets, "the peer's functions to be found")) return;
  constexpr int kRuns = 15;
  std::vector<user::Row> rows;
  const auto compare = [&](const char* what, auto measure) {
    rows.push_back(RowOf(what, Alternate(kRuns, [&] { return measure(ours); }, [&] { return measure(other); })));
  };
  compare("five fixed capabilities", [](const Printer& printer) { return AskCapabilities(printer, kFixed); });
  compare("the same, alone", AskFixedAlone);
  compare("DC_SIZE and DC_FIELDS",
          [](const Printer& printer) { return AskCapabilities(printer, {DC_SIZE, DC_FIELDS}); });
  compare("size of the record", [](const Printer& printer) { return AskSettings(printer, 0); });
  compare("the same, alone", AskSizeAlone);
  compare("default settings", [](const Printer& printer) { return AskSettings(printer, DM_OUT_BUFFER); });
  compare("merge", [](const Printer& printer) { return AskSettings(printer, DM_IN_BUFFER | DM_OUT_BUFFER); });
  // The platform's own driver shows its sheet by itself; the common sheet, whose protocol this platform cuts short, is
  // ours.
  const auto show_ours = [&](DOCUMENTPROPERTYHEADER& header) {
    platform::ShowSheet({installed.entries.DocumentPropertySheets, &header, nullptr, false, [](HWND) {}});
  };
  const auto show_other = [&](DOCUMENTPROPERTYHEADER& header) {
    DocumentPropertiesW(nullptr, other.handle, other.name, header.pdmOut, header.pdmIn, header.fMode);
  };
  rows.push_back(RowOf("preferences until painted", Alternate(
                                                        9, [&] { return ShowPreferences(ours, report, show_ours); },
                                                        [&] { return ShowPreferences(other, report, show_other); })));
  for (const auto& row : rows) report.Expect(row[1] != "0.00" && row[2] != "0.00", row[0] + " to be answered");
  report.Table({"us", "ours", "the peer's", "ratio"}, rows);
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count == 3 && std::wstring(arguments[1]) == L"load") return MeasureLoading(arguments[2]);
  if (count != 2 && count != 3) return fprintf(stderr, "usage: bench_peer DRIVER-MODULE [EMPTY-MODULE]\n"), 2;
  InitCommonControls();
  user::Report report;
  std::unique_ptr<Peer> peer;
  const auto add_peer = [&] {
    peer = std::make_unique<Peer>();
    report.Expect(peer->printer && peer->module, "the platform's own driver to be registered");
  };
  if (count == 3) add_peer();
  if (peer) CompareLoading(arguments[1], peer->path(), arguments[2], report);
  platform::InstalledPrinter installed;
  const auto result = platform::InstallPrinter(
      {arguments[1], L"Brindlewick R5-LQZ benchmark", L"R5-LQZ benchmark printer", {}}, installed);
  if (!result.Held()) return report.Failed(result.call, result.code), 1;
  if (!peer) add_peer();
  Compare(installed, *peer, report);
  if (count == 3) TellOwnTime(installed, report);
  platform::RemovePrinter(installed);
  return report.failures ? 1 : 0;
}
