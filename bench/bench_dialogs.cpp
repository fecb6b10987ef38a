// What a user's longest waits cost: setting the Manage Pages dialog up over n stored pages, and importing n pages.
// Counts the module's calls of the printer's data and tells its own time from theirs. Run by scripts/bench as:
// bench_dialogs.exe PATH\r5-lqz-ui.dll
#include <windows.h>

#include <prsht.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <string>

#include "console.h"
#include "dialog_window.h"
#include "label_stock.h"
#include "printer_calls.h"
#include "printer_keys.h"
#include "resources/resource_ids.h"
#include "sheet_window.h"

namespace {

using demo::Format;

constexpr int kCounts[] = {1, 16, 64, 128};
constexpr int kRuns = 5;

double Milliseconds() {
  LARGE_INTEGER now;
  LARGE_INTEGER frequency;
  QueryPerformanceCounter(&now);
  QueryPerformanceFrequency(&frequency);
  return 1000.0 * static_cast<double>(now.QuadPart) / static_cast<double>(frequency.QuadPart);
}

enum Call { kList, kRead, kWrite, kCalls };

// What one run cost; the dialog's own thread adds to it while it handles a message that is waited for.
struct Cost {
  std::array<int, kCalls> calls{};
  double in_store = 0;
  double whole = 0;
};
Cost cost;

// Replacements of the module's imports: the call of before, counted and timed.
template <Call which, auto original, class... Arguments>
DWORD WINAPI Counted(Arguments... arguments) {
  const double start = Milliseconds();
  const DWORD answer = original(arguments...);
  cost.in_store += Milliseconds() - start;
  ++cost.calls[which];
  return answer;
}

DLGPROC dialog_procedure;

// The time until the dialog is set up, as its thread sees it.
INT_PTR CALLBACK TimeOpening(HWND dialog, UINT message, WPARAM w_param, LPARAM l_param) {
  if (message != WM_INITDIALOG) return FALSE;
  SetWindowLongPtrW(dialog, DWLP_DLGPROC, reinterpret_cast<LONG_PTR>(dialog_procedure));
  const double start = Milliseconds();
  const INT_PTR answer = dialog_procedure(dialog, message, w_param, l_param);
  cost.whole = Milliseconds() - start;
  return answer;
}

INT_PTR WINAPI ShowDialog(HINSTANCE module, LPCWSTR name, HWND owner, DLGPROC procedure, LPARAM param) {
  dialog_procedure = procedure;
  cost = {};
  return DialogBoxParamW(module, name, owner, TimeOpening, param);
}

std::vector<platform::ImportPatch> WatchModule(HMODULE module) {
  std::vector<platform::ImportPatch> patches;
  const auto replace = [&](const char* dll, const char* function, auto* replacement) {
    patches.push_back(platform::ReplaceImport(module, dll, function, reinterpret_cast<const void*>(replacement)));
  };
  replace("winspool.drv", "EnumPrinterKeyW",
          &Counted<kList, &platform::RegistryEnumPrinterKey, HANDLE, LPCWSTR, LPWSTR, DWORD, LPDWORD>);
  replace("winspool.drv", "GetPrinterDataExA",
          &Counted<kRead, &GetPrinterDataExA, HANDLE, LPCSTR, LPCSTR, LPDWORD, LPBYTE, DWORD, LPDWORD>);
  replace("winspool.drv", "SetPrinterDataExA",
          &Counted<kWrite, &SetPrinterDataExA, HANDLE, LPCSTR, LPCSTR, DWORD, LPBYTE, DWORD>);
  replace("user32.dll", "DialogBoxParamW", &ShowDialog);
  return patches;
}

void WriteListFile(const std::wstring& path, int count) {
  std::string pages;
  for (int at = 0; at < count; ++at) {
    pages += Format("%s{\"name\":\"Label stock %d\",\"width\":\"4.125\",\"length\":\"5.000\"}", at ? "," : "", at);
  }
  std::ofstream(path.c_str(), std::ios::binary) << "{\"version\":0,\"list\":[" << pages << "]}";
}

HWND OpenManagePages(HWND page) {
  const HWND dialog = demo::OpenDialog(page, IDC_PAGE_MANAGE, IDC_MANAGE_ADD);
  if (!dialog) ExitProcess((fprintf(stderr, "the dialog does not open\n"), 1));
  return dialog;
}

Cost Import(HWND page, platform::InstalledPrinter& installed) {
  platform::RemoveLabelStocks(installed.printer);
  const HWND dialog = OpenManagePages(page);
  cost = {};
  const double start = Milliseconds();
  demo::Click(dialog, IDC_MANAGE_IMPORT);
  cost.whole = Milliseconds() - start;
  const Cost taken = cost;
  demo::CloseDialog(dialog, IDOK);
  return taken;
}

Cost Open(HWND page) {
  const HWND dialog = OpenManagePages(page);
  const Cost taken = cost;
  demo::CloseDialog(dialog, IDOK);
  return taken;
}

// The quickest of several runs: one that no other process came between.
template <class Run>
Cost Best(Run run) {
  Cost best = run();
  for (int again = 1; again < kRuns; ++again) {
    const Cost next = run();
    if (next.whole < best.whole) best = next;
  }
  return best;
}

demo::Row RowOf(const char* what, int pages, const Cost& taken) {
  return {what,
          Format("%d", pages),
          Format("%d", taken.calls[kList]),
          Format("%d", taken.calls[kRead]),
          Format("%d", taken.calls[kWrite]),
          Format("%.2f", taken.whole),
          Format("%.2f", taken.whole - taken.in_store)};
}

void MeasureAll(HWND sheet, platform::InstalledPrinter& installed, const std::wstring& path, demo::Report& report) {
  const HWND page = demo::WaitUntilShown(sheet) ? demo::SelectTabWith(sheet, IDC_PAGE_MANAGE) : nullptr;
  if (!report.Expect(page, "the Page tab")) return;
  std::vector<demo::Row> rows;
  for (const int pages : kCounts) {
    WriteListFile(path, pages);
    const Cost import = Best([&] { return Import(page, installed); });
    report.Expect(platform::ReadLabelStocks(installed.printer).size() == static_cast<std::size_t>(pages),
                  Format("%d pages imported", pages));
    rows.push_back(RowOf("import", pages, import));
    rows.push_back(RowOf("open", pages, Best([&] { return Open(page); })));
  }
  report.Table({"what", "pages", "EnumPrinterKeyW", "GetPrinterDataExA", "SetPrinterDataExA", "ms", "ms of its own"},
               rows);
}

std::wstring TemporaryFile() {
  wchar_t folder[MAX_PATH + 1] = L"";
  GetTempPathW(MAX_PATH, folder);
  return folder + std::wstring(L"r5lqz-bench.zpk");
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count != 2) return fprintf(stderr, "usage: bench_dialogs DRIVER-MODULE\n"), 2;
  demo::Report report;
  platform::InstalledPrinter installed;
  const auto result = platform::InstallPrinter(
      {arguments[1], L"Brindlewick R5-LQZ benchmark", L"R5-LQZ benchmark printer", {}}, installed);
  if (!result.Held()) return report.Failed(result.call, result.code), 1;
  {
    const std::wstring path = TemporaryFile();
    const demo::DialogAnswers answers(installed.module, path);
    const auto patches = WatchModule(installed.module);
    report.Expect(answers.AreInPlace() && std::ranges::all_of(patches, [](auto& patch) { return bool(patch); }),
                  "the module's calls to be counted");
    r5lqz::DriverDevMode before{};
    r5lqz::DriverDevMode after{};
    const auto outcome = demo::ShowPreferences(installed, before, after, [&](HWND sheet) {
      MeasureAll(sheet, installed, path, report);
      demo::CloseSheet(sheet, PSBTN_CANCEL);
    });
    report.Expect(outcome.shown, "a window of the sheet, which takes a display");
    DeleteFileW(path.c_str());
  }
  platform::RemovePrinter(installed);
  return report.failures ? 1 : 0;
}
