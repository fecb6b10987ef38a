#include <algorithm>

#include "base/bounded_text.h"
#include "pages/help.h"

namespace r5lqz {
namespace {

// Of the registered file: "chm".
constexpr std::size_t kExtensionLength = 3;

}  // namespace

HelpPath BuildHelpPath(const WCHAR* help_file, const UiLanguage& language, const WCHAR* topic) {
  HelpPath path{};
  auto file = TextAt(help_file, path.size());
  if (language.help_extension) {
    if (file.size() < kExtensionLength) return path;
    file = file.first(file.size() - kExtensionLength);
  }
  std::size_t length = 0;
  for (const auto part : {file, TextAt(language.help_extension, path.size()), TextAt(topic, path.size())}) {
    if (part.size() >= path.size() - length) return HelpPath{};
    std::copy(part.begin(), part.end(), path.begin() + length);
    length += part.size();
  }
  return path;
}

}  // namespace r5lqz
