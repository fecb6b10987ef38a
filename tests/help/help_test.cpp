// The help files as the module's Help buttons reach them, through the platform's own reader of such files, against the
// module's resources.
#include <gtest/gtest.h>
#include <windows.h>

#include <objbase.h>
#include <objidl.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

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

constexpr UINT kWestern = 1252;
constexpr UINT kChinese = 936;

struct Language {
  const char* code;
  r5lqz::UiLanguage ui;
  LANGID resources;
  UINT code_page;
  const char* charset;
};

constexpr Language kLanguages[] = {
    {"en", r5lqz::UiLanguage::kEnglish, MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), kWestern, "windows-1252"},
    {"de", r5lqz::UiLanguage::kGerman, MAKELANGID(LANG_GERMAN, SUBLANG_NEUTRAL), kWestern, "windows-1252"},
    {"fr", r5lqz::UiLanguage::kFrench, MAKELANGID(LANG_FRENCH, SUBLANG_NEUTRAL), kWestern, "windows-1252"},
    {"es", r5lqz::UiLanguage::kSpanish, MAKELANGID(LANG_SPANISH, SUBLANG_NEUTRAL), kWestern, "windows-1252"},
    {"zh", r5lqz::UiLanguage::kChinese, MAKELANGID(LANG_CHINESE, SUBLANG_NEUTRAL), kChinese, "gbk"},
};

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

// A build puts this program two folders down from the module.
std::wstring Built(const WCHAR* file) {
  WCHAR program[MAX_PATH] = L"";
  GetModuleFileNameW(nullptr, program, MAX_PATH);
  const std::wstring path = program;
  WCHAR full[MAX_PATH] = L"";
  GetFullPathNameW((path.substr(0, path.find_last_of(L'\\') + 1) + L"..\\..\\" + file).c_str(), MAX_PATH, full,
                   nullptr);
  return full;
}

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

std::string Shown(const std::wstring& text) {
  std::string shown(text.size() * 3, '\0');
  shown.resize(
      static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), shown.data(),
                                                   static_cast<int>(shown.size()), nullptr, nullptr)));
  return shown;
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

class HelpFiles : public testing::TestWithParam<Language> {
 protected:
  HelpFiles() : module_(LoadLibraryExW(Built(L"r5-lqz-ui.dll").c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE)) {
    CoInitialize(nullptr);
    for (const auto& topic : kTopics) {
      const r5lqz::HelpPath path = r5lqz::BuildHelpPath(Built(L"help\\r5-lqz.chm").c_str(), GetParam().ui, topic.path);
      paths_.push_back(path.data());
      topics_.push_back(Read(path.data()));
    }
  }
  ~HelpFiles() override {
    CoUninitialize();
    FreeLibrary(module_);
  }

  // The raw data of the language's resources of one type: their texts stand in it as they are.
  std::wstring Resources(const WCHAR* type, int lowest, int highest) const {
    std::wstring data;
    for (int id = lowest; id <= highest; ++id) {
      const HRSRC found = FindResourceExW(module_, type, MAKEINTRESOURCEW(id), GetParam().resources);
      const DWORD size = found ? SizeofResource(module_, found) : 0;
      if (size)
        data.append(static_cast<const WCHAR*>(LockResource(LoadResource(module_, found))), size / sizeof(WCHAR));
    }
    return data;
  }
  std::wstring Dialogs() const { return Resources(RT_DIALOG, IDD_DEVICE_TAB, IDD_CUSTOM_PAGE); }
  std::wstring Strings() const { return Resources(RT_STRING, 1, 16); }

  std::wstring String(UINT id) const {
    const std::wstring block = Resources(RT_STRING, static_cast<int>(id / 16 + 1), static_cast<int>(id / 16 + 1));
    std::size_t at = 0;
    for (UINT skipped = id % 16; skipped && at < block.size(); --skipped) at += 1u + block[at];
    return at < block.size() ? block.substr(at + 1, block[at]) : L"";
  }

  std::wstring Text(std::size_t topic) const { return Wide(topics_[topic], GetParam().code_page); }

  HMODULE module_;
  std::vector<std::wstring> paths_;
  std::vector<std::string> topics_;
};

TEST_P(HelpFiles, HasEveryTopicThatTheTabsAskFor) {
  for (std::size_t i = 0; i < std::size(kTopics); ++i) {
    SCOPED_TRACE(Shown(paths_[i]));
    ASSERT_FALSE(topics_[i].empty());
    EXPECT_NE(topics_[i].npos, topics_[i].find(std::string("charset=") + GetParam().charset + '"'));
    const std::wstring text = Text(i);
    EXPECT_FALSE(text.empty()) << "not in the code page that it declares";
    EXPECT_EQ(1u, Between(text, L"<title>", L"</title>").size());
    const std::wstring title = String(kTopics[i].title);
    ASSERT_FALSE(title.empty());
    EXPECT_NE(text.npos, text.find(L"<b>" + title + L"</b>")) << Shown(title);
  }
}

TEST_P(HelpFiles, LeadsNowhereElse) {
  for (std::size_t i = 0; i < std::size(kTopics); ++i) {
    const std::wstring root = paths_[i].substr(0, paths_[i].find(L"::") + 3);
    const auto links = Between(Text(i), L"href=\"", L"\"");
    EXPECT_FALSE(links.empty());
    for (const std::wstring& link : links) {
      const bool beside = !link.starts_with(L"../");
      EXPECT_FALSE(Read(root + (beside ? L"topics/" + link : link.substr(3))).empty())
          << Shown(paths_[i]) << " to " << Shown(link);
    }
  }
}

TEST_P(HelpFiles, CallsEveryControlByTheNameThatTheDialogsShow) {
  const std::wstring shown = Dialogs() + Strings();
  ASSERT_FALSE(shown.empty());
  const auto is_word_within = [&shown](const std::wstring& name) {
    for (std::size_t at = shown.find(name); at != shown.npos; at = shown.find(name, at + 1)) {
      if (at && !IsCharAlphaNumericW(shown[at - 1]) && !IsCharAlphaNumericW(shown[at + name.size()])) return true;
    }
    return false;
  };
  for (std::size_t i = 0; i < std::size(kTopics); ++i) {
    for (const std::wstring& name : Between(Text(i), L"<b>", L"</b>")) {
      EXPECT_TRUE(is_word_within(name)) << Shown(paths_[i]) << ": " << Shown(name);
    }
  }
}

// In a template a button is its style, place and number, followed by its class (0xFFFF, 0x80) and its text.
TEST_P(HelpFiles, NamesEveryButtonOfTheDialogs) {
  std::set<std::wstring> named;
  for (std::size_t i = 0; i < std::size(kTopics); ++i) {
    for (const std::wstring& name : Between(Text(i), L"<b>", L"</b>")) named.insert(name);
  }
  const std::wstring dialogs = Dialogs();
  const std::wstring button_class = L"\xFFFF\x80";
  constexpr std::size_t kStyleBeforeClass = 8;
  int buttons = 0;
  for (std::size_t at = dialogs.find(button_class); at != dialogs.npos; at = dialogs.find(button_class, at + 1)) {
    const DWORD style = dialogs[at - kStyleBeforeClass] | DWORD{dialogs[at - kStyleBeforeClass + 1]} << 16;
    if (!(style & WS_VISIBLE) || (style & BS_TYPEMASK) == BS_GROUPBOX) continue;
    const std::wstring text = dialogs.c_str() + at + button_class.size();
    EXPECT_TRUE(named.contains(text)) << Shown(text);
    ++buttons;
  }
  EXPECT_EQ(21, buttons);
}

INSTANTIATE_TEST_SUITE_P(Languages, HelpFiles, testing::ValuesIn(kLanguages),
                         [](const auto& one) { return std::string(one.param.code); });

}  // namespace
}  // namespace tests
