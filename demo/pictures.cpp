// Pictures of every tab of both sheets and of the dialogs that the Page tab opens, in the language that the module's
// resources come in here.
#include <windows.h>

#include <prsht.h>

#include <array>
#include <cctype>
#include <iterator>

#include "user/dialog_window.h"
#include "picture.h"
#include "resources/resource_ids.h"
#include "user/sheet_window.h"
#include "sheets.h"

namespace demo {
namespace {

constexpr LANGID kEnglish = MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US);
constexpr UINT kLastString = 999;
constexpr UINT kStringsPerBlock = 16;

std::wstring StringOf(HMODULE module, UINT number) {
  std::array<wchar_t, 256> text{};
  LoadStringW(module, number, text.data(), static_cast<int>(text.size()));
  return text.data();
}

// Whatever the language in use. Strings lie in blocks, each with its length before it and without an end.
std::wstring EnglishStringOf(HMODULE module, UINT number) {
  const HRSRC found = FindResourceExW(module, RT_STRING, MAKEINTRESOURCEW(number / kStringsPerBlock + 1), kEnglish);
  const auto* text = found ? static_cast<const wchar_t*>(LockResource(LoadResource(module, found))) : nullptr;
  if (!text) return {};
  for (UINT skipped = 0; skipped < number % kStringsPerBlock; ++skipped) text += *text + 1;
  return std::wstring(text + 1, *text);
}

// A title by which a file can be named in every language: the English one, in letters, digits and dashes.
std::string FileTitle(HMODULE module, const std::wstring& title) {
  std::string name;
  for (UINT number = 1; number <= kLastString && name.empty(); ++number) {
    if (StringOf(module, number) == title) name = Narrow(EnglishStringOf(module, number));
  }
  for (char& c : name) {
    c = std::isalnum(static_cast<unsigned char>(c)) ? static_cast<char>(std::tolower(c)) : '-';
  }
  return name;
}

// One with print offsets.
constexpr wchar_t kChosenLabel[] = L"Bottle 3.5 x 4.75 in";

struct PageDialog {
  const char* file;
  int opener;
  int landmark;
  int closer;
};
constexpr PageDialog kPageDialogs[] = {
    {"manage-pages", IDC_PAGE_MANAGE, IDC_MANAGE_WIDTH, IDOK},
    {"custom-page", IDC_PAGE_EDIT_CUSTOM, IDC_CUSTOM_WIDTH, IDCANCEL},
};

struct Album {
  Session& session;
  std::wstring folder;
  std::string language;
  std::vector<Row> rows;
};

// `what` names the file, in English.
void Save(Album& album, HWND window, const std::string& what, const std::wstring& title, const std::wstring& parent) {
  const std::string file = album.language + "-" + what + ".png";
  const std::wstring path = album.folder + L"\\" + std::wstring(file.begin(), file.end());
  const bool saved = WaitUntilPainted(window) && SavePicture(window, path);
  if (album.session.report.Expect(saved, "a picture of " + Narrow(title))) {
    album.rows.push_back({file, Narrow(title), Narrow(parent)});
  }
}

void SaveDialog(Album& album, HWND page, const PageDialog& kind) {
  const HWND dialog = OpenDialog(page, kind.opener, kind.landmark);
  if (!album.session.report.Expect(dialog, std::string("the dialog for ") + kind.file)) return;
  ChooseListed(dialog, IDC_MANAGE_LABELS, kChosenLabel);
  Save(album, dialog, kind.file, TextOf(dialog), TextOf(GetDlgItem(page, kind.opener)));
  CloseDialog(dialog, kind.closer);
}

void SaveTabs(Album& album, HWND sheet) {
  auto& report = album.session.report;
  report.Expect(WaitUntilShown(sheet), "the sheet to become visible");
  for (int tab = 0; tab < TabCount(sheet); ++tab) {
    const std::wstring title = TabTitle(sheet, tab);
    const HWND page = SelectTab(sheet, tab);
    if (!report.Expect(page, "the tab " + Narrow(title))) continue;
    // The details of the chosen label are shown when it is chosen anew.
    const bool offers_labels = GetDlgItem(page, IDC_PAGE_MANAGE);
    if (offers_labels) ChooseEntry(page, IDC_PAGE_LABELS, kChosenLabel);
    Save(album, sheet, FileTitle(album.session.installed.module, title), title, TextOf(sheet));
    if (!offers_labels) continue;
    for (const auto& kind : kPageDialogs) SaveDialog(album, page, kind);
  }
  CloseSheet(sheet, PSBTN_CANCEL);
}

// The settings that an application has that prints on the label.
std::optional<Record> SettingsForLabel(Session& session) {
  auto asked = AskPlatform(session, "the defaults", nullptr);
  if (!asked) return {};
  asked->dm_public.dmFields = DM_PAPERSIZE;
  asked->dm_public.dmPaperSize = static_cast<short>(DemoLabels().back().stock.number);
  return AskPlatform(session, "the label", &*asked);
}

}  // namespace

void SavePictures(Session& session, const std::wstring& folder, const std::string& language) {
  auto& report = session.report;
  Album album{session, folder, Narrow(StringOf(session.installed.module, IDS_LANGUAGE)), {}};
  report.Expect(album.language == language, "the language " + language + ", not " + album.language);
  StoreLabels(session);
  auto before = SettingsForLabel(session);
  if (!before) return;
  Record after{};
  const auto preferences =
      ShowPreferences(session.installed, *before, after, [&](HWND sheet) { SaveTabs(album, sheet); });
  const auto properties = ShowProperties(session.installed, [&](HWND sheet) { SaveTabs(album, sheet); });
  report.Expect(album.rows.size() == preferences.pages + properties.pages + std::size(kPageDialogs),
                "a picture of every tab and of both dialogs");
  report.Table({"picture", "tab or dialog", "of sheet or button"}, album.rows);
}

}  // namespace demo
