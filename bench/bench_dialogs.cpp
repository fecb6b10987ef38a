// What a user's longest waits cost: setting the Manage Pages dialog up over n stored pages, importing n pages, and
// opening the preferences over n. Counts the module's calls of the spooler and tells its own time, the windows'
// included, from theirs. Run by scripts/bench as: bench_dialogs.exe PATH\r5-lqz-ui.dll
#include <windows.h>

#include <prsht.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "user/console.h"
#include "counted_calls.h"
#include "user/dialog_window.h"
#include "label_stock.h"
#include "labels/printer_label.h"
#include "user/printer_calls.h"
#include "resources/resource_ids.h"
#include "user/sheet_window.h"

namespace {

using user::Format;

constexpr int kCounts[] = {0, 16, 64, r5lqz::kMostLabels};
constexpr int kRuns = 5;

double Milliseconds() {
  return bench::Microseconds() / 1000;
}

// What one run cost, in milliseconds; the dialog's own thread adds to it while it handles a message that is waited for.
struct Cost {
  bench::Spent spent;
  double whole = 0;

  double OfItsOwn() const { return whole - spent.in_calls / 1000; }
};
double opening;

DLGPROC dialog_procedure;

// The time until the dialog is set up, as its thread sees it.
INT_PTR CALLBACK TimeOpening(HWND dialog, UINT message, WPARAM w_param, LPARAM l_param) {
  if (message != WM_INITDIALOG) return FALSE;
  SetWindowLongPtrW(dialog, DWLP_DLGPROC, reinterpret_cast<LONG_PTR>(dialog_procedure));
  const double start = Milliseconds();
  const INT_PTR answer = dialog_procedure(dialog, message, w_param, l_param);
  opening = Milliseconds() - start;
  return answer;
}

INT_PTR WINAPI ShowDialog(HINSTANCE module, LPCWSTR name, HWND owner, DLGPROC procedure, LPARAM param) {
  dialog_procedure = procedure;
  bench::spent = {};
  return DialogBoxParamW(module, name, owner, TimeOpening, param);
}

void WriteListFile(const std::wstring& path, int count) {
  std::string pages;
  for (int at = 0; at < count; ++at) {
    pages += Format("%s{\"name\":\"Label stock %d\",\"width\":\"4.125\",\"length\":\"5.000\"}", at ? "," : "", at);
  }
  std::ofstream(path.c_str(), std::ios::binary) << "{\"version\":0,\"list\":[" << pages << "]}";
}

HWND OpenManagePages(HWND page) {
  const HWND dialog = user::OpenDialog(page, IDC_PAGE_MANAGE, IDC_MANAGE_ADD);
  if (!dialog) ExitProcess((fprintf(stderr, "the dialog does not open\n"), 1));
  return dialog;
}

Cost Import(HWND page, platform::InstalledPrinter& installed) {
  platform::RemoveLabelStocks(installed.printer);
  const HWND dialog = OpenManagePages(page);
  bench::spent = {};
  const double start = Milliseconds();
  user::Click(dialog, IDC_MANAGE_IMPORT);
  const Cost taken{bench::spent, Milliseconds() - start};
  user::CloseDialog(dialog, IDOK);
  return taken;
}

Cost Open(HWND page) {
  const HWND dialog = OpenManagePages(page);
  const Cost taken{bench::spent, opening};
  user::CloseDialog(dialog, IDOK);
  return taken;
}

// The preferences, from the call until they are painted.
Cost OpenSheet(platform::InstalledPrinter& installed) {
  Cost taken;
  r5lqz::DriverDevMode before{};
  r5lqz::DriverDevMode after{};
  bench::spent = {};
  const double start = Milliseconds();
  user::ShowPreferences(installed, before, after, [&](HWND sheet) {
    user::WaitUntilShown(sheet) && user::WaitUntilPainted(sheet);
    taken = {bench::spent, Milliseconds() - start};
    user::CloseSheet(sheet, PSBTN_CANCEL);
  });
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

user::Row RowOf(const char* what, int pages, const Cost& taken) {
  const auto& calls = taken.spent.calls;
  return {what,
          Format("%d", pages),
          Format("%d", calls[bench::kList]),
          Format("%d", calls[bench::kRead]),
          Format("%d", calls[bench::kWrite]),
          Format("%d", calls[bench::kOther]),
          Format("%.2f", taken.whole),
          Format("%.2f", taken.OfItsOwn())};
}

const user::Row kHeadings{"what",  "pages", "EnumPrinterKeyW", "GetPrinterDataExA", "SetPrinterDataExA",
                          "other", "ms",    "ms of its own"};

void MeasureAll(HWND sheet, platform::InstalledPrinter& installed, const std::wstring& path, user::Report& report) {
  const HWND page = user::WaitUntilShown(sheet) ? user::SelectTabWith(sheet, IDC_PAGE_MANAGE) : nullptr;
  if (!report.Expect(page, "the Page tab")) return;
  std::vector<user::Row> rows;
  for (const int pages : kCounts) {
    WriteListFile(path, pages);
    const Cost import = Best([&] { return Import(page, installed); });
    report.Expect(platform::ReadLabelStocks(installed.printer).size() == static_cast<std::size_t>(pages),
                  Format("%d pages imported", pages));
    rows.push_back(RowOf("import", pages, import));
    rows.push_back(RowOf("open", pages, Best([&] { return Open(page); })));
  }
  report.Table(kHeadings, rows);
}

void MeasureSheet(platform::InstalledPrinter& installed, user::Report& report) {
  std::vector<user::Row> rows;
  for (const int pages : kCounts) {
    platform::RemoveLabelStocks(installed.printer);
    for (int at = 0; at < pages; ++at) {
      const std::string name = Format("Label stock %d", at);
      platform::StoreLabelStock(installed.printer,
                                {r5lqz::kFirstLabelId + at, name.c_str(), "4.125", "5.000", "0", "0", r5lqz::kInches});
    }
    rows.push_back(RowOf("sheet", pages, Best([&] { return OpenSheet(installed); })));
  }
  report.Table(kHeadings, rows);
}

std::wstring TemporaryFile() {
  wchar_t folder[MAX_PATH + 1] = L"";
  GetTempPathW(MAX_PATH, folder);
  return folder + std::wstring(L"r5lqz-bench.zpk");
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count != 2) return fprintf(stderr, "usage: bench_dialogs DRIVER-MODULE\n"), 2;
  user::Report report;
  platform::InstalledPrinter installed;
  const auto result = platform::InstallPrinter(
      {arguments[1], L"Brindlewick R5-LQZ benchmark", L"R5-LQZ benchmark printer", {}}, installed);
  if (!result.Held()) return report.Failed(result.call, result.code), 1;
  {
    const std::wstring path = TemporaryFile();
    const user::DialogAnswers answers(installed.module, path);
    const bench::CountedCalls counted(installed.module);
    const auto shown = platform::ReplaceImport(installed.module, "user32.dll", "DialogBoxParamW",
                                               reinterpret_cast<const void*>(&ShowDialog));
    report.Expect(answers.AreInPlace() && counted.AreCounted() && shown, "the module's calls to be counted");
    r5lqz::DriverDevMode before{};
    r5lqz::DriverDevMode after{};
    const auto outcome = user::ShowPreferences(installed, before, after, [&](HWND sheet) {
      MeasureAll(sheet, installed, path, report);
      user::CloseSheet(sheet, PSBTN_CANCEL);
    });
    report.Expect(outcome.shown, "a window of the sheet, which takes a display");
    MeasureSheet(installed, report);
    DeleteFileW(path.c_str());
  }
  platform::RemovePrinter(installed);
  return report.failures ? 1 : 0;
}
