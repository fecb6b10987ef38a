// One life of the driver on a machine: installed, given a printer, used by an application, removed; and what is left.
#include "install_machine.h"

#include <windows.h>

#include <icm.h>
#include <winspool.h>

#include <algorithm>
#include <iterator>

#include "label_stock.h"
#include "settings/driver_devmode.h"
#include "spooler_setup.h"

namespace tests {
namespace {

using r5lqz::DriverDevMode;

wchar_t driver_name[] = L"R5-LQZ driver of one life";
wchar_t printer_name[] = L"R5-LQZ printer of one life";
constexpr wchar_t kSessionKey[] = L"System\\CurrentControlSet\\Control\\Session Manager";
constexpr wchar_t kPendingValue[] = L"PendingFileRenameOperations";
constexpr char kProfile[] = "R5-LQZ_Standard_Matte_Fast_Mode_v01.icc";

// Everything beneath a registry key: each key, and each value with its bytes.
void ListRegistry(HKEY key, const std::string& path, Lines& found) {
  found.push_back(path);
  static std::vector<BYTE> data(1 << 16);
  char name[512];
  for (DWORD index = 0;; ++index) {
    DWORD length = sizeof name, size = static_cast<DWORD>(data.size()), type = 0;
    const LSTATUS code = RegEnumValueA(key, index, name, &length, nullptr, &type, data.data(), &size);
    if (code != ERROR_SUCCESS && code != ERROR_MORE_DATA) break;
    const std::string bytes(data.begin(), data.begin() + (code == ERROR_SUCCESS ? size : 0));
    found.push_back(path + ": " + name + " = " + std::to_string(type) + ' ' + bytes);
  }
  for (DWORD index = 0; RegEnumKeyA(key, index, name, sizeof name) == ERROR_SUCCESS; ++index) {
    // Seen under other names too.
    if (!strcmp(name, "Wow6432Node") || !strcmp(name, "Classes")) continue;
    HKEY child = nullptr;
    if (RegOpenKeyExA(key, name, 0, KEY_READ, &child) != ERROR_SUCCESS) continue;
    ListRegistry(child, path + '\\' + name, found);
    RegCloseKey(child);
  }
}

Lines Registry() {
  Lines found;
  const std::pair<HKEY, const char*> roots[] = {{HKEY_LOCAL_MACHINE, "HKLM"}, {HKEY_CURRENT_USER, "HKCU"}};
  for (const auto& [root, name] : roots) ListRegistry(root, name, found);
  std::sort(found.begin(), found.end());
  return found;
}

Lines Difference(const Lines& one, const Lines& other) {
  Lines only;
  std::set_difference(one.begin(), one.end(), other.begin(), other.end(), std::back_inserter(only));
  return only;
}

fs::path ColorFolder() {
  wchar_t path[MAX_PATH] = L"";
  DWORD size = sizeof path;
  EXPECT_TRUE(GetColorDirectoryW(nullptr, path, &size));
  return path;
}

// This platform looks for a bare name in the current folder instead.
BOOL WINAPI UninstallFromColorFolder(PCWSTR, PCWSTR profile, BOOL with_file) {
  return with_file && DeleteFileW((ColorFolder() / profile).c_str());
}

// What the system is to do at the next restart, and what it is to do instead.
std::wstring Pending() {
  std::wstring text(8192, L'\0');
  DWORD size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
  const LSTATUS code =
      RegGetValueW(HKEY_LOCAL_MACHINE, kSessionKey, kPendingValue, RRF_RT_REG_MULTI_SZ, nullptr, text.data(), &size);
  text.resize(code == ERROR_SUCCESS ? size / sizeof(wchar_t) - 1 : 0);
  return text;
}
void SetPending(const std::wstring& text) {
  const auto size = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
  if (text.empty()) {
    RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kSessionKey, kPendingValue);
  } else {
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, kSessionKey, kPendingValue, REG_MULTI_SZ, text.c_str(), size);
  }
}

// The spooler makes these for its first printer of all, and keeps them.
void MakeSpoolersOwnKeys() {
  const std::pair<HKEY, const char*> keys[] = {
      {HKEY_CURRENT_USER, "Software\\Microsoft\\Windows NT\\CurrentVersion\\Devices"},
      {HKEY_CURRENT_USER, "Software\\Microsoft\\Windows NT\\CurrentVersion\\PrinterPorts"},
      {HKEY_LOCAL_MACHINE, "System\\CurrentControlSet\\Control\\Print\\Environments\\Windows x64\\Drivers\\Version-3"}};
  for (const auto& [root, name] : keys) {
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyA(root, name, &key), ERROR_SUCCESS);
    RegCloseKey(key);
  }
}

class OneLife : public InstallMachine {
 protected:
  void StartDocument() {
    EXPECT_EQ(life.entries.DocumentEvent(life.printer, nullptr, DOCUMENTEVENT_STARTDOCPRE, 0, nullptr, 0, nullptr), 1);
  }
  BOOL AcceptsPaper(DEVMODEW* record) {
    DEVQUERYPRINT_INFO query{sizeof query, 1, life.printer, record, nullptr, 0, 0};
    return life.entries.QueryPrintEx(&query);
  }

  void PrinterHasItsOption() {
    DWORD type = 0, option = 0, needed = 0;
    wchar_t name[] = L"bufferPrintJob";
    EXPECT_EQ(GetPrinterDataW(life.printer, name, &type, reinterpret_cast<BYTE*>(&option), sizeof option, &needed), 0u);
    EXPECT_EQ(type, DWORD{REG_DWORD});
    EXPECT_EQ(option, 1u);
  }
  void ApplicationPrintsOnALabel() {
    EXPECT_EQ(platform::StoreLabelStock(life.printer, {258, "first", "50", "100", "0", "0", 0}), 0u);
    ASSERT_EQ(DocumentPropertiesW(nullptr, life.printer, printer_name, nullptr, nullptr, 0), LONG{sizeof(DriverDevMode)});
    DriverDevMode record{};
    EXPECT_EQ(DocumentPropertiesW(nullptr, life.printer, printer_name, &record.dm_public, nullptr, DM_OUT_BUFFER), 1);
    EXPECT_EQ(record.dm_public.dmPaperSize, 257);
    EXPECT_FALSE(AcceptsPaper(&record.dm_public));
    record.dm_public.dmFields = DM_PAPERSIZE;
    record.dm_public.dmPaperSize = 258;
    EXPECT_EQ(DocumentPropertiesW(nullptr, life.printer, printer_name, &record.dm_public, &record.dm_public,
                                  DM_IN_BUFFER | DM_OUT_BUFFER), 1);
    EXPECT_STREQ(record.dm_private.labelName, "first");
    EXPECT_EQ(record.dm_public.dmPaperLength, 1000);
    EXPECT_TRUE(AcceptsPaper(&record.dm_public));
  }
  void TraceFollowsItsFile() {
    EXPECT_EQ(TakeRecords(), Lines{}) << "before the first document";
    StartDocument();
    AcceptsPaper(nullptr);
    const Lines records = TakeRecords();
    EXPECT_NE(std::find(records.begin(), records.end(), "[Trace] <DevQueryPrintEx>"), records.end());
    DeleteFileA(kModuleMask);
    StartDocument();
    TakeRecords();
    AcceptsPaper(nullptr);
    EXPECT_EQ(TakeRecords(), Lines{});
  }

  platform::InstalledPrinter life;
};

TEST_F(OneLife, LeavesTheMachineAsItWas) {
  const fs::path loaded_module = LoadedDriversFolder() / ModulePath().filename();
  fs::remove(loaded_module);  // of an earlier life
  MakeSpoolersOwnKeys();
  const std::wstring pending = Pending();
  const Lines files = Listing("C:\\"), registry = Registry();

  WriteBytes((ColorFolder() / kProfile).string(), "a profile");
  const auto installed = platform::InstallPrinter({ModulePath().wstring(), driver_name, printer_name, {}}, life);
  ASSERT_TRUE(installed.Held()) << installed.call << " answered " << installed.code;
  life.patches.push_back(platform::ReplaceImport(life.module, "mscms.dll", "UninstallColorProfileW",
                                                 reinterpret_cast<const void*>(&UninstallFromColorFolder)));
  EXPECT_EQ(Listing(StartMenuFolder()), Lines{"R5-LQZ User Guide.url"}) << "the driver's event";
  EXPECT_EQ(Listing(SdkFolder()).size(), std::size(kSdkFiles));
  PrinterHasItsOption();
  ApplicationPrintsOnALabel();
  TraceFollowsItsFile();
  const auto removed = platform::RemovePrinter(life);
  EXPECT_TRUE(removed.Held()) << removed.call << " answered " << removed.code;

  // The Raster SDK's folders wait, empty, for the restart.
  const std::wstring nothing(2, L'\0'), folder = L"\\??\\" + SdkFolder().wstring();
  EXPECT_EQ(Pending(), pending + folder + nothing + folder.substr(0, folder.rfind('\\')) + nothing);
  SetPending(pending);
  EXPECT_TRUE(RemoveDirectoryW(SdkFolder().c_str()) && RemoveDirectoryW(SdkFolder().parent_path().c_str()));
  // The spooler keeps the module that it has loaded.
  EXPECT_TRUE(fs::remove(loaded_module));
  WriteBytes(kModuleMask, "3");

  const Lines files_after = Listing("C:\\"), registry_after = Registry();
  EXPECT_EQ(Difference(files_after, files), Lines{});
  EXPECT_EQ(Difference(files, files_after), Lines{});
  EXPECT_EQ(Difference(registry_after, registry), Lines{});
  EXPECT_EQ(Difference(registry, registry_after), Lines{});
}

}  // namespace
}  // namespace tests
