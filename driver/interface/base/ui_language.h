// The languages of the user interface, and the one that is in use.
#pragma once

#include <windows.h>

#include <array>

namespace r5lqz {

// What each language has besides its resources. A language's place in the table is its number.
struct UiLanguage {
  const WCHAR* code;            // as string 195 of its resources names it: two letters
  const WCHAR* help_extension;  // of its help file, in the place of the registered file's; none: the registered one
  const WCHAR* shortcut_name;   // of the user guide's shortcut in the start menu
};

inline constexpr std::array kUiLanguages{
    UiLanguage{L"en", nullptr, L"R5-LQZ User Guide.url"},
    UiLanguage{L"de", L"de.chm", L"R5-LQZ Bedienungsanleitung.url"},
    UiLanguage{L"fr", L"fr.chm", L"Guide d\u2019utilisation de la R5-LQZ.url"},
    UiLanguage{L"zh", L"zh.chm", L"R5-LQZ \u7528\u6237\u6307\u5357.url"},
    UiLanguage{L"es", L"es.chm", L"Gu\u00EDa de usuario de R5-LQZ.url"},
};

// A row that is not filled in to its end would be found at the customer's.
static_assert([] {
  for (const UiLanguage& language : kUiLanguages) {
    const bool is_first = &language == kUiLanguages.data();
    if (!language.code || !language.shortcut_name || (language.help_extension == nullptr) != is_first) return false;
  }
  return true;
}());

// The language of the module's loaded resources: what string 195 names, and the first of the table (English) for
// anything unknown.
const UiLanguage& GetUiLanguage();

}  // namespace r5lqz
