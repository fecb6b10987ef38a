#include <algorithm>

#include "diag/bounded_text.h"
#include "pages/help.h"

namespace r5lqz {
namespace {

// In the order of UiLanguage. The extension takes the place of the registered file's.
constexpr const WCHAR* kExtensions[] = {L"chm", L"de.chm", L"fr.chm", L"zh.chm", L"es.chm"};
constexpr std::size_t kExtensionLength = 3;

}  // namespace

HelpPath BuildHelpPath(const WCHAR* help_file, UiLanguage language, const WCHAR* topic) {
  HelpPath path{};
  auto file = TextAt(help_file, path.size());
  const WCHAR* extension = L"";
  if (language != UiLanguage::kEnglish) {
    if (file.size() < kExtensionLength) return path;
    file = file.first(file.size() - kExtensionLength);
    extension = kExtensions[static_cast<std::size_t>(language)];
  }
  std::size_t length = 0;
  for (const auto part : {file, TextAt(extension, path.size()), TextAt(topic, path.size())}) {
    if (part.size() >= path.size() - length) return HelpPath{};
    std::copy(part.begin(), part.end(), path.begin() + length);
    length += part.size();
  }
  return path;
}

}  // namespace r5lqz
