// Pictures of every tab of both sheets, in the language that the module's resources come in here.
#include <windows.h>

#include <prsht.h>

#include <array>
#include <cctype>

#include "picture.h"
#include "resources/resource_ids.h"
#include "sheet_window.h"
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

struct Album {
  Session& session;
  std::wstring folder;
  std::string language;
  std::vector<Row> rows;
};

void SaveTabs(Album& album, HWND sheet) {
  auto& report = album.session.report;
  report.Expect(WaitUntilShown(sheet), "the sheet to become visible");
  const std::string sheet_title = Narrow(TextOf(sheet));
  for (int tab = 0; tab < TabCount(sheet); ++tab) {
    const std::wstring title = TabTitle(sheet, tab);
    const std::string file = album.language + "-" + FileTitle(album.session.installed.module, title) + ".png";
    const std::wstring path = album.folder + L"\\" + std::wstring(file.begin(), file.end());
    const bool painted = SelectTab(sheet, tab) && WaitUntilPainted(sheet);
    if (report.Expect(painted && SavePicture(sheet, path), "a picture of the tab " + Narrow(title))) {
      album.rows.push_back({file, Narrow(title), sheet_title});
    }
  }
  CloseSheet(sheet, PSBTN_CANCEL);
}

}  // namespace

void SavePictures(Session& session, const std::wstring& folder, const std::string& language) {
  auto& report = session.report;
  Album album{session, folder, Narrow(StringOf(session.installed.module, IDS_LANGUAGE)), {}};
  report.Expect(album.language == language, "the language " + language + ", not " + album.language);
  auto before = AskPlatform(session, "the defaults", nullptr);
  if (!before) return;
  Record after{};
  const auto preferences =
      ShowPreferences(session.installed, *before, after, [&](HWND sheet) { SaveTabs(album, sheet); });
  const auto properties = ShowProperties(session.installed, [&](HWND sheet) { SaveTabs(album, sheet); });
  report.Expect(album.rows.size() == preferences.pages + properties.pages, "a picture of every tab");
  report.Table({"picture", "tab", "sheet"}, album.rows);
}

}  // namespace demo
