// The driver's installation and removal, as the module that ships does them on this machine's own folders.
#include <windows.h>

#include <aclapi.h>
#include <sddl.h>
#include <shlobj.h>
#include <winspool.h>
#include <winternl.h>

#include <algorithm>
#include <fstream>

#include "../built_files.h"
#include "driver_entries.h"
#include "user/driver_life.h"
#include "import_patch.h"
#include "machine_state.h"
#include "resources/resource_ids.h"
#include "trace_folder.h"

namespace tests {
namespace {

namespace fs = std::filesystem;
using namespace platform;

constexpr char kShortcut[] = "[InternetShortcut]\r\nURL=https://support.brindlewick.example/r5-lqz/user-guide";
const Lines kProfiles{"R5-LQZ_Premium_Matte_Best_Mode_v02.icc",   "R5-LQZ_Premium_Matte_Fast_Mode_v01.icc",
                      "R5-LQZ_Premium_Matte_Normal_Mode_v02.icc", "R5-LQZ_Standard_Matte_Best_Mode_v02.icc",
                      "R5-LQZ_Standard_Matte_Fast_Mode_v01.icc",  "R5-LQZ_Standard_Matte_Normal_Mode_v01.icc"};
wchar_t driver_name[] = L"Brindlewick R5-LQZ";

// What the module asked of the platform.
Lines scheduled;    // for the next restart, by the last component; nothing of it is done
Lines uninstalled;  // profiles
DWORD profile_error;

BOOL WINAPI WatchedMove(LPCWSTR from, LPCWSTR to, DWORD flags) {
  EXPECT_TRUE(!to && flags == MOVEFILE_DELAY_UNTIL_REBOOT) << from;
  scheduled.push_back(fs::path(from).filename().string());
  return TRUE;
}

BOOL WINAPI WatchedUninstall(PCWSTR machine, PCWSTR profile, BOOL with_file) {
  EXPECT_TRUE(!machine && with_file);
  uninstalled.push_back(fs::path(profile).string());
  SetLastError(profile_error);
  return !profile_error;
}

// In place of any function that answers 0 when it fails; with an error that nothing gives here by itself.
LONG_PTR WINAPI Fail() {
  SetLastError(ERROR_NOT_READY);
  return 0;
}

// Beneath these folders hardly anything fits.
template <int deep>
BOOL WINAPI DeepFolder(HWND owner, LPWSTR path, int folder, BOOL create) {
  if (folder != deep) return SHGetSpecialFolderPathW(owner, path, folder, create);
  return wcscpy(path, (L"C:\\" + std::wstring(245, 'd')).c_str()) != nullptr;
}
BOOL WINAPI DeepDirectory(LPWSTR, LPWSTR, DWORD, LPBYTE path, DWORD, LPDWORD) {
  return DeepFolder<0>(nullptr, reinterpret_cast<WCHAR*>(path), 0, FALSE);
}

const wchar_t* language_text;  // in place of the string that names the language of the module's resources
int WINAPI GivenLanguage(HINSTANCE module, UINT id, LPWSTR text, int capacity) {
  return id == IDS_LANGUAGE ? lstrlenW(lstrcpynW(text, language_text, capacity))
                            : LoadStringW(module, id, text, capacity);
}

void MakeFile(const fs::path& path) {
  fs::create_directories(path.parent_path());
  WriteBytes(path.string(), "x");
}

// A path as RunOnHostDrive's scripts name it, in apostrophes.
std::string OnHost(const fs::path& path) {
  return '\'' + path.relative_path().generic_string() + '\'';
}

// Puts a link in the place of a folder, once, while the module is at work: at the call that the test has chosen.
std::string swap_script;
void Swap() {
  if (!swap_script.empty()) RunOnHostDrive(std::exchange(swap_script, {}));
}

constexpr char kModuleLog[] = "c:\\temp\\r5-lqz-ui.txt";
const fs::path module_path = Built(L"r5-lqz-ui.dll");

// Each test finds nothing of the driver but the Raster SDK's sources, and the module's trace switched on by its file.
// It leaves nothing.
class InstallMachine : public TraceFolder {
 protected:
  InstallMachine() {
    WriteBytes("c:\\temp\\r5-lqz-ui.dat", "3");
    PrepareMachine();
  }
  ~InstallMachine() override { CleanMachine(); }
};

class InstallTest : public InstallMachine {
 protected:
  InstallTest() : module_(LoadLibraryW(module_path.c_str())) {
    EXPECT_EQ(platform::FindDriverEntries(module_, entries_), nullptr);
    entries_.DocumentEvent(nullptr, nullptr, DOCUMENTEVENT_STARTDOCPRE, 0, nullptr, 0, nullptr);
    TakeRecords();
    scheduled = uninstalled = {};
    profile_error = 0;
    patches_.push_back(Patch("kernel32.dll", "MoveFileExW", &WatchedMove));
    patches_.push_back(Patch("mscms.dll", "UninstallColorProfileW", &WatchedUninstall));
  }
  ~InstallTest() override {
    Renew();
    patches_.clear();
    FreeLibrary(module_);
  }

  template <class Function>
  platform::ImportPatch Patch(const char* dll, const char* function, Function* replacement) {
    auto patch = platform::ReplaceImport(module_, dll, function, reinterpret_cast<const void*>(replacement));
    EXPECT_TRUE(patch) << function;
    return patch;
  }

  // The machine as the test found it, and nothing made beside what the driver has.
  void Renew() {
    for (const fs::path& link : std::exchange(links_, {})) RunOnHostDrive("rm -f " + OnHost(link));
    fs::remove_all(others_);
    fs::remove_all(aside_);
    PrepareMachine();
    scheduled.clear();
  }

  // On this platform only the host makes and removes links to folders. This one leads to the folder beside.
  void Link(const fs::path& link) {
    fs::create_directories(others_);
    fs::create_directories(link.parent_path());
    RunOnHostDrive(LinkScript(link));
  }
  // Lets Swap put a link in the place of a folder, which goes aside.
  void SwapLater(const fs::path& folder) {
    fs::create_directories(others_);
    swap_script = "mv " + OnHost(folder) + ' ' + OnHost(aside_) + " && " + LinkScript(folder);
  }

  // The messages that the module wrote since the last time, with their tags.
  static Lines TakeRecords() {
    Lines texts = ReadTexts(kModuleLog);
    DeleteFileA(kModuleLog);
    return texts;
  }

  // The records between the event's own.
  Lines Deliver(DWORD event, DWORD level, void* info, BOOL expected) {
    EXPECT_EQ(entries_.DriverEvent(event, level, static_cast<BYTE*>(info), 0), expected);
    Lines records = TakeRecords();
    const bool framed = records.size() > 1 && records.front() == "[Trace] <DrvDriverEvent>" &&
                        records.back() == "[Trace] </DrvDriverEvent>";
    EXPECT_TRUE(framed);
    return framed ? Lines(records.begin() + 1, records.end() - 1) : records;
  }
  Lines Deliver(DWORD event) {
    DRIVER_INFO_3W info{3, driver_name};
    return Deliver(event, 3, &info, TRUE);
  }
  Lines Install() { return Deliver(DRIVER_EVENT_INITIALIZE); }
  // Without the records of the profiles, which are the last.
  Lines Remove() {
    Lines records = Deliver(DRIVER_EVENT_DELETE);
    EXPECT_EQ(std::exchange(uninstalled, {}), kProfiles);
    const auto of_profile = [](const std::string& text) { return text.find("color profile") != text.npos; };
    records.erase(std::find_if(records.begin(), records.end(), of_profile), records.end());
    return records;
  }

  // Folders of somebody else's beside the driver's.
  const fs::path others_ = SdkFolder().parent_path().parent_path() / "others of the tests";
  const fs::path aside_ = others_.parent_path() / "aside of the tests";

 private:
  std::string LinkScript(const fs::path& link) {
    links_.push_back(link);
    return "IFS= && ln -s $PWD/" + OnHost(others_) + ' ' + OnHost(link);
  }

  std::vector<fs::path> links_;
  HMODULE module_;
  platform::DriverEntries entries_;
  std::vector<platform::ImportPatch> patches_;
};

TEST_F(InstallTest, ShortcutIsNamedInTheUsersLanguage) {
  const auto patch = Patch("user32.dll", "LoadStringW", &GivenLanguage);
  constexpr char8_t kEnglish[] = u8"R5-LQZ User Guide.url";
  const std::pair<const wchar_t*, const char8_t*> rows[] = {{L"de", u8"R5-LQZ Bedienungsanleitung.url"},
                                                            {L"fr", u8"Guide d\u2019utilisation de la R5-LQZ.url"},
                                                            {L"zh", u8"R5-LQZ \u7528\u6237\u6307\u5357.url"},
                                                            {L"es", u8"Gu\u00EDa de usuario de R5-LQZ.url"},
                                                            {L"en", kEnglish},
                                                            {L"qq", kEnglish},
                                                            {L"", kEnglish}};
  for (const auto& [language, name] : rows) {
    SCOPED_TRACE(fs::path(language));
    PrepareMachine();
    language_text = language;
    // Where there is one already, the second time.
    for (int times = 0; times < 2; ++times) {
      EXPECT_EQ(Install().empty(), times == 0);
      ASSERT_EQ(Listing(StartMenuFolder()), Lines{reinterpret_cast<const char*>(name)});
      const fs::path shortcut = fs::directory_iterator(StartMenuFolder())->path();
      std::ifstream file(shortcut, std::ios::binary);
      EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), kShortcut);
      std::ofstream(shortcut) << std::string(500, 'x');
    }
  }
}

TEST_F(InstallTest, RasterSdkFilesAreCopiedOnce) {
  const struct {
    int there;    // number of a target
    int missing;  // number of a source
    int copied;   // how many are in place then, "there" included
    const char* code;
  } rows[] = {{-1, -1, 4, ""},
              {0, -1, 1, "0x20010005"},
              {2, -1, 3, "0x20010005"},
              {-1, 0, 0, "0x20010004"},
              {-1, 3, 3, "0x20010004"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    PrepareMachine();
    if (row.there >= 0) {
      fs::create_directories(SdkFolder());
      WriteBytes((SdkFolder() / kSdkFiles[row.there]).string(), "older");
    }
    if (row.missing >= 0) fs::remove(SourceOf(kSdkFiles[row.missing]));
    const std::string record = std::string("[Error] Could not copy Raster SDK files: ") + row.code;
    EXPECT_EQ(Install(), *row.code ? Lines{record} : Lines{});
    EXPECT_EQ(Listing(SdkFolder()), Lines(kSdkFiles.begin(), kSdkFiles.begin() + row.copied));
    EXPECT_EQ(fs::exists(SdkFolder().parent_path()), row.copied > 0) << "made for nothing";
    for (int i = 0; i < row.copied; ++i) {
      EXPECT_EQ(ReadBytes((SdkFolder() / kSdkFiles[i]).string()), i == row.there ? "older" : "r5-lqz-" + kSdkFiles[i]);
    }
  }
}

TEST_F(InstallTest, RemovalTakesTheStartMenuFolderAndNothingBesideIt) {
  const fs::path folder = StartMenuFolder();
  // To the platform's path functions a name with two dots leads beside the folder that it is in.
  const fs::path beside = folder.parent_path().wstring() + L"kept by the tests";
  for (const char* name : {"f", "a/b/c/f", "a/d/f", "..kept by the tests/f", "...txt"}) MakeFile(folder / name);
  fs::create_directory(folder / "empty");
  MakeFile(beside / "f");
  for (const char* when : {"filled", "not there"}) {
    EXPECT_EQ(Remove(), Lines{}) << when;
    EXPECT_FALSE(fs::exists(folder));
  }
  EXPECT_EQ(Listing(beside), Lines{"f"});
  EXPECT_EQ(scheduled, Lines{});
  fs::remove_all(beside);
}

// Every user may make the Raster SDK's folders before the driver does, and lead them elsewhere.
TEST_F(InstallTest, RemovalFollowsNoLink) {
  const struct {
    fs::path link, file;
    Lines scheduled;
  } rows[] = {{StartMenuFolder(), "f", {}},
              // This platform opens no link itself: it stays, and so does what holds it.
              {StartMenuFolder() / "link", "f", {StartMenuFolder().filename().string()}},
              {SdkFolder(), kSdkFiles[0], {}},
              {SdkFolder().parent_path(), SdkFolder().filename() / kSdkFiles[0], {}}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.link);
    Renew();
    MakeFile(others_ / row.file);
    Link(row.link);
    EXPECT_EQ(Remove(), Lines{});
    EXPECT_TRUE(fs::exists(others_ / row.file));
    EXPECT_EQ(scheduled, row.scheduled);
  }
}

// Whether what a call makes is the driver's.
bool IsOurs(const OBJECT_ATTRIBUTES& attributes, ULONG disposition) {
  const UNICODE_STRING& name = *attributes.ObjectName;
  return disposition == FILE_CREATE &&
         fs::path(std::wstring(name.Buffer, name.Length / sizeof(WCHAR))) != fs::path(kModuleLog).filename();
}

NTSTATUS WINAPI SwappingCreate(HANDLE* handle, ACCESS_MASK access, OBJECT_ATTRIBUTES* attributes,
                               IO_STATUS_BLOCK* outcome, LARGE_INTEGER* size, ULONG file_attributes, ULONG sharing,
                               ULONG disposition, ULONG options, void* extra, ULONG extra_size) {
  EXPECT_TRUE(options & FILE_COMPLETE_IF_OPLOCKED) << "a stranger's lock would be waited for";
  if (IsOurs(*attributes, disposition)) Swap();
  return NtCreateFile(handle, access, attributes, outcome, size, file_attributes, sharing, disposition, options, extra,
                      extra_size);
}

const Lines kNothingPut{"[Error] Could create userguide shortcut: 0x5", "[Error] Could not copy Raster SDK files: 0x5"};

// Users may make folders in the common application data before the driver does, and more than that by mistake.
TEST_F(InstallTest, NothingIsPutBehindALinkOrIntoAStrangersFolder) {
  for (const fs::path& link : {SdkFolder(), SdkFolder().parent_path()}) {
    SCOPED_TRACE(link);
    Renew();
    Link(link);
    Link(StartMenuFolder());
    EXPECT_EQ(Install(), kNothingPut);
    EXPECT_EQ(Listing(others_), Lines{});
  }
  for (const fs::path& folder : {StartMenuFolder(), SdkFolder(), SdkFolder().parent_path()}) {
    SCOPED_TRACE(folder);
    Renew();
    EXPECT_EQ(Install(), Lines{});
    for (const auto& entry : fs::directory_iterator(folder)) fs::remove_all(entry);
    if (folder != SdkFolder()) fs::remove_all(SdkFolder());
    const auto patch = Patch("ntdll.dll", "NtCreateFile", &SwappingCreate);
    SwapLater(folder);
    EXPECT_EQ(Install(), Lines{kNothingPut[folder != StartMenuFolder()]}) << "a folder that becomes a link meanwhile";
    EXPECT_EQ(Listing(others_), Lines{});
  }
  Renew();
  const fs::path file = StartMenuFolder() / "R5-LQZ User Guide.url";
  MakeFile(others_ / "f");
  fs::create_directory(StartMenuFolder());
  RunOnHostDrive("ln " + OnHost(others_ / "f") + ' ' + OnHost(file));
  EXPECT_EQ(Install(), Lines{kNothingPut[0]}) << "a file that has another name";
  EXPECT_EQ(ReadBytes(file.string()), "x");
}

PSID owner, file_owner;  // of every folder, of every file
DWORD WINAPI OwnerIs(HANDLE opened, SE_OBJECT_TYPE, SECURITY_INFORMATION, PSID* sid, PSID*, PACL*, PACL*,
                     PSECURITY_DESCRIPTOR* descriptor) {
  FILE_STANDARD_INFO info{};
  EXPECT_TRUE(GetFileInformationByHandleEx(opened, FileStandardInfo, &info, sizeof info));
  *sid = info.Directory ? owner : file_owner;
  *descriptor = nullptr;
  return ERROR_SUCCESS;
}

TEST_F(InstallTest, FoldersBelongToTheSystemItsAdministratorsOrWhoeverInstalls) {
  // This platform's own answer, which the other tests live by, is the identity itself.
  const auto patch = Patch("advapi32.dll", "GetSecurityInfo", &OwnerIs);
  const std::pair<const wchar_t*, bool> rows[] = {
      {L"S-1-5-18", true},
      {L"S-1-5-32-544", true},
      {L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464", true},
      {L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478465", false},
      {L"S-1-5-32-545", false},
      {L"S-1-5-21-1-2-3-1001", false},
      {L"S-1-1-0", false}};
  for (const auto& [sid, trusted] : rows) {
    SCOPED_TRACE(fs::path(sid));
    PrepareMachine();
    // Planted: not taken for the file that is there already.
    if (!trusted) MakeFile(SdkFolder() / kSdkFiles[0]);
    ASSERT_TRUE(ConvertStringSidToSidW(sid, &owner));
    file_owner = owner;
    EXPECT_EQ(Install(), trusted ? Lines{} : kNothingPut);
    EXPECT_EQ(Listing(StartMenuFolder()).size() + Listing(SdkFolder()).size(), trusted ? 5u : 1u);
    EXPECT_EQ(Remove(), Lines{});
    LocalFree(owner);
    EXPECT_EQ(Listing(SdkFolder()).size(), trusted ? 0u : 1u);
    EXPECT_EQ(std::exchange(scheduled, {}).empty(), !trusted) << "by its path it may be anything by then";
  }
}

TEST_F(InstallTest, AStrangersFileIsNotTakenForTheDrivers) {
  const auto patch = Patch("advapi32.dll", "GetSecurityInfo", &OwnerIs);
  ASSERT_TRUE(ConvertStringSidToSidW(L"S-1-5-18", &owner));
  ASSERT_TRUE(ConvertStringSidToSidW(L"S-1-5-32-545", &file_owner));
  const fs::path shortcut = StartMenuFolder() / "R5-LQZ User Guide.url";
  MakeFile(SdkFolder() / kSdkFiles[0]);
  MakeFile(shortcut);
  EXPECT_EQ(Install(), kNothingPut);
  EXPECT_EQ(ReadBytes(shortcut.string()), "x");
  LocalFree(owner);
  LocalFree(file_owner);
}

Lines made;  // the folders that were asked for, each with the access list asked for
void AddMade(const fs::path& path, PSECURITY_DESCRIPTOR descriptor) {
  LPWSTR text = nullptr;
  ConvertSecurityDescriptorToStringSecurityDescriptorW(descriptor, SDDL_REVISION_1, DACL_SECURITY_INFORMATION, &text,
                                                       nullptr);
  made.push_back(path.filename().string() + ' ' + fs::path(text ? text : L"").string());
  LocalFree(text);
}
NTSTATUS WINAPI WatchedCreate(HANDLE* handle, ACCESS_MASK access, OBJECT_ATTRIBUTES* attributes,
                              IO_STATUS_BLOCK* outcome, LARGE_INTEGER* size, ULONG file_attributes, ULONG sharing,
                              ULONG disposition, ULONG options, void* extra, ULONG extra_size) {
  if (IsOurs(*attributes, disposition) && options & FILE_DIRECTORY_FILE) {
    const UNICODE_STRING& name = *attributes->ObjectName;
    AddMade(std::wstring(name.Buffer, name.Length / sizeof(WCHAR)), attributes->SecurityDescriptor);
  }
  return NtCreateFile(handle, access, attributes, outcome, size, file_attributes, sharing, disposition, options, extra,
                      extra_size);
}

// A folder's list is set again when it is used.
BOOL WINAPI WatchedProtect(HANDLE opened, SECURITY_INFORMATION which, PSECURITY_DESCRIPTOR descriptor) {
  EXPECT_EQ(which, DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION);
  wchar_t path[MAX_PATH]{};
  GetFinalPathNameByHandleW(opened, path, MAX_PATH, FILE_NAME_NORMALIZED);
  AddMade(path, descriptor);
  return SetKernelObjectSecurity(opened, which, descriptor);
}

TEST_F(InstallTest, FoldersAreMadeForTheSystemToChangeAndUsersToRead) {
  const auto patch = Patch("ntdll.dll", "NtCreateFile", &WatchedCreate);
  const auto protect = Patch("advapi32.dll", "SetKernelObjectSecurity", &WatchedProtect);
  made.clear();
  EXPECT_EQ(Install(), Lines{});
  const std::string list = " D:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;0x1200a9;;;BU)";
  const std::string start_menu = "Brindlewick R5-LQZ" + list, sdk = "Brindlewick R5-LQZ Driver" + list;
  EXPECT_EQ(made, (Lines{start_menu, start_menu, "Brindlewick" + list, sdk, sdk, sdk, sdk, sdk}));
  made.clear();
  Install();
  EXPECT_EQ(made, (Lines{start_menu, sdk})) << "with the first file there";
}

BOOL WINAPI SwappingMove(LPCWSTR from, LPCWSTR to, DWORD flags) {
  Swap();
  return WatchedMove(from, to, flags);
}

TEST_F(InstallTest, RemovalStaysInTheFolderThatItCheckedWhenAnotherTakesItsPlace) {
  const auto patch = Patch("kernel32.dll", "MoveFileExW", &SwappingMove);
  for (const fs::path& folder : {SdkFolder(), StartMenuFolder()}) {
    SCOPED_TRACE(folder);
    Renew();
    std::vector<HANDLE> busy;
    for (const std::string& name : kSdkFiles) {
      for (const fs::path& place : {others_ / "sub", others_}) MakeFile(place / name);
      for (const fs::path& place : {folder / "sub", folder}) {
        MakeFile(place / name);
        busy.push_back(CreateFileW((place / name).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
      }
    }
    const Lines before = Listing(others_);
    SwapLater(folder);
    EXPECT_EQ(Remove(), Lines{});
    EXPECT_EQ(swap_script, "");
    EXPECT_EQ(Listing(others_), before);
    // The folders of the Raster SDK go at the restart if they are empty then, whatever they are.
    const std::size_t known = folder == SdkFolder() ? 3 : 1;
    EXPECT_EQ(scheduled.size(), known) << testing::PrintToString(scheduled);
    for (const HANDLE handle : busy) CloseHandle(handle);
  }
}

TEST_F(InstallTest, WhatIsInUseOrTooDeepIsLeftForTheNextRestart) {
  EXPECT_EQ(Install(), Lines{});
  for (const auto& file : {StartMenuFolder() / "sub/busy", StartMenuFolder() / "sub/free", SdkFolder() / "others"}) {
    MakeFile(file);
  }
  const std::string deep = std::string(120, 'd') + '/' + std::string(100, 'f');
  MakeFile(StartMenuFolder() / deep);
  std::vector<HANDLE> busy;
  for (const auto& path : {StartMenuFolder() / "sub/busy", SdkFolder() / kSdkFiles[1]}) {
    busy.push_back(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_NE(busy.back(), INVALID_HANDLE_VALUE);
  }
  EXPECT_EQ(Remove(), Lines{});
  for (const HANDLE handle : busy) CloseHandle(handle);
  EXPECT_EQ(scheduled,
            (Lines{"busy", "sub", "Brindlewick R5-LQZ", "hpldrlgl.dat", "Brindlewick R5-LQZ Driver", "Brindlewick"}));
  EXPECT_EQ(Listing(StartMenuFolder()), (Lines{deep.substr(0, 120), deep, "sub", "sub/busy"}));
  EXPECT_EQ(Listing(SdkFolder()), (Lines{"hpldrlgl.dat", "others"}));
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
    EXPECT_EQ(std::exchange(uninstalled, {}), kProfiles);
  }
}

NTSTATUS WINAPI RefuseFolder(HANDLE* handle, ACCESS_MASK access, OBJECT_ATTRIBUTES* attributes,
                             IO_STATUS_BLOCK* outcome, LARGE_INTEGER* size, ULONG file_attributes, ULONG sharing,
                             ULONG disposition, ULONG options, void* extra, ULONG extra_size) {
  constexpr auto kDeviceNotReady = static_cast<NTSTATUS>(0xC00000A3);
  if (IsOurs(*attributes, disposition) && options & FILE_DIRECTORY_FILE) return kDeviceNotReady;
  return NtCreateFile(handle, access, attributes, outcome, size, file_attributes, sharing, disposition, options, extra,
                      extra_size);
}

TEST_F(InstallTest, TasksFailOnTheirOwn) {
  const auto with = [](auto* function) { return reinterpret_cast<const void*>(function); };
  constexpr char kShell[] = "shell32.dll", kFolder[] = "SHGetSpecialFolderPathW";
  constexpr char kSpooler[] = "winspool.drv", kDirectory[] = "GetPrinterDriverDirectoryW";
  constexpr int kPrograms = CSIDL_COMMON_PROGRAMS, kData = CSIDL_COMMON_APPDATA;
  const struct {
    const char* dll;
    const char* name;
    const void* replacement;
    const char* shortcut;  // the code of each task's record, or none when it does its work
    const char* copy;
    const char* menu;
    const char* deletion;
  } rows[] = {
      {kShell, kFolder, with(&Fail), "0x15", "0x15", "0x15", "0x15"},
      {kShell, kFolder, with(&DeepFolder<kPrograms>), "0x20010009", "", "0x20010009", ""},
      {kShell, kFolder, with(&DeepFolder<kData>), "", "0x20010009", "", "0x20010009"},
      {kSpooler, kDirectory, with(&Fail), "", "0x2001000d", "", ""},
      {kSpooler, kDirectory, with(&DeepDirectory), "", "0x20010009", "", ""},
      {"msvcrt.dll", "calloc", with(&Fail), "0x20010001", "0x20010001", "0x20010001", "0x20010001"},
      {"kernel32.dll", "SetEndOfFile", with(&Fail), "0x15", "", "", ""},
      {"advapi32.dll", "ConvertStringSecurityDescriptorToSecurityDescriptorW", with(&Fail), "0x15", "0x3", "", ""},
      {"kernel32.dll", "CopyFileW", with(&Fail), "", "0x15", "", ""},
      {"ntdll.dll", "NtCreateFile", with(&RefuseFolder), "0x15", "0x3", "", ""}};
  const auto add = [](Lines& records, const char* text, const char* code) {
    if (*code) records.push_back(std::string("[Error] ") + text + code);
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.name << ' ' << &row - rows);
    Lines installing, removing;
    add(installing, "Could create userguide shortcut: ", row.shortcut);
    if (!strcmp(row.copy, "0x2001000d")) add(installing, "Cannot get driver path. ", "VDRV_CopyRasterSdkFiles");
    add(installing, "Could not copy Raster SDK files: ", row.copy);
    add(removing, "Could not delete Start Menu shortcuts: ", row.menu);
    add(removing, "Could not delete Raster SDK files: ", row.deletion);
    const auto under_fault = [&](DWORD event) {
      const auto patch = Patch(row.dll, row.name, static_cast<const BYTE*>(row.replacement));
      return event == DRIVER_EVENT_DELETE ? Remove() : Install();
    };
    PrepareMachine();
    EXPECT_EQ(under_fault(DRIVER_EVENT_INITIALIZE), installing);
    EXPECT_EQ(Listing(StartMenuFolder()).empty(), *row.shortcut != 0);
    EXPECT_EQ(Listing(SdkFolder()).empty(), *row.copy != 0);
    PrepareMachine();
    EXPECT_EQ(Install(), Lines{});
    EXPECT_EQ(under_fault(DRIVER_EVENT_DELETE), removing);
    EXPECT_EQ(fs::exists(StartMenuFolder()), *row.menu != 0);
    EXPECT_EQ(Listing(SdkFolder()).size(), *row.deletion ? 4u : 0u);
  }
}

TEST_F(InstallTest, DriversWithoutANameAndOtherEventsAreRefused) {
  DRIVER_INFO_1W first{driver_name}, nameless{nullptr};
  DRIVER_INFO_2W second{3, driver_name};
  DRIVER_INFO_3W third{3, driver_name};
  const Lines none, no_name{"[Error] Could not get the driver name."};
  const struct {
    DWORD event;
    DWORD level;
    void* info;
    BOOL result;
    const Lines& records;
  } rows[] = {{1, 1, &first, TRUE, none},        {1, 2, &second, TRUE, none},     {1, 3, &third, TRUE, none},
              {1, 4, &third, FALSE, no_name},    {1, 0, &first, FALSE, no_name},  {2, 4, &third, FALSE, no_name},
              {1, 1, &nameless, FALSE, no_name}, {1, 2, nullptr, FALSE, no_name}, {0, 3, &third, FALSE, none},
              {3, 3, &third, FALSE, none}};
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    PrepareMachine();
    EXPECT_EQ(Deliver(row.event, row.level, row.info, row.result), row.records);
    EXPECT_EQ(Listing(StartMenuFolder()).size() + Listing(SdkFolder()).size(), row.result ? 5u : 0u);
  }
  const auto patch = Patch("msvcrt.dll", "_wcsdup", &Fail);
  EXPECT_EQ(Deliver(2, 1, &first, FALSE), no_name) << "no memory";
  EXPECT_EQ(uninstalled, none);
}

// Installed, given a printer, used by a user and an application, removed; and what is left.
TEST_F(InstallMachine, OneLifeLeavesItAsItWas) {
  const user::DriverLife life = user::LiveOneLife(module_path.wstring());
  EXPECT_EQ(life.stages.size(), 8u);
  for (const auto& stage : life.stages) EXPECT_TRUE(stage.held) << stage.done << ": " << stage.seen;

  EXPECT_GT(life.before.files.size(), 500u) << "an empty picture would show no difference";
  EXPECT_GT(life.before.registry.size(), 1000u);
  EXPECT_EQ(life.before.profiles, life.after.profiles);
  EXPECT_EQ(life.traces.size(), 4u) << "the module's loaded copy, two empty folders, the order to remove them";
  for (const auto& trace : life.traces) EXPECT_NE(trace.reason, "") << trace.what;
}

}  // namespace
}  // namespace tests
