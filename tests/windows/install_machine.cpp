#include "install_machine.h"

#include <shlobj.h>
#include <winspool.h>

#include <algorithm>

namespace tests {
namespace {

constexpr char kModuleLog[] = "c:\\temp\\r5-lqz-ui.txt";

fs::path SpecialFolder(int which) {
  wchar_t path[MAX_PATH] = L"";
  EXPECT_TRUE(SHGetSpecialFolderPathW(nullptr, path, which, FALSE));
  return path;
}

}  // namespace

fs::path StartMenuFolder() { return SpecialFolder(CSIDL_COMMON_PROGRAMS) / "Brindlewick R5-LQZ"; }
fs::path SdkFolder() { return SpecialFolder(CSIDL_COMMON_APPDATA) / "Brindlewick/Brindlewick R5-LQZ Driver"; }
fs::path SourceOf(const std::string& sdk_file) { return LoadedDriversFolder() / ("r5-lqz-" + sdk_file); }

fs::path LoadedDriversFolder() {
  wchar_t path[MAX_PATH] = L"";
  DWORD needed = 0;
  EXPECT_TRUE(GetPrinterDriverDirectoryW(nullptr, nullptr, 1, reinterpret_cast<BYTE*>(path), sizeof path, &needed));
  return fs::path(path) / "3";
}

// Beneath it a build puts this program two folders down.
fs::path ModulePath() {
  wchar_t path[MAX_PATH] = L"";
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return fs::path(path).parent_path().parent_path().parent_path() / "r5-lqz-ui.dll";
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

void InstallMachine::Clear() {
  fs::remove_all(StartMenuFolder());
  fs::remove_all(SdkFolder().parent_path());
  fs::create_directories(LoadedDriversFolder());
  for (const auto& file : kSdkFiles) WriteBytes(SourceOf(file).string(), "r5-lqz-" + file);
}

Lines InstallMachine::TakeRecords() {
  Lines texts;
  for (const Record& record : ReadRecords(kModuleLog)) texts.push_back(record.text);
  DeleteFileA(kModuleLog);
  return texts;
}

InstallMachine::InstallMachine() {
  WriteBytes(kModuleMask, "3");
  Clear();
}

InstallMachine::~InstallMachine() {
  Clear();
  for (const auto& file : kSdkFiles) fs::remove(SourceOf(file));
}

}  // namespace tests
