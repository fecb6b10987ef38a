// One life of the driver on a machine: installed, given a printer, used by an application, removed; and what is left.
#include "install_machine.h"

#include <icm.h>
#include <winspool.h>

#include <algorithm>
#include <iterator>

#include "label_stock.h"
#include "settings/driver_devmode.h"
#include "spooler_setup.h"

namespace tests {
namespace {

wchar_t printer_name[] = L"R5-LQZ printer of one life";
constexpr char kProfile[] = "R5-LQZ_Standard_Matte_Fast_Mode_v01.icc";
constexpr char kSession[] = "System\\CurrentControlSet\\Control\\Session Manager";
constexpr char kPending[] = "PendingFileRenameOperations";

// Everything beneath a registry key: each key, and each value with its type and bytes.
void ListRegistry(HKEY key, const std::string& path, Lines& found) {
  static char name[512], data[1 << 16];
  found.push_back(path);
  for (DWORD index = 0;; ++index) {
    DWORD length = sizeof name, size = sizeof data, type = 0;
    const LSTATUS code = RegEnumValueA(key, index, name, &length, nullptr, &type, reinterpret_cast<BYTE*>(data), &size);
    if (code != ERROR_SUCCESS && code != ERROR_MORE_DATA) break;
    found.push_back(path + ": " + name + " = " + std::to_string(type) + ' ' + std::string(data, code ? 0 : size));
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
  ListRegistry(HKEY_LOCAL_MACHINE, "HKLM", found);
  ListRegistry(HKEY_CURRENT_USER, "HKCU", found);
  std::sort(found.begin(), found.end());
  return found;
}

// What the spooler makes for its first printer of all and keeps.
void MakeSpoolersOwnKeys() {
  const std::string windows = "Software\\Microsoft\\Windows NT\\CurrentVersion\\";
  HKEY keys[3]{};
  RegCreateKeyA(HKEY_CURRENT_USER, (windows + "Devices").c_str(), &keys[0]);
  RegCreateKeyA(HKEY_CURRENT_USER, (windows + "PrinterPorts").c_str(), &keys[1]);
  RegCreateKeyA(HKEY_LOCAL_MACHINE,
                "System\\CurrentControlSet\\Control\\Print\\Environments\\Windows x64\\Drivers\\Version-3", &keys[2]);
  for (const HKEY key : keys) RegCloseKey(key);
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
    EXPECT_TRUE(type == REG_DWORD && option == 1);
  }
  void ApplicationPrintsOnALabel() {
    EXPECT_EQ(platform::StoreLabelStock(life.printer, {258, "first", "50", "100", "0", "0", 0}), 0u);
    r5lqz::DriverDevMode record{};
    DEVMODEW* const settings = &record.dm_public;
    ASSERT_EQ(DocumentPropertiesW(nullptr, life.printer, printer_name, nullptr, nullptr, 0), LONG{sizeof record});
    EXPECT_EQ(DocumentPropertiesW(nullptr, life.printer, printer_name, settings, nullptr, DM_OUT_BUFFER), 1);
    EXPECT_EQ(settings->dmPaperSize, 257);
    EXPECT_FALSE(AcceptsPaper(settings));
    settings->dmFields = DM_PAPERSIZE;
    settings->dmPaperSize = 258;
    constexpr DWORD kBoth = DM_IN_BUFFER | DM_OUT_BUFFER;
    EXPECT_EQ(DocumentPropertiesW(nullptr, life.printer, printer_name, settings, settings, kBoth), 1);
    EXPECT_STREQ(record.dm_private.labelName, "first");
    EXPECT_EQ(settings->dmPaperLength, 1000);
    EXPECT_TRUE(AcceptsPaper(settings));
  }
  void TraceFollowsItsFile() {
    EXPECT_EQ(TakeRecords(), Lines{}) << "before the first document";
    StartDocument();
    AcceptsPaper(nullptr);
    EXPECT_GT(TakeRecords().size(), 2u);
    WriteBytes(kModuleMask, "0");
    StartDocument();
    TakeRecords();
    AcceptsPaper(nullptr);
    EXPECT_EQ(TakeRecords(), Lines{});
  }

  platform::InstalledPrinter life;
};

TEST_F(OneLife, LeavesTheMachineAsItWas) {
  const fs::path loaded_module = LoadedDriversFolder() / ModulePath().filename();
  const fs::path profile = ColorFolder() / kProfile;
  for (const auto& remains : {loaded_module, profile}) fs::remove(remains);  // of an earlier life
  RegDeleteKeyValueA(HKEY_LOCAL_MACHINE, kSession, kPending);
  MakeSpoolersOwnKeys();
  const Lines files = Listing("C:\\"), registry = Registry();

  WriteBytes(profile.string(), "a profile");
  const auto installed = platform::InstallPrinter(
      {ModulePath().wstring(), L"R5-LQZ driver of one life", printer_name, {}}, life);
  ASSERT_TRUE(installed.Held()) << installed.call << " answered " << installed.code;
  life.patches.push_back(platform::ReplaceImport(life.module, "mscms.dll", "UninstallColorProfileW",
                                                 reinterpret_cast<const void*>(&UninstallFromColorFolder)));
  EXPECT_EQ(Listing(StartMenuFolder()), Lines{"R5-LQZ User Guide.url"}) << "the driver's event";
  EXPECT_EQ(Listing(SdkFolder()), kSdkFiles);
  PrinterHasItsOption();
  ApplicationPrintsOnALabel();
  TraceFollowsItsFile();
  const auto removed = platform::RemovePrinter(life);
  EXPECT_TRUE(removed.Held()) << removed.call << " answered " << removed.code;

  // The spooler keeps the module that it has loaded; the Raster SDK's folders wait, empty, for the restart.
  EXPECT_EQ(Difference(Listing("C:\\"), files),
            (Lines{"ProgramData/Brindlewick", "ProgramData/Brindlewick/Brindlewick R5-LQZ Driver",
                   loaded_module.lexically_relative("C:\\").generic_string()}));
  EXPECT_EQ(Difference(files, Listing("C:\\")), Lines{});
  const char pending[] = "\\??\\C:\\ProgramData\\Brindlewick\\Brindlewick R5-LQZ Driver\0\0"
                         "\\??\\C:\\ProgramData\\Brindlewick\0\0";
  EXPECT_EQ(Difference(Registry(), registry), Lines{std::string("HKLM\\") + kSession + ": " + kPending + " = 7 " +
                                                    std::string(pending, sizeof pending)});
  EXPECT_EQ(Difference(registry, Registry()), Lines{});
  RegDeleteKeyValueA(HKEY_LOCAL_MACHINE, kSession, kPending);
}

}  // namespace
}  // namespace tests
