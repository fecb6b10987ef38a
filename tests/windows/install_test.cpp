// The driver's installation and removal, as the module that ships does them on this machine's own folders.
#include <gtest/gtest.h>
#include <windows.h>

#include <aclapi.h>
#include <sddl.h>
#include <shlobj.h>
#include <winspool.h>
#include <winternl.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <span>
#include <utility>

#include "../built_files.h"
#include "../trace_shape.h"
#include "driver_entries.h"
#include "host_drive.h"
#include "import_patch.h"
#include "machine_state.h"
#include "resources/resource_ids.h"
#include "user/driver_life.h"
#include "user/trace_files.h"

namespace tests {
namespace {

namespace fs = std::filesystem;
using namespace platform;

constexpr char kShortcut[] = "[InternetShortcut]\r\nURL=https://support.brindlewick.example/r5-lqz/user-guide";
constexpr char8_t kEnglishShortcut[] = u8"R5-LQZ User Guide.url";
const Lines kProfiles{"R5-LQZ_Premium_Matte_Best_Mode_v02.icc",   "R5-LQZ_Premium_Matte_Fast_Mode_v01.icc",
                      "R5-LQZ_Premium_Matte_Normal_Mode_v02.icc", "R5-LQZ_Standard_Matte_Best_Mode_v02.icc",
                      "R5-LQZ_Standard_Matte_Fast_Mode_v01.icc",  "R5-LQZ_Standard_Matte_Normal_Mode_v01.icc"};
wchar_t driver_name[] = L"Brindlewick R5-LQZ";
const fs::path module_path = Built(L"r5-lqz-ui.dll");

struct Fault {
  const char *dll, *function;
  const void* replacement;
};

// What an event meets beside the files and folders that are there.
struct World {
  std::string meanwhile;  // run on the host when something is first made or put off, while the module is at work
  Lines busy;             // files that somebody has open
  const wchar_t* language = L"en";
  const wchar_t *folder_owner = nullptr, *file_owner = nullptr;  // else whoever runs the test
  bool refuses_folders = false;
  DWORD profile_error = 0;
  Fault fault = {};
} now;

// What the module asked of the platform.
struct {
  Lines scheduled;    // nothing of it is done
  Lines uninstalled;  // profiles
  Lines made;         // folders that are made, or given their access list, each with that list
} asked;

// The places that scripts on the host, and the rows of the tests, name.
const std::map<std::string, fs::path> kPlaces{
    {"menu", StartMenuFolder()},
    {"guide", StartMenuFolder() / kEnglishShortcut},
    {"sdk", SdkFolder()},
    {"maker", SdkFolder().parent_path()},
    {"sources", LoadedDriversFolder()},
    // To the platform's path functions a name with two dots leads beside the folder that it is in.
    {"others", StartMenuFolder().parent_path().wstring() + L"kept by the tests"},
    {"aside", StartMenuFolder().parent_path() / "aside of the tests"}};

// A link leads to the others' folder.
void OnHost(const std::string& script) {
  std::string line;
  for (const auto& [name, path] : kPlaces) line += name + "='" + path.relative_path().generic_string() + "' && ";
  RunOnHostDrive(line +
                 "put() { for f; do mkdir -p ${f%/*} && printf %500s x > $f; done; } && "
                 "link() { mkdir -p ${1%/*} && ln -s $PWD/$others $1; } && swap() { mv $1 $aside && link $1; } && " +
                 script);
}

void ChangeMeanwhile() {
  if (!now.meanwhile.empty()) OnHost(std::exchange(now.meanwhile, {}));
}

BOOL WINAPI WatchedMove(LPCWSTR from, LPCWSTR to, DWORD flags) {
  EXPECT_TRUE(!to && flags == MOVEFILE_DELAY_UNTIL_REBOOT) << from;
  ChangeMeanwhile();
  asked.scheduled.push_back(fs::path(from).filename().string());
  return TRUE;
}

BOOL WINAPI WatchedUninstall(PCWSTR machine, PCWSTR profile, BOOL with_file) {
  EXPECT_TRUE(!machine && with_file);
  asked.uninstalled.push_back(fs::path(profile).string());
  SetLastError(now.profile_error);
  return !now.profile_error;
}

int WINAPI WatchedString(HINSTANCE module, UINT id, LPWSTR text, int capacity) {
  return id == IDS_LANGUAGE ? lstrlenW(lstrcpynW(text, now.language, capacity))
                            : LoadStringW(module, id, text, capacity);
}

void AddMade(const fs::path& path, PSECURITY_DESCRIPTOR descriptor) {
  LPWSTR list = nullptr;
  if (descriptor) {
    ConvertSecurityDescriptorToStringSecurityDescriptorW(descriptor, SDDL_REVISION_1, DACL_SECURITY_INFORMATION, &list,
                                                         nullptr);
  }
  asked.made.push_back(path.filename().string() + ' ' + fs::path(list ? list : L"").string());
  LocalFree(list);
}

NTSTATUS WINAPI WatchedCreate(HANDLE* handle, ACCESS_MASK access, OBJECT_ATTRIBUTES* attributes,
                              IO_STATUS_BLOCK* outcome, LARGE_INTEGER* size, ULONG file_attributes, ULONG sharing,
                              ULONG disposition, ULONG options, void* extra, ULONG extra_size) {
  EXPECT_TRUE(options & FILE_COMPLETE_IF_OPLOCKED) << "a stranger's lock would be waited for";
  EXPECT_FALSE(options & FILE_DIRECTORY_FILE && options & FILE_OPEN_NO_RECALL) << "Windows refuses that";
  if (disposition == FILE_CREATE) ChangeMeanwhile();
  if (disposition == FILE_CREATE && options & FILE_DIRECTORY_FILE) {
    constexpr auto kDeviceNotReady = static_cast<NTSTATUS>(0xC00000A3);
    if (now.refuses_folders) return kDeviceNotReady;
    const UNICODE_STRING& name = *attributes->ObjectName;
    AddMade(std::wstring(name.Buffer, name.Length / sizeof(WCHAR)), attributes->SecurityDescriptor);
  }
  return NtCreateFile(handle, access, attributes, outcome, size, file_attributes, sharing, disposition, options, extra,
                      extra_size);
}

BOOL WINAPI WatchedProtect(HANDLE opened, SECURITY_INFORMATION which, PSECURITY_DESCRIPTOR descriptor) {
  EXPECT_EQ(which, DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION);
  wchar_t path[MAX_PATH]{};
  GetFinalPathNameByHandleW(opened, path, MAX_PATH, FILE_NAME_NORMALIZED);
  AddMade(path, descriptor);
  return SetKernelObjectSecurity(opened, which, descriptor);
}

DWORD WINAPI WatchedOwner(HANDLE opened, SE_OBJECT_TYPE type, SECURITY_INFORMATION which, PSID* owner, PSID* group,
                          PACL* list, PACL* system_list, PSECURITY_DESCRIPTOR* descriptor) {
  FILE_STANDARD_INFO info{};
  EXPECT_TRUE(GetFileInformationByHandleEx(opened, FileStandardInfo, &info, sizeof info));
  const wchar_t* const given = info.Directory ? now.folder_owner : now.file_owner;
  if (!given) return GetSecurityInfo(opened, type, which, owner, group, list, system_list, descriptor);
  EXPECT_TRUE(ConvertStringSidToSidW(given, owner));
  *descriptor = *owner;  // the block that the caller frees
  return ERROR_SUCCESS;
}

// In place of any function that answers 0 when it fails; with an error that nothing gives here by itself.
LONG_PTR WINAPI Fail() {
  SetLastError(ERROR_NOT_READY);
  return 0;
}

// Beneath these folders hardly anything fits.
BOOL WINAPI DeepMenu(HWND owner, LPWSTR path, int folder, BOOL create) {
  if (folder != CSIDL_COMMON_PROGRAMS) return SHGetSpecialFolderPathW(owner, path, folder, create);
  return wcscpy(path, (L"C:\\" + std::wstring(245, 'd')).c_str()) != nullptr;
}
BOOL WINAPI DeepDirectory(LPWSTR, LPWSTR, DWORD, LPBYTE path, DWORD, LPDWORD) {
  return DeepMenu(nullptr, reinterpret_cast<WCHAR*>(path), CSIDL_COMMON_PROGRAMS, FALSE);
}

template <class Function>
const void* At(Function* function) {
  return reinterpret_cast<const void*>(function);
}

// Those of the profiles, which are the last at a removal.
std::string ProfileRecords() {
  std::string shape;
  for (const std::string& profile : kProfiles) {
    shape += (shape.empty() ? "" : " ") + ("'Attempting to uninstall color profile = " + profile) + '\'';
    if (now.profile_error) shape += " !UninstallColorProfile failed.  Error = 2011!";
  }
  return shape;
}

class InstallTest : public testing::Test {
 protected:
  InstallTest() {
    EXPECT_EQ(FindDriverEntries(module_, entries_), nullptr);
    std::ofstream(fs::path(files_.Log()), std::ios::app).flush();  // so that the module need not make it
    EXPECT_TRUE(files_.SwitchOn(3));
    entries_.DocumentEvent(nullptr, nullptr, DOCUMENTEVENT_STARTDOCPRE, 0, nullptr, 0, nullptr);
    files_.NewLines();
    for (const Fault& watched : {Fault{"kernel32.dll", "MoveFileExW", At(&WatchedMove)},
                                 {"mscms.dll", "UninstallColorProfileW", At(&WatchedUninstall)},
                                 {"user32.dll", "LoadStringW", At(&WatchedString)},
                                 {"ntdll.dll", "NtCreateFile", At(&WatchedCreate)},
                                 {"advapi32.dll", "SetKernelObjectSecurity", At(&WatchedProtect)},
                                 {"advapi32.dll", "GetSecurityInfo", At(&WatchedOwner)}}) {
      patches_.push_back(Put(watched));
    }
    PrepareMachine();
  }
  void TearDown() override {
    OnHost("rm -rf $menu $maker $others $aside");
    CleanMachine();
  }
  ~InstallTest() override {
    patches_.clear();
    FreeLibrary(module_);
  }

  ImportPatch Put(const Fault& fault) {
    ImportPatch patch = ReplaceImport(module_, fault.dll, fault.function, fault.replacement);
    EXPECT_TRUE(patch) << fault.function;
    return patch;
  }

  // A machine with nothing of the driver but the Raster SDK's sources, and what the script makes.
  void Prepare(const World& world, const std::string& given = ":") {
    now = world;
    asked = {};
    for (const std::string& file : kSdkFiles) WriteBytes(SourceOf(file), "r5-lqz-" + file);
    OnHost("rm -rf $menu $maker $others $aside && mkdir $others && " + given);
  }

  // The files, those that the driver brought marked, and the folders with nothing in them.
  static Lines Left() {
    Lines left;
    for (const char* const name : {"menu", "others", "sdk"}) {
      const fs::path folder = kPlaces.at(name);
      const std::size_t before = left.size();
      for (const std::string& entry : Listing(folder)) {
        const fs::path path = folder / std::u8string(entry.begin(), entry.end());
        if (fs::is_directory(path) && !fs::is_empty(path)) continue;
        const std::string bytes = ReadBytes(path);
        const bool brought = bytes == (*name == 'm' ? kShortcut : "r5-lqz-" + entry);
        left.push_back(name + ('/' + entry) + (brought ? " (brought)" : ""));
      }
      if (fs::exists(folder) && left.size() == before && *name != 'o') left.push_back(name);
    }
    return left;
  }

  // The shape of what is traced between the event's own records.
  std::string Deliver(DWORD event, DWORD level, void* info, BOOL expected) {
    EXPECT_EQ(entries_.DriverEvent(event, level, static_cast<BYTE*>(info), 0), expected);
    Lines texts = files_.NewLines();
    for (std::string& text : texts) text.erase(0, text.find("] ", text.find("[TID: ")) + 2);
    const std::string frame = "DrvDriverEvent(", shape = TraceShape(texts);
    if (!shape.starts_with(frame) || !shape.ends_with(')')) return "without its own records: " + shape;
    return shape.substr(frame.size(), shape.size() - frame.size() - 1);
  }
  std::string Deliver(DWORD event) {
    DRIVER_INFO_3W info{3, driver_name};
    return Deliver(event, 3, &info, TRUE);
  }

  struct Case {
    World world;
    std::string given;
    Lines left;
    std::string traced;
    Lines scheduled;
  };
  void Check(DWORD event, std::span<const Case> cases) {
    for (const auto& [world, given, left, traced, scheduled] : cases) {
      SCOPED_TRACE(given + " -> " + traced);
      Prepare(world, given);
      std::vector<HANDLE> handles;
      for (const std::string& busy : world.busy) {
        const auto slash = busy.find('/');
        const fs::path path = kPlaces.at(busy.substr(0, slash)) / busy.substr(slash + 1);
        handles.push_back(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        EXPECT_NE(handles.back(), INVALID_HANDLE_VALUE) << path;
      }
      {
        const ImportPatch fault = world.fault.dll ? Put(world.fault) : ImportPatch();
        EXPECT_EQ(Deliver(event), traced + (event == DRIVER_EVENT_DELETE ? ProfileRecords() : ""));
      }
      for (const HANDLE handle : handles) CloseHandle(handle);
      EXPECT_EQ(Left(), left);
      EXPECT_EQ(asked.scheduled, scheduled);
      EXPECT_EQ(asked.uninstalled, event == DRIVER_EVENT_DELETE ? kProfiles : Lines());
      EXPECT_EQ(now.meanwhile, "");
    }
  }

 private:
  user::TraceFiles files_{module_path.wstring()};
  HMODULE module_ = LoadLibraryW(module_path.c_str());
  DriverEntries entries_;
  std::vector<ImportPatch> patches_;
};

constexpr wchar_t kSystem[] = L"S-1-5-18", kAdministrators[] = L"S-1-5-32-544", kUsers[] = L"S-1-5-32-545";
constexpr wchar_t kInstaller[] = L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464";
constexpr wchar_t kNoInstaller[] = L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478465";

const Fault kNoFolder{"shell32.dll", "SHGetSpecialFolderPathW", At(&Fail)};
const Fault kDeepMenu{"shell32.dll", "SHGetSpecialFolderPathW", At(&DeepMenu)};
const Fault kNoMemory{"msvcrt.dll", "calloc", At(&Fail)};

// The tasks report their own failure each, and let the others run.
TEST_F(InstallTest, ShortcutAndSdkFilesArePutWhereNobodyElseLeadsThem) {
  const std::string no_shortcut = "!Could create userguide shortcut: ", no_copy = "!Could not copy Raster SDK files: ";
  const std::string neither = no_shortcut + "0x5! " + no_copy + "0x5!";
  const std::string guide = "menu/R5-LQZ User Guide.url", new_guide = guide + " (brought)";
  const Lines new_sdk{"sdk/hpcrlib.dll (brought)", "sdk/hpldrlgl.dat (brought)", "sdk/hpldrlgl.dll (brought)",
                      "sdk/iconv.dll (brought)"};
  const auto with_sdk = [&](Lines left, std::size_t files = 4) {
    left.insert(left.end(), new_sdk.begin(), new_sdk.begin() + static_cast<std::ptrdiff_t>(files));
    return left;
  };
  const auto named = [&](const char8_t* name) {
    return with_sdk({std::string("menu/") + reinterpret_cast<const char*>(name) + ".url (brought)"});
  };
  const Lines all = with_sdk({new_guide});
  const std::string planted = "put $guide $sdk/hpcrlib.dll";
  const Lines still_planted{guide, "sdk/hpcrlib.dll"};
  const Fault no_directory{"winspool.drv", "GetPrinterDriverDirectoryW", At(&Fail)};
  const Fault deep_directory{"winspool.drv", "GetPrinterDriverDirectoryW", At(&DeepDirectory)};
  const Fault no_list{"advapi32.dll", "ConvertStringSecurityDescriptorToSecurityDescriptorW", At(&Fail)};
  const Case cases[] = {
      {{.language = L"de"}, ":", named(u8"R5-LQZ Bedienungsanleitung")},
      {{.language = L"fr"}, ":", named(u8"Guide d\u2019utilisation de la R5-LQZ")},
      {{.language = L"zh"}, ":", named(u8"R5-LQZ \u7528\u6237\u6307\u5357")},
      {{.language = L"es"}, ":", named(u8"Gu\u00EDa de usuario de R5-LQZ")},
      {{.language = L"qq"}, ":", all},
      // What is there already.
      {{}, "put $guide", all},
      {{}, planted, {new_guide, "sdk/hpcrlib.dll"}, no_copy + "0x20010005!"},
      {{}, "put $sdk/hpldrlgl.dll", {new_guide, new_sdk[0], new_sdk[1], "sdk/hpldrlgl.dll"}, no_copy + "0x20010005!"},
      {{},
       "put $others/f $sdk/hpcrlib.dll && ln $others/f $sdk/iconv.dll",
       {new_guide, "others/f", "sdk/hpcrlib.dll", "sdk/iconv.dll"},
       no_copy + "0x5!"},
      {{}, "rm $sources/r5-lqz-hpcrlib.dll", {new_guide}, no_copy + "0x20010004!"},
      {{}, "rm $sources/r5-lqz-iconv.dll", with_sdk({new_guide}, 3), no_copy + "0x20010004!"},
      // Users may make folders in the common application data before the driver does, and more than that by mistake.
      {{}, "link $menu && link $sdk", {"menu", "sdk"}, neither},
      {{}, "link $menu && link $maker", {"menu"}, neither},
      {{}, "put $menu", with_sdk({"menu"}), no_shortcut + "0x5!"},
      {{.meanwhile = "swap $menu"}, "mkdir $menu", with_sdk({"menu"}), no_shortcut + "0x5!"},
      {{.meanwhile = "swap $sdk"}, "put $guide && mkdir -p $sdk", {new_guide, "sdk"}, no_copy + "0x5!"},
      {{.meanwhile = "swap $maker"}, "put $guide && mkdir $maker", {new_guide}, no_copy + "0x5!"},
      {{},
       "put $others/f $menu/f && ln $others/f $guide",
       with_sdk({guide, "menu/f", "others/f"}),
       no_shortcut + "0x5!"},
      {{.folder_owner = kSystem, .file_owner = kAdministrators}, ":", all},
      {{.folder_owner = kAdministrators, .file_owner = kInstaller}, ":", all},
      {{.folder_owner = kInstaller, .file_owner = kSystem}, ":", all},
      {{.folder_owner = kUsers}, planted, still_planted, neither},
      {{.folder_owner = kNoInstaller}, planted, still_planted, neither},
      {{.folder_owner = L"S-1-5-21-1-2-3-1001"}, planted, still_planted, neither},
      {{.folder_owner = kSystem, .file_owner = kUsers}, planted, still_planted, neither},
      {{.fault = kNoFolder}, ":", {}, no_shortcut + "0x15! " + no_copy + "0x15!"},
      {{.fault = kDeepMenu}, ":", new_sdk, no_shortcut + "0x20010009!"},
      {{.fault = no_directory},
       ":",
       {new_guide},
       "!Cannot get driver path. VDRV_CopyRasterSdkFiles! " + no_copy + "0x2001000d!"},
      {{.fault = deep_directory}, ":", {new_guide}, no_copy + "0x20010009!"},
      {{.fault = kNoMemory}, ":", {}, no_shortcut + "0x20010001! " + no_copy + "0x20010001!"},
      {{.fault = {"kernel32.dll", "SetEndOfFile", At(&Fail)}}, ":", with_sdk({"menu"}), no_shortcut + "0x15!"},
      {{.fault = {"kernel32.dll", "ReadFile", At(&Fail)}}, ":", {new_guide, "sdk"}, no_copy + "0x15!"},
      {{.fault = no_list}, ":", {}, no_shortcut + "0x15! " + no_copy + "0x3!"},
      {{.refuses_folders = true}, ":", {}, no_shortcut + "0x15! " + no_copy + "0x3!"}};
  Check(DRIVER_EVENT_INITIALIZE, cases);
}

TEST_F(InstallTest, RemovalTakesWhatIsTheDriversAndNothingBesideIt) {
  const std::string no_menu = "!Could not delete Start Menu shortcuts: ",
                    no_sdk = "!Could not delete Raster SDK files: ";
  const std::string installed = "put $guide $sdk/hpcrlib.dll $sdk/hpldrlgl.dat $sdk/hpldrlgl.dll $sdk/iconv.dll";
  const std::string guide = "menu/R5-LQZ User Guide.url", deep = std::string(120, 'd') + '/' + std::string(100, 'f');
  const Lines sdk{"sdk/hpcrlib.dll", "sdk/hpldrlgl.dat", "sdk/hpldrlgl.dll", "sdk/iconv.dll"};
  const Lines all{guide, sdk[0], sdk[1], sdk[2], sdk[3]};
  const Lines folders{"Brindlewick R5-LQZ Driver", "Brindlewick"};  // at the restart if they are empty then
  const Case cases[] = {
      {{.profile_error = 2011}, ":", {}},
      {{},
       "mkdir -p $menu/empty && "
       "put $others/f $menu/f $menu/a/b/c/f $menu/a/d/f $menu/...txt $menu/'..kept by the tests'/f",
       {"others/f"}},
      // This platform opens no link itself: it stays, and so does what holds it.
      {{}, "put $others/f && link $menu", {"menu/f", "others/f"}},
      {{}, "put $others/f && link $menu/link", {"menu/link/f", "others/f"}, "", {"Brindlewick R5-LQZ"}},
      {{}, "put $others/iconv.dll && link $sdk", {"others/iconv.dll", "sdk/iconv.dll"}},
      {{},
       "put $others/'Brindlewick R5-LQZ Driver'/iconv.dll && link $maker",
       {"others/Brindlewick R5-LQZ Driver/iconv.dll", "sdk/iconv.dll"}},
      {{.folder_owner = kUsers}, "put $sdk/iconv.dll", {"sdk/iconv.dll"}},
      {{.folder_owner = kSystem, .file_owner = kUsers}, installed, {"sdk"}, "", folders},
      // Another folder takes the place of the one that was checked.
      {{.meanwhile = "swap $menu", .busy = {"menu/f", "menu/sub/f"}},
       "put $menu/f $menu/sub/f $others/f $others/sub/f",
       {"menu/f", "menu/sub/f", "others/f", "others/sub/f"},
       "",
       {"f"}},
      {{.meanwhile = "swap $sdk", .busy = {"sdk/hpcrlib.dll", "sdk/iconv.dll"}},
       installed + " $others/hpcrlib.dll $others/iconv.dll",
       {"others/hpcrlib.dll", "others/iconv.dll", "sdk/hpcrlib.dll", "sdk/iconv.dll"},
       "",
       {"hpcrlib.dll", folders[0], folders[1]}},
      {{.busy = {"menu/sub/busy", "sdk/hpldrlgl.dat"}},
       installed + " $sdk/others $menu/sub/busy $menu/sub/free $menu/" + deep,
       {"menu/" + deep, "menu/sub/busy", "sdk/hpldrlgl.dat", "sdk/others"},
       "",
       {"busy", "sub", "Brindlewick R5-LQZ", "hpldrlgl.dat", folders[0], folders[1]}},
      {{.fault = kNoFolder}, installed, all, no_menu + "0x15! " + no_sdk + "0x15! "},
      {{.fault = kDeepMenu}, installed, {guide, "sdk"}, no_menu + "0x20010009! ", folders},
      {{.fault = kNoMemory}, installed, all, no_menu + "0x20010001! " + no_sdk + "0x20010001! "}};
  Check(DRIVER_EVENT_DELETE, cases);
}

TEST_F(InstallTest, FoldersAreMadeForTheSystemToChangeAndUsersToRead) {
  const std::string list = " D:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;0x1200a9;;;BU)";
  const std::string menu = "Brindlewick R5-LQZ" + list, sdk = "Brindlewick R5-LQZ Driver" + list;
  Prepare({});
  const auto written = fs::last_write_time(SourceOf(kSdkFiles[0])) - std::chrono::hours(1);
  fs::last_write_time(SourceOf(kSdkFiles[0]), written);
  EXPECT_EQ(Deliver(DRIVER_EVENT_INITIALIZE), "");
  EXPECT_EQ(fs::last_write_time(SdkFolder() / kSdkFiles[0]), written) << "by which others tell versions apart";
  // A folder's list is set again when it is used.
  EXPECT_EQ(std::exchange(asked.made, {}), (Lines{menu, menu, "Brindlewick" + list, sdk, sdk, sdk, sdk, sdk}));
  Deliver(DRIVER_EVENT_INITIALIZE);
  EXPECT_EQ(asked.made, (Lines{menu, sdk, sdk, sdk, sdk})) << "with every file there";
}

TEST_F(InstallTest, DriversWithoutANameAndOtherEventsAreRefused) {
  DRIVER_INFO_1W first{driver_name}, nameless{nullptr};
  DRIVER_INFO_2W second{3, driver_name};
  DRIVER_INFO_3W third{3, driver_name};
  const char no_name[] = "!Could not get the driver name.!";
  const struct {
    DWORD event, level;
    void* info;
    bool known = false;
  } rows[] = {{1, 1, &first, true}, {1, 2, &second, true}, {1, 3, &third, true}, {0, 3, &third}, {3, 3, &third},
              {1, 4, &third},       {1, 0, &first},        {1, 1, &nameless},    {1, 2, nullptr}};
  for (const auto& [event, level, info, known] : rows) {
    SCOPED_TRACE(testing::Message() << event << ' ' << level);
    Prepare({});
    EXPECT_EQ(Deliver(event, level, info, known), known || level == 3 ? "" : no_name);
    EXPECT_EQ(Left().size(), known ? 5u : 0u);
  }
  const ImportPatch no_memory = Put({"msvcrt.dll", "_wcsdup", At(&Fail)});
  EXPECT_EQ(Deliver(DRIVER_EVENT_DELETE, 1, &first, FALSE), no_name);
  EXPECT_EQ(asked.uninstalled, Lines{});
}

// Installed, given a printer, used by a user and an application, removed; and what is left.
TEST(OneLife, LeavesTheMachineAsItWas) {
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
