#include "sheets.h"

#include <prsht.h>
#include <winspool.h>

#include <atomic>
#include <cstdio>
#include <thread>

#include "resources/resource_ids.h"
#include "user/sheet_window.h"

namespace demo {
namespace {

// What a user does on a tab. A control's number may occur on several tabs; the landmark is a control that only the one
// meant has.
struct Step {
  int landmark;
  int control;
  int entry;  // of a list; or kButton: to be clicked
};

constexpr int kButton = -1;
constexpr int kBestQuality = 0;
constexpr int kSaturationIntent = 3;

constexpr Step kPreferenceSteps[] = {
    {IDC_COLOR_AUTOMATIC, IDC_COLOR_QUALITY, kBestQuality},
    {IDC_COLOR_AUTOMATIC, IDC_COLOR_AUTOMATIC, kButton},  // which enables the list of intents
    {IDC_COLOR_AUTOMATIC, IDC_COLOR_INTENT, kSaturationIntent},
    {IDC_LAYOUT_LANDSCAPE, IDC_LAYOUT_LANDSCAPE, kButton},
    {IDC_LAYOUT_LANDSCAPE, IDC_LAYOUT_ROTATE, kButton},
};
constexpr Step kPropertySteps[] = {{IDC_DEVICE_BUFFER, IDC_DEVICE_BUFFER, kButton}};

// The settings with what the steps ask for.
Record WithChoices(const Record& before) {
  Record chosen = before;
  chosen.dm_public.dmPrintQuality = chosen.dm_public.dmYResolution = 600;
  chosen.dm_public.dmOrientation = DMORIENT_LANDSCAPE;
  chosen.dm_private.colorAdjust = 1;
  chosen.dm_private.rendIntent = kSaturationIntent;
  chosen.dm_private.rotate180 = 1;
  return chosen;
}

void TakeStep(HWND page, const Step& step) {
  if (step.entry == kButton) {
    Click(page, step.control);
  } else {
    ChooseEntry(page, step.control, step.entry);
  }
}

// Goes through all tabs, does on each what there is to do, and presses the button.
void WorkSheet(Report& report, HWND sheet, std::span<const Step> steps, int button) {
  report.Expect(WaitUntilShown(sheet), "the sheet to become visible");
  std::vector<Row> rows;
  std::size_t taken = 0;
  for (int tab = 0; tab < TabCount(sheet); ++tab) {
    const HWND page = SelectTab(sheet, tab);
    if (!report.Expect(page, Format("tab %d to become the current one", tab))) continue;
    std::string chosen;
    for (const Step& step : steps) {
      if (!GetDlgItem(page, step.landmark)) continue;
      TakeStep(page, step);
      ++taken;
      chosen += (chosen.empty() ? "" : ", ") + Narrow(TextOf(GetDlgItem(page, step.control)));
    }
    rows.push_back({Narrow(TabTitle(sheet, tab)), chosen.empty() ? "nothing" : chosen});
  }
  CloseSheet(sheet, button);
  report.Table({"tab", Format("chosen, then %s", button == PSBTN_OK ? "OK" : "Cancel")}, rows);
  report.Expect(taken == steps.size(), "every choice to be found on a tab");
}

// The one sheet that this thread shows while the work lasts, for who cannot be told its window.
class SheetWatch {
 public:
  explicit SheetWatch(const SheetWork& work)
      : watcher_([this, &work, thread = GetCurrentThreadId()] {
          HWND sheet = nullptr;
          while (!over_ && !(sheet = FindSheet(thread))) Sleep(5);
          seen_ = sheet != nullptr;
          if (seen_ && work) work(sheet);
        }) {}
  SheetWatch(const SheetWatch&) = delete;
  SheetWatch& operator=(const SheetWatch&) = delete;
  ~SheetWatch() { End(); }

  // Whether there was a sheet.
  bool End() {
    over_ = true;
    if (watcher_.joinable()) watcher_.join();
    return seen_;
  }

 private:
  std::atomic<bool> over_ = false;
  std::atomic<bool> seen_ = false;
  std::thread watcher_;
};

}  // namespace

bool AskPlatformWithPrompt(Session& session, Record& before, Record& after, const SheetWork& work) {
  auto& installed = session.installed;
  after = before;
  SheetWatch watch(work);
  const LONG result = DocumentPropertiesW(nullptr, installed.printer, installed.printer_name.data(), &after.dm_public,
                                          &before.dm_public, DM_IN_BUFFER | DM_IN_PROMPT | DM_OUT_BUFFER);
  const DWORD code = GetLastError();
  const bool seen = watch.End();
  if (result < 0) session.report.Failed(Format("DocumentPropertiesW with a prompt answered %ld", result), code);
  return session.report.Expect(seen, "a window of the sheet, which takes a display") && result >= 0;
}

namespace {

// Opens, works and closes the preferences by one road.
using Road = std::function<bool(Record& before, Record& after, const SheetWork& work)>;

void ChooseAndClose(Session& session, const Road& road) {
  auto& report = session.report;
  auto before = AskPlatform(session, "the defaults", nullptr);
  if (!before) return;
  const auto run = [&](int button, Record& after) {
    return road(*before, after, [&](HWND sheet) { WorkSheet(report, sheet, kPreferenceSteps, button); });
  };
  Record after{};
  if (run(PSBTN_OK, after)) {
    const Record chosen = WithChoices(*before);
    printf("\n");
    ShowAskedAndBack(report, *before, chosen, after);
    report.Expect(SameSettings(chosen, after), "what was chosen, and nothing else, in the settings");
  }
  printf("\n");
  if (run(PSBTN_CANCEL, after)) {
    ShowChanges(report, *before, after);
    report.Expect(SameSettings(*before, after), "settings as before after Cancel");
  }
}

bool RunWholeProtocol(Session& session, Record& before, Record& after, const SheetWork& work) {
  const auto outcome = ShowPreferences(session.installed, before, after, work);
  printf("   tabs handed over: %zu; results that they reported: %zu; the sheet's result: %lu\n", outcome.pages,
         outcome.results.size(), static_cast<unsigned long>(outcome.result));
  return session.report.Expect(outcome.opened == 1 && outcome.shown, "a window of the sheet, which takes a display");
}

void ToggleBufferOption(Session& session, int button, bool changes) {
  const int before = ReadBufferOption(session.installed.printer);
  const auto outcome =
      ShowProperties(session.installed, [&](HWND sheet) { WorkSheet(session.report, sheet, kPropertySteps, button); });
  session.report.Expect(outcome.opened == 1 && outcome.shown, "a window of the sheet, which takes a display");
  const int after = ReadBufferOption(session.installed.printer);
  session.report.Table({"printer data", "before", "after"},
                       {{"bufferPrintJob", std::to_string(before), std::to_string(after)}});
  session.report.Expect(before >= 0 && (before != after) == changes, "the option stored by OK, and by nothing else");
}

}  // namespace

void WorkSheets(Session& session) {
  session.report.Section("The printing-preferences sheet as an application opens it");
  session.report.Road("platform, DocumentPropertiesW with DM_IN_PROMPT; worked by messages instead of a hand");
  ChooseAndClose(session, [&](auto&... arguments) { return AskPlatformWithPrompt(session, arguments...); });

  session.report.Section("The same sheet with the whole protocol");
  session.report.Road("the loaded driver's DrvDocumentPropertySheets; the platform's sheet never passes a result back");
  ChooseAndClose(session, [&](auto&... arguments) { return RunWholeProtocol(session, arguments...); });

  session.report.Section("The printer-properties sheet");
  session.report.Road("the loaded driver's DrvDevicePropertySheets; no call of this platform leads there");
  ToggleBufferOption(session, PSBTN_OK, true);
  printf("\n");
  ToggleBufferOption(session, PSBTN_CANCEL, false);
}

void OfferSheets(Session& session) {
  session.report.Section("The printing-preferences sheet, for you to play with");
  session.report.Road("platform, DocumentPropertiesW with DM_IN_PROMPT");
  auto before = AskPlatform(session, "the defaults", nullptr);
  if (!before) return;
  printf("   a window opens; close it with OK or Cancel ...\n");
  Record after{};
  if (AskPlatformWithPrompt(session, *before, after, {})) ShowChanges(session.report, *before, after);
  printf("   the printer's label stocks, which the Page tab can change:\n");
  ShowStoredLabels(session);

  session.report.Section("The printer-properties sheet, for you to play with");
  session.report.Road("the loaded driver's DrvDevicePropertySheets; no call of this platform leads there");
  printf("   a window opens; close it with OK or Cancel ...\n");
  const int old_option = ReadBufferOption(session.installed.printer);
  const auto outcome = ShowProperties(session.installed, {});
  session.report.Expect(outcome.opened == 1 && outcome.shown, "a window of the sheet, which takes a display");
  session.report.Table(
      {"printer data", "before", "after"},
      {{"bufferPrintJob", std::to_string(old_option), std::to_string(ReadBufferOption(session.installed.printer))}});
}

}  // namespace demo
