// Context help: which topic of which file is shown, and what happens when the platform's help component is not there.
#include "printer_keys.h"
#include "sheet_fixture.h"

namespace tests {
namespace {

// How far the module gets with the help component.
enum class Component { kMissing, kNotLoaded, kWithoutEntry, kWhole };

struct World {
  Component component = Component::kMissing;
  std::wstring registered;
  std::wstring help_file = L"C:\\help\\guide.chm";
  std::wstring language = L"en";
  HWND tab = nullptr;
  std::string shown;
  int searches = 0;
} world;

HWND WINAPI ShowHelp(HWND caller, LPCWSTR file, UINT command, DWORD_PTR data) {
  EXPECT_TRUE(command == 0 && data == 0 && caller == world.tab);
  world.shown += NarrowText(file);
  return nullptr;
}

LSTATUS WINAPI FindComponent(HKEY root, LPCWSTR key, LPCWSTR, DWORD flags, LPDWORD, PVOID data, LPDWORD) {
  ++world.searches;
  EXPECT_TRUE(flags & RRF_NOEXPAND) << "the environment is anybody's to set";
  EXPECT_TRUE(root == HKEY_LOCAL_MACHINE && wcsncmp(key, L"Software\\Classes\\CLSID\\{", 24) == 0)
      << "the user's own entry is nobody's to load from";
  wcscpy(static_cast<wchar_t*>(data), world.registered.c_str());
  return world.component == Component::kMissing ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS;
}

HMODULE WINAPI LoadComponent(LPCWSTR file, HANDLE, DWORD flags) {
  EXPECT_STRCASEEQ(NarrowText(file).c_str(), "c:\\windows\\help.ocx");
  EXPECT_EQ(flags, DWORD{LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32})
      << "what it needs is looked for beside it and in the system's folder";
  return world.component == Component::kNotLoaded ? nullptr : GetModuleHandleW(nullptr);
}

// ShowHelp at an odd address, where a function may well lie.
void* OddEntry() {
  static BYTE* const code = [] {
    auto* const block = static_cast<BYTE*>(VirtualAlloc(nullptr, 64, MEM_RESERVE | MEM_COMMIT, PAGE_EXECUTE_READWRITE));
    BYTE jump[] = {0x48, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xE0};  // mov rax, ...; jmp rax
    const auto target = reinterpret_cast<std::uintptr_t>(&ShowHelp);
    memcpy(jump + 2, &target, sizeof target);
    return static_cast<BYTE*>(memcpy(block + 3, jump, sizeof jump));
  }();
  return code;
}

void* WINAPI FindEntry(HMODULE, LPCSTR name) {
  EXPECT_STREQ(name, "HtmlHelpW");
  return world.component == Component::kWhole ? OddEntry() : nullptr;
}

int WINAPI LoadTextOrLanguage(HINSTANCE module, UINT id, LPWSTR text, int size) {
  if (id != IDS_LANGUAGE) return LoadStringW(module, id, text, size);
  return static_cast<int>(world.language.copy(text, static_cast<std::size_t>(size) - 1));
}

BOOL WINAPI DriverWithHelp(HANDLE, LPWSTR, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed) {
  if (level != 3 || world.help_file == L"unreadable") return SetLastError(ERROR_ACCESS_DENIED), FALSE;
  *needed = static_cast<DWORD>(sizeof(DRIVER_INFO_3W) + (world.help_file.size() + 1) * sizeof(wchar_t));
  if (size < *needed) return SetLastError(ERROR_INSUFFICIENT_BUFFER), FALSE;
  auto* const info = reinterpret_cast<DRIVER_INFO_3W*>(buffer);
  *info = {};
  if (!world.help_file.empty()) info->pHelpFile = wcscpy(reinterpret_cast<wchar_t*>(info + 1), world.help_file.c_str());
  return TRUE;
}

struct Help : SheetTest {
  // The module looks for the component once in its life, so every case takes a module of its own.
  void Open(Component component, const wchar_t* registered, const Steps& steps) {
    world = {component, registered};
    wchar_t path[MAX_PATH];
    GetTempPathW(MAX_PATH, path);
    wcscat(path, L"r5-lqz-help.dll");
    ASSERT_TRUE(CopyFileW(ModulePath().c_str(), path, FALSE));
    const HMODULE module = LoadLibraryW(path);
    platform::DriverEntries entries;
    ASSERT_FALSE(platform::FindDriverEntries(module, entries));
    watch.reset();
    watch = std::make_unique<Watch>(module);
    watch->Replace("winspool.drv", "EnumPrinterKeyW", &platform::RegistryEnumPrinterKey);
    watch->Replace("winspool.drv", "DeletePrinterKeyW", &platform::RegistryDeletePrinterKey);
    watch->Replace("winspool.drv", "GetPrinterDriverW", &DriverWithHelp);
    watch->Replace("advapi32.dll", "RegGetValueW", &FindComponent);
    watch->Replace("kernel32.dll", "LoadLibraryExW", &LoadComponent);
    watch->Replace("kernel32.dll", "GetProcAddress", &FindEntry);
    watch->Replace("user32.dll", "LoadStringW", &LoadTextOrLanguage);
    auto header = Header(nullptr, nullptr);
    ShowSheet(entries.DocumentPropertySheets, &header, steps, PSBTN_CANCEL);
    TearDown();
    watch.reset();
    FreeLibrary(module);
    EXPECT_TRUE(DeleteFileW(path));
  }

  static std::string ShownFor(const SheetUser& user) {
    world.tab = user.Tab();
    user.Press(PSBTN_HELP);
    return std::exchange(world.shown, {});
  }
};

TEST_F(Help, ShowsTheTabsTopicInTheLanguagesFile) {
  constexpr const char* kTopics[] = {
      "::/topics/task-selecting_a_label_stock.html", "::/topics/task-setting_up_appearance_options.html",
      "::/topics/task-setting_up_layout_options.html", "::/topics/concept-setting_up_the_printer_driver.html"};
  const std::pair<const wchar_t*, const char*> kFiles[] = {
      {L"de", "guide.de.chm"}, {L"deu", "guide.chm"}, {L"DE", "guide.chm"}, {L"en", "guide.chm"}, {L"", "guide.chm"}};
  Open(Component::kWhole, L"%systemroot%\\help.ocx", [&](SheetUser& user) {
    for (int tab = 0; tab < kTabs; ++tab) {
      ASSERT_TRUE(user.Open(tab));
      EXPECT_EQ(ShownFor(user), std::string("C:\\help\\guide.chm") + kTopics[tab]);
    }
    for (const auto& [language, file] : kFiles) {
      world.language = language;
      EXPECT_EQ(ShownFor(user), std::string("C:\\help\\") + file + kTopics[kAboutTab]);
    }
    for (const std::wstring& file : {std::wstring(), std::wstring(L"unreadable"), std::wstring(300, L'x')}) {
      world.help_file = file;
      EXPECT_EQ(ShownFor(user), "") << "nothing to show, or no room for its name";
    }
  });
  EXPECT_EQ(world.searches, 1);
}

TEST_F(Help, IsSilentWithoutTheComponentAndLooksForItOnce) {
  constexpr wchar_t kRegistered[] = L"c:\\Windows\\help.ocx";
  const std::pair<Component, const wchar_t*> kRows[] = {
      {Component::kMissing, kRegistered},           {Component::kNotLoaded, kRegistered},
      {Component::kWithoutEntry, kRegistered},      {Component::kWhole, L"help.ocx"},
      {Component::kWhole, L"\\help.ocx"},           {Component::kWhole, L"c:help.ocx"},
      {Component::kWhole, L"\\\\server\\help.ocx"}, {Component::kWhole, L""}};
  for (const auto& [component, registered] : kRows) {
    Open(component, registered, [&](SheetUser& user) {
      EXPECT_EQ(ShownFor(user), "");
      world.component = Component::kWhole;
      world.registered = kRegistered;
      EXPECT_EQ(ShownFor(user), "");
    });
    EXPECT_EQ(world.searches, 1) << NarrowText(registered);
  }
}

}  // namespace
}  // namespace tests
