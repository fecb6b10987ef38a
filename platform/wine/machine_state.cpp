#include "machine_state.h"

#include <windows.h>

#include <icm.h>
#include <shlobj.h>
#include <winspool.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>

namespace platform {
namespace {

namespace fs = std::filesystem;

constexpr char kSession[] = "System\\CurrentControlSet\\Control\\Session Manager";
constexpr char kPending[] = "PendingFileRenameOperations";

// Seen under other names too; and what the platform notes for the moment of whatever program runs, or shows a window.
constexpr std::string_view kPassedOver[] = {"Wow6432Node", "Classes", "TimeZoneInformation",
                                            "Temporary System Parameters", "ControlSet001"};

fs::path SpecialFolder(int which) {
  wchar_t path[MAX_PATH] = L"";
  if (!SHGetSpecialFolderPathW(nullptr, path, which, FALSE)) throw std::runtime_error("SHGetSpecialFolderPathW");
  return path;
}

std::string EntryText(const std::string& path, const char* name, DWORD type, const std::string& bytes) {
  return path + ": " + name + " = " + std::to_string(type) + ' ' + bytes;
}

// Everything beneath a registry key.
void ListRegistry(HKEY key, const std::string& path, Lines& found) {
  static char name[512], data[1 << 16];
  found.push_back(path);
  for (DWORD index = 0;; ++index) {
    DWORD length = sizeof name, size = sizeof data, type = 0;
    const LSTATUS code = RegEnumValueA(key, index, name, &length, nullptr, &type, reinterpret_cast<BYTE*>(data), &size);
    if (code != ERROR_SUCCESS && code != ERROR_MORE_DATA) break;
    found.push_back(EntryText(path, name, type, std::string(data, code ? 0 : size)));
  }
  for (DWORD index = 0; RegEnumKeyA(key, index, name, sizeof name) == ERROR_SUCCESS; ++index) {
    if (std::ranges::find(kPassedOver, std::string_view(name)) != std::end(kPassedOver)) continue;
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

}  // namespace

fs::path StartMenuFolder() {
  return SpecialFolder(CSIDL_COMMON_PROGRAMS) / "Brindlewick R5-LQZ";
}

fs::path SdkFolder() {
  return SpecialFolder(CSIDL_COMMON_APPDATA) / "Brindlewick" / "Brindlewick R5-LQZ Driver";
}

fs::path LoadedDriversFolder() {
  wchar_t path[MAX_PATH] = L"";
  DWORD needed = 0;
  if (!GetPrinterDriverDirectoryW(nullptr, nullptr, 1, reinterpret_cast<BYTE*>(path), sizeof path, &needed)) {
    throw std::runtime_error("GetPrinterDriverDirectoryW");
  }
  return fs::path(path) / "3";
}

fs::path ColorFolder() {
  wchar_t path[MAX_PATH] = L"";
  DWORD size = sizeof path;
  if (!GetColorDirectoryW(nullptr, path, &size)) throw std::runtime_error("GetColorDirectoryW");
  return path;
}

fs::path SourceOf(const std::string& sdk_file) {
  return LoadedDriversFolder() / ("r5-lqz-" + sdk_file);
}

void CleanMachine() {
  fs::remove_all(StartMenuFolder());
  fs::remove_all(SdkFolder().parent_path());
  for (const auto& file : kSdkFiles) fs::remove(SourceOf(file));
}

void PrepareMachine() {
  CleanMachine();
  fs::create_directories(LoadedDriversFolder());
  for (const auto& file : kSdkFiles) std::ofstream(SourceOf(file), std::ios::binary) << "r5-lqz-" << file;
}

Lines Listing(const fs::path& folder) {
  Lines found;
  std::error_code error;
  for (const auto& entry : fs::recursive_directory_iterator(folder, error)) {
    const auto path = entry.path().lexically_relative(folder).generic_u8string();
    found.emplace_back(path.begin(), path.end());
  }
  std::sort(found.begin(), found.end());
  return found;
}

std::string PendingDeletions(const Lines& paths) {
  std::string bytes;
  for (const auto& path : paths) bytes += "\\??\\" + path + std::string(2, '\0');
  return EntryText(std::string("HKLM\\") + kSession, kPending, REG_MULTI_SZ, bytes + '\0');
}

void ForgetPendingDeletions() {
  RegDeleteKeyValueA(HKEY_LOCAL_MACHINE, kSession, kPending);
}

MachineState ReadMachineState() {
  MakeSpoolersOwnKeys();
  return {Listing("C:\\"), Registry(), Listing(ColorFolder())};
}

Lines Difference(const Lines& one, const Lines& other) {
  Lines only;
  std::set_difference(one.begin(), one.end(), other.begin(), other.end(), std::back_inserter(only));
  return only;
}

}  // namespace platform
