#include "base/ui_language.h"

#include <algorithm>

#include "base/string_table.h"
#include "resources/resource_ids.h"

namespace r5lqz {

const UiLanguage& GetUiLanguage() {
  // Two letters and the terminator tell the languages apart; a longer code is none of them.
  const StringText code = LoadText(IDS_LANGUAGE);
  for (const UiLanguage& language : kUiLanguages) {
    if (std::equal(code.begin(), code.begin() + 3, language.code)) return language;
  }
  return kUiLanguages.front();
}

}  // namespace r5lqz
