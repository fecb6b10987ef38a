// The driver's installation and removal, as the module that ships does them on this machine's own folders.
#include "install_machine.h"

#include <windows.h>

#include <shlobj.h>
#include <winspool.h>

#include <algorithm>
#include <fstream>

#include "../spooler/watchdog.h"
#include "driver_entries.h"
#include "import_patch.h"
#include "resources/resource_ids.h"

namespace tests {
namespace {

constexpr char kShortcut[] = "[InternetShortcut]\r\nURL=https://support.brindlewick.example/r5-lqz/user-guide";
constexpr char kNoName[] = "[Error] Could not get the driver name.";
const Lines kAllSdkFiles{"hpcrlib.dll", "hpldrlgl.dat", "hpldrlgl.dll", "iconv.dll"};
const Lines kProfiles{"R5-LQZ_Premium_Matte_Best_Mode_v02.icc",   "R5-LQZ_Premium_Matte_Fast_Mode_v01.icc",
                      "R5-LQZ_Premium_Matte_Normal_Mode_v02.icc", "R5-LQZ_Standard_Matte_Best_Mode_v02.icc",
                      "R5-LQZ_Standard_Matte_Fast_Mode_v01.icc",  "R5-LQZ_Standard_Matte_Normal_Mode_v01.icc"};
constexpr DWORD kFault = ERROR_NOT_READY;  // 0x15, what no call gives here by itself

wchar_t driver_name[] = L"Brindlewick R5-LQZ";

std::string InDriverFolders(const fs::path& path) {
  const bool start_menu = path.wstring().starts_with(StartMenuFolder().wstring());
  const auto base = start_menu ? StartMenuFolder().parent_path() : SdkFolder().parent_path().parent_path();
  return path.lexically_relative(base).generic_string();
}

// What the module asked of the platform.
Lines scheduled;    // for the next restart, none of which is done
Lines uninstalled;  // profiles
DWORD profile_error;

BOOL WINAPI WatchedMove(LPCWSTR from, LPCWSTR to, DWORD flags) {
  EXPECT_TRUE(!to && flags == MOVEFILE_DELAY_UNTIL_REBOOT) << from;
  scheduled.push_back(InDriverFolders(from));
  return TRUE;
}

BOOL WINAPI WatchedUninstall(PCWSTR machine, PCWSTR profile, BOOL with_file) {
  EXPECT_TRUE(!machine && with_file);
  uninstalled.push_back(fs::path(profile).string());
  SetLastError(profile_error);
  return !profile_error;
}

// Stands for any function of the platform or the runtime library that answers 0 when it fails.
LONG_PTR WINAPI Fail() {
  SetLastError(kFault);
  return 0;
}

template <int failing>
BOOL WINAPI FailFolder(HWND owner, LPWSTR path, int folder, BOOL create) {
  return folder == failing ? static_cast<BOOL>(Fail()) : SHGetSpecialFolderPathW(owner, path, folder, create);
}

// A folder beneath which hardly anything fits.
template <int deep>
BOOL WINAPI DeepFolder(HWND owner, LPWSTR path, int folder, BOOL create) {
  if (folder != deep) return SHGetSpecialFolderPathW(owner, path, folder, create);
  wcscpy(path, (L"C:\\" + std::wstring(245, 'd')).c_str());
  return TRUE;
}

BOOL WINAPI DeepDriverDirectory(LPWSTR, LPWSTR, DWORD, LPBYTE path, DWORD, LPDWORD) {
  return DeepFolder<0>(nullptr, reinterpret_cast<WCHAR*>(path), 0, FALSE);
}

class InstallTest : public InstallMachine {
 protected:
  InstallTest() : module_(LoadLibraryW(ModulePath().c_str())) {
    EXPECT_EQ(platform::FindDriverEntries(module_, entries_), nullptr);
    entries_.DocumentEvent(nullptr, nullptr, DOCUMENTEVENT_STARTDOCPRE, 0, nullptr, 0, nullptr);
    TakeRecords();
    scheduled.clear();
    uninstalled.clear();
    profile_error = 0;
    patches_.push_back(Patch("kernel32.dll", "MoveFileExW", reinterpret_cast<const void*>(&WatchedMove)));
    patches_.push_back(Patch("mscms.dll", "UninstallColorProfileW", reinterpret_cast<const void*>(&WatchedUninstall)));
  }
  ~InstallTest() override {
    patches_.clear();
    FreeLibrary(module_);
  }

  platform::ImportPatch Patch(const char* dll, const char* function, const void* replacement) {
    auto patch = platform::ReplaceImport(module_, dll, function, replacement);
    EXPECT_TRUE(patch) << function;
    return patch;
  }

  // The records between the event's own.
  Lines Deliver(DWORD event, DWORD level, void* info, BOOL expected) {
    EXPECT_EQ(entries_.DriverEvent(event, level, static_cast<BYTE*>(info), 0), expected);
    Lines records = TakeRecords();
    if (records.size() < 2 || records.front() != "[Trace] <DrvDriverEvent>" ||
        records.back() != "[Trace] </DrvDriverEvent>") {
      ADD_FAILURE() << "entry and exit are not traced";
      return records;
    }
    return {records.begin() + 1, records.end() - 1};
  }
  Lines Deliver(DWORD event) {
    DRIVER_INFO_3W info{};
    info.pName = driver_name;
    return Deliver(event, 3, &info, TRUE);
  }
  Lines Install() { return Deliver(DRIVER_EVENT_INITIALIZE); }
  // Without the records of the profiles, which are the last.
  Lines Remove() {
    Lines records = Deliver(DRIVER_EVENT_DELETE);
    EXPECT_EQ(uninstalled, kProfiles);
    uninstalled.clear();
    const auto profile = [](const std::string& text) { return text.find("color profile") != text.npos; };
    records.erase(std::find_if(records.begin(), records.end(), profile), records.end());
    return records;
  }

 private:
  HMODULE module_;
  platform::DriverEntries entries_;
  std::vector<platform::ImportPatch> patches_;
};

const wchar_t* language_text;  // in place of the string that names the language of the module's resources

int WINAPI GivenLanguage(HINSTANCE module, UINT id, LPWSTR text, int capacity) {
  if (id != IDS_LANGUAGE) return LoadStringW(module, id, text, capacity);
  lstrcpynW(text, language_text, capacity);
  return lstrlenW(text);
}

TEST_F(InstallTest, ShortcutIsNamedInTheUsersLanguage) {
  const auto patch = Patch("user32.dll", "LoadStringW", reinterpret_cast<const void*>(&GivenLanguage));
  const struct {
    const wchar_t* language;
    const char8_t* name;
  } rows[] = {{L"de", u8"R5-LQZ Bedienungsanleitung.url"},
              {L"fr", u8"Guide d\u2019utilisation de la R5-LQZ.url"},
              {L"zh", u8"R5-LQZ \u7528\u6237\u6307\u5357.url"},
              {L"es", u8"Gu\u00EDa de usuario de R5-LQZ.url"},
              {L"en", u8"R5-LQZ User Guide.url"},
              {L"it", u8"R5-LQZ User Guide.url"},
              {L"", u8"R5-LQZ User Guide.url"}};
  for (const auto& [language, name] : rows) {
    SCOPED_TRACE(fs::path(language));
    Clear();
    language_text = language;
    EXPECT_EQ(Install(), Lines{});
    ASSERT_EQ(Listing(StartMenuFolder()), Lines{reinterpret_cast<const char*>(name)});
    std::ifstream file(fs::directory_iterator(StartMenuFolder())->path(), std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), kShortcut);
  }
}

// The build runs this once more in another locale, which only a program's start can choose.
TEST_F(InstallTest, LanguageIsThatOfTheResources) {
  const char* const locale = getenv("R5LQZ_LOCALE");
  const bool german = locale && std::string_view(locale).starts_with("de");
  EXPECT_EQ(Install(), Lines{});
  EXPECT_EQ(Listing(StartMenuFolder()), Lines{german ? "R5-LQZ Bedienungsanleitung.url" : "R5-LQZ User Guide.url"});
}

TEST_F(InstallTest, ShortcutIsWrittenAnew) {
  const fs::path shortcut = StartMenuFolder() / L"R5-LQZ User Guide.url";
  fs::create_directory(StartMenuFolder());
  WriteBytes(shortcut.string(), std::string(500, 'x'));
  EXPECT_EQ(Install(), Lines{});
  EXPECT_EQ(ReadBytes(shortcut.string()), kShortcut);
}

TEST_F(InstallTest, RasterSdkFilesAreCopiedOnce) {
  const struct {
    const wchar_t* there;    // among the targets
    const wchar_t* missing;  // among the sources
    std::size_t copied;      // how many are in place then, "there" included
    Lines records;
  } rows[] = {{nullptr, nullptr, 4, {}},
              {kSdkFiles[0], nullptr, 1, {"[Error] Could not copy Raster SDK files: 0x20010005"}},
              {kSdkFiles[2], nullptr, 3, {"[Error] Could not copy Raster SDK files: 0x20010005"}},
              {nullptr, kSdkFiles[0], 0, {"[Error] Could not copy Raster SDK files: 0x20010004"}},
              {nullptr, kSdkFiles[3], 3, {"[Error] Could not copy Raster SDK files: 0x20010004"}}};
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    Clear();
    if (row.there) {
      fs::create_directories(SdkFolder());
      WriteBytes((SdkFolder() / row.there).string(), "older");
    }
    if (row.missing) fs::remove(SourceOf(row.missing));
    EXPECT_EQ(Install(), row.records);
    EXPECT_EQ(Listing(SdkFolder()), Lines(kAllSdkFiles.begin(), kAllSdkFiles.begin() + static_cast<int>(row.copied)));
    EXPECT_EQ(fs::exists(SdkFolder().parent_path()), row.copied > 0) << "made for nothing";
    for (const std::string& file : Listing(SdkFolder())) {
      const bool kept = row.there && fs::path(row.there) == file;
      EXPECT_EQ(ReadBytes((SdkFolder() / file).string()), kept ? "older" : "r5-lqz-" + file);
    }
    EXPECT_EQ(Listing(StartMenuFolder()), Lines{"R5-LQZ User Guide.url"});
  }
}

// A link to a folder, which on this platform only its host can make and remove, in its own time.
class Link {
 public:
  Link(const fs::path& link, const fs::path& target) : link_(link) {
    Host("ln -s \"" + HostPath(target) + "\" \"" + HostPath(link) + '"', true);
    EXPECT_EQ(Listing(link), Listing(target));
  }
  ~Link() { Host("rm -f \"" + HostPath(link_) + '"', false); }

  bool Exists() const { return GetFileAttributesW(link_.c_str()) != INVALID_FILE_ATTRIBUTES; }

 private:
  static std::string HostPath(const fs::path& path) {
    const auto convert = reinterpret_cast<char*(CDECL*)(LPCWSTR)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
    char* const converted = convert ? convert(path.c_str()) : nullptr;
    const std::string text = converted ? converted : "";
    HeapFree(GetProcessHeap(), 0, converted);
    return text;
  }
  void Host(std::string line, bool until_there) const {
    STARTUPINFOA startup{sizeof startup};
    PROCESS_INFORMATION created{};
    const std::string program = "Z:\\bin\\" + line.substr(0, line.find(' '));
    CreateProcessA(program.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &created);
    for (int wait = 0; wait < 200 && Exists() != until_there; ++wait) Sleep(20);
  }

  fs::path link_;
};

void MakeFile(const fs::path& folder) {
  fs::create_directories(folder);
  WriteBytes((folder / "file").string(), "x");
}

TEST_F(InstallTest, RemovalTakesTheStartMenuFolderAndNothingBesideIt) {
  const fs::path folder = StartMenuFolder();
  // To the platform's path functions a name with two dots leads beside the folder that it is in.
  const fs::path beside = folder.parent_path().wstring() + L"kept by the tests";
  for (const auto& path : {beside, folder, folder / "a/b/c", folder / "a/d", folder / "..kept by the tests/e"}) {
    MakeFile(path);
  }
  WriteBytes((folder / "...txt").string(), "x");
  EXPECT_EQ(Remove(), Lines{});
  EXPECT_FALSE(fs::exists(folder));
  EXPECT_EQ(Listing(beside), Lines{"file"});
  EXPECT_EQ(Remove(), Lines{}) << "nothing there";
  EXPECT_EQ(scheduled, Lines{});
  fs::remove_all(beside);
}

TEST_F(InstallTest, RemovalFollowsNoLink) {
  const fs::path others = StartMenuFolder().parent_path() / L"others of the tests";
  MakeFile(others);
  for (const fs::path& place : {StartMenuFolder() / L"link", StartMenuFolder()}) {
    Clear();
    if (place != StartMenuFolder()) MakeFile(StartMenuFolder());
    const Link link(place, others);
    EXPECT_EQ(Remove(), Lines{});
    EXPECT_EQ(Listing(others), Lines{"file"});
    // This platform removes no link to a folder.
    if (link.Exists()) {
      ASSERT_FALSE(scheduled.empty());
      EXPECT_EQ(scheduled.front(), InDriverFolders(place));
    }
    scheduled.clear();
  }
  fs::remove_all(others);
}

TEST_F(InstallTest, WhatIsInUseGoesAtTheNextRestart) {
  EXPECT_EQ(Install(), Lines{});
  WriteBytes((SdkFolder() / L"somebody else's").string(), "x");
  fs::create_directory(StartMenuFolder() / L"sub");
  WriteBytes((StartMenuFolder() / L"sub/busy").string(), "x");
  WriteBytes((StartMenuFolder() / L"sub/free").string(), "x");
  std::vector<HANDLE> busy;
  for (const fs::path& path : {StartMenuFolder() / L"sub/busy", SdkFolder() / kSdkFiles[1]}) {
    busy.push_back(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_NE(busy.back(), INVALID_HANDLE_VALUE);
  }
  EXPECT_EQ(Remove(), Lines{});
  for (const HANDLE handle : busy) CloseHandle(handle);
  EXPECT_EQ(scheduled, (Lines{"Brindlewick R5-LQZ/sub/busy", "Brindlewick R5-LQZ/sub", "Brindlewick R5-LQZ",
                              "Brindlewick/Brindlewick R5-LQZ Driver/hpldrlgl.dat",
                              "Brindlewick/Brindlewick R5-LQZ Driver", "Brindlewick"}));
  EXPECT_EQ(Listing(StartMenuFolder()), (Lines{"sub", "sub/busy"}));
  EXPECT_EQ(Listing(SdkFolder()), (Lines{"hpldrlgl.dat", "somebody else's"}));
}

TEST_F(InstallTest, WhatLiesTooDeepStays) {
  const std::wstring deep(120, L'd'), file(100, L'f');
  const fs::path place = StartMenuFolder() / L"a" / deep;
  fs::create_directories(place);
  WriteBytes((StartMenuFolder() / "free").string(), "x");
  WriteBytes((place / "ok").string(), "x");
  WriteBytes((place / file).string(), "x");
  EXPECT_EQ(Remove(), Lines{});
  EXPECT_EQ(scheduled, (Lines{"Brindlewick R5-LQZ/a", "Brindlewick R5-LQZ"}));
  EXPECT_TRUE(fs::exists(place / file));
  EXPECT_FALSE(fs::exists(StartMenuFolder() / "free"));
}

TEST_F(InstallTest, ProfilesAreUninstalledInOrderWhateverEachAnswers) {
  for (const DWORD error : {DWORD{0}, DWORD{2011}}) {
    profile_error = error;
    Lines expected;
    for (const std::string& profile : kProfiles) {
      expected.push_back("[Info]  Attempting to uninstall color profile = " + profile);
      if (error) expected.push_back("[Error] UninstallColorProfile failed.  Error = 2011");
    }
    EXPECT_EQ(Deliver(DRIVER_EVENT_DELETE), expected);
    EXPECT_EQ(uninstalled, kProfiles);
    uninstalled.clear();
  }
}

TEST_F(InstallTest, TasksFailOnTheirOwn) {
  constexpr char kShortcutFailed[] = "[Error] Could create userguide shortcut: ";
  constexpr char kCopyFailed[] = "[Error] Could not copy Raster SDK files: ";
  constexpr char kMenuFailed[] = "[Error] Could not delete Start Menu shortcuts: ";
  constexpr char kDeleteFailed[] = "[Error] Could not delete Raster SDK files: ";
  const auto function = [](auto* address) { return reinterpret_cast<const void*>(address); };
  const struct {
    const char* dll;
    const char* name;
    const void* replacement;
    const char* shortcut;  // the code of each task's record, or none when it does its work
    const char* copy;
    const char* menu;
    const char* deletion;
  } rows[] = {
      {"shell32.dll", "SHGetSpecialFolderPathW", function(&Fail), "0x15", "0x15", "0x15", "0x15"},
      {"shell32.dll", "SHGetSpecialFolderPathW", function(&FailFolder<CSIDL_COMMON_PROGRAMS>), "0x15", "", "0x15", ""},
      {"shell32.dll", "SHGetSpecialFolderPathW", function(&FailFolder<CSIDL_COMMON_APPDATA>), "", "0x15", "", "0x15"},
      {"shell32.dll", "SHGetSpecialFolderPathW", function(&DeepFolder<CSIDL_COMMON_PROGRAMS>), "0x20010009", "",
       "0x20010009", ""},
      {"shell32.dll", "SHGetSpecialFolderPathW", function(&DeepFolder<CSIDL_COMMON_APPDATA>), "", "0x20010009", "",
       "0x20010009"},
      {"msvcrt.dll", "calloc", function(&Fail), "0x20010001", "0x20010001", "0x20010001", "0x20010001"},
      {"msvcrt.dll", "_wfopen", function(&Fail), "0x15", "", "", ""},
      {"winspool.drv", "GetPrinterDriverDirectoryW", function(&Fail), "", "0x2001000d", "", ""},
      {"winspool.drv", "GetPrinterDriverDirectoryW", function(&DeepDriverDirectory), "", "0x20010009", "", ""},
      {"kernel32.dll", "CopyFileW", function(&Fail), "", "0x15", "", ""},
      {"kernel32.dll", "CreateDirectoryW", function(&Fail), "0x15", "0x3", "", ""},
  };
  const auto add = [](Lines& records, const std::string& text, const char* code) {
    if (*code) records.push_back(text + code);
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.name << ' ' << &row - rows);
    Clear();
    Lines installing, removing;
    add(installing, kShortcutFailed, row.shortcut);
    if (row.copy == std::string("0x2001000d")) {
      installing.push_back("[Error] Cannot get driver path. VDRV_CopyRasterSdkFiles");
    }
    add(installing, kCopyFailed, row.copy);
    add(removing, kMenuFailed, row.menu);
    add(removing, kDeleteFailed, row.deletion);
    {
      const auto patch = Patch(row.dll, row.name, row.replacement);
      EXPECT_EQ(Install(), installing);
    }
    EXPECT_EQ(Listing(StartMenuFolder()).empty(), *row.shortcut != 0);
    EXPECT_EQ(Listing(SdkFolder()).empty(), *row.copy != 0);

    Clear();
    EXPECT_EQ(Install(), Lines{});
    {
      const auto patch = Patch(row.dll, row.name, row.replacement);
      EXPECT_EQ(Remove(), removing);
    }
    EXPECT_EQ(fs::exists(StartMenuFolder()), *row.menu != 0);
    EXPECT_EQ(Listing(SdkFolder()).size(), *row.deletion ? 4u : 0u);
  }
}

TEST_F(InstallTest, ADriverWithoutANameAndOtherEventsAreRefused) {
  DRIVER_INFO_1W first{driver_name}, nameless{nullptr};
  DRIVER_INFO_2W second{3, driver_name};
  DRIVER_INFO_3W third{3, driver_name};
  const struct {
    DWORD event;
    DWORD level;
    void* info;
    BOOL result;
    Lines records;
  } rows[] = {{1, 1, &first, TRUE, {}},          {1, 2, &second, TRUE, {}},      {1, 3, &third, TRUE, {}},
              {1, 4, &third, FALSE, {kNoName}},  {1, 0, &first, FALSE, {kNoName}}, {2, 4, &third, FALSE, {kNoName}},
              {1, 1, &nameless, FALSE, {kNoName}}, {1, 2, nullptr, FALSE, {kNoName}}, {0, 3, &third, FALSE, {}},
              {3, 3, &third, FALSE, {}}};
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    Clear();
    EXPECT_EQ(Deliver(row.event, row.level, row.info, row.result), row.records);
    EXPECT_EQ(Listing(StartMenuFolder()).size() + Listing(SdkFolder()).size(), row.result ? 5u : 0u);
  }
  Clear();
  const auto patch = Patch("msvcrt.dll", "_wcsdup", reinterpret_cast<const void*>(&Fail));
  EXPECT_EQ(Deliver(1, 1, &first, FALSE), Lines{kNoName}) << "no memory";
  EXPECT_EQ(uninstalled, Lines{});
}

}  // namespace
}  // namespace tests

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  tests::StartWatchdog(45);
  return RUN_ALL_TESTS();
}
