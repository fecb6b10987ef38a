// The help files as the module's Help buttons reach them, through the platform's own reader of such files, against the
// module's resources.
#include <gtest/gtest.h>

#include "../windows/module_resources.h"

#include <objbase.h>
#include <objidl.h>

#include <wrl/client.h>

#include <algorithm>
#include <fstream>
#include <set>

#include "labels/printer_label.h"
#include "pages/help.h"
#include "pages/help_topics.h"
#include "resources/resource_ids.h"

namespace tests {

// The platform's reader of help files. Its declaration is missing from the headers; only the last function is called.
// Not in the unnamed namespace: the compiler would know of no class that implements it, and make calls of it calls of
// nothing.
struct FileReader : IUnknown {
  virtual HRESULT WINAPI Create(const WCHAR*, DWORD, DWORD, IStorage**) = 0;
  virtual HRESULT WINAPI CreateOnBytes(ILockBytes*, DWORD, DWORD, IStorage**) = 0;
  virtual HRESULT WINAPI IsFile(const WCHAR*) = 0;
  virtual HRESULT WINAPI IsBytes(ILockBytes*) = 0;
  virtual HRESULT WINAPI Open(const WCHAR* file, IStorage*, DWORD mode, SNB, DWORD, IStorage** storage) = 0;
};

namespace {

using Microsoft::WRL::ComPtr;

// Each topic and the tab that it is about, whose title it must name.
constexpr std::pair<const WCHAR*, int> kTopics[] = {{r5lqz::kPageTopic, IDS_TAB_PAGE},
                                                    {r5lqz::kAppearanceTopic, IDS_TAB_COLOR},
                                                    {r5lqz::kLayoutTopic, IDS_TAB_LAYOUT},
                                                    {r5lqz::kAboutTopic, IDS_TAB_ABOUT}};

constexpr CLSID kReaderClass = {0x5D02926A, 0x212E, 0x11D0, {0x9D, 0xF9, 0x00, 0xA0, 0xC9, 0x22, 0xE6, 0xEC}};
constexpr IID kReaderInterface = {0x88CC31DE, 0x27AB, 0x11D0, {0x9D, 0xF9, 0x00, 0xA0, 0xC9, 0x22, 0xE6, 0xEC}};

// What the help file holds at a path such as FILE.chm::/topics/TOPIC.html; empty when it is not there.
std::string Read(const std::wstring& path) {
  const std::size_t file_end = path.find(L"::");
  ComPtr<FileReader> reader;
  ComPtr<IStorage> file;
  ComPtr<IStream> stream;
  std::string bytes;
  if (FAILED(CoCreateInstance(kReaderClass, nullptr, CLSCTX_INPROC_SERVER, kReaderInterface,
                              reinterpret_cast<void**>(reader.GetAddressOf()))) ||
      FAILED(reader->Open(path.substr(0, file_end).c_str(), nullptr, STGM_READ | STGM_SHARE_DENY_WRITE, nullptr, 0,
                          &file)) ||
      FAILED(file->OpenStream(path.c_str() + file_end + 2, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, &stream))) {
    return bytes;
  }
  char part[4096];
  ULONG size = 0;
  while (SUCCEEDED(stream->Read(part, sizeof part, &size)) && size) bytes.append(part, size);
  return bytes;
}

// A topic's text; none when it is not in the code page that it has to declare.
std::wstring TextOf(const std::string& bytes, bool is_chinese) {
  if (bytes.find(is_chinese ? "charset=gbk\"" : "charset=windows-1252\"") == bytes.npos) return {};
  std::wstring wide(bytes.size(), L'\0');
  const int size = static_cast<int>(bytes.size());
  wide.resize(static_cast<std::size_t>(
      MultiByteToWideChar(is_chinese ? 936 : 1252, MB_ERR_INVALID_CHARS, bytes.data(), size, wide.data(), size)));
  return wide;
}

// What stands between each `begin` and the next `end`, line breaks as blanks.
std::vector<std::wstring> Between(const std::wstring& text, const std::wstring& begin, const std::wstring& end) {
  std::vector<std::wstring> found;
  for (std::size_t at = text.find(begin); at != text.npos; at = text.find(begin, at)) {
    at += begin.size();
    std::wstring one = text.substr(at, text.find(end, at) - at);
    std::erase(one, L'\r');
    std::replace(one.begin(), one.end(), L'\n', L' ');
    found.push_back(one);
  }
  return found;
}

bool HasWord(const std::wstring& text, const std::wstring& word) {
  for (std::size_t at = text.find(word); at != text.npos; at = text.find(word, at + 1)) {
    if (at && !IsCharAlphaNumericW(text[at - 1]) && !IsCharAlphaNumericW(text[at + word.size()])) return true;
  }
  return false;
}

// The texts of the visible buttons. In a template a button is its style, place and number, followed by its class
// (0xFFFF, 0x80) and its text.
std::vector<std::wstring> Buttons(const std::wstring& dialogs) {
  const std::wstring button_class = L"\xFFFF\x80";
  constexpr std::size_t kStyleBeforeClass = 8;
  std::vector<std::wstring> texts;
  for (std::size_t at = dialogs.find(button_class); at != dialogs.npos; at = dialogs.find(button_class, at + 1)) {
    const DWORD style = dialogs[at - kStyleBeforeClass] | DWORD{dialogs[at - kStyleBeforeClass + 1]} << 16;
    if (!(style & WS_VISIBLE) || (style & BS_TYPEMASK) == BS_GROUPBOX) continue;
    texts.emplace_back(dialogs.c_str() + at + button_class.size());
  }
  return texts;
}

// A language of the dialogs has a row in the module's table, help, and a name in what installs that. The help calls
// every control by the name that the dialogs show, names all their buttons, states the limits and leads nowhere else.
void CheckLanguage(LANGID language) {
  const auto strings = Strings(language);
  const auto* const ui = std::ranges::find(r5lqz::kUiLanguages, strings.at(IDS_LANGUAGE), &r5lqz::UiLanguage::code);
  ASSERT_NE(ui, r5lqz::kUiLanguages.end()) << "not in the module's table";
  std::ifstream file(Built(L"package\\INSTALL.txt"));
  const std::string instructions(std::istreambuf_iterator<char>(file), {});
  const std::wstring name = std::wstring(L"r5-lqz.") + (ui->help_extension ? ui->help_extension : L"chm");
  EXPECT_NE(instructions.find(Shown(name)), std::string::npos) << Shown(name);

  // The raw data of the dialogs, in which their texts stand as they are, and the strings.
  std::wstring dialogs, shown;
  for (int id = IDD_DEVICE_TAB; id <= IDD_CUSTOM_PAGE; ++id) {
    const std::vector<BYTE> bytes = Resource(RT_DIALOG, id, language);
    dialogs.append(reinterpret_cast<const WCHAR*>(bytes.data()), bytes.size() / sizeof(WCHAR));
  }
  for (const auto& [id, text] : strings) shown += L"\n" + text + L"\n";
  shown = dialogs + shown;

  std::set<std::wstring> named;
  for (const auto& [topic, title] : kTopics) {
    const std::wstring path = r5lqz::BuildHelpPath(Built(L"help\\r5-lqz.chm").c_str(), *ui, topic).data();
    const std::wstring root = path.substr(0, path.find(L"::") + 3);
    SCOPED_TRACE(Shown(path));
    const std::wstring text = TextOf(Read(path), PRIMARYLANGID(language) == LANG_CHINESE);
    EXPECT_EQ(Between(text, L"<title>", L"</title>").size(), 1u) << "not there, or in another code page";
    const auto names = Between(text, L"<b>", L"</b>");
    EXPECT_NE(std::ranges::count(names, strings.at(title)), 0) << Shown(strings.at(title));
    for (const std::wstring& one : names) EXPECT_TRUE(HasWord(shown, one)) << Shown(one);
    named.insert(names.begin(), names.end());

    const auto links = Between(text, L"href=\"", L"\"");
    EXPECT_FALSE(links.empty());
    for (const std::wstring& link : links) {
      const std::wstring target = link.starts_with(L"../") ? link.substr(3) : L"topics/" + link;
      EXPECT_FALSE(Read(root + target).empty()) << Shown(link);
    }
    if (title != IDS_TAB_PAGE) continue;
    // How many pages a printer holds, and what is too many to import; and how long a name may be.
    EXPECT_EQ(Between(text, std::to_wstring(r5lqz::kMostLabels), L"<").size(), 2u);
    EXPECT_EQ(Between(text, std::to_wstring(r5lqz::kLabelNameSize - 1), L"<").size(), 1u);
  }
  const auto buttons = Buttons(dialogs);
  EXPECT_EQ(buttons.size(), 21u);
  for (const std::wstring& button : buttons) EXPECT_TRUE(named.contains(button)) << Shown(button);
}

BOOL CALLBACK AddLanguage(HMODULE, LPCWSTR, LPCWSTR, WORD language, LONG_PTR languages) {
  reinterpret_cast<std::vector<LANGID>*>(languages)->push_back(language);
  return TRUE;
}

TEST(HelpFiles, AgreeWithTheDialogsInEachOfTheirLanguages) {
  // In no apartment: its window would start the platform's desktop, which keeps the outputs of this program open.
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  std::vector<LANGID> languages;
  EnumResourceLanguagesW(Module(), RT_DIALOG, MAKEINTRESOURCEW(IDD_PAGE_TAB), AddLanguage,
                         reinterpret_cast<LONG_PTR>(&languages));
  EXPECT_EQ(languages.size(), r5lqz::kUiLanguages.size());
  for (const LANGID language : languages) {
    SCOPED_TRACE(language);
    CheckLanguage(language);
  }
  CoUninitialize();
}

}  // namespace
}  // namespace tests
