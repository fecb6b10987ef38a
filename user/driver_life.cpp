#include "user/driver_life.h"

#include <windows.h>

#include <prsht.h>
#include <winspool.h>

#include <algorithm>
#include <fstream>

#include "user/console.h"
#include "user/dialog_window.h"
#include "label_stock.h"
#include "user/printer_calls.h"
#include "resources/resource_ids.h"
#include "user/sheet_window.h"
#include "user/trace_files.h"

namespace user {
namespace {

namespace fs = std::filesystem;
using platform::InstalledPrinter;

constexpr char kProfile[] = "R5-LQZ_Standard_Matte_Fast_Mode_v01.icc";
constexpr char kLabel[] = "Freezer label";
constexpr wchar_t kTypedLabel[] = L"Freezer label";
constexpr short kFirstNumber = 258;

// This platform looks for a bare name in the current folder instead.
BOOL WINAPI UninstallFromColorFolder(PCWSTR, PCWSTR profile, BOOL with_file) {
  return with_file && DeleteFileW((platform::ColorFolder() / profile).c_str());
}

std::string List(const platform::Lines& lines) {
  std::string text;
  for (const auto& line : lines) text += (text.empty() ? "" : ", ") + line;
  return text.empty() ? "nothing" : text;
}

LifeStage DriverArrives(InstalledPrinter&) {
  const auto menu = platform::Listing(platform::StartMenuFolder());
  const auto sdk = platform::Listing(platform::SdkFolder());
  return {"driver installed; the spooler delivers its event", "start menu: " + List(menu) + "; SDK: " + List(sdk),
          menu.size() == 1 && menu[0].ends_with(".url") && sdk == platform::kSdkFiles};
}

LifeStage PrinterArrives(InstalledPrinter& installed) {
  const int option = ReadBufferOption(installed.printer);
  return {"printer created; its event is delivered", Format("bufferPrintJob %d", option), option == 1};
}

// Works the sheet's Page tab, cancels it in the end: what the dialog stored stays.
void AddLabel(HWND sheet) {
  const HWND page = WaitUntilShown(sheet) ? SelectTabWith(sheet, IDC_PAGE_MANAGE) : nullptr;
  if (const HWND dialog = page ? OpenDialog(page, IDC_PAGE_MANAGE, IDC_MANAGE_ADD) : nullptr) {
    Click(dialog, IDC_MANAGE_MM);
    Type(dialog, IDC_MANAGE_NAME, kTypedLabel);
    Type(dialog, IDC_MANAGE_WIDTH, L"50");
    Type(dialog, IDC_MANAGE_LENGTH, L"100");
    Type(dialog, IDC_MANAGE_VERT, L"12");
    Click(dialog, IDC_MANAGE_ADD);
    CloseDialog(dialog, IDOK);
  }
  CloseSheet(sheet, PSBTN_CANCEL);
}

LifeStage LabelIsAdded(InstalledPrinter& installed) {
  DialogAnswers answers(installed.module, L"");
  r5lqz::DriverDevMode before{}, after{};
  DocumentPropertiesW(nullptr, installed.printer, installed.printer_name.data(), &before.dm_public, nullptr,
                      DM_OUT_BUFFER);
  ShowPreferences(installed, before, after, AddLabel);
  std::string seen;
  for (const auto& stock : platform::ReadLabelStocks(installed.printer)) {
    seen += stock.key + ": " + stock.name + ", " + stock.width + " x " + stock.length + ", offsets " +
            stock.vertical_offset + " and " + stock.horizontal_offset + ", units " + std::to_string(stock.units);
  }
  for (const auto& message : answers.TakeMessages()) seen += "; " + Narrow(message);
  return {"label typed and added in the dialog", seen,
          seen == "Label Sizes\\258: Freezer label, 50 x 100, offsets 12 and 0, units 0"};
}

LifeStage ApplicationPrints(InstalledPrinter& installed) {
  constexpr DWORD kBoth = DM_IN_BUFFER | DM_OUT_BUFFER;
  r5lqz::DriverDevMode record{};
  DEVMODEW* const settings = &record.dm_public;
  wchar_t* const name = installed.printer_name.data();
  bool held = DocumentPropertiesW(nullptr, installed.printer, name, settings, nullptr, DM_OUT_BUFFER) == 1 &&
              !AcceptsPaper(installed, *settings);
  settings->dmFields = DM_PAPERSIZE;
  settings->dmPaperSize = kFirstNumber;
  held = DocumentPropertiesW(nullptr, installed.printer, name, settings, settings, kBoth) == 1 && held;
  const bool accepted = AcceptsPaper(installed, *settings);
  held = held && accepted && settings->dmPaperWidth == 500 && settings->dmPaperLength == 1000 &&
         record.dm_private.vertOffset == 12 && !strcmp(record.dm_private.labelName, kLabel);
  return {"an application takes settings with it, and asks before printing",
          Format("paper %d, \"%.64s\", %d x %d tenths of a mm; %s", settings->dmPaperSize, record.dm_private.labelName,
                 settings->dmPaperWidth, settings->dmPaperLength, accepted ? "accepted" : "refused"),
          held};
}

LifeStage OptionIsChanged(InstalledPrinter& installed) {
  ShowProperties(installed, [](HWND sheet) {
    if (const HWND page = WaitUntilShown(sheet) ? SelectTabWith(sheet, IDC_DEVICE_BUFFER) : nullptr) {
      Click(page, IDC_DEVICE_BUFFER);
    }
    CloseSheet(sheet, PSBTN_OK);
  });
  const int option = ReadBufferOption(installed.printer);
  return {"option clicked on the Device tab, OK", Format("bufferPrintJob %d", option), option == 0};
}

LifeStage TraceFollowsItsFile(InstalledPrinter& installed) {
  TraceFiles files(installed.loaded_path);
  r5lqz::DriverDevMode record{};
  const auto query = [&] {
    AcceptsPaper(installed, record.dm_public);
    return files.NewLines().size();
  };
  files.SwitchOn(3);
  const auto before_document = query();
  bool held = StartDocument(installed);
  const auto on = query();
  files.SwitchOff();
  held = StartDocument(installed) && held;
  files.NewLines();
  const auto off = query();
  return {"trace switched on by its file, documents started, switched off",
          Format("lines before a document: %zu, in one: %zu, in one after the end: %zu", before_document, on, off),
          held && before_document == 0 && on > 2 && off == 0};
}

// And the driver with it; the next stage looks at what it had made.
LifeStage PrinterGoes(InstalledPrinter& installed) {
  const auto removed = platform::RemovePrinter(installed);
  HANDLE printer = nullptr;
  const bool is_there = OpenPrinterW(installed.printer_name.data(), &printer, nullptr);
  if (is_there) ClosePrinter(printer);
  const std::string answer = removed.Held() ? "" : Format("; %s answered %lu", removed.call, removed.code);
  return {"printer deleted; its event is delivered", (is_there ? "it is there" : "no such printer") + answer,
          removed.Held() && !is_there};
}

LifeStage DriverGoes(InstalledPrinter&) {
  const auto menu = platform::Listing(platform::StartMenuFolder());
  const auto sdk = platform::Listing(platform::SdkFolder());
  const bool has_profile = fs::exists(platform::ColorFolder() / kProfile);
  return {"driver removed; its event is delivered",
          "start menu: " + List(menu) + "; SDK: " + List(sdk) + (has_profile ? "; " : "; no ") + kProfile,
          menu.empty() && sdk.empty() && !has_profile};
}

constexpr LifeStage (*kStages[])(InstalledPrinter&) = {DriverArrives,     PrinterArrives,  LabelIsAdded,
                                                       ApplicationPrints, OptionIsChanged, TraceFollowsItsFile,
                                                       PrinterGoes,       DriverGoes};

void Live(const platform::PrinterRequest& request, std::vector<LifeStage>& stages) {
  InstalledPrinter installed;
  if (const auto result = platform::InstallPrinter(request, installed); !result.Held()) {
    stages.push_back({"installation", Format("%s answered %lu", result.call, result.code), false});
    return;
  }
  installed.patches.push_back(platform::ReplaceImport(installed.module, "mscms.dll", "UninstallColorProfileW",
                                                      reinterpret_cast<const void*>(&UninstallFromColorFolder)));
  for (const auto stage : kStages) stages.push_back(stage(installed));
}

// What a removed driver is known to leave.
std::vector<LifeTrace> KnownTraces(const fs::path& loaded_module) {
  constexpr char kWaits[] = "empty; waits for the restart";
  const std::string sdk = platform::SdkFolder().lexically_relative("C:\\").generic_string();
  const std::string maker = platform::SdkFolder().parent_path().lexically_relative("C:\\").generic_string();
  return {{maker, kWaits},
          {sdk, kWaits},
          {loaded_module.lexically_relative("C:\\").generic_string(), "the spooler's own copy, loaded in this process"},
          {platform::PendingDeletions({platform::SdkFolder().string(), platform::SdkFolder().parent_path().string()}),
           "names those folders for the restart"}};
}

void AddTraces(const platform::Lines& before, const platform::Lines& after, const std::vector<LifeTrace>& known,
               std::vector<LifeTrace>& traces) {
  for (const auto& what : platform::Difference(after, before)) {
    const auto found = std::find_if(known.begin(), known.end(), [&](const auto& each) { return each.what == what; });
    traces.push_back({what, found == known.end() ? "" : found->reason});
  }
  for (const auto& what : platform::Difference(before, after)) traces.push_back({"gone: " + what, ""});
}

std::vector<LifeTrace> FindTraces(const DriverLife& life, const std::vector<LifeTrace>& known) {
  std::vector<LifeTrace> traces;
  AddTraces(life.before.files, life.after.files, known, traces);
  AddTraces(life.before.registry, life.after.registry, known, traces);
  for (const auto& each : known) {
    const bool found =
        std::any_of(traces.begin(), traces.end(), [&](const auto& got) { return got.what == each.what; });
    if (!found) traces.push_back({"not there: " + each.what, ""});
  }
  return traces;
}

}  // namespace

DriverLife LiveOneLife(const std::wstring& module_path) {
  const platform::PrinterRequest request{module_path, L"R5-LQZ driver of one life", L"R5-LQZ printer of one life", {}};
  const fs::path loaded_module = platform::LoadedDriversFolder() / fs::path(module_path).filename();
  const fs::path profile = platform::ColorFolder() / kProfile;
  platform::RemoveRemains(request);
  for (const auto& remains : {loaded_module, profile}) fs::remove(remains);
  platform::ForgetPendingDeletions();
  platform::PrepareMachine();

  DriverLife life;
  life.before = platform::ReadMachineState();
  std::ofstream(profile) << "a profile, which comes with the driver";
  Live(request, life.stages);
  life.after = platform::ReadMachineState();
  life.traces = FindTraces(life, KnownTraces(loaded_module));
  platform::ForgetPendingDeletions();
  platform::CleanMachine();
  return life;
}

}  // namespace user
