// The help files as the module's Help buttons reach them, through the platform's own reader of such files, against the
// module's resources.
#include <gtest/gtest.h>

#include "../windows/module_resources.h"

#include <objbase.h>
#include <objidl.h>

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

struct Language {
  const char* code;
  LANGID resources;
  UINT code_page = 1252;
  const char* charset = "windows-1252";
};

constexpr Language kLanguages[] = {{"en", MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US)},
                                   {"de", LANG_GERMAN},
                                   {"fr", LANG_FRENCH},
                                   {"es", LANG_SPANISH},
                                   {"zh", LANG_CHINESE, 936, "gbk"}};

const r5lqz::UiLanguage& UiLanguageOf(const Language& language) {
  const auto* const found = std::ranges::find_if(r5lqz::kUiLanguages, [&](const r5lqz::UiLanguage& ui) {
    return std::equal(ui.code, ui.code + 3, language.code);
  });
  return found != r5lqz::kUiLanguages.end() ? *found : r5lqz::kUiLanguages.front();
}

// Each topic and the tab that it is about, whose title it must name.
constexpr struct {
  const WCHAR* path;
  UINT title;
} kTopics[] = {
    {r5lqz::kPageTopic, IDS_TAB_PAGE},
    {r5lqz::kAppearanceTopic, IDS_TAB_COLOR},
    {r5lqz::kLayoutTopic, IDS_TAB_LAYOUT},
    {r5lqz::kAboutTopic, IDS_TAB_ABOUT},
};

constexpr CLSID kReaderClass = {0x5D02926A, 0x212E, 0x11D0, {0x9D, 0xF9, 0x00, 0xA0, 0xC9, 0x22, 0xE6, 0xEC}};
constexpr IID kReaderInterface = {0x88CC31DE, 0x27AB, 0x11D0, {0x9D, 0xF9, 0x00, 0xA0, 0xC9, 0x22, 0xE6, 0xEC}};

template <class T>
struct Owned {
  ~Owned() {
    if (object) object->Release();
  }
  T* object = nullptr;
};

// What the help file holds at a path such as FILE.chm::/topics/TOPIC.html; empty when it is not there.
std::string Read(const std::wstring& path) {
  const std::size_t file_end = path.find(L"::");
  Owned<FileReader> reader;
  Owned<IStorage> file;
  Owned<IStream> stream;
  std::string bytes;
  if (FAILED(CoCreateInstance(kReaderClass, nullptr, CLSCTX_INPROC_SERVER, kReaderInterface,
                              reinterpret_cast<void**>(&reader.object))) ||
      FAILED(reader.object->Open(path.substr(0, file_end).c_str(), nullptr, STGM_READ | STGM_SHARE_DENY_WRITE, nullptr,
                                 0, &file.object)) ||
      FAILED(file.object->OpenStream(path.c_str() + file_end + 2, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0,
                                     &stream.object))) {
    return bytes;
  }
  char part[4096];
  ULONG size = 0;
  while (SUCCEEDED(stream.object->Read(part, sizeof part, &size)) && size) bytes.append(part, size);
  return bytes;
}

std::wstring Wide(const std::string& text, UINT code_page) {
  std::wstring wide(text.size(), L'\0');
  wide.resize(static_cast<std::size_t>(MultiByteToWideChar(code_page, MB_ERR_INVALID_CHARS, text.data(),
                                                           static_cast<int>(text.size()), wide.data(),
                                                           static_cast<int>(wide.size()))));
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

struct Topic {
  std::wstring path, text, title;
  std::string bytes;
  std::vector<std::wstring> names;  // of controls
};

class HelpFiles : public testing::TestWithParam<Language> {
 protected:
  HelpFiles() {
    // In no apartment: its window would start the platform's desktop, which keeps the outputs of this program open.
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    const auto strings = Strings(GetParam().resources);
    for (const auto& [id, text] : strings) shown_ += L"\n" + text + L"\n";
    for (int id = IDD_DEVICE_TAB; id <= IDD_CUSTOM_PAGE; ++id) {
      const std::vector<BYTE> bytes = Resource(RT_DIALOG, id, GetParam().resources);
      dialogs_.append(reinterpret_cast<const WCHAR*>(bytes.data()), bytes.size() / sizeof(WCHAR));
    }
    for (const auto& [page, title] : kTopics) {
      const std::wstring path =
          r5lqz::BuildHelpPath(Built(L"help\\r5-lqz.chm").c_str(), UiLanguageOf(GetParam()), page).data();
      const std::string bytes = Read(path);
      const std::wstring text = Wide(bytes, GetParam().code_page);
      topics_.push_back({path, text, strings.at(static_cast<int>(title)), bytes, Between(text, L"<b>", L"</b>")});
    }
  }
  ~HelpFiles() override { CoUninitialize(); }

  // The strings; and the raw data of the dialogs, in which their texts stand as they are.
  std::wstring shown_, dialogs_;
  std::vector<Topic> topics_;
};

TEST_P(HelpFiles, HasEveryTopicThatTheTabsAskFor) {
  for (const Topic& topic : topics_) {
    SCOPED_TRACE(Shown(topic.path));
    EXPECT_NE(topic.bytes.npos, topic.bytes.find(std::string("charset=") + GetParam().charset + '"'));
    ASSERT_FALSE(topic.text.empty()) << "not there, or not in the code page that it declares";
    EXPECT_EQ(1u, Between(topic.text, L"<title>", L"</title>").size());
    EXPECT_NE(0, std::ranges::count(topic.names, topic.title)) << Shown(topic.title);
  }
}

// The page topic says how many pages a printer holds, and what is too many to import; and how long a name may be.
TEST_P(HelpFiles, StatesTheLimitsThatHold) {
  const std::wstring& text = topics_[0].text;
  EXPECT_EQ(2u, Between(text, std::to_wstring(r5lqz::kMostLabels), L"<").size());
  EXPECT_EQ(1u, Between(text, std::to_wstring(r5lqz::kLabelNameSize - 1), L"<").size());
}

TEST_P(HelpFiles, LeadsNowhereElse) {
  for (const Topic& topic : topics_) {
    const std::wstring root = topic.path.substr(0, topic.path.find(L"::") + 3);
    const auto links = Between(topic.text, L"href=\"", L"\"");
    EXPECT_FALSE(links.empty());
    for (const std::wstring& link : links) {
      const bool beside = !link.starts_with(L"../");
      EXPECT_FALSE(Read(root + (beside ? L"topics/" + link : link.substr(3))).empty())
          << Shown(topic.path) << " to " << Shown(link);
    }
  }
}

TEST_P(HelpFiles, CallsEveryControlByTheNameThatTheDialogsShow) {
  const std::wstring shown = dialogs_ + shown_;
  const auto is_word_within = [&shown](const std::wstring& name) {
    for (std::size_t at = shown.find(name); at != shown.npos; at = shown.find(name, at + 1)) {
      if (at && !IsCharAlphaNumericW(shown[at - 1]) && !IsCharAlphaNumericW(shown[at + name.size()])) return true;
    }
    return false;
  };
  for (const Topic& topic : topics_) {
    for (const std::wstring& name : topic.names) {
      EXPECT_TRUE(is_word_within(name)) << Shown(topic.path) << ": " << Shown(name);
    }
  }
}

// In a template a button is its style, place and number, followed by its class (0xFFFF, 0x80) and its text.
TEST_P(HelpFiles, NamesEveryButtonOfTheDialogs) {
  std::set<std::wstring> named;
  for (const Topic& topic : topics_) named.insert(topic.names.begin(), topic.names.end());
  const std::wstring button_class = L"\xFFFF\x80";
  constexpr std::size_t kStyleBeforeClass = 8;
  int buttons = 0;
  for (std::size_t at = dialogs_.find(button_class); at != dialogs_.npos; at = dialogs_.find(button_class, at + 1)) {
    const DWORD style = dialogs_[at - kStyleBeforeClass] | DWORD{dialogs_[at - kStyleBeforeClass + 1]} << 16;
    if (!(style & WS_VISIBLE) || (style & BS_TYPEMASK) == BS_GROUPBOX) continue;
    const std::wstring text = dialogs_.c_str() + at + button_class.size();
    EXPECT_TRUE(named.contains(text)) << Shown(text);
    ++buttons;
  }
  EXPECT_EQ(21, buttons);
}

BOOL CALLBACK AddLanguage(HMODULE, LPCWSTR, LPCWSTR, WORD language, LONG_PTR languages) {
  reinterpret_cast<std::vector<LANGID>*>(languages)->push_back(language);
  return TRUE;
}

// What a language needs beside its resources: a row in the module's table, help that is tested above, and a name in
// what installs it.
TEST(HelpLanguages, AreThoseOfTheDialogs) {
  std::vector<LANGID> languages;
  EnumResourceLanguagesW(Module(), RT_DIALOG, MAKEINTRESOURCEW(IDD_PAGE_TAB), AddLanguage,
                         reinterpret_cast<LONG_PTR>(&languages));
  EXPECT_EQ(languages.size(), r5lqz::kUiLanguages.size());
  std::ifstream file(Built(L"package\\INSTALL.txt"));
  const std::string instructions(std::istreambuf_iterator<char>(file), {});
  for (const LANGID language : languages) {
    const std::wstring code = Strings(language)[IDS_LANGUAGE];
    SCOPED_TRACE(Shown(code));
    const auto* const ui = std::ranges::find(r5lqz::kUiLanguages, code, &r5lqz::UiLanguage::code);
    ASSERT_NE(ui, r5lqz::kUiLanguages.end()) << "not in the module's table";
    EXPECT_TRUE(std::ranges::any_of(kLanguages, [&](const Language& one) {
      return one.resources == language && std::equal(code.begin(), code.end(), one.code);
    })) << "its help is not tested";
    const std::wstring name = std::wstring(L"r5-lqz.") + (ui->help_extension ? ui->help_extension : L"chm");
    EXPECT_NE(instructions.find(Shown(name)), std::string::npos) << Shown(name);
  }
}

INSTANTIATE_TEST_SUITE_P(Languages, HelpFiles, testing::ValuesIn(kLanguages),
                         [](const auto& one) { return std::string(one.param.code); });

}  // namespace
}  // namespace tests
