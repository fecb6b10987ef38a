// A user's work on the printer's label stocks and on a document's custom page, in the dialogs that the Page tab opens.
#include <windows.h>

#include <prsht.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "dialog_steps.h"
#include "resources/resource_ids.h"
#include "user/sheet_window.h"
#include "sheets.h"

namespace demo {
namespace {

constexpr DialogFields kManageFields{IDC_MANAGE_NAME,
                                     IDC_MANAGE_WIDTH,
                                     IDC_MANAGE_LENGTH,
                                     IDC_MANAGE_INCHES,
                                     {IDC_MANAGE_VERT, IDC_MANAGE_HORZ},
                                     {IDC_MANAGE_VERT_READOUT, IDC_MANAGE_HORZ_READOUT}};
constexpr DialogFields kCustomFields{0,
                                     IDC_CUSTOM_WIDTH,
                                     IDC_CUSTOM_LENGTH,
                                     IDC_CUSTOM_INCHES,
                                     {IDC_CUSTOM_VERT, IDC_CUSTOM_HORZ},
                                     {IDC_CUSTOM_VERT_READOUT, IDC_CUSTOM_HORZ_READOUT}};

const DialogStep kManageSteps[] = {
    {nullptr, {}, 0, 4, "Address 4 x 2 in: 4.000 x 2.000 in, 0, 0", 0},
    {nullptr, {}, IDC_MANAGE_MM, 4, "Address 4 x 2 in: 101.600 x 50.800 mm, 0, 0", 0},
    {nullptr,
     {{IDC_MANAGE_NAME, L"Freezer 80 x 60 mm"},
      {IDC_MANAGE_WIDTH, L"80"},
      {IDC_MANAGE_LENGTH, L"60"},
      {IDC_MANAGE_VERT, L"120"},
      {IDC_MANAGE_HORZ, L"-60"}},
     IDC_MANAGE_ADD,
     5,
     "Freezer 80 x 60 mm: 80 x 60 mm, 120, -60",
     0},
    {nullptr, {}, IDC_MANAGE_ADD, 5, "Freezer 80 x 60 mm: 80 x 60 mm, 120, -60", IDS_NAME_USED},
    {nullptr,
     {{IDC_MANAGE_NAME, L"Banner"}, {IDC_MANAGE_WIDTH, L"400"}},
     IDC_MANAGE_ADD,
     5,
     "Banner: 400 x 60 mm, 120, -60",
     IDS_INVALID_WIDTH},
    {L"Bottle 3.5 x 4.75 in",
     {{IDC_MANAGE_NAME, L"Wine bottle"}, {IDC_MANAGE_LENGTH, L"5"}},
     IDC_MANAGE_MODIFY,
     5,
     "Wine bottle: 3.500 x 5 in, 24, -60",
     0},
    {nullptr, {}, IDC_MANAGE_MM, 5, "Wine bottle: 88.900 x 127.000 mm, 24, -60", 0},
    {nullptr, {}, IDC_MANAGE_EXPORT, 5, "Wine bottle: 88.900 x 127.000 mm, 24, -60", 0},
    {L"Shipping 100 x 150 mm", {}, IDC_MANAGE_DELETE, 4, "Shelf tag 62 x 29 mm: 620 x 290 mm, 0, 0", 0},
    {nullptr, {}, IDC_MANAGE_IMPORT, 9, "Address 4 x 2 in: 4.000 x 2.000 in, 0, 0", 0},
};

// What the printer holds in the end: the deleted stock is back under its own name, the others twice.
constexpr const char* kNamesAtTheEnd[] = {
    "Address 4 x 2 in",     "Address 4 x 2 in (Copy 1)",     "Freezer 80 x 60 mm",    "Freezer 80 x 60 mm (Copy 1)",
    "Shelf tag 62 x 29 mm", "Shelf tag 62 x 29 mm (Copy 1)", "Shipping 100 x 150 mm", "Wine bottle",
    "Wine bottle (Copy 1)"};

const DialogStep kCustomSteps[] = {
    {nullptr, {}, 0, 0, "80 x 60 mm, 120, -60", 0},
    {nullptr,
     {{IDC_CUSTOM_WIDTH, L"3"}, {IDC_CUSTOM_LENGTH, L"2"}, {IDC_CUSTOM_VERT, L"2401"}},
     IDC_CUSTOM_INCHES,
     0,
     "3 x 2 mm, 2401, -60",
     IDS_INVALID_LENGTH},
    {nullptr, {{IDC_CUSTOM_LENGTH, L"127"}}, IDC_CUSTOM_INCHES, 0, "0.118 x 5.000 in, 2401, -60", 0},
    {nullptr, {}, IDOK, 0, "0.118 x 5.000 in, 2401, -60", IDS_INVALID_OFFSET},
    {nullptr,
     {{IDC_CUSTOM_WIDTH, L"3"}, {IDC_CUSTOM_VERT, L"0"}, {IDC_CUSTOM_HORZ, L"600"}},
     0,
     0,
     "3 x 5.000 in, 0, 600",
     0},
};

void ShowDetails(HWND page) {
  printf("   on the tab then: \"%s\": %s\n\n", ControlText(page, IDC_PAGE_LABELS).c_str(),
         OneLine(ControlText(page, IDC_PAGE_DETAILS)).c_str());
}

// Opens the preferences at the Page tab, works there, presses OK.
bool WorkPageTab(Session& session, Record& before, Record& after, const std::function<void(HWND page)>& work) {
  return AskPlatformWithPrompt(session, before, after, [&](HWND sheet) {
    const HWND page = WaitUntilShown(sheet) ? SelectTabWith(sheet, IDC_PAGE_MANAGE) : nullptr;
    if (session.report.Expect(page, "the Page tab")) work(page);
    CloseSheet(sheet, PSBTN_OK);
  });
}

std::wstring TemporaryFile() {
  wchar_t folder[MAX_PATH + 1] = L"";
  GetTempPathW(MAX_PATH, folder);
  return folder + std::wstring(L"r5lqz-demo.zpk");
}

void ShowFile(Report& report, const std::wstring& path) {
  static constexpr std::size_t kShown = 12;
  std::ifstream file(path.c_str(), std::ios::binary);
  const std::string text(std::istreambuf_iterator<char>(file), {});
  printf("\n   the exported file: %zu bytes, which begin\n", text.size());
  std::size_t from = 0;
  for (std::size_t line = 0; line < kShown && from < text.size(); ++line) {
    const std::size_t end = std::min(text.find('\n', from), text.size());
    printf("     %s\n", text.substr(from, end - from).c_str());
    from = end + 1;
  }
  report.Expect(text.find("\"Freezer 80 x 60 mm\"") != text.npos, "the new page in the exported file");
}

void ChooseStock(Session& session, DialogAnswers& answers, Record& before, Record& after) {
  auto& report = session.report;
  const bool shown = WorkPageTab(session, before, after, [&](HWND page) {
    WorkDialog({session, answers, kManageFields, kManageSteps}, page, IDC_PAGE_MANAGE);
    report.Expect(ChooseEntry(page, IDC_PAGE_LABELS, L"Freezer 80 x 60 mm"), "the new page among those of the tab");
    ShowDetails(page);
  });
  if (!shown) return;
  ShowChanges(report, before, after);
  const auto& got = after.dm_public;
  report.Expect(got.dmPaperSize >= 258 && got.dmPaperWidth == 800 && got.dmPaperLength == 600 &&
                    after.dm_private.vertOffset == 120 && after.dm_private.horzOffset == -60 &&
                    !strcmp(after.dm_private.labelName, "Freezer 80 x 60 mm"),
                "the new page with its size and offsets in the settings");
}

void SetCustomPage(Session& session, DialogAnswers& answers, Record& before, Record& after) {
  auto& report = session.report;
  const bool shown = WorkPageTab(session, before, after, [&](HWND page) {
    report.Expect(ChooseEntry(page, IDC_PAGE_LABELS, L"Custom"), "the custom page among those of the tab");
    WorkDialog({session, answers, kCustomFields, kCustomSteps}, page, IDC_PAGE_EDIT_CUSTOM);
    ShowDetails(page);
  });
  if (!shown) return;
  ShowChanges(report, before, after);
  const auto& got = after.dm_public;
  report.Expect(got.dmPaperSize == r5lqz::kCustomPage && got.dmPaperWidth == 762 && got.dmPaperLength == 1270 &&
                    after.dm_private.vertOffset == 0 && after.dm_private.horzOffset == 600,
                "the custom page with its size and offsets in the settings");
}

}  // namespace

void ManageLabels(Session& session) {
  auto& report = session.report;
  report.Section("A user manages label stocks on the Page tab");
  report.Road("platform, DocumentPropertiesW with DM_IN_PROMPT; worked by messages instead of a hand");
  printf(
      "   File dialogs and message boxes, which nobody would see, are answered by the demo: in the loaded module's\n"
      "   import table their functions are replaced. The typing and the buttons are real messages.\n\n");
  auto defaults = AskPlatform(session, "the defaults", nullptr);
  if (!defaults) return;
  const std::wstring path = TemporaryFile();
  DialogAnswers answers(session.installed.module, path);
  if (!report.Expect(answers.AreInPlace(), "the module's dialogs to be answered from here")) return;

  ShowStoredLabels(session);
  printf("\n");
  Record chosen{};
  ChooseStock(session, answers, *defaults, chosen);
  ShowFile(report, path);
  DeleteFileW(path.c_str());
  printf("\n");
  ShowStoredLabels(session);
  report.Expect(std::ranges::equal(StoredNames(session), kNamesAtTheEnd),
                "the deleted stock again, and a copy of every other");

  report.Section("The custom page of a document");
  report.Road("as before; the settings are those that the new label gave");
  Record custom{};
  SetCustomPage(session, answers, chosen, custom);
}

}  // namespace demo
